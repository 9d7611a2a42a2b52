#include "app/column/ColumnResizeHandle.h"

#include <QEvent>
#include <QMouseEvent>
#include <QPainter>
#include <cmath>

#include "app/column/ColumnText.h"
#include "app/column/ColumnWidthStore.h"
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
    // The column draws its trailing border through the middle of this
    // strip; the grip sits on that line, halfway down, and the whole line
    // lights up under the pointer.
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const bool active = isDragging_ || isHovered_;
    const QColor accent = palette().color(QPalette::Highlight);
    if (active) {
        painter.fillRect(QRect(width() / 2 - 1, 0, 2, height()), accent);
    }
    constexpr int gripHeight = 32;
    const QRectF grip(0.5, (height() - gripHeight) / 2.0, width() - 1.0, gripHeight);
    painter.setPen(Qt::NoPen);
    painter.setBrush(active ? accent : palette().color(QPalette::Mid));
    painter.drawRoundedRect(grip, width() / 2.0, width() / 2.0);
    // Three notches across the grip, as on a splitter.
    painter.setBrush(palette().color(active ? QPalette::HighlightedText : QPalette::Base));
    constexpr double notch = 2;
    for (int index = -1; index <= 1; ++index) {
        const double centreY = grip.center().y() + index * 3.0 * notch;
        painter.drawEllipse(QPointF(grip.center().x(), centreY), notch / 2, notch / 2);
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

void ColumnResizeHandle::resizes(QWidget* column, ResizableColumnWidth& width,
                                 std::function<std::optional<QString>()> storageKey,
                                 std::function<void()> resized) {
    column_ = column;
    column->installEventFilter(this);
    connect(this, &ColumnResizeHandle::dragStarted, column, [&width] { width.beginDrag(); });
    connect(this, &ColumnResizeHandle::dragged, column,
            [column, &width, resized = std::move(resized)](double translation) {
                const double before = width.width;
                width.dragTo(translation);
                if (width.width == before) {
                    return;
                }
                column->setFixedWidth(static_cast<int>(std::lround(width.width)));
                if (resized) {
                    resized();
                }
            });
    connect(this, &ColumnResizeHandle::dragFinished, column,
            [&width, storageKey = std::move(storageKey)] {
                width.endDrag();
                if (const auto key = storageKey()) {
                    columnwidths::storeWidth(*key, width.width);
                }
            });
}

bool ColumnResizeHandle::eventFilter(QObject* watched, QEvent* event) {
    // The handle keeps to the column's trailing edge, above its content.
    if (watched == column_ && event->type() == QEvent::Resize) {
        const int gutter = sizeHint().width();
        setGeometry(column_->width() - gutter, 0, gutter, column_->height());
        raise();
    }
    return false;
}

}  // namespace vorda
