// The hidden bookmarks panel in a real window on real repositories, driven
// through its own search field, rows, pin controls and keys; and its pure
// rules as one table. The panel's picture goes to the build folder's
// test-output/screenshots.
#include <QLabel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QSettings>
#include <QTest>

#include <gtest/gtest.h>

#include "app/column/ColumnResizeHandle.h"
#include "app/hidden/HiddenBookmarksColumn.h"
#include "app/hidden/HiddenPanelRows.h"
#include "app/hidden/HiddenRowDelegate.h"
#include "app/hidden/HiddenRowsModel.h"
#include "app/hidden/HiddenRowsView.h"
#include "app/start/ColorScheme.h"
#include "sheets/SheetWindowTest.h"
#include "support/LogCapture.h"

namespace vorda::testing {
namespace {

using Names = std::vector<std::string>;

class HiddenPanelTest : public SheetWindowTest {
  protected:
    HiddenBookmarksColumn* panel() const { return window_->findChild<HiddenBookmarksColumn*>(); }
    HiddenRowsView* rows() const { return panel()->rowsView(); }

    /// The name each row shows, notes included, top to bottom.
    Names rowNames() const {
        Names names;
        const auto* model = panel()->rowsModel();
        for (int row = 0; row < model->rowCount(); ++row) {
            const QModelIndex index = model->index(row);
            const bool isCommit =
                model->row(row).entry.kind == hiddenpanel::PanelEntry::Kind::commit;
            names.push_back((isCommit ? "  " : "") +
                            index.data(HiddenRowsModel::NameRole).toString().toStdString());
        }
        return names;
    }

    QModelIndex rowOf(const std::string& name) const {
        const auto names = rowNames();
        const auto found = std::find(names.begin(), names.end(), name);
        return found == names.end()
                   ? QModelIndex()
                   : panel()->rowsModel()->index(static_cast<int>(found - names.begin()));
    }

    /// Waits for the panel to list `expected` (rows as `rowNames` gives them).
    void expectRows(const Names& expected) const {
        settles([&] { return panel() != nullptr && rowNames() == expected; });
        ASSERT_NE(panel(), nullptr);
        EXPECT_EQ(rowNames(), expected);
    }

    /// Clicks the pin control of the row named `name`, once it is listed.
    void clickPin(const std::string& name) const {
        ASSERT_TRUE(settles([&] { return rowOf(name).isValid(); })) << name;
        const QModelIndex index = rowOf(name);
        rows()->scrollTo(index);
        const QRect pin =
            HiddenRowDelegate::pinRect(rows()->visualRect(index), index, rows()->font());
        QTest::mouseClick(rows()->viewport(), Qt::LeftButton, {}, pin.center());
    }

    bool isRendered(const std::string& identity) const {
        const auto& rendered = window_->contentView()->renderedSlots();
        return std::any_of(rendered.begin(), rendered.end(),
                           [&](const BoardSlot& slot) { return slot.identity() == identity; });
    }

    void search(const QString& text) const {
        panel()->searchField()->clear();
        QTest::keyClicks(panel()->searchField(), text);
    }

    /// A commit of its own on the root, authored and committed at `date`,
    /// carrying `bookmarks`.
    void commitAt(const std::string& date, const std::string& message,
                  const Names& bookmarks) const {
        repo_.jj({"--config", "debug.commit-timestamp=" + date, "new", "root()", "-m", message});
        if (bookmarks.empty()) {
            return;
        }
        Names create{"bookmark", "create"};
        create.insert(create.end(), bookmarks.begin(), bookmarks.end());
        create.insert(create.end(), {"-r", "@"});
        repo_.jj(create);
    }

    static Names numbered(const std::string& prefix, int count) {
        Names names;
        for (int number = 0; number < count; ++number) {
            names.push_back(prefix + (number < 10 ? "0" : "") + std::to_string(number));
        }
        return names;
    }
};

TEST_F(HiddenPanelTest, ListsManyBookmarksInBoardOrderAndNarrowsByName) {
    // Four commits a month apart; the newer a commit, the later its names
    // sort, so the order by time differs from the order by name. Two
    // bookmarks on the newest commit are published, and so sort last.
    repo_.addOrigin();
    commitAt("2024-01-10T09:00:00Z", "january", numbered("a-", 37));
    commitAt("2024-02-10T09:00:00Z", "february", numbered("b-", 37));
    commitAt("2024-03-10T09:00:00Z", "march", numbered("c-", 37));
    commitAt("2024-04-10T09:00:00Z", "april", numbered("d-", 37));
    repo_.jj({"bookmark", "create", "aa-published", "ab-published", "-r", "@"});
    repo_.push("aa-published");
    repo_.push("ab-published");
    // A remote bookmark nobody tracks (its commit is immutable, so it stands
    // apart), and loose work no bookmark owns.
    commitAt("2024-05-10T09:00:00Z", "remote work", {"remote-only"});
    repo_.push("remote-only");
    repo_.jj({"bookmark", "forget", "remote-only"});
    repo_.jj({"new", "root()", "-m", "loose work"});
    repo_.jj({"new", "root()"});
    openWindow();
    ASSERT_TRUE(settles([&] { return panel() != nullptr && !rowNames().empty(); }));

    Names expected;
    for (const char* prefix : {"d-", "c-", "b-", "a-"}) {
        const auto names = numbered(prefix, 37);
        expected.insert(expected.end(), names.begin(), names.end());
    }
    expected.insert(expected.end(), {"aa-published", "ab-published"});
    ASSERT_EQ(board().hiddenOneOffLanes().size(), 1U);
    expected.push_back(board().hiddenOneOffLanes().front().displayName());
    expected.push_back("remote-only");
    EXPECT_EQ(rowNames(), expected);
    EXPECT_EQ(panel()->countText().toStdString(), "152");
    rows()->scrollToBottom();
    save(panel(), "hidden-panel-end");

    // A plain filter narrows by name; the count says how far.
    search(QStringLiteral("c-1"));
    ASSERT_TRUE(settles([&] { return rowNames().size() == 10; }));
    Names teens;
    for (int number = 10; number < 20; ++number) {
        teens.push_back("c-" + std::to_string(number));
    }
    EXPECT_EQ(rowNames(), teens);
    EXPECT_EQ(panel()->countText().toStdString(), "10 of 152");
    window_->resize(1600, 1000);
    save(window_, "hidden-panel");

    search(QStringLiteral("nothing-like-this"));
    ASSERT_TRUE(settles([&] { return rowNames().empty(); }));
    EXPECT_EQ(panel()->emptyText().toStdString(), "No matches");
    EXPECT_EQ(panel()->countText().toStdString(), "0 of 152");

    // "Show" opens the one-off on the board; "Track" tracks and pins.
    search(QString());
    const auto oneOff = board().hiddenOneOffLanes().front();
    clickPin(oneOff.displayName());
    ASSERT_TRUE(settles([&] { return isRendered("oneoff:" + oneOff.id()); }));
    clickPin("remote-only");
    ASSERT_TRUE(settles([&] { return isRendered("remote-only"); }));
    EXPECT_TRUE(board().isPinned("remote-only"));
    EXPECT_TRUE(repo_.bookmarkTarget("remote-only").has_value());
    expectRows(Names(expected.begin(), expected.end() - 2));
}

TEST_F(HiddenPanelTest, RevsetSearchFindsABookmarkThatThePinControlPutsOnTheBoard) {
    commitAt("2024-01-10T09:00:00Z", "marker: the one to find", {"wanted"});
    commitAt("2024-02-10T09:00:00Z", "marker: already shown", {"shown"});
    commitAt("2024-03-10T09:00:00Z", "unrelated", {"other"});
    repo_.jj({"new", "root()"});
    openWindow();
    viewModel().send(RepoCommand::TogglePinned{"shown"});
    settled();
    expectRows({"other", "wanted"});

    search(QStringLiteral("description(substring:marker)"));
    ASSERT_TRUE(
        settles([&] { return panel()->emptyText().toStdString() == "Evaluating revset…"; }));
    EXPECT_TRUE(rowNames().empty());
    ASSERT_TRUE(settles([&] { return !rowNames().empty(); }));
    // The pinned match is not hidden, and its row says why.
    EXPECT_EQ(rowNames(), (Names{"wanted", "shown"}));
    EXPECT_EQ(rowOf("shown").data().toString(),
              QStringLiteral("This bookmark isn't hidden — it's pinned on the board."));
    EXPECT_EQ(panel()->countText().toStdString(), "1 of 2");
    save(panel(), "hidden-panel-revset");

    // The pin control pins it: the board model and the rendered row agree.
    clickPin("wanted");
    ASSERT_TRUE(settles([&] { return board().isPinned("wanted"); }));
    ASSERT_TRUE(settles([&] { return isRendered("wanted"); }));
    expectRows({"shown", "wanted"});

    // An invalid revset says so, and leaves the panel's state as it was.
    search(QString());
    ASSERT_TRUE(settles([&] { return rowOf("other").isValid(); }));
    QTest::mouseClick(rows()->viewport(), Qt::LeftButton, {},
                      rows()->visualRect(rowOf("other")).center());
    const auto& state = viewModel().hiddenPanel();
    ASSERT_EQ(state.hiddenPanelExpanded(), "other");
    const auto cursor = state.hiddenPanelCursor();
    search(QStringLiteral("description("));
    ASSERT_TRUE(settles([&] { return panel()->emptyText().toStdString() == "Invalid revset"; }));
    EXPECT_EQ(state.hiddenPanelExpanded(), "other");
    EXPECT_EQ(state.hiddenPanelCursor(), cursor);
    EXPECT_EQ(state.hiddenPanelSearch(), "description(");
}

TEST_F(HiddenPanelTest, KeyboardOpensRowsSelectsCommitsAndRenamesInPlace) {
    commitAt("2024-01-10T09:00:00Z", "first of two", {});
    repo_.jj(
        {"--config", "debug.commit-timestamp=2024-01-11T09:00:00Z", "new", "-m", "second of two"});
    repo_.jj({"bookmark", "create", "pair", "-r", "@"});
    commitAt("2024-03-10T09:00:00Z", "single", {"single"});
    repo_.jj({"new", "root()"});
    openWindow();
    expectRows({"single", "pair"});
    const LogCapture log;
    rows()->setFocus();

    QTest::keyClick(rows(), Qt::Key_Down);
    QTest::keyClick(rows(), Qt::Key_Down);
    QTest::keyClick(rows(), Qt::Key_Return);
    expectRows({"single", "pair", "  pair", "  pair"});
    EXPECT_TRUE(log.contains("[hidden-panel] cursor bookmark(pair)\n"));
    EXPECT_TRUE(log.contains("[hidden-panel] expand pair\n"));

    // Down onto a commit selects it in the hidden column; shift extends.
    const Names pair{repo_.changeID("pair"), repo_.changeID("pair-")};
    QTest::keyClick(rows(), Qt::Key_Down);
    ASSERT_TRUE(settles([&] { return !window_->selection()->selectedCommitIDs().empty(); }));
    EXPECT_EQ(window_->selection()->selectionColumn(), ColumnID::hidden());
    EXPECT_EQ(window_->selection()->selectedCommitIDs(), Names{pair.front()});
    QTest::keyClick(rows(), Qt::Key_Down, Qt::ShiftModifier);
    EXPECT_EQ(window_->selection()->selectedCommitIDs(), pair);
    save(panel(), "hidden-panel-keyboard");
    window_->setPalette(colorscheme::darkPalette());
    save(panel(), "hidden-panel-keyboard-dark");
    window_->setPalette(QPalette());

    // Rename in place: the same name is a no-op, a new one renames.
    QTest::keyClick(rows(), Qt::Key_Up);
    QTest::keyClick(rows(), Qt::Key_Up);
    QTest::keyClick(rows(), Qt::Key_F2);
    auto* editor = panel()->findChild<QLineEdit*>(QStringLiteral("hidden-rename"));
    ASSERT_TRUE(settles([&] { return visible(editor); }));
    QTest::keyClick(editor, Qt::Key_Return);
    EXPECT_TRUE(log.contains("[hidden-panel] rename begin pair\n"));
    EXPECT_TRUE(log.contains("[hidden-panel] rename no-op pair\n"));
    EXPECT_EQ(viewModel().hiddenPanel().hiddenPanelExpanded(), "pair")
        << "return stays in the field";
    QTest::keyClick(rows(), Qt::Key_F2);
    ASSERT_TRUE(settles([&] { return visible(editor); }));
    QTest::keyClicks(editor, QStringLiteral("couple"));
    save(panel(), "hidden-panel-rename");
    QTest::keyClick(editor, Qt::Key_Return);
    ASSERT_TRUE(settles([&] { return repo_.bookmarkTarget("couple").has_value(); }));
    EXPECT_TRUE(log.contains("[hidden-panel] rename commit pair -> couple\n"));
    ASSERT_TRUE(settles([&] { return rowNames().front() == "single"; }));

    // A cursor whose row has gone moves no further.
    viewModel().hiddenPanel().setHiddenPanelCursor(HiddenPanelRow::bookmark("single"));
    viewModel().send(RepoCommand::TogglePinned{"single"});
    ASSERT_TRUE(settles([&] { return !rowOf("single").isValid(); }));
    QTest::keyClick(rows(), Qt::Key_Down);
    EXPECT_EQ(viewModel().hiddenPanel().hiddenPanelCursor(), HiddenPanelRow::bookmark("single"));
}

TEST_F(HiddenPanelTest, TrailingHandleResizesThePanelAndTheWidthIsKept) {
    const QString key = QStringLiteral("vorda.columnWidth.hidden");
    QSettings().remove(key);
    commitAt("2024-01-10T09:00:00Z", "work", {"hidden-one"});
    repo_.jj({"new", "root()"});
    openWindow();
    expectRows({"hidden-one"});
    EXPECT_EQ(panel()->width(), 320);
    auto* handle = panel()->findChild<ColumnResizeHandle*>();
    for (const auto& [type, globalX] : {std::pair{QEvent::MouseButtonPress, 500.0},
                                        {QEvent::MouseMove, 560.0},
                                        {QEvent::MouseButtonRelease, 560.0}}) {
        QMouseEvent event(type, QPointF(2, 10), QPointF(globalX, 300), Qt::LeftButton,
                          type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton,
                          Qt::NoModifier);
        QCoreApplication::sendEvent(handle, &event);
    }
    EXPECT_EQ(panel()->width(), 380);
    EXPECT_EQ(QSettings().value(key).toDouble(), 380);
    QSettings().remove(key);
}

TEST(HiddenPanelRules, SearchStatusAndLabels) {
    using hiddenpanel::ItemKind;
    for (const auto& [text, revset] :
         std::vector<std::pair<std::string, std::optional<std::string>>>{{"mine()", "mine()"},
                                                                         {"  ::@ ", "::@"},
                                                                         {"main..@", "main..@"},
                                                                         {"fix", std::nullopt},
                                                                         {"feat/x.y", std::nullopt},
                                                                         {"", std::nullopt}}) {
        EXPECT_EQ(hiddenpanel::revsetQuery(text), revset) << text;
    }
    for (const auto& [placement, status] :
         std::vector<std::pair<hiddenpanel::BoardPlacement, std::string>>{
             {{true, false, false, false}, "trunk"},
             {{false, true, true, false}, "included · pinned"},
             {{true, true, true, true}, "trunk · included · pinned · column visible"},
             {{false, false, false, false}, "on board"}}) {
        EXPECT_EQ(hiddenpanel::boardStatus(placement), status);
    }
    EXPECT_EQ(hiddenpanel::chipHelp(ItemKind::oneOff, "one-off/abcdefgh"),
              "one-off/abcdefgh · virtual bookmark for an unowned commit stack");
    EXPECT_EQ(hiddenpanel::chipHelp(ItemKind::untrackedRemote, "x"),
              "x · untracked — track it to work with it locally");
    EXPECT_EQ(hiddenpanel::pinHelp(ItemKind::oneOff, "o"), "Show o on the board");
    EXPECT_EQ(hiddenpanel::pinHelp(ItemKind::untrackedRemote, "r"),
              "Track r and pin it to the board");
    EXPECT_EQ(hiddenpanel::pinHelp(ItemKind::bookmark, "b"), "Pin b to the board");
    EXPECT_EQ(hiddenpanel::summaryLabel("\nbody only"), "(no description set)");
    EXPECT_EQ(hiddenpanel::emptyListLabel({"", std::nullopt, false}), "No hidden bookmarks");
    EXPECT_EQ(hiddenpanel::emptyListLabel({"mine()", std::set<std::string>{}, false}),
              "No matches");
}

}  // namespace
}  // namespace vorda::testing
