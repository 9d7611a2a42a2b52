#pragma once

#include <condition_variable>
#include <mutex>
#include <optional>
#include <stop_token>

#include "feature/session/RepoSnapshot.h"

namespace vorda {

/// The session's one output: a single-consumer queue that keeps only the
/// newest snapshot. A consumer that lags loses every snapshot but the newest,
/// and the producer never waits for it.
class SnapshotStream {
  public:
    /// Replaces whatever is waiting; ignored once the stream is finished.
    void yield(SnapshotRef snapshot);

    /// Ends the stream: `next` returns what is still waiting, then absent.
    void finish();

    /// Blocks until a snapshot is waiting, the stream ends or `stop` is
    /// requested; absent for the last two.
    std::optional<SnapshotRef> next(const std::stop_token& stop = {});

  private:
    // Guards `pending_` and `finished_`.
    std::mutex mutex_;
    std::condition_variable_any changed_;
    std::optional<SnapshotRef> pending_;
    bool finished_ = false;
};

}  // namespace vorda
