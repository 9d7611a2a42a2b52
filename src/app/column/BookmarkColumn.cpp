#include "app/column/BookmarkColumn.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QDragEnterEvent>
#include <QMimeData>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>
#include <QTimer>
#include <QVBoxLayout>
#include <chrono>
#include <cmath>
#include <set>
#include <utility>

#include "app/column/CardFileLists.h"
#include "app/column/CardLinks.h"
#include "app/column/ColumnHeader.h"
#include "app/column/ColumnResizeHandle.h"
#include "app/column/ColumnWidthStore.h"
#include "app/column/CommitCardDelegate.h"
#include "app/column/CommitListModel.h"
#include "app/column/CommitListView.h"
#include "app/column/InlineTipMenu.h"
#include "app/column/LaneBanners.h"
#include "app/column/LaneRoutes.h"
#include "app/column/TrunkPinnedBox.h"
#include "app/drag/BoardDrag.h"

namespace vorda {

namespace {

constexpr int borderWidth = 2;
constexpr std::chrono::seconds relativeTimeRefresh{60};

/// The copy modifier of a drop: control, as file managers have it.
bool copyHeld(Qt::KeyboardModifiers modifiers) {
    return modifiers.testFlag(Qt::ControlModifier);
}

QString commitsLabel(std::size_t count) {
    return count == 1 ? QStringLiteral("1 commit") : QStringLiteral("%1 commits").arg(count);
}

}  // namespace

BookmarkColumn::BookmarkColumn(QWidget* parent)
    : QFrame(parent),
      input_(std::make_shared<const BookmarkColumnInput>()),
      header_(new ColumnHeader(this)),
      routes_(new LaneRoutes(this)),
      trunkBox_(new TrunkPinnedBox(this)),
      mergedBanner_(new MergedBanner(this)),
      conflictBanner_(new ConflictBanner(this)),
      model_(new CommitListModel(this)),
      delegate_(new CommitCardDelegate(this)),
      list_(new CommitListView(this)),
      resizeHandle_(new ColumnResizeHandle(this)),
      fileLists_(new CardFileLists(list_, model_, delegate_, this)),
      tipMenu_(new InlineTipMenu(list_, delegate_, this)) {
    setObjectName(QStringLiteral("bookmarkColumn"));
    setFrameShape(QFrame::NoFrame);
    setBackgroundRole(QPalette::Window);
    // Files from other applications; the board's own drags ask directly.
    setAcceptDrops(true);

    list_->setModel(model_);
    list_->setItemDelegate(delegate_);
    new CardLinks(list_, delegate_, this);

    width_.gutterWidth = resizeHandle_->sizeHint().width();

    auto* layout = new QVBoxLayout(this);
    // Room for the border, and on the trailing side for the resize handle.
    layout->setContentsMargins(borderWidth, borderWidth,
                               static_cast<int>(std::lround(width_.gutterWidth)), borderWidth);
    layout->setSpacing(4);
    layout->addWidget(header_);
    layout->addWidget(routes_);
    layout->addWidget(trunkBox_);
    layout->addWidget(mergedBanner_);
    layout->addWidget(conflictBanner_);
    layout->addWidget(list_, 1);

    connectParts();
    setInput(BookmarkColumnInput{});
    applyWidth();

    // "just now" becomes "1 min ago" without a new input.
    auto* clock = new QTimer(this);
    clock->setInterval(relativeTimeRefresh);
    connect(clock, &QTimer::timeout, model_, &CommitListModel::refreshRelativeTimes);
    clock->start();
}

BookmarkColumn::~BookmarkColumn() = default;

void BookmarkColumn::connectParts() {
    connect(header_, &ColumnHeader::inclusionToggled, this, &BookmarkColumn::inclusionToggled);
    connect(header_, &ColumnHeader::workspaceInclusionRequested, this,
            &BookmarkColumn::workspaceInclusionRequested);
    connect(header_, &ColumnHeader::viewPRRequested, this,
            [this] { Q_EMIT bookmarkAction(BookmarkAction{BookmarkAction::ViewPR{}}); });
    connect(header_, &ColumnHeader::rebaseLocalStackRequested, this, [this] {
        Q_EMIT bookmarkAction(BookmarkAction{BookmarkAction::ReparentToTrunk{false}});
    });
    connect(header_, &ColumnHeader::rebaseLocalStacksRequested, this,
            &BookmarkColumn::rebaseLocalStacksRequested);
    connect(header_, &ColumnHeader::diffToggleRequested, this,
            &BookmarkColumn::diffToggleRequested);
    connect(header_, &ColumnHeader::closeRequested, this, &BookmarkColumn::closeRequested);
    connect(header_, &ColumnHeader::renameRequested, this,
            [this](const QString& newName) { Q_EMIT renameRequested(newName.toStdString()); });
    connect(header_, &ColumnHeader::fileListsToggled, fileLists_, &CardFileLists::setShown);
    connect(fileLists_, &CardFileLists::filesWanted, this, &BookmarkColumn::commitFilesWanted);
    connect(routes_, &LaneRoutes::routingRulesChanged, this, &BookmarkColumn::routingRulesChanged);
    connect(tipMenu_, &InlineTipMenu::renameRequested, this,
            &BookmarkColumn::renameInlineBookmarkRequested);
    connect(tipMenu_, &InlineTipMenu::deleteRequested, this,
            &BookmarkColumn::deleteInlineBookmarkRequested);
    connect(trunkBox_, &TrunkPinnedBox::toggleHistoryRequested, this,
            &BookmarkColumn::toggleExpandRequested);
    connect(trunkBox_, &TrunkPinnedBox::advanceTrunkRequested, this,
            &BookmarkColumn::advanceTrunkRequested);
    connect(mergedBanner_, &MergedBanner::unpinRequested, this,
            [this] { Q_EMIT bookmarkAction(BookmarkAction{BookmarkAction::TogglePinned{}}); });
    connect(conflictBanner_, &ConflictBanner::resolveRequested, this,
            &BookmarkColumn::resolveConflictRequested);

    connect(list_, &CommitListView::rowPressed, this, &BookmarkColumn::handleRowPressed);
    connect(list_, &CommitListView::emptyAreaPressed, this, &BookmarkColumn::columnClicked);
    connect(list_, &CommitListView::dragRequested, this, &BookmarkColumn::startRowDrag);
    connect(list_, &CommitListView::contextMenuRequestedAt, this,
            [this](const QPoint& globalPosition, const QModelIndex& index) {
                if (tipMenu_->showAt(globalPosition, index)) {
                    return;
                }
                std::optional<std::string> changeID;
                if (index.isValid()) {
                    const auto& row = model_->row(index.row());
                    if (row.commit) {
                        changeID = (*row.commit)->changeID;
                    }
                }
                Q_EMIT contextMenuRequested(globalPosition, changeID);
            });

    resizeHandle_->resizes(
        this, width_, [this] { return widthKey_; }, [this] { Q_EMIT widthChanged(width_.width); });
}

void BookmarkColumn::setInput(BookmarkColumnInput input) {
    if (input == *input_ && widthKey_) {
        return;
    }
    input_ = std::make_shared<const BookmarkColumnInput>(std::move(input));
    const BookmarkColumnInput& shown = *input_;

    setAccessibleName(QString::fromStdString(shown.displayTitle()));
    const bool isTrunk = shown.isTrunk();
    header_->setVisible(!isTrunk);
    trunkBox_->setVisible(isTrunk);
    if (isTrunk) {
        trunkBox_->setInput(shown);
    } else {
        header_->setInput(shown);
    }
    routes_->setInput(shown);
    mergedBanner_->setInput(shown);
    conflictBanner_->setInput(shown);
    // A closed trunk has no rows; its list stays, empty, under the box.
    model_->setInput(input_);

    loadWidth();
    update();
}

bool BookmarkColumn::showsFiles() const {
    return fileLists_->isShown();
}

BookmarkColumn::LaneViewState BookmarkColumn::viewState() const {
    return {list_->verticalScrollBar()->value(), showsFiles(), routes_->isExpanded()};
}

void BookmarkColumn::restoreViewState(const LaneViewState& state) {
    header_->setFileListsShown(state.showsFiles);
    routes_->setExpanded(state.routesExpanded);
    if (state.scrollPosition == list_->verticalScrollBar()->value()) {
        return;
    }
    // The rows of a new input are laid out later; the position needs them
    // now.
    layout()->activate();
    list_->doItemsLayout();
    list_->verticalScrollBar()->setValue(state.scrollPosition);
}

void BookmarkColumn::showCommitFiles(const std::string& commitID, std::vector<ChangedFile> files) {
    fileLists_->showFiles(commitID, std::move(files));
}

void BookmarkColumn::loadWidth() {
    const QString key = columnwidths::key(input_->selectionColumnID);
    if (widthKey_ == key) {
        return;
    }
    widthKey_ = key;
    const double gutter = width_.gutterWidth;
    width_ = columnwidths::resizableColumnWidth(key, columnwidths::bookmarkColumnLimits);
    width_.gutterWidth = gutter;
    applyWidth();
}

void BookmarkColumn::applyWidth() {
    setFixedWidth(static_cast<int>(std::lround(width_.width)));
}

void BookmarkColumn::handleRowPressed(const QModelIndex& index, Qt::KeyboardModifiers modifiers) {
    const auto& row = model_->row(index.row());
    switch (row.kind) {
        case CommitListModel::RowKind::loadMore:
            Q_EMIT loadMoreRequested();
            return;
        case CommitListModel::RowKind::base:
            Q_EMIT columnClicked();
            return;
        case CommitListModel::RowKind::commit:
        case CommitListModel::RowKind::stacked:
        case CommitListModel::RowKind::ancestor:
            Q_EMIT commitClicked((*row.commit)->changeID, modifiers);
            return;
    }
}

void BookmarkColumn::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) {
        QFrame::mousePressEvent(event);
        return;
    }
    event->accept();
    pressPosition_ = event->position().toPoint();
    Q_EMIT columnClicked();
}

void BookmarkColumn::mouseMoveEvent(QMouseEvent* event) {
    // A real bookmark's lane drags by its head or any place outside the
    // cards: onto another lane to rebase it there, onto a workspace to
    // include it.
    if (!pressPosition_ || !event->buttons().testFlag(Qt::LeftButton) ||
        (event->position().toPoint() - *pressPosition_).manhattanLength() <
            QApplication::startDragDistance()) {
        return;
    }
    pressPosition_.reset();
    if (input_->kind != BookmarkColumnInput::LaneKind::bookmark) {
        return;
    }
    BoardDrag::start(this, BookmarkDragPayload{input_->bookmark.name});
}

void BookmarkColumn::mouseReleaseEvent(QMouseEvent* event) {
    pressPosition_.reset();
    QFrame::mouseReleaseEvent(event);
}

CommitDragPayload BookmarkColumn::commitDragPayload(const QModelIndex& index) const {
    const auto& dragged = model_->row(index.row());
    CommitDragPayload payload;
    if (!dragged.commit) {
        return payload;
    }
    auto item = [](const SharedCommit& commit) {
        return CommitDragPayload::Item{commit->changeID, commit->commitID, commit->immutable};
    };
    if (!input_->selectedChangeIDs.contains((*dragged.commit)->changeID)) {
        payload.commits.push_back(item(*dragged.commit));
        return payload;
    }
    std::set<std::string> seen;
    for (int row = 0; row < model_->rowCount(); ++row) {
        const auto& current = model_->row(row);
        if (current.commit && input_->selectedChangeIDs.contains((*current.commit)->changeID) &&
            seen.insert((*current.commit)->changeID).second) {
            payload.commits.push_back(item(*current.commit));
        }
    }
    return payload;
}

void BookmarkColumn::startRowDrag(const QModelIndex& index, const QPoint& pressPosition) {
    const auto& row = model_->row(index.row());
    if (!row.commit) {
        return;
    }
    const auto chip = delegate_->chipAt(list_->optionFor(index), index, pressPosition);
    if (chip && chip->isDraggable && input_->kind == BookmarkColumnInput::LaneKind::bookmark) {
        const bool isPoint = chip->kind == CardChip::Kind::compositionPoint;
        LaneMarkerDragPayload marker{isPoint ? LaneMarkerDragPayload::Kind::compositionPoint
                                             : LaneMarkerDragPayload::Kind::bookmark,
                                     input_->bookmark.name,
                                     isPoint ? std::optional(chip->workspaceName) : std::nullopt};
        BoardDrag::start(list_->viewport(), marker, chip->text);
        return;
    }
    auto payload = commitDragPayload(index);
    if (payload.commits.empty()) {
        return;
    }
    BoardDrag::start(list_->viewport(), payload, commitsLabel(payload.commits.size()));
}

// MARK: Drops

std::optional<int> BookmarkColumn::rowAt(const QPoint& position) const {
    const QPoint inList = list_->viewport()->mapFrom(this, position);
    if (!list_->viewport()->rect().contains(inList)) {
        return std::nullopt;
    }
    const QModelIndex index = list_->indexAt(inList);
    return index.isValid() ? std::optional(index.row()) : std::nullopt;
}

std::optional<LaneDrop> BookmarkColumn::dropAt(const DragContent& content,
                                               const std::optional<int>& row,
                                               Qt::KeyboardModifiers modifiers) const {
    return laneDrop(*input_, content, row ? std::optional(model_->row(*row)) : std::nullopt,
                    copyHeld(modifiers));
}

Qt::DropAction BookmarkColumn::dragHover(const QMimeData& mime, const QPoint& position,
                                         Qt::KeyboardModifiers modifiers) {
    auto content = sessionDragContent();
    if (!content) {
        content = dragContent(mime);
    }
    const auto row = rowAt(position);
    const auto drop = content ? dropAt(*content, row, modifiers) : std::nullopt;
    list_->setDropRow(drop && drop->landsOnRow() ? row : std::nullopt);
    if (isDropTargeted_ != drop.has_value()) {
        isDropTargeted_ = drop.has_value();
        update();
    }
    if (!drop) {
        return Qt::IgnoreAction;
    }
    return drop->isCopy() ? Qt::CopyAction : Qt::MoveAction;
}

void BookmarkColumn::dragExit() {
    list_->setDropRow(std::nullopt);
    if (isDropTargeted_) {
        isDropTargeted_ = false;
        update();
    }
}

bool BookmarkColumn::dropData(const QMimeData& mime, const QPoint& position,
                              Qt::KeyboardModifiers modifiers) {
    dragExit();
    // The data decides, not the session: a payload that does not decode
    // is refused.
    const auto content = dragContent(mime);
    const auto drop = content ? dropAt(*content, rowAt(position), modifiers) : std::nullopt;
    if (!drop) {
        return false;
    }
    Q_EMIT dropped(*drop);
    return true;
}

void BookmarkColumn::dragEnterEvent(QDragEnterEvent* event) {
    dragMoveEvent(event);
}

void BookmarkColumn::dragMoveEvent(QDragMoveEvent* event) {
    const auto action =
        dragHover(*event->mimeData(), event->position().toPoint(), event->modifiers());
    if (action == Qt::IgnoreAction) {
        event->ignore();
        return;
    }
    event->setDropAction(action);
    event->accept();
}

void BookmarkColumn::dragLeaveEvent(QDragLeaveEvent* event) {
    dragExit();
    event->accept();
}

void BookmarkColumn::dropEvent(QDropEvent* event) {
    if (dropData(*event->mimeData(), event->position().toPoint(), event->modifiers())) {
        event->acceptProposedAction();
    } else {
        event->ignore();
    }
}

void BookmarkColumn::contextMenuEvent(QContextMenuEvent* event) {
    event->accept();
    Q_EMIT contextMenuRequested(event->globalPos(), std::nullopt);
}

void BookmarkColumn::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const bool selected = input_->isSelected || isDropTargeted_;
    const QPalette::ColorGroup group = isActiveWindow() ? QPalette::Active : QPalette::Inactive;
    const int gutter = static_cast<int>(std::lround(width_.gutterWidth));
    // The trailing border runs through the middle of the resize handle.
    const QRectF frame = QRectF(rect()).adjusted(borderWidth / 2.0, borderWidth / 2.0,
                                                 -gutter / 2.0, -borderWidth / 2.0);
    painter.setBrush(palette().color(group, QPalette::Window));
    painter.setPen(QPen(palette().color(group, selected ? QPalette::Highlight : QPalette::Mid),
                        selected ? borderWidth : 1));
    painter.drawRoundedRect(frame, 8, 8);
}

}  // namespace vorda
