#pragma once

#include <QWidget>
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <unordered_map>

#include "app/board/BoardSlot.h"
#include "app/board/BookmarkAction.h"
#include "app/board/CommitCardMenu.h"
#include "app/viewmodel/ViewModelTypes.h"

class QLabel;
class QLineEdit;
class QPushButton;
class QScrollArea;
class QStackedWidget;
class QToolButton;

namespace vorda {

class BookmarkColumn;
class BoardRow;
class LaneInputs;
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
    ~ContentView() override;

    /// What a bookmark gesture does, from any menu or column.
    void handleBookmarkAction(const BookmarkAction& action, const Bookmark& bookmark);
    /// Puts the keyboard focus into the filter field.
    void focusFilter();
    /// Clears the selection when its column has left the board.
    void clearSelectionIfHidden();

    /// The slots of the last render, in row order.
    const std::vector<BoardSlot>& renderedSlots() const { return slots_; }
    /// The column widget of a lane shown on the board, by slot identity;
    /// "trunk" names the trunk's pinned box that leads the row. Only the
    /// lanes in and near the view have a widget: null for the others.
    BookmarkColumn* laneColumn(const std::string& identity) const;
    /// Scrolls the lane `identity` into view and answers its widget; null
    /// when no such lane is on the board.
    BookmarkColumn* ensureLaneVisible(const std::string& identity);
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
    /// The widget of a column that always exists (diff, hidden panel,
    /// placeholder); null for a lane.
    QWidget* sideColumnFor(const BoardSlot& slot);
    BookmarkColumn* makeLaneColumn(QWidget* parent);
    /// Gives `column` the input of the lane `identity` (a slot identity, or
    /// the trunk's own).
    void showLane(BookmarkColumn& column, const std::string& identity);
    /// What the lane `identity` shows, as of the last render.
    std::optional<BookmarkColumnInput> laneInput(const std::string& identity) const;
    /// A lane's width before it has a widget: its stored width, read once.
    int laneWidth(const ColumnID& column);
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
    BoardRow* row_;
    /// The columns that are not lanes, by slot identity; reused across
    /// renders.
    std::map<std::string, QWidget*> sideColumns_;
    std::vector<BoardSlot> slots_;
    /// Where each slot identity stands in `slots_`.
    std::unordered_map<std::string, std::size_t> slotIndex_;
    /// The lanes' inputs as of the last render, for lanes that come into
    /// view later.
    std::unique_ptr<LaneInputs> lanes_;
    /// Lane widths by storage key.
    std::unordered_map<std::string, int> laneWidths_;
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
