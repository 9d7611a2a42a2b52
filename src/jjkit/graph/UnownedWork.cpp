#include "jjkit/graph/UnownedWork.h"

#include <algorithm>
#include <unordered_set>

#include "jjkit/support/InternetDateTime.h"

namespace vorda {

UnownedWork::UnownedWork(const CommitGraph& graph, const Claims& claimed,
                         const std::vector<bool>& isApexLike)
    : graph_(graph), claimed_(claimed), isApexLike_(isApexLike) {}

std::vector<bool> UnownedWork::walkUnclaimed(const std::vector<CommitGraph::Index>& starts,
                                             const std::set<std::string>& stopChangeIDs) const {
    std::vector<bool> reached(graph_.size(), false);
    CommitGraph::Visited visited(graph_.size());
    graph_.breadthFirst(starts, visited, [&](CommitGraph::Index current) {
        if (graph_.isImmutable(current) || isApexLike_[current] || claimed_[current] != unclaimed ||
            stopChangeIDs.contains(graph_.commit(current).changeID)) {
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
        if (!graph_.commit(index).remoteBookmarks.empty()) {
            starts.push_back(index);
        }
    }
    return walkUnclaimed(starts, {});
}

std::vector<bool> UnownedWork::workspaceStackCommitIDs(
    const std::vector<CommitGraph::Index>& starts,
    const std::set<std::string>& compositionChangeIDs) const {
    return walkUnclaimed(starts, compositionChangeIDs);
}

std::vector<OrphanWIP> UnownedWork::buildOrphanWIPs(
    const std::vector<bool>& remoteOwned, const std::vector<bool>& workspaceStack,
    const std::set<std::string>& compositionChangeIDs, const std::set<std::string>& mineChangeIDs,
    const std::vector<std::string>& bookmarkNames) const {
    const std::unordered_set<std::string_view> mine(mineChangeIDs.begin(), mineChangeIDs.end());
    const std::unordered_set<std::string_view> compositions(compositionChangeIDs.begin(),
                                                            compositionChangeIDs.end());
    std::vector<CommitGraph::Index> kept;
    for (CommitGraph::Index index = 0; index < graph_.size(); ++index) {
        const JJCommit& commit = graph_.commit(index);
        // The apex is the program's own merge commit, like a composition point:
        // never one-off work.
        if (commit.immutable || commit.workingCopy || workspaceStack[index] || isApexLike_[index] ||
            compositions.contains(commit.changeID) || remoteOwned[index] ||
            (claimed_[index] != unclaimed && !mine.contains(commit.changeID))) {
            continue;
        }
        kept.push_back(index);
    }
    // Newest first by the instant, not the text: timestamps carry their own
    // offsets. Timestamps that do not parse sort last, in list order.
    std::vector<std::pair<std::optional<std::chrono::sys_seconds>, CommitGraph::Index>> order;
    order.reserve(kept.size());
    for (const auto index : kept) {
        order.emplace_back(parseInternetDateTime(graph_.commit(index).committer.timestamp), index);
    }
    std::stable_sort(order.begin(), order.end(), [](const auto& a, const auto& b) {
        if (a.first.has_value() != b.first.has_value()) {
            return a.first.has_value();
        }
        return a.first.has_value() && *a.first > *b.first;
    });

    std::vector<OrphanWIP> orphans;
    orphans.reserve(order.size());
    for (const auto& [date, index] : order) {
        const JJCommit& commit = graph_.commit(index);
        OrphanWIP& orphan = orphans.emplace_back();
        orphan.changeID = commit.changeID;
        orphan.commitID = commit.commitID;
        orphan.description = commit.description;
        if (claimed_[index] != unclaimed) {
            orphan.ownerBookmark = bookmarkNames[static_cast<std::size_t>(claimed_[index])];
        }
        orphan.isMine = mine.contains(commit.changeID);
        orphan.hasConflict = commit.conflict;
        orphan.parentChangeIDs.reserve(graph_.parents(index).size());
        for (const auto parent : graph_.parents(index)) {
            orphan.parentChangeIDs.push_back(graph_.commit(parent).changeID);
        }
        orphan.timestamp = commit.committer.timestamp;
    }
    return orphans;
}

}  // namespace vorda
