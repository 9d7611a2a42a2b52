#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "jjkit/client/JJClient.h"
#include "jjkit/rewrites/LocalStackUpdatePlan.h"
#include "jjkit/rewrites/OperationJournal.h"
#include "jjkit/rewrites/PlannedFlow.h"
#include "support/Refusal.h"
#include "support/RewriteTestData.h"
#include "support/TestRepo.h"

namespace vorda {
namespace {

using flow::changeIDsOf;
using flow::commitIDsOf;
using testing::cleanReceipt;
using testing::commitNode;
using testing::graph;
using testing::onlyRecord;
using testing::refusal;
using testing::sorted;
using testing::TestRepo;

using Record = OperationRecord<LocalStackUpdatePlan>;

TEST(LocalStackUpdatePlanning, RefusalsComeInTheirOrderAndTouchNothing) {
    TestRepo repo;
    repo.draw(R"(
        origin
        B <- root "base" README=base [main]
        push main
        OK <- B "ok stack" ok.txt=ok [ok]
        OURS <- B "our part" ours.txt=ours [theirs]
        COL <- OURS "colleague fix\nwith details" fix.txt=fix {Colleague <colleague@vorda.invalid>}
        ML <- B "merge left" ml.txt=l
        MR <- B "merge right" mr.txt=r
        MG <- ML MR "merged" m.txt=m [merged]
        LO <- B "lower" lower.txt=1 [lower]
        UP <- LO "upper" upper.txt=2 [upper]
        DB <- B "divergent base" db.txt=1 [div]
        DT <- DB "divergent top" dt.txt=2
        FB <- B "fork base" fb.txt=1
        FT <- FB "fork tip" ft.txt=2 [fork]
        SIB <- FB "unselected sibling" sibling.txt=3
        TAG <- B "tagged release" tag.txt=t   # immutable but not trunk: a base an update would drop
        LOST <- TAG "on the release" lost.txt=l [lost]
        H <- B "soon abandoned" gone.txt=gone
        LEFT <- B "left" left.txt=l
        RIGHT <- B "right" right.txt=r
        @ <- B
    )");
    repo.jj({"tag", "set", "release", "-r", repo.id("TAG")});
    repo.jj({"abandon", "-r", repo.id("H")});
    repo.makeDivergent(repo.id("DT"), "divergent top A", "divergent top B");
    repo.makeConflictedBookmark("conflicted", "main", repo.id("LEFT"), repo.id("RIGHT"));
    const JJClient client(repo.root());

    // Refusals before the snapshot leave a pending edit pending: no
    // operation at all is added.
    repo.writeFile("pending.txt", "not yet snapshotted\n");
    const auto beforeSnapshot = repo.currentOperationID();
    std::string withA = repo.id("OK");
    withA[5] = 'a';
    EXPECT_EQ(refusal([&] { client.planLocalStackUpdate({}, {}); }),
              "Select local stacks or one-offs to update.");
    for (const auto& id : {repo.id("OK").substr(0, 31), withA}) {
        EXPECT_EQ(refusal([&] { client.planLocalStackUpdate({"ok"}, {id}); }),
                  "One-off selections require full change IDs.")
            << id;
    }
    EXPECT_EQ(repo.currentOperationID(), beforeSnapshot);
    repo.jj({"debug", "snapshot"});

    const auto unresolvedOneOff = [](const std::string& id) {
        return "One-off " + id + " is hidden, missing, or divergent. Refresh the selection.";
    };
    const auto unresolvedBookmark = [](const std::string& name) {
        return name + " is missing or divergent. Resolve it before planning an update.";
    };
    const std::string nonMine =
        "Rebase would rewrite commits not matched by mine(): " + repo.id("COL").substr(0, 12) +
        " · colleague fix. Other people's work must stay in place.";
    const std::string selectMutable = "Select at least one mutable local stack.";
    const std::string bookmarkedOneOff =
        "A selected one-off now has a bookmark. Select its bookmark instead.";
    const std::string crosses =
        "Selection crosses a merge, divergent change, or unselected bookmarked base. Select the "
        "base stack too, or update it separately.";
    const std::string sibling =
        "Selection would also move an unselected sibling branch. Include its tip in the update "
        "first.";
    const std::string lostBase =
        "Update would rewrite protected history or remove an existing base dependency.";
    const std::string oneTrunk = "Configured trunk must resolve to one commit.";
    const std::string trunkInside = "Trunk is inside the history selected for rebasing.";
    const std::string missing(32, 'k');
    const auto commitOf = [&](const std::string& name) {
        return "commit_id(" + repo.commitID(repo.id(name)) + ")";
    };
    // With trunk below the selected tip and only tags and the base
    // protected, the rebase would move trunk itself.
    const auto trunkLO = commitOf("LO");
    const auto tagsAndB = "tags() | " + commitOf("B");

    struct Case {
        std::vector<std::string> bookmarks;
        std::vector<std::string> oneOffs;
        std::string refusal;
        std::string trunk = {};           // a trunk() of the repository's own
        std::string immutableHeads = {};  // an immutable_heads() of its own
    };
    const Case cases[] = {
        {{}, {repo.id("H")}, unresolvedOneOff(repo.id("H"))},
        {{}, {repo.id("DT")}, unresolvedOneOff(repo.id("DT"))},
        {{}, {missing}, unresolvedOneOff(missing)},
        {{"nosuch"}, {repo.id("H")}, unresolvedOneOff(repo.id("H"))},  // one-offs first
        {{"ok", "nosuch"}, {}, unresolvedBookmark("nosuch")},
        {{"ok", "conflicted"}, {}, unresolvedBookmark("conflicted")},
        {{"ok", "nosuch"}, {}, unresolvedBookmark("nosuch"), "none()"},  // before trunk()
        {{"ok"}, {}, oneTrunk, "none()"},
        {{"ok"}, {}, oneTrunk, commitOf("LO") + " | " + commitOf("UP")},
        {{"theirs"}, {}, nonMine},
        {{"main", "theirs"}, {}, nonMine},
        {{"merged", "theirs"}, {}, nonMine},
        {{"main"}, {}, selectMutable},
        {{"main", "ok"}, {}, selectMutable},
        {{}, {repo.id("B")}, selectMutable},
        {{}, {repo.id("OK")}, bookmarkedOneOff},
        {{"merged"}, {repo.id("OK")}, bookmarkedOneOff},
        {{"merged"}, {}, crosses},
        {{"upper"}, {}, crosses},  // an unselected bookmarked base
        {{"div"}, {}, crosses},
        {{"fork", "upper"}, {}, crosses},
        {{"fork"}, {}, sibling},
        {{"fork", "lost"}, {}, sibling},
        {{"lost"}, {}, lostBase},
        {{"upper", "lower"}, {}, trunkInside, trunkLO, tagsAndB},
        {{"upper", "lower", "lost"}, {}, lostBase, trunkLO, tagsAndB},
    };
    const auto before = repo.currentOperationID();
    const auto configure = [&](const std::string& alias, const std::string& value, bool set) {
        const auto key = "revset-aliases.\"" + alias + "\"";
        if (!value.empty()) {
            repo.jj(set ? std::vector<std::string>{"config", "set", "--repo", key, value}
                        : std::vector<std::string>{"config", "unset", "--repo", key});
        }
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(::testing::PrintToString(test.bookmarks) + " " +
                     ::testing::PrintToString(test.oneOffs) + " trunk() " + test.trunk);
        configure("trunk()", test.trunk, true);
        configure("immutable_heads()", test.immutableHeads, true);
        EXPECT_EQ(refusal([&] { client.planLocalStackUpdate(test.bookmarks, test.oneOffs); }),
                  test.refusal);
        configure("trunk()", test.trunk, false);
        configure("immutable_heads()", test.immutableHeads, false);
    }

    // Resolvable selections plan; selecting the base too makes the lower
    // stack a tip of its own.
    const auto ok = client.planLocalStackUpdate({"ok", "ok"}, {});
    EXPECT_EQ(ok.bookmarkNames, std::vector<std::string>{"ok"});
    EXPECT_EQ(changeIDsOf(ok.roots), std::vector<std::string>{repo.id("OK")});
    const auto line = client.planLocalStackUpdate({"upper", "lower"}, {});
    EXPECT_EQ(line.bookmarkNames, (std::vector<std::string>{"lower", "upper"}));
    EXPECT_EQ(changeIDsOf(line.roots), std::vector<std::string>{repo.id("LO")});
    EXPECT_EQ(sorted(changeIDsOf(line.affectedCommits)), sorted({repo.id("LO"), repo.id("UP")}));
    // With a clean working copy even the planning snapshots recorded nothing.
    EXPECT_EQ(repo.currentOperationID(), before);
}

TEST(LocalStackUpdateExecution, MovesStacksAndOneOffsOntoTrunkAndVerifiesThem) {
    TestRepo repo;
    repo.draw(R"(
        origin
        B <- root "base" README=base
        T <- B "upstream work" UPSTREAM=up [main]
        push main
        LO <- B "lower" lower.txt=1 [lower]
        UP <- LO "upper" upper.txt=2 [upper]
        push upper
        O1 <- B "one-off 1" o1.txt=1
        O2 <- O1 "one-off 2" o2.txt=2
        MG <- UP T "merge with trunk"   # moves along, keeps trunk as its second parent
        workspace second <- UP
        @ <- O2
    )");
    // The second workspace works on the middle of a stack.
    repo.jjIn((repo.scratch() / "second").string(), {"edit", repo.id("LO")});
    const auto trunk = repo.commitID(repo.id("T"));
    const auto defaultCopy = repo.changeID("@");
    const auto id = [&](const char* name) {
        return repo.id(name);
    };

    const JJClient client(repo.root());
    const auto plan = client.planLocalStackUpdate({"upper", "lower"}, {id("O2")});
    EXPECT_EQ(plan.operationID, repo.currentOperationID());
    EXPECT_EQ(plan.destination.commitID, trunk);
    EXPECT_EQ(changeIDsOf(plan.oneOffTips), std::vector<std::string>{id("O2")});
    ASSERT_EQ(plan.roots.size(), 2U);
    EXPECT_EQ(sorted(changeIDsOf(plan.roots)), sorted({id("LO"), id("O1")}));
    EXPECT_LT(plan.roots[0].commitID, plan.roots[1].commitID);
    EXPECT_EQ(sorted(changeIDsOf(plan.affectedCommits)),
              sorted({id("LO"), id("UP"), id("MG"), id("O1"), id("O2"), defaultCopy}));
    EXPECT_EQ(plan.affectedWorkspaces.at(1).changeID, id("LO"));
    EXPECT_EQ(commitIDsOf(plan.preservedDependencies), std::vector<std::string>{trunk});
    EXPECT_EQ(plan.protectedDependencies(), plan.preservedDependencies);
    EXPECT_EQ(plan.affectedBookmarkNames(), (std::vector<std::string>{"lower", "upper"}));
    EXPECT_EQ(plan.publishedCommitCount(), 1U);
    EXPECT_TRUE(plan.hasChanges());
    const auto root0 = "commit_id(" + plan.roots[0].commitID + ")";
    const auto root1 = "commit_id(" + plan.roots[1].commitID + ")";
    EXPECT_EQ(plan.commandArguments(),
              (std::vector<std::string>{"rebase", "-s", root0, "-s", root1, "-d",
                                        "commit_id(" + trunk + ")"}));
    EXPECT_EQ(plan.commandLine(),
              "jj rebase -s '" + root0 + "' -s '" + root1 + "' -d 'commit_id(" + trunk + ")'");

    // Each stack as its id, bookmark, tip, commits from the tip down and
    // the number of them shared with another stack.
    const LocalStackRebaseSummary summary(plan);
    using Stack = std::tuple<std::string, std::optional<std::string>, std::string,
                             std::vector<std::string>, std::size_t>;
    std::vector<Stack> stacks;
    for (const auto& stack : summary.stacks) {
        stacks.emplace_back(stack.id, stack.bookmarkName, stack.tip.changeID,
                            changeIDsOf(stack.commits), stack.sharedCommitCount);
    }
    EXPECT_EQ(stacks, (std::vector<Stack>{
                          {"bookmark:lower", "lower", id("LO"), {id("LO")}, 1},
                          {"bookmark:upper", "upper", id("UP"), {id("UP"), id("LO")}, 1},
                          {"change:" + id("O2"), std::nullopt, id("O2"), {id("O2"), id("O1")}, 0},
                      }));
    EXPECT_EQ(summary.movingCommitCount, 4U);
    EXPECT_EQ(summary.sharedCommitCount, 1U);
    EXPECT_EQ(sorted(changeIDsOf(summary.followingCommits)), sorted({id("MG"), defaultCopy}));

    // Both stacks stand on trunk; the rewritten middle commit keeps its child
    // and its workspace; the merge keeps trunk as its second parent.
    const auto receipt = client.executeLocalStackUpdate(plan);
    EXPECT_EQ(receipt,
              cleanReceipt(plan.operationID, repo.currentOperationID(), {"default", "second"}));
    EXPECT_EQ(graph(repo, {"LO", "UP", "MG", "O1", "O2", "default@"}),
              "LO<T UP<LO MG<UP,T O1<T O2<O1 default@<O2");
    EXPECT_EQ(std::tuple(*repo.bookmarkTarget("upper"), repo.changeID("second@"),
                         repo.changeID("default@")),
              std::tuple("UP", id("LO"), defaultCopy));
    const auto stored = onlyRecord<LocalStackUpdatePlan>(repo.root());
    EXPECT_EQ(std::tuple(stored.plan, stored.receipt, stored.steps.has_value()),
              std::tuple(plan, receipt, false));

    // The same selection now stands on trunk: no rebase runs, and the
    // receipt is still saved, before and after, under one identity.
    const auto settled = client.planLocalStackUpdate({"upper", "lower"}, {id("O2")});
    EXPECT_FALSE(settled.hasChanges());
    std::vector<Record> persisted;
    const auto noOp = client.executeLocalStackUpdate(
        settled, [&](const Record& record) { persisted.push_back(record); });
    EXPECT_EQ(noOp, cleanReceipt(settled.operationID, settled.operationID, {"default", "second"}));
    EXPECT_EQ(repo.currentOperationID(), settled.operationID);
    ASSERT_EQ(persisted.size(), 2U);
    auto first = persisted[1];
    first.receipt.reset();
    EXPECT_EQ(std::tuple(persisted[0], persisted[0].plan, persisted[1].receipt),
              std::tuple(first, settled, noOp));
}

TEST(LocalStackUpdatePlanValues, LinearStacksAndUnbookmarkedTipsOfHandBuiltGraphs) {
    std::map<std::string, JJCommit> commits;
    for (auto commit :
         {commitNode("trunk", {"old"}, true), commitNode("release", {"trunk", "other"}, true),
          commitNode("a1", {"trunk"}), commitNode("a2", {"a1"}),
          commitNode("merge", {"a1", "trunk"}), commitNode("above-merge", {"merge"}),
          commitNode("cycle-1", {"cycle-2"}), commitNode("cycle-2", {"cycle-1"}),
          commitNode("orphan", {"unknown"}), commitNode("parentless", {}),
          commitNode("on-release", {"release"}),
          commitNode("feature", {"trunk"}, false, {"feature"}),
          commitNode("above-feature", {"feature"}), commitNode("theirs", {"trunk"}),
          commitNode("above-theirs", {"theirs"}), commitNode("single", {"trunk"})}) {
        commits.emplace(commit.commitID, commit);
    }
    // The immutable base may be a merge; the start may not be immutable.
    for (const auto* id : {"a1", "a2", "on-release", "trunk", "merge", "above-merge", "cycle-1",
                           "orphan", "parentless"}) {
        const std::set<std::string> linear{"a1", "a2", "on-release"};
        EXPECT_EQ(LocalStackUpdatePlan::isLinearLocalStack(commits.at(id), commits),
                  linear.contains(id))
            << id;
    }
    std::set<std::string> mine;
    for (const auto& [id, commit] : commits) {
        if (id != "theirs") {
            mine.insert(commit.changeID);
        }
    }
    // a2 heads a1's line although a merge also stands on a1; nothing under a
    // bookmark or another person's commit is offered.
    EXPECT_EQ(commitIDsOf(LocalStackUpdatePlan::unbookmarkedStackTips(commits, mine)),
              (std::vector<std::string>{"a2", "on-release", "single"}));
}

}  // namespace
}  // namespace vorda
