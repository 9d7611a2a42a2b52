#pragma once

#include <QListView>
#include <QPoint>

namespace vorda {

/// The list of a lane column. Selection lives in the board's selection
/// store, not here: the view selects nothing itself and reports presses with
/// their modifier keys, so that the store can extend or toggle a selection.
/// It never stretches a card: every row has the delegate's one height.
class CommitListView : public QListView {
    Q_OBJECT

  public:
    explicit CommitListView(QWidget* parent = nullptr);

  Q_SIGNALS:
    /// A row was pressed with the left button.
    void rowPressed(const QModelIndex& index, Qt::KeyboardModifiers modifiers);
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
};

}  // namespace vorda
