#pragma once

#include <QWidget>
#include <map>
#include <string>
#include <tuple>

#include "app/board/BoardSlot.h"
#include "app/board/BookmarkAction.h"
#include "app/board/CommitCardMenu.h"
#include "app/viewmodel/ViewModelTypes.h"

class QHBoxLayout;
class QLabel;
class QLineEdit;
class QPushButton;
class QScrollArea;
class QStackedWidget;
class QToolButton;

namespace vorda {

class BookmarkColumn;
class RepoViewModel;
class SelectionStore;
struct BookmarkColumnInput;

/// A repository window's content: "Loading...", the load error, or the
/// board, a horizontally scrolling row of columns in the order of
/// `boardSlots`, with the filter field and the tag filter above it. It turns
/// the gestures of its columns into view-model calls and keeps the
/// selection pointing at something that is still on the board.
class ContentView : public QWidget {
    Q_OBJECT

  public:
    ContentView(RepoViewModel* viewModel, SelectionStore* selection, QString repoPath,
                QWidget* parent = nullptr);

    /// What a bookmark gesture does, from any menu or column.
    void handleBookmarkAction(const BookmarkAction& action, const Bookmark& bookmark);
    /// Puts the keyboard focus into the filter field.
    void focusFilter();
    /// Clears the selection when its column has left the board.
    void clearSelectionIfHidden();

    /// The slots of the last render, in row order.
    const std::vector<BoardSlot>& renderedSlots() const { return slots_; }
    /// The column widget of a lane shown on the board, by slot identity;
    /// "trunk" names the trunk's pinned box that leads the row.
    BookmarkColumn* laneColumn(const std::string& identity) const;
    /// The text shown in place of the board ("Loading...", an error, or
    /// "No bookmarks or one-offs"); empty while the board is shown.
    QString messageText() const;

  Q_SIGNALS:
    void newBookmarkRequested();
    /// The board's shortcut for the operation log.
    void operationLogRequested();

  protected:
    void keyPressEvent(QKeyEvent* event) override;

  private:
    void scheduleRender();
    void render();
    void renderRow();
    QWidget* columnFor(const BoardSlot& slot, const class LaneInputs& lanes);
    BookmarkColumn* makeLaneColumn(const std::string& identity);
    void wireLaneColumn(BookmarkColumn* column);
    /// The lane's own controls: diff button, close control, renames,
    /// routes and the cards' file lists.
    void wireLaneEditing(BookmarkColumn* column);
    /// The bookmarks composed into `workspaceName`, which its lane's "Rebase
    /// Local Stacks…" preselects; absent when there are none.
    std::optional<StringList> composedBookmarks(
        const std::optional<std::string>& workspaceName) const;
    void rebuildTagMenu();
    /// The card menu's entries for a working copy's unnamed composition
    /// input: "name…", and "Rebase Local Stack…" when it is behind trunk.
    std::vector<commitcardmenu::LaneEntry> unnamedInputEntries(const BookmarkColumnInput& input,
                                                               const JJCommit& commit);
    /// The context menu of a one-off lane: "Name One-off Branch…".
    void showOneOffMenu(const BookmarkColumnInput& input, const QPoint& position);
    /// Opens the dialogs the repository asks for, each request once.
    void showRequestedSheets();
    void showConfirmation(const ConfirmationRequest& request);
    /// Whether the diff column stands on the board now.
    bool isDiffShown() const;
    void updateDiffToggle();
    void selectColumnOf(BookmarkColumn* column);
    void selectCommitIn(BookmarkColumn* column, const std::string& changeID,
                        Qt::KeyboardModifiers modifiers);
    /// The arrow keys: the selection moves, or grows with shift, along the
    /// selected column.
    void moveSelection(int step, bool extend);
    void showDiffForSelection();

    RepoViewModel* viewModel_;
    SelectionStore* selection_;
    QString repoPath_;
    QLineEdit* filter_;
    QToolButton* tags_;
    QPushButton* diffToggle_ = nullptr;
    QStackedWidget* stack_;
    QLabel* message_;
    QScrollArea* scroll_;
    QWidget* row_;
    QHBoxLayout* rowLayout_;
    BookmarkColumn* trunkColumn_ = nullptr;
    /// Every column widget on the row, by slot identity; reused across
    /// renders so a column keeps its scroll position and rows.
    std::map<std::string, QWidget*> columns_;
    std::vector<BoardSlot> slots_;
    bool renderScheduled_ = false;
    /// What the diff column was last asked to show: selected changes,
    /// bookmark, column changes.
    using DiffSelection =
        std::tuple<std::vector<std::string>, std::optional<std::string>, std::vector<std::string>>;
    std::optional<DiffSelection> shownDiffSelection_;
    std::string shownConfirmationID_;
    std::string shownForcePushID_;
};

}  // namespace vorda
