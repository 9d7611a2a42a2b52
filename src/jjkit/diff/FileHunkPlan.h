#pragma once

#include <cstddef>
#include <optional>
#include <set>
#include <string>

#include "jjkit/diff/TreeEntry.h"

namespace vorda {

/// What keeping some hunks of one file means for the right-hand tree.
struct FileHunkPlan {
    /// How many hunk ordinals the file offers, counted as `jj diff --git`
    /// counts its "@@" sections, except that a change jj shows without any
    /// (an added or deleted file that is empty or binary, a binary
    /// modification) counts as one hunk, taken whole or not at all.
    std::size_t hunkCount = 0;
    /// The entry the right-hand tree must hold; absent when it stays as it is.
    /// An entry whose kind is `absent` means removing the file.
    std::optional<TreeEntry> replacement;
};

/// Plans one file changed from `left` to `right` when the hunks in `keep` are
/// kept. Throws `std::out_of_range` with a one-line message naming `path`
/// when an ordinal is not below the file's hunk count.
///
/// Nothing kept returns the file to its left state (mode and type included).
/// Two text files get the left text with the kept hunks applied and, once
/// anything is kept, the right executable bit. Every other change (added,
/// deleted, binary, a link on either side) is one whole: any kept ordinal
/// keeps the right side as it is.
FileHunkPlan planFileHunks(const std::string& path, const TreeEntry& left, const TreeEntry& right,
                           const std::set<int>& keep);

}  // namespace vorda
