#include <algorithm>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "jjkit/client/JJClient.h"
#include "jjkit/rewrites/FeatureAppendPlan.h"
#include "jjkit/rewrites/FeatureInsertionPlan.h"
#include "jjkit/rewrites/OperationJournal.h"
#include "jjkit/support/Text.h"
#include "support/KilledAtHook.h"
#include "support/Refusal.h"
#include "support/RewriteTestData.h"
#include "support/ScopedEnvironment.h"
#include "support/TestRepo.h"
#include "support/TestTools.h"

namespace vorda {

namespace {

namespace fs = std::filesystem;
using testing::commitNode;
using testing::refusal;
using testing::rewrittenNode;
using testing::TestRepo;
using testing::workspaceOn;
using Record = OperationRecord<FeatureAppendPlan>;
using Journal = OperationJournal<FeatureAppendPlan>;
using Inspection = FeatureAppendInspection;
using Topology = Inspection::Topology;
using BookmarkState = Inspection::BookmarkState;

const std::string moveStep = "Move commits and update descendant edges";
const std::string advanceStep = "Advance feature bookmark";

OperationStep completed(const std::string& name, const std::string& before,
                        const std::string& after) {
    return {name, before, after, true};
}

OperationStep declared(const std::string& name, const std::string& before) {
    return {name, before, std::nullopt, false};
}

/// Feature tip t (on base k), selection s1-s2 on the composition m = [t, x]
/// with the working copy w on s2: the shape an append works on.
struct HandMade {
    JJCommit base = commitNode("k", {});
    JJCommit tip = commitNode("t", {"k"});
    JJCommit trunk = commitNode("x", {"k"});
    JJCommit merge = commitNode("m", {"t", "x"});
    JJCommit s1 = commitNode("s1", {"m"});
    JJCommit s2 = commitNode("s2", {"s1"});
    JJCommit working = commitNode("w", {"s2"}, false, {"wip"});
    JJWorkspace workspace = workspaceOn("default", working);
    /// The moved top of the selection, with a commit ID that jj could give.
    const std::string movedTipID = std::string(40, 'b');

    FeatureInsertionPlan topology() const {
        FeatureInsertionPlan plan;
        plan.repositoryID = "/tmp/repo/.jj/repo";
        plan.workspaceRoot = "/tmp/repo";
        plan.operationID = "op-planned";
        plan.bookmarkName = "feat";
        plan.destination = tip;
        plan.featureTip = tip;
        plan.selected = {s1, s2};
        plan.affected = {merge, s1, s2, working};
        plan.affectedWorkspaces = {workspace};
        plan.expectedParents = {{"m", {"s2", "x"}}, {"s1", {"t"}}, {"s2", {"s1"}}, {"w", {"m"}}};
        return plan;
    }

    // The graph after a successful append: s1' on t, s2' on s1', m' on
    // [s2', x], w' on m'.
    JJCommit movedS1() const { return rewrittenNode(s1, "s1+", {"t"}); }
    JJCommit movedS2() const { return rewrittenNode(s2, movedTipID, {"s1+"}); }
    JJCommit movedMerge() const { return rewrittenNode(merge, "m+", {movedTipID, "x"}); }
    JJCommit movedWorking() const { return rewrittenNode(working, "w+", {"m+"}); }
    std::vector<JJCommit> routedRows() const {
        return {movedWorking(), movedMerge(), movedS2(), movedS1()};
    }
};

TEST(FeatureAppendPlanValues, TheConstructorGuardsTheTipAndDerivesTheAdvanceAndAttachments) {
    const HandMade data;
    const FeatureAppendPlan plan(data.topology());
    EXPECT_EQ(plan.bookmarkAdvance, (BookmarkAdvance{"feat", "t", data.s2.changeID}));
    // Only the merge whose parents change is an attachment change; the
    // single-parent commits whose parents change are not.
    EXPECT_EQ(plan.attachmentChanges,
              (std::vector<AttachmentChange>{{"m", data.merge.changeID, {"t", "x"}, {"s2", "x"}}}));

    // A merge whose parents stay, or that has no entry, is no attachment change.
    auto unchangedMerge = data.topology();
    unchangedMerge.expectedParents["m"] = data.merge.parents;
    EXPECT_TRUE(FeatureAppendPlan(unchangedMerge).attachmentChanges.empty());
    auto unplannedMerge = data.topology();
    unplannedMerge.expectedParents.erase("m");
    EXPECT_TRUE(FeatureAppendPlan(unplannedMerge).attachmentChanges.empty());

    // The tip among the affected commits (the append would rewrite what it
    // builds on), an insertion below the tip, and nothing selected.
    const std::function<void(FeatureInsertionPlan&)> faults[] = {
        [&](FeatureInsertionPlan& topology) { topology.affected.push_back(data.tip); },
        [&](FeatureInsertionPlan& topology) { topology.destination = data.base; },
        [](FeatureInsertionPlan& topology) { topology.selected.clear(); },
    };
    for (const auto& fault : faults) {
        auto topology = data.topology();
        fault(topology);
        EXPECT_EQ(refusal([&] { FeatureAppendPlan{topology}; }),
                  "Append must preserve the original feature tip.");
    }
}

TEST(FeatureAppendPlanValues, TheBookmarkCommandRunsOnlyOnTheCheckpointItWasPlannedFor) {
    const HandMade data;
    const FeatureAppendPlan plan(data.topology());
    const auto movedTip = data.movedS2();
    const std::vector<std::string> atOldTip{"t"};
    EXPECT_EQ(
        plan.bookmarkCommand(movedTip, atOldTip, "op-2", "op-2"),
        (std::vector<std::string>{"bookmark", "move", "--to=commit_id(" + data.movedTipID + ")",
                                  "--", R"(exact:"feat")"}));
    // A glob character names that one bookmark, never others.
    auto globbed = data.topology();
    globbed.bookmarkName = "feat*";
    EXPECT_EQ(FeatureAppendPlan(globbed).bookmarkCommand(movedTip, atOldTip, "op", "op").back(),
              R"(exact:"feat*")");

    const auto withID = [&](const std::string& commitID) {
        return rewrittenNode(movedTip, commitID, movedTip.parents);
    };
    // 39 digits, upper case, not hexadecimal; the bookmark moved away,
    // conflicted or gone; another operation; another change.
    const std::tuple<JJCommit, std::vector<std::string>, std::string> cases[] = {
        {withID(std::string(39, 'b')), atOldTip, "op-2"},
        {withID(std::string(40, 'B')), atOldTip, "op-2"},
        {withID(std::string(40, 'g')), atOldTip, "op-2"},
        {movedTip, {"elsewhere"}, "op-2"},
        {movedTip, {"t", "elsewhere"}, "op-2"},
        {movedTip, {}, "op-2"},
        {movedTip, atOldTip, "op-3"},
        {data.movedS1(), atOldTip, "op-2"},
    };
    for (const auto& stale : cases) {
        EXPECT_EQ(refusal([&] {
                      std::apply([&](const auto&... row) { plan.bookmarkCommand(row..., "op-2"); },
                                 stale);
                  }),
                  "Append bookmark step is stale or its rewritten target is invalid. Inspect the "
                  "partial action; do not retry blindly.")
            << std::get<0>(stale).commitID << " " << std::get<2>(stale);
    }
}

TEST(FeatureAppendPlanValues, InspectionTellsOriginalRoutedBothAndChangedStates) {
    const HandMade data;
    Record record;
    record.id = "7B1C2D3E-0000-4000-8000-000000000001";
    record.plan = FeatureAppendPlan(data.topology());
    auto coinciding = record;  // a plan whose routed graph is its original one
    for (const auto& commit : coinciding.plan.topology.affected) {
        coinciding.plan.topology.expectedParents[commit.commitID] = commit.parents;
    }
    auto stepped = record;  // step one ran and was recorded; the bookmark stayed
    stepped.steps = std::vector<OperationStep>{completed(moveStep, "op-planned", "op-moved"),
                                               declared(advanceStep, "op-moved")};
    auto finished = stepped;  // both steps ran and the receipt was saved
    finished.steps->back() = completed(advanceStep, "op-moved", "op-advanced");
    finished.receipt = LocalStackUpdateReceipt{"op-planned", "op-final", std::nullopt, {}, {}, {}};

    const std::vector<JJCommit> originalRows{data.working, data.merge, data.s2, data.s1};
    const std::vector<JJCommit> atTip{data.tip};
    const std::vector<JJWorkspace> atWorking{data.workspace};
    auto conflictedRows = data.routedRows();
    conflictedRows[2].conflict = true;
    auto strayRows = data.routedRows();
    strayRows[1].parents = {"x"};
    // Each commit as planned or as routed, but not all alike: m and w (on
    // the moved s2) are original, s1 routed, s2 both.
    const std::vector<JJCommit> halfway{rewrittenNode(data.working, "w+", {data.movedTipID}),
                                        data.merge, data.movedS2(), data.movedS1()};
    // The merge's parent is the missing change, so it is not translated.
    const std::vector<JJCommit> missingAndDivergent{data.movedWorking(), data.movedMerge(),
                                                    data.movedS1(),
                                                    rewrittenNode(data.s1, "s1*", {"t"})};
    auto lostBookmark = data.routedRows();
    lostBookmark[0].localBookmarks.clear();

    const std::vector<JJCommit> atMovedTip{data.movedS2()};
    const std::vector<JJCommit> bothTips{data.tip, data.movedS2()};
    const std::vector<JJCommit> atTrunk{data.trunk};
    const std::vector<JJCommit> rewrittenTip{rewrittenNode(data.tip, "t+", {"k"})};
    const std::vector<JJWorkspace> atMoved{workspaceOn("default", data.movedWorking())};
    const std::vector<JJWorkspace> elsewhere{workspaceOn("default", commitNode("z", {}))};
    const std::vector<JJWorkspace> none;

    const std::string untouched =
        "The original bookmark and parent topology are present. Review the receipt and any "
        "intervening operations before generating a new routing preview.";
    const std::string movedChain =
        "The moved chain is present in the planned parent topology, but the feature bookmark "
        "still points to its old tip. Do not rerun the rebase. Bookmark advancement requires a "
        "fresh, explicit recovery plan.";
    const std::string done =
        "The planned parent topology and advanced bookmark are present. This does not prove "
        "command provenance or unchanged file contents; no automatic recovery is needed.";
    const std::string conflictsFirst =
        "Resolve and review the reported conflicts first. Advancing the feature bookmark can "
        "make routed work immutable under repository rules.";
    const std::string differs =
        "Current state differs from the recorded action. Inspect the listed changes and "
        "intervening operations before choosing any repair.";
    const std::string parentsOnM = "Unexpected parents on change-m";
    const std::string missing = "Missing or divergent change change-s";
    const std::string workspaceChanged = "Working-copy identity changed in default";
    using T = Topology;
    using B = BookmarkState;
    using Words = std::vector<std::string>;
    struct Case {
        const Record& stored;
        std::string operation;
        const std::vector<JJCommit>&visible, &bookmarks, &tip;
        const std::vector<JJWorkspace>& seen;
        T topology;
        B bookmark;
        Words warnings, conflicts;
        const std::string& guidance;
    };
    // Conflicts come before the topology's own sentence; part of the graph
    // routed and the rest original is neither as a whole; a conflicted
    // bookmark, a rewritten tip, a lost bookmark on an affected commit and
    // another working copy are each told; with warnings even an advanced
    // bookmark on the routed graph differs.
    const auto& routed = data.routedRows();
    const Words no, onS2{"change-s2"}, stray{parentsOnM}, gone{workspaceChanged},
        lost{missing + "1", missing + "2", parentsOnM},
        drifted{"Bookmark wip no longer follows its change",
                "Original feature tip is rewritten, hidden, or divergent", workspaceChanged};
    const Case cases[] = {
        {record, "op-planned", originalRows, atTip, atTip, atWorking, T::original, B::original, no,
         no, untouched},
        {coinciding, "op-later", originalRows, atTip, atTip, atWorking, T::both, B::original, no,
         no, untouched},
        {stepped, "op-moved", routed, atTip, atTip, atMoved, T::routed, B::original, no, no,
         movedChain},
        {finished, "op-final", routed, atMovedTip, atTip, atMoved, T::routed, B::advanced, no, no,
         done},
        {stepped, "op-moved", conflictedRows, atTip, atTip, atMoved, T::routed, B::original, no,
         onS2, conflictsFirst},
        {stepped, "op-x", strayRows, atTip, atTip, atMoved, T::changed, B::original, stray, no,
         differs},
        {stepped, "op-x", halfway, atTip, atTip, atMoved, T::changed, B::original, no, no, differs},
        {stepped, "op-x", missingAndDivergent, atTrunk, atTip, atMoved, T::changed, B::changed,
         lost, no, differs},
        {stepped, "op-x", lostBookmark, bothTips, rewrittenTip, elsewhere, T::routed, B::changed,
         drifted, no, differs},
        {finished, "op-final", routed, atMovedTip, atTip, none, T::routed, B::advanced, gone, no,
         differs},
    };
    for (const auto& test : cases) {
        // The latest recorded operation: the receipt's, else the last
        // completed step's, else the plan's.
        const std::string latest = test.stored.receipt ? "op-final"
                                   : test.stored.steps ? "op-moved"
                                                       : "op-planned";
        const auto inspection = Inspection::build(test.stored, test.operation, test.visible,
                                                  test.bookmarks, test.tip, test.seen);
        EXPECT_EQ(inspection,
                  (Inspection{test.stored.id, test.operation, latest, test.topology, test.bookmark,
                              test.warnings, test.conflicts, test.operation != latest}));
        EXPECT_EQ(inspection.guidance(), test.guidance) << test.operation;
    }
}

TEST(FeatureAppendPlanValues, DisplayTextsAreTheRawValues) {
    EXPECT_EQ(displayText(Topology::original), "Original parent topology");
    EXPECT_EQ(displayText(Topology::routed), "Routed parent topology");
    EXPECT_EQ(displayText(Topology::both), "Original and routed parent topology coincide");
    EXPECT_EQ(displayText(Topology::changed), "Parent topology differs or cannot be verified");
    EXPECT_EQ(displayText(BookmarkState::original), "Bookmark remains at the original feature tip");
    EXPECT_EQ(displayText(BookmarkState::advanced),
              "Bookmark points to the uniquely visible moved tip");
    EXPECT_EQ(displayText(BookmarkState::changed), "Bookmark is missing, divergent, or elsewhere");
}

// ---------------------------------------------------------------------------
// Real repositories.

/// Trunk `main` (B, T), the feature `feat` (F1, F2) on B, and an
/// integration merge of F2 and T with work W1-W2 on it, under the default
/// workspace's working copy. With `conflicting`, T and W1 both change
/// shared.txt, which F2 leaves as B had it, so W1 conflicts on the tip.
struct AppendRepo {
    TestRepo repo;
    JJClient client{repo.root()};
    std::string tipCommit;
    std::string drawn;  // the operation the picture ends at

    explicit AppendRepo(bool conflicting = false) {
        repo.draw(testing::appendPicture(conflicting));
        tipCommit = repo.commitID(repo.id("F2"));
        drawn = repo.currentOperationID();
    }

    /// Back to the picture, with an empty journal.
    void reset() const {
        repo.jj({"op", "restore", drawn});
        fs::remove_all(journal().directory);
    }

    FeatureAppendPlan plan() const {
        return client.planFeatureAppend({repo.id("W2"), repo.id("W1")}, "feat");
    }

    /// The chain moved by step one and nothing else: F2 <- W1 <- W2 <- M
    /// (with T) <- working copy, the bookmark still on the untouched F2.
    void expectMovedChain(const char* bookmark = "F2") const {
        EXPECT_EQ(testing::graph(repo, {"W1", "W2", "M", "@"}), "W1<F2 W2<W1 M<W2,T @<M");
        EXPECT_EQ(repo.commitID(repo.id("F2")), tipCommit);
        EXPECT_EQ(repo.bookmarkTarget("feat"), bookmark);
    }

    Journal journal() const { return Journal(repo.root()); }

    /// The journal holds `record` alone, and inspecting it finds the chain
    /// routed, the bookmark as `bookmark` and nothing else amiss.
    void expectRecordedAndInspected(const Record& record, BookmarkState bookmark) const {
        EXPECT_EQ(testing::onlyRecord<FeatureAppendPlan>(repo.root()), record);
        const auto inspection = client.inspectFeatureAppend(record);
        EXPECT_EQ(std::tuple(inspection.topology, inspection.bookmark, inspection.warnings.size()),
                  std::tuple(Topology::routed, bookmark, 0U));
    }
};

TEST(FeatureAppendFlow, StopsAfterTheMoveAtEachGateThenAppendsAndInspectsOnlyItsOwn) {
    const AppendRepo env;
    const AppendRepo conflicting(true);
    const std::string changedAfterMove =
        "Repository or working files changed after moving work. Bookmark advancement was not "
        "attempted.";
    const std::string conflicts =
        "Moved work has conflicts. Bookmark advancement was not attempted; inspect the partial "
        "action before resolving or continuing manually.";
    const std::vector<std::string> changedAfterLastStep{
        "Repository changed after the last recorded step; inspect intervening operations."};
    struct Case {
        const AppendRepo& env;
        bool bookmarkFails;
        std::function<void(const TestRepo&)> betweenSteps;
        std::string error;  // empty: the failed bookmark command's
        std::vector<std::string> warnings;
    };
    const Case cases[] = {
        {env, true, nullptr, "", {}},
        {env, false,
         [](const TestRepo& repo) {
             repo.jj({"describe", "-r", repo.id("W1"), "-m", "reworded"});
         },
         changedAfterMove, changedAfterLastStep},
        {env, false,
         [](const TestRepo& repo) { repo.writeFile("late.txt", "edited between the steps\n"); },
         changedAfterMove, changedAfterLastStep},
        {conflicting, false, nullptr, conflicts, {}},
    };
    for (const auto& test : cases) {
        const auto& repo = test.env.repo;
        SCOPED_TRACE(test.error);
        test.env.reset();
        const auto plan = test.env.plan();
        bool hookReached = false;
        Record record;
        {
            std::optional<testing::FailingJJScope> failing;
            if (test.bookmarkFails) {
                failing.emplace("bookmark");
            }
            record = test.env.client.executeFeatureAppend(
                plan, [&](const Record& saved) { test.env.journal().save(saved); },
                [&] {
                    hookReached = true;
                    if (test.betweenSteps) {
                        test.betweenSteps(repo);
                    }
                });
        }
        ASSERT_TRUE(record.receipt && record.steps && !record.steps->empty());
        const auto moved = record.steps->front().afterOperationID.value_or("");
        std::string error = test.error;
        std::vector<OperationStep> steps{completed(moveStep, plan.topology.operationID, moved)};
        if (test.bookmarkFails) {
            // Declared, run, failed: the last operation is still the move's.
            const std::vector<std::string> command{
                "bookmark", "move", "--to=commit_id(" + repo.commitID(repo.id("W2")) + ")", "--",
                R"(exact:"feat")"};
            error = JJError(JJError::CommandFailed{command, 1, "injected failure\n"})
                        .errorDescription();
            steps.push_back(declared(advanceStep, moved));
        }
        EXPECT_EQ(record.steps, steps);
        EXPECT_EQ(std::pair(record.receipt->commandError, record.receipt->verificationWarnings),
                  std::pair(std::optional(error), test.warnings));
        // Conflicts stop before the hook between the steps is awaited.
        const bool isConflicting = &test.env == &conflicting;
        EXPECT_EQ(hookReached, !isConflicting);
        EXPECT_EQ(record.receipt->afterOperationID == moved, test.warnings.empty());
        EXPECT_EQ(record.receipt->afterOperationID, repo.currentOperationID());
        // What jj itself reports as conflicted among the moved commits and
        // their descendants.
        const auto conflicted =
            testing::conflictedChanges(repo, repo.id("W1") + ":: | " + repo.id("M") + "::");
        EXPECT_EQ(testing::sorted(record.receipt->conflictedChangeIDs), conflicted);
        EXPECT_EQ(std::binary_search(conflicted.begin(), conflicted.end(), repo.id("W1")),
                  isConflicting);
        test.env.expectMovedChain();
        test.env.expectRecordedAndInspected(record, BookmarkState::original);
    }

    // From the picture again, the whole append.
    env.reset();
    const auto& repo = env.repo;
    const auto plan = env.plan();
    const auto& topology = plan.topology;
    EXPECT_EQ(std::tuple(topology.featureTip.changeID, topology.destination == topology.featureTip,
                         plan.attachmentChanges.size(), plan.attachmentChanges.at(0).changeID),
              std::tuple(repo.id("F2"), true, 1U, repo.id("M")));
    EXPECT_EQ(plan.bookmarkAdvance, (BookmarkAdvance{"feat", env.tipCommit, repo.id("W2")}));

    // The routing's own refusals pass through the append unchanged.
    EXPECT_EQ(refusal([&] { env.client.planFeatureAppend({repo.id("F1")}, "feat"); }),
              "The insertion destination descends from the selected work.");

    const auto record = env.client.executeFeatureAppend(plan);
    ASSERT_TRUE(record.steps && record.steps->size() == 2U);
    const auto moved = record.steps->at(0).afterOperationID.value_or("");
    const auto advanced = repo.currentOperationID();
    EXPECT_EQ(record.steps,
              (std::vector<OperationStep>{completed(moveStep, topology.operationID, moved),
                                          completed(advanceStep, moved, advanced)}));
    EXPECT_TRUE(moved != topology.operationID && advanced != moved);
    EXPECT_EQ(record.receipt, testing::cleanReceipt(topology.operationID, advanced, {"default"}));

    // jj agrees: the chain is on the untouched tip, the bookmark on the moved
    // W2, and the composition reaches the work through the feature.
    env.expectMovedChain("W2");
    EXPECT_EQ(testing::onlyRecord<FeatureAppendPlan>(repo.root()), record);
    // Inspection takes no snapshot: an edit on disk is not looked at, and no
    // operation is written.
    repo.writeFile("pending.txt", "not yet snapshotted\n");
    const Inspection inspected{
        record.id, advanced, advanced, Topology::routed, BookmarkState::advanced, {}, {}, false};
    EXPECT_EQ(env.client.inspectFeatureAppend(record), inspected);
    EXPECT_EQ(repo.currentOperationID(), advanced);

    // Receipts of another repository, of another version or with damaged
    // change IDs are refused before any read: with a jj that cannot run at
    // all, any read would fail otherwise.
    const TestRepo elsewhere;
    const JJClient otherClient(elsewhere.root());
    auto unsupported = record;
    unsupported.schemaVersion = 2;
    auto invalidChange = record;
    invalidChange.plan.topology.affected.front().changeID.resize(12);
    const testing::ScopedEnvironment path("PATH");
    path.prependPath(testing::toolFolder("failing-jj"));
    const std::string foreign = "This receipt is unsupported or belongs to another repository.";
    EXPECT_EQ(refusal([&] { otherClient.inspectFeatureAppend(record); }), foreign);
    EXPECT_EQ(refusal([&] { env.client.inspectFeatureAppend(unsupported); }), foreign);
    EXPECT_EQ(refusal([&] { env.client.inspectFeatureAppend(invalidChange); }),
              "Receipt contains invalid change identities.");
    // The same receipt in its own repository does get to read.
    EXPECT_TRUE(text::startsWith(refusal([&] { env.client.inspectFeatureAppend(record); }),
                                 "other error: "));
}

TEST(FeatureAppendFlow, AProcessKilledBetweenTheStepsLeavesASteppingRecord) {
    const AppendRepo env;
    const auto plan = env.plan();
    ASSERT_TRUE(testing::killedAtHook([&](const std::function<void()>& hook) {
        env.client.executeFeatureAppend(
            plan, [&](const Record& record) { env.journal().save(record); }, hook);
    }));

    const auto record = testing::onlyRecord<FeatureAppendPlan>(env.repo.root());
    const auto now = env.repo.currentOperationID();
    auto expected = record;
    expected.plan = plan;
    expected.receipt.reset();
    expected.steps = {completed(moveStep, plan.topology.operationID, now)};
    EXPECT_EQ(record, expected);
    env.expectMovedChain();
    EXPECT_EQ(env.client.inspectFeatureAppend(record),
              (Inspection{
                  record.id, now, now, Topology::routed, BookmarkState::original, {}, {}, false}));
}

}  // namespace
}  // namespace vorda
