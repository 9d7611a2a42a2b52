#include "app/start/WindowActivityLog.h"

#include <QApplication>
#include <QEvent>
#include <QGuiApplication>
#include <QWidget>
#include <QWindow>

#include "app/start/LaunchLog.h"

namespace vorda {
namespace {

QWidget* widgetOf(const QWindow* window) {
    const auto topLevels = QApplication::topLevelWidgets();
    for (QWidget* widget : topLevels) {
        if (widget->windowHandle() == window) {
            return widget;
        }
    }
    return nullptr;
}

}  // namespace

WindowActivityLog::WindowActivityLog(QObject* parent) : QObject(parent) {
    connect(qGuiApp, &QGuiApplication::focusWindowChanged, this,
            &WindowActivityLog::onFocusWindowChanged);
    qApp->installEventFilter(this);
}

WindowActivityLog::~WindowActivityLog() {
    qApp->removeEventFilter(this);
}

bool WindowActivityLog::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Close && watched->isWidgetType()) {
        const auto* widget = static_cast<QWidget*>(watched);
        if (widget->isWindow()) {
            launchlog::write(QStringLiteral("NSWindow willClose id=") +
                             launchlog::describe(widget) + QStringLiteral(" title=") +
                             widget->windowTitle());
        }
    }
    return QObject::eventFilter(watched, event);
}

void WindowActivityLog::onFocusWindowChanged(QWindow* window) {
    if (window == nullptr) {
        return;
    }
    const QWidget* widget = widgetOf(window);
    const QString identity =
        widget != nullptr ? launchlog::describe(widget) : launchlog::describe(window);
    launchlog::write(QStringLiteral("NSWindow didBecomeMain id=") + identity +
                     QStringLiteral(" title=") + window->title() + QStringLiteral(" alpha=") +
                     QString::number(window->opacity()) + QStringLiteral(" visible=") +
                     launchlog::flag(window->isVisible()));
}

}  // namespace vorda
