#include "feature/session/SnapshotStream.h"

namespace vorda {

void SnapshotStream::yield(SnapshotRef snapshot) {
    {
        const std::scoped_lock lock(mutex_);
        if (finished_) {
            return;
        }
        pending_ = std::move(snapshot);
    }
    changed_.notify_all();
}

void SnapshotStream::finish() {
    {
        const std::scoped_lock lock(mutex_);
        finished_ = true;
    }
    changed_.notify_all();
}

std::optional<SnapshotRef> SnapshotStream::next(const std::stop_token& stop) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, stop, [this] { return pending_.has_value() || finished_; });
    if (!pending_) {
        return std::nullopt;
    }
    auto snapshot = std::move(pending_);
    pending_.reset();
    return snapshot;
}

}  // namespace vorda
