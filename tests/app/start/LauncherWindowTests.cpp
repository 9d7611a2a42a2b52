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
using testing::expectLogged;
using testing::LogCapture;
using Lines = std::vector<std::string>;
using Paths = std::vector<QString>;

TEST(LauncherWindowController, ShowsAndHidesItsWindowWheneverItComes) {
    const LogCapture log;
    LauncherWindowController controller;
    QWidget window;
    window.show();
    controller.registerWindow(&window);
    const auto shown = [&] {
        return std::pair(controller.isVisible(), window.isVisible());
    };
    EXPECT_EQ(shown(), std::pair(false, false));
    const QSignalSpy spy(&controller, &LauncherWindowController::isVisibleChanged);
    controller.show();
    EXPECT_EQ(shown(), std::pair(true, true));
    controller.show();
    EXPECT_EQ(spy.count(), 1);
    controller.hide();
    EXPECT_EQ(shown(), std::pair(false, false));

    // Shown before its window exists: the window shows when it comes.
    LauncherWindowController early;
    early.hide();
    early.show();
    EXPECT_TRUE(early.isVisible());
    QWidget late;
    early.registerWindow(&late);
    EXPECT_TRUE(late.isVisible());
    expectLogged(log, {"[launcher] controller.register window=QWidget(", " isVisible=false\n",
                       "[launcher] controller.hide window=QWidget(",
                       "[launcher] controller.hide window=nil\n",
                       "[launcher] controller.show window=nil\n"});
}

class LauncherTest : public testing::RegistryTest {
  protected:
    LauncherTest() { env_.launcher.registerWindow(&window_); }

    // Each row's text, " (missing)" after a path that is gone.
    QStringList rows() const {
        QStringList texts;
        for (int row = 0; row < window_.recentList()->count(); ++row) {
            const auto* item = window_.recentList()->item(row);
            const bool missing = item->data(RecentRepoDelegate::missingRole).toBool();
            texts.append(item->text() + (missing ? QStringLiteral(" (missing)") : QString()));
        }
        return texts;
    }

    LauncherWindow window_{registry_};
};

TEST_F(LauncherTest, ItShowsTheIdentityAndTheEmptyListAndClosingOnlyHidesIt) {
    // The title, the labels and the button.
    std::string labels = window_.windowTitle().toStdString().append("\n");
    for (const char* name :
         {"launcherName", "launcherSubtitle", "recentHeading", "emptyTitle", "emptyHint"}) {
        const auto* label = window_.findChild<QLabel*>(QLatin1String(name));
        labels.append(label ? label->text().toStdString() : "(none)").append("\n");
    }
    labels.append(
        window_.findChild<QPushButton*>(QStringLiteral("openRepoButton"))->text().toStdString());
    EXPECT_EQ(labels,
              "Vorda\nVorda\nBookmark-centric jj client\nRecent\nNo recent repos.\nOpen a "
              "directory containing a `.jj/` folder to get started.\nOpen Repo\u2026");
    EXPECT_FALSE(window_.findChild<QLabel*>(QStringLiteral("launcherIcon"))->pixmap().isNull());
    EXPECT_TRUE(window_.isShowingEmptyState());

    const QSignalSpy closed(&window_, &LauncherWindow::closeRequested);
    env_.launcher.show();
    window_.close();
    EXPECT_EQ(closed.count(), 1);
    EXPECT_FALSE(window_.isVisible());
    EXPECT_FALSE(window_.testAttribute(Qt::WA_DeleteOnClose));
}

TEST_F(LauncherTest, RowsAreReadWhenShownMarkMissingPathsAndOpenOrGoFromTheirMenus) {
    const QString a = env_.makeFolder("a");
    const QString b = env_.makeFolder("b");
    const QString gone = b + QStringLiteral("/gone");
    for (const QString& path : {a, b, gone}) {
        env_.recents.record(path);
    }
    EXPECT_TRUE(window_.isShowingEmptyState());
    const LogCapture log;
    env_.launcher.show();
    expectLogged(log, {"[launcher] LauncherView.task(id:) fired isVisible=true\n"});
    EXPECT_FALSE(window_.isShowingEmptyState());
    QListWidget* list = window_.recentList();
    EXPECT_EQ(rows(), (QStringList{gone + " (missing)", b, a}));
    // The rows paint without trouble, "missing" label included.
    window_.resize(600, 300);
    EXPECT_FALSE(window_.grab().isNull());

    // Activating a row hides the launcher, records the path and opens it.
    emit list->itemActivated(list->item(2));
    EXPECT_EQ(*factory_.requests, Paths{a});
    EXPECT_FALSE(env_.launcher.isVisible() || window_.isVisible());
    EXPECT_EQ(env_.recents.all().front().path, a);

    // A row's context menu opens or removes it.
    std::unique_ptr<QMenu> menu(window_.makeContextMenu(b, nullptr));
    EXPECT_EQ(menuLines(*menu), (Lines{"Open", "Remove from Recent"}));
    findEntry(*menu, QStringLiteral("Open"))->trigger();
    EXPECT_EQ(*factory_.requests, (Paths{a, b}));
    menu.reset(window_.makeContextMenu(gone, nullptr));
    findEntry(*menu, QStringLiteral("Remove from Recent"))->trigger();
    EXPECT_EQ(env_.recents.all().size(), 2);
    EXPECT_EQ(rows(), (QStringList{b, a}));
}

TEST_F(LauncherTest, TheButtonTheCommandAndOpenRecentPickRecordAndOpenThePathAsItStands) {
    // A folder inside a repository: nothing searches upwards.
    const QString root = env_.makeFolder("repo");
    std::ofstream(root.toStdString() + "/.jj").close();
    const QString sub = env_.makeFolder("repo/sub");
    std::optional<QString> answer;
    registry_.setDirectoryPicker([&answer](QWidget*) { return answer; });
    OpenRecentMenu recent(registry_);
    emit recent.aboutToShow();
    EXPECT_EQ(menuLines(recent), Lines{"No Recent Repos (off)"});

    window_.openRepoPicker();  // cancelled
    EXPECT_EQ(std::tuple(factory_.requests->size(), env_.recents.all().size()), std::tuple(0U, 0));
    const QString chosen = env_.makeFolder("b&c");
    answer = chosen;
    window_.findChild<QPushButton*>(QStringLiteral("openRepoButton"))->click();
    answer = sub;
    OpenRepoCommand(registry_, &window_).trigger();
    EXPECT_EQ(*factory_.requests, (Paths{chosen, sub}));

    // The recent menu lists them, newest first, and opens or clears.
    emit recent.aboutToShow();
    EXPECT_EQ(menuLines(recent),
              (Lines{sub.toStdString(), QString(chosen).replace("&", "&&").toStdString(), "-",
                     "Clear Menu"}));
    registry_.window(chosen)->close();
    testing::settleEvents();
    recent.actions().at(1)->trigger();
    EXPECT_EQ(*factory_.requests, (Paths{chosen, sub, chosen}));
    EXPECT_EQ(env_.recents.all().front().path, chosen);
    findEntry(recent, QStringLiteral("Clear Menu"))->trigger();
    EXPECT_TRUE(env_.recents.all().isEmpty());
    emit recent.aboutToShow();
    EXPECT_EQ(menuLines(recent), Lines{"No Recent Repos (off)"});
}

}  // namespace
}  // namespace vorda
