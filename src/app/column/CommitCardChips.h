#pragma once

#include <QString>
#include <string>
#include <vector>

#include "app/column/BookmarkColumnInput.h"
#include "jjkit/records/JJCommit.h"

namespace vorda {

/// One chip beside a commit card: a bookmark that points there, a
/// workspace's composition boundary, or a mark of the commit's role.
struct CardChip {
    enum class Kind {
        /// The lane's own bookmark, at the first card.
        bookmark,
        /// Another bookmark whose tip is this commit.
        inlineTip,
        /// A rebase of another bookmark at this commit is running.
        advancingTip,
        /// A workspace's composition boundary.
        compositionPoint,
        /// A composition input of a working copy that no bookmark names.
        unnamedInput,
    };

    Kind kind = Kind::inlineTip;
    QString text;
    /// Empty when the chip has no help of its own (the card's applies).
    QString tooltip;
    /// For screen readers; the text when empty.
    QString accessibleLabel;
    /// Drawn with a lock.
    bool isImmutable = false;
    /// The bookmark's own column is hidden; drawn subdued.
    bool isColumnHidden = false;
    /// The bookmark an inline tip stands for; empty for the other kinds.
    std::string bookmarkName;
    /// An inline tip of a real bookmark, which its menu can rename or delete.
    bool isRealBookmark = false;
    /// A marker that can be dragged to another commit of the lane: the
    /// lane's bookmark, or a movable composition point.
    bool isDraggable = false;
    /// The workspace of a composition point.
    std::string workspaceName;

    bool operator==(const CardChip&) const = default;
};

/// The chips of one card, in drawing order: the lane's bookmark (first card
/// only), other bookmarks' tips, running rebases, composition points, and the
/// unnamed-input mark.
std::vector<CardChip> cardChips(const BookmarkColumnInput& input, const JJCommit& commit,
                                bool isFirstLaneCommit);

}  // namespace vorda
