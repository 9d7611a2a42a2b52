#include <set>
#include <string>
#include <utility>
#include <vector>

#include "jjkit/client/JJClient.h"
#include "jjkit/rewrites/CoordinatedRoutingPlan.h"
#include "jjkit/rewrites/OperationJournal.h"
#include "jjkit/rewrites/PlannedFlow.h"
#include "jjkit/rewrites/SteppedRecord.h"
#include "jjkit/templates/RevsetQuoting.h"

// Coordinated routing: the selection is routed, each named composition is
// rebased onto its parents plus the feature's head, and when appending the
// bookmark advances last. Between two commands the working copy is folded
// in, the checkpoint compared, the whole stage verified and the affected
// history checked for protection: a stop leaves a complete, recorded stage.
namespace vorda {
namespace {

using flow::coordinatedRoutingWords;
using flow::stopFlow;
using Plan = CoordinatedFeatureRoutingPlan;
using Record = OperationRecord<Plan>;

constexpr std::string_view emptyRepairs =
    "Choose explicit repair compositions; use ordinary routing when no repair is needed.";
constexpr std::string_view routeStepName = "Route selected work";
constexpr std::string_view advanceStepName = "Advance feature bookmark";
constexpr std::string_view gateClosed =
    "Coordinated state has conflicts or could not be verified. Remaining repairs/bookmark "
    "advancement were not attempted.";
constexpr std::string_view compositionGone =
    "Repair composition is unavailable. Inspect the partial action.";
constexpr std::string_view routedTipGone = "Routed tip is unavailable. Bookmark was not advanced.";
constexpr std::string_view movedBetweenSteps =
    "Repository or working files changed between steps. Inspect the partial action; no "
    "continuation was attempted.";
constexpr std::string_view becameProtected =
    "Affected history became protected between steps. Inspect the partial action.";
constexpr std::string_view movedSinceCheckpoint =
    "Repository differs from the last completed checkpoint. Inspect intervening operations.";

std::string translated(const std::map<std::string, std::string>& ids, const std::string& id) {
    const auto found = ids.find(id);
    return found == ids.end() ? id : found->second;
}

/// The chain from the first saved record on. Whatever stops it becomes the
/// receipt's `commandError`; the record is always finished.
class CoordinatedRun {
  public:
    CoordinatedRun(const JJClient& client, const Plan& plan, Record record,
                   const JJClient::PersistRecord<Plan>& persist,
                   const std::function<void()>& betweenSteps, const std::stop_token& stop)
        : client_(client),
          plan_(plan),
          record_(client, std::move(record), persist, plan.operationID),
          betweenSteps_(betweenSteps),
          stop_(stop),
          expected_(plan.stage(0)) {}

    Record finish() && {
        return std::move(record_).conclude(
            [this] { runSteps(); }, flow::workspaceNames(plan_.affectedWorkspaces),
            findings_.warnings, findings_.conflicts, coordinatedRoutingWords, movedSinceCheckpoint);
    }

  private:
    void runSteps() {
        flow::checkCancelled(stop_);
        gate(verify(step(routeStepName, plan_.routeArguments()), /*bookmarkAdvanced=*/false));

        for (const auto& repair : plan_.repairs) {
            const auto ids = prepareNextStep();
            const auto composition = ids.find(repair.composition.commitID);
            if (composition == ids.end()) {
                stopFlow(compositionGone);
            }
            std::vector<std::string> command{"rebase", "-s", commitIDRevset(composition->second)};
            for (const auto& parent : repair.finalParentIDs) {
                command.emplace_back("-d");
                command.push_back(commitIDRevset(translated(ids, parent)));
            }
            const std::string after =
                step("Repair composition " + repair.composition.changeID, command);
            expected_[repair.composition.commitID] = repair.finalParentIDs;
            gate(verify(after, /*bookmarkAdvanced=*/false));
        }

        if (plan_.appending) {
            const auto ids = prepareNextStep();
            const auto tip = ids.find(plan_.headID());
            if (tip == ids.end()) {
                stopFlow(routedTipGone);
            }
            const std::string after =
                step(advanceStepName, flow::bookmarkMoveArguments(tip->second, plan_.bookmarkName));
            findings_ = verify(after, /*bookmarkAdvanced=*/true);
        }
    }

    std::string step(std::string_view name, const std::vector<std::string>& command) {
        const std::string stepName(name);
        return record_.runStep(stepName, command, "coordinated/" + stepName,
                               std::string(coordinatedRoutingWords.changedWhileSaving) + stepName +
                                   ". Inspect the partial action.",
                               stop_);
    }

    /// Between two commands: the hook, a snapshot, the checkpoint, the
    /// stage, and no protected history. Returns where the planned commits
    /// stand now.
    std::map<std::string, std::string> prepareNextStep() {
        flow::checkCancelled(stop_);
        if (betweenSteps_) {
            betweenSteps_();
        }
        client_.snapshotWorkingCopy("coordinated/between-steps-snapshot");
        const std::string checkpoint = record_.lastCheckpoint();
        if (client_.currentOperationID() != checkpoint) {
            stopFlow(movedBetweenSteps);
        }
        auto verification = verify(checkpoint, /*bookmarkAdvanced=*/false);
        auto ids = verification.ids;
        gate(std::move(verification));
        const flow::PinnedRepository at(client_, checkpoint);
        if (!at.log(flow::visibleChanges(flow::changeIDsOf(plan_.affected)) + " & immutable()")
                 .empty()) {
            stopFlow(becameProtected);
        }
        return ids;
    }

    CoordinatedVerification verify(const std::string& operation, bool bookmarkAdvanced) const {
        try {
            return client_.verifyCoordinatedRouting(plan_, expected_, operation, bookmarkAdvanced);
        } catch (...) {
            return {{std::string(coordinatedRoutingWords.verificationPrefix) +
                     flow::describeCurrentException()},
                    {},
                    {}};
        }
    }

    /// Keeps the findings for the receipt; any warning or conflict ends the
    /// chain.
    void gate(CoordinatedVerification verification) {
        findings_ = std::move(verification);
        if (!findings_.warnings.empty() || !findings_.conflicts.empty()) {
            stopFlow(gateClosed);
        }
    }

    const JJClient& client_;
    const Plan& plan_;
    flow::SteppedRecord<Plan> record_;
    const std::function<void()>& betweenSteps_;
    const std::stop_token& stop_;

    ParentGraph expected_;
    CoordinatedVerification findings_;
};

}  // namespace

Plan JJClient::planCoordinatedFeatureRouting(
    const std::vector<std::string>& changeIDs, const std::optional<std::string>& afterChangeID,
    const std::string& intoBookmark, const std::vector<std::string>& repairCompositionChangeIDs,
    const std::stop_token& stop) const {
    flow::checkCancelled(stop);
    if (repairCompositionChangeIDs.empty()) {
        throw JJError::unsafeOperation(std::string(emptyRepairs));
    }
    return Plan::wrap(planFeatureRouting(changeIDs, afterChangeID, intoBookmark,
                                         repairCompositionChangeIDs, stop),
                      !afterChangeID.has_value(), repairCompositionChangeIDs);
}

Record JJClient::executeCoordinatedFeatureRouting(const Plan& plan,
                                                  const std::stop_token& stop) const {
    const OperationJournal<Plan> journal(repositoryPath());
    return executeCoordinatedFeatureRouting(
        plan, [&journal](const Record& record) { journal.save(record); }, {}, stop);
}

Record JJClient::executeCoordinatedFeatureRouting(const Plan& plan,
                                                  const PersistRecord<Plan>& persistRecord,
                                                  const std::function<void()>& betweenSteps,
                                                  const std::stop_token& stop) const {
    if (plan.repairs.empty()) {
        throw JJError::unsafeOperation(std::string(emptyRepairs));
    }
    std::vector<std::string> repairs;
    for (const auto& repair : plan.repairs) {
        repairs.push_back(repair.composition.changeID);
    }
    const auto after =
        plan.appending ? std::nullopt : std::optional<std::string>(plan.destination.changeID);
    flow::runExecutionChecks(*this,
                             {.words = coordinatedRoutingWords,
                              .snapshotReason = "coordinated/snapshot",
                              .identity = {plan.repositoryID, plan.workspaceRoot},
                              .operationID = plan.operationID,
                              .scopeUnchanged =
                                  [&] {
                                      return planCoordinatedFeatureRouting(
                                                 flow::changeIDsOf(plan.selected), after,
                                                 plan.bookmarkName, repairs, stop) == plan;
                                  }},
                             stop);

    auto record = flow::startedRecord(plan);
    persistRecord(record);
    return CoordinatedRun(*this, plan, std::move(record), persistRecord, betweenSteps, stop)
        .finish();
}

CoordinatedVerification JJClient::verifyCoordinatedRouting(const Plan& plan,
                                                           const ParentGraph& expected,
                                                           const std::string& operation,
                                                           bool bookmarkAdvanced) const {
    const flow::PinnedRepository at(*this, operation);
    const auto changes = flow::ResolvedChanges::read(at, plan.affected);
    CoordinatedVerification verification;
    verification.ids = changes.newCommitIDs();
    auto& warnings = verification.warnings;
    warnings = flow::expectedGraphWarnings(
        changes, plan.affected, expected, coordinatedRoutingWords.missingChangePrefix,
        [](const std::string& bookmark, const JJCommit& /*commit*/) {
            return "Bookmark " + bookmark + " no longer uniquely follows its original change";
        },
        "Unexpected ordered parents on ");

    // Parents outside the plan are kept by exact commit ID.
    const auto external = plan.externalParentIDs(expected);
    if (!external.empty()) {
        if (at.log(flow::visibleCommits(external)).size() != external.size()) {
            warnings.emplace_back("An exact retained parent is no longer visible");
        }
    }

    if (plan.appending) {
        const auto tips =
            at.log(flow::changeIDTerm(plan.featureTip.changeID) + " & ::visible_heads()");
        if (tips.size() != 1 || tips.front().commitID != plan.featureTip.commitID) {
            warnings.emplace_back("Original feature tip changed during append");
        }
    }

    const std::string target = bookmarkAdvanced ? changes.translated(plan.headID())
                                                : changes.translated(plan.featureTip.commitID);
    const auto bookmarkRows = at.log(bookmarkSetRevset(plan.bookmarkName));
    if (bookmarkRows.size() != 1 || bookmarkRows.front().commitID != target) {
        warnings.emplace_back("Unexpected feature bookmark target");
    }

    for (auto& warning : flow::workspaceIdentityWarnings(
             plan.affectedWorkspaces, at.workspaces(),
             "Unexpected working-copy identity or revision in ", verification.ids)) {
        warnings.push_back(std::move(warning));
    }
    if (currentOperationID() != operation) {
        warnings.emplace_back(coordinatedRoutingWords.movedDuringVerification);
    }
    verification.conflicts = changes.conflictedChangeIDs();
    return verification;
}

}  // namespace vorda
