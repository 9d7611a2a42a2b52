#include "app/viewmodel/RepoViewModel.h"

#include <QPointer>
#include <cstdio>
#include <utility>

#include "app/viewmodel/CommandPresentation.h"
#include "app/viewmodel/DiffApplyHelper.h"
#include "app/viewmodel/FreeMemory.h"
#include "app/viewmodel/RewriteOutcomes.h"
#include "jjkit/repo/JJRepoDetector.h"
#include "jjkit/support/DiagnosticLog.h"
#include "jjkit/support/Overloaded.h"
#include "jjkit/trace/Perf.h"

namespace vorda {

namespace {

double millisecondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
        .count();
}

std::string formattedMilliseconds(double milliseconds) {
    char text[32];
    std::snprintf(text, sizeof text, "%.0f", milliseconds);
    return text;
}

void measuredApply(BoardModel& board, const SnapshotRef& snapshot) {
    Perf::measure("vm.applySnapshot", PerfCategory::vm, [&] { board.applySnapshot(snapshot); });
    releaseFreeMemorySoon();
}

}  // namespace

RepoViewModel::RepoViewModel(QObject* parent)
    : QObject(parent),
      board_(new BoardModel(this)),
      activity_(new ActivityModel(this)),
      sheets_(new SheetRequests(this)),
      rewrites_(new RewriteModel(this)),
      operationLog_(new OperationLogModel(this)),
      diff_(new DiffModel(this)),
      hiddenPanel_(new HiddenPanelModel(this)),
      work_(std::make_unique<BackgroundWork>(this)) {}

RepoViewModel::~RepoViewModel() {
    close();
}

void RepoViewModel::close() {
    work_->close();
    subscription_ = {};
    if (repoSession_) {
        repoSession_->stopWatching();
    }
}

// MARK: Loading

void RepoViewModel::load(const std::string& directory, std::function<void()> done) {
    const auto start = std::chrono::steady_clock::now();
    board_->setIsLoading(true);
    board_->setErrorMessage(std::nullopt);
    board_->setExpandedOneOffLaneIDs({});
    const auto root = JJRepoDetector::findRepoRoot(directory);
    if (!root) {
        board_->setErrorMessage("No jj repository found at " + directory);
        board_->setIsLoading(false);
        if (done) {
            done();
        }
        return;
    }
    board_->setRepoRoot(*root);
    subscription_ = {};
    if (repoSession_) {
        repoSession_->stopWatching();
    }
    repoSession_ = RepoSession::open(*root);
    const auto bootstrapStart = std::chrono::steady_clock::now();
    // A load that a newer one overtakes is dropped, like any older read.
    work_->runNewest(
        WorkKind::load, [session = repoSession_] { return session->bootstrap(); },
        [this, start, bootstrapStart, done = std::move(done)](const Outcome<SnapshotRef>& outcome) {
            if (!outcome.value) {
                board_->setErrorMessage(outcome.error);
                board_->setIsLoading(false);
            } else {
                measuredApply(*board_, *outcome.value);
                DiagnosticLog::writeRaw("[Vorda] load critical path: " +
                                        formattedMilliseconds(millisecondsSince(bootstrapStart)) +
                                        "ms\n");
                board_->setIsLoading(false);
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
    // The stream hands each snapshot to the GUI thread through the same
    // executor, so nothing arrives after `close`.
    subscription_ = std::jthread([session = repoSession_, post = work_->poster(), board = board_,
                                  self = this](const std::stop_token& stop) {
        while (const auto snapshot = session->snapshots().next(stop)) {
            post([self, board, snapshot = *snapshot] {
                self->commitFilesCache_.clear();
                measuredApply(*board, snapshot);
            });
        }
    });
}

void RepoViewModel::startAfterLoadTasks() {
    work_->run(
        WorkKind::pullRequests, [session = repoSession_] { return session->isGithubAvailable(); },
        [this](const Outcome<bool>& outcome) {
            board_->setGithubAvailable(outcome.value.value_or(false));
            if (board_->githubAvailable()) {
                refreshPRStatuses(false, {});
            }
        });
    const auto& rules = board_->snapshot()->routingRules;
    if (std::none_of(rules.begin(), rules.end(),
                     [](const FileRoutingRule& rule) { return rule.enabled; })) {
        return;
    }
    work_->run(
        WorkKind::routing, [session = repoSession_] { return session->applyRouting(); },
        [this](const Outcome<std::pair<SnapshotRef, std::size_t>>& outcome) {
            if (!outcome.value) {
                activity_->setMutationError(outcome.error);
                return;
            }
            applySnapshot(outcome.value->first);
            if (const auto moved = outcome.value->second; moved > 0) {
                activity_->setToastMessage("Auto-routed " + countedWord(moved, "file"));
            }
        });
}

void RepoViewModel::requestRefresh() {
    if (repoSession_ && !work_->isClosed()) {
        repoSession_->requestRefresh();
    }
}

void RepoViewModel::applySnapshot(const SnapshotRef& snapshot) {
    commitFilesCache_.clear();
    measuredApply(*board_, snapshot);
}

// MARK: Commands

void RepoViewModel::send(RepoCommand command, std::function<void()> done) {
    if (!repoSession_ || work_->isClosed()) {
        return;
    }
    const std::uint64_t action =
        Perf::beginAction([&] { return "ui." + std::string(command.perfName()); });
    setInFlight(command, true);
    work_->run(
        WorkKind::command, [session = repoSession_, command] { return session->execute(command); },
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
    board_->markAdvancing(advancedCommitIDs(command, board_->repoState()), running);
    switch (commandKind(command)) {
        case CommandKind::push: {
            const auto* push = std::get_if<RepoCommand::Push>(&command.value);
            const auto* forced = std::get_if<RepoCommand::PerformPush>(&command.value);
            const std::string& name = push != nullptr ? push->bookmark.name : forced->bookmark.name;
            activity_->markPushing(name, running);
            if (running) {
                activity_->setPushError(std::nullopt);
            }
            break;
        }
        case CommandKind::fetch:
            activity_->setFetchInFlight(running);
            if (running) {
                activity_->setFetchError(std::nullopt);
            }
            break;
        case CommandKind::undo:
            activity_->setUndoInFlight(running);
            if (running) {
                activity_->setUndoError(std::nullopt);
            }
            break;
        case CommandKind::restore:
            activity_->setUndoInFlight(running);
            break;
        case CommandKind::pullRequest:
            activity_->setIsMutating(running);
            break;
        case CommandKind::refresh:
            break;
        case CommandKind::mutation:
            activity_->setIsMutating(running);
            if (running) {
                activity_->setMutationError(std::nullopt);
                activity_->setMutationLabel(mutationLabel(command));
            } else {
                activity_->setMutationLabel(std::nullopt);
            }
            break;
    }
}

void RepoViewModel::apply(const RepoCommandResult& result, const RepoCommand& command) {
    auto& rewrites = *rewrites_;
    auto& activity = *activity_;
    std::visit(
        Overloaded{
            [this](const RepoCommandResult::Refreshed& r) { applySnapshot(r.snapshot); },
            [&](const RepoCommandResult::Toast& r) { activity.setToastMessage(r.text); },
            [this](const RepoCommandResult::RequiresConfirmation& r) {
                sheets_->setConfirmationRequest(ConfirmationRequest{
                    r.request.id, r.request.title, r.request.message, r.request.followup});
            },
            [this](const RepoCommandResult::ForcePushRequired& r) {
                sheets_->setForcePushConfirmation(
                    ForcePushRequest{r.request.id, r.request.bookmark, r.request.syncState});
            },
            [this](const RepoCommandResult::OpenURL& r) { Q_EMIT openURLRequested(r.url); },
            [this](const RepoCommandResult::RecentOps& r) { operationLog_->setRecentOps(r.ops); },
            [&](const RepoCommandResult::LocalStackUpdatePlan& r) {
                rewrites.setLocalStackUpdatePlan(r.plan);
                rewrites.setLocalStackUpdateReceipt(std::nullopt);
            },
            [&](const RepoCommandResult::LocalStackUpdateCompleted& r) {
                rewrites.setLocalStackUpdateReceipt(r.receipt);
                rewrites.setLocalStackUpdatePlan(std::nullopt);
                activity.setToastMessage(localStackUpdateToast(r.receipt));
            },
            [&](const RepoCommandResult::CoordinatedRoutingPlan& r) {
                rewrites.setCoordinatedRoutingPlan(r.plan);
                rewrites.setCoordinatedRoutingRecord(std::nullopt);
            },
            [&](const RepoCommandResult::CoordinatedRoutingCompleted& r) {
                rewrites.setCoordinatedRoutingRecord(r.record);
                rewrites.setCoordinatedRoutingPlan(std::nullopt);
                operationLog_->setCoordinatedRoutingRecords(
                    mergedRecord(operationLog_->coordinatedRoutingRecords(), r.record));
                activity.setToastMessage(coordinatedRoutingToast(r.record));
            },
            [&](const RepoCommandResult::CoordinatedRecoveryCompleted& r) {
                rewrites.setCoordinatedRecoveryRecord(r.record);
                operationLog_->setCoordinatedRecoveryRecords(
                    mergedRecord(operationLog_->coordinatedRecoveryRecords(), r.record));
                activity.setToastMessage(coordinatedRecoveryToast(r.record));
            },
            [&](const RepoCommandResult::CompositionAttachmentPlan& r) {
                rewrites.setCompositionAttachmentPlan(r.plan);
                rewrites.setCompositionAttachmentRecord(std::nullopt);
            },
            [&](const RepoCommandResult::CompositionAttachmentCompleted& r) {
                rewrites.setCompositionAttachmentRecord(r.record);
                rewrites.setCompositionAttachmentPlan(std::nullopt);
                operationLog_->setAttachmentRecords(
                    mergedRecord(operationLog_->attachmentRecords(), r.record));
                activity.setToastMessage(compositionAttachmentToast(r.record));
            },
            [&](const RepoCommandResult::FeatureInsertionPlan& r) {
                rewrites.setFeatureInsertionPlan(r.plan);
                rewrites.setFeatureInsertionReceipt(std::nullopt);
            },
            [&](const RepoCommandResult::FeatureInsertionCompleted& r) {
                rewrites.setFeatureInsertionReceipt(r.receipt);
                rewrites.setFeatureInsertionPlan(std::nullopt);
                activity.setToastMessage(featureInsertionToast(r.receipt));
            },
            [&](const RepoCommandResult::FeatureAppendPlan& r) {
                rewrites.setFeatureAppendPlan(r.plan);
                rewrites.setFeatureAppendRecord(std::nullopt);
            },
            [&](const RepoCommandResult::FeatureAppendCompleted& r) {
                rewrites.setFeatureAppendRecord(r.record);
                rewrites.setFeatureAppendPlan(std::nullopt);
                activity.setToastMessage(featureAppendToast(r.record));
            },
            [&](const RepoCommandResult::FeatureAppendRecoveryCompleted& r) {
                rewrites.setFeatureAppendRecoveryRecord(r.record);
                operationLog_->setRecoveryRecords(
                    mergedRecord(operationLog_->recoveryRecords(), r.record));
                activity.setToastMessage(featureAppendRecoveryToast(r.record));
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
            activity_->setFetchError(message);
            break;
        case CommandKind::push:
            activity_->setPushError(message);
            break;
        case CommandKind::undo:
        case CommandKind::restore:
            activity_->setUndoError(message);
            break;
        default:
            activity_->setMutationError(message);
            break;
    }
}

void RepoViewModel::setBookmarkIncluded(const std::string& bookmark, bool included) {
    if (const auto& workspace = board_->selectedWorkspaceName()) {
        send(RepoCommand::SetWorkspaceBookmarkInclusion{*workspace, bookmark, included});
    }
}

void RepoViewModel::fetch(std::function<void()> done) {
    activity_->setFetchStatus(std::nullopt);
    activity_->setFetchStartedAt(std::chrono::system_clock::now());
    auto finish = [this, done = std::move(done)] {
        board_->setLastFetchAt(std::chrono::system_clock::now());
        activity_->setFetchStatus(std::nullopt);
        activity_->setFetchStartedAt(std::nullopt);
        if (done) {
            done();
        }
    };
    if (!repoSession_) {
        finish();
        return;
    }
    RepoCommand::Fetch command;
    command.onProgress = [post = work_->poster(), activity = activity_](const std::string& line) {
        post([activity, line] { activity->setFetchStatus(line); });
    };
    send(std::move(command), std::move(finish));
}

// MARK: Lane history

void RepoViewModel::toggleLane(const std::string& name) {
    if (board_->toggleLane(name)) {
        loadMoreAncestors(name);
    }
}

void RepoViewModel::loadMoreAncestors(const std::string& name) {
    const auto* state = board_->repoState();
    if (state == nullptr || !repoSession_) {
        return;
    }
    const auto bookmark = state->bookmarks.find(name);
    if (bookmark == state->bookmarks.end() || bookmark->second.commitIDs.empty()) {
        return;
    }
    const std::string tip = bookmark->second.commitIDs.front();
    const auto& loadedLanes = board_->laneAncestors();
    const auto loaded = loadedLanes.find(name);
    struct Page {
        std::vector<JJCommit> commits;
        std::optional<std::int64_t> total;
    };
    auto show = [this, name](const Outcome<Page>& outcome) {
        if (outcome.value) {
            board_->addLaneAncestors(name, outcome.value->commits, outcome.value->total);
        }
    };
    if (name == board_->trunkBookmarkName()) {
        const int skip = loaded == loadedLanes.end() ? 0 : static_cast<int>(loaded->second.size());
        const bool needsTotal = !board_->laneAncestorTotals().contains(name);
        work_->run(
            WorkKind::history,
            [session = repoSession_, tip, skip, needsTotal] {
                Page page{session->loadAncestors(tip, BoardModel::lanePageSize, skip),
                          std::nullopt};
                if (needsTotal) {
                    page.total = session->ancestorCount(tip);
                }
                return page;
            },
            show);
        return;
    }
    if (loaded != loadedLanes.end()) {
        return;
    }
    work_->run(
        WorkKind::history,
        [session = repoSession_, tip, excluding = bookmark->second.commitIDs] {
            auto commits = session->loadBranchHistory(tip, excluding);
            const auto total = static_cast<std::int64_t>(commits.size());
            return Page{std::move(commits), total};
        },
        show);
}

// MARK: Diffs and files

void RepoViewModel::loadDiffForSelectedChangeIDs(const StringList& changeIDs) {
    const JJCommit* first =
        changeIDs.empty() ? nullptr : board_->commitForChangeID(changeIDs.front());
    const JJCommit* last =
        changeIDs.empty() ? nullptr : board_->commitForChangeID(changeIDs.back());
    if (first == nullptr || last == nullptr) {
        diff_->setDiffText(std::string());
        diff_->setDiffError(std::nullopt);
        return;
    }
    if (first->commitID == last->commitID) {
        loadDiffText(first->commitID);
        return;
    }
    // A lane lists its newest commit first; jj answers a range only when it
    // runs from the older commit to the newer one.
    const bool firstIsOlder = isAncestor(first->commitID, last->commitID);
    const auto* oldest = firstIsOlder ? first : last;
    const auto* newest = firstIsOlder ? last : first;
    loadDiffText(oldest->commitID + "-.." + newest->commitID);
}

bool RepoViewModel::isAncestor(const std::string& ancestor, const std::string& descendant) const {
    const auto* state = board_->repoState();
    if (state == nullptr) {
        return false;
    }
    std::vector<std::string> pending{descendant};
    StringSet seen;
    while (!pending.empty()) {
        const std::string id = std::move(pending.back());
        pending.pop_back();
        if (id == ancestor) {
            return true;
        }
        const auto commit = state->commits.find(id);
        if (!seen.insert(id).second || commit == state->commits.end()) {
            continue;
        }
        pending.insert(pending.end(), commit->second->parents.begin(),
                       commit->second->parents.end());
    }
    return false;
}

void RepoViewModel::loadDiffForBookmark(const Bookmark& bookmark) {
    if (bookmark.commitIDs.empty()) {
        diff_->setDiffText(std::string());
        diff_->setDiffError(std::nullopt);
        return;
    }
    const auto& oldest = bookmark.commitIDs.back();
    const auto& tip = bookmark.commitIDs.front();
    loadDiffText(oldest == tip ? tip : oldest + "-.." + tip);
}

void RepoViewModel::loadDiffText(const std::string& revset) {
    const std::uint64_t action = Perf::beginAction([&] { return "ui.showDiff(" + revset + ")"; });
    diff_->setDiffError(std::nullopt);
    if (const auto cached = diff_->cache().find(revset)) {
        diff_->setDiffText(*cached);
        diff_->setIsDiffLoading(false);
        // A read still running for an older selection must not win.
        work_->supersede(WorkKind::diff);
        Perf::endActionAfterUIFlush(action, "cache hit");
        return;
    }
    if (!repoSession_) {
        Perf::endAction(action, "no session");
        return;
    }
    diff_->setDiffText(std::string());
    diff_->setIsDiffLoading(true);
    work_->runNewest(
        WorkKind::diff,
        [session = repoSession_, revset] {
            return Perf::measure([&] { return "vm.loadDiff(" + revset + ")"; }, PerfCategory::vm,
                                 [&] { return session->loadDiff(revset); });
        },
        [this, revset, action](const Outcome<std::string>& outcome) {
            if (outcome.value) {
                diff_->cache().store(revset, *outcome.value);
                diff_->setDiffText(*outcome.value);
            } else {
                diff_->setDiffText(std::string());
                diff_->setDiffError(outcome.error);
            }
            diff_->setIsDiffLoading(false);
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
    work_->run(
        WorkKind::files,
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

void RepoViewModel::loadCommitDiff(const std::string& changeID,
                                   std::function<void(const std::optional<UnifiedDiff>&)> done) {
    if (!repoSession_) {
        done(std::nullopt);
        return;
    }
    work_->run(
        WorkKind::files,
        [session = repoSession_, changeID] {
            return UnifiedDiffParser::parse(session->loadDiff(changeID));
        },
        [done = std::move(done)](const Outcome<UnifiedDiff>& outcome) { done(outcome.value); });
}

namespace {

/// A read that throws on failure: `read(session)` on `kind`'s worker, only
/// the newest answered when `newestOnly`. Without a session `done` hears at
/// once that no repository is open.
template <typename T, typename Read>
void readFromSession(BackgroundWork& work, const std::shared_ptr<RepoSession>& session,
                     WorkKind kind, bool newestOnly, Read read,
                     std::function<void(const Outcome<T>&)> done) {
    if (!session) {
        done({std::nullopt, "No repository is open."});
        return;
    }
    auto job = [session, read = std::move(read)] {
        return read(*session);
    };
    if (newestOnly) {
        work.runNewest(kind, std::move(job), std::move(done));
    } else {
        work.run(kind, std::move(job), std::move(done));
    }
}

}  // namespace

void RepoViewModel::loadRebaseConflict(
    const std::string& changeID, std::function<void(const Outcome<RebaseConflictReview>&)> done) {
    readFromSession(
        *work_, repoSession_, WorkKind::review, true,
        [changeID](const RepoSession& session) { return session.loadRebaseConflict(changeID); },
        std::move(done));
}

void RepoViewModel::inspectFeatureAppend(
    const AppendRecord& record, std::function<void(const Outcome<FeatureAppendInspection>&)> done) {
    readFromSession(
        *work_, repoSession_, WorkKind::operationLog, false,
        [record](const RepoSession& session) { return session.inspectFeatureAppend(record); },
        std::move(done));
}

void RepoViewModel::planFeatureAppendRecovery(
    const AppendRecord& source,
    std::function<void(const Outcome<FeatureAppendRecoveryPlan>&)> done) {
    readFromSession(
        *work_, repoSession_, WorkKind::operationLog, false,
        [source](const RepoSession& session) { return session.planFeatureAppendRecovery(source); },
        std::move(done));
}

void RepoViewModel::executeApprovedAppendRecovery(const FeatureAppendRecoveryPlan& plan,
                                                  const AppendRecord& source) {
    send(RepoCommand::ExecuteFeatureAppendRecovery{plan, source});
}

void RepoViewModel::presentLocalStackRebase(const std::optional<StringList>& bookmarks,
                                            const std::optional<std::string>& changeID) {
    auto& rewrites = *rewrites_;
    rewrites.setLocalStackUpdateSeedBookmarks(bookmarks);
    rewrites.setLocalStackUpdateSeedChangeID(changeID);
    rewrites.setLocalStackUpdatePlan(std::nullopt);
    rewrites.setLocalStackUpdateReceipt(std::nullopt);
    activity_->setMutationError(std::nullopt);
    rewrites.setShowLocalStackUpdateSheet(true);
}

void RepoViewModel::presentCompositionAttachment() {
    auto& rewrites = *rewrites_;
    rewrites.setCompositionAttachmentPlan(std::nullopt);
    rewrites.setCompositionAttachmentRecord(std::nullopt);
    activity_->setMutationError(std::nullopt);
    rewrites.setShowCompositionAttachmentSheet(true);
}

void RepoViewModel::beginWorkspaceRouting(const StringSet& changeIDs, const std::string& bookmark,
                                          const std::string& after) {
    auto& rewrites = *rewrites_;
    rewrites.setRoutingSeedChangeIDs(changeIDs);
    rewrites.setRoutingSeedBookmark(bookmark);
    rewrites.setRoutingSeedAfter(after);
    rewrites.setFeatureInsertionPlan(std::nullopt);
    rewrites.setFeatureInsertionReceipt(std::nullopt);
    rewrites.setFeatureAppendPlan(std::nullopt);
    rewrites.setFeatureAppendRecord(std::nullopt);
    rewrites.setCoordinatedRoutingPlan(std::nullopt);
    rewrites.setCoordinatedRoutingRecord(std::nullopt);
    activity_->setMutationError(std::nullopt);
    rewrites.setShowFeatureInsertionSheet(true);
}

void RepoViewModel::inspectCoordinatedRouting(
    const CoordinatedRecord& record,
    std::function<void(const Outcome<CoordinatedRoutingInspection>&)> done) {
    readFromSession(
        *work_, repoSession_, WorkKind::operationLog, false,
        [record](const RepoSession& session) { return session.inspectCoordinatedRouting(record); },
        std::move(done));
}

void RepoViewModel::planCoordinatedRecovery(
    const CoordinatedRecord& source,
    std::function<void(const Outcome<CoordinatedRoutingRecoveryPlan>&)> done) {
    readFromSession(
        *work_, repoSession_, WorkKind::operationLog, false,
        [source](const RepoSession& session) { return session.planCoordinatedRecovery(source); },
        std::move(done));
}

void RepoViewModel::executeApprovedCoordinatedRecovery(const CoordinatedRoutingRecoveryPlan& plan,
                                                       const CoordinatedRecord& source) {
    send(RepoCommand::ExecuteCoordinatedRecovery{plan, source});
}

void RepoViewModel::splitCommitByHunks(const std::string& changeID,
                                       const DiffEditorProtocol::HunkSelection& selection,
                                       bool ignoreImmutable) {
    if (const auto helper = requireDiffApplyHelper()) {
        send(RepoCommand::SplitCommitByHunks{changeID, selection, *helper, ignoreImmutable});
    }
}

std::optional<std::string> RepoViewModel::requireDiffApplyHelper() {
    auto helper = diffApplyHelperPath();
    if (!helper) {
        activity_->setMutationError("VordaDiffApply helper binary not found. Try rebuilding.");
    }
    return helper;
}

namespace {

// Everything the operation log shows, read in one background step. Each read
// that fails leaves a line and the next one still runs.
struct OperationLogReads {
    std::optional<CoordinatedRecoveryRecords> coordinatedRecoveryRecords;
    std::optional<CoordinatedRoutingRecords> coordinatedRoutingRecords;
    std::optional<AttachmentRecords> attachmentRecords;
    std::optional<OpList> ops;
    std::optional<UpdateRecords> updateRecords;
    std::optional<RoutingRecords> routingRecords;
    std::optional<AppendRecords> appendRecords;
    std::optional<RecoveryRecords> recoveryRecords;
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
    reads.coordinatedRecoveryRecords =
        journalRecords([&] { return session.loadCoordinatedRecoveryReceipts(); },
                       "Could not load coordinated recovery receipts: ", reads.warnings);
    reads.coordinatedRoutingRecords =
        journalRecords([&] { return session.loadCoordinatedRoutingReceipts(); },
                       "Could not load coordinated routing receipts: ", reads.warnings);
    reads.attachmentRecords =
        journalRecords([&] { return session.loadAttachmentReceipts(); },
                       "Could not load attachment receipts: ", reads.warnings);
    reads.ops = readLogged([&] { return session.loadRecentOps(30); },
                           "Could not load operations: ", reads.warnings);
    reads.updateRecords = journalRecords([&] { return session.loadUpdateReceipts(); },
                                         "Could not load update receipts: ", reads.warnings);
    reads.routingRecords = journalRecords([&] { return session.loadRoutingReceipts(); },
                                          "Could not load routing receipts: ", reads.warnings);
    reads.appendRecords = journalRecords([&] { return session.loadAppendReceipts(); },
                                         "Could not load append receipts: ", reads.warnings);
    reads.recoveryRecords = journalRecords([&] { return session.loadRecoveryReceipts(); },
                                           "Could not load recovery receipts: ", reads.warnings);
    return reads;
}

}  // namespace

void RepoViewModel::loadRecentOps() {
    if (!repoSession_) {
        return;
    }
    auto& log = *operationLog_;
    log.setIsLoading(true);
    log.setWarnings({});
    log.setUpdateRecords({});
    log.setRoutingRecords({});
    log.setAppendRecords({});
    log.setRecoveryRecords({});
    log.setAttachmentRecords({});
    log.setCoordinatedRoutingRecords({});
    log.setCoordinatedRecoveryRecords({});
    work_->runNewest(
        WorkKind::operationLog, [session = repoSession_] { return readOperationLog(*session); },
        [&log](const Outcome<OperationLogReads>& outcome) {
            if (outcome.value) {
                const auto& reads = *outcome.value;
                if (reads.ops) {
                    log.setRecentOps(*reads.ops);
                }
                log.setUpdateRecords(reads.updateRecords.value_or(UpdateRecords{}));
                log.setRoutingRecords(reads.routingRecords.value_or(RoutingRecords{}));
                log.setAppendRecords(reads.appendRecords.value_or(AppendRecords{}));
                log.setRecoveryRecords(reads.recoveryRecords.value_or(RecoveryRecords{}));
                log.setAttachmentRecords(reads.attachmentRecords.value_or(AttachmentRecords{}));
                log.setCoordinatedRoutingRecords(
                    reads.coordinatedRoutingRecords.value_or(CoordinatedRoutingRecords{}));
                log.setCoordinatedRecoveryRecords(
                    reads.coordinatedRecoveryRecords.value_or(CoordinatedRecoveryRecords{}));
                log.setWarnings(reads.warnings);
            } else {
                log.setWarnings({"Could not load operations: " + outcome.error});
            }
            log.setIsLoading(false);
        });
}

// MARK: Pull requests

void RepoViewModel::refreshPRStatuses(bool force, const StringSet& forceBranches) {
    const auto& snapshot = board_->snapshot();
    if (!repoSession_ || !snapshot) {
        return;
    }
    StringSet names = board_->allWorkspaceIncludedBookmarkNames();
    for (const auto& [name, settings] : board_->settingsByName()) {
        if (settings.pinned || settings.columnVisible) {
            names.insert(name);
        }
    }
    names.insert(forceBranches.begin(), forceBranches.end());
    auto cached = [post = work_->poster(), board = board_](const PullRequestsByBookmark& prs) {
        post([board, prs] { board->setPrStatuses(prs); });
    };
    work_->runNewest(
        WorkKind::pullRequests,
        [session = repoSession_, snapshot, force, forceBranches, names, cached] {
            return session->refreshPullRequestStatuses(snapshot->repoState, force, forceBranches,
                                                       names, cached);
        },
        [this](const Outcome<PullRequestsByBookmark>& outcome) {
            if (outcome.value) {
                board_->setPrStatuses(*outcome.value);
            }
        });
}

}  // namespace vorda
