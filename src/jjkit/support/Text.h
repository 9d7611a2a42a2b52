#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vorda::text {

/// Trims blanks and tabs at both ends (not line ends).
std::string_view trimBlanks(std::string_view text);

/// Trims all ASCII whitespace, line ends included, at both ends.
std::string_view trimWhitespace(std::string_view text);

/// Splits at `separator`, dropping empty pieces.
std::vector<std::string_view> splitNonEmpty(std::string_view text, char separator);

/// Joins with `separator` between the pieces.
std::string join(const std::vector<std::string>& pieces, std::string_view separator);

/// The first line that is not blank, trimmed of whitespace; empty when
/// there is none.
std::string firstNonBlankLine(std::string_view text);

/// A whole decimal integer, blanks and line ends around it allowed; 0 for
/// anything else.
std::int64_t parseCount(std::string_view text);

bool startsWith(std::string_view text, std::string_view prefix);

}  // namespace vorda::text
