#include "app/hidden/HiddenBookmarksColumn.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPainter>
#include <QScrollBar>
#include <QTimer>
#include <QVBoxLayout>
#include <algorithm>
#include <cmath>
#include <functional>

#include "app/board/SelectionStore.h"
#include "app/column/ColumnResizeHandle.h"
#include "app/column/ColumnWidthStore.h"
#include "app/column/QtText.h"
#include "app/drag/HiddenBookmarkDragSource.h"
#include "app/hidden/HiddenRenameField.h"
#include "app/hidden/HiddenRevsetSearch.h"
#include "app/hidden/HiddenRowDelegate.h"
#include "app/hidden/HiddenRowsModel.h"
#include "app/hidden/HiddenRowsView.h"
#include "app/sheets/BookmarkSheets.h"
#include "app/viewmodel/RepoViewModel.h"

namespace vorda {

namespace {

using hiddenpanel::ItemKind;
using hiddenpanel::PanelEntry;
using Kind = PanelEntry::Kind;

constexpr int borderWidth = 2;
constexpr int margin = 8;

}  // namespace

HiddenBookmarksColumn::HiddenBookmarksColumn(RepoViewModel* viewModel, SelectionStore* selection,
                                             QWidget* parent)
    : QFrame(parent),
      viewModel_(viewModel),
      selection_(selection),
      revsetSearch_(new HiddenRevsetSearch(viewModel, this)),
      count_(new QLabel(this)),
      search_(new QLineEdit(this)),
      empty_(new QLabel(this)),
      model_(new HiddenRowsModel(this)),
      delegate_(new HiddenRowDelegate(this)),
      rows_(new HiddenRowsView(this)),
      renameEditor_(new HiddenRenameField(rows_->viewport())),
      resizeHandle_(new ColumnResizeHandle(this)) {
    setObjectName(QStringLiteral("hidden"));
    setAccessibleName(tr("Hidden Bookmarks"));
    setFrameShape(QFrame::NoFrame);

    auto* title = new QLabel(tr("Hidden Bookmarks"), this);
    QFont titleFont = title->font();
    titleFont.setBold(true);
    title->setFont(titleFont);
    count_->setObjectName(QStringLiteral("hidden-count"));
    count_->setForegroundRole(QPalette::PlaceholderText);
    auto* header = new QHBoxLayout;
    header->addWidget(title, 1);
    header->addWidget(count_);

    search_->setObjectName(QStringLiteral("hidden-search"));
    search_->setPlaceholderText(tr("Search or revset, e.g. mine()…"));
    search_->setClearButtonEnabled(true);
    search_->installEventFilter(this);
    search_->setText(qtText(viewModel_->hiddenPanel().hiddenPanelSearch()));
    revsetSearch_->setSearch(viewModel_->hiddenPanel().hiddenPanelSearch());

    empty_->setObjectName(QStringLiteral("hidden-empty"));
    empty_->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
    empty_->setWordWrap(true);
    empty_->setForegroundRole(QPalette::PlaceholderText);

    rows_->setModel(model_);
    rows_->setItemDelegate(delegate_);
    // A bookmark row drags onto a workspace to include it there.
    new HiddenBookmarkDragSource(rows_, HiddenRowsModel::BookmarkNameRole);

    width_.gutterWidth = resizeHandle_->sizeHint().width();
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(
        margin, margin, static_cast<int>(std::lround(width_.gutterWidth)) + borderWidth, margin);
    layout->setSpacing(margin);
    layout->addLayout(header);
    layout->addWidget(search_);
    layout->addWidget(empty_);
    layout->addWidget(rows_, 1);

    connectParts();
    connectWidth();
    refresh();
}

HiddenBookmarksColumn::~HiddenBookmarksColumn() = default;

void HiddenBookmarksColumn::connectParts() {
    auto& panel = viewModel_->hiddenPanel();
    connect(&viewModel_->board(), &BoardModel::changed, this,
            &HiddenBookmarksColumn::scheduleRefresh);
    connect(&panel, &HiddenPanelModel::changed, this, &HiddenBookmarksColumn::scheduleRefresh);
    connect(selection_, &SelectionStore::changed, this, &HiddenBookmarksColumn::scheduleRefresh);
    connect(revsetSearch_, &HiddenRevsetSearch::changed, this,
            &HiddenBookmarksColumn::scheduleRefresh);
    connect(search_, &QLineEdit::textChanged, this, [this, &panel](const QString& text) {
        panel.setHiddenPanelSearch(text.toStdString());
        revsetSearch_->setSearch(text.toStdString());
    });
    connect(rows_, &HiddenRowsView::cursorMoveRequested, this, &HiddenBookmarksColumn::moveCursor);
    connect(rows_, &HiddenRowsView::activateRequested, this,
            &HiddenBookmarksColumn::activateCursor);
    connect(rows_, &HiddenRowsView::renameRequested, this, &HiddenBookmarksColumn::renameCursor);
    connect(rows_, &HiddenRowsView::rowPressed, this, &HiddenBookmarksColumn::pressRow);
    connect(rows_, &HiddenRowsView::contextMenuRequestedAt, this,
            &HiddenBookmarksColumn::showContextMenu);
    connect(rows_->verticalScrollBar(), &QScrollBar::valueChanged, this,
            &HiddenBookmarksColumn::placeRenameEditor);
    connect(renameEditor_, &QLineEdit::textEdited, this,
            [&panel](const QString& text) { panel.setHiddenPanelRenameDraft(text.toStdString()); });
    connect(renameEditor_, &HiddenRenameField::commitRequested, this, [this] {
        commitHiddenPanelRename();
        rows_->setFocus(Qt::OtherFocusReason);
    });
    connect(renameEditor_, &HiddenRenameField::cancelRequested, this, [this, &panel] {
        panel.cancelHiddenPanelRename();
        rows_->setFocus(Qt::OtherFocusReason);
    });
}

void HiddenBookmarksColumn::connectWidth() {
    const double gutter = width_.gutterWidth;
    width_ = columnwidths::resizableColumnWidth(columnwidths::key(ColumnID::hidden()),
                                                columnwidths::hiddenPanelLimits);
    width_.gutterWidth = gutter;
    setFixedWidth(static_cast<int>(std::lround(width_.width)));
    resizeHandle_->resizes(this, width_,
                           [] { return std::optional(columnwidths::key(ColumnID::hidden())); });
}

// MARK: Rows

void HiddenBookmarksColumn::scheduleRefresh() {
    // A snapshot changes many fields at once; one refresh covers them.
    if (refreshScheduled_) {
        return;
    }
    refreshScheduled_ = true;
    QTimer::singleShot(0, this, [this] {
        if (refreshScheduled_) {
            refresh();
        }
    });
}

void HiddenBookmarksColumn::refresh() {
    refreshScheduled_ = false;
    const auto& board = viewModel_->board();
    const auto& panel = viewModel_->hiddenPanel();
    if (board.snapshot() != shownSnapshot_) {
        // The repository moved: what a revset matches may have, too.
        shownSnapshot_ = board.snapshot();
        revsetSearch_->reevaluate();
    }
    if (search_->text().toStdString() != panel.hiddenPanelSearch()) {
        search_->setText(qtText(panel.hiddenPanelSearch()));
    }
    const auto* state = board.repoState();
    const auto items =
        state == nullptr
            ? std::vector<hiddenpanel::HiddenItem>{}
            : hiddenpanel::hiddenItems(*state, board.hiddenBookmarks(), board.hiddenOneOffLanes(),
                                       board.untrackedRemoteBookmarks());
    const hiddenpanel::PanelSearch search{panel.hiddenPanelSearch(), revsetSearch_->matches(),
                                          revsetSearch_->isInvalid()};
    auto entries = hiddenpanel::visibleRows(items, search, panel.hiddenPanelExpanded());
    const bool isEmpty = entries.empty();
    for (auto& note : hiddenpanel::notHiddenNotes(
             search, items, [this](const std::string& name) { return placementOf(name); })) {
        entries.push_back(std::move(note));
    }

    const bool selectionIsHere = selection_->selectionColumn() == ColumnID::hidden();
    const auto& selected = selection_->selectedCommitIDs();
    std::vector<HiddenRowsModel::Row> shown;
    shown.reserve(entries.size());
    for (auto& entry : entries) {
        const bool isCursor =
            panel.hiddenPanelCursor() && entry.cursorRow() == panel.hiddenPanelCursor();
        const bool isSelected =
            selectionIsHere && entry.kind == Kind::commit &&
            std::find(selected.begin(), selected.end(), entry.changeID) != selected.end();
        shown.push_back({std::move(entry), isCursor, isSelected});
    }
    model_->setRows(std::move(shown));

    count_->setText(qtText(hiddenpanel::countLabel(hiddenpanel::matchingCount(items, search),
                                                   items.size(), search.isActive())));
    empty_->setText(qtText(hiddenpanel::emptyListLabel(search)));
    empty_->setVisible(isEmpty);
    placeRenameEditor();
}

QString HiddenBookmarksColumn::countText() const {
    return count_->text();
}

QString HiddenBookmarksColumn::emptyText() const {
    return empty_->isVisibleTo(this) ? empty_->text() : QString();
}

void HiddenBookmarksColumn::flushRefresh() {
    // Keys may come faster than the refresh that follows a cursor move.
    if (refreshScheduled_) {
        refresh();
    }
}

int HiddenBookmarksColumn::cursorIndex() {
    flushRefresh();
    const auto& cursor = viewModel_->hiddenPanel().hiddenPanelCursor();
    const auto& rows = model_->rows();
    const auto found = std::find_if(rows.begin(), rows.end(), [&](const HiddenRowsModel::Row& row) {
        return cursor && row.entry.cursorRow() == cursor;
    });
    return found == rows.end() ? -1 : static_cast<int>(found - rows.begin());
}

std::vector<std::string> HiddenBookmarksColumn::visibleChangeOrder() const {
    std::vector<std::string> order;
    for (const auto& row : model_->rows()) {
        if (row.entry.kind == Kind::commit) {
            order.push_back(row.entry.changeID);
        }
    }
    return order;
}

hiddenpanel::BoardPlacement HiddenBookmarksColumn::placementOf(const std::string& name) const {
    const auto& board = viewModel_->board();
    return {board.trunkBookmarkName() == name,
            board.allWorkspaceIncludedBookmarkNames().contains(name), board.isPinned(name),
            board.isBookmarkColumnVisible(name)};
}

// MARK: Gestures

void HiddenBookmarksColumn::moveCursor(int step, bool extend) {
    flushRefresh();
    std::vector<HiddenPanelRow> cursorRows;
    for (const auto& row : model_->rows()) {
        if (auto cursorRow = row.entry.cursorRow()) {
            cursorRows.push_back(std::move(*cursorRow));
        }
    }
    auto& panel = viewModel_->hiddenPanel();
    const auto moved = hiddenpanel::movedCursor(cursorRows, panel.hiddenPanelCursor(), step);
    if (moved == panel.hiddenPanelCursor()) {
        return;
    }
    panel.setHiddenPanelCursor(moved);
    // The cursor's row is known now; the refresh that marks it comes later.
    const auto& rows = model_->rows();
    const auto landed = std::find_if(rows.begin(), rows.end(), [&](const HiddenRowsModel::Row& r) {
        return r.entry.cursorRow() == moved;
    });
    if (landed == rows.end()) {
        return;
    }
    rows_->scrollTo(model_->index(static_cast<int>(landed - rows.begin())));
    if (landed->entry.kind == Kind::commit) {
        selectCommitRow(landed->entry, extend ? Qt::ShiftModifier : Qt::NoModifier);
    }
}

void HiddenBookmarksColumn::selectCommitRow(const PanelEntry& entry,
                                            Qt::KeyboardModifiers modifiers) {
    selection_->selectCommit(entry.changeID, ColumnID::hidden(), visibleChangeOrder(), modifiers);
}

void HiddenBookmarksColumn::pressRow(const QModelIndex& index, const QPoint& position,
                                     Qt::KeyboardModifiers modifiers) {
    const PanelEntry entry = model_->row(index.row()).entry;
    auto& panel = viewModel_->hiddenPanel();
    switch (entry.kind) {
        case Kind::note:
            return;
        case Kind::commit:
            panel.setHiddenPanelCursor(entry.cursorRow());
            selectCommitRow(entry, modifiers);
            return;
        case Kind::item:
            if (HiddenRowDelegate::pinRect(rows_->visualRect(index), index, rows_->font())
                    .contains(position)) {
                viewModel_->pinFromHiddenPanel(entry.name);
                return;
            }
            panel.setHiddenPanelCursor(entry.cursorRow());
            panel.toggleHiddenPanelExpanded(entry.name);
            return;
    }
}

void HiddenBookmarksColumn::activateCursor() {
    const int at = cursorIndex();
    if (at >= 0 && model_->row(at).entry.kind == Kind::item) {
        viewModel_->hiddenPanel().toggleHiddenPanelExpanded(model_->row(at).entry.name);
    }
}

void HiddenBookmarksColumn::renameCursor() {
    const int at = cursorIndex();
    if (at < 0) {
        return;
    }
    const auto& entry = model_->row(at).entry;
    if (entry.kind == Kind::item && entry.itemKind == ItemKind::bookmark) {
        viewModel_->hiddenPanel().beginHiddenPanelRename(entry.name);
    }
}

void HiddenBookmarksColumn::showContextMenu(const QPoint& globalPosition,
                                            const QModelIndex& index) {
    const int at = index.isValid() ? index.row() : cursorIndex();
    if (at < 0 || model_->row(at).entry.kind != Kind::item) {
        return;
    }
    const PanelEntry entry = model_->row(at).entry;
    QPoint position = globalPosition;
    if (!index.isValid()) {
        position = rows_->viewport()->mapToGlobal(rows_->visualRect(model_->index(at)).center());
    }
    const std::string& name = entry.name;
    QMenu menu(this);
    auto add = [&](const QString& text, std::function<void()> action) {
        connect(menu.addAction(text), &QAction::triggered, this, std::move(action));
    };
    switch (entry.itemKind) {
        case ItemKind::oneOff:
            add(tr("Show on Board"), [this, name] { viewModel_->pinFromHiddenPanel(name); });
            break;
        case ItemKind::untrackedRemote:
            add(tr("Track Bookmark"), [this, name] {
                const auto& untracked = viewModel_->board().untrackedRemoteBookmarks();
                const auto found = std::find_if(untracked.begin(), untracked.end(),
                                                [&](const Bookmark& b) { return b.name == name; });
                if (found != untracked.end()) {
                    viewModel_->trackRemoteBookmark(*found, false);
                }
            });
            add(tr("Track and Pin to Board"),
                [this, name] { viewModel_->pinFromHiddenPanel(name); });
            break;
        case ItemKind::bookmark:
            add(tr("Rename Bookmark"),
                [this, name] { viewModel_->hiddenPanel().beginHiddenPanelRename(name); });
            add(tr("Pin to Board"), [this, name] { viewModel_->pinFromHiddenPanel(name); });
            menu.addSeparator();
            add(tr("Delete Bookmark"),
                [this, name] { viewModel_->send(RepoCommand::DeleteBookmark{name}); });
            break;
    }
    menu.exec(position);
}

// MARK: Inline rename

void HiddenBookmarksColumn::placeRenameEditor() {
    const auto& panel = viewModel_->hiddenPanel();
    const auto& renaming = panel.hiddenPanelRenaming();
    const auto& rows = model_->rows();
    const auto found =
        !renaming ? rows.end() : std::find_if(rows.begin(), rows.end(), [&](const auto& row) {
            return row.entry.kind == Kind::item && row.entry.name == *renaming;
        });
    if (found == rows.end()) {
        renameEditor_->hide();
        return;
    }
    const QModelIndex index = model_->index(static_cast<int>(found - rows.begin()));
    renameEditor_->setGeometry(
        HiddenRowDelegate::nameRect(rows_->visualRect(index), index, rows_->font())
            .adjusted(-3, -3, 3, 3));
    if (renameEditor_->text().toStdString() != panel.hiddenPanelRenameDraft()) {
        renameEditor_->setText(qtText(panel.hiddenPanelRenameDraft()));
    }
    if (!renameEditor_->isVisible()) {
        renameEditor_->show();
        renameEditor_->setFocus(Qt::OtherFocusReason);
        renameEditor_->selectAll();
    }
}

void HiddenBookmarksColumn::commitHiddenPanelRename() {
    // A field that loses the focus after Return has nothing left to end.
    if (!viewModel_->hiddenPanel().hiddenPanelRenaming()) {
        return;
    }
    if (const auto rename = viewModel_->hiddenPanel().finishHiddenPanelRename()) {
        renameBookmark(*viewModel_, rename->first, rename->second);
    }
}

bool HiddenBookmarksColumn::eventFilter(QObject* watched, QEvent* event) {
    if (watched == search_ && event->type() == QEvent::KeyPress &&
        static_cast<QKeyEvent*>(event)->key() == Qt::Key_Down) {
        // Down leaves the search for the list, as in a file dialog.
        rows_->setFocus(Qt::OtherFocusReason);
        moveCursor(1, false);
        return true;
    }
    return QFrame::eventFilter(watched, event);
}

// MARK: Frame

void HiddenBookmarksColumn::resizeEvent(QResizeEvent* event) {
    QFrame::resizeEvent(event);
    placeRenameEditor();
}

void HiddenBookmarksColumn::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QPalette::ColorGroup group = isActiveWindow() ? QPalette::Active : QPalette::Inactive;
    const int gutter = static_cast<int>(std::lround(width_.gutterWidth));
    const QRectF frame =
        QRectF(rect().adjusted(0, 0, -gutter + borderWidth, 0)).adjusted(0.5, 0.5, -0.5, -0.5);
    painter.setBrush(palette().color(group, QPalette::Window));
    painter.setPen(QPen(palette().color(group, QPalette::Mid), 1));
    painter.drawRoundedRect(frame, 8, 8);
}

}  // namespace vorda
