#pragma once

#include <cstddef>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace vorda {

/// One "@@" section of a Git-style diff, as line ranges: `[leftBegin,
/// leftEnd)` of the old text and `[rightBegin, rightEnd)` of the new, counted
/// from 0, context lines included.
struct LineHunk {
    std::size_t leftBegin = 0;
    std::size_t leftEnd = 0;
    std::size_t rightBegin = 0;
    std::size_t rightEnd = 0;

    bool operator==(const LineHunk&) const = default;
};

/// The lines of context `jj diff --git` shows around a change.
inline constexpr std::size_t gitDiffContextLines = 3;

/// The hunks `jj diff --git` prints for a text file changed from `left` to
/// `right`, in order, so that a hunk's index here is its ordinal there.
///
/// The changed regions come from `matchLines`; each hunk takes up to
/// `context` unchanged lines before and after its changes, and two changes
/// share a hunk when no more than twice `context` unchanged lines lie between
/// them, the way jj groups them. Equal texts have no hunks.
std::vector<LineHunk> unifiedLineHunks(std::string_view left, std::string_view right,
                                       std::size_t context = gitDiffContextLines);

/// `left` with the hunks whose ordinals are in `keep` taken from `right`,
/// every other part as on the left. Works on bytes: line ends and a missing
/// final line feed come out exactly as on the side they are taken from.
/// Ordinals past the end of `hunks` are ignored; the caller checks them.
std::string applyLineHunks(std::string_view left, std::string_view right,
                           const std::vector<LineHunk>& hunks, const std::set<int>& keep);

}  // namespace vorda
