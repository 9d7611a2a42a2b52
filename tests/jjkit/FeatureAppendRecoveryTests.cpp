// Recovery of an append that stopped between its two steps: the bookmark
// move it left undone, planned from an inspection, run once, verified.
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "jjkit/client/JJClient.h"
#include "jjkit/rewrites/FeatureAppendPlan.h"
#include "jjkit/rewrites/FeatureAppendRecoveryPlan.h"
#include "jjkit/rewrites/OperationJournal.h"
#include "jjkit/rewrites/PlannedFlow.h"
#include "support/KilledAtHook.h"
#include "support/Refusal.h"
#include "support/RewriteTestData.h"
#include "support/TestRepo.h"
#include "support/TestTools.h"

namespace vorda {
namespace {

namespace fs = std::filesystem;
using testing::refusal;
using Source = OperationRecord<FeatureAppendPlan>;
using Recovery = OperationRecord<FeatureAppendRecoveryPlan>;

/// The feature `feat` (F1, F2) and work W1-W2 under a composition M; an
/// append of the work onto `feat` runs its first step only.
struct InterruptedAppend {
    testing::TestRepo repo;
    JJClient client{repo.root()};
    std::string drawn;

    /// With `conflicting`, W1 changes the file T changed, so it conflicts
    /// once moved onto the feature.
    explicit InterruptedAppend(bool conflicting = false) {
        repo.draw(testing::appendPicture(conflicting));
        drawn = repo.currentOperationID();
    }

    FeatureAppendPlan appendPlan() const {
        return client.planFeatureAppend({repo.id("W1"), repo.id("W2")}, "feat");
    }

    /// The append with its bookmark step failing: the chain moved, the
    /// bookmark where it was.
    Source stopBeforeBookmark() const {
        repo.jj({"op", "restore", drawn});
        fs::remove_all(OperationJournal<FeatureAppendPlan>(repo.root()).directory);
        const auto plan = appendPlan();
        const testing::FailingJJScope failing("bookmark");
        return client.executeFeatureAppend(plan, [](const Source&) {}, {});
    }
};

TEST(FeatureAppendRecovery, AnAppendKilledBetweenItsStepsIsFinishedByOneBookmarkMove) {
    const InterruptedAppend env;
    const auto plan = env.appendPlan();
    const OperationJournal<FeatureAppendPlan> appends(env.repo.root());
    ASSERT_TRUE(testing::killedAtHook([&](const std::function<void()>& hook) {
        env.client.executeFeatureAppend(
            plan, [&](const Source& record) { appends.save(record); }, hook);
    }));

    const auto source = testing::onlyRecord<FeatureAppendPlan>(env.repo.root());
    ASSERT_FALSE(source.receipt.has_value());
    ASSERT_EQ(testing::rebaseCount(env.repo), 1U);
    const auto movedW2 = env.repo.commitID(env.repo.id("W2"));
    ASSERT_EQ(env.repo.bookmarkTarget("feat"), "F2");

    const auto recovery = env.client.planFeatureAppendRecovery(source);
    EXPECT_EQ(recovery.sourceRecordID, source.id);
    EXPECT_EQ(recovery.target.commitID, movedW2);
    EXPECT_EQ(testing::sorted(flow::changeIDsOf(recovery.addedFeatureAncestry)),
              testing::sorted({env.repo.id("W1"), env.repo.id("W2")}));
    EXPECT_EQ(recovery.commandArguments(),
              (std::vector<std::string>{"bookmark", "move", "--to", "commit_id(" + movedW2 + ")",
                                        "--", R"(exact:"feat")"}));

    const auto done = env.client.executeFeatureAppendRecovery(recovery, source);
    ASSERT_TRUE(done.receipt.has_value());
    EXPECT_TRUE(done.receipt->succeeded()) << ::testing::PrintToString(*done.receipt);
    EXPECT_EQ(testing::onlyRecord<FeatureAppendRecoveryPlan>(env.repo.root()), done);
    EXPECT_EQ(testing::onlyRecord<FeatureAppendPlan>(env.repo.root()), source);
    // The work was moved once; only the bookmark moved now.
    EXPECT_EQ(testing::rebaseCount(env.repo), 1U);
    EXPECT_EQ(env.repo.bookmarkTarget("feat"), "W2");
    EXPECT_EQ(env.repo.commitID(env.repo.id("W2")), movedW2);
    EXPECT_EQ(testing::graph(env.repo, {"W1", "W2", "M"}), "W1<F2 W2<W1 M<W2,T");
    // Nothing is left to recover.
    EXPECT_EQ(refusal([&] { env.client.planFeatureAppendRecovery(source); }),
              "Recovery requires verified routed topology, the original bookmark target, and no "
              "conflicts. Inspect the partial action first.");
}

TEST(FeatureAppendRecovery, RefusesWhatIsNotOneForwardMoveOfAVerifiedChainAndStalePreviews) {
    const InterruptedAppend env;
    const std::string unverified =
        "Recovery requires verified routed topology, the original bookmark target, and no "
        "conflicts. Inspect the partial action first.";
    struct Case {
        const char* name;
        std::function<void(const testing::TestRepo&)> change;
        std::string expected;
    };
    const Case cases[] = {
        {"work on top of the moved tip",
         [](const auto& repo) {
             repo.jj({"new", "--no-edit", "-m", "top", repo.id("W2")});
         },
         "no refusal"},
        {"bookmark moved back by hand",
         [](const auto& repo) {
             repo.jj({"bookmark", "set", "feat", "--allow-backwards", "-r", repo.id("F1")});
         },
         unverified},
        {"a commit between the old and the moved tip",
         [](const auto& repo) {
             repo.jj({"new", "--no-edit", "-m", "between", "--insert-after", repo.id("F2"),
                      "--insert-before", repo.id("W1")});
         },
         unverified},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.name);
        const auto source = env.stopBeforeBookmark();
        test.change(env.repo);
        EXPECT_EQ(refusal([&] { env.client.planFeatureAppendRecovery(source); }), test.expected);
    }
    // Conflicts in the moved work stop the append before its bookmark step;
    // recovery waits until they are resolved.
    const InterruptedAppend clash(true);
    const auto conflicted = clash.stopBeforeBookmark();
    EXPECT_EQ(refusal([&] { clash.client.planFeatureAppendRecovery(conflicted); }), unverified);

    // A preview made stale from outside, or given another receipt, moves
    // nothing.
    const auto source = env.stopBeforeBookmark();
    const auto recovery = env.client.planFeatureAppendRecovery(source);
    auto other = source;
    other.id = "00000000-0000-0000-0000-000000000000";
    EXPECT_EQ(refusal([&] { env.client.executeFeatureAppendRecovery(recovery, other); }),
              "Recovery preview belongs to another receipt, repository, or workspace.");
    env.repo.jj({"bookmark", "create", "elsewhere", "-r", env.repo.id("B")});
    EXPECT_EQ(refusal([&] { env.client.executeFeatureAppendRecovery(recovery, source); }),
              "Recovery preview expired. Inspect and preview again; no bookmark was moved.");
    EXPECT_EQ(env.repo.bookmarkTarget("feat"), "F2");
    EXPECT_TRUE(
        OperationJournal<FeatureAppendRecoveryPlan>(env.repo.root()).load().records.empty());
}

}  // namespace
}  // namespace vorda
