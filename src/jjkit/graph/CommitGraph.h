#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "jjkit/records/JJCommit.h"

namespace vorda {

/// The loaded commits indexed by position, for the walks of the repository
/// model. Walks run over integer positions and reusable visited marks instead
/// of hashing commit IDs at every step, which keeps a whole refresh linear in
/// the number of commits.
///
/// Parents that are not loaded are left out of `parents`; a commit ID that
/// occurs twice (damaged input) keeps its first occurrence.
class CommitGraph {
  public:
    using Index = std::uint32_t;

    explicit CommitGraph(std::vector<JJCommit> commits);

    std::size_t size() const { return commits_.size(); }
    const JJCommit& commit(Index index) const { return commits_[index]; }
    const std::vector<JJCommit>& commits() const { return commits_; }
    std::optional<Index> find(std::string_view commitID) const;
    /// Loaded parents, in jj's order.
    const std::vector<Index>& parents(Index index) const { return parents_[index]; }

    /// The commit's immutable flag, from a compact array: walks test it at
    /// every step, and the whole commit record need not be in cache for that.
    bool isImmutable(Index index) const { return immutable_[index]; }

    /// Gives up the commits (the graph is empty afterwards).
    std::vector<JJCommit> release();

    /// A visited set over positions that clears in constant time.
    class Visited {
      public:
        explicit Visited(std::size_t size) : marks_(size, 0) {}
        void clear() { ++generation_; }
        /// True when `index` was not yet visited.
        bool insert(Index index) {
            if (marks_[index] == generation_) {
                return false;
            }
            marks_[index] = generation_;
            return true;
        }
        bool contains(Index index) const { return marks_[index] == generation_; }

      private:
        std::vector<std::uint32_t> marks_;
        std::uint32_t generation_ = 1;
    };

    /// Walks breadth first from `starts` through the loaded parents, taking
    /// each commit once (`visited` is cleared first). `visit(index)` returns
    /// whether the walk goes on to that commit's parents.
    template <typename Visit>
    void breadthFirst(const std::vector<Index>& starts, Visited& visited, Visit&& visit) const {
        visited.clear();
        std::deque<Index> queue(starts.begin(), starts.end());
        while (!queue.empty()) {
            const Index current = queue.front();
            queue.pop_front();
            if (visited.insert(current) && visit(current)) {
                queue.insert(queue.end(), parents_[current].begin(), parents_[current].end());
            }
        }
    }

    /// All ancestors of `start`, itself included, marked in `visited`
    /// (cleared first). Returns how many there are.
    std::size_t markAncestors(Index start, Visited& visited) const;

  private:
    std::vector<JJCommit> commits_;
    std::unordered_map<std::string_view, Index> positions_;
    std::vector<std::vector<Index>> parents_;
    std::vector<bool> immutable_;
};

}  // namespace vorda
