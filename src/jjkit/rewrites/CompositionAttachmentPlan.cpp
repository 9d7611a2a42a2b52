#include "jjkit/rewrites/CompositionAttachmentPlan.h"

#include <algorithm>
#include <map>
#include <set>

#include "jjkit/client/JJError.h"
#include "jjkit/templates/RevsetQuoting.h"

namespace vorda {
namespace {

constexpr std::string_view notAComposition =
    "Choose an existing composition with fully resolved, distinct parents. Creating a new "
    "composition is not supported.";
constexpr std::string_view cycle =
    "The feature is the composition or one of its descendants; adding it would create a cycle.";
constexpr std::string_view divergence =
    "The attachment or affected history contains divergent changes. Resolve them before "
    "planning.";
constexpr std::string_view protectedHistory =
    "Adding this attachment would rewrite protected history.";

[[noreturn]] void refuse(std::string_view message) {
    throw JJError::unsafeOperation(std::string(message));
}

}  // namespace

std::vector<std::string> CompositionAttachmentPlan::commandArguments() const {
    std::vector<std::string> arguments{"rebase", "-s", commitIDRevset(composition.commitID)};
    for (const auto& parent : retainedParents) {
        arguments.emplace_back("-d");
        arguments.push_back(commitIDRevset(parent.commitID));
    }
    arguments.emplace_back("-d");
    arguments.push_back(commitIDRevset(target.commitID));
    return arguments;
}

CompositionAttachmentPlan CompositionAttachmentPlan::build(const Reads& reads) {
    const auto& parentIDs = reads.composition.parents;
    const std::set<std::string> distinct(parentIDs.begin(), parentIDs.end());
    std::map<std::string, const JJCommit*> parentRows;
    for (const auto& row : reads.parents) {
        parentRows.emplace(row.commitID, &row);
    }
    const bool sameRows =
        reads.parents.size() == parentIDs.size() && parentRows.size() == distinct.size() &&
        std::all_of(parentIDs.begin(), parentIDs.end(),
                    [&](const std::string& id) { return parentRows.contains(id); });
    if (parentIDs.size() < 2 || distinct.size() != parentIDs.size() || !sameRows) {
        refuse(notAComposition);
    }
    if (std::any_of(reads.descendants.begin(), reads.descendants.end(),
                    [&](const JJCommit& c) { return c.commitID == reads.target.commitID; })) {
        refuse(cycle);
    }
    if (!reads.divergent.empty()) {
        refuse(divergence);
    }
    if (!reads.alreadyIncluded &&
        std::any_of(reads.descendants.begin(), reads.descendants.end(),
                    [](const JJCommit& commit) { return commit.immutable; })) {
        refuse(protectedHistory);
    }

    CompositionAttachmentPlan plan;
    plan.repositoryID = reads.repositoryID;
    plan.workspaceRoot = reads.workspaceRoot;
    plan.operationID = reads.operationID;
    plan.bookmarkName = reads.bookmarkName;
    plan.composition = reads.composition;
    plan.target = reads.target;
    plan.alreadyIncluded = reads.alreadyIncluded;
    plan.retainedParents.reserve(parentIDs.size());
    for (const auto& id : parentIDs) {
        plan.retainedParents.push_back(*parentRows.at(id));
    }
    if (!reads.alreadyIncluded) {
        plan.affected = reads.descendants;
        std::sort(plan.affected.begin(), plan.affected.end(),
                  [](const JJCommit& a, const JJCommit& b) { return a.commitID < b.commitID; });
    }
    std::set<std::string> affectedIDs;
    for (const auto& commit : plan.affected) {
        affectedIDs.insert(commit.commitID);
    }
    for (const auto& workspace : reads.workspaces) {
        if (affectedIDs.contains(workspace.commitID)) {
            plan.affectedWorkspaces.push_back(workspace);
        }
    }
    return plan;
}

}  // namespace vorda
