#include "app/column/BookmarkColumn.h"

#include <QAbstractItemView>
#include <QCheckBox>
#include <QContextMenuEvent>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QToolButton>
#include <set>
#include <variant>

#include <gtest/gtest.h>

#include "ColumnTestData.h"
#include "MenuText.h"
#include "app/column/ColumnText.h"
#include "app/column/CommitCardChips.h"
#include "app/column/CommitCardDelegate.h"
#include "app/column/CommitCardText.h"
#include "app/column/CommitListModel.h"
#include "app/column/CommitListView.h"

// The column as a widget: that it shows what the column rules and texts
// decide (the sentences themselves are pinned in ColumnTextTests) and reports
// the user's gestures.
namespace vorda {
namespace {

using apptest::findEntry;
using columntest::bookmarkLane;
using columntest::makeCommit;
using columntest::makeCommits;
using LaneKind = BookmarkColumnInput::LaneKind;
using Role = BookmarkInclusionRole;

template <typename Widget = QWidget>
Widget* child(const BookmarkColumn& column, const char* name) {
    auto* widget = column.findChild<Widget*>(QString::fromLatin1(name));
    EXPECT_NE(widget, nullptr) << name;
    return widget;
}

bool shows(const BookmarkColumn& column, const char* name) {
    const auto* widget = column.findChild<QWidget*>(QString::fromLatin1(name));
    return widget != nullptr && widget->isVisibleTo(&column);
}

// The column's optional parts that show, in a fixed order.
std::vector<std::string> parts(const BookmarkColumn& column) {
    std::vector<std::string> shown;
    for (const char* name :
         {"columnHeader", "trunkPinnedBox", "fetchedLabel", "mergedBanner", "unpinButton",
          "prBadge", "rebaseLocalStackButton", "conflictBanner"}) {
        if (shows(column, name)) {
            shown.emplace_back(name);
        }
    }
    return shown;
}
using Parts = std::vector<std::string>;

std::string text(const BookmarkColumn& column, const char* name) {
    return child<QLabel>(column, name)->text().toStdString();
}

// The action a `bookmarkAction` signal carried. Read in place: the action
// has no default value, which `QVariant::value` would need.
const BookmarkAction& actionAt(const QSignalSpy& spy, int index) {
    const QVariant& argument = spy.at(index).at(0);
    EXPECT_EQ(argument.metaType(), QMetaType::fromType<BookmarkAction>());
    return *static_cast<const BookmarkAction*>(argument.constData());
}

// Shows the column offscreen at a fixed size, so that rows have geometry.
void showColumn(BookmarkColumn& column) {
    column.resize(column.width(), 700);
    column.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&column));
}

QPoint rowCenter(const BookmarkColumn& column, int row) {
    CommitListView* list = column.commitList();
    return list->visualRect(list->model()->index(row, 0)).center();
}

TEST(BookmarkColumn, CommitsRenderThroughTheModelWithCardTooltips) {
    const JJCommit tip = makeCommit(1, "Add login form\nDetails");
    BookmarkColumnInput input = bookmarkLane(
        "feature",
        SharedCommit::shareAll({tip, makeCommit(2, ""), makeCommit(3, "Release", true)}));
    input.compositionPoints = {{"dev", tip.commitID, true}};
    BookmarkColumn column;
    column.setInput(input);
    CommitListModel* model = column.commitModel();
    ASSERT_EQ(model->rowCount(), 3);
    EXPECT_EQ(column.commitList()->model(), model);
    EXPECT_TRUE(column.commitList()->uniformItemSizes());
    EXPECT_TRUE(shows(column, "columnTitle"));
    EXPECT_EQ(text(column, "columnTitle"), "feature");

    // Pointing at each part of the first card finds its own tooltip.
    auto* delegate = qobject_cast<CommitCardDelegate*>(column.commitList()->itemDelegate());
    ASSERT_NE(delegate, nullptr);
    QStyleOptionViewItem option;
    option.initFrom(column.commitList()->viewport());
    option.font = column.commitList()->font();
    option.rect = QRect(0, 0, 400, CommitCardDelegate::rowHeight(option.font));
    std::set<QString> tooltips;
    for (int y = 0; y < option.rect.height(); y += 2) {
        for (int x = 0; x < option.rect.width(); x += 3) {
            tooltips.insert(delegate->tooltipAt(option, model->index(0), QPoint(x, y)));
        }
    }
    const QString composition = cardChips(input, tip, true).back().tooltip;
    ASSERT_FALSE(composition.isEmpty());
    for (const QString& expected :
         {cardtext::cardTooltip(tip), cardtext::authorTooltip(tip.author), composition,
          model->index(0).data(CommitListModel::TimestampToolTipRole).toString()}) {
        EXPECT_TRUE(tooltips.contains(expected)) << expected.toStdString();
    }
    EXPECT_EQ(delegate->sizeHint(option, model->index(0)).height(),
              delegate->sizeHint(option, model->index(2)).height());
}

TEST(BookmarkColumn, PressingCardsLoadMoreAndMenusReportsTheGesture) {
    BookmarkColumnInput input = bookmarkLane("feature", makeCommits(1, 2));
    input.isExpanded = true;
    input.ancestorCommits = makeCommits(20, 2);
    input.ancestorTotal = 3;
    BookmarkColumn column;
    column.setInput(input);
    showColumn(column);
    ASSERT_EQ(column.commitModel()->rowCount(), 5);

    QSignalSpy loadMore(&column, &BookmarkColumn::loadMoreRequested);
    QSignalSpy commits(&column, &BookmarkColumn::commitClicked);
    QSignalSpy columns(&column, &BookmarkColumn::columnClicked);
    QWidget* viewport = column.commitList()->viewport();
    const auto press = [&](int row, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QTest::mouseClick(viewport, Qt::LeftButton, modifiers, rowCenter(column, row));
    };

    press(4);
    EXPECT_EQ(loadMore.count(), 1);
    EXPECT_EQ(commits.count(), 0);
    press(1, Qt::ShiftModifier);
    press(3, Qt::ControlModifier);
    ASSERT_EQ(commits.count(), 2);
    EXPECT_EQ(commits[0][0].value<std::string>(), columntest::changeIDFor(2));
    EXPECT_EQ(commits[0][1].value<Qt::KeyboardModifiers>(), Qt::ShiftModifier);
    EXPECT_EQ(commits[1][0].value<std::string>(), columntest::changeIDFor(21));

    // Below the last card the column itself is pressed.
    QTest::mouseClick(viewport, Qt::LeftButton, Qt::NoModifier, QPoint(20, viewport->height() - 5));
    EXPECT_EQ(columns.count(), 1);
    EXPECT_EQ(loadMore.count(), 1);

    // A context menu names the commit under the pointer, if any.
    QSignalSpy menus(&column, &BookmarkColumn::contextMenuRequested);
    const auto openMenu = [](QWidget* widget, QPoint at) {
        QContextMenuEvent event(QContextMenuEvent::Mouse, at, widget->mapToGlobal(at));
        QCoreApplication::sendEvent(widget, &event);
    };
    openMenu(viewport, rowCenter(column, 1));
    auto* header = child(column, "columnHeader");
    openMenu(header, header->rect().center());
    ASSERT_EQ(menus.count(), 2);
    EXPECT_EQ(menus[0][0].toPoint(), viewport->mapToGlobal(rowCenter(column, 1)));
    EXPECT_EQ(menus[0][1].value<std::optional<std::string>>(),
              std::optional<std::string>(columntest::changeIDFor(2)));
    EXPECT_EQ(menus[1][1].value<std::optional<std::string>>(), std::nullopt);

    // With every ancestor loaded the row goes away.
    input.ancestorCommits = makeCommits(20, 3);
    column.setInput(input);
    EXPECT_EQ(column.commitModel()->row(4).kind, CommitListModel::RowKind::ancestor);
    press(4);
    EXPECT_EQ(loadMore.count(), 1);
    EXPECT_EQ(commits.count(), 3);
}

TEST(BookmarkColumn, InclusionControlsShowTheRolesAndReportWithoutChangingThemselves) {
    BookmarkColumnInput input = bookmarkLane("feature", makeCommits(1, 1));
    BookmarkColumn column;
    column.setInput(input);
    showColumn(column);
    auto* toggle = child<QCheckBox>(column, "inclusionToggle");
    ASSERT_NE(toggle, nullptr);
    QSignalSpy toggled(&column, &BookmarkColumn::inclusionToggled);
    const struct {
        BookmarkInclusionRole role;
        bool checked;
        bool enabled;
    } roles[] = {{Role::inherited("platform"), true, false},
                 {Role::inherited(std::nullopt), true, false},
                 {Role::absent(), false, true},
                 {Role::partial(input.commits[0]->commitID), true, true}};
    for (const auto& c : roles) {
        input.inclusionRole = c.role;
        column.setInput(input);
        EXPECT_TRUE(toggle->isVisibleTo(&column));
        EXPECT_EQ(toggle->isChecked(), c.checked);
        EXPECT_EQ(toggle->isEnabled(), c.enabled);
        EXPECT_EQ(toggle->toolTip().toStdString(), columntext::inclusionHelp(c.role));
        // A click asks for the other state and waits for the workspace to say so.
        QTest::mouseClick(toggle, Qt::LeftButton, Qt::NoModifier, toggle->rect().center());
        EXPECT_EQ(toggle->isChecked(), c.checked);
        if (c.enabled) {
            ASSERT_FALSE(toggled.isEmpty());
            EXPECT_EQ(toggled.takeFirst()[0].toBool(), !c.checked);
        }
        EXPECT_TRUE(toggled.isEmpty());
    }

    input.kind = LaneKind::workingCopyStack;
    column.setInput(input);
    EXPECT_FALSE(toggle->isVisibleTo(&column));

    // The working copies menu: one entry for each placement.
    input.kind = LaneKind::bookmark;
    column.setInput(input);
    EXPECT_FALSE(shows(column, "workingCopiesButton"));
    input.workspacePlacements = {{"zeta", Role::inherited("platform")},
                                 {"alpha", Role::absent()},
                                 {"dev", Role::directParent()}};
    column.setInput(input);
    auto* button = child<QToolButton>(column, "workingCopiesButton");
    ASSERT_NE(button, nullptr);
    EXPECT_TRUE(button->isVisibleTo(&column));
    EXPECT_EQ(button->toolTip().toStdString(), columntext::workspacesMenuTitle("feature"));

    // Sorted by name, checked where the bookmark is in, inherited ones fixed.
    const QMenu& menu = *button->menu();
    EXPECT_EQ(apptest::menuLines(menu),
              (std::vector<std::string>{columntext::workspacesMenuTitle("feature") + " (off)", "-",
                                        "[ ] alpha", "[x] dev", "[x] zeta (off)"}));
    for (const auto& placement : input.workspacePlacements) {
        const QAction* entry = findEntry(menu, QString::fromStdString(placement.workspaceName));
        EXPECT_EQ(entry->toolTip().toStdString(),
                  columntext::workspacePlacementHelp(placement, "feature").tooltip);
    }

    QSignalSpy requests(&column, &BookmarkColumn::workspaceInclusionRequested);
    QAction* alpha = findEntry(menu, QStringLiteral("alpha"));
    QAction* dev = findEntry(menu, QStringLiteral("dev"));
    alpha->trigger();
    dev->trigger();
    ASSERT_EQ(requests.count(), 2);
    EXPECT_EQ(requests[0][0].value<std::string>(), "alpha");
    EXPECT_TRUE(requests[0][1].toBool());
    EXPECT_EQ(requests[1][0].value<std::string>(), "dev");
    EXPECT_FALSE(requests[1][1].toBool());
    // The checks wait for the workspace to change.
    EXPECT_FALSE(alpha->isChecked());
    EXPECT_TRUE(dev->isChecked());
}

TEST(BookmarkColumn, BannersAndHeaderActionsFollowTheInput) {
    BookmarkColumnInput input = bookmarkLane("feature", makeCommits(1, 1));
    BookmarkColumn column;
    column.setInput(input);
    EXPECT_EQ(parts(column), Parts{"columnHeader"});
    QSignalSpy actions(&column, &BookmarkColumn::bookmarkAction);

    // Merged into trunk while pinned: the banner offers to unpin.
    input.isMergedIntoTrunk = true;
    input.isPinned = true;
    column.setInput(input);
    EXPECT_EQ(parts(column), (Parts{"columnHeader", "mergedBanner", "unpinButton"}));
    EXPECT_EQ(text(column, "mergedBannerTitle"), columntext::mergedBannerTitle(false));
    child<QPushButton>(column, "unpinButton")->click();
    ASSERT_EQ(actions.count(), 1);
    EXPECT_TRUE(std::holds_alternative<BookmarkAction::TogglePinned>(actionAt(actions, 0).value));

    // Merged by its pull request; not pinned, so nothing to unpin.
    input.isMergedIntoTrunk = false;
    input.isPinned = false;
    GitHubPR pr;
    pr.number = 12;
    pr.state = GitHubPR::State::merged;
    input.pr = pr;
    column.setInput(input);
    EXPECT_EQ(parts(column), (Parts{"columnHeader", "mergedBanner"}));
    EXPECT_EQ(text(column, "mergedBannerTitle"), columntext::mergedBannerTitle(true));

    // An open pull request with gh at hand, behind trunk: badge and rebase.
    pr.state = GitHubPR::State::open;
    pr.reviewDecision = GitHubPR::ReviewDecision::approved;
    input.pr = pr;
    input.githubAvailable = true;
    input.isBehindTrunk = true;
    column.setInput(input);
    // The rebase shows only where the board offers it.
    EXPECT_EQ(parts(column), (Parts{"columnHeader", "prBadge"}));
    input.offersLocalStackRebase = true;
    column.setInput(input);
    ASSERT_EQ(parts(column), (Parts{"columnHeader", "prBadge", "rebaseLocalStackButton"}));
    auto* badge = child<QToolButton>(column, "prBadge");
    EXPECT_EQ(badge->text().toStdString(), columntext::prBadgeText(pr));
    EXPECT_EQ(badge->toolTip().toStdString(), columntext::badgeTooltip(pr));
    badge->click();
    ASSERT_EQ(actions.count(), 2);
    EXPECT_TRUE(std::holds_alternative<BookmarkAction::ViewPR>(actionAt(actions, 1).value));
    auto* rebase = child<QPushButton>(column, "rebaseLocalStackButton");
    EXPECT_EQ(rebase->toolTip().toStdString(), columntext::openReviewRebaseHelp(pr));
    rebase->click();
    ASSERT_EQ(actions.count(), 3);
    const auto* reparent =
        std::get_if<BookmarkAction::ReparentToTrunk>(&actionAt(actions, 2).value);
    ASSERT_NE(reparent, nullptr);
    EXPECT_FALSE(reparent->bypassPRGuard);

    // A working copy's lane rebases all its stacks.
    input.kind = LaneKind::workingCopyStack;
    input.selectionColumnID = ColumnID::workingCopyStack("dev");
    input.workspaceName = "dev";
    input.pr.reset();
    column.setInput(input);
    EXPECT_EQ(parts(column), (Parts{"columnHeader", "rebaseLocalStackButton"}));
    QSignalSpy stacks(&column, &BookmarkColumn::rebaseLocalStacksRequested);
    EXPECT_EQ(rebase->text().toStdString(), columntext::rebaseLocalStacksLabel);
    EXPECT_TRUE(rebase->toolTip().isEmpty());
    rebase->click();
    EXPECT_EQ(stacks.count(), 1);
    EXPECT_EQ(actions.count(), 3);

    input.kind = LaneKind::bookmark;
    input.conflictPartners = {"api", "docs"};
    column.setInput(input);
    ASSERT_EQ(parts(column), (Parts{"columnHeader", "rebaseLocalStackButton", "conflictBanner"}));
    EXPECT_EQ(text(column, "conflictCount"), "2");
    EXPECT_EQ(text(column, "conflictText"), columntext::conflictBannerText({"api", "docs"}));
    QSignalSpy resolves(&column, &BookmarkColumn::resolveConflictRequested);
    child<QPushButton>(column, "resolveButton")->click();
    EXPECT_EQ(resolves.count(), 1);
}

TEST(BookmarkColumn, TrunkColumnShowsThePinnedBoxInsteadOfTheLane) {
    BookmarkColumnInput input = bookmarkLane("main", makeCommits(1, 1));
    input.kind = LaneKind::trunk;
    input.bookmark.origin = BookmarkOrigin::upstream("origin");
    input.upstreamShortCommitID = "a1b2c3d4e5f6";
    input.isPinned = true;
    input.isMergedIntoTrunk = true;
    BookmarkColumn column;
    column.setInput(input);

    EXPECT_EQ(parts(column), Parts{"trunkPinnedBox"});
    EXPECT_EQ(column.commitModel()->rowCount(), 0);
    EXPECT_EQ(text(column, "pinnedRemoteSummary"), "origin/main@a1b2c3d4e5f6");

    auto* history = child<QPushButton>(column, "toggleTrunkHistoryButton");
    QSignalSpy expands(&column, &BookmarkColumn::toggleExpandRequested);
    QSignalSpy advances(&column, &BookmarkColumn::advanceTrunkRequested);
    history->click();
    child<QPushButton>(column, "advanceTrunkButton")->click();
    EXPECT_EQ(expands.count(), 1);
    EXPECT_EQ(advances.count(), 1);

    EXPECT_EQ(history->text().toStdString(), columntext::showTrunkHistoryLabel);
    input.isExpanded = true;
    input.ancestorCommits = makeCommits(10, 3);
    input.ancestorTotal = 10;
    input.fetchRelativeTime = "5 min ago";
    column.setInput(input);
    EXPECT_EQ(history->text().toStdString(), columntext::hideTrunkHistoryLabel);
    EXPECT_EQ(column.commitModel()->rowCount(), 5);  // tip, three ancestors, "Load more"
    EXPECT_EQ(parts(column), (Parts{"trunkPinnedBox", "fetchedLabel"}));
    EXPECT_EQ(text(column, "fetchedLabel"), columntext::fetchedText("5 min ago"));
}

TEST(BookmarkColumn, LaneOfFiveThousandCommitsBuildsAndPaints) {
    const auto lane = [] {
        BookmarkColumnInput input = bookmarkLane("big", makeCommits(1, 5000));
        input.selectedChangeIDs = {columntest::changeIDFor(3)};
        input.isSelected = true;
        return input;
    };
    BookmarkColumn column;
    column.setInput(lane());
    ASSERT_EQ(column.commitModel()->rowCount(), 5000);
    column.resize(column.width(), 900);
    const QPixmap picture = column.grab();
    EXPECT_FALSE(picture.isNull());
    EXPECT_EQ(picture.width(), column.width());

    // The next snapshot with the same lane keeps every row.
    QSignalSpy resets(column.commitModel(), &QAbstractItemModel::modelReset);
    QSignalSpy inserts(column.commitModel(), &QAbstractItemModel::rowsInserted);
    column.setInput(lane());
    EXPECT_EQ(resets.count() + inserts.count(), 0);
    EXPECT_EQ(column.commitModel()->rowCount(), 5000);
    column.commitList()->scrollToBottom();
    EXPECT_FALSE(column.grab().isNull());
}

}  // namespace
}  // namespace vorda
