#pragma once

#include <string>

namespace vorda {

/// A bookmark whose tip is a commit shown in some column, drawn as a chip
/// beside that commit's card. The board prepares these once per render, by
/// commit ID, so that every column reads the same facts.
struct InlineBookmarkTip {
    std::string name;
    /// The bookmark exists only here, not on a remote.
    bool isLocal = false;
    /// The name stands for a real bookmark (not a synthetic lane), so it can
    /// be renamed or deleted.
    bool isRealBookmark = true;
    /// The commit the tip is listed under.
    std::string tipCommitID;
    /// The bookmark's own column is hidden from the board.
    bool isColumnHidden = false;
    bool isBehindTrunk = false;
    /// A rebase of this bookmark is running.
    bool isAdvancing = false;
    /// The commit is a composition attachment older than the bookmark's tip.
    bool isOlderAttachment = false;
    bool isImmutable = false;

    bool operator==(const InlineBookmarkTip&) const = default;
};

}  // namespace vorda
