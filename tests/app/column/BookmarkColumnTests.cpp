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
#include "app/column/CommitCardDelegate.h"
#include "app/column/CommitListModel.h"
#include "app/column/CommitListView.h"

namespace vorda {
namespace {

using columntest::bookmarkLane;
using columntest::makeCommit;
using columntest::makeCommits;
using LaneKind = BookmarkColumnInput::LaneKind;

template <typename Widget>
Widget* child(const BookmarkColumn& column, const char* name) {
    auto* widget = column.findChild<Widget*>(QString::fromLatin1(name));
    EXPECT_NE(widget, nullptr) << name;
    return widget;
}

bool shows(const BookmarkColumn& column, const char* name) {
    const auto* widget = column.findChild<QWidget*>(QString::fromLatin1(name));
    return widget != nullptr && widget->isVisibleTo(&column);
}

// The action a `bookmarkAction` signal carried. Read in place: the action
// has no default value, which `QVariant::value` would need.
const BookmarkAction& actionAt(const QSignalSpy& spy, int index) {
    const QVariant& argument = spy.at(index).at(0);
    EXPECT_EQ(argument.metaType(), QMetaType::fromType<BookmarkAction>());
    return *static_cast<const BookmarkAction*>(argument.constData());
}

template <typename Action>
bool isAction(const QSignalSpy& spy, int index) {
    return std::holds_alternative<Action>(actionAt(spy, index).value);
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
    JJCommit tip = makeCommit(1, "Add login form\nDetails");
    JJCommit empty = makeCommit(2, "");
    JJCommit fixed = makeCommit(3, "Release", true);
    BookmarkColumnInput input =
        bookmarkLane("feature", SharedCommit::shareAll({tip, empty, fixed}));
    input.compositionPoints = {{"dev", tip.commitID, true}};

    BookmarkColumn column;
    column.setInput(input);
    CommitListModel* model = column.commitModel();
    ASSERT_EQ(model->rowCount(), 3);
    EXPECT_EQ(column.commitList()->model(), model);
    EXPECT_TRUE(column.commitList()->uniformItemSizes());
    EXPECT_NE(qobject_cast<CommitCardDelegate*>(column.commitList()->itemDelegate()), nullptr);
    EXPECT_EQ(model->index(1).data().toString(), QStringLiteral("(no description set)"));
    EXPECT_TRUE(model->index(2).data(CommitListModel::IsImmutableRole).toBool());
    EXPECT_EQ(shows(column, "columnTitle"), true);
    EXPECT_EQ(child<QLabel>(column, "columnTitle")->text(), QStringLiteral("feature"));

    // Pointing at each part of the first card finds its own tooltip.
    auto* delegate = qobject_cast<CommitCardDelegate*>(column.commitList()->itemDelegate());
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
    EXPECT_TRUE(tooltips.contains(QStringLiteral("Change ") + QString::fromStdString(tip.changeID) +
                                  QStringLiteral(" · commit ") +
                                  QString::fromStdString(tip.commitID)));
    EXPECT_TRUE(tooltips.contains(QStringLiteral("Ada Lovelace <ada@example.com>")));
    EXPECT_TRUE(
        tooltips.contains(model->index(0).data(CommitListModel::TimestampToolTipRole).toString()));
    EXPECT_TRUE(tooltips.contains(
        QStringLiteral("This commit is dev's composition boundary. Drag it to another commit in "
                       "this lane to change that workspace's view.")));
    EXPECT_EQ(delegate->sizeHint(option, model->index(0)).height(),
              delegate->sizeHint(option, model->index(2)).height());
}

TEST(BookmarkColumn, PressingCardsAndLoadMoreReportsTheGesture) {
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

    QTest::mouseClick(viewport, Qt::LeftButton, Qt::NoModifier, rowCenter(column, 4));
    EXPECT_EQ(loadMore.count(), 1);
    EXPECT_EQ(commits.count(), 0);

    QTest::mouseClick(viewport, Qt::LeftButton, Qt::ShiftModifier, rowCenter(column, 1));
    ASSERT_EQ(commits.count(), 1);
    EXPECT_EQ(commits[0][0].value<std::string>(), columntest::changeIDFor(2));
    EXPECT_EQ(commits[0][1].value<Qt::KeyboardModifiers>(), Qt::ShiftModifier);

    QTest::mouseClick(viewport, Qt::LeftButton, Qt::ControlModifier, rowCenter(column, 3));
    ASSERT_EQ(commits.count(), 2);
    EXPECT_EQ(commits[1][0].value<std::string>(), columntest::changeIDFor(21));

    // Below the last card the column itself is pressed.
    QTest::mouseClick(viewport, Qt::LeftButton, Qt::NoModifier, QPoint(20, viewport->height() - 5));
    EXPECT_EQ(columns.count(), 1);
    EXPECT_EQ(loadMore.count(), 1);

    // With every ancestor loaded the row goes away.
    input.ancestorCommits = makeCommits(20, 3);
    column.setInput(input);
    ASSERT_EQ(column.commitModel()->rowCount(), 5);
    EXPECT_EQ(column.commitModel()->row(4).kind, CommitListModel::RowKind::ancestor);
    QTest::mouseClick(viewport, Qt::LeftButton, Qt::NoModifier, rowCenter(column, 4));
    EXPECT_EQ(loadMore.count(), 1);
    EXPECT_EQ(commits.count(), 3);
}

TEST(BookmarkColumn, InclusionToggleShowsTheRoleAndReportsWithoutChangingItself) {
    BookmarkColumnInput input = bookmarkLane("feature", makeCommits(1, 1));
    input.inclusionRole = BookmarkInclusionRole::inherited("platform");
    BookmarkColumn column;
    column.setInput(input);
    auto* toggle = child<QCheckBox>(column, "inclusionToggle");
    ASSERT_NE(toggle, nullptr);
    EXPECT_TRUE(toggle->isVisibleTo(&column));
    EXPECT_TRUE(toggle->isChecked());
    EXPECT_FALSE(toggle->isEnabled());
    EXPECT_EQ(toggle->toolTip(),
              QStringLiteral("Included through platform; rebase the containing history to "
                             "remove it."));

    input.inclusionRole = BookmarkInclusionRole::inherited(std::nullopt);
    column.setInput(input);
    EXPECT_FALSE(toggle->isEnabled());
    EXPECT_EQ(toggle->toolTip(),
              QStringLiteral("Included through the workspace ancestry; its base cannot be "
                             "toggled."));

    input.inclusionRole = BookmarkInclusionRole::absent();
    column.setInput(input);
    EXPECT_FALSE(toggle->isChecked());
    EXPECT_TRUE(toggle->isEnabled());
    EXPECT_EQ(toggle->toolTip(),
              QStringLiteral("Enable in the selected workspace. This materializes a "
                             "composition point when needed."));

    showColumn(column);
    QSignalSpy toggled(&column, &BookmarkColumn::inclusionToggled);
    QTest::mouseClick(toggle, Qt::LeftButton, Qt::NoModifier, toggle->rect().center());
    ASSERT_EQ(toggled.count(), 1);
    EXPECT_TRUE(toggled[0][0].toBool());
    EXPECT_FALSE(toggle->isChecked());  // until the workspace says otherwise

    input.inclusionRole = BookmarkInclusionRole::partial(input.commits[0]->commitID);
    column.setInput(input);
    EXPECT_TRUE(toggle->isChecked());
    EXPECT_TRUE(toggle->isEnabled());
    QTest::mouseClick(toggle, Qt::LeftButton, Qt::NoModifier, toggle->rect().center());
    ASSERT_EQ(toggled.count(), 2);
    EXPECT_FALSE(toggled[1][0].toBool());

    input.kind = LaneKind::workingCopyStack;
    column.setInput(input);
    EXPECT_FALSE(toggle->isVisibleTo(&column));
}

TEST(BookmarkColumn, WorkingCopiesMenuListsPlacementsWithChecksAndHelp) {
    BookmarkColumnInput input = bookmarkLane("feature", makeCommits(1, 1));
    BookmarkColumn column;
    column.setInput(input);
    EXPECT_FALSE(shows(column, "workingCopiesButton"));

    input.workspacePlacements = {{"zeta", BookmarkInclusionRole::inherited("platform")},
                                 {"alpha", BookmarkInclusionRole::absent()},
                                 {"dev", BookmarkInclusionRole::directParent()}};
    column.setInput(input);
    auto* button = child<QToolButton>(column, "workingCopiesButton");
    ASSERT_NE(button, nullptr);
    EXPECT_TRUE(button->isVisibleTo(&column));
    EXPECT_EQ(button->text(), QStringLiteral("Working Copies"));
    EXPECT_EQ(button->toolTip(), QStringLiteral("Choose which working copies include feature"));

    std::vector<QAction*> entries;
    for (QAction* action : button->menu()->actions()) {
        if (action->isCheckable()) {
            entries.push_back(action);
        }
    }
    ASSERT_EQ(entries.size(), 3U);
    EXPECT_EQ(entries[0]->text(), QStringLiteral("alpha"));
    EXPECT_FALSE(entries[0]->isChecked());
    EXPECT_TRUE(entries[0]->isEnabled());
    EXPECT_EQ(entries[0]->toolTip(), QStringLiteral("Include feature in alpha"));
    EXPECT_EQ(entries[1]->text(), QStringLiteral("dev"));
    EXPECT_TRUE(entries[1]->isChecked());
    EXPECT_EQ(entries[1]->toolTip(), QStringLiteral("Remove feature from dev"));
    EXPECT_EQ(entries[2]->text(), QStringLiteral("zeta"));
    EXPECT_TRUE(entries[2]->isChecked());
    EXPECT_FALSE(entries[2]->isEnabled());
    EXPECT_EQ(entries[2]->toolTip(),
              QStringLiteral("Included in zeta through platform; change that containing history "
                             "to remove it"));

    QSignalSpy requests(&column, &BookmarkColumn::workspaceInclusionRequested);
    entries[0]->trigger();
    entries[1]->trigger();
    ASSERT_EQ(requests.count(), 2);
    EXPECT_EQ(requests[0][0].value<std::string>(), "alpha");
    EXPECT_TRUE(requests[0][1].toBool());
    EXPECT_EQ(requests[1][0].value<std::string>(), "dev");
    EXPECT_FALSE(requests[1][1].toBool());
    EXPECT_FALSE(entries[0]->isChecked());
    EXPECT_TRUE(entries[1]->isChecked());
}

TEST(BookmarkColumn, MergedAndConflictBannersFollowTheInput) {
    BookmarkColumnInput input = bookmarkLane("feature", makeCommits(1, 1));
    BookmarkColumn column;
    column.setInput(input);
    EXPECT_FALSE(shows(column, "mergedBanner"));
    EXPECT_FALSE(shows(column, "conflictBanner"));

    input.isMergedIntoTrunk = true;
    input.isPinned = true;
    column.setInput(input);
    ASSERT_TRUE(shows(column, "mergedBanner"));
    EXPECT_EQ(child<QLabel>(column, "mergedBannerTitle")->text(),
              QStringLiteral("merged into trunk"));
    auto* unpin = child<QPushButton>(column, "unpinButton");
    ASSERT_NE(unpin, nullptr);
    EXPECT_TRUE(unpin->isVisibleTo(&column));
    EXPECT_EQ(unpin->text(), QStringLiteral("Unpin"));
    EXPECT_EQ(unpin->toolTip(),
              QStringLiteral("This bookmark has merged — unpin it to remove this column from the "
                             "board."));
    QSignalSpy actions(&column, &BookmarkColumn::bookmarkAction);
    unpin->click();
    ASSERT_EQ(actions.count(), 1);
    EXPECT_TRUE(isAction<BookmarkAction::TogglePinned>(actions, 0));

    // Merged by its pull request; not pinned, so nothing to unpin.
    input.isMergedIntoTrunk = false;
    input.isPinned = false;
    GitHubPR pr;
    pr.number = 12;
    pr.state = GitHubPR::State::merged;
    input.pr = pr;
    column.setInput(input);
    ASSERT_TRUE(shows(column, "mergedBanner"));
    EXPECT_EQ(child<QLabel>(column, "mergedBannerTitle")->text(), QStringLiteral("PR merged"));
    EXPECT_FALSE(unpin->isVisibleTo(&column));

    input.kind = LaneKind::workingCopyStack;
    column.setInput(input);
    EXPECT_FALSE(shows(column, "mergedBanner"));

    input.kind = LaneKind::bookmark;
    input.pr.reset();
    input.conflictPartners = {"api", "docs"};
    column.setInput(input);
    EXPECT_FALSE(shows(column, "mergedBanner"));
    ASSERT_TRUE(shows(column, "conflictBanner"));
    EXPECT_EQ(child<QLabel>(column, "conflictCount")->text(), QStringLiteral("2"));
    EXPECT_EQ(child<QLabel>(column, "conflictText")->text(),
              QStringLiteral("conflicts with api, docs"));
    QSignalSpy resolves(&column, &BookmarkColumn::resolveConflictRequested);
    auto* resolve = child<QPushButton>(column, "resolveButton");
    EXPECT_EQ(resolve->text(), QStringLiteral("Resolve"));
    resolve->click();
    EXPECT_EQ(resolves.count(), 1);
}

TEST(BookmarkColumn, PullRequestBadgeAndRebaseActionsInTheHeader) {
    BookmarkColumnInput input = bookmarkLane("feature", makeCommits(1, 1));
    GitHubPR pr;
    pr.number = 12;
    pr.state = GitHubPR::State::open;
    pr.reviewDecision = GitHubPR::ReviewDecision::approved;
    input.pr = pr;
    BookmarkColumn column;
    column.setInput(input);
    EXPECT_FALSE(shows(column, "prBadge"));  // no gh, no badge
    EXPECT_FALSE(shows(column, "rebaseLocalStackButton"));

    input.githubAvailable = true;
    input.isBehindTrunk = true;
    column.setInput(input);
    auto* badge = child<QToolButton>(column, "prBadge");
    ASSERT_TRUE(shows(column, "prBadge"));
    EXPECT_EQ(badge->text(), QStringLiteral("PR #12"));
    EXPECT_EQ(badge->toolTip(),
              QStringLiteral("PR #12 · OPEN · APPROVED. Click to open in browser."));
    QSignalSpy actions(&column, &BookmarkColumn::bookmarkAction);
    badge->click();
    ASSERT_EQ(actions.count(), 1);
    EXPECT_TRUE(isAction<BookmarkAction::ViewPR>(actions, 0));

    auto* rebase = child<QPushButton>(column, "rebaseLocalStackButton");
    ASSERT_TRUE(shows(column, "rebaseLocalStackButton"));
    EXPECT_EQ(rebase->text(), QStringLiteral("Rebase Local Stack…"));
    EXPECT_EQ(rebase->toolTip(),
              QStringLiteral("PR #12 is open for review. Preview the rebase before rewriting "
                             "published history; the next push may require a force-push."));
    rebase->click();
    ASSERT_EQ(actions.count(), 2);
    ASSERT_TRUE(isAction<BookmarkAction::ReparentToTrunk>(actions, 1));
    EXPECT_FALSE(
        std::get<BookmarkAction::ReparentToTrunk>(actionAt(actions, 1).value).bypassPRGuard);

    input.kind = LaneKind::workingCopyStack;
    input.selectionColumnID = ColumnID::workingCopyStack("dev");
    input.workspaceName = "dev";
    input.pr.reset();
    column.setInput(input);
    QSignalSpy stacks(&column, &BookmarkColumn::rebaseLocalStacksRequested);
    EXPECT_EQ(rebase->text(), QStringLiteral("Rebase Local Stacks…"));
    EXPECT_TRUE(rebase->toolTip().isEmpty());
    rebase->click();
    EXPECT_EQ(stacks.count(), 1);
    EXPECT_EQ(actions.count(), 2);
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

    EXPECT_TRUE(shows(column, "trunkPinnedBox"));
    EXPECT_FALSE(shows(column, "columnHeader"));
    EXPECT_FALSE(shows(column, "mergedBanner"));
    EXPECT_FALSE(shows(column, "fetchedLabel"));
    EXPECT_EQ(column.commitModel()->rowCount(), 0);
    EXPECT_EQ(child<QLabel>(column, "pinnedMark")->text(), QStringLiteral("PINNED"));
    EXPECT_EQ(child<QLabel>(column, "pinnedRemoteSummary")->text(),
              QStringLiteral("origin/main@a1b2c3d4e5f6"));
    EXPECT_EQ(child<QLabel>(column, "trunkArrow")->text(), QStringLiteral("trunk"));

    auto* history = child<QPushButton>(column, "toggleTrunkHistoryButton");
    auto* advance = child<QPushButton>(column, "advanceTrunkButton");
    EXPECT_EQ(history->text(), QStringLiteral("Show Trunk History"));
    EXPECT_EQ(advance->text(), QStringLiteral("Rebase Local Stacks…"));
    QSignalSpy expands(&column, &BookmarkColumn::toggleExpandRequested);
    QSignalSpy advances(&column, &BookmarkColumn::advanceTrunkRequested);
    history->click();
    advance->click();
    EXPECT_EQ(expands.count(), 1);
    EXPECT_EQ(advances.count(), 1);

    input.isExpanded = true;
    input.ancestorCommits = makeCommits(10, 3);
    input.ancestorTotal = 10;
    input.fetchRelativeTime = "5 min ago";
    column.setInput(input);
    EXPECT_EQ(history->text(), QStringLiteral("Hide Trunk History"));
    EXPECT_EQ(column.commitModel()->rowCount(), 5);  // tip, three ancestors, "Load more"
    ASSERT_TRUE(shows(column, "fetchedLabel"));
    EXPECT_EQ(child<QLabel>(column, "fetchedLabel")->text(), QStringLiteral("fetched 5 min ago"));
}

TEST(BookmarkColumn, ContextMenuNamesTheCommitUnderThePointer) {
    BookmarkColumn column;
    column.setInput(bookmarkLane("feature", makeCommits(1, 2)));
    showColumn(column);
    QSignalSpy menus(&column, &BookmarkColumn::contextMenuRequested);

    QWidget* viewport = column.commitList()->viewport();
    const QPoint onCard = rowCenter(column, 1);
    QContextMenuEvent onCardEvent(QContextMenuEvent::Mouse, onCard, viewport->mapToGlobal(onCard));
    QCoreApplication::sendEvent(viewport, &onCardEvent);
    ASSERT_EQ(menus.count(), 1);
    EXPECT_EQ(menus[0][0].toPoint(), viewport->mapToGlobal(onCard));
    EXPECT_EQ(menus[0][1].value<std::optional<std::string>>(),
              std::optional<std::string>(columntest::changeIDFor(2)));

    auto* header = child<QWidget>(column, "columnHeader");
    const QPoint onHeader = header->rect().center();
    QContextMenuEvent onHeaderEvent(QContextMenuEvent::Mouse, onHeader,
                                    header->mapToGlobal(onHeader));
    QCoreApplication::sendEvent(header, &onHeaderEvent);
    ASSERT_EQ(menus.count(), 2);
    EXPECT_EQ(menus[1][1].value<std::optional<std::string>>(), std::nullopt);
}

TEST(BookmarkColumn, LaneOfFiveThousandCommitsBuildsAndPaints) {
    auto commits = makeCommits(1, 5000);
    BookmarkColumnInput input = bookmarkLane("big", commits);
    input.selectedChangeIDs = {commits[2]->changeID};
    input.isSelected = true;
    BookmarkColumn column;
    column.setInput(input);
    ASSERT_EQ(column.commitModel()->rowCount(), 5000);
    column.resize(column.width(), 900);
    const QPixmap picture = column.grab();
    EXPECT_FALSE(picture.isNull());
    EXPECT_EQ(picture.width(), column.width());

    // The next snapshot with the same lane keeps every row.
    QSignalSpy resets(column.commitModel(), &QAbstractItemModel::modelReset);
    QSignalSpy inserts(column.commitModel(), &QAbstractItemModel::rowsInserted);
    BookmarkColumnInput again = bookmarkLane("big", makeCommits(1, 5000));
    again.selectedChangeIDs = input.selectedChangeIDs;
    again.isSelected = true;
    column.setInput(again);
    EXPECT_EQ(resets.count(), 0);
    EXPECT_EQ(inserts.count(), 0);
    EXPECT_EQ(column.commitModel()->rowCount(), 5000);
    column.commitList()->scrollToBottom();
    EXPECT_FALSE(column.grab().isNull());
}

}  // namespace
}  // namespace vorda
