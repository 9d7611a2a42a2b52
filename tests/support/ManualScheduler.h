#pragma once

#include <functional>
#include <mutex>
#include <vector>

#include "jjkit/trace/Perf.h"

namespace vorda::testing {

// A UI flush scheduler whose queued functions run only when the test says so.
// Installed for its lifetime; an empty scheduler is put back afterwards.
class ManualScheduler {
  public:
    ManualScheduler() {
        Perf::setUIFlushScheduler([this](std::function<void()> work) {
            const std::scoped_lock guard(lock_);
            queue_.push_back(std::move(work));
        });
    }
    ~ManualScheduler() { Perf::setUIFlushScheduler({}); }
    ManualScheduler(const ManualScheduler&) = delete;
    ManualScheduler& operator=(const ManualScheduler&) = delete;

    // Runs what is queued now; what those functions queue waits for the next round.
    void runRound() {
        std::vector<std::function<void()>> round;
        {
            const std::scoped_lock guard(lock_);
            round.swap(queue_);
        }
        for (auto& work : round) {
            work();
        }
    }

    std::size_t pending() const {
        const std::scoped_lock guard(lock_);
        return queue_.size();
    }

  private:
    mutable std::mutex lock_;
    std::vector<std::function<void()>> queue_;
};

}  // namespace vorda::testing
