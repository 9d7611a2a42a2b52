#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include "jjkit/client/JJClient.h"
#include "jjkit/repo/JJRepoDetector.h"
#include "jjkit/rewrites/FeatureAppendPlan.h"
#include "jjkit/rewrites/FeatureInsertionPlan.h"
#include "jjkit/rewrites/OperationJournal.h"
#include "jjkit/support/Cancellation.h"
#include "jjkit/support/Text.h"
#include "support/Refusal.h"
#include "support/ScopedEnvironment.h"
#include "support/TempDir.h"
#include "support/TestRepo.h"

namespace vorda {

// Readable failure output; internal to this file.
static void PrintTo(const OperationStep& step, std::ostream* out) {
    *out << "{" << step.name << ", before " << step.beforeOperationID.substr(0, 12) << ", after "
         << (step.afterOperationID ? step.afterOperationID->substr(0, 12) : "none") << ", "
         << (step.completed ? "completed" : "declared") << "}";
}
static void PrintTo(FeatureAppendInspection::Topology topology, std::ostream* out) {
    *out << displayText(topology);
}
static void PrintTo(FeatureAppendInspection::BookmarkState state, std::ostream* out) {
    *out << displayText(state);
}

namespace {

namespace fs = std::filesystem;
using testing::refusal;
using testing::ScopedEnvironment;
using testing::TempDir;
using testing::TestRepo;
using Record = OperationRecord<FeatureAppendPlan>;
using Journal = OperationJournal<FeatureAppendPlan>;
using Inspection = FeatureAppendInspection;

const std::string moveStep = "Move commits and update descendant edges";
const std::string advanceStep = "Advance feature bookmark";

const std::string preserveTip = "Append must preserve the original feature tip.";
const std::string staleBookmarkStep =
    "Append bookmark step is stale or its rewritten target is invalid. Inspect the partial "
    "action; do not retry blindly.";
const std::string expired = "Append preview expired. Generate a fresh preview.";
const std::string scopeChanged =
    "Append scope or configuration changed. Replan before moving work.";
const std::string changedAfterMove =
    "Repository or working files changed after moving work. Bookmark advancement was not "
    "attempted.";
const std::string conflictedWork =
    "Moved work has conflicts. Bookmark advancement was not attempted; inspect the partial action "
    "before resolving or continuing manually.";
const std::string changedAfterLastStep =
    "Repository changed after the last recorded step; inspect intervening operations.";
const std::string foreignReceipt = "This receipt is unsupported or belongs to another repository.";
const std::string invalidReceipt = "Receipt contains invalid change identities.";

const std::string partialIDs = "Select full native change identities for routing.";
const std::string unfinished =
    "Select finished, mutable, unbookmarked commits—not a merge or workspace working copy.";
const std::string descends = "The insertion destination descends from the selected work.";

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
const std::string noOutcomeSentence =
    "No final outcome was saved. Execution may not have started, may still be running, or may "
    "have finished. Inspect the operation log before retrying or recovering.";

// ---------------------------------------------------------------------------
// Hand-made data for the pure parts.

std::string changeOf(char letter) {
    std::string changeID(32, letter);
    return changeID;
}

std::string commitOf(char digit) {
    std::string commitID(40, digit);
    return commitID;
}

JJCommit made(char changeLetter, char commitDigit, std::vector<std::string> parents) {
    JJCommit commit;
    commit.changeID = changeOf(changeLetter);
    commit.commitID = commitOf(commitDigit);
    commit.parents = std::move(parents);
    return commit;
}

JJCommit withBookmark(JJCommit commit, const std::string& name) {
    commit.localBookmarks.push_back({name, std::nullopt, {commit.commitID}, std::nullopt});
    return commit;
}

/// The same change rewritten: another commit ID and other parents.
JJCommit rewritten(const JJCommit& commit, char commitDigit, std::vector<std::string> parents) {
    JJCommit row = commit;
    row.commitID = commitOf(commitDigit);
    row.parents = std::move(parents);
    for (auto& bookmark : row.localBookmarks) {
        bookmark.target = {row.commitID};
    }
    return row;
}

/// Feature tip T (on base B), selection S1–S2 on the composition M = [T, X]
/// with the working copy W on S2: the shape an append works on.
struct HandMade {
    JJCommit base = made('k', '0', {});
    JJCommit tip = made('t', '1', {commitOf('0')});
    JJCommit trunk = made('x', '2', {commitOf('0')});
    JJCommit merge = made('m', '3', {commitOf('1'), commitOf('2')});
    JJCommit s1 = made('p', '4', {commitOf('3')});
    JJCommit s2 = made('q', '5', {commitOf('4')});
    JJCommit working = withBookmark(made('w', '6', {commitOf('5')}), "wip");
    JJWorkspace workspace{"default", "/tmp/repo", commitOf('6'), changeOf('w')};

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
        plan.expectedParents = {
            {merge.commitID, {s2.commitID, trunk.commitID}},
            {s1.commitID, {tip.commitID}},
            {s2.commitID, {s1.commitID}},
            {working.commitID, {merge.commitID}},
        };
        return plan;
    }

    Record record() const {
        Record record;
        record.id = "7B1C2D3E-0000-4000-8000-000000000001";
        record.plan = FeatureAppendPlan(topology());
        return record;
    }

    // The graph after a successful append: S1' on T, S2' on S1', M' on
    // [S2', X], W' on M'.
    JJCommit movedS1() const { return rewritten(s1, 'a', {tip.commitID}); }
    JJCommit movedS2() const { return rewritten(s2, 'b', {commitOf('a')}); }
    JJCommit movedMerge() const { return rewritten(merge, 'c', {commitOf('b'), trunk.commitID}); }
    JJCommit movedWorking() const { return rewritten(working, 'd', {commitOf('c')}); }
    std::vector<JJCommit> routedRows() const {
        return {movedWorking(), movedMerge(), movedS2(), movedS1()};
    }
};

TEST(FeatureAppendPlanValues, TheConstructorGuardsTheTipAndDerivesTheAdvanceAndAttachments) {
    const HandMade data;
    const FeatureAppendPlan plan(data.topology());
    EXPECT_EQ(plan.topology, data.topology());
    EXPECT_EQ(plan.bookmarkAdvance, (BookmarkAdvance{"feat", data.tip.commitID, data.s2.changeID}));
    // Only the merge whose parents change is an attachment change; the
    // single-parent commits whose parents change are not.
    ASSERT_EQ(plan.attachmentChanges.size(), 1U);
    EXPECT_EQ(plan.attachmentChanges.front(),
              (AttachmentChange{data.merge.commitID,
                                data.merge.changeID,
                                {data.tip.commitID, data.trunk.commitID},
                                {data.s2.commitID, data.trunk.commitID}}));

    // A merge whose parents stay, or that has no entry, is no attachment change.
    auto unchangedMerge = data.topology();
    unchangedMerge.expectedParents[data.merge.commitID] = data.merge.parents;
    EXPECT_TRUE(FeatureAppendPlan(unchangedMerge).attachmentChanges.empty());
    auto unplannedMerge = data.topology();
    unplannedMerge.expectedParents.erase(data.merge.commitID);
    EXPECT_TRUE(FeatureAppendPlan(unplannedMerge).attachmentChanges.empty());

    // The tip among the affected commits: the append would rewrite what it
    // builds on.
    auto tipAffected = data.topology();
    tipAffected.affected.push_back(data.tip);
    EXPECT_EQ(refusal([&] { FeatureAppendPlan{tipAffected}; }), preserveTip);

    // An insertion below the tip is no append.
    auto belowTip = data.topology();
    belowTip.destination = data.base;
    EXPECT_EQ(refusal([&] { FeatureAppendPlan{belowTip}; }), preserveTip);

    auto nothingSelected = data.topology();
    nothingSelected.selected.clear();
    EXPECT_EQ(refusal([&] { FeatureAppendPlan{nothingSelected}; }), preserveTip);
}

TEST(FeatureAppendPlanValues, TheBookmarkCommandRunsOnlyOnTheCheckpointItWasPlannedFor) {
    const HandMade data;
    const FeatureAppendPlan plan(data.topology());
    const auto movedTip = data.movedS2();
    const std::vector<std::string> atOldTip{data.tip.commitID};

    EXPECT_EQ(
        plan.bookmarkCommand(movedTip, atOldTip, "op-2", "op-2"),
        (std::vector<std::string>{"bookmark", "move", "--to=commit_id(" + movedTip.commitID + ")",
                                  "--", R"(exact:"feat")"}));

    auto shortID = movedTip;
    shortID.commitID = std::string(39, 'b');
    EXPECT_EQ(refusal([&] { plan.bookmarkCommand(shortID, atOldTip, "op-2", "op-2"); }),
              staleBookmarkStep);
    auto upperCase = movedTip;
    upperCase.commitID = std::string(40, 'B');
    EXPECT_EQ(refusal([&] { plan.bookmarkCommand(upperCase, atOldTip, "op-2", "op-2"); }),
              staleBookmarkStep);
    auto notHex = movedTip;
    notHex.commitID = std::string(40, 'g');
    EXPECT_EQ(refusal([&] { plan.bookmarkCommand(notHex, atOldTip, "op-2", "op-2"); }),
              staleBookmarkStep);

    // The bookmark moved away from the old tip, or became conflicted, or
    // vanished.
    EXPECT_EQ(refusal([&] { plan.bookmarkCommand(movedTip, {commitOf('9')}, "op-2", "op-2"); }),
              staleBookmarkStep);
    EXPECT_EQ(
        refusal([&] {
            plan.bookmarkCommand(movedTip, {data.tip.commitID, commitOf('9')}, "op-2", "op-2");
        }),
        staleBookmarkStep);
    EXPECT_EQ(refusal([&] { plan.bookmarkCommand(movedTip, {}, "op-2", "op-2"); }),
              staleBookmarkStep);

    // Another operation than the checkpoint's.
    EXPECT_EQ(refusal([&] { plan.bookmarkCommand(movedTip, atOldTip, "op-3", "op-2"); }),
              staleBookmarkStep);

    // A commit of another change than the highest selected one.
    EXPECT_EQ(refusal([&] { plan.bookmarkCommand(data.movedS1(), atOldTip, "op-2", "op-2"); }),
              staleBookmarkStep);

    // A glob character names that one bookmark, never others.
    auto globbed = data.topology();
    globbed.bookmarkName = "feat*";
    EXPECT_EQ(FeatureAppendPlan(globbed).bookmarkCommand(movedTip, atOldTip, "op", "op").back(),
              R"(exact:"feat*")");
}

TEST(FeatureAppendPlanValues, InspectionTellsOriginalRoutedBothAndChangedStates) {
    const HandMade data;
    const auto record = data.record();
    const std::vector<JJCommit> originalRows{data.working, data.merge, data.s2, data.s1};
    const std::vector<JJCommit> tipRows{data.tip};
    const std::vector<JJWorkspace> workspaces{data.workspace};
    const std::vector<JJWorkspace> movedWorkspaces{
        {"default", "/tmp/repo", commitOf('d'), changeOf('w')}};

    // Nothing ran: the original graph and the bookmark at its old tip.
    const auto untouched =
        Inspection::build(record, "op-planned", originalRows, tipRows, tipRows, workspaces);
    EXPECT_EQ(untouched.recordID, record.id);
    EXPECT_EQ(untouched.operationID, "op-planned");
    EXPECT_EQ(untouched.topology, Inspection::Topology::original);
    EXPECT_EQ(untouched.bookmark, Inspection::BookmarkState::original);
    EXPECT_TRUE(untouched.warnings.empty());
    EXPECT_EQ(untouched.latestRecordedOperationID, "op-planned");
    EXPECT_FALSE(untouched.changedSinceCheckpoint);
    EXPECT_EQ(untouched.guidance(), originalGuidance);

    // A plan whose routed graph is its original one inspects as both.
    auto coinciding = record;
    for (const auto& commit : coinciding.plan.topology.affected) {
        coinciding.plan.topology.expectedParents[commit.commitID] = commit.parents;
    }
    const auto both =
        Inspection::build(coinciding, "op-later", originalRows, tipRows, tipRows, workspaces);
    EXPECT_EQ(both.topology, Inspection::Topology::both);
    EXPECT_TRUE(both.warnings.empty());
    EXPECT_TRUE(both.changedSinceCheckpoint);
    EXPECT_EQ(both.guidance(), originalGuidance);

    // Step one ran and was recorded; the bookmark stayed.
    auto stepped = record;
    stepped.steps = std::vector<OperationStep>{{moveStep, "op-planned", "op-moved", true},
                                               {advanceStep, "op-moved", std::nullopt, false}};
    const auto moved = Inspection::build(stepped, "op-moved", data.routedRows(), tipRows, tipRows,
                                         movedWorkspaces);
    EXPECT_EQ(moved.topology, Inspection::Topology::routed);
    EXPECT_EQ(moved.bookmark, Inspection::BookmarkState::original);
    EXPECT_TRUE(moved.warnings.empty());
    EXPECT_EQ(moved.latestRecordedOperationID, "op-moved");
    EXPECT_FALSE(moved.changedSinceCheckpoint);
    EXPECT_EQ(moved.guidance(), movedChainGuidance);

    // Both steps ran and the receipt was saved.
    auto finished = stepped;
    finished.steps->back() = {advanceStep, "op-moved", "op-advanced", true};
    finished.receipt = LocalStackUpdateReceipt{"op-planned", "op-final", std::nullopt, {}, {}, {}};
    const std::vector<JJCommit> atMovedTip{data.movedS2()};
    const auto advanced = Inspection::build(finished, "op-final", data.routedRows(), atMovedTip,
                                            tipRows, movedWorkspaces);
    EXPECT_EQ(advanced.topology, Inspection::Topology::routed);
    EXPECT_EQ(advanced.bookmark, Inspection::BookmarkState::advanced);
    EXPECT_EQ(advanced.latestRecordedOperationID, "op-final");
    EXPECT_FALSE(advanced.changedSinceCheckpoint);
    EXPECT_EQ(advanced.guidance(), advancedGuidance);

    // Conflicts come before the topology's own sentence.
    auto conflictedRows = data.routedRows();
    conflictedRows[2].conflict = true;
    const auto conflicted =
        Inspection::build(stepped, "op-moved", conflictedRows, tipRows, tipRows, movedWorkspaces);
    EXPECT_EQ(conflicted.conflictedChangeIDs, std::vector<std::string>{data.s2.changeID});
    EXPECT_EQ(conflicted.topology, Inspection::Topology::routed);
    EXPECT_EQ(conflicted.guidance(), conflictsGuidance);

    // A commit that matches neither graph.
    auto strayRows = data.routedRows();
    strayRows[1].parents = {data.trunk.commitID};
    const auto stray =
        Inspection::build(stepped, "op-x", strayRows, tipRows, tipRows, movedWorkspaces);
    EXPECT_EQ(stray.topology, Inspection::Topology::changed);
    EXPECT_EQ(stray.warnings, std::vector<std::string>{"Unexpected parents on mmmmmmmmmmmm"});
    EXPECT_EQ(stray.guidance(), differsGuidance);

    // A part of the graph routed, the rest original: neither as a whole.
    std::vector<JJCommit> halfway{data.working, data.merge, data.movedS2(), data.movedS1()};
    halfway[1].parents = data.merge.parents;
    const auto mixed = Inspection::build(stepped, "op-x", halfway, tipRows, tipRows, workspaces);
    EXPECT_EQ(mixed.topology, Inspection::Topology::changed);

    // A missing and a divergent change; the bookmark moved elsewhere.
    std::vector<JJCommit> gone{data.movedWorking(), data.movedMerge(), data.movedS1(),
                               rewritten(data.s1, 'e', {data.tip.commitID})};
    const std::vector<JJCommit> elsewhere{data.trunk};
    const auto missing =
        Inspection::build(stepped, "op-x", gone, elsewhere, tipRows, movedWorkspaces);
    EXPECT_EQ(missing.topology, Inspection::Topology::changed);
    EXPECT_EQ(missing.bookmark, Inspection::BookmarkState::changed);
    EXPECT_EQ(missing.warnings,
              (std::vector<std::string>{"Missing or divergent change pppppppppppp",
                                        "Missing or divergent change qqqqqqqqqqqq",
                                        // Its parent is the missing change: no translation.
                                        "Unexpected parents on mmmmmmmmmmmm"}));
    EXPECT_EQ(missing.guidance(), differsGuidance);

    // A conflicted bookmark, a rewritten tip, a lost bookmark on an affected
    // commit and another working copy are each told.
    auto lostBookmark = data.routedRows();
    lostBookmark[0].localBookmarks.clear();
    const std::vector<JJCommit> twoTargets{data.tip, data.movedS2()};
    const std::vector<JJCommit> rewrittenTip{rewritten(data.tip, 'f', data.tip.parents)};
    const std::vector<JJWorkspace> otherWorkingCopy{
        {"default", "/tmp/repo", commitOf('8'), changeOf('z')}};
    const auto drifted = Inspection::build(stepped, "op-x", lostBookmark, twoTargets, rewrittenTip,
                                           otherWorkingCopy);
    EXPECT_EQ(drifted.topology, Inspection::Topology::routed);
    EXPECT_EQ(drifted.bookmark, Inspection::BookmarkState::changed);
    EXPECT_EQ(drifted.warnings,
              (std::vector<std::string>{"Bookmark wip no longer follows its change",
                                        "Original feature tip is rewritten, hidden, or divergent",
                                        "Working-copy identity changed in default"}));
    EXPECT_EQ(drifted.guidance(), differsGuidance);

    // With warnings, even an advanced bookmark on the routed graph differs:
    // here the workspace is gone.
    const auto warned =
        Inspection::build(finished, "op-final", data.routedRows(), atMovedTip, tipRows, {});
    EXPECT_EQ(warned.bookmark, Inspection::BookmarkState::advanced);
    EXPECT_EQ(warned.warnings,
              std::vector<std::string>{"Working-copy identity changed in default"});
    EXPECT_EQ(warned.guidance(), differsGuidance);
}

TEST(FeatureAppendPlanValues, DisplayTextsAreTheRawValues) {
    EXPECT_EQ(displayText(Inspection::Topology::original), "Original parent topology");
    EXPECT_EQ(displayText(Inspection::Topology::routed), "Routed parent topology");
    EXPECT_EQ(displayText(Inspection::Topology::both),
              "Original and routed parent topology coincide");
    EXPECT_EQ(displayText(Inspection::Topology::changed),
              "Parent topology differs or cannot be verified");
    EXPECT_EQ(displayText(Inspection::BookmarkState::original),
              "Bookmark remains at the original feature tip");
    EXPECT_EQ(displayText(Inspection::BookmarkState::advanced),
              "Bookmark points to the uniquely visible moved tip");
    EXPECT_EQ(displayText(Inspection::BookmarkState::changed),
              "Bookmark is missing, divergent, or elsewhere");
}

// ---------------------------------------------------------------------------
// Real repositories.

std::vector<std::string> lines(const std::string& output) {
    std::vector<std::string> result;
    for (const auto line : text::splitNonEmpty(output, '\n')) {
        result.emplace_back(line);
    }
    return result;
}

/// Trunk `main` (base, t1), the feature `feat` (f1, f2) on base, and an
/// integration merge of f2 and t1 with work w1–w2 on it, under the default
/// workspace's working copy. With `conflicting`, t1 and w1 both change
/// shared.txt, which f2 leaves as base had it, so w1 conflicts on the tip.
struct AppendRepo {
    TestRepo repo;
    JJClient client{repo.root()};
    std::string base, t1, f1, f2, merge, w1, w2;

    explicit AppendRepo(bool conflicting = false) {
        base = repo.commit("base", {{"README", "base\n"}, {"shared.txt", "base\n"}});
        t1 = repo.commit("trunk work", {{"shared.txt", "trunk\n"}});
        repo.bookmark("main", t1);
        repo.newChange({base});
        f1 = repo.commit("f1", {{"f1.txt", "one\n"}});
        f2 = repo.commit("f2", {{"f2.txt", "two\n"}});
        repo.bookmark("feat", f2);
        merge = repo.newChange({f2, t1}, "wip: Vorda composition default");
        repo.newChange({merge});
        w1 = repo.commit("w1", conflicting ? testing::FileContents{{"shared.txt", "work\n"}}
                                           : testing::FileContents{{"w1.txt", "w1\n"}});
        w2 = repo.commit("w2", {{"w2.txt", "w2\n"}});
    }

    FeatureAppendPlan plan() const { return client.planFeatureAppend({w2, w1}, "feat"); }

    /// The parents of `change`, as change IDs.
    std::vector<std::string> parents(const std::string& change) const {
        const auto output = repo.jj({"log", "--no-graph", "--ignore-working-copy", "-r", change,
                                     "-T", "parents.map(|p| p.change_id() ++ \"\\n\").join(\"\")"});
        return lines(output);
    }

    /// True when the revset names at least one commit.
    bool exists(const std::string& revset) const { return !repo.changeID(revset).empty(); }

    /// What jj itself reports as conflicted among the moved commits and their
    /// descendants, sorted.
    std::vector<std::string> conflictedNow() const {
        auto changes = lines(repo.jj({"log", "--no-graph", "--ignore-working-copy", "-r",
                                      "conflicts() & (" + w1 + ":: | " + merge + "::)", "-T",
                                      "change_id ++ \"\\n\""}));
        std::sort(changes.begin(), changes.end());
        return changes;
    }

    /// The chain moved by step one and nothing else: f2 ← w1 ← w2 ← merge
    /// (with t1) ← working copy, the bookmark still on f2.
    void expectMovedChain() const {
        EXPECT_EQ(parents(w1), std::vector<std::string>{f2});
        EXPECT_EQ(parents(w2), std::vector<std::string>{w1});
        EXPECT_EQ(parents(merge), (std::vector<std::string>{w2, t1}));
        EXPECT_EQ(parents("@"), std::vector<std::string>{merge});
    }

    /// The repository as it was built.
    void expectOriginalGraph() const {
        EXPECT_EQ(parents(w1), std::vector<std::string>{merge});
        EXPECT_EQ(parents(w2), std::vector<std::string>{w1});
        EXPECT_EQ(parents(merge), (std::vector<std::string>{f2, t1}));
        EXPECT_EQ(repo.changeID("feat"), f2);
    }

    std::vector<Record> journalRecords() const {
        const auto loaded = Journal(repo.root()).load();
        EXPECT_TRUE(loaded.warnings.empty());
        return loaded.records;
    }
};

OperationStep completed(const std::string& name, const std::string& before,
                        const std::string& after) {
    return {name, before, after, true};
}

OperationStep declared(const std::string& name, const std::string& before) {
    return {name, before, std::nullopt, false};
}

std::string realJJ() {
    const auto found = testing::runChecked({"sh", "-c", "command -v jj"});
    return found.substr(0, found.find('\n'));
}

std::string toolFolder(const std::string& name) {
    return std::string(VORDA_TEST_TOOLS_DIR) + "/" + name;
}

TEST(FeatureAppendFlow, AppendsTheWorkOntoTheTipAndAdvancesTheBookmark) {
    const AppendRepo env;
    const auto plan = env.plan();
    const auto& topology = plan.topology;
    EXPECT_EQ(topology.bookmarkName, "feat");
    EXPECT_EQ(topology.featureTip.changeID, env.f2);
    EXPECT_EQ(topology.destination, topology.featureTip);
    ASSERT_EQ(topology.selected.size(), 2U);
    EXPECT_EQ(topology.selected[0].changeID, env.w1);
    EXPECT_EQ(topology.selected[1].changeID, env.w2);
    EXPECT_EQ(plan.bookmarkAdvance, (BookmarkAdvance{"feat", env.repo.commitID(env.f2), env.w2}));
    ASSERT_EQ(plan.attachmentChanges.size(), 1U);
    EXPECT_EQ(plan.attachmentChanges.front().changeID, env.merge);
    EXPECT_EQ(plan.attachmentChanges.front().oldParentIDs,
              (std::vector<std::string>{env.repo.commitID(env.f2), env.repo.commitID(env.t1)}));
    EXPECT_EQ(plan.attachmentChanges.front().expectedParentIDs,
              (std::vector<std::string>{env.repo.commitID(env.w2), env.repo.commitID(env.t1)}));
    const auto tipCommit = env.repo.commitID(env.f2);

    const auto record = env.client.executeFeatureAppend(plan);

    ASSERT_TRUE(record.receipt);
    const auto& receipt = *record.receipt;
    EXPECT_EQ(receipt.commandError, std::nullopt);
    EXPECT_TRUE(receipt.verificationWarnings.empty())
        << text::join(receipt.verificationWarnings, "\n");
    EXPECT_TRUE(receipt.conflictedChangeIDs.empty());
    EXPECT_EQ(receipt.beforeOperationID, topology.operationID);
    EXPECT_EQ(receipt.affectedWorkspaceNames, std::vector<std::string>{"default"});
    ASSERT_TRUE(record.steps);
    ASSERT_EQ(record.steps->size(), 2U);
    const auto& move = record.steps->at(0);
    const auto& advance = record.steps->at(1);
    EXPECT_EQ(move.name, moveStep);
    EXPECT_EQ(move.beforeOperationID, topology.operationID);
    EXPECT_TRUE(move.completed);
    ASSERT_TRUE(move.afterOperationID);
    EXPECT_NE(*move.afterOperationID, topology.operationID);
    EXPECT_EQ(advance, completed(advanceStep, *move.afterOperationID,
                                 advance.afterOperationID.value_or("")));
    EXPECT_NE(advance.afterOperationID, move.afterOperationID);
    EXPECT_EQ(receipt.afterOperationID, advance.afterOperationID);
    EXPECT_EQ(receipt.afterOperationID, env.repo.currentOperationID());

    // jj agrees: the chain is on the tip, the tip itself untouched, the
    // bookmark on the moved w2, and the composition reaches the work through
    // the feature.
    env.expectMovedChain();
    EXPECT_EQ(env.repo.commitID(env.f2), tipCommit);
    EXPECT_EQ(env.repo.changeID("feat"), env.w2);
    EXPECT_EQ(env.repo.changeID("feat & parents(" + env.merge + ")"), env.w2);
    EXPECT_TRUE(env.exists(env.w1 + " & ::feat"));
    EXPECT_TRUE(env.exists("feat & ::@"));

    const auto records = env.journalRecords();
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records.front(), record);

    const auto inspection = env.client.inspectFeatureAppend(record);
    EXPECT_EQ(inspection.recordID, record.id);
    EXPECT_EQ(inspection.topology, Inspection::Topology::routed);
    EXPECT_EQ(inspection.bookmark, Inspection::BookmarkState::advanced);
    EXPECT_TRUE(inspection.warnings.empty()) << text::join(inspection.warnings, "\n");
    EXPECT_TRUE(inspection.conflictedChangeIDs.empty());
    EXPECT_EQ(inspection.operationID, env.repo.currentOperationID());
    EXPECT_EQ(inspection.latestRecordedOperationID, *receipt.afterOperationID);
    EXPECT_FALSE(inspection.changedSinceCheckpoint);
    EXPECT_EQ(inspection.guidance(), advancedGuidance);

    // Inspection takes no snapshot: an edit on disk is not looked at, and no
    // operation is written.
    const auto before = env.repo.currentOperationID();
    env.repo.writeFile("pending.txt", "not yet snapshotted\n");
    EXPECT_EQ(env.client.inspectFeatureAppend(record).guidance(), advancedGuidance);
    EXPECT_EQ(env.repo.currentOperationID(), before);
}

TEST(FeatureAppendFlow, RefusalsLeaveTheRepositoryUntouched) {
    const AppendRepo env;
    const auto start = env.repo.currentOperationID();

    // The routing's own refusals pass through the append unchanged.
    EXPECT_EQ(refusal([&] { env.client.planFeatureAppend({env.w1.substr(0, 12)}, "feat"); }),
              partialIDs);
    EXPECT_EQ(refusal([&] { env.client.planFeatureAppend({env.repo.changeID("@")}, "feat"); }),
              unfinished);
    EXPECT_EQ(refusal([&] { env.client.planFeatureAppend({env.f1}, "feat"); }), descends);
    EXPECT_EQ(env.repo.currentOperationID(), start);
    env.expectOriginalGraph();

    // A stopped execution throws before anything is saved.
    const auto plan = env.plan();
    std::stop_source stopped;
    stopped.request_stop();
    EXPECT_THROW(env.client.executeFeatureAppend(plan, stopped.get_token()), CancellationError);

    // A plan of another workspace of the same repository is foreign.
    const auto other = env.repo.addWorkspace("second", env.t1);
    const JJClient otherClient(other);
    EXPECT_EQ(refusal([&] { otherClient.executeFeatureAppend(plan); }),
              "This append preview belongs to another repository or workspace.");

    // A first save that fails is thrown, and nothing runs.
    const auto planned = env.plan();
    int saves = 0;
    EXPECT_THROW(env.client.executeFeatureAppend(
                     planned,
                     [&](const Record&) {
                         ++saves;
                         throw std::runtime_error("disk is full");
                     },
                     [] {}),
                 std::runtime_error);
    EXPECT_EQ(saves, 1);
    EXPECT_EQ(env.repo.currentOperationID(), planned.topology.operationID);
    env.expectOriginalGraph();
    EXPECT_TRUE(env.journalRecords().empty());
}

TEST(FeatureAppendFlow, StalePreviewsAndChangedConfigurationAreRefused) {
    const AppendRepo env;
    auto expectUntouched = [&] {
        EXPECT_EQ(env.parents(env.w1), std::vector<std::string>{env.merge});
        EXPECT_EQ(env.repo.changeID("feat"), env.f2);
        EXPECT_TRUE(env.journalRecords().empty());
    };

    // A describe after planning.
    auto plan = env.plan();
    env.repo.jj({"describe", "-r", env.w1, "-m", "w1, reworded"});
    EXPECT_EQ(refusal([&] { env.client.executeFeatureAppend(plan); }), expired);
    expectUntouched();

    // A new commit elsewhere.
    plan = env.plan();
    env.repo.jj({"new", "--no-edit", env.t1, "-m", "unrelated"});
    EXPECT_EQ(refusal([&] { env.client.executeFeatureAppend(plan); }), expired);
    expectUntouched();

    // A file edited on disk: the execution snapshot makes it an operation.
    plan = env.plan();
    env.repo.writeFile("edited.txt", "edited after the preview\n");
    EXPECT_EQ(refusal([&] { env.client.executeFeatureAppend(plan); }), expired);
    expectUntouched();

    // Another trunk() moves no operation but makes the feature's tip
    // protected: the plan made again differs.
    plan = env.plan();
    env.repo.jj(
        {"config", "set", "--repo", "revset-aliases.\"trunk()\"", env.repo.commitID(env.f2)});
    EXPECT_EQ(refusal([&] { env.client.executeFeatureAppend(plan); }), scopeChanged);
    expectUntouched();
    EXPECT_EQ(env.repo.currentOperationID(), plan.topology.operationID);
}

TEST(FeatureAppendFlow, FailingSavesAreToldByTheReceipt) {
    const AppendRepo env;
    const auto plan = env.plan();
    const auto planned = plan.topology.operationID;
    const Journal journal(env.repo.root());

    // The declaration of step one cannot be saved: no rebase runs.
    int saves = 0;
    const auto undeclared = env.client.executeFeatureAppend(
        plan,
        [&](const Record& record) {
            // The first save holds no steps at all, not an empty list.
            EXPECT_EQ(saves == 0, !record.steps.has_value());
            if (++saves == 2) {
                throw std::runtime_error("disk is full");
            }
            journal.save(record);
        },
        [] {});
    ASSERT_TRUE(undeclared.receipt);
    EXPECT_EQ(undeclared.receipt->commandError, "disk is full");
    EXPECT_TRUE(undeclared.receipt->verificationWarnings.empty());
    EXPECT_EQ(undeclared.receipt->afterOperationID, planned);
    EXPECT_EQ(undeclared.steps, std::vector<OperationStep>{declared(moveStep, planned)});
    EXPECT_EQ(saves, 3);
    EXPECT_EQ(env.repo.currentOperationID(), planned);
    env.expectOriginalGraph();

    // Nothing has run, so the same plan still holds; now the final save fails.
    bool receiptSaveFailed = false;
    const auto unsaved = env.client.executeFeatureAppend(
        plan,
        [&](const Record& record) {
            if (record.receipt) {
                receiptSaveFailed = true;
                throw std::runtime_error("disk is full");
            }
            journal.save(record);
        },
        [] {});
    EXPECT_TRUE(receiptSaveFailed);
    ASSERT_TRUE(unsaved.receipt);
    EXPECT_EQ(unsaved.receipt->commandError, std::nullopt);
    EXPECT_EQ(unsaved.receipt->verificationWarnings,
              std::vector<std::string>{"Could not save final append receipt: disk is full. "
                                       "Inspect the operation log before retrying."});
    ASSERT_TRUE(unsaved.steps);
    ASSERT_EQ(unsaved.steps->size(), 2U);
    EXPECT_TRUE(unsaved.steps->at(0).completed);
    EXPECT_TRUE(unsaved.steps->at(1).completed);
    env.expectMovedChain();
    EXPECT_EQ(env.repo.changeID("feat"), env.w2);

    // On disk: the first record with its receipt, the second stepping
    // without one.
    const auto records = env.journalRecords();
    ASSERT_EQ(records.size(), 2U);
    const auto stored = [&](const std::string& id) {
        return *std::find_if(records.begin(), records.end(),
                             [&](const Record& record) { return record.id == id; });
    };
    EXPECT_EQ(stored(undeclared.id), undeclared);
    const auto stepping = stored(unsaved.id);
    EXPECT_EQ(stepping.receipt, std::nullopt);
    EXPECT_EQ(stepping.steps, unsaved.steps);
    EXPECT_EQ(stepping.recoveryGuidance(env.repo.currentOperationID()), noOutcomeSentence);
}

TEST(FeatureAppendFlow, AFailingBookmarkCommandLeavesTheMovedChainOnTheOldTip) {
    const AppendRepo env;
    const auto plan = env.plan();
    const auto tipCommit = env.repo.commitID(env.f2);

    Record record;
    {
        const ScopedEnvironment realJJVariable("VORDA_REAL_JJ");
        const ScopedEnvironment failing("VORDA_FAIL_JJ_SUBCOMMAND");
        const ScopedEnvironment path("PATH");
        realJJVariable.set(realJJ());
        failing.set("bookmark");
        path.prependPath(toolFolder("failing-subcommand-jj"));
        record = env.client.executeFeatureAppend(plan);
    }

    ASSERT_TRUE(record.receipt);
    ASSERT_TRUE(record.steps);
    ASSERT_EQ(record.steps->size(), 2U);
    const auto& move = record.steps->at(0);
    ASSERT_TRUE(move.completed);
    const auto moved = *move.afterOperationID;
    EXPECT_EQ(record.steps->at(1), declared(advanceStep, moved));
    const std::vector<std::string> command{"bookmark", "move",
                                           "--to=commit_id(" + env.repo.commitID(env.w2) + ")",
                                           "--", R"(exact:"feat")"};
    EXPECT_EQ(record.receipt->commandError,
              JJError(JJError::CommandFailed{command, 1, "injected failure\n"}).errorDescription());
    EXPECT_TRUE(record.receipt->verificationWarnings.empty());
    EXPECT_EQ(record.receipt->afterOperationID, moved);
    EXPECT_EQ(env.repo.currentOperationID(), moved);

    env.expectMovedChain();
    EXPECT_EQ(env.repo.commitID("feat"), tipCommit);
    EXPECT_EQ(env.journalRecords(), std::vector<Record>{record});

    const auto inspection = env.client.inspectFeatureAppend(record);
    EXPECT_EQ(inspection.topology, Inspection::Topology::routed);
    EXPECT_EQ(inspection.bookmark, Inspection::BookmarkState::original);
    EXPECT_TRUE(inspection.warnings.empty());
    EXPECT_EQ(inspection.guidance(), movedChainGuidance);
}

TEST(FeatureAppendFlow, AChangeBetweenTheStepsStopsBeforeTheBookmarkMoves) {
    // A describe from the command line while the flow waits between steps,
    // and, in a second repository, a file edited on disk.
    for (const bool editOnDisk : {false, true}) {
        SCOPED_TRACE(editOnDisk ? "file edited on disk" : "describe from the command line");
        const AppendRepo env;
        const auto plan = env.plan();
        const auto tipCommit = env.repo.commitID(env.f2);
        std::optional<std::string> afterMove;
        const auto record = env.client.executeFeatureAppend(
            plan, [&](const Record&) {},
            [&] {
                afterMove = env.repo.currentOperationID();
                if (editOnDisk) {
                    env.repo.writeFile("late.txt", "edited between the steps\n");
                } else {
                    env.repo.jj({"describe", "-r", env.w1, "-m", "w1, reworded meanwhile"});
                }
            });

        ASSERT_TRUE(record.receipt);
        ASSERT_TRUE(afterMove);
        EXPECT_EQ(record.receipt->commandError, changedAfterMove);
        EXPECT_EQ(record.receipt->verificationWarnings,
                  std::vector<std::string>{changedAfterLastStep});
        EXPECT_EQ(record.steps, (std::vector<OperationStep>{
                                    completed(moveStep, plan.topology.operationID, *afterMove)}));
        EXPECT_NE(record.receipt->afterOperationID, afterMove);
        EXPECT_EQ(record.receipt->afterOperationID, env.repo.currentOperationID());
        EXPECT_EQ(env.repo.commitID("feat"), tipCommit);
        env.expectMovedChain();
    }
}

TEST(FeatureAppendFlow, ConflictsInTheMovedWorkStopBeforeTheBookmarkMoves) {
    const AppendRepo env(/*conflicting=*/true);
    const auto plan = env.plan();
    const auto tipCommit = env.repo.commitID(env.f2);
    bool reachedBetweenSteps = false;

    const auto record = env.client.executeFeatureAppend(
        plan, [](const Record&) {}, [&] { reachedBetweenSteps = true; });

    EXPECT_FALSE(reachedBetweenSteps);
    ASSERT_TRUE(record.receipt);
    EXPECT_EQ(record.receipt->commandError, conflictedWork);
    EXPECT_TRUE(record.receipt->verificationWarnings.empty());
    ASSERT_TRUE(record.steps);
    ASSERT_EQ(record.steps->size(), 1U);
    EXPECT_TRUE(record.steps->front().completed);
    EXPECT_EQ(record.receipt->afterOperationID, record.steps->front().afterOperationID);

    auto conflicted = record.receipt->conflictedChangeIDs;
    std::sort(conflicted.begin(), conflicted.end());
    EXPECT_EQ(conflicted, env.conflictedNow());
    EXPECT_NE(std::find(conflicted.begin(), conflicted.end(), env.w1), conflicted.end());
    env.expectMovedChain();
    EXPECT_EQ(env.repo.commitID("feat"), tipCommit);

    const auto inspection = env.client.inspectFeatureAppend(record);
    EXPECT_EQ(inspection.topology, Inspection::Topology::routed);
    EXPECT_EQ(inspection.bookmark, Inspection::BookmarkState::original);
    EXPECT_EQ(inspection.guidance(), conflictsGuidance);
}

TEST(FeatureAppendFlow, AProcessKilledBetweenTheStepsLeavesASteppingRecord) {
    const AppendRepo env;
    const auto plan = env.plan();
    const auto tipCommit = env.repo.commitID(env.f2);
    const Journal journal(env.repo.root());
    const TempDir markers("vorda-append-marker");
    const auto marker = markers.path() / "between-steps";

    std::fflush(nullptr);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        // The child runs the flow until the hook and waits there to be
        // killed; it never returns into the test framework.
        try {
            env.client.executeFeatureAppend(
                plan, [&](const Record& record) { journal.save(record); },
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
    bool reached = false;
    for (;;) {
        if (fs::exists(marker)) {
            reached = true;
            break;
        }
        if (::waitpid(child, &status, WNOHANG) == child) {
            break;  // the child ended without reaching the hook
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    if (reached) {
        ::kill(child, SIGKILL);
        ::waitpid(child, &status, 0);
    }
    ASSERT_TRUE(reached);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);

    const auto records = env.journalRecords();
    ASSERT_EQ(records.size(), 1U);
    const auto& record = records.front();
    EXPECT_EQ(record.plan, plan);
    EXPECT_EQ(record.receipt, std::nullopt);
    const auto now = env.repo.currentOperationID();
    EXPECT_EQ(record.steps,
              (std::vector<OperationStep>{completed(moveStep, plan.topology.operationID, now)}));
    EXPECT_EQ(record.recoveryGuidance(now), noOutcomeSentence);
    env.expectMovedChain();
    EXPECT_EQ(env.repo.commitID("feat"), tipCommit);

    const auto inspection = env.client.inspectFeatureAppend(record);
    EXPECT_EQ(inspection.topology, Inspection::Topology::routed);
    EXPECT_EQ(inspection.bookmark, Inspection::BookmarkState::original);
    EXPECT_TRUE(inspection.warnings.empty()) << text::join(inspection.warnings, "\n");
    EXPECT_EQ(inspection.latestRecordedOperationID, now);
    EXPECT_FALSE(inspection.changedSinceCheckpoint);
    EXPECT_EQ(inspection.guidance(), movedChainGuidance);
}

TEST(FeatureAppendFlow, ForeignOrDamagedReceiptsAreRefusedBeforeAnyRead) {
    const AppendRepo env;
    const auto record = env.client.executeFeatureAppend(env.plan());
    ASSERT_TRUE(record.receipt);
    TestRepo elsewhere;
    const JJClient otherClient(elsewhere.root());

    auto unsupported = record;
    unsupported.schemaVersion = 2;
    auto invalidChange = record;
    invalidChange.plan.topology.repositoryID =
        JJRepoDetector::sharedRepositoryPath(env.repo.root());
    invalidChange.plan.topology.affected.front().changeID.resize(12);

    // With a jj that cannot run at all, any read would fail otherwise.
    const ScopedEnvironment path("PATH");
    path.prependPath(toolFolder("failing-jj"));
    EXPECT_EQ(refusal([&] { otherClient.inspectFeatureAppend(record); }), foreignReceipt);
    EXPECT_EQ(refusal([&] { env.client.inspectFeatureAppend(unsupported); }), foreignReceipt);
    EXPECT_EQ(refusal([&] { env.client.inspectFeatureAppend(invalidChange); }), invalidReceipt);
    // The same receipt in its own repository does get to read.
    EXPECT_TRUE(text::startsWith(refusal([&] { env.client.inspectFeatureAppend(record); }),
                                 "other error: "));
}

}  // namespace
}  // namespace vorda
