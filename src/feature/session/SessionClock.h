#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <stop_token>

namespace vorda {

/// The time the session's debounce waits on. The steady clock in use; tests
/// put in a clock that moves only when they say, so that timing rules are
/// checked without sleeps that could flake.
class SessionClock {
  public:
    using Duration = std::chrono::steady_clock::duration;
    using TimePoint = std::chrono::steady_clock::time_point;

    virtual ~SessionClock() = default;
    virtual TimePoint now() const = 0;
    /// Returns when `deadline` has come (true) or `stop` was requested (false).
    virtual bool sleepUntil(TimePoint deadline, const std::stop_token& stop) = 0;
};

/// The steady clock.
class SteadySessionClock final : public SessionClock {
  public:
    TimePoint now() const override { return std::chrono::steady_clock::now(); }
    bool sleepUntil(TimePoint deadline, const std::stop_token& stop) override;

  private:
    std::mutex mutex_;
    std::condition_variable_any wake_;
};

}  // namespace vorda
