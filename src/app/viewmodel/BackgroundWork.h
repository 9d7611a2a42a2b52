#pragma once

#include <QObject>
#include <array>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <utility>

namespace vorda {

/// The kinds of background work of one window. Each kind runs on a worker
/// thread of its own, one job after the other, so a slow fetch never holds
/// up a diff and a burst of diffs never holds up a command.
enum class WorkKind : std::uint8_t {
    load,          // bootstrap of a session
    command,       // `send`: commands, in the order they were sent
    diff,          // the diff column's text
    files,         // a card's changed files
    history,       // a lane's ancestors
    operationLog,  // the operation log and its receipts
    pullRequests,  // pull request states
    routing,       // file routing after a load
    review,        // a conflicted commit's review
    hiddenSearch,  // the hidden panel's revset search
};
inline constexpr std::size_t workKindCount = 10;

/// What a background job gave back: its value, or the text of what it threw.
template <typename T>
struct Outcome {
    std::optional<T> value;
    std::string error;
};

/// The one executor of a window's background work: a worker thread per
/// `WorkKind`, started when the kind is first used. A job's outcome comes
/// back to the receiver's (GUI) thread.
///
/// `runNewest` is for reads where only the latest request matters (the diff
/// of the selection): a queued older request of the same kind never starts,
/// and a running one's outcome is dropped when it arrives after a newer
/// request was made.
///
/// `close` (and the destructor) stops everything that has not started and
/// drops every outcome that has not been delivered; a job that is running
/// finishes on its thread (a jj process ends by itself) and nobody waits for
/// it. The workers end when their queues are closed and empty.
class BackgroundWork {
  public:
    explicit BackgroundWork(QObject* receiver);
    ~BackgroundWork();
    BackgroundWork(const BackgroundWork&) = delete;
    BackgroundWork& operator=(const BackgroundWork&) = delete;
    BackgroundWork(BackgroundWork&&) = delete;
    BackgroundWork& operator=(BackgroundWork&&) = delete;

    /// Queues `work` (called with no arguments on the worker) behind the
    /// kind's earlier jobs; `done(Outcome)` runs on the receiver's thread.
    template <typename Work, typename Done>
    void run(WorkKind kind, Work work, Done done) {
        submit(kind, false, wrap(std::move(work), std::move(done)));
    }

    /// Like `run`, but only the newest request of `kind` counts.
    template <typename Work, typename Done>
    void runNewest(WorkKind kind, Work work, Done done) {
        submit(kind, true, wrap(std::move(work), std::move(done)));
    }

    /// Makes every earlier `runNewest` request of `kind` stale without
    /// starting anything (the answer came from elsewhere, a cache).
    void supersede(WorkKind kind);

    /// Posts `work` to the receiver's thread unless closed; any thread may
    /// call (progress lines, cached results that arrive early).
    void post(std::function<void()> work) const;
    /// `post` as a value that worker threads may keep: it stays safe to
    /// call after this object has gone (it then does nothing).
    std::function<void(std::function<void()>)> poster() const;

    /// Nothing new starts and nothing more is delivered.
    void close();
    bool isClosed() const;

  private:
    struct Shared;
    /// A job: runs on a worker and returns what to run on the GUI thread.
    using Job = std::function<std::function<void()>()>;

    template <typename Work, typename Done>
    static Job wrap(Work work, Done done) {
        return [work = std::move(work), done = std::move(done)]() mutable -> std::function<void()> {
            using Value = decltype(work());
            Outcome<Value> outcome;
            try {
                outcome.value.emplace(work());
            } catch (const std::exception& error) {
                outcome.error = error.what();
            } catch (...) {
                outcome.error = "Unknown error";
            }
            return [done = std::move(done), outcome = std::move(outcome)]() mutable {
                done(std::move(outcome));
            };
        };
    }

    /// Queues `job` (none: only supersede); a newest-only job supersedes
    /// the kind's earlier newest-only requests.
    void submit(WorkKind kind, bool newestOnly, Job job);

    std::shared_ptr<Shared> shared_;
};

}  // namespace vorda
