#pragma once

#include <QMainWindow>
#include <QPointer>
#include <functional>

class QMenuBar;

namespace vorda {

class ContentView;
class CompositionAttachmentSheet;
class FeatureInsertionSheet;
class LocalStackUpdateSheet;
class RepoMenuCommands;
class RepoToolbar;
class RepoViewModel;
class SelectionStore;
struct RepoCommandTarget;

/// One repository's window: the toolbar, the board and the menus. It owns
/// the window's view model and selection, loads the repository when first
/// shown, and publishes its command target to the application menus while
/// it is the active window. Deleted when closed.
class RepoWindow : public QMainWindow {
    Q_OBJECT

  public:
    /// `installMenus` adds the application's menus to this window's menu
    /// bar; `menus` is told when this window becomes or stops being the
    /// focused one (either may be null in tests).
    RepoWindow(const QString& repoPath, RepoMenuCommands* menus,
               const std::function<void(QMenuBar*)>& installMenus, QWidget* parent = nullptr);
    ~RepoWindow() override;
    RepoWindow(const RepoWindow&) = delete;
    RepoWindow& operator=(const RepoWindow&) = delete;
    RepoWindow(RepoWindow&&) = delete;
    RepoWindow& operator=(RepoWindow&&) = delete;

    RepoViewModel* viewModel() const { return viewModel_; }
    SelectionStore* selection() const { return selection_; }
    ContentView* contentView() const { return content_; }
    RepoToolbar* toolbar() const { return toolbar_; }
    /// What the menus act on while this window is focused.
    RepoCommandTarget commandTarget();
    /// Opens the create-bookmark dialog (window-modal, not blocking).
    void showCreateBookmark();
    /// Opens the operation log, or reloads the one already open.
    void openOperationLog();
    /// Asks for a description of the working-copy commit.
    void describeWorkingCopy();
    /// Opens the sheet of the working copy's conflicted files.
    void showConflicts();

  protected:
    void showEvent(QShowEvent* event) override;
    void changeEvent(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

  private:
    /// Opens the rewrite sheets the view model asks for, one of each kind.
    void showRequestedRewriteSheets();

    QString repoPath_;
    RepoMenuCommands* menus_;
    RepoViewModel* viewModel_;
    SelectionStore* selection_;
    ContentView* content_;
    RepoToolbar* toolbar_ = nullptr;
    QPointer<LocalStackUpdateSheet> localStackSheet_;
    QPointer<FeatureInsertionSheet> routingSheet_;
    QPointer<CompositionAttachmentSheet> attachmentSheet_;
    bool loaded_ = false;
};

}  // namespace vorda
