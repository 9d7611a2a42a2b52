#pragma once

#include <QStyle>
#include <QToolBar>

#include "app/window/RepoCommandTarget.h"

class QAction;

namespace vorda {

class BookmarkMenuToolbarButton;
class PushToolbarButton;
class RepoActivityStatusView;
class RepositoryIdentityLabel;

/// A repository window's toolbar. Each item carries its identifier as its
/// object name (and its action's): "working-copy", "status",
/// "new-bookmark", "fetch", "commit", "push", "bookmark-menu" and "undo".
/// The toolbar is movable. Each button has an icon from the desktop's theme,
/// or Qt's own, beside its text.
///
/// It acts through the window's own target, not the focused one: a toolbar
/// belongs to its window.
class RepoToolbar : public QToolBar {
    Q_OBJECT

  public:
    explicit RepoToolbar(RepoCommandTarget target, QWidget* parent = nullptr);

    RepositoryIdentityLabel* identityLabel() const { return identity_; }
    RepoActivityStatusView* statusView() const { return status_; }
    PushToolbarButton* pushButton() const { return push_; }
    BookmarkMenuToolbarButton* bookmarkMenuButton() const { return bookmarkMenu_; }
    /// The item with `identifier`, null for an unknown one.
    QAction* item(const QString& identifier) const;

  Q_SIGNALS:
    /// The status area's conflict count was pressed.
    void conflictSheetRequested();

  private:
    QAction* addButton(const QString& identifier, const QString& label, const QString& tooltip,
                       const QIcon& icon);
    QIcon themedIcon(const char* name, QStyle::StandardPixmap fallback) const;
    QAction* addItem(const QString& identifier, QWidget* widget);
    void updateItems();

    RepoCommandTarget target_;
    RepositoryIdentityLabel* identity_ = nullptr;
    RepoActivityStatusView* status_ = nullptr;
    PushToolbarButton* push_ = nullptr;
    BookmarkMenuToolbarButton* bookmarkMenu_ = nullptr;
    QAction* newBookmark_ = nullptr;
    QAction* fetch_ = nullptr;
    QAction* commit_ = nullptr;
    QAction* undo_ = nullptr;
    QAction* rebaseLocalStacks_ = nullptr;
    QAction* operationLog_ = nullptr;
};

}  // namespace vorda
