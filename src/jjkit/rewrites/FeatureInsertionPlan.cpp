#include "jjkit/rewrites/FeatureInsertionPlan.h"

#include <algorithm>
#include <set>
#include <utility>

#include "jjkit/client/JJError.h"
#include "jjkit/rewrites/PlannedFlow.h"
#include "jjkit/templates/RevsetQuoting.h"

namespace vorda {
namespace {

constexpr std::string_view unfinishedSelection =
    "Select finished, mutable, unbookmarked commits—not a merge or workspace working copy.";
constexpr std::string_view nonlinearSelection = "Routing requires one contiguous linear selection.";
constexpr std::string_view badInsertionPoint =
    "Choose an insertion point strictly before the feature tip on an exclusive linear feature "
    "path. Appending and shared bases need a separate plan.";
constexpr std::string_view mutableMergeInFeature =
    "The feature already contains a mutable merge. Route into an isolated feature stack, not an "
    "integration environment.";
constexpr std::string_view protectedHistory =
    "Insertion would rewrite protected or divergent history.";
constexpr std::string_view destinationDescends =
    "The insertion destination descends from the selected work.";
constexpr std::string_view repeatedRepair = "Select each repair composition only once.";
constexpr std::string_view invalidRepair =
    "Repair must select an existing affected merge outside the destination ancestry that lacks "
    "feature inclusion.";
constexpr std::string_view cycle = "The coordinated attachment would create a cycle.";
constexpr std::string_view sourceWouldLoseWork =
    "The source environment would lose the routed work through the feature. Select explicit "
    "repair compositions that preserve every consumer; no repair is inferred.";

[[noreturn]] void refuse(std::string_view message) {
    throw JJError::unsafeOperation(std::string(message));
}

bool contains(const std::set<std::string>& set, const std::string& id) {
    return set.find(id) != set.end();
}

void appendUnique(std::vector<std::string>& list, const std::string& id) {
    if (std::find(list.begin(), list.end(), id) == list.end()) {
        list.push_back(id);
    }
}

/// Steps 5 and 6: the selection as one chain, lowest first. The one lower end
/// starts it; every next commit is the only selected commit whose parents are
/// exactly the last one, and the chain has to take in every selected commit.
std::vector<const JJCommit*> chainOrder(const std::vector<JJCommit>& selected,
                                        const std::set<std::string>& selectedIDs) {
    std::vector<const JJCommit*> lowerEnds;
    for (const auto& commit : selected) {
        if (!contains(selectedIDs, commit.parents.front())) {
            lowerEnds.push_back(&commit);
        }
    }
    if (lowerEnds.size() != 1) {
        refuse(nonlinearSelection);
    }

    std::vector<const JJCommit*> ordered{lowerEnds.front()};
    std::set<std::string> orderedIDs{lowerEnds.front()->commitID};
    while (true) {
        const std::vector<std::string> onLast{ordered.back()->commitID};
        std::vector<const JJCommit*> next;
        for (const auto& commit : selected) {
            if (commit.parents == onLast) {
                next.push_back(&commit);
            }
        }
        if (next.empty()) {
            break;
        }
        if (next.size() > 1 || !orderedIDs.insert(next.front()->commitID).second) {
            refuse(nonlinearSelection);
        }
        ordered.push_back(next.front());
    }
    if (ordered.size() != selected.size()) {
        refuse(nonlinearSelection);
    }
    return ordered;
}

/// Step 13: the graph as it must stand afterwards. The lowest selected commit
/// stands on the destination, the chain keeps its shape, a child of the
/// selection falls back to the selection's old base, and a child of the
/// destination now stands on the top of the inserted run.
ParentGraph expectedGraph(const ParentGraph& parents, const std::vector<JJCommit>& affected,
                          const std::set<std::string>& selectedIDs, const JJCommit& low,
                          const JJCommit& high, const std::string& destinationID) {
    ParentGraph expected = parents;
    for (const auto& commit : affected) {
        if (commit.commitID == low.commitID) {
            expected[commit.commitID] = {destinationID};
            continue;
        }
        if (contains(selectedIDs, commit.commitID)) {
            continue;
        }
        std::vector<std::string> rewritten;
        for (const auto& parent : commit.parents) {
            const std::vector<std::string> taken =
                contains(selectedIDs, parent) ? low.parents : std::vector<std::string>{parent};
            for (const auto& id : taken) {
                appendUnique(rewritten, id == destinationID ? high.commitID : id);
            }
        }
        expected[commit.commitID] = std::move(rewritten);
    }
    return expected;
}

}  // namespace

std::vector<std::string> FeatureInsertionPlan::commandArguments() const {
    return routeArguments(selected, destination);
}

std::vector<std::string> FeatureInsertionPlan::routeArguments(const std::vector<JJCommit>& selected,
                                                              const JJCommit& destination) {
    return {"rebase", "-r", flow::commitUnion(selected), "--insert-after",
            commitIDRevset(destination.commitID)};
}

std::string FeatureInsertionPlan::commandLine() const {
    return flow::displayCommandLine(commandArguments());
}

bool FeatureInsertionPlan::reaches(const std::string& from, const std::string& to,
                                   const ParentGraph& parents) {
    std::vector<std::string> stack{from};
    std::set<std::string> visited;
    while (!stack.empty()) {
        std::string id = std::move(stack.back());
        stack.pop_back();
        if (id == to) {
            return true;
        }
        if (!visited.insert(id).second) {
            continue;
        }
        const auto found = parents.find(id);
        if (found != parents.end()) {
            stack.insert(stack.end(), found->second.begin(), found->second.end());
        }
    }
    return false;
}

bool FeatureInsertionPlan::dependedOnSelection(const std::string& id,
                                               const std::vector<std::string>& selected,
                                               const ParentGraph& parents) {
    return std::any_of(selected.begin(), selected.end(), [&](const std::string& selectedID) {
        return reaches(id, selectedID, parents);
    });
}

FeatureInsertionPlan FeatureInsertionPlan::build(
    std::string repositoryID, std::string workspaceRoot, std::string operationID,
    std::string bookmarkName, const JJCommit& destination, const JJCommit& featureTip,
    const std::vector<JJCommit>& selected, const std::vector<JJCommit>& featurePath,
    const std::vector<JJCommit>& mutableFeatureAncestry, const std::vector<JJCommit>& affected,
    const std::vector<JJCommit>& siblings, const std::vector<JJCommit>& divergent,
    const std::vector<JJWorkspace>& workspaces, bool appending,
    const std::vector<std::string>& repairCompositionIDs) {
    // 1-4: only finished, mutable, unbookmarked single-parent work that no
    // workspace stands on, and neither end of the feature.
    std::set<std::string> selectedIDs;
    for (const auto& commit : selected) {
        selectedIDs.insert(commit.commitID);
    }
    if (selectedIDs.empty() || selectedIDs.size() != selected.size()) {
        refuse(unfinishedSelection);
    }
    for (const auto& commit : selected) {
        if (commit.immutable || commit.parents.size() != 1 || !commit.localBookmarks.empty()) {
            refuse(unfinishedSelection);
        }
    }
    if (contains(selectedIDs, destination.commitID) || contains(selectedIDs, featureTip.commitID)) {
        refuse(unfinishedSelection);
    }
    for (const auto& workspace : workspaces) {
        if (contains(selectedIDs, workspace.commitID)) {
            refuse(unfinishedSelection);
        }
    }

    // 5-6
    const auto ordered = chainOrder(selected, selectedIDs);
    const JJCommit& low = *ordered.front();
    const JJCommit& high = *ordered.back();

    // 7: a feature is an isolated stack; a merge in it is an environment.
    for (const auto& commit : mutableFeatureAncestry) {
        if (commit.parents.size() != 1) {
            refuse(mutableMergeInFeature);
        }
    }

    // 8-11: strictly below the tip (or at it when appending), on a linear path
    // that nothing else builds on.
    if ((destination.commitID == featureTip.commitID) != appending) {
        refuse(badInsertionPoint);
    }
    if (std::none_of(featurePath.begin(), featurePath.end(), [&](const JJCommit& commit) {
            return commit.commitID == featureTip.commitID;
        })) {
        refuse(badInsertionPoint);
    }
    for (const auto& commit : featurePath) {
        if (commit.commitID == destination.commitID) {
            continue;
        }
        if (commit.parents.size() != 1 || contains(selectedIDs, commit.commitID)) {
            refuse(badInsertionPoint);
        }
    }
    if (!siblings.empty()) {
        refuse(badInsertionPoint);
    }

    // 12
    if (!divergent.empty() ||
        std::any_of(affected.begin(), affected.end(),
                    [](const JJCommit& commit) { return commit.immutable; })) {
        refuse(protectedHistory);
    }

    // 13
    ParentGraph parents;
    for (const auto& commit : affected) {
        parents[commit.commitID] = commit.parents;
    }
    ParentGraph expected =
        expectedGraph(parents, affected, selectedIDs, low, high, destination.commitID);

    // 14
    ParentGraph graph = parents;
    graph[destination.commitID] = destination.parents;
    for (const auto& id : selectedIDs) {
        if (reaches(destination.commitID, id, graph)) {
            refuse(destinationDescends);
        }
    }

    // 15: who depended on the selection before the move.
    const std::vector<std::string> selection(selectedIDs.begin(), selectedIDs.end());
    std::vector<std::string> sourceWorkspaces;
    for (const auto& workspace : workspaces) {
        if (dependedOnSelection(workspace.commitID, selection, parents)) {
            sourceWorkspaces.push_back(workspace.commitID);
        }
    }
    std::vector<std::string> consumers;
    for (const auto& commit : affected) {
        if (!contains(selectedIDs, commit.commitID) &&
            dependedOnSelection(commit.commitID, selection, parents)) {
            consumers.push_back(commit.commitID);
        }
    }

    // 16: what carries the feature after the move.
    const std::string head = appending ? high.commitID : featureTip.commitID;

    // 17-18: each named composition gains the feature as its last parent.
    const std::set<std::string> repairs(repairCompositionIDs.begin(), repairCompositionIDs.end());
    if (repairs.size() != repairCompositionIDs.size()) {
        refuse(repeatedRepair);
    }
    for (const auto& repair : repairCompositionIDs) {
        const auto composition =
            std::find_if(affected.begin(), affected.end(),
                         [&](const JJCommit& commit) { return commit.commitID == repair; });
        const auto entry = expected.find(repair);
        if (composition == affected.end() || composition->parents.size() < 2 ||
            contains(selectedIDs, repair) || reaches(destination.commitID, repair, graph) ||
            entry == expected.end() || reaches(repair, head, expected)) {
            refuse(invalidRepair);
        }
        entry->second.push_back(head);
    }

    // 19
    for (const auto& [id, idParents] : expected) {
        for (const auto& parent : idParents) {
            if (reaches(parent, id, expected)) {
                refuse(cycle);
            }
        }
    }

    // 20: the environment the work came from has to keep it.
    const auto reachesHead = [&](const std::string& id) {
        return reaches(id, head, expected);
    };
    if (sourceWorkspaces.empty() ||
        !std::all_of(sourceWorkspaces.begin(), sourceWorkspaces.end(), reachesHead) ||
        !std::all_of(consumers.begin(), consumers.end(), reachesHead)) {
        refuse(sourceWouldLoseWork);
    }

    // 21
    FeatureInsertionPlan plan;
    plan.repositoryID = std::move(repositoryID);
    plan.workspaceRoot = std::move(workspaceRoot);
    plan.operationID = std::move(operationID);
    plan.bookmarkName = std::move(bookmarkName);
    plan.destination = destination;
    plan.featureTip = featureTip;
    for (const auto* commit : ordered) {
        plan.selected.push_back(*commit);
    }
    plan.affected = affected;
    for (const auto& workspace : workspaces) {
        if (expected.find(workspace.commitID) != expected.end()) {
            plan.affectedWorkspaces.push_back(workspace);
        }
    }
    plan.expectedParents = std::move(expected);
    return plan;
}

}  // namespace vorda
