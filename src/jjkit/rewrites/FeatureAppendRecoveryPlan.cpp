#include "jjkit/rewrites/FeatureAppendRecoveryPlan.h"

#include <algorithm>
#include <set>

#include "jjkit/client/JJError.h"
#include "jjkit/rewrites/PlannedFlow.h"
#include "jjkit/templates/RevsetQuoting.h"

namespace vorda {
namespace {

constexpr std::string_view missingTargets = "Recovery targets are missing or divergent.";
constexpr std::string_view notForward = "Recovery would not be a forward bookmark advance.";
constexpr std::string_view unverifiedSource =
    "Recovery requires verified routed topology, the original bookmark target, and no "
    "conflicts. Inspect the partial action first.";
constexpr std::string_view inconsistent =
    "The proposed bookmark advance includes unexpected history or inconsistent receipt "
    "identities. Recovery was not planned.";

[[noreturn]] void refuse(std::string_view message) {
    throw JJError::unsafeOperation(std::string(message));
}

std::set<std::string> changeSet(const std::vector<JJCommit>& commits) {
    std::set<std::string> changes;
    for (const auto& commit : commits) {
        changes.insert(commit.changeID);
    }
    return changes;
}

}  // namespace

std::vector<std::string> FeatureAppendRecoveryPlan::commandArguments() const {
    return flow::bookmarkMoveArguments(target.commitID, bookmarkName);
}

void FeatureAppendRecoveryPlan::requireTargets(const Reads& reads) {
    if (reads.movedTips.size() != 1 || reads.bookmarkCommits.size() != 1) {
        refuse(missingTargets);
    }
}

FeatureAppendRecoveryPlan FeatureAppendRecoveryPlan::build(const Reads& reads, const Scope& scope) {
    requireTargets(reads);
    if (scope.commonBase.size() != 1) {
        refuse(notForward);
    }
    const auto& inspection = reads.inspection;
    if (inspection.recordID != reads.source.id ||
        inspection.topology != FeatureAppendInspection::Topology::routed ||
        inspection.bookmark != FeatureAppendInspection::BookmarkState::original ||
        !inspection.warnings.empty() || !inspection.conflictedChangeIDs.empty()) {
        refuse(unverifiedSource);
    }

    const auto& topology = reads.source.plan.topology;
    const auto& advance = reads.source.plan.bookmarkAdvance;
    const JJCommit& movedTip = reads.movedTips.front();
    const JJCommit& bookmark = reads.bookmarkCommits.front();
    const auto routed = flow::oneRowEach(flow::changeIDsOf(topology.selected), scope.routed);
    const bool addsOnlyRouted =
        scope.addedAncestry.size() == topology.selected.size() &&
        changeSet(scope.addedAncestry) == changeSet(topology.selected) &&
        std::none_of(scope.addedAncestry.begin(), scope.addedAncestry.end(),
                     [](const JJCommit& commit) { return commit.immutable; });
    const bool consistent =
        !topology.selected.empty() && topology.selected.back().changeID == advance.targetChangeID &&
        advance.expectedOldCommitID == topology.featureTip.commitID &&
        advance.expectedOldCommitID == bookmark.commitID &&
        movedTip.changeID == advance.targetChangeID && routed.has_value() && addsOnlyRouted;
    if (!consistent) {
        refuse(inconsistent);
    }

    FeatureAppendRecoveryPlan plan;
    plan.sourceRecordID = reads.source.id;
    plan.operationID = inspection.operationID;
    plan.lastRecordedOperationID = inspection.latestRecordedOperationID;
    plan.bookmarkName = advance.name;
    plan.oldTip = bookmark;
    plan.target = movedTip;
    plan.routedCommits = *routed;
    plan.workspaces = scope.workspaces;
    plan.addedFeatureAncestry = scope.addedAncestry;
    return plan;
}

}  // namespace vorda
