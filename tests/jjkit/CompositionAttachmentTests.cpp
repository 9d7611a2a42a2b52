// A feature attached to an existing composition as its new last parent, on
// a real repository, with the refusals that keep it to exactly that.
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "jjkit/client/JJClient.h"
#include "jjkit/rewrites/CompositionAttachmentPlan.h"
#include "jjkit/rewrites/OperationJournal.h"
#include "jjkit/rewrites/PlannedFlow.h"
#include "support/Refusal.h"
#include "support/RepoPicture.h"
#include "support/RewriteTestData.h"
#include "support/TestRepo.h"

namespace vorda {
namespace {

using testing::refusal;
using Record = OperationRecord<CompositionAttachmentPlan>;

/// Two features `alpha` and `beta` under the composition M with work W on it
/// under the working copy, and a third feature `feat` beside them.
struct CompositionRepo {
    testing::TestRepo repo;
    JJClient client{repo.root()};
    std::string drawn;

    CompositionRepo() {
        repo.draw(testing::publishedTrunk);
        repo.draw(R"(
            A <- T "a" a.txt=1 [alpha]
            B <- T "b" b.txt=1 [beta]
            F <- T "f" f.txt=1 [feat]
            M <- A B "wip: Vorda composition default"
            W <- M "work" w.txt=1 [work]
            @ <- W
        )");
        drawn = repo.currentOperationID();
    }

    CompositionAttachmentPlan plan(const std::string& bookmark) const {
        return client.planCompositionAttachment(repo.id("M"), bookmark);
    }
    std::vector<Record> records() const {
        return OperationJournal<CompositionAttachmentPlan>(repo.root()).load().records;
    }
};

TEST(CompositionAttachment, AddsTheFeatureLastKeepsEveryParentAndRecordsANoOpToo) {
    const CompositionRepo env;
    const auto& repo = env.repo;
    const auto plan = env.plan("feat");
    EXPECT_FALSE(plan.alreadyIncluded);
    EXPECT_EQ(flow::changeIDsOf(plan.retainedParents),
              (std::vector<std::string>{repo.id("A"), repo.id("B")}));
    EXPECT_EQ(plan.affected.size(), 3U);  // M, W and the working copy on W
    ASSERT_EQ(plan.affectedWorkspaces.size(), 1U);
    EXPECT_EQ(plan.commandArguments().back(), "commit_id(" + repo.commitID(repo.id("F")) + ")");

    const auto done = env.client.executeCompositionAttachment(plan);
    ASSERT_TRUE(done.receipt.has_value());
    EXPECT_TRUE(done.receipt->succeeded()) << ::testing::PrintToString(*done.receipt);
    EXPECT_EQ(testing::graph(repo, {"M", "W", "@"}), "M<A,B,F W<M @<W");
    EXPECT_EQ(repo.bookmarkTarget("work"), "W");

    // Attached already: planned, recorded, nothing run.
    const auto operations = repo.operationCount();
    const auto again = env.plan("feat");
    EXPECT_TRUE(again.alreadyIncluded);
    EXPECT_TRUE(again.affected.empty());
    const auto noOp = env.client.executeCompositionAttachment(again);
    EXPECT_TRUE(noOp.receipt && noOp.receipt->succeeded());
    EXPECT_EQ(repo.operationCount(), operations);
    EXPECT_EQ(env.records().size(), 2U);
}

TEST(CompositionAttachment, RefusesWhatIsNoCompositionACycleProtectedHistoryAndStalePreviews) {
    const CompositionRepo env;
    const auto& repo = env.repo;
    const std::string protectedHistory = "Adding this attachment would rewrite protected history.";
    struct Case {
        const char* name;
        std::function<void()> change;
        std::function<void()> plan;
        std::string expected;
    };
    const Case cases[] = {
        {"a shortened identity", [] {},
         [&] { env.client.planCompositionAttachment(repo.id("M").substr(0, 12), "feat"); },
         "Select a full native composition change identity."},
        {"a single-parent commit", [] {},
         [&] { env.client.planCompositionAttachment(repo.id("W"), "feat"); },
         "Choose an existing composition with fully resolved, distinct parents. Creating a new "
         "composition is not supported."},
        {"a feature above the composition", [] {}, [&] { env.plan("work"); },
         "The feature is the composition or one of its descendants; adding it would create a "
         "cycle."},
        {"an unknown bookmark", [] {}, [&] { env.plan("nowhere"); },
         "Composition and feature bookmark must each resolve to one visible revision."},
        {"an immutable descendant",
         [&] {
             // Trunk published at W protects W and all below it.
             repo.jj({"bookmark", "set", "main", "-r", repo.id("W")});
             repo.jj({"git", "push", "--bookmark", "main"});
         },
         [&] { env.plan("feat"); }, protectedHistory},
        {"the same, already included", [] {}, [&] { env.plan("alpha"); }, "no refusal"},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.name);
        test.change();
        EXPECT_EQ(refusal(test.plan), test.expected);
    }

    repo.jj({"op", "restore", env.drawn});
    const auto plan = env.plan("feat");
    repo.jj({"describe", "-r", repo.id("F"), "-m", "f, reworded elsewhere"});
    EXPECT_EQ(refusal([&] { env.client.executeCompositionAttachment(plan); }),
              "Attachment preview expired. Generate a fresh preview; no attachment was added.");
    EXPECT_EQ(testing::graph(repo, {"M"}), "M<A,B");
    EXPECT_TRUE(env.records().empty());
}

}  // namespace
}  // namespace vorda
