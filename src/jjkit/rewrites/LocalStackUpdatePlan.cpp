#include "jjkit/rewrites/LocalStackUpdatePlan.h"

#include <algorithm>
#include <utility>

#include "jjkit/client/JJError.h"
#include "jjkit/rewrites/PlannedFlow.h"
#include "jjkit/support/Text.h"
#include "jjkit/support/Uuid.h"
#include "jjkit/templates/RevsetQuoting.h"

namespace vorda {
namespace {

constexpr std::string_view selectMutableStack = "Select at least one mutable local stack.";
constexpr std::string_view oneOffHasBookmark =
    "A selected one-off now has a bookmark. Select its bookmark instead.";
constexpr std::string_view crossesBoundary =
    "Selection crosses a merge, divergent change, or unselected bookmarked base. Select the base "
    "stack too, or update it separately.";
constexpr std::string_view movesSibling =
    "Selection would also move an unselected sibling branch. Include its tip in the update first.";
constexpr std::string_view rewritesProtected =
    "Update would rewrite protected history or remove an existing base dependency.";
constexpr std::string_view trunkInside = "Trunk is inside the history selected for rebasing.";

[[noreturn]] void refuse(std::string_view message) {
    throw JJError::unsafeOperation(std::string(message));
}

std::set<std::string> commitIDs(const std::vector<JJCommit>& commits) {
    std::set<std::string> ids;
    for (const auto& commit : commits) {
        ids.insert(commit.commitID);
    }
    return ids;
}

bool hasLocalBookmark(const JJCommit& commit, const std::string& name) {
    return std::any_of(commit.localBookmarks.begin(), commit.localBookmarks.end(),
                       [&](const JJCommitRef& ref) { return ref.name == name; });
}

// The remote "git" mirrors every local bookmark of a colocated repository;
// only a real remote says that a commit has been published.
bool isPublished(const JJCommit& commit) {
    return std::any_of(
        commit.remoteBookmarks.begin(), commit.remoteBookmarks.end(),
        [](const JJCommitRef& ref) { return ref.remote.has_value() && *ref.remote != "git"; });
}

void sortByCommitID(std::vector<JJCommit>& commits) {
    std::sort(commits.begin(), commits.end(), [](const JJCommit& left, const JJCommit& right) {
        return left.commitID < right.commitID;
    });
}

std::string othersWorkList(const std::vector<JJCommit>& commits) {
    std::vector<std::string> entries;
    entries.reserve(commits.size());
    for (const auto& commit : commits) {
        entries.push_back(commit.shortChangeID() + " · " + commit.summary());
    }
    return text::join(entries, ", ");
}

}  // namespace

bool LocalStackUpdatePlan::hasChanges() const {
    const std::vector<std::string> onDestination{destination.commitID};
    return std::any_of(roots.begin(), roots.end(),
                       [&](const JJCommit& root) { return root.parents != onDestination; });
}

std::vector<std::string> LocalStackUpdatePlan::commandArguments() const {
    std::vector<std::string> arguments{"rebase"};
    for (const auto& root : roots) {
        arguments.emplace_back("-s");
        arguments.push_back(commitIDRevset(root.commitID));
    }
    arguments.emplace_back("-d");
    arguments.push_back(commitIDRevset(destination.commitID));
    return arguments;
}

std::string LocalStackUpdatePlan::commandLine() const {
    return flow::displayCommandLine(commandArguments());
}

std::vector<JJCommit> LocalStackUpdatePlan::protectedDependencies() const {
    std::vector<JJCommit> result;
    std::copy_if(preservedDependencies.begin(), preservedDependencies.end(),
                 std::back_inserter(result),
                 [](const JJCommit& commit) { return commit.immutable; });
    return result;
}

std::vector<std::string> LocalStackUpdatePlan::affectedBookmarkNames() const {
    std::set<std::string> names;
    for (const auto& commit : affectedCommits) {
        for (const auto& ref : commit.localBookmarks) {
            names.insert(ref.name);
        }
    }
    return {names.begin(), names.end()};
}

std::size_t LocalStackUpdatePlan::publishedCommitCount() const {
    return static_cast<std::size_t>(
        std::count_if(affectedCommits.begin(), affectedCommits.end(), isPublished));
}

LocalStackUpdatePlan LocalStackUpdatePlan::build(
    std::string repositoryID, std::string workspaceRoot, std::string operationID,
    std::vector<std::string> bookmarkNames, std::vector<JJCommit> oneOffTips,
    const std::vector<JJCommit>& tips, const JJCommit& destination,
    const std::vector<JJCommit>& stack, const std::vector<JJCommit>& roots,
    const std::vector<JJCommit>& affected, const std::vector<JJCommit>& siblings,
    const std::vector<JJCommit>& lostBases, const std::vector<JJCommit>& divergent,
    const std::vector<JJCommit>& boundary, const std::vector<JJWorkspace>& workspaces,
    const std::vector<JJCommit>& nonMineAffected) {
    // 1. Other people's work never moves, whatever else is wrong.
    if (!nonMineAffected.empty()) {
        refuse("Rebase would rewrite commits not matched by mine(): " +
               othersWorkList(nonMineAffected) + ". Other people's work must stay in place.");
    }

    // 2. Something mutable must be selected.
    const bool anyTipImmutable =
        std::any_of(tips.begin(), tips.end(), [](const JJCommit& tip) { return tip.immutable; });
    if ((bookmarkNames.empty() && oneOffTips.empty()) || tips.empty() || roots.empty() ||
        anyTipImmutable) {
        refuse(selectMutableStack);
    }

    // 3. A one-off that gained a bookmark is now that bookmark's stack.
    if (std::any_of(oneOffTips.begin(), oneOffTips.end(),
                    [](const JJCommit& tip) { return !tip.localBookmarks.empty(); })) {
        refuse(oneOffHasBookmark);
    }

    // 4. Only linear stacks of single-parent commits, whose bookmarks are all
    // selected tips: a bookmark below a tip is another stack's base.
    const auto tipIDs = commitIDs(tips);
    const bool crossesStack = std::any_of(stack.begin(), stack.end(), [&](const JJCommit& commit) {
        return commit.parents.size() != 1 ||
               (!tipIDs.contains(commit.commitID) && !commit.localBookmarks.empty());
    });
    if (!divergent.empty() || crossesStack) {
        refuse(crossesBoundary);
    }

    // 5. Everything that moves along must lie on a selected line.
    if (!siblings.empty()) {
        refuse(movesSibling);
    }

    // 6. Protected history stays, and so does every base a root stands on.
    if (!lostBases.empty() ||
        std::any_of(affected.begin(), affected.end(),
                    [](const JJCommit& commit) { return commit.immutable; })) {
        refuse(rewritesProtected);
    }

    // 7. The destination cannot move with the stacks it receives.
    const auto affectedIDs = commitIDs(affected);
    if (affectedIDs.contains(destination.commitID)) {
        refuse(trunkInside);
    }

    // 8. Compose. The roots' own old parents are left behind on purpose;
    // only what a commit above a root keeps from outside is a dependency.
    const auto rootIDs = commitIDs(roots);
    std::set<std::string> keptParents;
    for (const auto& commit : affected) {
        if (rootIDs.contains(commit.commitID)) {
            continue;
        }
        for (const auto& parent : commit.parents) {
            if (!affectedIDs.contains(parent)) {
                keptParents.insert(parent);
            }
        }
    }

    LocalStackUpdatePlan plan;
    plan.id = makeUuid();
    plan.repositoryID = std::move(repositoryID);
    plan.workspaceRoot = std::move(workspaceRoot);
    plan.operationID = std::move(operationID);
    plan.bookmarkNames = std::move(bookmarkNames);
    std::sort(plan.bookmarkNames.begin(), plan.bookmarkNames.end());
    plan.oneOffTips = std::move(oneOffTips);
    std::sort(
        plan.oneOffTips.begin(), plan.oneOffTips.end(),
        [](const JJCommit& left, const JJCommit& right) { return left.changeID < right.changeID; });
    plan.destination = destination;
    plan.roots = roots;
    sortByCommitID(plan.roots);
    plan.affectedCommits = affected;
    for (const auto& workspace : workspaces) {
        if (affectedIDs.contains(workspace.commitID)) {
            plan.affectedWorkspaces.push_back(workspace);
        }
    }
    std::sort(
        plan.affectedWorkspaces.begin(), plan.affectedWorkspaces.end(),
        [](const JJWorkspace& left, const JJWorkspace& right) { return left.name < right.name; });
    for (const auto& commit : boundary) {
        if (keptParents.contains(commit.commitID)) {
            plan.preservedDependencies.push_back(commit);
        }
    }
    sortByCommitID(plan.preservedDependencies);
    return plan;
}

bool LocalStackUpdatePlan::isLinearLocalStack(const JJCommit& commit,
                                              const std::map<std::string, JJCommit>& commits) {
    if (commit.immutable) {
        return false;
    }
    std::set<std::string> seen;
    const JJCommit* current = &commit;
    while (true) {
        if (!seen.insert(current->commitID).second || current->parents.size() != 1) {
            return false;
        }
        const auto parent = commits.find(current->parents.front());
        if (parent == commits.end()) {
            return false;
        }
        if (parent->second.immutable) {
            return true;
        }
        current = &parent->second;
    }
}

std::vector<JJCommit> LocalStackUpdatePlan::unbookmarkedStackTips(
    const std::map<std::string, JJCommit>& commits, const std::set<std::string>& mineChangeIDs) {
    std::set<std::string> withChildren;
    for (const auto& [id, commit] : commits) {
        for (const auto& parent : commit.parents) {
            withChildren.insert(parent);
        }
    }
    // A stack qualifies when every mutable commit from the head down to the
    // immutable base is one's own and carries no bookmark.
    const auto ownUnbookmarkedDownToBase = [&](const JJCommit& head) {
        const JJCommit* current = &head;
        while (!current->immutable) {
            if (!mineChangeIDs.contains(current->changeID) || !current->localBookmarks.empty()) {
                return false;
            }
            current = &commits.at(current->parents.front());
        }
        return true;
    };

    std::vector<JJCommit> tips;
    for (const auto& [id, commit] : commits) {
        if (withChildren.contains(id) || !isLinearLocalStack(commit, commits) ||
            !ownUnbookmarkedDownToBase(commit)) {
            continue;
        }
        tips.push_back(commit);
    }
    std::sort(tips.begin(), tips.end(), [](const JJCommit& left, const JJCommit& right) {
        return left.changeID < right.changeID;
    });
    return tips;
}

LocalStackRebaseSummary::LocalStackRebaseSummary(const LocalStackUpdatePlan& plan) {
    std::map<std::string, const JJCommit*> byCommitID;
    for (const auto& commit : plan.affectedCommits) {
        byCommitID.emplace(commit.commitID, &commit);
    }

    for (const auto& name : plan.bookmarkNames) {
        const auto tip =
            std::find_if(plan.affectedCommits.begin(), plan.affectedCommits.end(),
                         [&](const JJCommit& commit) { return hasLocalBookmark(commit, name); });
        if (tip != plan.affectedCommits.end()) {
            stacks.push_back({.id = "bookmark:" + name,
                              .bookmarkName = name,
                              .tip = *tip,
                              .commits = {},
                              .sharedCommitCount = 0});
        }
    }
    for (const auto& tip : plan.oneOffTips) {
        const auto found = byCommitID.find(tip.commitID);
        stacks.push_back({.id = "change:" + tip.changeID,
                          .bookmarkName = std::nullopt,
                          .tip = found == byCommitID.end() ? tip : *found->second,
                          .commits = {},
                          .sharedCommitCount = 0});
    }

    std::map<std::string, std::size_t> members;
    for (auto& stack : stacks) {
        std::set<std::string> visited;
        std::vector<const JJCommit*> pending;
        if (const auto found = byCommitID.find(stack.tip.commitID); found != byCommitID.end()) {
            pending.push_back(found->second);
        }
        while (!pending.empty()) {
            const JJCommit* commit = pending.back();
            pending.pop_back();
            if (!visited.insert(commit->commitID).second) {
                continue;
            }
            stack.commits.push_back(*commit);
            ++members[commit->commitID];
            // Reversed, so that the first parent is walked first.
            std::for_each(
                commit->parents.rbegin(), commit->parents.rend(), [&](const std::string& parent) {
                    if (const auto found = byCommitID.find(parent); found != byCommitID.end()) {
                        pending.push_back(found->second);
                    }
                });
        }
    }

    movingCommitCount = members.size();
    sharedCommitCount = static_cast<std::size_t>(std::count_if(
        members.begin(), members.end(), [](const auto& entry) { return entry.second > 1; }));
    for (auto& stack : stacks) {
        stack.sharedCommitCount = static_cast<std::size_t>(
            std::count_if(stack.commits.begin(), stack.commits.end(),
                          [&](const JJCommit& commit) { return members[commit.commitID] > 1; }));
    }
    for (const auto& commit : plan.affectedCommits) {
        if (!members.contains(commit.commitID)) {
            followingCommits.push_back(commit);
        }
    }
}

}  // namespace vorda
