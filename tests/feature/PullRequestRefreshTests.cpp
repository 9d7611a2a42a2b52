#include "feature/pullrequests/PullRequestRefresh.h"

#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "feature/StateBuilder.h"
#include "jjkit/github/ToolLookup.h"
#include "support/ScopedEnvironment.h"
#include "support/ScriptedGh.h"
#include "support/TempDir.h"
#include "support/TestRepo.h"

namespace vorda {
namespace {

using Entry = PRCacheStore::Entry;
using Names = std::vector<std::string>;
using PRs = PullRequestsByBookmark;
const std::chrono::system_clock::time_point never{};

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

/// The refresh only reads the repository state, so it is built in memory:
/// `main`, `alpha`, `beta` and `gamma` track origin, `solo` is only local
/// and `theirs` only on origin, untracked. The stores and gh work in a real
/// repository's folder.
class PullRequestRefreshTest : public ::testing::Test {
  protected:
    PullRequestRefreshTest() {
        testing::StateBuilder builder;
        for (const std::string name : {"main", "alpha", "beta", "gamma"}) {
            builder.commit("tip-" + name);
            builder.upstreamBookmark(name, {"tip-" + name}).remoteSyncState = {
                RemoteSyncState::UpToDate{"origin"}};
        }
        builder.commits("tip-solo tip-theirs").bookmarks("solo:tip-solo theirs@origin:tip-theirs");
        state = builder.state();
    }

    /// Answers `pr list --head branch` with `record`, as gh prints it.
    void answer(const std::string& branch, const GitHubPR& record) const {
        nlohmann::json object = RecordCoding<GitHubPR>::encode(record);
        object.erase("reviewCommentCount");
        object["comments"] = nlohmann::json::array();
        for (int index = 0; index < record.reviewCommentCount; ++index) {
            object["comments"].push_back({{"body", "comment"}});
        }
        gh.answer(branch, nlohmann::json::array({object}).dump());
    }

    PRs refresh(PRCacheStore* store, bool force = false, const std::set<std::string>& forced = {},
                const std::set<std::string>& limitTo = {},
                const std::function<void(const PRs&)>& cachedBlock = {}) {
        return refreshPullRequestStatuses(state, client, store, settings, force, forced, limitTo,
                                          cachedBlock);
    }

    testing::TestRepo repo;
    testing::ScriptedGh gh;
    RepoState state;
    GitHubClient client{repo.root()};
    BookmarkSettingsStore settings{repo.root()};
    PRCacheStore cache{repo.root()};
};

TEST_F(PullRequestRefreshTest, WithoutCacheEveryTrackedBookmarkOrOnlyTheNamedOnesAreAsked) {
    answer("alpha", pr(1, "Alpha"));
    answer("gamma", pr(3, "Gamma"));
    EXPECT_EQ(refresh(nullptr), (PRs{{"alpha", pr(1, "Alpha")}, {"gamma", pr(3, "Gamma")}}));
    EXPECT_EQ(gh.askedBranches(), (Names{"alpha", "beta", "gamma", "main"}));
    EXPECT_TRUE(cache.all().empty());

    // Only the named ones when narrowed; untracked and unknown names stay out.
    EXPECT_EQ(refresh(nullptr, false, {}, {"gamma", "solo", "nonexistent"}),
              (PRs{{"gamma", pr(3, "Gamma")}}));
    EXPECT_EQ(gh.askedBranches(), (Names{"alpha", "beta", "gamma", "gamma", "main"}));
    // The numbers were stored by the first refresh; the second changed none.
    EXPECT_EQ(settings.settings("gamma").value_or(BookmarkSettings{}).cachedPRNumber, 3);
}

TEST_F(PullRequestRefreshTest, CachedAnswersForTheSameTipStandAndOnlyMovedTipsAreAsked) {
    cache.set(Entry{"tip-alpha", std::nullopt, never}, "alpha");
    cache.set(Entry{"tip-beta", pr(20, "Beta"), never}, "beta");
    cache.set(Entry{"moved-away", pr(30, "Gamma old"), never}, "gamma");
    answer("alpha", pr(10, "Alpha on GitHub"));
    answer("beta", pr(21, "Beta on GitHub"));
    answer("gamma", pr(31, "Gamma new"));

    std::vector<PRs> cachedCalls;
    std::vector<std::size_t> callsBeforeBlock;
    const auto result = refresh(&cache, false, {}, {}, [&](const PRs& cached) {
        cachedCalls.push_back(cached);
        callsBeforeBlock.push_back(gh.askedBranches().size());
    });

    EXPECT_EQ(gh.askedBranches(), (Names{"gamma", "main"}));
    // A cached "no pull request" stands too: alpha gets no badge.
    EXPECT_EQ(result, (PRs{{"beta", pr(20, "Beta")}, {"gamma", pr(31, "Gamma new")}}));
    EXPECT_EQ(cachedCalls, (std::vector<PRs>{{{"beta", pr(20, "Beta")}}}));
    EXPECT_EQ(callsBeforeBlock, std::vector<std::size_t>{0});
}

TEST_F(PullRequestRefreshTest, ForceAsksAboutEveryCandidateDespiteTheCache) {
    for (const std::string name : {"main", "alpha", "beta", "gamma"}) {
        cache.set(Entry{"tip-" + name, pr(90, "cached " + name), never}, name);
    }
    answer("beta", pr(21, "Beta on GitHub"));
    std::optional<PRs> cachedBadges;
    const auto result =
        refresh(&cache, true, {}, {}, [&](const PRs& cached) { cachedBadges = cached; });
    EXPECT_EQ(gh.askedBranches(), (Names{"alpha", "beta", "gamma", "main"}));
    EXPECT_EQ(cachedBadges, PRs{});
    EXPECT_EQ(result, (PRs{{"beta", pr(21, "Beta on GitHub")}}));
}

TEST_F(PullRequestRefreshTest, LimitToNarrowsTheCandidatesAndForcedBranchesReachBeyondIt) {
    cache.set(Entry{"tip-alpha", pr(1, "Alpha"), never}, "alpha");
    cache.set(Entry{"tip-beta", pr(2, "Beta"), never}, "beta");
    answer("beta", pr(22, "Beta on GitHub"));
    // beta is forced though outside limitTo; an untracked bookmark stays out
    // even when forced.
    const auto result = refresh(&cache, false, {"beta", "solo", "theirs"}, {"alpha"});
    EXPECT_EQ(gh.askedBranches(), Names{"beta"});
    EXPECT_EQ(result, (PRs{{"alpha", pr(1, "Alpha")}, {"beta", pr(22, "Beta on GitHub")}}));
}

TEST_F(PullRequestRefreshTest, EveryAnswerReplacesItsRowWithOneFetchTimeAndAFailureLeavesIt) {
    const Entry old{"moved-away", pr(30, "Gamma old"), never + std::chrono::seconds(7)};
    cache.set(old, "gamma");
    cache.set(Entry{"moved-away", pr(5, "stale"), never}, "beta");
    gh.failList("gamma", "HTTP 502: Bad Gateway\n");
    answer("alpha", pr(1, "Alpha"));

    EXPECT_EQ(refresh(&cache), (PRs{{"alpha", pr(1, "Alpha")}}));
    EXPECT_EQ(gh.askedBranches(), (Names{"alpha", "beta", "gamma", "main"}));
    const auto rows = cache.all();
    ASSERT_EQ(rows.size(), 4U);
    EXPECT_EQ(rows.at("alpha"), (Entry{"tip-alpha", pr(1, "Alpha"), rows.at("alpha").fetchedAt}));
    // "[]" is an answer: the row says the branch has no pull request.
    EXPECT_EQ(rows.at("beta"), (Entry{"tip-beta", std::nullopt, rows.at("alpha").fetchedAt}));
    EXPECT_EQ(rows.at("main"), (Entry{"tip-main", std::nullopt, rows.at("alpha").fetchedAt}));
    EXPECT_NE(rows.at("alpha").fetchedAt, never);
    // The failed question left its row and gave no badge.
    EXPECT_EQ(rows.at("gamma"), old);
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
    answer("alpha", pr(7, "Alpha"));
    answer("beta", pr(12, "Beta"));
    answer("main", pr(40, "Main"));
    refresh(&cache);

    BookmarkSettingsStore reread(repo.root());
    alpha.cachedPRNumber = 7;
    EXPECT_EQ(reread.settings("alpha"), alpha);
    auto beta = BookmarkSettings::defaultFor(state.bookmarks.at("beta").origin);
    beta.cachedPRNumber = 12;
    EXPECT_EQ(reread.settings("beta"), beta);
    gamma.cachedPRNumber = std::nullopt;
    EXPECT_EQ(reread.settings("gamma"), gamma);
    EXPECT_EQ(reread.settings("main"), same);
    EXPECT_EQ(reread.all().size(), 4U);
}

TEST_F(PullRequestRefreshTest, NoSettingsAreWrittenWhenNoNumberChanged) {
    refresh(&cache);
    EXPECT_EQ(gh.askedBranches().size(), 4U);
    EXPECT_FALSE(std::filesystem::exists(settings.fileURL()));
    EXPECT_FALSE(std::filesystem::exists(settings.legacyFileURL()));
}

TEST_F(PullRequestRefreshTest, CandidatesWithoutCommitsAreAlwaysAsked) {
    // alpha's lane shows no commit; its cached row has the empty tip that
    // such a lane last answered with.
    state.bookmarks.at("alpha").commitIDs.clear();
    cache.set(Entry{"", pr(8, "cached"), never}, "alpha");
    cache.set(Entry{"tip-beta", pr(9, "Beta"), never}, "beta");
    answer("alpha", pr(18, "Alpha now"));

    const auto result = refresh(&cache, false, {}, {"alpha", "beta"});
    EXPECT_EQ(gh.askedBranches(), Names{"alpha"});
    EXPECT_EQ(result, (PRs{{"alpha", pr(18, "Alpha now")}, {"beta", pr(9, "Beta")}}));
    ASSERT_TRUE(cache.entry("alpha").has_value());
    EXPECT_EQ(cache.entry("alpha")->tipCommitID, "");
    EXPECT_EQ(cache.entry("alpha")->pr, pr(18, "Alpha now"));
}

TEST_F(PullRequestRefreshTest, AllQuestionsRunAtTheSameTime) {
    // Each gh call waits for the other three to start: asked one after the
    // other, every call would fail and no row would be written.
    gh.requireConcurrentCalls(4);
    answer("beta", pr(2, "Beta"));
    EXPECT_EQ(refresh(&cache), (PRs{{"beta", pr(2, "Beta")}}));
    EXPECT_EQ(cache.all().size(), 4U);
}

TEST_F(PullRequestRefreshTest, WithoutGhOnlyCachedBadgesComeBackAndTheCacheStays) {
    cache.set(Entry{"tip-beta", pr(20, "Beta"), never}, "beta");
    cache.set(Entry{"moved-away", pr(30, "Gamma"), never}, "gamma");
    const auto before = cache.all();

    const testing::TempDir emptyFolder{"vorda-no-gh"};
    const testing::ScopedEnvironment path("PATH");
    path.set(emptyFolder.string());
    if (locateTool("gh")) {
        GTEST_SKIP() << "a gh is installed in a standard folder: " << *locateTool("gh");
    }
    GitHubClient missing(repo.root());
    EXPECT_EQ(refreshPullRequestStatuses(state, missing, &cache, settings, false, {}, {}, {}),
              (PRs{{"beta", pr(20, "Beta")}}));
    EXPECT_EQ(cache.all(), before);
    EXPECT_TRUE(gh.askedBranches().empty());
}

}  // namespace
}  // namespace vorda
