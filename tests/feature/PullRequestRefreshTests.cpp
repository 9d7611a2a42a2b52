#include "feature/pullrequests/PullRequestRefresh.h"

#include <filesystem>
#include <iterator>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <tuple>
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
using Settings = std::map<std::string, BookmarkSettings>;
const std::chrono::system_clock::time_point never{};

GitHubPR pr(int number) {
    const auto n = std::to_string(number);
    const auto url = "https://github.com/o/r/pull/" + n;
    return {number, url,       GitHubPR::State::open,
            false,  "PR " + n, GitHubPR::ReviewDecision::approved,
            2};
}

Names words(const std::string& text) {
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), {}};
}

/// Badges written as words "BRANCH:NUMBER".
PRs badges(const std::string& text) {
    PRs result;
    for (const auto& word : words(text)) {
        const auto colon = word.find(':');
        result.emplace(word.substr(0, colon), pr(std::stoi(word.substr(colon + 1))));
    }
    return result;
}

BookmarkSettings numbered(std::optional<int> number, BookmarkSettings settings = {}) {
    settings.cachedPRNumber = number;
    return settings;
}

/// The refresh only reads the repository state, so it is built in memory:
/// `main`, `alpha`, `beta` and `gamma` track origin, `solo` is only local
/// and `theirs` only on origin, untracked. The stores and gh work in a real
/// repository's folder.
class PullRequestRefreshTest : public ::testing::Test {
  protected:
    PullRequestRefreshTest() {
        testing::StateBuilder builder;
        builder.commits("tip-main tip-alpha tip-beta tip-gamma tip-solo tip-theirs");
        builder.bookmarks("solo:tip-solo theirs@origin:tip-theirs");
        for (const std::string name : {"main", "alpha", "beta", "gamma"}) {
            builder.bookmark(name, {"tip-" + name}, BookmarkOrigin::upstream("origin"))
                .remoteSyncState = {RemoteSyncState::UpToDate{"origin"}};
        }
        state = builder.state();
    }

    /// Answers `pr list --head branch` with `pr(number)`, as gh prints it.
    void answer(const std::string& branch, int number) const {
        const auto n = std::to_string(number);
        gh.answer(branch, R"([{"number":)" + n + R"(,"url":"https://github.com/o/r/pull/)" + n +
                              R"(","state":"OPEN","isDraft":false,"title":"PR )" + n +
                              R"(","reviewDecision":"APPROVED","comments":[{},{}]}])");
    }

    /// Forced branches and the limit are written as words.
    PRs refresh(PRCacheStore* store, bool force = false, const std::string& forced = "",
                const std::string& limitTo = "",
                const std::function<void(const PRs&)>& cachedBlock = {}) {
        const auto forcedNames = words(forced);
        const auto limitNames = words(limitTo);
        return refreshPullRequestStatuses(state, client, store, settings, force,
                                          {forcedNames.begin(), forcedNames.end()},
                                          {limitNames.begin(), limitNames.end()}, cachedBlock);
    }

    testing::TestRepo repo;
    testing::ScriptedGh gh;
    RepoState state;
    GitHubClient client{repo.root()};
    BookmarkSettingsStore settings{repo.root()};
    PRCacheStore cache{repo.root()};
};

TEST_F(PullRequestRefreshTest, TheCacheStandsUntilATipMovesOrAForceOrALimitSaysOtherwise) {
    answer("alpha", 10);
    answer("beta", 21);
    answer("gamma", 31);
    // Without a cache every tracked bookmark is asked; each changed number is
    // stored, other settings kept; main's answer has none and clears its old one.
    const BookmarkSettings alpha{UpdateStrategy::mergeIn, {}, {}, {"review"}, true, false};
    const BookmarkSettings gamma{UpdateStrategy::rebase, {}, 31, {}, false, true};
    settings.set(numbered(3, alpha), "alpha");
    settings.set(gamma, "gamma");
    settings.set(numbered(40), "main");
    EXPECT_EQ(refresh(nullptr), badges("alpha:10 beta:21 gamma:31"));
    EXPECT_EQ(gh.askedBranches(), words("alpha beta gamma main"));
    EXPECT_TRUE(cache.all().empty());
    const auto beta = BookmarkSettings::defaultFor(state.bookmarks.at("beta").origin);
    EXPECT_EQ(BookmarkSettingsStore(repo.root()).all(),
              (Settings{{"alpha", numbered(10, alpha)},
                        {"beta", numbered(21, beta)},
                        {"gamma", gamma},
                        {"main", numbered(std::nullopt)}}));

    // A cached answer stands while its tip is the bookmark's, a cached "no
    // pull request" too; the cached badges come before any question.
    // Force, forced branches, limit; then the branches asked, the cached badges, the result.
    const std::vector<
        std::tuple<bool, std::string, std::string, std::string, std::string, std::string>>
        cases{
            {false, "", "", "gamma main", "alpha:1", "alpha:1 gamma:31"},
            {true, "", "", "alpha beta gamma main", "", "alpha:10 beta:21 gamma:31"},
            // Only the named ones; a forced one reaches beyond them, untracked ones never.
            {false, "beta solo theirs", "alpha", "beta", "alpha:1", "alpha:1 beta:21"},
            {false, "", "gamma solo nonexistent", "gamma", "", "gamma:31"},
        };
    for (const auto& [force, forced, limitTo, asked, cachedBadges, badgesAfter] : cases) {
        SCOPED_TRACE(asked);
        cache.set(Entry{"tip-alpha", pr(1), never}, "alpha");
        cache.set(Entry{"tip-beta", std::nullopt, never}, "beta");
        cache.set(Entry{"moved-away", pr(30), never}, "gamma");
        cache.remove("main");
        gh.forgetCalls();
        std::vector<PRs> cachedCalls;
        const auto result = refresh(&cache, force, forced, limitTo, [&](const PRs& cached) {
            EXPECT_TRUE(gh.calls().empty());
            cachedCalls.push_back(cached);
        });
        EXPECT_EQ(gh.askedBranches(), words(asked));
        EXPECT_EQ(cachedCalls, std::vector<PRs>{badges(cachedBadges)});
        EXPECT_EQ(result, badges(badgesAfter));
    }

    // A bookmark that shows no commit is always asked, even when its cached
    // row has the empty tip it last answered with.
    state.bookmarks.at("alpha").commitIDs.clear();
    cache.set(Entry{"", pr(1), never}, "alpha");
    gh.forgetCalls();
    EXPECT_EQ(refresh(&cache, false, "", "alpha beta"), (PRs{{"alpha", pr(10)}}));
    EXPECT_EQ(gh.askedBranches(), Names{"alpha"});
    EXPECT_EQ(cache.entry("alpha"), (Entry{"", pr(10), cache.entry("alpha")->fetchedAt}));
    EXPECT_NE(cache.entry("alpha")->fetchedAt, never);
}

TEST_F(PullRequestRefreshTest,
       AllQuestionsRunAtOnceEachAnswerReplacesItsRowAndAFailureOrNoGhLeavesIt) {
    // Each gh call waits for the other three to start: asked one after the
    // other, every call would fail and no row would be written.
    gh.requireConcurrentCalls(4);
    const Entry old{"moved-away", pr(30), never + std::chrono::seconds(7)};
    cache.set(old, "gamma");
    cache.set(Entry{"moved-away", pr(5), never}, "beta");
    gh.fail("list-gamma", "HTTP 502: Bad Gateway\n");
    EXPECT_EQ(refresh(&cache), PRs{});
    // "[]" is an answer: the row says the branch has no pull request; all
    // rows share one fetch time. No number changed, so no settings are written.
    const auto rows = cache.all();
    const auto fetched = rows.at("alpha").fetchedAt;
    EXPECT_NE(fetched, never);
    EXPECT_EQ(rows, (std::map<std::string, Entry>{{"alpha", {"tip-alpha", std::nullopt, fetched}},
                                                  {"beta", {"tip-beta", std::nullopt, fetched}},
                                                  {"main", {"tip-main", std::nullopt, fetched}},
                                                  {"gamma", old}}));
    EXPECT_FALSE(std::filesystem::exists(settings.fileURL()));
    EXPECT_FALSE(std::filesystem::exists(settings.legacyFileURL()));

    // Without gh only the cached badges of unmoved tips come back, and the cache stays.
    cache.set(Entry{"tip-beta", pr(20), never}, "beta");
    const auto before = cache.all();
    gh.forgetCalls();
    const testing::TempDir emptyFolder{"vorda-no-gh"};
    const testing::ScopedEnvironment path("PATH");
    path.set(emptyFolder.string());
    if (locateTool("gh")) {
        GTEST_SKIP() << "a gh is installed in a standard folder: " << *locateTool("gh");
    }
    GitHubClient missing(repo.root());
    EXPECT_EQ(refreshPullRequestStatuses(state, missing, &cache, settings, false, {}, {}, {}),
              badges("beta:20"));
    EXPECT_EQ(cache.all(), before);
    EXPECT_TRUE(gh.calls().empty());
}

}  // namespace
}  // namespace vorda
