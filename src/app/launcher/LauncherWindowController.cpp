#include "app/launcher/LauncherWindowController.h"

#include "app/start/LaunchLog.h"

namespace vorda {

LauncherWindowController::LauncherWindowController(QObject* parent) : QObject(parent) {}

void LauncherWindowController::registerWindow(QWidget* window) {
    window_ = window;
    launchlog::write(QStringLiteral("controller.register window=") + launchlog::describe(window) +
                     QStringLiteral(" isVisible=") + launchlog::flag(isVisible_));
    if (window == nullptr) {
        return;
    }
    if (isVisible_) {
        // Told to show before the window existed.
        window->show();
        window->raise();
        window->activateWindow();
    } else {
        window->hide();
    }
}

void LauncherWindowController::show() {
    launchlog::write(QStringLiteral("controller.show window=") + launchlog::describe(window_));
    setVisible(true);
    if (window_ == nullptr) {
        return;
    }
    if (window_->isMinimized()) {
        window_->setWindowState(window_->windowState() & ~Qt::WindowMinimized);
    }
    window_->show();
    window_->raise();
    window_->activateWindow();
}

void LauncherWindowController::hide() {
    launchlog::write(QStringLiteral("controller.hide window=") + launchlog::describe(window_));
    setVisible(false);
    if (window_ != nullptr) {
        window_->hide();
    }
}

void LauncherWindowController::setVisible(bool visible) {
    if (isVisible_ == visible) {
        return;
    }
    isVisible_ = visible;
    emit isVisibleChanged(visible);
}

}  // namespace vorda
