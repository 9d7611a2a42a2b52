#pragma once

#include <memory>
#include <string>
#include <vector>

#include "feature/session/RepoSnapshot.h"

namespace vorda::testing {

/// A commit for hand-built states.
inline JJCommit makeCommit(const std::string& id, const std::string& timestamp,
                           bool immutable = false) {
    JJCommit commit;
    commit.commitID = id;
    commit.changeID = "change" + id;
    commit.description = "commit " + id + "\n";
    commit.author = {"Ann", "ann@example.com", timestamp};
    commit.committer = commit.author;
    commit.immutable = immutable;
    return commit;
}

inline Bookmark named(const std::string& name) {
    Bookmark bookmark;
    bookmark.name = name;
    return bookmark;
}

/// Adds a bookmark whose commits (tip first) are made with `timestamp`.
inline void addBookmark(RepoState& state, const std::string& name,
                        const std::vector<std::string>& commitIDs, const std::string& timestamp,
                        bool upstream = false, bool immutable = false) {
    Bookmark bookmark = named(name);
    bookmark.commitIDs = commitIDs;
    for (const auto& id : commitIDs) {
        bookmark.changeIDs.push_back("change" + id);
        state.commits.emplace(id, SharedCommit(makeCommit(id, timestamp, immutable)));
    }
    bookmark.origin = upstream ? BookmarkOrigin::upstream("origin") : BookmarkOrigin::local();
    state.bookmarks.emplace(name, bookmark);
}

inline void addWorkspace(RepoState& state, const std::string& name,
                         std::map<std::string, BookmarkInclusionRole> roles = {}) {
    WorkspaceState workspace;
    workspace.workspace.name = name;
    workspace.bookmarkRoles = std::move(roles);
    state.workspaces.emplace(name, workspace);
}

inline BookmarkSettings boardSettings(bool pinned, bool columnVisible,
                                      std::vector<std::string> tags = {}) {
    BookmarkSettings settings;
    settings.pinned = pinned;
    settings.columnVisible = columnVisible;
    settings.tags = std::move(tags);
    return settings;
}

/// main on trunk; "fresh" (two commits, included in workspace "b" and
/// shown in a column of its own, with a conflicted one-off of one's own on
/// its tip) and "stale" (pinned, tagged) on the board; "feature-login"
/// hidden and tagged; an upstream bookmark; workspaces "b" (selected) and "a".
inline SnapshotRef boardState() {
    RepoState state;
    addBookmark(state, "main", {"t1"}, "2026-01-01T00:00:00Z", true, true);
    addBookmark(state, "fresh", {"f2", "f1"}, "2026-03-01T00:00:00Z");
    addBookmark(state, "stale", {"s1"}, "2026-02-01T00:00:00Z");
    addBookmark(state, "feature-login", {"l1"}, "2026-02-15T00:00:00Z");
    addBookmark(state, "upstream-only", {"u1"}, "2026-04-01T00:00:00Z", true);
    auto wip = makeCommit("w1", "2026-03-02T00:00:00Z");
    wip.conflict = true;
    state.commits.emplace("w1", SharedCommit(wip));
    state.orphanWIPs.push_back(
        {"changew1", "w1", "wip", std::nullopt, true, true, {"changef2"}, ""});
    addWorkspace(state, "b", {{"fresh", {BookmarkInclusionRole::DirectParent{}}}});
    addWorkspace(state, "a");
    state.selectedWorkspaceName = "b";
    auto snapshot = std::make_shared<RepoSnapshot>();
    snapshot->repoState = std::move(state);
    snapshot->settingsByName = {{"fresh", boardSettings(false, true)},
                                {"stale", boardSettings(true, false, {"ui", "urgent"})},
                                {"feature-login", boardSettings(false, false, {"ui"})}};
    snapshot->trunkCommitID = "t1";
    return snapshot;
}

inline std::vector<std::string> names(const std::vector<Bookmark>& bookmarks) {
    std::vector<std::string> result;
    result.reserve(bookmarks.size());
    for (const auto& bookmark : bookmarks) {
        result.push_back(bookmark.name);
    }
    return result;
}

}  // namespace vorda::testing
