#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <stop_token>
#include <string>

#include "jjkit/support/Cancellation.h"
#include "jjkit/support/FileLock.h"

namespace vorda {

/// Lets one mutation at a time run per shared repository store, across all
/// windows and workspaces of the process.
///
/// Callers are served strictly first come, first served for each key (the
/// store's path from `JJRepoDetector::sharedRepositoryPath`); keys do not
/// interact. A release hands the gate straight to the oldest waiter, so a
/// newcomer can never overtake it. A waiter whose stop token fires leaves the
/// queue without disturbing those behind it and throws `CancellationError`; a
/// waiter granted the gate at the moment of cancellation hands it straight on.
/// There is no re-entrance: an operation that asks for its own key again waits
/// for itself forever.
///
///     auto result = RepositoryCommandGate::shared().withAccess(storePath, stop, [&] {
///         return client.run({"rebase", ...}, "rebaseBookmark");
///     });
class RepositoryCommandGate {
  public:
    static RepositoryCommandGate& shared();

    /// Runs `operation` while holding the gate for `repositoryID` and returns
    /// its result. The gate is released however the operation ends.
    template <typename Operation>
    decltype(auto) withAccess(const std::string& repositoryID, const std::stop_token& stop,
                              Operation&& operation) {
        acquire(repositoryID, stop);
        const Holder holder(*this, repositoryID);
        if (stop.stop_requested()) {
            throw CancellationError();
        }
        return std::forward<Operation>(operation)();
    }

    /// `withAccess` for a mutation of the repository whose shared store is at
    /// `storePath`: after the turn in this process, an advisory lock on
    /// `<store>/Vorda-mutation.lock` orders it against every other process
    /// too, and is released however the operation ends (or the process
    /// dies). When another process keeps the lock for `lockTimeout` the
    /// operation does not run: `JJError::unsafeOperation` with
    /// `otherProcessMessage`.
    template <typename Operation>
    decltype(auto) withMutationAccess(const std::string& storePath, const std::stop_token& stop,
                                      Operation&& operation,
                                      std::chrono::milliseconds lockTimeout = defaultLockTimeout) {
        return withAccess(storePath, stop, [&]() -> decltype(auto) {
            const auto lock = lockStore(storePath, lockTimeout);
            return std::forward<Operation>(operation)();
        });
    }

    static constexpr std::string_view otherProcessMessage =
        "Another Vorda is changing this repository. Try again when it has finished.";
    static constexpr std::chrono::milliseconds defaultLockTimeout{15000};

    /// Waits for the gate. Throws `CancellationError` when `stop` fires first.
    void acquire(const std::string& repositoryID, const std::stop_token& stop);

    /// Hands the gate to the oldest waiter, or frees it.
    void release(const std::string& repositoryID);

    /// Whether the gate for `repositoryID` is held (for diagnostics and tests).
    bool isHeld(const std::string& repositoryID);

    /// The number of callers waiting for `repositoryID`.
    std::size_t waiterCount(const std::string& repositoryID);

  private:
    /// The store's mutation lock, or the refusal when it stays taken.
    static FileLock lockStore(const std::string& storePath, std::chrono::milliseconds timeout);

    struct Waiter {
        bool granted = false;
        std::condition_variable_any wakeUp;
    };

    class Holder {
      public:
        Holder(RepositoryCommandGate& gate, std::string key) : gate_(gate), key_(std::move(key)) {}
        ~Holder() { gate_.release(key_); }
        Holder(const Holder&) = delete;
        Holder& operator=(const Holder&) = delete;

      private:
        RepositoryCommandGate& gate_;
        std::string key_;
    };

    // Guards `active_` and `waiters_`. Invariant: a key has waiters only while
    // it is active, and a key without waiters has no entry in `waiters_`.
    std::mutex mutex_;
    std::set<std::string> active_;
    std::map<std::string, std::deque<std::shared_ptr<Waiter>>> waiters_;
};

}  // namespace vorda
