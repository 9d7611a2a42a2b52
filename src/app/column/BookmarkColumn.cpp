#include "app/column/BookmarkColumn.h"

#include <QContextMenuEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QTimer>
#include <QVBoxLayout>
#include <chrono>
#include <cmath>
#include <utility>

#include "app/column/ColumnHeader.h"
#include "app/column/ColumnResizeHandle.h"
#include "app/column/ColumnWidthStore.h"
#include "app/column/CommitCardDelegate.h"
#include "app/column/CommitListModel.h"
#include "app/column/CommitListView.h"
#include "app/column/LaneBanners.h"
#include "app/column/TrunkPinnedBox.h"

namespace vorda {

namespace {

constexpr int borderWidth = 2;
constexpr std::chrono::seconds relativeTimeRefresh{60};

}  // namespace

BookmarkColumn::BookmarkColumn(QWidget* parent)
    : QFrame(parent),
      input_(std::make_shared<const BookmarkColumnInput>()),
      header_(new ColumnHeader(this)),
      trunkBox_(new TrunkPinnedBox(this)),
      mergedBanner_(new MergedBanner(this)),
      conflictBanner_(new ConflictBanner(this)),
      model_(new CommitListModel(this)),
      delegate_(new CommitCardDelegate(this)),
      list_(new CommitListView(this)),
      resizeHandle_(new ColumnResizeHandle(this)) {
    setObjectName(QStringLiteral("bookmarkColumn"));
    setFrameShape(QFrame::NoFrame);
    setBackgroundRole(QPalette::Window);

    list_->setModel(model_);
    list_->setItemDelegate(delegate_);

    width_.gutterWidth = resizeHandle_->sizeHint().width();

    auto* layout = new QVBoxLayout(this);
    // Room for the border, and on the trailing side for the resize handle.
    layout->setContentsMargins(borderWidth, borderWidth,
                               static_cast<int>(std::lround(width_.gutterWidth)), borderWidth);
    layout->setSpacing(4);
    layout->addWidget(header_);
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
    connect(list_, &CommitListView::contextMenuRequestedAt, this,
            [this](const QPoint& globalPosition, const QModelIndex& index) {
                std::optional<std::string> changeID;
                if (index.isValid()) {
                    const auto& row = model_->row(index.row());
                    if (row.commit) {
                        changeID = (*row.commit)->changeID;
                    }
                }
                Q_EMIT contextMenuRequested(globalPosition, changeID);
            });

    connect(resizeHandle_, &ColumnResizeHandle::dragStarted, this, [this] { width_.beginDrag(); });
    connect(resizeHandle_, &ColumnResizeHandle::dragged, this, [this](double translation) {
        const double before = width_.width;
        width_.dragTo(translation);
        if (width_.width != before) {
            applyWidth();
            Q_EMIT widthChanged(width_.width);
        }
    });
    connect(resizeHandle_, &ColumnResizeHandle::dragFinished, this, [this] {
        width_.endDrag();
        if (widthKey_) {
            columnwidths::storeWidth(*widthKey_, width_.width);
        }
    });
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
    mergedBanner_->setInput(shown);
    conflictBanner_->setInput(shown);
    // A closed trunk has no rows; its list stays, empty, under the box.
    model_->setInput(input_);

    loadWidth();
    update();
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
    Q_EMIT columnClicked();
}

void BookmarkColumn::contextMenuEvent(QContextMenuEvent* event) {
    event->accept();
    Q_EMIT contextMenuRequested(event->globalPos(), std::nullopt);
}

void BookmarkColumn::resizeEvent(QResizeEvent* event) {
    QFrame::resizeEvent(event);
    const int gutter = static_cast<int>(std::lround(width_.gutterWidth));
    resizeHandle_->setGeometry(width() - gutter, 0, gutter, height());
    resizeHandle_->raise();
}

void BookmarkColumn::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const bool selected = input_->isSelected;
    const QPalette::ColorGroup group = isActiveWindow() ? QPalette::Active : QPalette::Inactive;
    const int gutter = static_cast<int>(std::lround(width_.gutterWidth));
    const QRectF frame =
        QRectF(rect().adjusted(0, 0, -gutter + borderWidth, 0))
            .adjusted(borderWidth / 2.0, borderWidth / 2.0, -borderWidth / 2.0, -borderWidth / 2.0);
    painter.setBrush(palette().color(group, QPalette::Window));
    painter.setPen(QPen(palette().color(group, selected ? QPalette::Highlight : QPalette::Mid),
                        selected ? borderWidth : 1));
    painter.drawRoundedRect(frame, 8, 8);
}

}  // namespace vorda
