#include "jjkit/update/SemanticVersion.h"

#include <algorithm>
#include <charconv>
#include <tuple>

namespace vorda {

namespace {

bool isNumeric(std::string_view text) {
    return !text.empty() &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

/// A number without a leading zero (but "0" itself), that fits an int.
std::optional<int> number(std::string_view text) {
    if (!isNumeric(text) || (text.size() > 1 && text.front() == '0')) {
        return std::nullopt;
    }
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(value)
                                                                    : std::nullopt;
}

std::vector<std::string_view> split(std::string_view text, char separator) {
    std::vector<std::string_view> parts;
    while (true) {
        const auto at = text.find(separator);
        parts.push_back(text.substr(0, at));
        if (at == std::string_view::npos) {
            return parts;
        }
        text.remove_prefix(at + 1);
    }
}

bool isIdentifier(std::string_view part) {
    return !part.empty() && std::all_of(part.begin(), part.end(), [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
               c == '-';
    });
}

std::strong_ordering compareIdentifiers(const std::string& a, const std::string& b) {
    const bool aNumeric = isNumeric(a);
    const bool bNumeric = isNumeric(b);
    if (aNumeric && bNumeric) {
        return a.size() != b.size() ? a.size() <=> b.size() : a.compare(b) <=> 0;
    }
    if (aNumeric != bNumeric) {
        return aNumeric ? std::strong_ordering::less : std::strong_ordering::greater;
    }
    return a.compare(b) <=> 0;
}

}  // namespace

std::optional<SemanticVersion> SemanticVersion::parse(std::string_view text) {
    if (!text.empty() && (text.front() == 'v' || text.front() == 'V')) {
        text.remove_prefix(1);
    }
    const auto plus = text.find('+');
    if (plus != std::string_view::npos) {
        const auto build = split(text.substr(plus + 1), '.');
        if (!std::all_of(build.begin(), build.end(), isIdentifier)) {
            return std::nullopt;
        }
        text = text.substr(0, plus);
    }
    SemanticVersion version;
    const auto dash = text.find('-');
    if (dash != std::string_view::npos) {
        for (const auto part : split(text.substr(dash + 1), '.')) {
            if (!isIdentifier(part) ||
                (isNumeric(part) && part.size() > 1 && part.front() == '0')) {
                return std::nullopt;
            }
            version.prerelease.emplace_back(part);
        }
        text = text.substr(0, dash);
    }
    const auto numbers = split(text, '.');
    if (numbers.size() < 2 || numbers.size() > 3) {
        return std::nullopt;
    }
    const auto major = number(numbers[0]);
    const auto minor = number(numbers[1]);
    const auto patch = numbers.size() == 3 ? number(numbers[2]) : std::optional(0);
    if (!major || !minor || !patch) {
        return std::nullopt;
    }
    version.major = *major;
    version.minor = *minor;
    version.patch = *patch;
    return version;
}

std::string SemanticVersion::text() const {
    std::string result =
        std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(patch);
    for (std::size_t index = 0; index < prerelease.size(); ++index) {
        result += (index == 0 ? "-" : ".") + prerelease[index];
    }
    return result;
}

std::strong_ordering SemanticVersion::operator<=>(const SemanticVersion& other) const {
    if (const auto order =
            std::tie(major, minor, patch) <=> std::tie(other.major, other.minor, other.patch);
        std::is_neq(order)) {
        return order;
    }
    if (prerelease.empty() != other.prerelease.empty()) {
        return prerelease.empty() ? std::strong_ordering::greater : std::strong_ordering::less;
    }
    const std::size_t common = std::min(prerelease.size(), other.prerelease.size());
    for (std::size_t index = 0; index < common; ++index) {
        if (const auto order = compareIdentifiers(prerelease[index], other.prerelease[index]);
            std::is_neq(order)) {
            return order;
        }
    }
    return prerelease.size() <=> other.prerelease.size();
}

}  // namespace vorda
