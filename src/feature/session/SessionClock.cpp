#include "feature/session/SessionClock.h"

namespace vorda {

bool SteadySessionClock::sleepUntil(TimePoint deadline, const std::stop_token& stop) {
    std::unique_lock lock(mutex_);
    // Nothing notifies: the wait ends at the deadline or on the stop request.
    return !wake_.wait_until(lock, stop, deadline, [] { return false; }) && !stop.stop_requested();
}

}  // namespace vorda
