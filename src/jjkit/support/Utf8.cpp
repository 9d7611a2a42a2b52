#include "jjkit/support/Utf8.h"

#include <cstdint>

namespace vorda::utf8 {
namespace {

bool isContinuation(unsigned char byte) {
    return (byte & 0xC0U) == 0x80U;
}

// Length of the well-formed sequence that starts at `index`, or 0.
std::size_t sequenceLength(std::string_view bytes, std::size_t index) {
    const auto lead = static_cast<unsigned char>(bytes[index]);
    const std::size_t remaining = bytes.size() - index;
    auto at = [&](std::size_t offset) {
        return static_cast<unsigned char>(bytes[index + offset]);
    };
    if (lead < 0x80U) {
        return 1;
    }
    if (lead >= 0xC2U && lead <= 0xDFU) {
        return remaining >= 2 && isContinuation(at(1)) ? 2 : 0;
    }
    if (lead >= 0xE0U && lead <= 0xEFU) {
        if (remaining < 3 || !isContinuation(at(1)) || !isContinuation(at(2))) {
            return 0;
        }
        if (lead == 0xE0U && at(1) < 0xA0U) {
            return 0;  // overlong
        }
        if (lead == 0xEDU && at(1) > 0x9FU) {
            return 0;  // surrogate
        }
        return 3;
    }
    if (lead >= 0xF0U && lead <= 0xF4U) {
        if (remaining < 4 || !isContinuation(at(1)) || !isContinuation(at(2)) ||
            !isContinuation(at(3))) {
            return 0;
        }
        if (lead == 0xF0U && at(1) < 0x90U) {
            return 0;  // overlong
        }
        if (lead == 0xF4U && at(1) > 0x8FU) {
            return 0;  // above U+10FFFF
        }
        return 4;
    }
    return 0;
}

}  // namespace

bool isValid(std::string_view bytes) {
    std::size_t index = 0;
    while (index < bytes.size()) {
        const std::size_t length = sequenceLength(bytes, index);
        if (length == 0) {
            return false;
        }
        index += length;
    }
    return true;
}

std::string decodeOrEmpty(std::string_view bytes) {
    return isValid(bytes) ? std::string(bytes) : std::string();
}

std::size_t codePointCount(std::string_view text) {
    std::size_t count = 0;
    for (const char byte : text) {
        if (!isContinuation(static_cast<unsigned char>(byte))) {
            ++count;
        }
    }
    return count;
}

std::string_view prefixCodePoints(std::string_view text, std::size_t count) {
    std::size_t seen = 0;
    for (std::size_t index = 0; index < text.size(); ++index) {
        if (!isContinuation(static_cast<unsigned char>(text[index]))) {
            if (seen == count) {
                return text.substr(0, index);
            }
            ++seen;
        }
    }
    return text;
}

}  // namespace vorda::utf8
