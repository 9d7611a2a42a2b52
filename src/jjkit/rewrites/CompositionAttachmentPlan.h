#pragma once

#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "jjkit/records/JJCommit.h"
#include "jjkit/records/JJWorkspace.h"
#include "jjkit/records/RecordFields.h"

namespace vorda {

/// A feature added to an existing composition as its new last parent, with
/// every present parent kept at its exact revision: one `jj rebase` of the
/// composition and its descendants. Nothing moves when the feature is
/// already in the composition's ancestry, but the action is still recorded.
struct CompositionAttachmentPlan {
    static constexpr std::string_view journalDirectoryName =
        "Vorda-composition-attachment-receipts";

    std::string repositoryID;
    std::string workspaceRoot;
    std::string operationID;
    std::string bookmarkName;
    /// The merge that receives the feature.
    JJCommit composition;
    /// The feature's tip.
    JJCommit target;
    /// The composition's parents, in its parent order.
    std::vector<JJCommit> retainedParents;
    /// The composition and its descendants, by commit ID; empty when
    /// `alreadyIncluded`.
    std::vector<JJCommit> affected;
    std::vector<JJWorkspace> affectedWorkspaces;
    bool alreadyIncluded = false;

    /// `jj rebase -s <composition> -d <parent>… -d <target>`, each an exact
    /// commit; the target always last.
    std::vector<std::string> commandArguments() const;

    /// What planning read at one operation.
    struct Reads {
        std::string repositoryID;
        std::string workspaceRoot;
        std::string operationID;
        std::string bookmarkName;
        JJCommit composition;
        JJCommit target;
        std::vector<JJCommit> parents;
        std::vector<JJCommit> descendants;
        std::vector<JJCommit> divergent;
        std::vector<JJWorkspace> workspaces;
        bool alreadyIncluded = false;
    };
    /// Decides the plan, refusing (`JJError::UnsafeOperation`) in a fixed
    /// order: no real composition, a cycle, divergence, protected history.
    static CompositionAttachmentPlan build(const Reads& reads);

    bool operator==(const CompositionAttachmentPlan&) const = default;
};

template <>
struct RecordFields<CompositionAttachmentPlan> {
    using Plan = CompositionAttachmentPlan;
    static constexpr auto fields =
        std::tuple{recordField("repositoryID", &Plan::repositoryID),
                   recordField("workspaceRoot", &Plan::workspaceRoot),
                   recordField("operationID", &Plan::operationID),
                   recordField("bookmarkName", &Plan::bookmarkName),
                   recordField("composition", &Plan::composition),
                   recordField("target", &Plan::target),
                   recordField("retainedParents", &Plan::retainedParents),
                   recordField("affected", &Plan::affected),
                   recordField("affectedWorkspaces", &Plan::affectedWorkspaces),
                   recordField("alreadyIncluded", &Plan::alreadyIncluded)};
};

}  // namespace vorda
