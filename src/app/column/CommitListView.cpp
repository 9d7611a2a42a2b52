#include "app/column/CommitListView.h"

#include <QContextMenuEvent>
#include <QMouseEvent>

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

void CommitListView::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    event->accept();
    const QModelIndex index = indexAt(event->position().toPoint());
    if (!index.isValid()) {
        Q_EMIT emptyAreaPressed();
        return;
    }
    Q_EMIT rowPressed(index, event->modifiers());
}

// The view's own press handling would start a rubber band or a selection;
// moves and releases are only for the hover state.
void CommitListView::mouseMoveEvent(QMouseEvent* event) {
    event->accept();
}

void CommitListView::mouseReleaseEvent(QMouseEvent* event) {
    event->accept();
}

void CommitListView::mouseDoubleClickEvent(QMouseEvent* event) {
    event->accept();
}

void CommitListView::contextMenuEvent(QContextMenuEvent* event) {
    event->accept();
    Q_EMIT contextMenuRequestedAt(event->globalPos(), indexAt(event->pos()));
}

}  // namespace vorda
