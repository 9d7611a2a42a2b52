#pragma once

#include <QWebEngineView>

namespace vorda {

/// A web view that leaves the window's shortcuts to the window. The page's
/// renderer claims editing keys such as Ctrl+Z for itself; a key that a menu
/// entry or a shortcut of the window uses goes to them first, so the board's
/// undo, operation log and menu keys work while the diff page has focus.
/// Ctrl with the wheel does not zoom the page.
class MenuAwareWebView : public QWebEngineView {
    Q_OBJECT

  public:
    explicit MenuAwareWebView(QWidget* parent = nullptr);

  protected:
    bool event(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
};

/// Whether an enabled menu entry, action or shortcut of `window` answers to
/// `key`.
bool windowHandlesKey(const QWidget* window, QKeyCombination key);

}  // namespace vorda
