#include "app/viewmodel/BackgroundWork.h"

#include <QMetaObject>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

namespace vorda {

struct BackgroundWork::Shared : std::enable_shared_from_this<Shared> {
    struct Entry {
        Job job;
        bool newestOnly = false;
        std::uint64_t generation = 0;
    };
    struct Queue {
        std::deque<Entry> entries;
        /// The generation of the newest `runNewest` request of the kind.
        std::uint64_t latest = 0;
        bool workerStarted = false;
        std::condition_variable wake;
    };

    mutable std::mutex mutex;
    QObject* receiver = nullptr;
    std::stop_source stop;
    std::array<Queue, workKindCount> queues;

    /// Whether an outcome of this generation may still be delivered.
    bool isCurrent(WorkKind kind, bool newestOnly, std::uint64_t generation) const {
        return !stop.stop_requested() &&
               (!newestOnly || queues.at(static_cast<std::size_t>(kind)).latest == generation);
    }

    void postLocked(std::function<void()> work) const {
        if (receiver != nullptr && !stop.stop_requested()) {
            // A queued call only posts an event, so it is safe from any
            // thread; the lock keeps the receiver alive until the event is
            // in its queue, and Qt drops the events of a deleted receiver.
            QMetaObject::invokeMethod(receiver, std::move(work), Qt::QueuedConnection);
        }
    }

    void work(WorkKind kind) {
        auto& queue = queues.at(static_cast<std::size_t>(kind));
        std::unique_lock lock(mutex);
        while (true) {
            queue.wake.wait(lock, [&] { return stop.stop_requested() || !queue.entries.empty(); });
            if (stop.stop_requested()) {
                return;
            }
            Entry entry = std::move(queue.entries.front());
            queue.entries.pop_front();
            lock.unlock();
            std::function<void()> deliver = entry.job();
            entry.job = nullptr;  // what the job captured goes here, unlocked
            lock.lock();
            if (!isCurrent(kind, entry.newestOnly, entry.generation)) {
                continue;
            }
            postLocked([self = shared_from_this(), kind, newestOnly = entry.newestOnly,
                        generation = entry.generation, deliver = std::move(deliver)] {
                // A newer request may have been made since this was posted.
                bool current = false;
                {
                    const std::scoped_lock check(self->mutex);
                    current = self->isCurrent(kind, newestOnly, generation);
                }
                if (current) {
                    deliver();
                }
            });
        }
    }
};

BackgroundWork::BackgroundWork(QObject* receiver) : shared_(std::make_shared<Shared>()) {
    shared_->receiver = receiver;
}

BackgroundWork::~BackgroundWork() {
    close();
}

void BackgroundWork::submit(WorkKind kind, bool newestOnly, Job job) {
    std::deque<Shared::Entry> dropped;
    {
        const std::scoped_lock lock(shared_->mutex);
        if (shared_->stop.stop_requested()) {
            return;
        }
        auto& queue = shared_->queues.at(static_cast<std::size_t>(kind));
        Shared::Entry entry{std::move(job), newestOnly, 0};
        if (newestOnly) {
            entry.generation = ++queue.latest;
            // Older requests that have not started never will.
            std::erase_if(queue.entries, [&](Shared::Entry& queued) {
                if (!queued.newestOnly) {
                    return false;
                }
                dropped.push_back(std::move(queued));
                return true;
            });
        }
        if (!entry.job) {
            return;
        }
        queue.entries.push_back(std::move(entry));
        if (!queue.workerStarted) {
            queue.workerStarted = true;
            std::thread([shared = shared_, kind] { shared->work(kind); }).detach();
        }
        queue.wake.notify_one();
    }
    // `dropped` lets go of what its jobs captured here, outside the lock.
}

void BackgroundWork::post(std::function<void()> work) const {
    const std::scoped_lock lock(shared_->mutex);
    shared_->postLocked(std::move(work));
}

void BackgroundWork::supersede(WorkKind kind) {
    submit(kind, true, nullptr);
}

std::function<void(std::function<void()>)> BackgroundWork::poster() const {
    return [shared = shared_](std::function<void()> work) {
        const std::scoped_lock lock(shared->mutex);
        shared->postLocked(std::move(work));
    };
}

void BackgroundWork::close() {
    std::array<std::deque<Shared::Entry>, workKindCount> dropped;
    {
        const std::scoped_lock lock(shared_->mutex);
        if (shared_->stop.stop_requested()) {
            return;
        }
        shared_->stop.request_stop();
        shared_->receiver = nullptr;
        for (std::size_t kind = 0; kind < workKindCount; ++kind) {
            dropped.at(kind).swap(shared_->queues.at(kind).entries);
            shared_->queues.at(kind).wake.notify_all();
        }
    }
}

bool BackgroundWork::isClosed() const {
    const std::scoped_lock lock(shared_->mutex);
    return shared_->stop.stop_requested();
}

}  // namespace vorda
