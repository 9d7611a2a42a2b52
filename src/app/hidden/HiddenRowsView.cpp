#include "app/hidden/HiddenRowsView.h"

#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMouseEvent>

namespace vorda {

HiddenRowsView::HiddenRowsView(QWidget* parent) : QListView(parent) {
    setObjectName(QStringLiteral("hidden-rows"));
    setSelectionMode(QAbstractItemView::NoSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::StrongFocus);
    viewport()->setAutoFillBackground(false);
    setAutoFillBackground(false);
}

void HiddenRowsView::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
        case Qt::Key_Up:
        case Qt::Key_Down:
            Q_EMIT cursorMoveRequested(event->key() == Qt::Key_Up ? -1 : 1,
                                       event->modifiers().testFlag(Qt::ShiftModifier));
            break;
        case Qt::Key_Return:
        case Qt::Key_Enter:
            Q_EMIT activateRequested();
            break;
        case Qt::Key_F2:
            Q_EMIT renameRequested();
            break;
        default:
            QListView::keyPressEvent(event);
            return;
    }
    event->accept();
}

void HiddenRowsView::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    event->accept();
    const QPoint position = event->position().toPoint();
    const QModelIndex index = indexAt(position);
    if (index.isValid()) {
        Q_EMIT rowPressed(index, position, event->modifiers());
    }
}

// A double click is two presses for the panel; the view's own handling
// would start editing.
void HiddenRowsView::mouseDoubleClickEvent(QMouseEvent* event) {
    event->accept();
}

void HiddenRowsView::contextMenuEvent(QContextMenuEvent* event) {
    event->accept();
    const QModelIndex index =
        event->reason() == QContextMenuEvent::Keyboard ? QModelIndex() : indexAt(event->pos());
    Q_EMIT contextMenuRequestedAt(event->globalPos(), index);
}

// The cursor is drawn brighter while the list has the focus.
void HiddenRowsView::focusInEvent(QFocusEvent* event) {
    QListView::focusInEvent(event);
    viewport()->update();
}

void HiddenRowsView::focusOutEvent(QFocusEvent* event) {
    QListView::focusOutEvent(event);
    viewport()->update();
}

}  // namespace vorda
