#include "app/viewmodel/BoardLists.h"

#include <algorithm>
#include <cctype>

#include "feature/lanes/BookmarkLaneProjection.h"

namespace vorda::boardlists {

namespace {

std::string lowered(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

bool contains(const std::string& haystack, const std::string& loweredNeedle) {
    return lowered(haystack).find(loweredNeedle) != std::string::npos;
}

/// The newest author timestamp among the bookmark's loaded commits; empty
/// when none is loaded, so such a bookmark sorts last.
std::string newestTimestamp(const RepoState& state, const Bookmark& bookmark) {
    std::string newest;
    for (const auto& commitID : bookmark.commitIDs) {
        if (const auto found = state.commits.find(commitID); found != state.commits.end()) {
            newest = std::max(newest, found->second->author.timestamp);
        }
    }
    return newest;
}

bool hasAllTags(const std::map<std::string, BookmarkSettings>& settingsByName,
                const std::string& name, const std::set<std::string>& selectedTags) {
    if (selectedTags.empty()) {
        return true;
    }
    const auto settings = settingsByName.find(name);
    if (settings == settingsByName.end()) {
        return false;
    }
    const auto& tags = settings->second.tags;
    return std::all_of(selectedTags.begin(), selectedTags.end(), [&](const std::string& tag) {
        return std::find(tags.begin(), tags.end(), tag) != tags.end();
    });
}

}  // namespace

std::string filterNeedle(const std::string& filterText) {
    const auto isBlank = [](unsigned char c) {
        return std::isspace(c) != 0;
    };
    auto begin = std::find_if_not(filterText.begin(), filterText.end(), isBlank);
    auto end = std::find_if_not(filterText.rbegin(), std::make_reverse_iterator(begin), isBlank);
    return lowered(std::string(begin, end.base()));
}

std::string summaryLine(const std::string& description) {
    return description.substr(0, description.find('\n'));
}

std::vector<Bookmark> sortedMutableBookmarks(const RepoState& state) {
    struct Keyed {
        const Bookmark* bookmark;
        std::string newest;
    };
    std::vector<Keyed> keyed;
    keyed.reserve(state.bookmarks.size());
    for (const auto& [name, bookmark] : state.bookmarks) {
        keyed.push_back({&bookmark, newestTimestamp(state, bookmark)});
    }
    std::stable_sort(keyed.begin(), keyed.end(), [](const Keyed& a, const Keyed& b) {
        const bool aUpstream = a.bookmark->origin.isUpstream();
        const bool bUpstream = b.bookmark->origin.isUpstream();
        if (aUpstream != bUpstream) {
            return !aUpstream;
        }
        if (a.newest != b.newest) {
            return a.newest > b.newest;
        }
        return a.bookmark->name < b.bookmark->name;
    });
    std::vector<Bookmark> sorted;
    sorted.reserve(keyed.size());
    for (const auto& entry : keyed) {
        sorted.push_back(*entry.bookmark);
    }
    return sorted;
}

std::optional<std::string> trunkBookmarkName(const RepoState& state,
                                             const std::optional<std::string>& trunkCommitID) {
    return BookmarkLaneProjection::resolveTrunkName(state, trunkCommitID);
}

std::set<std::string> allWorkspaceIncludedBookmarkNames(const RepoState& state) {
    if (state.workspaces.empty()) {
        return state.boardEnabledBookmarkNames();
    }
    std::set<std::string> names;
    for (const auto& [workspaceName, workspace] : state.workspaces) {
        for (const auto& [bookmark, role] : workspace.bookmarkRoles) {
            if (!std::holds_alternative<BookmarkInclusionRole::Absent>(role.value)) {
                names.insert(bookmark);
            }
        }
    }
    return names;
}

BookmarkBoardVisibility bookmarkBoardVisibility(
    const std::vector<Bookmark>& sortedBookmarks,
    const std::map<std::string, BookmarkSettings>& settingsByName,
    const std::set<std::string>& includedNames, const std::string& filterText,
    const std::set<std::string>& selectedTags, const std::optional<std::string>& trunkName) {
    const std::string needle = filterNeedle(filterText);
    const bool filterActive = !needle.empty() || !selectedTags.empty();
    BookmarkBoardVisibility visibility;
    for (const auto& bookmark : sortedBookmarks) {
        if (bookmark.name == trunkName) {
            continue;
        }
        const auto settings = settingsByName.find(bookmark.name);
        const bool onBoard = settings != settingsByName.end() &&
                             (settings->second.pinned || settings->second.columnVisible);
        const bool matches = (needle.empty() || contains(bookmark.name, needle)) &&
                             hasAllTags(settingsByName, bookmark.name, selectedTags);
        if (onBoard || includedNames.contains(bookmark.name)) {
            if (matches) {
                visibility.filtered.push_back(bookmark);
            }
            continue;
        }
        if (matches && filterActive) {
            visibility.filtered.push_back(bookmark);
        }
        visibility.hidden.push_back(bookmark);
    }
    return visibility;
}

std::vector<std::string> allTagsInUse(const std::map<std::string, BookmarkSettings>& settings) {
    std::set<std::string> tags;
    for (const auto& [name, entry] : settings) {
        tags.insert(entry.tags.begin(), entry.tags.end());
    }
    return {tags.begin(), tags.end()};
}

bool isBookmarkBehindTrunk(const RepoState& state, const Bookmark& bookmark) {
    return !bookmark.commitIDs.empty() &&
           state.behindTrunkCommitIDs.contains(bookmark.commitIDs.back());
}

bool workspaceIsBehindTrunk(const RepoState& state, const std::string& workspaceName,
                            const std::optional<std::string>& trunkCommitID) {
    if (!trunkCommitID) {
        return false;
    }
    const auto workspace = state.workspaces.find(workspaceName);
    if (workspace == state.workspaces.end()) {
        return false;
    }
    const auto& anchors = workspace->second.baseAnchors;
    if (anchors.empty() || std::any_of(anchors.begin(), anchors.end(), [&](const BaseAnchor& a) {
            return a.commitID == *trunkCommitID;
        })) {
        return false;
    }
    return std::any_of(anchors.begin(), anchors.end(),
                       [](const BaseAnchor& a) { return a.bookmarkNames.empty(); });
}

std::vector<WorkspaceCompositionPoint> workspaceCompositionPoints(const RepoState& state,
                                                                  const std::string& bookmark) {
    std::vector<WorkspaceCompositionPoint> points;
    const auto known = state.bookmarks.find(bookmark);
    for (const auto& [workspaceName, workspace] : state.workspaces) {
        const auto role = workspace.bookmarkRoles.find(bookmark);
        if (role == workspace.bookmarkRoles.end()) {
            continue;
        }
        if (const auto* partial =
                std::get_if<BookmarkInclusionRole::Partial>(&role->second.value)) {
            points.push_back({workspaceName, partial->commitID, true});
        } else if (std::holds_alternative<BookmarkInclusionRole::DirectParent>(
                       role->second.value) &&
                   known != state.bookmarks.end() && !known->second.commitIDs.empty()) {
            points.push_back({workspaceName, known->second.commitIDs.front(), true});
        }
    }
    // The workspaces map is ordered by name already; the points follow it.
    return points;
}

std::vector<OneOffLane> filteredOneOffLanes(const std::vector<OneOffLane>& lanes,
                                            const std::string& filterText,
                                            const std::set<std::string>& selectedTags) {
    if (!selectedTags.empty()) {
        return {};
    }
    const std::string needle = filterNeedle(filterText);
    if (needle.empty()) {
        return lanes;
    }
    std::vector<OneOffLane> matching;
    for (const auto& lane : lanes) {
        const bool matches =
            contains(lane.displayName(), needle) ||
            std::any_of(lane.commits.begin(), lane.commits.end(), [&](const JJCommit& commit) {
                return contains(commit.changeID, needle) || contains(commit.commitID, needle) ||
                       contains(summaryLine(commit.description), needle);
            });
        if (matches) {
            matching.push_back(lane);
        }
    }
    return matching;
}

}  // namespace vorda::boardlists
