#include "jjkit/graph/UnownedWork.h"

#include <algorithm>
#include <numeric>

#include "jjkit/graph/StringTable.h"
#include "jjkit/support/InternetDateTime.h"

namespace vorda {

UnownedWork::UnownedWork(const CommitGraph& graph, const Claims& claimed,
                         const std::vector<bool>& isApexLike,
                         const std::vector<bool>& isComposition)
    : graph_(graph), claimed_(claimed), isApexLike_(isApexLike), isComposition_(isComposition) {}

std::vector<bool> UnownedWork::walkUnclaimed(const std::vector<CommitGraph::Index>& starts,
                                             bool stopAtCompositions) const {
    std::vector<bool> reached(graph_.size(), false);
    CommitGraph::Visited visited(graph_.size());
    graph_.breadthFirst(starts, visited, [&](CommitGraph::Index current) {
        if (graph_.isImmutable(current) || isApexLike_[current] || claimed_[current] != unclaimed ||
            (stopAtCompositions && isComposition_[current])) {
            return false;  // passed over, and the walk does not go through it
        }
        reached[current] = true;
        return true;
    });
    return reached;
}

std::vector<bool> UnownedWork::remoteBookmarkOwnership() const {
    std::vector<CommitGraph::Index> starts;
    for (CommitGraph::Index index = 0; index < graph_.size(); ++index) {
        if (graph_.hasRemoteBookmarks(index)) {
            starts.push_back(index);
        }
    }
    return walkUnclaimed(starts, false);
}

std::vector<bool> UnownedWork::workspaceStacks(
    const std::vector<CommitGraph::Index>& starts) const {
    return walkUnclaimed(starts, true);
}

void UnownedWork::fillOrphan(OrphanWIP& orphan, CommitGraph::Index index, bool isMine,
                             const std::vector<std::string>& bookmarkNames) const {
    const JJCommit& commit = graph_.commit(index);
    orphan.changeID = commit.changeID;
    orphan.commitID = commit.commitID;
    orphan.description = commit.description;
    if (claimed_[index] != unclaimed) {
        orphan.ownerBookmark = bookmarkNames[static_cast<std::size_t>(claimed_[index])];
    }
    orphan.isMine = isMine;
    orphan.hasConflict = commit.conflict;
    const auto parents = graph_.parents(index);
    orphan.parentChangeIDs.reserve(parents.size());
    for (const auto parent : parents) {
        orphan.parentChangeIDs.push_back(graph_.commit(parent).changeID);
    }
    orphan.timestamp = commit.committer.timestamp;
}

std::vector<OrphanWIP> UnownedWork::buildOrphanWIPs(
    const std::vector<bool>& remoteOwned, const std::vector<bool>& workspaceStack,
    const std::set<std::string>& mineChangeIDs,
    const std::vector<std::string>& bookmarkNames) const {
    // Hashed once into a flat table: most commits are looked up in it.
    StringTable mine(mineChangeIDs.size());
    for (const auto& changeID : mineChangeIDs) {
        mine.insert(changeID, 0);
    }
    // Each kept commit with its instant, read while the commit is at hand.
    struct Kept {
        std::optional<std::chrono::sys_seconds> date;
        CommitGraph::Index index;
        bool isMine;
    };
    std::vector<Kept> kept;
    kept.reserve(graph_.size());
    for (CommitGraph::Index index = 0; index < graph_.size(); ++index) {
        // The apex is the program's own merge commit, like a composition point:
        // never one-off work.
        if (graph_.isImmutable(index) || graph_.isWorkingCopy(index) || workspaceStack[index] ||
            isApexLike_[index] || isComposition_[index] || remoteOwned[index]) {
            continue;
        }
        const JJCommit& commit = graph_.commit(index);
        const bool isMine = mine.contains(commit.changeID);
        if (claimed_[index] != unclaimed && !isMine) {
            continue;
        }
        kept.push_back({parseInternetDateTime(commit.committer.timestamp), index, isMine});
    }
    // Newest first by the instant, not the text: timestamps carry their own
    // offsets. Timestamps that do not parse sort last, in list order.
    std::vector<std::uint32_t> byTime(kept.size());
    std::iota(byTime.begin(), byTime.end(), 0U);
    std::stable_sort(byTime.begin(), byTime.end(), [&](std::uint32_t a, std::uint32_t b) {
        const auto& first = kept[a].date;
        const auto& second = kept[b].date;
        if (first.has_value() != second.has_value()) {
            return first.has_value();
        }
        return first.has_value() && *first > *second;
    });
    // Each orphan goes straight to its place, but they are made in list
    // order: reading thousands of commits front to back is much cheaper than
    // in time order, which jumps all over memory.
    std::vector<std::uint32_t> place(kept.size());
    for (std::uint32_t rank = 0; rank < byTime.size(); ++rank) {
        place[byTime[rank]] = rank;
    }
    std::vector<OrphanWIP> orphans(kept.size());
    for (std::size_t at = 0; at < kept.size(); ++at) {
        fillOrphan(orphans[place[at]], kept[at].index, kept[at].isMine, bookmarkNames);
    }
    return orphans;
}

}  // namespace vorda
