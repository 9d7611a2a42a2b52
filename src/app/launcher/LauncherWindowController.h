#pragma once

#include <QObject>
#include <QPointer>
#include <QWidget>

namespace vorda {

/// Decides whether the launcher window is on screen. `isVisible` is the wanted state; the window
/// follows it. The launcher is never destroyed by this controller, only hidden, and a window
/// registered while `isVisible` is false stays hidden until `show()` (as if
/// fully transparent), so a launcher told to hide
/// before it existed never flashes.
///
/// Lives on the GUI thread; every operation writes a "[launcher] " line.
class LauncherWindowController : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool isVisible READ isVisible NOTIFY isVisibleChanged)

  public:
    explicit LauncherWindowController(QObject* parent = nullptr);

    bool isVisible() const { return isVisible_; }
    QWidget* window() const { return window_; }

    /// Takes `window` as the launcher ("register"): hidden if
    /// `isVisible` is false, shown if `show()` came before the window.
    void registerWindow(QWidget* window);
    /// Shows the launcher, brings it to the front and activates it.
    void show();
    /// Hides the launcher without closing or destroying it.
    void hide();

  signals:
    void isVisibleChanged(bool isVisible);

  private:
    void setVisible(bool visible);

    bool isVisible_ = false;
    QPointer<QWidget> window_;
};

}  // namespace vorda
