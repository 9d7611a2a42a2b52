#include "jjkit/graph/CommitGraph.h"

namespace vorda {

CommitGraph::CommitGraph(std::vector<JJCommit> commits, const EachCommit& eachCommit)
    : commits_(std::move(commits)), positions_(commits_.size()) {
    // Damaged input may repeat a commit: the first one stands. The keys of
    // `positions_` view IDs inside `commits_`, so duplicates go first, before
    // any key is kept.
    std::vector<bool> duplicate(commits_.size(), false);
    bool anyDuplicate = false;
    for (Index index = 0; index < commits_.size(); ++index) {
        if (!positions_.insert(commits_[index].commitID, index).second) {
            duplicate[index] = true;
            anyDuplicate = true;
        }
    }
    if (anyDuplicate) {
        std::vector<JJCommit> unique;
        unique.reserve(commits_.size());
        for (Index index = 0; index < commits_.size(); ++index) {
            if (!duplicate[index]) {
                unique.push_back(std::move(commits_[index]));
            }
        }
        commits_ = std::move(unique);
        positions_.reset(commits_.size());
        for (Index index = 0; index < commits_.size(); ++index) {
            positions_.insert(commits_[index].commitID, index);
        }
    }
    parentStart_.reserve(commits_.size() + 1);
    parentList_.reserve(commits_.size() + commits_.size() / 4);
    flags_.reserve(commits_.size());
    for (Index index = 0; index < commits_.size(); ++index) {
        const JJCommit& commit = commits_[index];
        flags_.push_back(flagsOf(commit));
        parentStart_.push_back(static_cast<std::uint32_t>(parentList_.size()));
        for (const auto& parent : commit.parents) {
            if (const auto found = findParent(parent, index)) {
                parentList_.push_back(*found);
            }
        }
        if (eachCommit) {
            eachCommit(index, commit);
        }
    }
    parentStart_.push_back(static_cast<std::uint32_t>(parentList_.size()));
}

std::uint8_t CommitGraph::flagsOf(const JJCommit& commit) {
    std::uint8_t flags = 0;
    if (commit.immutable) {
        flags |= immutableFlag;
    }
    if (commit.workingCopy) {
        flags |= workingCopyFlag;
    }
    if (commit.conflict) {
        flags |= conflictFlag;
    }
    if (!commit.localBookmarks.empty()) {
        flags |= localBookmarksFlag;
    }
    if (!commit.remoteBookmarks.empty()) {
        flags |= remoteBookmarksFlag;
    }
    return flags;
}

std::optional<CommitGraph::Index> CommitGraph::find(std::string_view commitID) const {
    return positions_.find(commitID);
}

std::optional<CommitGraph::Index> CommitGraph::findParent(std::string_view parentID,
                                                          Index child) const {
    // jj lists a commit's first parent right after it along any straight run
    // of history; one comparison there spares most hash lookups.
    const Index next = child + 1;
    if (next < commits_.size() && commits_[next].commitID == parentID) {
        return next;
    }
    return find(parentID);
}

std::vector<JJCommit> CommitGraph::release() {
    positions_.reset(0);
    parentList_.clear();
    parentStart_.assign(1, 0);
    flags_.clear();
    return std::move(commits_);
}

std::size_t CommitGraph::markAncestors(Index start, Visited& visited) const {
    std::size_t count = 0;
    breadthFirst(start, visited, [&](Index /*index*/) {
        ++count;
        return true;
    });
    return count;
}

}  // namespace vorda
