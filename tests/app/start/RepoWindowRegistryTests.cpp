#include "app/start/RepoWindowRegistry.h"

#include <QCloseEvent>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QPointer>
#include <QSignalSpy>
#include <QWidget>

#include <gtest/gtest.h>

#include "app/launcher/LauncherWindowController.h"
#include "app/start/PendingOpenRouter.h"
#include "app/start/PendingRepoOpens.h"
#include "app/start/StartTestSupport.h"
#include "app/start/WindowFrameSaver.h"
#include "support/LogCapture.h"

namespace vorda {
namespace {

using testing::LogCapture;
using testing::RecordingFactory;
using testing::settleEvents;
using testing::StartEnvironment;

class RepoWindowRegistryTest : public ::testing::Test {
  protected:
    RepoWindowRegistryTest() {
        env_.launcher.registerWindow(&launcherWindow_);
        env_.launcher.show();
    }

    StartEnvironment env_;
    QWidget launcherWindow_;
    RecordingFactory factory_;
    RepoWindowRegistry registry_{factory_.factory(), env_.recents, env_.launcher, env_.settings};
};

TEST_F(RepoWindowRegistryTest, TheSamePathTwiceOpensOneWindowAndBringsItForward) {
    QWidget* first = registry_.openWindow(QStringLiteral("/repo/a"));
    ASSERT_NE(first, nullptr);
    first->hide();
    QWidget* second = registry_.openWindow(QStringLiteral("/repo/a"));
    EXPECT_EQ(first, second);
    EXPECT_TRUE(second->isVisible());
    EXPECT_EQ(factory_.requests->size(), 1U);
    EXPECT_EQ(registry_.count(), 1);
    EXPECT_EQ(registry_.window(QStringLiteral("/repo/a")), first);

    registry_.openWindow(QStringLiteral("/repo/b"));
    EXPECT_EQ(registry_.count(), 2);
    EXPECT_EQ(*factory_.requests, (std::vector<QString>{"/repo/a", "/repo/b"}));
}

TEST_F(RepoWindowRegistryTest, ANewWindowIsPreparedAndShown) {
    QWidget* window = registry_.openWindow(QStringLiteral("/repo/a"));
    ASSERT_NE(window, nullptr);
    EXPECT_TRUE(window->testAttribute(Qt::WA_DeleteOnClose));
    EXPECT_TRUE(window->isVisible());
    EXPECT_EQ(window->windowTitle(), QStringLiteral("/repo/a"));
    const auto* saver = window->findChild<WindowFrameSaver*>();
    ASSERT_NE(saver, nullptr);
    EXPECT_EQ(saver->repoPath(), QStringLiteral("/repo/a"));
    EXPECT_EQ(saver->window(), window);
}

TEST_F(RepoWindowRegistryTest, TheLauncherHidesWhileAWindowExistsAndReturnsAfterTheLast) {
    const LogCapture log;
    ASSERT_TRUE(env_.launcher.isVisible());
    ASSERT_TRUE(launcherWindow_.isVisible());

    QWidget* window = registry_.openWindow(QStringLiteral("/repo/a"));
    EXPECT_FALSE(env_.launcher.isVisible());
    EXPECT_FALSE(launcherWindow_.isVisible());

    window->close();
    settleEvents();
    EXPECT_TRUE(registry_.isEmpty());
    EXPECT_EQ(registry_.window(QStringLiteral("/repo/a")), nullptr);
    EXPECT_TRUE(env_.launcher.isVisible());
    EXPECT_TRUE(launcherWindow_.isVisible());

    EXPECT_TRUE(log.contains("[launcher] RepoWindowLifecycle.attach window=QWidget("));
    EXPECT_TRUE(log.contains("[launcher] repo onAttach window=QWidget("));
    EXPECT_TRUE(log.contains(" title=/repo/a\n"));
    EXPECT_TRUE(log.contains("[launcher] RepoWindowLifecycle willClose window=QWidget("));
    EXPECT_TRUE(log.contains(" tracker.isEmpty_after_remove=true\n"));
    EXPECT_TRUE(log.contains("[launcher] repo onClose removed, tracker.isEmpty=true\n"));
    EXPECT_TRUE(log.contains("[launcher] controller.show window=QWidget("));
}

TEST_F(RepoWindowRegistryTest, ClosingOneOfTwoWindowsLeavesTheLauncherHidden) {
    QWidget* first = registry_.openWindow(QStringLiteral("/repo/a"));
    registry_.openWindow(QStringLiteral("/repo/b"));
    const QSignalSpy shown(&env_.launcher, &LauncherWindowController::isVisibleChanged);

    first->close();
    settleEvents();
    EXPECT_EQ(registry_.count(), 1);
    EXPECT_FALSE(env_.launcher.isVisible());
    EXPECT_FALSE(launcherWindow_.isVisible());
    EXPECT_EQ(shown.count(), 0);

    // The path of the closed window opens a fresh one.
    QWidget* again = registry_.openWindow(QStringLiteral("/repo/a"));
    EXPECT_NE(again, nullptr);
    EXPECT_EQ(registry_.count(), 2);
    EXPECT_EQ(factory_.requests->size(), 3U);
}

TEST_F(RepoWindowRegistryTest, AWindowThatRefusesToCloseStaysTracked) {
    class Stubborn : public QWidget {
      protected:
        void closeEvent(QCloseEvent* event) override { event->ignore(); }
    };
    RepoWindowRegistry registry([](const QString&) { return new Stubborn; }, env_.recents,
                                env_.launcher, env_.settings);
    QWidget* window = registry.openWindow(QStringLiteral("/repo/a"));
    EXPECT_FALSE(window->close());
    settleEvents();
    EXPECT_EQ(registry.count(), 1);
    EXPECT_FALSE(env_.launcher.isVisible());
}

TEST_F(RepoWindowRegistryTest, ActivateBringsTheLastWindowForwardOrShowsTheLauncher) {
    env_.launcher.hide();
    registry_.activate();
    EXPECT_TRUE(env_.launcher.isVisible());

    QWidget* window = registry_.openWindow(QStringLiteral("/repo/a"));
    window->hide();
    registry_.activate();
    EXPECT_TRUE(window->isVisible());
    EXPECT_FALSE(env_.launcher.isVisible());
}

TEST_F(RepoWindowRegistryTest, MainWindowsGetTheFileMenuAndTheInstallersMenus) {
    RepoWindowRegistry registry(
        [](const QString&) {
            auto* window = new QMainWindow;
            window->menuBar()->addMenu(QStringLiteral("Own"));
            return window;
        },
        env_.recents, env_.launcher, env_.settings);
    int installed = 0;
    registry.setMenuInstaller([&installed](QMenuBar* bar) {
        ++installed;
        bar->addMenu(QStringLiteral("Repo"));
    });
    auto* window = qobject_cast<QMainWindow*>(registry.openWindow(QStringLiteral("/repo/a")));
    ASSERT_NE(window, nullptr);
    EXPECT_EQ(installed, 1);
    QStringList titles;
    for (const QAction* action : window->menuBar()->actions()) {
        titles.append(action->text());
    }
    EXPECT_EQ(titles, (QStringList{"&File", "Own", "Repo"}));
    EXPECT_NE(window->menuBar()->findChild<QMenu*>(QStringLiteral("fileMenu")), nullptr);
}

TEST_F(RepoWindowRegistryTest, RecordAndOpenRecordsThePath) {
    registry_.recordAndOpen(QStringLiteral("/repo/a"));
    ASSERT_EQ(env_.recents.all().size(), 1);
    EXPECT_EQ(env_.recents.all().front().path, QStringLiteral("/repo/a"));
    EXPECT_EQ(registry_.count(), 1);
}

TEST_F(RepoWindowRegistryTest, AFactoryWithoutAWindowOpensNothing) {
    RepoWindowRegistry registry([](const QString&) { return nullptr; }, env_.recents, env_.launcher,
                                env_.settings);
    EXPECT_EQ(registry.openWindow(QStringLiteral("/repo/a")), nullptr);
    EXPECT_TRUE(registry.isEmpty());
    EXPECT_TRUE(env_.launcher.isVisible());
}

TEST_F(RepoWindowRegistryTest, DestroyingTheRegistryClosesItsWindowsQuietly) {
    QPointer<QWidget> window;
    {
        RepoWindowRegistry registry(factory_.factory(), env_.recents, env_.launcher, env_.settings);
        window = registry.openWindow(QStringLiteral("/repo/a"));
        ASSERT_FALSE(env_.launcher.isVisible());
    }
    EXPECT_TRUE(window.isNull());
    EXPECT_FALSE(env_.launcher.isVisible());
}

class PendingOpenRouterTest : public RepoWindowRegistryTest {
  protected:
    PendingRepoOpens pending_;
    PendingOpenRouter router_{pending_, registry_};
};

TEST_F(PendingOpenRouterTest, StartDrainsWhatArrivedEarlierAndFollowsTheQueue) {
    const QString a = env_.makeFolder("a");
    const QString b = env_.makeFolder("b");
    pending_.enqueue(a);
    EXPECT_TRUE(registry_.isEmpty());

    const LogCapture log;
    router_.start();
    EXPECT_EQ(registry_.count(), 1);
    EXPECT_TRUE(pending_.paths().isEmpty());
    EXPECT_FALSE(env_.launcher.isVisible());
    EXPECT_TRUE(log.contains("[launcher] controller.hide window="));
    EXPECT_TRUE(log.contains("[launcher] PendingOpenRouter.open path=" + a.toStdString() + "\n"));

    pending_.enqueue(b);
    EXPECT_EQ(registry_.count(), 2);
    ASSERT_EQ(env_.recents.all().size(), 2);
    EXPECT_EQ(env_.recents.all().front().path, b);
}

TEST_F(PendingOpenRouterTest, TheSamePathEnqueuedTwiceOpensOneWindow) {
    router_.start();
    const QString a = env_.makeFolder("a");
    pending_.enqueue(a);
    pending_.enqueue(a + QStringLiteral("/"));
    EXPECT_EQ(registry_.count(), 1);
    EXPECT_EQ(factory_.requests->size(), 1U);
    EXPECT_EQ(env_.recents.all().size(), 1);
}

TEST_F(PendingOpenRouterTest, AnEmptyDrainLeavesTheLauncherAlone) {
    router_.start();
    router_.drain();
    EXPECT_TRUE(env_.launcher.isVisible());
}

}  // namespace
}  // namespace vorda
