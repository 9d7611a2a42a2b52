#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "MenuText.h"
#include "TestIDs.h"
#include "app/viewmodel/RepoViewModel.h"
#include "app/window/RepoCommandTarget.h"
#include "feature/session/RepoSnapshot.h"

namespace vorda::windowtest {

using apptest::changeIDFor;
using apptest::commitIDFor;
using apptest::makeCommit;

/// Knobs of the hand-built repository.
struct BoardShape {
    /// `fix`'s oldest commit stands on an older trunk.
    bool fixBehindTrunk = false;
    /// The default workspace stands on an older trunk with unnamed history.
    bool workspaceBehindTrunk = false;
    std::vector<std::string> conflictedFiles;
};

/// A small repository: trunk `main` (commit 1), `feat` with two commits (2,
/// 3) one ahead of origin, `fix` with one commit (4) diverged from origin,
/// and the default workspace's working copy (commit 5). `feat` is pinned and
/// has a column of its own, tagged "ui"; `fix` is tagged "backend".
inline SnapshotRef boardSnapshot(const BoardShape& shape = {}) {
    auto snapshot = std::make_shared<RepoSnapshot>();
    auto& state = snapshot->repoState;
    const std::vector<JJCommit> commits = {makeCommit(1, "Trunk"), makeCommit(2, "Feature base"),
                                           makeCommit(3, "Feature tip"), makeCommit(4, "Fix"),
                                           makeCommit(5, "")};
    for (auto commit : commits) {
        commit.immutable = commit.commitID == commits[0].commitID;
        commit.workingCopy = commit.commitID == commits[4].commitID;
        state.commits.emplace(commit.commitID, SharedCommit(commit));
    }
    const auto addBookmark = [&](const std::string& name, const std::vector<std::size_t>& numbers,
                                 RemoteSyncState sync) {
        Bookmark& bookmark = state.bookmarks[name];
        bookmark.name = name;
        for (const auto number : numbers) {
            bookmark.commitIDs.push_back(commitIDFor(number));
            bookmark.changeIDs.push_back(changeIDFor(number));
        }
        bookmark.remoteSyncState = std::move(sync);
        return &bookmark;
    };
    addBookmark("main", {1}, {RemoteSyncState::UpToDate{"origin"}})->origin =
        BookmarkOrigin::upstream("origin");
    addBookmark("feat", {3, 2}, {RemoteSyncState::Ahead{"origin", 1}});
    addBookmark("fix", {4}, {RemoteSyncState::Diverged{"origin", 1, 2}});
    if (shape.fixBehindTrunk) {
        state.behindTrunkCommitIDs.insert(commitIDFor(4));
    }

    WorkspaceState workspace;
    workspace.workspace = {"default", "/tmp/repo", commitIDFor(5), changeIDFor(5)};
    BaseAnchor anchor;
    anchor.commitID = commitIDFor(shape.workspaceBehindTrunk ? 99 : 1);
    anchor.changeID = changeIDFor(99);
    if (!shape.workspaceBehindTrunk) {
        anchor.bookmarkNames = {"main"};
        anchor.isTrunk = true;
    }
    workspace.baseAnchors = {anchor};
    state.workspaces = {{"default", workspace}};
    state.selectedWorkspaceName = "default";

    snapshot->settingsByName["feat"].pinned = true;
    snapshot->settingsByName["feat"].columnVisible = true;
    snapshot->settingsByName["feat"].tags = {"ui"};
    snapshot->settingsByName["fix"].tags = {"backend"};
    snapshot->trunkCommitID = commitIDFor(1);
    snapshot->trunkBookmarkName = "main";
    snapshot->conflictedFiles = shape.conflictedFiles;
    return snapshot;
}

/// A window's side of the menus and the toolbar: its view model (on the board
/// above unless told otherwise), selection and the gestures they reach,
/// recorded.
struct FakeWindow {
    RepoViewModel viewModel;
    SelectionStore selection;
    std::vector<std::pair<BookmarkAction, Bookmark>> bookmarkActions;
    std::vector<std::pair<CommitAction, JJCommit>> commitActions;
    int newBookmarkCount = 0;
    int commitCount = 0;
    int focusFilterCount = 0;

    explicit FakeWindow(const std::optional<BoardShape>& shape = BoardShape{}) {
        if (shape) {
            viewModel.applySnapshot(boardSnapshot(*shape));
        }
    }

    RepoCommandTarget target() {
        RepoCommandTarget target;
        target.viewModel = &viewModel;
        target.selection = &selection;
        target.bookmarkAction = [this](const BookmarkAction& action, const Bookmark& bookmark) {
            bookmarkActions.emplace_back(action, bookmark);
        };
        target.commitAction = [this](CommitAction action, const JJCommit& commit) {
            commitActions.emplace_back(action, commit);
        };
        target.newBookmark = [this] {
            ++newBookmarkCount;
        };
        target.commitWorkingCopy = [this] {
            ++commitCount;
        };
        target.focusFilter = [this] {
            ++focusFilterCount;
        };
        return target;
    }

    /// Whether the last bookmark gesture was `Action` on `bookmark`.
    template <typename Action>
    bool lastActionWas(const std::string& bookmark) const {
        return !bookmarkActions.empty() &&
               std::holds_alternative<Action>(bookmarkActions.back().first.value) &&
               bookmarkActions.back().second.name == bookmark;
    }
};

using apptest::findEntry;
using apptest::menuLines;

}  // namespace vorda::windowtest
