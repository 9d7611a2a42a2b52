#include "jjkit/client/JJVersion.h"

#include <charconv>

#include "jjkit/support/Text.h"

namespace vorda {
namespace {

std::optional<int> wholeNumber(std::string_view piece) {
    int value = 0;
    const auto* end = piece.data() + piece.size();
    const auto [stop, error] = std::from_chars(piece.data(), end, value);
    if (error != std::errc() || stop != end) {
        return std::nullopt;
    }
    return value;
}

}  // namespace

std::optional<JJVersion> JJVersion::parsing(std::string_view text) {
    std::string_view rest = text::trimWhitespace(text);
    if (text::startsWith(rest, "jj ")) {
        rest.remove_prefix(3);
    }
    const auto pieces = text::splitNonEmpty(rest, '.');
    if (pieces.size() < 2) {
        return std::nullopt;
    }
    const auto major = wholeNumber(pieces[0]);
    const auto minor = wholeNumber(pieces[1]);
    if (!major || !minor) {
        return std::nullopt;
    }
    const int patch = pieces.size() > 2 ? wholeNumber(pieces[2]).value_or(0) : 0;
    return JJVersion{*major, *minor, patch, std::string(rest)};
}

std::strong_ordering JJVersion::operator<=>(const JJVersion& other) const {
    if (const auto order = major <=> other.major; std::is_neq(order)) {
        return order;
    }
    if (const auto order = minor <=> other.minor; std::is_neq(order)) {
        return order;
    }
    return patch <=> other.patch;
}

}  // namespace vorda
