#pragma once

#include <QAction>
#include <QMenu>
#include <QString>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "TestIDs.h"
#include "app/viewmodel/RepoViewModel.h"
#include "feature/session/RepoSnapshot.h"

namespace vorda::windowtest {

using apptest::changeIDFor;
using apptest::commitIDFor;

inline JJCommit makeCommit(std::size_t number, std::string description) {
    JJCommit commit;
    commit.changeID = changeIDFor(number);
    commit.commitID = commitIDFor(number);
    commit.description = std::move(description);
    commit.author = {"Ada Lovelace", "ada@example.com", "2024-03-04T10:00:00+00:00"};
    commit.committer = commit.author;
    return commit;
}

/// Knobs of the hand-built repository.
struct BoardShape {
    /// `fix`'s oldest commit stands on an older trunk.
    bool fixBehindTrunk = false;
    /// The default workspace stands on an older trunk with unnamed history.
    bool workspaceBehindTrunk = false;
    std::vector<std::string> conflictedFiles;
};

inline BoardShape workspaceBehindTrunk() {
    BoardShape shape;
    shape.workspaceBehindTrunk = true;
    return shape;
}

inline BoardShape fixBehindTrunk() {
    BoardShape shape;
    shape.fixBehindTrunk = true;
    return shape;
}

inline BoardShape withConflicts(std::vector<std::string> files) {
    BoardShape shape;
    shape.conflictedFiles = std::move(files);
    return shape;
}

/// A small repository: trunk `main` (commit 1), `feat` with two commits (2,
/// 3) one ahead of origin, `fix` with one commit (4) diverged from origin,
/// and the default workspace's working copy (commit 5). `feat` is pinned and
/// has a column of its own, tagged "ui"; `fix` is tagged "backend".
inline SnapshotRef boardSnapshot(const BoardShape& shape = {}) {
    auto snapshot = std::make_shared<RepoSnapshot>();
    auto& state = snapshot->repoState;
    auto trunk = makeCommit(1, "Trunk");
    trunk.immutable = true;
    const auto featBase = makeCommit(2, "Feature base");
    const auto featTip = makeCommit(3, "Feature tip");
    const auto fix = makeCommit(4, "Fix");
    auto workingCopy = makeCommit(5, "");
    workingCopy.workingCopy = true;
    for (const auto& commit : {trunk, featBase, featTip, fix, workingCopy}) {
        state.commits.emplace(commit.commitID, SharedCommit(commit));
    }

    Bookmark main;
    main.name = "main";
    main.commitIDs = {trunk.commitID};
    main.changeIDs = {trunk.changeID};
    main.origin = BookmarkOrigin::upstream("origin");
    main.remoteSyncState.value = RemoteSyncState::UpToDate{"origin"};
    Bookmark feat;
    feat.name = "feat";
    feat.commitIDs = {featTip.commitID, featBase.commitID};
    feat.changeIDs = {featTip.changeID, featBase.changeID};
    feat.remoteSyncState.value = RemoteSyncState::Ahead{"origin", 1};
    Bookmark fixBookmark;
    fixBookmark.name = "fix";
    fixBookmark.commitIDs = {fix.commitID};
    fixBookmark.changeIDs = {fix.changeID};
    fixBookmark.remoteSyncState.value = RemoteSyncState::Diverged{"origin", 1, 2};
    state.bookmarks = {{"main", main}, {"feat", feat}, {"fix", fixBookmark}};
    if (shape.fixBehindTrunk) {
        state.behindTrunkCommitIDs.insert(fix.commitID);
    }

    WorkspaceState workspace;
    workspace.workspace = {"default", "/tmp/repo", workingCopy.commitID, workingCopy.changeID};
    BaseAnchor anchor;
    anchor.commitID = shape.workspaceBehindTrunk ? commitIDFor(99) : trunk.commitID;
    anchor.changeID = changeIDFor(99);
    if (!shape.workspaceBehindTrunk) {
        anchor.bookmarkNames = {"main"};
        anchor.isTrunk = true;
    }
    workspace.baseAnchors = {anchor};
    state.workspaces = {{"default", workspace}};
    state.selectedWorkspaceName = "default";

    BookmarkSettings featSettings;
    featSettings.pinned = true;
    featSettings.columnVisible = true;
    featSettings.tags = {"ui"};
    BookmarkSettings fixSettings;
    fixSettings.tags = {"backend"};
    snapshot->settingsByName = {{"feat", featSettings}, {"fix", fixSettings}};
    snapshot->trunkCommitID = trunk.commitID;
    snapshot->trunkBookmarkName = "main";
    snapshot->conflictedFiles = shape.conflictedFiles;
    return snapshot;
}

/// The texts of a menu's entries, separators as "-".
inline std::vector<std::string> entryTitles(const QMenu& menu) {
    std::vector<std::string> titles;
    for (const auto* action : menu.actions()) {
        titles.push_back(action->isSeparator() ? "-" : action->text().toStdString());
    }
    return titles;
}

/// The entry titled `title` (at any depth), or null.
inline QAction* findEntry(const QMenu& menu, const QString& title) {
    for (auto* action : menu.actions()) {
        if (action->text() == title) {
            return action;
        }
        if (auto* submenu = action->menu()) {
            if (auto* found = findEntry(*submenu, title)) {
                return found;
            }
        }
    }
    return nullptr;
}

}  // namespace vorda::windowtest
