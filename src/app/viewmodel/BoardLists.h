#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "jjkit/model/Bookmark.h"
#include "jjkit/model/Composition.h"
#include "jjkit/model/RepoState.h"
#include "jjkit/settings/BookmarkSettings.h"

namespace vorda {

/// The bookmarks of the board and of the hidden panel.
struct BookmarkBoardVisibility {
    std::vector<Bookmark> filtered;
    std::vector<Bookmark> hidden;
    bool operator==(const BookmarkBoardVisibility&) const = default;
};

/// A workspace's composition boundary on a bookmark's lane.
struct WorkspaceCompositionPoint {
    std::string workspaceName;
    std::string commitID;
    bool isDraggable = true;
    bool operator==(const WorkspaceCompositionPoint&) const = default;
};

/// A workspace and the role a bookmark plays in it.
struct WorkspaceBookmarkPlacement {
    std::string workspaceName;
    BookmarkInclusionRole role;
    bool operator==(const WorkspaceBookmarkPlacement&) const = default;
};

/// The board's derived lists, as pure functions of the state and the user's
/// filters. The view model caches what these return.
namespace boardlists {

/// Every bookmark: local before upstream, then by newest author timestamp
/// over the bookmark's commits (newest first, compared as text), then by name.
std::vector<Bookmark> sortedMutableBookmarks(const RepoState& state);

/// The trunk bookmark among `bookmarks`: those whose first commit is
/// `trunkCommitID`, else those whose first commit is immutable, choosing a
/// preferred trunk name first and the first name otherwise.
std::optional<std::string> trunkBookmarkName(const RepoState& state,
                                             const std::optional<std::string>& trunkCommitID);

/// Bookmarks some workspace includes; with no workspaces, the board's
/// enabled bookmarks.
std::set<std::string> allWorkspaceIncludedBookmarkNames(const RepoState& state);

/// Splits `sortedBookmarks` into the board's bookmarks and the hidden ones,
/// by the filter text, the selected tags, the board settings and inclusion.
/// The trunk bookmark is in neither.
BookmarkBoardVisibility bookmarkBoardVisibility(
    const std::vector<Bookmark>& sortedBookmarks,
    const std::map<std::string, BookmarkSettings>& settingsByName,
    const std::set<std::string>& includedNames, const std::string& filterText,
    const std::set<std::string>& selectedTags, const std::optional<std::string>& trunkName);

/// Every tag of every setting, once, ascending.
std::vector<std::string> allTagsInUse(const std::map<std::string, BookmarkSettings>& settings);

/// Whether the bookmark's oldest commit is behind trunk.
bool isBookmarkBehindTrunk(const RepoState& state, const Bookmark& bookmark);

/// Whether the workspace stands on an older trunk: it has base anchors, none
/// is trunk's commit, and one carries no bookmark.
bool workspaceIsBehindTrunk(const RepoState& state, const std::string& workspaceName,
                            const std::optional<std::string>& trunkCommitID);

/// The composition points each workspace has on the bookmark's lane, by
/// workspace name.
std::vector<WorkspaceCompositionPoint> workspaceCompositionPoints(const RepoState& state,
                                                                  const std::string& bookmark);

/// Lanes whose display name, or a commit's change ID, commit ID or summary,
/// contains the filter text (lowered, trimmed); none while a tag is selected.
std::vector<OneOffLane> filteredOneOffLanes(const std::vector<OneOffLane>& lanes,
                                            const std::string& filterText,
                                            const std::set<std::string>& selectedTags);

/// The filter text as it is matched: trimmed of blanks and line ends, lowered.
std::string filterNeedle(const std::string& filterText);

/// The first line of a description, which the board shows as the summary.
std::string summaryLine(const std::string& description);

}  // namespace boardlists

}  // namespace vorda
