#pragma once

#include <map>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "jjkit/records/JJCommit.h"
#include "jjkit/records/JJWorkspace.h"
#include "jjkit/records/RecordFields.h"

namespace vorda {

/// Parents by commit ID: the graph a plan reads or the one it expects.
using ParentGraph = std::map<std::string, std::vector<std::string>>;

/// A contiguous, linear run of finished commits moved out of an integration
/// environment into a feature's history right after `destination` (or onto
/// its tip when appending), with the whole resulting graph stated up front
/// in `expectedParents`.
struct FeatureInsertionPlan {
    static constexpr std::string_view journalDirectoryName = "Vorda-feature-insertion-receipts";

    std::string repositoryID;
    std::string workspaceRoot;
    std::string operationID;
    std::string bookmarkName;
    /// The commit after which the selection goes.
    JJCommit destination;
    /// The commit the bookmark points at.
    JJCommit featureTip;
    /// Chain order: the commit that follows `destination` first.
    std::vector<JJCommit> selected;
    /// Every commit the rewrite touches, as read.
    std::vector<JJCommit> affected;
    /// The workspaces whose commit is a key of `expectedParents`.
    std::vector<JJWorkspace> affectedWorkspaces;
    /// Planned-time commit ID to the ordered parents it must have afterwards.
    ParentGraph expectedParents;

    /// `rebase -r <selection> --insert-after <destination>`.
    std::vector<std::string> commandArguments() const;
    static std::vector<std::string> routeArguments(const std::vector<JJCommit>& selected,
                                                   const JJCommit& destination);
    /// What a preview shows of the command.
    std::string commandLine() const;

    /// Decides every refusal from frozen data, in a fixed order, and composes
    /// the plan. `repairCompositionIDs` are commit IDs. Throws
    /// `JJError::UnsafeOperation`.
    static FeatureInsertionPlan build(
        std::string repositoryID, std::string workspaceRoot, std::string operationID,
        std::string bookmarkName, const JJCommit& destination, const JJCommit& featureTip,
        const std::vector<JJCommit>& selected, const std::vector<JJCommit>& featurePath,
        const std::vector<JJCommit>& mutableFeatureAncestry, const std::vector<JJCommit>& affected,
        const std::vector<JJCommit>& siblings, const std::vector<JJCommit>& divergent,
        const std::vector<JJWorkspace>& workspaces, bool appending,
        const std::vector<std::string>& repairCompositionIDs);

    /// A depth-first walk from `from` along `parents` (an ID without an entry
    /// has none): true when `to` is met. `from` reaches itself.
    static bool reaches(const std::string& from, const std::string& to, const ParentGraph& parents);
    /// True when `id` reaches some selected commit.
    static bool dependedOnSelection(const std::string& id, const std::vector<std::string>& selected,
                                    const ParentGraph& parents);

    bool operator==(const FeatureInsertionPlan&) const = default;
};

template <>
struct RecordFields<FeatureInsertionPlan> {
    using Plan = FeatureInsertionPlan;
    static constexpr auto fields =
        std::tuple{recordField("repositoryID", &Plan::repositoryID),
                   recordField("workspaceRoot", &Plan::workspaceRoot),
                   recordField("operationID", &Plan::operationID),
                   recordField("bookmarkName", &Plan::bookmarkName),
                   recordField("destination", &Plan::destination),
                   recordField("featureTip", &Plan::featureTip),
                   recordField("selected", &Plan::selected),
                   recordField("affected", &Plan::affected),
                   recordField("affectedWorkspaces", &Plan::affectedWorkspaces),
                   recordField("expectedParents", &Plan::expectedParents)};
};

}  // namespace vorda
