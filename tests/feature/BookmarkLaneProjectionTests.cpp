#include "feature/lanes/BookmarkLaneProjection.h"

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "feature/StateBuilder.h"
#include "jjkit/support/Text.h"

namespace vorda {
namespace {

using testing::StateBuilder;
using Names = std::vector<std::string>;
using Lanes = std::map<std::string, BookmarkLaneReadModel>;

RepoState stateOf(const std::string& commits, const std::string& bookmarks) {
    return StateBuilder().commits(commits).bookmarks(bookmarks).state();
}

Lanes build(const RepoState& state, const std::optional<std::string>& trunk,
            const std::map<std::string, BookmarkSettings>& settings = {},
            const std::vector<FileRoutingRule>& rules = {}) {
    return BookmarkLaneProjection::build(state, settings, rules, trunk);
}

/// "STRATEGY [commits=..] [partners=..] [tags=..] [rules=PATTERN,..] [pinned]
/// [visible] [trunk] [merged] [short=ID]", what the board reads of a lane.
std::string summary(const BookmarkLaneReadModel& lane) {
    std::ostringstream out;
    out << rawValue(lane.updateStrategy);
    const auto list = [&out](const char* label, const auto& items, auto show) {
        Names shown;
        shown.reserve(items.size());
        for (const auto& item : items) {
            shown.push_back(show(item));
        }
        out << (shown.empty() ? "" : " " + (label + ("=" + text::join(shown, ","))));
    };
    list("commits", lane.commits, [](const SharedCommit& commit) { return commit->commitID; });
    list("partners", lane.conflictPartners, std::identity{});
    list("tags", lane.tags, std::identity{});
    list("rules", lane.routingRules, [](const FileRoutingRule& rule) { return rule.pattern; });
    out << (lane.isPinned ? " pinned" : "") << (lane.isColumnVisible ? " visible" : "")
        << (lane.isTrunk ? " trunk" : "") << (lane.isMergedIntoTrunk ? " merged" : "")
        << (lane.upstreamShortCommitID ? " short=" + *lane.upstreamShortCommitID : "");
    return out.str();
}

TEST(BookmarkLaneTrunk, IsTheUpstreamBookmarkOnTheTrunkCommitElseOneWithAnImmutableTip) {
    // Preference ("main", "master", "trunk", "develop") beats the alphabet.
    const std::string fallback =
        "release@origin:rel feature@origin:wip ghost@origin:not-loaded empty@origin: "
        "local-main:old main:old ";
    const std::vector<std::tuple<std::string, std::string, std::optional<std::string>,
                                 std::optional<std::string>>>
        cases = {
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
    for (const auto& [commits, bookmarks, trunkCommit, expected] : cases) {
        SCOPED_TRACE(bookmarks);
        EXPECT_EQ(
            BookmarkLaneProjection::resolveTrunkName(stateOf(commits, bookmarks), trunkCommit),
            expected);
    }
    EXPECT_EQ(BookmarkLaneProjection::preferredName({"zeta", "develop", "trunk", "master"}),
              "master");
    EXPECT_EQ(BookmarkLaneProjection::preferredName({"develop", "zeta"}), "develop");
    EXPECT_EQ(BookmarkLaneProjection::preferredName({"mainline", "Main", "main2", "x/main"}),
              std::nullopt);
    EXPECT_EQ(BookmarkLaneProjection::preferredName({}), std::nullopt);
}

TEST(BookmarkLaneTrunk, AncestorsCoverLoadedHistoryFromTheFirstCommitAndNameUnloadedParents) {
    const std::string h = "t0:beyond! side:t0! t1:t0! t2:t1,side! above:t2 ";
    const std::string hollow = "main@origin:t1 hollow@origin:";
    const std::vector<
        std::tuple<std::string, std::string, std::optional<std::string>, std::set<std::string>>>
        cases = {
            {h, "main@origin:t2,t1 feature:above", "main", {"t2", "t1", "side", "t0", "beyond"}},
            {h, "main@origin:t1,t2", "main", {"t1", "t0", "beyond"}},
            {h, hollow, std::nullopt, {}},
            {h, hollow, "nope", {}},
            {h, hollow, "hollow", {}},
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

TEST(BookmarkLaneBuild, GivesEachBookmarkOneLaneOfItsLoadedCommitsSettingsRulesAndFlags) {
    const std::string full = "0123456789abcdef0123456789abcdef01234567";
    StateBuilder builder;
    builder.commits("t0! t1:t0! t2:t1! m1:t2 " + full + ":m1")
        .bookmarks(
            "main@origin:t2 master@origin:t2 landed:t1 ahead:m1,missing,t1 "
            "landed-first-only:t0,m1 divergent:t1,m1 empty: unloaded-tip:missing,m1 "
            "long:" +
            full + " configured@origin:m1 pushed@origin:m1");
    builder.bookmark("divergent", {"t1", "m1"}).isDivergent = true;
    builder.conflict("ahead", "landed").conflict("empty", "ahead").conflict("ahead", "gone");
    BookmarkSettings stored;
    stored.tags = {"review", "urgent"};
    stored.pinned = stored.columnVisible = true;
    const RepoState& state = builder.state();
    const auto lanes = build(state, "main", {{"configured", stored}, {"settings-only", {}}},
                             {{"1", "*.md", "ahead", true},
                              {"2", "src/*", "landed", true},
                              {"3", "docs/*", "ahead", true},
                              {"4", "*.txt", "rules-only", true},
                              {"5", "README", "ahead", true}});
    std::map<std::string, std::string> summaries;
    for (const auto& [name, lane] : lanes) {
        summaries[name] = summary(lane);
        for (const auto& commit : lane.commits) {
            EXPECT_EQ(&*commit, &*state.commits.at(commit->commitID)) << "shared with the index";
        }
    }
    EXPECT_EQ(summaries,
              (std::map<std::string, std::string>{
                  {"main", "mergeIn commits=t2 trunk short=t2"},
                  {"master", "mergeIn commits=t2 merged short=t2"},
                  {"landed", "rebase commits=t1 partners=ahead rules=src/* merged short=t1"},
                  {"ahead",
                   "rebase commits=m1,t1 partners=empty,gone,landed "
                   "rules=*.md,docs/*,README short=m1"},
                  {"landed-first-only", "rebase commits=t0,m1 merged short=t0"},
                  {"divergent", "rebase commits=t1,m1 short=t1"},
                  {"empty", "rebase partners=ahead"},
                  {"unloaded-tip", "rebase commits=m1"},
                  {"long", "rebase commits=" + full + " short=0123456789ab"},
                  {"configured", "rebase commits=m1 tags=review,urgent pinned visible short=m1"},
                  {"pushed", "mergeIn commits=m1 short=m1"},
              }));
    // Without a known trunk nothing is trunk or merged.
    for (const auto& trunk : {std::optional<std::string>{}, std::optional<std::string>{"gone"}}) {
        for (const auto& [name, lane] : build(state, trunk)) {
            EXPECT_FALSE(lane.isTrunk || lane.isMergedIntoTrunk) << name;
        }
    }
    EXPECT_TRUE(build(RepoState{}, std::nullopt).empty());
    // No result depends on the layout of the commit index.
    for (const std::size_t buckets : {1U, 257U, 1031U}) {
        RepoState rehashed = state;
        rehashed.commits.rehash(buckets);
        EXPECT_EQ(BookmarkLaneProjection::resolveTrunkName(rehashed, std::nullopt), "main");
        EXPECT_EQ(build(rehashed, "main", {{"configured", stored}}),
                  build(state, "main", {{"configured", stored}}));
    }
    // Shared commits still compare by value.
    JJCommit made;
    made.commitID = "m1";
    EXPECT_EQ(SharedCommit(made), SharedCommit(made));
    EXPECT_NE(lanes.at("pushed").commits[0], SharedCommit(made));
}

TEST(BookmarkLaneBuild, FindsMergedLanesAnywhereInALongTrunkHistoryDownToItsUnloadedBase) {
    std::string history = "t0:beyond!";
    for (int index = 1; index < 3000; ++index) {
        history.append(" t").append(std::to_string(index)).append(":t");
        history.append(std::to_string(index - 1)).append("!");
    }
    const auto longer = stateOf(
        history + " side:t5!",
        "main@origin:t2999 at-0:t0 at-1:t1 at-1234:t1234 at-2998:t2998 unloaded-base:beyond "
        "side:side elsewhere:nowhere");
    Names merged;
    for (const auto& [name, lane] : build(longer, "main")) {
        if (lane.isMergedIntoTrunk) {
            merged.push_back(name);
        }
    }
    EXPECT_EQ(merged, (Names{"at-0", "at-1", "at-1234", "at-2998", "unloaded-base"}));
}

}  // namespace
}  // namespace vorda
