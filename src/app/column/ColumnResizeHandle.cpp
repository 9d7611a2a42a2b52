#include "app/column/ColumnResizeHandle.h"

#include <QMouseEvent>
#include <QPainter>

#include "app/column/ColumnText.h"
#include "app/column/QtText.h"

namespace vorda {

ColumnResizeHandle::ColumnResizeHandle(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("resizeHandle"));
    setCursor(Qt::SplitHCursor);
    setToolTip(qtText(columntext::resizeHandleTooltip));
    setAttribute(Qt::WA_Hover);
}

QSize ColumnResizeHandle::sizeHint() const {
    return {6, 0};
}

void ColumnResizeHandle::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) {
        QWidget::mousePressEvent(event);
        return;
    }
    pressX_ = event->globalPosition().x();
    isDragging_ = true;
    event->accept();
    Q_EMIT dragStarted();
    update();
}

void ColumnResizeHandle::mouseMoveEvent(QMouseEvent* event) {
    if (!isDragging_) {
        QWidget::mouseMoveEvent(event);
        return;
    }
    event->accept();
    Q_EMIT dragged(event->globalPosition().x() - pressX_);
}

void ColumnResizeHandle::mouseReleaseEvent(QMouseEvent* event) {
    if (!isDragging_ || event->button() != Qt::LeftButton) {
        QWidget::mouseReleaseEvent(event);
        return;
    }
    event->accept();
    Q_EMIT dragged(event->globalPosition().x() - pressX_);
    isDragging_ = false;
    Q_EMIT dragFinished();
    update();
}

void ColumnResizeHandle::paintEvent(QPaintEvent* /*event*/) {
    if (!isDragging_ && !isHovered_) {
        return;
    }
    QPainter painter(this);
    const QRect line(width() / 2 - 1, 0, 2, height());
    painter.fillRect(line, palette().color(QPalette::Highlight));
}

void ColumnResizeHandle::enterEvent(QEnterEvent* event) {
    isHovered_ = true;
    update();
    QWidget::enterEvent(event);
}

void ColumnResizeHandle::leaveEvent(QEvent* event) {
    isHovered_ = false;
    update();
    QWidget::leaveEvent(event);
}

}  // namespace vorda
