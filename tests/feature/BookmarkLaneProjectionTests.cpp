#include "feature/lanes/BookmarkLaneProjection.h"

#include <array>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "feature/StateBuilder.h"

namespace vorda {
namespace {

using testing::StateBuilder;
using Names = std::vector<std::string>;
using Lanes = std::map<std::string, BookmarkLaneReadModel>;

RepoState stateOf(const std::string& commits, const std::string& bookmarks) {
    return StateBuilder().commits(commits).bookmarks(bookmarks).state();
}

/// The names of the lanes for which `flag` holds.
template <typename Flag>
Names lanesWhere(const Lanes& lanes, Flag flag) {
    Names names;
    for (const auto& [name, lane] : lanes) {
        if (flag(lane)) {
            names.push_back(name);
        }
    }
    return names;
}

Lanes build(const RepoState& state, const std::optional<std::string>& trunk,
            const std::map<std::string, BookmarkSettings>& settings = {},
            const std::vector<FileRoutingRule>& rules = {}) {
    return BookmarkLaneProjection::build(state, settings, rules, trunk);
}

TEST(BookmarkLaneTrunk, IsTheUpstreamBookmarkOnTheTrunkCommitElseOneWithAnImmutableTip) {
    struct Case {
        std::string commits;
        std::string bookmarks;
        std::optional<std::string> trunkCommit;
        std::optional<std::string> expected;
    };
    // Preference ("main", "master", "trunk", "develop") beats the alphabet.
    const std::string fallback =
        "release@origin:rel feature@origin:wip ghost@origin:not-loaded empty@origin: "
        "local-main:old main:old ";
    const std::vector<Case> cases = {
        {"t1!", "master@origin:t1 main@origin:t1", "t1", "main"},
        {"t1!", "develop@origin:t1 zeta@origin:t1", "t1", "develop"},
        {"t1!", "zeta@origin:t1 alpha@origin:t1", "t1", "alpha"},
        {"t1!", "develop@origin:t1 master@origin:t1", "t1", "master"},
        {"t1!", "trunk@origin:t1 develop@origin:t1", "t1", "trunk"},
        // Only upstream bookmarks are candidates.
        {"t1!", "main:t1 zeta@origin:t1", "t1", "zeta"},
        // A tip elsewhere, even with the trunk commit further down, is no candidate.
        {"t0! t1:t0! m1:t1", "feature@origin:m1,t1", "t1", std::nullopt},
        // Without a trunk commit, or none on it: upstream bookmarks with an immutable tip.
        {"old! rel:old! wip:rel", fallback, std::nullopt, "release"},
        {"old! rel:old! wip:rel", fallback, "old", "release"},
        {"old! rel:old! wip:rel", fallback + "master@origin:old", std::nullopt, "master"},
        {"m1 t1!", "feature@origin:m1 main:t1", "t1", std::nullopt},
        {"", "", std::nullopt, std::nullopt},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.bookmarks);
        EXPECT_EQ(BookmarkLaneProjection::resolveTrunkName(stateOf(c.commits, c.bookmarks),
                                                           c.trunkCommit),
                  c.expected);
    }
    EXPECT_EQ(BookmarkLaneProjection::preferredName({"zeta", "develop", "trunk", "master"}),
              "master");
    EXPECT_EQ(BookmarkLaneProjection::preferredName({"develop", "zeta"}), "develop");
    EXPECT_EQ(BookmarkLaneProjection::preferredName({"mainline", "Main", "main2", "x/main"}),
              std::nullopt);
    EXPECT_EQ(BookmarkLaneProjection::preferredName({}), std::nullopt);
}

TEST(BookmarkLaneTrunk, AncestorsCoverLoadedHistoryFromTheFirstCommitAndNameUnloadedParents) {
    const std::string history = "t0:beyond! side:t0! t1:t0! t2:t1,side! above:t2 ";
    const std::vector<
        std::tuple<std::string, std::string, std::optional<std::string>, std::set<std::string>>>
        cases = {
            {history,
             "main@origin:t2,t1 feature:above",
             "main",
             {"t2", "t1", "side", "t0", "beyond"}},
            {history, "main@origin:t1,t2", "main", {"t1", "t0", "beyond"}},
            {history, "main@origin:t1 hollow@origin:", std::nullopt, {}},
            {history, "main@origin:t1 hollow@origin:", "nope", {}},
            {history, "main@origin:t1 hollow@origin:", "hollow", {}},
            // A cyclic graph still ends.
            {"a:b! b:c,a! c:a!", "main@origin:a", "main", {"a", "b", "c"}},
        };
    for (const auto& [commits, bookmarks, trunk, expected] : cases) {
        SCOPED_TRACE(bookmarks);
        EXPECT_EQ(
            BookmarkLaneProjection::trunkAncestorCommitIDs(stateOf(commits, bookmarks), trunk),
            expected);
    }
}

TEST(BookmarkLaneBuild, GivesEachBookmarkOneLaneOfItsLoadedCommitsSharedWithTheIndex) {
    StateBuilder builder;
    builder.commits("c1 c2:c1 c3:c2 orphan").bookmarks("feature:c3,missing,c1,c2 beta:");
    builder.commit("c1").description = "first\n";
    builder.conflict("feature", "gone");
    const auto lanes = build(builder.state(), "gone", {{"settings-only", BookmarkSettings{}}},
                             {{"id", "*.md", "rules-only", true}});
    EXPECT_EQ(lanesWhere(lanes, [](const auto&) { return true; }), (Names{"beta", "feature"}));
    const auto& commits = lanes.at("feature").commits;
    ASSERT_EQ(commits.size(), 3U);
    for (std::size_t index = 0; index < commits.size(); ++index) {
        const auto* id = std::array{"c3", "c1", "c2"}[index];
        EXPECT_EQ(&*commits[index], &*builder.state().commits.at(id)) << id;
    }
    EXPECT_EQ(commits[1]->description, "first\n");
    EXPECT_TRUE(build(RepoState{}, std::nullopt).empty());

    // Shared commits still compare by value.
    JJCommit made;
    made.commitID = "c1";
    EXPECT_EQ(SharedCommit(made), SharedCommit(made));
    made.description = "changed\n";
    EXPECT_NE(commits[1], SharedCommit(made));
}

TEST(BookmarkLaneBuild, CarriesConflictPartnersSettingsAndRoutingRulesOfEachBookmark) {
    StateBuilder builder;
    builder.commits("c1").bookmarks("a: b: c: d: pushed@origin:c1 local:c1 configured@origin:c1");
    builder.conflict("b", "c").conflict("a", "c").conflict("a", "b");
    BookmarkSettings stored;
    stored.updateStrategy = UpdateStrategy::rebase;
    stored.tags = {"review", "urgent"};
    stored.pinned = true;
    stored.columnVisible = true;
    const std::vector<FileRoutingRule> rules{{"1", "*.md", "a", true},
                                             {"2", "src/*", "b", true},
                                             {"3", "docs/*", "a", true},
                                             {"4", "*.txt", "elsewhere", true},
                                             {"5", "README", "a", true}};
    const auto lanes = build(builder.state(), std::nullopt, {{"configured", stored}}, rules);

    // Partners both ways, sorted.
    EXPECT_EQ(lanes.at("a").conflictPartners, (Names{"b", "c"}));
    EXPECT_EQ(lanes.at("b").conflictPartners, (Names{"a", "c"}));
    EXPECT_EQ(lanes.at("c").conflictPartners, (Names{"a", "b"}));
    EXPECT_TRUE(lanes.at("d").conflictPartners.empty());

    // Stored settings, else the defaults of the bookmark's origin.
    const auto settingsOf = [&](const std::string& name) {
        const auto& lane = lanes.at(name);
        return std::tuple(lane.updateStrategy, lane.tags, lane.isPinned, lane.isColumnVisible);
    };
    EXPECT_EQ(settingsOf("pushed"), std::tuple(UpdateStrategy::mergeIn, Names{}, false, false));
    EXPECT_EQ(settingsOf("local"), std::tuple(UpdateStrategy::rebase, Names{}, false, false));
    EXPECT_EQ(settingsOf("configured"),
              std::tuple(UpdateStrategy::rebase, Names{"review", "urgent"}, true, true));

    // Rules grouped by bookmark, in rule order.
    EXPECT_EQ(lanes.at("a").routingRules, (std::vector{rules[0], rules[2], rules[4]}));
    EXPECT_EQ(lanes.at("b").routingRules, (std::vector{rules[1]}));
    EXPECT_TRUE(lanes.at("d").routingRules.empty());
}

TEST(BookmarkLaneBuild, MarksTheTrunkAndTheLanesAlreadyMergedIntoIt) {
    StateBuilder builder;
    builder.commits("t0! t1:t0! t2:t1! m1:t2")
        .bookmarks(
            "main@origin:t2 landed:t1 ahead:m1 landed-first-only:t0,m1 "
            "based-on-landed:m1,t1 divergent:t1,m1 empty:");
    builder.bookmark("divergent", {"t1", "m1"}).isDivergent = true;
    const auto isTrunk = [](const BookmarkLaneReadModel& lane) {
        return lane.isTrunk;
    };
    const auto isMerged = [](const BookmarkLaneReadModel& lane) {
        return lane.isMergedIntoTrunk;
    };
    const auto lanes = build(builder.state(), "main");
    EXPECT_EQ(lanesWhere(lanes, isTrunk), Names{"main"});
    EXPECT_EQ(lanesWhere(lanes, isMerged), (Names{"landed", "landed-first-only"}));
    // Without a trunk nothing is trunk or merged.
    for (const auto& trunk : {std::optional<std::string>{}, std::optional<std::string>{"gone"}}) {
        const auto without = build(builder.state(), trunk);
        EXPECT_TRUE(lanesWhere(without, isTrunk).empty());
        EXPECT_TRUE(lanesWhere(without, isMerged).empty());
    }

    // Anywhere in a long trunk history, down to its unloaded base.
    StateBuilder longer;
    const int length = 3000;
    for (int index = 0; index < length; ++index) {
        longer.immutableCommit("t" + std::to_string(index),
                               {index == 0 ? "beyond" : "t" + std::to_string(index - 1)});
    }
    longer.commits("side:t5!")
        .bookmarks(
            "main@origin:t2999 at-0:t0 at-1:t1 at-1234:t1234 at-2998:t2998 unloaded-base:beyond "
            "side:side elsewhere:nowhere");
    EXPECT_EQ(lanesWhere(build(longer.state(), "main"), isMerged),
              (Names{"at-0", "at-1", "at-1234", "at-2998", "unloaded-base"}));
}

TEST(BookmarkLaneBuild, ShortensTheFirstCommitIDWhenItIsLoaded) {
    const std::string full = "0123456789abcdef0123456789abcdef01234567";
    const auto lanes =
        build(stateOf(full + " short", "long:" + full + " brief:short " + "unloaded-tip:missing," +
                                           full + " empty:"),
              std::nullopt);
    EXPECT_EQ(lanes.at("long").upstreamShortCommitID, "0123456789ab");
    EXPECT_EQ(lanes.at("brief").upstreamShortCommitID, "short");
    EXPECT_EQ(lanes.at("unloaded-tip").upstreamShortCommitID, std::nullopt);
    EXPECT_EQ(lanes.at("empty").upstreamShortCommitID, std::nullopt);
}

TEST(BookmarkLaneBuild, DoesNotDependOnTheCommitIndexLayout) {
    const RepoState state = stateOf("t0! t1:t0! t2:t1,t0! m1:t2",
                                    "master@origin:t2 main@origin:t2 feature:m1,t1 old:t1");
    const auto reference = build(state, "main");
    for (const std::size_t buckets : {1U, 257U, 1031U}) {
        RepoState rehashed = state;
        rehashed.commits.rehash(buckets);
        EXPECT_EQ(BookmarkLaneProjection::resolveTrunkName(rehashed, std::nullopt), "main");
        EXPECT_EQ(build(rehashed, "main"), reference);
    }
}

}  // namespace
}  // namespace vorda
