#include "app/viewmodel/MainThreadInbox.h"

#include <QMetaObject>

namespace vorda {

void MainThreadInbox::post(std::function<void()> work) {
    const std::scoped_lock lock(mutex_);
    if (receiver_ == nullptr) {
        return;
    }
    // A queued call only posts an event, so it is safe from any thread; the
    // lock keeps the receiver alive until the event is in its queue.
    QMetaObject::invokeMethod(receiver_, std::move(work), Qt::QueuedConnection);
}

void MainThreadInbox::close() {
    const std::scoped_lock lock(mutex_);
    receiver_ = nullptr;
}

}  // namespace vorda
