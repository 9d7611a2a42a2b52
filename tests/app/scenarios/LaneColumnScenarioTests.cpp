// A lane's own gestures on a real repository through a real window: the card
// menu, the diff button, the file lists, "Load more", routes, the renames in
// place and the close control, each checked against what jj (or the settings
// file) holds afterwards.
#include <QApplication>
#include <QCheckBox>
#include <QContextMenuEvent>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPainter>
#include <QTimer>
#include <QToolButton>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "MenuText.h"
#include "app/column/CommitCardDelegate.h"
#include "app/column/CommitCardFiles.h"
#include "app/column/CommitListModel.h"
#include "app/column/CommitListView.h"
#include "app/column/InlineRenameField.h"
#include "app/sheets/CommitSheets.h"
#include "sheets/SheetWindowTest.h"
#include "support/RepoPicture.h"

namespace vorda {
namespace {

using testing::settles;
using testing::visible;
using Lines = std::vector<std::string>;

class LaneColumnScenario : public testing::SheetWindowTest {
  protected:
    BookmarkColumn* lane(const std::string& identity) const {
        return window_->contentView()->laneColumn(identity);
    }

    template <typename Widget>
    static Widget* part(const BookmarkColumn* column, const char* name) {
        return column->findChild<Widget*>(QString::fromLatin1(name));
    }

    static QPoint rowCenter(const BookmarkColumn* column, int row) {
        return column->commitList()->visualRect(column->commitModel()->index(row)).center();
    }

    /// Right-clicks `point` of the lane's list, runs `inside` on the menu
    /// that opens and closes it; answers the menu's lines.
    Lines contextMenu(const BookmarkColumn* column, QPoint point,
                      const std::function<void(QMenu&)>& inside) const {
        Lines lines;
        QTimer::singleShot(0, [&] {
            auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
            if (menu == nullptr) {
                return;
            }
            lines = apptest::menuLines(*menu);
            inside(*menu);
            menu->close();
        });
        QWidget* viewport = column->commitList()->viewport();
        QContextMenuEvent click(QContextMenuEvent::Mouse, point, viewport->mapToGlobal(point));
        QApplication::sendEvent(viewport, &click);
        return lines;
    }

    /// The window with `menu` drawn where it opened: at `point` of `widget`.
    void saveWithMenu(QMenu& menu, const QWidget* widget, QPoint point,
                      const std::string& name) const {
        QPixmap picture = window_->grab();
        QPainter painter(&picture);
        painter.drawPixmap(widget->mapTo(window_, point), menu.grab());
        painter.end();
        const QString folder = QStringLiteral(VORDA_TEST_OUTPUT_DIR "/screenshots");
        EXPECT_TRUE(picture.save(folder + "/" + QString::fromStdString(name) + ".png"));
    }

    std::string settingsFile() const {
        std::ifstream file(repo_.root() + "/.jj/repo/Vorda-settings.json");
        std::stringstream text;
        text << file.rdbuf();
        return text.str();
    }
};

TEST_F(LaneColumnScenario, CardMenuDiffButtonFileListsAndLoadMore) {
    // A trunk of 34 commits: more history than one page of 30.
    std::string trunk = "origin\nC0 <- root \"c0\"\n";
    for (int number = 1; number <= 33; ++number) {
        trunk += "C" + std::to_string(number) + " <- C" + std::to_string(number - 1) + " \"c" +
                 std::to_string(number) + "\"" + (number == 33 ? " [main]\n" : "\n");
    }
    repo_.draw(trunk + "push main\n");
    repo_.draw(R"(
      A1 <- C33 "alpha base" a.txt="1\n2\n"
      A2 <- A1 "alpha work" b.txt="x\n" [alpha]
      @ <- C33
    )");
    ASSERT_NO_FATAL_FAILURE(openWindow());
    ASSERT_NO_FATAL_FAILURE(pinAndSelect("alpha"));
    BookmarkColumn* alpha = lane("alpha");

    // The card's menu opens the describe sheet.
    const Lines entries = contextMenu(alpha, rowCenter(alpha, 0), [&](QMenu& menu) {
        saveWithMenu(menu, alpha->commitList()->viewport(), rowCenter(alpha, 0),
                     "card-context-menu");
        apptest::findEntry(menu, QStringLiteral("Describe…"))->trigger();
    });
    EXPECT_EQ(entries, (Lines{"Describe…", "Split…", "-", "Abandon Commit"}));
    auto* describe = openedSheet<DescribeCommitSheet>();
    ASSERT_NE(describe, nullptr);
    EXPECT_TRUE(
        describe->windowTitle().contains(QString::fromStdString(repo_.id("A2").substr(0, 12))));
    describe->reject();

    // Abandoning the lower commit asks first; its child moves onto trunk.
    contextMenu(alpha, rowCenter(alpha, 1), [](QMenu& menu) {
        apptest::findEntry(menu, QStringLiteral("Abandon Commit"))->trigger();
    });
    QMessageBox* question = nullptr;
    ASSERT_TRUE(settles([&] {
        question = window_->findChild<QMessageBox*>(QStringLiteral("confirmation"));
        return visible(question);
    }));
    const auto buttons = question->buttons();
    const auto confirm = std::find_if(buttons.begin(), buttons.end(), [](auto* button) {
        return button->text() == QStringLiteral("Confirm");
    });
    ASSERT_NE(confirm, buttons.end());
    (*confirm)->click();
    ASSERT_NO_FATAL_FAILURE(settled());
    ASSERT_TRUE(settles([&] { return alpha->commitModel()->rowCount() == 1; }));
    EXPECT_EQ(repo_.parents("A2"), Lines{"C33"});
    EXPECT_EQ(
        repo_.jj({"log", "--no-graph", "-r", "all()", "-T", "description"}).find("alpha base"),
        std::string::npos);

    // The lane's diff button opens the diff column right behind it, and
    // closes it again.
    QTest::mouseClick(part<QPushButton>(alpha, "columnDiffButton"), Qt::LeftButton);
    ASSERT_TRUE(settles([&] { return alpha->input().isDiffShown; }));
    const auto& shown = window_->contentView()->renderedSlots();
    const auto at = std::find_if(shown.begin(), shown.end(),
                                 [](const BoardSlot& slot) { return slot.identity() == "alpha"; });
    ASSERT_NE(at, shown.end());
    ASSERT_NE(std::next(at), shown.end());
    EXPECT_EQ(std::next(at)->identity(), "diff");
    EXPECT_EQ(part<QPushButton>(alpha, "columnDiffButton")->text(), QStringLiteral("Hide Diff"));
    QTest::mouseClick(part<QPushButton>(alpha, "columnDiffButton"), Qt::LeftButton);
    ASSERT_TRUE(settles([&] { return !alpha->input().isDiffShown; }));
    EXPECT_FALSE(window_->selection()->isDiffVisible());

    // File lists: the card loads its files and grows by them.
    const int plainHeight =
        alpha->commitList()->visualRect(alpha->commitModel()->index(0)).height();
    QTest::mouseClick(part<QToolButton>(alpha, "fileListsButton"), Qt::LeftButton);
    EXPECT_EQ(part<QToolButton>(alpha, "fileListsButton")->toolTip(),
              QStringLiteral("Hide per-commit file lists"));
    ASSERT_TRUE(settles([&] { return alpha->commitModel()->commitFiles(0) != nullptr; }));
    const auto& files = *alpha->commitModel()->commitFiles(0);
    ASSERT_EQ(files.size(), 1U);
    EXPECT_EQ(std::tuple(files[0].path, files[0].status, cardfiles::lineCounts(files[0])),
              std::tuple(std::string("b.txt"), std::string("A"), QStringLiteral("+1 −0")));
    ASSERT_TRUE(settles([&] {
        return alpha->commitList()->visualRect(alpha->commitModel()->index(0)).height() >
               plainHeight;
    }));
    save(window_, "column-files");

    // Trunk history pages by 30 behind "Load more", until all is there.
    BookmarkColumn* trunkLane = lane("trunk");
    ASSERT_NE(trunkLane, nullptr);
    QTest::mouseClick(part<QAbstractButton>(trunkLane, "toggleTrunkHistoryButton"), Qt::LeftButton);
    CommitListModel* rows = trunkLane->commitModel();
    const auto lastKind = [rows] {
        return rows->row(rows->rowCount() - 1).kind;
    };
    // C33 down to C3, the 30 under the tip each listed once whether or not
    // the lane counts it as its own, then "Load more".
    ASSERT_TRUE(settles([&] { return rows->rowCount() == 32; }));
    EXPECT_EQ(lastKind(), CommitListModel::RowKind::loadMore);
    trunkLane->commitList()->scrollToBottom();
    QTest::mouseClick(trunkLane->commitList()->viewport(), Qt::LeftButton, Qt::NoModifier,
                      rowCenter(trunkLane, rows->rowCount() - 1));
    ASSERT_TRUE(settles([&] { return rows->rowCount() == 34; }));  // C33 to C0, each once
    EXPECT_EQ(lastKind(), CommitListModel::RowKind::ancestor);
}

TEST_F(LaneColumnScenario, RoutesRenamesInPlaceAndTheCloseControl) {
    repo_.draw(testing::publishedTrunk);
    repo_.draw(R"(
      A1 <- T "alpha base" a.txt=1
      A2 <- A1 "alpha work" b.txt=1 [alpha marker]
      B <- T "beta work" c.txt=1 [beta]
      O <- T "one-off work" o.txt=1
      @ <- T
    )");
    ASSERT_NO_FATAL_FAILURE(openWindow());
    ASSERT_NO_FATAL_FAILURE(pinAndSelect("alpha"));
    BookmarkColumn* alpha = lane("alpha");
    const auto rules = [&] {
        return board().lanePresentation("alpha").routingRules;
    };

    // A route is added, typed through a snapshot that lands mid-edit, and
    // stored; then disabled, and removed.
    QTest::mouseClick(part<QToolButton>(alpha, "addRouteButton"), Qt::LeftButton);
    ASSERT_TRUE(settles([&] { return rules().size() == 1; }));
    QLineEdit* pattern = nullptr;
    ASSERT_TRUE(settles([&] { return visible(pattern = part<QLineEdit>(alpha, "routePattern")); }));
    EXPECT_EQ(pattern->placeholderText(), QStringLiteral("src/auth/**"));
    QTest::keyClicks(pattern, QStringLiteral(" src/auth/** "));
    viewModel().send(RepoCommand::ToggleTag{"busy", "alpha"});
    ASSERT_NO_FATAL_FAILURE(settled());
    EXPECT_EQ(pattern->text(), QStringLiteral(" src/auth/** "));
    save(window_, "column-routes");
    QTest::keyClick(pattern, Qt::Key_Return);
    ASSERT_TRUE(
        settles([&] { return rules().size() == 1 && rules()[0].pattern == "src/auth/**"; }));
    EXPECT_NE(settingsFile().find("src/auth/**"), std::string::npos);
    auto* enabled = part<QCheckBox>(alpha, "routeEnabled");
    EXPECT_EQ(enabled->toolTip(), QStringLiteral("Enabled"));
    QTest::mouseClick(enabled, Qt::LeftButton);
    ASSERT_TRUE(settles([&] { return !rules()[0].enabled && enabled->toolTip() == "Disabled"; }));
    QTest::mouseClick(part<QToolButton>(alpha, "removeRouteButton"), Qt::LeftButton);
    ASSERT_TRUE(settles([&] { return rules().empty(); }));
    EXPECT_EQ(settingsFile().find("src/auth/**"), std::string::npos);

    // Another bookmark's chip beside a card renames it in place.
    const QModelIndex tip = alpha->commitModel()->index(0);
    const auto chips = alpha->commitModel()->chips(0);
    const auto marker = std::find_if(chips.begin(), chips.end(),
                                     [](const CardChip& each) { return each.text == "marker"; });
    ASSERT_NE(marker, chips.end());
    auto* delegate = qobject_cast<CommitCardDelegate*>(alpha->commitList()->itemDelegate());
    const auto chip = delegate->chipRect(alpha->commitList()->optionFor(tip), tip, *marker);
    ASSERT_TRUE(chip.has_value());
    contextMenu(alpha, chip->center(), [](QMenu& menu) {
        apptest::findEntry(menu, QStringLiteral("Rename Bookmark"))->trigger();
    });
    auto* tipField = alpha->findChild<InlineRenameField*>(QStringLiteral("inlineTipRenameField"));
    ASSERT_TRUE(settles([&] { return visible(tipField); }));
    QTest::keyClicks(tipField, QStringLiteral("milestone"));
    QTest::keyClick(tipField, Qt::Key_Return);
    ASSERT_NO_FATAL_FAILURE(settled());
    EXPECT_EQ(repo_.bookmarkTarget("milestone"), "A2");
    EXPECT_EQ(repo_.bookmarkTarget("marker"), std::nullopt);

    // The title renames in place: Escape leaves it, Return renames.
    auto* title = part<QWidget>(alpha, "columnTitle");
    auto* field = part<InlineRenameField>(alpha, "renameField");
    QTest::mouseDClick(title, Qt::LeftButton);
    ASSERT_TRUE(visible(field));
    EXPECT_EQ(field->text(), QStringLiteral("alpha"));
    QTest::keyClicks(field, QStringLiteral("ignored"));
    QTest::keyClick(field, Qt::Key_Escape);
    EXPECT_TRUE(!visible(field) && visible(title));
    QTest::mouseDClick(title, Qt::LeftButton);
    QTest::keyClicks(field, QStringLiteral("  alpha-renamed "));
    save(window_, "column-rename");
    QTest::keyClick(field, Qt::Key_Return);
    ASSERT_NO_FATAL_FAILURE(settled());
    EXPECT_EQ(repo_.bookmarkTarget("alpha-renamed"), "A2");
    EXPECT_EQ(repo_.bookmarkTarget("alpha"), std::nullopt);
    EXPECT_EQ(repo_.bookmarkTarget("ignored"), std::nullopt);

    // Closing: a one-off lane folds back, a bookmark's column leaves the
    // board and stays a bookmark.
    viewModel().board().toggleOneOffLaneExpanded(repo_.id("O"));
    const std::string oneOff = "oneoff:" + repo_.id("O");
    ASSERT_TRUE(settles([&] { return lane(oneOff) != nullptr; }));
    QTest::mouseClick(part<QToolButton>(lane(oneOff), "closeColumnButton"), Qt::LeftButton);
    ASSERT_TRUE(settles([&] { return lane(oneOff) == nullptr; }));
    viewModel().send(RepoCommand::TogglePinned{"beta"});
    ASSERT_TRUE(settles([&] { return lane("beta") != nullptr; }));
    QTest::mouseClick(part<QToolButton>(lane("beta"), "closeColumnButton"), Qt::LeftButton);
    ASSERT_TRUE(settles([&] { return lane("beta") == nullptr; }));
    EXPECT_FALSE(board().isPinned("beta") || board().isBookmarkColumnVisible("beta"));
    EXPECT_EQ(repo_.bookmarkTarget("beta"), "B");
}

}  // namespace
}  // namespace vorda
