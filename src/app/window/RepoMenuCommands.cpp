#include "app/window/RepoMenuCommands.h"

#include <QAction>
#include <QKeySequence>
#include <QMenu>
#include <QMenuBar>
#include <QTimer>

#include "app/window/BookmarkActionMenuItems.h"

namespace vorda {

RepoMenuCommands::RepoMenuCommands(QObject* parent)
    : QObject(parent), rebuildTimer_(new QTimer(this)) {
    rebuildTimer_->setSingleShot(true);
    rebuildTimer_->setInterval(0);
    connect(rebuildTimer_, &QTimer::timeout, this, &RepoMenuCommands::rebuildBookmarkMenus);
    fetch_ = makeAction(QStringLiteral("Fetch"), QKeySequence(Qt::CTRL | Qt::Key_R));
    rebaseLocalStacks_ = makeAction(QStringLiteral("Rebase Local Stacks…"),
                                    QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_R));
    moveToFeature_ = makeAction(QStringLiteral("Move to Feature…"), {});
    attachFeature_ = makeAction(QStringLiteral("Attach Feature to Composition…"), {});
    newBookmark_ = makeAction(QStringLiteral("New Bookmark…"), QKeySequence(Qt::CTRL | Qt::Key_N));
    commit_ = makeAction(QStringLiteral("Commit…"), QKeySequence(Qt::CTRL | Qt::Key_Return));
    undo_ = makeAction(QStringLiteral("Undo Last jj Operation"), {});
    operationLog_ = makeAction(QStringLiteral("Operation Log…"), {});
    filterBookmarks_ =
        makeAction(QStringLiteral("Filter Bookmarks"), QKeySequence(Qt::CTRL | Qt::Key_F));
    clearFilters_ =
        makeAction(QStringLiteral("Clear Filters"), QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_F));

    connect(fetch_, &QAction::triggered, this, [this] {
        if (auto* model = viewModel()) {
            model->fetch();
        }
    });
    connect(rebaseLocalStacks_, &QAction::triggered, this, [this] {
        if (auto* model = viewModel()) {
            model->presentLocalStackRebase(std::nullopt, std::nullopt);
        }
    });
    connect(moveToFeature_, &QAction::triggered, this, [this] {
        if (auto* model = viewModel()) {
            model->beginWorkspaceRouting({}, {}, {});
        }
    });
    connect(attachFeature_, &QAction::triggered, this, [this] {
        if (auto* model = viewModel()) {
            model->presentCompositionAttachment();
        }
    });
    connect(newBookmark_, &QAction::triggered, this, [this] {
        if (target_ && target_->newBookmark) {
            target_->newBookmark();
        }
    });
    connect(commit_, &QAction::triggered, this, [this] {
        if (target_ && target_->commitWorkingCopy) {
            target_->commitWorkingCopy();
        }
    });
    connect(undo_, &QAction::triggered, this, [this] {
        if (auto* model = viewModel()) {
            model->send(RepoCommand::Undo{});
        }
    });
    connect(operationLog_, &QAction::triggered, this, [this] {
        if (target_ && target_->openOperationLog) {
            target_->openOperationLog();
        }
    });
    connect(filterBookmarks_, &QAction::triggered, this, [this] {
        if (target_ && target_->focusFilter) {
            target_->focusFilter();
        }
    });
    connect(clearFilters_, &QAction::triggered, this, [this] {
        if (auto* model = viewModel()) {
            model->board().setFilterText({});
            model->board().setSelectedTagFilters({});
        }
    });
    updateEnabled();
}

QAction* RepoMenuCommands::makeAction(const QString& title, const QKeySequence& shortcut) {
    auto* action = new QAction(title, this);
    action->setShortcut(shortcut);
    return action;
}

std::vector<QAction*> RepoMenuCommands::sharedActions() const {
    return {fetch_, rebaseLocalStacks_, moveToFeature_,   attachFeature_, newBookmark_, commit_,
            undo_,  operationLog_,      filterBookmarks_, clearFilters_};
}

RepoViewModel* RepoMenuCommands::viewModel() const {
    return target_ ? target_->viewModel.data() : nullptr;
}

void RepoMenuCommands::setFocusedTarget(std::optional<RepoCommandTarget> target) {
    for (const auto& connection : targetConnections_) {
        disconnect(connection);
    }
    targetConnections_.clear();
    target_ = std::move(target);
    connectTarget();
    updateEnabled();
    rebuildBookmarkMenus();
}

void RepoMenuCommands::connectTarget() {
    auto* model = viewModel();
    if (!model) {
        return;
    }
    // A window that goes away takes its target with it.
    targetConnections_.push_back(
        connect(model, &QObject::destroyed, this, [this] { setFocusedTarget(std::nullopt); }));
    // The filter decides "Clear Filters"; the state and the selection the
    // Bookmark menu.
    targetConnections_.push_back(connect(&model->board(), &BoardModel::changed, this, [this] {
        updateEnabled();
        scheduleBookmarkMenuRebuild();
    }));
    targetConnections_.push_back(connect(&model->activity(), &ActivityModel::changed, this,
                                         [this] { scheduleBookmarkMenuRebuild(); }));
    if (auto* selection = target_->selection.data()) {
        targetConnections_.push_back(connect(selection, &SelectionStore::changed, this,
                                             [this] { scheduleBookmarkMenuRebuild(); }));
    }
}

void RepoMenuCommands::updateEnabled() {
    auto* model = viewModel();
    const bool hasTarget = model != nullptr;
    for (auto* action : {fetch_, rebaseLocalStacks_, moveToFeature_, attachFeature_, undo_}) {
        action->setEnabled(hasTarget);
    }
    newBookmark_->setEnabled(hasTarget && target_->newBookmark);
    commit_->setEnabled(hasTarget && target_->commitWorkingCopy);
    operationLog_->setEnabled(hasTarget && target_->openOperationLog);
    filterBookmarks_->setEnabled(hasTarget && target_->focusFilter);
    clearFilters_->setEnabled(hasTarget && (!model->board().filterText().empty() ||
                                            !model->board().selectedTagFilters().empty()));
}

void RepoMenuCommands::installMenus(QMenuBar* menuBar) {
    auto* repo = menuBar->addMenu(QStringLiteral("Repo"));
    repo->addAction(fetch_);
    repo->addAction(rebaseLocalStacks_);
    repo->addAction(moveToFeature_);
    repo->addAction(attachFeature_);
    repo->addSeparator();
    repo->addAction(newBookmark_);
    repo->addAction(commit_);
    repo->addSeparator();
    repo->addAction(undo_);
    repo->addAction(operationLog_);

    addViewEntries(menuBar->addMenu(QStringLiteral("View")));

    auto* bookmark = menuBar->addMenu(QStringLiteral("Bookmark"));
    connect(bookmark, &QMenu::aboutToShow, this, [this, bookmark] {
        discardMenuEntries(bookmark);
        fillBookmarkMenu(bookmark);
    });
    bookmarkMenus_.emplace_back(bookmark);
    fillBookmarkMenu(bookmark);
}

void RepoMenuCommands::addViewEntries(QMenu* menu) const {
    menu->addAction(filterBookmarks_);
    menu->addAction(clearFilters_);
}

void RepoMenuCommands::fillBookmarkMenu(QMenu* menu) const {
    if (viewModel()) {
        BookmarkActionMenuItems::fill(menu, viewModel(), target_->selectedBookmark(),
                                      target_->bookmarkAction);
        menu->addSeparator();
        CommitActionMenuItems::fill(menu, target_->selectedCommit(), target_->commitAction);
    } else {
        BookmarkActionMenuItems::fill(menu, nullptr, std::nullopt, {});
        menu->addSeparator();
        CommitActionMenuItems::fill(menu, std::nullopt, {});
    }
    // The application menu's shortcuts act anywhere in its window.
    const auto entries = menu->actions();
    for (auto* entry : entries) {
        if (!entry->shortcut().isEmpty()) {
            entry->setShortcutContext(Qt::WindowShortcut);
        }
    }
}

void RepoMenuCommands::scheduleBookmarkMenuRebuild() {
    // Several fields change together when a snapshot lands: one rebuild, once
    // control returns to the event loop.
    if (!rebuildTimer_->isActive()) {
        rebuildTimer_->start();
    }
}

void RepoMenuCommands::rebuildBookmarkMenus() {
    std::erase_if(bookmarkMenus_, [](const QPointer<QMenu>& menu) { return menu.isNull(); });
    for (const auto& guarded : bookmarkMenus_) {
        auto* menu = guarded.data();
        // An open menu keeps what it shows; it is filled again before it
        // opens next time.
        if (!menu || menu->isVisible()) {
            continue;
        }
        discardMenuEntries(menu);
        fillBookmarkMenu(menu);
    }
}

}  // namespace vorda
