#pragma once

#include <QListView>
#include <QPersistentModelIndex>
#include <QPoint>
#include <optional>

namespace vorda {

/// The list of a lane column. Selection lives in the board's selection
/// store, not here: the view selects nothing itself and reports presses with
/// their modifier keys, so that the store can extend or toggle a selection.
/// It never stretches a card: every row has the delegate's one height.
class CommitListView : public QListView {
    Q_OBJECT

  public:
    explicit CommitListView(QWidget* parent = nullptr);

    /// The style a row is painted with, its rectangle included.
    QStyleOptionViewItem optionFor(const QModelIndex& index) const;

    /// Marks the row a drop would land on (absent for none): framed in the
    /// highlight colour.
    void setDropRow(std::optional<int> row);
    std::optional<int> dropRow() const { return dropRow_; }

  Q_SIGNALS:
    /// A row was pressed with the left button. A plain press on a row that
    /// `isRowSelected` reports is reported at release instead, and not at
    /// all when it became a drag, so that dragging a selection keeps it.
    void rowPressed(const QModelIndex& index, Qt::KeyboardModifiers modifiers);
    /// The pointer moved far enough with the button held on `index` to
    /// start a drag; `pressPosition` is where the press was, in the
    /// viewport's coordinates.
    void dragRequested(const QModelIndex& index, const QPoint& pressPosition);
    /// The list was pressed where it has no row.
    void emptyAreaPressed();
    /// A context menu was asked for at `globalPosition`; `index` is the row
    /// under the pointer (invalid when there is none).
    void contextMenuRequestedAt(const QPoint& globalPosition, const QModelIndex& index);

  protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

  private:
    bool isRowSelected(const QModelIndex& index) const;

    QPersistentModelIndex pressedIndex_;
    QPoint pressPosition_;
    bool pressDeferred_ = false;
    std::optional<int> dropRow_;
};

}  // namespace vorda
