#include <algorithm>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "jjkit/client/JJClient.h"
#include "jjkit/rewrites/FeatureInsertionPlan.h"
#include "jjkit/rewrites/OperationJournal.h"
#include "jjkit/rewrites/PlannedFlow.h"
#include "jjkit/templates/RevsetQuoting.h"

namespace vorda {
namespace {

constexpr std::string_view planningReason = "planFeatureInsertion/snapshot";
constexpr std::string_view executionSnapshotReason = "executeFeatureInsertion/snapshot";
constexpr std::string_view rebaseReason = "executeFeatureInsertion/rebase";

constexpr std::string_view partialIdentities = "Select full native change identities for routing.";
constexpr std::string_view unresolvedSelection =
    "A selected change is hidden, missing, or divergent.";
constexpr std::string_view ambiguousEnds =
    "The destination and feature bookmark must each resolve uniquely.";
constexpr std::string_view unresolvedRepair =
    "A repair composition is hidden, missing, or divergent.";
constexpr std::string_view movedWhilePlanning =
    "Repository changed during routing preview. Replan before proceeding.";

[[noreturn]] void refuse(std::string_view message) {
    throw JJError::unsafeOperation(std::string(message));
}

/// Reads the routing back at the resulting operation: every affected change
/// once, on the parents the plan stated, with its bookmarks; the feature
/// bookmark on its tip; the workspaces on their changes.
VerificationFindings verifyRouting(const FeatureInsertionPlan& plan,
                                   const flow::PinnedRepository& after) {
    VerificationFindings findings;
    const auto changes = flow::ResolvedChanges::read(after, plan.affected);
    findings.conflicts = changes.conflictedChangeIDs();

    findings.warnings = flow::expectedGraphWarnings(
        changes, plan.affected, plan.expectedParents,
        flow::featureInsertionWords.missingChangePrefix,
        [](const std::string& bookmark, const JJCommit& commit) {
            return "Bookmark " + bookmark + " no longer uniquely follows " + commit.shortChangeID();
        });

    const auto feature = after.log(bookmarkSetRevset(plan.bookmarkName));
    if (feature.size() != 1 || feature.front().changeID != plan.featureTip.changeID) {
        findings.warnings.emplace_back(
            "The feature bookmark no longer uniquely follows its original tip.");
    }

    auto workspaces = flow::workspaceIdentityWarnings(plan.affectedWorkspaces, after.workspaces());
    findings.warnings.insert(findings.warnings.end(), workspaces.begin(), workspaces.end());
    return findings;
}

}  // namespace

FeatureInsertionPlan JJClient::planFeatureRouting(
    const std::vector<std::string>& changeIDs, const std::optional<std::string>& afterChangeID,
    const std::string& intoBookmark, const std::vector<std::string>& repairCompositionChangeIDs,
    const std::stop_token& stop) const {
    flow::checkCancelled(stop);
    const auto selection = flow::normalised(changeIDs);
    const auto repairs = flow::normalised(repairCompositionChangeIDs);
    if (selection.empty() ||
        !std::all_of(selection.begin(), selection.end(), flow::isFullChangeID) ||
        (afterChangeID && !flow::isFullChangeID(*afterChangeID)) ||
        !std::all_of(repairs.begin(), repairs.end(), flow::isFullChangeID)) {
        refuse(partialIdentities);
    }

    const auto repository = flow::planningSnapshot(*this, planningReason);

    const auto selected =
        flow::oneRowEach(selection, repository.log(flow::visibleChanges(selection, true)));
    if (!selected) {
        refuse(unresolvedSelection);
    }

    const auto feature = repository.log(flow::visibleUnion({bookmarkSetRevset(intoBookmark)}));
    const auto destination =
        afterChangeID
            ? repository.log(flow::changeIDTerm(*afterChangeID, true) + " & ::visible_heads()")
            : feature;
    if (feature.size() != 1 || destination.size() != 1) {
        refuse(ambiguousEnds);
    }

    std::vector<JJCommit> repairCommits;
    if (!repairs.empty()) {
        auto resolved =
            flow::oneRowEach(repairs, repository.log(flow::visibleChanges(repairs, true)));
        if (!resolved) {
            refuse(unresolvedRepair);
        }
        repairCommits = std::move(*resolved);
    }
    std::vector<std::string> repairCommitIDs;
    repairCommitIDs.reserve(repairCommits.size());
    for (const auto& commit : repairCommits) {
        repairCommitIDs.push_back(commit.commitID);
    }

    const std::string selectedTerms = flow::commitUnion(*selected);
    const std::string destinationTerm = commitIDRevset(destination.front().commitID);
    const std::string tipTerm = commitIDRevset(feature.front().commitID);
    const std::string repairTerms =
        repairCommits.empty() ? "" : " | (" + flow::commitUnion(repairCommits) + ")::";
    const std::string affectedRevset = "((" + selectedTerms + "):: | " + destinationTerm +
                                       "::" + repairTerms + ") ~ " + destinationTerm;

    const auto affected = repository.log(affectedRevset);
    const auto featurePath = repository.log(destinationTerm + "::" + tipTerm);
    const auto mutableFeatureAncestry = repository.log("mutable() & ::" + tipTerm);
    const auto siblings =
        repository.log(destinationTerm + ":: ~ (::" + tipTerm + " | " + tipTerm + "::)");
    const auto divergent = repository.log("(" + affectedRevset + ") & divergent()");
    const auto workspaces = repository.workspaces();

    auto identity = flow::planIdentity(*this);
    auto plan = FeatureInsertionPlan::build(
        std::move(identity.repositoryID), std::move(identity.workspaceRoot),
        repository.operationID(), intoBookmark, destination.front(), feature.front(), *selected,
        featurePath, mutableFeatureAncestry, affected, siblings, divergent, workspaces,
        !afterChangeID.has_value(), repairCommitIDs);

    flow::requireUnmoved(repository, movedWhilePlanning);
    return plan;
}

FeatureInsertionPlan JJClient::planFeatureInsertion(const std::vector<std::string>& changeIDs,
                                                    const std::string& afterChangeID,
                                                    const std::string& intoBookmark,
                                                    const std::stop_token& stop) const {
    return planFeatureRouting(changeIDs, afterChangeID, intoBookmark, {}, stop);
}

LocalStackUpdateReceipt JJClient::executeFeatureInsertion(const FeatureInsertionPlan& plan,
                                                          const std::stop_token& stop) const {
    const OperationJournal<FeatureInsertionPlan> journal(repositoryPath());
    return executeFeatureInsertion(
        plan,
        [&journal](const OperationRecord<FeatureInsertionPlan>& record) { journal.save(record); },
        stop);
}

LocalStackUpdateReceipt JJClient::executeFeatureInsertion(
    const FeatureInsertionPlan& plan, const PersistRecord<FeatureInsertionPlan>& persistRecord,
    const std::stop_token& stop) const {
    const auto& words = flow::featureInsertionWords;
    const auto scopeUnchanged = [&] {
        return planFeatureRouting(flow::changeIDsOf(plan.selected), plan.destination.changeID,
                                  plan.bookmarkName, {}, stop) == plan;
    };
    flow::runExecutionChecks(*this,
                             {.words = words,
                              .snapshotReason = executionSnapshotReason,
                              .identity = {plan.repositoryID, plan.workspaceRoot},
                              .operationID = plan.operationID,
                              .scopeUnchanged = scopeUnchanged},
                             stop);

    auto record = flow::startedRecord(plan);
    persistRecord(record);

    auto receipt = flow::runSingleCommand(
        *this,
        {.words = words,
         .operationID = plan.operationID,
         .commandArguments = plan.commandArguments(),
         .commandReason = rebaseReason,
         .affectedWorkspaceNames = flow::workspaceNames(plan.affectedWorkspaces),
         .verify =
             [&plan](const flow::PinnedRepository& after) {
                 return verifyRouting(plan, after);
             }},
        stop);
    return flow::saveFinalRecord(std::move(record), std::move(receipt), persistRecord, words);
}

}  // namespace vorda
