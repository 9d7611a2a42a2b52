#include "jjkit/graph/BookmarkOwnership.h"

#include <algorithm>
#include <map>

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
    std::map<std::string, std::vector<CommitGraph::Index>> byName;
    for (CommitGraph::Index index = 0; index < graph.size(); ++index) {
        for (const auto& ref : graph.commit(index).localBookmarks) {
            auto& tips = byName[ref.name];
            if (std::find(tips.begin(), tips.end(), index) == tips.end()) {
                tips.push_back(index);
            }
        }
    }
    BookmarkTable table;
    for (auto& [name, tips] : byName) {
        table.isTrunk.push_back(isTrunkName(name));
        table.names.push_back(name);
        table.tips.push_back(std::move(tips));
    }
    return table;
}

std::vector<Position> leafFirstOrder(const BookmarkTable& table, const CommitGraph& graph) {
    const Claims tipOwner = tipOwners(table, graph.size());
    std::vector<std::set<Position>> deps(table.size());
    CommitGraph::Visited visited(graph.size());
    for (Position bookmark = 0; bookmark < table.size(); ++bookmark) {
        std::vector<Index> below;
        for (const Index tip : table.tips[bookmark]) {
            below.insert(below.end(), graph.parents(tip).begin(), graph.parents(tip).end());
        }
        graph.breadthFirst(below, visited, [&](Index current) {
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
