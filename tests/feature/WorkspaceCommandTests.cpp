// The workspace and composition commands on real repositories: which bookmarks
// a workspace composes, where its attachments sit, composing loose work into a
// bookmark, advancing onto trunk, and abandoning a bookmark under the apex.
// Every outcome is checked afterwards with jj and the settings file.

#include <map>
#include <string>
#include <variant>
#include <vector>

#include <gtest/gtest.h>

#include "feature/session/RepoSession.h"
#include "jjkit/settings/BookmarkSettingsStore.h"
#include "jjkit/support/Text.h"
#include "support/ModelPrinting.h"
#include "support/TestRepo.h"

namespace vorda {
namespace {

using testing::TestRepo;
using Ids = std::vector<std::string>;
using Points = std::map<std::string, std::string>;

RepoCommand inclusion(const std::string& workspace, const std::string& bookmark, bool include) {
    return RepoCommand::SetWorkspaceBookmarkInclusion{
        .workspaceName = workspace, .bookmarkName = bookmark, .include = include};
}

RepoCommand attachment(const std::string& workspace, const std::string& bookmark,
                       const std::string& commitID) {
    return RepoCommand::SetWorkspaceBookmarkAttachment{
        .workspaceName = workspace, .bookmarkName = bookmark, .commitID = commitID};
}

RepoCommand advance(const std::string& workspace) {
    return RepoCommand::AdvanceWorkspaceOntoTrunk{.workspaceName = workspace};
}

// A repository with `main` published to a local origin, so trunk is
// main@origin, and a session on its default workspace.
class WorkspaceCommands : public ::testing::Test {
  protected:
    void SetUp() override { base = repo.publishMain(); }

    std::string id(const std::string& revision) const { return repo.commitID(revision); }

    // A commit on `parent` that writes `file`; the working copy ends on top.
    std::string commitOn(const std::string& parent, const std::string& message,
                         const std::string& file) const {
        repo.jj({"new", parent});
        return repo.commit(message, {{file, message + "\n"}});
    }

    std::string bookmarkedOn(const std::string& name, const std::string& parent,
                             const std::string& file) const {
        auto change = commitOn(parent, name + " " + file, file);
        repo.bookmark(name, change);
        return change;
    }

    // The ordered parent commit IDs of `revision`.
    Ids parentsOf(const std::string& revision) const {
        const auto line = repo.jj({"log", "--no-graph", "--ignore-working-copy", "-r", revision,
                                   "-T", "parents.map(|p| p.commit_id()).join(\",\") ++ \"\\n\""});
        Ids parents;
        for (const auto piece : text::splitNonEmpty(text::trimWhitespace(line), ',')) {
            parents.emplace_back(piece);
        }
        return parents;
    }

    std::string descriptionOf(const std::string& revision) const {
        return repo.jj(
            {"log", "--no-graph", "--ignore-working-copy", "-r", revision, "-T", "description"});
    }

    // The change ID a local bookmark points at; empty when there is none.
    std::string bookmarkChange(const std::string& name) const {
        return std::string(text::trimWhitespace(
            repo.jj({"log", "--no-graph", "--ignore-working-copy", "-r",
                     "bookmarks(exact:\"" + name + "\")", "-T", "change_id ++ \"\\n\""})));
    }

    // Whether `commitID` is still part of the visible history.
    bool isVisible(const std::string& commitID) const {
        return !text::trimWhitespace(
                    repo.jj({"log", "--no-graph", "--ignore-working-copy", "-r",
                             "commit_id(" + commitID + ") & ::visible_heads()", "-T", "commit_id"}))
                    .empty();
    }

    Points storedPoints() const {
        return BookmarkSettingsStore(repo.root()).compositionPointsByWorkspace();
    }

    void recordPoint(const std::string& changeID, const std::string& workspace) const {
        BookmarkSettingsStore(repo.root()).setCompositionPoint(changeID, workspace);
    }

    std::string toast(const RepoCommand& command) const {
        const auto result = session->execute(command);
        const auto* text = result.toastText();
        return text != nullptr ? *text : "<not a toast>";
    }

    SnapshotRef refreshed() const {
        auto snapshot = session->execute(RepoCommand::Refresh{}).refreshedSnapshot();
        if (!snapshot) {
            throw std::runtime_error("refresh gave no snapshot");
        }
        return snapshot;
    }

    // Bookmarks ay, bee, cee on trunk, low with high above it, and ex with
    // two commits; workspace "second" sits on its own composition point
    // merging ay and high. The default workspace sits on trunk.
    void buildSecondOnComposition() {
        ay = bookmarkedOn("ay", base, "a");
        bee = bookmarkedOn("bee", base, "b");
        cee = bookmarkedOn("cee", base, "c");
        low = bookmarkedOn("low", base, "l");
        high = bookmarkedOn("high", low, "h");
        x1 = commitOn(base, "x1", "x");
        x2 = bookmarkedOn("ex", x1, "x");
        repo.jj({"new", base});
        second = repo.addWorkspace("second", base);
        repo.jjIn(second, {"new", "-m", "wip: Vorda composition second", ay, high});
        point = repo.changeID("second@");
        repo.jjIn(second, {"new"});
        recordPoint(point, "second");
    }

    TestRepo repo;
    std::string base;
    std::shared_ptr<RepoSession> session = RepoSession::open(repo.root());
    std::string ay, bee, cee, low, high, x1, x2, second, point;
};

TEST_F(WorkspaceCommands, IncludingAndRemovingRewritesTheParentsOfAMaterializedComposition) {
    buildSecondOnComposition();

    // Refusals change nothing.
    const auto before = repo.currentOperationID();
    EXPECT_EQ(toast(inclusion("nope", "cee", true)), "Workspace nope no longer exists");
    EXPECT_EQ(toast(inclusion("second", "nope", true)), "Bookmark nope no longer exists");
    EXPECT_EQ(toast(inclusion("second", "low", true)), "low is already included in second");
    EXPECT_EQ(toast(inclusion("second", "low", false)),
              "low is inherited; rebase its containing history to remove it");
    EXPECT_EQ(toast(inclusion("second", "main", false)),
              "main is inherited; rebase its containing history to remove it");
    EXPECT_EQ(toast(inclusion("second", "bee", false)), "bee is not included in second");
    EXPECT_EQ(repo.currentOperationID(), before);
    EXPECT_EQ(parentsOf(point), (Ids{id(ay), id(high)}));

    EXPECT_EQ(toast(inclusion("second", "cee", true)), "Included cee in second");
    EXPECT_EQ(parentsOf(point), (Ids{id(ay), id(high), id(cee)}));
    EXPECT_EQ(parentsOf("second@"), Ids{id(point)});  // the working copy came along
    EXPECT_EQ(storedPoints(), (Points{{"second", point}}));
    EXPECT_EQ(toast(inclusion("second", "cee", true)), "cee is already included in second");

    EXPECT_EQ(toast(inclusion("second", "cee", false)), "Removed cee from second");
    EXPECT_EQ(parentsOf(point), (Ids{id(ay), id(high)}));
    EXPECT_EQ(toast(inclusion("second", "cee", false)), "cee is not included in second");
    // A bookmark the composition had from the start goes the same way.
    EXPECT_EQ(toast(inclusion("second", "ay", false)), "Removed ay from second");
    EXPECT_EQ(parentsOf(point), Ids{id(high)});
    EXPECT_EQ(storedPoints(), (Points{{"second", point}}));

    const auto& roles = refreshed()->repoState.workspaces.at("second").bookmarkRoles;
    EXPECT_EQ(roles.at("high"), BookmarkInclusionRole::directParent());
    EXPECT_EQ(roles.at("low"), BookmarkInclusionRole::inherited("high"));
    EXPECT_EQ(roles.at("ay"), BookmarkInclusionRole::absent());
    EXPECT_EQ(roles.at("cee"), BookmarkInclusionRole::absent());
}

TEST_F(WorkspaceCommands, MovingAnAttachmentPinsTheBookmarkAtAnOlderCommit) {
    buildSecondOnComposition();
    EXPECT_EQ(toast(inclusion("second", "ex", true)), "Included ex in second");
    EXPECT_EQ(parentsOf(point), (Ids{id(ay), id(high), id(x2)}));

    EXPECT_EQ(toast(attachment("second", "ex", id(x1))), "Moved ex's composition point on second");
    EXPECT_EQ(parentsOf(point), (Ids{id(ay), id(high), id(x1)}));
    EXPECT_EQ(storedPoints(), (Points{{"second", point}}));
    EXPECT_EQ(refreshed()->repoState.workspaces.at("second").bookmarkRoles.at("ex"),
              BookmarkInclusionRole::partial(id(x1)));

    const auto before = repo.currentOperationID();
    EXPECT_EQ(toast(attachment("second", "ex", id(x1))), "That revision is already included");
    EXPECT_EQ(toast(attachment("second", "ex", id(ay))), "That commit is no longer in ex");
    EXPECT_EQ(toast(attachment("second", "nope", id(ay))), "That commit is no longer in nope");
    EXPECT_EQ(toast(attachment("nope", "ex", id(x1))), "Workspace nope no longer exists");
    EXPECT_EQ(toast(attachment("second", "low", id(low))),
              "Select a direct composition attachment to move");
    // The default workspace has no composition point to move anything on.
    EXPECT_EQ(toast(attachment("default", "ex", id(x1))),
              "Select a direct composition attachment to move");
    EXPECT_EQ(repo.currentOperationID(), before);
    EXPECT_EQ(parentsOf(point), (Ids{id(ay), id(high), id(x1)}));

    // A partial attachment is removed by its pinned commit.
    EXPECT_EQ(toast(inclusion("second", "ex", false)), "Removed ex from second");
    EXPECT_EQ(parentsOf(point), (Ids{id(ay), id(high)}));
}

TEST_F(WorkspaceCommands, IncludingInADirectWorkspaceCreatesItsCompositionPoint) {
    ay = bookmarkedOn("ay", base, "a");
    bee = bookmarkedOn("bee", base, "b");
    repo.jj({"new", ay});
    const auto workingCopy = id("@");

    const auto before = repo.currentOperationID();
    EXPECT_EQ(toast(inclusion("default", "ay", false)),
              "ay is inherited; rebase its containing history to remove it");
    EXPECT_EQ(toast(inclusion("default", "ay", true)), "ay is already included in default");
    EXPECT_EQ(repo.currentOperationID(), before);
    EXPECT_TRUE(storedPoints().empty());

    EXPECT_EQ(toast(inclusion("default", "bee", true)), "Included bee in default");
    const auto points = storedPoints();
    ASSERT_EQ(points.size(), 1U);
    ASSERT_TRUE(points.contains("default"));
    const auto created = points.at("default");
    EXPECT_EQ(descriptionOf(created), "wip: Vorda composition default\n");
    EXPECT_EQ(parentsOf(created), (Ids{workingCopy, id(bee)}));
    EXPECT_EQ(repo.changeID("@"), created);

    const auto snapshot = refreshed();
    const auto& workspace = snapshot->repoState.workspaces.at("default");
    EXPECT_EQ(workspace.composition.kind,
              WorkspaceComposition::Kind(WorkspaceComposition::Materialized{created, id(created)}));
    EXPECT_EQ(workspace.bookmarkRoles.at("bee"), BookmarkInclusionRole::directParent());
    EXPECT_EQ(workspace.bookmarkRoles.at("ay"), BookmarkInclusionRole::inherited(std::nullopt));

    // Now that it is materialized, the new bookmark can go again.
    EXPECT_EQ(toast(inclusion("default", "bee", false)), "Removed bee from default");
    EXPECT_EQ(parentsOf(created), Ids{workingCopy});
}

TEST_F(WorkspaceCommands, IncludingInALegacySharedCompositionGivesTheWorkspaceItsOwnPoint) {
    const auto a1 = commitOn(base, "a1", "a");
    bookmarkedOn("ay", a1, "a");  // ay's tip is above the commit the apex holds
    bee = bookmarkedOn("bee", base, "b");
    repo.jj({"new", "-m", "wip: Vorda apex commit", base, a1});
    const auto apex = repo.changeID("@");
    repo.jj({"new"});
    second = repo.addWorkspace("second", apex);
    const auto secondCopy = id("second@");

    const auto shared = refreshed();
    for (const auto* name : {"default", "second"}) {
        const auto& workspace = shared->repoState.workspaces.at(name);
        ASSERT_TRUE(
            std::holds_alternative<WorkspaceComposition::LegacyShared>(workspace.composition.kind))
            << name;
        EXPECT_EQ(workspace.bookmarkRoles.at("ay"), BookmarkInclusionRole::partial(id(a1)));
    }

    EXPECT_EQ(toast(inclusion("second", "ay", false)), "ay is inherited through shared history");
    EXPECT_EQ(toast(inclusion("second", "ay", true)), "ay is already included in second");
    EXPECT_EQ(parentsOf(apex), (Ids{id(base), id(a1)}));
    EXPECT_TRUE(storedPoints().empty());

    EXPECT_EQ(toast(inclusion("second", "bee", true)), "Included bee in second");
    const auto points = storedPoints();
    ASSERT_TRUE(points.contains("second"));
    EXPECT_EQ(points.size(), 1U);
    const auto created = points.at("second");
    EXPECT_NE(created, apex);
    EXPECT_EQ(descriptionOf(created), "wip: Vorda composition second\n");
    EXPECT_EQ(parentsOf(created), (Ids{secondCopy, id(bee)}));
    EXPECT_EQ(repo.changeID("second@"), created);
    EXPECT_EQ(parentsOf(apex), (Ids{id(base), id(a1)}));  // the apex is left alone

    const auto after = refreshed();
    const auto& mine = after->repoState.workspaces.at("second");
    EXPECT_EQ(mine.composition.kind,
              WorkspaceComposition::Kind(WorkspaceComposition::Materialized{created, id(created)}));
    EXPECT_EQ(mine.bookmarkRoles.at("bee"), BookmarkInclusionRole::directParent());
    const auto& other = after->repoState.workspaces.at("default");
    EXPECT_TRUE(std::holds_alternative<WorkspaceComposition::LegacyShared>(other.composition.kind));
    EXPECT_EQ(other.bookmarkRoles.at("bee"), BookmarkInclusionRole::absent());
}

TEST_F(WorkspaceCommands, ComposingLooseCommitsMakesAnIncludedBookmarkOnTheImmutableBase) {
    ay = bookmarkedOn("ay", base, "a");
    bee = bookmarkedOn("bee", base, "b");
    repo.jj({"new", "-m", "wip: Vorda composition default", ay, bee});
    point = repo.changeID("@");
    repo.jj({"new"});
    recordPoint(point, "default");
    const auto l1 = repo.commit("l1", {{"l", "1\n"}});
    const auto l2 = repo.commit("l2", {{"l", "2\n"}});
    const auto compose = [&](const Ids& commitIDs, const std::string& tip,
                             const std::string& immutableBase, const std::string& workspace) {
        return toast(RepoCommand::ComposeCommitsAsBookmark{.workspaceName = workspace,
                                                           .commitIDs = commitIDs,
                                                           .tipChangeID = tip,
                                                           .immutableBaseCommitID = immutableBase});
    };

    const auto before = repo.currentOperationID();
    EXPECT_EQ(compose({id(l1), id(l2)}, l2, id(base), "nope"), "Workspace nope no longer exists");
    EXPECT_EQ(compose({id(l1), id(l2)}, l2, id(ay), "default"),
              "The workspace immutable base is no longer available");
    EXPECT_EQ(repo.currentOperationID(), before);

    const auto name = "wip/" + l2.substr(0, 8);
    EXPECT_EQ(compose({id(l1), id(l2)}, l2, id(base), "default"),
              "Composed " + name + " in default");
    EXPECT_EQ(bookmarkChange(name), l2);
    EXPECT_EQ(parentsOf(l2), Ids{id(l1)});
    EXPECT_EQ(parentsOf(l1), Ids{id(base)});
    EXPECT_EQ(parentsOf(point), (Ids{id(ay), id(bee), id(l2)}));
    EXPECT_EQ(storedPoints(), (Points{{"default", point}}));
    // A fresh working copy on the composition point, apart from the new lane.
    EXPECT_EQ(parentsOf("@"), Ids{id(point)});
    EXPECT_NE(repo.changeID("@"), l2);
    EXPECT_EQ(refreshed()->repoState.workspaces.at("default").bookmarkRoles.at(name),
              BookmarkInclusionRole::directParent());

    // With the name taken, the next one gets a counter.
    const auto m1 = repo.commit("m1", {{"m", "1\n"}});
    const auto taken = "wip/" + m1.substr(0, 8);
    repo.bookmark(taken, base);
    EXPECT_EQ(compose({id(m1)}, m1, id(base), "default"), "Composed " + taken + "-2 in default");
    EXPECT_EQ(bookmarkChange(taken + "-2"), m1);
    EXPECT_EQ(bookmarkChange(taken), repo.changeID(base));
    EXPECT_EQ(parentsOf(m1), Ids{id(base)});
    EXPECT_EQ(parentsOf(point), (Ids{id(ay), id(bee), id(l2), id(m1)}));
    EXPECT_EQ(parentsOf("@"), Ids{id(point)});
}

TEST_F(WorkspaceCommands, AdvancingOntoTrunkMovesOnlyTheWorkspacesOwnWork) {
    ay = bookmarkedOn("ay", base, "a");
    const auto feat = bookmarkedOn("feat", base, "f");
    // "lane" edits the bookmark's commit itself: everything it stands on is a bookmark's.
    const auto lane = repo.addWorkspace("lane", base);
    repo.jjIn(lane, {"edit", feat});
    second = repo.addWorkspace("second", base);
    repo.jjIn(second, {"new", "-m", "wip: Vorda composition second", ay, feat});
    point = repo.changeID("second@");
    repo.jjIn(second, {"new"});
    recordPoint(point, "second");
    // The default workspace has unbookmarked work of its own on the old trunk.
    const auto o1 = commitOn(base, "o1", "o");
    const auto o2 = repo.commit("o2", {{"o", "2\n"}});
    repo.advanceOrigin("main", "upstream", {{"upstream", "1\n"}});
    repo.fetch();
    const auto trunk = id("main@origin");
    ASSERT_NE(trunk, id(base));

    EXPECT_EQ(toast(advance("nope")), "Workspace nope no longer exists");
    const auto before = repo.currentOperationID();
    EXPECT_EQ(toast(advance("lane")),
              "lane sits on its bookmarks — rebase those lanes onto trunk instead");
    EXPECT_EQ(repo.currentOperationID(), before);
    EXPECT_EQ(parentsOf(feat), Ids{id(base)});

    EXPECT_EQ(toast(advance("default")), "Advanced default onto current trunk");
    EXPECT_EQ(parentsOf(o1), Ids{trunk});
    EXPECT_EQ(parentsOf(o2), Ids{id(o1)});
    EXPECT_EQ(parentsOf("@"), Ids{id(o2)});
    EXPECT_EQ(toast(advance("default")), "default is already based on current trunk");

    // A composition point takes trunk as its last parent; its bookmarks stay.
    EXPECT_EQ(toast(advance("second")), "Advanced second onto current trunk");
    EXPECT_EQ(parentsOf(point), (Ids{id(ay), id(feat), trunk}));
    EXPECT_EQ(parentsOf(ay), Ids{id(base)});
    EXPECT_EQ(toast(advance("second")), "second is already based on current trunk");
}

TEST_F(WorkspaceCommands, AbandoningAnApexParentRewritesTheApexBeforeAbandoning) {
    ay = bookmarkedOn("ay", base, "a");
    const auto b1 = commitOn(base, "b1", "b");
    bee = bookmarkedOn("bee", b1, "b");
    repo.jj({"new", "-m", "wip: Vorda apex commit", base, ay, bee});
    const auto apex = repo.changeID("@");
    repo.jj({"new"});
    const auto beeTip = id(bee);

    const auto shared = refreshed();
    ASSERT_TRUE(shared->repoState.apex.has_value());
    ASSERT_EQ(shared->repoState.apex->parents,
              (std::vector<ApexParent>{ApexParent::trunk(), ApexParent::bookmark("ay"),
                                       ApexParent::bookmark("bee")}));

    const auto result = session->execute(RepoCommand::AbandonBookmark{.name = "bee"});
    ASSERT_NE(result.refreshedSnapshot(), nullptr);
    // Abandoning the tip alone would have put the apex on bee's lower commit.
    EXPECT_EQ(parentsOf(apex), (Ids{id(base), id(ay)}));
    EXPECT_EQ(descriptionOf(apex), "wip: Vorda apex commit\n");
    EXPECT_EQ(parentsOf("@"), Ids{id(apex)});
    EXPECT_FALSE(isVisible(beeTip));
    EXPECT_EQ(bookmarkChange("bee"), "");
    EXPECT_EQ(bookmarkChange("ay"), ay);
    const auto& after = result.refreshedSnapshot()->repoState;
    EXPECT_FALSE(after.bookmarks.contains("bee"));
    ASSERT_TRUE(after.apex.has_value());
    EXPECT_EQ(after.apex->parents,
              (std::vector<ApexParent>{ApexParent::trunk(), ApexParent::bookmark("ay")}));
}

}  // namespace
}  // namespace vorda
