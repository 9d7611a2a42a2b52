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
#include "support/Refusal.h"
#include "support/RewriteTestData.h"
#include "support/TestRepo.h"

namespace vorda {
namespace {

using testing::commitNode;
using testing::refusal;
using testing::TestRepo;

using Record = OperationRecord<LocalStackUpdatePlan>;

std::set<std::string> changeSet(const std::vector<JJCommit>& commits) {
    std::set<std::string> ids;
    for (const auto& commit : commits) {
        ids.insert(commit.changeID);
    }
    return ids;
}

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
    const std::string fullIDs = "One-off selections require full change IDs.";
    EXPECT_EQ(refusal([&] { client.planLocalStackUpdate({}, {}); }),
              "Select local stacks or one-offs to update.");
    for (const auto& id : {repo.id("OK").substr(0, 31), withA}) {
        EXPECT_EQ(refusal([&] { client.planLocalStackUpdate({"ok"}, {id}); }), fullIDs) << id;
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
        "Selection crosses a merge, divergent change, or "
        "unselected bookmarked base. Select the "
        "base stack too, or update it separately.";
    const std::string sibling =
        "Selection would also move an unselected sibling "
        "branch. Include its tip in the update "
        "first.";
    const std::string lostBase =
        "Update would rewrite protected history or "
        "remove an existing base dependency.";
    const std::string oneTrunk = "Configured trunk must resolve to one commit.";
    const std::string missing(32, 'k');
    const auto commitOf = [&](const std::string& name) {
        return "commit_id(" + repo.commitID(repo.id(name)) + ")";
    };

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
        // With trunk below the selected tip and only tags and the base
        // protected, the rebase would move trunk itself.
        {{"upper", "lower"},
         {},
         "Trunk is inside the history selected for rebasing.",
         commitOf("LO"),
         "tags() | " + commitOf("B")},
        {{"upper", "lower", "lost"}, {}, lostBase, commitOf("LO"), "tags() | " + commitOf("B")},
    };
    const auto before = repo.currentOperationID();
    const auto configure = [&](const std::string& alias, const std::string& value) {
        const auto key = "revset-aliases.\"" + alias + "\"";
        repo.jj(value.empty() ? std::vector<std::string>{"config", "unset", "--repo", key}
                              : std::vector<std::string>{"config", "set", "--repo", key, value});
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(::testing::PrintToString(test.bookmarks) + " " +
                     ::testing::PrintToString(test.oneOffs) + " trunk() " + test.trunk);
        if (!test.trunk.empty()) {
            configure("trunk()", test.trunk);
        }
        if (!test.immutableHeads.empty()) {
            configure("immutable_heads()", test.immutableHeads);
        }
        EXPECT_EQ(refusal([&] { client.planLocalStackUpdate(test.bookmarks, test.oneOffs); }),
                  test.refusal);
        if (!test.trunk.empty()) {
            configure("trunk()", "");
        }
        if (!test.immutableHeads.empty()) {
            configure("immutable_heads()", "");
        }
    }

    // Resolvable selections plan; selecting the base too makes the lower
    // stack a tip of its own.
    const auto ok = client.planLocalStackUpdate({"ok", "ok"}, {});
    EXPECT_EQ(ok.bookmarkNames, std::vector<std::string>{"ok"});
    EXPECT_EQ(changeSet(ok.roots), std::set<std::string>{repo.id("OK")});
    const auto line = client.planLocalStackUpdate({"upper", "lower"}, {});
    EXPECT_EQ(line.bookmarkNames, (std::vector<std::string>{"lower", "upper"}));
    EXPECT_EQ(changeSet(line.roots), std::set<std::string>{repo.id("LO")});
    EXPECT_EQ(changeSet(line.affectedCommits),
              (std::set<std::string>{repo.id("LO"), repo.id("UP")}));
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
    const auto second = (repo.scratch() / "second").string();
    repo.jjIn(second, {"edit", repo.id("LO")});
    const auto trunk = repo.commitID(repo.id("T"));
    const auto defaultCopy = repo.changeID("@");

    const JJClient client(repo.root());
    const auto plan = client.planLocalStackUpdate({"upper", "lower"}, {repo.id("O2")});
    EXPECT_EQ(plan.operationID, repo.currentOperationID());
    EXPECT_EQ(plan.destination.commitID, trunk);
    EXPECT_EQ(changeSet(plan.oneOffTips), std::set<std::string>{repo.id("O2")});
    ASSERT_EQ(plan.roots.size(), 2U);
    EXPECT_EQ(changeSet(plan.roots), (std::set<std::string>{repo.id("LO"), repo.id("O1")}));
    EXPECT_LT(plan.roots[0].commitID, plan.roots[1].commitID);
    EXPECT_EQ(changeSet(plan.affectedCommits),
              (std::set<std::string>{repo.id("LO"), repo.id("UP"), repo.id("MG"), repo.id("O1"),
                                     repo.id("O2"), defaultCopy}));
    ASSERT_EQ(plan.affectedWorkspaces.size(), 2U);
    EXPECT_EQ(plan.affectedWorkspaces[0].name, "default");
    EXPECT_EQ(plan.affectedWorkspaces[1].name, "second");
    EXPECT_EQ(plan.affectedWorkspaces[1].changeID, repo.id("LO"));
    ASSERT_EQ(plan.preservedDependencies.size(), 1U);
    EXPECT_EQ(plan.preservedDependencies.front().commitID, trunk);
    EXPECT_EQ(plan.protectedDependencies(), plan.preservedDependencies);
    EXPECT_EQ(plan.affectedBookmarkNames(), (std::vector<std::string>{"lower", "upper"}));
    EXPECT_EQ(plan.publishedCommitCount(), 1U);
    EXPECT_TRUE(plan.hasChanges());
    const auto root = [&](std::size_t index) {
        return "commit_id(" + plan.roots[index].commitID + ")";
    };
    EXPECT_EQ(plan.commandArguments(),
              (std::vector<std::string>{"rebase", "-s", root(0), "-s", root(1), "-d",
                                        "commit_id(" + trunk + ")"}));
    EXPECT_EQ(plan.commandLine(),
              "jj rebase -s '" + root(0) + "' -s '" + root(1) + "' -d 'commit_id(" + trunk + ")'");

    // Each stack as its id, bookmark, tip, commits from the tip down and
    // the number of them shared with another stack.
    const LocalStackRebaseSummary summary(plan);
    using Stack = std::tuple<std::string, std::optional<std::string>, std::string,
                             std::vector<std::string>, std::size_t>;
    std::vector<Stack> stacks;
    for (const auto& stack : summary.stacks) {
        std::vector<std::string> commits;
        for (const auto& commit : stack.commits) {
            commits.push_back(commit.changeID);
        }
        stacks.emplace_back(stack.id, stack.bookmarkName, stack.tip.changeID, commits,
                            stack.sharedCommitCount);
    }
    const auto id = [&](const char* name) {
        return repo.id(name);
    };
    EXPECT_EQ(stacks, (std::vector<Stack>{
                          {"bookmark:lower", "lower", id("LO"), {id("LO")}, 1},
                          {"bookmark:upper", "upper", id("UP"), {id("UP"), id("LO")}, 1},
                          {"change:" + id("O2"), std::nullopt, id("O2"), {id("O2"), id("O1")}, 0},
                      }));
    EXPECT_EQ(summary.movingCommitCount, 4U);
    EXPECT_EQ(summary.sharedCommitCount, 1U);
    EXPECT_EQ(changeSet(summary.followingCommits), (std::set<std::string>{id("MG"), defaultCopy}));

    const auto oldLower = repo.commitID(repo.id("LO"));
    const auto receipt = client.executeLocalStackUpdate(plan);
    EXPECT_EQ(receipt.beforeOperationID, plan.operationID);
    EXPECT_EQ(receipt.afterOperationID, repo.currentOperationID());
    EXPECT_NE(receipt.afterOperationID, plan.operationID);
    EXPECT_EQ(receipt.commandError, std::nullopt);
    EXPECT_EQ(receipt.verificationWarnings, std::vector<std::string>{});
    EXPECT_EQ(receipt.conflictedChangeIDs, std::vector<std::string>{});
    EXPECT_EQ(receipt.affectedWorkspaceNames, (std::vector<std::string>{"default", "second"}));

    // Both stacks stand on trunk; the rewritten middle commit keeps its child
    // and its workspace; the merge keeps trunk as its second parent.
    EXPECT_EQ(repo.parents("LO"), std::vector<std::string>{"T"});
    EXPECT_EQ(repo.parents("UP"), std::vector<std::string>{"LO"});
    EXPECT_NE(repo.commitID(repo.id("LO")), oldLower);
    EXPECT_EQ(repo.parents("MG"), (std::vector<std::string>{"UP", "T"}));
    EXPECT_EQ(repo.parents("O1"), std::vector<std::string>{"T"});
    EXPECT_EQ(repo.parents("O2"), std::vector<std::string>{"O1"});
    EXPECT_EQ(repo.bookmarkTarget("upper"), "UP");
    EXPECT_EQ(repo.changeID("second@"), repo.id("LO"));
    EXPECT_EQ(repo.changeID("default@"), defaultCopy);
    EXPECT_EQ(repo.parents("default@"), std::vector<std::string>{"O2"});

    const auto loaded = OperationJournal<LocalStackUpdatePlan>(repo.root()).load();
    EXPECT_TRUE(loaded.warnings.empty());
    ASSERT_EQ(loaded.records.size(), 1U);
    EXPECT_EQ(loaded.records.front().plan, plan);
    EXPECT_EQ(loaded.records.front().receipt, receipt);
    EXPECT_EQ(loaded.records.front().steps, std::nullopt);

    // The same selection now stands on trunk: no rebase runs, and the
    // receipt is still saved, before and after, under one identity.
    const auto settled = client.planLocalStackUpdate({"upper", "lower"}, {repo.id("O2")});
    EXPECT_FALSE(settled.hasChanges());
    std::vector<Record> persisted;
    const auto noOp = client.executeLocalStackUpdate(
        settled, [&](const Record& record) { persisted.push_back(record); });
    EXPECT_EQ(noOp.beforeOperationID, settled.operationID);
    EXPECT_EQ(noOp.afterOperationID, settled.operationID);
    EXPECT_TRUE(noOp.succeeded());
    EXPECT_EQ(repo.currentOperationID(), settled.operationID);
    ASSERT_EQ(persisted.size(), 2U);
    EXPECT_EQ(persisted[0].receipt, std::nullopt);
    EXPECT_EQ(persisted[0].plan, settled);
    EXPECT_EQ(persisted[1].id, persisted[0].id);
    EXPECT_EQ(persisted[1].startedAt, persisted[0].startedAt);
    EXPECT_EQ(persisted[1].receipt, noOp);
}

TEST(LocalStackUpdatePlanValues, LinearStacksAndUnbookmarkedTipsOfHandBuiltGraphs) {
    std::map<std::string, JJCommit> commits;
    for (auto commit : {
             commitNode("trunk", {"old"}, true),
             commitNode("release", {"trunk", "other"}, true),
             commitNode("a1", {"trunk"}),
             commitNode("a2", {"a1"}),
             commitNode("merge", {"a1", "trunk"}),
             commitNode("above-merge", {"merge"}),
             commitNode("cycle-1", {"cycle-2"}),
             commitNode("cycle-2", {"cycle-1"}),
             commitNode("orphan", {"unknown"}),
             commitNode("parentless", {}),
             commitNode("on-release", {"release"}),
             commitNode("feature", {"trunk"}, false, {"feature"}),
             commitNode("above-feature", {"feature"}),
             commitNode("theirs", {"trunk"}),
             commitNode("above-theirs", {"theirs"}),
             commitNode("single", {"trunk"}),
         }) {
        commits.emplace(commit.commitID, commit);
    }
    // The immutable base may be a merge; the start may not be immutable.
    for (const auto& [id, linear] : std::map<std::string, bool>{
             {"a1", true},
             {"a2", true},
             {"on-release", true},
             {"trunk", false},
             {"merge", false},
             {"above-merge", false},
             {"cycle-1", false},
             {"orphan", false},
             {"parentless", false},
         }) {
        EXPECT_EQ(LocalStackUpdatePlan::isLinearLocalStack(commits.at(id), commits), linear) << id;
    }

    std::set<std::string> mine;
    for (const auto& [id, commit] : commits) {
        if (id != "theirs") {
            mine.insert(commit.changeID);
        }
    }
    std::vector<std::string> tips;
    for (const auto& tip : LocalStackUpdatePlan::unbookmarkedStackTips(commits, mine)) {
        tips.push_back(tip.commitID);
    }
    // a2 heads a1's line although a merge also stands on a1; nothing under a
    // bookmark or another person's commit is offered.
    EXPECT_EQ(tips, (std::vector<std::string>{"a2", "on-release", "single"}));
}

}  // namespace
}  // namespace vorda
