#include "app/diffpanel/MenuAwareWebView.h"

#include <QAction>
#include <QChildEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QMenuBar>
#include <QShortcut>
#include <QWheelEvent>

namespace vorda {

namespace {

bool actionHandlesKey(const QAction* action, const QKeySequence& key) {
    if (action->isEnabled() && action->shortcuts().contains(key)) {
        return true;
    }
    if (const auto* menu = action->menu()) {
        const auto entries = menu->actions();
        return std::any_of(entries.begin(), entries.end(),
                           [&](const QAction* entry) { return actionHandlesKey(entry, key); });
    }
    return false;
}

}  // namespace

bool windowHandlesKey(const QWidget* window, QKeyCombination key) {
    if (window == nullptr) {
        return false;
    }
    const QKeySequence sequence(key);
    // Menu entries may belong to an object outside the window, so the menu
    // bar is walked as well as the window's own actions.
    QList<QAction*> actions = window->findChildren<QAction*>();
    for (const auto* bar : window->findChildren<QMenuBar*>()) {
        actions += bar->actions();
    }
    if (std::any_of(actions.begin(), actions.end(),
                    [&](const QAction* action) { return actionHandlesKey(action, sequence); })) {
        return true;
    }
    const auto shortcuts = window->findChildren<QShortcut*>();
    return std::any_of(shortcuts.begin(), shortcuts.end(), [&](const QShortcut* shortcut) {
        return shortcut->isEnabled() && shortcut->keys().contains(sequence);
    });
}

MenuAwareWebView::MenuAwareWebView(QWidget* parent) : QWebEngineView(parent) {}

bool MenuAwareWebView::event(QEvent* event) {
    // The renderer's widget, which takes the keys, arrives as a child.
    if (event->type() == QEvent::ChildAdded) {
        if (auto* child = qobject_cast<QWidget*>(static_cast<QChildEvent*>(event)->child())) {
            child->installEventFilter(this);
        }
    }
    return QWebEngineView::event(event);
}

bool MenuAwareWebView::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::ShortcutOverride) {
        const auto* key = static_cast<QKeyEvent*>(event);
        if (windowHandlesKey(window(), key->keyCombination())) {
            // Left unaccepted, the key goes to the window's shortcut.
            event->ignore();
            return true;
        }
    }
    if (event->type() == QEvent::Wheel &&
        static_cast<QWheelEvent*>(event)->modifiers().testFlag(Qt::ControlModifier)) {
        return true;
    }
    return QWebEngineView::eventFilter(watched, event);
}

}  // namespace vorda
