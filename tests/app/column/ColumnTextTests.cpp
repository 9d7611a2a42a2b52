#include "app/column/ColumnText.h"

#include <gtest/gtest.h>

#include "app/board/ColumnID.h"

namespace vorda {
namespace {

using columntext::WorkspacePlacementHelp;

TEST(ColumnText, InclusionHelpExplainsEachRole) {
    EXPECT_EQ(columntext::inclusionHelp(BookmarkInclusionRole::partial("abc")),
              "Included through the marked composition point; newer commits above it are not "
              "included. Drag the marker to change the boundary.");
    EXPECT_EQ(columntext::inclusionHelp(BookmarkInclusionRole::inherited("feature-base")),
              "Included through feature-base; rebase the containing history to remove it.");
    EXPECT_EQ(columntext::inclusionHelp(BookmarkInclusionRole::inherited(std::nullopt)),
              "Included through the workspace ancestry; its base cannot be toggled.");
    EXPECT_EQ(columntext::inclusionHelp(BookmarkInclusionRole::directParent()),
              "Direct composition parent; uncheck to remove it from this workspace.");
    EXPECT_EQ(columntext::inclusionHelp(BookmarkInclusionRole::absent()),
              "Enable in the selected workspace. This materializes a composition point when "
              "needed.");
}

TEST(ColumnText, WorkspacePlacementHelpDisablesInheritedRolesAndNamesTheTarget) {
    const auto help = [](BookmarkInclusionRole role) {
        return columntext::workspacePlacementHelp({"dev", std::move(role)}, "feature");
    };
    EXPECT_EQ(help(BookmarkInclusionRole::inherited("feature-base")),
              (WorkspacePlacementHelp{
                  "Included in dev through feature-base; change that containing history to "
                  "remove it",
                  false, false}));
    EXPECT_EQ(help(BookmarkInclusionRole::inherited(std::nullopt)),
              (WorkspacePlacementHelp{
                  "Inherited by dev; change its containing history to remove it", false, false}));
    EXPECT_EQ(help(BookmarkInclusionRole::directParent()),
              (WorkspacePlacementHelp{"Remove feature from dev", true, false}));
    EXPECT_EQ(
        help(BookmarkInclusionRole::partial("abc")),
        (WorkspacePlacementHelp{"Remove feature's partial composition from dev", true, false}));
    EXPECT_EQ(help(BookmarkInclusionRole::absent()),
              (WorkspacePlacementHelp{"Include feature in dev", true, true}));
    EXPECT_EQ(columntext::workspacesMenuTitle("feature"),
              "Choose which working copies include feature");
}

TEST(ColumnText, BadgeTooltipShowsStateAndReviewDecisionWhenThereIsOne) {
    GitHubPR pr;
    pr.number = 42;
    pr.state = GitHubPR::State::open;
    EXPECT_EQ(columntext::prBadgeText(pr), "PR #42");
    EXPECT_EQ(columntext::badgeTooltip(pr), "PR #42 · OPEN. Click to open in browser.");

    pr.reviewDecision = GitHubPR::ReviewDecision::approved;
    EXPECT_EQ(columntext::badgeTooltip(pr), "PR #42 · OPEN · APPROVED. Click to open in browser.");
    pr.reviewDecision = GitHubPR::ReviewDecision::changesRequested;
    pr.state = GitHubPR::State::closed;
    EXPECT_EQ(columntext::badgeTooltip(pr),
              "PR #42 · CLOSED · CHANGES_REQUESTED. Click to open in browser.");
    pr.reviewDecision = GitHubPR::ReviewDecision::reviewRequired;
    pr.state = GitHubPR::State::merged;
    EXPECT_EQ(columntext::badgeTooltip(pr),
              "PR #42 · MERGED · REVIEW_REQUIRED. Click to open in browser.");
    pr.reviewDecision.reset();
    pr.state = GitHubPR::State::unknown;
    EXPECT_EQ(columntext::badgeTooltip(pr), "PR #42 · UNKNOWN. Click to open in browser.");

    EXPECT_EQ(columntext::openReviewRebaseHelp(pr),
              "PR #42 is open for review. Preview the rebase before rewriting published "
              "history; the next push may require a force-push.");
}

TEST(ColumnText, PinnedRemoteSummaryNamesRemoteAndCommitWhenKnown) {
    Bookmark trunk;
    trunk.name = "main";
    trunk.origin = BookmarkOrigin::upstream("origin");
    EXPECT_EQ(columntext::pinnedRemoteSummary(trunk, std::string("a1b2c3d4e5f6")),
              "origin/main@a1b2c3d4e5f6");
    EXPECT_EQ(columntext::pinnedRemoteSummary(trunk, std::nullopt), "origin/main");

    trunk.origin = BookmarkOrigin::upstream("upstream");
    EXPECT_EQ(columntext::pinnedRemoteSummary(trunk, std::nullopt), "upstream/main");

    trunk.origin = BookmarkOrigin::local();
    EXPECT_EQ(columntext::pinnedRemoteSummary(trunk, std::string("a1b2c3d4e5f6")),
              "main@a1b2c3d4e5f6");
}

TEST(ColumnText, BannerAndTrunkWords) {
    EXPECT_EQ(columntext::mergedBannerTitle(true), "PR merged");
    EXPECT_EQ(columntext::mergedBannerTitle(false), "merged into trunk");
    EXPECT_EQ(columntext::conflictBannerText({"alpha"}), "conflicts with alpha");
    EXPECT_EQ(columntext::conflictBannerText({"alpha", "beta"}), "conflicts with alpha, beta");
    EXPECT_EQ(columntext::fetchedText("5 min ago"), "fetched 5 min ago");
}

TEST(ColumnID, StorageKeyFollowsTheColumnKind) {
    EXPECT_EQ(ColumnID::bookmark("feature/login").storageKey(), "feature/login");
    EXPECT_EQ(ColumnID::oneOff("kkkkzzzz").storageKey(), "oneoff:kkkkzzzz");
    EXPECT_EQ(ColumnID::workingCopyStack("dev").storageKey(), "wcstack:dev");
    EXPECT_EQ(ColumnID::workingCopyStack(std::nullopt).storageKey(), "wcstack");
    EXPECT_EQ(ColumnID::hidden().storageKey(), "hidden");
}

}  // namespace
}  // namespace vorda
