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
struct BookmarkDragPayload;
struct CommitDragPayload;
struct LaneMarkerDragPayload;

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
/// BoardDrag::start(list, payload, tr("2 commits"));
/// ```
class BoardDrag : public QObject {
    Q_OBJECT

  public:
    /// Starts a drag of `payload` from `source`, with its session begun and
    /// its data written; `label` is shown beside the pointer. When the drag
    /// is over, dropped or not, the session ends.
    static void start(QWidget* source, const CommitDragPayload& payload, const QString& label);
    static void start(QWidget* source, const LaneMarkerDragPayload& payload, const QString& label);
    /// A bookmark's drag, labelled with its name.
    static void start(QWidget* source, const BookmarkDragPayload& payload);
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
    static void startWith(QWidget* source, std::unique_ptr<QMimeData> data, const QString& label);
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
