// Planned rewrites through the session: a plan is a result that changes
// nothing, its execution a completed result that is reported even when the
// read after it fails, and the journals as the session's reads. An append and
// its inspection go through the session in the vorda-cli tests.

#include <string>
#include <tuple>

#include <gtest/gtest.h>

#include "feature/session/RepoSession.h"
#include "feature/wire/CommandWire.h"
#include "feature/wire/ResultWire.h"
#include "support/TestRepo.h"
#include "support/TestTools.h"

namespace vorda {
namespace {

using testing::TestRepo;

template <typename Case>
const Case& resultCase(const RepoCommandResult& result) {
    const auto* found = std::get_if<Case>(&result.value);
    if (found == nullptr) {
        throw std::runtime_error("unexpected result " + encodeResult(result).dump());
    }
    return *found;
}

TEST(RewriteCommands, APlanSentAsTextIsExecutedByALaterCommandAndLeavesItsReceipt) {
    // Two bookmarks with one commit each on a trunk that has since moved on.
    TestRepo repo;
    repo.draw(R"(
        origin
        B <- root "base" README=base
        T <- B "upstream work" upstream.txt=up [main]
        push main
        F <- B "feature work" feature.txt=feature [feat]
        G <- B "other work" other.txt=other [other]
    )");
    const auto session = RepoSession::open(repo.root());
    session->refreshSnapshot();
    const auto readsBefore = session->snapshotReadGeneration();

    const auto planned = session->execute(RepoCommand::PlanLocalStackUpdate{{"feat", "feat"}, {}});
    const auto& plan = resultCase<RepoCommandResult::LocalStackUpdatePlan>(planned).plan;
    EXPECT_EQ(plan.bookmarkNames, std::vector<std::string>{"feat"});
    // Planning reads but takes no snapshot of the session and rewrites nothing.
    EXPECT_EQ(session->snapshotReadGeneration(), readsBefore);
    EXPECT_EQ(repo.parents("F"), std::vector<std::string>{"B"});

    // The plan goes out as text and comes back as a command, as between two
    // processes.
    const auto text = encodeCommand(RepoCommand::ExecuteLocalStackUpdate{plan}).dump();
    const auto executed = session->execute(parseCommand(text));
    const auto& receipt =
        resultCase<RepoCommandResult::LocalStackUpdateCompleted>(executed).receipt;
    EXPECT_TRUE(receipt.succeeded()) << encodeResult(executed).dump();
    EXPECT_EQ(receipt.afterOperationID, repo.currentOperationID());
    EXPECT_EQ(repo.parents("F"), std::vector<std::string>{"T"});
    // The read after the rewrite went out on the stream and into the cache.
    EXPECT_GT(session->snapshotReadGeneration(), readsBefore);
    EXPECT_EQ(session->lastSnapshot()->repoState.bookmarks.at("feat").commitIDs,
              std::vector<std::string>{repo.commitID("feat")});

    // The receipt's own record is listed in the vorda-cli tests.
    EXPECT_TRUE(session->loadRoutingReceipts().records.empty());
    EXPECT_TRUE(session->loadAppendReceipts().records.empty());

    // A stale plan is refused as a thrown error: nothing has been saved.
    EXPECT_THROW(session->execute(RepoCommand::ExecuteLocalStackUpdate{plan}), JJError);
    EXPECT_EQ(session->loadUpdateReceipts().records.size(), 1U);

    // Every read pinned to an operation works; the session's own refresh
    // after the rewrite, which lists the workspaces as they are now, fails.
    // The completed rewrite is reported all the same.
    const auto other = resultCase<RepoCommandResult::LocalStackUpdatePlan>(
                           session->execute(RepoCommand::PlanLocalStackUpdate{{"other"}, {}}))
                           .plan;
    const auto readsBeforeFailure = session->snapshotReadGeneration();
    const auto otherBefore = repo.commitID("other");
    const testing::FailingJJScope failing("workspace", /*unpinnedOnly=*/true);
    RepoCommandResult completed = RepoCommandResult::toast("not run");
    ASSERT_NO_THROW(completed = session->execute(RepoCommand::ExecuteLocalStackUpdate{other}));
    EXPECT_TRUE(
        resultCase<RepoCommandResult::LocalStackUpdateCompleted>(completed).receipt.succeeded())
        << encodeResult(completed).dump();
    EXPECT_EQ(repo.parents("G"), std::vector<std::string>{"T"});
    // The read started and failed; nothing replaced the cached snapshot,
    // which still has the bookmark where it was.
    EXPECT_EQ(session->snapshotReadGeneration(), readsBeforeFailure + 1);
    EXPECT_EQ(session->lastSnapshot()->repoState.bookmarks.at("other").commitIDs,
              std::vector<std::string>{otherBefore});
}

}  // namespace
}  // namespace vorda
