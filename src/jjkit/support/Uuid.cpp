#include "jjkit/support/Uuid.h"

#include <array>
#include <cstdint>
#include <random>

namespace vorda {
namespace {

constexpr std::array<std::size_t, 4> dashPositions = {8, 13, 18, 23};
constexpr std::size_t uuidLength = 36;

bool isDashPosition(std::size_t index) {
    for (const auto position : dashPositions) {
        if (index == position) {
            return true;
        }
    }
    return false;
}

bool isHexDigit(char character) {
    return (character >= '0' && character <= '9') || (character >= 'a' && character <= 'f') ||
           (character >= 'A' && character <= 'F');
}

std::mt19937_64& threadGenerator() {
    // Seeded once per thread from the system's entropy source; 128 bits of
    // seed so that two threads started together do not share a sequence.
    thread_local std::mt19937_64 generator = [] {
        std::random_device device;
        std::seed_seq seed{device(), device(), device(), device()};
        return std::mt19937_64(seed);
    }();
    return generator;
}

}  // namespace

std::string makeUuid() {
    auto& generator = threadGenerator();
    std::array<std::uint8_t, 16> bytes{};
    for (std::size_t half = 0; half < 2; ++half) {
        const std::uint64_t value = generator();
        for (std::size_t index = 0; index < 8; ++index) {
            bytes.at((half * 8) + index) = static_cast<std::uint8_t>(value >> (index * 8));
        }
    }
    // Version 4 (random) in the high nibble of byte 6, variant 10xx in byte 8.
    bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0FU) | 0x40U);
    bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3FU) | 0x80U);

    static constexpr std::string_view digits = "0123456789ABCDEF";
    std::string text;
    text.reserve(uuidLength);
    for (std::size_t index = 0; index < bytes.size(); ++index) {
        if (index == 4 || index == 6 || index == 8 || index == 10) {
            text.push_back('-');
        }
        text.push_back(digits[bytes[index] >> 4U]);
        text.push_back(digits[bytes[index] & 0x0FU]);
    }
    return text;
}

bool isValidUuid(std::string_view text) {
    if (text.size() != uuidLength) {
        return false;
    }
    for (std::size_t index = 0; index < text.size(); ++index) {
        const bool valid = isDashPosition(index) ? text[index] == '-' : isHexDigit(text[index]);
        if (!valid) {
            return false;
        }
    }
    return true;
}

std::string canonicalUuid(std::string_view text) {
    std::string upper(text);
    for (auto& character : upper) {
        if (character >= 'a' && character <= 'f') {
            character = static_cast<char>(character - 'a' + 'A');
        }
    }
    return upper;
}

}  // namespace vorda
