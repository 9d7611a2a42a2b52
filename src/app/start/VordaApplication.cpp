#include "app/start/VordaApplication.h"

#include <QApplication>
#include <QDir>
#include <QSettings>

#include "app/launcher/LauncherWindow.h"
#include "app/launcher/LauncherWindowController.h"
#include "app/settings/SettingsWindow.h"
#include "app/start/LaunchLog.h"
#include "app/start/PendingOpenRouter.h"
#include "app/start/PendingRepoOpens.h"
#include "app/start/RecentReposStore.h"
#include "app/start/SigintHandler.h"
#include "app/start/SingleInstance.h"
#include "app/start/StartupRouting.h"
#include "app/start/WindowActivityLog.h"
#include "app/update/UpdateController.h"
#include "app/update/UpdateSettingsPage.h"

namespace vorda {
namespace {

std::unique_ptr<QSettings> makeSettings(const QString& file) {
    if (file.isEmpty()) {
        return std::make_unique<QSettings>(QSettings::NativeFormat, QSettings::UserScope,
                                           QStringLiteral("vorda"), QStringLiteral("vorda"));
    }
    return std::make_unique<QSettings>(file, QSettings::IniFormat);
}

// What the command line names, with relative paths made absolute against
// this process's working folder, for a running instance that has its own.
QList<CommandLineOpen> forwardable(const QStringList& arguments) {
    QList<CommandLineOpen> opens = CommandLineArguments::parse(arguments);
    for (CommandLineOpen& open : opens) {
        if (open.kind == CommandLineOpen::Kind::path) {
            open.text = QDir::cleanPath(QDir::current().absoluteFilePath(open.text));
        }
    }
    return opens;
}

}  // namespace

VordaApplication::VordaApplication(WindowFactory factory, MenuInstaller installMenus)
    : VordaApplication(std::move(factory), std::move(installMenus), Options{}) {}

VordaApplication::VordaApplication(WindowFactory factory, MenuInstaller installMenus,
                                   Options options)
    : options_(std::move(options)),
      instanceName_(options_.instanceName.isEmpty() ? instanceServerName() : options_.instanceName),
      settings_(makeSettings(options_.settingsFile)),
      pending_(std::make_unique<PendingRepoOpens>()),
      recents_(std::make_unique<RecentReposStore>(*settings_)),
      launcherController_(std::make_unique<LauncherWindowController>()),
      registry_(std::make_unique<RepoWindowRegistry>(std::move(factory), *recents_,
                                                     *launcherController_, *settings_)),
      instanceServer_(std::make_unique<InstanceServer>()) {
    QApplication::setQuitOnLastWindowClosed(false);
    registry_->setMenuInstaller(std::move(installMenus));
    updates_ = std::make_unique<UpdateController>();
    registry_->setUpdates(updates_.get());
    registry_->setSettingsOpener([this] { showSettings(); });
    launcher_ = std::make_unique<LauncherWindow>(*registry_);
    registry_->installMenus(launcher_->menuBar());
    connect(launcher_.get(), &LauncherWindow::closeRequested, this,
            &VordaApplication::handleLauncherClosed);
    router_ = std::make_unique<PendingOpenRouter>(*pending_, *registry_);
    startupRouting_ = std::make_unique<StartupRouting>(*pending_, *registry_);
    connect(instanceServer_.get(), &InstanceServer::openRequested, this,
            &VordaApplication::handleForwardedOpens);
}

VordaApplication::~VordaApplication() = default;

bool VordaApplication::forwardToRunningInstance(const QStringList& arguments) {
    const auto result = InstanceClient::forward(instanceName_, forwardable(arguments));
    switch (result) {
        case InstanceClient::Result::forwarded:
            launchlog::write(QStringLiteral("forwarded to the running instance name=") +
                             instanceName_);
            return true;
        case InstanceClient::Result::noInstance:
            becomeInstanceServer();
            return false;
        case InstanceClient::Result::noAnswer:
            launchlog::write(QStringLiteral("the running instance did not answer name=") +
                             instanceName_ + QStringLiteral("; running on our own"));
            return false;
    }
    return false;
}

void VordaApplication::showSettings() {
    if (!settingsWindow_) {
        settingsWindow_ = std::make_unique<SettingsWindow>();
        settingsWindow_->addPage(QStringLiteral("Updates"), new UpdateSettingsPage(*updates_));
    }
    settingsWindow_->show();
    settingsWindow_->raise();
    settingsWindow_->activateWindow();
}

void VordaApplication::start(const QStringList& arguments) {
    launchlog::write(QStringLiteral("AppDelegate.applicationDidFinishLaunching"));
    pending_->ingestCommandLineArguments(arguments);
    if (options_.handleSigint && sigint_ == nullptr) {
        sigint_ = std::make_unique<SigintHandler>();
    }
    if (activityLog_ == nullptr) {
        activityLog_ = std::make_unique<WindowActivityLog>();
    }
    launcherController_->registerWindow(launcher_.get());
    router_->start();
    startupRouting_->route();
    updates_->startAutomaticChecks();
    if (!isInstanceServer()) {
        becomeInstanceServer();
    }
}

void VordaApplication::openUrls(const QList<QUrl>& urls) {
    QStringList texts;
    texts.reserve(urls.size());
    for (const QUrl& url : urls) {
        texts.append(url.toString());
    }
    launchlog::write(QStringLiteral("AppDelegate.open urls=") + launchlog::list(texts));
    pending_->enqueue(urls);
}

bool VordaApplication::isInstanceServer() const {
    return instanceServer_->isListening();
}

void VordaApplication::handleForwardedOpens(const QList<CommandLineOpen>& opens) {
    launchlog::write(QStringLiteral("InstanceServer.received count=") +
                     QString::number(opens.size()));
    if (opens.isEmpty()) {
        registry_->activate();
        return;
    }
    for (const CommandLineOpen& open : opens) {
        if (open.kind == CommandLineOpen::Kind::address) {
            openUrls({QUrl(open.text)});
        } else {
            pending_->enqueue(open.text);
        }
    }
}

void VordaApplication::handleLauncherClosed() {
    launcherController_->hide();
    if (registry_->isEmpty()) {
        launchlog::write(QStringLiteral("launcher closed with no repository window \u2192 quit"));
        QCoreApplication::quit();
    }
}

bool VordaApplication::becomeInstanceServer() {
    return instanceServer_->listen(instanceName_);
}

}  // namespace vorda
