#pragma once

#include <QString>
#include <QWidget>
#include <functional>
#include <optional>

#include "app/column/ResizableColumnWidth.h"

namespace vorda {

/// The thin strip on a column's trailing edge that resizes it. It reports
/// the pointer's horizontal travel since the press; the column decides the
/// width. The travel is measured in global coordinates, so it stays right
/// while the column, and with it the handle, moves under the pointer.
class ColumnResizeHandle : public QWidget {
    Q_OBJECT

  public:
    explicit ColumnResizeHandle(QWidget* parent = nullptr);

    QSize sizeHint() const override;

    /// Lets this handle resize `column` through `width`: a drag changes the
    /// width within its limits and the column's fixed width with it,
    /// `resized` runs after each change, and the width is stored under
    /// `storageKey()` when the drag ends (not at all when that is absent).
    /// The handle keeps to the column's trailing edge as the column resizes.
    /// `width` must live as long as the handle.
    void resizes(QWidget* column, ResizableColumnWidth& width,
                 std::function<std::optional<QString>()> storageKey,
                 std::function<void()> resized = {});

  Q_SIGNALS:
    void dragStarted();
    /// The pointer is `translation` pixels right of where it was pressed.
    void dragged(double translation);
    void dragFinished();

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;

  private:
    QWidget* column_ = nullptr;
    double pressX_ = 0;
    bool isDragging_ = false;
    bool isHovered_ = false;
};

}  // namespace vorda
