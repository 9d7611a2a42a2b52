#include "app/settings/LatestJobRunner.h"

#include <QMetaObject>
#include <QObject>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace vorda {

struct LatestJobRunner::Shared {
    std::mutex mutex;
    std::condition_variable wake;
    Job pending;
    QObject* receiver = nullptr;
    bool started = false;
    bool closed = false;

    void work() {
        std::unique_lock lock(mutex);
        while (true) {
            wake.wait(lock, [this] { return closed || pending; });
            if (closed) {
                return;
            }
            Job job = std::move(pending);
            pending = nullptr;
            lock.unlock();
            std::function<void()> deliver = job();
            job = nullptr;
            lock.lock();
            if (!closed) {
                // Posting only queues an event, and the lock keeps the
                // receiver alive until it is queued; Qt drops the events of
                // a receiver deleted later.
                QMetaObject::invokeMethod(receiver, std::move(deliver), Qt::QueuedConnection);
            }
        }
    }
};

LatestJobRunner::LatestJobRunner(QObject* receiver) : shared_(std::make_shared<Shared>()) {
    shared_->receiver = receiver;
}

LatestJobRunner::~LatestJobRunner() {
    Job dropped;
    {
        const std::scoped_lock lock(shared_->mutex);
        shared_->closed = true;
        shared_->receiver = nullptr;
        dropped = std::move(shared_->pending);
        shared_->pending = nullptr;
    }
    shared_->wake.notify_all();
}

void LatestJobRunner::submit(Job job) {
    Job dropped;
    {
        const std::scoped_lock lock(shared_->mutex);
        if (shared_->closed) {
            return;
        }
        dropped = std::move(shared_->pending);
        shared_->pending = std::move(job);
        if (!shared_->started) {
            shared_->started = true;
            std::thread([shared = shared_] { shared->work(); }).detach();
        }
    }
    shared_->wake.notify_one();
}

}  // namespace vorda
