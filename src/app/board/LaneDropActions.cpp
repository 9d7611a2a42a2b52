#include "app/board/LaneDropActions.h"

#include <QMessageBox>
#include <QPushButton>
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

void confirmWorkspaceBranch(RepoViewModel& viewModel, QWidget* dialogParent,
                            const CommitDragPayload& commits, const std::string& workspace,
                            const std::string& base) {
    if (commits.commits.empty()) {
        return;
    }
    const auto count = commits.commits.size();
    const std::string& tip = commits.commits.front().changeID;
    const QString message =
        QStringLiteral(
            "Move %1 selected commits onto trunk (%2), create a wip/%3 bookmark, and "
            "include it in %4. Other composition inputs are retained. This uses "
            "multiple operations; failures may require inspection in Operation Log. "
            "Nothing is pushed.")
            .arg(count)
            .arg(QString::fromStdString(base.substr(0, 12)),
                 QString::fromStdString(tip.substr(0, 8)), QString::fromStdString(workspace));
    auto* box = new QMessageBox(QMessageBox::Question,
                                QStringLiteral("Create a branch from selected work?"), message,
                                QMessageBox::Cancel, dialogParent);
    box->setObjectName(QStringLiteral("compose-confirmation"));
    QPushButton* create = box->addButton(QStringLiteral("Create Branch"), QMessageBox::AcceptRole);
    create->setObjectName(QStringLiteral("create-branch"));
    box->setDefaultButton(QMessageBox::Cancel);
    box->setAttribute(Qt::WA_DeleteOnClose);
    // The action waits for the answer; the session checks the state again
    // when it runs.
    RepoCommand command{
        RepoCommand::ComposeCommitsAsBookmark{workspace, commits.commitIDs(), tip, base}};
    QObject::connect(box, &QMessageBox::finished, &viewModel,
                     [&viewModel, box, create, command = std::move(command)] {
                         if (box->clickedButton() == create) {
                             viewModel.send(command);
                         }
                     });
    box->open();
}

void performLaneDrop(RepoViewModel& viewModel, QWidget* dialogParent,
                     const BookmarkColumnInput& lane, const LaneDrop& drop,
                     const std::string& repoRoot) {
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
                confirmWorkspaceBranch(viewModel, dialogParent, d.payload, d.workspaceName,
                                       d.baseCommitID);
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
