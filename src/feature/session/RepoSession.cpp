#include "feature/session/RepoSession.h"

#include <iostream>

#include "jjkit/trace/Perf.h"

namespace vorda {

std::shared_ptr<RepoSession> RepoSession::open(const std::string& repoRoot) {
    Collaborators collaborators;
    collaborators.client = std::make_unique<JJClient>(repoRoot);
    collaborators.githubClient = std::make_unique<GitHubClient>(repoRoot);
    collaborators.settingsStore = std::make_unique<BookmarkSettingsStore>(repoRoot);
    try {
        collaborators.prCacheStore = std::make_unique<PRCacheStore>(repoRoot);
    } catch (const std::exception&) {
        // Pull request badges are a convenience: the session goes on without
        // a cache rather than failing to open the repository.
    }
    collaborators.watcher = std::make_unique<JJFileWatcher>(repoRoot);
    return make(repoRoot, std::move(collaborators));
}

std::shared_ptr<RepoSession> RepoSession::make(std::string repoRoot, Collaborators collaborators) {
    return std::shared_ptr<RepoSession>(
        new RepoSession(std::move(repoRoot), std::move(collaborators)));
}

RepoSession::RepoSession(std::string repoRoot, Collaborators collaborators)
    : repoRoot_(std::move(repoRoot)),
      client_(std::move(collaborators.client)),
      githubClient_(std::move(collaborators.githubClient)),
      settingsStore_(std::move(collaborators.settingsStore)),
      prCacheStore_(std::move(collaborators.prCacheStore)),
      watcher_(std::move(collaborators.watcher)),
      clock_(collaborators.clock ? std::move(collaborators.clock)
                                 : std::make_shared<SteadySessionClock>()),
      router_([](RepoSession& session) -> std::optional<SnapshotRef> {
          auto [snapshot, moved] = session.applyRouting();
          return moved > 0 ? std::optional(std::move(snapshot)) : std::nullopt;
      }) {}

RepoSession::~RepoSession() {
    stream_.finish();
    retire(watcherThread_);
    retire(debounceThread_);
}

void RepoSession::retire(std::jthread& thread) {
    if (!thread.joinable()) {
        return;
    }
    thread.request_stop();
    if (thread.get_id() == std::this_thread::get_id()) {
        thread.detach();  // it ends on its own once it sees the stop request
    } else {
        thread.join();
    }
}

SnapshotRef RepoSession::bootstrap() {
    return loadInitialSnapshot();
}

SnapshotRef RepoSession::loadInitialSnapshot() {
    client_->version();  // the version gate: nothing is read with an unsupported jj
    return readSnapshot();
}

SnapshotRef RepoSession::refreshSnapshot() {
    return readSnapshot();
}

SnapshotRef RepoSession::loadSnapshot() {
    return readSnapshot();
}

SnapshotRef RepoSession::lastSnapshot() const {
    const std::scoped_lock lock(mutex_);
    return lastSnapshot_;
}

std::uint64_t RepoSession::snapshotReadGeneration() const {
    const std::scoped_lock lock(mutex_);
    return snapshotReadGeneration_;
}

void RepoSession::startWatching() {
    std::jthread previous;
    {
        const std::scoped_lock lock(mutex_);
        previous = std::move(watcherThread_);
    }
    retire(previous);
    if (!watcher_) {
        return;
    }
    auto events = watcher_->events();
    std::jthread thread(
        [weak = weak_from_this(), events = std::move(events)](const std::stop_token& stop) {
            // Any event means that something changed; what it says is not read.
            while (events->next(stop)) {
                if (const auto self = weak.lock()) {
                    self->requestRefresh();
                }
            }
        });
    const std::scoped_lock lock(mutex_);
    watcherThread_ = std::move(thread);
}

void RepoSession::stopWatching() {
    std::jthread watcher;
    {
        const std::scoped_lock lock(mutex_);
        watcher = std::move(watcherThread_);
    }
    {
        const std::scoped_lock lock(requests_->mutex);
        requests_->since.reset();
    }
    requests_->requested.notify_all();
    retire(watcher);
}

void RepoSession::requestRefresh() {
    {
        const std::scoped_lock lock(requests_->mutex);
        requests_->since = clock_->now();
    }
    requests_->requested.notify_all();
    const std::scoped_lock lock(mutex_);
    if (debounceThread_.joinable()) {
        return;
    }
    // The thread holds the session only while it reads, never while it waits.
    debounceThread_ = std::jthread([weak = weak_from_this(), requests = requests_,
                                    clock = clock_](const std::stop_token& stop) {
        while (awaitQuietRequest(*requests, *clock, stop)) {
            const auto self = weak.lock();
            if (!self) {
                return;
            }
            self->yieldRefresh();
        }
    });
}

bool RepoSession::awaitQuietRequest(RefreshRequests& requests, SessionClock& clock,
                                    const std::stop_token& stop) {
    std::unique_lock lock(requests.mutex);
    while (true) {
        if (!requests.requested.wait(lock, stop, [&] { return requests.since.has_value(); })) {
            return false;
        }
        const auto since = *requests.since;
        lock.unlock();
        const bool due = clock.sleepUntil(since + debounceInterval, stop);
        lock.lock();
        if (!due) {
            return false;
        }
        if (requests.since == since) {
            requests.since.reset();
            return true;
        }
        // A later request came in meanwhile, or the pending one was dropped:
        // wait again from there.
    }
}

void RepoSession::setRouter(Router router) {
    const std::scoped_lock lock(mutex_);
    router_ = std::move(router);
}

void RepoSession::yieldRefresh() {
    const auto action = Perf::beginAction("watcher.refresh");
    SnapshotRef snapshot;
    try {
        snapshot = readSnapshot();
    } catch (const std::exception& error) {
        std::cerr << "[RepoSession] refresh failed: " << error.what() << "\n";
        Perf::endAction(action);
        return;
    }
    stream_.yield(snapshot);
    const bool routing = std::any_of(snapshot->routingRules.begin(), snapshot->routingRules.end(),
                                     [](const FileRoutingRule& rule) { return rule.enabled; });
    Router router;
    {
        const std::scoped_lock lock(mutex_);
        router = router_;
    }
    if (routing && router) {
        try {
            if (auto routed = router(*this)) {
                stream_.yield(*routed);
            }
        } catch (const std::exception&) {
            // A routing failure leaves the refreshed state as it is.
        }
    }
    Perf::endAction(action);
}

std::optional<BookmarkOrigin> RepoSession::currentOrigin(const std::string& bookmark) const {
    const auto snapshot = lastSnapshot();
    if (!snapshot) {
        return std::nullopt;
    }
    const auto found = snapshot->repoState.bookmarks.find(bookmark);
    if (found == snapshot->repoState.bookmarks.end()) {
        return std::nullopt;
    }
    return found->second.origin;
}

PullRequestsByBookmark RepoSession::refreshPullRequestStatuses(
    const RepoState& state, bool force, const std::set<std::string>& forceBranches,
    const std::set<std::string>& limitTo,
    const std::function<void(const PullRequestsByBookmark&)>& cachedBlock) {
    return vorda::refreshPullRequestStatuses(state, *githubClient_, prCacheStore_.get(),
                                             *settingsStore_, force, forceBranches, limitTo,
                                             cachedBlock);
}

std::string RepoSession::loadDiff(const std::string& changeID) const {
    return client_->diff(changeID);
}

std::vector<ChangedFile> RepoSession::loadChangedFiles(const std::string& changeID) const {
    return client_->changedFiles(changeID);
}

std::vector<JJOp> RepoSession::loadRecentOps(int limit) const {
    return client_->opLog(limit);
}

std::string RepoSession::loadCombinedDiff() const {
    return client_->combinedDiff();
}

std::vector<JJCommit> RepoSession::loadAncestors(const std::string& tip, int limit,
                                                 int skip) const {
    return client_->loadAncestors(tip, limit, skip);
}

std::vector<JJCommit> RepoSession::loadBranchHistory(
    const std::string& tip, const std::vector<std::string>& excluding) const {
    return client_->loadBranchHistory(tip, excluding);
}

std::int64_t RepoSession::ancestorCount(const std::string& tip) const {
    return client_->ancestorCount(tip);
}

std::set<std::string> RepoSession::bookmarkNames(const std::string& matchingRevset) const {
    return client_->bookmarkNames(matchingRevset);
}

bool RepoSession::isGithubAvailable() {
    return githubClient_->isAvailable();
}

RebaseConflictReview RepoSession::loadRebaseConflict(const std::string& changeID) const {
    return RebaseConflictReview::load(*client_, changeID);
}

}  // namespace vorda
