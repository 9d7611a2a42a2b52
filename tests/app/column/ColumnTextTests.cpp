#include "app/column/ColumnText.h"

#include <gtest/gtest.h>

#include "app/board/ColumnID.h"

namespace vorda {
namespace {

using columntext::WorkspacePlacementHelp;
using Role = BookmarkInclusionRole;

TEST(ColumnText, InclusionHelpAndPlacementsFollowTheRole) {
    const struct {
        BookmarkInclusionRole role;
        std::string toggleHelp;
        WorkspacePlacementHelp placement;  // of "feature" in "dev"
    } cases[] = {
        {Role::partial("abc"),
         "Included through the marked composition point; newer commits above it are not "
         "included. Drag the marker to change the boundary.",
         {"Remove feature's partial composition from dev", true, false}},
        {Role::inherited("feature-base"),
         "Included through feature-base; rebase the containing history to remove it.",
         {"Included in dev through feature-base; change that containing history to remove it",
          false, false}},
        {Role::inherited(std::nullopt),
         "Included through the workspace ancestry; its base cannot be toggled.",
         {"Inherited by dev; change its containing history to remove it", false, false}},
        {Role::directParent(),
         "Direct composition parent; uncheck to remove it from this workspace.",
         {"Remove feature from dev", true, false}},
        {Role::absent(),
         "Enable in the selected workspace. This materializes a composition point when needed.",
         {"Include feature in dev", true, true}}};
    for (const auto& c : cases) {
        EXPECT_EQ(columntext::inclusionHelp(c.role), c.toggleHelp);
        EXPECT_EQ(columntext::workspacePlacementHelp({"dev", c.role}, "feature"), c.placement);
    }
    EXPECT_EQ(columntext::workspacesMenuTitle("feature"),
              "Choose which working copies include feature");
}

TEST(ColumnText, BadgeTooltipShowsStateAndReviewDecisionWhenThereIsOne) {
    using Decision = GitHubPR::ReviewDecision;
    const struct {
        GitHubPR::State state;
        std::optional<Decision> decision;
        const char* tooltip;
    } cases[] = {
        {GitHubPR::State::open, std::nullopt, "PR #42 · OPEN. Click to open in browser."},
        {GitHubPR::State::open, Decision::approved,
         "PR #42 · OPEN · APPROVED. Click to open in browser."},
        {GitHubPR::State::closed, Decision::changesRequested,
         "PR #42 · CLOSED · CHANGES_REQUESTED. Click to open in browser."},
        {GitHubPR::State::merged, Decision::reviewRequired,
         "PR #42 · MERGED · REVIEW_REQUIRED. Click to open in browser."},
        {GitHubPR::State::unknown, std::nullopt, "PR #42 · UNKNOWN. Click to open in browser."}};
    GitHubPR pr;
    pr.number = 42;
    for (const auto& c : cases) {
        pr.state = c.state;
        pr.reviewDecision = c.decision;
        EXPECT_EQ(columntext::badgeTooltip(pr), c.tooltip);
    }
    EXPECT_EQ(columntext::prBadgeText(pr), "PR #42");
    EXPECT_EQ(columntext::openReviewRebaseHelp(pr),
              "PR #42 is open for review. Preview the rebase before rewriting published "
              "history; the next push may require a force-push.");
}

TEST(ColumnText, TrunkBannerAndStorageWords) {
    Bookmark trunk;
    trunk.name = "main";
    const std::string commit = "a1b2c3d4e5f6";
    const struct {
        BookmarkOrigin origin;
        std::optional<std::string> commit;
        const char* summary;
    } summaries[] = {{BookmarkOrigin::upstream("origin"), commit, "origin/main@a1b2c3d4e5f6"},
                     {BookmarkOrigin::upstream("origin"), std::nullopt, "origin/main"},
                     {BookmarkOrigin::upstream("upstream"), std::nullopt, "upstream/main"},
                     {BookmarkOrigin::local(), commit, "main@a1b2c3d4e5f6"}};
    for (const auto& c : summaries) {
        trunk.origin = c.origin;
        EXPECT_EQ(columntext::pinnedRemoteSummary(trunk, c.commit), c.summary);
    }
    EXPECT_EQ(columntext::mergedBannerTitle(true), "PR merged");
    EXPECT_EQ(columntext::mergedBannerTitle(false), "merged into trunk");
    EXPECT_EQ(columntext::conflictBannerText({"alpha"}), "conflicts with alpha");
    EXPECT_EQ(columntext::conflictBannerText({"alpha", "beta"}), "conflicts with alpha, beta");
    EXPECT_EQ(columntext::fetchedText("5 min ago"), "fetched 5 min ago");

    EXPECT_EQ(ColumnID::bookmark("feature/login").storageKey(), "feature/login");
    EXPECT_EQ(ColumnID::oneOff("kkkkzzzz").storageKey(), "oneoff:kkkkzzzz");
    EXPECT_EQ(ColumnID::workingCopyStack("dev").storageKey(), "wcstack:dev");
    EXPECT_EQ(ColumnID::workingCopyStack(std::nullopt).storageKey(), "wcstack");
    EXPECT_EQ(ColumnID::hidden().storageKey(), "hidden");
}

}  // namespace
}  // namespace vorda
