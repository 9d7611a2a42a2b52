#include "feature/pullrequests/PullRequestRefresh.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "jjkit/client/JJClient.h"
#include "jjkit/github/ToolLookup.h"
#include "support/ScopedEnvironment.h"
#include "support/ScriptedGh.h"
#include "support/TempDir.h"
#include "support/TestRepo.h"

namespace vorda {
namespace {

namespace fs = std::filesystem;
using testing::ScopedEnvironment;
using testing::ScriptedGh;
using testing::TempDir;
using testing::TestRepo;
using Entry = PRCacheStore::Entry;
using Clock = std::chrono::system_clock;

void writeFile(const fs::path& path, const std::string& contents) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << contents;
}

GitHubPR pr(int number, const std::string& title) {
    GitHubPR result;
    result.number = number;
    result.url = "https://github.com/example/repo/pull/" + std::to_string(number);
    result.state = GitHubPR::State::open;
    result.title = title;
    result.reviewDecision = GitHubPR::ReviewDecision::approved;
    result.reviewCommentCount = 2;
    return result;
}

/// gh's JSON for `pr`, its comments as an array as gh prints them.
std::string ghJSON(const GitHubPR& record) {
    nlohmann::json object = RecordCoding<GitHubPR>::encode(record);
    object.erase("reviewCommentCount");
    object["comments"] = nlohmann::json::array();
    for (int index = 0; index < record.reviewCommentCount; ++index) {
        object["comments"].push_back({{"body", "comment"}});
    }
    return nlohmann::json::array({object}).dump();
}

/// Answers `pr list --head branch` with `record`, as gh prints it.
void answer(const ScriptedGh& gh, const std::string& branch, const GitHubPR& record) {
    gh.answer(branch, ghJSON(record));
}

using Names = std::vector<std::string>;

/// A published repository: `main`, `alpha`, `beta` and `gamma` pushed to and
/// tracking origin, `solo` only local, and `theirs` only on origin.
class PullRequestRefreshTest : public ::testing::Test {
  protected:
    void SetUp() override {
        repo.publishMain();
        for (const std::string name : {"alpha", "beta", "gamma"}) {
            repo.jj({"new", "main"});
            repo.bookmark(name, repo.commit(name, {{name + ".txt", name}}));
            repo.push(name);
        }
        repo.jj({"new", "main"});
        repo.bookmark("solo", repo.commit("solo", {{"solo.txt", "solo"}}));

        const std::string clone = (repo.scratch() / "their-clone").string();
        testing::runChecked({"git", "clone", "--quiet", repo.originPath(), clone});
        testing::runChecked({"git", "-C", clone, "checkout", "--quiet", "-b", "theirs"});
        writeFile(fs::path(clone) / "theirs.txt", "theirs\n");
        testing::runChecked({"git", "-C", clone, "add", "-A"});
        testing::runChecked({"git", "-C", clone, "commit", "--quiet", "-m", "their branch"});
        testing::runChecked({"git", "-C", clone, "push", "--quiet", "origin", "theirs"});
        repo.fetch();

        state = JJClient(repo.root()).repoState();
    }

    std::string tip(const std::string& name) const {
        return state.bookmarks.at(name).commitIDs.at(0);
    }

    PullRequestsByBookmark refresh(
        PRCacheStore* store, bool force = false, const std::set<std::string>& forceBranches = {},
        const std::set<std::string>& limitTo = {},
        const std::function<void(const PullRequestsByBookmark&)>& cachedBlock = {}) {
        return refreshPullRequestStatuses(state, client, store, settings, force, forceBranches,
                                          limitTo, cachedBlock);
    }

    TestRepo repo;
    ScriptedGh gh;
    RepoState state;
    GitHubClient client{repo.root()};
    BookmarkSettingsStore settings{repo.root()};
    PRCacheStore cache{repo.root()};
};

TEST_F(PullRequestRefreshTest, TheRepositoryHasTheShapeTheOtherCasesNeed) {
    for (const std::string name : {"main", "alpha", "beta", "gamma"}) {
        EXPECT_FALSE(std::holds_alternative<RemoteSyncState::Untracked>(
            state.bookmarks.at(name).remoteSyncState.value))
            << name;
    }
    EXPECT_TRUE(std::holds_alternative<RemoteSyncState::Untracked>(
        state.bookmarks.at("solo").remoteSyncState.value));
    const auto untracked = state.untrackedRemoteBookmarks();
    ASSERT_EQ(untracked.size(), 1U);
    EXPECT_EQ(untracked[0].name, "theirs");
}

TEST_F(PullRequestRefreshTest, WithoutCacheEveryTrackedBookmarkIsAskedAndNoUntrackedOne) {
    answer(gh, "alpha", pr(1, "Alpha"));
    answer(gh, "gamma", pr(3, "Gamma"));
    const auto result = refresh(nullptr);
    EXPECT_EQ(gh.askedBranches(), (Names{"alpha", "beta", "gamma", "main"}));
    EXPECT_EQ(result,
              (PullRequestsByBookmark{{"alpha", pr(1, "Alpha")}, {"gamma", pr(3, "Gamma")}}));
    EXPECT_TRUE(cache.all().empty());
}

TEST_F(PullRequestRefreshTest, CachedAnswersForTheSameTipStandAndOnlyMovedTipsAreAsked) {
    cache.set(Entry{tip("alpha"), std::nullopt, Clock::time_point{}}, "alpha");
    cache.set(Entry{tip("beta"), pr(20, "Beta"), Clock::time_point{}}, "beta");
    cache.set(Entry{"moved-away", pr(30, "Gamma old"), Clock::time_point{}}, "gamma");
    answer(gh, "alpha", pr(10, "Alpha on GitHub"));
    answer(gh, "beta", pr(21, "Beta on GitHub"));
    answer(gh, "gamma", pr(31, "Gamma new"));

    std::vector<PullRequestsByBookmark> cachedCalls;
    std::vector<std::size_t> callsBeforeBlock;
    const auto result = refresh(&cache, false, {}, {}, [&](const PullRequestsByBookmark& cached) {
        cachedCalls.push_back(cached);
        callsBeforeBlock.push_back(gh.askedBranches().size());
    });

    EXPECT_EQ(gh.askedBranches(), (Names{"gamma", "main"}));
    // A cached "no pull request" stands too: alpha gets no badge.
    EXPECT_EQ(result,
              (PullRequestsByBookmark{{"beta", pr(20, "Beta")}, {"gamma", pr(31, "Gamma new")}}));
    ASSERT_EQ(cachedCalls.size(), 1U);
    EXPECT_EQ(cachedCalls[0], (PullRequestsByBookmark{{"beta", pr(20, "Beta")}}));
    EXPECT_EQ(callsBeforeBlock, std::vector<std::size_t>{0});
}

TEST_F(PullRequestRefreshTest, ForceAsksAboutEveryCandidateDespiteTheCache) {
    for (const std::string name : {"main", "alpha", "beta", "gamma"}) {
        cache.set(Entry{tip(name), pr(90, "cached " + name), Clock::time_point{}}, name);
    }
    answer(gh, "beta", pr(21, "Beta on GitHub"));

    std::optional<PullRequestsByBookmark> cachedBadges;
    const auto result = refresh(
        &cache, true, {}, {}, [&](const PullRequestsByBookmark& cached) { cachedBadges = cached; });

    EXPECT_EQ(gh.askedBranches(), (Names{"alpha", "beta", "gamma", "main"}));
    EXPECT_EQ(cachedBadges, PullRequestsByBookmark{});
    EXPECT_EQ(result, (PullRequestsByBookmark{{"beta", pr(21, "Beta on GitHub")}}));
}

TEST_F(PullRequestRefreshTest, LimitToNarrowsTheCandidatesAndForceBranchesReachBeyondIt) {
    cache.set(Entry{tip("alpha"), pr(1, "Alpha"), Clock::time_point{}}, "alpha");
    cache.set(Entry{tip("beta"), pr(2, "Beta"), Clock::time_point{}}, "beta");
    answer(gh, "beta", pr(22, "Beta on GitHub"));

    // beta is forced though outside limitTo; an untracked bookmark stays out
    // even when forced.
    const auto result = refresh(&cache, false, {"beta", "solo", "theirs"}, {"alpha"});
    EXPECT_EQ(gh.askedBranches(), Names{"beta"});
    EXPECT_EQ(result, (PullRequestsByBookmark{{"alpha", pr(1, "Alpha")},
                                              {"beta", pr(22, "Beta on GitHub")}}));
}

TEST_F(PullRequestRefreshTest, LimitToWithoutCacheAsksOnlyAboutTheNamedBookmarks) {
    const auto result = refresh(nullptr, false, {}, {"gamma", "solo", "nonexistent"});
    EXPECT_EQ(gh.askedBranches(), Names{"gamma"});
    EXPECT_TRUE(result.empty());
}

TEST_F(PullRequestRefreshTest, EveryAnswerReplacesItsRowWithOneFetchTime) {
    cache.set(Entry{"moved-away", pr(5, "stale"), Clock::time_point{}}, "gamma");
    answer(gh, "alpha", pr(1, "Alpha"));
    refresh(&cache);

    const auto rows = cache.all();
    ASSERT_EQ(rows.size(), 4U);
    EXPECT_EQ(rows.at("alpha").tipCommitID, tip("alpha"));
    EXPECT_EQ(rows.at("alpha").pr, pr(1, "Alpha"));
    // "[]" is an answer: the row says the branch has no pull request.
    EXPECT_EQ(rows.at("gamma").tipCommitID, tip("gamma"));
    EXPECT_EQ(rows.at("gamma").pr, std::nullopt);
    EXPECT_EQ(rows.at("beta").pr, std::nullopt);
    EXPECT_EQ(rows.at("main").tipCommitID,
              state.bookmarks.at("main").commitIDs.empty() ? std::string() : tip("main"));
    EXPECT_NE(rows.at("alpha").fetchedAt, Clock::time_point{});
    for (const auto& [name, row] : rows) {
        EXPECT_EQ(row.fetchedAt, rows.at("alpha").fetchedAt) << name;
    }
    EXPECT_FALSE(rows.contains("solo"));
    EXPECT_FALSE(rows.contains("theirs"));
}

TEST_F(PullRequestRefreshTest, AFailedQuestionLeavesItsRowAndGivesNoBadge) {
    const Entry old{"moved-away", pr(30, "Gamma old"), Clock::time_point(std::chrono::seconds(7))};
    cache.set(old, "gamma");
    gh.failList("gamma", "HTTP 502: Bad Gateway\n");
    answer(gh, "alpha", pr(1, "Alpha"));

    const auto result = refresh(&cache);
    EXPECT_EQ(gh.askedBranches(), (Names{"alpha", "beta", "gamma", "main"}));
    EXPECT_EQ(result, (PullRequestsByBookmark{{"alpha", pr(1, "Alpha")}}));
    EXPECT_EQ(cache.entry("gamma"), old);
    EXPECT_EQ(cache.entry("alpha")->pr, pr(1, "Alpha"));
}

TEST_F(PullRequestRefreshTest, CachedPRNumbersFollowTheAnswers) {
    BookmarkSettings alpha = BookmarkSettings::defaultFor(BookmarkOrigin::local());
    alpha.pinned = true;
    alpha.tags = {"review"};
    alpha.cachedPRNumber = 3;
    settings.set(alpha, "alpha");
    BookmarkSettings gamma;
    gamma.cachedPRNumber = 9;
    settings.set(gamma, "gamma");
    BookmarkSettings same;
    same.cachedPRNumber = 40;
    same.columnVisible = true;
    settings.set(same, "main");

    answer(gh, "alpha", pr(7, "Alpha"));
    answer(gh, "beta", pr(12, "Beta"));
    answer(gh, "main", pr(40, "Main"));
    refresh(&cache);

    BookmarkSettingsStore reread(repo.root());
    auto expectedAlpha = alpha;
    expectedAlpha.cachedPRNumber = 7;
    EXPECT_EQ(reread.settings("alpha"), expectedAlpha);
    auto expectedBeta = BookmarkSettings::defaultFor(state.bookmarks.at("beta").origin);
    expectedBeta.cachedPRNumber = 12;
    EXPECT_EQ(reread.settings("beta"), expectedBeta);
    auto expectedGamma = gamma;
    expectedGamma.cachedPRNumber = std::nullopt;
    EXPECT_EQ(reread.settings("gamma"), expectedGamma);
    EXPECT_EQ(reread.settings("main"), same);
    EXPECT_EQ(reread.all().size(), 4U);
}

TEST_F(PullRequestRefreshTest, NoSettingsAreWrittenWhenNoNumberChanged) {
    refresh(&cache);
    EXPECT_EQ(gh.askedBranches().size(), 4U);
    EXPECT_FALSE(fs::exists(settings.fileURL()));
    EXPECT_FALSE(fs::exists(settings.legacyFileURL()));
}

TEST_F(PullRequestRefreshTest, CandidatesWithoutCommitsAreAlwaysAsked) {
    // Lanes of a real repository always show a commit here, so the loaded
    // state is edited: alpha's lane shows none, and its cached row has the
    // empty tip that such a lane last answered with.
    state.bookmarks.at("alpha").commitIDs.clear();
    cache.set(Entry{"", pr(8, "cached"), Clock::time_point{}}, "alpha");
    cache.set(Entry{tip("beta"), pr(9, "Beta"), Clock::time_point{}}, "beta");
    answer(gh, "alpha", pr(18, "Alpha now"));

    const auto result = refresh(&cache, false, {}, {"alpha", "beta"});
    EXPECT_EQ(gh.askedBranches(), Names{"alpha"});
    EXPECT_EQ(result,
              (PullRequestsByBookmark{{"alpha", pr(18, "Alpha now")}, {"beta", pr(9, "Beta")}}));
    ASSERT_TRUE(cache.entry("alpha").has_value());
    EXPECT_EQ(cache.entry("alpha")->tipCommitID, "");
    EXPECT_EQ(cache.entry("alpha")->pr, pr(18, "Alpha now"));
}

TEST_F(PullRequestRefreshTest, AllQuestionsRunAtTheSameTime) {
    // Each gh call waits for the other three to start: asked one after the
    // other, every call would fail and no row would be written.
    gh.requireConcurrentCalls(4);
    answer(gh, "beta", pr(2, "Beta"));
    const auto result = refresh(&cache);
    EXPECT_EQ(result, (PullRequestsByBookmark{{"beta", pr(2, "Beta")}}));
    EXPECT_EQ(cache.all().size(), 4U);
}

TEST_F(PullRequestRefreshTest, WithoutGhOnlyCachedBadgesComeBackAndTheCacheStays) {
    cache.set(Entry{tip("beta"), pr(20, "Beta"), Clock::time_point{}}, "beta");
    cache.set(Entry{"moved-away", pr(30, "Gamma"), Clock::time_point{}}, "gamma");
    const auto before = cache.all();

    const TempDir emptyFolder{"vorda-no-gh"};
    const ScopedEnvironment path("PATH");
    path.set(emptyFolder.string());
    if (locateTool("gh")) {
        GTEST_SKIP() << "a gh is installed in a standard folder: " << *locateTool("gh");
    }
    GitHubClient missing(repo.root());
    const auto result =
        refreshPullRequestStatuses(state, missing, &cache, settings, false, {}, {}, {});
    EXPECT_EQ(result, (PullRequestsByBookmark{{"beta", pr(20, "Beta")}}));
    EXPECT_EQ(cache.all(), before);
    EXPECT_TRUE(gh.askedBranches().empty());
}

}  // namespace
}  // namespace vorda
