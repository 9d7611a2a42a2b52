#pragma once

#include <QWidget>

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

  Q_SIGNALS:
    void dragStarted();
    /// The pointer is `translation` pixels right of where it was pressed.
    void dragged(double translation);
    void dragFinished();

  protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;

  private:
    double pressX_ = 0;
    bool isDragging_ = false;
    bool isHovered_ = false;
};

}  // namespace vorda
