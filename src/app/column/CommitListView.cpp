#include "app/column/CommitListView.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QMouseEvent>
#include <QPainter>

#include "app/column/CommitListModel.h"

namespace vorda {

CommitListView::CommitListView(QWidget* parent) : QListView(parent) {
    setObjectName(QStringLiteral("commitList"));
    setSelectionMode(QAbstractItemView::NoSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setUniformItemSizes(true);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFrameShape(QFrame::NoFrame);
    setMouseTracking(true);
    viewport()->setAttribute(Qt::WA_Hover);
    // Cards draw their own backgrounds; the list shows the column's.
    viewport()->setAutoFillBackground(false);
    setAutoFillBackground(false);
}

bool CommitListView::isRowSelected(const QModelIndex& index) const {
    return index.data(CommitListModel::IsSelectedRole).toBool();
}

void CommitListView::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    event->accept();
    const QModelIndex index = indexAt(event->position().toPoint());
    pressedIndex_ = index;
    pressPosition_ = event->position().toPoint();
    pressDeferred_ = false;
    if (!index.isValid()) {
        Q_EMIT emptyAreaPressed();
        return;
    }
    if (event->modifiers() == Qt::NoModifier && isRowSelected(index)) {
        pressDeferred_ = true;
        return;
    }
    Q_EMIT rowPressed(index, event->modifiers());
}

// The view's own press handling would start a rubber band or a selection:
// moves only start drags, and releases finish a deferred press.
void CommitListView::mouseMoveEvent(QMouseEvent* event) {
    event->accept();
    if (!event->buttons().testFlag(Qt::LeftButton) || !pressedIndex_.isValid() ||
        (event->position().toPoint() - pressPosition_).manhattanLength() <
            QApplication::startDragDistance()) {
        return;
    }
    const QModelIndex index = pressedIndex_;
    pressedIndex_ = QPersistentModelIndex();
    pressDeferred_ = false;
    Q_EMIT dragRequested(index, pressPosition_);
}

void CommitListView::mouseReleaseEvent(QMouseEvent* event) {
    event->accept();
    if (pressDeferred_ && pressedIndex_.isValid()) {
        Q_EMIT rowPressed(pressedIndex_, Qt::NoModifier);
    }
    pressDeferred_ = false;
    pressedIndex_ = QPersistentModelIndex();
}

void CommitListView::mouseDoubleClickEvent(QMouseEvent* event) {
    event->accept();
}

void CommitListView::keyPressEvent(QKeyEvent* event) {
    // The board moves the selection with the arrow keys.
    if (event->key() == Qt::Key_Up || event->key() == Qt::Key_Down) {
        event->ignore();
        return;
    }
    QListView::keyPressEvent(event);
}

QStyleOptionViewItem CommitListView::optionFor(const QModelIndex& index) const {
    QStyleOptionViewItem option;
    initViewItemOption(&option);
    option.rect = visualRect(index);
    return option;
}

void CommitListView::setDropRow(std::optional<int> row) {
    if (dropRow_ != row) {
        dropRow_ = row;
        viewport()->update();
    }
}

void CommitListView::paintEvent(QPaintEvent* event) {
    QListView::paintEvent(event);
    if (!dropRow_ || model() == nullptr) {
        return;
    }
    const QRect rect = visualRect(model()->index(*dropRow_, 0));
    if (!rect.isValid()) {
        return;
    }
    QPainter painter(viewport());
    painter.setRenderHint(QPainter::Antialiasing);
    QColor fill = palette().color(QPalette::Highlight);
    fill.setAlphaF(0.18F);
    painter.setBrush(fill);
    painter.setPen(QPen(palette().color(QPalette::Highlight), 2));
    painter.drawRoundedRect(QRectF(rect).adjusted(2, 2, -2, -2), 6, 6);
}

void CommitListView::contextMenuEvent(QContextMenuEvent* event) {
    event->accept();
    Q_EMIT contextMenuRequestedAt(event->globalPos(), indexAt(event->pos()));
}

}  // namespace vorda
