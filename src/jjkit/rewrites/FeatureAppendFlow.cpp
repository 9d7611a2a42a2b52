#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "jjkit/client/JJClient.h"
#include "jjkit/repo/JJRepoDetector.h"
#include "jjkit/rewrites/FeatureAppendPlan.h"
#include "jjkit/rewrites/FeatureInsertionPlan.h"
#include "jjkit/rewrites/OperationJournal.h"
#include "jjkit/rewrites/PlannedFlow.h"
#include "jjkit/rewrites/SteppedRecord.h"
#include "jjkit/templates/RevsetQuoting.h"

// Feature append: the selected work is routed onto the feature's tip, then the
// feature's bookmark is advanced onto it. Two commands with a checkpoint, a
// verification and a fresh snapshot between them: advancing a bookmark can
// make routed work immutable, so it never happens on an unverified state.
namespace vorda {
namespace {

using flow::changeIDsOf;
using flow::commitIDsOf;
using flow::featureAppendWords;
using Record = OperationRecord<FeatureAppendPlan>;

constexpr std::string_view moveStepName = "Move commits and update descendant edges";
constexpr std::string_view advanceStepName = "Advance feature bookmark";

constexpr std::string_view unverifiedTopology =
    "Append topology could not be verified; bookmark advancement was not attempted.";
constexpr std::string_view conflictedWork =
    "Moved work has conflicts. Bookmark advancement was not attempted; inspect the partial "
    "action before resolving or continuing manually.";
constexpr std::string_view changedAfterMove =
    "Repository or working files changed after moving work. Bookmark advancement was not "
    "attempted.";
constexpr std::string_view missingMovedTip =
    "The moved tip is missing or divergent. Inspect the partial action.";
constexpr std::string_view changedBeforeAdvance =
    "Repository changed before bookmark advancement. Inspect the partial action.";
constexpr std::string_view changedAfterLastStep =
    "Repository changed after the last recorded step; inspect intervening operations.";

constexpr std::string_view foreignReceipt =
    "This receipt is unsupported or belongs to another repository.";
constexpr std::string_view invalidReceiptChanges = "Receipt contains invalid change identities.";
constexpr std::string_view movedDuringInspection =
    "Repository changed during inspection. Inspect again for a consistent result.";

/// The flow from its first saved record on. Nothing leaves it as an
/// exception: whatever stops it becomes the receipt's `commandError`, and the
/// record is always finished with what was read at the end.
class AppendRun {
  public:
    AppendRun(const JJClient& client, const FeatureAppendPlan& plan, Record record,
              const JJClient::PersistRecord<FeatureAppendPlan>& persist,
              const std::function<void()>& betweenSteps, const std::stop_token& stop)
        : client_(client),
          plan_(plan),
          record_(client, std::move(record), persist, plan.topology.operationID),
          betweenSteps_(betweenSteps),
          stop_(stop) {}

    Record finish() && {
        return std::move(record_).conclude(
            [this] { runSteps(); }, flow::workspaceNames(plan_.topology.affectedWorkspaces),
            warnings_, conflicts_, featureAppendWords, changedAfterLastStep);
    }

  private:
    void runSteps() {
        flow::checkCancelled(stop_);

        // Step one: the rebase that moves the selection onto the tip.
        const std::string moved =
            record_.runStep(moveStepName, plan_.topology.commandArguments(), "append/rebase",
                            featureAppendWords.changedWhileSaving, stop_);

        adopt(verify(moved, /*bookmarkAdvanced=*/false));
        if (!warnings_.empty()) {
            flow::stopFlow(unverifiedTopology);
        }
        if (!conflicts_.empty()) {
            flow::stopFlow(conflictedWork);
        }

        if (betweenSteps_) {
            betweenSteps_();
        }
        // Edits made on disk while the first step ran become an operation
        // here, which the comparison below refuses to build on.
        client_.snapshotWorkingCopy("append/between-steps-snapshot");
        const flow::PinnedRepository checkpoint(client_, client_.currentOperationID());
        if (checkpoint.operationID() != moved) {
            flow::stopFlow(changedAfterMove);
        }

        // Step two: the bookmark onto the moved tip, whose commit ID is known
        // only now.
        const auto& advance = plan_.bookmarkAdvance;
        const auto tips =
            checkpoint.log(flow::changeIDTerm(advance.targetChangeID) + " & ::visible_heads()");
        const auto bookmarkRows = checkpoint.log(bookmarkSetRevset(advance.name));
        if (tips.size() != 1) {
            flow::stopFlow(missingMovedTip);
        }
        const std::string current = client_.currentOperationID();
        const auto command =
            plan_.bookmarkCommand(tips.front(), commitIDsOf(bookmarkRows), current, moved);
        record_.declare(advanceStepName, current);
        if (client_.currentOperationID() != current) {
            flow::stopFlow(changedBeforeAdvance);
        }
        flow::checkCancelled(stop_);
        client_.run(command, "append/bookmark");
        const std::string advanced = record_.complete();
        adopt(verify(advanced, /*bookmarkAdvanced=*/true));
    }

    VerificationFindings verify(const std::string& operation, bool bookmarkAdvanced) const {
        try {
            return client_.verifyFeatureAppend(plan_, operation, bookmarkAdvanced);
        } catch (...) {
            return {{std::string(featureAppendWords.verificationPrefix) +
                     flow::describeCurrentException()},
                    {}};
        }
    }

    void adopt(VerificationFindings findings) {
        warnings_ = std::move(findings.warnings);
        conflicts_ = std::move(findings.conflicts);
    }

    const JJClient& client_;
    const FeatureAppendPlan& plan_;
    flow::SteppedRecord<FeatureAppendPlan> record_;
    const std::function<void()>& betweenSteps_;
    const std::stop_token& stop_;

    std::vector<std::string> warnings_;
    std::vector<std::string> conflicts_;
};

}  // namespace

FeatureAppendPlan JJClient::planFeatureAppend(const std::vector<std::string>& changeIDs,
                                              const std::string& intoBookmark,
                                              const std::stop_token& stop) const {
    return FeatureAppendPlan(planFeatureRouting(changeIDs, std::nullopt, intoBookmark, {}, stop));
}

OperationRecord<FeatureAppendPlan> JJClient::executeFeatureAppend(
    const FeatureAppendPlan& plan, const std::stop_token& stop) const {
    const OperationJournal<FeatureAppendPlan> journal(repositoryPath());
    return executeFeatureAppend(
        plan, [&journal](const Record& record) { journal.save(record); }, {}, stop);
}

OperationRecord<FeatureAppendPlan> JJClient::executeFeatureAppend(
    const FeatureAppendPlan& plan, const PersistRecord<FeatureAppendPlan>& persistRecord,
    const std::function<void()>& betweenSteps, const std::stop_token& stop) const {
    const auto& topology = plan.topology;
    flow::runExecutionChecks(*this,
                             flow::ExecutionChecks{
                                 .words = featureAppendWords,
                                 .snapshotReason = "append/snapshot",
                                 .identity = {topology.repositoryID, topology.workspaceRoot},
                                 .operationID = topology.operationID,
                                 .scopeUnchanged =
                                     [&] {
                                         return FeatureAppendPlan(planFeatureRouting(
                                                    changeIDsOf(topology.selected), std::nullopt,
                                                    topology.bookmarkName, {}, stop)) == plan;
                                     },
                             },
                             stop);

    auto record = flow::startedRecord(plan);
    persistRecord(record);  // without a receipt before, nothing runs
    return AppendRun(*this, plan, std::move(record), persistRecord, betweenSteps, stop).finish();
}

VerificationFindings JJClient::verifyFeatureAppend(const FeatureAppendPlan& plan,
                                                   const std::string& operation,
                                                   bool bookmarkAdvanced) const {
    const flow::PinnedRepository at(*this, operation);
    const auto& topology = plan.topology;
    const auto changes = flow::ResolvedChanges::read(at, topology.affected);

    VerificationFindings findings;
    findings.warnings = flow::expectedGraphWarnings(
        changes, topology.affected, topology.expectedParents,
        featureAppendWords.missingChangePrefix,
        [](const std::string& bookmark, const JJCommit& /*commit*/) {
            return "Bookmark " + bookmark + " no longer follows its change";
        });

    // An append never rewrites the tip it builds on.
    const auto tips =
        at.log(flow::changeIDTerm(topology.featureTip.changeID) + " & ::visible_heads()");
    if (tips.size() != 1 || tips.front().commitID != topology.featureTip.commitID) {
        findings.warnings.emplace_back("Original feature tip was rewritten or hidden");
    }

    std::optional<std::string> expectedTarget = topology.featureTip.commitID;
    if (bookmarkAdvanced) {
        const auto* movedTip = changes.resolved(plan.bookmarkAdvance.targetChangeID);
        expectedTarget =
            movedTip == nullptr ? std::nullopt : std::optional<std::string>(movedTip->commitID);
    }
    const auto bookmarkRows = at.log(bookmarkSetRevset(plan.bookmarkAdvance.name));
    if (bookmarkRows.size() != 1 || !expectedTarget ||
        bookmarkRows.front().commitID != *expectedTarget) {
        findings.warnings.emplace_back("Unexpected feature bookmark target");
    }

    for (auto& warning :
         flow::workspaceIdentityWarnings(topology.affectedWorkspaces, at.workspaces())) {
        findings.warnings.push_back(std::move(warning));
    }
    if (currentOperationID() != operation) {
        findings.warnings.emplace_back(featureAppendWords.movedDuringVerification);
    }
    findings.conflicts = changes.conflictedChangeIDs();
    return findings;
}

FeatureAppendInspection JJClient::inspectFeatureAppend(
    const OperationRecord<FeatureAppendPlan>& record, const std::stop_token& stop) const {
    flow::checkCancelled(stop);
    const auto& plan = record.plan;
    const auto& topology = plan.topology;
    if (record.schemaVersion != Record::currentSchemaVersion ||
        JJRepoDetector::sharedRepositoryPath(repositoryPath()) != topology.repositoryID) {
        throw JJError::unsafeOperation(std::string(foreignReceipt));
    }
    // The IDs go into revsets: anything but a full change ID is refused
    // rather than read.
    const auto affectedChanges = changeIDsOf(topology.affected);
    for (const auto& changeID : affectedChanges) {
        if (!flow::isFullChangeID(changeID)) {
            throw JJError::unsafeOperation(std::string(invalidReceiptChanges));
        }
    }
    if (!flow::isFullChangeID(topology.featureTip.changeID)) {
        throw JJError::unsafeOperation(std::string(invalidReceiptChanges));
    }

    // No snapshot: pending file edits are not part of what is inspected.
    const flow::PinnedRepository at(*this, currentOperationID());
    const auto visible = affectedChanges.empty()
                             ? std::vector<JJCommit>{}
                             : at.log(flow::visibleChanges(affectedChanges, /*present=*/true));
    const auto originalTip =
        at.log(flow::visibleChanges({topology.featureTip.changeID}, /*present=*/true));
    const auto bookmarkRows = at.log(bookmarkSetRevset(plan.bookmarkAdvance.name));
    const auto workspaces = at.workspaces();

    auto inspection = FeatureAppendInspection::build(record, at.operationID(), visible,
                                                     bookmarkRows, originalTip, workspaces);
    flow::checkCancelled(stop);
    flow::requireUnmoved(at, movedDuringInspection);
    return inspection;
}

}  // namespace vorda
