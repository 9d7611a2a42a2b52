#include "app/start/VordaApplication.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QListWidget>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QWidget>
#include <atomic>
#include <csignal>

#include <gtest/gtest.h>
#include <unistd.h>

#include "MenuText.h"
#include "app/launcher/LauncherWindow.h"
#include "app/launcher/LauncherWindowController.h"
#include "app/settings/SettingsWindow.h"
#include "app/start/PendingRepoOpens.h"
#include "app/start/SigintHandler.h"
#include "app/start/SingleInstance.h"
#include "app/start/StartTestSupport.h"
#include "support/LogCapture.h"
#include "support/ScopedEnvironment.h"
#include "support/TempDir.h"

namespace vorda {
namespace {

using testing::LogCapture;
using testing::qpath;
using testing::RecordingFactory;
using testing::ScopedEnvironment;
using testing::settleEvents;

// A channel name no other test (or test process) uses.
QString uniqueInstanceName() {
    static std::atomic<int> counter{0};
    return QStringLiteral("vorda-test-%1-%2").arg(::getpid()).arg(++counter);
}

class VordaApplicationTest : public ::testing::Test {
  protected:
    std::unique_ptr<VordaApplication> make(RepoWindowRegistry::WindowFactory factory,
                                           VordaApplication::MenuInstaller installer = {}) {
        VordaApplication::Options options;
        options.settingsFile = qpath(env_.folder.path() / "app.ini");
        options.instanceName = instanceName_;
        options.handleSigint = false;
        return std::make_unique<VordaApplication>(std::move(factory), std::move(installer),
                                                  options);
    }

    testing::StartEnvironment env_;
    QString instanceName_ = uniqueInstanceName();
    RecordingFactory factory_;
};

TEST_F(VordaApplicationTest, StartWithAPathOpensItsWindowAndTheLauncherComesBackAfterIt) {
    const QString repo = env_.makeFolder("repo");
    auto app = make(factory_.factory());
    const LogCapture log;
    app->start({QStringLiteral("vorda"), repo});

    EXPECT_EQ(*factory_.requests, std::vector<QString>{repo});
    EXPECT_EQ(std::tuple(app->launcherController().isVisible() || app->launcher().isVisible(),
                         app->pendingOpens().hasExternalOpen(),
                         app->recentRepos().all().front().path, app->isInstanceServer()),
              std::tuple(false, true, repo, true));

    // In this order, from the first line on.
    const std::string text = log.text();
    EXPECT_TRUE(text.starts_with("[launcher] AppDelegate.applicationDidFinishLaunching\n")) << text;
    std::size_t at = 0;
    for (const std::string& line :
         {"[launcher] PendingRepoOpens.enqueue path=" + repo.toStdString() + " queue=",
          std::string("[launcher] controller.register window=vorda::LauncherWindow("),
          "[launcher] PendingOpenRouter.open path=" + repo.toStdString(),
          std::string("external open pending \u2192 skip recent reopen")}) {
        const auto found = text.find(line, at);
        ASSERT_NE(found, std::string::npos) << line << "\nafter " << at << " in\n" << text;
        at = found + 1;
    }

    app->registry().window(repo)->close();
    settleEvents();
    EXPECT_TRUE(app->launcher().isVisible());
}

TEST_F(VordaApplicationTest, TheLauncherAndRepositoryMainWindowsGetTheFileMenuThenTheirOwn) {
    std::vector<QWidget*> installedOn;
    const auto app = make(
        [](const QString&) {
            auto* window = new QMainWindow;
            window->menuBar()->addMenu(QStringLiteral("Own"));
            return window;
        },
        [&installedOn](QMenuBar* bar) {
            installedOn.push_back(bar->window());
            bar->addMenu(QStringLiteral("Repo"));
        });
    EXPECT_EQ(installedOn, std::vector<QWidget*>{&app->launcher()});
    const auto* fileMenu = app->launcher().menuBar()->findChild<QMenu*>(QStringLiteral("fileMenu"));
    ASSERT_NE(fileMenu, nullptr);
    EXPECT_EQ(apptest::menuLines(*fileMenu),
              (std::vector<std::string>{
                  "Open Repo\u2026 <Ctrl+O>", "Open Recent", "Open Recent > No Recent Repos (off)",
                  "-", "Settings\u2026 <Ctrl+,>", "-", "Close Window <Ctrl+F4>", "Quit"}));
    // One settings window for the whole application, with both pages.
    fileMenu->findChild<QAction*>(QStringLiteral("settingsAction"))->trigger();
    ASSERT_NE(app->settingsWindow(), nullptr);
    EXPECT_TRUE(app->settingsWindow()->isVisible());
    QStringList pages;
    const auto* list = app->settingsWindow()->findChild<QListWidget*>();
    for (int row = 0; list != nullptr && row < list->count(); ++row) {
        pages << list->item(row)->text();
    }
    EXPECT_EQ(pages, (QStringList{"Commit Links", "Updates"}));
    app->settingsWindow()->close();

    auto* window = qobject_cast<QMainWindow*>(app->registry().openWindow(env_.makeFolder("repo")));
    ASSERT_NE(window, nullptr);
    EXPECT_EQ(installedOn, (std::vector<QWidget*>{&app->launcher(), window}));
    QStringList titles;
    for (const QAction* action : window->menuBar()->actions()) {
        titles.append(action->text());
    }
    EXPECT_EQ(titles, (QStringList{"&File", "Own", "Repo", "&Help"}));
}

TEST_F(VordaApplicationTest,
       ASecondLaunchForwardsItsPathsToTheRunningInstanceThatReplacedAStaleOne) {
    const QString repo = env_.makeFolder("repo");
    const QString other = env_.makeFolder("other");
    {  // A socket left behind by an instance that died is replaced.
        QFile stale(QDir::tempPath() + QLatin1Char('/') + instanceName_);
        ASSERT_TRUE(stale.open(QIODevice::WriteOnly));
    }
    auto running = make(factory_.factory());
    EXPECT_FALSE(running->forwardToRunningInstance({QStringLiteral("vorda")}));
    EXPECT_TRUE(running->isInstanceServer());
    running->start({QStringLiteral("vorda")});
    EXPECT_TRUE(running->launcher().isVisible());  // no recent repository to reopen
    running->launcherController().hide();

    RecordingFactory secondFactory;
    auto second = make(secondFactory.factory());
    // Without paths it brings the running instance forward.
    EXPECT_TRUE(second->forwardToRunningInstance({QStringLiteral("vorda")}));
    settleEvents();
    EXPECT_TRUE(running->launcher().isVisible());

    const LogCapture log;
    EXPECT_TRUE(second->forwardToRunningInstance(
        {QStringLiteral("vorda"), QStringLiteral("--repo"), repo}));
    settleEvents();
    EXPECT_EQ(std::tuple(secondFactory.requests->size(), second->isInstanceServer(),
                         *factory_.requests, running->launcher().isVisible()),
              std::tuple(0U, false, std::vector<QString>{repo}, false));

    // The same path again brings the existing window forward.
    running->registry().window(repo)->hide();
    EXPECT_TRUE(second->forwardToRunningInstance({QStringLiteral("vorda"), repo}));
    settleEvents();
    EXPECT_EQ(factory_.requests->size(), 1U);
    EXPECT_TRUE(running->registry().window(repo)->isVisible());

    // Relative paths and addresses resolve in the sender.
    const QString relative = env_.makeFolder("relative");
    const QString previous = QDir::currentPath();
    ASSERT_TRUE(QDir::setCurrent(qpath(env_.folder.path())));
    const bool forwarded =
        second->forwardToRunningInstance({QStringLiteral("vorda"), QStringLiteral("relative"),
                                          QStringLiteral("vorda://open?path=") + other});
    QDir::setCurrent(previous);
    EXPECT_TRUE(forwarded);
    settleEvents();
    EXPECT_EQ(*factory_.requests, (std::vector<QString>{repo, relative, other}));
    testing::expectLogged(log, {"[launcher] forwarded to the running instance name=",
                                "[launcher] AppDelegate.open urls=[\"vorda://open?path="});

    // A live instance is not displaced.
    InstanceServer intruder;
    EXPECT_FALSE(intruder.listen(instanceName_));
    EXPECT_TRUE(running->isInstanceServer());
}

TEST(InstanceChannel, TheEnvironmentOverridesTheUsersNameAndOpensRoundTrip) {
    const ScopedEnvironment variable("VORDA_INSTANCE_NAME");
    variable.set("vorda-custom");
    EXPECT_EQ(instanceServerName(), QStringLiteral("vorda-custom"));
    variable.set("");
    EXPECT_EQ(instanceServerName(), QStringLiteral("vorda-%1").arg(::getuid()));

    const QList<CommandLineOpen> opens{
        {CommandLineOpen::Kind::path, QStringLiteral("/a b")},
        {CommandLineOpen::Kind::address, QStringLiteral("vorda://open?path=/c")}};
    const QByteArray line = InstanceMessage::encode(opens);
    EXPECT_TRUE(line.endsWith('\n'));
    EXPECT_EQ(InstanceMessage::decode(line), opens);
    EXPECT_FALSE(InstanceMessage::decode("nonsense\n").has_value());
    EXPECT_FALSE(InstanceMessage::decode(R"({"opens":[{"other":1}]})").has_value());
}

TEST(SigintHandler, AnInterruptRunsTheShutdownOnTheEventLoop) {
    struct sigaction before {};
    ::sigaction(SIGINT, nullptr, &before);
    bool interrupted = false;
    {
        const SigintHandler handler([&interrupted] { interrupted = true; });
        ASSERT_TRUE(handler.isInstalled());
        // A second handler does not take over while the first is active.
        const SigintHandler second([] {});
        EXPECT_FALSE(second.isInstalled());

        ASSERT_EQ(std::raise(SIGINT), 0);
        EXPECT_FALSE(interrupted);
        QElapsedTimer timer;
        timer.start();
        while (!interrupted && timer.elapsed() < 5000) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
        }
    }
    EXPECT_TRUE(interrupted);
    // The previous disposition is back.
    struct sigaction current {};
    ::sigaction(SIGINT, nullptr, &current);
    EXPECT_EQ(current.sa_handler, before.sa_handler);
}

}  // namespace
}  // namespace vorda
