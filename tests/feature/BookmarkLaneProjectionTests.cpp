#include "feature/lanes/BookmarkLaneProjection.h"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "feature/StateBuilder.h"

namespace vorda {
namespace {

using testing::StateBuilder;

std::vector<std::string> commitIDsOf(const std::vector<SharedCommit>& commits) {
    std::vector<std::string> ids;
    ids.reserve(commits.size());
    for (const auto& commit : commits) {
        ids.push_back(commit->commitID);
    }
    return ids;
}

std::vector<std::string> patternsOf(const std::vector<FileRoutingRule>& rules) {
    std::vector<std::string> patterns;
    patterns.reserve(rules.size());
    for (const auto& rule : rules) {
        patterns.push_back(rule.pattern);
    }
    return patterns;
}

FileRoutingRule rule(const std::string& pattern, const std::string& bookmarkName) {
    return {"rule " + pattern, pattern, bookmarkName, true};
}

std::map<std::string, BookmarkLaneReadModel> buildLanes(
    const RepoState& state, const std::optional<std::string>& trunk,
    const std::map<std::string, BookmarkSettings>& settings = {},
    const std::vector<FileRoutingRule>& rules = {}) {
    return BookmarkLaneProjection::build(state, settings, rules, trunk);
}

// ---------------------------------------------------------------------------
// Trunk resolution

TEST(BookmarkLaneTrunkName, PrefersTrunkNamesOnTheTrunkCommitElseTheFirstName) {
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases{
        {{"master", "main"}, "main"},
        {{"develop", "zeta"}, "develop"},
        {{"alpha", "zeta"}, "alpha"},
        // Preference beats the alphabet: "develop" sorts first.
        {{"develop", "master"}, "master"},
        {{"trunk", "develop"}, "trunk"},
    };
    for (const auto& [names, expected] : cases) {
        StateBuilder builder;
        builder.immutableCommit("t1");
        for (const auto& name : names) {
            builder.upstreamBookmark(name, {"t1"});
        }
        EXPECT_EQ(BookmarkLaneProjection::resolveTrunkName(builder.state(), "t1"), expected)
            << ::testing::PrintToString(names);
    }
}

TEST(BookmarkLaneTrunkName, OnlyUpstreamBookmarksOnTheTrunkCommitAreCandidates) {
    StateBuilder builder;
    builder.immutableCommit("t1");
    builder.bookmark("main", {"t1"});  // local
    builder.upstreamBookmark("zeta", {"t1"});
    EXPECT_EQ(BookmarkLaneProjection::resolveTrunkName(builder.state(), "t1"), "zeta");

    // A bookmark whose tip is elsewhere, even one further down its commits,
    // is not on the trunk commit.
    StateBuilder other;
    other.immutableCommit("t0");
    other.immutableCommit("t1", {"t0"});
    other.commit("m1", {"t1"});
    other.upstreamBookmark("feature", {"m1", "t1"});
    EXPECT_EQ(BookmarkLaneProjection::resolveTrunkName(other.state(), "t1"), std::nullopt);
}

TEST(BookmarkLaneTrunkName, FallsBackOnUpstreamBookmarksWithAnImmutableTip) {
    StateBuilder builder;
    builder.immutableCommit("old");
    builder.immutableCommit("rel", {"old"});
    builder.commit("wip", {"rel"});
    builder.upstreamBookmark("release", {"rel"});
    builder.upstreamBookmark("feature", {"wip"});       // mutable tip
    builder.upstreamBookmark("ghost", {"not-loaded"});  // tip unknown
    builder.upstreamBookmark("empty", {});
    builder.bookmark("local-main", {"old"});  // local origin
    builder.bookmark("main", {"old"});        // local origin, trunk name

    // No trunk commit at all.
    EXPECT_EQ(BookmarkLaneProjection::resolveTrunkName(builder.state(), std::nullopt), "release");
    // A trunk commit that no upstream bookmark sits on.
    EXPECT_EQ(BookmarkLaneProjection::resolveTrunkName(builder.state(), "old"), "release");

    // The fallback makes the same choice among several.
    builder.upstreamBookmark("master", {"old"});
    EXPECT_EQ(BookmarkLaneProjection::resolveTrunkName(builder.state(), std::nullopt), "master");
}

TEST(BookmarkLaneTrunkName, IsAbsentWithoutCandidates) {
    StateBuilder builder;
    builder.commit("m1");
    builder.upstreamBookmark("feature", {"m1"});
    builder.immutableCommit("t1");
    builder.bookmark("main", {"t1"});
    EXPECT_EQ(BookmarkLaneProjection::resolveTrunkName(builder.state(), "t1"), std::nullopt);
    EXPECT_EQ(BookmarkLaneProjection::resolveTrunkName(RepoState{}, std::nullopt), std::nullopt);
}

TEST(BookmarkLaneTrunkName, PreferredNameMatchesWholeNamesInPreferenceOrder) {
    using Names = std::vector<std::string>;
    EXPECT_EQ(BookmarkLaneProjection::preferredName(Names{"zeta", "develop", "trunk", "master"}),
              "master");
    EXPECT_EQ(BookmarkLaneProjection::preferredName(Names{"develop", "zeta"}), "develop");
    EXPECT_EQ(BookmarkLaneProjection::preferredName(Names{"mainline", "Main", "main2", "x/main"}),
              std::nullopt);
    EXPECT_EQ(BookmarkLaneProjection::preferredName(Names{}), std::nullopt);
}

// ---------------------------------------------------------------------------
// Trunk ancestry

TEST(BookmarkLaneTrunkAncestors, CoversLoadedHistoryAndNamesUnloadedParents) {
    StateBuilder builder;
    builder.immutableCommit("t0", {"beyond"});
    builder.immutableCommit("side", {"t0"});
    builder.immutableCommit("t1", {"t0"});
    builder.immutableCommit("t2", {"t1", "side"});
    builder.commit("above", {"t2"});
    builder.upstreamBookmark("main", {"t2", "t1"});
    builder.bookmark("feature", {"above"});

    EXPECT_EQ(BookmarkLaneProjection::trunkAncestorCommitIDs(builder.state(), "main"),
              (std::set<std::string>{"t2", "t1", "side", "t0", "beyond"}));
    // Only the first commit counts as the start.
    builder.upstreamBookmark("main", {"t1", "t2"});
    EXPECT_EQ(BookmarkLaneProjection::trunkAncestorCommitIDs(builder.state(), "main"),
              (std::set<std::string>{"t1", "t0", "beyond"}));
}

TEST(BookmarkLaneTrunkAncestors, IsEmptyForAbsentUnknownOrEmptyTrunk) {
    StateBuilder builder;
    builder.immutableCommit("t1");
    builder.upstreamBookmark("main", {"t1"});
    builder.upstreamBookmark("hollow", {});
    EXPECT_TRUE(
        BookmarkLaneProjection::trunkAncestorCommitIDs(builder.state(), std::nullopt).empty());
    EXPECT_TRUE(BookmarkLaneProjection::trunkAncestorCommitIDs(builder.state(), "nope").empty());
    EXPECT_TRUE(BookmarkLaneProjection::trunkAncestorCommitIDs(builder.state(), "hollow").empty());
}

TEST(BookmarkLaneTrunkAncestors, EndsOnACyclicGraph) {
    StateBuilder builder;
    builder.immutableCommit("a", {"b"});
    builder.immutableCommit("b", {"c", "a"});
    builder.immutableCommit("c", {"a"});
    builder.upstreamBookmark("main", {"a"});
    EXPECT_EQ(BookmarkLaneProjection::trunkAncestorCommitIDs(builder.state(), "main"),
              (std::set<std::string>{"a", "b", "c"}));
}

// ---------------------------------------------------------------------------
// Building lanes

TEST(BookmarkLaneBuild, GivesOneLaneForEachBookmarkAndNothingElse) {
    StateBuilder builder;
    builder.commit("a1");
    builder.commit("orphan");
    builder.bookmark("alpha", {"a1"});
    builder.bookmark("beta", {});
    builder.conflict("alpha", "gone");
    const auto lanes = buildLanes(builder.state(), "gone", {{"settings-only", BookmarkSettings{}}},
                                  {rule("*.md", "rules-only")});
    std::vector<std::string> names;
    names.reserve(lanes.size());
    for (const auto& [name, lane] : lanes) {
        names.push_back(name);
    }
    EXPECT_EQ(names, (std::vector<std::string>{"alpha", "beta"}));
    EXPECT_TRUE(buildLanes(RepoState{}, std::nullopt).empty());
}

TEST(BookmarkLaneBuild, ListsCommitsInBookmarkOrderSkippingUnloadedOnes) {
    StateBuilder builder;
    builder.commit("c1");
    builder.commit("c2", {"c1"});
    builder.commit("c3", {"c2"});
    builder.bookmark("feature", {"c3", "missing", "c1", "c2"});
    const auto lanes = buildLanes(builder.state(), std::nullopt);
    EXPECT_EQ(commitIDsOf(lanes.at("feature").commits),
              (std::vector<std::string>{"c3", "c1", "c2"}));
}

TEST(BookmarkLaneBuild, SharesTheIndexCommitsInsteadOfCopyingThem) {
    StateBuilder builder;
    builder.commit("c1").description = "first\n";
    builder.commit("c2", {"c1"});
    builder.bookmark("feature", {"c2", "c1"});
    const auto lanes = buildLanes(builder.state(), std::nullopt);
    const auto& commits = lanes.at("feature").commits;
    ASSERT_EQ(commits.size(), 2U);
    EXPECT_EQ(&*commits[0], &*builder.state().commits.at("c2"));
    EXPECT_EQ(&*commits[1], &*builder.state().commits.at("c1"));
    EXPECT_EQ(commits[1]->description, "first\n");
}

TEST(BookmarkLaneBuild, ComparesSharedCommitsByValue) {
    JJCommit made;
    made.commitID = "c1";
    made.description = "same\n";
    const SharedCommit one(made);
    const SharedCommit other(made);
    EXPECT_NE(&*one, &*other);
    EXPECT_EQ(one, other);
    made.description = "changed\n";
    EXPECT_NE(one, SharedCommit(made));
}

TEST(BookmarkLaneBuild, PairsConflictPartnersBothWaysSorted) {
    StateBuilder builder;
    for (const auto* name : {"a", "b", "c", "d"}) {
        builder.bookmark(name, {});
    }
    builder.conflict("b", "c").conflict("a", "c").conflict("a", "b");
    const auto lanes = buildLanes(builder.state(), std::nullopt);
    EXPECT_EQ(lanes.at("a").conflictPartners, (std::vector<std::string>{"b", "c"}));
    EXPECT_EQ(lanes.at("b").conflictPartners, (std::vector<std::string>{"a", "c"}));
    EXPECT_EQ(lanes.at("c").conflictPartners, (std::vector<std::string>{"a", "b"}));
    EXPECT_TRUE(lanes.at("d").conflictPartners.empty());
}

TEST(BookmarkLaneBuild, TakesStoredSettingsElseTheDefaultsOfTheOrigin) {
    StateBuilder builder;
    builder.commit("c1");
    builder.upstreamBookmark("pushed", {"c1"});
    builder.bookmark("local", {"c1"});
    builder.upstreamBookmark("configured", {"c1"});
    BookmarkSettings stored;
    stored.updateStrategy = UpdateStrategy::rebase;
    stored.tags = {"review", "urgent"};
    stored.pinned = true;
    stored.columnVisible = true;
    const auto lanes = buildLanes(builder.state(), std::nullopt, {{"configured", stored}});

    const auto& pushed = lanes.at("pushed");
    EXPECT_EQ(pushed.updateStrategy, UpdateStrategy::mergeIn);
    EXPECT_TRUE(pushed.tags.empty());
    EXPECT_FALSE(pushed.isPinned);
    EXPECT_FALSE(pushed.isColumnVisible);

    const auto& local = lanes.at("local");
    EXPECT_EQ(local.updateStrategy, UpdateStrategy::rebase);
    EXPECT_FALSE(local.isPinned);
    EXPECT_FALSE(local.isColumnVisible);

    const auto& configured = lanes.at("configured");
    EXPECT_EQ(configured.updateStrategy, UpdateStrategy::rebase);
    EXPECT_EQ(configured.tags, (std::vector<std::string>{"review", "urgent"}));
    EXPECT_TRUE(configured.isPinned);
    EXPECT_TRUE(configured.isColumnVisible);
}

TEST(BookmarkLaneBuild, GroupsRoutingRulesByBookmarkInRuleOrder) {
    StateBuilder builder;
    builder.bookmark("docs", {});
    builder.bookmark("code", {});
    builder.bookmark("idle", {});
    const std::vector<FileRoutingRule> rules{rule("*.md", "docs"), rule("src/*", "code"),
                                             rule("docs/*", "docs"), rule("*.txt", "elsewhere"),
                                             rule("README", "docs")};
    const auto lanes = buildLanes(builder.state(), std::nullopt, {}, rules);
    EXPECT_EQ(patternsOf(lanes.at("docs").routingRules),
              (std::vector<std::string>{"*.md", "docs/*", "README"}));
    EXPECT_EQ(lanes.at("code").routingRules, (std::vector<FileRoutingRule>{rules[1]}));
    EXPECT_TRUE(lanes.at("idle").routingRules.empty());
}

TEST(BookmarkLaneBuild, MarksTheTrunkAndLanesAlreadyMergedIntoIt) {
    StateBuilder builder;
    builder.immutableCommit("t0");
    builder.immutableCommit("t1", {"t0"});
    builder.immutableCommit("t2", {"t1"});
    builder.commit("m1", {"t2"});
    builder.upstreamBookmark("main", {"t2"});
    builder.bookmark("landed", {"t1"});
    builder.bookmark("ahead", {"m1"});
    builder.bookmark("landed-first-only", {"t0", "m1"});
    builder.bookmark("based-on-landed", {"m1", "t1"});
    Bookmark& divergent = builder.bookmark("divergent", {"t1", "m1"});
    divergent.isDivergent = true;
    builder.bookmark("empty", {});

    const auto lanes = buildLanes(builder.state(), "main");
    EXPECT_TRUE(lanes.at("main").isTrunk);
    EXPECT_FALSE(lanes.at("main").isMergedIntoTrunk);
    EXPECT_TRUE(lanes.at("landed").isMergedIntoTrunk);
    EXPECT_TRUE(lanes.at("landed-first-only").isMergedIntoTrunk);
    EXPECT_FALSE(lanes.at("ahead").isMergedIntoTrunk);
    EXPECT_FALSE(lanes.at("based-on-landed").isMergedIntoTrunk);
    EXPECT_FALSE(lanes.at("divergent").isMergedIntoTrunk);
    EXPECT_FALSE(lanes.at("empty").isMergedIntoTrunk);
    for (const auto& [name, lane] : lanes) {
        EXPECT_EQ(lane.isTrunk, name == "main") << name;
    }
}

TEST(BookmarkLaneBuild, FindsMergedLanesAnywhereInALongTrunkHistory) {
    StateBuilder builder;
    const int length = 3000;
    for (int index = 0; index < length; ++index) {
        builder.immutableCommit("t" + std::to_string(index),
                                {index == 0 ? "beyond" : "t" + std::to_string(index - 1)});
    }
    builder.immutableCommit("side", {"t5"});
    builder.upstreamBookmark("main", {"t" + std::to_string(length - 1)});
    for (const int index : {0, 1, 1234, length - 2}) {
        builder.bookmark("at-" + std::to_string(index), {"t" + std::to_string(index)});
    }
    builder.bookmark("unloaded-base", {"beyond"});
    builder.bookmark("side", {"side"});
    builder.bookmark("elsewhere", {"nowhere"});

    const auto lanes = buildLanes(builder.state(), "main");
    for (const auto* name : {"at-0", "at-1", "at-1234", "at-2998", "unloaded-base"}) {
        EXPECT_TRUE(lanes.at(name).isMergedIntoTrunk) << name;
    }
    EXPECT_FALSE(lanes.at("side").isMergedIntoTrunk);
    EXPECT_FALSE(lanes.at("elsewhere").isMergedIntoTrunk);
}

TEST(BookmarkLaneBuild, WithoutATrunkNothingIsTrunkOrMerged) {
    StateBuilder builder;
    builder.immutableCommit("t1");
    builder.upstreamBookmark("main", {"t1"});
    builder.bookmark("landed", {"t1"});
    for (const auto& trunk : {std::optional<std::string>{}, std::optional<std::string>{"gone"}}) {
        const auto lanes = buildLanes(builder.state(), trunk);
        for (const auto& [name, lane] : lanes) {
            EXPECT_FALSE(lane.isTrunk) << name;
            EXPECT_FALSE(lane.isMergedIntoTrunk) << name;
        }
    }
}

TEST(BookmarkLaneBuild, ShortensTheFirstLoadedCommitID) {
    const std::string full = "0123456789abcdef0123456789abcdef01234567";
    StateBuilder builder;
    builder.commit(full);
    builder.commit("short");
    builder.bookmark("long", {full});
    builder.bookmark("brief", {"short"});
    builder.bookmark("unloaded-tip", {"missing", full});
    builder.bookmark("empty", {});
    const auto lanes = buildLanes(builder.state(), std::nullopt);
    EXPECT_EQ(lanes.at("long").upstreamShortCommitID, "0123456789ab");
    EXPECT_EQ(lanes.at("brief").upstreamShortCommitID, "short");
    EXPECT_EQ(lanes.at("unloaded-tip").upstreamShortCommitID, std::nullopt);
    EXPECT_EQ(lanes.at("empty").upstreamShortCommitID, std::nullopt);
}

TEST(BookmarkLaneBuild, DoesNotDependOnTheCommitIndexLayout) {
    StateBuilder builder;
    builder.immutableCommit("t0");
    builder.immutableCommit("t1", {"t0"});
    builder.immutableCommit("t2", {"t1", "t0"});
    builder.commit("m1", {"t2"});
    builder.upstreamBookmark("master", {"t2"});
    builder.upstreamBookmark("main", {"t2"});
    builder.bookmark("feature", {"m1", "t1"});
    builder.bookmark("old", {"t1"});
    const auto reference = BookmarkLaneProjection::build(builder.state(), {}, {}, "main");
    for (const std::size_t buckets : {1U, 257U, 1031U}) {
        RepoState state = builder.state();
        state.commits.rehash(buckets);
        EXPECT_EQ(BookmarkLaneProjection::resolveTrunkName(state, std::nullopt), "main");
        EXPECT_EQ(BookmarkLaneProjection::build(state, {}, {}, "main"), reference);
    }
}

}  // namespace
}  // namespace vorda
