#include "jjkit/graph/CommitGraph.h"

namespace vorda {

CommitGraph::CommitGraph(std::vector<JJCommit> commits) : commits_(std::move(commits)) {
    // Damaged input may repeat a commit: the first one stands. The keys of
    // `positions_` view IDs inside `commits_`, so duplicates go first, before
    // any key is taken.
    positions_.reserve(commits_.size());
    std::vector<bool> duplicate(commits_.size(), false);
    bool anyDuplicate = false;
    for (Index index = 0; index < commits_.size(); ++index) {
        if (!positions_.emplace(commits_[index].commitID, index).second) {
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
        positions_.clear();
        for (Index index = 0; index < commits_.size(); ++index) {
            positions_.emplace(commits_[index].commitID, index);
        }
    }
    parents_.resize(commits_.size());
    immutable_.resize(commits_.size());
    for (Index index = 0; index < commits_.size(); ++index) {
        immutable_[index] = commits_[index].immutable;
        parents_[index].reserve(commits_[index].parents.size());
        for (const auto& parent : commits_[index].parents) {
            if (const auto found = find(parent)) {
                parents_[index].push_back(*found);
            }
        }
    }
}

std::optional<CommitGraph::Index> CommitGraph::find(std::string_view commitID) const {
    const auto found = positions_.find(commitID);
    if (found == positions_.end()) {
        return std::nullopt;
    }
    return found->second;
}

std::vector<JJCommit> CommitGraph::release() {
    positions_.clear();
    parents_.clear();
    immutable_.clear();
    return std::move(commits_);
}

std::size_t CommitGraph::markAncestors(Index start, Visited& visited) const {
    std::size_t count = 0;
    breadthFirst({start}, visited, [&](Index /*index*/) {
        ++count;
        return true;
    });
    return count;
}

}  // namespace vorda
