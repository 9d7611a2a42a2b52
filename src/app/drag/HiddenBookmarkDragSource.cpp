#include "app/drag/HiddenBookmarkDragSource.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QMouseEvent>

#include "app/drag/BoardDrag.h"
#include "app/drag/DragPayloads.h"

namespace vorda {

HiddenBookmarkDragSource::HiddenBookmarkDragSource(QAbstractItemView* view, int nameRole)
    : QObject(view), view_(view), nameRole_(nameRole) {
    view->viewport()->installEventFilter(this);
}

bool HiddenBookmarkDragSource::eventFilter(QObject* /*watched*/, QEvent* event) {
    if (event->type() == QEvent::MouseButtonPress) {
        const auto* press = static_cast<QMouseEvent*>(event);
        if (press->button() == Qt::LeftButton) {
            pressPosition_ = press->position().toPoint();
            pressed_ = view_->indexAt(pressPosition_);
        }
        return false;
    }
    if (event->type() == QEvent::MouseButtonRelease) {
        pressed_ = QPersistentModelIndex();
        return false;
    }
    if (event->type() != QEvent::MouseMove || !pressed_.isValid()) {
        return false;
    }
    const auto* move = static_cast<QMouseEvent*>(event);
    if (!move->buttons().testFlag(Qt::LeftButton) ||
        (move->position().toPoint() - pressPosition_).manhattanLength() <
            QApplication::startDragDistance()) {
        return false;
    }
    const QString name = pressed_.data(nameRole_).toString();
    pressed_ = QPersistentModelIndex();
    if (name.isEmpty()) {
        return false;
    }
    BoardDrag::start(view_, BookmarkDragPayload{name.toStdString()});
    return true;
}

}  // namespace vorda
