#pragma once

#include <QFrame>

#include "app/column/ResizableColumnWidth.h"

class QLabel;
class QStackedWidget;

namespace vorda {

class ColumnResizeHandle;
class CommitLinkLabel;
class DiffPatchView;
class RepoViewModel;
class SelectionStore;

/// The diff column: what the selection changes, standing right behind the
/// selected column. A header says what is shown (one commit, the union of
/// several, or a whole lane); below it the patch, or a line saying that it
/// is loading, empty or could not be read. Its width is the user's.
class DiffColumn : public QFrame {
    Q_OBJECT

  public:
    DiffColumn(RepoViewModel* viewModel, const SelectionStore* selection,
               QWidget* parent = nullptr);

    DiffPatchView* patchView() const { return patchView_; }

  private:
    void refreshBody();
    void refreshHeader();

    RepoViewModel* viewModel_;
    const SelectionStore* selection_;
    QLabel* title_;
    CommitLinkLabel* titleLinks_ = nullptr;
    QLabel* detail_;
    QStackedWidget* body_;
    QLabel* message_;
    DiffPatchView* patchView_;
    ColumnResizeHandle* resizeHandle_;
    ResizableColumnWidth width_;
};

}  // namespace vorda
