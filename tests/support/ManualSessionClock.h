#pragma once

#include <condition_variable>
#include <mutex>

#include "feature/session/SessionClock.h"

namespace vorda::testing {

/// A session clock that moves only when the test advances it.
class ManualSessionClock final : public SessionClock {
  public:
    TimePoint now() const override {
        const std::scoped_lock lock(mutex_);
        return now_;
    }

    bool sleepUntil(TimePoint deadline, const std::stop_token& stop) override {
        std::unique_lock lock(mutex_);
        ++sleepers_;
        changed_.notify_all();
        const bool due = changed_.wait(lock, stop, [&] { return now_ >= deadline; });
        --sleepers_;
        return due;
    }

    void advance(Duration step) {
        {
            const std::scoped_lock lock(mutex_);
            now_ += step;
        }
        changed_.notify_all();
    }

    /// Blocks until some thread sleeps on this clock.
    void awaitSleeper() {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return sleepers_ > 0; });
    }

  private:
    mutable std::mutex mutex_;
    std::condition_variable_any changed_;
    TimePoint now_{};
    int sleepers_ = 0;
};

}  // namespace vorda::testing
