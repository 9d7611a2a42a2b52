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

/// Adds a bookmark whose commits (tip first) are made with `timestamp`.
inline void addBookmark(RepoState& state, const std::string& name,
                        const std::vector<std::string>& commitIDs, const std::string& timestamp,
                        bool upstream = false, bool immutable = false) {
    Bookmark bookmark;
    bookmark.name = name;
    bookmark.commitIDs = commitIDs;
    for (const auto& id : commitIDs) {
        bookmark.changeIDs.push_back("change" + id);
        state.commits.emplace(id, SharedCommit(makeCommit(id, timestamp, immutable)));
    }
    if (upstream) {
        bookmark.origin = BookmarkOrigin::upstream("origin");
    }
    state.bookmarks.emplace(name, bookmark);
}

inline Bookmark named(const std::string& name) {
    Bookmark bookmark;
    bookmark.name = name;
    return bookmark;
}

inline void addWorkspace(RepoState& state, const std::string& name,
                         std::map<std::string, BookmarkInclusionRole> roles = {}) {
    WorkspaceState workspace;
    workspace.workspace.name = name;
    workspace.bookmarkRoles = std::move(roles);
    state.workspaces.emplace(name, workspace);
}

inline SnapshotRef makeSnapshot(RepoState state,
                                std::map<std::string, BookmarkSettings> settings = {},
                                std::optional<std::string> trunkCommitID = std::nullopt) {
    auto snapshot = std::make_shared<RepoSnapshot>();
    snapshot->repoState = std::move(state);
    snapshot->settingsByName = std::move(settings);
    snapshot->trunkCommitID = std::move(trunkCommitID);
    return snapshot;
}

inline BookmarkSettings boardSettings(bool pinned, bool columnVisible,
                                      std::vector<std::string> tags = {}) {
    BookmarkSettings settings;
    settings.pinned = pinned;
    settings.columnVisible = columnVisible;
    settings.tags = std::move(tags);
    return settings;
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
