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

std::string toast(RepoSession& session, const RepoCommand& command) {
    const auto result = session.execute(command);
    return result.toastText() != nullptr ? *result.toastText() : "<not a toast>";
}

TEST(CommandDispatch, RowsChangeTheRepositoryOrOnlyItsSettingsAndSayWhatTheyDid) {
    // theirs is a branch only origin has; L1 and L2 are one-offs on the old trunk.
    testing::ScriptedGh gh;
    TestRepo repo;
    repo.draw(R"(
      origin
      T <- root "base" README=base [main]
      TH <- T "their branch" theirs.txt=theirs [theirs]
      push main theirs
      ONE <- T "one" a=1 [topic]
      TWO <- ONE "two" b=2 [feature]
      L1 <- T "loose 1" l1=1
      L2 <- T "loose 2" l2=1
    )");
    repo.jj({"bookmark", "untrack", "theirs@origin"});
    repo.jj({"bookmark", "delete", "theirs"});
    const auto session = RepoSession::open(repo.root());
    session->refreshSnapshot();

    EXPECT_EQ(toast(*session,
                    RepoCommand::AbsorbBookmark{"topic", "feature", repo.commitID(repo.id("TWO"))}),
              "Absorbed topic into feature");
    EXPECT_EQ(repo.bookmarkTarget("topic"), std::nullopt);

    EXPECT_EQ(
        toast(*session, RepoCommand::TrackRemoteBookmark{"theirs", "origin",
                                                         repo.commitID("theirs@origin"), true}),
        "Tracking theirs");
    EXPECT_EQ(repo.bookmarkTarget("theirs"), "TH");
    EXPECT_TRUE(session->settingsStore().settings("theirs")->pinned);
    EXPECT_TRUE(session->lastSnapshot()->repoState.bookmarks.contains("theirs"));

    gh.answer("theirs", R"([{"number":7,"url":"https://github.com/o/r/pull/7","state":"OPEN",)"
                        R"("title":"Theirs","isDraft":false,"reviewDecision":"APPROVED",)"
                        R"("comments":[]}])");
    const auto withPR =
        session->execute(RepoCommand::RefreshPullRequestStatuses{true, {}, {"theirs"}})
            .refreshedSnapshot();
    ASSERT_TRUE(withPR);
    EXPECT_EQ(withPR->prsByBookmark.at("theirs").number, 7);
    EXPECT_EQ(session->lastSnapshot(), withPR);
    EXPECT_EQ(session->settingsStore().settings("theirs")->cachedPRNumber, 7);
    const auto created = session->execute(RepoCommand::CreatePullRequest{
        withPR->repoState.bookmarks.at("theirs"), "A \"title\"", "Body text", "main", true});
    const auto* url = std::get_if<RepoCommandResult::OpenURL>(&created.value);
    ASSERT_NE(url, nullptr);
    EXPECT_FALSE(url->url.empty());
    const auto calls = gh.calls();
    EXPECT_NE(std::find(calls.begin(), calls.end(),
                        "[pr][create][--head][theirs][--base][main][--title][A \"title\"]"
                        "[--body][Body text][--draft]"),
              calls.end())
        << ::testing::PrintToString(calls);

    // A renamed bookmark takes its settings and routes along.
    const FileRoutingRule route{"8E0C6B1E-3C7D-4E52-9B6A-0F1B2C3D4E5F", "docs/**", "theirs", true};
    session->execute(RepoCommand::SetRoutingRulesForBookmark{"theirs", {route}});
    const auto settings = session->settingsStore().settings("theirs");
    session->execute(RepoCommand::RenameBookmark{"theirs", "theirs-renamed"});
    EXPECT_EQ(repo.bookmarkTarget("theirs-renamed"), "TH");
    EXPECT_EQ(session->settingsStore().settings("theirs-renamed"), settings);
    EXPECT_EQ(session->settingsStore().settings("theirs"), std::nullopt);
    EXPECT_EQ(session->settingsStore().routingRules().at(0).bookmarkName, "theirs-renamed");

    repo.advanceOrigin("main", "upstream", {{"up", "1"}});
    repo.fetch();
    const auto trunk = repo.changeID("trunk()");
    EXPECT_EQ(toast(*session, RepoCommand::AdvanceAllOneOffs{{repo.commitID(repo.id("L1"))}}),
              "Advanced 1 one-off onto trunk");
    EXPECT_EQ(repo.parents("L1"), std::vector{trunk});
    EXPECT_EQ(toast(*session, RepoCommand::AdvanceAllOneOffs{{repo.commitID(repo.id("L2")),
                                                              repo.commitID(repo.id("TWO"))}}),
              "Advanced 2 one-offs onto trunk");
    EXPECT_EQ(repo.parents("L2"), std::vector{trunk});

    EXPECT_EQ(toast(*session, RepoCommand::Undo{}), "Undid last operation");
    EXPECT_EQ(repo.parents("L2"), std::vector<std::string>{"T"});
    const auto ops = session->loadRecentOps(3);
    ASSERT_FALSE(ops.empty());
    EXPECT_EQ(toast(*session, RepoCommand::RestoreToOp{ops.back(), repo.currentOperationID()}),
              "Restored to " + ops.back().shortOpID());

    // A failing jj call leaves execute as it is, with nothing yielded.
    const auto generation = session->snapshotReadGeneration();
    EXPECT_THROW(session->execute(RepoCommand::RenameBookmark{"no-such", "other"}), JJError);
    EXPECT_EQ(session->snapshotReadGeneration(), generation);

    // A fresh session: rows that refuse or only touch settings start no jj
    // once there is a state to reuse.
    const auto fresh = RepoSession::open(repo.root());
    // Before any read there is nothing to reuse: the first settings row reads.
    const auto first = fresh->execute(RepoCommand::ToggleTag{"review", "feature"});
    EXPECT_EQ(first.refreshedSnapshot()->lanesByBookmark.at("feature").tags,
              std::vector<std::string>{"review"});
    EXPECT_EQ(fresh->snapshotReadGeneration(), 1U);

    LogCapture log;
    for (const auto& [command, expected] : std::vector<std::pair<RepoCommand, std::string>>{
             {RepoCommand::StageFiles{{}, "feature"}, "No files selected"},
             {RepoCommand::UnstageFiles{{}, "feature"}, "No files selected"},
             {RepoCommand::SplitCommit{"feature", {}}, "No files selected"},
             {RepoCommand::StageHunks{"a", {}, "feature", "/no/helper"}, "No hunks selected"}}) {
        EXPECT_EQ(toast(*fresh, command), expected);
    }

    const auto lane = [&](const RepoCommand& command) {
        return fresh->execute(command).refreshedSnapshot()->lanesByBookmark.at("feature");
    };
    lane(RepoCommand::ToggleTag{"urgent", "feature"});
    lane(RepoCommand::ToggleTag{"review", "feature"});
    lane(RepoCommand::TogglePinned{"feature"});
    lane(RepoCommand::ToggleBookmarkColumnVisibility{"feature"});
    lane(RepoCommand::SetUpdateStrategy{UpdateStrategy::mergeIn, "feature"});
    EXPECT_EQ(fresh->settingsStore().settings("feature"),
              (BookmarkSettings{UpdateStrategy::mergeIn, {}, {}, {"urgent"}, true, true}));
    // Closing a column also unpins it; the lane follows the settings.
    const auto closed = lane(RepoCommand::CloseBookmarkColumn{"feature"});
    EXPECT_EQ(
        std::tuple(closed.updateStrategy, closed.tags, closed.isPinned, closed.isColumnVisible),
        std::tuple(UpdateStrategy::mergeIn, std::vector<std::string>{"urgent"}, false, false));

    // Rules for one bookmark replace only that bookmark's rules.
    const FileRoutingRule docs{"8E0C6B1E-3C7D-4E52-9B6A-0F1B2C3D4E5F", "docs/**", "feature", true};
    const FileRoutingRule other{"1A2B3C4D-5E6F-4A1B-8C2D-3E4F5A6B7C8D", "*.md", "other", true};
    const FileRoutingRule tests{"2B3C4D5E-6F7A-4B2C-9D3E-4F5A6B7C8D9E", "tests/*", "feature",
                                false};
    fresh->execute(RepoCommand::SetRoutingRules{{docs, other}});
    const auto result = fresh->execute(RepoCommand::SetRoutingRulesForBookmark{"feature", {tests}});
    EXPECT_EQ(fresh->settingsStore().routingRules(), (std::vector<FileRoutingRule>{other, tests}));
    EXPECT_EQ(result.refreshedSnapshot()->lanesByBookmark.at("feature").routingRules,
              std::vector<FileRoutingRule>{tests});

    // The cached state served every row, and the last snapshot went out.
    EXPECT_FALSE(log.contains("START")) << log.text();
    EXPECT_EQ(fresh->snapshotReadGeneration(), 1U);
    EXPECT_EQ(result.refreshedSnapshot()->repoState, first.refreshedSnapshot()->repoState);
    EXPECT_EQ(fresh->lastSnapshot(), result.refreshedSnapshot());
    EXPECT_EQ(fresh->snapshots().next(), result.refreshedSnapshot());
}

TEST(CommandDispatch, TwoWorkspacesOfOneRepositoryTakeTurnsInArrivalOrder) {
    TestRepo repo;
    repo.draw(R"(
      A <- root "shared" a=1
      workspace second <- A
    )");
    const auto first = RepoSession::open(repo.root());
    const auto other = RepoSession::open((repo.scratch() / "second").string());

    // Hold the gate, queue one command from each workspace, then let go.
    auto& gate = RepositoryCommandGate::shared();
    const auto key = JJRepoDetector::sharedRepositoryPath(repo.root());
    ASSERT_EQ(key, JJRepoDetector::sharedRepositoryPath((repo.scratch() / "second").string()));
    gate.acquire(key, {});
    auto waitForWaiters = [&](std::size_t count) {
        while (gate.waiterCount(key) < count) {
            std::this_thread::yield();
        }
    };
    auto fromFirst = std::async(std::launch::async, [&] {
        return first->execute(RepoCommand::DescribeCommit{repo.id("A"), "from the first", false});
    });
    waitForWaiters(1);
    auto fromSecond = std::async(std::launch::async, [&] {
        return other->execute(RepoCommand::DescribeCommit{repo.id("A"), "from the second", false});
    });
    waitForWaiters(2);
    EXPECT_EQ(repo.description("A"), "shared") << "nothing ran while the gate was held";
    gate.release(key);
    fromFirst.get();
    fromSecond.get();
    EXPECT_EQ(repo.description("A"), "from the second");
    EXPECT_FALSE(gate.isHeld(key));
}

}  // namespace
}  // namespace vorda
