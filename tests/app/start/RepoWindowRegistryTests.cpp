#include "app/start/RepoWindowRegistry.h"

#include <QCloseEvent>
#include <QPointer>
#include <QSignalSpy>
#include <QWidget>

#include <gtest/gtest.h>

#include "app/launcher/LauncherWindowController.h"
#include "app/start/PendingOpenRouter.h"
#include "app/start/PendingRepoOpens.h"
#include "app/start/StartTestSupport.h"
#include "app/start/StartupRouting.h"
#include "app/start/WindowFrameSaver.h"
#include "support/LogCapture.h"

namespace vorda {
namespace {

using testing::expectLogged;
using testing::LogCapture;
using testing::settleEvents;
using Paths = std::vector<QString>;

class RepoWindowRegistryTest : public testing::RegistryTest {
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

    // Whether the launcher controller and its window say it shows.
    std::pair<bool, bool> launcherShown() const {
        return {env_.launcher.isVisible(), launcherWindow_.isVisible()};
    }

    QWidget launcherWindow_;
};

TEST_F(RepoWindowRegistryTest, OneWindowPerPathPreparedShownAndBroughtForward) {
    QWidget* first = registry_.openWindow(QStringLiteral("/repo/a"));
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(std::tuple(first->testAttribute(Qt::WA_DeleteOnClose), first->isVisible(),
                         first->windowTitle()),
              std::tuple(true, true, QStringLiteral("/repo/a")));
    const auto* saver = first->findChild<WindowFrameSaver*>();
    ASSERT_NE(saver, nullptr);
    EXPECT_EQ(std::pair(saver->repoPath(), saver->window()),
              std::pair(QStringLiteral("/repo/a"), first));

    first->hide();
    EXPECT_EQ(registry_.openWindow(QStringLiteral("/repo/a")), first);
    EXPECT_EQ(std::tuple(first->isVisible(), registry_.count(), env_.recents.all().size()),
              std::tuple(true, 1, 0));

    registry_.recordAndOpen(QStringLiteral("/repo/b"));
    EXPECT_EQ(registry_.count(), 2);
    EXPECT_EQ(*factory_.requests, (Paths{"/repo/a", "/repo/b"}));
    ASSERT_EQ(env_.recents.all().size(), 1);
    EXPECT_EQ(env_.recents.all().front().path, QStringLiteral("/repo/b"));

    // Activating brings the last window forward; with none, the launcher.
    registry_.window(QStringLiteral("/repo/b"))->hide();
    registry_.activate();
    EXPECT_TRUE(registry_.window(QStringLiteral("/repo/b"))->isVisible());
    EXPECT_EQ(launcherShown(), std::pair(false, false));
}

TEST_F(RepoWindowRegistryTest, TheLauncherHidesWhileAWindowExistsAndReturnsAfterTheLast) {
    const LogCapture log;
    ASSERT_EQ(launcherShown(), std::pair(true, true));
    QWidget* first = registry_.openWindow(QStringLiteral("/repo/a"));
    QWidget* second = registry_.openWindow(QStringLiteral("/repo/b"));
    EXPECT_EQ(launcherShown(), std::pair(false, false));

    const QSignalSpy shown(&env_.launcher, &LauncherWindowController::isVisibleChanged);
    first->close();
    settleEvents();
    EXPECT_EQ(std::tuple(registry_.count(), registry_.window(QStringLiteral("/repo/a")),
                         launcherShown(), shown.count()),
              std::tuple(1, nullptr, std::pair(false, false), 0));

    second->close();
    settleEvents();
    EXPECT_EQ(std::tuple(registry_.isEmpty(), launcherShown()),
              std::tuple(true, std::pair(true, true)));
    expectLogged(log, {"[launcher] RepoWindowLifecycle.attach window=QWidget(",
                       "[launcher] repo onAttach window=QWidget(", " title=/repo/a\n",
                       "[launcher] RepoWindowLifecycle willClose window=QWidget(",
                       " tracker.isEmpty_after_remove=true\n",
                       "[launcher] repo onClose removed, tracker.isEmpty=true\n",
                       "[launcher] controller.show window=QWidget("});

    // The path of a closed window opens a fresh one; with the launcher
    // hidden and no window, activating shows it.
    EXPECT_NE(registry_.openWindow(QStringLiteral("/repo/a")), nullptr);
    EXPECT_EQ(factory_.requests->size(), 3U);
    registry_.window(QStringLiteral("/repo/a"))->close();
    settleEvents();
    env_.launcher.hide();
    registry_.activate();
    EXPECT_EQ(launcherShown(), std::pair(true, true));
}

TEST_F(RepoWindowRegistryTest, WindowsThatRefuseToCloseNeverComeOrOutliveTheRegistry) {
    class Stubborn : public QWidget {
      protected:
        void closeEvent(QCloseEvent* event) override { event->ignore(); }
    };
    const auto none = registryWith([](const QString&) { return nullptr; });
    EXPECT_EQ(none->openWindow(QStringLiteral("/repo/a")), nullptr);
    EXPECT_TRUE(none->isEmpty());
    EXPECT_TRUE(env_.launcher.isVisible());

    auto stubborn = registryWith([](const QString&) { return new Stubborn; });
    const QPointer<QWidget> window = stubborn->openWindow(QStringLiteral("/repo/a"));
    EXPECT_FALSE(window->close());
    settleEvents();
    EXPECT_EQ(stubborn->count(), 1);
    EXPECT_FALSE(env_.launcher.isVisible());
    // Destroying the registry closes its windows quietly.
    stubborn.reset();
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
    router.start();
    EXPECT_EQ(std::tuple(registry_.count(), pending.paths().size(), env_.launcher.isVisible()),
              std::tuple(1, 0, false));

    // The same path again, spelt differently, brings the window forward.
    const QString b = env_.makeFolder("b");
    pending.enqueue(b);
    pending.enqueue(b + QStringLiteral("/"));
    EXPECT_EQ(std::tuple(registry_.count(), *factory_.requests), std::tuple(2, Paths{a, b}));
    EXPECT_EQ(std::tuple(env_.recents.all().size(), env_.recents.all().front().path),
              std::tuple(2, b));
}

class StartupRoutingTest : public testing::RegistryTest {
  protected:
    StartupRoutingTest() { env_.launcher.registerWindow(&launcherWindow_); }

    // Routes, checks what opened and whether the launcher shows, and returns
    // what was logged.
    std::string route(const Paths& opened, bool launcher) {
        const LogCapture log;
        routing_.route();
        EXPECT_TRUE(routing_.didRoute());
        EXPECT_EQ(*factory_.requests, opened);
        EXPECT_EQ(std::pair(env_.launcher.isVisible(), launcherWindow_.isVisible()),
                  std::pair(launcher, launcher));
        return log.text();
    }

    QWidget launcherWindow_;
    PendingRepoOpens pending_;
    StartupRouting routing_{pending_, registry_};
};

const std::string task = "[launcher] LauncherView.task ";

TEST_F(StartupRoutingTest, AnExternalOpenSkipsTheRecentReopen) {
    env_.recents.record(env_.makeFolder("recent"));
    pending_.enqueue(env_.makeFolder("external"));
    EXPECT_EQ(route({}, false), task + "fired didRoute=false\n" + task +
                                    "external open pending \u2192 skip recent reopen\n");
}

TEST_F(StartupRoutingTest, AValidFirstRecentOpensStraightAway) {
    const QString newest = env_.makeFolder("newest");
    env_.recents.record(env_.makeFolder("older"));
    env_.recents.record(newest);
    const std::string log = route({newest}, false);
    EXPECT_NE(log.find(task + "recents count=2 top=" + newest.toStdString() + "\n" + task +
                       "openWindow(value: RepoWindowID(path: " + newest.toStdString() + "))\n"),
              std::string::npos)
        << log;
    EXPECT_EQ(log.find("controller.show"), std::string::npos);
}

TEST_F(StartupRoutingTest, AMissingFirstRecentShowsTheLauncherStaysListedAndRoutesOnlyOnce) {
    const QString present = env_.makeFolder("present");
    env_.recents.record(present);
    env_.recents.record(present + QStringLiteral("/gone"));
    EXPECT_NE(route({}, true).find(task + "no valid recent \u2192 controller.show()\n"),
              std::string::npos);
    EXPECT_EQ(env_.recents.all().size(), 2);

    env_.launcher.hide();
    EXPECT_EQ(route({}, false), task + "fired didRoute=true\n");
}

TEST_F(StartupRoutingTest, NoRecentsShowTheLauncher) {
    EXPECT_NE(route({}, true).find(task + "recents count=0 top=nil\n"), std::string::npos);
}

}  // namespace
}  // namespace vorda
