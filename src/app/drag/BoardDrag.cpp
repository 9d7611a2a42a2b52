#include "app/drag/BoardDrag.h"

#include <QApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QMimeData>
#include <QMouseEvent>
#include <QWidget>

#include "app/drag/DragSession.h"
#include "app/drag/DropTarget.h"

namespace vorda {

namespace {

QPointer<BoardDrag>& activeDrag() {
    static QPointer<BoardDrag> drag;
    return drag;
}

/// How far the picture stands from the pointer, so that it never hides
/// the spot the drop lands on.
const QPoint pictureOffset(14, 10);

}  // namespace

void BoardDrag::start(QWidget* source, const CommitDragPayload& payload, const QString& label) {
    CommitDragSession::begin(payload);
    startWith(source, dragMimeData(payload), label);
}

void BoardDrag::start(QWidget* source, const LaneMarkerDragPayload& payload, const QString& label) {
    LaneMarkerDragSession::begin(payload);
    startWith(source, dragMimeData(payload), label);
}

void BoardDrag::start(QWidget* source, const BookmarkDragPayload& payload) {
    BookmarkDragSession::begin(payload);
    startWith(source, dragMimeData(payload), QString::fromStdString(payload.name));
}

void BoardDrag::startWith(QWidget* source, std::unique_ptr<QMimeData> data, const QString& label) {
    if (auto* running = activeDrag().data()) {
        running->finish(std::nullopt, Qt::NoModifier);
    }
    auto* drag = new BoardDrag(source->window(), std::move(data), label);
    activeDrag() = drag;
    qApp->installEventFilter(drag);
    QGuiApplication::setOverrideCursor(Qt::ClosedHandCursor);
}

bool BoardDrag::isActive() {
    return !activeDrag().isNull();
}

BoardDrag::BoardDrag(QWidget* window, std::unique_ptr<QMimeData> data, const QString& label)
    : QObject(window),
      window_(window),
      data_(std::move(data)),
      label_(label),
      picture_(new QLabel(window)) {
    picture_->setObjectName(QStringLiteral("drag-picture"));
    picture_->setAttribute(Qt::WA_TransparentForMouseEvents);
    picture_->setMargin(6);
    picture_->hide();
}

BoardDrag::~BoardDrag() {
    delete picture_;
}

bool BoardDrag::eventFilter(QObject* /*watched*/, QEvent* event) {
    switch (event->type()) {
        case QEvent::MouseMove: {
            const auto* move = static_cast<QMouseEvent*>(event);
            hover(move->globalPosition().toPoint(), move->modifiers());
            return true;
        }
        case QEvent::MouseButtonRelease: {
            const auto* release = static_cast<QMouseEvent*>(event);
            finish(release->globalPosition().toPoint(), release->modifiers());
            return true;
        }
        case QEvent::MouseButtonPress:
        case QEvent::MouseButtonDblClick:
            return true;
        case QEvent::KeyPress:
            if (static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape) {
                finish(std::nullopt, Qt::NoModifier);
                return true;
            }
            return false;
        default:
            return false;
    }
}

void BoardDrag::hover(const QPoint& globalPosition, Qt::KeyboardModifiers modifiers) {
    auto* window = window_.data();
    if (window == nullptr) {
        finish(std::nullopt, Qt::NoModifier);
        return;
    }
    QWidget* widget = window->childAt(window->mapFromGlobal(globalPosition));
    bool refused = false;
    for (; widget != nullptr; widget = widget->parentWidget()) {
        auto* target = dynamic_cast<DropTarget*>(widget);
        if (target == nullptr) {
            continue;
        }
        const auto action =
            target->dragHover(*data_, widget->mapFromGlobal(globalPosition), modifiers);
        if (action != Qt::IgnoreAction) {
            if (target != target_) {
                leaveTarget();
                target_ = target;
                targetWidget_ = widget;
            }
            showState(action, false, globalPosition);
            return;
        }
        target->dragExit();
        refused = true;
    }
    leaveTarget();
    showState(Qt::IgnoreAction, refused, globalPosition);
}

void BoardDrag::leaveTarget() {
    if (target_ != nullptr && !targetWidget_.isNull()) {
        target_->dragExit();
    }
    target_ = nullptr;
    targetWidget_.clear();
}

void BoardDrag::showState(Qt::DropAction action, bool refused, const QPoint& globalPosition) {
    auto* window = window_.data();
    if (window == nullptr) {
        return;
    }
    QString text = label_;
    QString frame = QStringLiteral("palette(mid)");
    if (action == Qt::CopyAction) {
        text = tr("Copy %1").arg(label_);
        frame = QStringLiteral("palette(highlight)");
    } else if (action == Qt::MoveAction) {
        frame = QStringLiteral("palette(highlight)");
    } else if (refused) {
        text = tr("%1 — can’t drop here").arg(label_);
        frame = QStringLiteral("#c0392b");
    }
    picture_->setText(text);
    picture_->setStyleSheet(QStringLiteral("QLabel#drag-picture { background: palette(base); "
                                           "border: 2px solid %1; border-radius: 6px; }")
                                .arg(frame));
    picture_->adjustSize();
    picture_->move(window->mapFromGlobal(globalPosition) + pictureOffset);
    picture_->show();
    picture_->raise();
    Qt::CursorShape cursor = refused ? Qt::ForbiddenCursor : Qt::ClosedHandCursor;
    if (action != Qt::IgnoreAction) {
        cursor = action == Qt::CopyAction ? Qt::DragCopyCursor : Qt::DragMoveCursor;
    }
    QGuiApplication::changeOverrideCursor(cursor);
}

void BoardDrag::finish(const std::optional<QPoint>& dropAt, Qt::KeyboardModifiers modifiers) {
    qApp->removeEventFilter(this);
    if (dropAt) {
        // The release decides again: the modifiers may have changed since
        // the last move.
        hover(*dropAt, modifiers);
    }
    QGuiApplication::restoreOverrideCursor();
    picture_->hide();
    DropTarget* target = target_;
    const QPointer<QWidget> targetWidget = targetWidget_;
    leaveTarget();
    if (dropAt && target != nullptr && !targetWidget.isNull()) {
        target->dropData(*data_, targetWidget->mapFromGlobal(*dropAt), modifiers);
    }
    CommitDragSession::end();
    LaneMarkerDragSession::end();
    BookmarkDragSession::end();
    activeDrag().clear();
    deleteLater();
}

}  // namespace vorda
