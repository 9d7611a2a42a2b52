#include "feature/lanes/WorkspaceLaneProjection.h"

#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "feature/StateBuilder.h"

namespace vorda {
namespace {

using testing::addLocalBookmark;
using testing::StateBuilder;
using testing::workspaceOn;
using IDs = std::vector<std::string>;

IDs idsOf(const std::vector<JJCommit>& commits) {
    IDs ids;
    ids.reserve(commits.size());
    for (const auto& commit : commits) {
        ids.push_back(commit.commitID);
    }
    return ids;
}

std::optional<std::string> idOf(const std::optional<JJCommit>& commit) {
    return commit ? std::optional<std::string>(commit->commitID) : std::nullopt;
}

WorkspaceComposition::Kind materialized(const std::string& commitID) {
    return WorkspaceComposition::Materialized{"change-" + commitID, commitID};
}

// Trunk t0, two bookmarked stacks on it, and a composition commit "comp"
// merging them: a1 <- a0 <- t0 and b1 <- t0.
StateBuilder composedRepository() {
    StateBuilder builder;
    builder.immutableCommit("t0", {"root"});
    builder.immutableCommit("root");
    builder.commit("a0", {"t0"});
    addLocalBookmark(builder.commit("a1", {"a0"}), "a");
    addLocalBookmark(builder.commit("b1", {"t0"}), "b");
    builder.commit("comp", {"a1", "b1"}).description = "wip: Vorda composition default";
    return builder;
}

// ---------------------------------------------------------------------------
// Composition workspaces

TEST(WorkspaceLaneComposition, WorkingCopyOnTheCompositionCommitHasNoLocalCommits) {
    const auto builder = composedRepository();
    const auto lane =
        WorkspaceLaneProjection::build(workspaceOn("comp", materialized("comp")), builder.state());
    EXPECT_TRUE(lane.localCommits.empty());
    EXPECT_EQ(idOf(lane.boundary), "comp");
    EXPECT_EQ(idsOf(lane.inputs), (IDs{"a1", "b1"}));
    // Breadth first from the working copy, without what is shown above.
    EXPECT_EQ(idsOf(lane.history), (IDs{"a0", "t0", "root"}));
    EXPECT_TRUE(lane.unresolvedInputIDs.empty());
    EXPECT_EQ(idsOf(lane.commits()), (IDs{"comp"}));
}

TEST(WorkspaceLaneComposition, WorkOnTopOfTheCompositionIsLocal) {
    auto builder = composedRepository();
    builder.commit("w1", {"comp"});
    builder.commit("w2", {"w1"});
    const auto lane =
        WorkspaceLaneProjection::build(workspaceOn("w2", materialized("comp")), builder.state());
    EXPECT_EQ(idsOf(lane.localCommits), (IDs{"w2", "w1"}));
    EXPECT_EQ(idOf(lane.boundary), "comp");
    EXPECT_EQ(idsOf(lane.inputs), (IDs{"a1", "b1"}));
    EXPECT_EQ(idsOf(lane.history), (IDs{"a0", "t0", "root"}));
    EXPECT_EQ(idsOf(lane.commits()), (IDs{"comp", "w2", "w1"}));
}

TEST(WorkspaceLaneComposition, ASharedCompositionCommitBoundsEvenWithOneParent) {
    StateBuilder builder;
    builder.immutableCommit("t0");
    builder.commit("a1", {"t0"});
    builder.commit("apex", {"a1"});
    builder.commit("w1", {"apex"});
    const auto lane = WorkspaceLaneProjection::build(
        workspaceOn("w1", WorkspaceComposition::LegacyShared{"change-apex", "apex"}),
        builder.state());
    EXPECT_EQ(idsOf(lane.localCommits), (IDs{"w1"}));
    EXPECT_EQ(idOf(lane.boundary), "apex");
    EXPECT_EQ(idsOf(lane.inputs), (IDs{"a1"}));
    EXPECT_EQ(idsOf(lane.history), (IDs{"t0"}));
}

TEST(WorkspaceLaneComposition, WalksThroughImmutableCommitsToTheCompositionCommit) {
    // Only a workspace with no composition stops at fixed history; one with a
    // composition commit looks for that commit even below immutable ones.
    StateBuilder builder;
    builder.immutableCommit("t0");
    builder.immutableCommit("x", {"t0"});
    builder.immutableCommit("y", {"t0"});
    builder.immutableCommit("comp", {"x", "y"});
    builder.immutableCommit("fixed", {"comp"});
    builder.commit("wc", {"fixed"});
    const auto lane =
        WorkspaceLaneProjection::build(workspaceOn("wc", materialized("comp")), builder.state());
    EXPECT_EQ(idsOf(lane.localCommits), (IDs{"wc", "fixed"}));
    EXPECT_EQ(idOf(lane.boundary), "comp");
    EXPECT_EQ(idsOf(lane.inputs), (IDs{"x", "y"}));
}

TEST(WorkspaceLaneComposition, HistoryGoesBreadthFirst) {
    StateBuilder builder;
    builder.immutableCommit("t0");
    builder.commit("x0", {"t0"});
    builder.commit("x1", {"x0"});
    builder.commit("y0", {"t0"});
    builder.commit("y1", {"y0"});
    builder.commit("comp", {"x1", "y1"});
    const auto lane =
        WorkspaceLaneProjection::build(workspaceOn("comp", materialized("comp")), builder.state());
    EXPECT_EQ(idsOf(lane.history), (IDs{"x0", "y0", "t0"}));
}

// ---------------------------------------------------------------------------
// Direct workspaces

TEST(WorkspaceLaneDirect, StopsAtAnImmutableCommitWhichIsTheOneInput) {
    StateBuilder builder;
    builder.immutableCommit("t0");
    builder.immutableCommit("base", {"t0"});
    builder.commit("w1", {"base"});
    builder.commit("w2", {"w1"});
    const auto lane = WorkspaceLaneProjection::build(workspaceOn("w2"), builder.state());
    EXPECT_EQ(idsOf(lane.localCommits), (IDs{"w2", "w1"}));
    EXPECT_EQ(lane.boundary, std::nullopt);
    EXPECT_EQ(idsOf(lane.inputs), (IDs{"base"}));
    EXPECT_EQ(idsOf(lane.history), (IDs{"t0"}));
    EXPECT_TRUE(lane.unresolvedInputIDs.empty());
    EXPECT_EQ(idsOf(lane.commits()), (IDs{"w2", "w1"}));
}

TEST(WorkspaceLaneDirect, BookmarkedWorkingCopyStaysLocalAndTheNextBookmarkBounds) {
    StateBuilder builder;
    builder.immutableCommit("t0");
    builder.commit("c", {"t0"});
    addLocalBookmark(builder.commit("b", {"c"}), "feature");
    builder.commit("a", {"b"});
    addLocalBookmark(builder.commit("wc", {"a"}), "wip");
    const auto lane = WorkspaceLaneProjection::build(workspaceOn("wc"), builder.state());
    EXPECT_EQ(idsOf(lane.localCommits), (IDs{"wc", "a"}));
    EXPECT_EQ(idOf(lane.boundary), "b");
    EXPECT_EQ(idsOf(lane.inputs), (IDs{"c"}));
    EXPECT_EQ(idsOf(lane.history), (IDs{"t0"}));
    EXPECT_EQ(idsOf(lane.commits()), (IDs{"b", "wc", "a"}));
}

TEST(WorkspaceLaneDirect, AMergeBelowTheWorkingCopyBounds) {
    StateBuilder builder;
    builder.immutableCommit("t0");
    builder.commit("x", {"t0"});
    addLocalBookmark(builder.commit("y", {"t0"}), "y");
    builder.commit("merge", {"x", "y"});
    builder.commit("wc", {"merge"});
    const auto lane = WorkspaceLaneProjection::build(workspaceOn("wc"), builder.state());
    EXPECT_EQ(idsOf(lane.localCommits), (IDs{"wc"}));
    EXPECT_EQ(idOf(lane.boundary), "merge");
    EXPECT_EQ(idsOf(lane.inputs), (IDs{"x", "y"}));
    EXPECT_EQ(idsOf(lane.history), (IDs{"t0"}));
}

TEST(WorkspaceLaneDirect, ARootCommitEndsTheWalkWithNoInputs) {
    StateBuilder builder;
    builder.commit("first");
    builder.commit("wc", {"first"});
    const auto lane = WorkspaceLaneProjection::build(workspaceOn("wc"), builder.state());
    EXPECT_EQ(idsOf(lane.localCommits), (IDs{"wc", "first"}));
    EXPECT_EQ(lane.boundary, std::nullopt);
    EXPECT_TRUE(lane.inputs.empty());
    EXPECT_TRUE(lane.history.empty());
    EXPECT_TRUE(lane.unresolvedInputIDs.empty());
}

// ---------------------------------------------------------------------------
// Missing and damaged data

TEST(WorkspaceLaneDamage, AnUnloadedParentIsOneUnresolvedInput) {
    StateBuilder builder;
    builder.commit("w1", {"gone"});
    builder.commit("wc", {"w1"});
    const auto lane = WorkspaceLaneProjection::build(workspaceOn("wc"), builder.state());
    EXPECT_EQ(idsOf(lane.localCommits), (IDs{"wc", "w1"}));
    EXPECT_EQ(lane.boundary, std::nullopt);
    EXPECT_TRUE(lane.inputs.empty());
    EXPECT_EQ(lane.unresolvedInputIDs, (IDs{"gone"}));
    EXPECT_TRUE(lane.history.empty());
}

TEST(WorkspaceLaneDamage, InputsDropRepeatsWhileUnresolvedIDsKeepThem) {
    auto builder = composedRepository();
    builder.commit("comp", {"a1", "gone", "a1", "b1", "gone"});
    const auto lane =
        WorkspaceLaneProjection::build(workspaceOn("comp", materialized("comp")), builder.state());
    EXPECT_EQ(idsOf(lane.inputs), (IDs{"a1", "b1"}));
    EXPECT_EQ(lane.unresolvedInputIDs, (IDs{"gone", "gone"}));
    EXPECT_EQ(idsOf(lane.history), (IDs{"a0", "t0", "root"}));
}

TEST(WorkspaceLaneDamage, CyclesAboveTheBoundaryEndTheWalk) {
    StateBuilder builder;
    builder.commit("a", {"b"});
    builder.commit("b", {"a"});
    const auto lane = WorkspaceLaneProjection::build(workspaceOn("a"), builder.state());
    EXPECT_EQ(idsOf(lane.localCommits), (IDs{"a", "b"}));
    EXPECT_EQ(lane.boundary, std::nullopt);
    // The walk stopped on "a" again, which is already shown as local.
    EXPECT_TRUE(lane.inputs.empty());
    EXPECT_TRUE(lane.unresolvedInputIDs.empty());
    EXPECT_TRUE(lane.history.empty());
}

TEST(WorkspaceLaneDamage, CyclesBelowTheBoundaryEndTheHistory) {
    StateBuilder builder;
    builder.commit("x", {"y", "z"});
    builder.commit("y", {"x"});
    builder.commit("z", {"z"});
    builder.commit("comp", {"x", "y"});
    builder.commit("wc", {"comp"});
    const auto lane =
        WorkspaceLaneProjection::build(workspaceOn("wc", materialized("comp")), builder.state());
    EXPECT_EQ(idsOf(lane.localCommits), (IDs{"wc"}));
    EXPECT_EQ(idsOf(lane.inputs), (IDs{"x", "y"}));
    EXPECT_EQ(idsOf(lane.history), (IDs{"z"}));
}

}  // namespace
}  // namespace vorda
