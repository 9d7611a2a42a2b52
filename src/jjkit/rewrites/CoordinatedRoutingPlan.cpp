#include "jjkit/rewrites/CoordinatedRoutingPlan.h"

#include <algorithm>
#include <set>

#include "jjkit/client/JJError.h"

namespace vorda {
namespace {

constexpr std::string_view noRepairs =
    "Choose explicit repair compositions for coordinated routing.";
constexpr std::string_view missingFeatureEdge =
    "Coordinated repair is missing its explicit feature edge.";

[[noreturn]] void refuse(std::string_view message) {
    throw JJError::unsafeOperation(std::string(message));
}

}  // namespace

CoordinatedFeatureRoutingPlan CoordinatedFeatureRoutingPlan::wrap(
    const FeatureInsertionPlan& topology, bool appending,
    const std::vector<std::string>& repairChangeIDs) {
    const std::set<std::string> wanted(repairChangeIDs.begin(), repairChangeIDs.end());
    std::vector<JJCommit> compositions;
    std::copy_if(topology.affected.begin(), topology.affected.end(),
                 std::back_inserter(compositions),
                 [&](const JJCommit& commit) { return wanted.contains(commit.changeID); });
    if (wanted.empty() || compositions.size() != wanted.size()) {
        refuse(noRepairs);
    }

    CoordinatedFeatureRoutingPlan plan;
    plan.repositoryID = topology.repositoryID;
    plan.workspaceRoot = topology.workspaceRoot;
    plan.operationID = topology.operationID;
    plan.bookmarkName = topology.bookmarkName;
    plan.appending = appending;
    plan.destination = topology.destination;
    plan.featureTip = topology.featureTip;
    plan.selected = topology.selected;
    plan.affected = topology.affected;
    plan.affectedWorkspaces = topology.affectedWorkspaces;
    plan.expectedParents = topology.expectedParents;

    const std::string head = plan.headID();
    std::sort(compositions.begin(), compositions.end(),
              [](const JJCommit& a, const JJCommit& b) { return a.commitID < b.commitID; });
    for (auto& composition : compositions) {
        const auto entry = plan.expectedParents.find(composition.commitID);
        if (entry == plan.expectedParents.end() || entry->second.size() < 2 ||
            entry->second.back() != head) {
            refuse(missingFeatureEdge);
        }
        auto routed = entry->second;
        routed.pop_back();
        plan.repairs.push_back({std::move(composition), std::move(routed), entry->second});
    }
    return plan;
}

const std::string& CoordinatedFeatureRoutingPlan::headID() const {
    return appending && !selected.empty() ? selected.back().commitID : featureTip.commitID;
}

ParentGraph CoordinatedFeatureRoutingPlan::originalStage() const {
    ParentGraph graph;
    for (const auto& commit : affected) {
        graph[commit.commitID] = commit.parents;
    }
    return graph;
}

ParentGraph CoordinatedFeatureRoutingPlan::stage(std::size_t repaired) const {
    auto graph = expectedParents;
    for (std::size_t index = repaired; index < repairs.size(); ++index) {
        graph[repairs[index].composition.commitID] = repairs[index].routedParentIDs;
    }
    return graph;
}

std::set<std::string> CoordinatedFeatureRoutingPlan::externalParentIDs(
    const ParentGraph& graph) const {
    std::set<std::string> planned;
    for (const auto& commit : affected) {
        planned.insert(commit.commitID);
    }
    std::set<std::string> external;
    for (const auto& [commit, parents] : graph) {
        for (const auto& parent : parents) {
            if (!planned.contains(parent)) {
                external.insert(parent);
            }
        }
    }
    return external;
}

std::vector<std::string> CoordinatedFeatureRoutingPlan::routeArguments() const {
    return FeatureInsertionPlan::routeArguments(selected, destination);
}

}  // namespace vorda
