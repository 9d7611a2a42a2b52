// Whole repository loads on real repositories: what the RepoState must say
// about bookmarks, remotes, conflicts, one-offs and workspaces.

#include <algorithm>
#include <fstream>

#include <gtest/gtest.h>

#include "jjkit/client/JJClient.h"
#include "support/ModelPrinting.h"
#include "support/TestRepo.h"

namespace vorda {
namespace {

using testing::TestRepo;

RepoState load(const TestRepo& repo, const std::map<std::string, std::string>& compositions = {},
               const std::string& path = "") {
    return JJClient(path.empty() ? repo.root() : path)
        .repoState(JJClient::defaultRevset, std::nullopt, compositions);
}

std::string describedAs(const std::string& message) {
    return "description(exact:\"" + message + "\\n\")";
}

// A repository with `main` pushed to a local origin, so trunk is main@origin.
class PublishedRepo : public ::testing::Test {
  protected:
    void SetUp() override { base = repo.publishMain(); }
    std::string id(const std::string& change) const { return repo.commitID(change); }

    TestRepo repo;
    std::string base;
};

TEST_F(PublishedRepo, StackedBookmarksOwnTheirCommitsAndStackOnEachOther) {
    const auto b1 = repo.commit("b1", {{"b", "1"}});
    const auto b2 = repo.commit("b2 \"quoted\" ä", {{"b", "2"}});
    repo.bookmark("bee", b2);
    const auto a1 = repo.commit("a1", {{"a", "1"}});
    repo.bookmark("ay", a1);

    const RepoState state = load(repo);
    const Bookmark& bee = state.bookmarks.at("bee");
    const Bookmark& ay = state.bookmarks.at("ay");
    EXPECT_EQ(bee.commitIDs, (std::vector<std::string>{id(b2), id(b1)}));
    EXPECT_TRUE(bee.parentBookmarks.empty());  // trunk is never a parent lane
    EXPECT_EQ(ay.commitIDs, std::vector<std::string>{id(a1)});
    EXPECT_EQ(ay.parentBookmarks, std::vector<std::string>{"bee"});
    EXPECT_EQ(ay.changeIDs, std::vector<std::string>{a1});
    EXPECT_EQ(bee.origin, BookmarkOrigin::local());
    EXPECT_EQ(bee.remoteSyncState, RemoteSyncState{RemoteSyncState::Untracked{}});
    EXPECT_EQ(state.bookmarks.at("main").origin, BookmarkOrigin::upstream("origin"));
    EXPECT_EQ(state.bookmarks.at("main").remoteSyncState,
              RemoteSyncState{RemoteSyncState::UpToDate{"origin"}});

    EXPECT_EQ(state.transitiveDependencies("ay"), std::set<std::string>{"bee"});
    EXPECT_EQ(state.dependents("bee"), std::vector<std::string>{"ay"});
    const auto beeBase = state.baseAnchors("bee");
    ASSERT_EQ(beeBase.size(), 1U);
    EXPECT_EQ(beeBase[0].commitID, id(base));
    EXPECT_TRUE(beeBase[0].isTrunk);
    EXPECT_NE(
        std::find(beeBase[0].bookmarkNames.begin(), beeBase[0].bookmarkNames.end(), "main@origin"),
        beeBase[0].bookmarkNames.end());
    const auto ayBase = state.baseAnchors("ay");
    ASSERT_EQ(ayBase.size(), 1U);
    EXPECT_EQ(ayBase[0].bookmarkNames, std::vector<std::string>{"bee"});
    EXPECT_FALSE(ayBase[0].isTrunk);
    EXPECT_TRUE(state.baseAnchors("no-such-bookmark").empty());

    ASSERT_TRUE(state.workingCopy.has_value());
    EXPECT_EQ(state.workingCopy->enabledBookmarks, (std::vector<std::string>{"ay", "bee"}));
    EXPECT_EQ(state.selectedWorkspaceName, std::optional<std::string>("default"));
    // One's own commits stay one-off entries even when a bookmark owns them,
    // but they form no one-off lane.
    EXPECT_EQ(state.orphanWIPs.size(), 3U);
    for (const auto& orphan : state.orphanWIPs) {
        EXPECT_TRUE(orphan.ownerBookmark.has_value()) << orphan.description;
    }
    EXPECT_EQ(state.orphanWIPs.front().changeID, a1);  // newest first
    EXPECT_TRUE(state.oneOffLanes().empty());
    EXPECT_TRUE(state.behindTrunkCommitIDs.empty());
    for (const auto& mine : {a1, b1, b2}) {
        EXPECT_TRUE(state.mineChangeIDs.contains(mine));
    }
    EXPECT_EQ(JJClient(repo.root()).upstreamCommitCount(), 0);

    // The repository path need not be spelled exactly as jj spells the root.
    EXPECT_EQ(load(repo, {}, repo.root() + "/").selectedWorkspaceName, state.selectedWorkspaceName);
    EXPECT_EQ(load(repo, {}, repo.root() + "/.").selectedWorkspaceName,
              state.selectedWorkspaceName);
}

TEST_F(PublishedRepo, ConflictedBookmarksAndConflictsBetweenBookmarks) {
    const auto c1 = repo.commit("c1", {{"c", "1"}});
    const auto c2 = repo.commit("c2", {{"c", "2"}});
    const auto c3 = repo.commit("c3", {{"c", "3"}});
    repo.makeConflictedBookmark("dual", c2, c3, c1);

    const auto merged = repo.makeConflict(base, "shared.txt");
    repo.bookmark("left", repo.changeID(describedAs("left side")));
    repo.bookmark("right", repo.changeID(describedAs("right side")));
    // A second conflicted commit on top repeats the same pair.
    repo.jj({"new", merged, "-m", "still conflicted"});
    repo.jj({"new"});

    const RepoState state = load(repo);
    const Bookmark& dual = state.bookmarks.at("dual");
    EXPECT_TRUE(dual.isDivergent);
    EXPECT_EQ(dual.changeIDs.size(), 2U);
    EXPECT_EQ(dual.remoteSyncState, RemoteSyncState{RemoteSyncState::Untracked{}});
    EXPECT_EQ(state.conflicts, (std::vector<BookmarkConflict>{{"left", "right"}}));
    EXPECT_TRUE(state.commits.at(repo.commitID(merged))->conflict);
    EXPECT_TRUE(state.workingCopy->hasConflict);
}

TEST_F(PublishedRepo, ALandedBookmarkMarksTheLanesAboveIt) {
    const auto f1 = repo.commit("feature work", {{"f", "1"}});
    repo.bookmark("feature", f1);
    const auto g1 = repo.commit("on top of feature", {{"g", "1"}});
    repo.bookmark("gee", g1);
    repo.jj({"new", f1});
    const auto m1 = repo.commit("trunk moves on", {{"m", "1"}});
    repo.bookmark("main", m1);
    repo.push("main");

    const RepoState state = load(repo);
    const Bookmark& feature = state.bookmarks.at("feature");
    EXPECT_TRUE(state.commits.at(id(f1))->immutable);
    ASSERT_FALSE(feature.commitIDs.empty());
    EXPECT_EQ(feature.commitIDs.front(), id(f1));  // a merged bookmark keeps its history
    EXPECT_NE(std::find(feature.commitIDs.begin(), feature.commitIDs.end(), id(base)),
              feature.commitIDs.end());
    const Bookmark& gee = state.bookmarks.at("gee");
    EXPECT_EQ(gee.commitIDs, std::vector<std::string>{id(g1)});
    EXPECT_EQ(gee.landedUpstreamParents, std::vector<std::string>{"feature"});
    EXPECT_EQ(gee.parentBookmarks, std::vector<std::string>{"feature"});
    // gee was started on a trunk commit that trunk has moved past.
    EXPECT_TRUE(state.behindTrunkCommitIDs.contains(id(g1)));
}

TEST_F(PublishedRepo, RemoteSyncStatesAgainstOrigin) {
    const auto a1 = repo.commit("ahead 1", {{"a", "1"}});
    repo.bookmark("ahead", a1);
    repo.push("ahead");
    repo.bookmark("ahead", repo.commit("ahead 2", {{"a", "2"}}));

    repo.jj({"new", base});
    const auto b1 = repo.commit("behind 1", {{"b", "1"}});
    repo.bookmark("behind", b1);
    repo.push("behind");
    repo.advanceOrigin("behind", "upstream work", {{"b", "upstream"}});

    repo.jj({"new", base});
    const auto d1 = repo.commit("diverged 1", {{"d", "1"}});
    repo.bookmark("diverged", d1);
    repo.push("diverged");
    repo.advanceOrigin("diverged", "upstream side", {{"d", "upstream"}});

    // A branch that only origin has: it stays an untracked remote bookmark.
    const std::string clone = (repo.scratch() / "their-clone").string();
    testing::runChecked({"git", "clone", "--quiet", repo.originPath(), clone});
    testing::runChecked({"git", "-C", clone, "checkout", "--quiet", "-b", "theirs"});
    std::ofstream(clone + "/theirs.txt") << "theirs\n";
    testing::runChecked({"git", "-C", clone, "add", "-A"});
    testing::runChecked({"git", "-C", clone, "commit", "--quiet", "-m", "their branch"});
    testing::runChecked({"git", "-C", clone, "push", "--quiet", "origin", "theirs"});
    repo.fetch();

    // A fetch fast-forwards a tracked bookmark that did not move; moving it
    // back leaves it behind its remote.
    repo.bookmark("behind", b1);
    repo.jj({"new", d1});
    repo.bookmark("diverged", repo.commit("diverged local", {{"d", "local"}}));
    repo.jj({"new", base});
    repo.bookmark("solo", repo.commit("solo", {{"s", "1"}}));

    const RepoState state = load(repo);
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

TEST_F(PublishedRepo, OneOffStacksAreMineAndOthersCommitsAreNot) {
    const auto f1 = repo.commit("feature", {{"f", "1"}});
    repo.bookmark("feat", f1);
    repo.jj({"new", f1});
    const auto o1 = repo.commit("one-off on feat", {{"o", "1"}});
    const auto o2 = repo.commit("second one-off", {{"o", "2"}});
    repo.jj({"new", base});
    const auto t1 = repo.commit("one-off on trunk", {{"t", "1"}});
    const auto theirs =
        repo.commitAs("Other Person", "other@example.org", "theirs", {{"x", "1"}}, f1);
    // Loaded as the parent of one's own work on top of it.
    const auto o3 = repo.commit("mine on theirs", {{"o", "3"}});
    repo.jj({"new", base});

    const RepoState state = load(repo);
    for (const auto& mine : {o1, o2, t1, o3}) {
        EXPECT_TRUE(state.mineChangeIDs.contains(mine)) << mine;
    }
    EXPECT_FALSE(state.mineChangeIDs.contains(theirs));
    const auto orphan = std::find_if(state.orphanWIPs.begin(), state.orphanWIPs.end(),
                                     [&](const OrphanWIP& wip) { return wip.changeID == theirs; });
    ASSERT_NE(orphan, state.orphanWIPs.end());
    EXPECT_FALSE(orphan->isMine);
    // o1, o2, o3, t1 and theirs have no owner; f1 is mine and owned by feat.
    EXPECT_EQ(state.orphanWIPs.size(), 6U);

    const auto lanes = state.oneOffLanes();
    ASSERT_EQ(lanes.size(), 3U);  // theirs is in no lane, so o3 stands alone
    const auto onTheirs = std::find_if(lanes.begin(), lanes.end(),
                                       [&](const OneOffLane& lane) { return lane.id() == o3; });
    ASSERT_NE(onTheirs, lanes.end());
    EXPECT_EQ(onTheirs->commits.size(), 1U);
    EXPECT_TRUE(onTheirs->parentBookmarkNames.empty());
    const auto onFeat = std::find_if(lanes.begin(), lanes.end(),
                                     [&](const OneOffLane& lane) { return lane.id() == o2; });
    ASSERT_NE(onFeat, lanes.end());
    ASSERT_EQ(onFeat->commits.size(), 2U);
    EXPECT_EQ(onFeat->commits[1].changeID, o1);
    EXPECT_EQ(onFeat->parentBookmarkNames, std::vector<std::string>{"feat"});
    EXPECT_EQ(onFeat->parentBookmarkAttachments.at("feat"), std::vector<std::string>{o1});
    EXPECT_EQ(onFeat->displayName(), "one-off/" + o2.substr(0, 8));
    EXPECT_EQ(onFeat->bookmark().commitIDs, (std::vector<std::string>{id(o2), id(o1)}));

    const auto stacked = state.stackedOneOffLanesByBookmark();
    ASSERT_EQ(stacked.size(), 1U);  // the lane on trunk stands on its own
    EXPECT_EQ(stacked.at("feat").id(), o2);
}

TEST_F(PublishedRepo, WorkspaceOnACompositionPointWithAPartialAttachment) {
    const auto x1 = repo.commit("x1", {{"x", "1"}});
    repo.bookmark("ex", repo.commit("x2", {{"x", "2"}}));
    repo.jj({"new", base});
    const auto y1 = repo.commit("y1", {{"y", "1"}});
    repo.bookmark("why", y1);
    repo.jj({"new", "-m", "wip: Vorda composition default", x1, y1});
    const auto composition = repo.changeID("@");
    repo.jj({"new"});
    repo.addWorkspace("second", base);

    const RepoState state = load(repo, {{"default", composition}});
    const WorkspaceState& mine = state.workspaces.at("default");
    EXPECT_EQ(mine.composition.kind, WorkspaceComposition::Kind(WorkspaceComposition::Materialized{
                                         composition, id(composition)}));
    EXPECT_EQ(mine.composition.directParentBookmarks, std::set<std::string>{"why"});
    ASSERT_EQ(mine.composition.attachments.size(), 2U);
    EXPECT_EQ(mine.composition.attachments[0].commitID, id(x1));
    EXPECT_EQ(mine.composition.attachments[0].role, CompositionAttachment::Role::mutableStack);
    EXPECT_EQ(mine.composition.attachments[1].bookmarkNames, std::vector<std::string>{"why"});
    EXPECT_EQ(mine.bookmarkRoles.at("ex"), BookmarkInclusionRole::partial(id(x1)));
    EXPECT_EQ(mine.bookmarkRoles.at("why"), BookmarkInclusionRole::directParent());
    EXPECT_EQ(mine.bookmarkRoles.at("main"), BookmarkInclusionRole::inherited(std::nullopt));
    EXPECT_EQ(state.boardEnabledBookmarkNames(), (std::set<std::string>{"ex", "main", "why"}));
    // The composition point is no one-off.
    EXPECT_TRUE(std::none_of(state.orphanWIPs.begin(), state.orphanWIPs.end(),
                             [&](const OrphanWIP& wip) { return wip.changeID == composition; }));

    const WorkspaceState& second = state.workspaces.at("second");
    EXPECT_TRUE(second.composition.isDirect());
    EXPECT_EQ(second.bookmarkRoles.at("ex"), BookmarkInclusionRole::absent());
    EXPECT_EQ(state.inclusionRole("why", "second"), BookmarkInclusionRole::absent());
    EXPECT_EQ(state.inclusionRole("main", "second"),
              BookmarkInclusionRole::inherited(std::nullopt));
    EXPECT_EQ(state.inclusionRole("why", "no-such-workspace"), BookmarkInclusionRole::absent());
    ASSERT_EQ(second.baseAnchors.size(), 1U);
    EXPECT_TRUE(second.baseAnchors[0].isTrunk);

    // Without the remembered composition point the workspace is direct.
    EXPECT_TRUE(load(repo).workspaces.at("default").composition.isDirect());
}

TEST_F(PublishedRepo, LegacyApexSharedByTwoWorkspaces) {
    const auto a1 = repo.commit("a1", {{"a", "1"}});
    repo.bookmark("ay", a1);
    repo.jj({"new", "-m", "wip: Vorda apex commit", base, a1});
    const auto apex = repo.changeID("@");
    repo.jj({"new"});
    repo.addWorkspace("second", apex);

    const RepoState state = load(repo);
    ASSERT_TRUE(state.apex.has_value());
    EXPECT_EQ(state.apex->changeID, apex);
    EXPECT_EQ(state.apex->parents,
              (std::vector<ApexParent>{ApexParent::trunk(), ApexParent::bookmark("ay")}));
    EXPECT_EQ(state.apex->immutableParentCommitIDs, std::vector<std::string>{id(base)});
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
    EXPECT_TRUE(std::none_of(state.orphanWIPs.begin(), state.orphanWIPs.end(),
                             [&](const OrphanWIP& wip) { return wip.changeID == apex; }));
    EXPECT_EQ(JJClient(repo.root()).findApexChangeID(), std::optional<std::string>(apex));
}

TEST(RepoStateLoad, ARepositoryWithoutTrunkStillLoadsAndMissingParentsAreFetched) {
    TestRepo repo;
    repo.jj({"config", "set", "--repo", "revset-aliases.\"trunk()\"", "none()"});
    const auto c1 = repo.commit("c1", {{"a", "1"}});
    const auto c2 = repo.commit("c2", {{"a", "2"}});
    repo.bookmark("feat", c2);
    const JJClient client(repo.root());
    const RepoState state = client.repoState();
    EXPECT_EQ(state.bookmarks.at("feat").commitIDs.size(), 2U);
    EXPECT_EQ(client.upstreamCommitCount(), 0);

    // A narrow revset: the parents it misses come from the second query, once.
    const RepoState narrow = client.repoState(repo.commitID(c2));
    EXPECT_TRUE(narrow.commits.contains(repo.commitID(c2)));
    EXPECT_TRUE(narrow.commits.contains(repo.commitID(c1)));
    EXPECT_EQ(narrow.commits.size(), 2U);
}

TEST(RepoStateLoad, DivergentChangesAndDeletedWorkspacesDoNotBreakTheLoad) {
    TestRepo repo;
    const auto change = repo.commit("original", {{"a", "1"}});
    repo.makeDivergent(change, "first rewrite", "second rewrite");
    const auto second = repo.addWorkspace("second");
    std::filesystem::remove_all(second);
    const RepoState state = JJClient(repo.root()).repoState();
    std::size_t versions = 0;
    for (const auto& [id, commit] : state.commits) {
        versions += commit->changeID == change ? 1 : 0;
    }
    EXPECT_EQ(versions, 2U);
    EXPECT_EQ(state.workspaces.size(), 2U);
    EXPECT_EQ(state.selectedWorkspaceName, std::optional<std::string>("default"));
}

}  // namespace
}  // namespace vorda
