#pragma once

#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "jjkit/records/JJCommit.h"
#include "jjkit/records/JJWorkspace.h"
#include "jjkit/records/RecordFields.h"
#include "jjkit/rewrites/CoordinatedRoutingPlan.h"
#include "jjkit/rewrites/OperationRecord.h"

namespace vorda {

/// A coordinated routing's receipt read against the repository as it is now:
/// which recorded stage the topology matches, where each repair and the
/// bookmark stand. Reading it changes nothing.
struct CoordinatedRoutingInspection {
    struct RepairState {
        std::string changeID;
        bool matchesRoutedParents = false;
        bool matchesRepairedParents = false;

        bool operator==(const RepairState&) const = default;
    };

    std::string recordID;
    std::string operationID;
    std::string latestRecordedOperationID;
    /// Labels of the complete stages the topology matches.
    std::vector<std::string> matchingStages;
    std::string bookmarkState;
    /// One per repair, in plan order.
    std::vector<RepairState> repairs;
    std::vector<std::string> warnings;
    std::vector<std::string> conflictedChangeIDs;

    static constexpr std::string_view originalStage = "Original topology";
    static constexpr std::string_view routedStage = "Routed; no attachment repairs";
    static constexpr std::string_view unexpectedBookmarkState =
        "Missing, divergent, or at an unexpected revision";

    /// Decides the inspection from what was read at `operation`. Pure.
    static CoordinatedRoutingInspection build(
        const OperationRecord<CoordinatedFeatureRoutingPlan>& record, const std::string& operation,
        const std::vector<JJCommit>& visible, const std::vector<JJCommit>& feature,
        const std::vector<JJCommit>& bookmark, const std::vector<JJWorkspace>& workspaces,
        const std::vector<JJCommit>& visiblePins);

    /// Every parent any recorded stage names outside the plan's commits.
    static std::set<std::string> externalParentIDs(const CoordinatedFeatureRoutingPlan& plan);

    /// The same text for every inspection.
    static std::string_view guidance();

    bool operator==(const CoordinatedRoutingInspection&) const = default;
};

/// The steps an interrupted coordinated routing left undone, planned from the
/// revisions that are there now, never by replaying the original plan.
struct CoordinatedRoutingRecoveryPlan {
    static constexpr std::string_view journalDirectoryName = "Vorda-coordinated-recovery-receipts";

    /// A composition still at its routed parents.
    struct Repair {
        /// As it is now.
        JJCommit composition;
        /// Its parents now.
        std::vector<std::string> expectedParentIDs;
        /// Its parents after the repair, in current commit IDs.
        std::vector<std::string> finalParentIDs;

        bool operator==(const Repair&) const = default;
    };

    std::string sourceRecordID;
    std::string repositoryID;
    std::string workspaceRoot;
    std::string operationID;
    std::string lastRecordedOperationID;
    std::string bookmarkName;
    /// Where the bookmark stands now.
    JJCommit bookmarkBefore;
    /// The routed feature head, as it is now.
    JJCommit target;
    bool advanceBookmark = false;
    std::vector<Repair> remainingRepairs;
    /// The affected commits as they are now, sorted.
    std::vector<JJCommit> currentCommits;
    /// The workspaces as they are now, sorted.
    std::vector<JJWorkspace> workspaces;
    /// What the bookmark's move would add to the feature.
    std::vector<JJCommit> addedFeatureAncestry;

    /// The refusal when the feature bookmark is not one commit.
    static constexpr std::string_view bookmarkNotOne = "Feature bookmark is missing or divergent.";

    /// Decides the plan, with the refusals in their order
    /// (`JJError::UnsafeOperation`). Pure.
    static CoordinatedRoutingRecoveryPlan build(
        const OperationRecord<CoordinatedFeatureRoutingPlan>& record,
        const CoordinatedRoutingInspection& inspection, const std::string& workspaceRoot,
        const std::vector<JJCommit>& current, const std::vector<JJCommit>& bookmark,
        const std::vector<JJWorkspace>& workspaces, const std::vector<JJCommit>& descendants,
        const std::vector<JJCommit>& ancestry);

    bool operator==(const CoordinatedRoutingRecoveryPlan&) const = default;
};

template <>
struct RecordFields<CoordinatedRoutingRecoveryPlan::Repair> {
    using Repair = CoordinatedRoutingRecoveryPlan::Repair;
    static constexpr auto fields =
        std::tuple{recordField("composition", &Repair::composition),
                   recordField("expectedParentIDs", &Repair::expectedParentIDs),
                   recordField("finalParentIDs", &Repair::finalParentIDs)};
};

template <>
struct RecordFields<CoordinatedRoutingRecoveryPlan> {
    using Plan = CoordinatedRoutingRecoveryPlan;
    static constexpr auto fields =
        std::tuple{recordField("sourceRecordID", &Plan::sourceRecordID),
                   recordField("repositoryID", &Plan::repositoryID),
                   recordField("workspaceRoot", &Plan::workspaceRoot),
                   recordField("operationID", &Plan::operationID),
                   recordField("lastRecordedOperationID", &Plan::lastRecordedOperationID),
                   recordField("bookmarkName", &Plan::bookmarkName),
                   recordField("bookmarkBefore", &Plan::bookmarkBefore),
                   recordField("target", &Plan::target),
                   recordField("advanceBookmark", &Plan::advanceBookmark),
                   recordField("remainingRepairs", &Plan::remainingRepairs),
                   recordField("currentCommits", &Plan::currentCommits),
                   recordField("workspaces", &Plan::workspaces),
                   recordField("addedFeatureAncestry", &Plan::addedFeatureAncestry)};
};

}  // namespace vorda
