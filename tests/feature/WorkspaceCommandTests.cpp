// The workspace and composition commands on real repositories: which bookmarks
// a workspace composes, where its attachments sit, composing loose work into a
// bookmark, advancing onto trunk, and abandoning a bookmark under the apex.
// Every outcome is checked afterwards with jj and the settings file.

#include <map>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include <gtest/gtest.h>

#include "feature/session/RepoSession.h"
#include "jjkit/settings/BookmarkSettingsStore.h"
#include "support/ModelPrinting.h"
#include "support/RepoPicture.h"
#include "support/TestRepo.h"

namespace vorda {
namespace {

using Names = std::vector<std::string>;
using Points = std::map<std::string, std::string>;
using Role = BookmarkInclusionRole;

using Include = RepoCommand::SetWorkspaceBookmarkInclusion;
using Attach = RepoCommand::SetWorkspaceBookmarkAttachment;
using Advance = RepoCommand::AdvanceWorkspaceOntoTrunk;

// `main` published to a local origin, so trunk is main@origin, and a
// session on the default workspace.
class WorkspaceCommands : public ::testing::Test {
  protected:
    void SetUp() override { repo.draw(testing::publishedTrunk); }

    std::string commitID(const std::string& name) const { return repo.commitID(repo.id(name)); }

    Points storedPoints() const {
        return BookmarkSettingsStore(repo.root()).compositionPointsByWorkspace();
    }

    void recordPoint(const std::string& name, const std::string& workspace) const {
        BookmarkSettingsStore(repo.root()).setCompositionPoint(repo.id(name), workspace);
    }

    std::string toast(const RepoCommand& command) const {
        const auto result = session->execute(command);
        const auto* text = result.toastText();
        return text != nullptr ? *text : "<not a toast>";
    }

    struct Step {
        RepoCommand command;
        std::string toast;
        Names parentsOfP = {};  // none: the command changes nothing
    };

    /// Each command answers with its toast, and then P has the given parents
    /// or, for a step without any, nothing has changed.
    void run(const std::vector<Step>& steps) const {
        for (const auto& [command, expected, parents] : steps) {
            const int operations = repo.operationCount();
            const auto points = storedPoints();
            EXPECT_EQ(toast(command), expected);
            if (parents.empty()) {
                EXPECT_EQ(repo.operationCount(), operations) << expected;
                EXPECT_EQ(storedPoints(), points) << expected;
            } else {
                EXPECT_EQ(repo.parents("P"), parents) << expected;
            }
        }
    }

    /// The workspace as a fresh read shows it.
    WorkspaceState workspace(const std::string& name) const {
        const auto snapshot = session->execute(RepoCommand::Refresh{}).refreshedSnapshot();
        return snapshot ? snapshot->repoState.workspaces.at(name) : WorkspaceState{};
    }

    /// After bee's inclusion: the workspace's own new composition point, on
    /// its former working copy and bee, is recorded and is its working copy.
    std::string expectNewPointWithBee(const std::string& name, const std::string& formerCopy) {
        const auto points = storedPoints();
        std::string created = points.contains(name) ? points.at(name) : "none";
        EXPECT_EQ(repo.description(created), "wip: Vorda composition " + name);
        EXPECT_EQ(repo.parents(created), (Names{formerCopy, "BEE"}));
        EXPECT_EQ(repo.changeID(name + "@"), created);
        const auto state = workspace(name);
        EXPECT_EQ(state.composition.kind,
                  WorkspaceComposition::Kind(
                      WorkspaceComposition::Materialized{created, repo.commitID(created)}));
        EXPECT_EQ(state.bookmarkRoles.at("bee"), Role::directParent());
        return created;
    }

    testing::TestRepo repo;
    std::shared_ptr<RepoSession> session = RepoSession::open(repo.root());
};

TEST_F(WorkspaceCommands, IncludingMovingAndAdvancingRewriteTheParentsOfAMaterializedComposition) {
    // Bookmarks ay, bee, cee on trunk, low with high above it, and ex with two
    // commits; workspace "second" sits on its own composition point P merging
    // ay and high, "lane" edits bee's commit itself, and the default
    // workspace has unbookmarked work of its own on trunk.
    repo.draw(R"(
      AY <- T "ay a" a=a [ay]
      BEE <- T "bee b" b=b [bee]
      CEE <- T "cee c" c=c [cee]
      LOW <- T "low l" l=l [low]
      HIGH <- LOW "high h" h=h [high]
      X1 <- T "x1" x=1
      X2 <- X1 "ex x" x=2 [ex]
      P <- AY HIGH "wip: Vorda composition second"
      workspace second <- P
      workspace lane <- T
      O1 <- T "o1" o=1
      O2 <- O1 "o2" o=2
    )");
    repo.jjIn((repo.scratch() / "lane").string(), {"edit", repo.id("BEE")});
    recordPoint("P", "second");
    const std::string inherited = " is inherited; rebase its containing history to remove it";
    run({
        {Include{"nope", "cee", true}, "Workspace nope no longer exists"},
        {Include{"second", "nope", true}, "Bookmark nope no longer exists"},
        {Include{"second", "low", true}, "low is already included in second"},
        {Include{"second", "low", false}, "low" + inherited},
        {Include{"second", "main", false}, "main" + inherited},
        {Include{"second", "bee", false}, "bee is not included in second"},
        {Include{"second", "cee", true}, "Included cee in second", {"AY", "HIGH", "CEE"}},
        {Include{"second", "cee", true}, "cee is already included in second"},
        {Include{"second", "cee", false}, "Removed cee from second", {"AY", "HIGH"}},
        {Include{"second", "cee", false}, "cee is not included in second"},
        // A bookmark the composition had from the start goes the same way.
        {Include{"second", "ay", false}, "Removed ay from second", {"HIGH"}},
    });
    EXPECT_EQ(repo.parents("second@"), Names{"P"});  // the working copy came along
    EXPECT_EQ(storedPoints(), (Points{{"second", repo.id("P")}}));
    const auto after = workspace("second").bookmarkRoles;
    EXPECT_EQ(after.at("high"), Role::directParent());
    EXPECT_EQ(after.at("low"), Role::inherited("high"));
    EXPECT_EQ(after.at("ay"), Role::absent());
    EXPECT_EQ(after.at("cee"), Role::absent());

    // Moving an attachment pins the bookmark at an older commit.
    const std::string direct = "Select a direct composition attachment to move";
    run({
        {Include{"second", "ex", true}, "Included ex in second", {"HIGH", "X2"}},
        {Attach{"second", "ex", commitID("X1")},
         "Moved ex's composition point on second",
         {"HIGH", "X1"}},
        {Attach{"second", "ex", commitID("X1")}, "That revision is already included"},
        {Attach{"second", "ex", commitID("AY")}, "That commit is no longer in ex"},
        {Attach{"second", "nope", commitID("AY")}, "That commit is no longer in nope"},
        {Attach{"nope", "ex", commitID("X1")}, "Workspace nope no longer exists"},
        {Attach{"second", "low", commitID("LOW")}, direct},
        // The default workspace has no composition point to move anything on.
        {Attach{"default", "ex", commitID("X1")}, direct},
    });
    EXPECT_EQ(storedPoints(), (Points{{"second", repo.id("P")}}));
    EXPECT_EQ(workspace("second").bookmarkRoles.at("ex"), Role::partial(commitID("X1")));

    // A partial attachment is removed by its pinned commit.
    run({{Include{"second", "ex", false}, "Removed ex from second", {"HIGH"}}});

    // Advancing onto trunk moves only a workspace's own work; a composition
    // point takes trunk as its last parent and its bookmarks stay.
    repo.advanceOrigin("main", "upstream", {{"upstream", "1\n"}});
    repo.fetch();
    const auto trunk = repo.changeID("main@origin");
    run({
        {Advance{"nope"}, "Workspace nope no longer exists"},
        {Advance{"lane"}, "lane sits on its bookmarks — rebase those lanes onto trunk instead"},
    });
    EXPECT_EQ(toast(Advance{"default"}), "Advanced default onto current trunk");
    EXPECT_EQ(repo.parents("O1"), Names{trunk});
    EXPECT_EQ(repo.parents("O2"), Names{"O1"});
    EXPECT_EQ(repo.parents("@"), Names{"O2"});
    EXPECT_EQ(toast(Advance{"default"}), "default is already based on current trunk");
    EXPECT_EQ(toast(Advance{"second"}), "Advanced second onto current trunk");
    EXPECT_EQ(repo.parents("P"), (Names{"HIGH", trunk}));
    EXPECT_EQ(repo.parents("HIGH"), Names{"LOW"});
    EXPECT_EQ(toast(Advance{"second"}), "second is already based on current trunk");
}

TEST_F(WorkspaceCommands,
       IncludingGivesADirectOrLegacyWorkspaceItsOwnPointAndAbandoningRewritesTheApex) {
    // ay's tip is above the commit the apex holds, cee's tip is the apex's
    // parent; "third" is direct on ay.
    repo.draw(R"(
      A1 <- T "a1" a=1
      AY <- A1 "ay a" a=a [ay]
      BEE <- T "bee b" b=b [bee]
      C1 <- T "c1" c=1
      CEE <- C1 "cee c" c=c [cee]
      workspace third <- AY
      APEX <- T A1 CEE "wip: Vorda apex commit"
      workspace second <- APEX
      @ <- APEX
    )");
    const auto thirdCopy = repo.changeID("third@");
    const auto secondCopy = repo.changeID("second@");
    for (const auto* name : {"default", "second"}) {
        const auto state = workspace(name);
        EXPECT_TRUE(
            std::holds_alternative<WorkspaceComposition::LegacyShared>(state.composition.kind))
            << name;
        EXPECT_EQ(state.bookmarkRoles.at("ay"), Role::partial(commitID("A1"))) << name;
    }
    run({
        {Include{"third", "ay", false},
         "ay is inherited; rebase its containing history to remove it"},
        {Include{"third", "ay", true}, "ay is already included in third"},
        {Include{"second", "ay", false}, "ay is inherited through shared history"},
        {Include{"second", "ay", true}, "ay is already included in second"},
    });
    EXPECT_TRUE(storedPoints().empty());

    EXPECT_EQ(toast(Include{"third", "bee", true}), "Included bee in third");
    const auto third = expectNewPointWithBee("third", thirdCopy);
    EXPECT_EQ(workspace("third").bookmarkRoles.at("ay"), Role::inherited(std::nullopt));
    // Now that it is materialized, the new bookmark can go again.
    EXPECT_EQ(toast(Include{"third", "bee", false}), "Removed bee from third");
    EXPECT_EQ(repo.parents(third), Names{thirdCopy});

    EXPECT_EQ(toast(Include{"second", "bee", true}), "Included bee in second");
    const auto second = expectNewPointWithBee("second", secondCopy);
    EXPECT_EQ(storedPoints(), (Points{{"second", second}, {"third", third}}));
    EXPECT_EQ(repo.parents("APEX"), (Names{"T", "A1", "CEE"}));  // the apex is left alone
    const auto other = workspace("default");
    EXPECT_TRUE(std::holds_alternative<WorkspaceComposition::LegacyShared>(other.composition.kind));
    EXPECT_EQ(other.bookmarkRoles.at("bee"), Role::absent());

    // Abandoning an apex parent rewrites the apex first: abandoning the tip
    // alone would have put the apex on cee's lower commit.
    const auto abandoned = session->execute(RepoCommand::AbandonBookmark{"cee"});
    ASSERT_NE(abandoned.refreshedSnapshot(), nullptr);
    EXPECT_EQ(repo.parents("APEX"), (Names{"T", "A1"}));
    EXPECT_EQ(repo.description("APEX"), "wip: Vorda apex commit");
    EXPECT_EQ(repo.parents("@"), Names{"APEX"});
    EXPECT_NE(repo.tryJJ({"log", "-r", repo.id("CEE")}).exitCode, 0) << "abandoned";
    EXPECT_EQ(repo.bookmarkTarget("cee"), std::nullopt);
    EXPECT_EQ(repo.bookmarkTarget("ay"), "AY");
    EXPECT_EQ(abandoned.refreshedSnapshot()->repoState.apex.value_or(Apex{}).parents,
              (std::vector<ApexParent>{ApexParent::trunk(), ApexParent::changeID(repo.id("A1"))}));
}

TEST_F(WorkspaceCommands, ComposingLooseCommitsMakesAnIncludedBookmarkOnTheImmutableBase) {
    repo.draw(R"(
      AY <- T "ay a" a=a [ay]
      BEE <- T "bee b" b=b [bee]
      P <- AY BEE "wip: Vorda composition default"
      L1 <- P "l1" l=1
      L2 <- L1 "l2" l=2
    )");
    recordPoint("P", "default");
    // Composes the given changes, the last one the tip, on `base`.
    const auto compose = [&](const Names& changes, const std::string& base,
                             const std::string& workspace) -> RepoCommand {
        Names commitIDs;
        for (const auto& change : changes) {
            commitIDs.push_back(repo.commitID(change));
        }
        return RepoCommand::ComposeCommitsAsBookmark{workspace, commitIDs, changes.back(),
                                                     commitID(base)};
    };
    const Names loose = {repo.id("L1"), repo.id("L2")};
    run({
        {compose(loose, "T", "nope"), "Workspace nope no longer exists"},
        {compose(loose, "AY", "default"), "The workspace immutable base is no longer available"},
    });

    const auto name = "wip/" + repo.id("L2").substr(0, 8);
    EXPECT_EQ(toast(compose(loose, "T", "default")), "Composed " + name + " in default");
    EXPECT_EQ(repo.bookmarkTarget(name), "L2");
    EXPECT_EQ(repo.parents("L2"), Names{"L1"});
    EXPECT_EQ(repo.parents("L1"), Names{"T"});
    EXPECT_EQ(repo.parents("P"), (Names{"AY", "BEE", "L2"}));
    EXPECT_EQ(storedPoints(), (Points{{"default", repo.id("P")}}));
    // A fresh working copy on the composition point, apart from the new lane.
    EXPECT_EQ(repo.parents("@"), Names{"P"});
    EXPECT_EQ(workspace("default").bookmarkRoles.at(name), Role::directParent());

    // With the name taken, the next one gets a counter.
    const auto m1 = repo.commit("m1", {{"m", "1\n"}});
    const auto taken = "wip/" + m1.substr(0, 8);
    repo.bookmark(taken, repo.id("T"));
    EXPECT_EQ(toast(compose({m1}, "T", "default")), "Composed " + taken + "-2 in default");
    EXPECT_EQ(repo.bookmarkTarget(taken + "-2"), m1);
    EXPECT_EQ(repo.bookmarkTarget(taken), "T");
    EXPECT_EQ(repo.parents(m1), Names{"T"});
    EXPECT_EQ(repo.parents("P"), (Names{"AY", "BEE", "L2", m1}));
    EXPECT_EQ(repo.parents("@"), Names{"P"});
}

}  // namespace
}  // namespace vorda
