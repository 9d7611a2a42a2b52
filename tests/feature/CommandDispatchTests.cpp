// The dispatch table on real repositories: which rows refuse without a
// process, what each toast says, the settings-only rows that start no jj, the
// gate that lets two workspaces of one repository take turns, and pull
// requests through a scripted gh.

#include <algorithm>
#include <future>
#include <thread>

#include <gtest/gtest.h>

#include "feature/session/RepoSession.h"
#include "jjkit/repo/JJRepoDetector.h"
#include "jjkit/repo/RepositoryCommandGate.h"
#include "support/LogCapture.h"
#include "support/ScriptedGh.h"
#include "support/TestRepo.h"

namespace vorda {
namespace {

using testing::LogCapture;
using testing::TestRepo;

std::string description(const TestRepo& repo, const std::string& revision) {
    return repo.jj(
        {"log", "--no-graph", "--ignore-working-copy", "-r", revision, "-T", "description"});
}

TEST(CommandDispatch, RowsThatRefuseOrOnlyTouchSettingsStartNoJJ) {
    TestRepo repo;
    repo.bookmark("feature", repo.commit("one", {{"a", "1"}}));
    const auto session = RepoSession::open(repo.root());
    session->refreshSnapshot();

    LogCapture log;
    EXPECT_EQ(*session->execute(RepoCommand::StageFiles{{}, "feature"}).toastText(),
              "No files selected");
    EXPECT_EQ(*session->execute(RepoCommand::UnstageFiles{{}, "feature"}).toastText(),
              "No files selected");
    EXPECT_EQ(*session->execute(RepoCommand::SplitCommit{"feature", {}}).toastText(),
              "No files selected");
    EXPECT_EQ(
        *session->execute(RepoCommand::StageHunks{"a", {}, "feature", "/no/helper"}).toastText(),
        "No hunks selected");

    session->execute(RepoCommand::ToggleTag{"review", "feature"});
    session->execute(RepoCommand::ToggleTag{"urgent", "feature"});
    session->execute(RepoCommand::ToggleTag{"review", "feature"});
    session->execute(RepoCommand::TogglePinned{"feature"});
    session->execute(RepoCommand::ToggleBookmarkColumnVisibility{"feature"});
    auto result =
        session->execute(RepoCommand::SetUpdateStrategy{UpdateStrategy::mergeIn, "feature"});
    const auto settings = session->settingsStore().settings("feature").value();
    EXPECT_EQ(settings.tags, std::vector<std::string>{"urgent"});
    EXPECT_TRUE(settings.pinned);
    EXPECT_TRUE(settings.columnVisible);
    EXPECT_EQ(settings.updateStrategy, UpdateStrategy::mergeIn);
    const auto& lane = result.refreshedSnapshot()->lanesByBookmark.at("feature");
    EXPECT_EQ(lane.updateStrategy, UpdateStrategy::mergeIn);
    EXPECT_TRUE(lane.isPinned);

    // Closing a column also unpins it.
    result = session->execute(RepoCommand::CloseBookmarkColumn{"feature"});
    EXPECT_FALSE(result.refreshedSnapshot()->lanesByBookmark.at("feature").isPinned);
    EXPECT_FALSE(result.refreshedSnapshot()->lanesByBookmark.at("feature").isColumnVisible);

    // Rules for one bookmark replace only that bookmark's rules.
    const FileRoutingRule docs{"8E0C6B1E-3C7D-4E52-9B6A-0F1B2C3D4E5F", "docs/**", "feature", true};
    const FileRoutingRule other{"1A2B3C4D-5E6F-4A1B-8C2D-3E4F5A6B7C8D", "*.md", "other", true};
    const FileRoutingRule tests{"2B3C4D5E-6F7A-4B2C-9D3E-4F5A6B7C8D9E", "tests/*", "feature",
                                false};
    session->execute(RepoCommand::SetRoutingRules{{docs, other}});
    result = session->execute(RepoCommand::SetRoutingRulesForBookmark{"feature", {tests}});
    EXPECT_EQ(session->settingsStore().routingRules(),
              (std::vector<FileRoutingRule>{other, tests}));
    EXPECT_EQ(result.refreshedSnapshot()->lanesByBookmark.at("feature").routingRules,
              std::vector<FileRoutingRule>{tests});

    EXPECT_FALSE(log.contains("START")) << log.text();
    EXPECT_EQ(session->snapshotReadGeneration(), 1U);
}

TEST(CommandDispatch, DirectRowsChangeTheRepositoryAndSayWhatTheyDid) {
    TestRepo repo;
    const auto base = repo.publishMain();
    const auto one = repo.commit("one", {{"a", "1"}});
    const auto two = repo.commit("two", {{"b", "2"}});
    repo.bookmark("feature", two);
    repo.bookmark("topic", one);
    const auto session = RepoSession::open(repo.root());
    session->refreshSnapshot();

    auto result =
        session->execute(RepoCommand::AbsorbBookmark{"topic", "feature", repo.commitID(two)});
    EXPECT_EQ(*result.toastText(), "Absorbed topic into feature");
    EXPECT_NE(repo.tryJJ({"log", "-r", "topic"}).exitCode, 0);

    // A branch only origin has, tracked and pinned.
    const std::string clone = (repo.scratch() / "their-clone").string();
    testing::runChecked({"git", "clone", "--quiet", repo.originPath(), clone});
    testing::runChecked({"git", "-C", clone, "checkout", "--quiet", "-b", "theirs"});
    repo.writeFileIn(clone, "theirs.txt", "theirs\n");
    testing::runChecked({"git", "-C", clone, "add", "-A"});
    testing::runChecked({"git", "-C", clone, "commit", "--quiet", "-m", "their branch"});
    testing::runChecked({"git", "-C", clone, "push", "--quiet", "origin", "theirs"});
    repo.fetch();
    result = session->execute(
        RepoCommand::TrackRemoteBookmark{"theirs", "origin", repo.commitID("theirs@origin"), true});
    EXPECT_EQ(*result.toastText(), "Tracking theirs");
    EXPECT_EQ(repo.commitID("theirs"), repo.commitID("theirs@origin"));
    EXPECT_TRUE(session->settingsStore().settings("theirs")->pinned);
    EXPECT_TRUE(session->lastSnapshot()->repoState.bookmarks.contains("theirs"));

    session->execute(RepoCommand::DescribeCommit{one, "one, \"quoted\"\nand a second line", false});
    EXPECT_EQ(description(repo, one), "one, \"quoted\"\nand a second line\n");

    // One-offs on an old base, advanced onto trunk.
    repo.jj({"new", base});
    const auto loose1 = repo.commit("loose 1", {{"l1", "1"}});
    repo.jj({"new", base});
    const auto loose2 = repo.commit("loose 2", {{"l2", "1"}});
    repo.advanceOrigin("main", "upstream", {{"up", "1"}});
    repo.fetch();
    result = session->execute(RepoCommand::AdvanceAllOneOffs{{repo.commitID(loose1)}});
    EXPECT_EQ(*result.toastText(), "Advanced 1 one-off onto trunk");
    EXPECT_EQ(repo.commitID(loose1 + "-"), repo.commitID("trunk()"));
    result = session->execute(
        RepoCommand::AdvanceAllOneOffs{{repo.commitID(loose2), repo.commitID(two)}});
    EXPECT_EQ(*result.toastText(), "Advanced 2 one-offs onto trunk");
    EXPECT_EQ(repo.commitID(loose2 + "-"), repo.commitID("trunk()"));

    result = session->execute(RepoCommand::Undo{});
    EXPECT_EQ(*result.toastText(), "Undid last operation");
    EXPECT_EQ(repo.commitID(loose2 + "-"), repo.commitID(base));

    const auto ops = session->loadRecentOps(3);
    ASSERT_FALSE(ops.empty());
    result = session->execute(RepoCommand::RestoreToOp{ops.back(), repo.currentOperationID()});
    EXPECT_EQ(*result.toastText(), "Restored to " + ops.back().shortOpID());

    // A failing jj call leaves execute as it is, with nothing yielded.
    const auto generation = session->snapshotReadGeneration();
    EXPECT_THROW(session->execute(RepoCommand::RenameBookmark{"no-such", "other"}), JJError);
    EXPECT_EQ(session->snapshotReadGeneration(), generation);
}

TEST(CommandDispatch, TwoWorkspacesOfOneRepositoryTakeTurnsInArrivalOrder) {
    TestRepo repo;
    const auto change = repo.commit("shared", {{"a", "1"}});
    const auto second = repo.addWorkspace("second");
    const auto first = RepoSession::open(repo.root());
    const auto other = RepoSession::open(second);

    // Hold the gate, queue one command from each workspace, then let go.
    auto& gate = RepositoryCommandGate::shared();
    const auto key = JJRepoDetector::sharedRepositoryPath(repo.root());
    ASSERT_EQ(key, JJRepoDetector::sharedRepositoryPath(second));
    gate.acquire(key, {});
    auto waitForWaiters = [&](std::size_t count) {
        while (gate.waiterCount(key) < count) {
            std::this_thread::yield();
        }
    };
    auto fromFirst = std::async(std::launch::async, [&] {
        return first->execute(RepoCommand::DescribeCommit{change, "from the first", false});
    });
    waitForWaiters(1);
    auto fromSecond = std::async(std::launch::async, [&] {
        return other->execute(RepoCommand::DescribeCommit{change, "from the second", false});
    });
    waitForWaiters(2);
    EXPECT_EQ(description(repo, change), "shared\n") << "nothing ran while the gate was held";
    gate.release(key);
    fromFirst.get();
    fromSecond.get();
    EXPECT_EQ(description(repo, change), "from the second\n");
    EXPECT_FALSE(gate.isHeld(key));
}

TEST(CommandDispatch, PullRequestsAreAskedOfGhAndShownOnTheRefreshedSnapshot) {
    testing::ScriptedGh gh;
    TestRepo repo;
    repo.publishMain();
    repo.bookmark("feature", repo.commit("feature work", {{"f", "1"}}));
    repo.push("feature");
    gh.answer("feature", R"([{"number":7,"url":"https://github.com/o/r/pull/7","state":"OPEN",)"
                         R"("title":"Feature","isDraft":false,"reviewDecision":"APPROVED",)"
                         R"("comments":[]}])");
    const auto session = RepoSession::open(repo.root());

    const auto result =
        session->execute(RepoCommand::RefreshPullRequestStatuses{true, {}, {"feature"}});
    const auto snapshot = result.refreshedSnapshot();
    ASSERT_TRUE(snapshot);
    ASSERT_TRUE(snapshot->prsByBookmark.contains("feature"));
    EXPECT_EQ(snapshot->prsByBookmark.at("feature").number, 7);
    EXPECT_EQ(session->lastSnapshot(), snapshot);
    EXPECT_EQ(session->settingsStore().settings("feature")->cachedPRNumber, 7);

    const auto created = session->execute(RepoCommand::CreatePullRequest{
        snapshot->repoState.bookmarks.at("feature"), "A \"title\"", "Body text", "main", true});
    const auto* url = std::get_if<RepoCommandResult::OpenURL>(&created.value);
    ASSERT_NE(url, nullptr);
    EXPECT_FALSE(url->url.empty());
    const auto calls = gh.calls();
    EXPECT_NE(std::find(calls.begin(), calls.end(),
                        "[pr][create][--head][feature][--base][main][--title][A \"title\"]"
                        "[--body][Body text][--draft]"),
              calls.end())
        << ::testing::PrintToString(calls);
}

}  // namespace
}  // namespace vorda
