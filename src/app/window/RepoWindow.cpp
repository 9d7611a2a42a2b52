#include "app/window/RepoWindow.h"

#include <QElapsedTimer>
#include <QEvent>
#include <QGuiApplication>
#include <QMenuBar>
#include <QPointer>
#include <algorithm>

#include "app/board/ContentView.h"
#include "app/board/SelectionStore.h"
#include "app/links/LinkRepository.h"
#include "app/sheets/CommitSheetLaunch.h"
#include "app/sheets/CommitSheets.h"
#include "app/sheets/CompositionAttachmentSheet.h"
#include "app/sheets/FeatureInsertionSheet.h"
#include "app/sheets/LocalStackUpdateSheet.h"
#include "app/sheets/OpLogSheet.h"
#include "app/sheets/RebaseConflictReviewSheet.h"
#include "app/viewmodel/RepoViewModel.h"
#include "app/window/CreateBookmarkDialog.h"
#include "app/window/RepoCommandTarget.h"
#include "app/window/RepoMenuCommands.h"
#include "app/window/RepoToolbar.h"

namespace vorda {

RepoWindow::RepoWindow(const QString& repoPath, RepoMenuCommands* menus,
                       const std::function<void(QMenuBar*)>& installMenus, QWidget* parent)
    : QMainWindow(parent),
      repoPath_(repoPath),
      menus_(menus),
      viewModel_(new RepoViewModel(this)),
      selection_(new SelectionStore(this)),
      content_(new ContentView(viewModel_, selection_, repoPath, this)) {
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(repoPath);
    setObjectName(QStringLiteral("repo-window"));
    // Link rules scoped to a repository apply to what this window shows.
    setProperty(linkRepositoryProperty, repoPath);
    setCentralWidget(content_);
    toolbar_ = new RepoToolbar(commandTarget(), this);
    addToolBar(toolbar_);
    if (installMenus) {
        installMenus(menuBar());
    }
    connect(content_, &ContentView::newBookmarkRequested, this, &RepoWindow::showCreateBookmark);
    connect(content_, &ContentView::operationLogRequested, this, &RepoWindow::openOperationLog);
    connect(toolbar_, &RepoToolbar::conflictSheetRequested, this, &RepoWindow::showConflicts);
    connect(&viewModel_->rewrites(), &RewriteModel::changed, this,
            &RepoWindow::showRequestedRewriteSheets);
    // Coming back to the application is a good moment to look again: the
    // repository may have changed from a terminal meanwhile. Only a return
    // counts: the application turns active as its first window is shown,
    // and that window is reading the repository already; focus passing
    // between its own windows (the launcher handing over to this one) may
    // leave it inactive for a moment, which is no return either.
    connect(qApp, &QGuiApplication::applicationStateChanged, this,
            [this, away = QElapsedTimer()](Qt::ApplicationState state) mutable {
                constexpr qint64 returnAfterMs = 500;
                if (state != Qt::ApplicationActive) {
                    if (!away.isValid()) {
                        away.start();
                    }
                } else if (away.isValid()) {
                    if (away.elapsed() >= returnAfterMs) {
                        viewModel_->requestRefresh();
                    }
                    away.invalidate();
                }
            });
    resize(1280, 800);
}

RepoWindow::~RepoWindow() {
    if (menus_ != nullptr && isActiveWindow()) {
        menus_->setFocusedTarget(std::nullopt);
    }
}

RepoCommandTarget RepoWindow::commandTarget() {
    RepoCommandTarget target;
    target.viewModel = viewModel_;
    target.selection = selection_;
    target.bookmarkAction = [this](const BookmarkAction& action, const Bookmark& bookmark) {
        content_->handleBookmarkAction(action, bookmark);
    };
    target.commitAction = [this](CommitAction action, const JJCommit& commit) {
        if (action == CommitAction::describe) {
            commitsheets::openDescribe(*viewModel_, commit, this);
            return;
        }
        if (action == CommitAction::reviewConflicts) {
            // The other conflicted changes are a step away.
            auto changeIDs = viewModel_->board().conflictedChangeIDs();
            const auto found = std::find(changeIDs.begin(), changeIDs.end(), commit.changeID);
            const auto start = static_cast<std::size_t>(found - changeIDs.begin());
            if (found == changeIDs.end()) {
                changeIDs.push_back(commit.changeID);
            }
            (new RebaseConflictReviewSheet(*viewModel_, std::move(changeIDs), start, this))->open();
            return;
        }
        commitsheets::openSplit(*viewModel_, commit, this);
    };
    target.newBookmark = [this] {
        showCreateBookmark();
    };
    target.commitWorkingCopy = [this] {
        describeWorkingCopy();
    };
    target.focusFilter = [this] {
        content_->focusFilter();
    };
    target.openOperationLog = [this] {
        openOperationLog();
    };
    return target;
}

void RepoWindow::openOperationLog() {
    // One log per window: the shortcut on an open log only reloads it.
    auto* sheet = findChild<OpLogSheet*>();
    if (sheet == nullptr || !sheet->isVisible()) {
        sheet = new OpLogSheet(viewModel_, viewModel_->operationLog(), this);
        sheet->open();
    }
    viewModel_->loadRecentOps();
}

void RepoWindow::showCreateBookmark() {
    auto* dialog = new CreateBookmarkDialog(viewModel_, this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->open();
}

namespace {

/// Opens a `Sheet` while `requested` holds and none is open; closing it
/// answers the request through `answer`.
template <typename Sheet>
void openRequested(QPointer<Sheet>& open, bool requested, RepoViewModel& viewModel, QWidget* window,
                   std::function<void()> answer) {
    if (!requested || !open.isNull()) {
        return;
    }
    auto* sheet = new Sheet(viewModel, window);
    open = sheet;
    QObject::connect(sheet, &QObject::destroyed, &viewModel.rewrites(), std::move(answer));
    sheet->open();
}

}  // namespace

void RepoWindow::showRequestedRewriteSheets() {
    auto& rewrites = viewModel_->rewrites();
    openRequested(localStackSheet_, rewrites.showLocalStackUpdateSheet(), *viewModel_, this,
                  [&rewrites] { rewrites.setShowLocalStackUpdateSheet(false); });
    openRequested(routingSheet_, rewrites.showFeatureInsertionSheet(), *viewModel_, this,
                  [&rewrites] { rewrites.setShowFeatureInsertionSheet(false); });
    openRequested(attachmentSheet_, rewrites.showCompositionAttachmentSheet(), *viewModel_, this,
                  [&rewrites] { rewrites.setShowCompositionAttachmentSheet(false); });
}

void RepoWindow::showConflicts() {
    (new ConflictResolveSheet(*viewModel_, viewModel_->board().conflictedFiles(), this))->open();
}

void RepoWindow::closeEvent(QCloseEvent* event) {
    // Nothing this window asked for is started or shown any more.
    viewModel_->close();
    QMainWindow::closeEvent(event);
}

void RepoWindow::describeWorkingCopy() {
    if (const auto* commit = viewModel_->board().workingCopyCommit()) {
        commandTarget().commitAction(CommitAction::describe, *commit);
    }
}

void RepoWindow::showEvent(QShowEvent* event) {
    QMainWindow::showEvent(event);
    if (!loaded_) {
        loaded_ = true;
        viewModel_->load(repoPath_.toStdString());
    }
}

void RepoWindow::changeEvent(QEvent* event) {
    QMainWindow::changeEvent(event);
    if (event->type() == QEvent::ActivationChange && menus_ != nullptr && isActiveWindow()) {
        menus_->setFocusedTarget(commandTarget());
    }
}

}  // namespace vorda
