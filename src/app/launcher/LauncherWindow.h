#pragma once

#include <QList>
#include <QMainWindow>
#include <QString>

#include "app/start/RecentReposStore.h"

class QLabel;
class QListWidget;
class QMenu;
class QPushButton;
class QStackedWidget;

namespace vorda {

class RepoWindowRegistry;

/// The launcher: the window titled "Vorda"
/// that is on screen while no repository window is. Beside the list stand
/// the icon, "Vorda", "Bookmark-centric jj client" and the button
/// "Open Repo…"; the list is headed "Recent". Each row shows a path, with a
/// "missing" label when the folder does not exist; activating a row opens
/// it; its context menu holds "Open" and "Remove from Recent".
///
/// The recent list is read again whenever the launcher controller makes the
/// launcher visible. The window is never destroyed while the application
/// runs: closing it hides it and emits `closeRequested`.
class LauncherWindow : public QMainWindow {
    Q_OBJECT

  public:
    explicit LauncherWindow(RepoWindowRegistry& registry, QWidget* parent = nullptr);

    /// Reads the recent list into the view.
    void reloadRecents();
    const QList<RecentRepo>& recents() const { return recents_; }

    /// Hides the launcher, records `path` and opens its window.
    void openRecent(const QString& path);
    /// Removes `path` from the recent list and reloads it.
    void removeRecent(const QString& path);
    /// The button's flow: pick a directory, record it, open it.
    void openRepoPicker();

    /// The context menu of the row for `path` ("Open", "Remove from Recent").
    QMenu* makeContextMenu(const QString& path, QWidget* parent);

    QListWidget* recentList() const { return list_; }
    /// Whether the empty texts are on show instead of the list.
    bool isShowingEmptyState() const;

  signals:
    /// The user closed the launcher's window.
    void closeRequested();

  protected:
    void closeEvent(QCloseEvent* event) override;
    void showEvent(QShowEvent* event) override;

  private:
    void onVisibilityChanged(bool isVisible);
    void showContextMenu(const QPoint& position);
    QWidget* makeIdentityPanel();
    QWidget* makeRecentPanel();

    RepoWindowRegistry* registry_;
    QList<RecentRepo> recents_;
    QListWidget* list_ = nullptr;
    QStackedWidget* recentStack_ = nullptr;
    QWidget* emptyState_ = nullptr;
};

}  // namespace vorda
