#pragma once

#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "jjkit/records/JJCommit.h"
#include "jjkit/records/JJWorkspace.h"
#include "jjkit/records/RecordFields.h"
#include "jjkit/rewrites/FeatureAppendPlan.h"

namespace vorda {

/// The one step an interrupted append left undone: its feature bookmark
/// moved forward onto the moved tip, as an action of its own with its own
/// receipt. Planned from an inspection of the append's receipt, never by
/// replaying it; it moves nothing but the bookmark.
struct FeatureAppendRecoveryPlan {
    static constexpr std::string_view journalDirectoryName =
        "Vorda-feature-append-recovery-receipts";

    /// The append receipt this recovery continues.
    std::string sourceRecordID;
    std::string repositoryID;
    std::string workspaceRoot;
    std::string operationID;
    /// The last operation the append's receipt recorded.
    std::string lastRecordedOperationID;
    std::string bookmarkName;
    /// Where the bookmark stands now: the append's old tip.
    JJCommit oldTip;
    /// The moved tip, as it is now.
    JJCommit target;
    /// The append's selected commits, as they are now.
    std::vector<JJCommit> routedCommits;
    std::vector<JJWorkspace> workspaces;
    /// What the move adds to the feature: the routed commits.
    std::vector<JJCommit> addedFeatureAncestry;

    /// `jj bookmark move --to commit_id(<target>) -- <name>`, the name as an
    /// exact pattern.
    std::vector<std::string> commandArguments() const;

    /// Decides the plan from what was read at the inspection's operation,
    /// with the refusals in their order (`JJError::UnsafeOperation`). Pure.
    struct Reads {
        const OperationRecord<FeatureAppendPlan>& source;
        const FeatureAppendInspection& inspection;
        /// Rows of the moved tip's change and of the bookmark.
        std::vector<JJCommit> movedTips;
        std::vector<JJCommit> bookmarkCommits;
    };
    /// Refuses unless the moved tip and the bookmark are one commit each.
    static void requireTargets(const Reads& reads);
    /// The rest of the reads, once the targets are known.
    struct Scope {
        std::vector<JJCommit> addedAncestry;
        std::vector<JJCommit> commonBase;
        std::vector<JJCommit> routed;
        std::vector<JJWorkspace> workspaces;
    };
    static FeatureAppendRecoveryPlan build(const Reads& reads, const Scope& scope);

    bool operator==(const FeatureAppendRecoveryPlan&) const = default;
};

template <>
struct RecordFields<FeatureAppendRecoveryPlan> {
    using Plan = FeatureAppendRecoveryPlan;
    static constexpr auto fields =
        std::tuple{recordField("sourceRecordID", &Plan::sourceRecordID),
                   recordField("repositoryID", &Plan::repositoryID),
                   recordField("workspaceRoot", &Plan::workspaceRoot),
                   recordField("operationID", &Plan::operationID),
                   recordField("lastRecordedOperationID", &Plan::lastRecordedOperationID),
                   recordField("bookmarkName", &Plan::bookmarkName),
                   recordField("oldTip", &Plan::oldTip),
                   recordField("target", &Plan::target),
                   recordField("routedCommits", &Plan::routedCommits),
                   recordField("workspaces", &Plan::workspaces),
                   recordField("addedFeatureAncestry", &Plan::addedFeatureAncestry)};
};

}  // namespace vorda
