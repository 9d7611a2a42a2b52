#include "feature/lanes/WorkspaceLaneProjection.h"

#include <algorithm>
#include <deque>
#include <set>
#include <utility>
#include <variant>

namespace vorda {
namespace {

const JJCommit* findCommit(const CommitIndex& commits, const std::string& commitID) {
    const auto found = commits.find(commitID);
    return found == commits.end() ? nullptr : &*found->second;
}

// The commit ID of a composition commit the workspace owns or shares; absent
// for a workspace that sits on plain commits.
std::optional<std::string> compositionCommitID(const WorkspaceComposition& composition) {
    if (const auto* materialized =
            std::get_if<WorkspaceComposition::Materialized>(&composition.kind)) {
        return materialized->commitID;
    }
    if (const auto* shared = std::get_if<WorkspaceComposition::LegacyShared>(&composition.kind)) {
        return shared->commitID;
    }
    return std::nullopt;
}

// Where the walk down from the working copy ended: the boundary it found, if
// any, and the ID it stood on when it stopped (absent after a root commit).
struct WalkEnd {
    std::optional<JJCommit> boundary;
    std::optional<std::string> lastID;
};

// Walks single-parent commits down from the working copy, collecting them
// into `localCommits`, until the composition commit, a merge, an immutable
// commit (direct workspaces only), an unloaded commit or a repeat.
WalkEnd walkFromWorkingCopy(const WorkspaceState& workspace, const CommitIndex& commits,
                            std::vector<JJCommit>& localCommits) {
    const auto composition = compositionCommitID(workspace.composition);
    const bool isDirect = workspace.composition.isDirect();
    std::optional<std::string> id = workspace.workspace.commitID;
    std::set<std::string> visited{*id};
    while (true) {
        const JJCommit* commit = findCommit(commits, *id);
        if (commit == nullptr) {
            return {std::nullopt, id};
        }
        if (composition && *id == *composition) {
            return {*commit, id};
        }
        if (isDirect && commit->immutable) {
            return {std::nullopt, id};
        }
        if (commit->parents.size() >= 2) {
            return {*commit, id};
        }
        localCommits.push_back(*commit);
        if (commit->parents.size() != 1) {
            return {std::nullopt, std::nullopt};
        }
        id = commit->parents.front();
        if (!visited.insert(*id).second) {
            return {std::nullopt, id};
        }
    }
}

// With no structural boundary, the first bookmarked commit below the working
// copy bounds the workspace's own work; the working-copy commit itself never
// does, even when it carries a bookmark.
std::optional<JJCommit> takeBookmarkedBoundary(const std::string& workingCopyID,
                                               std::vector<JJCommit>& localCommits) {
    const auto bookmarked = std::find_if(
        localCommits.begin(), localCommits.end(), [&workingCopyID](const JJCommit& commit) {
            return commit.commitID != workingCopyID && !commit.localBookmarks.empty();
        });
    if (bookmarked == localCommits.end()) {
        return std::nullopt;
    }
    JJCommit boundary = *bookmarked;
    localCommits.erase(bookmarked, localCommits.end());
    return boundary;
}

std::set<std::string> commitIDsOf(const std::vector<JJCommit>& commits) {
    std::set<std::string> ids;
    for (const auto& commit : commits) {
        ids.insert(commit.commitID);
    }
    return ids;
}

}  // namespace

std::vector<JJCommit> WorkspaceLaneProjection::commits() const {
    std::vector<JJCommit> all;
    all.reserve(localCommits.size() + (boundary ? 1 : 0));
    if (boundary) {
        all.push_back(*boundary);
    }
    all.insert(all.end(), localCommits.begin(), localCommits.end());
    return all;
}

WorkspaceLaneProjection WorkspaceLaneProjection::build(const WorkspaceState& workspace,
                                                       const RepoState& state) {
    const std::string& workingCopyID = workspace.workspace.commitID;
    WorkspaceLaneProjection lane;
    auto end = walkFromWorkingCopy(workspace, state.commits, lane.localCommits);
    lane.boundary = std::move(end.boundary);
    if (!lane.boundary) {
        lane.boundary = takeBookmarkedBoundary(workingCopyID, lane.localCommits);
    }

    std::vector<std::string> inputIDs;
    if (lane.boundary) {
        inputIDs = lane.boundary->parents;
    } else if (end.lastID) {
        inputIDs.push_back(*end.lastID);
    }

    const auto localIDs = commitIDsOf(lane.localCommits);
    std::set<std::string> seenInputs;
    for (const auto& inputID : inputIDs) {
        if (!seenInputs.insert(inputID).second || localIDs.contains(inputID)) {
            continue;
        }
        if (const JJCommit* input = findCommit(state.commits, inputID)) {
            lane.inputs.push_back(*input);
        }
    }

    auto shown = localIDs;
    const auto inputCommitIDs = commitIDsOf(lane.inputs);
    shown.insert(inputCommitIDs.begin(), inputCommitIDs.end());
    if (lane.boundary) {
        shown.insert(lane.boundary->commitID);
    }
    std::deque<std::string> work{workingCopyID};
    std::set<std::string> visited;
    while (!work.empty()) {
        std::string id = std::move(work.front());
        work.pop_front();
        const JJCommit* commit = findCommit(state.commits, id);
        if (commit == nullptr || !visited.insert(std::move(id)).second) {
            continue;
        }
        if (!shown.contains(commit->commitID)) {
            lane.history.push_back(*commit);
        }
        work.insert(work.end(), commit->parents.begin(), commit->parents.end());
    }

    for (const auto& inputID : inputIDs) {
        if (findCommit(state.commits, inputID) == nullptr) {
            lane.unresolvedInputIDs.push_back(inputID);
        }
    }
    return lane;
}

}  // namespace vorda
