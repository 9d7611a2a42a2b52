// The graph builder on hand-made input: shapes jj cannot produce (cycles,
// duplicates, missing parents) must not crash or hang it, and equal input
// must give equal output. Also the pieces it is built from: the commit graph
// and its string table.

#include "jjkit/graph/BookmarkGraphBuilder.h"

#include <algorithm>
#include <map>
#include <utility>

#include <gtest/gtest.h>

#include "jjkit/graph/CommitGraph.h"
#include "jjkit/graph/StringTable.h"
#include "support/StateText.h"

namespace vorda {
namespace {

JJCommit commit(const std::string& id, std::vector<std::string> parents,
                std::vector<std::string> bookmarks = {}, bool immutable = false) {
    JJCommit made;
    made.commitID = id;
    made.changeID = "change-" + id;
    made.parents = std::move(parents);
    made.description = "commit " + id + " \"quoted\" \\ ä\nsecond line\n";
    made.author = {"Me", "me@example.org", "2026-11-21T09:00:00+01:00"};
    made.committer = made.author;
    made.immutable = immutable;
    for (auto& name : bookmarks) {
        made.localBookmarks.push_back(
            JJCommitRef{std::move(name), std::nullopt, {id}, std::nullopt});
    }
    return made;
}

/// The state's rendering, each change shown by its commit's ID.
std::string show(const RepoState& state) {
    testing::IDNames names;
    for (const auto& [id, commit] : state.commits) {
        names[commit->changeID] = id;
    }
    return testing::stateText(state, names);
}
using testing::lines;

BookmarkGraphBuilder::Input input(std::vector<JJCommit> commits) {
    BookmarkGraphBuilder::Input in;
    for (const auto& each : commits) {
        in.mineChangeIDs.insert(each.changeID);
    }
    in.commits = std::move(commits);
    return in;
}

TEST(BookmarkGraphBuilder, CyclesDuplicatesAndMissingParentsStillBuild) {
    const RepoState state = BookmarkGraphBuilder::build(input({
        commit("a", {"b"}, {"ay"}), commit("b", {"a"}, {"bee"}),
        commit("a", {"elsewhere"}),  // a duplicate: the first one stands
        commit("c", {"not-loaded", "b"}, {"sea"}), commit("d", {"d"}),  // its own parent
    }));
    // The derived members walk the same damaged graph. Each commit is one-off
    // work once; "d" sits on itself, so it heads no lane.
    EXPECT_EQ(show(state), lines(R"(
      bookmark ay: a | local untracked | on bee | base b [bee]
      bookmark bee: b | local untracked | on ay | base a [ay]
      bookmark sea: c | local untracked | on bee | base b [bee]
      one-off a on b | owner ay
      one-off b on a | owner bee
      one-off c on b | owner sea
      one-off d on d
      immutable | conflicted | behind trunk
    )"));
    EXPECT_EQ(state.transitiveDependencies("ay"), (std::set<std::string>{"ay", "bee"}));
}

TEST(BookmarkGraphBuilder, GivesOrphansNewestFirstAndUnreadableTimesLastInListOrder) {
    // In list order, which is also the order of the IDs.
    const std::map<std::string, std::string> times{
        {"a", "2026-11-21T10:00:00+01:00"},  // 09:00Z
        {"b", "garbage"},
        {"c", "2026-11-21T09:30:00Z"},
        {"d", "2026-11-21T09:00:00Z"},  // the same instant as "a"
        {"e", ""},
        {"f", "2026-11-22T00:00:00-05:00"},  // the newest
        {"g", "2026-11-21T08:59:59Z"},
    };
    std::vector<JJCommit> commits;
    for (const auto& [id, time] : times) {
        commits.push_back(commit(id, {"root"}));
        commits.back().committer.timestamp = time;
    }
    commits.push_back(commit("root", {}, {}, true));
    std::vector<std::string> order;
    for (const auto& orphan : BookmarkGraphBuilder::build(input(std::move(commits))).orphanWIPs) {
        order.push_back(orphan.commitID);
        EXPECT_EQ(orphan.timestamp, times.at(orphan.commitID));
    }
    EXPECT_EQ(order, (std::vector<std::string>{"f", "c", "a", "d", "g", "b", "e"}));
}

TEST(BookmarkGraphBuilder, EqualInputGivesEqualOutputAndListOrderChangesNoBookmark) {
    // "feature" is two commits ahead of its remote and one behind; "twin"
    // shares its tip; a merge joins the two sides.
    std::vector<JJCommit> commits{commit("m", {"f2", "r2"}),
                                  commit("f3", {"f2"}, {"feature", "twin"}),
                                  commit("f2", {"f1"}),
                                  commit("r2", {"f1"}),
                                  commit("f1", {"base"}, {"mid"}),
                                  commit("base", {}, {"main"}, true)};
    commits[3].remoteBookmarks.push_back(
        JJCommitRef{"feature", "origin", {"r2"}, std::vector<std::string>{"r2"}});
    const RepoState childrenFirst = BookmarkGraphBuilder::build(input(commits));
    EXPECT_EQ(BookmarkGraphBuilder::build(input(commits)), childrenFirst);
    const auto& feature = childrenFirst.bookmarks.at("feature");
    EXPECT_EQ(feature.remoteSyncState,
              (RemoteSyncState{RemoteSyncState::Diverged{"origin", 2, 1}}));
    EXPECT_EQ((std::vector<std::vector<std::string>>{feature.commitIDs, feature.parentBookmarks}),
              (std::vector<std::vector<std::string>>{{"f3", "f2"}, {"mid"}}));
    // Both show the shared tip; the commits below belong to the first walker.
    const auto& twin = childrenFirst.bookmarks.at("twin");
    EXPECT_EQ((std::vector<std::vector<std::string>>{twin.commitIDs, twin.parentBookmarks}),
              (std::vector<std::vector<std::string>>{{"f3"}, {"feature"}}));
    std::reverse(commits.begin(), commits.end());
    EXPECT_EQ(BookmarkGraphBuilder::build(input(commits)).bookmarks, childrenFirst.bookmarks);
}

TEST(CommitGraph, KeepsTheFirstOfRepeatedCommitsAndOnlyLoadedParents) {
    std::vector<JJCommit> commits{commit("a", {"b", "missing", "b"}), commit("b", {}),
                                  commit("a", {"c"}), commit("c", {"a"}, {"main"}, true)};
    commits[3].workingCopy = true;
    commits[3].conflict = true;
    commits[3].remoteBookmarks.push_back(JJCommitRef{"main", "origin", {"c"}, std::nullopt});
    std::vector<std::pair<CommitGraph::Index, std::string>> visited;
    const CommitGraph graph(std::move(commits),
                            [&](CommitGraph::Index index, const JJCommit& seen) {
                                visited.emplace_back(index, seen.commitID);
                            });
    EXPECT_EQ(visited, (std::vector<std::pair<CommitGraph::Index, std::string>>{
                           {0, "a"}, {1, "b"}, {2, "c"}}));
    ASSERT_EQ(graph.size(), 3U);
    EXPECT_EQ((std::vector{graph.find("a"), graph.find("c"), graph.find("missing")}),
              (std::vector<std::optional<CommitGraph::Index>>{0U, 2U, std::nullopt}));
    EXPECT_EQ(graph.commit(0).parents.size(), 3U);  // the first "a", not the repeat
    std::vector<std::vector<CommitGraph::Index>> parents;
    std::vector<std::vector<bool>> flags;
    for (const CommitGraph::Index index : {0U, 1U, 2U}) {
        parents.emplace_back(graph.parents(index).begin(), graph.parents(index).end());
        flags.push_back({graph.isImmutable(index), graph.isWorkingCopy(index),
                         graph.hasConflict(index), graph.hasLocalBookmarks(index),
                         graph.hasRemoteBookmarks(index)});
    }
    EXPECT_EQ(parents, (std::vector<std::vector<CommitGraph::Index>>{{1, 1}, {}, {0}}));
    EXPECT_EQ(flags, (std::vector<std::vector<bool>>{std::vector<bool>(5, false),
                                                     std::vector<bool>(5, false),
                                                     std::vector<bool>(5, true)}));
}

TEST(CommitGraph, WalksBreadthFirstTakingEachCommitOnce) {
    // top -> left, right; left -> bottom; right -> bottom, top (a cycle)
    const CommitGraph graph({commit("top", {"left", "right"}), commit("left", {"bottom"}),
                             commit("right", {"bottom", "top"}), commit("bottom", {})});
    CommitGraph::Visited visited(graph.size());
    const auto walk = [&](auto&& goOn) {
        std::vector<std::string> order;
        graph.breadthFirst(0, visited, [&](CommitGraph::Index index) {
            order.push_back(graph.commit(index).commitID);
            return goOn(index);
        });
        return order;
    };
    EXPECT_EQ(walk([](auto) { return true; }),
              (std::vector<std::string>{"top", "left", "right", "bottom"}));
    // The same marks serve the next walk: each walk starts afresh.
    EXPECT_EQ(walk([](auto index) { return index != 1; }),
              (std::vector<std::string>{"top", "left", "right", "bottom"}));
    EXPECT_EQ(walk([](auto index) { return index == 0; }),
              (std::vector<std::string>{"top", "left", "right"}));
    std::vector<std::string> fromTwo;
    const std::vector<CommitGraph::Index> starts{3, 1, 3};
    graph.breadthFirst(starts, visited, [&](CommitGraph::Index index) {
        fromTwo.push_back(graph.commit(index).commitID);
        return true;
    });
    EXPECT_EQ(fromTwo, (std::vector<std::string>{"bottom", "left"}));
}

TEST(StringTable, FindsEveryKeyItHoldsAndNoOtherAfterGrowing) {
    // Long keys that differ only at the end, as IDs with a common prefix do.
    std::vector<std::string> keys;
    keys.reserve(5001);
    for (int number = 0; number < 5000; ++number) {
        keys.push_back(std::string(37, 'k') + std::to_string(number));
    }
    keys.emplace_back();
    StringTable table;
    for (std::size_t index = 0; index < keys.size(); ++index) {
        const auto [value, added] =
            table.insert(keys[index], static_cast<StringTable::Value>(index));
        EXPECT_TRUE(added) << keys[index];
        EXPECT_EQ(value, index);
    }
    EXPECT_EQ(table.size(), keys.size());
    for (std::size_t index = 0; index < keys.size(); ++index) {
        EXPECT_EQ(table.find(keys[index]), index) << keys[index];
    }
    // A key already there keeps its first value.
    EXPECT_EQ(table.insert(keys[7], 99), (std::pair<StringTable::Value, bool>{7, false}));
    EXPECT_EQ(table.size(), keys.size());
    for (const auto& absent : {std::string("k"), std::string("kkkk0"), std::string("0"),
                               std::string(37, 'k') + "5000", std::string(38, 'k')}) {
        EXPECT_FALSE(table.contains(absent)) << absent;
    }
}

}  // namespace
}  // namespace vorda
