// Planned rewrites through the session: a plan is a result that changes
// nothing, its execution a completed result that is reported even when the
// read after it fails, and the journals and inspection as the session's reads.

#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "feature/session/RepoSession.h"
#include "feature/wire/CommandWire.h"
#include "feature/wire/ResultWire.h"
#include "jjkit/support/Text.h"
#include "support/ScopedEnvironment.h"
#include "support/TestRepo.h"

namespace vorda {
namespace {

using testing::ScopedEnvironment;
using testing::TestRepo;

std::string parentsOf(const TestRepo& repo, const std::string& revision) {
    return repo.jj({"log", "--no-graph", "--ignore-working-copy", "-r", revision, "-T",
                    "parents.map(|p| p.commit_id()).join(\",\")"});
}

// A bookmark `feat` with one commit on a trunk that origin has since moved.
struct StackBehindTrunk {
    TestRepo repo;
    std::string feature;
    std::string oldTrunk;

    StackBehindTrunk() {
        oldTrunk = repo.commitID("change_id(" + repo.publishMain() + ")");
        feature = repo.commit("feature work", {{"feature.txt", "feature\n"}});
        repo.bookmark("feat", feature);
        repo.advanceOrigin("main", "upstream work", {{"upstream.txt", "up\n"}});
        repo.fetch();
    }
};

template <typename Case>
const Case& resultCase(const RepoCommandResult& result) {
    const auto* found = std::get_if<Case>(&result.value);
    if (found == nullptr) {
        throw std::runtime_error("unexpected result " + encodeResult(result).dump());
    }
    return *found;
}

TEST(RewriteCommands, APlanSentAsTextIsExecutedByALaterCommandAndLeavesItsReceipt) {
    StackBehindTrunk setup;
    const auto& repo = setup.repo;
    const auto session = RepoSession::open(repo.root());
    session->refreshSnapshot();
    const auto readsBefore = session->snapshotReadGeneration();

    const auto planned = session->execute(RepoCommand::PlanLocalStackUpdate{{"feat", "feat"}, {}});
    const auto& plan = resultCase<RepoCommandResult::LocalStackUpdatePlan>(planned).plan;
    EXPECT_EQ(plan.bookmarkNames, std::vector<std::string>{"feat"});
    EXPECT_TRUE(plan.hasChanges());
    // Planning reads but takes no snapshot of the session and rewrites nothing.
    EXPECT_EQ(session->snapshotReadGeneration(), readsBefore);
    EXPECT_EQ(parentsOf(repo, "feat"), setup.oldTrunk);

    // The plan goes out as text and comes back as a command, as between two
    // processes.
    const auto text = encodeCommand(RepoCommand::ExecuteLocalStackUpdate{plan}).dump();
    const auto executed = session->execute(parseCommand(text));
    const auto& receipt =
        resultCase<RepoCommandResult::LocalStackUpdateCompleted>(executed).receipt;
    EXPECT_FALSE(receipt.commandError.has_value());
    EXPECT_TRUE(receipt.verificationWarnings.empty());
    EXPECT_EQ(receipt.afterOperationID, repo.currentOperationID());
    EXPECT_EQ(parentsOf(repo, "feat"), repo.commitID("main@origin"));
    // The read after the rewrite went out on the stream and into the cache.
    EXPECT_GT(session->snapshotReadGeneration(), readsBefore);
    EXPECT_EQ(session->lastSnapshot()->repoState.bookmarks.at("feat").commitIDs,
              std::vector<std::string>{repo.commitID("feat")});

    const auto receipts = session->loadUpdateReceipts();
    ASSERT_EQ(receipts.records.size(), 1U);
    EXPECT_TRUE(receipts.warnings.empty());
    EXPECT_EQ(receipts.records.front().receipt, receipt);
    EXPECT_EQ(receipts.records.front().plan, plan);
    EXPECT_TRUE(session->loadRoutingReceipts().records.empty());
    EXPECT_TRUE(session->loadAppendReceipts().records.empty());

    // A stale plan is refused as a thrown error: nothing has been saved.
    EXPECT_THROW(session->execute(RepoCommand::ExecuteLocalStackUpdate{plan}), JJError);
    EXPECT_EQ(session->loadUpdateReceipts().records.size(), 1U);
}

TEST(RewriteCommands, AFailedReadAfterACompletedRewriteStillReportsTheReceipt) {
    StackBehindTrunk setup;
    const auto& repo = setup.repo;
    const auto session = RepoSession::open(repo.root());
    const auto planned = session->execute(RepoCommand::PlanLocalStackUpdate{{"feat"}, {}});
    const auto plan = resultCase<RepoCommandResult::LocalStackUpdatePlan>(planned).plan;
    const auto readsBefore = session->snapshotReadGeneration();

    // Every read pinned to an operation works; the session's own refresh,
    // which lists the workspaces as they are now, fails.
    const ScopedEnvironment realJJ("VORDA_REAL_JJ");
    realJJ.set(
        std::string(text::trimWhitespace(testing::runChecked({"sh", "-c", "command -v jj"}))));
    const ScopedEnvironment failing("VORDA_FAIL_JJ_SUBCOMMAND");
    failing.set("workspace");
    const ScopedEnvironment unpinned("VORDA_FAIL_JJ_UNPINNED_ONLY");
    unpinned.set("1");
    const ScopedEnvironment path("PATH");
    path.prependPath(std::string(VORDA_TEST_TOOLS_DIR) + "/failing-subcommand-jj");

    RepoCommandResult executed = RepoCommandResult::toast("not run");
    ASSERT_NO_THROW(executed = session->execute(RepoCommand::ExecuteLocalStackUpdate{plan}));
    const auto& receipt =
        resultCase<RepoCommandResult::LocalStackUpdateCompleted>(executed).receipt;
    EXPECT_TRUE(receipt.succeeded()) << encodeResult(executed).dump();
    EXPECT_EQ(parentsOf(repo, "feat"), repo.commitID("main@origin"));
    // The read started and failed; nothing replaced the cached snapshot.
    EXPECT_EQ(session->snapshotReadGeneration(), readsBefore + 1);
}

TEST(RewriteCommands, AnAppendThroughTheSessionIsInspectedFromItsRecord) {
    TestRepo repo;
    const auto base = repo.publishMain();
    const auto f1 = repo.commit("feature one", {{"feature.txt", "one\n"}});
    repo.bookmark("feat", f1);
    repo.newChange({base}, "");
    const auto o1 = repo.commit("other one", {{"other.txt", "other\n"}});
    repo.bookmark("other", o1);
    // The integration environment: a merge of both, with finished work on it.
    repo.newChange({f1, o1}, "wip: integration");
    repo.jj({"new"});
    const auto work = repo.commit("finished work", {{"work.txt", "work\n"}});

    const auto session = RepoSession::open(repo.root());
    const auto planned = session->execute(RepoCommand::PlanFeatureAppend{{work}, "feat"});
    const auto& plan = resultCase<RepoCommandResult::FeatureAppendPlan>(planned).plan;
    EXPECT_EQ(plan.bookmarkAdvance.targetChangeID, work);

    const auto executed = session->execute(RepoCommand::ExecuteFeatureAppend{plan});
    const auto& record = resultCase<RepoCommandResult::FeatureAppendCompleted>(executed).record;
    ASSERT_TRUE(record.receipt.has_value());
    EXPECT_TRUE(record.receipt->succeeded()) << encodeResult(executed).dump();
    ASSERT_TRUE(record.steps.has_value());
    EXPECT_EQ(record.steps->size(), 2U);
    EXPECT_EQ(repo.changeID("feat"), work);
    EXPECT_EQ(parentsOf(repo, "feat"), repo.commitID("change_id(" + f1 + ")"));

    const auto appends = session->loadAppendReceipts();
    ASSERT_EQ(appends.records.size(), 1U);
    const auto inspection = session->inspectFeatureAppend(appends.records.front());
    EXPECT_EQ(inspection.topology, FeatureAppendInspection::Topology::routed);
    EXPECT_EQ(inspection.bookmark, FeatureAppendInspection::BookmarkState::advanced);
    EXPECT_EQ(inspection.recordID, record.id);
    EXPECT_FALSE(inspection.changedSinceCheckpoint);
}

}  // namespace
}  // namespace vorda
