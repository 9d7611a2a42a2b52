// The full read of a repository and the cheap path after settings-only
// changes.

#include <algorithm>
#include <cstdlib>

#include "feature/session/RepoSession.h"
#include "jjkit/trace/Perf.h"
#include "jjkit/trace/TracedTask.h"

namespace vorda {
namespace {

// A secondary fact of the snapshot: its own measure, and on failure the
// neutral value instead of an error.
template <typename Value, typename Query>
auto startSecondary(const char* label, Value fallback, Query query) {
    return startTracedTask([label, fallback = std::move(fallback), query = std::move(query)] {
        return Perf::measure(label, PerfCategory::snapshot, [&]() -> Value {
            try {
                return query();
            } catch (const std::exception&) {
                return fallback;
            }
        });
    });
}

const JJCommit* workingCopyCommit(const RepoState& state) {
    const auto found = std::find_if(state.commits.begin(), state.commits.end(),
                                    [](const auto& entry) { return entry.second->workingCopy; });
    return found == state.commits.end() ? nullptr : &*found->second;
}

}  // namespace

void RepoSession::readSettings(RepoSnapshot& snapshot) {
    Perf::measure("snapshot.settingsReads", PerfCategory::store, [&] {
        snapshot.settingsByName = settingsStore_->all();
        snapshot.routingRules = settingsStore_->routingRules();
    });
}

void RepoSession::projectLanes(RepoSnapshot& snapshot) {
    snapshot.lanesByBookmark =
        Perf::measure("snapshot.laneProjection", PerfCategory::snapshot, [&] {
            return BookmarkLaneProjection::build(snapshot.repoState, snapshot.settingsByName,
                                                 snapshot.routingRules, snapshot.trunkBookmarkName);
        });
}

std::shared_ptr<RepoSnapshot> RepoSession::withStoredSettings(const RepoSnapshot& snapshot) {
    auto updated = std::make_shared<RepoSnapshot>(snapshot);
    readSettings(*updated);
    projectLanes(*updated);
    return updated;
}

SnapshotRef RepoSession::readSnapshot(const std::optional<std::string>& knownApexID) {
    return Perf::measure("snapshot.read", PerfCategory::snapshot,
                         [&] { return readSnapshotInner(knownApexID); });
}

SnapshotRef RepoSession::readSnapshotInner(const std::optional<std::string>& knownApexID) {
    std::uint64_t generation = 0;
    {
        const std::scoped_lock lock(mutex_);
        if (snapshotReadGeneration_ == UINT64_MAX) {
            std::abort();  // cannot happen in practice: a counting fault
        }
        generation = ++snapshotReadGeneration_;
    }
    const auto apexChangeID = knownApexID ? knownApexID : settingsStore_->apexChangeID();
    const auto compositions = settingsStore_->compositionPointsByWorkspace();

    const JJClient& client = *client_;
    // The load reads trunk's commit ID on its way, for the snapshot too.
    auto repoState = startTracedTask([&client, apexChangeID, compositions] {
        return Perf::measure("snapshot.repoState", PerfCategory::snapshot, [&] {
            return client.readRepoState(JJClient::defaultRevset, apexChangeID, compositions);
        });
    });
    auto upstreamCount = startSecondary<std::int64_t>(
        "snapshot.upstreamCount", 0, [&client] { return client.upstreamCommitCount(); });
    auto conflictedFiles = startSecondary<std::vector<std::string>>(
        "snapshot.conflictedFiles", {}, [&client] { return client.conflictedFiles(); });
    auto diffText = startSecondary<std::optional<std::string>>(
        "snapshot.workingCopyDiff", std::nullopt,
        [&client] { return std::optional(client.diff("@")); });

    auto snapshot = std::make_shared<RepoSnapshot>();
    // The secondary queries never throw; the repository state, awaited last,
    // may, and by then every other child has finished.
    snapshot->upstreamCount = upstreamCount.get();
    snapshot->conflictedFiles = conflictedFiles.get();
    const auto workingCopyDiffText = diffText.get();
    auto read = repoState.get();
    snapshot->repoState = std::move(read.state);
    snapshot->trunkCommitID = std::move(read.trunkCommitID);
    snapshot->apexChangeID = apexChangeID;
    // Settings are read once jj has answered, so that a settings-only change
    // made while the queries ran (a column shown, a tag added) is not undone
    // by this read arriving after it.
    readSettings(*snapshot);

    // A clean working copy's diff is not parsed at all.
    const JJCommit* workingCopy = workingCopyCommit(snapshot->repoState);
    if (workingCopy != nullptr && !workingCopy->changedFiles.empty()) {
        snapshot->workingCopyDiff = UnifiedDiffParser::parse(workingCopyDiffText.value_or(""));
    }
    snapshot->trunkBookmarkName =
        BookmarkLaneProjection::resolveTrunkName(snapshot->repoState, snapshot->trunkCommitID);
    projectLanes(*snapshot);

    SnapshotRef result = std::move(snapshot);
    const std::scoped_lock lock(mutex_);
    // The newest started read decides the cached state; an older one that
    // finishes late still goes to its own caller.
    if (generation == snapshotReadGeneration_) {
        lastSnapshot_ = result;
    }
    return result;
}

SnapshotRef RepoSession::producingFromCachedState(const std::function<void()>& step) {
    const auto cached = lastSnapshot();
    if (!cached) {
        step();
        auto snapshot = readSnapshot();
        stream_.yield(snapshot);
        return snapshot;
    }
    step();
    SnapshotRef result = withStoredSettings(*cached);
    {
        const std::scoped_lock lock(mutex_);
        lastSnapshot_ = result;
    }
    stream_.yield(result);
    return result;
}

SnapshotRef RepoSession::withPullRequests(const SnapshotRef& snapshot, PullRequestsByBookmark prs) {
    // The refresh may have stored new pull request numbers.
    auto updated = withStoredSettings(*snapshot);
    updated->prsByBookmark = std::move(prs);
    SnapshotRef result = std::move(updated);
    const std::scoped_lock lock(mutex_);
    if (lastSnapshot_ == snapshot) {
        lastSnapshot_ = result;
    }
    return result;
}

}  // namespace vorda
