#include "app/window/RepoToolbar.h"

#include <QAction>
#include <QIcon>
#include <QMenu>
#include <QStyle>

#include "app/window/BookmarkActionMenuItems.h"
#include "app/window/BookmarkMenuToolbarButton.h"
#include "app/window/PushToolbarButton.h"
#include "app/window/RepoActivityStatusView.h"
#include "app/window/RepositoryIdentityLabel.h"

namespace vorda {

namespace {

/// A shortcut as this platform writes it ("Ctrl+R").
QString shortcutText(const QKeySequence& sequence) {
    return sequence.toString(QKeySequence::NativeText);
}

}  // namespace

RepoToolbar::RepoToolbar(RepoCommandTarget target, QWidget* parent)
    : QToolBar(QStringLiteral("Repository"), parent), target_(std::move(target)) {
    setObjectName(QStringLiteral("repo-toolbar"));
    setMovable(true);
    setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    setIconSize(QSize(16, 16));
    auto* model = target_.viewModel.data();

    identity_ = new RepositoryIdentityLabel(this);
    addItem(QStringLiteral("working-copy"), identity_);
    status_ = new RepoActivityStatusView(model, this);
    addItem(QStringLiteral("status"), status_);
    connect(status_, &RepoActivityStatusView::conflictSheetRequested, this,
            &RepoToolbar::conflictSheetRequested);
    addSeparator();

    newBookmark_ = addButton(QStringLiteral("new-bookmark"), QStringLiteral("New Bookmark"),
                             QStringLiteral("Create a new bookmark"),
                             themedIcon("list-add", QStyle::SP_FileDialogNewFolder));
    fetch_ = addButton(QStringLiteral("fetch"), QStringLiteral("Fetch"),
                       QStringLiteral("Run jj git fetch (%1)")
                           .arg(shortcutText(QKeySequence(Qt::CTRL | Qt::Key_R))),
                       themedIcon("view-refresh", QStyle::SP_BrowserReload));
    rebaseLocalStacks_ =
        addButton(QStringLiteral("rebase-local-stacks"), QStringLiteral("Rebase Local Stacks…"),
                  QStringLiteral("Preview rebasing local stacks onto current trunk (%1). Protected "
                                 "dependencies and composition inputs stay intact.")
                      .arg(shortcutText(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_R))),
                  themedIcon("go-top", QStyle::SP_ArrowUp));
    commit_ = addButton(QStringLiteral("commit"), QStringLiteral("Commit"),
                        QStringLiteral("Describe the working-copy change (%1)")
                            .arg(shortcutText(QKeySequence(Qt::CTRL | Qt::Key_Return))),
                        themedIcon("document-edit", QStyle::SP_FileDialogDetailedView));

    push_ = new PushToolbarButton(this);
    push_->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    push_->setIcon(themedIcon("go-up", QStyle::SP_ArrowUp));
    addItem(QStringLiteral("push"), push_);
    connect(push_, &PushToolbarButton::pushRequested, this, [this](const Bookmark& bookmark) {
        if (target_.bookmarkAction) {
            target_.bookmarkAction({BookmarkAction::Push{}}, bookmark);
        }
    });
    bookmarkMenu_ = new BookmarkMenuToolbarButton(
        [this](QMenu* menu) {
            BookmarkActionMenuItems::fill(menu, target_.viewModel.data(),
                                          target_.selectedBookmark(), target_.bookmarkAction);
        },
        this);
    addItem(QStringLiteral("bookmark-menu"), bookmarkMenu_);

    undo_ = addButton(
        QStringLiteral("undo"), QStringLiteral("Undo"),
        QStringLiteral("Undo the last jj operation (%1)").arg(shortcutText(QKeySequence::Undo)),
        themedIcon("edit-undo", QStyle::SP_ArrowBack));
    operationLog_ =
        addButton(QStringLiteral("op-log"), QStringLiteral("Operations"),
                  QStringLiteral("Show the recent jj operation log (%1)")
                      .arg(shortcutText(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Z))),
                  themedIcon("document-open-recent", QStyle::SP_FileDialogContentsView));

    connect(newBookmark_, &QAction::triggered, this, [this] {
        if (target_.newBookmark) {
            target_.newBookmark();
        }
    });
    connect(fetch_, &QAction::triggered, this, [this] {
        if (auto* current = target_.viewModel.data()) {
            current->fetch();
        }
    });
    connect(commit_, &QAction::triggered, this, [this] {
        if (target_.commitWorkingCopy) {
            target_.commitWorkingCopy();
        }
    });
    connect(rebaseLocalStacks_, &QAction::triggered, this, [this] {
        if (auto* current = target_.viewModel.data()) {
            current->presentLocalStackRebase(std::nullopt, std::nullopt);
        }
    });
    connect(operationLog_, &QAction::triggered, this, [this] {
        if (target_.openOperationLog) {
            target_.openOperationLog();
        }
    });
    connect(undo_, &QAction::triggered, this, [this] {
        if (auto* current = target_.viewModel.data()) {
            current->send(RepoCommand::Undo{});
        }
    });

    if (model) {
        connect(&model->board(), &BoardModel::changed, this, &RepoToolbar::updateItems);
        connect(&model->activity(), &ActivityModel::changed, this, &RepoToolbar::updateItems);
    }
    if (auto* selection = target_.selection.data()) {
        connect(selection, &SelectionStore::changed, this, &RepoToolbar::updateItems);
    }
    updateItems();
}

QIcon RepoToolbar::themedIcon(const char* name, QStyle::StandardPixmap fallback) const {
    // The desktop's icon theme where it has the icon; Qt's own otherwise.
    return QIcon::fromTheme(QString::fromLatin1(name), style()->standardIcon(fallback));
}

QAction* RepoToolbar::addButton(const QString& identifier, const QString& label,
                                const QString& tooltip, const QIcon& icon) {
    auto* action = addAction(icon, label);
    action->setObjectName(identifier);
    action->setToolTip(tooltip);
    if (auto* button = widgetForAction(action)) {
        button->setObjectName(identifier);
    }
    return action;
}

QAction* RepoToolbar::addItem(const QString& identifier, QWidget* widget) {
    widget->setObjectName(identifier);
    auto* action = addWidget(widget);
    action->setObjectName(identifier);
    return action;
}

QAction* RepoToolbar::item(const QString& identifier) const {
    const auto items = actions();
    for (auto* action : items) {
        if (action->objectName() == identifier) {
            return action;
        }
    }
    return nullptr;
}

void RepoToolbar::updateItems() {
    auto* model = target_.viewModel.data();
    identity_->setRepositoryPath(model ? model->board().repoRoot() : std::nullopt);
    const bool loaded = model && model->board().repoState();
    newBookmark_->setEnabled(loaded && target_.newBookmark);
    fetch_->setEnabled(loaded && !model->activity().fetchInFlight());
    commit_->setEnabled(loaded && target_.commitWorkingCopy);
    undo_->setEnabled(loaded && !model->activity().undoInFlight());
    rebaseLocalStacks_->setEnabled(loaded && !model->activity().isMutating());
    operationLog_->setEnabled(loaded && target_.openOperationLog);

    const auto bookmark = target_.selectedBookmark();
    const bool pushing = bookmark && model->activity().pushInFlight().count(bookmark->name) > 0;
    push_->setBookmark(target_.bookmarkAction ? bookmark : std::nullopt, pushing);
    bookmarkMenu_->setBookmarkName(bookmark ? std::optional(bookmark->name) : std::nullopt);
}

}  // namespace vorda
