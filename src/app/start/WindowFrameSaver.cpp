#include "app/start/WindowFrameSaver.h"

#include <QEvent>
#include <QMetaObject>

#include "app/start/WindowFramesStore.h"

namespace vorda {

WindowFrameSaver::WindowFrameSaver(QString repoPath, QSettings& settings, QObject* parent)
    : QObject(parent), repoPath_(std::move(repoPath)), settings_(&settings) {}

WindowFrameSaver::~WindowFrameSaver() {
    detach();
}

void WindowFrameSaver::attach(QWidget* window) {
    if (window == window_) {
        return;
    }
    detach();
    if (window == nullptr) {
        return;
    }
    window_ = window;
    restored_ = false;
    window->installEventFilter(this);
    if (window->isVisible()) {
        const QPointer<QWidget> attached = window;
        QMetaObject::invokeMethod(
            this,
            [this, attached] {
                if (attached != nullptr && attached == window_) {
                    restoreFrameIfNeeded();
                }
            },
            Qt::QueuedConnection);
    }
}

void WindowFrameSaver::detach() {
    if (window_ != nullptr) {
        window_->removeEventFilter(this);
    }
    window_ = nullptr;
    restored_ = false;
}

void WindowFrameSaver::restoreFrameIfNeeded() {
    if (restored_ || window_ == nullptr) {
        return;
    }
    if (const auto frame = WindowFramesStore::frame(repoPath_, *settings_)) {
        window_->setGeometry(frame->toRect());
    }
    restored_ = true;
}

bool WindowFrameSaver::eventFilter(QObject* watched, QEvent* event) {
    if (watched != window_) {
        return QObject::eventFilter(watched, event);
    }
    switch (event->type()) {
        case QEvent::Show:
        case QEvent::WindowActivate:
            restoreFrameIfNeeded();
            break;
        case QEvent::Move:
        case QEvent::Resize:
            if (restored_) {
                saveFrame();
            }
            break;
        default:
            break;
    }
    return QObject::eventFilter(watched, event);
}

void WindowFrameSaver::saveFrame() {
    WindowFramesStore::save(QRectF(window_->geometry()), repoPath_, *settings_);
}

}  // namespace vorda
