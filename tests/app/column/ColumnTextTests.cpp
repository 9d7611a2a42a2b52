#include "app/column/ColumnText.h"

#include <QStringList>
#include <ctime>
#include <tuple>

#include <gtest/gtest.h>

#include "ColumnTestData.h"
#include "app/board/ColumnID.h"
#include "app/column/ColumnRules.h"
#include "app/column/CommitCardChips.h"
#include "app/column/CommitCardText.h"
#include "app/column/RelativeTime.h"
#include "support/ScopedEnvironment.h"

// The column's pure rules and texts: which parts show for which lane, the
// order of a lane's rows, the chips beside a card, and every sentence.
namespace vorda {
namespace {

using columntext::WorkspacePlacementHelp;
using Role = BookmarkInclusionRole;
using namespace std::chrono_literals;
using columntest::bookmarkLane;
using columntest::changeIDFor;
using columntest::makeCommit;
using columntest::makeCommits;
using columntest::testNow;
using LaneKind = BookmarkColumnInput::LaneKind;
using Lines = std::vector<std::string>;

// The names of the part rules that hold for `input`.
std::string shownParts(const BookmarkColumnInput& input) {
    using namespace columnrules;
    std::string names;
    for (const auto& [name, rule] : {std::pair{"merged", &showsMergedBanner},
                                     {"review", &hasOpenReviewPR},
                                     {"badge", &showsPRBadge},
                                     {"chip", &showsBookmarkChip},
                                     {"toggle", &showsInclusionToggle}}) {
        if (rule(input)) {
            names.append(" ").append(name);
        }
    }
    return names;
}

TEST(ColumnRules, BannersBadgesChipsAndTogglesByLaneKindAndState) {
    using enum BookmarkColumnInput::LaneKind;
    using enum GitHubPR::State;
    // Lane kind, merged into trunk while pinned, the pull request's state, gh at hand.
    const std::tuple<LaneKind, bool, std::optional<GitHubPR::State>, bool, const char*> cases[] = {
        {bookmark, false, {}, false, " chip toggle"},
        {bookmark, true, {}, false, " merged chip toggle"},
        {trunk, true, {}, false, " chip"},
        {oneOff, true, {}, false, " toggle"},
        {workingCopyStack, true, {}, false, ""},
        {bookmark, false, merged, false, " merged chip toggle"},
        {bookmark, false, closed, false, " chip toggle"},
        {bookmark, false, open, false, " review chip toggle"},
        {bookmark, false, open, true, " review badge chip toggle"},
        {bookmark, false, {}, true, " chip toggle"},
        {oneOff, false, open, true, " badge toggle"},
        {workingCopyStack, false, open, true, " badge"}};
    for (const auto& [kind, mergedAndPinned, state, gh, shown] : cases) {
        BookmarkColumnInput input = bookmarkLane("feature", makeCommits(1, 2));
        input.kind = kind;
        input.isMergedIntoTrunk = input.isPinned = mergedAndPinned;
        if (state) {
            input.pr.emplace().number = 7;
            input.pr->state = *state;
        }
        input.githubAvailable = gh;
        EXPECT_EQ(shownParts(input), shown) << static_cast<int>(kind) << " " << gh;
    }
    // The chip needs a mutable first commit.
    BookmarkColumnInput input = bookmarkLane("feature", {});
    EXPECT_EQ(shownParts(input), " toggle");
    input.commits = SharedCommit::shareAll({makeCommit(1, "tip", true)});
    EXPECT_EQ(shownParts(input), " toggle");

    // The toggle reads the role, else the enabled flag.
    EXPECT_EQ(columnrules::effectiveInclusionRole(input), Role::absent());
    input.isEnabled = true;
    EXPECT_EQ(columnrules::effectiveInclusionRole(input), Role::directParent());
    input.inclusionRole = Role::inherited("base");
    EXPECT_EQ(columnrules::effectiveInclusionRole(input), Role::inherited("base"));
}

TEST(ColumnRules, HistoryOrderAndLoadMoreFollowTheOpenHistory) {
    BookmarkColumnInput input = bookmarkLane("feature", makeCommits(1, 2));
    input.stackedCommits = makeCommits(10, 1);
    input.ancestorCommits = makeCommits(20, 2);
    input.ancestorTotal = 3;
    input.baseCommits = makeCommits(30, 1);
    const Lines lane = {changeIDFor(1), changeIDFor(2), changeIDFor(10)};
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

// Each chip as "kind text", with " immutable" and " hidden" when it is.
Lines chipLines(const std::vector<CardChip>& chips) {
    static constexpr const char* kinds[] = {"bookmark", "inlineTip", "advancingTip",
                                            "compositionPoint", "unnamedInput"};
    Lines lines;
    lines.reserve(chips.size());
    for (const CardChip& chip : chips) {
        std::string line = kinds[static_cast<int>(chip.kind)];
        line.append(" ").append(chip.text.toStdString());
        line.append(chip.isImmutable ? " immutable" : "")
            .append(chip.isColumnHidden ? " hidden" : "");
        lines.push_back(std::move(line));
    }
    return lines;
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

    // The lane's own bookmark is its chip, not an inline tip.
    const auto tipChips = cardChips(input, *input.commits[0], true);
    EXPECT_EQ(chipLines(tipChips), (Lines{"bookmark feature", "inlineTip docs immutable hidden",
                                          "advancingTip Rebasing docs"}));
    const auto secondChips = cardChips(input, *input.commits[1], false);
    EXPECT_EQ(chipLines(secondChips),
              (Lines{"inlineTip api — older revision", "compositionPoint dev composition point",
                     "compositionPoint ci composition point"}));
    EXPECT_EQ((QStringList{tipChips.at(0).tooltip, secondChips.at(1).accessibleLabel,
                           secondChips.at(1).tooltip, secondChips.at(2).tooltip}),
              (QStringList{"The bookmark points at the commit below — commits above are not "
                           "included when pushing. Drag onto a commit to move the bookmark there.",
                           "Composition · dev",
                           "This commit is dev's composition boundary. Drag it to another commit "
                           "in this lane to change that workspace's view.",
                           "This workspace-local commit composes ci's working line with directly "
                           "included bookmarks."}));
}

TEST(ColumnText, InclusionHelpPlacementsBadgeTrunkBannerAndStorageWords) {
    // A role, the toggle's help, and the placement of "feature" in "dev".
    const std::tuple<BookmarkInclusionRole, std::string, WorkspacePlacementHelp> cases[] = {
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
    for (const auto& [role, toggleHelp, placement] : cases) {
        EXPECT_EQ(columntext::inclusionHelp(role), toggleHelp);
        EXPECT_EQ(columntext::workspacePlacementHelp({"dev", role}, "feature"), placement);
    }
    EXPECT_EQ(columntext::workspacesMenuTitle("feature"),
              "Choose which working copies include feature");

    using Decision = GitHubPR::ReviewDecision;
    using enum GitHubPR::State;
    const std::tuple<GitHubPR::State, std::optional<Decision>, const char*> badges[] = {
        {open, std::nullopt, "OPEN"},
        {open, Decision::approved, "OPEN · APPROVED"},
        {closed, Decision::changesRequested, "CLOSED · CHANGES_REQUESTED"},
        {merged, Decision::reviewRequired, "MERGED · REVIEW_REQUIRED"},
        {unknown, std::nullopt, "UNKNOWN"}};
    GitHubPR pr;
    pr.number = 42;
    for (const auto& [state, decision, words] : badges) {
        pr.state = state;
        pr.reviewDecision = decision;
        EXPECT_EQ(columntext::badgeTooltip(pr),
                  std::string("PR #42 · ").append(words).append(". Click to open in browser."));
    }
    EXPECT_EQ(columntext::openReviewRebaseHelp(pr),
              "PR #42 is open for review. Preview the rebase before rewriting published "
              "history; the next push may require a force-push.");

    Bookmark trunk;
    trunk.name = "main";
    const std::tuple<BookmarkOrigin, std::optional<std::string>, const char*> summaries[] = {
        {BookmarkOrigin::upstream("origin"), std::nullopt, "origin/main"},
        {BookmarkOrigin::upstream("upstream"), std::nullopt, "upstream/main"},
        {BookmarkOrigin::local(), "a1b2c3d4e5f6", "main@a1b2c3d4e5f6"}};
    for (const auto& [origin, commit, summary] : summaries) {
        trunk.origin = origin;
        EXPECT_EQ(columntext::pinnedRemoteSummary(trunk, commit), summary);
    }
    // The other banner words are pinned where the column shows them.
    EXPECT_EQ(columntext::conflictBannerText({"alpha"}), "conflicts with alpha");

    EXPECT_EQ((Lines{ColumnID::bookmark("feature/login").storageKey(),
                     ColumnID::oneOff("kkkkzzzz").storageKey(),
                     ColumnID::workingCopyStack(std::nullopt).storageKey(),
                     ColumnID::hidden().storageKey()}),
              (Lines{"feature/login", "oneoff:kkkkzzzz", "wcstack", "hidden"}));
}

TEST(CommitCardText, RelativeTimeSummaryAuthorAndTimeWithTheirFallbacks) {
    // Local time is UTC here; the zone is read again after TZ is put back.
    const std::shared_ptr<void> rereadZone(nullptr, [](void*) { tzset(); });
    const testing::ScopedEnvironment zone("TZ");
    zone.set("UTC");
    tzset();
    // 2024-03-04 12:00 less 49 days is 2024-01-15 12:00; -3h is a clock ahead of ours.
    const std::pair<std::chrono::seconds, const char*> cases[] = {
        {0s, "just now"},          {59s, "just now"},         {-3h, "just now"},
        {60s, "1 min ago"},        {5min + 59s, "5 min ago"}, {59min, "59 min ago"},
        {1h, "1 h ago"},           {23h + 59min, "23 h ago"}, {24h, "1 day ago"},
        {47h, "1 day ago"},        {48h, "2 days ago"},       {13 * 24h, "13 days ago"},
        {14 * 24h, "2 weeks ago"}, {34 * 24h, "4 weeks ago"}, {49 * 24h, "Jan 15, 2024"}};
    for (const auto& [distance, text] : cases) {
        EXPECT_EQ(relativeTimeText(testNow() - distance, testNow()).toStdString(), text)
            << distance.count();
    }
    EXPECT_EQ(absoluteTimeText(testNow() - 90min).toStdString(), "2024-03-04 10:30");

    const std::pair<const char*, const char*> summaries[] = {
        {"Add login\n\nLonger body", "Add login"},
        {"  Trimmed\t\n", "Trimmed"},
        {"", "(no description set)"},
        {" \nbody only below", "(no description set)"}};
    for (const auto& [description, summary] : summaries) {
        EXPECT_EQ(cardtext::summary(makeCommit(1, description)).toStdString(), summary);
    }

    JJCommit commit = makeCommit(3, "x");
    EXPECT_EQ(cardtext::cardTooltip(commit).toStdString(),
              "Change " + commit.changeID + " · commit " + commit.commitID);
    const auto words = [&] {
        return QStringList{cardtext::authorLabel(commit.author),
                           cardtext::authorTooltip(commit.author),
                           cardtext::timestampTooltip(commit.committer),
                           cardtext::relativeTimestamp(commit.committer, testNow())};
    };
    EXPECT_EQ(words(), (QStringList{"Ada Lovelace", "Ada Lovelace <ada@example.com>",
                                    "Committed 2024-03-04 10:00", "2 h ago"}));
    // No author's name; a time jj printed that cannot be read is shown as it came.
    commit.author.name.clear();
    commit.committer.timestamp = "yesterday-ish";
    EXPECT_EQ(words(), (QStringList{"Unknown author", "Author unavailable",
                                    "Committed yesterday-ish", "yesterday-ish"}));
}

}  // namespace
}  // namespace vorda
