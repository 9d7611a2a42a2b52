#include "jjkit/graph/BookmarkGraphBuilder.h"

#include <algorithm>
#include <unordered_map>

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

// Lanes whose base has already been merged upstream: a parent of one of
// their commits is the (immutable) tip of another bookmark.
void annotateLandedParents(std::map<std::string, Bookmark>& bookmarks, const BookmarkTable& table,
                           const CommitGraph& graph) {
    std::unordered_map<Index, const std::string*> landed;
    for (Position bookmark = 0; bookmark < table.size(); ++bookmark) {
        for (const Index tip : table.tips[bookmark]) {
            if (graph.isImmutable(tip) && !graph.commit(tip).parents.empty()) {
                landed.emplace(tip, &table.names[bookmark]);
            }
        }
    }
    if (landed.empty()) {
        return;
    }
    for (auto& [name, bookmark] : bookmarks) {
        std::set<std::string> parents;
        for (const auto& commitID : bookmark.commitIDs) {
            const auto index = graph.find(commitID);
            if (!index) {
                continue;
            }
            for (const Index parent : graph.parents(*index)) {
                const auto found = landed.find(parent);
                if (found != landed.end() && *found->second != name) {
                    parents.insert(*found->second);
                }
            }
        }
        if (!parents.empty()) {
            bookmark.landedUpstreamParents.assign(parents.begin(), parents.end());
        }
    }
}

// Conflicted commits whose parents belong to different bookmarks.
std::vector<BookmarkConflict> detectConflicts(const CommitGraph& graph, const Claims& claimed,
                                              const BookmarkTable& table) {
    std::set<std::pair<std::string, std::string>> pairs;
    for (Index index = 0; index < graph.size(); ++index) {
        if (!graph.commit(index).conflict) {
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
    std::optional<Index> head;
    std::set<std::string> apexParents;
    bool apexSeen = false;
    for (Index index = 0; index < graph.size(); ++index) {
        const JJCommit& commit = graph.commit(index);
        if (!head && commit.workingCopy) {
            head = index;
        }
        if (!apexSeen && hasApexMarker[index]) {
            apexSeen = true;
            apexParents.insert(commit.parents.begin(), commit.parents.end());
        }
    }
    if (!head) {
        return std::nullopt;
    }
    std::set<std::string> enabled;
    CommitGraph::Visited visited(graph.size());
    graph.breadthFirst({*head}, visited, [&](Index current) {
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
    const JJCommit& commit = graph.commit(*head);
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

    std::unordered_map<std::string, std::size_t> changeCounts;
    for (const auto& loaded : graph.commits()) {
        ++changeCounts[loaded.changeID];
    }
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
                   changeCounts[*attachment.changeID] != 1) {
            apex.parents.push_back(ApexParent::commitID(attachment.commitID));
        } else {
            apex.parents.push_back(ApexParent::changeID(*attachment.changeID));
        }
    }
    return apex;
}

}  // namespace

RepoState BookmarkGraphBuilder::build(Input input) {
    CommitGraph graph(std::move(input.commits));
    std::vector<bool> hasApexMarker(graph.size(), false);
    for (Index index = 0; index < graph.size(); ++index) {
        hasApexMarker[index] = Apex::isApexDescription(graph.commit(index).description);
    }
    const auto apexCommit = findApexCommit(graph, input.apexChangeID, hasApexMarker);
    const std::optional<std::string> apexID =
        apexCommit ? std::optional(graph.commit(*apexCommit).changeID) : std::nullopt;
    std::vector<bool> isApexLike = hasApexMarker;
    if (apexID) {
        for (Index index = 0; index < graph.size(); ++index) {
            isApexLike[index] = isApexLike[index] || graph.commit(index).changeID == *apexID;
        }
    }

    const BookmarkTable table = BookmarkTable::collect(graph);
    const auto order = leafFirstOrder(table, graph);
    Claims claimed = tipOwners(table, graph.size());
    const RemoteTips remoteTips(graph);
    AheadBehindCounter aheadBehind(graph);

    RepoState state;
    CommitGraph::Visited visited(graph.size());
    for (const Position position : order) {
        const auto& tips = table.tips[position];
        if (tips.empty()) {
            continue;
        }
        const auto walk = walkOwnership(position, table, graph, isApexLike, claimed, visited);
        Bookmark bookmark;
        bookmark.name = table.names[position];
        for (const Index tip : tips) {
            bookmark.changeIDs.push_back(graph.commit(tip).changeID);
        }
        for (const Index owned : walk.owned) {
            bookmark.commitIDs.push_back(graph.commit(owned).commitID);
            bookmark.hasConflict = bookmark.hasConflict || graph.commit(owned).conflict;
        }
        for (const Position parent : walk.parents) {
            bookmark.parentBookmarks.push_back(table.names[parent]);
        }
        bookmark.isDivergent = tips.size() > 1;
        bookmark.origin = determineOrigin(bookmark.name, remoteTips);
        bookmark.remoteSyncState =
            determineRemoteSyncState(bookmark.name, tips, remoteTips, aheadBehind);
        state.bookmarks.emplace(bookmark.name, std::move(bookmark));
    }
    annotateLandedParents(state.bookmarks, table, graph);
    state.conflicts = detectConflicts(graph, claimed, table);
    state.workingCopy = buildWorkingCopy(graph, claimed, table, hasApexMarker);
    if (apexCommit) {
        state.apex = buildApex(graph, *apexCommit, table, input.trunkCommitID);
    }

    // A legacy apex composes a workspace only when found by its marker or its
    // remembered change ID, as above.
    WorkspaceStatesBuilder workspaces(graph, state.bookmarks, input.trunkCommitID);
    state.workspaces = workspaces.build(input.workspaces, input.compositionChangeIDs, apexCommit);

    std::set<std::string> compositionIDs;
    for (const auto& [workspace, changeID] : input.compositionChangeIDs) {
        compositionIDs.insert(changeID);
    }
    std::vector<Index> workspaceHeads;
    for (const auto& workspace : input.workspaces) {
        if (const auto head = graph.find(workspace.commitID)) {
            workspaceHeads.push_back(*head);
        }
    }
    const UnownedWork unowned(graph, claimed, isApexLike);
    state.orphanWIPs =
        unowned.buildOrphanWIPs(unowned.remoteBookmarkOwnership(),
                                unowned.workspaceStackCommitIDs(workspaceHeads, compositionIDs),
                                compositionIDs, input.mineChangeIDs, table.names);

    state.selectedWorkspaceName = std::move(input.selectedWorkspaceName);
    state.mineChangeIDs = std::move(input.mineChangeIDs);
    state.behindTrunkCommitIDs = std::move(input.behindTrunkCommitIDs);
    auto commits = graph.release();
    state.commits.reserve(commits.size());
    for (auto& commit : commits) {
        std::string key = commit.commitID;
        state.commits.emplace(std::move(key), std::move(commit));
    }
    return state;
}

}  // namespace vorda
