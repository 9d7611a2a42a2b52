#pragma once

#include <QObject>
#include <QPoint>
#include <QPointer>
#include <memory>
#include <optional>

class QLabel;
class QMimeData;
class QWidget;

namespace vorda {

class DropTarget;

/// A drag within one window. It follows the pointer itself instead of
/// handing the drag to the platform, so it behaves the same on every
/// display server and under test: while the button is held, each move asks
/// the `DropTarget` under the pointer (or the nearest one above it) what a
/// drop would do, shows the answer beside the pointer and in the cursor,
/// and the release drops there. Escape cancels. Moves and releases are
/// taken from the whole application while the drag runs, so no widget
/// under the pointer reacts to them.
///
/// ```
/// CommitDragSession::begin(payload);
/// BoardDrag::start(list, dragMimeData(payload), tr("2 commits"));
/// ```
class BoardDrag : public QObject {
    Q_OBJECT

  public:
    /// Starts a drag of `data` from `source`; `label` is shown beside the
    /// pointer. When the drag is over, dropped or not, every drag session
    /// is ended.
    static void start(QWidget* source, std::unique_ptr<QMimeData> data, const QString& label);
    /// Whether a drag is under way.
    static bool isActive();

    ~BoardDrag() override;
    BoardDrag(const BoardDrag&) = delete;
    BoardDrag& operator=(const BoardDrag&) = delete;
    BoardDrag(BoardDrag&&) = delete;
    BoardDrag& operator=(BoardDrag&&) = delete;

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    BoardDrag(QWidget* window, std::unique_ptr<QMimeData> data, const QString& label);
    void hover(const QPoint& globalPosition, Qt::KeyboardModifiers modifiers);
    void finish(const std::optional<QPoint>& dropAt, Qt::KeyboardModifiers modifiers);
    void leaveTarget();
    void showState(Qt::DropAction action, bool refused, const QPoint& globalPosition);

    QPointer<QWidget> window_;
    std::unique_ptr<QMimeData> data_;
    QString label_;
    QLabel* picture_ = nullptr;
    QPointer<QWidget> targetWidget_;
    DropTarget* target_ = nullptr;
};

}  // namespace vorda
