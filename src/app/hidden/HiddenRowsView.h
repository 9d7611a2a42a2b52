#pragma once

#include <QListView>
#include <QPoint>

namespace vorda {

/// The list of the hidden bookmarks panel, named "hidden-rows". The cursor
/// and the selection live in the view model, not here: the view selects
/// nothing itself and reports keys, presses and context menus, which the
/// panel turns into cursor moves and commands.
///
/// Keys: Up and Down move the cursor (with Shift the commit selection grows
/// as with a shift-click), Return or Enter opens or closes the item under
/// the cursor, F2 renames it, and the menu key opens its context menu.
class HiddenRowsView : public QListView {
    Q_OBJECT

  public:
    explicit HiddenRowsView(QWidget* parent = nullptr);

  Q_SIGNALS:
    void cursorMoveRequested(int step, bool extend);
    void activateRequested();
    void renameRequested();
    /// A row was pressed with the left button at `position` (viewport
    /// coordinates), with the modifier keys held.
    void rowPressed(const QModelIndex& index, const QPoint& position,
                    Qt::KeyboardModifiers modifiers);
    /// A context menu is wanted at `globalPosition` for the row `index`
    /// (invalid: the cursor's row, asked for from the keyboard).
    void contextMenuRequestedAt(const QPoint& globalPosition, const QModelIndex& index);

  protected:
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
};

}  // namespace vorda
