#include "app/window/RepoToolbar.h"

#include <QAction>
#include <QMenu>

#include "app/window/BookmarkActionMenuItems.h"
#include "app/window/BookmarkMenuToolbarButton.h"
#include "app/window/PushToolbarButton.h"
#include "app/window/RepoActivityStatusView.h"
#include "app/window/RepositoryIdentityLabel.h"

namespace vorda {

RepoToolbar::RepoToolbar(RepoCommandTarget target, QWidget* parent)
    : QToolBar(QStringLiteral("Repository"), parent), target_(std::move(target)) {
    setObjectName(QStringLiteral("repo-toolbar"));
    setMovable(true);
    setToolButtonStyle(Qt::ToolButtonTextOnly);
    auto* model = target_.viewModel.data();

    identity_ = new RepositoryIdentityLabel(this);
    addItem(QStringLiteral("working-copy"), identity_);
    status_ = new RepoActivityStatusView(model, this);
    addItem(QStringLiteral("status"), status_);
    connect(status_, &RepoActivityStatusView::conflictSheetRequested, this,
            &RepoToolbar::conflictSheetRequested);
    addSeparator();

    newBookmark_ = addButton(QStringLiteral("new-bookmark"), QStringLiteral("New Bookmark"),
                             QStringLiteral("Create a new bookmark"));
    fetch_ = addButton(QStringLiteral("fetch"), QStringLiteral("Fetch"),
                       QStringLiteral("Run jj git fetch (⌘R)"));
    rebaseLocalStacks_ = addButton(
        QStringLiteral("rebase-local-stacks"), QStringLiteral("Rebase Local Stacks…"),
        QStringLiteral("Preview rebasing local stacks onto current trunk (⇧⌘R). Protected "
                       "dependencies and composition inputs stay intact."));
    commit_ = addButton(QStringLiteral("commit"), QStringLiteral("Commit"),
                        QStringLiteral("Describe the working-copy change (⌘↩)"));

    push_ = new PushToolbarButton(this);
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

    undo_ = addButton(QStringLiteral("undo"), QStringLiteral("Undo"),
                      QStringLiteral("Undo the last jj operation (⌘Z)"));
    opLog_ = addButton(QStringLiteral("op-log"), QStringLiteral("Operations"),
                       QStringLiteral("Show the recent jj operation log (⇧⌘Z)"));

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
    connect(rebaseLocalStacks_, &QAction::triggered, this, [this] {
        if (auto* current = target_.viewModel.data()) {
            current->presentLocalStackRebase(std::nullopt, std::nullopt);
        }
    });
    connect(commit_, &QAction::triggered, this, [this] {
        if (target_.commitWorkingCopy) {
            target_.commitWorkingCopy();
        }
    });
    connect(undo_, &QAction::triggered, this, [this] {
        if (auto* current = target_.viewModel.data()) {
            current->send(RepoCommand::Undo{});
        }
    });
    connect(opLog_, &QAction::triggered, this, [this] {
        if (auto* current = target_.viewModel.data()) {
            current->setShowOpLogInspector(true);
            current->loadRecentOps();
        }
    });

    if (model) {
        for (const auto signal :
             {&RepoViewModel::repoRootChanged, &RepoViewModel::repoStateChanged,
              &RepoViewModel::fetchInFlightChanged, &RepoViewModel::undoInFlightChanged,
              &RepoViewModel::pushInFlightChanged}) {
            connect(model, signal, this, &RepoToolbar::updateItems);
        }
    }
    if (auto* selection = target_.selection.data()) {
        connect(selection, &SelectionStore::changed, this, &RepoToolbar::updateItems);
    }
    updateItems();
}

QAction* RepoToolbar::addButton(const QString& identifier, const QString& label,
                                const QString& tooltip) {
    auto* action = addAction(label);
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
    identity_->setRepositoryPath(model ? model->repoRoot() : std::nullopt);
    const bool loaded = model && model->repoState();
    newBookmark_->setEnabled(loaded && target_.newBookmark);
    fetch_->setEnabled(loaded && !model->fetchInFlight());
    rebaseLocalStacks_->setEnabled(loaded);
    commit_->setEnabled(loaded && target_.commitWorkingCopy);
    undo_->setEnabled(loaded && !model->undoInFlight());
    opLog_->setEnabled(loaded);

    const auto bookmark = target_.selectedBookmark();
    const bool pushing = bookmark && model->pushInFlight().count(bookmark->name) > 0;
    push_->setBookmark(target_.bookmarkAction ? bookmark : std::nullopt, pushing);
    bookmarkMenu_->setBookmarkName(bookmark ? std::optional(bookmark->name) : std::nullopt);
}

}  // namespace vorda
