#include "jjkit/graph/BookmarkOwnership.h"

#include <algorithm>
#include <string_view>

#include "jjkit/model/TrunkNames.h"

namespace vorda {
namespace {

using Index = CommitGraph::Index;
using Position = BookmarkTable::Position;

bool isOtherOwner(std::int32_t owner, Position bookmark) {
    return owner != unclaimed && owner != static_cast<std::int32_t>(bookmark);
}

std::vector<Index> expandImmutableDisplayStack(Position bookmark, const BookmarkTable& table,
                                               const CommitGraph& graph, const Claims& claimed,
                                               std::set<Position>& parents,
                                               CommitGraph::Visited& visited) {
    std::vector<Index> shown;
    graph.breadthFirst(table.tips[bookmark], visited, [&](Index current) {
        const std::int32_t owner = claimed[current];
        if (isOtherOwner(owner, bookmark)) {
            if (table.isTrunk[static_cast<std::size_t>(owner)]) {
                return false;
            }
            parents.insert(static_cast<Position>(owner));
        }
        shown.push_back(current);
        return true;
    });
    return shown;
}

}  // namespace

Claims tipOwners(const BookmarkTable& table, std::size_t commitCount) {
    Claims owners(commitCount, unclaimed);
    for (Position bookmark = 0; bookmark < table.size(); ++bookmark) {
        for (const Index tip : table.tips[bookmark]) {
            if (owners[tip] == unclaimed) {
                owners[tip] = static_cast<std::int32_t>(bookmark);
            }
        }
    }
    return owners;
}

BookmarkTable BookmarkTable::collect(const CommitGraph& graph) {
    // Every (name, commit) pair, sorted by name and then in list order, which
    // is the order of the tips: one flat sort instead of a map node per name.
    std::vector<std::pair<std::string_view, Index>> refs;
    for (Index index = 0; index < graph.size(); ++index) {
        if (!graph.hasLocalBookmarks(index)) {
            continue;
        }
        for (const auto& ref : graph.commit(index).localBookmarks) {
            refs.emplace_back(ref.name, index);
        }
    }
    std::sort(refs.begin(), refs.end());
    refs.erase(std::unique(refs.begin(), refs.end()), refs.end());
    BookmarkTable table;
    for (std::size_t at = 0; at < refs.size(); ++at) {
        const auto& [name, index] = refs[at];
        if (at == 0 || name != refs[at - 1].first) {
            table.names.emplace_back(name);
            table.isTrunk.push_back(isTrunkName(name));
            table.tips.emplace_back();
        }
        table.tips.back().push_back(index);
    }
    return table;
}

std::vector<Position> leafFirstOrder(const BookmarkTable& table, const CommitGraph& graph) {
    const Claims tipOwner = tipOwners(table, graph.size());
    std::vector<std::set<Position>> deps(table.size());
    CommitGraph::Visited visited(graph.size());
    std::vector<Index> underTips;
    for (Position bookmark = 0; bookmark < table.size(); ++bookmark) {
        underTips.clear();
        for (const Index tip : table.tips[bookmark]) {
            const auto parents = graph.parents(tip);
            underTips.insert(underTips.end(), parents.begin(), parents.end());
        }
        graph.breadthFirst(underTips, visited, [&](Index current) {
            if (isOtherOwner(tipOwner[current], bookmark)) {
                deps[bookmark].insert(static_cast<Position>(tipOwner[current]));
                return false;
            }
            return !graph.isImmutable(current);
        });
    }

    std::vector<std::size_t> dependents(table.size(), 0);
    for (const auto& below : deps) {
        for (const Position dependency : below) {
            ++dependents[dependency];
        }
    }
    // Positions follow name order, so an ordered set keeps `ready` sorted by name.
    std::set<Position> ready;
    for (Position bookmark = 0; bookmark < table.size(); ++bookmark) {
        if (dependents[bookmark] == 0) {
            ready.insert(bookmark);
        }
    }
    std::vector<Position> order;
    std::vector<bool> placed(table.size(), false);
    while (!ready.empty()) {
        const Position next = *ready.begin();
        ready.erase(ready.begin());
        order.push_back(next);
        placed[next] = true;
        for (const Position dependency : deps[next]) {
            if (--dependents[dependency] == 0) {
                ready.insert(dependency);
            }
        }
    }
    for (Position bookmark = 0; bookmark < table.size(); ++bookmark) {
        if (!placed[bookmark]) {
            order.push_back(bookmark);
        }
    }
    return order;
}

OwnershipWalk walkOwnership(Position bookmark, const BookmarkTable& table, const CommitGraph& graph,
                            const std::vector<bool>& isApexLike, Claims& claimed,
                            CommitGraph::Visited& visited) {
    const auto& tips = table.tips[bookmark];
    const auto isOwnTip = [&](Index index) {
        return std::find(tips.begin(), tips.end(), index) != tips.end();
    };
    OwnershipWalk walk;
    graph.breadthFirst(tips, visited, [&](Index current) {
        const std::int32_t owner = claimed[current];
        if (isOwnTip(current)) {
            walk.owned.push_back(current);
            return true;
        }
        if (graph.isImmutable(current)) {
            if (isOtherOwner(owner, bookmark) && !table.isTrunk[static_cast<std::size_t>(owner)]) {
                walk.parents.insert(static_cast<Position>(owner));
            }
            return false;
        }
        if (isApexLike[current]) {
            return false;  // the apex never belongs to a lane
        }
        if (isOtherOwner(owner, bookmark)) {
            walk.parents.insert(static_cast<Position>(owner));
            return false;
        }
        claimed[current] = static_cast<std::int32_t>(bookmark);
        walk.owned.push_back(current);
        return true;
    });

    const bool merged =
        std::any_of(tips.begin(), tips.end(), [&](Index tip) { return graph.isImmutable(tip); });
    if (merged) {
        // The claims made above stay; only what the lane shows changes.
        walk.owned =
            expandImmutableDisplayStack(bookmark, table, graph, claimed, walk.parents, visited);
    }
    return walk;
}

}  // namespace vorda
