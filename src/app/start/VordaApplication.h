#pragma once

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QUrl>
#include <functional>
#include <memory>

#include "app/start/CommandLineArguments.h"
#include "app/start/RepoWindowRegistry.h"

class QSettings;

namespace vorda {

class InstanceServer;
class LauncherWindow;
class LauncherWindowController;
class PendingOpenRouter;
class PendingRepoOpens;
class RecentReposStore;
class SettingsWindow;
class SigintHandler;
class StartupRouting;
class UpdateController;
class WindowActivityLog;

/// The application's start and window layer in one object: the
/// pending-open queue, the recent list and window frames in the user's
/// settings, the repository window registry, the launcher and its
/// controller, the router, the start-up routing, the single-instance server,
/// the SIGINT handler and the update check (each window's Help menu).
/// `main` makes one after the `QApplication`:
///
///     QApplication app(argc, argv);
///     VordaApplication vorda(
///         [](const QString& path) { return new RepoWindow(path); },
///         [](QMenuBar* bar) { /* Repo, View, Bookmark menus */ });
///     const QStringList args = QCoreApplication::arguments();
///     if (vorda.forwardToRunningInstance(args)) return 0;
///     vorda.start(args);
///     return app.exec();
///
/// The factory makes a repository window for a path; the registry owns what
/// it returns (see `RepoWindowRegistry`). The menu installer runs on the
/// launcher's menu bar and on each repository `QMainWindow`'s menu bar,
/// after the File menu is in; `menuBar->window()` tells which window it is.
///
/// The constructor turns `QApplication::quitOnLastWindowClosed` off: the
/// launcher is hidden, not closed, when a repository window opens, so Qt's
/// rule would end the process at the wrong moment. The application ends
/// when the user closes the launcher with no repository window open, on
/// "Quit", or on SIGINT.
class VordaApplication : public QObject {
    Q_OBJECT

  public:
    using WindowFactory = RepoWindowRegistry::WindowFactory;
    using MenuInstaller = RepoWindowRegistry::MenuInstaller;

    struct Options {
        /// An INI file for the recent list and the window frames; empty for
        /// the user's settings (`~/.config/vorda/vorda.conf`).
        QString settingsFile;
        /// The single-instance channel's name; empty for `instanceServerName()`.
        QString instanceName;
        /// Whether `start` installs the SIGINT handler (tests say no).
        bool handleSigint = true;
    };

    VordaApplication(WindowFactory factory, MenuInstaller installMenus);
    VordaApplication(WindowFactory factory, MenuInstaller installMenus, Options options);
    ~VordaApplication() override;
    VordaApplication(const VordaApplication&) = delete;
    VordaApplication& operator=(const VordaApplication&) = delete;

    /// If another instance of this user answers, hands it what `arguments`
    /// (the whole command line, program first) name and returns true: the
    /// caller should exit with status 0. Otherwise this process becomes the
    /// instance (a stale socket is removed) and the answer is false.
    bool forwardToRunningInstance(const QStringList& arguments);

    /// The start of the process (applicationDidFinishLaunching): logs, reads
    /// the command line into the queue, installs the SIGINT handler and the
    /// window observers, registers the launcher, starts the router and runs
    /// the start-up routing. Listens for later launches if
    /// `forwardToRunningInstance` has not already done so.
    void start(const QStringList& arguments);

    /// Addresses handed over by the system while running (the counterpart of
    /// `application(_:open:)`): logs and enqueues them.
    void openUrls(const QList<QUrl>& urls);

    PendingRepoOpens& pendingOpens() const { return *pending_; }
    RecentReposStore& recentRepos() const { return *recents_; }
    QSettings& settings() const { return *settings_; }
    RepoWindowRegistry& registry() const { return *registry_; }
    LauncherWindowController& launcherController() const { return *launcherController_; }
    LauncherWindow& launcher() const { return *launcher_; }
    /// The update check behind every window's "Check for Updates...".
    UpdateController& updates() const { return *updates_; }
    /// Opens the settings window (made on first use) in front.
    void showSettings();
    SettingsWindow* settingsWindow() const { return settingsWindow_.get(); }
    const QString& instanceName() const { return instanceName_; }
    bool isInstanceServer() const;

  private:
    void handleForwardedOpens(const QList<CommandLineOpen>& opens);
    void handleLauncherClosed();
    bool becomeInstanceServer();

    Options options_;
    QString instanceName_;
    std::unique_ptr<QSettings> settings_;
    std::unique_ptr<PendingRepoOpens> pending_;
    std::unique_ptr<RecentReposStore> recents_;
    // Outlives the registry, whose windows' Help menus show its action.
    std::unique_ptr<UpdateController> updates_;
    std::unique_ptr<SettingsWindow> settingsWindow_;
    std::unique_ptr<LauncherWindowController> launcherController_;
    std::unique_ptr<RepoWindowRegistry> registry_;
    std::unique_ptr<LauncherWindow> launcher_;
    std::unique_ptr<PendingOpenRouter> router_;
    std::unique_ptr<StartupRouting> startupRouting_;
    std::unique_ptr<InstanceServer> instanceServer_;
    std::unique_ptr<SigintHandler> sigint_;
    std::unique_ptr<WindowActivityLog> activityLog_;
    bool triedInstance_ = false;
};

}  // namespace vorda
