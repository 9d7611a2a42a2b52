#include "jjkit/support/Text.h"

#include <charconv>

namespace vorda::text {
namespace {

std::string_view trimSet(std::string_view text, std::string_view set) {
    const auto first = text.find_first_not_of(set);
    if (first == std::string_view::npos) {
        return {};
    }
    const auto last = text.find_last_not_of(set);
    return text.substr(first, last - first + 1);
}

}  // namespace

std::string_view trimBlanks(std::string_view text) {
    return trimSet(text, " \t");
}

std::string_view trimWhitespace(std::string_view text) {
    return trimSet(text, " \t\n\r\v\f");
}

std::vector<std::string_view> splitNonEmpty(std::string_view text, char separator) {
    std::vector<std::string_view> pieces;
    std::size_t start = 0;
    while (start <= text.size()) {
        auto end = text.find(separator, start);
        if (end == std::string_view::npos) {
            end = text.size();
        }
        if (end > start) {
            pieces.push_back(text.substr(start, end - start));
        }
        start = end + 1;
    }
    return pieces;
}

std::string join(const std::vector<std::string>& pieces, std::string_view separator) {
    std::string joined;
    for (std::size_t index = 0; index < pieces.size(); ++index) {
        if (index > 0) {
            joined.append(separator);
        }
        joined.append(pieces[index]);
    }
    return joined;
}

std::string firstNonBlankLine(std::string_view text) {
    for (const auto line : splitNonEmpty(text, '\n')) {
        const auto trimmed = trimWhitespace(line);
        if (!trimmed.empty()) {
            return std::string(trimmed);
        }
    }
    return {};
}

std::int64_t parseCount(std::string_view text) {
    const auto trimmed = trimWhitespace(text);
    std::int64_t count = 0;
    const auto [end, error] =
        std::from_chars(trimmed.data(), trimmed.data() + trimmed.size(), count);
    return error == std::errc() && end == trimmed.data() + trimmed.size() ? count : 0;
}

bool startsWith(std::string_view text, std::string_view prefix) {
    return text.substr(0, prefix.size()) == prefix;
}

}  // namespace vorda::text
