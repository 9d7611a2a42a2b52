#include "app/viewmodel/RepoViewModel.h"

#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

#include "app/viewmodel/CommandPresentation.h"
#include "app/viewmodel/DiffCache.h"
#include "app/viewmodel/RewriteOutcomes.h"
#include "support/LogCapture.h"
#include "support/TempDir.h"
#include "support/TestRepo.h"
#include "viewmodel/ViewModelFixtures.h"

namespace vorda {
namespace {

using testing::addWorkspace;
using testing::boardSettings;
using testing::boardState;
using testing::names;

TEST(RepoViewModelRules, BoardListsFollowFilterTagsInclusionAndSnapshots) {
    RepoViewModel model;
    QSignalSpy changes(&model.board(), &BoardModel::changed);
    // Applies the board state edited by `edit`; says the selected workspace,
    // with "+" when the board told its views.
    const auto apply = [&](const std::function<void(RepoSnapshot&)>& edit) {
        auto snapshot = std::make_shared<RepoSnapshot>(*boardState());
        edit(*snapshot);
        const auto before = changes.count();
        model.applySnapshot(snapshot);
        return model.board().selectedWorkspaceName().value_or("-") +
               (changes.count() > before ? "+" : "");
    };
    EXPECT_EQ(apply([](RepoSnapshot&) {}), "b+");

    // Sorted: local before upstream, newest first, then name.
    EXPECT_EQ(names(model.board().mutableBookmarks()),
              (StringList{"fresh", "feature-login", "stale", "upstream-only", "main"}));
    ASSERT_EQ(model.board().trunkBookmarkName(), "main");

    // No filter: exactly the included and board bookmarks, trunk in neither. A
    // filter surfaces a hidden match on the board while it stays hidden; every
    // selected tag must be present.
    const std::tuple<const char*, StringSet, StringList> filters[] = {
        {"", {}, {"fresh", "stale"}},
        {"  LOGIN\n", {}, {"feature-login"}},
        {"", {"ui"}, {"feature-login", "stale"}},
        {"", {"ui", "urgent"}, {"stale"}},
        {"main", {"ui", "urgent"}, {}},
        {"", {}, {"fresh", "stale"}}};
    for (const auto& [text, tags, shown] : filters) {
        model.board().setFilterText(text);
        model.board().setSelectedTagFilters(tags);
        EXPECT_EQ(names(model.board().filteredBookmarks()), shown) << text;
        EXPECT_EQ(names(model.board().hiddenBookmarks()),
                  (StringList{"feature-login", "upstream-only"}));
    }
    EXPECT_EQ(model.board().allTagsInUse(), (StringList{"ui", "urgent"}));

    // The same content again, as a new read would deliver it: nothing to
    // draw. New settings drop the cached lists: pinning makes a bookmark a
    // board one.
    EXPECT_EQ(apply([](RepoSnapshot&) {}), "b");
    EXPECT_EQ(apply([](RepoSnapshot& next) {
                  next.settingsByName["feature-login"] = boardSettings(true, false, {"api"});
              }),
              "b+");
    EXPECT_EQ(names(model.board().filteredBookmarks()),
              (StringList{"fresh", "feature-login", "stale"}));
    EXPECT_EQ(model.board().allTagsInUse(), (StringList{"api", "ui", "urgent"}));

    // The user's choice of workspace survives snapshots while it exists; when
    // it goes, the state's selected one takes over, and without one the first
    // name in sorted order.
    model.board().setSelectedWorkspaceName("a");
    EXPECT_EQ(apply([](RepoSnapshot&) {}), "a+");  // the settings went back
    EXPECT_EQ(apply([](RepoSnapshot& next) { next.repoState.workspaces.erase("a"); }), "b+");
    model.board().setSelectedWorkspaceName("gone");
    EXPECT_EQ(apply([](RepoSnapshot& next) {
                  next.repoState.selectedWorkspaceName.reset();
                  addWorkspace(next.repoState, "0-first");
              }),
              "0-first+");
}

// The activity as one line: "busy: " while mutating, the label, the pushes
// in flight, the fetch, push, undo and mutation errors ("-" for none), and
// " (undoing)" while an undo runs.
std::string activity(RepoViewModel& model) {
    const ActivityModel& activity = model.activity();
    std::string line = activity.isMutating() ? "busy: " : "";
    line.append(activity.mutationLabel().value_or("-")).append(" | push");
    for (const auto& name : activity.pushInFlight()) {
        line.append(" ").append(name);
    }
    for (const auto& error : {activity.fetchError(), activity.pushError(), activity.undoError(),
                              activity.mutationError()}) {
        line.append(" | ").append(error.value_or("-"));
    }
    return line.append(activity.undoInFlight() ? " (undoing)" : "");
}

TEST(RepoViewModelRules, InFlightStateLabelsAndErrorRouting) {
    RepoViewModel model;
    testing::LogCapture log;

    const RepoCommand compose = RepoCommand::ComposeCommitsAsBookmark{"ws", {"a"}, "tip", "base"};
    model.setInFlight(compose, true);
    EXPECT_EQ(activity(model), "busy: Composing 1 commit in ws… | push | - | - | - | -");
    model.setInFlight(compose, false);
    EXPECT_EQ(activity(model), "- | push | - | - | - | -");
    EXPECT_EQ(
        (StringList{
            mutationLabel(RepoCommand::RebaseCommitsIntoBookmark{{"a", "b"}, "t", "d", "feat"}),
            mutationLabel(RepoCommand::ReparentToTrunk{"feat"}),
            mutationLabel(RepoCommand::TogglePinned{"feat"}),
            mutationLabel(RepoCommand::PlanLocalStackUpdate{{"feat"}, {}}),
            mutationLabel(RepoCommand::ExecuteFeatureAppend{})}),
        (StringList{"Moving 2 commits into feat…", "Rebasing feat onto current trunk…", "Working…",
                    "Planning local-stack rebase…", "Appending work to feature…"}));

    // Advancing commits are marked while the command runs.
    model.applySnapshot(boardState());
    model.setInFlight(RepoCommand::ReparentToTrunk{"fresh"}, true);
    EXPECT_EQ(model.board().advancingCommitIDs(), (StringSet{"f1", "f2"}));
    model.setInFlight(RepoCommand::ReparentToTrunk{"fresh"}, false);
    EXPECT_TRUE(model.board().advancingCommitIDs().empty());

    // Pushes are a set: two bookmarks at once. Errors land by kind.
    model.setInFlight(RepoCommand::Push{testing::named("a")}, true);
    model.setInFlight(RepoCommand::PerformPush{testing::named("b")}, true);
    EXPECT_EQ(activity(model), "- | push a b | - | - | - | -");
    model.setInFlight(RepoCommand::Push{testing::named("a")}, false);
    model.applyError("fetch broke", RepoCommand::Sync{});
    model.applyError("push broke", RepoCommand::Push{testing::named("a")});
    model.applyError("undo broke", RepoCommand::Undo{});
    model.applyError("move broke", RepoCommand::DeleteBookmark{"x"});
    EXPECT_EQ(activity(model), "- | push b | fetch broke | push broke | undo broke | move broke");
    EXPECT_TRUE(log.contains("[Vorda:error] fetchError: fetch broke\n"));
    EXPECT_TRUE(log.contains("[Vorda:error] mutationError: move broke\n"));

    // Restoring to an operation keeps the last undo error on screen at start;
    // an undo clears it.
    model.setInFlight(RepoCommand::RestoreToOp{}, true);
    EXPECT_EQ(activity(model),
              "- | push b | fetch broke | push broke | undo broke | move broke (undoing)");
    model.applyError("restore broke", RepoCommand::RestoreToOp{});
    model.setInFlight(RepoCommand::RestoreToOp{}, false);
    EXPECT_EQ(activity(model),
              "- | push b | fetch broke | push broke | restore broke | move broke");
    model.setInFlight(RepoCommand::Undo{}, true);
    EXPECT_EQ(activity(model), "- | push b | fetch broke | push broke | - | move broke (undoing)");

    // The same error twice is logged once.
    const auto before = log.text().size();
    model.activity().setMutationError("move broke");
    EXPECT_EQ(log.text().size(), before);
}

TEST(RepoViewModelRules, RewritePlansAndOutcomesReplaceEachOtherAndToast) {
    RepoViewModel model;
    const RepoCommand plan = RepoCommand::PlanLocalStackUpdate{{"feat"}, {}};
    LocalStackUpdatePlan stackPlan;
    stackPlan.operationID = "op1";
    model.apply(RepoCommandResult::LocalStackUpdatePlan{stackPlan}, plan);
    EXPECT_EQ(model.rewrites().localStackUpdatePlan(), stackPlan);
    EXPECT_FALSE(model.activity().toastMessage().has_value());

    LocalStackUpdateReceipt clean{"op1", "op2", std::nullopt, {}, {}, {}};
    model.apply(RepoCommandResult::LocalStackUpdateCompleted{clean},
                RepoCommand::ExecuteLocalStackUpdate{stackPlan});
    EXPECT_FALSE(model.rewrites().localStackUpdatePlan().has_value());
    EXPECT_EQ(model.rewrites().localStackUpdateReceipt(), clean);
    EXPECT_EQ(model.activity().toastMessage(), "Local stacks rebased onto current trunk");
    // A new plan clears the last outcome.
    model.apply(RepoCommandResult::LocalStackUpdatePlan{stackPlan}, plan);
    EXPECT_FALSE(model.rewrites().localStackUpdateReceipt().has_value());

    auto conflicted = clean;
    conflicted.conflictedChangeIDs = {"a", "b"};
    auto failed = conflicted;
    failed.commandError = "jj rebase failed";
    auto warned = clean;
    warned.verificationWarnings = {"Unexpected parents on kkkkkkkkkkkk"};
    // An append record without its final receipt never reads as a success.
    OperationRecord<FeatureAppendPlan> record;
    record.id = "R";
    EXPECT_EQ((StringList{localStackUpdateToast(conflicted), localStackUpdateToast(failed),
                          featureInsertionToast(clean), featureInsertionToast(conflicted),
                          featureInsertionToast(warned), featureAppendToast(record)}),
              (StringList{"Rebased \u2014 2 conflicts need attention", "Rebase needs inspection",
                          "Moved work into feature \u00b7 0 conflicted changes",
                          "Moved work into feature \u00b7 2 conflicted changes",
                          "Routing needs inspection; see the operation receipt",
                          "Append needs inspection; see its step receipt"}));
    record.receipt = clean;
    model.apply(RepoCommandResult::FeatureAppendPlan{FeatureAppendPlan{}},
                RepoCommand::PlanFeatureAppend{{"k"}, "feat"});
    EXPECT_TRUE(model.rewrites().featureAppendPlan().has_value());
    model.apply(RepoCommandResult::FeatureAppendCompleted{record},
                RepoCommand::ExecuteFeatureAppend{});
    EXPECT_FALSE(model.rewrites().featureAppendPlan().has_value());
    EXPECT_EQ(model.rewrites().featureAppendRecord(), record);
    EXPECT_EQ(model.activity().toastMessage(), "Appended work to feature");

    // Coordinated routing: the record replaces the plan and heads the log;
    // a recovery saved again under its id stays one entry.
    model.apply(RepoCommandResult::CoordinatedRoutingPlan{CoordinatedFeatureRoutingPlan{}},
                RepoCommand::PlanCoordinatedRouting{});
    OperationRecord<CoordinatedFeatureRoutingPlan> routing;
    routing.id = "C";
    model.apply(RepoCommandResult::CoordinatedRoutingCompleted{routing},
                RepoCommand::ExecuteCoordinatedRouting{});
    EXPECT_FALSE(model.rewrites().coordinatedRoutingPlan().has_value());
    EXPECT_EQ(model.operationLog().coordinatedRoutingRecords(), CoordinatedRoutingRecords{routing});
    EXPECT_EQ(model.activity().toastMessage(),
              "Partial routing may need inspection; see its receipt");
    OperationRecord<CoordinatedRoutingRecoveryPlan> recovery;
    recovery.id = "V";
    recovery.receipt = clean;
    for (int time = 0; time < 2; ++time) {
        model.apply(RepoCommandResult::CoordinatedRecoveryCompleted{recovery},
                    RepoCommand::ExecuteCoordinatedRecovery{});
    }
    EXPECT_EQ(model.operationLog().coordinatedRecoveryRecords().size(), 1U);
    EXPECT_EQ(model.activity().toastMessage(), "Coordinated recovery verified");

    // Routing opens with its seeds and without the last routing's outcome.
    model.activity().setMutationError("earlier");
    model.beginWorkspaceRouting({"k1", "k2"}, "feat", "k0");
    const auto& rewrites = model.rewrites();
    EXPECT_EQ(std::tuple(rewrites.routingSeedChangeIDs(), rewrites.routingSeedBookmark(),
                         rewrites.routingSeedAfter(), rewrites.showFeatureInsertionSheet()),
              std::tuple(StringSet{"k1", "k2"}, std::string("feat"), std::string("k0"), true));
    EXPECT_FALSE(rewrites.featureAppendRecord() || rewrites.coordinatedRoutingRecord() ||
                 model.activity().mutationError());
}

TEST(RepoViewModelRules, LaneHistoryListsEachCommitOnceAndNeverTheRoot) {
    BoardModel board;
    const auto commit = [](const std::string& id) {
        return testing::makeCommit(id, "2026");
    };
    board.addLaneAncestors("main", {commit("c1")}, 3);  // a closed lane takes nothing
    EXPECT_TRUE(board.laneAncestors().empty());
    ASSERT_TRUE(board.toggleLane("main"));
    // Pages band the graph by depth, so they can overlap.
    board.addLaneAncestors("main", {commit("c1"), commit("c2")}, 3);
    board.addLaneAncestors("main", {commit("c2"), commit("c3"), commit(std::string(40, '0'))},
                           std::nullopt);
    StringList ids;
    for (const auto& listed : board.laneAncestors().at("main")) {
        ids.push_back(listed.commitID);
    }
    EXPECT_EQ(ids, (StringList{"c1", "c2", "c3"}));
    EXPECT_EQ(board.laneAncestorTotals().at("main"), 3);
    EXPECT_FALSE(board.toggleLane("main"));
    EXPECT_TRUE(board.laneAncestors().empty());
}

TEST(RepoViewModelReads, LoadingWithoutARepositoryLeavesNoSessionAndTheNewestDiffRequestWins) {
    const testing::TempDir folder;
    RepoViewModel nowhere;
    bool loaded = false;
    bool sent = false;
    nowhere.load(folder.path().string(), [&] { loaded = true; });
    nowhere.send(RepoCommand::Undo{}, [&] { sent = true; });
    // A fetch without a session still records its end.
    nowhere.fetch();
    EXPECT_EQ(nowhere.board().errorMessage(),
              "No jj repository found at " + folder.path().string());
    EXPECT_EQ(
        std::tuple(loaded, sent, nowhere.board().isLoading(), nowhere.repoSession() == nullptr,
                   nowhere.activity().undoInFlight(), nowhere.board().lastFetchAt().has_value(),
                   nowhere.activity().fetchStartedAt().has_value()),
        std::tuple(true, false, false, true, false, true, false));

    // On a repository, the newest diff request wins over an older one still
    // running.
    testing::TestRepo repo;
    repo.draw(R"(
      A <- root "first" first-file.txt=one
      B <- A "second" second-file.txt=two
    )");
    RepoViewModel model;
    loaded = false;
    model.load(repo.root(), [&] { loaded = true; });
    ASSERT_TRUE(QTest::qWaitFor([&] { return loaded; }, 30000));
    ASSERT_NE(model.board().repoState(), nullptr) << model.board().errorMessage().value_or("");
    const auto diffText = [&] {
        EXPECT_TRUE(QTest::qWaitFor([&] { return !model.diff().isDiffLoading(); }, 30000));
        return model.diff().diffText().value_or("");
    };

    std::vector<std::string> shown;
    QObject::connect(&model.diff(), &DiffModel::changed,
                     [&] { shown.push_back(model.diff().diffText().value_or("")); });
    model.loadDiffText(repo.commitID(repo.id("A")));
    model.loadDiffText(repo.commitID(repo.id("B")));
    const std::string newest = diffText();
    EXPECT_NE(newest.find("second-file.txt"), std::string::npos) << newest;
    // The first commit's diff never reaches the column, before or after.
    EXPECT_FALSE(shown.empty());
    for (const auto& text : shown) {
        EXPECT_EQ(text.find("first-file.txt"), std::string::npos) << text;
    }

    // A lane lists its newest commit first; its diff still runs oldest first,
    // whichever way round the two ends come.
    for (const auto& ends :
         {StringList{repo.id("B"), repo.id("A")}, StringList{repo.id("A"), repo.id("B")}}) {
        model.loadDiffForSelectedChangeIDs(ends);
        const auto text = diffText();
        EXPECT_NE(text.find("first-file.txt"), std::string::npos) << text;
        EXPECT_NE(text.find("second-file.txt"), std::string::npos) << text;
    }
}

TEST(DiffCacheRules, KeepsThirtyTwoFixedRevsetsFirstInFirstOut) {
    const std::pair<const char*, bool> revsets[] = {{"0123abcd", true}, {"0123-..abcd", true},
                                                    {"trunk()", false}, {"ABCD", false},
                                                    {"abc-..", false},  {"", false}};
    for (const auto& [revset, cacheable] : revsets) {
        EXPECT_EQ(DiffCache::isCacheable(revset), cacheable) << revset;
    }

    DiffCache cache;
    cache.store("trunk()", "never");
    EXPECT_FALSE(cache.find("trunk()").has_value());
    for (int i = 0; i < 32; ++i) {
        cache.store("a" + std::to_string(i), "text" + std::to_string(i));
    }
    // Storing a known key keeps its place and takes the new text.
    cache.store("a0", "again");
    EXPECT_EQ(cache.find("a0"), "again");
    EXPECT_EQ(cache.order().front(), "a0");
    cache.store("b0", "thirty-third");
    EXPECT_EQ(std::tuple(cache.size(), cache.find("a0").value_or("-"),
                         cache.find("b0").value_or("-"), cache.order().front()),
              std::tuple(32U, "-", "thirty-third", "a1"));
}

}  // namespace
}  // namespace vorda
