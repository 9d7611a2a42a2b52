#pragma once

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "jjkit/records/JJCommit.h"
#include "jjkit/records/JJWorkspace.h"
#include "jjkit/records/RecordFields.h"
#include "jjkit/rewrites/FeatureInsertionPlan.h"

namespace vorda {

/// Feature routing where plain insertion would make an environment lose
/// work: the user names the compositions that gain the feature as an explicit
/// new last parent. It runs as a chain of single commands (route, repair each
/// composition, advance the bookmark when appending) with a verified,
/// recorded stage after each.
struct CoordinatedFeatureRoutingPlan {
    static constexpr std::string_view journalDirectoryName = "Vorda-coordinated-routing-receipts";

    /// A composition that gains the feature's head as its last parent.
    struct Repair {
        /// The merge, frozen at planning.
        JJCommit composition;
        /// Its parents after routing, before its own repair.
        std::vector<std::string> routedParentIDs;
        /// Its parents at the end; the last is the feature's head.
        std::vector<std::string> finalParentIDs;

        bool operator==(const Repair&) const = default;
    };

    std::string repositoryID;
    std::string workspaceRoot;
    std::string operationID;
    std::string bookmarkName;
    /// True when the work goes onto the feature's tip; the bookmark then
    /// advances as the last step.
    bool appending = false;
    JJCommit destination;
    JJCommit featureTip;
    std::vector<JJCommit> selected;
    std::vector<JJCommit> affected;
    std::vector<JJWorkspace> affectedWorkspaces;
    /// The final graph, repairs included, in planned-time commit IDs.
    ParentGraph expectedParents;
    /// Ascending by the composition's commit ID.
    std::vector<Repair> repairs;

    /// Wraps a routing plan that already holds the repairs' feature edges;
    /// `repairChangeIDs` name the compositions. Throws
    /// `JJError::UnsafeOperation`.
    static CoordinatedFeatureRoutingPlan wrap(const FeatureInsertionPlan& topology, bool appending,
                                              const std::vector<std::string>& repairChangeIDs);

    /// The commit the feature's history ends in after routing: the last
    /// selected commit when appending, the tip otherwise.
    const std::string& headID() const;
    /// The graph as planned: each affected commit on its parents.
    ParentGraph originalStage() const;
    /// `expectedParents` with the first `repaired` compositions at their
    /// final parents and the others at their routed ones.
    ParentGraph stage(std::size_t repaired) const;
    /// The parents `graph` names that are not planned commits: kept by
    /// exact commit ID.
    std::set<std::string> externalParentIDs(const ParentGraph& graph) const;
    /// The route step: `rebase -r <selection> --insert-after <destination>`.
    std::vector<std::string> routeArguments() const;

    bool operator==(const CoordinatedFeatureRoutingPlan&) const = default;
};

/// What reading a coordinated stage back found, and where each planned
/// commit stands now.
struct CoordinatedVerification {
    std::vector<std::string> warnings;
    std::vector<std::string> conflicts;
    /// Planned commit ID to current commit ID, for every change that resolved.
    std::map<std::string, std::string> ids;
};

template <>
struct RecordFields<CoordinatedFeatureRoutingPlan::Repair> {
    using Repair = CoordinatedFeatureRoutingPlan::Repair;
    static constexpr auto fields =
        std::tuple{recordField("composition", &Repair::composition),
                   recordField("routedParentIDs", &Repair::routedParentIDs),
                   recordField("finalParentIDs", &Repair::finalParentIDs)};
};

template <>
struct RecordFields<CoordinatedFeatureRoutingPlan> {
    using Plan = CoordinatedFeatureRoutingPlan;
    static constexpr auto fields =
        std::tuple{recordField("repositoryID", &Plan::repositoryID),
                   recordField("workspaceRoot", &Plan::workspaceRoot),
                   recordField("operationID", &Plan::operationID),
                   recordField("bookmarkName", &Plan::bookmarkName),
                   recordField("appending", &Plan::appending),
                   recordField("destination", &Plan::destination),
                   recordField("featureTip", &Plan::featureTip),
                   recordField("selected", &Plan::selected),
                   recordField("affected", &Plan::affected),
                   recordField("affectedWorkspaces", &Plan::affectedWorkspaces),
                   recordField("expectedParents", &Plan::expectedParents),
                   recordField("repairs", &Plan::repairs)};
};

}  // namespace vorda
