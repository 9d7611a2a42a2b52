// Whole repository loads on real repositories: what the RepoState must say
// about bookmarks, remotes, conflicts, one-offs and workspaces, compared as a
// whole rendering so that anything extra or missing shows.

#include <algorithm>
#include <filesystem>

#include <gtest/gtest.h>

#include "jjkit/client/JJClient.h"
#include "support/RepoPicture.h"
#include "support/StateText.h"
#include "support/TestRepo.h"

namespace vorda {
namespace {

using testing::lines;
using testing::TestRepo;

const std::string published(testing::publishedTrunk);

class RepoStateLoad : public ::testing::Test {
  protected:
    RepoState load(const std::map<std::string, std::string>& compositions = {},
                   const std::string& path = "") const {
        return JJClient(path.empty() ? repo.root() : path)
            .repoState(JJClient::defaultRevset, std::nullopt, compositions);
    }
    /// The rendering of `state` with the commits named in the picture.
    std::string text(const RepoState& state, const std::vector<std::string>& names) const {
        return testing::stateText(state, testing::idNames(repo, names));
    }
    std::string id(const std::string& name) const { return repo.commitID(repo.id(name)); }

    TestRepo repo;
};

TEST_F(RepoStateLoad, StackedBookmarksOwnTheirCommitsAndOneOffStacksAreMineAlone) {
    // O3 is loaded as the parent of one's own work on top of it.
    repo.draw(published + R"(
      B1 <- T "b1" b=1
      B2 <- B1 "b2 \"quoted\" ä" b=2 [bee]
      A1 <- B2 "a1" a=1 [ay]
      F <- T "feature" f=1 [feat]
      O1 <- F "one-off on feat" o=1
      O2 <- O1 "second one-off" o=2
      T1 <- T "one-off on trunk" t=1
      X <- F "theirs" x=1 {Other Person <other@example.org>}
      O3 <- X "mine on theirs" o=3
      @ <- A1
    )");
    const RepoState state = load();
    // Trunk is never a parent lane; one's own commits stay one-off entries
    // even when a bookmark owns them, but they form no one-off lane. X is in
    // no lane, so O3 stands alone.
    EXPECT_EQ(text(state, {"T", "B1", "B2", "A1", "F", "O1", "O2", "T1", "X", "O3"}), lines(R"(
      bookmark ay: A1 | local untracked | on bee | base B2 [bee]
      bookmark bee: B2 B1 | local untracked | landed main | base T trunk [main main@git main@origin]
      bookmark feat: F | local untracked | landed main | base T trunk [main main@git main@origin]
      bookmark main: T root | upstream(origin) upToDate(origin)
      working copy @: ay bee
      workspace default*: direct | ay inherited(-) | bee inherited(ay) | feat absent | main inherited(-) | base T trunk [main main@git main@origin]
      lane O2: O2 O1 | on feat | feat at O1
      lane O3: O3
      lane T1: T1 | on main | main at T1
      one-off A1 on B2 | owner ay
      one-off B1 on T | owner bee
      one-off B2 on B1 | owner bee
      one-off F on T | owner feat
      one-off O1 on F
      one-off O2 on O1
      one-off O3 on X
      one-off T1 on T
      one-off X on F | theirs
      immutable T root | conflicted | behind trunk
    )"));
    EXPECT_EQ(state.orphanWIPs.front().changeID, repo.id("O3"));  // newest first
    EXPECT_EQ(state.transitiveDependencies("ay"), std::set<std::string>{"bee"});
    EXPECT_EQ(state.dependents("bee"), std::vector<std::string>{"ay"});
    // The lane on trunk stands on its own.
    const auto stacked = state.stackedOneOffLanesByBookmark();
    ASSERT_EQ(stacked.size(), 1U);
    const OneOffLane& onFeat = stacked.at("feat");
    EXPECT_EQ((std::vector<std::string>{onFeat.id(), onFeat.displayName()}),
              (std::vector<std::string>{repo.id("O2"), "one-off/" + repo.id("O2").substr(0, 8)}));
    EXPECT_EQ(onFeat.bookmark().commitIDs, (std::vector<std::string>{id("O2"), id("O1")}));
    // The repository path need not be spelled exactly as jj spells the root.
    EXPECT_EQ(load({}, repo.root() + "/"), state);
    EXPECT_EQ(load({}, repo.root() + "/."), state);
}

TEST_F(RepoStateLoad, ALandedBookmarkMarksTheLanesAboveIt) {
    repo.draw(published + R"(
      F <- T "feature work" f=1 [feature]
      G <- F "on top of feature" g=1 [gee]
      M <- F "trunk moves on" m=1
    )");
    repo.bookmark("main", repo.id("M"));
    repo.push("main");
    // A merged bookmark keeps its history; gee was started on a trunk commit
    // that trunk has moved past.
    EXPECT_EQ(text(load(), {"T", "F", "G", "M"}), lines(R"(
      bookmark feature: F T | local untracked
      bookmark gee: G | local untracked | on feature | landed feature | base F [feature feature@git]
      bookmark main: M F T | upstream(origin) upToDate(origin) | on feature | landed feature
      working copy @:
      workspace default*: direct | feature inherited(main) | gee absent | main inherited(-) | base M trunk [main main@git main@origin]
      one-off G on F | owner gee
      immutable F M T | conflicted | behind trunk G
    )"));
}

TEST_F(RepoStateLoad, RemoteSyncStatesConflictedBookmarksAndConflictsBetweenBookmarks) {
    repo.draw(published + R"(
      A1 <- T "ahead 1" a=1 [ahead]
      B1 <- T "behind 1" b=1 [behind]
      D1 <- T "diverged 1" d=1 [diverged]
      push ahead behind diverged
      A2 <- A1 "ahead 2" a=2
      S <- T "solo" s=1 [solo]
    )");
    repo.bookmark("ahead", repo.id("A2"));
    repo.advanceOrigin("behind", "upstream work", {{"b", "upstream"}});
    repo.advanceOrigin("diverged", "upstream side", {{"d", "upstream"}});
    // A branch that only origin has: it stays an untracked remote bookmark,
    // and someone else's published branch is not one-off work of mine.
    testing::runChecked({"git", "--git-dir", repo.originPath(), "branch", "theirs", "main"});
    repo.advanceOrigin("theirs", "their branch", {{"theirs.txt", "theirs\n"}});
    repo.fetch();
    // The fetch fast-forwards the tracked bookmarks that did not move:
    // moving one back leaves it behind its remote, a new local commit on the
    // other makes it diverge. A second conflicted commit on the merge of
    // left and right repeats the same pair.
    repo.bookmark("behind", repo.id("B1"));
    repo.draw(R"(
      DL <- D1 "diverged local" d=local
      C1 <- T "c1" c=1
      C2 <- C1 "c2" c=2
      C3 <- C2 "c3" c=3
      L <- T "left side" shared.txt=left [left]
      R <- T "right side" shared.txt=right [right]
      M <- L R "conflicted merge"
      SC <- M "still conflicted"
    )");
    repo.bookmark("diverged", repo.id("DL"));
    repo.makeConflictedBookmark("dual", repo.id("C2"), repo.id("C3"), repo.id("C1"));
    auto names = testing::idNames(
        repo, {"T", "A1", "A2", "B1", "D1", "DL", "S", "C1", "C2", "C3", "L", "R", "M", "SC"});
    names[repo.commitID("theirs@origin")] = "TH";
    // The colocated repository's "git" remote carries solo too; it never counts.
    EXPECT_EQ(testing::stateText(load(), names), lines(R"(
      bookmark ahead: A2 A1 | upstream(origin) ahead(origin, 1) | landed main | base T trunk [main main@git main@origin]
      bookmark behind: B1 | upstream(origin) behind(origin, 1) | landed main | base T trunk [main main@git main@origin]
      bookmark diverged: DL D1 | upstream(origin) diverged(origin, 1, 1) | landed main | base T trunk [main main@git main@origin]
      bookmark dual: C3 C1 C2 | tips C3 C1 | local untracked | landed main | divergent | base T trunk [main main@git main@origin]
      bookmark left: L | local untracked | landed main | base T trunk [main main@git main@origin]
      bookmark main: T root | upstream(origin) upToDate(origin)
      bookmark right: R | local untracked | landed main | base T trunk [main main@git main@origin]
      bookmark solo: S | local untracked | landed main | base T trunk [main main@git main@origin]
      conflict left right
      working copy @: left right | conflict
      workspace default*: direct | ahead absent | behind absent | diverged absent | dual absent | left inherited(-) | main inherited(-) | right inherited(-) | solo absent | base T trunk [main main@git main@origin] | conflict
      one-off A1 on T | owner ahead
      one-off A2 on A1 | owner ahead
      one-off B1 on T | owner behind
      one-off C1 on T | owner dual
      one-off C2 on C1 | owner dual
      one-off C3 on C2 | owner dual
      one-off D1 on T | owner diverged
      one-off DL on D1 | owner diverged
      one-off L on T | owner left
      one-off R on T | owner right
      one-off S on T | owner solo
      remote bookmark theirs: TH | upstream(origin) untracked
      immutable T TH root | conflicted @ M SC | behind trunk
    )"));
}

TEST_F(RepoStateLoad, WorkspaceOnACompositionPointWithPartialInheritedAndProtectedAttachments) {
    repo.draw(published + R"(
      X1 <- T "x1" x=1
      X2 <- X1 "x2" x=2 [ex]
      U1 <- T "u1" u=1 [under]
      Y1 <- U1 "y1" y=1 [why]
      P <- T "released" p=1
      C <- X1 Y1 P "wip: Vorda composition default"
      workspace second <- T
      @ <- C
    )");
    repo.jj({"tag", "set", "release", "-r", repo.id("P")});
    const RepoState state = load({{"default", repo.id("C")}});
    EXPECT_EQ(text(state, {"T", "X1", "X2", "U1", "Y1", "P", "C"}), lines(R"(
      bookmark ex: X2 X1 | local untracked | landed main | base T trunk [main main@git main@origin]
      bookmark main: T root | upstream(origin) upToDate(origin)
      bookmark under: U1 | local untracked | landed main | base T trunk [main main@git main@origin]
      bookmark why: Y1 | local untracked | on under | base U1 [under]
      working copy @: ex under why
      workspace default*: composed C/C | parents why | attached X1 mutable | attached Y1 mutable why | attached P protected | ex partial(X1) | main inherited(-) | under inherited(why) | why directParent | base P [] | base T trunk [main main@git main@origin]
      workspace second: direct | ex absent | main inherited(-) | under absent | why absent | base T trunk [main main@git main@origin]
      one-off U1 on T | owner under
      one-off X1 on T | owner ex
      one-off X2 on X1 | owner ex
      one-off Y1 on U1 | owner why
      immutable P T root | conflicted | behind trunk
    )"));
    EXPECT_EQ(state.boardEnabledBookmarkNames(),
              (std::set<std::string>{"ex", "main", "under", "why"}));
    EXPECT_EQ(state.inclusionRole("why", "no-such-workspace"), BookmarkInclusionRole::absent());
    // Without the remembered composition point the workspace is direct.
    EXPECT_TRUE(load().workspaces.at("default").composition.isDirect());
}

TEST_F(RepoStateLoad, LegacyApexSharedByTwoWorkspaces) {
    repo.draw(published + R"(
      A1 <- T "a1" a=1 [ay]
      AP <- T A1 "wip: Vorda apex commit"
      workspace second <- AP
      @ <- AP
    )");
    const RepoState state = load();
    EXPECT_EQ(text(state, {"T", "A1", "AP"}), lines(R"(
      bookmark ay: A1 | local untracked | landed main | base T trunk [main main@git main@origin]
      bookmark main: T root | upstream(origin) upToDate(origin)
      working copy @: ay
      workspace default*: legacy AP/AP | attached T trunk main | attached A1 mutable ay | ay inherited(-) | main inherited(-) | base T trunk [main main@git main@origin]
      workspace second: legacy AP/AP | attached T trunk main | attached A1 mutable ay | ay inherited(-) | main inherited(-) | base T trunk [main main@git main@origin]
      apex AP: trunk ay | immutable T
      one-off A1 on T | owner ay
      immutable T root | conflicted | behind trunk
    )"));
    EXPECT_TRUE(state.workingCopyIsAttachedToApex());
    EXPECT_EQ(state.boardEnabledBookmarkNames(), (std::set<std::string>{"ay", "main"}));
    EXPECT_EQ(JJClient(repo.root()).findApexChangeID(), std::optional<std::string>(repo.id("AP")));
}

TEST_F(RepoStateLoad, OddRepositoriesStillLoadAndMissingParentsAreFetched) {
    // No trunk, a divergent change and a workspace whose folder is gone.
    repo.jj({"config", "set", "--repo", "revset-aliases.\"trunk()\"", "none()"});
    repo.draw(R"(
      D <- root "original" d=1
      C1 <- root "c1" a=1
      C2 <- C1 "c2" a=2 [feat]
      workspace second <- C2
    )");
    repo.makeDivergent(repo.id("D"), "first rewrite", "second rewrite");
    std::filesystem::remove_all(repo.scratch() / "second");

    const JJClient client(repo.root());
    const RepoState state = client.repoState();
    const auto isD = [&](const auto& entry) {
        return entry.second->changeID == repo.id("D");
    };
    EXPECT_EQ(std::tuple(state.bookmarks.at("feat").commitIDs.size(), client.upstreamCommitCount(),
                         std::ranges::count_if(state.commits, isD), state.workspaces.size(),
                         state.selectedWorkspaceName),
              std::tuple(2U, 0, 2, 2U, "default"));

    // A narrow revset: the parents it misses come from the second query, once.
    std::set<std::string> loaded;
    for (const auto& [commitID, commit] : client.repoState(id("C2")).commits) {
        loaded.insert(commitID);
    }
    EXPECT_EQ(loaded, (std::set<std::string>{id("C1"), id("C2")}));
}

}  // namespace
}  // namespace vorda
