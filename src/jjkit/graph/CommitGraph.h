#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "jjkit/graph/StringTable.h"
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
    using EachCommit = std::function<void(Index, const JJCommit&)>;

    /// Hands every commit kept, with its position and in position order, to
    /// `eachCommit` during the pass that indexes them: a caller's own look at
    /// each commit costs no second pass over thousands of them.
    explicit CommitGraph(std::vector<JJCommit> commits, const EachCommit& eachCommit = {});

    std::size_t size() const { return commits_.size(); }
    const JJCommit& commit(Index index) const { return commits_[index]; }
    const std::vector<JJCommit>& commits() const { return commits_; }
    std::optional<Index> find(std::string_view commitID) const;
    /// Loaded parents, in jj's order.
    std::span<const Index> parents(Index index) const {
        return {parentList_.data() + parentStart_[index],
                parentList_.data() + parentStart_[index + 1]};
    }

    /// The commit's flags, from a compact array: walks and whole-graph passes
    /// test them on every commit, and the records need not be in cache for that.
    bool isImmutable(Index index) const { return (flags_[index] & immutableFlag) != 0; }
    bool isWorkingCopy(Index index) const { return (flags_[index] & workingCopyFlag) != 0; }
    bool hasConflict(Index index) const { return (flags_[index] & conflictFlag) != 0; }
    bool hasLocalBookmarks(Index index) const { return (flags_[index] & localBookmarksFlag) != 0; }
    bool hasRemoteBookmarks(Index index) const {
        return (flags_[index] & remoteBookmarksFlag) != 0;
    }

    /// Gives up the commits (the graph is empty afterwards).
    std::vector<JJCommit> release();

    /// A visited set over positions that clears in constant time, with the
    /// queue of the walk that uses it: both keep their memory from one walk
    /// to the next.
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
        friend class CommitGraph;
        std::vector<std::uint32_t> marks_;
        std::uint32_t generation_ = 1;
        std::vector<Index> queue_;
    };

    /// Walks breadth first from `starts` through the loaded parents, taking
    /// each commit once (`visited` is cleared first). `visit(index)` returns
    /// whether the walk goes on to that commit's parents.
    template <typename Visit>
    void breadthFirst(std::span<const Index> starts, Visited& visited, Visit&& visit) const {
        visited.clear();
        // A queue that is never popped: `next` moves along it instead, so the
        // order is first in, first out and the memory is reused.
        std::vector<Index>& queue = visited.queue_;
        queue.assign(starts.begin(), starts.end());
        for (std::size_t next = 0; next < queue.size(); ++next) {
            const Index current = queue[next];
            if (visited.insert(current) && visit(current)) {
                for (const Index parent : parents(current)) {
                    queue.push_back(parent);
                }
            }
        }
    }

    /// The same walk from a single commit.
    template <typename Visit>
    void breadthFirst(Index start, Visited& visited, Visit&& visit) const {
        breadthFirst(std::span<const Index>(&start, 1), visited, std::forward<Visit>(visit));
    }

    /// All ancestors of `start`, itself included, marked in `visited`
    /// (cleared first). Returns how many there are.
    std::size_t markAncestors(Index start, Visited& visited) const;

  private:
    static constexpr std::uint8_t immutableFlag = 1U << 0U;
    static constexpr std::uint8_t workingCopyFlag = 1U << 1U;
    static constexpr std::uint8_t conflictFlag = 1U << 2U;
    static constexpr std::uint8_t localBookmarksFlag = 1U << 3U;
    static constexpr std::uint8_t remoteBookmarksFlag = 1U << 4U;
    static std::uint8_t flagsOf(const JJCommit& commit);
    /// `find` for a parent of `child`, trying the commit listed next first.
    std::optional<Index> findParent(std::string_view parentID, Index child) const;

    std::vector<JJCommit> commits_;
    StringTable positions_;  // views the IDs inside `commits_`
    // Every commit's loaded parents, one after another: those of commit `i`
    // are at [parentStart_[i], parentStart_[i + 1]).
    std::vector<Index> parentList_;
    std::vector<std::uint32_t> parentStart_;
    std::vector<std::uint8_t> flags_;
};

}  // namespace vorda
