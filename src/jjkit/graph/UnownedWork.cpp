#include "jjkit/graph/UnownedWork.h"

#include <algorithm>

#include "jjkit/support/InternetDateTime.h"

namespace vorda {

UnownedWork::UnownedWork(const CommitGraph& graph, const Claims& claimed,
                         const std::vector<bool>& isApexLike)
    : graph_(graph), claimed_(claimed), isApexLike_(isApexLike) {}

std::vector<bool> UnownedWork::walkUnclaimed(const std::vector<CommitGraph::Index>& starts,
                                             const std::set<std::string>& stopChangeIDs) const {
    std::vector<bool> reached(graph_.size(), false);
    CommitGraph::Visited visited(graph_.size());
    std::vector<CommitGraph::Index> stack(starts.rbegin(), starts.rend());
    while (!stack.empty()) {
        const auto current = stack.back();
        stack.pop_back();
        if (!visited.insert(current)) {
            continue;
        }
        const JJCommit& commit = graph_.commit(current);
        if (commit.immutable || isApexLike_[current] || claimed_[current] != unclaimed ||
            stopChangeIDs.contains(commit.changeID)) {
            continue;  // passed over, and the walk does not go through it
        }
        reached[current] = true;
        for (const auto parent : graph_.parents(current)) {
            stack.push_back(parent);
        }
    }
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
    std::vector<OrphanWIP> orphans;
    for (CommitGraph::Index index = 0; index < graph_.size(); ++index) {
        const JJCommit& commit = graph_.commit(index);
        const bool isMine = mineChangeIDs.contains(commit.changeID);
        const std::int32_t owner = claimed_[index];
        // The apex is the program's own merge commit, like a composition point:
        // never one-off work.
        if (commit.immutable || commit.workingCopy || workspaceStack[index] || isApexLike_[index] ||
            compositionChangeIDs.contains(commit.changeID) || remoteOwned[index] ||
            (!isMine && owner != unclaimed)) {
            continue;
        }
        OrphanWIP orphan;
        orphan.changeID = commit.changeID;
        orphan.commitID = commit.commitID;
        orphan.description = commit.description;
        if (owner != unclaimed) {
            orphan.ownerBookmark = bookmarkNames[static_cast<std::size_t>(owner)];
        }
        orphan.isMine = isMine;
        orphan.hasConflict = commit.conflict;
        for (const auto parent : graph_.parents(index)) {
            orphan.parentChangeIDs.push_back(graph_.commit(parent).changeID);
        }
        orphan.timestamp = commit.committer.timestamp;
        orphans.push_back(std::move(orphan));
    }
    // Newest first by the instant, not the text: timestamps carry their own
    // offsets. Timestamps that do not parse sort last, in list order.
    std::vector<std::pair<std::optional<std::chrono::sys_seconds>, std::size_t>> keys;
    keys.reserve(orphans.size());
    for (std::size_t index = 0; index < orphans.size(); ++index) {
        keys.emplace_back(parseInternetDateTime(orphans[index].timestamp), index);
    }
    std::stable_sort(keys.begin(), keys.end(), [](const auto& a, const auto& b) {
        if (a.first.has_value() != b.first.has_value()) {
            return a.first.has_value();
        }
        return a.first.has_value() && *a.first > *b.first;
    });
    std::vector<OrphanWIP> sorted;
    sorted.reserve(orphans.size());
    for (const auto& [date, index] : keys) {
        sorted.push_back(std::move(orphans[index]));
    }
    return sorted;
}

}  // namespace vorda
