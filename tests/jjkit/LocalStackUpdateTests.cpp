#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>
#include <set>
#include <sstream>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "jjkit/client/JJClient.h"
#include "jjkit/rewrites/LocalStackUpdatePlan.h"
#include "jjkit/rewrites/OperationJournal.h"
#include "jjkit/rewrites/OperationRecord.h"
#include "jjkit/support/Cancellation.h"
#include "jjkit/support/Text.h"
#include "support/LogCapture.h"
#include "support/Refusal.h"
#include "support/ScopedEnvironment.h"
#include "support/TestRepo.h"

namespace vorda {
namespace {

using testing::LogCapture;
using testing::refusal;
using testing::ScopedEnvironment;
using testing::TestRepo;

using Record = OperationRecord<LocalStackUpdatePlan>;

const std::string noFinalOutcome =
    "No final outcome was saved. Execution may not have started, may still be running, or may "
    "have finished. Inspect the operation log before retrying or recovering.";
const std::string needsInspection =
    "The observed operation matches this result, but the action needs inspection. Compare the "
    "recorded before/after operations before choosing recovery.";
const std::string verifiedResult =
    "The observed operation matches the verified result. Inspect any reported conflicts; no "
    "automatic recovery is needed.";

const std::string expiredWords =
    "Preview expired because the repository or working copy changed. Generate a fresh preview.";
const std::string scopeWords = "Preview scope changed. Generate a fresh preview before updating.";
const std::string foreignWords = "This preview belongs to another repository or workspace.";
const std::string savingWords =
    "Repository changed while saving the receipt; no rebase was attempted.";

const std::string selectMutable = "Select at least one mutable local stack.";
const std::string crossesWords =
    "Selection crosses a merge, divergent change, or unselected bookmarked base. Select the base "
    "stack too, or update it separately.";

std::string toolFolder(const std::string& name) {
    return std::string(VORDA_TEST_TOOLS_DIR) + "/" + name;
}

// The jj that PATH finds now, before a wrapper is put in front of it.
std::string realJJ() {
    const char* value = std::getenv("PATH");
    std::stringstream path(value != nullptr ? std::string(value) : std::string());
    std::string folder;
    while (std::getline(path, folder, ':')) {
        const auto candidate = std::filesystem::path(folder) / "jj";
        if (!folder.empty() && std::filesystem::exists(candidate)) {
            return candidate.string();
        }
    }
    throw std::runtime_error("jj is not on PATH");
}

std::string shortID(const std::string& changeID) {
    return changeID.substr(0, 12);
}

// Every commit of `revset` with its parents and local bookmarks: what a
// rewrite would change.
std::string graph(const TestRepo& repo, const std::string& revset = "all()") {
    const std::string line =
        "commit_id ++ \" \" ++ parents.map(|p| p.commit_id()).join(\",\") ++ \" \" ++ "
        "local_bookmarks.map(|b| b.name()).join(\",\") ++ \"\\n\"";
    return repo.jj({"log", "--no-graph", "--ignore-working-copy", "-r", revset, "-T", line});
}

// The parents of `revision` in order, joined with commas.
std::string parentsOf(const TestRepo& repo, const std::string& revision) {
    return repo.jj({"log", "--no-graph", "--ignore-working-copy", "-r", revision, "-T",
                    "parents.map(|p| p.commit_id()).join(\",\")"});
}

// The descriptions of the operations after `since`, newest first.
std::vector<std::string> operationsSince(const TestRepo& repo, const std::string& since) {
    const auto lines = repo.jj({"op", "log", "--no-graph", "--ignore-working-copy", "-T",
                                "id ++ \" \" ++ description ++ \"\\n\""});
    std::vector<std::string> descriptions;
    for (const auto line : text::splitNonEmpty(lines, '\n')) {
        const auto blank = line.find(' ');
        if (line.substr(0, blank) == since) {
            return descriptions;
        }
        descriptions.emplace_back(line.substr(blank + 1));
    }
    ADD_FAILURE() << "operation " << since << " is not in the log";
    return descriptions;
}

struct RepoMark {
    std::string operation;
    std::string commits;
};

RepoMark stateOf(const TestRepo& repo) {
    return {repo.currentOperationID(), graph(repo)};
}

// A refusal leaves the commits as they were and adds no operation but a
// snapshot of the working copy.
void expectUntouched(const TestRepo& repo, const RepoMark& before) {
    EXPECT_EQ(graph(repo), before.commits);
    for (const auto& description : operationsSince(repo, before.operation)) {
        EXPECT_EQ(description, "snapshot working copy");
    }
}

std::set<std::string> changeSet(const std::vector<JJCommit>& commits) {
    std::set<std::string> ids;
    for (const auto& commit : commits) {
        ids.insert(commit.changeID);
    }
    return ids;
}

std::vector<std::string> names(const std::vector<JJWorkspace>& workspaces) {
    std::vector<std::string> result;
    result.reserve(workspaces.size());
    for (const auto& workspace : workspaces) {
        result.push_back(workspace.name);
    }
    return result;
}

const JJCommit& byChange(const std::vector<JJCommit>& commits, const std::string& changeID) {
    const auto found = std::find_if(commits.begin(), commits.end(), [&](const JJCommit& commit) {
        return commit.changeID == changeID;
    });
    if (found == commits.end()) {
        throw std::runtime_error("change " + changeID + " is not in the list");
    }
    return *found;
}

TEST(LocalStackUpdatePlanning, RefusesSelectionsThatCannotBeResolved) {
    TestRepo repo;
    repo.publishMain();
    repo.newChange({"main"});
    const auto ok = repo.commit("ok stack", {{"ok.txt", "ok\n"}});
    repo.bookmark("ok", ok);
    repo.newChange({"main"});
    const auto hidden = repo.commit("soon abandoned", {{"gone.txt", "gone\n"}});
    repo.jj({"abandon", "-r", hidden});
    repo.newChange({"main"});
    repo.commit("divergent base", {{"d1.txt", "1\n"}});
    const auto divergent = repo.commit("divergent top", {{"d2.txt", "2\n"}});
    repo.makeDivergent(divergent, "divergent top A", "divergent top B");
    repo.newChange({"main"});
    const auto left = repo.commit("left", {{"left.txt", "l\n"}});
    repo.newChange({"main"});
    const auto right = repo.commit("right", {{"right.txt", "r\n"}});
    repo.makeConflictedBookmark("conflicted", "main", left, right);

    const JJClient client(repo.root());

    // Refusals that come before the snapshot leave pending edits pending: no
    // operation at all is added.
    repo.writeFile("pending.txt", "not yet snapshotted\n");
    const auto beforeSnapshot = repo.currentOperationID();
    EXPECT_EQ(refusal([&] { client.planLocalStackUpdate({}, {}); }),
              "Select local stacks or one-offs to update.");
    ASSERT_EQ(ok.size(), 32U);
    const std::string shortened = ok.substr(0, 31);
    std::string withA = ok;
    withA[5] = 'a';
    for (const auto& id : {shortened, withA}) {
        EXPECT_EQ(refusal([&] { client.planLocalStackUpdate({"ok"}, {id}); }),
                  "One-off selections require full change IDs.")
            << id;
    }
    EXPECT_EQ(repo.currentOperationID(), beforeSnapshot);
    repo.jj({"debug", "snapshot"});

    const auto before = stateOf(repo);
    const std::string missingID(32, 'k');
    for (const auto& id : {hidden, divergent, missingID}) {
        EXPECT_EQ(refusal([&] { client.planLocalStackUpdate({}, {id}); }),
                  "One-off " + id + " is hidden, missing, or divergent. Refresh the selection.")
            << id;
    }
    // One-offs are judged before bookmarks.
    EXPECT_EQ(refusal([&] { client.planLocalStackUpdate({"nosuch"}, {hidden}); }),
              "One-off " + hidden + " is hidden, missing, or divergent. Refresh the selection.");
    for (const std::string& name : std::vector<std::string>{"nosuch", "conflicted"}) {
        EXPECT_EQ(refusal([&] {
                      client.planLocalStackUpdate({"ok", name}, {});
                  }),
                  name + " is missing or divergent. Resolve it before planning an update.");
    }
    expectUntouched(repo, before);

    // The same selection, resolvable, plans.
    const auto plan = client.planLocalStackUpdate({"ok", "ok"}, {});
    EXPECT_EQ(plan.bookmarkNames, std::vector<std::string>{"ok"});
    EXPECT_EQ(changeSet(plan.roots), std::set<std::string>{ok});
    expectUntouched(repo, before);
}

TEST(LocalStackUpdatePlanning, RefusesStacksThatWouldTouchOtherWork) {
    TestRepo repo;
    repo.publishMain();

    repo.newChange({"main"});
    const auto ok = repo.commit("ok stack", {{"ok.txt", "ok\n"}});
    repo.bookmark("ok", ok);

    repo.newChange({"main"});
    const auto ours = repo.commit("our part", {{"ours.txt", "ours\n"}});
    repo.bookmark("theirs", ours);
    const auto colleague =
        repo.commitAs("Colleague", "colleague@vorda.invalid", "colleague fix\nwith details",
                      {{"fix.txt", "fix\n"}}, ours);

    repo.newChange({"main"});
    const auto mergeLeft = repo.commit("merge left", {{"ml.txt", "l\n"}});
    repo.newChange({"main"});
    const auto mergeRight = repo.commit("merge right", {{"mr.txt", "r\n"}});
    repo.newChange({mergeLeft, mergeRight});
    const auto merged = repo.commit("merged", {{"m.txt", "m\n"}});
    repo.bookmark("merged", merged);

    repo.newChange({"main"});
    const auto lower = repo.commit("lower", {{"lower.txt", "1\n"}});
    const auto upper = repo.commit("upper", {{"upper.txt", "2\n"}});
    repo.bookmark("lower", lower);
    repo.bookmark("upper", upper);

    repo.newChange({"main"});
    const auto divergentBase = repo.commit("divergent base", {{"db.txt", "1\n"}});
    const auto divergentTop = repo.commit("divergent top", {{"dt.txt", "2\n"}});
    repo.bookmark("div", divergentBase);
    repo.makeDivergent(divergentTop, "top A", "top B");

    repo.newChange({"main"});
    const auto forkBase = repo.commit("fork base", {{"fb.txt", "1\n"}});
    const auto forkTip = repo.commit("fork tip", {{"ft.txt", "2\n"}});
    repo.bookmark("fork", forkTip);
    repo.newChange({forkBase});
    repo.commit("unselected sibling", {{"sibling.txt", "3\n"}});

    // A tagged commit is immutable but not part of trunk: a base that the
    // update would drop.
    repo.newChange({"main"});
    const auto tagged = repo.commit("tagged release", {{"tag.txt", "t\n"}});
    repo.jj({"tag", "set", "release", "-r", tagged});
    const auto lost = repo.commit("on the release", {{"lost.txt", "l\n"}});
    repo.bookmark("lost", lost);
    repo.newChange({"main"});

    const JJClient client(repo.root());
    const auto before = stateOf(repo);

    EXPECT_EQ(refusal([&] { client.planLocalStackUpdate({"theirs"}, {}); }),
              "Rebase would rewrite commits not matched by mine(): " + shortID(colleague) +
                  " · colleague fix. Other people's work must stay in place.");
    EXPECT_EQ(refusal([&] { client.planLocalStackUpdate({"main"}, {}); }), selectMutable);
    EXPECT_EQ(refusal([&] { client.planLocalStackUpdate({"main", "ok"}, {}); }), selectMutable);
    EXPECT_EQ(refusal([&] { client.planLocalStackUpdate({}, {ok}); }),
              "A selected one-off now has a bookmark. Select its bookmark instead.");
    EXPECT_EQ(refusal([&] { client.planLocalStackUpdate({"merged"}, {}); }), crossesWords);
    EXPECT_EQ(refusal([&] { client.planLocalStackUpdate({"upper"}, {}); }), crossesWords);
    EXPECT_EQ(refusal([&] { client.planLocalStackUpdate({"div"}, {}); }), crossesWords);
    EXPECT_EQ(refusal([&] { client.planLocalStackUpdate({"fork"}, {}); }),
              "Selection would also move an unselected sibling branch. Include its tip in the "
              "update first.");
    EXPECT_EQ(refusal([&] { client.planLocalStackUpdate({"lost"}, {}); }),
              "Update would rewrite protected history or remove an existing base dependency.");
    // Where a selection has several faults, the earlier check words the
    // refusal.
    for (const auto& selection :
         std::vector<std::vector<std::string>>{{"main", "theirs"}, {"merged", "theirs"}}) {
        EXPECT_EQ(refusal([&] { client.planLocalStackUpdate(selection, {}); }),
                  "Rebase would rewrite commits not matched by mine(): " + shortID(colleague) +
                      " · colleague fix. Other people's work must stay in place.");
    }
    EXPECT_EQ(refusal([&] { client.planLocalStackUpdate({}, {repo.changeID("main")}); }),
              selectMutable);
    EXPECT_EQ(refusal([&] { client.planLocalStackUpdate({"merged"}, {ok}); }),
              "A selected one-off now has a bookmark. Select its bookmark instead.");
    EXPECT_EQ(refusal([&] { client.planLocalStackUpdate({"fork", "upper"}, {}); }), crossesWords);
    EXPECT_EQ(refusal([&] {
                  client.planLocalStackUpdate({"fork", "lost"}, {});
              }),
              "Selection would also move an unselected sibling branch. Include its tip in the "
              "update first.");
    expectUntouched(repo, before);

    // Selecting the base too makes the lower stack a tip, and the line plans.
    const auto plan = client.planLocalStackUpdate({"upper", "lower"}, {});
    EXPECT_EQ(plan.bookmarkNames, (std::vector<std::string>{"lower", "upper"}));
    EXPECT_EQ(changeSet(plan.roots), std::set<std::string>{lower});
    EXPECT_EQ(changeSet(plan.affectedCommits), (std::set<std::string>{lower, upper}));
    expectUntouched(repo, before);
}

TEST(LocalStackUpdatePlanning, RefusesATrunkThatIsNotOneCommitOrLiesInsideTheSelection) {
    TestRepo repo;
    const auto first = repo.commit("first", {{"a.txt", "1\n"}});
    const auto second = repo.commit("second", {{"b.txt", "2\n"}});
    repo.bookmark("inside", second);
    // A tagged base beside trunk's line: a dependency an update would drop.
    repo.newChange({"root()"});
    const auto tagged = repo.commit("tagged", {{"t.txt", "t\n"}});
    repo.jj({"tag", "set", "release", "-r", tagged});
    repo.bookmark("lost", repo.commit("on the tag", {{"l.txt", "l\n"}}));
    const JJClient client(repo.root());
    const auto setRepoConfig = [&](const std::string& key, const std::string& value) {
        repo.jj({"config", "set", "--repo", key, value});
    };
    const auto before = stateOf(repo);

    setRepoConfig("revset-aliases.\"trunk()\"", "none()");
    EXPECT_EQ(refusal([&] { client.planLocalStackUpdate({"inside"}, {}); }),
              "Configured trunk must resolve to one commit.");
    EXPECT_EQ(refusal([&] {
                  client.planLocalStackUpdate({"inside", "nosuch"}, {});
              }),
              "nosuch is missing or divergent. Resolve it before planning an update.");
    setRepoConfig("revset-aliases.\"trunk()\"", "commit_id(" + repo.commitID(first) +
                                                    ") | commit_id(" + repo.commitID(second) + ")");
    EXPECT_EQ(refusal([&] { client.planLocalStackUpdate({"inside"}, {}); }),
              "Configured trunk must resolve to one commit.");

    // With only the tag immutable, a trunk below the selected tip is history
    // that the rebase would move; a lost base is refused before that.
    setRepoConfig("revset-aliases.\"trunk()\"", "commit_id(" + repo.commitID(first) + ")");
    setRepoConfig("revset-aliases.\"immutable_heads()\"", "tags()");
    EXPECT_EQ(refusal([&] { client.planLocalStackUpdate({"inside"}, {}); }),
              "Trunk is inside the history selected for rebasing.");
    EXPECT_EQ(refusal([&] {
                  client.planLocalStackUpdate({"inside", "lost"}, {});
              }),
              "Update would rewrite protected history or remove an existing base dependency.");
    expectUntouched(repo, before);
}

TEST(LocalStackUpdateExecution, RebasesTwoStacksOntoAnAdvancedTrunkAndVerifiesThem) {
    TestRepo repo;
    const auto base = repo.publishMain();
    repo.newChange({"main"});
    const auto alpha1 = repo.commit("alpha 1", {{"alpha1.txt", "1\n"}});
    const auto alpha2 = repo.commit("alpha 2", {{"alpha2.txt", "2\n"}});
    const auto alpha3 = repo.commit("alpha 3", {{"alpha3.txt", "3\n"}});
    repo.bookmark("alpha", alpha3);
    repo.newChange({"main"});
    const auto oneOff1 = repo.commit("one-off 1", {{"o1.txt", "1\n"}});
    const auto oneOff2 = repo.commit("one-off 2", {{"o2.txt", "2\n"}});
    const auto defaultCopy = repo.changeID("@");
    const auto secondRoot = repo.addWorkspace("second", alpha3);
    repo.jjIn(secondRoot, {"edit", alpha2});
    repo.advanceOrigin("main", "upstream work", {{"UPSTREAM", "up\n"}});
    repo.fetch();
    const auto trunk = repo.commitID("trunk()");
    ASSERT_NE(trunk, repo.commitID(base));

    const JJClient client(repo.root());
    const auto plan = client.planLocalStackUpdate({"alpha"}, {oneOff2});

    EXPECT_EQ(plan.operationID, repo.currentOperationID());
    EXPECT_EQ(plan.destination.commitID, trunk);
    ASSERT_EQ(plan.oneOffTips.size(), 1U);
    EXPECT_EQ(plan.oneOffTips.front().changeID, oneOff2);
    EXPECT_EQ(changeSet(plan.roots), (std::set<std::string>{alpha1, oneOff1}));
    EXPECT_TRUE(std::is_sorted(plan.roots.begin(), plan.roots.end(),
                               [](const JJCommit& left, const JJCommit& right) {
                                   return left.commitID < right.commitID;
                               }));
    EXPECT_EQ(changeSet(plan.affectedCommits),
              (std::set<std::string>{alpha1, alpha2, alpha3, oneOff1, oneOff2, defaultCopy}));
    EXPECT_EQ(names(plan.affectedWorkspaces), (std::vector<std::string>{"default", "second"}));
    EXPECT_EQ(plan.affectedWorkspaces.back().changeID, alpha2);
    EXPECT_TRUE(plan.preservedDependencies.empty());
    EXPECT_TRUE(plan.hasChanges());
    const auto oldAlpha2 = byChange(plan.affectedCommits, alpha2).commitID;

    const auto receipt = client.executeLocalStackUpdate(plan);

    const auto current = repo.currentOperationID();
    EXPECT_EQ(receipt.beforeOperationID, plan.operationID);
    EXPECT_EQ(receipt.afterOperationID, current);
    EXPECT_NE(current, plan.operationID);
    EXPECT_EQ(receipt.commandError, std::nullopt);
    EXPECT_EQ(receipt.verificationWarnings, std::vector<std::string>{});
    EXPECT_EQ(receipt.conflictedChangeIDs, std::vector<std::string>{});
    EXPECT_EQ(receipt.affectedWorkspaceNames, (std::vector<std::string>{"default", "second"}));

    // Both stacks stand on the new trunk; the middle commit was rewritten and
    // its child follows it.
    EXPECT_EQ(repo.commitID(alpha1 + "-"), trunk);
    EXPECT_EQ(repo.commitID(alpha2 + "-"), repo.commitID(alpha1));
    EXPECT_EQ(repo.commitID(alpha3 + "-"), repo.commitID(alpha2));
    EXPECT_NE(repo.commitID(alpha2), oldAlpha2);
    EXPECT_EQ(repo.commitID(oneOff1 + "-"), trunk);
    EXPECT_EQ(repo.commitID(oneOff2 + "-"), repo.commitID(oneOff1));
    EXPECT_EQ(repo.commitID("alpha"), repo.commitID(alpha3));
    EXPECT_EQ(repo.changeID("second@"), alpha2);
    EXPECT_EQ(repo.changeID("default@"), defaultCopy);
    EXPECT_EQ(repo.changeID("default@-"), oneOff2);

    const auto loaded = OperationJournal<LocalStackUpdatePlan>(repo.root()).load();
    EXPECT_TRUE(loaded.warnings.empty());
    ASSERT_EQ(loaded.records.size(), 1U);
    EXPECT_EQ(loaded.records.front().plan, plan);
    EXPECT_EQ(loaded.records.front().receipt, receipt);
    EXPECT_EQ(loaded.records.front().steps, std::nullopt);
    EXPECT_EQ(loaded.records.front().recoveryGuidance(current), verifiedResult);
}

TEST(LocalStackUpdateExecution, AStackAlreadyOnTrunkLeavesAReceiptWithoutARebase) {
    TestRepo repo;
    repo.publishMain();
    repo.newChange({"main"});
    const auto settled = repo.commit("settled", {{"settled.txt", "s\n"}});
    repo.bookmark("settled", settled);

    const JJClient client(repo.root());
    const auto plan = client.planLocalStackUpdate({"settled"}, {});
    EXPECT_FALSE(plan.hasChanges());
    const auto before = stateOf(repo);

    std::vector<Record> persisted;
    const auto receipt = client.executeLocalStackUpdate(
        plan, [&](const Record& record) { persisted.push_back(record); });

    EXPECT_EQ(receipt.afterOperationID, plan.operationID);
    EXPECT_EQ(receipt.beforeOperationID, plan.operationID);
    EXPECT_EQ(receipt.commandError, std::nullopt);
    EXPECT_EQ(receipt.verificationWarnings, std::vector<std::string>{});
    EXPECT_EQ(repo.currentOperationID(), plan.operationID);
    EXPECT_EQ(graph(repo), before.commits);

    ASSERT_EQ(persisted.size(), 2U);
    EXPECT_EQ(persisted[0].receipt, std::nullopt);
    EXPECT_EQ(persisted[0].plan, plan);
    EXPECT_EQ(persisted[1].id, persisted[0].id);
    EXPECT_EQ(persisted[1].startedAt, persisted[0].startedAt);
    EXPECT_EQ(persisted[1].receipt, receipt);
    EXPECT_EQ(persisted[1].recoveryGuidance(plan.operationID), verifiedResult);
}

TEST(LocalStackUpdateStaleness, RefusesExpiredChangedAndForeignPreviews) {
    TestRepo repo;
    const auto base = repo.publishMain();
    repo.newChange({"main"});
    const auto stale1 = repo.commit("stale 1", {{"s1.txt", "1\n"}});
    const auto stale2 = repo.commit("stale 2", {{"s2.txt", "2\n"}});
    repo.bookmark("stale", stale2);
    repo.advanceOrigin("main", "upstream work", {{"UPSTREAM", "up\n"}});
    repo.fetch();
    const auto other = repo.addWorkspace("other", "main");

    const JJClient client(repo.root());
    std::vector<Record> persisted;
    const auto persist = [&](const Record& record) {
        persisted.push_back(record);
    };
    const auto expectRefusedWith = [&](const std::string& words, const LocalStackUpdatePlan& plan) {
        EXPECT_EQ(refusal([&] { client.executeLocalStackUpdate(plan, persist); }), words);
    };
    const auto baseID = repo.commitID(base);

    // Each change from the command line expires the preview made before it.
    const std::vector<std::function<void()>> changes{
        [&] {
            repo.jj({"describe", "-r", stale2, "-m", "stale 2 reworded"});
        },
        [&] {
            repo.jj({"new", "--no-edit", "main", "-m", "elsewhere"});
        },
        [&] { repo.writeFile("edited.txt", "pending edit\n"); },
    };
    for (const auto& change : changes) {
        const auto plan = client.planLocalStackUpdate({"stale"}, {});
        change();
        const auto stack = graph(repo, "all() ~ @");
        expectRefusedWith(expiredWords, plan);
        EXPECT_EQ(graph(repo, "all() ~ @"), stack);
        EXPECT_EQ(repo.commitID(stale1 + "-"), baseID);
    }

    // A plan of another workspace of the same repository is foreign here.
    const auto foreign = JJClient(other).planLocalStackUpdate({"stale"}, {});
    EXPECT_EQ(foreign.repositoryID, client.planLocalStackUpdate({"stale"}, {}).repositoryID);
    expectRefusedWith(foreignWords, foreign);

    // Another trunk() moves no operation; replanning sees it.
    const auto plan = client.planLocalStackUpdate({"stale"}, {});
    repo.jj({"config", "set", "--repo", "revset-aliases.\"trunk()\"", "commit_id(" + baseID + ")"});
    expectRefusedWith(scopeWords, plan);
    EXPECT_EQ(repo.currentOperationID(), plan.operationID);
    EXPECT_EQ(client.planLocalStackUpdate({"stale"}, {}).destination.commitID, baseID);

    EXPECT_TRUE(persisted.empty());
    EXPECT_EQ(repo.commitID(stale1 + "-"), baseID);
}

TEST(LocalStackUpdateFaults, FailuresAfterTheChecksEndInTheReceipt) {
    TestRepo repo;
    const auto base = repo.publishMain();
    repo.newChange({"main"});
    const auto fault1 = repo.commit("fault 1", {{"f1.txt", "1\n"}});
    const auto fault2 = repo.commit("fault 2", {{"f2.txt", "2\n"}});
    repo.bookmark("fault", fault2);
    repo.advanceOrigin("main", "upstream work", {{"UPSTREAM", "up\n"}});
    repo.fetch();
    const auto baseID = repo.commitID(base);
    const auto trunk = repo.commitID("trunk()");
    const JJClient client(repo.root());
    const std::string unexpectedRoot = "Unexpected parents on " + shortID(fault1);

    {  // The first save fails: thrown, nothing has run.
        const auto plan = client.planLocalStackUpdate({"fault"}, {});
        int calls = 0;
        EXPECT_THROW(client.executeLocalStackUpdate(plan,
                                                    [&](const Record& /*record*/) {
                                                        ++calls;
                                                        throw std::runtime_error("disk full");
                                                    }),
                     std::runtime_error);
        EXPECT_EQ(calls, 1);
        EXPECT_EQ(repo.currentOperationID(), plan.operationID);
        EXPECT_EQ(repo.commitID(fault1 + "-"), baseID);
    }

    {  // Cancelled before the first save: thrown, nothing saved.
        const auto plan = client.planLocalStackUpdate({"fault"}, {});
        std::stop_source source;
        source.request_stop();
        std::vector<Record> persisted;
        EXPECT_THROW(client.executeLocalStackUpdate(
                         plan, [&](const Record& record) { persisted.push_back(record); },
                         source.get_token()),
                     CancellationError);
        EXPECT_TRUE(persisted.empty());
        EXPECT_EQ(repo.currentOperationID(), plan.operationID);
    }

    {  // The repository moves while the first receipt is saved: no rebase,
       // and verification reports what the other process did.
        const auto plan = client.planLocalStackUpdate({"fault"}, {});
        const auto workingCopy = repo.changeID("@");
        std::vector<Record> persisted;
        const auto receipt = client.executeLocalStackUpdate(plan, [&](const Record& record) {
            if (persisted.empty()) {
                repo.bookmark("fault", fault1);
                repo.jj({"abandon", "-r", workingCopy});
            }
            persisted.push_back(record);
        });
        const auto current = repo.currentOperationID();
        EXPECT_EQ(receipt.commandError, savingWords);
        EXPECT_EQ(receipt.afterOperationID, current);
        EXPECT_NE(current, plan.operationID);
        const std::map<std::string, std::string> findings{
            {workingCopy, "Missing or divergent rewritten change " + shortID(workingCopy)},
            {fault2, "A bookmark no longer follows " + shortID(fault2)},
            {fault1, unexpectedRoot}};
        std::vector<std::string> expected;
        for (const auto& commit : plan.affectedCommits) {
            expected.push_back(findings.at(commit.changeID));
        }
        expected.emplace_back("Working-copy identity changed in default");
        EXPECT_EQ(receipt.verificationWarnings, expected);
        EXPECT_EQ(repo.commitID(fault1 + "-"), baseID);
        ASSERT_EQ(persisted.size(), 2U);
        EXPECT_EQ(persisted[1].receipt, receipt);
        EXPECT_EQ(persisted[1].recoveryGuidance(current), needsInspection);
        repo.bookmark("fault", fault2);
    }

    {  // jj's rebase fails: its description is the command error.
        const auto plan = client.planLocalStackUpdate({"fault"}, {});
        const auto before = stateOf(repo);
        const ScopedEnvironment path("PATH");
        const ScopedEnvironment real("VORDA_REAL_JJ");
        const ScopedEnvironment failing("VORDA_FAIL_JJ_SUBCOMMAND");
        real.set(realJJ());
        path.prependPath(toolFolder("failing-subcommand-jj"));
        failing.set("rebase");
        std::vector<Record> persisted;
        const LogCapture log;
        const auto receipt = client.executeLocalStackUpdate(
            plan, [&](const Record& record) { persisted.push_back(record); });
        EXPECT_EQ(receipt.commandError, "jj " + text::join(plan.commandArguments(), " ") +
                                            " failed (1): injected failure\n");
        EXPECT_TRUE(log.contains("[jj:error]"));
        EXPECT_EQ(receipt.afterOperationID, plan.operationID);
        EXPECT_EQ(receipt.verificationWarnings, std::vector<std::string>{unexpectedRoot});
        expectUntouched(repo, before);
        EXPECT_EQ(repo.currentOperationID(), plan.operationID);
        ASSERT_EQ(persisted.size(), 2U);
        EXPECT_EQ(persisted[1].receipt, receipt);
        EXPECT_EQ(persisted[1].recoveryGuidance(plan.operationID), needsInspection);
    }

    {  // Only the final save fails: the rebase stands, the file has no receipt.
        const auto plan = client.planLocalStackUpdate({"fault"}, {});
        std::vector<Record> onDisk;
        const auto receipt = client.executeLocalStackUpdate(plan, [&](const Record& record) {
            if (record.receipt) {
                throw std::runtime_error("disk full");
            }
            onDisk.push_back(record);
        });
        EXPECT_EQ(receipt.commandError, std::nullopt);
        EXPECT_EQ(receipt.verificationWarnings,
                  std::vector<std::string>{"Could not save final receipt: disk full. Inspect the "
                                           "operation log before retrying."});
        EXPECT_EQ(receipt.afterOperationID, repo.currentOperationID());
        EXPECT_EQ(repo.commitID(fault1 + "-"), trunk);
        EXPECT_EQ(repo.commitID("fault"), repo.commitID(fault2));
        ASSERT_EQ(onDisk.size(), 1U);
        EXPECT_EQ(onDisk[0].receipt, std::nullopt);
        EXPECT_EQ(onDisk[0].recoveryGuidance(repo.currentOperationID()), noFinalOutcome);
    }
}

TEST(LocalStackUpdatePlanValues, DerivedValuesAndSummaryOfARealPlan) {
    TestRepo repo;
    repo.publishMain();
    repo.newChange({"main"});
    const auto lower = repo.commit("lower", {{"lower.txt", "1\n"}});
    const auto upper = repo.commit("upper", {{"upper.txt", "2\n"}});
    repo.bookmark("lower", lower);
    repo.bookmark("upper", upper);
    repo.push("upper");
    repo.newChange({"main"});
    const auto oneOff1 = repo.commit("one-off 1", {{"o1.txt", "1\n"}});
    const auto oneOff2 = repo.commit("one-off 2", {{"o2.txt", "2\n"}});
    repo.advanceOrigin("main", "upstream work", {{"UPSTREAM", "up\n"}});
    repo.fetch();
    const auto trunk = repo.commitID("trunk()");
    // A merge of the upper stack with trunk moves along and keeps trunk as
    // its second parent.
    const auto merge = repo.newChange({upper, trunk}, "merge with trunk");

    const JJClient client(repo.root());
    const auto plan = client.planLocalStackUpdate({"upper", "lower"}, {oneOff2});

    ASSERT_EQ(plan.roots.size(), 2U);
    EXPECT_EQ(changeSet(plan.roots), (std::set<std::string>{lower, oneOff1}));
    const std::vector<std::string> arguments{"rebase",
                                             "-s",
                                             "commit_id(" + plan.roots[0].commitID + ")",
                                             "-s",
                                             "commit_id(" + plan.roots[1].commitID + ")",
                                             "-d",
                                             "commit_id(" + trunk + ")"};
    EXPECT_EQ(plan.commandArguments(), arguments);
    EXPECT_EQ(plan.commandLine(), "jj rebase -s 'commit_id(" + plan.roots[0].commitID +
                                      ")' -s 'commit_id(" + plan.roots[1].commitID +
                                      ")' -d 'commit_id(" + trunk + ")'");
    EXPECT_TRUE(plan.hasChanges());
    ASSERT_EQ(plan.preservedDependencies.size(), 1U);
    EXPECT_EQ(plan.preservedDependencies.front().commitID, trunk);
    EXPECT_EQ(plan.protectedDependencies(), plan.preservedDependencies);
    EXPECT_EQ(plan.affectedBookmarkNames(), (std::vector<std::string>{"lower", "upper"}));
    EXPECT_EQ(plan.publishedCommitCount(), 1U);
    EXPECT_EQ(names(plan.affectedWorkspaces), std::vector<std::string>{"default"});

    const LocalStackRebaseSummary summary(plan);
    ASSERT_EQ(summary.stacks.size(), 3U);
    const auto commitsOf = [](const LocalStackRebaseSummary::Stack& stack) {
        std::vector<std::string> ids;
        for (const auto& commit : stack.commits) {
            ids.push_back(commit.changeID);
        }
        return ids;
    };
    EXPECT_EQ(summary.stacks[0].id, "bookmark:lower");
    EXPECT_EQ(summary.stacks[0].bookmarkName, "lower");
    EXPECT_EQ(summary.stacks[0].tip.changeID, lower);
    EXPECT_EQ(commitsOf(summary.stacks[0]), std::vector<std::string>{lower});
    EXPECT_EQ(summary.stacks[0].sharedCommitCount, 1U);
    EXPECT_EQ(summary.stacks[1].id, "bookmark:upper");
    EXPECT_EQ(summary.stacks[1].tip.changeID, upper);
    EXPECT_EQ(commitsOf(summary.stacks[1]), (std::vector<std::string>{upper, lower}));
    EXPECT_EQ(summary.stacks[1].sharedCommitCount, 1U);
    EXPECT_EQ(summary.stacks[2].id, "change:" + oneOff2);
    EXPECT_EQ(summary.stacks[2].bookmarkName, std::nullopt);
    EXPECT_EQ(commitsOf(summary.stacks[2]), (std::vector<std::string>{oneOff2, oneOff1}));
    EXPECT_EQ(summary.stacks[2].sharedCommitCount, 0U);
    EXPECT_EQ(summary.movingCommitCount, 4U);
    EXPECT_EQ(summary.sharedCommitCount, 1U);
    ASSERT_EQ(summary.followingCommits.size(), 1U);
    EXPECT_EQ(summary.followingCommits.front().changeID, merge);

    // The rebase keeps the merge's second parent where it is.
    const auto receipt = client.executeLocalStackUpdate(plan, [](const Record& /*record*/) {});
    EXPECT_EQ(receipt.verificationWarnings, std::vector<std::string>{});
    EXPECT_EQ(parentsOf(repo, merge), repo.commitID(upper) + "," + trunk);
}

JJCommit node(const std::string& commitID, std::vector<std::string> parents, bool immutable = false,
              const std::vector<std::string>& bookmarks = {}) {
    JJCommit commit;
    commit.commitID = commitID;
    commit.changeID = "change-" + commitID;
    commit.parents = std::move(parents);
    commit.immutable = immutable;
    for (const auto& name : bookmarks) {
        JJCommitRef ref;
        ref.name = name;
        ref.target = {commitID};
        commit.localBookmarks.push_back(ref);
    }
    return commit;
}

std::map<std::string, JJCommit> byID(const std::vector<JJCommit>& commits) {
    std::map<std::string, JJCommit> map;
    for (const auto& commit : commits) {
        map.emplace(commit.commitID, commit);
    }
    return map;
}

TEST(LocalStackUpdatePlanValues, LinearStacksAndUnbookmarkedTipsOfHandBuiltGraphs) {
    const auto commits = byID({
        node("trunk", {"old"}, true),
        node("release", {"trunk", "other"}, true),
        node("a1", {"trunk"}),
        node("a2", {"a1"}),
        node("merge", {"a1", "trunk"}),
        node("above-merge", {"merge"}),
        node("cycle-1", {"cycle-2"}),
        node("cycle-2", {"cycle-1"}),
        node("orphan", {"unknown"}),
        node("parentless", {}),
        node("on-release", {"release"}),
        node("feature", {"trunk"}, false, {"feature"}),
        node("above-feature", {"feature"}),
        node("theirs", {"trunk"}),
        node("above-theirs", {"theirs"}),
        node("single", {"trunk"}),
    });
    const auto linear = [&](const std::string& id) {
        return LocalStackUpdatePlan::isLinearLocalStack(commits.at(id), commits);
    };
    EXPECT_TRUE(linear("a1"));
    EXPECT_TRUE(linear("a2"));
    EXPECT_TRUE(linear("on-release"));  // the immutable base may be a merge
    EXPECT_FALSE(linear("trunk"));
    EXPECT_FALSE(linear("merge"));
    EXPECT_FALSE(linear("above-merge"));
    EXPECT_FALSE(linear("cycle-1"));
    EXPECT_FALSE(linear("orphan"));
    EXPECT_FALSE(linear("parentless"));

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
