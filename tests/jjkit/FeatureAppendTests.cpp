#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include "jjkit/client/JJClient.h"
#include "jjkit/rewrites/FeatureAppendPlan.h"
#include "jjkit/rewrites/FeatureInsertionPlan.h"
#include "jjkit/rewrites/OperationJournal.h"
#include "jjkit/support/Text.h"
#include "support/Refusal.h"
#include "support/RewriteTestData.h"
#include "support/ScopedEnvironment.h"
#include "support/TempDir.h"
#include "support/TestRepo.h"
#include "support/TestTools.h"

namespace vorda {

namespace {

namespace fs = std::filesystem;
using testing::commitNode;
using testing::refusal;
using testing::rewrittenNode;
using testing::TestRepo;
using Record = OperationRecord<FeatureAppendPlan>;
using Journal = OperationJournal<FeatureAppendPlan>;
using Inspection = FeatureAppendInspection;
using Topology = Inspection::Topology;
using BookmarkState = Inspection::BookmarkState;

const std::string moveStep = "Move commits and update descendant edges";
const std::string advanceStep = "Advance feature bookmark";

const std::string differsGuidance =
    "Current state differs from the recorded action. Inspect the listed changes and intervening "
    "operations before choosing any repair.";
const std::string conflictsGuidance =
    "Resolve and review the reported conflicts first. Advancing the feature bookmark can make "
    "routed work immutable under repository rules.";
const std::string movedChainGuidance =
    "The moved chain is present in the planned parent topology, but the feature bookmark still "
    "points to its old tip. Do not rerun the rebase. Bookmark advancement requires a fresh, "
    "explicit recovery plan.";
const std::string advancedGuidance =
    "The planned parent topology and advanced bookmark are present. This does not prove command "
    "provenance or unchanged file contents; no automatic recovery is needed.";
const std::string originalGuidance =
    "The original bookmark and parent topology are present. Review the receipt and any "
    "intervening operations before generating a new routing preview.";

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
    JJWorkspace workspace = testing::workspaceOn("default", working);
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

    Record record() const {
        Record record;
        record.id = "7B1C2D3E-0000-4000-8000-000000000001";
        record.plan = FeatureAppendPlan(topology());
        return record;
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
    EXPECT_EQ(plan.topology, data.topology());
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

    const auto withCommitID = [&](const std::string& commitID) {
        auto commit = movedTip;
        commit.commitID = commitID;
        return commit;
    };
    struct Case {
        const char* name;
        JJCommit tip;
        std::vector<std::string> bookmarkCommits;
        std::string current;
    };
    const Case cases[] = {
        {"39 digits", withCommitID(std::string(39, 'b')), atOldTip, "op-2"},
        {"upper case", withCommitID(std::string(40, 'B')), atOldTip, "op-2"},
        {"not hexadecimal", withCommitID(std::string(40, 'g')), atOldTip, "op-2"},
        {"bookmark moved away", movedTip, {"elsewhere"}, "op-2"},
        {"bookmark conflicted", movedTip, {"t", "elsewhere"}, "op-2"},
        {"bookmark gone", movedTip, {}, "op-2"},
        {"another operation", movedTip, atOldTip, "op-3"},
        {"another change", data.movedS1(), atOldTip, "op-2"},
    };
    for (const auto& test : cases) {
        EXPECT_EQ(refusal([&] {
                      plan.bookmarkCommand(test.tip, test.bookmarkCommits, test.current, "op-2");
                  }),
                  "Append bookmark step is stale or its rewritten target is invalid. Inspect the "
                  "partial action; do not retry blindly.")
            << test.name;
    }
}

TEST(FeatureAppendPlanValues, InspectionTellsOriginalRoutedBothAndChangedStates) {
    const HandMade data;
    const auto record = data.record();
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
    const std::vector<JJCommit> atMovedTip{data.movedS2()};
    const std::vector<JJWorkspace> workspaces{data.workspace};
    const std::vector<JJWorkspace> movedWorkspaces{
        testing::workspaceOn("default", data.movedWorking())};
    auto conflictedRows = data.routedRows();
    conflictedRows[2].conflict = true;
    auto strayRows = data.routedRows();
    strayRows[1].parents = {"x"};
    // Each commit as planned or as routed, but not all alike: m and w (on
    // the moved s2) are original, s1 routed, s2 both.
    const std::vector<JJCommit> halfway{rewrittenNode(data.working, "w+", {data.movedTipID}),
                                        data.merge, data.movedS2(), data.movedS1()};
    const std::vector<JJCommit> missingAndDivergent{data.movedWorking(), data.movedMerge(),
                                                    data.movedS1(),
                                                    rewrittenNode(data.s1, "s1*", {"t"})};
    auto lostBookmark = data.routedRows();
    lostBookmark[0].localBookmarks.clear();

    const auto expect = [&](const char* name, const Record& stored, const std::string& operation,
                            const std::vector<JJCommit>& visible,
                            const std::vector<JJCommit>& bookmarks,
                            const std::vector<JJCommit>& tip, const std::vector<JJWorkspace>& seen,
                            Topology topology, BookmarkState bookmark,
                            const std::vector<std::string>& warnings, const std::string& guidance) {
        SCOPED_TRACE(name);
        auto inspection = Inspection::build(stored, operation, visible, bookmarks, tip, seen);
        EXPECT_EQ(inspection.topology, topology);
        EXPECT_EQ(inspection.bookmark, bookmark);
        EXPECT_EQ(inspection.warnings, warnings);
        EXPECT_EQ(inspection.guidance(), guidance);
        // The latest recorded operation: the receipt's, else the last
        // completed step's, else the plan's.
        const std::string latest = stored.receipt ? "op-final"
                                   : stored.steps ? "op-moved"
                                                  : "op-planned";
        EXPECT_EQ(inspection.latestRecordedOperationID, latest);
        EXPECT_EQ(inspection.changedSinceCheckpoint, operation != latest);
        return inspection;
    };
    expect("nothing ran", record, "op-planned", originalRows, atTip, atTip, workspaces,
           Topology::original, BookmarkState::original, {}, originalGuidance);
    expect("coinciding", coinciding, "op-later", originalRows, atTip, atTip, workspaces,
           Topology::both, BookmarkState::original, {}, originalGuidance);
    // Conflicts come before the topology's own sentence.
    EXPECT_EQ(
        expect("conflicted", stepped, "op-moved", conflictedRows, atTip, atTip, movedWorkspaces,
               Topology::routed, BookmarkState::original, {}, conflictsGuidance)
            .conflictedChangeIDs,
        std::vector<std::string>{"change-s2"});
    expect("stray", stepped, "op-x", strayRows, atTip, atTip, movedWorkspaces, Topology::changed,
           BookmarkState::original, {"Unexpected parents on change-m"}, differsGuidance);
    // Part of the graph routed, the rest original: neither as a whole.
    expect("halfway", stepped, "op-x", halfway, atTip, atTip, movedWorkspaces, Topology::changed,
           BookmarkState::original, {}, differsGuidance);
    // The merge's parent is the missing change, so it is not translated.
    expect("missing and divergent", stepped, "op-x", missingAndDivergent, {data.trunk}, atTip,
           movedWorkspaces, Topology::changed, BookmarkState::changed,
           {"Missing or divergent change change-s1", "Missing or divergent change change-s2",
            "Unexpected parents on change-m"},
           differsGuidance);
    // A conflicted bookmark, a rewritten tip, a lost bookmark on an affected
    // commit and another working copy are each told.
    expect("drifted", stepped, "op-x", lostBookmark, {data.tip, data.movedS2()},
           {rewrittenNode(data.tip, "t+", {"k"})},
           {testing::workspaceOn("default", commitNode("z", {}))}, Topology::routed,
           BookmarkState::changed,
           {"Bookmark wip no longer follows its change",
            "Original feature tip is rewritten, hidden, or divergent",
            "Working-copy identity changed in default"},
           differsGuidance);
    // With warnings even an advanced bookmark on the routed graph differs.
    expect("workspace gone", finished, "op-final", data.routedRows(), atMovedTip, atTip, {},
           Topology::routed, BookmarkState::advanced, {"Working-copy identity changed in default"},
           differsGuidance);
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

    explicit AppendRepo(bool conflicting = false) {
        repo.draw(std::string(R"(
            B <- root "base" README=base shared.txt=base
            T <- B "trunk work" shared.txt=trunk [main]
            F1 <- B "f1" f1.txt=one
            F2 <- F1 "f2" f2.txt=two [feat]
            M <- F2 T "wip: Vorda composition default"
            W1 <- M "w1" )") +
                  (conflicting ? "shared.txt=work" : "w1.txt=w1") + R"(
            W2 <- W1 "w2" w2.txt=w2
        )");
        tipCommit = repo.commitID(repo.id("F2"));
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

    std::vector<Record> journalRecords() const {
        const auto loaded = journal().load();
        EXPECT_TRUE(loaded.warnings.empty());
        return loaded.records;
    }

    /// The inspection of `record` now finds the chain moved and the bookmark
    /// on its old tip.
    void expectInspectedAsMovedChain(const Record& record, const std::string& guidance) const {
        const auto inspection = client.inspectFeatureAppend(record);
        EXPECT_EQ(inspection.topology, Topology::routed);
        EXPECT_EQ(inspection.bookmark, BookmarkState::original);
        EXPECT_EQ(inspection.guidance(), guidance) << text::join(inspection.warnings, "\n");
    }
};

TEST(FeatureAppendFlow, AppendsTheWorkOntoTheTipAdvancesTheBookmarkAndInspectsOnlyItsOwn) {
    const AppendRepo env;
    const auto& repo = env.repo;
    const auto plan = env.plan();
    const auto& topology = plan.topology;
    EXPECT_EQ(topology.featureTip.changeID, repo.id("F2"));
    EXPECT_EQ(topology.destination, topology.featureTip);
    EXPECT_EQ(plan.bookmarkAdvance, (BookmarkAdvance{"feat", env.tipCommit, repo.id("W2")}));
    ASSERT_EQ(plan.attachmentChanges.size(), 1U);
    EXPECT_EQ(plan.attachmentChanges.front().changeID, repo.id("M"));

    // The routing's own refusals pass through the append unchanged.
    const std::pair<std::string, std::string> refusals[] = {
        {repo.id("W1").substr(0, 12), "Select full native change identities for routing."},
        {repo.changeID("@"),
         "Select finished, mutable, unbookmarked commits—not a merge or workspace working copy."},
        {repo.id("F1"), "The insertion destination descends from the selected work."},
    };
    for (const auto& [selected, words] : refusals) {
        const std::string& selection = selected;
        EXPECT_EQ(refusal([&] { env.client.planFeatureAppend({selection}, "feat"); }), words);
    }

    const auto record = env.client.executeFeatureAppend(plan);
    ASSERT_TRUE(record.steps);
    ASSERT_EQ(record.steps->size(), 2U);
    const auto moved = record.steps->at(0).afterOperationID.value_or("");
    const auto advanced = record.steps->at(1).afterOperationID.value_or("");
    EXPECT_EQ(record.steps,
              (std::vector<OperationStep>{completed(moveStep, topology.operationID, moved),
                                          completed(advanceStep, moved, advanced)}));
    EXPECT_NE(moved, topology.operationID);
    EXPECT_NE(advanced, moved);
    EXPECT_EQ(record.receipt, testing::cleanReceipt(topology.operationID, advanced, {"default"}));
    EXPECT_EQ(advanced, repo.currentOperationID());

    // jj agrees: the chain is on the untouched tip, the bookmark on the moved
    // W2, and the composition reaches the work through the feature.
    env.expectMovedChain("W2");
    EXPECT_EQ(env.journalRecords(), std::vector<Record>{record});
    const Inspection inspected{
        record.id, advanced, advanced, Topology::routed, BookmarkState::advanced, {}, {}, false};
    EXPECT_EQ(env.client.inspectFeatureAppend(record), inspected);
    EXPECT_EQ(inspected.guidance(), advancedGuidance);

    // Inspection takes no snapshot: an edit on disk is not looked at, and no
    // operation is written.
    repo.writeFile("pending.txt", "not yet snapshotted\n");
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

TEST(FeatureAppendFlow, AStepThatCannotBeDeclaredIsNotRun) {
    const AppendRepo env;
    const auto plan = env.plan();
    const auto planned = plan.topology.operationID;
    int saves = 0;
    const auto undeclared = env.client.executeFeatureAppend(
        plan,
        [&](const Record& record) {
            // The first save holds no steps at all, not an empty list.
            EXPECT_EQ(saves == 0, !record.steps.has_value());
            if (++saves == 2) {
                throw std::runtime_error("disk is full");
            }
            env.journal().save(record);
        },
        [] {});
    EXPECT_EQ(undeclared.receipt,
              (LocalStackUpdateReceipt{planned, planned, "disk is full", {"default"}, {}, {}}));
    EXPECT_EQ(undeclared.steps, std::vector<OperationStep>{declared(moveStep, planned)});
    EXPECT_EQ(saves, 3);
    EXPECT_EQ(env.repo.currentOperationID(), planned);
    EXPECT_EQ(env.journalRecords(), std::vector<Record>{undeclared});
}

TEST(FeatureAppendFlow, AStopAfterTheMoveLeavesTheChainOnTheOldTip) {
    const std::string changedAfterMove =
        "Repository or working files changed after moving work. Bookmark advancement was not "
        "attempted.";
    const std::string changedAfterLastStep =
        "Repository changed after the last recorded step; inspect intervening operations.";
    struct Case {
        const char* name;
        bool conflicting;
        bool bookmarkFails;
        std::function<void(const TestRepo&)> betweenSteps;
        std::string error;  // empty: the failed bookmark command's
        std::vector<std::string> warnings;
        const std::string& guidance;
    };
    const Case cases[] = {
        {"bookmark command fails", false, true, nullptr, "", {}, movedChainGuidance},
        {"describe between the steps",
         false,
         false,
         [](const TestRepo& repo) {
             repo.jj({"describe", "-r", repo.id("W1"), "-m", "reworded"});
         },
         changedAfterMove,
         {changedAfterLastStep},
         movedChainGuidance},
        {"file edited between the steps",
         false,
         false,
         [](const TestRepo& repo) { repo.writeFile("late.txt", "edited between the steps\n"); },
         changedAfterMove,
         {changedAfterLastStep},
         movedChainGuidance},
        {"conflicted work",
         true,
         false,
         nullptr,
         "Moved work has conflicts. Bookmark advancement was not attempted; inspect the partial "
         "action before resolving or continuing manually.",
         {},
         conflictsGuidance},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.name);
        const AppendRepo env(test.conflicting);
        const auto& repo = env.repo;
        const auto plan = env.plan();
        bool hookReached = false;
        Record record;
        {
            std::optional<testing::FailingJJScope> failing;
            if (test.bookmarkFails) {
                failing.emplace("bookmark");
            }
            record = env.client.executeFeatureAppend(
                plan, [&](const Record& saved) { env.journal().save(saved); },
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
            error = JJError(JJError::CommandFailed{
                                {"bookmark", "move",
                                 "--to=commit_id(" + repo.commitID(repo.id("W2")) + ")", "--",
                                 R"(exact:"feat")"},
                                1,
                                "injected failure\n"})
                        .errorDescription();
            steps.push_back(declared(advanceStep, moved));
        }
        EXPECT_EQ(record.steps, steps);
        EXPECT_EQ(record.receipt->commandError, error);
        EXPECT_EQ(record.receipt->verificationWarnings, test.warnings);
        // Conflicts stop before the hook between the steps is awaited.
        EXPECT_EQ(hookReached, !test.conflicting);
        EXPECT_EQ(record.receipt->afterOperationID == moved,
                  test.conflicting || test.bookmarkFails);
        EXPECT_EQ(record.receipt->afterOperationID, repo.currentOperationID());
        // What jj itself reports as conflicted among the moved commits and
        // their descendants.
        const auto conflicted =
            testing::conflictedChanges(repo, repo.id("W1") + ":: | " + repo.id("M") + "::");
        EXPECT_EQ(testing::sorted(record.receipt->conflictedChangeIDs), conflicted);
        EXPECT_EQ(std::binary_search(conflicted.begin(), conflicted.end(), repo.id("W1")),
                  test.conflicting);
        env.expectMovedChain();
        EXPECT_EQ(env.journalRecords(), std::vector<Record>{record});
        env.expectInspectedAsMovedChain(record, test.guidance);
    }
}

TEST(FeatureAppendFlow, AProcessKilledBetweenTheStepsLeavesASteppingRecord) {
    const AppendRepo env;
    const auto plan = env.plan();
    const testing::TempDir markers("vorda-append-marker");
    const auto marker = markers.path() / "between-steps";

    std::fflush(nullptr);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        // The child runs the flow until the hook and waits there to be
        // killed; it never returns into the test framework.
        try {
            env.client.executeFeatureAppend(
                plan, [&](const Record& record) { env.journal().save(record); },
                [&] {
                    std::ofstream(marker) << "between the steps\n";
                    for (;;) {
                        ::pause();
                    }
                });
        } catch (...) {
        }
        ::_exit(3);
    }

    int status = 0;
    bool ended = false;  // the child ended without reaching the hook
    while (!fs::exists(marker) && !(ended = ::waitpid(child, &status, WNOHANG) == child)) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    ASSERT_FALSE(ended);
    ::kill(child, SIGKILL);
    ::waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);

    const auto records = env.journalRecords();
    ASSERT_EQ(records.size(), 1U);
    const auto& record = records.front();
    EXPECT_EQ(record.plan, plan);
    EXPECT_EQ(record.receipt, std::nullopt);
    const auto now = env.repo.currentOperationID();
    EXPECT_EQ(record.steps,
              (std::vector<OperationStep>{completed(moveStep, plan.topology.operationID, now)}));
    env.expectMovedChain();
    EXPECT_EQ(env.client.inspectFeatureAppend(record),
              (Inspection{
                  record.id, now, now, Topology::routed, BookmarkState::original, {}, {}, false}));
    env.expectInspectedAsMovedChain(record, movedChainGuidance);
}

}  // namespace
}  // namespace vorda
