#pragma once

#include <QObject>
#include <QPointer>
#include <optional>
#include <vector>

#include "app/window/RepoCommandTarget.h"

class QAction;
class QMenu;
class QMenuBar;
class QTimer;

namespace vorda {

/// The application's "Repo", "View" and "Bookmark" menus, acting on the
/// focused repository window. There is one per application: each window
/// installs the same actions into its own menu bar, and whichever window has
/// focus publishes its `RepoCommandTarget` here. With no target every entry
/// is disabled.
///
/// Repo and View entries are shared actions whose enabled state follows the
/// target. The Bookmark menu depends on the selection, so each installed copy
/// is filled afresh before it opens, and also whenever the target, its
/// selection or its state changes, which keeps its shortcuts current.
class RepoMenuCommands : public QObject {
    Q_OBJECT

  public:
    explicit RepoMenuCommands(QObject* parent = nullptr);

    /// Publishes the focused window's target, or none.
    void setFocusedTarget(std::optional<RepoCommandTarget> target);
    const std::optional<RepoCommandTarget>& focusedTarget() const { return target_; }

    /// Adds "Repo", "View" and "Bookmark" menus to a window's menu bar. The
    /// menus belong to the menu bar; their actions stay shared.
    void installMenus(QMenuBar* menuBar);
    /// Adds the filter entries to a View menu that a window builds itself.
    void addViewEntries(QMenu* menu) const;
    /// Fills `menu` with the Bookmark menu's entries for the current target.
    void fillBookmarkMenu(QMenu* menu) const;

    QAction* fetchAction() const { return fetch_; }
    QAction* newBookmarkAction() const { return newBookmark_; }
    QAction* commitAction() const { return commit_; }
    QAction* undoAction() const { return undo_; }
    QAction* rebaseLocalStacksAction() const { return rebaseLocalStacks_; }
    QAction* moveToFeatureAction() const { return moveToFeature_; }
    QAction* attachFeatureAction() const { return attachFeature_; }
    QAction* operationLogAction() const { return operationLog_; }
    QAction* filterBookmarksAction() const { return filterBookmarks_; }
    QAction* clearFiltersAction() const { return clearFilters_; }
    /// The Repo and View entries, for checks over all of them.
    std::vector<QAction*> sharedActions() const;

  private:
    QAction* makeAction(const QString& title, const QKeySequence& shortcut);
    /// The target's view model, null with no target.
    RepoViewModel* viewModel() const;
    void connectTarget();
    void updateEnabled();
    void scheduleBookmarkMenuRebuild();
    void rebuildBookmarkMenus();

    std::optional<RepoCommandTarget> target_;
    std::vector<QMetaObject::Connection> targetConnections_;
    std::vector<QPointer<QMenu>> bookmarkMenus_;
    QTimer* rebuildTimer_ = nullptr;

    QAction* fetch_ = nullptr;
    QAction* newBookmark_ = nullptr;
    QAction* commit_ = nullptr;
    QAction* undo_ = nullptr;
    QAction* rebaseLocalStacks_ = nullptr;
    QAction* moveToFeature_ = nullptr;
    QAction* attachFeature_ = nullptr;
    QAction* operationLog_ = nullptr;
    QAction* filterBookmarks_ = nullptr;
    QAction* clearFilters_ = nullptr;
};

}  // namespace vorda
