#include "app/column/ColumnRules.h"

#include <tuple>

#include <gtest/gtest.h>

#include "ColumnTestData.h"
#include "app/column/CommitCardChips.h"

namespace vorda {
namespace {

using columntest::bookmarkLane;
using columntest::changeIDFor;
using columntest::makeCommit;
using columntest::makeCommits;
using LaneKind = BookmarkColumnInput::LaneKind;

GitHubPR pullRequest(GitHubPR::State state) {
    GitHubPR pr;
    pr.number = 7;
    pr.state = state;
    return pr;
}

// Checks `rule` on `input` as each lane kind.
void expectByKind(BookmarkColumnInput input, bool (*rule)(const BookmarkColumnInput&),
                  std::initializer_list<std::pair<LaneKind, bool>> expected) {
    for (const auto& [kind, result] : expected) {
        input.kind = kind;
        EXPECT_EQ(rule(input), result) << static_cast<int>(kind);
    }
}

TEST(ColumnRules, BannersBadgesChipsAndTogglesByLaneKindAndState) {
    using enum BookmarkColumnInput::LaneKind;
    BookmarkColumnInput input = bookmarkLane("feature", makeCommits(1, 2));
    EXPECT_FALSE(columnrules::showsMergedBanner(input));
    EXPECT_FALSE(columnrules::hasOpenReviewPR(input));
    input.isMergedIntoTrunk = true;
    EXPECT_TRUE(columnrules::showsMergedBanner(input));
    input.isPinned = true;
    expectByKind(input, columnrules::showsMergedBanner,
                 {{bookmark, true}, {trunk, false}, {oneOff, false}, {workingCopyStack, false}});

    // The pull request's state: merged shows the banner, open is a review.
    input.isMergedIntoTrunk = false;
    const std::tuple<GitHubPR::State, bool, bool> states[] = {
        {GitHubPR::State::merged, true, false},
        {GitHubPR::State::closed, false, false},
        {GitHubPR::State::open, false, true}};
    for (const auto& [state, merged, review] : states) {
        input.pr = pullRequest(state);
        EXPECT_EQ(columnrules::showsMergedBanner(input), merged);
        EXPECT_EQ(columnrules::hasOpenReviewPR(input), review);
    }
    expectByKind(input, columnrules::hasOpenReviewPR, {{oneOff, false}, {workingCopyStack, false}});
    EXPECT_FALSE(columnrules::showsPRBadge(input));  // no gh
    input.githubAvailable = true;
    EXPECT_TRUE(columnrules::showsPRBadge(input));
    input.pr.reset();
    EXPECT_FALSE(columnrules::showsPRBadge(input));

    expectByKind(input, columnrules::showsBookmarkChip,
                 {{bookmark, true}, {oneOff, false}, {workingCopyStack, false}});
    expectByKind(input, columnrules::showsInclusionToggle,
                 {{bookmark, true}, {oneOff, true}, {trunk, false}, {workingCopyStack, false}});
    // The chip needs a mutable first commit.
    EXPECT_FALSE(columnrules::showsBookmarkChip(bookmarkLane("feature", {})));
    input.commits.front() = SharedCommit(makeCommit(1, "tip", true));
    EXPECT_FALSE(columnrules::showsBookmarkChip(input));
}

TEST(ColumnRules, HistoryOrderAndLoadMoreFollowTheOpenHistory) {
    BookmarkColumnInput input = bookmarkLane("feature", makeCommits(1, 2));
    input.stackedCommits = makeCommits(10, 1);
    input.ancestorCommits = makeCommits(20, 2);
    input.ancestorTotal = 3;
    input.baseCommits = makeCommits(30, 1);
    const std::vector<std::string> lane = {changeIDFor(1), changeIDFor(2), changeIDFor(10)};
    EXPECT_EQ(columnrules::visibleChangeOrder(input), lane);
    EXPECT_FALSE(columnrules::showsLoadMore(input));  // history closed

    input.isExpanded = true;
    auto withHistory = lane;
    withHistory.insert(withHistory.end(), {changeIDFor(20), changeIDFor(21)});
    EXPECT_EQ(columnrules::visibleChangeOrder(input), withHistory);
    EXPECT_TRUE(columnrules::showsLoadMore(input));
    input.ancestorTotal = 2;
    EXPECT_FALSE(columnrules::showsLoadMore(input));
    input.ancestorTotal.reset();
    EXPECT_FALSE(columnrules::showsLoadMore(input));

    // A trunk column offers its commits only once its history is open.
    input.kind = LaneKind::trunk;
    EXPECT_EQ(columnrules::visibleChangeOrder(input), withHistory);
    input.isExpanded = false;
    EXPECT_TRUE(columnrules::visibleChangeOrder(input).empty());
}

TEST(ColumnRules, InclusionToggleReadsTheRoleOrTheEnabledFlag) {
    BookmarkColumnInput input = bookmarkLane("feature", makeCommits(1, 1));
    EXPECT_EQ(columnrules::effectiveInclusionRole(input), BookmarkInclusionRole::absent());
    input.isEnabled = true;
    EXPECT_EQ(columnrules::effectiveInclusionRole(input), BookmarkInclusionRole::directParent());
    input.inclusionRole = BookmarkInclusionRole::inherited("base");
    EXPECT_EQ(columnrules::effectiveInclusionRole(input), BookmarkInclusionRole::inherited("base"));
}

TEST(ColumnRules, ChipsBesideACommitLeaveOutTheLanesOwnBookmark) {
    BookmarkColumnInput input = bookmarkLane("feature", makeCommits(1, 2));
    const std::string& tipID = input.commits[0]->commitID;
    const std::string& secondID = input.commits[1]->commitID;
    InlineBookmarkTip own{"feature", true, true, tipID, false, false, false, false, false};
    InlineBookmarkTip other{"docs", true, true, tipID, true, false, true, false, true};
    InlineBookmarkTip older{"api", false, true, secondID, false, false, false, true, false};
    input.inlineBookmarkTips = {{tipID, {other, own}}, {secondID, {older}}};
    input.compositionPoints = {
        {"dev", secondID, true}, {"ci", secondID, false}, {"dev", tipID + "x", true}};

    const auto tips = columnrules::otherBookmarkTips(input, tipID);
    ASSERT_EQ(tips.size(), 1U);
    EXPECT_EQ(tips[0].name, "docs");
    EXPECT_EQ(columnrules::compositionPoints(input, secondID).size(), 2U);
    EXPECT_TRUE(columnrules::compositionPoints(input, "missing").empty());

    const auto tipChips = cardChips(input, *input.commits[0], true);
    ASSERT_EQ(tipChips.size(), 3U);
    EXPECT_EQ(tipChips[0].kind, CardChip::Kind::bookmark);
    EXPECT_EQ(tipChips[0].text, QStringLiteral("feature"));
    EXPECT_EQ(tipChips[0].tooltip,
              QStringLiteral("The bookmark points at the commit below — commits above are not "
                             "included when pushing. Drag onto a commit to move the bookmark "
                             "there."));
    EXPECT_EQ(tipChips[1].text, QStringLiteral("docs"));
    EXPECT_TRUE(tipChips[1].isImmutable);
    EXPECT_TRUE(tipChips[1].isColumnHidden);
    EXPECT_EQ(tipChips[2].kind, CardChip::Kind::advancingTip);
    EXPECT_EQ(tipChips[2].text, QStringLiteral("Rebasing docs"));

    const auto secondChips = cardChips(input, *input.commits[1], false);
    ASSERT_EQ(secondChips.size(), 3U);
    EXPECT_EQ(secondChips[0].text, QStringLiteral("api — older revision"));
    EXPECT_EQ(secondChips[1].text, QStringLiteral("dev composition point"));
    EXPECT_EQ(secondChips[1].accessibleLabel, QStringLiteral("Composition · dev"));
    EXPECT_EQ(secondChips[1].tooltip,
              QStringLiteral("This commit is dev's composition boundary. Drag it to another "
                             "commit in this lane to change that workspace's view."));
    EXPECT_EQ(secondChips[2].tooltip,
              QStringLiteral("This workspace-local commit composes ci's working line with "
                             "directly included bookmarks."));
}

}  // namespace
}  // namespace vorda
