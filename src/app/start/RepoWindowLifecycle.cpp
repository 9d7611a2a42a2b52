#include "app/start/RepoWindowLifecycle.h"

#include <QEvent>
#include <QWidget>

#include "app/start/LaunchLog.h"

namespace vorda {

RepoWindowLifecycle::RepoWindowLifecycle(Action onAttach, Action onClose, Action onActivate,
                                         QObject* parent)
    : QObject(parent),
      onAttach_(std::move(onAttach)),
      onClose_(std::move(onClose)),
      onActivate_(std::move(onActivate)) {}

RepoWindowLifecycle::~RepoWindowLifecycle() {
    detach();
}

void RepoWindowLifecycle::attach(QWidget* window) {
    if (window == window_) {
        return;
    }
    detach();
    if (window == nullptr) {
        return;
    }
    window_ = window;
    description_ = launchlog::describe(window);
    title_ = window->windowTitle();
    window->installEventFilter(this);
    destroyedConnection_ =
        connect(window, &QObject::destroyed, this, &RepoWindowLifecycle::handleDestroyed);
    launchlog::write(QStringLiteral("RepoWindowLifecycle.attach window=") + description_ +
                     QStringLiteral(" title=") + title_);
    if (onAttach_) {
        onAttach_(window);
    }
}

void RepoWindowLifecycle::detach() {
    if (window_ == nullptr) {
        return;
    }
    disconnect(destroyedConnection_);
    window_->removeEventFilter(this);
    window_ = nullptr;
}

bool RepoWindowLifecycle::eventFilter(QObject* watched, QEvent* event) {
    if (watched == window_) {
        if (event->type() == QEvent::WindowTitleChange) {
            title_ = window_->windowTitle();
        } else if (event->type() == QEvent::WindowActivate && onActivate_) {
            onActivate_(window_);
        }
    }
    return QObject::eventFilter(watched, event);
}

void RepoWindowLifecycle::handleDestroyed() {
    QWidget* window = window_;
    launchlog::write(QStringLiteral("RepoWindowLifecycle willClose window=") + description_ +
                     QStringLiteral(" title=") + title_);
    disconnect(destroyedConnection_);
    window_ = nullptr;
    if (onClose_) {
        onClose_(window);
    }
}

}  // namespace vorda
