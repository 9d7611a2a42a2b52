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

    // A registry of this environment whose factory is `factory`.
    std::unique_ptr<RepoWindowRegistry> registryWith(RepoWindowRegistry::WindowFactory factory) {
        return std::make_unique<RepoWindowRegistry>(std::move(factory), env_.recents, env_.launcher,
                                                    env_.settings);
    }

    StartEnvironment env_;
    QWidget launcherWindow_;
    RecordingFactory factory_;
    RepoWindowRegistry registry_{factory_.factory(), env_.recents, env_.launcher, env_.settings};
};

TEST_F(RepoWindowRegistryTest, OneWindowPerPathPreparedShownAndBroughtForward) {
    QWidget* first = registry_.openWindow(QStringLiteral("/repo/a"));
    ASSERT_NE(first, nullptr);
    EXPECT_TRUE(first->testAttribute(Qt::WA_DeleteOnClose));
    EXPECT_TRUE(first->isVisible());
    EXPECT_EQ(first->windowTitle(), QStringLiteral("/repo/a"));
    const auto* saver = first->findChild<WindowFrameSaver*>();
    ASSERT_NE(saver, nullptr);
    EXPECT_EQ(saver->repoPath(), QStringLiteral("/repo/a"));
    EXPECT_EQ(saver->window(), first);

    first->hide();
    EXPECT_EQ(registry_.openWindow(QStringLiteral("/repo/a")), first);
    EXPECT_TRUE(first->isVisible());
    EXPECT_EQ(registry_.count(), 1);
    EXPECT_EQ(registry_.window(QStringLiteral("/repo/a")), first);
    EXPECT_TRUE(env_.recents.all().isEmpty());

    registry_.recordAndOpen(QStringLiteral("/repo/b"));
    EXPECT_EQ(registry_.count(), 2);
    EXPECT_EQ(*factory_.requests, (std::vector<QString>{"/repo/a", "/repo/b"}));
    ASSERT_EQ(env_.recents.all().size(), 1);
    EXPECT_EQ(env_.recents.all().front().path, QStringLiteral("/repo/b"));
}

TEST_F(RepoWindowRegistryTest, TheLauncherHidesWhileAWindowExistsAndReturnsAfterTheLast) {
    const LogCapture log;
    ASSERT_TRUE(launcherWindow_.isVisible());
    QWidget* first = registry_.openWindow(QStringLiteral("/repo/a"));
    QWidget* second = registry_.openWindow(QStringLiteral("/repo/b"));
    EXPECT_FALSE(env_.launcher.isVisible());
    EXPECT_FALSE(launcherWindow_.isVisible());

    const QSignalSpy shown(&env_.launcher, &LauncherWindowController::isVisibleChanged);
    first->close();
    settleEvents();
    EXPECT_EQ(registry_.count(), 1);
    EXPECT_EQ(registry_.window(QStringLiteral("/repo/a")), nullptr);
    EXPECT_FALSE(launcherWindow_.isVisible());
    EXPECT_EQ(shown.count(), 0);

    second->close();
    settleEvents();
    EXPECT_TRUE(registry_.isEmpty());
    EXPECT_TRUE(env_.launcher.isVisible());
    EXPECT_TRUE(launcherWindow_.isVisible());
    for (const char* line : {"[launcher] RepoWindowLifecycle.attach window=QWidget(",
                             "[launcher] repo onAttach window=QWidget(", " title=/repo/a\n",
                             "[launcher] RepoWindowLifecycle willClose window=QWidget(",
                             " tracker.isEmpty_after_remove=true\n",
                             "[launcher] repo onClose removed, tracker.isEmpty=true\n",
                             "[launcher] controller.show window=QWidget("}) {
        EXPECT_TRUE(log.contains(line)) << line;
    }

    // The path of a closed window opens a fresh one.
    EXPECT_NE(registry_.openWindow(QStringLiteral("/repo/a")), nullptr);
    EXPECT_EQ(factory_.requests->size(), 3U);
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

TEST_F(RepoWindowRegistryTest, WindowsThatRefuseToCloseOrNeverComeAreHandled) {
    class Stubborn : public QWidget {
      protected:
        void closeEvent(QCloseEvent* event) override { event->ignore(); }
    };
    const auto none = registryWith([](const QString&) { return nullptr; });
    EXPECT_EQ(none->openWindow(QStringLiteral("/repo/a")), nullptr);
    EXPECT_TRUE(none->isEmpty());
    EXPECT_TRUE(env_.launcher.isVisible());

    const auto stubborn = registryWith([](const QString&) { return new Stubborn; });
    EXPECT_FALSE(stubborn->openWindow(QStringLiteral("/repo/a"))->close());
    settleEvents();
    EXPECT_EQ(stubborn->count(), 1);
    EXPECT_FALSE(env_.launcher.isVisible());
}

TEST_F(RepoWindowRegistryTest, MainWindowsGetTheFileMenuAndTheInstallersMenus) {
    const auto registry = registryWith([](const QString&) {
        auto* window = new QMainWindow;
        window->menuBar()->addMenu(QStringLiteral("Own"));
        return window;
    });
    int installed = 0;
    registry->setMenuInstaller([&installed](QMenuBar* bar) {
        ++installed;
        bar->addMenu(QStringLiteral("Repo"));
    });
    auto* window = qobject_cast<QMainWindow*>(registry->openWindow(QStringLiteral("/repo/a")));
    ASSERT_NE(window, nullptr);
    EXPECT_EQ(installed, 1);
    QStringList titles;
    for (const QAction* action : window->menuBar()->actions()) {
        titles.append(action->text());
    }
    EXPECT_EQ(titles, (QStringList{"&File", "Own", "Repo"}));
    EXPECT_NE(window->menuBar()->findChild<QMenu*>(QStringLiteral("fileMenu")), nullptr);
}

TEST_F(RepoWindowRegistryTest, DestroyingTheRegistryClosesItsWindowsQuietly) {
    auto registry = registryWith(factory_.factory());
    const QPointer<QWidget> window = registry->openWindow(QStringLiteral("/repo/a"));
    ASSERT_FALSE(env_.launcher.isVisible());
    registry.reset();
    EXPECT_TRUE(window.isNull());
    EXPECT_FALSE(env_.launcher.isVisible());
}

TEST_F(RepoWindowRegistryTest, TheRouterOpensWhatArrivedEarlierAndFollowsTheQueue) {
    // With nothing queued the launcher stays.
    PendingRepoOpens idle;
    PendingOpenRouter quiet{idle, registry_};
    quiet.start();
    quiet.drain();
    EXPECT_TRUE(env_.launcher.isVisible());

    PendingRepoOpens pending;
    PendingOpenRouter router{pending, registry_};
    const QString a = env_.makeFolder("a");
    pending.enqueue(a);
    EXPECT_TRUE(registry_.isEmpty());

    const LogCapture log;
    router.start();
    EXPECT_EQ(registry_.count(), 1);
    EXPECT_TRUE(pending.paths().isEmpty());
    EXPECT_FALSE(env_.launcher.isVisible());
    EXPECT_TRUE(log.contains("[launcher] controller.hide window="));
    EXPECT_TRUE(log.contains("[launcher] PendingOpenRouter.open path=" + a.toStdString() + "\n"));

    // The same path again, spelt differently, brings the window forward.
    const QString b = env_.makeFolder("b");
    pending.enqueue(b);
    pending.enqueue(b + QStringLiteral("/"));
    EXPECT_EQ(registry_.count(), 2);
    EXPECT_EQ(factory_.requests->size(), 2U);
    ASSERT_EQ(env_.recents.all().size(), 2);
    EXPECT_EQ(env_.recents.all().front().path, b);
}

}  // namespace
}  // namespace vorda
