#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "jjkit/model/Bookmark.h"
#include "jjkit/model/Composition.h"

namespace vorda {

/// One repository as read at one moment: bookmarks as lanes, the commit index,
/// conflicts between bookmarks, the working copy, workspaces and their
/// compositions, and one-off work. An immutable value; everything else is
/// derived from it on request.
struct RepoState {
    std::map<std::string, Bookmark> bookmarks;
    CommitIndex commits;
    std::vector<BookmarkConflict> conflicts;
    std::optional<WorkingCopy> workingCopy;
    std::map<std::string, WorkspaceState> workspaces;
    std::optional<std::string> selectedWorkspaceName;
    std::optional<Apex> apex;
    /// Newest first.
    std::vector<OrphanWIP> orphanWIPs;
    std::set<std::string> mineChangeIDs;
    std::set<std::string> behindTrunkCommitIDs;

    const WorkspaceState* selectedWorkspace() const;

    /// The role of `bookmarkName` in `workspaceName`; `absent` when either is unknown.
    BookmarkInclusionRole inclusionRole(const std::string& bookmarkName,
                                        const std::string& workspaceName) const;

    /// Every bookmark below `bookmarkName` through `parentBookmarks`.
    std::set<std::string> transitiveDependencies(const std::string& bookmarkName) const;
    /// Every bookmark that has `bookmarkName` among its dependencies, ascending.
    std::vector<std::string> dependents(const std::string& bookmarkName) const;

    /// Whether the working copy descends from the apex.
    bool workingCopyIsAttachedToApex() const;

    /// The bookmarks the board treats as switched on.
    std::set<std::string> boardEnabledBookmarkNames() const;

    /// What the lane of `bookmarkName` sits on, by change ID.
    std::vector<BaseAnchor> baseAnchors(const std::string& bookmarkName) const;

    /// A synthetic bookmark for each remote bookmark with no local one, by name.
    std::vector<Bookmark> untrackedRemoteBookmarks() const;

    /// The user's own unnamed stacks, as lanes.
    std::vector<OneOffLane> oneOffLanes() const;

    /// Lanes standing on exactly one bookmark that is not a trunk name, by
    /// that bookmark.
    std::map<std::string, OneOffLane> stackedOneOffLanesByBookmark() const;

    bool operator==(const RepoState&) const = default;
};

}  // namespace vorda
