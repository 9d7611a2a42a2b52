#pragma once

#include <QList>
#include <QObject>
#include <QString>
#include <functional>
#include <optional>
#include <vector>

class QMenuBar;
class QSettings;
class QWidget;

namespace vorda {

class LauncherWindowController;
class RecentReposStore;
class RepoWindowLifecycle;
class UpdateController;

/// The application's repository windows: one per repository path, made by a
/// factory that the application supplies. It knows which windows exist,
/// hides the launcher while a repository window exists and shows it when the
/// last one closes (unless the application is quitting), and opens a window
/// for a path or brings the existing one forward.
///
/// For each window it makes, the registry sets `Qt::WA_DeleteOnClose`, the
/// path as title if the window has none, a `WindowFrameSaver` for the path,
/// and — for a `QMainWindow` — the File menu at the front of its menu bar,
/// after which the menu installer (if any) runs on that menu bar.
///
///     RepoWindowRegistry registry(
///         [](const QString& path) { return new RepoWindow(path); },
///         recents, launcher, settings);
///     registry.openWindow("/home/me/repo");   // a new window
///     registry.openWindow("/home/me/repo");   // the same one, brought forward
class RepoWindowRegistry : public QObject {
    Q_OBJECT

  public:
    using WindowFactory = std::function<QWidget*(const QString& path)>;
    using MenuInstaller = std::function<void(QMenuBar* menuBar)>;
    using DirectoryPicker = std::function<std::optional<QString>(QWidget* parent)>;

    /// `recents`, `launcher` and `settings` (where window frames live) must
    /// outlive the registry.
    RepoWindowRegistry(WindowFactory factory, RecentReposStore& recents,
                       LauncherWindowController& launcher, QSettings& settings,
                       QObject* parent = nullptr);
    /// Deletes the windows that are still open, without showing the launcher.
    ~RepoWindowRegistry() override;
    RepoWindowRegistry(const RepoWindowRegistry&) = delete;
    RepoWindowRegistry& operator=(const RepoWindowRegistry&) = delete;

    /// The window for `path`: the existing one brought forward, or a new one
    /// from the factory, tracked and shown. Absent if the factory made none.
    QWidget* openWindow(const QString& path);
    /// Records `path` in the recent list, then `openWindow(path)`: what the
    /// File menu and the launcher do when the user picks a repository.
    QWidget* recordAndOpen(const QString& path);

    /// The window open for `path`, if any.
    QWidget* window(const QString& path) const;
    /// The open windows, least recently active first.
    QList<QWidget*> windows() const;
    bool isEmpty() const { return entries_.empty(); }
    int count() const { return static_cast<int>(entries_.size()); }

    /// Brings the most recently active repository window forward, or shows
    /// the launcher when there is none (a second launch without paths).
    void activate();

    /// Runs on each new `QMainWindow`'s menu bar after the File menu is in.
    void setMenuInstaller(MenuInstaller installer) { menuInstaller_ = std::move(installer); }
    /// Gives every menu bar from now on a Help menu with this controller's
    /// "Check for Updates..."; it must outlive the registry.
    void setUpdates(UpdateController* updates) { updates_ = updates; }
    /// Installs the File menu, then the menu installer, then the Help menu
    /// on `menuBar`.
    void installMenus(QMenuBar* menuBar);

    /// What "Settings…" in the File menu opens; without it the entry is
    /// left out.
    void setSettingsOpener(std::function<void()> opener) { settingsOpener_ = std::move(opener); }
    const std::function<void()>& settingsOpener() const { return settingsOpener_; }

    /// The directory picker of "Open Repo…"; the default is `QFileDialog`.
    void setDirectoryPicker(DirectoryPicker picker) { directoryPicker_ = std::move(picker); }
    /// Asks the user for a directory; absent when cancelled.
    std::optional<QString> pickDirectory(QWidget* parent) const;

    RecentReposStore& recents() const { return *recents_; }
    LauncherWindowController& launcher() const { return *launcher_; }

  signals:
    void windowOpened(QWidget* window, const QString& path);
    void windowClosed(const QString& path);

  private:
    struct Entry {
        QString path;
        QWidget* window = nullptr;
        QString description;
        RepoWindowLifecycle* lifecycle = nullptr;
    };

    void onAttach(const QString& path, QWidget* window);
    void onClose(QWidget* window);
    void onActivate(QWidget* window);
    static void bringForward(QWidget* window);

    WindowFactory factory_;
    RecentReposStore* recents_;
    LauncherWindowController* launcher_;
    QSettings* settings_;
    MenuInstaller menuInstaller_;
    DirectoryPicker directoryPicker_;
    std::function<void()> settingsOpener_;
    UpdateController* updates_ = nullptr;
    // In activation order: the last entry is the most recently active.
    std::vector<Entry> entries_;
    // Set once the application is quitting: the last window closing then
    // leaves the launcher hidden.
    bool quitting_ = false;
};

}  // namespace vorda
