#include "feature/lanes/BookmarkLaneProjection.h"

#include <algorithm>
#include <utility>

#include "jjkit/graph/StringTable.h"
#include "jjkit/model/TrunkNames.h"

namespace vorda {
namespace {

// The choice shared by both rounds of trunk resolution: a preferred trunk
// name if one is present, else the first of the (sorted) names.
std::optional<std::string> chooseTrunk(const std::vector<std::string>& sortedNames) {
    if (sortedNames.empty()) {
        return std::nullopt;
    }
    if (auto preferred = BookmarkLaneProjection::preferredName(sortedNames)) {
        return preferred;
    }
    return sortedNames.front();
}

const SharedCommit* findCommit(const RepoState& repoState, const std::string& commitID) {
    const auto found = repoState.commits.find(commitID);
    return found == repoState.commits.end() ? nullptr : &found->second;
}

// Walks down from the trunk bookmark's first commit through the loaded
// commits, offering every ID reached to `add`, which tells whether the ID is
// new. The IDs are views into `repoState`.
template <typename Add>
void walkTrunkAncestors(const RepoState& repoState,
                        const std::optional<std::string>& trunkBookmarkName, Add&& add) {
    if (!trunkBookmarkName) {
        return;
    }
    const auto trunk = repoState.bookmarks.find(*trunkBookmarkName);
    if (trunk == repoState.bookmarks.end() || trunk->second.commitIDs.empty()) {
        return;
    }
    std::vector<const std::string*> stack{&trunk->second.commitIDs.front()};
    while (!stack.empty()) {
        const std::string& commitID = *stack.back();
        stack.pop_back();
        if (!add(std::string_view(commitID))) {
            continue;
        }
        if (const SharedCommit* commit = findCommit(repoState, commitID)) {
            for (const auto& parent : (*commit)->parents) {
                stack.push_back(&parent);
            }
        }
    }
}

// How many commits the lane of `bookmarkName` shows; for the trunk, about
// as many as its loaded history.
std::size_t laneLength(const RepoState& repoState, const std::optional<std::string>& bookmarkName) {
    if (!bookmarkName) {
        return 0;
    }
    const auto found = repoState.bookmarks.find(*bookmarkName);
    return found == repoState.bookmarks.end() ? 0 : found->second.commitIDs.size();
}

// Each bookmark's conflict partners, both directions, ascending.
std::map<std::string, std::vector<std::string>> conflictPartnerMap(
    const std::vector<BookmarkConflict>& conflicts) {
    std::map<std::string, std::set<std::string>> partners;
    for (const auto& conflict : conflicts) {
        partners[conflict.bookmarkA].insert(conflict.bookmarkB);
        partners[conflict.bookmarkB].insert(conflict.bookmarkA);
    }
    std::map<std::string, std::vector<std::string>> sorted;
    for (auto& [name, names] : partners) {
        sorted.emplace(name, std::vector<std::string>(names.begin(), names.end()));
    }
    return sorted;
}

std::map<std::string, std::vector<FileRoutingRule>> rulesByBookmark(
    const std::vector<FileRoutingRule>& routingRules) {
    std::map<std::string, std::vector<FileRoutingRule>> grouped;
    for (const auto& rule : routingRules) {
        grouped[rule.bookmarkName].push_back(rule);
    }
    return grouped;
}

BookmarkLaneReadModel laneFor(const Bookmark& bookmark, const RepoState& repoState,
                              const BookmarkSettings& settings,
                              const std::optional<std::string>& trunkBookmarkName,
                              const StringTable& trunkAncestors) {
    BookmarkLaneReadModel lane;
    lane.commits.reserve(bookmark.commitIDs.size());
    for (const auto& commitID : bookmark.commitIDs) {
        if (const SharedCommit* commit = findCommit(repoState, commitID)) {
            lane.commits.push_back(*commit);
        }
    }
    lane.updateStrategy = settings.updateStrategy;
    lane.tags = settings.tags;
    lane.isPinned = settings.pinned;
    lane.isColumnVisible = settings.columnVisible;
    lane.isTrunk = trunkBookmarkName.has_value() && bookmark.name == *trunkBookmarkName;
    if (!bookmark.commitIDs.empty()) {
        const std::string& firstCommitID = bookmark.commitIDs.front();
        // A divergent bookmark has no single tip that could have landed.
        lane.isMergedIntoTrunk =
            !lane.isTrunk && !bookmark.isDivergent && trunkAncestors.contains(firstCommitID);
        if (const SharedCommit* first = findCommit(repoState, firstCommitID)) {
            lane.upstreamShortCommitID = (*first)->shortCommitID();
        }
    }
    return lane;
}

}  // namespace

std::map<std::string, BookmarkLaneReadModel> BookmarkLaneProjection::build(
    const RepoState& repoState, const std::map<std::string, BookmarkSettings>& settingsByName,
    const std::vector<FileRoutingRule>& routingRules,
    const std::optional<std::string>& trunkBookmarkName) {
    auto partners = conflictPartnerMap(repoState.conflicts);
    auto rules = rulesByBookmark(routingRules);
    // Only looked up, so the IDs are hashed in place instead of copied into
    // an ordered set. Sized from the trunk's lane, so that it seldom grows.
    StringTable trunkAncestors(laneLength(repoState, trunkBookmarkName));
    walkTrunkAncestors(repoState, trunkBookmarkName, [&](std::string_view commitID) {
        return trunkAncestors.insert(commitID, 0).second;
    });

    std::map<std::string, BookmarkLaneReadModel> lanes;
    for (const auto& [name, bookmark] : repoState.bookmarks) {
        const auto settings = settingsByName.find(name);
        std::optional<BookmarkSettings> defaults;
        auto lane = laneFor(bookmark, repoState,
                            settings != settingsByName.end()
                                ? settings->second
                                : defaults.emplace(BookmarkSettings::defaultFor(bookmark.origin)),
                            trunkBookmarkName, trunkAncestors);
        if (auto found = partners.find(name); found != partners.end()) {
            lane.conflictPartners = std::move(found->second);
        }
        if (auto found = rules.find(name); found != rules.end()) {
            lane.routingRules = std::move(found->second);
        }
        // Names come in ascending order, so each one goes at the end.
        lanes.emplace_hint(lanes.end(), name, std::move(lane));
    }
    return lanes;
}

std::optional<std::string> BookmarkLaneProjection::resolveTrunkName(
    const RepoState& repoState, const std::optional<std::string>& trunkCommitID) {
    // `bookmarks` is an ordered map, so both lists come out ascending.
    if (trunkCommitID) {
        std::vector<std::string> onTrunkCommit;
        for (const auto& [name, bookmark] : repoState.bookmarks) {
            if (bookmark.origin.isUpstream() && !bookmark.commitIDs.empty() &&
                bookmark.commitIDs.front() == *trunkCommitID) {
                onTrunkCommit.push_back(name);
            }
        }
        if (auto chosen = chooseTrunk(onTrunkCommit)) {
            return chosen;
        }
    }
    std::vector<std::string> onImmutableTip;
    for (const auto& [name, bookmark] : repoState.bookmarks) {
        if (!bookmark.origin.isUpstream() || bookmark.commitIDs.empty()) {
            continue;
        }
        const SharedCommit* tip = findCommit(repoState, bookmark.commitIDs.front());
        if (tip != nullptr && (*tip)->immutable) {
            onImmutableTip.push_back(name);
        }
    }
    return chooseTrunk(onImmutableTip);
}

std::optional<std::string> BookmarkLaneProjection::preferredName(
    const std::vector<std::string>& names) {
    for (const auto trunk : trunkNames) {
        if (std::find(names.begin(), names.end(), trunk) != names.end()) {
            return std::string(trunk);
        }
    }
    return std::nullopt;
}

std::set<std::string> BookmarkLaneProjection::trunkAncestorCommitIDs(
    const RepoState& repoState, const std::optional<std::string>& trunkBookmarkName) {
    std::set<std::string> ancestors;
    walkTrunkAncestors(repoState, trunkBookmarkName, [&](std::string_view commitID) {
        return ancestors.emplace(commitID).second;
    });
    return ancestors;
}

}  // namespace vorda
