#include "app/column/BookmarkColumn.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QCheckBox>
#include <QContextMenuEvent>
#include <QLabel>
#include <QMenu>
#include <QMouseEvent>
#include <QPointF>
#include <QPushButton>
#include <QSettings>
#include <QSignalSpy>
#include <QTest>
#include <QToolButton>
#include <set>
#include <variant>

#include <gtest/gtest.h>

#include "ColumnTestData.h"
#include "MenuText.h"
#include "app/column/ColumnResizeHandle.h"
#include "app/column/ColumnText.h"
#include "app/column/ColumnWidthStore.h"
#include "app/column/CommitCardChips.h"
#include "app/column/CommitCardDelegate.h"
#include "app/column/CommitCardText.h"
#include "app/column/CommitListModel.h"
#include "app/column/CommitListView.h"
#include "app/column/ResizableColumnWidth.h"

// The column as a widget: that it shows what the column rules and texts
// decide (the sentences themselves are pinned in ColumnTextTests) and reports
// the user's gestures.
namespace vorda {
namespace {

using apptest::findEntry;
using columntest::bookmarkLane;
using columntest::changeIDFor;
using columntest::makeCommit;
using columntest::makeCommits;
using LaneKind = BookmarkColumnInput::LaneKind;
using Role = BookmarkInclusionRole;
using Lines = std::vector<std::string>;

template <typename Widget = QWidget>
Widget* child(const BookmarkColumn& column, const char* name) {
    auto* widget = column.findChild<Widget*>(QString::fromLatin1(name));
    EXPECT_NE(widget, nullptr) << name;
    return widget;
}

// The column's visible named parts in order (the list and handle, always
// there, left out), one line each: the name, then ": " and the text of a
// label or button, "[x]" or "[ ]" for a check box, " (off)" when disabled.
std::string parts(const BookmarkColumn& column) {
    std::string shown;
    for (const QWidget* widget : column.findChildren<QWidget*>()) {
        std::string line = widget->objectName().toStdString();
        if (line.empty() || line.starts_with("qt_") || !widget->isVisibleTo(&column) ||
            widget->parentWidget()->inherits("QAbstractScrollArea") ||
            std::set<std::string>{"commitList", "resizeHandle", "columnActions", "columnTools",
                                  "columnDiffButton", "fileListsButton", "closeColumnButton",
                                  "routes", "routesDisclosure", "addRouteButton"}
                .contains(line)) {
            continue;
        }
        if (const auto* label = qobject_cast<const QLabel*>(widget)) {
            line.append(": ").append(label->text().toStdString());
        } else if (const auto* box = qobject_cast<const QCheckBox*>(widget)) {
            line.append(box->isChecked() ? ": [x]" : ": [ ]");
        } else if (const auto* button = qobject_cast<const QAbstractButton*>(widget)) {
            line.append(": ").append(button->text().toStdString());
        }
        shown.append(shown.empty() ? "" : " | ")
            .append(line)
            .append(widget->isEnabled() ? "" : " (off)");
    }
    return shown;
}

// The action a `bookmarkAction` signal carried. Read in place: the action
// has no default value, which `QVariant::value` would need.
const decltype(BookmarkAction::value)& actionAt(const QSignalSpy& spy, int index) {
    const QVariant& argument = spy.at(index).at(0);
    EXPECT_EQ(argument.metaType(), QMetaType::fromType<BookmarkAction>());
    return static_cast<const BookmarkAction*>(argument.constData())->value;
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

TEST(BookmarkColumn, CommitsRenderWithCardTooltipsAndPressesReportTheGesture) {
    const JJCommit tip = makeCommit(1, "Add login form\nDetails");
    BookmarkColumnInput input = bookmarkLane(
        "feature",
        SharedCommit::shareAll({tip, makeCommit(2, ""), makeCommit(3, "Release", true)}));
    input.compositionPoints = {{"dev", tip.commitID, true}};
    BookmarkColumn column;
    column.setInput(input);
    CommitListModel* model = column.commitModel();
    ASSERT_EQ(model->rowCount(), 3);
    // Rows of one height keep long lanes cheap to lay out.
    EXPECT_EQ(std::pair(column.commitList()->model(), column.commitList()->uniformItemSizes()),
              std::pair(static_cast<QAbstractItemModel*>(model), true));

    // Pointing at each part of the first card finds its own tooltip.
    auto* delegate = qobject_cast<CommitCardDelegate*>(column.commitList()->itemDelegate());
    ASSERT_NE(delegate, nullptr);
    QStyleOptionViewItem option;
    option.initFrom(column.commitList()->viewport());
    option.font = column.commitList()->font();
    option.rect = QRect(0, 0, 400, CommitCardDelegate::rowHeight(option.font));
    const auto tooltipsAtWidth = [&](int width) {
        option.rect.setWidth(width);
        std::set<QString> found;
        for (int y = 0; y < option.rect.height(); y += 2) {
            for (int x = 0; x < option.rect.width(); x += 3) {
                found.insert(delegate->tooltipAt(option, model->index(0), QPoint(x, y)));
            }
        }
        return found;
    };
    // The summary shows whole in a tooltip only where the card cuts it.
    const QString whole = "Add login form\n" + cardtext::cardTooltip(tip);
    EXPECT_TRUE(tooltipsAtWidth(110).contains(whole));
    EXPECT_EQ(
        tooltipsAtWidth(400),
        (std::set<QString>{
            cardtext::cardTooltip(tip), cardtext::authorTooltip(tip.author),
            cardChips(input, tip, true).front().tooltip, cardChips(input, tip, true).back().tooltip,
            model->index(0).data(CommitListModel::TimestampToolTipRole).toString()}));
    EXPECT_EQ(delegate->sizeHint(option, model->index(0)).height(),
              delegate->sizeHint(option, model->index(2)).height());

    // Pressing cards, "Load more" and menus reports the gesture.
    input = bookmarkLane("feature", makeCommits(1, 2));
    input.isExpanded = true;
    input.ancestorCommits = makeCommits(20, 2);
    input.ancestorTotal = 3;
    column.setInput(input);
    showColumn(column);
    ASSERT_EQ(column.commitModel()->rowCount(), 5);

    QSignalSpy loadMore(&column, &BookmarkColumn::loadMoreRequested);
    QSignalSpy commits(&column, &BookmarkColumn::commitClicked);
    QSignalSpy columns(&column, &BookmarkColumn::columnClicked);
    QSignalSpy menus(&column, &BookmarkColumn::contextMenuRequested);
    QWidget* viewport = column.commitList()->viewport();
    const auto press = [&](int row, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QTest::mouseClick(viewport, Qt::LeftButton, modifiers, rowCenter(column, row));
    };
    const auto openMenu = [](QWidget* widget, QPoint at) {
        QContextMenuEvent event(QContextMenuEvent::Mouse, at, widget->mapToGlobal(at));
        QCoreApplication::sendEvent(widget, &event);
    };

    press(4);
    press(1, Qt::ShiftModifier);
    press(3, Qt::ControlModifier);
    // Below the last card the column itself is pressed.
    QTest::mouseClick(viewport, Qt::LeftButton, Qt::NoModifier, QPoint(20, viewport->height() - 5));
    EXPECT_EQ(std::pair(loadMore.count(), columns.count()), std::pair(1LL, 1LL));
    ASSERT_EQ(commits.count(), 2);
    EXPECT_EQ(commits[0][0].value<std::string>(), changeIDFor(2));
    EXPECT_EQ(commits[0][1].value<Qt::KeyboardModifiers>(), Qt::ShiftModifier);
    EXPECT_EQ(commits[1][0].value<std::string>(), changeIDFor(21));

    // A context menu names the commit under the pointer, if any.
    openMenu(viewport, rowCenter(column, 1));
    auto* header = child(column, "columnHeader");
    openMenu(header, header->rect().center());
    ASSERT_EQ(menus.count(), 2);
    EXPECT_EQ(menus[0][0].toPoint(), viewport->mapToGlobal(rowCenter(column, 1)));
    EXPECT_EQ(menus[0][1].value<std::optional<std::string>>(), changeIDFor(2));
    EXPECT_EQ(menus[1][1].value<std::optional<std::string>>(), std::nullopt);

    // With every ancestor loaded the row is a commit.
    input.ancestorCommits = makeCommits(20, 3);
    column.setInput(input);
    press(4);
    EXPECT_EQ(std::pair(loadMore.count(), commits.count()), std::pair(1LL, 3LL));
}

TEST(BookmarkColumn, HeaderControlsBannersAndTheTrunkBoxFollowTheInputAndReportGestures) {
    BookmarkColumnInput input = bookmarkLane("feature", makeCommits(1, 1));
    BookmarkColumn column;
    column.setInput(input);
    showColumn(column);
    auto* toggle = child<QCheckBox>(column, "inclusionToggle");
    QSignalSpy toggled(&column, &BookmarkColumn::inclusionToggled);
    const std::pair<BookmarkInclusionRole, std::string> roles[] = {
        {Role::inherited("platform"), "[x] (off)"},
        {Role::inherited(std::nullopt), "[x] (off)"},
        {Role::absent(), "[ ]"},
        {Role::partial(input.commits[0]->commitID), "[x]"}};
    for (const auto& [role, shown] : roles) {
        input.inclusionRole = role;
        column.setInput(input);
        const std::string before = parts(column);
        EXPECT_EQ(before, "columnHeader | inclusionToggle: " + shown + " | columnTitle: feature");
        EXPECT_EQ(toggle->toolTip().toStdString(), columntext::inclusionHelp(role));
        // A click asks for the other state and waits for the workspace to say so.
        QTest::mouseClick(toggle, Qt::LeftButton, Qt::NoModifier, toggle->rect().center());
        EXPECT_EQ(parts(column), before);
        EXPECT_EQ(toggled.count(), toggle->isEnabled() ? 1 : 0);
        if (!toggled.isEmpty()) {
            EXPECT_EQ(toggled.takeFirst()[0].toBool(), !toggle->isChecked());
        }
    }
    // The working copies menu: one entry for each placement, sorted by name,
    // checked where the bookmark is in, inherited ones fixed. (A working
    // copy's lane has neither toggle nor menu: see below.)
    input.workspacePlacements = {{"zeta", Role::inherited("platform")},
                                 {"alpha", Role::absent()},
                                 {"dev", Role::directParent()}};
    column.setInput(input);
    EXPECT_EQ(parts(column),
              "columnHeader | inclusionToggle: [x] | columnTitle: feature | workingCopiesButton: "
              "Working Copies");
    auto* button = child<QToolButton>(column, "workingCopiesButton");
    EXPECT_EQ(button->toolTip().toStdString(), columntext::workspacesMenuTitle("feature"));
    const QMenu& menu = *button->menu();
    const Lines entries = {columntext::workspacesMenuTitle("feature") + " (off)", "-", "[ ] alpha",
                           "[x] dev", "[x] zeta (off)"};
    EXPECT_EQ(apptest::menuLines(menu), entries);
    for (const auto& placement : input.workspacePlacements) {
        const QAction* entry = findEntry(menu, QString::fromStdString(placement.workspaceName));
        EXPECT_EQ(entry->toolTip().toStdString(),
                  columntext::workspacePlacementHelp(placement, "feature").tooltip);
    }

    QSignalSpy requests(&column, &BookmarkColumn::workspaceInclusionRequested);
    findEntry(menu, QStringLiteral("alpha"))->trigger();
    findEntry(menu, QStringLiteral("dev"))->trigger();
    ASSERT_EQ(requests.count(), 2);
    EXPECT_EQ(std::tuple(requests[0][0].value<std::string>(), requests[0][1].toBool(),
                         requests[1][0].value<std::string>(), requests[1][1].toBool()),
              std::tuple("alpha", true, "dev", false));
    // The checks wait for the workspace to change.
    EXPECT_EQ(apptest::menuLines(menu), entries);

    // Banners, header actions and the trunk box.
    input = bookmarkLane("feature", makeCommits(1, 1));
    QSignalSpy actions(&column, &BookmarkColumn::bookmarkAction);
    QSignalSpy stacks(&column, &BookmarkColumn::rebaseLocalStacksRequested);
    QSignalSpy resolves(&column, &BookmarkColumn::resolveConflictRequested);
    QSignalSpy expands(&column, &BookmarkColumn::toggleExpandRequested);
    QSignalSpy advances(&column, &BookmarkColumn::advanceTrunkRequested);
    const std::string header = "columnHeader | inclusionToggle: [ ] | columnTitle: feature | ";
    const auto show = [&] {
        column.setInput(input);
        return parts(column);
    };
    const auto click = [&column](const char* name) {
        child<QAbstractButton>(column, name)->click();
    };

    // Merged into trunk while pinned: the banner offers to unpin.
    input.isMergedIntoTrunk = input.isPinned = true;
    EXPECT_EQ(show(),
              header + "mergedBanner | mergedBannerTitle: merged into trunk | unpinButton: Unpin");
    click("unpinButton");
    ASSERT_EQ(actions.count(), 1);
    EXPECT_TRUE(std::holds_alternative<BookmarkAction::TogglePinned>(actionAt(actions, 0)));

    // Merged by its pull request; not pinned, so nothing to unpin.
    input.isMergedIntoTrunk = input.isPinned = false;
    GitHubPR& pr = input.pr.emplace();
    pr.number = 12;
    pr.state = GitHubPR::State::merged;
    EXPECT_EQ(show(), header + "mergedBanner | mergedBannerTitle: PR merged");

    // An open pull request with gh at hand, behind trunk: badge and rebase.
    pr.state = GitHubPR::State::open;
    pr.reviewDecision = GitHubPR::ReviewDecision::approved;
    input.githubAvailable = true;
    input.isBehindTrunk = true;
    EXPECT_EQ(show(), header + "prBadge: PR #12");  // the board offers no rebase yet
    input.offersLocalStackRebase = true;
    EXPECT_EQ(show(), header + "prBadge: PR #12 | rebaseLocalStackButton: Rebase Local Stack…");
    auto* rebase = child<QPushButton>(column, "rebaseLocalStackButton");
    EXPECT_EQ(std::pair(child(column, "prBadge")->toolTip(), rebase->toolTip()),
              std::pair(QString::fromStdString(columntext::badgeTooltip(pr)),
                        QString::fromStdString(columntext::openReviewRebaseHelp(pr))));
    click("prBadge");
    rebase->click();
    ASSERT_EQ(actions.count(), 3);
    EXPECT_TRUE(std::holds_alternative<BookmarkAction::ViewPR>(actionAt(actions, 1)));
    const auto* reparent = std::get_if<BookmarkAction::ReparentToTrunk>(&actionAt(actions, 2));
    ASSERT_NE(reparent, nullptr);
    EXPECT_FALSE(reparent->bypassPRGuard);

    // A working copy's lane rebases all its stacks.
    input.kind = LaneKind::workingCopyStack;
    input.selectionColumnID = ColumnID::workingCopyStack("dev");
    input.workspaceName = "dev";
    input.pr.reset();
    EXPECT_EQ(show(),
              "columnHeader | columnTitle: feature | rebaseLocalStackButton: Rebase Local Stacks…");
    EXPECT_TRUE(rebase->toolTip().isEmpty());
    rebase->click();
    EXPECT_EQ(std::pair(stacks.count(), actions.count()), std::pair(1LL, 3LL));

    input.kind = LaneKind::bookmark;
    input.conflictPartners = {"api", "docs"};
    EXPECT_EQ(
        show(),
        header +
            "rebaseLocalStackButton: Rebase Local Stack… | conflictBanner | conflictCount: 2 | "
            "conflictText: conflicts with api, docs | resolveButton: Resolve");
    click("resolveButton");
    EXPECT_EQ(resolves.count(), 1);

    // The trunk column shows the pinned box instead of the lane, and the
    // history below it once open.
    input = bookmarkLane("main", makeCommits(1, 1));
    input.kind = LaneKind::trunk;
    input.bookmark.origin = BookmarkOrigin::upstream("origin");
    input.upstreamShortCommitID = "a1b2c3d4e5f6";
    input.isPinned = input.isMergedIntoTrunk = input.offersLocalStackRebase = true;
    const std::string box = "trunkPinnedBox | pinnedRemoteSummary: origin/main@a1b2c3d4e5f6 | ";
    const std::string rest = "Trunk History | advanceTrunkButton: Rebase Local Stacks… | ";
    EXPECT_EQ(show(), box + "toggleTrunkHistoryButton: Show " + rest +
                          "pinnedMark: PINNED | trunkArrow: trunk");
    EXPECT_EQ(column.commitModel()->rowCount(), 0);
    click("toggleTrunkHistoryButton");
    click("advanceTrunkButton");
    EXPECT_EQ(std::pair(expands.count(), advances.count()), std::pair(1LL, 1LL));

    input.isExpanded = true;
    input.ancestorCommits = makeCommits(10, 3);
    input.ancestorTotal = 10;
    input.fetchRelativeTime = "5 min ago";
    EXPECT_EQ(show(),
              box + "toggleTrunkHistoryButton: Hide " + rest +
                  "fetchedLabel: fetched 5 min ago | pinnedMark: PINNED | trunkArrow: trunk");
    EXPECT_EQ(column.commitModel()->rowCount(), 5);  // tip, three ancestors, "Load more"
}

TEST(BookmarkColumn, TrailingHandleResizesWithinTheLimitsAndStoresTheWidthOnRelease) {
    const QString key = columnwidths::key(ColumnID::bookmark("resizable"));
    QSettings().remove(key);
    BookmarkColumn column;
    column.setInput(bookmarkLane("resizable", makeCommits(1, 2)));
    auto* handle = column.findChild<ColumnResizeHandle*>(QStringLiteral("resizeHandle"));
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(std::pair(handle->toolTip(), handle->cursor().shape()),
              std::pair(QStringLiteral("Drag to resize this column"), Qt::SplitHCursor));

    // Sends a left-button event at `globalX`; says the width, and " stored"
    // once one is.
    QSignalSpy widths(&column, &BookmarkColumn::widthChanged);
    const auto drag = [&](QEvent::Type type, double globalX) {
        QMouseEvent event(type, QPointF(2, 10), QPointF(globalX, 300),
                          type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton,
                          type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton,
                          Qt::NoModifier);
        QCoreApplication::sendEvent(handle, &event);
        return std::to_string(column.width()).append(QSettings().contains(key) ? " stored" : "");
    };
    // 260 - 120 held at the minimum, 260 + 1000 at the maximum; the release
    // measures the travel from the start width, not from the last step.
    EXPECT_EQ((Lines{drag(QEvent::MouseButtonPress, 500), drag(QEvent::MouseMove, 380),
                     drag(QEvent::MouseMove, 1500), drag(QEvent::MouseButtonRelease, 650)}),
              (Lines{"260", "200", "1000", "410 stored"}));
    EXPECT_EQ(widths.count(), 3);
    EXPECT_EQ(QSettings().value(key).toDouble(), 410);

    // A new column of the same lane starts at the stored width, held within
    // the limits; a stored value that is not a number is no width.
    BookmarkColumn again;
    again.setInput(bookmarkLane("resizable", makeCommits(1, 2)));
    EXPECT_EQ(again.width(), 410);
    for (const auto& [value, width] :
         {std::pair{QVariant(5000), 1000}, {QVariant(12), 200}, {QVariant("wide"), 260}}) {
        QSettings().setValue(key, value);
        EXPECT_EQ(columnwidths::resizableColumnWidth(key, columnwidths::bookmarkColumnLimits).width,
                  width);
    }
    QSettings().remove(key);

    // Keys are the column's storage key behind a prefix; the hidden panel
    // has limits of its own.
    EXPECT_EQ(columnwidths::key(ColumnID::workingCopyStack("dev")),
              QStringLiteral("vorda.columnWidth.wcstack:dev"));
    EXPECT_EQ(columnwidths::diffColumnKey(), QStringLiteral("vorda.diffColumnWidth"));
    const QString hiddenKey = columnwidths::key(ColumnID::hidden());
    QSettings().remove(hiddenKey);
    EXPECT_EQ(columnwidths::resizableColumnWidth(hiddenKey, columnwidths::hiddenPanelLimits),
              (ResizableColumnWidth{320, std::nullopt, 200, 1000}));
}

}  // namespace
}  // namespace vorda
