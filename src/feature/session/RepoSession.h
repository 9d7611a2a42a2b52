#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "feature/commands/RepoCommand.h"
#include "feature/commands/RepoCommandResult.h"
#include "feature/pullrequests/PullRequestRefresh.h"
#include "feature/session/RepoSnapshot.h"
#include "feature/session/SessionClock.h"
#include "feature/session/SnapshotStream.h"
#include "jjkit/client/JJClient.h"
#include "jjkit/diff/ConflictReview.h"
#include "jjkit/github/GitHubClient.h"
#include "jjkit/repo/JJFileWatcher.h"
#include "jjkit/rewrites/CompositionAttachmentPlan.h"
#include "jjkit/rewrites/CoordinatedRecoveryPlan.h"
#include "jjkit/rewrites/CoordinatedRoutingPlan.h"
#include "jjkit/rewrites/FeatureAppendPlan.h"
#include "jjkit/rewrites/FeatureAppendRecoveryPlan.h"
#include "jjkit/rewrites/FeatureInsertionPlan.h"
#include "jjkit/rewrites/LocalStackUpdatePlan.h"
#include "jjkit/rewrites/OperationJournal.h"
#include "jjkit/settings/BookmarkSettingsStore.h"
#include "jjkit/stores/PRCacheStore.h"

namespace vorda {

/// One repository as a window sees it. The session owns the repository's
/// client, pull request client, settings store, optional pull request cache
/// and file watcher, and is the only producer of `RepoSnapshot` values, which
/// it delivers on one stream.
///
/// Threads. Every operation may be called from any thread and blocks on its
/// subprocesses: call from worker threads, never from a UI thread. The
/// session's own state (`lastSnapshot`, the read generation, the pending
/// refresh) is guarded by one mutex that is never held while a subprocess
/// runs, so reads and commands overlap freely. Which read may replace the
/// cached snapshot is decided by the generation rule: the newest *started*
/// read wins, and a stale result still goes to its own caller.
///
/// The debounce and watcher threads hold the session weakly, so a closed
/// window's session is released while events are still pending. Create
/// sessions with `open` or `make`: they live in a `std::shared_ptr`.
class RepoSession : public std::enable_shared_from_this<RepoSession> {
  public:
    /// How long refresh requests are gathered before one read runs.
    static constexpr std::chrono::milliseconds debounceInterval{500};

    /// Everything the session works with, for callers that supply their own.
    struct Collaborators {
        std::unique_ptr<JJClient> client;
        std::unique_ptr<GitHubClient> githubClient;
        std::unique_ptr<BookmarkSettingsStore> settingsStore;
        /// Absent: the session works without a pull request cache.
        std::unique_ptr<PRCacheStore> prCacheStore;
        std::unique_ptr<JJFileWatcher> watcher;
        std::shared_ptr<SessionClock> clock;
    };

    /// Makes the collaborators for `repoRoot`. A pull request cache that
    /// cannot be opened is left out.
    static std::shared_ptr<RepoSession> open(const std::string& repoRoot);
    /// Takes the collaborators from the caller; a missing clock is the
    /// steady clock.
    static std::shared_ptr<RepoSession> make(std::string repoRoot, Collaborators collaborators);

    /// Finishes the stream and stops the session's threads.
    ~RepoSession();
    RepoSession(const RepoSession&) = delete;
    RepoSession& operator=(const RepoSession&) = delete;
    RepoSession(RepoSession&&) = delete;
    RepoSession& operator=(RepoSession&&) = delete;

    const std::string& repoRoot() const { return repoRoot_; }
    const JJClient& client() const { return *client_; }
    GitHubClient& githubClient() { return *githubClient_; }
    BookmarkSettingsStore& settingsStore() { return *settingsStore_; }
    PRCacheStore* prCacheStore() { return prCacheStore_.get(); }

    // Lifecycle.

    /// The version gate, then the first read. Watching is started separately.
    SnapshotRef bootstrap();
    SnapshotRef loadInitialSnapshot();
    SnapshotStream& snapshots() { return stream_; }
    /// Refreshes (debounced) whenever jj records an operation.
    void startWatching();
    /// Stops the watcher and drops a pending refresh.
    void stopWatching();
    /// Reads once the requests have stopped for `debounceInterval`; a burst
    /// of requests makes one read.
    void requestRefresh();
    /// A timed read with no known apex; not yielded on the stream.
    SnapshotRef refreshSnapshot();

    /// The newest snapshot that won its generation check.
    SnapshotRef lastSnapshot() const;
    /// How many reads have started.
    std::uint64_t snapshotReadGeneration() const;

    // Queries: forwards to the collaborators.

    SnapshotRef loadSnapshot();
    std::string loadDiff(const std::string& changeID) const;
    std::vector<ChangedFile> loadChangedFiles(const std::string& changeID) const;
    std::vector<JJOp> loadRecentOps(int limit) const;
    std::string loadCombinedDiff() const;
    std::vector<JJCommit> loadAncestors(const std::string& tip, int limit, int skip) const;
    std::vector<JJCommit> loadBranchHistory(const std::string& tip,
                                            const std::vector<std::string>& excluding) const;
    std::int64_t ancestorCount(const std::string& tip) const;
    std::set<std::string> bookmarkNames(const std::string& matchingRevset) const;
    bool isGithubAvailable();
    RebaseConflictReview loadRebaseConflict(const std::string& changeID) const;

    // Receipts of the planned rewrites, newest first, with a warning for each
    // file that could not be read; and a look at what an append left behind.

    OperationJournal<LocalStackUpdatePlan>::Loaded loadUpdateReceipts() const;
    OperationJournal<FeatureInsertionPlan>::Loaded loadRoutingReceipts() const;
    OperationJournal<FeatureAppendPlan>::Loaded loadAppendReceipts() const;
    FeatureAppendInspection inspectFeatureAppend(
        const OperationRecord<FeatureAppendPlan>& record) const;
    FeatureAppendRecoveryPlan planFeatureAppendRecovery(
        const OperationRecord<FeatureAppendPlan>& source) const;
    OperationJournal<FeatureAppendRecoveryPlan>::Loaded loadRecoveryReceipts() const;
    OperationJournal<CompositionAttachmentPlan>::Loaded loadAttachmentReceipts() const;
    OperationJournal<CoordinatedFeatureRoutingPlan>::Loaded loadCoordinatedRoutingReceipts() const;
    OperationJournal<CoordinatedRoutingRecoveryPlan>::Loaded loadCoordinatedRecoveryReceipts()
        const;
    CoordinatedRoutingInspection inspectCoordinatedRouting(
        const OperationRecord<CoordinatedFeatureRoutingPlan>& record) const;
    CoordinatedRoutingRecoveryPlan planCoordinatedRecovery(
        const OperationRecord<CoordinatedFeatureRoutingPlan>& source) const;

    // Commands.

    /// Runs `command` while holding the gate of the shared repository, so
    /// windows on workspaces of one repository take turns, and returns what
    /// it gives back. Refusals are toasts; a failing jj call is thrown.
    /// `stop` cancels only the wait for the gate.
    RepoCommandResult execute(const RepoCommand& command, const std::stop_token& stop = {});

    /// One routing pass, in its own gate turn: a timed read, the matching
    /// files of the working copy moved into their bookmarks, and a second
    /// read when any moved. Returns the newest snapshot and the count.
    std::pair<SnapshotRef, std::size_t> applyRouting();

    /// Pull request states for `state`'s bookmarks through the cache and
    /// `gh`; never fails.
    PullRequestsByBookmark refreshPullRequestStatuses(
        const RepoState& state, bool force = false, const std::set<std::string>& forceBranches = {},
        const std::set<std::string>& limitTo = {},
        const std::function<void(const PullRequestsByBookmark&)>& cachedBlock = {});

    // For the command layer.

    /// The full read: five queries at once, the settings meanwhile, the lane
    /// projection, and the generation check.
    SnapshotRef readSnapshot(const std::optional<std::string>& knownApexID = std::nullopt);
    /// Reads and yields; then, when a routing rule is enabled, routes and
    /// yields again if files moved. Failures go to standard error only.
    void yieldRefresh();
    /// After a settings-only change: a new snapshot from the cached one with
    /// the new settings and lanes, no subprocess; a full read when nothing
    /// is cached yet. Yields it and returns it.
    SnapshotRef producingFromCachedState(const std::function<void()>& step);
    /// The bookmark's origin in the cached snapshot.
    std::optional<BookmarkOrigin> currentOrigin(const std::string& bookmark) const;
    /// Puts `snapshot` on the stream.
    void yieldSnapshot(const SnapshotRef& snapshot) { stream_.yield(snapshot); }
    /// `snapshot` with `prs` and the lanes projected again from the stored
    /// settings; it replaces the cached state only when that is still
    /// `snapshot`, so a newer read is never overwritten.
    SnapshotRef withPullRequests(const SnapshotRef& snapshot, PullRequestsByBookmark prs);

    /// Routes files of the working copy by the enabled rules; returns the
    /// snapshot read afterwards when a file moved. The session's own
    /// `applyRouting` unless replaced.
    using Router = std::function<std::optional<SnapshotRef>(RepoSession&)>;
    void setRouter(Router router);

  private:
    RepoSession(std::string repoRoot, Collaborators collaborators);

    /// Refresh requests waiting for the debounce; shared with the debounce
    /// thread, which waits on them without holding the session.
    struct RefreshRequests {
        // Guards `since`.
        std::mutex mutex;
        std::condition_variable_any requested;
        /// When the newest request came; absent when none is pending.
        std::optional<SessionClock::TimePoint> since;
    };

    SnapshotRef readSnapshotInner(const std::optional<std::string>& knownApexID);
    /// The settings and routing rules from the store, measured.
    void readSettings(RepoSnapshot& snapshot);
    /// A copy of `snapshot` with the stored settings and rules read again and
    /// the lanes projected from them; no subprocess.
    std::shared_ptr<RepoSnapshot> withStoredSettings(const RepoSnapshot& snapshot);
    /// The lanes from the snapshot's state, settings, rules and trunk name.
    static void projectLanes(RepoSnapshot& snapshot);
    /// Waits until a request has had no successor for the interval; false
    /// when stopped.
    static bool awaitQuietRequest(RefreshRequests& requests, SessionClock& clock,
                                  const std::stop_token& stop);
    /// Stops a thread of the session; detaches it instead when it is the
    /// calling thread (the last owner let go inside it).
    static void retire(std::jthread& thread);

    const std::string repoRoot_;
    const std::unique_ptr<JJClient> client_;
    const std::unique_ptr<GitHubClient> githubClient_;
    const std::unique_ptr<BookmarkSettingsStore> settingsStore_;
    const std::unique_ptr<PRCacheStore> prCacheStore_;
    const std::unique_ptr<JJFileWatcher> watcher_;
    const std::shared_ptr<SessionClock> clock_;
    SnapshotStream stream_;
    const std::shared_ptr<RefreshRequests> requests_ = std::make_shared<RefreshRequests>();

    // Guards every member below it.
    mutable std::mutex mutex_;
    SnapshotRef lastSnapshot_;
    std::uint64_t snapshotReadGeneration_ = 0;
    Router router_;
    std::jthread debounceThread_;
    std::jthread watcherThread_;
};

}  // namespace vorda
