// The board's derived lists and questions: pure reads of its fields,
// the costly ones cached until a setter drops them.
#include <algorithm>

#include "app/viewmodel/BoardModel.h"
#include "jjkit/trace/Bench.h"

namespace vorda {

namespace {

const std::vector<Bookmark> noBookmarks;
const StringList noNames;

}  // namespace

const std::vector<Bookmark>& BoardModel::mutableBookmarks() const {
    const auto* state = repoState();
    if (state == nullptr) {
        return noBookmarks;
    }
    if (!mutableBookmarksCache_) {
        mutableBookmarksCache_ = Bench::measure(
            [&] { return "mutableBookmarks(" + std::to_string(state->bookmarks.size()) + ")"; },
            [&] { return boardlists::sortedMutableBookmarks(*state); });
    }
    return *mutableBookmarksCache_;
}

const std::vector<Bookmark>& BoardModel::filteredBookmarks() const {
    if (repoState() == nullptr) {
        return noBookmarks;
    }
    if (!boardVisibilityCache_) {
        boardVisibilityCache_ = Bench::measure("bookmarkBoardVisibility", [&] {
            return boardlists::bookmarkBoardVisibility(
                mutableBookmarks(), settingsByName(), allWorkspaceIncludedBookmarkNames(),
                filterText(), selectedTagFilters(), trunkBookmarkName());
        });
    }
    return boardVisibilityCache_->filtered;
}

const std::vector<Bookmark>& BoardModel::hiddenBookmarks() const {
    if (repoState() == nullptr) {
        return noBookmarks;
    }
    filteredBookmarks();
    return boardVisibilityCache_->hidden;
}

const std::vector<Bookmark>& BoardModel::untrackedRemoteBookmarks() const {
    const auto* state = repoState();
    if (state == nullptr) {
        return noBookmarks;
    }
    if (!untrackedRemoteBookmarksCache_) {
        untrackedRemoteBookmarksCache_ = Bench::measure(
            "untrackedRemoteBookmarks", [&] { return state->untrackedRemoteBookmarks(); });
    }
    return *untrackedRemoteBookmarksCache_;
}

const StringList& BoardModel::allTagsInUse() const {
    if (!allTagsCache_) {
        allTagsCache_ = boardlists::allTagsInUse(settingsByName());
    }
    return allTagsCache_ ? *allTagsCache_ : noNames;
}

StringSet BoardModel::allWorkspaceIncludedBookmarkNames() const {
    const auto* state = repoState();
    return state == nullptr ? StringSet{} : boardlists::allWorkspaceIncludedBookmarkNames(*state);
}

OptionalText BoardModel::trunkBookmarkName() const {
    const auto* state = repoState();
    return state == nullptr ? std::nullopt : boardlists::trunkBookmarkName(*state, trunkCommitID());
}

std::map<std::string, OneOffLane> BoardModel::foldedOneOffLanesByBookmark() const {
    const auto* state = repoState();
    if (state == nullptr) {
        return {};
    }
    // Folded only under a bookmark that has a column of its own: a lane
    // folded anywhere else would be on no column at all.
    if (!stackedOneOffLanesCache_) {
        stackedOneOffLanesCache_ = state->stackedOneOffLanesByBookmark();
    }
    auto folded = *stackedOneOffLanesCache_;
    const auto& filtered = filteredBookmarks();
    const auto included = allWorkspaceIncludedBookmarkNames();
    std::erase_if(folded, [&](const auto& entry) {
        const bool onBoard = std::any_of(filtered.begin(), filtered.end(),
                                         [&](const Bookmark& b) { return b.name == entry.first; });
        return !onBoard ||
               (included.contains(entry.first) && !isBookmarkColumnVisible(entry.first));
    });
    return folded;
}

std::vector<OneOffLane> BoardModel::availableOneOffLanes() const {
    const auto* state = repoState();
    if (state == nullptr) {
        return {};
    }
    const auto folded = foldedOneOffLanesByBookmark();
    if (!oneOffLanesCache_) {
        oneOffLanesCache_ = state->oneOffLanes();
    }
    auto lanes = *oneOffLanesCache_;
    std::erase_if(lanes, [&](const OneOffLane& lane) {
        return std::any_of(folded.begin(), folded.end(),
                           [&](const auto& entry) { return entry.second.id() == lane.id(); });
    });
    return lanes;
}

std::vector<OneOffLane> BoardModel::hiddenOneOffLanes() const {
    auto lanes = availableOneOffLanes();
    std::erase_if(
        lanes, [&](const OneOffLane& lane) { return expandedOneOffLaneIDs().contains(lane.id()); });
    return lanes;
}

bool BoardModel::isFilterActive() const {
    return !boardlists::filterNeedle(filterText()).empty() || !selectedTagFilters().empty();
}

std::vector<OneOffLane> BoardModel::filteredOneOffLanes() const {
    return boardlists::filteredOneOffLanes(availableOneOffLanes(), filterText(),
                                           selectedTagFilters());
}

std::vector<OneOffLane> BoardModel::expandedOneOffLanes() const {
    auto lanes = availableOneOffLanes();
    std::erase_if(lanes, [&](const OneOffLane& lane) {
        return !expandedOneOffLaneIDs().contains(lane.id());
    });
    return lanes;
}

const WorkspaceState* BoardModel::selectedWorkspace() const {
    const auto* state = repoState();
    if (state == nullptr || !selectedWorkspaceName()) {
        return nullptr;
    }
    const auto found = state->workspaces.find(*selectedWorkspaceName());
    return found == state->workspaces.end() ? nullptr : &found->second;
}

const JJCommit* BoardModel::workingCopyCommit() const {
    const auto* state = repoState();
    if (state == nullptr) {
        return nullptr;
    }
    if (const auto* workspace = selectedWorkspace()) {
        const auto found = state->commits.find(workspace->workspace.commitID);
        return found == state->commits.end() ? nullptr : &*found->second;
    }
    for (const auto& [id, commit] : state->commits) {
        if (commit->workingCopy) {
            return &*commit;
        }
    }
    return nullptr;
}

bool BoardModel::isBookmarkColumnVisible(const std::string& name) const {
    const auto found = settingsByName().find(name);
    return found != settingsByName().end() && found->second.columnVisible;
}

bool BoardModel::isPinned(const std::string& name) const {
    const auto found = settingsByName().find(name);
    return found != settingsByName().end() && found->second.pinned;
}

bool BoardModel::isBookmarkBehindTrunk(const Bookmark& bookmark) const {
    const auto* state = repoState();
    return state != nullptr && boardlists::isBookmarkBehindTrunk(*state, bookmark);
}

bool BoardModel::workspaceIsBehindTrunk(const std::string& workspaceName) const {
    const auto* state = repoState();
    return state != nullptr &&
           boardlists::workspaceIsBehindTrunk(*state, workspaceName, trunkCommitID());
}

bool BoardModel::isOneOffLaneEnabled(const OneOffLane& lane) const {
    const auto* workspace = selectedWorkspace();
    return workspace != nullptr &&
           std::any_of(lane.commits.begin(), lane.commits.end(), [&](const JJCommit& commit) {
               return workspace->ancestryCommitIDs.contains(commit.commitID);
           });
}

bool BoardModel::isUntrackedRemote(const std::string& name) const {
    const auto* state = repoState();
    if (state == nullptr || state->bookmarks.contains(name)) {
        return false;
    }
    const auto& untracked = untrackedRemoteBookmarks();
    return std::any_of(untracked.begin(), untracked.end(),
                       [&](const Bookmark& b) { return b.name == name; });
}

std::optional<OneOffLane> BoardModel::oneOffLane(const std::string& changeID) const {
    for (auto& lane : availableOneOffLanes()) {
        if (lane.id() == changeID) {
            return lane;
        }
    }
    return std::nullopt;
}

StringList BoardModel::conflictedChangeIDs() const {
    std::vector<const JJCommit*> conflicted;
    if (const auto* state = repoState()) {
        for (const auto& [id, commit] : state->commits) {
            if (commit->conflict) {
                conflicted.push_back(&*commit);
            }
        }
    }
    const auto key = [](const JJCommit* commit) {
        return std::pair(commit->committer.date().value_or(std::chrono::sys_seconds{}),
                         std::string_view(commit->changeID));
    };
    std::sort(conflicted.begin(), conflicted.end(),
              [&](const JJCommit* a, const JJCommit* b) { return key(a) < key(b); });
    StringList changeIDs;
    changeIDs.reserve(conflicted.size());
    for (const auto* commit : conflicted) {
        changeIDs.push_back(commit->changeID);
    }
    return changeIDs;
}

const JJCommit* BoardModel::commitForChangeID(const std::string& changeID) const {
    for (const auto& [name, lane] : lanesByBookmark()) {
        for (const auto& commit : lane.commits) {
            if (commit->changeID == changeID) {
                return &*commit;
            }
        }
    }
    for (const auto& [name, commits] : laneAncestors()) {
        for (const auto& commit : commits) {
            if (commit.changeID == changeID) {
                return &commit;
            }
        }
    }
    if (const auto* state = repoState()) {
        for (const auto& [id, commit] : state->commits) {
            if (commit->changeID == changeID) {
                return &*commit;
            }
        }
    }
    return nullptr;
}

BookmarkLaneReadModel BoardModel::lanePresentation(const std::string& name) const {
    if (const auto found = lanesByBookmark().find(name); found != lanesByBookmark().end()) {
        return found->second;
    }
    BookmarkLaneReadModel placeholder;
    if (const auto settings = settingsByName().find(name); settings != settingsByName().end()) {
        placeholder.updateStrategy = settings->second.updateStrategy;
        placeholder.tags = settings->second.tags;
    }
    placeholder.isPinned = isPinned(name);
    placeholder.isColumnVisible = isBookmarkColumnVisible(name);
    placeholder.isTrunk = trunkBookmarkName() == name;
    if (const auto* state = repoState()) {
        if (const auto bookmark = state->bookmarks.find(name);
            bookmark != state->bookmarks.end() && !bookmark->second.commitIDs.empty()) {
            placeholder.upstreamShortCommitID = bookmark->second.commitIDs.front().substr(0, 8);
        }
    }
    return placeholder;
}

std::vector<WorkspaceCompositionPoint> BoardModel::workspaceCompositionPoints(
    const std::string& bookmark) const {
    const auto* state = repoState();
    return state == nullptr ? std::vector<WorkspaceCompositionPoint>{}
                            : boardlists::workspaceCompositionPoints(*state, bookmark);
}

}  // namespace vorda
