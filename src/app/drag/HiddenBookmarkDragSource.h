#pragma once

#include <QObject>
#include <QPersistentModelIndex>
#include <QPoint>

class QAbstractItemView;

namespace vorda {

/// Makes the rows of a list draggable as bookmarks: a press on a row and a
/// move past the drag distance start a bookmark drag with the name the row
/// holds under `nameRole`. Rows without a name do not drag. It watches the
/// view's viewport and lives as long as the view.
class HiddenBookmarkDragSource : public QObject {
    Q_OBJECT

  public:
    HiddenBookmarkDragSource(QAbstractItemView* view, int nameRole);

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    QAbstractItemView* view_;
    int nameRole_;
    QPersistentModelIndex pressed_;
    QPoint pressPosition_;
};

}  // namespace vorda
