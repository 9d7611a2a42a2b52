#include "app/start/StartupRouting.h"

#include <QWidget>

#include <gtest/gtest.h>

#include "app/launcher/LauncherWindowController.h"
#include "app/start/PendingRepoOpens.h"
#include "app/start/StartTestSupport.h"
#include "support/LogCapture.h"

namespace vorda {
namespace {

using testing::LogCapture;
using testing::RecordingFactory;
using testing::StartEnvironment;

class StartupRoutingTest : public ::testing::Test {
  protected:
    StartupRoutingTest() { env_.launcher.registerWindow(&launcherWindow_); }

    StartEnvironment env_;
    QWidget launcherWindow_;
    RecordingFactory factory_;
    RepoWindowRegistry registry_{factory_.factory(), env_.recents, env_.launcher, env_.settings};
    PendingRepoOpens pending_;
    StartupRouting routing_{pending_, registry_};
};

TEST_F(StartupRoutingTest, AnExternalOpenSkipsTheRecentReopen) {
    env_.recents.record(env_.makeFolder("recent"));
    pending_.enqueue(env_.makeFolder("external"));
    const LogCapture log;
    routing_.route();
    EXPECT_TRUE(routing_.didRoute());
    EXPECT_TRUE(registry_.isEmpty());
    EXPECT_FALSE(env_.launcher.isVisible());
    EXPECT_EQ(log.text(),
              "[launcher] LauncherView.task fired didRoute=false\n"
              "[launcher] LauncherView.task external open pending \u2192 skip recent reopen\n");
}

TEST_F(StartupRoutingTest, AValidFirstRecentOpensStraightAway) {
    const QString older = env_.makeFolder("older");
    const QString newest = env_.makeFolder("newest");
    env_.recents.record(older);
    env_.recents.record(newest);
    const LogCapture log;
    routing_.route();
    EXPECT_EQ(*factory_.requests, std::vector<QString>{newest});
    EXPECT_FALSE(env_.launcher.isVisible());
    EXPECT_FALSE(launcherWindow_.isVisible());
    EXPECT_TRUE(log.contains(
        "[launcher] LauncherView.task recents count=2 top=" + newest.toStdString() + "\n"));
    EXPECT_TRUE(log.contains("[launcher] LauncherView.task openWindow(value: RepoWindowID(path: " +
                             newest.toStdString() + "))\n"));
    EXPECT_FALSE(log.contains("controller.show"));
}

TEST_F(StartupRoutingTest, AMissingFirstRecentShowsTheLauncherAndStaysListed) {
    const QString present = env_.makeFolder("present");
    env_.recents.record(present);
    env_.recents.record(present + QStringLiteral("/gone"));
    const LogCapture log;
    routing_.route();
    EXPECT_TRUE(registry_.isEmpty());
    EXPECT_TRUE(env_.launcher.isVisible());
    EXPECT_TRUE(launcherWindow_.isVisible());
    EXPECT_EQ(env_.recents.all().size(), 2);
    EXPECT_TRUE(
        log.contains("[launcher] LauncherView.task no valid recent \u2192 controller.show()\n"));
}

TEST_F(StartupRoutingTest, NoRecentsShowTheLauncherAndItRoutesOnlyOnce) {
    const LogCapture log;
    routing_.route();
    EXPECT_TRUE(env_.launcher.isVisible());
    EXPECT_TRUE(log.contains("[launcher] LauncherView.task recents count=0 top=nil\n"));

    env_.launcher.hide();
    const LogCapture again;
    routing_.route();
    EXPECT_FALSE(env_.launcher.isVisible());
    EXPECT_EQ(again.text(), "[launcher] LauncherView.task fired didRoute=true\n");
}

}  // namespace
}  // namespace vorda
