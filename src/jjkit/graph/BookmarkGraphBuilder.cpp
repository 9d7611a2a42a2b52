#include "jjkit/graph/BookmarkGraphBuilder.h"

#include <algorithm>

#include "jjkit/graph/BookmarkOwnership.h"
#include "jjkit/graph/CommitGraph.h"
#include "jjkit/graph/RemoteSync.h"
#include "jjkit/graph/UnownedWork.h"
#include "jjkit/graph/WorkspaceStatesBuilder.h"
#include "jjkit/model/TrunkNames.h"

namespace vorda {
namespace {

using Index = CommitGraph::Index;
using Position = BookmarkTable::Position;

std::optional<Index> findApexCommit(const CommitGraph& graph,
                                    const std::optional<std::string>& apexChangeID,
                                    const std::vector<bool>& hasApexMarker) {
    if (apexChangeID) {
        for (Index index = 0; index < graph.size(); ++index) {
            if (graph.commit(index).changeID == *apexChangeID) {
                return index;
            }
        }
    }
    const auto marked = std::find(hasApexMarker.begin(), hasApexMarker.end(), true);
    if (marked == hasApexMarker.end()) {
        return std::nullopt;
    }
    return static_cast<Index>(marked - hasApexMarker.begin());
}

// The apex commit and every commit of the same change (its earlier versions
// after a rewrite); no lane ever owns them.
std::vector<bool> markApexLike(const CommitGraph& graph, std::optional<Index> apexCommit,
                               const std::vector<bool>& hasApexMarker) {
    std::vector<bool> isApexLike = hasApexMarker;
    if (apexCommit) {
        const std::string& apexID = graph.commit(*apexCommit).changeID;
        for (Index index = 0; index < graph.size(); ++index) {
            isApexLike[index] = isApexLike[index] || graph.commit(index).changeID == apexID;
        }
    }
    return isApexLike;
}

// The bookmarks a lane's base has already been merged into upstream, in name
// order: a parent of one of its commits is the (immutable) tip of another
// bookmark. Walks never claim immutable commits, so an immutable commit's
// claim is still the bookmark whose tip it is.
std::vector<std::string> landedParents(Position bookmark, const std::vector<Index>& shown,
                                       const BookmarkTable& table, const CommitGraph& graph,
                                       const Claims& claimed) {
    std::set<Position> landed;
    for (const Index commit : shown) {
        for (const Index parent : graph.parents(commit)) {
            const std::int32_t owner = claimed[parent];
            if (graph.isImmutable(parent) && owner != unclaimed &&
                owner != static_cast<std::int32_t>(bookmark) &&
                !graph.commit(parent).parents.empty()) {
                landed.insert(static_cast<Position>(owner));
            }
        }
    }
    std::vector<std::string> names;
    names.reserve(landed.size());
    for (const Position owner : landed) {
        names.push_back(table.names[owner]);
    }
    return names;
}

// Conflicted commits whose parents belong to different bookmarks.
std::vector<BookmarkConflict> detectConflicts(const CommitGraph& graph, const Claims& claimed,
                                              const BookmarkTable& table) {
    std::set<std::pair<std::string, std::string>> pairs;
    for (Index index = 0; index < graph.size(); ++index) {
        if (!graph.hasConflict(index)) {
            continue;
        }
        std::set<std::string> owners;
        for (const Index parent : graph.parents(index)) {
            if (claimed[parent] != unclaimed) {
                owners.insert(table.names[static_cast<std::size_t>(claimed[parent])]);
            }
        }
        for (auto first = owners.begin(); first != owners.end(); ++first) {
            for (auto second = std::next(first); second != owners.end(); ++second) {
                pairs.emplace(*first, *second);
            }
        }
    }
    std::vector<BookmarkConflict> conflicts;
    conflicts.reserve(pairs.size());
    for (const auto& [a, b] : pairs) {
        conflicts.push_back(BookmarkConflict{a, b});
    }
    std::sort(conflicts.begin(), conflicts.end(), [](const auto& x, const auto& y) {
        return x.bookmarkA + "--" + x.bookmarkB < y.bookmarkA + "--" + y.bookmarkB;
    });
    return conflicts;
}

std::optional<WorkingCopy> buildWorkingCopy(const CommitGraph& graph, const Claims& claimed,
                                            const BookmarkTable& table,
                                            const std::vector<bool>& hasApexMarker) {
    Index head = 0;
    while (head < graph.size() && !graph.isWorkingCopy(head)) {
        ++head;
    }
    if (head == graph.size()) {
        return std::nullopt;
    }
    std::set<std::string> apexParents;
    const auto apex = std::find(hasApexMarker.begin(), hasApexMarker.end(), true);
    if (apex != hasApexMarker.end()) {
        const auto& parents =
            graph.commit(static_cast<Index>(apex - hasApexMarker.begin())).parents;
        apexParents.insert(parents.begin(), parents.end());
    }
    std::set<std::string> enabled;
    CommitGraph::Visited visited(graph.size());
    graph.breadthFirst(head, visited, [&](Index current) {
        const std::int32_t owner = claimed[current];
        const std::string* ownerName =
            owner == unclaimed ? nullptr : &table.names[static_cast<std::size_t>(owner)];
        if (graph.isImmutable(current)) {
            if (ownerName != nullptr && !isTrunkName(*ownerName) &&
                apexParents.contains(graph.commit(current).commitID)) {
                enabled.insert(*ownerName);
            }
            return false;
        }
        if (ownerName != nullptr) {
            enabled.insert(*ownerName);
        }
        return true;
    });
    const JJCommit& commit = graph.commit(head);
    return WorkingCopy{
        commit.commitID, commit.changeID, {enabled.begin(), enabled.end()}, commit.conflict};
}

Apex buildApex(const CommitGraph& graph, Index apexCommit, const BookmarkTable& table,
               const std::optional<std::string>& trunkCommitID) {
    const JJCommit& commit = graph.commit(apexCommit);
    Apex apex;
    apex.changeID = commit.changeID;
    apex.commitID = commit.commitID;
    apex.attachments = CompositionAttachment::project(
        commit.parents,
        [&](const std::string& id) -> const JJCommit* {
            const auto found = graph.find(id);
            return found ? &graph.commit(*found) : nullptr;
        },
        trunkCommitID);

    // Counted only for the few parents that need it, not for every commit.
    const auto commitsOfChange = [&](const std::string& changeID) {
        return std::count_if(graph.commits().begin(), graph.commits().end(),
                             [&](const JJCommit& loaded) { return loaded.changeID == changeID; });
    };
    const auto uniqueBookmark = [&](const std::string& name) {
        const auto found = std::lower_bound(table.names.begin(), table.names.end(), name);
        return found != table.names.end() && *found == name &&
               table.tips[static_cast<std::size_t>(found - table.names.begin())].size() == 1;
    };
    for (const auto& attachment : apex.attachments) {
        if (attachment.role == CompositionAttachment::Role::currentTrunk) {
            apex.parents.push_back(ApexParent::trunk());
            apex.immutableParentCommitIDs.push_back(attachment.commitID);
            continue;
        }
        const auto named = std::find_if(attachment.bookmarkNames.begin(),
                                        attachment.bookmarkNames.end(), uniqueBookmark);
        if (named != attachment.bookmarkNames.end()) {
            apex.parents.push_back(ApexParent::bookmark(*named));
        } else if (attachment.immutable.value_or(true) || !attachment.changeID ||
                   commitsOfChange(*attachment.changeID) != 1) {
            apex.parents.push_back(ApexParent::commitID(attachment.commitID));
        } else {
            apex.parents.push_back(ApexParent::changeID(*attachment.changeID));
        }
    }
    return apex;
}

// Every bookmark's lane, walked leaf first so that a lane stops at the tips
// of the bookmarks it stacks on. Returns the commits each lane shows, by
// table position.
std::vector<std::vector<Index>> buildLanes(const CommitGraph& graph, const BookmarkTable& table,
                                           const std::vector<bool>& isApexLike, Claims& claimed,
                                           std::map<std::string, Bookmark>& bookmarks) {
    const RemoteTips remoteTips(graph);
    AheadBehindCounter aheadBehind(graph);
    // By table position, which is name order, so that the map is filled in order.
    std::vector<Bookmark> lanes(table.size());
    std::vector<std::vector<Index>> shown(table.size());
    CommitGraph::Visited visited(graph.size());
    for (const Position position : leafFirstOrder(table, graph)) {
        const auto& tips = table.tips[position];
        auto walk = walkOwnership(position, table, graph, isApexLike, claimed, visited);
        Bookmark& bookmark = lanes[position];
        bookmark.name = table.names[position];
        bookmark.changeIDs.reserve(tips.size());
        for (const Index tip : tips) {
            bookmark.changeIDs.push_back(graph.commit(tip).changeID);
        }
        bookmark.commitIDs.reserve(walk.owned.size());
        for (const Index owned : walk.owned) {
            bookmark.commitIDs.push_back(graph.commit(owned).commitID);
            bookmark.hasConflict = bookmark.hasConflict || graph.hasConflict(owned);
        }
        bookmark.parentBookmarks.reserve(walk.parents.size());
        for (const Position parent : walk.parents) {
            bookmark.parentBookmarks.push_back(table.names[parent]);
        }
        bookmark.isDivergent = tips.size() > 1;
        bookmark.origin = determineOrigin(bookmark.name, remoteTips);
        bookmark.remoteSyncState =
            determineRemoteSyncState(bookmark.name, tips, remoteTips, aheadBehind);
        bookmark.landedUpstreamParents = landedParents(position, walk.owned, table, graph, claimed);
        shown[position] = std::move(walk.owned);
    }
    for (auto& bookmark : lanes) {
        std::string name = bookmark.name;
        bookmarks.emplace_hint(bookmarks.end(), std::move(name), std::move(bookmark));
    }
    return shown;
}

}  // namespace

RepoState BookmarkGraphBuilder::build(Input input) {
    std::set<std::string> compositionIDs;
    for (const auto& [workspace, changeID] : input.compositionChangeIDs) {
        compositionIDs.insert(changeID);
    }
    // Marked once for every step that asks, while the graph indexes the
    // commits: they are read in one pass.
    std::vector<bool> hasApexMarker;
    std::vector<bool> isComposition;
    CommitGraph graph(std::move(input.commits), [&](Index /*index*/, const JJCommit& commit) {
        hasApexMarker.push_back(Apex::isApexDescription(commit.description));
        isComposition.push_back(compositionIDs.contains(commit.changeID));
    });
    const auto apexCommit = findApexCommit(graph, input.apexChangeID, hasApexMarker);
    const std::vector<bool> isApexLike = markApexLike(graph, apexCommit, hasApexMarker);

    const BookmarkTable table = BookmarkTable::collect(graph);
    Claims claimed = tipOwners(table, graph.size());
    RepoState state;
    const auto shown = buildLanes(graph, table, isApexLike, claimed, state.bookmarks);
    state.conflicts = detectConflicts(graph, claimed, table);
    state.workingCopy = buildWorkingCopy(graph, claimed, table, hasApexMarker);
    if (apexCommit) {
        state.apex = buildApex(graph, *apexCommit, table, input.trunkCommitID);
    }

    // A legacy apex composes a workspace only when found by its marker or its
    // remembered change ID, as above.
    WorkspaceStatesBuilder workspaces(graph, table, shown, input.trunkCommitID);
    state.workspaces =
        workspaces.build(input.workspaces, input.compositionChangeIDs, isComposition, apexCommit);

    std::vector<Index> workspaceHeads;
    for (const auto& workspace : input.workspaces) {
        if (const auto head = graph.find(workspace.commitID)) {
            workspaceHeads.push_back(*head);
        }
    }
    const UnownedWork unowned(graph, claimed, isApexLike, isComposition);
    state.orphanWIPs = unowned.buildOrphanWIPs(unowned.remoteBookmarkOwnership(),
                                               unowned.workspaceStacks(workspaceHeads),
                                               input.mineChangeIDs, table.names);

    state.selectedWorkspaceName = std::move(input.selectedWorkspaceName);
    state.mineChangeIDs = std::move(input.mineChangeIDs);
    state.behindTrunkCommitIDs = std::move(input.behindTrunkCommitIDs);
    auto commits = SharedCommit::shareAll(graph.release());
    state.commits.reserve(commits.size());
    for (auto& commit : commits) {
        std::string key = commit->commitID;
        state.commits.emplace(std::move(key), std::move(commit));
    }
    return state;
}

}  // namespace vorda
