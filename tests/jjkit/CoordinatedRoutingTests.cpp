// Coordinated routing and its inspection and recovery, on one picture: work
// S1-S2 made on base B reaches the feature `feat` (D, T) only through the
// composition R of it and X, which the working copy stands on.
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "jjkit/client/JJClient.h"
#include "jjkit/rewrites/CoordinatedRecoveryPlan.h"
#include "jjkit/rewrites/CoordinatedRoutingPlan.h"
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
using Plan = CoordinatedFeatureRoutingPlan;
using Source = OperationRecord<Plan>;

const std::string notRecoverable =
    "Recovery requires one verified routed stage with no conflicts or inspection warnings. "
    "Original or ambiguous topology is not recoverable here.";

struct Coordinated {
    testing::TestRepo repo;
    JJClient client{repo.root()};
    std::string drawn;

    /// With `conflicting`, S1 adds the file T added, so routing conflicts.
    explicit Coordinated(bool conflicting = false) {
        repo.draw(std::string(R"(
            B <- root "base" README=base
            D <- B "d" d.txt=d
            T <- D "t" t.txt=t [feat]
            S1 <- B "s1" )") +
                  (conflicting ? "t.txt=s1" : "s1.txt=s1") + R"(
            S2 <- S1 "s2" s2.txt=s2
            X <- B "x" x.txt=x
            R <- S2 X "wip: Vorda composition default"
            @ <- R
        )");
        drawn = repo.currentOperationID();
    }

    /// Onto the tip, or after D.
    Plan plan(bool appending = true) const {
        return client.planCoordinatedFeatureRouting(
            {repo.id("S1"), repo.id("S2")},
            appending ? std::nullopt : std::optional<std::string>(repo.id("D")), "feat",
            {repo.id("R")});
    }

    /// The drawn repository again, with no receipts.
    void restore() const {
        repo.jj({"op", "restore", drawn});
        fs::remove_all(OperationJournal<Plan>(repo.root()).directory);
    }

    /// Executes a fresh plan, saving into the journal.
    Source run(const std::function<void()>& betweenSteps = {}) const {
        const OperationJournal<Plan> journal(repo.root());
        return client.executeCoordinatedFeatureRouting(
            plan(), [&](const Source& record) { journal.save(record); }, betweenSteps);
    }

    std::vector<std::string> stepNames(const Source& record) const {
        std::vector<std::string> names;
        for (const auto& step : record.steps.value_or(std::vector<OperationStep>{})) {
            names.push_back(step.name + (step.completed ? "" : " (not completed)"));
        }
        return names;
    }

    std::string graph() const { return testing::graph(repo, {"S1", "S2", "R", "T"}); }
};

TEST(CoordinatedRouting, RoutesThenRepairsThenAdvancesVerifyingEachStage) {
    const Coordinated env;
    EXPECT_EQ(refusal([&] {
                  env.client.planCoordinatedFeatureRouting({env.repo.id("S1")}, std::nullopt,
                                                           "feat", {});
              }),
              "Choose explicit repair compositions; use ordinary routing when no repair is "
              "needed.");

    // A preview the repository moved away from runs nothing.
    const auto stale = env.plan();
    env.repo.jj({"bookmark", "create", "elsewhere", "-r", env.repo.id("B")});
    EXPECT_EQ(refusal([&] { env.client.executeCoordinatedFeatureRouting(stale); }),
              "Coordinated preview expired. Generate a fresh preview.");
    EXPECT_FALSE(fs::exists(OperationJournal<Plan>(env.repo.root()).directory));

    const auto appended = env.client.executeCoordinatedFeatureRouting(env.plan());
    ASSERT_TRUE(appended.receipt.has_value());
    EXPECT_TRUE(appended.receipt->succeeded()) << ::testing::PrintToString(*appended.receipt);
    const std::string repairStep = "Repair composition " + env.repo.id("R");
    EXPECT_EQ(env.stepNames(appended), (std::vector<std::string>{"Route selected work", repairStep,
                                                                 "Advance feature bookmark"}));
    EXPECT_EQ(env.graph(), "S1<T S2<S1 R<B,X,S2 T<D");
    EXPECT_EQ(env.repo.bookmarkTarget("feat"), "S2");
    EXPECT_EQ(testing::onlyRecord<Plan>(env.repo.root()), appended);

    // Inserted after D, the tip is the head: no bookmark step.
    env.restore();
    const auto inserted = env.client.executeCoordinatedFeatureRouting(env.plan(false));
    EXPECT_TRUE(inserted.receipt->succeeded()) << ::testing::PrintToString(*inserted.receipt);
    EXPECT_EQ(env.stepNames(inserted),
              (std::vector<std::string>{"Route selected work", repairStep}));
    EXPECT_EQ(env.graph(), "S1<D S2<S1 R<B,X,T T<S2");
    EXPECT_EQ(env.repo.bookmarkTarget("feat"), "T");
}

TEST(CoordinatedRouting, AKilledRoutingIsInspectedAndRecoveredOnceFromWhatIsThere) {
    const Coordinated env;
    const auto plan = env.plan();
    const OperationJournal<Plan> journal(env.repo.root());
    ASSERT_TRUE(testing::killedAtHook([&](const std::function<void()>& hook) {
        env.client.executeCoordinatedFeatureRouting(
            plan, [&](const Source& record) { journal.save(record); }, hook);
    }));
    const auto source = testing::onlyRecord<Plan>(env.repo.root());
    ASSERT_FALSE(source.receipt.has_value());
    ASSERT_EQ(testing::rebaseCount(env.repo), 1U);

    const auto inspection = env.client.inspectCoordinatedRouting(source);
    EXPECT_EQ(inspection.matchingStages, std::vector<std::string>{"Routed; no attachment repairs"});
    EXPECT_EQ(inspection.bookmarkState, "At the original feature revision");
    EXPECT_EQ(
        inspection.repairs,
        (std::vector<CoordinatedRoutingInspection::RepairState>{{env.repo.id("R"), true, false}}));
    EXPECT_EQ(inspection.warnings, std::vector<std::string>{});

    auto recovery = env.client.planCoordinatedRoutingRecovery(source);
    EXPECT_TRUE(recovery.advanceBookmark);
    ASSERT_EQ(recovery.remainingRepairs.size(), 1U);
    EXPECT_EQ(recovery.remainingRepairs.front().finalParentIDs.back(),
              env.repo.commitID(env.repo.id("S2")));
    auto other = source;
    other.id = "00000000-0000-0000-0000-000000000000";
    EXPECT_EQ(refusal([&] { env.client.executeCoordinatedRoutingRecovery(recovery, other); }),
              "Recovery preview belongs to another receipt, repository, or workspace.");
    env.repo.jj({"bookmark", "create", "elsewhere", "-r", env.repo.id("B")});
    EXPECT_EQ(refusal([&] { env.client.executeCoordinatedRoutingRecovery(recovery, source); }),
              "Recovery preview expired. Inspect and preview again; no recovery step was "
              "attempted.");

    // A change from outside before the first recovery step stops it there.
    recovery = env.client.planCoordinatedRoutingRecovery(source);
    const auto stopped = env.client.executeCoordinatedRoutingRecovery(
        recovery, source, [](const auto& /*record*/) {},
        [&] {
            env.repo.jj({"new", "--no-edit", env.repo.id("B")});
        });
    EXPECT_EQ(stopped.receipt->commandError,
              "Repository or pending files changed during recovery. No continuation was "
              "attempted.");
    EXPECT_FALSE(stopped.steps.has_value());

    recovery = env.client.planCoordinatedRoutingRecovery(source);
    const auto done = env.client.executeCoordinatedRoutingRecovery(recovery, source);
    ASSERT_TRUE(done.receipt.has_value());
    EXPECT_TRUE(done.receipt->succeeded()) << ::testing::PrintToString(*done.receipt);
    EXPECT_EQ(testing::onlyRecord<CoordinatedRoutingRecoveryPlan>(env.repo.root()), done);
    EXPECT_EQ(testing::onlyRecord<Plan>(env.repo.root()), source);
    // The routing rebase ran once; the recovery added the repair's.
    EXPECT_EQ(testing::rebaseCount(env.repo), 2U);
    EXPECT_EQ(env.graph(), "S1<T S2<S1 R<B,X,S2 T<D");
    EXPECT_EQ(env.repo.bookmarkTarget("feat"), "S2");
    EXPECT_EQ(env.client.inspectCoordinatedRouting(source).matchingStages,
              std::vector<std::string>{"Routed; 1 of 1 attachment repairs"});
    EXPECT_EQ(refusal([&] { env.client.planCoordinatedRoutingRecovery(source); }),
              "No remaining repairs or bookmark advancement; this action is already complete.");
}

TEST(CoordinatedRouting, EachStopLeavesAStageThatRecoveryFinishesOrRefuses) {
    const Coordinated env;
    struct Case {
        const char* name;
        const char* failing;  // the jj subcommand that fails, if any
        std::function<void()> betweenSteps;
        std::string commandError;
        std::vector<std::string> steps;
        std::string recovery;  // the refusal, or "no refusal"
    };
    const std::string route = "Route selected work";
    const std::string repair = "Repair composition " + env.repo.id("R");
    const std::string advance = "Advance feature bookmark";
    const std::string moved =
        "Repository or working files changed between steps. Inspect the partial action; no "
        "continuation was attempted.";
    const Case cases[] = {
        {"the routing fails",
         "rebase",
         {},
         "injected failure",
         {route + " (not completed)"},
         "Recovery would not be a forward bookmark advance."},
        {"the bookmark move fails",
         "bookmark",
         {},
         "injected failure",
         {route, repair, advance + " (not completed)"},
         "no refusal"},
        {"a consumer appears between steps",
         nullptr,
         [&] {
             env.repo.jj({"new", "--no-edit", "-m", "consumer", env.repo.id("R")});
         },
         moved,
         {route},
         "Affected history gained consumers since routing. Review the expanded scope manually; "
         "recovery will not rewrite unreviewed descendants."},
        {"a file is edited between steps",
         nullptr,
         [&] { env.repo.writeFile("edit.txt", "edited\n"); },
         moved,
         {route},
         "no refusal"},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.name);
        env.restore();
        const auto record = [&] {
            const std::optional<testing::FailingJJScope> failing =
                test.failing ? std::optional<testing::FailingJJScope>(std::in_place, test.failing)
                             : std::nullopt;
            return env.run(test.betweenSteps);
        }();
        ASSERT_TRUE(record.receipt.has_value());
        EXPECT_NE(record.receipt->commandError.value_or("").find(test.commandError),
                  std::string::npos);
        EXPECT_EQ(env.stepNames(record), test.steps);
        EXPECT_EQ(testing::onlyRecord<Plan>(env.repo.root()), record);
        EXPECT_EQ(refusal([&] {
                      env.client.executeCoordinatedRoutingRecovery(
                          env.client.planCoordinatedRoutingRecovery(record), record);
                  }),
                  test.recovery);
    }
    // What recovery finished is the whole outcome.
    EXPECT_EQ(env.graph(), "S1<T S2<S1 R<B,X,S2 T<D");
    EXPECT_EQ(env.repo.bookmarkTarget("feat"), "S2");

    // A conflict from the routing closes the gate before any repair.
    const Coordinated clash(true);
    const auto conflicted = clash.run();
    EXPECT_EQ(conflicted.receipt->commandError,
              "Coordinated state has conflicts or could not be verified. Remaining "
              "repairs/bookmark advancement were not attempted.");
    EXPECT_EQ(testing::sorted(conflicted.receipt->conflictedChangeIDs),
              testing::conflictedChanges(clash.repo, "all()"));
    EXPECT_EQ(clash.stepNames(conflicted), std::vector<std::string>{"Route selected work"});
    EXPECT_EQ(refusal([&] { clash.client.planCoordinatedRoutingRecovery(conflicted); }),
              notRecoverable);
}

TEST(CoordinatedRoutingPlan, EveryRepairNeedsItsFeatureEdge) {
    FeatureInsertionPlan topology;
    topology.featureTip = testing::commitNode("t", {"d"});
    topology.selected = {testing::commitNode("s", {"t"})};
    topology.affected = {testing::commitNode("R", {"s", "x"})};
    topology.expectedParents = {{"R", {"b", "x", "s"}}};
    EXPECT_EQ(
        Plan::wrap(topology, true, {"change-R"}).repairs,
        (std::vector<Plan::Repair>{{topology.affected.front(), {"b", "x"}, {"b", "x", "s"}}}));
    EXPECT_EQ(refusal([&] { Plan::wrap(topology, false, {"change-R"}); }),
              "Coordinated repair is missing its explicit feature edge.");
    EXPECT_EQ(refusal([&] { Plan::wrap(topology, true, {"change-s"}); }),
              "Choose explicit repair compositions for coordinated routing.");
}

}  // namespace
}  // namespace vorda
