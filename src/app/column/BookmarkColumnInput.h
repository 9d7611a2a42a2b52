#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "app/board/ColumnID.h"
#include "app/column/InlineBookmarkTip.h"
#include "app/viewmodel/BoardLists.h"
#include "jjkit/github/GitHubPR.h"
#include "jjkit/model/Bookmark.h"
#include "jjkit/model/Composition.h"
#include "jjkit/model/SharedCommit.h"
#include "jjkit/settings/BookmarkSettings.h"

namespace vorda {

/// Everything one lane column shows, filled by the board for each lane. It is
/// a plain value: the column keeps no facts of its own, so the same input
/// always draws the same column, and comparing two inputs tells whether the
/// column has anything to redraw.
///
/// ```
/// BookmarkColumnInput input;
/// input.columnID = ColumnID::bookmark(bookmark.name);
/// input.title = bookmark.name;
/// input.bookmark = bookmark;
/// input.commits = lane.commits;
/// column->setInput(std::move(input));
/// ```
struct BookmarkColumnInput {
    /// Which kind of lane the column draws; the same widget serves all four.
    enum class LaneKind {
        /// A bookmark's own commits.
        bookmark,
        /// The working-copy stack of one workspace (`workspaceName`).
        workingCopyStack,
        /// A stack of one's own commits that no bookmark owns; its `bookmark`
        /// is synthetic.
        oneOff,
        /// The trunk bookmark, drawn as a pinned box with optional history.
        trunk,
    };

    // Fields run from the largest to the smallest, so that the value packs
    // tightly; the comments group them.

    /// The lane's own commits, tip first.
    std::vector<SharedCommit> commits;
    /// Commits stacked on the lane without belonging to it (shown under the
    /// lane's commits and selectable like them).
    std::vector<SharedCommit> stackedCommits;
    /// The lane's fixed base, shown under its commits while history is closed.
    std::vector<SharedCommit> baseCommits;
    /// Bookmarks whose mutable commits the base belongs to ("on " name).
    std::vector<std::string> mutableBaseBookmarkNames;
    /// History beyond the lane's own commits, loaded page by page.
    std::vector<SharedCommit> ancestorCommits;
    /// Bookmarks in conflict with this one, ascending.
    std::vector<std::string> conflictPartners;
    /// The bookmark's role in every workspace, for the working copies menu.
    std::vector<WorkspaceBookmarkPlacement> workspacePlacements;
    /// Composition boundaries of workspaces on this lane.
    std::vector<WorkspaceCompositionPoint> compositionPoints;
    /// The file routing rules of a real bookmark, in rule order.
    std::vector<FileRoutingRule> routingRules;

    /// The header text; the bookmark's name when empty.
    std::string title;
    /// The workspace of a working-copy lane; absent for the other kinds and
    /// for a repository without named workspaces.
    std::optional<std::string> workspaceName;
    /// Short ID of the trunk's first commit, when it is loaded.
    std::optional<std::string> upstreamShortCommitID;
    /// How long ago the last fetch ended ("5 min ago"); absent before one.
    std::optional<std::string> fetchRelativeTime;
    /// The selectable identity of the column; also names its stored width.
    ColumnID selectionColumnID = ColumnID::bookmark("");

    /// Bookmark tips by commit ID, for the chips beside each card.
    std::map<std::string, std::vector<InlineBookmarkTip>> inlineBookmarkTips;
    /// Commit IDs of a working-copy lane's composition inputs that no
    /// bookmark names.
    std::set<std::string> unnamedInputIDs;
    /// Commit IDs of cards whose commits are being rebased right now.
    std::set<std::string> advancingCommitIDs;
    /// Change IDs selected in this column.
    std::set<std::string> selectedChangeIDs;

    /// The bookmark's role in the selected workspace; absent with no
    /// workspace selected.
    std::optional<BookmarkInclusionRole> inclusionRole;
    std::optional<GitHubPR> pr;
    Bookmark bookmark;

    LaneKind kind = LaneKind::bookmark;
    /// How much history there is in all; absent while it is unknown.
    std::optional<int> ancestorTotal;
    /// Whether the history is open.
    bool isExpanded = false;
    /// Whether the lane is part of the composed working copy (the toggle's
    /// state when no inclusion role is known).
    bool isEnabled = false;
    bool isPinned = false;
    bool isMergedIntoTrunk = false;
    /// Whether `gh` is usable; no pull request badge without it.
    bool githubAvailable = false;
    bool isBehindTrunk = false;
    /// Whether the lane offers "Rebase Local Stack(s)…" when it is behind
    /// trunk (the trunk column: always).
    bool offersLocalStackRebase = false;
    /// Whether this column is the selected one.
    bool isSelected = false;
    /// Whether the diff column stands beside this one.
    bool isDiffShown = false;
    /// Whether the lane is live in the selected workspace; absent when that
    /// does not apply. A lane that is not active reads dimmed.
    std::optional<bool> isActive;

    bool isTrunk() const { return kind == LaneKind::trunk; }
    bool isWorkingCopyLane() const { return kind == LaneKind::workingCopyStack; }
    bool isSyntheticOneOff() const { return kind == LaneKind::oneOff; }
    /// The header text: `title`, or the bookmark's name when that is empty.
    const std::string& displayTitle() const { return title.empty() ? bookmark.name : title; }

    bool operator==(const BookmarkColumnInput&) const = default;
};

}  // namespace vorda
