#include "app/start/RepoWindowRegistry.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileDialog>
#include <QMainWindow>
#include <QMenuBar>
#include <QWidget>
#include <algorithm>

#include "app/launcher/FileMenu.h"
#include "app/launcher/LauncherWindowController.h"
#include "app/start/LaunchLog.h"
#include "app/start/RecentReposStore.h"
#include "app/start/RepoWindowLifecycle.h"
#include "app/start/WindowFrameSaver.h"
#include "app/update/HelpMenu.h"

namespace vorda {

RepoWindowRegistry::RepoWindowRegistry(WindowFactory factory, RecentReposStore& recents,
                                       LauncherWindowController& launcher, QSettings& settings,
                                       QObject* parent)
    : QObject(parent),
      factory_(std::move(factory)),
      recents_(&recents),
      launcher_(&launcher),
      settings_(&settings) {
    // Qt closes every window when the application quits; a launcher shown
    // then would only flash.
    if (QCoreApplication::instance() != nullptr) {
        connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, this,
                [this] { quitting_ = true; });
    }
}

RepoWindowRegistry::~RepoWindowRegistry() {
    std::vector<Entry> remaining;
    remaining.swap(entries_);
    for (const Entry& entry : remaining) {
        if (entry.lifecycle != nullptr) {
            entry.lifecycle->detach();
        }
    }
    for (const Entry& entry : remaining) {
        delete entry.window;
    }
}

QWidget* RepoWindowRegistry::openWindow(const QString& path) {
    if (QWidget* existing = window(path)) {
        bringForward(existing);
        return existing;
    }
    QWidget* created = factory_ ? factory_(path) : nullptr;
    if (created == nullptr) {
        launchlog::write(QStringLiteral("RepoWindowRegistry.openWindow made no window path=") +
                         path);
        return nullptr;
    }
    created->setAttribute(Qt::WA_DeleteOnClose);
    if (created->windowTitle().isEmpty()) {
        created->setWindowTitle(path);
    }
    if (auto* mainWindow = qobject_cast<QMainWindow*>(created)) {
        installMenus(mainWindow->menuBar());
    }
    auto* saver = new WindowFrameSaver(path, *settings_, created);
    saver->attach(created);

    auto* lifecycle =
        new RepoWindowLifecycle([this, path](QWidget* window) { onAttach(path, window); },
                                [this](QWidget* window) { onClose(window); },
                                [this](QWidget* window) { onActivate(window); }, this);
    lifecycle->attach(created);
    const auto entry = std::find_if(entries_.begin(), entries_.end(),
                                    [&](const Entry& each) { return each.window == created; });
    if (entry != entries_.end()) {
        entry->lifecycle = lifecycle;
    }
    bringForward(created);
    emit windowOpened(created, path);
    return created;
}

QWidget* RepoWindowRegistry::recordAndOpen(const QString& path) {
    recents_->record(path);
    return openWindow(path);
}

QWidget* RepoWindowRegistry::window(const QString& path) const {
    const auto entry = std::find_if(entries_.begin(), entries_.end(),
                                    [&](const Entry& each) { return each.path == path; });
    return entry == entries_.end() ? nullptr : entry->window;
}

QList<QWidget*> RepoWindowRegistry::windows() const {
    QList<QWidget*> result;
    result.reserve(static_cast<qsizetype>(entries_.size()));
    for (const Entry& entry : entries_) {
        result.append(entry.window);
    }
    return result;
}

void RepoWindowRegistry::activate() {
    if (entries_.empty()) {
        launcher_->show();
        return;
    }
    bringForward(entries_.back().window);
}

void RepoWindowRegistry::installMenus(QMenuBar* menuBar) {
    if (menuBar == nullptr) {
        return;
    }
    installFileMenu(menuBar, *this);
    if (menuInstaller_) {
        menuInstaller_(menuBar);
    }
    if (updates_ != nullptr) {
        installHelpMenu(menuBar, *updates_);
    }
}

std::optional<QString> RepoWindowRegistry::pickDirectory(QWidget* parent) const {
    if (directoryPicker_) {
        return directoryPicker_(parent);
    }
    const QString chosen = QFileDialog::getExistingDirectory(
        parent, QStringLiteral("Open Repo"), QDir::homePath(), QFileDialog::ShowDirsOnly);
    if (chosen.isEmpty()) {
        return std::nullopt;
    }
    return chosen;
}

void RepoWindowRegistry::onAttach(const QString& path, QWidget* window) {
    const QString description = launchlog::describe(window);
    entries_.push_back({path, window, description, nullptr});
    launchlog::write(QStringLiteral("repo onAttach window=") + description +
                     QStringLiteral(" title=") + window->windowTitle());
    launcher_->hide();
}

void RepoWindowRegistry::onClose(QWidget* window) {
    const auto entry = std::find_if(entries_.begin(), entries_.end(),
                                    [&](const Entry& each) { return each.window == window; });
    if (entry == entries_.end()) {
        return;
    }
    const bool emptyAfterRemove = entries_.size() == 1;
    launchlog::write(QStringLiteral("repo onClose window=") + entry->description +
                     QStringLiteral(" tracker.isEmpty_after_remove=") +
                     launchlog::flag(emptyAfterRemove));
    const QString path = entry->path;
    RepoWindowLifecycle* lifecycle = entry->lifecycle;
    entries_.erase(entry);
    launchlog::write(QStringLiteral("repo onClose removed, tracker.isEmpty=") +
                     launchlog::flag(entries_.empty()));
    if (lifecycle != nullptr) {
        lifecycle->deleteLater();
    }
    emit windowClosed(path);
    if (entries_.empty() && !quitting_) {
        launcher_->show();
    }
}

void RepoWindowRegistry::onActivate(QWidget* window) {
    const auto entry = std::find_if(entries_.begin(), entries_.end(),
                                    [&](const Entry& each) { return each.window == window; });
    if (entry == entries_.end() || entry + 1 == entries_.end()) {
        return;
    }
    Entry moved = *entry;
    entries_.erase(entry);
    entries_.push_back(moved);
}

void RepoWindowRegistry::bringForward(QWidget* window) {
    if (window->isMinimized()) {
        window->setWindowState(window->windowState() & ~Qt::WindowMinimized);
    }
    window->show();
    window->raise();
    window->activateWindow();
}

}  // namespace vorda
