#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <QWidget>

class QSettings;

namespace vorda {

/// Keeps a repository window's frame across runs.
/// Attached to a top-level window, it restores the frame stored for the
/// repository path once per attachment: when the window is shown (before it
/// is mapped, so it appears in place), when it is activated, or, if the
/// window is already visible at attach, once from the event loop. Only after
/// that restoration does each move or resize save the window's geometry; a
/// move or resize before it saves nothing, so the window system's placement
/// of a new window cannot overwrite the stored frame.
///
/// The frame is the window's `geometry()` (the client area, without the
/// window manager's decoration) and is applied with `setGeometry`.
///
///     auto* saver = new WindowFrameSaver(path, settings, window);
///     saver->attach(window);   // before window->show()
class WindowFrameSaver : public QObject {
    Q_OBJECT

  public:
    /// `settings` must outlive the saver.
    WindowFrameSaver(QString repoPath, QSettings& settings, QObject* parent = nullptr);
    ~WindowFrameSaver() override;
    WindowFrameSaver(const WindowFrameSaver&) = delete;
    WindowFrameSaver& operator=(const WindowFrameSaver&) = delete;

    /// Attaches to `window`. A second attach to the same window does nothing;
    /// to another window it first detaches.
    void attach(QWidget* window);
    void detach();

    QWidget* window() const { return window_; }
    const QString& repoPath() const { return repoPath_; }
    /// Whether this attachment's restoration has run.
    bool isRestored() const { return restored_; }

    /// Reads the stored frame and applies it, once per attachment.
    void restoreFrameIfNeeded();

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void saveFrame();

    QString repoPath_;
    QSettings* settings_;
    QPointer<QWidget> window_;
    bool restored_ = false;
};

}  // namespace vorda
