#include "app/column/ColumnRules.h"

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

TEST(ColumnRules, MergedBannerOnlyOnMergedBookmarkLanes) {
    BookmarkColumnInput input = bookmarkLane("feature", makeCommits(1, 2));
    EXPECT_FALSE(columnrules::showsMergedBanner(input));

    input.isMergedIntoTrunk = true;
    EXPECT_TRUE(columnrules::showsMergedBanner(input));
    input.isPinned = true;
    EXPECT_TRUE(columnrules::showsMergedBanner(input));

    for (const auto kind : {LaneKind::trunk, LaneKind::oneOff, LaneKind::workingCopyStack}) {
        input.kind = kind;
        EXPECT_FALSE(columnrules::showsMergedBanner(input)) << static_cast<int>(kind);
    }

    input.kind = LaneKind::bookmark;
    input.isMergedIntoTrunk = false;
    input.pr = pullRequest(GitHubPR::State::merged);
    EXPECT_TRUE(columnrules::showsMergedBanner(input));
    input.pr = pullRequest(GitHubPR::State::open);
    EXPECT_FALSE(columnrules::showsMergedBanner(input));
    input.pr = pullRequest(GitHubPR::State::closed);
    EXPECT_FALSE(columnrules::showsMergedBanner(input));
}

TEST(ColumnRules, OpenReviewOnlyForOpenPullRequestsOfRealLanes) {
    BookmarkColumnInput input = bookmarkLane("feature", makeCommits(1, 1));
    EXPECT_FALSE(columnrules::hasOpenReviewPR(input));
    input.pr = pullRequest(GitHubPR::State::open);
    EXPECT_TRUE(columnrules::hasOpenReviewPR(input));
    input.pr = pullRequest(GitHubPR::State::merged);
    EXPECT_FALSE(columnrules::hasOpenReviewPR(input));

    input.pr = pullRequest(GitHubPR::State::open);
    input.kind = LaneKind::oneOff;
    EXPECT_FALSE(columnrules::hasOpenReviewPR(input));
    input.kind = LaneKind::workingCopyStack;
    EXPECT_FALSE(columnrules::hasOpenReviewPR(input));

    input.kind = LaneKind::bookmark;
    EXPECT_FALSE(columnrules::showsPRBadge(input));
    input.githubAvailable = true;
    EXPECT_TRUE(columnrules::showsPRBadge(input));
    input.pr.reset();
    EXPECT_FALSE(columnrules::showsPRBadge(input));
}

TEST(ColumnRules, VisibleChangeOrderWalksCommitsStackedThenOpenHistory) {
    BookmarkColumnInput input = bookmarkLane("feature", makeCommits(1, 2));
    input.stackedCommits = makeCommits(10, 1);
    input.ancestorCommits = makeCommits(20, 2);
    input.baseCommits = makeCommits(30, 1);

    EXPECT_EQ(columnrules::visibleChangeOrder(input),
              (std::vector<std::string>{changeIDFor(1), changeIDFor(2), changeIDFor(10)}));
    input.isExpanded = true;
    EXPECT_EQ(columnrules::visibleChangeOrder(input),
              (std::vector<std::string>{changeIDFor(1), changeIDFor(2), changeIDFor(10),
                                        changeIDFor(20), changeIDFor(21)}));

    // A trunk column offers its commits only once its history is open.
    input.kind = LaneKind::trunk;
    EXPECT_EQ(columnrules::visibleChangeOrder(input).size(), 5U);
    input.isExpanded = false;
    EXPECT_TRUE(columnrules::visibleChangeOrder(input).empty());
}

TEST(ColumnRules, LoadMoreWhileFewerAncestorsThanTheTotalAreLoaded) {
    BookmarkColumnInput input = bookmarkLane("feature", makeCommits(1, 1));
    input.ancestorCommits = makeCommits(20, 30);
    input.ancestorTotal = 45;
    EXPECT_FALSE(columnrules::showsLoadMore(input));  // history closed
    input.isExpanded = true;
    EXPECT_TRUE(columnrules::showsLoadMore(input));
    input.ancestorTotal = 30;
    EXPECT_FALSE(columnrules::showsLoadMore(input));
    input.ancestorTotal.reset();
    EXPECT_FALSE(columnrules::showsLoadMore(input));
}

TEST(ColumnRules, BookmarkChipNeedsAMutableFirstCommitOfARealLane) {
    BookmarkColumnInput input = bookmarkLane("feature", makeCommits(1, 2));
    EXPECT_TRUE(columnrules::showsBookmarkChip(input));

    input.commits.front() = SharedCommit(makeCommit(1, "tip", true));
    EXPECT_FALSE(columnrules::showsBookmarkChip(input));

    input = bookmarkLane("feature", makeCommits(1, 2));
    input.kind = LaneKind::oneOff;
    EXPECT_FALSE(columnrules::showsBookmarkChip(input));
    input.kind = LaneKind::workingCopyStack;
    EXPECT_FALSE(columnrules::showsBookmarkChip(input));
    input = bookmarkLane("feature", {});
    EXPECT_FALSE(columnrules::showsBookmarkChip(input));
}

TEST(ColumnRules, InclusionToggleReadsTheRoleOrTheEnabledFlag) {
    BookmarkColumnInput input = bookmarkLane("feature", makeCommits(1, 1));
    EXPECT_TRUE(columnrules::showsInclusionToggle(input));
    EXPECT_EQ(columnrules::effectiveInclusionRole(input), BookmarkInclusionRole::absent());
    input.isEnabled = true;
    EXPECT_EQ(columnrules::effectiveInclusionRole(input), BookmarkInclusionRole::directParent());
    input.inclusionRole = BookmarkInclusionRole::inherited("base");
    EXPECT_EQ(columnrules::effectiveInclusionRole(input), BookmarkInclusionRole::inherited("base"));

    input.kind = LaneKind::oneOff;
    EXPECT_TRUE(columnrules::showsInclusionToggle(input));
    input.kind = LaneKind::trunk;
    EXPECT_FALSE(columnrules::showsInclusionToggle(input));
    input.kind = LaneKind::workingCopyStack;
    EXPECT_FALSE(columnrules::showsInclusionToggle(input));
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

TEST(ColumnRules, PlacementsAreListedByWorkspaceName) {
    const auto sorted = columnrules::sortedPlacements({{"zeta", BookmarkInclusionRole::absent()},
                                                       {"alpha", BookmarkInclusionRole::absent()},
                                                       {"dev", BookmarkInclusionRole::absent()}});
    ASSERT_EQ(sorted.size(), 3U);
    EXPECT_EQ(sorted[0].workspaceName, "alpha");
    EXPECT_EQ(sorted[1].workspaceName, "dev");
    EXPECT_EQ(sorted[2].workspaceName, "zeta");
}

}  // namespace
}  // namespace vorda
