#pragma once

#include <QFrame>
#include <QPoint>
#include <QString>
#include <memory>
#include <optional>
#include <string>

#include "app/board/BookmarkAction.h"
#include "app/column/BookmarkColumnInput.h"
#include "app/column/ResizableColumnWidth.h"
#include "app/drag/DropTarget.h"
#include "app/drag/LaneDrop.h"

namespace vorda {

class CardFileLists;
class ColumnHeader;
class ColumnResizeHandle;
class CommitCardDelegate;
class CommitListModel;
class CommitListView;
class ConflictBanner;
class InlineTipMenu;
class LaneRoutes;
class MergedBanner;
class TrunkPinnedBox;

/// One lane of the board: a bookmark's commits, a working-copy stack, a
/// one-off lane or the trunk, all drawn by this one widget from a
/// `BookmarkColumnInput`. The board owns every fact and every action: the
/// column shows its input and reports each gesture as a signal, and keeps no
/// state but its width.
///
/// Commits are rows of a `CommitListModel` painted by a `CommitCardDelegate`,
/// so a lane of thousands of commits costs no widget per commit. A trailing
/// handle resizes the column; the width is kept in the user's settings under
/// the column's storage key and written when a drag ends.
///
/// ```
/// auto* column = new BookmarkColumn(board);
/// connect(column, &BookmarkColumn::commitClicked, board, &Board::selectCommit);
/// column->setInput(inputFor(lane));
/// ```
class BookmarkColumn : public QFrame, public DropTarget {
    Q_OBJECT

  public:
    explicit BookmarkColumn(QWidget* parent = nullptr);
    ~BookmarkColumn() override;

    BookmarkColumn(const BookmarkColumn&) = delete;
    BookmarkColumn& operator=(const BookmarkColumn&) = delete;

    /// Shows `input`. An input equal to the shown one changes nothing; one
    /// with the same commits keeps the list's rows.
    void setInput(BookmarkColumnInput input);
    const BookmarkColumnInput& input() const { return *input_; }

    CommitListModel* commitModel() const { return model_; }
    CommitListView* commitList() const { return list_; }

    /// The width and its limits; the column's fixed width follows it.
    const ResizableColumnWidth& columnWidth() const { return width_; }

    /// Whether the cards list their changed files (the header's file list
    /// button; the column's own state, kept across inputs).
    bool showsFiles() const;

    /// What the user set up in the lane that outlives the widget: the board
    /// keeps it by lane while the widget serves other lanes.
    struct LaneViewState {
        int scrollPosition = 0;
        bool showsFiles = false;
        bool routesExpanded = false;
    };
    LaneViewState viewState() const;
    /// Puts back a lane's `state`, after `setInput` of that lane.
    void restoreViewState(const LaneViewState& state);
    /// The files of `commitID`, read for a card that asked through
    /// `commitFilesWanted`.
    void showCommitFiles(const std::string& commitID, std::vector<ChangedFile> files);

    /// Whether a drag hovers over the column with a drop it would take.
    bool isDropTargeted() const { return isDropTargeted_; }

    Qt::DropAction dragHover(const QMimeData& mime, const QPoint& position,
                             Qt::KeyboardModifiers modifiers) override;
    void dragExit() override;
    bool dropData(const QMimeData& mime, const QPoint& position,
                  Qt::KeyboardModifiers modifiers) override;

  Q_SIGNALS:
    /// A commit card was pressed, with the modifier keys held.
    void commitClicked(const std::string& changeID, Qt::KeyboardModifiers modifiers);
    /// The column was pressed outside any commit card.
    void columnClicked();
    /// The inclusion toggle asks for this inclusion in the selected workspace.
    void inclusionToggled(bool included);
    /// The working copies menu asks for this inclusion in `workspace`.
    void workspaceInclusionRequested(const std::string& workspace, bool included);
    /// The history of the lane is to be opened or closed.
    void toggleExpandRequested();
    /// The next page of history is wanted.
    void loadMoreRequested();
    /// A gesture on the lane's bookmark: the pull request badge (`viewPR`),
    /// "Unpin" (`togglePinned`) and "Rebase Local Stack…" (`reparentToTrunk`).
    void bookmarkAction(const vorda::BookmarkAction& action);
    /// The trunk column's "Rebase Local Stacks…".
    void advanceTrunkRequested();
    /// A working-copy lane's "Rebase Local Stacks…".
    void rebaseLocalStacksRequested();
    /// The conflict banner's "Resolve".
    void resolveConflictRequested();
    /// A context menu is wanted at `globalPosition`; `changeID` names the
    /// commit under the pointer, absent outside the cards.
    void contextMenuRequested(const QPoint& globalPosition,
                              const std::optional<std::string>& changeID);
    /// The width changed by a drag of the trailing handle.
    void widthChanged(double width);
    /// The header's diff button: open the diff column beside this column,
    /// or close it.
    void diffToggleRequested();
    /// The close control: take the lane off the board.
    void closeRequested();
    /// The title of a real bookmark was renamed in place.
    void renameRequested(const std::string& newName);
    /// The bookmark's routing rules, changed as a whole.
    void routingRulesChanged(const std::vector<FileRoutingRule>& rules);
    /// A card in view wants its commit's files (see `showCommitFiles`).
    void commitFilesWanted(const std::string& changeID, const std::string& commitID);
    /// Another bookmark's chip was renamed in place, or is to be deleted.
    void renameInlineBookmarkRequested(const std::string& oldName, const std::string& newName);
    void deleteInlineBookmarkRequested(const std::string& name);
    /// Something was dropped on the lane; the board carries it out.
    void dropped(const vorda::LaneDrop& drop);

  protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

  private:
    void connectParts();
    void loadWidth();
    void applyWidth();
    void handleRowPressed(const QModelIndex& index, Qt::KeyboardModifiers modifiers);
    /// Starts dragging the commit at `index`, or the marker under
    /// `pressPosition` (viewport coordinates) when the press was on one.
    void startRowDrag(const QModelIndex& index, const QPoint& pressPosition);
    /// The commits a drag of `index` carries: the lane's selected commits
    /// when it is one of them, else that commit alone.
    CommitDragPayload commitDragPayload(const QModelIndex& index) const;
    /// The list row under `position` (column coordinates), if any.
    std::optional<int> rowAt(const QPoint& position) const;
    /// What a drop of `content` over `row` (absent outside the rows) does.
    std::optional<LaneDrop> dropAt(const DragContent& content, const std::optional<int>& row,
                                   Qt::KeyboardModifiers modifiers) const;

    std::shared_ptr<const BookmarkColumnInput> input_;
    std::optional<QString> widthKey_;
    ResizableColumnWidth width_;

    ColumnHeader* header_;
    LaneRoutes* routes_;
    TrunkPinnedBox* trunkBox_;
    MergedBanner* mergedBanner_;
    ConflictBanner* conflictBanner_;
    CommitListModel* model_;
    CommitCardDelegate* delegate_;
    CommitListView* list_;
    ColumnResizeHandle* resizeHandle_;
    CardFileLists* fileLists_;
    InlineTipMenu* tipMenu_;
    /// Where the left button went down outside the rows, for a drag of the
    /// lane's bookmark; absent when no press is pending.
    std::optional<QPoint> pressPosition_;
    bool isDropTargeted_ = false;
};

}  // namespace vorda
