#include "app/viewmodel/CommandPresentation.h"

#include <type_traits>

#include "jjkit/support/Overloaded.h"

namespace vorda {

namespace {

constexpr const char* ellipsis = "…";

std::string labelled(const std::string& text) {
    return text + ellipsis;
}

}  // namespace

std::string countedWord(std::size_t count, const std::string& word) {
    return std::to_string(count) + " " + word + (count == 1 ? "" : "s");
}

CommandKind commandKind(const RepoCommand& command) {
    return std::visit(
        Overloaded{
            [](const RepoCommand::Push&) { return CommandKind::push; },
            [](const RepoCommand::PerformPush&) { return CommandKind::push; },
            [](const RepoCommand::Fetch&) { return CommandKind::fetch; },
            [](const RepoCommand::Sync&) { return CommandKind::fetch; },
            [](const RepoCommand::Undo&) { return CommandKind::undo; },
            [](const RepoCommand::RestoreToOp&) { return CommandKind::restore; },
            [](const RepoCommand::RefreshPullRequestStatuses&) { return CommandKind::pullRequest; },
            [](const RepoCommand::CreatePullRequest&) { return CommandKind::pullRequest; },
            [](const RepoCommand::Refresh&) { return CommandKind::refresh; },
            [](const auto&) { return CommandKind::mutation; },
        },
        command.value);
}

std::string mutationLabel(const RepoCommand& command) {
    using C = RepoCommand;
    return std::visit(
        Overloaded{
            [](const C::SyncWithTrunk& c) { return labelled("Syncing " + c.bookmark.name); },
            [](const C::PlanLocalStackUpdate&) { return labelled("Planning local-stack rebase"); },
            [](const C::ExecuteLocalStackUpdate&) { return labelled("Rebasing local stacks"); },
            [](const C::PlanCoordinatedRouting&) {
                return labelled("Planning routing and attachment repairs");
            },
            [](const C::ExecuteCoordinatedRouting&) {
                return labelled("Routing work and repairing attachments");
            },
            [](const C::ExecuteCoordinatedRecovery&) {
                return labelled("Recovering coordinated routing");
            },
            [](const C::PlanCompositionAttachment&) {
                return labelled("Planning composition attachment");
            },
            [](const C::ExecuteCompositionAttachment&) {
                return labelled("Attaching feature to composition");
            },
            [](const C::PlanFeatureInsertion&) { return labelled("Planning feature insertion"); },
            [](const C::ExecuteFeatureInsertion&) { return labelled("Moving work into feature"); },
            [](const C::PlanFeatureAppend&) { return labelled("Planning feature append"); },
            [](const C::ExecuteFeatureAppend&) { return labelled("Appending work to feature"); },
            [](const C::ExecuteFeatureAppendRecovery&) {
                return labelled("Recovering feature bookmark");
            },
            [](const C::CreateBookmark&) { return labelled("Creating bookmark"); },
            [](const C::RenameBookmark& c) { return labelled("Renaming " + c.oldName); },
            [](const C::AbandonBookmark& c) { return labelled("Abandoning " + c.name); },
            [](const C::RebaseBookmark& c) { return labelled("Rebasing " + c.name); },
            [](const C::ReparentToTrunk& c) {
                return labelled("Rebasing " + c.name + " onto current trunk");
            },
            [](const C::SquashBookmarkToSingle& c) { return labelled("Squashing " + c.name); },
            [](const C::MoveBookmark& c) { return labelled("Moving " + c.name); },
            [](const C::StageFiles&) { return labelled("Moving files"); },
            [](const C::UnstageFiles&) { return labelled("Moving files"); },
            [](const C::StageHunks&) { return labelled("Moving files"); },
            [](const C::SplitCommit&) { return labelled("Splitting commit"); },
            [](const C::SplitCommitByHunks&) { return labelled("Splitting commit"); },
            [](const C::DescribeCommit&) { return labelled("Saving description"); },
            [](const C::ResolveFile&) { return labelled("Resolving conflict"); },
            [](const C::AdvanceOrphan&) { return labelled("Advancing commit"); },
            [](const C::AdvanceAllOneOffs& c) {
                return labelled("Advancing " + countedWord(c.commitIDs.size(), "commit"));
            },
            [](const C::AbandonOneOff&) { return labelled("Abandoning"); },
            [](const C::RebaseCommits& c) {
                return labelled("Moving " + countedWord(c.commitIDs.size(), "commit"));
            },
            [](const C::RebaseCommitsIntoBookmark& c) {
                return labelled("Moving " + countedWord(c.commitIDs.size(), "commit") + " into " +
                                c.bookmark);
            },
            [](const C::ComposeCommitsAsBookmark& c) {
                return labelled("Composing " + countedWord(c.commitIDs.size(), "commit") + " in " +
                                c.workspaceName);
            },
            [](const C::DuplicateCommits& c) {
                return labelled("Duplicating " + countedWord(c.commitIDs.size(), "commit"));
            },
            [](const C::ApplyEnabledBookmarks&) { return labelled("Rebuilding working copy"); },
            [](const C::ApplyApexParents&) { return labelled("Rebuilding working copy"); },
            [](const C::SetWorkspaceBookmarkAttachment& c) {
                return labelled("Moving composition point on " + c.bookmarkName);
            },
            [](const C::AdvanceWorkspaceOntoTrunk& c) {
                return labelled("Advancing " + c.workspaceName + " onto trunk");
            },
            [](const C::AdvanceTrunk&) { return labelled("Advancing trunk"); },
            [](const C::ReanchorApexOntoTrunk&) { return labelled("Re-anchoring apex"); },
            [](const C::ResetApex&) { return labelled("Resetting apex"); },
            [](const auto&) { return labelled("Working"); },
        },
        command.value);
}

std::set<std::string> advancedCommitIDs(const RepoCommand& command, const RepoState* state) {
    using C = RepoCommand;
    return std::visit(
        Overloaded{
            [](const C::AdvanceOrphan& c) { return std::set<std::string>{c.commitID}; },
            [](const C::AdvanceAllOneOffs& c) {
                return std::set<std::string>(c.commitIDs.begin(), c.commitIDs.end());
            },
            [state](const C::ReparentToTrunk& c) {
                std::set<std::string> ids;
                if (state == nullptr) {
                    return ids;
                }
                if (const auto found = state->bookmarks.find(c.name);
                    found != state->bookmarks.end()) {
                    ids.insert(found->second.commitIDs.begin(), found->second.commitIDs.end());
                }
                return ids;
            },
            [](const auto&) { return std::set<std::string>{}; },
        },
        command.value);
}

}  // namespace vorda
