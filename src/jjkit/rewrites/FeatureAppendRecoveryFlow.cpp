#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

#include "jjkit/client/JJClient.h"
#include "jjkit/rewrites/FeatureAppendRecoveryPlan.h"
#include "jjkit/rewrites/OperationJournal.h"
#include "jjkit/rewrites/PlannedFlow.h"
#include "jjkit/templates/RevsetQuoting.h"

// Recovery of an interrupted append: the bookmark move it did not get to, and
// nothing else. It is planned from an inspection of the append's receipt at
// one operation and runs as a single command with a receipt of its own.
namespace vorda {
namespace {

using flow::featureAppendRecoveryWords;
using Source = OperationRecord<FeatureAppendPlan>;

constexpr std::string_view invalidSelection =
    "Receipt contains invalid selected change identities.";
constexpr std::string_view movedWhilePlanning =
    "Repository changed during recovery planning. Generate a fresh preview.";
constexpr std::string_view movedBeforeVerification = "Repository changed before verification.";
constexpr std::string_view unverifiedOutcome =
    "The routed topology and advanced bookmark could not be verified.";
constexpr std::string_view wrongTarget =
    "Feature bookmark does not point to the approved exact revision.";
constexpr std::string_view routedChanged =
    "Routed revisions changed during bookmark-only recovery.";
constexpr std::string_view workspacesChanged =
    "Workspace targets changed during recovery; inspect before further actions.";

std::vector<JJWorkspace> byName(std::vector<JJWorkspace> workspaces) {
    std::sort(workspaces.begin(), workspaces.end(),
              [](const JJWorkspace& a, const JJWorkspace& b) { return a.name < b.name; });
    return workspaces;
}

}  // namespace

FeatureAppendRecoveryPlan JJClient::planFeatureAppendRecovery(const Source& source,
                                                              const std::stop_token& stop) const {
    const auto inspection = inspectFeatureAppend(source, stop);
    const auto& topology = source.plan.topology;
    const auto selected = flow::changeIDsOf(topology.selected);
    const auto& targetChangeID = source.plan.bookmarkAdvance.targetChangeID;
    if (!std::all_of(selected.begin(), selected.end(),
                     [](const std::string& id) { return flow::isFullChangeID(id); }) ||
        !flow::isFullChangeID(targetChangeID)) {
        throw JJError::unsafeOperation(std::string(invalidSelection));
    }

    const flow::PinnedRepository at(*this, inspection.operationID);
    const FeatureAppendRecoveryPlan::Reads reads{
        source, inspection,
        at.log(flow::changeIDTerm(targetChangeID, /*present=*/true) + " & ::visible_heads()"),
        at.log(bookmarkSetRevset(source.plan.bookmarkAdvance.name))};
    FeatureAppendRecoveryPlan::requireTargets(reads);
    const std::string oldTip = commitIDRevset(reads.bookmarkCommits.front().commitID);
    const std::string movedTip = commitIDRevset(reads.movedTips.front().commitID);
    const FeatureAppendRecoveryPlan::Scope scope{
        at.log(oldTip + ".." + movedTip), at.log(oldTip + " & ::" + movedTip),
        selected.empty() ? std::vector<JJCommit>{}
                         : at.log(flow::visibleChanges(selected, /*present=*/true)),
        at.workspaces()};

    auto plan = FeatureAppendRecoveryPlan::build(reads, scope);
    const auto identity = flow::planIdentity(*this);
    plan.repositoryID = identity.repositoryID;
    plan.workspaceRoot = identity.workspaceRoot;
    flow::checkCancelled(stop);
    flow::requireUnmoved(at, movedWhilePlanning);
    return plan;
}

OperationRecord<FeatureAppendRecoveryPlan> JJClient::executeFeatureAppendRecovery(
    const FeatureAppendRecoveryPlan& plan, const Source& source,
    const std::stop_token& stop) const {
    const OperationJournal<FeatureAppendRecoveryPlan> journal(repositoryPath());
    return executeFeatureAppendRecovery(
        plan, source,
        [&journal](const OperationRecord<FeatureAppendRecoveryPlan>& record) {
            journal.save(record);
        },
        stop);
}

OperationRecord<FeatureAppendRecoveryPlan> JJClient::executeFeatureAppendRecovery(
    const FeatureAppendRecoveryPlan& plan, const Source& source,
    const PersistRecord<FeatureAppendRecoveryPlan>& persistRecord,
    const std::stop_token& stop) const {
    const auto& words = featureAppendRecoveryWords;
    flow::checkCancelled(stop);
    if (plan.sourceRecordID != source.id) {
        throw JJError::unsafeOperation(std::string(words.foreignPlan));
    }
    flow::runExecutionChecks(*this,
                             {.words = words,
                              .snapshotReason = "appendRecovery/snapshot",
                              .identity = {plan.repositoryID, plan.workspaceRoot},
                              .operationID = plan.operationID,
                              .scopeUnchanged =
                                  [&] {
                                      return planFeatureAppendRecovery(source, stop) == plan;
                                  }},
                             stop);

    auto record = flow::startedRecord(plan);
    persistRecord(record);
    auto receipt = flow::runSingleCommand(*this,
                                          {.words = words,
                                           .operationID = plan.operationID,
                                           .commandArguments = plan.commandArguments(),
                                           .commandReason = "appendRecovery/bookmark",
                                           .affectedWorkspaceNames = {},
                                           .verify =
                                               [&](const flow::PinnedRepository& after) {
                                                   return verifyFeatureAppendRecovery(
                                                       plan, source, after.operationID());
                                               }},
                                          stop);
    record.receipt = flow::saveFinalRecord(record, std::move(receipt), persistRecord, words);
    return record;
}

VerificationFindings JJClient::verifyFeatureAppendRecovery(const FeatureAppendRecoveryPlan& plan,
                                                           const Source& source,
                                                           const std::string& operation) const {
    if (currentOperationID() != operation) {
        throw std::runtime_error(std::string(movedBeforeVerification));
    }
    const auto inspection = inspectFeatureAppend(source);
    VerificationFindings findings{inspection.warnings, inspection.conflictedChangeIDs};
    if (inspection.topology != FeatureAppendInspection::Topology::routed ||
        inspection.bookmark != FeatureAppendInspection::BookmarkState::advanced) {
        findings.warnings.emplace_back(unverifiedOutcome);
    }

    const flow::PinnedRepository at(*this, operation);
    const auto bookmarkRows = at.log(bookmarkSetRevset(plan.bookmarkName));
    if (bookmarkRows.size() != 1 || bookmarkRows.front().commitID != plan.target.commitID) {
        findings.warnings.emplace_back(wrongTarget);
    }
    const auto routed = plan.routedCommits.empty()
                            ? std::vector<JJCommit>{}
                            : at.log(flow::visibleChanges(flow::changeIDsOf(plan.routedCommits)));
    if (flow::revisionPairs(routed) != flow::revisionPairs(plan.routedCommits)) {
        findings.warnings.emplace_back(routedChanged);
    }
    if (byName(at.workspaces()) != byName(plan.workspaces)) {
        findings.warnings.emplace_back(workspacesChanged);
    }
    return findings;
}

}  // namespace vorda
