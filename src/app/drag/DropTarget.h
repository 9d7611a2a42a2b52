#pragma once

#include <QPoint>
#include <Qt>

class QMimeData;

namespace vorda {

/// A widget that takes drops. The board's own drags ask it while the
/// pointer hovers and on release; drops from other applications reach it
/// through Qt's drag events, which the widget forwards here. Positions are
/// in the widget's coordinates.
class DropTarget {
  public:
    /// What a drop of `data` at `position` would do with `modifiers` held:
    /// a move, a copy, or `Qt::IgnoreAction` to refuse. The target shows
    /// where the drop would land until `dragExit`.
    virtual Qt::DropAction dragHover(const QMimeData& mime, const QPoint& position,
                                     Qt::KeyboardModifiers modifiers) = 0;
    /// The pointer has left, or the drag has ended.
    virtual void dragExit() = 0;
    /// Carries out a drop that `dragHover` accepted; answers whether it did.
    virtual bool dropData(const QMimeData& mime, const QPoint& position,
                          Qt::KeyboardModifiers modifiers) = 0;

    DropTarget() = default;
    DropTarget(const DropTarget&) = delete;
    DropTarget& operator=(const DropTarget&) = delete;
    DropTarget(DropTarget&&) = delete;
    DropTarget& operator=(DropTarget&&) = delete;

  protected:
    ~DropTarget() = default;
};

}  // namespace vorda
