#include "app/launcher/LauncherWindow.h"

#include <QLabel>
#include <QListWidget>
#include <QMenu>
#include <QPushButton>
#include <QSignalSpy>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "app/launcher/LauncherWindowController.h"
#include "app/launcher/OpenRecentMenu.h"
#include "app/launcher/OpenRepoCommand.h"
#include "app/launcher/RecentRepoDelegate.h"
#include "app/start/StartTestSupport.h"
#include "support/LogCapture.h"

namespace vorda {
namespace {

using testing::LogCapture;
using testing::RecordingFactory;
using testing::StartEnvironment;

QStringList actionTexts(const QMenu& menu) {
    QStringList texts;
    for (const QAction* action : menu.actions()) {
        texts.append(action->isSeparator() ? QStringLiteral("---") : action->text());
    }
    return texts;
}

QAction* actionNamed(const QMenu& menu, const QString& text) {
    for (QAction* action : menu.actions()) {
        if (action->text() == text) {
            return action;
        }
    }
    return nullptr;
}

QString labelText(const QWidget& root, const char* name) {
    const auto* label = root.findChild<QLabel*>(QLatin1String(name));
    return label == nullptr ? QStringLiteral("<none>") : label->text();
}

class LauncherTest : public ::testing::Test {
  protected:
    LauncherTest() { env_.launcher.registerWindow(&window_); }

    StartEnvironment env_;
    RecordingFactory factory_;
    RepoWindowRegistry registry_{factory_.factory(), env_.recents, env_.launcher, env_.settings};
    LauncherWindow window_{registry_};
};

TEST(LauncherWindowController, ARegisteredWindowStaysHiddenUntilShow) {
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
}

TEST(LauncherWindowController, AShowBeforeTheWindowExistsShowsItAtRegistration) {
    LauncherWindowController controller;
    controller.show();
    QWidget window;
    controller.registerWindow(&window);
    EXPECT_TRUE(window.isVisible());
}

TEST(LauncherWindowController, WithoutAWindowItLogsNil) {
    const LogCapture log;
    LauncherWindowController controller;
    controller.hide();
    controller.show();
    EXPECT_TRUE(controller.isVisible());
    EXPECT_TRUE(log.contains("[launcher] controller.hide window=nil\n"));
    EXPECT_TRUE(log.contains("[launcher] controller.show window=nil\n"));
}

TEST_F(LauncherTest, ItShowsTheIdentityAndTheEmptyList) {
    EXPECT_EQ(window_.windowTitle(), QStringLiteral("Vorda"));
    EXPECT_EQ(labelText(window_, "launcherName"), QStringLiteral("Vorda"));
    EXPECT_EQ(labelText(window_, "launcherSubtitle"), QStringLiteral("Bookmark-centric jj client"));
    EXPECT_EQ(labelText(window_, "recentHeading"), QStringLiteral("Recent"));
    const auto* button = window_.findChild<QPushButton*>(QStringLiteral("openRepoButton"));
    ASSERT_NE(button, nullptr);
    EXPECT_EQ(button->text(), QStringLiteral("Open Repo\u2026"));
    const auto* icon = window_.findChild<QLabel*>(QStringLiteral("launcherIcon"));
    ASSERT_NE(icon, nullptr);
    EXPECT_FALSE(icon->pixmap().isNull());

    EXPECT_TRUE(window_.isShowingEmptyState());
    EXPECT_EQ(labelText(window_, "emptyTitle"), QStringLiteral("No recent repos."));
    EXPECT_EQ(labelText(window_, "emptyHint"),
              QStringLiteral("Open a directory containing a `.jj/` folder to get started."));
}

TEST_F(LauncherTest, RowsShowThePathsAndMarkMissingOnes) {
    const QString present = env_.makeFolder("present");
    const QString gone = present + QStringLiteral("/gone");
    env_.recents.record(gone);
    env_.recents.record(present);
    window_.reloadRecents();

    EXPECT_FALSE(window_.isShowingEmptyState());
    QListWidget* list = window_.recentList();
    ASSERT_EQ(list->count(), 2);
    EXPECT_EQ(list->item(0)->text(), present);
    EXPECT_FALSE(list->item(0)->data(RecentRepoDelegate::missingRole).toBool());
    EXPECT_EQ(list->item(1)->text(), gone);
    EXPECT_TRUE(list->item(1)->data(RecentRepoDelegate::missingRole).toBool());

    // The rows paint without trouble, "missing" label included.
    window_.resize(600, 300);
    window_.show();
    const QPixmap picture = window_.grab();
    EXPECT_FALSE(picture.isNull());
}

TEST_F(LauncherTest, TheListIsReadAgainWhenTheLauncherBecomesVisible) {
    env_.recents.record(env_.makeFolder("a"));
    EXPECT_TRUE(window_.isShowingEmptyState());
    const LogCapture log;
    env_.launcher.show();
    EXPECT_EQ(window_.recentList()->count(), 1);
    EXPECT_TRUE(log.contains("[launcher] LauncherView.task(id:) fired isVisible=true\n"));
}

TEST_F(LauncherTest, ActivatingARowHidesTheLauncherRecordsAndOpens) {
    const QString a = env_.makeFolder("a");
    const QString b = env_.makeFolder("b");
    env_.recents.record(a);
    env_.recents.record(b);
    env_.launcher.show();

    QListWidget* list = window_.recentList();
    emit list->itemActivated(list->item(1));
    EXPECT_EQ(*factory_.requests, std::vector<QString>{a});
    EXPECT_FALSE(env_.launcher.isVisible());
    EXPECT_FALSE(window_.isVisible());
    EXPECT_EQ(env_.recents.all().front().path, a);
}

TEST_F(LauncherTest, TheContextMenuOpensOrRemoves) {
    const QString a = env_.makeFolder("a");
    const QString b = env_.makeFolder("b");
    env_.recents.record(a);
    env_.recents.record(b);
    window_.reloadRecents();

    std::unique_ptr<QMenu> menu(window_.makeContextMenu(b, nullptr));
    EXPECT_EQ(actionTexts(*menu), (QStringList{"Open", "Remove from Recent"}));
    actionNamed(*menu, QStringLiteral("Remove from Recent"))->trigger();
    EXPECT_EQ(env_.recents.all().size(), 1);
    EXPECT_EQ(window_.recentList()->count(), 1);
    EXPECT_EQ(window_.recentList()->item(0)->text(), a);

    std::unique_ptr<QMenu> other(window_.makeContextMenu(a, nullptr));
    actionNamed(*other, QStringLiteral("Open"))->trigger();
    EXPECT_EQ(*factory_.requests, std::vector<QString>{a});
}

TEST_F(LauncherTest, TheButtonPicksRecordsAndOpens) {
    const QString chosen = env_.makeFolder("chosen");
    std::optional<QString> answer;
    registry_.setDirectoryPicker([&answer](QWidget*) { return answer; });

    window_.openRepoPicker();
    EXPECT_TRUE(factory_.requests->empty());
    EXPECT_TRUE(env_.recents.all().isEmpty());

    answer = chosen;
    window_.findChild<QPushButton*>(QStringLiteral("openRepoButton"))->click();
    EXPECT_EQ(*factory_.requests, std::vector<QString>{chosen});
    EXPECT_EQ(env_.recents.all().front().path, chosen);
}

TEST_F(LauncherTest, ClosingTheLauncherOnlyHidesIt) {
    const QSignalSpy closed(&window_, &LauncherWindow::closeRequested);
    env_.launcher.show();
    window_.close();
    EXPECT_EQ(closed.count(), 1);
    EXPECT_FALSE(window_.isVisible());
    EXPECT_FALSE(window_.testAttribute(Qt::WA_DeleteOnClose));
}

TEST_F(LauncherTest, OpenRepoCommandOpensThePathAsItStands) {
    // A folder inside a repository: the command does not search upwards.
    const QString root = env_.makeFolder("repo");
    std::ofstream marker(root.toStdString() + "/.jj");
    marker.close();
    const QString sub = env_.makeFolder("repo/sub");
    registry_.setDirectoryPicker([sub](QWidget*) { return std::optional<QString>(sub); });

    OpenRepoCommand command(registry_, &window_);
    EXPECT_EQ(command.text(), QStringLiteral("Open Repo\u2026"));
    EXPECT_EQ(command.shortcut(), QKeySequence(QKeySequence::Open));
    command.trigger();
    EXPECT_EQ(*factory_.requests, std::vector<QString>{sub});
    EXPECT_EQ(env_.recents.all().front().path, sub);
}

TEST_F(LauncherTest, OpenRecentMenuWithoutEntriesSaysSo) {
    OpenRecentMenu menu(registry_);
    EXPECT_EQ(menu.title(), QStringLiteral("Open Recent"));
    emit menu.aboutToShow();
    ASSERT_EQ(actionTexts(menu), QStringList{"No Recent Repos"});
    EXPECT_FALSE(menu.actions().front()->isEnabled());
}

TEST_F(LauncherTest, OpenRecentMenuListsOpensAndClears) {
    const QString a = env_.makeFolder("a");
    const QString b = env_.makeFolder("b&c");
    env_.recents.record(a);
    env_.recents.record(b);
    OpenRecentMenu menu(registry_);
    emit menu.aboutToShow();
    EXPECT_EQ(actionTexts(menu),
              (QStringList{QString(b).replace("&", "&&"), a, "---", "Clear Menu"}));

    menu.actions().at(1)->trigger();
    EXPECT_EQ(*factory_.requests, std::vector<QString>{a});
    EXPECT_EQ(env_.recents.all().front().path, a);

    actionNamed(menu, QStringLiteral("Clear Menu"))->trigger();
    EXPECT_TRUE(env_.recents.all().isEmpty());
    emit menu.aboutToShow();
    EXPECT_EQ(actionTexts(menu), QStringList{"No Recent Repos"});
}

}  // namespace
}  // namespace vorda
