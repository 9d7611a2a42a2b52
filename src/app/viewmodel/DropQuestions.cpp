#include "app/viewmodel/DropQuestions.h"

#include <algorithm>
#include <set>

#include "feature/lanes/WorkspaceLaneProjection.h"

namespace vorda {

bool isWorkspaceLocalSelection(const RepoState& state, const std::vector<std::string>& commitIDs) {
    if (commitIDs.empty()) {
        return false;
    }
    for (const auto& [name, workspace] : state.workspaces) {
        const auto projection = WorkspaceLaneProjection::build(workspace, state);
        std::set<std::string> local;
        for (const auto& commit : projection.localCommits) {
            if (!commit.immutable && commit.commitID != workspace.workspace.commitID) {
                local.insert(commit.commitID);
            }
        }
        if (std::all_of(commitIDs.begin(), commitIDs.end(),
                        [&](const std::string& id) { return local.contains(id); })) {
            return true;
        }
    }
    return false;
}

std::optional<std::string> absorbableSourceBookmark(
    const RepoState& state, const std::vector<std::string>& draggedCommitIDs,
    const std::string& target, const std::string& at) {
    const auto into = state.bookmarks.find(target);
    if (into == state.bookmarks.end() || into->second.commitIDs.empty() ||
        into->second.commitIDs.front() != at) {
        return std::nullopt;
    }
    const std::set<std::string> dragged(draggedCommitIDs.begin(), draggedCommitIDs.end());
    for (const auto& [name, bookmark] : state.bookmarks) {
        if (name == target || bookmark.isDivergent || bookmark.commitIDs.empty() ||
            std::set<std::string>(bookmark.commitIDs.begin(), bookmark.commitIDs.end()) !=
                dragged) {
            continue;
        }
        const auto oldest = state.commits.find(bookmark.commitIDs.back());
        if (oldest == state.commits.end()) {
            return std::nullopt;
        }
        const auto& parents = oldest->second->parents;
        if (std::find(parents.begin(), parents.end(), at) != parents.end()) {
            return name;
        }
        return std::nullopt;
    }
    return std::nullopt;
}

}  // namespace vorda
