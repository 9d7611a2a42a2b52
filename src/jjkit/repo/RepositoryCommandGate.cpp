#include "jjkit/repo/RepositoryCommandGate.h"

#include <algorithm>
#include <utility>

#include "jjkit/client/JJError.h"

namespace vorda {

RepositoryCommandGate& RepositoryCommandGate::shared() {
    // Never destroyed: a detached worker may still release it during exit.
    static auto* const gate = new RepositoryCommandGate;
    return *gate;
}

void RepositoryCommandGate::acquire(const std::string& repositoryID, const std::stop_token& stop) {
    std::unique_lock lock(mutex_);
    if (stop.stop_requested()) {
        throw CancellationError();
    }
    if (active_.insert(repositoryID).second) {
        return;
    }
    auto waiter = std::make_shared<Waiter>();
    waiters_[repositoryID].push_back(waiter);
    if (waiter->wakeUp.wait(lock, stop, [&] { return waiter->granted; })) {
        return;
    }
    // Cancelled while waiting and not granted: leave the queue.
    auto found = waiters_.find(repositoryID);
    if (found != waiters_.end()) {
        std::erase(found->second, waiter);
        if (found->second.empty()) {
            waiters_.erase(found);
        }
    }
    throw CancellationError();
}

void RepositoryCommandGate::release(const std::string& repositoryID) {
    const std::scoped_lock lock(mutex_);
    auto found = waiters_.find(repositoryID);
    if (found == waiters_.end()) {
        active_.erase(repositoryID);
        return;
    }
    auto next = found->second.front();
    found->second.pop_front();
    if (found->second.empty()) {
        waiters_.erase(found);
    }
    next->granted = true;
    next->wakeUp.notify_all();
}

bool RepositoryCommandGate::isHeld(const std::string& repositoryID) {
    const std::scoped_lock lock(mutex_);
    return active_.contains(repositoryID);
}

std::size_t RepositoryCommandGate::waiterCount(const std::string& repositoryID) {
    const std::scoped_lock lock(mutex_);
    const auto found = waiters_.find(repositoryID);
    return found == waiters_.end() ? 0 : found->second.size();
}

FileLock RepositoryCommandGate::lockStore(const std::string& storePath,
                                          std::chrono::milliseconds timeout) {
    auto lock =
        FileLock::acquire(std::filesystem::path(storePath) / "Vorda-mutation.lock", timeout);
    if (!lock) {
        throw JJError::unsafeOperation(std::string(otherProcessMessage));
    }
    return std::move(*lock);
}

}  // namespace vorda
