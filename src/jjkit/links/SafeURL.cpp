#include "jjkit/links/SafeURL.h"

#include <algorithm>
#include <array>

namespace vorda {

namespace {

bool isAlpha(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

/// Characters no address may hold as they are: blanks, controls,
/// non-ASCII bytes and the delimiters RFC 3986 leaves out.
bool isUnsafe(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte <= 0x20 || byte >= 0x7F ||
           std::string_view("<>\"{}|\\^`").find(c) != std::string_view::npos;
}

std::string lowered(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    return lower;
}

/// The host of an authority "host[:port]", empty when it is malformed.
std::string_view hostOf(std::string_view authority) {
    if (!authority.empty() && authority.front() == '[') {
        const auto close = authority.find(']');
        const auto rest = close == std::string_view::npos ? "x" : authority.substr(close + 1);
        if (!rest.empty() &&
            (rest.front() != ':' || !std::all_of(rest.begin() + 1, rest.end(), isDigit))) {
            return {};
        }
        return authority.substr(0, close + 1);
    }
    const auto colon = authority.find(':');
    if (colon != std::string_view::npos) {
        const auto port = authority.substr(colon + 1);
        if (!std::all_of(port.begin(), port.end(), isDigit)) {
            return {};
        }
        authority = authority.substr(0, colon);
    }
    const bool wellFormed = std::all_of(authority.begin(), authority.end(), [](char c) {
        return isAlpha(c) || isDigit(c) || c == '-' || c == '.' || c == '_' || c == '%';
    });
    return wellFormed ? authority : std::string_view();
}

}  // namespace

std::optional<std::string> safeURL(std::string_view text, bool app) {
    if (text.empty() || std::any_of(text.begin(), text.end(), isUnsafe)) {
        return std::nullopt;
    }
    const auto colon = text.find(':');
    if (colon == std::string_view::npos || colon == 0 || !isAlpha(text.front())) {
        return std::nullopt;
    }
    const std::string_view scheme = text.substr(0, colon);
    if (!std::all_of(scheme.begin(), scheme.end(), [](char c) {
            return isAlpha(c) || isDigit(c) || c == '+' || c == '-' || c == '.';
        })) {
        return std::nullopt;
    }
    const std::string lower = lowered(scheme);
    const bool allowed = app ? lower == "linear" : lower == "https" || lower == "http";
    std::string_view rest = text.substr(colon + 1);
    if (!allowed || rest.substr(0, 2) != "//") {
        return std::nullopt;
    }
    rest.remove_prefix(2);
    const std::string_view authority = rest.substr(0, rest.find_first_of("/?#"));
    if (authority.find('@') != std::string_view::npos || hostOf(authority).empty()) {
        return std::nullopt;
    }
    return std::string(text);
}

std::string percentEncoded(std::string_view value) {
    static constexpr std::array<char, 16> hex = {'0', '1', '2', '3', '4', '5', '6', '7',
                                                 '8', '9', 'A', 'B', 'C', 'D', 'E', 'F'};
    std::string encoded;
    encoded.reserve(value.size());
    for (const char c : value) {
        if (isAlpha(c) || isDigit(c) || c == '-' || c == '.' || c == '_' || c == '~') {
            encoded += c;
            continue;
        }
        const auto byte = static_cast<unsigned char>(c);
        encoded += '%';
        encoded += hex.at(byte >> 4U);
        encoded += hex.at(byte & 0x0FU);
    }
    return encoded;
}

}  // namespace vorda
