#include "app/launcher/LauncherWindow.h"

#include <QLabel>
#include <QListWidget>
#include <QMenu>
#include <QPushButton>
#include <QSignalSpy>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "MenuText.h"
#include "app/launcher/LauncherWindowController.h"
#include "app/launcher/OpenRecentMenu.h"
#include "app/launcher/OpenRepoCommand.h"
#include "app/launcher/RecentRepoDelegate.h"
#include "app/start/StartTestSupport.h"
#include "support/LogCapture.h"

namespace vorda {
namespace {

using apptest::findEntry;
using apptest::menuLines;
using testing::LogCapture;
using testing::RecordingFactory;
using testing::StartEnvironment;

using Lines = std::vector<std::string>;

TEST(LauncherWindowController, ShowsAndHidesItsWindowWheneverItComes) {
    const LogCapture log;
    LauncherWindowController controller;
    QWidget window;
    window.show();
    controller.registerWindow(&window);
    EXPECT_FALSE(window.isVisible());
    EXPECT_FALSE(controller.isVisible());
    EXPECT_TRUE(log.contains("[launcher] controller.register window=QWidget("));
    EXPECT_TRUE(log.contains(" isVisible=false\n"));

    const QSignalSpy spy(&controller, &LauncherWindowController::isVisibleChanged);
    controller.show();
    EXPECT_TRUE(window.isVisible());
    EXPECT_TRUE(controller.isVisible());
    controller.show();
    EXPECT_EQ(spy.count(), 1);
    controller.hide();
    EXPECT_FALSE(window.isVisible());
    EXPECT_FALSE(controller.isVisible());
    EXPECT_TRUE(log.contains("[launcher] controller.hide window=QWidget("));

    // Shown before its window exists: the window shows when it comes.
    LauncherWindowController early;
    early.hide();
    early.show();
    EXPECT_TRUE(early.isVisible());
    EXPECT_TRUE(log.contains("[launcher] controller.hide window=nil\n"));
    EXPECT_TRUE(log.contains("[launcher] controller.show window=nil\n"));
    QWidget late;
    early.registerWindow(&late);
    EXPECT_TRUE(late.isVisible());
}

class LauncherTest : public ::testing::Test {
  protected:
    LauncherTest() { env_.launcher.registerWindow(&window_); }

    // Folders "a" and "b" in the recent list, "b" first.
    std::pair<QString, QString> recordTwo() {
        const QString a = env_.makeFolder("a");
        const QString b = env_.makeFolder("b");
        env_.recents.record(a);
        env_.recents.record(b);
        return {a, b};
    }

    StartEnvironment env_;
    RecordingFactory factory_;
    RepoWindowRegistry registry_{factory_.factory(), env_.recents, env_.launcher, env_.settings};
    LauncherWindow window_{registry_};
};

TEST_F(LauncherTest, ItShowsTheIdentityAndTheEmptyListAndClosingOnlyHidesIt) {
    EXPECT_EQ(window_.windowTitle(), QStringLiteral("Vorda"));
    const std::pair<const char*, QString> labels[] = {
        {"launcherName", "Vorda"},
        {"launcherSubtitle", "Bookmark-centric jj client"},
        {"recentHeading", "Recent"},
        {"emptyTitle", "No recent repos."},
        {"emptyHint", "Open a directory containing a `.jj/` folder to get started."}};
    for (const auto& [name, text] : labels) {
        const auto* label = window_.findChild<QLabel*>(QLatin1String(name));
        ASSERT_NE(label, nullptr) << name;
        EXPECT_EQ(label->text(), text) << name;
    }
    const auto* button = window_.findChild<QPushButton*>(QStringLiteral("openRepoButton"));
    ASSERT_NE(button, nullptr);
    EXPECT_EQ(button->text(), QStringLiteral("Open Repo\u2026"));
    const auto* icon = window_.findChild<QLabel*>(QStringLiteral("launcherIcon"));
    ASSERT_NE(icon, nullptr);
    EXPECT_FALSE(icon->pixmap().isNull());
    EXPECT_TRUE(window_.isShowingEmptyState());

    const QSignalSpy closed(&window_, &LauncherWindow::closeRequested);
    env_.launcher.show();
    window_.close();
    EXPECT_EQ(closed.count(), 1);
    EXPECT_FALSE(window_.isVisible());
    EXPECT_FALSE(window_.testAttribute(Qt::WA_DeleteOnClose));
}

TEST_F(LauncherTest, RowsAreReadWhenShownMarkMissingPathsAndOpenOrGoFromTheirMenus) {
    const auto [a, b] = recordTwo();
    const QString gone = b + QStringLiteral("/gone");
    env_.recents.record(gone);
    EXPECT_TRUE(window_.isShowingEmptyState());
    const LogCapture log;
    env_.launcher.show();
    EXPECT_TRUE(log.contains("[launcher] LauncherView.task(id:) fired isVisible=true\n"));
    EXPECT_FALSE(window_.isShowingEmptyState());
    QListWidget* list = window_.recentList();
    ASSERT_EQ(list->count(), 3);
    EXPECT_EQ(list->item(0)->text(), gone);
    EXPECT_TRUE(list->item(0)->data(RecentRepoDelegate::missingRole).toBool());
    EXPECT_EQ(list->item(1)->text(), b);
    EXPECT_FALSE(list->item(1)->data(RecentRepoDelegate::missingRole).toBool());
    // The rows paint without trouble, "missing" label included.
    window_.resize(600, 300);
    EXPECT_FALSE(window_.grab().isNull());

    // Activating a row hides the launcher, records the path and opens it.
    emit list->itemActivated(list->item(2));
    EXPECT_EQ(*factory_.requests, std::vector<QString>{a});
    EXPECT_FALSE(env_.launcher.isVisible());
    EXPECT_FALSE(window_.isVisible());
    EXPECT_EQ(env_.recents.all().front().path, a);

    // A row's context menu opens or removes it.
    std::unique_ptr<QMenu> menu(window_.makeContextMenu(b, nullptr));
    EXPECT_EQ(menuLines(*menu), (Lines{"Open", "Remove from Recent"}));
    findEntry(*menu, QStringLiteral("Open"))->trigger();
    EXPECT_EQ(*factory_.requests, (std::vector<QString>{a, b}));
    menu.reset(window_.makeContextMenu(gone, nullptr));
    findEntry(*menu, QStringLiteral("Remove from Recent"))->trigger();
    EXPECT_EQ(env_.recents.all().size(), 2);
    ASSERT_EQ(list->count(), 2);
    EXPECT_EQ(list->item(0)->text(), b);
    EXPECT_EQ(list->item(1)->text(), a);
}

TEST_F(LauncherTest, TheButtonAndTheCommandPickRecordAndOpenThePathAsItStands) {
    // A folder inside a repository: nothing searches upwards.
    const QString root = env_.makeFolder("repo");
    std::ofstream(root.toStdString() + "/.jj").close();
    const QString sub = env_.makeFolder("repo/sub");
    std::optional<QString> answer;
    registry_.setDirectoryPicker([&answer](QWidget*) { return answer; });

    window_.openRepoPicker();  // cancelled
    EXPECT_TRUE(factory_.requests->empty());
    EXPECT_TRUE(env_.recents.all().isEmpty());

    const QString chosen = env_.makeFolder("chosen");
    answer = chosen;
    window_.findChild<QPushButton*>(QStringLiteral("openRepoButton"))->click();
    answer = sub;
    OpenRepoCommand command(registry_, &window_);
    EXPECT_EQ(command.text(), QStringLiteral("Open Repo\u2026"));
    EXPECT_EQ(command.shortcut(), QKeySequence(QKeySequence::Open));
    command.trigger();
    EXPECT_EQ(*factory_.requests, (std::vector<QString>{chosen, sub}));
    EXPECT_EQ(env_.recents.all().size(), 2);
    EXPECT_EQ(env_.recents.all().front().path, sub);
}

TEST_F(LauncherTest, OpenRecentMenuListsOpensAndClears) {
    OpenRecentMenu menu(registry_);
    EXPECT_EQ(menu.title(), QStringLiteral("Open Recent"));
    emit menu.aboutToShow();
    EXPECT_EQ(menuLines(menu), Lines{"No Recent Repos (off)"});

    const QString a = env_.makeFolder("a");
    const QString b = env_.makeFolder("b&c");
    env_.recents.record(a);
    env_.recents.record(b);
    emit menu.aboutToShow();
    EXPECT_EQ(menuLines(menu), (Lines{QString(b).replace("&", "&&").toStdString(), a.toStdString(),
                                      "-", "Clear Menu"}));
    menu.actions().at(1)->trigger();
    EXPECT_EQ(*factory_.requests, std::vector<QString>{a});
    EXPECT_EQ(env_.recents.all().front().path, a);

    findEntry(menu, QStringLiteral("Clear Menu"))->trigger();
    EXPECT_TRUE(env_.recents.all().isEmpty());
    emit menu.aboutToShow();
    EXPECT_EQ(menuLines(menu), Lines{"No Recent Repos (off)"});
}

}  // namespace
}  // namespace vorda
