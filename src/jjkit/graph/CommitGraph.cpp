#include "jjkit/graph/CommitGraph.h"

#include <unordered_set>

namespace vorda {

CommitGraph::CommitGraph(std::vector<JJCommit> commits) {
    // The views in `seen` point into `commits_`, whose storage is reserved up
    // front and so never moves.
    std::unordered_set<std::string_view> seen;
    seen.reserve(commits.size());
    commits_.reserve(commits.size());
    for (auto& commit : commits) {
        if (seen.contains(commit.commitID)) {
            continue;
        }
        commits_.push_back(std::move(commit));
        seen.insert(commits_.back().commitID);
    }
    positions_.reserve(commits_.size());
    for (Index index = 0; index < commits_.size(); ++index) {
        positions_.emplace(commits_[index].commitID, index);
    }
    parents_.resize(commits_.size());
    for (Index index = 0; index < commits_.size(); ++index) {
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
    return std::move(commits_);
}

std::size_t CommitGraph::markAncestors(Index start, Visited& visited) const {
    visited.clear();
    std::vector<Index> stack{start};
    std::size_t count = 0;
    while (!stack.empty()) {
        const Index current = stack.back();
        stack.pop_back();
        if (!visited.insert(current)) {
            continue;
        }
        ++count;
        for (const Index parent : parents_[current]) {
            stack.push_back(parent);
        }
    }
    return count;
}

}  // namespace vorda
