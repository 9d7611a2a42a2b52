#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "app/column/BookmarkColumnInput.h"
#include "app/column/CommitListModel.h"
#include "app/drag/DragPayloads.h"

namespace vorda {

/// What is being dragged over a lane: one of the board's payloads, or files
/// from another application (absolute paths).
struct DragContent {
    struct Files {
        std::vector<std::string> paths;
        bool operator==(const Files&) const = default;
    };
    std::variant<CommitDragPayload, LaneMarkerDragPayload, BookmarkDragPayload, Files> value;
    bool operator==(const DragContent&) const = default;
};

/// What a drop onto a lane does; the board turns each case into one command.
struct LaneDrop {
    /// Commits onto a commit of a bookmark lane: routed, absorbed or rebased
    /// into the bookmark; with `isCopy`, duplicated onto the commit.
    struct CommitsOntoCommit {
        CommitDragPayload payload;
        std::string targetCommitID;
        bool isCopy = false;
        bool operator==(const CommitsOntoCommit&) const = default;
    };
    /// Commits onto a commit of a working copy's own stack.
    struct WorkspaceCommits {
        CommitDragPayload payload;
        std::string targetCommitID;
        bool isCopy = false;
        bool operator==(const WorkspaceCommits&) const = default;
    };
    /// Commits onto the trunk a working copy stands on: a new branch of them.
    struct ComposeOnTrunk {
        CommitDragPayload payload;
        std::string workspaceName;
        std::string baseCommitID;
        bool operator==(const ComposeOnTrunk&) const = default;
    };
    /// The lane's bookmark marker onto one of its commits.
    struct MoveBookmarkTip {
        std::string commitID;
        bool allowBackwards = false;
        bool operator==(const MoveBookmarkTip&) const = default;
    };
    /// A workspace's composition point onto another commit of the lane.
    struct MoveCompositionPoint {
        std::string workspaceName;
        std::string commitID;
        bool operator==(const MoveCompositionPoint&) const = default;
    };
    /// A bookmark onto the selected workspace's lane: include it there.
    struct IncludeBookmark {
        std::string workspaceName;
        std::string name;
        bool operator==(const IncludeBookmark&) const = default;
    };
    /// A bookmark onto another bookmark's lane: rebase it onto that tip.
    struct RebaseBookmark {
        std::string name;
        std::string destinationCommitID;
        bool operator==(const RebaseBookmark&) const = default;
    };
    /// Files onto a bookmark lane: move their changes into it.
    struct StageFiles {
        std::vector<std::string> paths;
        bool operator==(const StageFiles&) const = default;
    };

    std::variant<CommitsOntoCommit, WorkspaceCommits, ComposeOnTrunk, MoveBookmarkTip,
                 MoveCompositionPoint, IncludeBookmark, RebaseBookmark, StageFiles>
        value;

    /// Whether the drop copies commits instead of moving them.
    bool isCopy() const;
    /// Whether the drop lands on the card under the pointer, rather than on
    /// the lane as a whole.
    bool landsOnRow() const;
    bool operator==(const LaneDrop&) const = default;
};

/// What dropping `content` on `input`'s lane would do, over `row` (absent
/// outside the rows) with the copy modifier held or not; absent when the
/// lane refuses it. A commit is never dropped on itself, a marker only on
/// its own lane, and a bookmark never on its own lane.
std::optional<LaneDrop> laneDrop(const BookmarkColumnInput& input, const DragContent& content,
                                 const std::optional<CommitListModel::Row>& row, bool copyHeld);

/// The payload of the board's drag under way, if any.
std::optional<DragContent> sessionDragContent();

/// The drag content that `data` carries, or absent.
std::optional<DragContent> dragContent(const class QMimeData& data);

}  // namespace vorda
