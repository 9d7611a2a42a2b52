#include "app/board/ContentView.h"

#include <QDesktopServices>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QScrollArea>
#include <QShortcut>
#include <QStackedWidget>
#include <QTimer>
#include <QToolButton>
#include <QUrl>
#include <QVBoxLayout>
#include <cmath>

#include "app/board/BoardRow.h"
#include "app/board/BoardSideColumns.h"
#include "app/board/CommitCardMenu.h"
#include "app/board/LaneDropActions.h"
#include "app/board/LaneInputs.h"
#include "app/board/SelectionStore.h"
#include "app/column/BookmarkColumn.h"
#include "app/column/ColumnRules.h"
#include "app/column/ColumnWidthStore.h"
#include "app/diffpanel/DiffColumn.h"
#include "app/hidden/HiddenBookmarksColumn.h"
#include "app/sheets/BookmarkSheets.h"
#include "app/sheets/ForcePushWarningSheet.h"
#include "app/viewmodel/CommandPresentation.h"
#include "app/viewmodel/RepoViewModel.h"
#include "app/window/BookmarkActionMenuItems.h"
#include "jjkit/support/Overloaded.h"
#include "jjkit/trace/Bench.h"
#include "jjkit/trace/Perf.h"

namespace vorda {

namespace {

QString qText(const std::string& text) {
    return QString::fromStdString(text);
}

constexpr int messagePage = 0;
constexpr int boardPage = 1;
/// The trunk's place in the row; no bookmark name has a colon.
constexpr const char* trunkIdentity = ":trunk";

/// Folds a one-off lane back into the hidden list; false for other lanes.
bool foldOneOffLane(BoardModel& board, const BookmarkColumnInput& input) {
    const auto* id = std::get_if<ColumnID::OneOff>(&input.selectionColumnID.value);
    if (!input.isSyntheticOneOff() || id == nullptr) {
        return false;
    }
    board.toggleOneOffLaneExpanded(id->changeID);
    return true;
}

}  // namespace

ContentView::ContentView(RepoViewModel* viewModel, SelectionStore* selection, QString repoPath,
                         QWidget* parent)
    : QWidget(parent),
      viewModel_(viewModel),
      selection_(selection),
      repoPath_(std::move(repoPath)),
      filter_(new QLineEdit(this)),
      tags_(new QToolButton(this)),
      stack_(new QStackedWidget(this)),
      message_(new QLabel(this)),
      scroll_(new QScrollArea(this)),
      row_(new BoardRow([this](QWidget* owner) { return makeLaneColumn(owner); },
                        [this](BookmarkColumn& column, const std::string& identity) {
                            showLane(column, identity);
                        })) {
    filter_->setObjectName(QStringLiteral("filter"));
    filter_->setPlaceholderText(tr("Filter bookmarks"));
    filter_->setClearButtonEnabled(true);
    // The filter takes focus only when asked (a click or "Filter
    // Bookmarks"), so escape on a fresh board clears the selection.
    filter_->setFocusPolicy(Qt::ClickFocus);
    setFocusPolicy(Qt::StrongFocus);
    tags_->setObjectName(QStringLiteral("tag-filter"));
    tags_->setText(tr("Tags"));
    tags_->setPopupMode(QToolButton::InstantPopup);
    tags_->setMenu(new QMenu(tags_));
    diffToggle_ = new QPushButton(tr("Show Diff"), this);
    diffToggle_->setObjectName(QStringLiteral("diff-toggle"));
    diffToggle_->setToolTip(tr("Show diff in a column beside this one"));

    auto* filterBar = new QHBoxLayout;
    // The bar lines up with the lanes below it.
    filterBar->setContentsMargins(8, 6, 8, 0);
    filterBar->setSpacing(8);
    filter_->setClearButtonEnabled(true);
    filterBar->addWidget(filter_, 1);
    filterBar->addWidget(tags_);
    filterBar->addWidget(diffToggle_);

    message_->setAlignment(Qt::AlignCenter);
    message_->setWordWrap(true);
    message_->setObjectName(QStringLiteral("board-message"));
    scroll_->setWidget(row_);
    scroll_->setWidgetResizable(true);
    scroll_->setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    scroll_->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    stack_->addWidget(message_);
    stack_->addWidget(scroll_);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addLayout(filterBar);
    layout->addWidget(stack_, 1);

    auto& board = viewModel_->board();
    connect(filter_, &QLineEdit::textChanged, this,
            [&board](const QString& text) { board.setFilterText(text.toStdString()); });
    connect(tags_->menu(), &QMenu::aboutToShow, this, &ContentView::rebuildTagMenu);
    connect(diffToggle_, &QPushButton::clicked, this, [this] {
        // The button says what it does to the diff column on the board now.
        selection_->setDiffVisible(!isDiffShown());
    });

    connect(&board, &BoardModel::changed, this, &ContentView::scheduleRender);
    connect(&board, &BoardModel::changed, this, [this] {
        const QString text = qText(viewModel_->board().filterText());
        if (filter_->text() != text) {
            filter_->setText(text);
        }
    });
    connect(selection_, &SelectionStore::changed, this, &ContentView::scheduleRender);
    // The diff column follows the selection, whoever changed it.
    connect(selection_, &SelectionStore::changed, this, &ContentView::showDiffForSelection);
    connect(&viewModel_->sheets(), &SheetRequests::changed, this,
            &ContentView::showRequestedSheets);
    connect(viewModel_, &RepoViewModel::openURLRequested, this,
            [](const std::string& url) { QDesktopServices::openUrl(QUrl(qText(url))); });

    auto* escape = new QShortcut(QKeySequence(Qt::Key_Escape), this);
    escape->setContext(Qt::WidgetWithChildrenShortcut);
    connect(escape, &QShortcut::activated, this, [this] {
        if (!filter_->hasFocus() && selection_->selectionColumn()) {
            selection_->clear();
        }
    });
    auto* undo = new QShortcut(QKeySequence::Undo, this);
    undo->setContext(Qt::WidgetWithChildrenShortcut);
    connect(undo, &QShortcut::activated, this, [this] { viewModel_->send(RepoCommand::Undo{}); });
    auto* operations = new QShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Z), this);
    operations->setContext(Qt::WidgetWithChildrenShortcut);
    connect(operations, &QShortcut::activated, this, &ContentView::operationLogRequested);
    render();
}

ContentView::~ContentView() = default;

void ContentView::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape && !filter_->hasFocus() && selection_->selectionColumn()) {
        selection_->clear();
        event->accept();
        return;
    }
    if ((event->key() == Qt::Key_Up || event->key() == Qt::Key_Down) && !filter_->hasFocus()) {
        moveSelection(event->key() == Qt::Key_Up ? -1 : 1,
                      event->modifiers().testFlag(Qt::ShiftModifier));
        event->accept();
        return;
    }
    QWidget::keyPressEvent(event);
}

void ContentView::focusFilter() {
    filter_->setFocus(Qt::ShortcutFocusReason);
    filter_->selectAll();
}

QString ContentView::messageText() const {
    return stack_->currentIndex() == messagePage ? message_->text() : QString();
}

BookmarkColumn* ContentView::laneColumn(const std::string& identity) const {
    return row_->lane(identity == "trunk" ? trunkIdentity : identity);
}

BookmarkColumn* ContentView::ensureLaneVisible(const std::string& identity) {
    const std::string inRow = identity == "trunk" ? trunkIdentity : identity;
    const auto span = row_->span(inRow);
    if (!span) {
        return nullptr;
    }
    const auto [left, width] = *span;
    scroll_->ensureVisible(left + width / 2, 0, width / 2 + 8, 0);
    return row_->lane(inRow);
}

// MARK: Rendering

void ContentView::scheduleRender() {
    // Many fields change together when a snapshot lands; one render covers
    // them all.
    if (renderScheduled_) {
        return;
    }
    renderScheduled_ = true;
    QTimer::singleShot(0, this, [this] {
        renderScheduled_ = false;
        render();
    });
}

void ContentView::render() {
    Bench::measure("mainContent", [&] {
        const auto* state = viewModel_->board().repoState();
        if (state == nullptr) {
            const auto& error = viewModel_->board().errorMessage();
            message_->setText(error ? qText(*error) : tr("Loading..."));
            stack_->setCurrentIndex(messagePage);
            return;
        }
        if (const auto& error = viewModel_->board().errorMessage()) {
            message_->setText(qText(*error));
            stack_->setCurrentIndex(messagePage);
            return;
        }
        if (state->bookmarks.empty() && viewModel_->board().availableOneOffLanes().empty()) {
            message_->setText(tr("No bookmarks or one-offs"));
            stack_->setCurrentIndex(messagePage);
            return;
        }
        stack_->setCurrentIndex(boardPage);
        clearSelectionIfHidden();
        renderRow();
    });
}

void ContentView::renderRow() {
    const auto* state = viewModel_->board().repoState();
    BoardSlotInputs inputs;
    for (const auto& [name, workspace] : state->workspaces) {
        inputs.workspaceNames.push_back(name);
    }
    const bool filterActive = !boardlists::filterNeedle(viewModel_->board().filterText()).empty() ||
                              !viewModel_->board().selectedTagFilters().empty();
    inputs.oneOffLanes = filterActive ? viewModel_->board().filteredOneOffLanes()
                                      : viewModel_->board().expandedOneOffLanes();
    inputs.filteredBookmarks = viewModel_->board().filteredBookmarks();
    inputs.includedBookmarkNames = viewModel_->board().allWorkspaceIncludedBookmarkNames();
    inputs.settingsByName = viewModel_->board().settingsByName();
    inputs.hasHidden = !viewModel_->board().hiddenBookmarks().empty() ||
                       !viewModel_->board().hiddenOneOffLanes().empty() ||
                       !viewModel_->board().untrackedRemoteBookmarks().empty();
    inputs.isDiffVisible = selection_->isDiffVisible();
    inputs.selectionColumn = selection_->selectionColumn();
    slots_ = boardSlots(inputs);

    lanes_ = std::make_unique<LaneInputs>(viewModel_->board(), *selection_);
    slotIndex_.clear();
    slotIndex_.reserve(slots_.size());
    std::vector<BoardRow::Entry> entries;
    entries.reserve(slots_.size() + 1);
    // Trunk leads the row as a pinned box: every lane stands on it.
    const auto trunkName = viewModel_->board().trunkBookmarkName();
    if (trunkName && state->bookmarks.contains(*trunkName)) {
        entries.push_back({trunkIdentity, nullptr, laneWidth(ColumnID::bookmark(*trunkName))});
    }
    std::map<std::string, QWidget*> kept;
    for (std::size_t index = 0; index < slots_.size(); ++index) {
        const BoardSlot& slot = slots_[index];
        std::string identity = slot.identity();
        slotIndex_.emplace(identity, index);
        QWidget* side = sideColumnFor(slot);
        if (side != nullptr) {
            kept[identity] = side;
        }
        const int width =
            side == nullptr ? laneWidth(slot.columnID().value_or(ColumnID::hidden())) : 0;
        entries.push_back({std::move(identity), side, width});
    }
    row_->setEntries(std::move(entries));
    updateDiffToggle();
    for (const auto& [identity, widget] : sideColumns_) {
        if (!kept.contains(identity)) {
            widget->deleteLater();
        }
    }
    sideColumns_ = std::move(kept);
}

QWidget* ContentView::sideColumnFor(const BoardSlot& slot) {
    const auto existing = sideColumns_.find(slot.identity());
    QWidget* widget = existing == sideColumns_.end() ? nullptr : existing->second;
    return std::visit(
        Overloaded{
            [&](const BoardSlot::Diff&) -> QWidget* {
                return widget != nullptr ? widget : new DiffColumn(viewModel_, selection_, row_);
            },
            [&](const BoardSlot::Hidden&) -> QWidget* {
                // The panel follows the view model by itself.
                return widget != nullptr ? widget
                                         : new HiddenBookmarksColumn(viewModel_, selection_, row_);
            },
            [&](const BoardSlot::NewPlaceholder&) -> QWidget* {
                if (widget != nullptr) {
                    return widget;
                }
                auto* placeholder = new NewPlaceholderColumn(row_);
                connect(placeholder, &NewPlaceholderColumn::newBookmarkRequested, this,
                        &ContentView::newBookmarkRequested);
                return placeholder;
            },
            [](const auto&) -> QWidget* { return nullptr; },
        },
        slot.value);
}

int ContentView::laneWidth(const ColumnID& column) {
    const std::string key = column.storageKey();
    if (const auto found = laneWidths_.find(key); found != laneWidths_.end()) {
        return found->second;
    }
    const auto width = columnwidths::resizableColumnWidth(columnwidths::key(column),
                                                          columnwidths::bookmarkColumnLimits);
    const int pixels = static_cast<int>(std::lround(width.width));
    laneWidths_.emplace(key, pixels);
    return pixels;
}

std::optional<BookmarkColumnInput> ContentView::laneInput(const std::string& identity) const {
    if (!lanes_) {
        return std::nullopt;
    }
    if (identity == trunkIdentity) {
        return lanes_->trunkLane();
    }
    const auto found = slotIndex_.find(identity);
    if (found == slotIndex_.end()) {
        return std::nullopt;
    }
    return std::visit(
        Overloaded{
            [&](const BoardSlot::WorkingCopyStack& s) -> std::optional<BookmarkColumnInput> {
                return lanes_->workingCopyLane(s.name);
            },
            [&](const BoardSlot::OneOff& s) -> std::optional<BookmarkColumnInput> {
                return lanes_->oneOffLane(s.lane);
            },
            [&](const BoardSlot::BookmarkLane& s) -> std::optional<BookmarkColumnInput> {
                return lanes_->bookmarkLane(s.bookmark);
            },
            [](const auto&) -> std::optional<BookmarkColumnInput> { return std::nullopt; },
        },
        slots_[found->second].value);
}

void ContentView::showLane(BookmarkColumn& column, const std::string& identity) {
    if (auto input = laneInput(identity)) {
        column.setObjectName(qText(identity == trunkIdentity ? "trunk" : identity));
        column.setInput(std::move(*input));
    }
}

BookmarkColumn* ContentView::makeLaneColumn(QWidget* parent) {
    auto* column = new BookmarkColumn(parent);
    wireLaneColumn(column);
    connect(column, &BookmarkColumn::widthChanged, this, [this, column](double width) {
        laneWidths_[column->input().selectionColumnID.storageKey()] =
            static_cast<int>(std::lround(width));
    });
    return column;
}

std::optional<StringList> ContentView::composedBookmarks(
    const std::optional<std::string>& workspaceName) const {
    const auto* state = viewModel_->board().repoState();
    if (state == nullptr || !workspaceName) {
        return std::nullopt;
    }
    const auto workspace = state->workspaces.find(*workspaceName);
    if (workspace == state->workspaces.end()) {
        return std::nullopt;
    }
    StringList names;
    for (const auto& [name, role] : workspace->second.bookmarkRoles) {
        if (!std::holds_alternative<BookmarkInclusionRole::Absent>(role.value)) {
            names.push_back(name);
        }
    }
    // A workspace of unnamed work alone starts from what is behind trunk.
    return names.empty() ? std::nullopt : std::optional(names);
}

void ContentView::wireLaneColumn(BookmarkColumn* column) {
    connect(column, &BookmarkColumn::dropped, this, [this, column](const LaneDrop& drop) {
        performLaneDrop(*viewModel_, column->input(), drop,
                        viewModel_->board().repoRoot().value_or(repoPath_.toStdString()));
    });
    connect(column, &BookmarkColumn::columnClicked, this,
            [this, column] { selectColumnOf(column); });
    connect(column, &BookmarkColumn::commitClicked, this,
            [this, column](const std::string& changeID, Qt::KeyboardModifiers modifiers) {
                selectCommitIn(column, changeID, modifiers);
            });
    connect(column, &BookmarkColumn::inclusionToggled, this, [this, column](bool included) {
        viewModel_->setBookmarkIncluded(column->input().bookmark.name, included);
    });
    connect(column, &BookmarkColumn::workspaceInclusionRequested, this,
            [this, column](const std::string& workspace, bool included) {
                viewModel_->send(RepoCommand::SetWorkspaceBookmarkInclusion{
                    workspace, column->input().bookmark.name, included});
            });
    connect(column, &BookmarkColumn::toggleExpandRequested, this, [this, column] {
        const auto& input = column->input();
        if (!input.isSyntheticOneOff()) {
            viewModel_->toggleLane(input.bookmark.name);
            return;
        }
        foldOneOffLane(viewModel_->board(), input);
    });
    wireLaneEditing(column);
    connect(column, &BookmarkColumn::loadMoreRequested, this,
            [this, column] { viewModel_->loadMoreAncestors(column->input().bookmark.name); });
    connect(column, &BookmarkColumn::bookmarkAction, this,
            [this, column](const BookmarkAction& action) {
                handleBookmarkAction(action, column->input().bookmark);
            });
    connect(column, &BookmarkColumn::advanceTrunkRequested, this,
            [this] { viewModel_->presentLocalStackRebase(std::nullopt, std::nullopt); });
    connect(column, &BookmarkColumn::rebaseLocalStacksRequested, this, [this, column] {
        viewModel_->presentLocalStackRebase(composedBookmarks(column->input().workspaceName),
                                            std::nullopt);
    });
    connect(column, &BookmarkColumn::contextMenuRequested, this,
            [this, column](const QPoint& position, const std::optional<std::string>& changeID) {
                const auto& input = column->input();
                if (const auto* commit =
                        changeID ? columnrules::findCommit(input, *changeID) : nullptr) {
                    commitcardmenu::show(*viewModel_, *commit, position, this,
                                         unnamedInputEntries(input, *commit));
                    return;
                }
                if (input.isSyntheticOneOff()) {
                    showOneOffMenu(input, position);
                    return;
                }
                if (input.isWorkingCopyLane()) {
                    return;
                }
                QMenu menu(this);
                BookmarkActionMenuItems::fill(
                    &menu, viewModel_, input.bookmark,
                    [this](const BookmarkAction& action, const Bookmark& bookmark) {
                        handleBookmarkAction(action, bookmark);
                    });
                menu.exec(position);
            });
}

void ContentView::wireLaneEditing(BookmarkColumn* column) {
    connect(column, &BookmarkColumn::diffToggleRequested, this, [this, column] {
        if (column->input().isDiffShown) {
            selection_->setDiffVisible(false);
            return;
        }
        if (selection_->selectionColumn() != column->input().selectionColumnID) {
            selectColumnOf(column);
        }
        selection_->setDiffVisible(true);
    });
    connect(column, &BookmarkColumn::closeRequested, this, [this, column] {
        const auto& input = column->input();
        if (!foldOneOffLane(viewModel_->board(), input)) {
            viewModel_->send(RepoCommand::CloseBookmarkColumn{input.bookmark.name});
        }
    });
    connect(column, &BookmarkColumn::renameRequested, this,
            [this, column](const std::string& newName) {
                renameBookmark(*viewModel_, column->input().bookmark.name, newName);
            });
    connect(column, &BookmarkColumn::renameInlineBookmarkRequested, this,
            [this](const std::string& oldName, const std::string& newName) {
                renameBookmark(*viewModel_, oldName, newName);
            });
    connect(
        column, &BookmarkColumn::deleteInlineBookmarkRequested, this,
        [this](const std::string& name) { viewModel_->send(RepoCommand::DeleteBookmark{name}); });
    connect(column, &BookmarkColumn::routingRulesChanged, this,
            [this, column](const std::vector<FileRoutingRule>& rules) {
                viewModel_->send(
                    RepoCommand::SetRoutingRulesForBookmark{column->input().bookmark.name, rules});
            });
    connect(column, &BookmarkColumn::commitFilesWanted, this,
            [this, guard = QPointer<BookmarkColumn>(column)](const std::string& changeID,
                                                             const std::string& commitID) {
                viewModel_->loadChangedFiles(
                    changeID, [guard, commitID](const std::vector<ChangedFile>& files) {
                        auto* lane = guard.data();
                        if (lane != nullptr) {
                            lane->showCommitFiles(commitID, files);
                        }
                    });
            });
}

std::vector<commitcardmenu::LaneEntry> ContentView::unnamedInputEntries(
    const BookmarkColumnInput& input, const JJCommit& commit) {
    const auto* state = viewModel_->board().repoState();
    if (state == nullptr || !input.isWorkingCopyLane() ||
        !input.unnamedInputIDs.contains(commit.commitID)) {
        return {};
    }
    // A composition input no bookmark names: give it a name, and bring it
    // onto current trunk when it stands on an older one.
    OrphanWIP tip;
    tip.changeID = commit.changeID;
    tip.commitID = commit.commitID;
    tip.description = commit.description;
    std::vector<commitcardmenu::LaneEntry> entries{
        {tr("name…"), [this, tip] {
             (new PromoteOneOffSheet(*viewModel_, tip, this))->open();
         }}};
    if (state->behindTrunkCommitIDs.contains(commit.commitID)) {
        entries.push_back({tr("Rebase Local Stack…"), [this, changeID = commit.changeID] {
                               viewModel_->presentLocalStackRebase(std::nullopt, changeID);
                           }});
    }
    return entries;
}

void ContentView::showOneOffMenu(const BookmarkColumnInput& input, const QPoint& position) {
    const auto* id = std::get_if<ColumnID::OneOff>(&input.selectionColumnID.value);
    const auto lane = id != nullptr ? viewModel_->board().oneOffLane(id->changeID) : std::nullopt;
    if (!lane) {
        return;
    }
    QMenu menu(this);
    connect(menu.addAction(tr("Name One-off Branch…")), &QAction::triggered, this,
            [this, tip = lane->tip] { (new PromoteOneOffSheet(*viewModel_, tip, this))->open(); });
    menu.exec(position);
}

void ContentView::rebuildTagMenu() {
    QMenu* menu = tags_->menu();
    menu->clear();
    const auto& tags = viewModel_->board().allTagsInUse();
    if (tags.empty()) {
        menu->addAction(tr("No tags"))->setEnabled(false);
        return;
    }
    for (const auto& tag : tags) {
        QAction* entry = menu->addAction(qText(tag));
        entry->setCheckable(true);
        entry->setChecked(viewModel_->board().selectedTagFilters().contains(tag));
        connect(entry, &QAction::toggled, this, [this, tag](bool on) {
            StringSet selected = viewModel_->board().selectedTagFilters();
            if (on) {
                selected.insert(tag);
            } else {
                selected.erase(tag);
            }
            viewModel_->board().setSelectedTagFilters(std::move(selected));
        });
    }
}

// MARK: Selection

void ContentView::selectColumnOf(BookmarkColumn* column) {
    const auto& input = column->input();
    const bool isBookmark = input.kind == BookmarkColumnInput::LaneKind::bookmark ||
                            input.kind == BookmarkColumnInput::LaneKind::trunk;
    const std::optional<std::string> name =
        isBookmark ? std::optional(input.bookmark.name) : std::nullopt;
    const auto action =
        Perf::beginAction([&] { return "selectBookmark(" + name.value_or("nil") + ")"; });
    if (selection_->selectionColumn() == input.selectionColumnID &&
        selection_->selectedCommitIDs().empty()) {
        Perf::endActionAfterUIFlush(action, "selectBookmark.noop");
        return;
    }
    selection_->selectBookmark(name, input.selectionColumnID,
                               columnrules::visibleChangeOrder(input));
    Perf::endActionAfterUIFlush(action);
}

void ContentView::selectCommitIn(BookmarkColumn* column, const std::string& changeID,
                                 Qt::KeyboardModifiers modifiers) {
    const auto& input = column->input();
    selection_->selectCommit(changeID, input.selectionColumnID,
                             columnrules::visibleChangeOrder(input), modifiers);
}

void ContentView::moveSelection(int step, bool extend) {
    const auto& column = selection_->selectionColumn();
    if (!column) {
        return;
    }
    // The selected lane may have scrolled out of view: its input says the
    // order all the same.
    for (const auto& slot : slots_) {
        if (slot.columnID() != *column) {
            continue;
        }
        if (const auto input = laneInput(slot.identity())) {
            selection_->moveSelection(step, extend, *column,
                                      columnrules::visibleChangeOrder(*input));
        }
        return;
    }
}

void ContentView::showDiffForSelection() {
    if (!selection_->isDiffVisible()) {
        shownDiffSelection_.reset();
        return;
    }
    // The store signals every change; the diff is asked for again only
    // when what it shows would differ.
    const DiffSelection shown{selection_->selectedCommitIDs(), selection_->selectedBookmarkName(),
                              selection_->columnChangeIDs()};
    if (shownDiffSelection_ == shown) {
        return;
    }
    shownDiffSelection_ = shown;
    if (!selection_->selectedCommitIDs().empty()) {
        viewModel_->loadDiffForSelectedChangeIDs(selection_->selectedCommitIDs());
    } else if (const auto& name = selection_->selectedBookmarkName()) {
        if (const auto* state = viewModel_->board().repoState()) {
            if (const auto found = state->bookmarks.find(*name); found != state->bookmarks.end()) {
                viewModel_->loadDiffForBookmark(found->second);
            }
        }
    } else {
        viewModel_->loadDiffForSelectedChangeIDs(selection_->columnChangeIDs());
    }
}

void ContentView::clearSelectionIfHidden() {
    const auto& column = selection_->selectionColumn();
    if (!column) {
        return;
    }
    if (const auto* oneOff = std::get_if<ColumnID::OneOff>(&column->value)) {
        const auto lanes = viewModel_->board().expandedOneOffLanes();
        if (std::none_of(lanes.begin(), lanes.end(),
                         [&](const OneOffLane& lane) { return lane.id() == oneOff->changeID; })) {
            selection_->clear();
        }
    } else if (const auto* bookmark = std::get_if<ColumnID::BookmarkColumn>(&column->value)) {
        const auto& filtered = viewModel_->board().filteredBookmarks();
        const bool isTrunk = viewModel_->board().trunkBookmarkName() == bookmark->name;
        if (!isTrunk && std::none_of(filtered.begin(), filtered.end(),
                                     [&](const Bookmark& b) { return b.name == bookmark->name; })) {
            selection_->clear();
        }
    }
}

// MARK: Gestures

void ContentView::handleBookmarkAction(const BookmarkAction& action, const Bookmark& bookmark) {
    const std::string& name = bookmark.name;
    auto confirm = [this](std::string title, std::string message, RepoCommand command) {
        static std::uint64_t next = 0;
        viewModel_->sheets().setConfirmationRequest(
            ConfirmationRequest{"bookmark-" + std::to_string(++next), std::move(title),
                                std::move(message), std::move(command)});
    };
    auto open = [](SheetDialog* sheet) {
        sheet->open();
    };
    const auto& board = viewModel_->board();
    std::visit(
        Overloaded{
            [&](const BookmarkAction::ReparentToTrunk&) {
                viewModel_->presentLocalStackRebase(StringList{name}, std::nullopt);
            },
            // Nothing offers a sync of its own: the local stack rebase
            // covers it.
            [&](const BookmarkAction::Sync&) {},
            [&](const BookmarkAction::SetStrategy& a) {
                viewModel_->send(RepoCommand::SetUpdateStrategy{a.strategy, name});
            },
            [&](const BookmarkAction::ToggleTag& a) {
                viewModel_->send(RepoCommand::ToggleTag{a.tag, name});
            },
            [&](const BookmarkAction::Rename&) {
                open(new RenameBookmarkSheet(*viewModel_, name, this));
            },
            [&](const BookmarkAction::Rebase&) {
                open(new RebaseBookmarkSheet(*viewModel_, bookmark, this));
            },
            [&](const BookmarkAction::Delete&) {
                viewModel_->send(RepoCommand::DeleteBookmark{name});
            },
            [&](const BookmarkAction::Abandon&) {
                confirm("Abandon " + name + "?",
                        "This will delete the bookmark and all its commits.",
                        RepoCommand::AbandonBookmark{name});
            },
            [&](const BookmarkAction::SquashToSingle&) {
                const auto count = bookmark.commitIDs.size();
                if (count < 2) {
                    return;
                }
                confirm(
                    "Combine " + std::to_string(count) + " commits on " + name + "?",
                    "All " + std::to_string(count) + " commits become a single commit at the tip.",
                    RepoCommand::SquashBookmarkToSingle{name});
            },
            [&](const BookmarkAction::Push&) { viewModel_->send(RepoCommand::Push{bookmark}); },
            [&](const BookmarkAction::ViewPR&) {
                if (const auto pr = board.prStatuses().find(name); pr != board.prStatuses().end()) {
                    Q_EMIT viewModel_->openURLRequested(pr->second.url);
                }
            },
            [&](const BookmarkAction::CreatePR&) {
                open(new CreatePRSheet(*viewModel_, bookmark, this));
            },
            [&](const BookmarkAction::RefreshPR&) { viewModel_->refreshPRStatuses(false, {name}); },
            [&](const BookmarkAction::AddTag&) {
                const auto settings = board.settingsByName().find(name);
                const std::vector<std::string> tags =
                    settings == board.settingsByName().end()
                        ? std::vector<std::string>{}
                        : std::vector<std::string>(settings->second.tags.begin(),
                                                   settings->second.tags.end());
                open(new AddTagSheet(*viewModel_, name, tags, this));
            },
            [&](const BookmarkAction::TogglePinned&) {
                viewModel_->send(RepoCommand::TogglePinned{name});
            },
            [&](const BookmarkAction::ToggleColumnVisibility&) {
                viewModel_->send(RepoCommand::ToggleBookmarkColumnVisibility{name});
                if (selection_->selectedBookmarkName() == name) {
                    selection_->clear();
                }
            },
        },
        action.value);
}

void ContentView::showRequestedSheets() {
    auto& sheets = viewModel_->sheets();
    if (const auto& request = sheets.confirmationRequest();
        request && request->id != shownConfirmationID_) {
        shownConfirmationID_ = request->id;
        showConfirmation(*request);
    }
    if (const auto& request = sheets.forcePushConfirmation();
        request && request->id != shownForcePushID_) {
        shownForcePushID_ = request->id;
        const auto& prs = viewModel_->board().prStatuses();
        const auto pr = prs.find(request->bookmark.name);
        auto* sheet = new ForcePushWarningSheet(
            *viewModel_, *request,
            pr == prs.end() ? std::nullopt : std::optional<GitHubPR>(pr->second), this);
        connect(sheet, &QDialog::finished, this, [this, id = request->id] {
            const auto& current = viewModel_->sheets().forcePushConfirmation();
            if (current && current->id == id) {
                viewModel_->sheets().setForcePushConfirmation(std::nullopt);
            }
        });
        sheet->open();
    }
}

void ContentView::showConfirmation(const ConfirmationRequest& request) {
    auto* box = new QMessageBox(QMessageBox::Question, qText(request.title), qText(request.message),
                                QMessageBox::Cancel, this);
    box->setObjectName(QStringLiteral("confirmation"));
    QPushButton* yes = box->addButton(qText(request.confirmLabel), QMessageBox::AcceptRole);
    box->setDefaultButton(QMessageBox::Cancel);
    box->setAttribute(Qt::WA_DeleteOnClose);
    connect(box, &QMessageBox::finished, this, [this, box, yes, id = request.id] {
        const auto current = viewModel_->sheets().confirmationRequest();
        if (!current || current->id != id) {
            return;
        }
        viewModel_->sheets().setConfirmationRequest(std::nullopt);
        if (box->clickedButton() == yes) {
            viewModel_->send(current->followup);
        }
    });
    box->open();
}

bool ContentView::isDiffShown() const {
    return std::any_of(slots_.begin(), slots_.end(), [](const BoardSlot& slot) {
        return std::holds_alternative<BoardSlot::Diff>(slot.value);
    });
}

void ContentView::updateDiffToggle() {
    const bool shown = isDiffShown();
    diffToggle_->setText(shown ? tr("Hide Diff") : tr("Show Diff"));
    diffToggle_->setToolTip(shown ? tr("Hide diff") : tr("Show diff in a column beside this one"));
    diffToggle_->setEnabled(shown || selection_->selectionColumn().has_value());
}

}  // namespace vorda
