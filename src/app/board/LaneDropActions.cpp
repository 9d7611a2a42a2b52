#include "app/board/LaneDropActions.h"

#include <cstdint>
#include <filesystem>

#include "app/viewmodel/DropQuestions.h"
#include "app/viewmodel/RepoViewModel.h"
#include "jjkit/support/Overloaded.h"

namespace vorda {

namespace {

void dropCommitsOntoCommit(RepoViewModel& viewModel, const BookmarkColumnInput& lane,
                           const LaneDrop::CommitsOntoCommit& drop) {
    const auto commitIDs = drop.payload.commitIDs();
    if (drop.isCopy) {
        viewModel.send(RepoCommand::DuplicateCommits{commitIDs, drop.targetCommitID});
        return;
    }
    const auto* state = viewModel.board().repoState();
    if (state == nullptr) {
        return;
    }
    const std::string& bookmark = lane.bookmark.name;
    if (isWorkspaceLocalSelection(*state, commitIDs)) {
        const auto changeIDs = drop.payload.changeIDs();
        viewModel.beginWorkspaceRouting(StringSet(changeIDs.begin(), changeIDs.end()), bookmark,
                                        drop.targetCommitID);
        return;
    }
    if (const auto source =
            absorbableSourceBookmark(*state, commitIDs, bookmark, drop.targetCommitID)) {
        // The dragged bookmark's tip becomes the lane's tip.
        viewModel.send(RepoCommand::AbsorbBookmark{*source, bookmark,
                                                   state->bookmarks.at(*source).commitIDs.front()});
        return;
    }
    viewModel.send(RepoCommand::RebaseCommitsIntoBookmark{
        commitIDs, drop.payload.commits.front().changeID, drop.targetCommitID, bookmark});
}

/// `paths` relative to `root`; files outside it are left out.
std::vector<std::string> repoRelative(const std::vector<std::string>& paths,
                                      const std::string& root) {
    std::vector<std::string> relative;
    const auto base = std::filesystem::path(root).lexically_normal();
    for (const auto& path : paths) {
        const auto inside = std::filesystem::path(path).lexically_normal().lexically_relative(base);
        if (!inside.empty() && *inside.begin() != "..") {
            relative.push_back(inside.generic_string());
        }
    }
    return relative;
}

}  // namespace

void confirmWorkspaceBranch(RepoViewModel& viewModel, const CommitDragPayload& commits,
                            const std::string& workspace, const std::string& base) {
    if (commits.commits.empty()) {
        return;
    }
    static std::uint64_t next = 0;
    const std::string& tip = commits.commits.front().changeID;
    // The composition waits for the answer; the session checks the state
    // again when it runs.
    viewModel.sheets().setConfirmationRequest(ConfirmationRequest{
        "compose-" + std::to_string(++next), "Create a branch from selected work?",
        "Move " + std::to_string(commits.commits.size()) + " selected commits onto trunk (" +
            base.substr(0, 12) + "), create a wip/" + tip.substr(0, 8) +
            " bookmark, and include it in " + workspace +
            ". Other composition inputs are retained. This uses multiple operations; failures "
            "may require inspection in Operation Log. Nothing is pushed.",
        RepoCommand::ComposeCommitsAsBookmark{workspace, commits.commitIDs(), tip, base},
        "Create Branch"});
}

void performLaneDrop(RepoViewModel& viewModel, const BookmarkColumnInput& lane,
                     const LaneDrop& drop, const std::string& repoRoot) {
    const std::string& bookmark = lane.bookmark.name;
    std::visit(
        Overloaded{
            [&](const LaneDrop::CommitsOntoCommit& d) {
                dropCommitsOntoCommit(viewModel, lane, d);
            },
            [&](const LaneDrop::WorkspaceCommits& d) {
                if (d.isCopy) {
                    viewModel.send(
                        RepoCommand::DuplicateCommits{d.payload.commitIDs(), d.targetCommitID});
                } else {
                    viewModel.send(
                        RepoCommand::RebaseCommits{d.payload.commitIDs(), d.targetCommitID});
                }
            },
            [&](const LaneDrop::ComposeOnTrunk& d) {
                confirmWorkspaceBranch(viewModel, d.payload, d.workspaceName, d.baseCommitID);
            },
            [&](const LaneDrop::MoveBookmarkTip& d) {
                viewModel.send(RepoCommand::MoveBookmark{bookmark, d.commitID, d.allowBackwards});
            },
            [&](const LaneDrop::MoveCompositionPoint& d) {
                viewModel.send(RepoCommand::SetWorkspaceBookmarkAttachment{d.workspaceName,
                                                                           bookmark, d.commitID});
            },
            [&](const LaneDrop::IncludeBookmark& d) {
                viewModel.send(
                    RepoCommand::SetWorkspaceBookmarkInclusion{d.workspaceName, d.name, true});
            },
            [&](const LaneDrop::RebaseBookmark& d) {
                viewModel.send(RepoCommand::RebaseBookmark{d.name, d.destinationCommitID});
            },
            [&](const LaneDrop::StageFiles& d) {
                viewModel.send(RepoCommand::StageFiles{repoRelative(d.paths, repoRoot), bookmark});
            },
        },
        drop.value);
}

}  // namespace vorda
