// Whole repository loads on real repositories: what the RepoState must say
// about bookmarks, remotes, conflicts, one-offs and workspaces.

#include <algorithm>
#include <filesystem>

#include <gtest/gtest.h>

#include "jjkit/client/JJClient.h"
#include "support/ModelPrinting.h"
#include "support/TestRepo.h"

namespace vorda {
namespace {

using testing::TestRepo;

// `main` pushed to a local origin, so that trunk() is main@origin.
const std::string published = R"(
  origin
  T <- root "base" README=hello [main]
  push main
)";

class RepoStateLoad : public ::testing::Test {
  protected:
    RepoState load(const std::map<std::string, std::string>& compositions = {},
                   const std::string& path = "") const {
        return JJClient(path.empty() ? repo.root() : path)
            .repoState(JJClient::defaultRevset, std::nullopt, compositions);
    }
    /// The commit ID of a commit named in the picture.
    std::string id(const std::string& name) const { return repo.commitID(repo.id(name)); }

    TestRepo repo;
};

TEST_F(RepoStateLoad, StackedBookmarksOwnTheirCommitsAndStackOnEachOther) {
    repo.draw(published + R"(
      B1 <- T "b1" b=1
      B2 <- B1 "b2 \"quoted\" ä" b=2 [bee]
      A1 <- B2 "a1" a=1 [ay]
    )");
    const RepoState state = load();
    const Bookmark& bee = state.bookmarks.at("bee");
    const Bookmark& ay = state.bookmarks.at("ay");
    EXPECT_EQ(bee.commitIDs, (std::vector<std::string>{id("B2"), id("B1")}));
    EXPECT_TRUE(bee.parentBookmarks.empty());  // trunk is never a parent lane
    EXPECT_EQ(ay.commitIDs, std::vector<std::string>{id("A1")});
    EXPECT_EQ(ay.parentBookmarks, std::vector<std::string>{"bee"});
    EXPECT_EQ(ay.changeIDs, std::vector<std::string>{repo.id("A1")});
    EXPECT_EQ(state.bookmarks.at("main").origin, BookmarkOrigin::upstream("origin"));
    EXPECT_EQ(state.bookmarks.at("main").remoteSyncState,
              RemoteSyncState{RemoteSyncState::UpToDate{"origin"}});

    EXPECT_EQ(state.transitiveDependencies("ay"), std::set<std::string>{"bee"});
    EXPECT_EQ(state.dependents("bee"), std::vector<std::string>{"ay"});
    const auto beeBase = state.baseAnchors("bee");
    ASSERT_EQ(beeBase.size(), 1U);
    EXPECT_EQ(beeBase[0].commitID, id("T"));
    EXPECT_TRUE(beeBase[0].isTrunk);
    EXPECT_NE(
        std::find(beeBase[0].bookmarkNames.begin(), beeBase[0].bookmarkNames.end(), "main@origin"),
        beeBase[0].bookmarkNames.end());
    const auto ayBase = state.baseAnchors("ay");
    ASSERT_EQ(ayBase.size(), 1U);
    EXPECT_EQ(ayBase[0].bookmarkNames, std::vector<std::string>{"bee"});
    EXPECT_FALSE(ayBase[0].isTrunk);

    ASSERT_TRUE(state.workingCopy.has_value());
    EXPECT_EQ(state.workingCopy->enabledBookmarks, (std::vector<std::string>{"ay", "bee"}));
    EXPECT_EQ(state.selectedWorkspaceName, std::optional<std::string>("default"));
    // One's own commits stay one-off entries even when a bookmark owns them,
    // but they form no one-off lane.
    EXPECT_EQ(state.orphanWIPs.size(), 3U);
    for (const auto& orphan : state.orphanWIPs) {
        EXPECT_TRUE(orphan.ownerBookmark.has_value()) << orphan.description;
    }
    EXPECT_EQ(state.orphanWIPs.front().changeID, repo.id("A1"));  // newest first
    EXPECT_TRUE(state.oneOffLanes().empty());
    EXPECT_TRUE(state.behindTrunkCommitIDs.empty());

    // The repository path need not be spelled exactly as jj spells the root.
    EXPECT_EQ(load({}, repo.root() + "/").selectedWorkspaceName, state.selectedWorkspaceName);
    EXPECT_EQ(load({}, repo.root() + "/.").selectedWorkspaceName, state.selectedWorkspaceName);
}

TEST_F(RepoStateLoad, ConflictedBookmarksAndConflictsBetweenBookmarks) {
    // A second conflicted commit on the merge repeats the same pair.
    repo.draw(published + R"(
      C1 <- T "c1" c=1
      C2 <- C1 "c2" c=2
      C3 <- C2 "c3" c=3
      L <- T "left side" shared.txt=left [left]
      R <- T "right side" shared.txt=right [right]
      M <- L R "conflicted merge"
      S <- M "still conflicted"
    )");
    repo.makeConflictedBookmark("dual", repo.id("C2"), repo.id("C3"), repo.id("C1"));

    const RepoState state = load();
    const Bookmark& dual = state.bookmarks.at("dual");
    EXPECT_TRUE(dual.isDivergent);
    EXPECT_EQ(dual.changeIDs.size(), 2U);
    EXPECT_EQ(dual.remoteSyncState, RemoteSyncState{RemoteSyncState::Untracked{}});
    EXPECT_EQ(state.conflicts, (std::vector<BookmarkConflict>{{"left", "right"}}));
    EXPECT_TRUE(state.commits.at(id("M"))->conflict);
    EXPECT_TRUE(state.workingCopy->hasConflict);
}

TEST_F(RepoStateLoad, ALandedBookmarkMarksTheLanesAboveIt) {
    repo.draw(published + R"(
      F <- T "feature work" f=1 [feature]
      G <- F "on top of feature" g=1 [gee]
      M <- F "trunk moves on" m=1
    )");
    repo.bookmark("main", repo.id("M"));
    repo.push("main");

    const RepoState state = load();
    const Bookmark& feature = state.bookmarks.at("feature");
    EXPECT_TRUE(state.commits.at(id("F"))->immutable);
    ASSERT_FALSE(feature.commitIDs.empty());
    EXPECT_EQ(feature.commitIDs.front(), id("F"));  // a merged bookmark keeps its history
    EXPECT_NE(std::find(feature.commitIDs.begin(), feature.commitIDs.end(), id("T")),
              feature.commitIDs.end());
    const Bookmark& gee = state.bookmarks.at("gee");
    EXPECT_EQ(gee.commitIDs, std::vector<std::string>{id("G")});
    EXPECT_EQ(gee.landedUpstreamParents, std::vector<std::string>{"feature"});
    EXPECT_EQ(gee.parentBookmarks, std::vector<std::string>{"feature"});
    // gee was started on a trunk commit that trunk has moved past.
    EXPECT_TRUE(state.behindTrunkCommitIDs.contains(id("G")));
}

TEST_F(RepoStateLoad, RemoteSyncStatesAgainstOrigin) {
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
    // A branch that only origin has: it stays an untracked remote bookmark.
    testing::runChecked({"git", "--git-dir", repo.originPath(), "branch", "theirs", "main"});
    repo.advanceOrigin("theirs", "their branch", {{"theirs.txt", "theirs\n"}});
    repo.fetch();
    // The fetch fast-forwards the tracked bookmarks that did not move:
    // moving one back leaves it behind its remote, a new local commit on the
    // other makes it diverge.
    repo.bookmark("behind", repo.id("B1"));
    repo.draw(R"(
      DL <- D1 "diverged local" d=local
      @ <- T
    )");
    repo.bookmark("diverged", repo.id("DL"));

    const RepoState state = load();
    EXPECT_EQ(state.bookmarks.at("ahead").remoteSyncState,
              (RemoteSyncState{RemoteSyncState::Ahead{"origin", 1}}));
    EXPECT_EQ(state.bookmarks.at("behind").remoteSyncState,
              (RemoteSyncState{RemoteSyncState::Behind{"origin", 1}}));
    EXPECT_EQ(state.bookmarks.at("diverged").remoteSyncState,
              (RemoteSyncState{RemoteSyncState::Diverged{"origin", 1, 1}}));
    // The colocated repository's "git" remote carries solo too; it never counts.
    EXPECT_EQ(state.bookmarks.at("solo").origin, BookmarkOrigin::local());
    EXPECT_EQ(state.bookmarks.at("solo").remoteSyncState,
              RemoteSyncState{RemoteSyncState::Untracked{}});

    EXPECT_FALSE(state.bookmarks.contains("theirs"));
    const auto untracked = state.untrackedRemoteBookmarks();
    ASSERT_EQ(untracked.size(), 1U);
    EXPECT_EQ(untracked[0].name, "theirs");
    EXPECT_EQ(untracked[0].origin, BookmarkOrigin::upstream("origin"));
    // Someone else's published branch is not one-off work of mine.
    EXPECT_TRUE(std::none_of(
        state.orphanWIPs.begin(), state.orphanWIPs.end(),
        [](const OrphanWIP& orphan) { return orphan.description == "their branch\n"; }));
}

TEST_F(RepoStateLoad, OneOffStacksAreMineAndOthersCommitsAreNot) {
    // O3 is loaded as the parent of one's own work on top of it.
    repo.draw(published + R"(
      F <- T "feature" f=1 [feat]
      O1 <- F "one-off on feat" o=1
      O2 <- O1 "second one-off" o=2
      T1 <- T "one-off on trunk" t=1
      X <- F "theirs" x=1 {Other Person <other@example.org>}
      O3 <- X "mine on theirs" o=3
      @ <- T
    )");
    const RepoState state = load();
    for (const auto& mine : {"O1", "O2", "T1", "O3"}) {
        EXPECT_TRUE(state.mineChangeIDs.contains(repo.id(mine))) << mine;
    }
    EXPECT_FALSE(state.mineChangeIDs.contains(repo.id("X")));
    const auto orphan =
        std::find_if(state.orphanWIPs.begin(), state.orphanWIPs.end(),
                     [&](const OrphanWIP& wip) { return wip.changeID == repo.id("X"); });
    ASSERT_NE(orphan, state.orphanWIPs.end());
    EXPECT_FALSE(orphan->isMine);
    // O1, O2, O3, T1 and X have no owner; F is mine and owned by feat.
    EXPECT_EQ(state.orphanWIPs.size(), 6U);

    const auto lanes = state.oneOffLanes();
    ASSERT_EQ(lanes.size(), 3U);  // X is in no lane, so O3 stands alone
    const auto lane = [&](const std::string& name) {
        const auto found = std::find_if(lanes.begin(), lanes.end(), [&](const OneOffLane& each) {
            return each.id() == repo.id(name);
        });
        EXPECT_NE(found, lanes.end()) << name;
        return found == lanes.end() ? OneOffLane{} : *found;
    };
    EXPECT_EQ(lane("O3").commits.size(), 1U);
    EXPECT_TRUE(lane("O3").parentBookmarkNames.empty());
    const OneOffLane onFeat = lane("O2");
    ASSERT_EQ(onFeat.commits.size(), 2U);
    EXPECT_EQ(onFeat.commits[1].changeID, repo.id("O1"));
    EXPECT_EQ(onFeat.parentBookmarkNames, std::vector<std::string>{"feat"});
    EXPECT_EQ(onFeat.parentBookmarkAttachments.at("feat"), std::vector<std::string>{repo.id("O1")});
    EXPECT_EQ(onFeat.displayName(), "one-off/" + repo.id("O2").substr(0, 8));
    EXPECT_EQ(onFeat.bookmark().commitIDs, (std::vector<std::string>{id("O2"), id("O1")}));

    const auto stacked = state.stackedOneOffLanesByBookmark();
    ASSERT_EQ(stacked.size(), 1U);  // the lane on trunk stands on its own
    EXPECT_EQ(stacked.at("feat").id(), repo.id("O2"));
}

TEST_F(RepoStateLoad, WorkspaceOnACompositionPointWithAPartialAttachment) {
    repo.draw(published + R"(
      X1 <- T "x1" x=1
      X2 <- X1 "x2" x=2 [ex]
      Y1 <- T "y1" y=1 [why]
      C <- X1 Y1 "wip: Vorda composition default"
      workspace second <- T
      @ <- C
    )");
    const std::string composition = repo.id("C");
    const RepoState state = load({{"default", composition}});
    const WorkspaceState& mine = state.workspaces.at("default");
    EXPECT_EQ(mine.composition.kind,
              WorkspaceComposition::Kind(WorkspaceComposition::Materialized{composition, id("C")}));
    EXPECT_EQ(mine.composition.directParentBookmarks, std::set<std::string>{"why"});
    ASSERT_EQ(mine.composition.attachments.size(), 2U);
    EXPECT_EQ(mine.composition.attachments[0].commitID, id("X1"));
    EXPECT_EQ(mine.composition.attachments[0].role, CompositionAttachment::Role::mutableStack);
    EXPECT_EQ(mine.composition.attachments[1].bookmarkNames, std::vector<std::string>{"why"});
    EXPECT_EQ(mine.bookmarkRoles.at("ex"), BookmarkInclusionRole::partial(id("X1")));
    EXPECT_EQ(mine.bookmarkRoles.at("why"), BookmarkInclusionRole::directParent());
    EXPECT_EQ(state.boardEnabledBookmarkNames(), (std::set<std::string>{"ex", "main", "why"}));

    const WorkspaceState& second = state.workspaces.at("second");
    EXPECT_TRUE(second.composition.isDirect());
    EXPECT_EQ(state.inclusionRole("why", "second"), BookmarkInclusionRole::absent());
    EXPECT_EQ(state.inclusionRole("main", "second"),
              BookmarkInclusionRole::inherited(std::nullopt));
    EXPECT_EQ(state.inclusionRole("why", "no-such-workspace"), BookmarkInclusionRole::absent());
    ASSERT_EQ(second.baseAnchors.size(), 1U);
    EXPECT_TRUE(second.baseAnchors[0].isTrunk);

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
    const std::string apex = repo.id("AP");
    const RepoState state = load();
    ASSERT_TRUE(state.apex.has_value());
    EXPECT_EQ(state.apex->changeID, apex);
    EXPECT_EQ(state.apex->parents,
              (std::vector<ApexParent>{ApexParent::trunk(), ApexParent::bookmark("ay")}));
    EXPECT_EQ(state.apex->immutableParentCommitIDs, std::vector<std::string>{id("T")});
    EXPECT_TRUE(state.workingCopyIsAttachedToApex());
    for (const auto& name : {"default", "second"}) {
        const WorkspaceState& workspace = state.workspaces.at(name);
        EXPECT_TRUE(
            std::holds_alternative<WorkspaceComposition::LegacyShared>(workspace.composition.kind))
            << name;
        EXPECT_TRUE(workspace.composition.directParentBookmarks.empty());
        EXPECT_EQ(workspace.bookmarkRoles.at("ay"), BookmarkInclusionRole::inherited(std::nullopt));
    }
    EXPECT_EQ(state.boardEnabledBookmarkNames(), (std::set<std::string>{"ay", "main"}));
    EXPECT_EQ(JJClient(repo.root()).findApexChangeID(), std::optional<std::string>(apex));
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
    EXPECT_EQ(state.bookmarks.at("feat").commitIDs.size(), 2U);
    EXPECT_EQ(client.upstreamCommitCount(), 0);
    EXPECT_EQ(
        std::count_if(state.commits.begin(), state.commits.end(),
                      [&](const auto& entry) { return entry.second->changeID == repo.id("D"); }),
        2);
    EXPECT_EQ(state.workspaces.size(), 2U);
    EXPECT_EQ(state.selectedWorkspaceName, std::optional<std::string>("default"));

    // A narrow revset: the parents it misses come from the second query, once.
    const RepoState narrow = client.repoState(id("C2"));
    EXPECT_TRUE(narrow.commits.contains(id("C2")));
    EXPECT_TRUE(narrow.commits.contains(id("C1")));
    EXPECT_EQ(narrow.commits.size(), 2U);
}

}  // namespace
}  // namespace vorda
