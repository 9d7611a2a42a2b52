#include "jjkit/rewrites/CoordinatedRecoveryPlan.h"

#include <algorithm>
#include <set>

#include "jjkit/client/JJError.h"
#include "jjkit/rewrites/PlannedFlow.h"

namespace vorda {
namespace {

using Inspection = CoordinatedRoutingInspection;
using Source = OperationRecord<CoordinatedFeatureRoutingPlan>;

constexpr std::string_view noStage =
    "Current topology matches no complete recorded stage. Inspect all affected changes.";
constexpr std::string_view unexpectedBookmark = "Unexpected feature bookmark target";

constexpr std::string_view notOneStage =
    "Recovery requires one verified routed stage with no conflicts or inspection warnings. "
    "Original or ambiguous topology is not recoverable here.";
constexpr std::string_view changeMissing = "An affected change is missing or divergent.";
constexpr std::string_view gainedConsumers =
    "Affected history gained consumers since routing. Review the expanded scope manually; "
    "recovery will not rewrite unreviewed descendants.";
constexpr std::string_view targetMissing = "The routed feature target is unavailable.";
constexpr std::string_view unexpectedEdges =
    "A remaining repair would replace unexpected edges. Inspect before planning recovery.";
constexpr std::string_view inconsistentRepairs = "Receipt contains inconsistent repair identities.";
constexpr std::string_view insertionBookmarkMoved =
    "Insertion bookmark no longer follows its feature tip.";
constexpr std::string_view bookmarkMovedElsewhere =
    "Feature bookmark moved to an unexpected revision.";
constexpr std::string_view unexpectedAncestry =
    "Bookmark advancement includes unexpected ancestry, or the bookmark advanced before repairs "
    "finished.";
constexpr std::string_view protectedHistory =
    "Recovery would involve protected affected history. No rewrite was planned.";
constexpr std::string_view alreadyComplete =
    "No remaining repairs or bookmark advancement; this action is already complete.";

[[noreturn]] void refuse(std::string_view message) {
    throw JJError::unsafeOperation(std::string(message));
}

/// True when every affected change has one row standing on its `stage`
/// entry, translated.
bool matches(const ParentGraph& stage, const std::vector<JJCommit>& affected,
             const flow::ResolvedChanges& changes) {
    return std::all_of(affected.begin(), affected.end(), [&](const JJCommit& commit) {
        const auto* now = changes.resolved(commit.changeID);
        const auto entry = stage.find(commit.commitID);
        return now != nullptr && entry != stage.end() &&
               now->parents == changes.translated(entry->second);
    });
}

std::vector<std::string> stagesMatched(const CoordinatedFeatureRoutingPlan& plan,
                                       const flow::ResolvedChanges& changes) {
    std::vector<std::string> labels;
    if (matches(plan.originalStage(), plan.affected, changes)) {
        labels.emplace_back(Inspection::originalStage);
    }
    if (matches(plan.stage(0), plan.affected, changes)) {
        labels.emplace_back(Inspection::routedStage);
    }
    const auto count = plan.repairs.size();
    for (std::size_t repaired = 1; repaired <= count; ++repaired) {
        if (matches(plan.stage(repaired), plan.affected, changes)) {
            labels.push_back("Routed; " + std::to_string(repaired) + " of " +
                             std::to_string(count) + " attachment repairs");
            break;
        }
    }
    return labels;
}

std::string bookmarkStanding(const CoordinatedFeatureRoutingPlan& plan,
                             const flow::ResolvedChanges& changes,
                             const std::vector<JJCommit>& feature,
                             const std::vector<JJCommit>& bookmark) {
    if (bookmark.size() == 1) {
        const auto& at = bookmark.front().commitID;
        if (at == plan.featureTip.commitID) {
            return "At the original feature revision";
        }
        const auto* routedTip =
            plan.selected.empty() ? nullptr : changes.resolved(plan.selected.back().changeID);
        if (plan.appending && routedTip != nullptr && at == routedTip->commitID) {
            return "At the uniquely visible routed tip";
        }
        if (!plan.appending && feature.size() == 1 && at == feature.front().commitID) {
            return "Follows the uniquely visible feature tip change";
        }
    }
    return std::string(Inspection::unexpectedBookmarkState);
}

}  // namespace

Inspection Inspection::build(const Source& record, const std::string& operation,
                             const std::vector<JJCommit>& visible,
                             const std::vector<JJCommit>& feature,
                             const std::vector<JJCommit>& bookmark,
                             const std::vector<JJWorkspace>& workspaces,
                             const std::vector<JJCommit>& visiblePins) {
    const auto& plan = record.plan;
    const auto changes = flow::ResolvedChanges::fromRows(visible, plan.affected);
    Inspection inspection;
    inspection.recordID = record.id;
    inspection.operationID = operation;
    auto& warnings = inspection.warnings;
    for (const auto& commit : plan.affected) {
        if (changes.resolved(commit.changeID) == nullptr) {
            warnings.push_back("Missing or divergent change " + commit.shortChangeID());
        }
    }

    inspection.matchingStages = stagesMatched(plan, changes);
    if (inspection.matchingStages.empty()) {
        warnings.emplace_back(noStage);
    }
    for (const auto& repair : plan.repairs) {
        const auto* now = changes.resolved(repair.composition.changeID);
        inspection.repairs.push_back(
            {repair.composition.changeID,
             now != nullptr && now->parents == changes.translated(repair.routedParentIDs),
             now != nullptr && now->parents == changes.translated(repair.finalParentIDs)});
    }

    for (const auto& commit : plan.affected) {
        const auto* now = changes.resolved(commit.changeID);
        for (const auto& ref : commit.localBookmarks) {
            if (now == nullptr || !flow::carriesOwnLocalBookmark(*now, ref.name)) {
                warnings.push_back("Bookmark " + ref.name + " no longer uniquely follows " +
                                   commit.shortChangeID());
            }
        }
    }
    if (plan.appending &&
        (feature.size() != 1 || feature.front().commitID != plan.featureTip.commitID)) {
        warnings.emplace_back("Original append feature tip is hidden, divergent, or rewritten");
    }
    inspection.bookmarkState = bookmarkStanding(plan, changes, feature, bookmark);
    if (inspection.bookmarkState == Inspection::unexpectedBookmarkState) {
        warnings.emplace_back(unexpectedBookmark);
    }
    for (auto& warning : flow::workspaceIdentityWarnings(
             plan.affectedWorkspaces, workspaces, "Working-copy identity or revision changed in ",
             changes.newCommitIDs())) {
        warnings.push_back(std::move(warning));
    }

    std::set<std::string> pinned;
    for (const auto& pin : visiblePins) {
        pinned.insert(pin.commitID);
    }
    const auto external = externalParentIDs(plan);
    if (!std::includes(pinned.begin(), pinned.end(), external.begin(), external.end())) {
        warnings.emplace_back("An exact external parent pin is no longer visible");
    }

    inspection.conflictedChangeIDs = changes.conflictedChangeIDs();
    inspection.latestRecordedOperationID = flow::latestRecordedOperation(record, plan.operationID);
    return inspection;
}

std::set<std::string> Inspection::externalParentIDs(const CoordinatedFeatureRoutingPlan& plan) {
    auto external = plan.externalParentIDs(plan.originalStage());
    for (std::size_t repaired = 0; repaired <= plan.repairs.size(); ++repaired) {
        external.merge(plan.externalParentIDs(plan.stage(repaired)));
    }
    return external;
}

std::string_view Inspection::guidance() {
    return "Inspect the current state and intervening operations before any recovery. Do not "
           "replay the original routing plan. Matching parent topology does not prove unchanged "
           "contents or command provenance. Pending filesystem edits were neither snapshotted "
           "nor assessed. No automatic resume or rollback is authorized.";
}

CoordinatedRoutingRecoveryPlan CoordinatedRoutingRecoveryPlan::build(
    const Source& record, const Inspection& inspection, const std::string& workspaceRoot,
    const std::vector<JJCommit>& current, const std::vector<JJCommit>& bookmark,
    const std::vector<JJWorkspace>& workspaces, const std::vector<JJCommit>& descendants,
    const std::vector<JJCommit>& ancestry) {
    const auto& source = record.plan;
    if (inspection.recordID != record.id || !inspection.warnings.empty() ||
        !inspection.conflictedChangeIDs.empty() || inspection.matchingStages.size() != 1 ||
        inspection.matchingStages.front() == Inspection::originalStage) {
        refuse(notOneStage);
    }
    const auto changes = flow::ResolvedChanges::fromRows(current, source.affected);
    for (const auto& commit : source.affected) {
        if (changes.resolved(commit.changeID) == nullptr) {
            refuse(changeMissing);
        }
    }
    if (flow::revisionPairs(descendants) != flow::revisionPairs(current)) {
        refuse(gainedConsumers);
    }
    const auto& headChange = source.appending && !source.selected.empty()
                                 ? source.selected.back().changeID
                                 : source.featureTip.changeID;
    const auto* target = changes.resolved(headChange);
    if (target == nullptr) {
        refuse(targetMissing);
    }

    CoordinatedRoutingRecoveryPlan plan;
    for (const auto& repair : source.repairs) {
        const auto* composition = changes.resolved(repair.composition.changeID);
        if (composition == nullptr) {
            refuse(inconsistentRepairs);
        }
        const auto finalParents = changes.translated(repair.finalParentIDs);
        if (composition->parents == finalParents) {
            continue;
        }
        if (composition->parents != changes.translated(repair.routedParentIDs)) {
            refuse(unexpectedEdges);
        }
        plan.remainingRepairs.push_back({*composition, composition->parents, finalParents});
    }

    if (bookmark.size() != 1) {
        refuse(CoordinatedRoutingRecoveryPlan::bookmarkNotOne);
    }
    const auto& bookmarkAt = bookmark.front().commitID;
    if (!source.appending) {
        if (bookmarkAt != target->commitID) {
            refuse(insertionBookmarkMoved);
        }
    } else if (bookmarkAt == target->commitID) {
        if (!plan.remainingRepairs.empty()) {
            refuse(unexpectedAncestry);
        }
    } else if (bookmarkAt == source.featureTip.commitID) {
        plan.advanceBookmark = true;
        auto selected = flow::changeIDsOf(source.selected);
        auto added = flow::changeIDsOf(ancestry);
        std::sort(selected.begin(), selected.end());
        std::sort(added.begin(), added.end());
        if (added != selected || std::any_of(ancestry.begin(), ancestry.end(),
                                             [](const JJCommit& c) { return c.immutable; })) {
            refuse(unexpectedAncestry);
        }
    } else {
        refuse(bookmarkMovedElsewhere);
    }

    if (!plan.remainingRepairs.empty() &&
        std::any_of(current.begin(), current.end(),
                    [](const JJCommit& c) { return c.immutable; })) {
        refuse(protectedHistory);
    }
    if (plan.remainingRepairs.empty() && !plan.advanceBookmark) {
        refuse(alreadyComplete);
    }

    plan.sourceRecordID = record.id;
    plan.repositoryID = source.repositoryID;
    plan.workspaceRoot = workspaceRoot;
    plan.operationID = inspection.operationID;
    plan.lastRecordedOperationID = inspection.latestRecordedOperationID;
    plan.bookmarkName = source.bookmarkName;
    plan.bookmarkBefore = bookmark.front();
    plan.target = *target;
    plan.currentCommits = current;
    std::sort(plan.currentCommits.begin(), plan.currentCommits.end(),
              [](const JJCommit& a, const JJCommit& b) { return a.changeID < b.changeID; });
    plan.workspaces = workspaces;
    std::sort(plan.workspaces.begin(), plan.workspaces.end(),
              [](const JJWorkspace& a, const JJWorkspace& b) { return a.name < b.name; });
    plan.addedFeatureAncestry = ancestry;
    return plan;
}

}  // namespace vorda
