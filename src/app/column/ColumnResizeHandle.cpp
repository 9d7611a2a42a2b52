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
    QPainter painter(this);
    if (isDragging_ || isHovered_) {
        const QRect line(width() / 2 - 1, 0, 2, height());
        painter.fillRect(line, palette().color(QPalette::Highlight));
        return;
    }
    // At rest a grip of three dots halfway down says the border can be
    // dragged.
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(palette().color(QPalette::Mid));
    constexpr int dot = 3;
    constexpr int gap = 4;
    const int left = (width() - dot) / 2;
    const int top = height() / 2 - (3 * dot + 2 * gap) / 2;
    for (int index = 0; index < 3; ++index) {
        painter.drawEllipse(QRect(left, top + index * (dot + gap), dot, dot));
    }
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
