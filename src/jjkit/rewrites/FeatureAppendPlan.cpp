#include "jjkit/rewrites/FeatureAppendPlan.h"

#include <algorithm>
#include <map>

#include "jjkit/client/JJError.h"
#include "jjkit/rewrites/PlannedFlow.h"
#include "jjkit/templates/RevsetQuoting.h"

namespace vorda {
namespace {

constexpr std::string_view staleBookmarkStep =
    "Append bookmark step is stale or its rewritten target is invalid. Inspect the partial "
    "action; do not retry blindly.";

// The merges whose parents the routing changes: what a preview shows as
// compositions gaining or losing an edge.
std::vector<AttachmentChange> changedAttachments(const FeatureInsertionPlan& topology) {
    std::vector<AttachmentChange> changes;
    for (const auto& commit : topology.affected) {
        if (commit.parents.size() < 2) {
            continue;
        }
        const auto expected = topology.expectedParents.find(commit.commitID);
        if (expected == topology.expectedParents.end() || expected->second == commit.parents) {
            continue;
        }
        changes.push_back({commit.commitID, commit.changeID, commit.parents, expected->second});
    }
    return changes;
}

}  // namespace

FeatureAppendPlan::FeatureAppendPlan(FeatureInsertionPlan routedTopology)
    : topology(std::move(routedTopology)) {
    const auto& routing = topology;
    const std::string& tipCommitID = routing.featureTip.commitID;
    const bool tipTouched =
        std::any_of(routing.affected.begin(), routing.affected.end(),
                    [&](const JJCommit& commit) { return commit.commitID == tipCommitID; });
    if (routing.destination.commitID != tipCommitID || routing.selected.empty() || tipTouched) {
        throw JJError::unsafeOperation("Append must preserve the original feature tip.");
    }
    bookmarkAdvance = {routing.bookmarkName, tipCommitID, routing.selected.back().changeID};
    attachmentChanges = changedAttachments(routing);
}

std::vector<std::string> FeatureAppendPlan::bookmarkCommand(
    const JJCommit& resolvedTip, const std::vector<std::string>& currentBookmarkCommitIDs,
    const std::string& currentOperationID, const std::string& expectedOperationID) const {
    const bool runnable =
        currentOperationID == expectedOperationID &&
        currentBookmarkCommitIDs == std::vector<std::string>{bookmarkAdvance.expectedOldCommitID} &&
        resolvedTip.changeID == bookmarkAdvance.targetChangeID &&
        flow::isFullCommitID(resolvedTip.commitID);
    if (!runnable) {
        throw JJError::unsafeOperation(std::string(staleBookmarkStep));
    }
    // The name goes as an exact pattern, so that no glob character in it can
    // reach another bookmark.
    return {"bookmark", "move", "--to=" + commitIDRevset(resolvedTip.commitID), "--",
            exactNamePattern(bookmarkAdvance.name)};
}

FeatureAppendInspection FeatureAppendInspection::build(
    const OperationRecord<FeatureAppendPlan>& record, const std::string& operationID,
    const std::vector<JJCommit>& visible, const std::vector<JJCommit>& bookmarkCommits,
    const std::vector<JJCommit>& originalTip, const std::vector<JJWorkspace>& workspaces) {
    const auto& plan = record.plan;
    const auto& topology = plan.topology;

    FeatureAppendInspection inspection;
    inspection.recordID = record.id;
    inspection.operationID = operationID;

    std::map<std::string, std::vector<const JJCommit*>> rowsByChange;
    for (const auto& row : visible) {
        rowsByChange[row.changeID].push_back(&row);
        if (row.conflict) {
            inspection.conflictedChangeIDs.push_back(row.changeID);
        }
    }
    auto resolved = [&](const std::string& changeID) -> const JJCommit* {
        const auto found = rowsByChange.find(changeID);
        return found == rowsByChange.end() || found->second.size() != 1 ? nullptr
                                                                        : found->second.front();
    };

    // Old commit IDs of the resolved changes to their commits now; a parent
    // outside the plan keeps its ID.
    std::map<std::string, std::string> newCommitIDs;
    bool anyMissing = false;
    for (const auto& commit : topology.affected) {
        if (const auto* row = resolved(commit.changeID)) {
            newCommitIDs[commit.commitID] = row->commitID;
        } else {
            anyMissing = true;
            inspection.warnings.push_back("Missing or divergent change " + commit.shortChangeID());
        }
    }
    auto translated = [&](const std::vector<std::string>& commitIDs) {
        std::vector<std::string> result;
        result.reserve(commitIDs.size());
        for (const auto& commitID : commitIDs) {
            const auto found = newCommitIDs.find(commitID);
            result.push_back(found == newCommitIDs.end() ? commitID : found->second);
        }
        return result;
    };

    bool allOriginal = true;
    bool allRouted = true;
    bool allBoth = true;
    for (const auto& commit : topology.affected) {
        const auto* row = resolved(commit.changeID);
        if (row == nullptr) {
            continue;
        }
        const bool original = row->parents == translated(commit.parents);
        const auto expected = topology.expectedParents.find(commit.commitID);
        const bool routed = expected != topology.expectedParents.end() &&
                            row->parents == translated(expected->second);
        allOriginal = allOriginal && original;
        allRouted = allRouted && routed;
        allBoth = allBoth && original && routed;
        if (!original && !routed) {
            inspection.warnings.push_back("Unexpected parents on " + commit.shortChangeID());
        }
        for (const auto& bookmark : commit.localBookmarks) {
            if (!flow::carriesOwnLocalBookmark(*row, bookmark.name)) {
                inspection.warnings.push_back("Bookmark " + bookmark.name +
                                              " no longer follows its change");
            }
        }
    }
    // A change that cannot be found matches no graph at all.
    inspection.topology = Topology::changed;
    if (!anyMissing) {
        if (allBoth) {
            inspection.topology = Topology::both;
        } else if (allRouted) {
            inspection.topology = Topology::routed;
        } else if (allOriginal) {
            inspection.topology = Topology::original;
        }
    }

    const std::string& tipCommitID = plan.bookmarkAdvance.expectedOldCommitID;
    if (originalTip.size() != 1 || originalTip.front().commitID != tipCommitID) {
        inspection.warnings.emplace_back("Original feature tip is rewritten, hidden, or divergent");
    }

    inspection.bookmark = BookmarkState::changed;
    if (bookmarkCommits.size() == 1) {
        const auto& target = bookmarkCommits.front().commitID;
        const auto* movedTip = resolved(plan.bookmarkAdvance.targetChangeID);
        if (target == tipCommitID) {
            inspection.bookmark = BookmarkState::original;
        } else if (movedTip != nullptr && target == movedTip->commitID) {
            inspection.bookmark = BookmarkState::advanced;
        }
    }

    for (auto& warning : flow::workspaceIdentityWarnings(topology.affectedWorkspaces, workspaces)) {
        inspection.warnings.push_back(std::move(warning));
    }

    inspection.latestRecordedOperationID =
        flow::latestRecordedOperation(record, topology.operationID);
    inspection.changedSinceCheckpoint = operationID != inspection.latestRecordedOperationID;
    return inspection;
}

std::string FeatureAppendInspection::guidance() const {
    if (!warnings.empty() || topology == Topology::changed || bookmark == BookmarkState::changed) {
        return "Current state differs from the recorded action. Inspect the listed changes and "
               "intervening operations before choosing any repair.";
    }
    if (!conflictedChangeIDs.empty()) {
        return "Resolve and review the reported conflicts first. Advancing the feature bookmark "
               "can make routed work immutable under repository rules.";
    }
    if (topology == Topology::routed && bookmark == BookmarkState::original) {
        return "The moved chain is present in the planned parent topology, but the feature "
               "bookmark still points to its old tip. Do not rerun the rebase. Bookmark "
               "advancement requires a fresh, explicit recovery plan.";
    }
    if ((topology == Topology::routed || topology == Topology::both) &&
        bookmark == BookmarkState::advanced) {
        return "The planned parent topology and advanced bookmark are present. This does not "
               "prove command provenance or unchanged file contents; no automatic recovery is "
               "needed.";
    }
    return "The original bookmark and parent topology are present. Review the receipt and any "
           "intervening operations before generating a new routing preview.";
}

std::string_view displayText(FeatureAppendInspection::Topology topology) {
    using Topology = FeatureAppendInspection::Topology;
    switch (topology) {
        case Topology::original:
            return "Original parent topology";
        case Topology::routed:
            return "Routed parent topology";
        case Topology::both:
            return "Original and routed parent topology coincide";
        case Topology::changed:
            break;
    }
    return "Parent topology differs or cannot be verified";
}

std::string_view displayText(FeatureAppendInspection::BookmarkState state) {
    using BookmarkState = FeatureAppendInspection::BookmarkState;
    switch (state) {
        case BookmarkState::original:
            return "Bookmark remains at the original feature tip";
        case BookmarkState::advanced:
            return "Bookmark points to the uniquely visible moved tip";
        case BookmarkState::changed:
            break;
    }
    return "Bookmark is missing, divergent, or elsewhere";
}

}  // namespace vorda
