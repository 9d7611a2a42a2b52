#include "app/viewmodel/RepoViewModel.h"

#include <QPointer>
#include <cstdio>
#include <exception>
#include <utility>

#include "app/viewmodel/CommandPresentation.h"
#include "app/viewmodel/RewriteOutcomes.h"
#include "jjkit/repo/JJRepoDetector.h"
#include "jjkit/support/DiagnosticLog.h"
#include "jjkit/support/Overloaded.h"
#include "jjkit/trace/Bench.h"
#include "jjkit/trace/Perf.h"

namespace vorda {

namespace {

/// What a background step gave back: a value, or the text of what it threw.
template <typename T>
struct Outcome {
    std::optional<T> value;
    std::string error;
};

template <typename Work>
auto capture(Work& work) -> Outcome<decltype(work())> {
    try {
        return {work(), {}};
    } catch (const std::exception& error) {
        return {std::nullopt, error.what()};
    } catch (...) {
        return {std::nullopt, "Unknown error"};
    }
}

double millisecondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
        .count();
}

std::string formattedMilliseconds(double milliseconds) {
    char text[32];
    std::snprintf(text, sizeof text, "%.0f", milliseconds);
    return text;
}

void logErrorField(const char* field, const OptionalText& previous, const OptionalText& next) {
    if (next && !next->empty() && next != previous) {
        DiagnosticLog::writeLine(std::string("[Vorda:error] ") + field + ": " + *next);
    }
}

}  // namespace

RepoViewModel::RepoViewModel(QObject* parent)
    : QObject(parent), inbox_(std::make_shared<MainThreadInbox>(this)) {}

RepoViewModel::~RepoViewModel() {
    inbox_->close();
    subscription_ = {};
}

template <typename Work, typename Done>
void RepoViewModel::runInBackground(Work work, Done done) {
    // Each step runs on a thread of its own: jj calls block for as long as
    // they take (a fetch can take minutes), and a pool would let a few slow
    // ones hold up the rest. The outcome comes back through the inbox, so it
    // is dropped when this object has gone.
    std::thread([inbox = inbox_, work = std::move(work), done = std::move(done)]() mutable {
        auto outcome = capture(work);
        inbox->post([done = std::move(done), outcome = std::move(outcome)]() mutable {
            done(std::move(outcome));
        });
    }).detach();
}

// MARK: Loading

void RepoViewModel::load(const std::string& directory, std::function<void()> done) {
    const auto start = std::chrono::steady_clock::now();
    setIsLoading(true);
    setErrorMessage(std::nullopt);
    setExpandedOneOffLaneIDs({});
    const auto root = JJRepoDetector::findRepoRoot(directory);
    if (!root) {
        setErrorMessage("No jj repository found at " + directory);
        setIsLoading(false);
        if (done) {
            done();
        }
        return;
    }
    setRepoRoot(*root);
    subscription_ = {};
    if (repoSession_) {
        repoSession_->stopWatching();
    }
    repoSession_ = RepoSession::open(*root);
    const std::uint64_t generation = ++loadGeneration_;
    const auto bootstrapStart = std::chrono::steady_clock::now();
    runInBackground(
        [session = repoSession_] { return session->bootstrap(); },
        [this, generation, start, bootstrapStart,
         done = std::move(done)](const Outcome<SnapshotRef>& outcome) {
            if (generation != loadGeneration_) {
                return;
            }
            if (!outcome.value) {
                setErrorMessage(outcome.error);
                setIsLoading(false);
            } else {
                Perf::measure("vm.applySnapshot", PerfCategory::vm,
                              [&] { applySnapshot(*outcome.value); });
                DiagnosticLog::writeRaw("[Vorda] load critical path: " +
                                        formattedMilliseconds(millisecondsSince(bootstrapStart)) +
                                        "ms\n");
                setIsLoading(false);
                DiagnosticLog::writeRaw("[Vorda] UI visible after " +
                                        formattedMilliseconds(millisecondsSince(start)) + "ms\n");
                startSubscription();
                repoSession_->startWatching();
                startAfterLoadTasks();
            }
            if (done) {
                done();
            }
        });
}

void RepoViewModel::startSubscription() {
    subscription_ = std::jthread(
        [session = repoSession_, inbox = inbox_, self = this](const std::stop_token& stop) {
            while (const auto snapshot = session->snapshots().next(stop)) {
                inbox->post([self, snapshot = *snapshot] {
                    Perf::measure("vm.applySnapshot", PerfCategory::vm,
                                  [&] { self->applySnapshot(snapshot); });
                });
            }
        });
}

void RepoViewModel::startAfterLoadTasks() {
    runInBackground([session = repoSession_] { return session->isGithubAvailable(); },
                    [this](const Outcome<bool>& outcome) {
                        setGithubAvailable(outcome.value.value_or(false));
                        if (githubAvailable()) {
                            refreshPRStatuses(false, {});
                        }
                    });
    const bool routes = std::any_of(routingRules().begin(), routingRules().end(),
                                    [](const FileRoutingRule& rule) { return rule.enabled; });
    if (!routes) {
        return;
    }
    runInBackground([session = repoSession_] { return session->applyRouting(); },
                    [this](const Outcome<std::pair<SnapshotRef, std::size_t>>& outcome) {
                        if (!outcome.value) {
                            setMutationError(outcome.error);
                            return;
                        }
                        Perf::measure("vm.applySnapshot", PerfCategory::vm,
                                      [&] { applySnapshot(outcome.value->first); });
                        if (const auto moved = outcome.value->second; moved > 0) {
                            setToastMessage("Auto-routed " + countedWord(moved, "file"));
                        }
                    });
}

void RepoViewModel::requestRefresh() {
    if (repoSession_) {
        repoSession_->requestRefresh();
    }
}

// MARK: Snapshots

void RepoViewModel::applySnapshot(const SnapshotRef& snapshot) {
    if (!snapshot) {
        return;
    }
    commitFilesCache_.clear();
    setRepoState(snapshot);
    const auto& state = snapshot->repoState;
    if (!selectedWorkspaceName() || !state.workspaces.contains(*selectedWorkspaceName())) {
        OptionalText replacement = state.selectedWorkspaceName;
        if (!replacement || !state.workspaces.contains(*replacement)) {
            replacement = state.workspaces.empty() ? std::nullopt
                                                   : OptionalText(state.workspaces.begin()->first);
        }
        setSelectedWorkspaceName(replacement);
    }
    setSettingsByName(snapshot->settingsByName);
    setTrunkCommitID(snapshot->trunkCommitID);
    setApexChangeID(snapshot->apexChangeID);
    setRoutingRules(snapshot->routingRules);
    setConflictedFiles(snapshot->conflictedFiles);
    setUpstreamCount(snapshot->upstreamCount);
    setWorkingCopyDiff(snapshot->workingCopyDiff);
    setLanesByBookmark(snapshot->lanesByBookmark);
    if (!snapshot->prsByBookmark.empty()) {
        setPrStatuses(snapshot->prsByBookmark);
    }
    Q_EMIT snapshotApplied();
}

void RepoViewModel::setRepoState(SnapshotRef snapshot) {
    const bool same = snapshot_ && snapshot &&
                      (snapshot_ == snapshot || snapshot_->repoState == snapshot->repoState);
    if (same) {
        // Keep the newer snapshot for its other fields; nothing the state
        // drives has to be drawn again.
        snapshot_ = std::move(snapshot);
        return;
    }
    snapshot_ = std::move(snapshot);
    dropStateCaches();
    Q_EMIT repoStateChanged();
}

void RepoViewModel::dropStateCaches() {
    mutableBookmarksCache_.reset();
    boardVisibilityCache_.reset();
    untrackedRemoteBookmarksCache_.reset();
}

void RepoViewModel::setSettingsByName(SettingsByName value) {
    if (value == settingsByName()) {
        return;
    }
    allTagsCache_.reset();
    boardVisibilityCache_.reset();
    setSettingsByNameField(std::move(value));
}

// MARK: Fields the user edits

void RepoViewModel::setFilterText(std::string value) {
    if (value != filterText()) {
        boardVisibilityCache_.reset();
        setFilterTextField(std::move(value));
    }
}

void RepoViewModel::setSelectedTagFilters(StringSet value) {
    if (value != selectedTagFilters()) {
        boardVisibilityCache_.reset();
        setSelectedTagFiltersField(std::move(value));
    }
}

void RepoViewModel::setSelectedWorkspaceName(OptionalText value) {
    if (value != selectedWorkspaceName()) {
        boardVisibilityCache_.reset();
        setSelectedWorkspaceNameField(std::move(value));
    }
}

void RepoViewModel::setErrorMessage(OptionalText value) {
    logErrorField("errorMessage", errorMessage(), value);
    setErrorMessageField(std::move(value));
}

void RepoViewModel::setMutationError(OptionalText value) {
    logErrorField("mutationError", mutationError(), value);
    setMutationErrorField(std::move(value));
}

void RepoViewModel::setUndoError(OptionalText value) {
    logErrorField("undoError", undoError(), value);
    setUndoErrorField(std::move(value));
}

void RepoViewModel::setFetchError(OptionalText value) {
    logErrorField("fetchError", fetchError(), value);
    setFetchErrorField(std::move(value));
}

void RepoViewModel::setPushError(OptionalText value) {
    logErrorField("pushError", pushError(), value);
    setPushErrorField(std::move(value));
}

// MARK: Commands

void RepoViewModel::send(RepoCommand command, std::function<void()> done) {
    if (!repoSession_) {
        return;
    }
    const std::uint64_t action =
        Perf::beginAction([&] { return "ui." + std::string(command.perfName()); });
    setInFlight(command, true);
    runInBackground(
        [session = repoSession_, command] { return session->execute(command); },
        [this, command, action, done = std::move(done)](const Outcome<RepoCommandResult>& outcome) {
            if (outcome.value) {
                apply(*outcome.value, command);
            } else {
                applyError(outcome.error, command);
            }
            setInFlight(command, false);
            Perf::endActionAfterUIFlush(action);
            if (done) {
                done();
            }
        });
}

void RepoViewModel::setInFlight(const RepoCommand& command, bool running) {
    if (const auto advanced = advancedCommitIDs(command, repoState()); !advanced.empty()) {
        StringSet ids = advancingCommitIDs();
        for (const auto& id : advanced) {
            if (running) {
                ids.insert(id);
            } else {
                ids.erase(id);
            }
        }
        setAdvancingCommitIDs(std::move(ids));
    }
    switch (commandKind(command)) {
        case CommandKind::push: {
            const auto& bookmark = std::visit(
                Overloaded{
                    [](const RepoCommand::Push& c) -> const Bookmark& { return c.bookmark; },
                    [](const RepoCommand::PerformPush& c) -> const Bookmark& { return c.bookmark; },
                    [](const auto&) -> const Bookmark& {
                        static const Bookmark none;
                        return none;
                    }},
                command.value);
            StringSet names = pushInFlight();
            if (running) {
                names.insert(bookmark.name);
                setPushError(std::nullopt);
            } else {
                names.erase(bookmark.name);
            }
            setPushInFlight(std::move(names));
            break;
        }
        case CommandKind::fetch:
            setFetchInFlight(running);
            if (running) {
                setFetchError(std::nullopt);
            }
            break;
        case CommandKind::undo:
            setUndoInFlight(running);
            if (running) {
                setUndoError(std::nullopt);
            }
            break;
        case CommandKind::restore:
            setUndoInFlight(running);
            break;
        case CommandKind::pullRequest:
            setIsMutating(running);
            break;
        case CommandKind::refresh:
            break;
        case CommandKind::mutation:
            setIsMutating(running);
            if (running) {
                setMutationError(std::nullopt);
                setMutationLabel(vorda::mutationLabel(command));
            } else {
                setMutationLabel(std::nullopt);
            }
            break;
    }
}

void RepoViewModel::apply(const RepoCommandResult& result, const RepoCommand& command) {
    std::visit(Overloaded{
                   [this](const RepoCommandResult::Refreshed& r) {
                       Perf::measure("vm.applySnapshot", PerfCategory::vm,
                                     [&] { applySnapshot(r.snapshot); });
                   },
                   [this](const RepoCommandResult::Toast& r) { setToastMessage(r.text); },
                   [this](const RepoCommandResult::RequiresConfirmation& r) {
                       const QPointer<RepoViewModel> weak(this);
                       auto followup = r.request.followup;
                       setConfirmationRequest(ConfirmationRequest{
                           r.request.id, r.request.title, r.request.message, [weak, followup] {
                               if (weak) {
                                   weak->send(followup);
                               }
                           }});
                   },
                   [this](const RepoCommandResult::ForcePushRequired& r) {
                       setForcePushConfirmation(
                           ForcePushRequest{r.request.id, r.request.bookmark, r.request.syncState});
                   },
                   [this](const RepoCommandResult::OpenURL& r) { Q_EMIT openURLRequested(r.url); },
                   [this](const RepoCommandResult::RecentOps& r) { setRecentOps(r.ops); },
                   [this](const RepoCommandResult::LocalStackUpdatePlan& r) {
                       setLocalStackUpdatePlan(r.plan);
                       setLocalStackUpdateReceipt(std::nullopt);
                   },
                   [this](const RepoCommandResult::LocalStackUpdateCompleted& r) {
                       setLocalStackUpdateReceipt(r.receipt);
                       setLocalStackUpdatePlan(std::nullopt);
                       setToastMessage(localStackUpdateToast(r.receipt));
                   },
                   [this](const RepoCommandResult::FeatureInsertionPlan& r) {
                       setFeatureInsertionPlan(r.plan);
                       setFeatureInsertionReceipt(std::nullopt);
                   },
                   [this](const RepoCommandResult::FeatureInsertionCompleted& r) {
                       setFeatureInsertionReceipt(r.receipt);
                       setFeatureInsertionPlan(std::nullopt);
                       setToastMessage(featureInsertionToast(r.receipt));
                   },
                   [this](const RepoCommandResult::FeatureAppendPlan& r) {
                       setFeatureAppendPlan(r.plan);
                       setFeatureAppendRecord(std::nullopt);
                   },
                   [this](const RepoCommandResult::FeatureAppendCompleted& r) {
                       setFeatureAppendRecord(r.record);
                       setFeatureAppendPlan(std::nullopt);
                       setToastMessage(featureAppendToast(r.record));
                   },
                   [this, &command](const RepoCommandResult::Failure& r) {
                       applyError(r.error.message, command);
                   },
               },
               result.value);
}

void RepoViewModel::applyError(const std::string& message, const RepoCommand& command) {
    switch (commandKind(command)) {
        case CommandKind::fetch:
            setFetchError(message);
            break;
        case CommandKind::push:
            setPushError(message);
            break;
        case CommandKind::undo:
        case CommandKind::restore:
            setUndoError(message);
            break;
        default:
            setMutationError(message);
            break;
    }
}

void RepoViewModel::setBookmarkIncluded(const std::string& bookmark, bool included) {
    if (const auto& workspace = selectedWorkspaceName()) {
        send(RepoCommand::SetWorkspaceBookmarkInclusion{*workspace, bookmark, included});
    }
}

void RepoViewModel::absorbBookmark(const std::string& source, const std::string& into) {
    std::string tip;
    if (const auto* state = repoState()) {
        if (const auto found = state->bookmarks.find(source);
            found != state->bookmarks.end() && !found->second.commitIDs.empty()) {
            tip = found->second.commitIDs.front();
        }
    }
    send(RepoCommand::AbsorbBookmark{source, into, tip});
}

void RepoViewModel::trackRemoteBookmark(const Bookmark& bookmark, bool pin) {
    if (bookmark.commitIDs.empty()) {
        return;
    }
    const auto remote = bookmark.remoteSyncState.remote();
    const auto* upstream = std::get_if<BookmarkOrigin::Upstream>(&bookmark.origin.value);
    send(RepoCommand::TrackRemoteBookmark{
        bookmark.name, remote.value_or(upstream != nullptr ? upstream->remote : "origin"),
        bookmark.commitIDs.front(), pin});
}

void RepoViewModel::fetch(std::function<void()> done) {
    setFetchStatus(std::nullopt);
    setFetchStartedAt(std::chrono::system_clock::now());
    auto finish = [this, done = std::move(done)] {
        setLastFetchAt(std::chrono::system_clock::now());
        setFetchStatus(std::nullopt);
        setFetchStartedAt(std::nullopt);
        if (done) {
            done();
        }
    };
    if (!repoSession_) {
        finish();
        return;
    }
    RepoCommand::Fetch command;
    command.onProgress = [inbox = inbox_, self = this](const std::string& line) {
        inbox->post([self, line] { self->setFetchStatus(line); });
    };
    send(std::move(command), std::move(finish));
}

void RepoViewModel::presentLocalStackRebase(const std::optional<StringList>& bookmarks,
                                            const OptionalText& changeID) {
    localStackUpdateSeedBookmarks_ = bookmarks;
    localStackUpdateSeedChangeID_ = changeID;
    setShowLocalStackUpdateSheetField(true);
}

// MARK: Expansion and history

void RepoViewModel::toggleLane(const std::string& name) {
    StringSet lanes = expandedLanes();
    if (lanes.erase(name) > 0) {
        setExpandedLanes(std::move(lanes));
        CommitsByName ancestors = laneAncestors();
        ancestors.erase(name);
        setLaneAncestors(std::move(ancestors));
        TotalsByName totals = laneAncestorTotals();
        totals.erase(name);
        setLaneAncestorTotals(std::move(totals));
        return;
    }
    lanes.insert(name);
    setExpandedLanes(std::move(lanes));
    loadMoreAncestors(name);
}

void RepoViewModel::toggleOneOffLaneExpanded(const std::string& changeID) {
    StringSet ids = expandedOneOffLaneIDs();
    if (ids.erase(changeID) == 0) {
        ids.insert(changeID);
    }
    setExpandedOneOffLaneIDs(std::move(ids));
}

void RepoViewModel::loadMoreAncestors(const std::string& name) {
    const auto* state = repoState();
    if (state == nullptr || !repoSession_) {
        return;
    }
    const auto bookmark = state->bookmarks.find(name);
    if (bookmark == state->bookmarks.end() || bookmark->second.commitIDs.empty()) {
        return;
    }
    const std::string tip = bookmark->second.commitIDs.front();
    const auto loaded = laneAncestors().find(name);
    if (name == trunkBookmarkName()) {
        const int skip =
            loaded == laneAncestors().end() ? 0 : static_cast<int>(loaded->second.size());
        const bool needsTotal = !laneAncestorTotals().contains(name);
        struct Page {
            std::vector<JJCommit> commits;
            std::optional<std::int64_t> total;
        };
        runInBackground(
            [session = repoSession_, tip, skip, needsTotal] {
                Page page{session->loadAncestors(tip, lanePageSize, skip), std::nullopt};
                if (needsTotal) {
                    page.total = session->ancestorCount(tip);
                }
                return page;
            },
            [this, name](const Outcome<Page>& outcome) {
                if (!outcome.value || !expandedLanes().contains(name)) {
                    return;
                }
                CommitsByName ancestors = laneAncestors();
                auto& list = ancestors[name];
                list.insert(list.end(), outcome.value->commits.begin(),
                            outcome.value->commits.end());
                setLaneAncestors(std::move(ancestors));
                if (outcome.value->total) {
                    TotalsByName totals = laneAncestorTotals();
                    totals[name] = *outcome.value->total;
                    setLaneAncestorTotals(std::move(totals));
                }
            });
        return;
    }
    if (loaded != laneAncestors().end()) {
        return;
    }
    runInBackground(
        [session = repoSession_, tip, excluding = bookmark->second.commitIDs] {
            return session->loadBranchHistory(tip, excluding);
        },
        [this, name](Outcome<std::vector<JJCommit>> outcome) {
            if (!outcome.value || !expandedLanes().contains(name)) {
                return;
            }
            TotalsByName totals = laneAncestorTotals();
            totals[name] = static_cast<std::int64_t>(outcome.value->size());
            CommitsByName ancestors = laneAncestors();
            ancestors[name] = std::move(*outcome.value);
            setLaneAncestors(std::move(ancestors));
            setLaneAncestorTotals(std::move(totals));
        });
}

// MARK: Diffs and files

void RepoViewModel::loadDiffForSelectedChangeIDs(const StringList& changeIDs) {
    const JJCommit* first = changeIDs.empty() ? nullptr : commitForChangeID(changeIDs.front());
    const JJCommit* last = changeIDs.empty() ? nullptr : commitForChangeID(changeIDs.back());
    if (first == nullptr || last == nullptr) {
        setDiffText(std::string());
        return;
    }
    loadDiffText(first->commitID == last->commitID ? first->commitID
                                                   : first->commitID + "-.." + last->commitID);
}

void RepoViewModel::loadDiffForBookmark(const Bookmark& bookmark) {
    if (bookmark.commitIDs.empty()) {
        setDiffText(std::string());
        return;
    }
    const auto& oldest = bookmark.commitIDs.back();
    const auto& tip = bookmark.commitIDs.front();
    loadDiffText(oldest == tip ? tip : oldest + "-.." + tip);
}

void RepoViewModel::loadDiffText(const std::string& revset) {
    const std::uint64_t action = Perf::beginAction([&] { return "ui.showDiff(" + revset + ")"; });
    if (const auto cached = diffCache_.find(revset)) {
        setDiffText(*cached);
        Perf::endActionAfterUIFlush(action, "cache hit");
        return;
    }
    if (!repoSession_) {
        Perf::endAction(action, "no session");
        return;
    }
    setDiffText(std::string());
    setIsDiffLoading(true);
    runInBackground(
        [session = repoSession_, revset] {
            return Perf::measure([&] { return "vm.loadDiff(" + revset + ")"; }, PerfCategory::vm,
                                 [&] { return session->loadDiff(revset); });
        },
        [this, revset, action](const Outcome<std::string>& outcome) {
            if (outcome.value) {
                diffCache_.store(revset, *outcome.value);
                setDiffText(*outcome.value);
            } else {
                setDiffText("Error: " + outcome.error);
            }
            setIsDiffLoading(false);
            Perf::endActionAfterUIFlush(action, "cache miss");
        });
}

void RepoViewModel::loadChangedFiles(const std::string& changeID,
                                     std::function<void(const std::vector<ChangedFile>&)> done) {
    if (const auto cached = commitFilesCache_.find(changeID); cached != commitFilesCache_.end()) {
        done(cached->second);
        return;
    }
    if (!repoSession_) {
        done({});
        return;
    }
    runInBackground(
        [session = repoSession_, changeID] { return session->loadChangedFiles(changeID); },
        [this, changeID, done = std::move(done)](const Outcome<std::vector<ChangedFile>>& outcome) {
            if (!outcome.value) {
                done({});
                return;
            }
            commitFilesCache_[changeID] = *outcome.value;
            done(*outcome.value);
        });
}

namespace {

// Everything the operation log shows, read in one background step. Each read
// that fails leaves a line and the next one still runs.
struct OperationLogReads {
    std::optional<OpList> ops;
    std::optional<UpdateRecords> updateRecords;
    std::optional<RoutingRecords> routingRecords;
    std::optional<AppendRecords> appendRecords;
    StringList warnings;
};

template <typename Read>
auto readLogged(Read read, const std::string& failure, StringList& warnings)
    -> std::optional<decltype(read())> {
    try {
        return read();
    } catch (const std::exception& error) {
        warnings.push_back(failure + error.what());
        return std::nullopt;
    }
}

// A journal's records; the files it could not read join the warnings.
template <typename Load>
auto journalRecords(Load load, const std::string& failure, StringList& warnings) {
    auto loaded = readLogged(load, failure, warnings);
    if (loaded) {
        warnings.insert(warnings.end(), loaded->warnings.begin(), loaded->warnings.end());
        return std::optional(std::move(loaded->records));
    }
    return std::optional<decltype(loaded->records)>{};
}

OperationLogReads readOperationLog(const RepoSession& session) {
    OperationLogReads reads;
    reads.ops = readLogged([&] { return session.loadRecentOps(30); },
                           "Could not load operations: ", reads.warnings);
    reads.updateRecords = journalRecords([&] { return session.loadUpdateReceipts(); },
                                         "Could not load update receipts: ", reads.warnings);
    reads.routingRecords = journalRecords([&] { return session.loadRoutingReceipts(); },
                                          "Could not load routing receipts: ", reads.warnings);
    reads.appendRecords = journalRecords([&] { return session.loadAppendReceipts(); },
                                         "Could not load append receipts: ", reads.warnings);
    return reads;
}

}  // namespace

void RepoViewModel::loadRecentOps() {
    if (!repoSession_) {
        return;
    }
    setIsLoadingOps(true);
    setOperationInspectorWarnings({});
    setUpdateRecords({});
    setRoutingRecords({});
    setAppendRecords({});
    runInBackground(
        [session = repoSession_] { return readOperationLog(*session); },
        [this](const Outcome<OperationLogReads>& outcome) {
            if (outcome.value) {
                const auto& reads = *outcome.value;
                if (reads.ops) {
                    setRecentOps(*reads.ops);
                }
                setUpdateRecords(reads.updateRecords.value_or(UpdateRecords{}));
                setRoutingRecords(reads.routingRecords.value_or(RoutingRecords{}));
                setAppendRecords(reads.appendRecords.value_or(AppendRecords{}));
                setOperationInspectorWarnings(reads.warnings);
            } else {
                setOperationInspectorWarnings({"Could not load operations: " + outcome.error});
            }
            setIsLoadingOps(false);
        });
}

// MARK: Pull requests

void RepoViewModel::refreshPRStatuses(bool force, const StringSet& forceBranches) {
    if (!repoSession_ || !snapshot_) {
        return;
    }
    StringSet names = allWorkspaceIncludedBookmarkNames();
    for (const auto& [name, settings] : settingsByName()) {
        if (settings.pinned || settings.columnVisible) {
            names.insert(name);
        }
    }
    names.insert(forceBranches.begin(), forceBranches.end());
    auto cached = [inbox = inbox_, self = this](const PullRequestsByBookmark& prs) {
        inbox->post([self, prs] { self->setPrStatuses(prs); });
    };
    runInBackground(
        [session = repoSession_, snapshot = snapshot_, force, forceBranches, names, cached] {
            return session->refreshPullRequestStatuses(snapshot->repoState, force, forceBranches,
                                                       names, cached);
        },
        [this](const Outcome<PullRequestsByBookmark>& outcome) {
            if (outcome.value) {
                setPrStatuses(*outcome.value);
            }
        });
}

}  // namespace vorda
