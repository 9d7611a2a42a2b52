#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace vorda {

/// The lines of `text`, each with its own line feed; a last line without one
/// is a line too, and an empty text has none. Carriage returns stay in the
/// line, so "\r\n" line ends survive any round trip byte for byte.
std::vector<std::string_view> splitLinesInclusive(std::string_view text);

/// One line that is the same on both sides: its index on the left and on the
/// right.
struct LinePair {
    std::size_t left = 0;
    std::size_t right = 0;

    bool operator==(const LinePair&) const = default;
};

/// The lines of `left` and `right` that a line diff leaves unchanged, in
/// increasing order on both sides, chosen exactly as jj chooses them, so that
/// what lies between them forms the same changed regions as in `jj diff`.
///
/// jj's matcher is a histogram diff: within a range it takes the words (here:
/// whole lines, compared byte for byte) of the smallest occurrence count on
/// the left that occur equally often on the right, pairs their occurrences in
/// order, keeps the longest increasing chain of those pairs and recurses into
/// the gaps between them. A range where no such word exists falls back to its
/// common leading and trailing lines. The chain search and its tie breaks
/// follow jj's own step for step, since any other longest chain would move
/// hunk boundaries.
std::vector<LinePair> matchLines(const std::vector<std::string_view>& left,
                                 const std::vector<std::string_view>& right);

}  // namespace vorda
