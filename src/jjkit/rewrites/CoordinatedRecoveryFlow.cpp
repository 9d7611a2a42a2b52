#include <algorithm>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "jjkit/client/JJClient.h"
#include "jjkit/repo/JJRepoDetector.h"
#include "jjkit/rewrites/CoordinatedRecoveryPlan.h"
#include "jjkit/rewrites/OperationJournal.h"
#include "jjkit/rewrites/PlannedFlow.h"
#include "jjkit/rewrites/SteppedRecord.h"
#include "jjkit/templates/RevsetQuoting.h"

// Inspection and recovery of a coordinated routing that stopped between its
// stages. Inspection reads the receipt against the repository as it is and
// changes nothing; recovery plans what is left from the revisions there now,
// never from the original plan, and runs it as an action with its own
// receipt, checking before every step that nothing it did not review moved.
namespace vorda {
namespace {

using flow::coordinatedRecoveryWords;
using flow::stopFlow;
using Source = OperationRecord<CoordinatedFeatureRoutingPlan>;
using Plan = CoordinatedRoutingRecoveryPlan;
using Record = OperationRecord<Plan>;

constexpr std::string_view foreignReceipt =
    "Receipt is unsupported or belongs to another repository.";
constexpr std::string_view invalidIdentities = "Receipt contains invalid or duplicate identities.";
constexpr std::string_view movedDuringInspection =
    "Repository changed during inspection. Inspect again for consistent evidence.";
constexpr std::string_view movedDuringPreview =
    "Repository changed during recovery preview. Preview again.";
constexpr std::string_view routedTipMissing = "Routed tip is unavailable.";
constexpr std::string_view appendTipChanged = "Original append tip changed.";
constexpr std::string_view notForward = "Recovery would not be a forward bookmark advance.";

constexpr std::string_view movedPending =
    "Repository or pending files changed during recovery. No continuation was attempted.";
constexpr std::string_view unverified =
    "Recovery state has conflicts or could not be verified. Remaining steps were not attempted.";
constexpr std::string_view reviewedChanged =
    "Reviewed revisions changed before recovery continuation.";
constexpr std::string_view unreviewedConsumers =
    "Recovery gained unreviewed consumers. Remaining steps were not attempted.";
constexpr std::string_view scopeProtected =
    "Recovery scope became protected. Remaining repairs were not attempted.";
constexpr std::string_view compositionGone = "Repair composition is unavailable.";
constexpr std::string_view targetGone = "Routed bookmark target is unavailable.";
constexpr std::string_view bookmarkOnlyMoved =
    "Affected revisions changed during bookmark-only advancement.";
constexpr std::string_view movedSinceCheckpoint =
    "Repository differs from the last recovery checkpoint. Inspect intervening operations.";
constexpr std::string_view advanceStepName = "Recover feature bookmark";

std::string descendantsOf(const std::string& changes) {
    return "(" + changes + ")::";
}

std::vector<std::string> names(const std::vector<JJWorkspace>& workspaces) {
    auto list = flow::workspaceNames(workspaces);
    std::sort(list.begin(), list.end());
    return list;
}

/// The recovery from its first saved record on; whatever stops it becomes
/// the receipt's `commandError`.
class RecoveryRun {
  public:
    RecoveryRun(const JJClient& client, const Plan& plan, const Source& source, Record record,
                const JJClient::PersistRecord<Plan>& persist,
                const std::function<void()>& betweenSteps, const std::stop_token& stop)
        : client_(client),
          plan_(plan),
          source_(source.plan),
          record_(client, std::move(record), persist, plan.operationID),
          betweenSteps_(betweenSteps),
          stop_(stop),
          reviewed_(plan.currentCommits),
          changeIDs_(flow::changeIDsOf(plan.currentCommits)) {
        for (const auto& repair : plan.remainingRepairs) {
            pending_.insert(repair.composition.changeID);
        }
    }

    Record finish() && {
        return std::move(record_).conclude(
            [this] { runSteps(); }, flow::workspaceNames(plan_.workspaces), warnings_, conflicts_,
            coordinatedRecoveryWords, movedSinceCheckpoint);
    }

  private:
    void runSteps() {
        flow::checkCancelled(stop_);
        for (const auto& repair : plan_.remainingRepairs) {
            const auto now = continuation();
            const auto* composition = now.resolved(repair.composition.changeID);
            if (composition == nullptr) {
                stopFlow(compositionGone);
            }
            std::vector<std::string> command{"rebase", "-s", commitIDRevset(composition->commitID)};
            for (const auto& parent : now.translated(repair.finalParentIDs)) {
                command.emplace_back("-d");
                command.push_back(commitIDRevset(parent));
            }
            step("Recover composition " + repair.composition.changeID, command);
            pending_.erase(repair.composition.changeID);
        }
        if (plan_.advanceBookmark) {
            const auto now = continuation();
            const auto* target = now.resolved(plan_.target.changeID);
            if (target == nullptr) {
                stopFlow(targetGone);
            }
            step(std::string(advanceStepName),
                 flow::bookmarkMoveArguments(target->commitID, plan_.bookmarkName));
            advanced_ = true;
            if (plan_.remainingRepairs.empty() &&
                flow::revisionPairs(flow::PinnedRepository(client_, record_.lastCheckpoint())
                                        .log(flow::visibleChanges(changeIDs_))) !=
                    flow::revisionPairs(plan_.currentCommits)) {
                warnings_.emplace_back(bookmarkOnlyMoved);
            }
        }
        continuation();
    }

    /// Runs a step; what it leaves is reviewed by the next continuation
    /// check, which reads it at the step's own operation.
    void step(const std::string& name, const std::vector<std::string>& command) {
        record_.runStep(name, command, "coordinatedRecovery/" + name,
                        coordinatedRecoveryWords.changedWhileSaving, stop_);
        reviewed_.reset();
    }

    /// Before every step and after the last: the hook, a snapshot, the
    /// checkpoint, the stage, the workspaces, the reviewed revisions, no new
    /// consumers and, while repairs remain, no protected history. Returns
    /// where the reviewed commits stand now.
    flow::ResolvedChanges continuation() {
        if (betweenSteps_) {
            betweenSteps_();
        }
        client_.snapshotWorkingCopy("coordinatedRecovery/between-steps-snapshot");
        const std::string checkpoint = record_.lastCheckpoint();
        if (client_.currentOperationID() != checkpoint) {
            stopFlow(movedPending);
        }
        const flow::PinnedRepository at(client_, checkpoint);
        const auto rows = at.log(flow::visibleChanges(changeIDs_));
        auto now = flow::ResolvedChanges::fromRows(rows, plan_.currentCommits);
        verify(at, now);
        if (reviewed_ && flow::revisionPairs(rows) != flow::revisionPairs(*reviewed_)) {
            stopFlow(reviewedChanged);
        }
        reviewed_ = rows;
        const std::set<std::string> reviewedChanges(changeIDs_.begin(), changeIDs_.end());
        const auto above = at.log(descendantsOf(flow::visibleChanges(changeIDs_)));
        if (std::any_of(above.begin(), above.end(), [&](const JJCommit& commit) {
                return !reviewedChanges.contains(commit.changeID);
            })) {
            stopFlow(unreviewedConsumers);
        }
        if (!pending_.empty() &&
            std::any_of(rows.begin(), rows.end(), [](const JJCommit& c) { return c.immutable; })) {
            stopFlow(scopeProtected);
        }
        return now;
    }

    /// The source's expectation for the stage reached so far, and the
    /// workspaces where the reviewed revisions put them.
    void verify(const flow::PinnedRepository& at, const flow::ResolvedChanges& now) {
        auto expected = source_.expectedParents;
        for (const auto& repair : source_.repairs) {
            if (pending_.contains(repair.composition.changeID)) {
                expected[repair.composition.commitID] = repair.routedParentIDs;
            }
        }
        try {
            auto stage =
                client_.verifyCoordinatedRouting(source_, expected, at.operationID(), advanced_);
            warnings_ = std::move(stage.warnings);
            conflicts_ = std::move(stage.conflicts);
            const auto workspaces = at.workspaces();
            for (const auto& workspace : plan_.workspaces) {
                const auto found =
                    std::find_if(workspaces.begin(), workspaces.end(),
                                 [&](const JJWorkspace& w) { return w.name == workspace.name; });
                if (found != workspaces.end() &&
                    found->commitID != now.translated(workspace.commitID)) {
                    warnings_.push_back("Recovery workspace changed: " + workspace.name);
                }
            }
            if (names(workspaces) != names(plan_.workspaces)) {
                warnings_.emplace_back("Workspace membership changed during recovery");
            }
        } catch (...) {
            warnings_ = {std::string(coordinatedRecoveryWords.verificationPrefix) +
                         flow::describeCurrentException()};
        }
        if (!warnings_.empty() || !conflicts_.empty()) {
            stopFlow(unverified);
        }
    }

    const JJClient& client_;
    const Plan& plan_;
    const CoordinatedFeatureRoutingPlan& source_;
    flow::SteppedRecord<Plan> record_;
    const std::function<void()>& betweenSteps_;
    const std::stop_token& stop_;

    /// The affected commits as the last check saw them; none right after a
    /// step, whose outcome the next check takes as reviewed.
    std::optional<std::vector<JJCommit>> reviewed_;
    std::vector<std::string> changeIDs_;
    /// Compositions whose repair has not run yet.
    std::set<std::string> pending_;
    bool advanced_ = false;
    std::vector<std::string> warnings_;
    std::vector<std::string> conflicts_;
};

/// The receipt's identities go into revsets: anything but full, distinct
/// IDs is refused rather than read.
void requireSoundIdentities(const CoordinatedFeatureRoutingPlan& plan) {
    std::set<std::string> changes;
    std::set<std::string> commits;
    bool sound = flow::isFullChangeID(plan.featureTip.changeID);
    for (const auto& commit : plan.affected) {
        sound = sound && flow::isFullChangeID(commit.changeID) &&
                changes.insert(commit.changeID).second && commits.insert(commit.commitID).second;
    }
    for (const auto& commit : plan.selected) {
        sound = sound && flow::isFullChangeID(commit.changeID);
    }
    for (const auto& id : CoordinatedRoutingInspection::externalParentIDs(plan)) {
        sound = sound && flow::isFullCommitID(id);
    }
    if (!sound) {
        throw JJError::unsafeOperation(std::string(invalidIdentities));
    }
}

}  // namespace

CoordinatedRoutingInspection JJClient::inspectCoordinatedRouting(
    const Source& record, const std::stop_token& stop) const {
    flow::checkCancelled(stop);
    const auto& plan = record.plan;
    if (record.schemaVersion != Source::currentSchemaVersion ||
        JJRepoDetector::sharedRepositoryPath(repositoryPath()) != plan.repositoryID) {
        throw JJError::unsafeOperation(std::string(foreignReceipt));
    }
    requireSoundIdentities(plan);

    // No snapshot: pending file edits are not part of what is inspected.
    const flow::PinnedRepository at(*this, currentOperationID());
    const auto affected = flow::changeIDsOf(plan.affected);
    const auto visible = affected.empty()
                             ? std::vector<JJCommit>{}
                             : at.log(flow::visibleChanges(affected, /*present=*/true));
    const auto feature = at.log(flow::visibleChanges({plan.featureTip.changeID}, true));
    const auto bookmark = at.log(bookmarkSetRevset(plan.bookmarkName));
    const auto external = CoordinatedRoutingInspection::externalParentIDs(plan);
    const auto pins =
        external.empty() ? std::vector<JJCommit>{} : at.log(flow::visibleCommits(external, true));
    auto inspection = CoordinatedRoutingInspection::build(record, at.operationID(), visible,
                                                          feature, bookmark, at.workspaces(), pins);
    flow::requireUnmoved(at, movedDuringInspection);
    return inspection;
}

Plan JJClient::planCoordinatedRoutingRecovery(const Source& source,
                                              const std::stop_token& stop) const {
    const auto inspection = inspectCoordinatedRouting(source, stop);
    const auto& routing = source.plan;
    const flow::PinnedRepository at(*this, inspection.operationID);
    const auto affected = flow::visibleChanges(flow::changeIDsOf(routing.affected), true);
    const auto current = at.log(affected);
    const auto descendants = at.log(descendantsOf(affected));
    const auto bookmark = at.log(bookmarkSetRevset(routing.bookmarkName));
    if (bookmark.size() != 1) {
        throw JJError::unsafeOperation(std::string(Plan::bookmarkNotOne));
    }

    std::vector<JJCommit> ancestry;
    if (routing.appending) {
        const auto& tipChange =
            routing.selected.empty() ? std::string() : routing.selected.back().changeID;
        const auto routed = std::find_if(current.begin(), current.end(), [&](const JJCommit& c) {
            return c.changeID == tipChange;
        });
        if (routed == current.end() ||
            std::count_if(current.begin(), current.end(),
                          [&](const JJCommit& c) { return c.changeID == tipChange; }) != 1) {
            throw JJError::unsafeOperation(std::string(routedTipMissing));
        }
        const auto tip = at.log(flow::visibleChanges({routing.featureTip.changeID}, true));
        if (tip.size() != 1 || tip.front().commitID != routing.featureTip.commitID) {
            throw JJError::unsafeOperation(std::string(appendTipChanged));
        }
        const std::string oldTip = commitIDRevset(routing.featureTip.commitID);
        const std::string routedTip = commitIDRevset(routed->commitID);
        if (at.log(oldTip + " & ::" + routedTip).size() != 1) {
            throw JJError::unsafeOperation(std::string(notForward));
        }
        ancestry = at.log(oldTip + ".." + routedTip);
    }

    const auto identity = flow::planIdentity(*this);
    auto plan = Plan::build(source, inspection, identity.workspaceRoot, current, bookmark,
                            at.workspaces(), descendants, ancestry);
    plan.repositoryID = identity.repositoryID;
    flow::checkCancelled(stop);
    flow::requireUnmoved(at, movedDuringPreview);
    return plan;
}

Record JJClient::executeCoordinatedRoutingRecovery(const Plan& plan, const Source& source,
                                                   const std::stop_token& stop) const {
    const OperationJournal<Plan> journal(repositoryPath());
    return executeCoordinatedRoutingRecovery(
        plan, source, [&journal](const Record& record) { journal.save(record); }, {}, stop);
}

Record JJClient::executeCoordinatedRoutingRecovery(const Plan& plan, const Source& source,
                                                   const PersistRecord<Plan>& persistRecord,
                                                   const std::function<void()>& betweenSteps,
                                                   const std::stop_token& stop) const {
    flow::checkCancelled(stop);
    if (plan.sourceRecordID != source.id) {
        throw JJError::unsafeOperation(std::string(coordinatedRecoveryWords.foreignPlan));
    }
    flow::runExecutionChecks(*this,
                             {.words = coordinatedRecoveryWords,
                              .snapshotReason = "coordinatedRecovery/snapshot",
                              .identity = {plan.repositoryID, plan.workspaceRoot},
                              .operationID = plan.operationID,
                              .scopeUnchanged =
                                  [&] {
                                      return planCoordinatedRoutingRecovery(source, stop) == plan;
                                  }},
                             stop);

    auto record = flow::startedRecord(plan);
    persistRecord(record);
    return RecoveryRun(*this, plan, source, std::move(record), persistRecord, betweenSteps, stop)
        .finish();
}

}  // namespace vorda
