#pragma once

#include <QFrame>
#include <QPoint>
#include <string>
#include <vector>

#include "app/column/ResizableColumnWidth.h"
#include "app/hidden/HiddenPanelRows.h"
#include "feature/session/RepoSnapshot.h"

class QLabel;
class QLineEdit;

namespace vorda {

class ColumnResizeHandle;
class HiddenRenameField;
class HiddenRevsetSearch;
class HiddenRowDelegate;
class HiddenRowsModel;
class HiddenRowsView;
class RepoViewModel;
class SelectionStore;

/// The last real column of the board: what the board does not show (hidden
/// bookmarks, hidden one-off lanes, untracked remote bookmarks), with a
/// search by name or by revset, and the ways to bring an item onto the
/// board, track a remote bookmark, rename or delete a bookmark.
///
/// Its state (open item, rename, search, cursor) lives in the view model's
/// `HiddenPanelModel`, so the board may drop and remake this widget; only
/// the revset's answer is its own. A commit row under the cursor selects its
/// commit in the window's `SelectionStore` as the hidden column, and the
/// diff column follows. Keys are the list's (`HiddenRowsView`); Down in the
/// search field enters the list. The trailing handle resizes the column;
/// the width is kept under "vorda.columnWidth.hidden".
class HiddenBookmarksColumn : public QFrame {
    Q_OBJECT

  public:
    HiddenBookmarksColumn(RepoViewModel* viewModel, SelectionStore* selection,
                          QWidget* parent = nullptr);
    ~HiddenBookmarksColumn() override;
    HiddenBookmarksColumn(const HiddenBookmarksColumn&) = delete;
    HiddenBookmarksColumn& operator=(const HiddenBookmarksColumn&) = delete;

    HiddenRowsView* rowsView() const { return rows_; }
    HiddenRowsModel* rowsModel() const { return model_; }
    QLineEdit* searchField() const { return search_; }
    /// "M", or "N of M" while a search narrows the list.
    QString countText() const;
    /// What the list says while it has no rows; empty while it has some.
    QString emptyText() const;
    const ResizableColumnWidth& columnWidth() const { return width_; }

    /// Moves the keyboard cursor a row up (-1) or down (+1); a commit row
    /// it lands on is selected, or with `extend` joins the selection as a
    /// shift-click would.
    void moveCursor(int step, bool extend);

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

  private:
    void connectParts();
    void connectWidth();
    void scheduleRefresh();
    void refresh();
    /// Runs a scheduled refresh now.
    void flushRefresh();
    void pressRow(const QModelIndex& index, const QPoint& position,
                  Qt::KeyboardModifiers modifiers);
    void selectCommitRow(const hiddenpanel::PanelEntry& entry, Qt::KeyboardModifiers modifiers);
    void activateCursor();
    void renameCursor();
    void showContextMenu(const QPoint& globalPosition, const QModelIndex& index);
    void placeRenameEditor();
    /// Ends the inline rename and renames the bookmark when the draft is a
    /// real change.
    void commitHiddenPanelRename();
    /// The model row of the cursor, the rows brought up to date first; -1
    /// when it has none.
    int cursorIndex();
    /// The change IDs of the commit rows, in order.
    std::vector<std::string> visibleChangeOrder() const;
    hiddenpanel::BoardPlacement placementOf(const std::string& name) const;

    RepoViewModel* viewModel_;
    SelectionStore* selection_;
    HiddenRevsetSearch* revsetSearch_;
    QLabel* count_;
    QLineEdit* search_;
    QLabel* empty_;
    HiddenRowsModel* model_;
    HiddenRowDelegate* delegate_;
    HiddenRowsView* rows_;
    HiddenRenameField* renameEditor_;
    ColumnResizeHandle* resizeHandle_;
    ResizableColumnWidth width_;
    SnapshotRef shownSnapshot_;
    bool refreshScheduled_ = false;
};

}  // namespace vorda
