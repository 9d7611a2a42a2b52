// Which bookmarks a workspace composes: rewriting the parents of its
// composition point and keeping the settings file in step. Every refusal is
// a toast that leaves the repository as it was.

#include <algorithm>
#include <set>

#include "feature/commands/SessionCommands.h"

namespace vorda::commands {
namespace {

std::string noWorkspace(const std::string& workspace) {
    return "Workspace " + workspace + " no longer exists";
}

std::string noRecordedPath(const std::string& workspace) {
    return "Workspace " + workspace + " has no recorded path; open it directly to run this";
}

const Bookmark* findBookmark(const RepoState& state, const std::string& name) {
    const auto found = state.bookmarks.find(name);
    return found == state.bookmarks.end() ? nullptr : &found->second;
}

const WorkspaceState* findWorkspace(const RepoState& state, const std::string& name) {
    const auto found = state.workspaces.find(name);
    return found == state.workspaces.end() ? nullptr : &found->second;
}

// A timed read and the named workspace in it; the workspace is null when it
// is gone.
struct WorkspaceRead {
    SnapshotRef snapshot;
    const WorkspaceState* workspace = nullptr;
};

WorkspaceRead readWorkspace(RepoSession& session, const std::string& name) {
    auto snapshot = session.readSnapshot();
    const auto* workspace = findWorkspace(snapshot->repoState, name);
    return {std::move(snapshot), workspace};
}

BookmarkInclusionRole roleIn(const WorkspaceState& workspace, const std::string& bookmark) {
    const auto found = workspace.bookmarkRoles.find(bookmark);
    return found == workspace.bookmarkRoles.end() ? BookmarkInclusionRole::absent() : found->second;
}

// The commit a bookmark's role attaches: a partial role's commit, else the
// bookmark's tip.
std::string attachedCommit(const BookmarkInclusionRole& role, const Bookmark& bookmark) {
    if (const auto* partial = std::get_if<BookmarkInclusionRole::Partial>(&role.value)) {
        return partial->commitID;
    }
    return bookmark.commitIDs.front();
}

// The lowest commits of a direct workspace's own work: its mutable ancestry
// without the commits any bookmark holds, those whose parents are not among
// the rest.
std::vector<std::string> directWorkspaceRoots(const RepoState& state,
                                              const WorkspaceState& workspace) {
    std::set<std::string> held;
    for (const auto& [name, bookmark] : state.bookmarks) {
        held.insert(bookmark.commitIDs.begin(), bookmark.commitIDs.end());
    }
    std::set<std::string> candidates;
    for (const auto& commitID : workspace.ancestryCommitIDs) {
        if (!held.contains(commitID) && state.commits.contains(commitID)) {
            candidates.insert(commitID);
        }
    }
    std::vector<std::string> roots;
    for (const auto& commitID : candidates) {
        const auto& parents = state.commits.at(commitID)->parents;
        if (std::none_of(parents.begin(), parents.end(),
                         [&](const std::string& parent) { return candidates.contains(parent); })) {
            roots.push_back(commitID);
        }
    }
    return roots;
}

// Includes or removes a bookmark on a composition point of the workspace's own.
std::optional<RepoCommandResult> rewriteMaterialized(
    RepoSession& session, const RepoState& state, const WorkspaceState& workspace,
    const WorkspaceComposition::Materialized& point, const Bookmark& bookmark,
    const BookmarkInclusionRole& role, bool include, const std::string& root) {
    const auto commit = state.commits.find(point.commitID);
    if (commit == state.commits.end()) {
        return RepoCommandResult::toast("Composition point is outside the loaded graph");
    }
    if (bookmark.isDivergent) {
        return RepoCommandResult::toast(
            "Resolve the divergent bookmark before changing its attachment");
    }
    const auto& composition = workspace.composition;
    const auto parents =
        include ? composition.replacingAttachment(std::nullopt, bookmark.commitIDs.front())
                : composition.replacingAttachment(attachedCommit(role, bookmark), std::nullopt);
    if (parents != commit->second->parents) {
        JJClient(root).rewriteCompositionParents(point.commitID, commit->second->parents, parents);
    }
    session.settingsStore().setCompositionPoint(point.changeID, workspace.workspace.name);
    return std::nullopt;
}

}  // namespace

RepoCommandResult performSetWorkspaceBookmarkInclusion(RepoSession& session,
                                                       const std::string& workspaceName,
                                                       const std::string& bookmarkName,
                                                       bool include, bool yieldSnapshot) {
    const auto [snapshot, workspace] = readWorkspace(session, workspaceName);
    if (workspace == nullptr) {
        return RepoCommandResult::toast(noWorkspace(workspaceName));
    }
    const auto& state = snapshot->repoState;
    const auto* bookmark = findBookmark(state, bookmarkName);
    if (bookmark == nullptr || bookmark->commitIDs.empty()) {
        return RepoCommandResult::toast("Bookmark " + bookmarkName + " no longer exists");
    }
    const auto role = roleIn(*workspace, bookmarkName);
    if (include && !role.isAbsent()) {
        return RepoCommandResult::toast(bookmarkName + " is already included in " + workspaceName);
    }
    if (!include && std::holds_alternative<BookmarkInclusionRole::Inherited>(role.value)) {
        return RepoCommandResult::toast(
            bookmarkName + " is inherited; rebase its containing history to remove it");
    }
    if (!include && role.isAbsent()) {
        return RepoCommandResult::toast(bookmarkName + " is not included in " + workspaceName);
    }
    const auto& root = workspace->workspace.root;
    if (!root) {
        return RepoCommandResult::toast(noRecordedPath(workspaceName));
    }
    const auto& kind = workspace->composition.kind;
    if (const auto* point = std::get_if<WorkspaceComposition::Materialized>(&kind)) {
        if (auto refusal = rewriteMaterialized(session, state, *workspace, *point, *bookmark, role,
                                               include, *root)) {
            return *refusal;
        }
    } else {
        // Shared or direct history cannot lose a bookmark without a rebase;
        // including one gives the workspace a composition point of its own.
        if (!include) {
            return RepoCommandResult::toast(bookmarkName + " is inherited through shared history");
        }
        const auto changeID = JJClient(*root).createCompositionPoint(workspaceName, bookmarkName);
        session.settingsStore().setCompositionPoint(changeID, workspaceName);
    }
    auto text = include ? "Included " + bookmarkName + " in " + workspaceName
                        : "Removed " + bookmarkName + " from " + workspaceName;
    if (yieldSnapshot) {
        return toastRefresh(session, std::move(text));
    }
    // A caller that goes on reads again itself; this read only keeps the
    // cached state current.
    session.readSnapshot();
    return RepoCommandResult::toast(std::move(text));
}

RepoCommandResult performSetWorkspaceBookmarkAttachment(RepoSession& session,
                                                        const std::string& workspaceName,
                                                        const std::string& bookmarkName,
                                                        const std::string& commitID) {
    const auto [snapshot, workspace] = readWorkspace(session, workspaceName);
    if (workspace == nullptr) {
        return RepoCommandResult::toast(noWorkspace(workspaceName));
    }
    const auto& state = snapshot->repoState;
    const auto* bookmark = findBookmark(state, bookmarkName);
    if (bookmark == nullptr || bookmark->isDivergent || bookmark->commitIDs.empty() ||
        std::find(bookmark->commitIDs.begin(), bookmark->commitIDs.end(), commitID) ==
            bookmark->commitIDs.end()) {
        return RepoCommandResult::toast("That commit is no longer in " + bookmarkName);
    }
    const auto& root = workspace->workspace.root;
    if (!root) {
        return RepoCommandResult::toast(noRecordedPath(workspaceName));
    }
    const auto* point =
        std::get_if<WorkspaceComposition::Materialized>(&workspace->composition.kind);
    const auto commit = point ? state.commits.find(point->commitID) : state.commits.end();
    const auto role = roleIn(*workspace, bookmarkName);
    if (commit == state.commits.end() || !role.isToggleable()) {
        return RepoCommandResult::toast("Select a direct composition attachment to move");
    }
    const auto parents =
        workspace->composition.replacingAttachment(attachedCommit(role, *bookmark), commitID);
    if (parents == commit->second->parents) {
        return RepoCommandResult::toast("That revision is already included");
    }
    JJClient(*root).rewriteCompositionParents(point->commitID, commit->second->parents, parents);
    session.settingsStore().setCompositionPoint(point->changeID, workspaceName);
    return toastRefresh(session,
                        "Moved " + bookmarkName + "'s composition point on " + workspaceName);
}

RepoCommandResult performComposeCommitsAsBookmark(
    RepoSession& session, const RepoCommand::ComposeCommitsAsBookmark& command) {
    const auto& workspaceName = command.workspaceName;
    const auto [snapshot, workspace] = readWorkspace(session, workspaceName);
    if (workspace == nullptr) {
        return RepoCommandResult::toast(noWorkspace(workspaceName));
    }
    const auto& state = snapshot->repoState;
    if (!workspace->workspace.root) {
        return RepoCommandResult::toast("Workspace " + workspaceName + " has no recorded path");
    }
    const auto base = state.commits.find(command.immutableBaseCommitID);
    if (base == state.commits.end() || !base->second->immutable) {
        return RepoCommandResult::toast("The workspace immutable base is no longer available");
    }
    const auto stem = "wip/" + command.tipChangeID.substr(0, 8);
    auto name = stem;
    for (int counter = 2; state.bookmarks.contains(name); ++counter) {
        name = stem + "-" + std::to_string(counter);
    }
    const auto& client = session.client();
    client.rebaseRevsOnto(command.commitIDs, command.immutableBaseCommitID);
    client.createBookmark(name, client.resolveCommitID(command.tipChangeID));
    performSetWorkspaceBookmarkInclusion(session, workspaceName, name, true, false);

    const auto composed = session.readSnapshot();
    const auto* updated = findWorkspace(composed->repoState, workspaceName);
    const auto pointCommit =
        updated ? updated->composition.materializedCommitID() : std::optional<std::string>();
    if (!pointCommit || !updated->workspace.root) {
        return RepoCommandResult::toast("Could not resolve " + workspaceName +
                                        "'s composition point");
    }
    JJClient(*updated->workspace.root).createWorkingCopyCommit(*pointCommit);
    return toastRefresh(session, "Composed " + name + " in " + workspaceName);
}

RepoCommandResult performAdvanceWorkspaceOntoTrunk(RepoSession& session,
                                                   const std::string& workspaceName) {
    const auto [snapshot, workspace] = readWorkspace(session, workspaceName);
    if (workspace == nullptr) {
        return RepoCommandResult::toast(noWorkspace(workspaceName));
    }
    const auto& state = snapshot->repoState;
    if (!snapshot->trunkCommitID) {
        return RepoCommandResult::toast("No trunk resolved");
    }
    const auto& trunk = *snapshot->trunkCommitID;
    for (const auto& anchor : workspace->baseAnchors) {
        if (anchor.commitID == trunk) {
            return RepoCommandResult::toast(workspaceName + " is already based on current trunk");
        }
    }
    const auto& client = session.client();
    if (const auto point = workspace->composition.materializedCommitID()) {
        if (!client.includeTrunkInComposition(*point, trunk)) {
            return RepoCommandResult::toast(workspaceName + " already includes current trunk");
        }
    } else {
        const auto roots = directWorkspaceRoots(state, *workspace);
        if (roots.empty()) {
            return RepoCommandResult::toast(
                workspaceName + " sits on its bookmarks — rebase those lanes onto trunk instead");
        }
        client.rebaseSubtreesOnto(roots, "trunk()");
    }
    return toastRefresh(session, "Advanced " + workspaceName + " onto current trunk");
}

}  // namespace vorda::commands
