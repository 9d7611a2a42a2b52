#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "jjkit/graph/CommitGraph.h"

namespace vorda {

/// The local bookmarks of the loaded commits, by position in ascending name
/// order, with the commits that carry each: at least one, and more for a
/// conflicted bookmark.
struct BookmarkTable {
    using Position = std::uint32_t;

    std::vector<std::string> names;
    std::vector<std::vector<CommitGraph::Index>> tips;
    std::vector<bool> isTrunk;

    static BookmarkTable collect(const CommitGraph& graph);
    std::size_t size() const { return names.size(); }
};

/// Which bookmark owns each commit; `unclaimed` for none.
using Claims = std::vector<std::int32_t>;
inline constexpr std::int32_t unclaimed = -1;

/// Every tip's owner: the first bookmark in name order that has it. This is
/// where claims start before any walk.
Claims tipOwners(const BookmarkTable& table, std::size_t commitCount);

/// The order in which bookmarks claim commits: a bookmark walks before the
/// bookmarks it stacks on, so that its walk stops at their tips. Ties go by
/// ascending name; bookmarks caught in a cycle are appended in name order.
std::vector<BookmarkTable::Position> leafFirstOrder(const BookmarkTable& table,
                                                    const CommitGraph& graph);

/// What one bookmark's walk found: its commits (tip first) and the bookmarks
/// it stacks on.
struct OwnershipWalk {
    std::vector<CommitGraph::Index> owned;
    std::set<BookmarkTable::Position> parents;
};

/// Claims the commits of `bookmark` breadth first from its tips: mutable
/// commits that no other bookmark claimed, never the apex. A bookmark whose
/// tip is immutable (merged) is shown with its history instead, down to the
/// first commit of a trunk bookmark.
OwnershipWalk walkOwnership(BookmarkTable::Position bookmark, const BookmarkTable& table,
                            const CommitGraph& graph, const std::vector<bool>& isApexLike,
                            Claims& claimed, CommitGraph::Visited& visited);

}  // namespace vorda
