// One row per command: which client calls it makes and how it answers.

#include <algorithm>

#include "feature/commands/SessionCommands.h"
#include "jjkit/model/Composition.h"
#include "jjkit/rewrites/FeatureAppendPlan.h"
#include "jjkit/rewrites/FeatureInsertionPlan.h"
#include "jjkit/rewrites/LocalStackUpdatePlan.h"
#include "jjkit/rewrites/OperationRecord.h"
#include "jjkit/templates/RevsetQuoting.h"

namespace vorda::commands {
namespace {

/// The composition a coordinated routing repairs, named by the bookmark on
/// it: its change ID, or none when no bookmark is named, which the planner
/// refuses.
std::vector<std::string> repairCompositions(const JJClient& client, const std::string& bookmark) {
    if (bookmark.empty()) {
        return {};
    }
    const auto rows = client.log(bookmarkSetRevset(bookmark) + " & ::visible_heads()");
    if (rows.size() != 1) {
        throw JJError::unsafeOperation("A repair composition is hidden, missing, or divergent.");
    }
    return {rows.front().changeID};
}

// Visits a command's case; every overload is one row of the dispatch table.
class Dispatcher {
  public:
    explicit Dispatcher(RepoSession& session) : session_(session), client_(session.client()) {}

    RepoCommandResult operator()(const RepoCommand::Fetch& command) const {
        client_.gitFetch(std::nullopt, command.onProgress);
        return refreshed(session_);
    }
    RepoCommandResult operator()(const RepoCommand::Push& command) const {
        return performPush(session_, command.bookmark, false);
    }
    RepoCommandResult operator()(const RepoCommand::PerformPush& command) const {
        return performPush(session_, command.bookmark, true);
    }
    RepoCommandResult operator()(const RepoCommand::SyncWithTrunk& command) const {
        return performSyncWithTrunk(session_, command.bookmark);
    }
    // Planned rewrites: a plan changes nothing and needs no read; an
    // execution always reports its receipt, read or not.
    RepoCommandResult operator()(const RepoCommand::PlanLocalStackUpdate& command) const {
        return RepoCommandResult::LocalStackUpdatePlan{
            client_.planLocalStackUpdate(command.bookmarks, command.oneOffChangeIDs)};
    }
    RepoCommandResult operator()(const RepoCommand::ExecuteLocalStackUpdate& command) const {
        return completed(session_, RepoCommandResult::LocalStackUpdateCompleted{
                                       client_.executeLocalStackUpdate(command.plan)});
    }
    RepoCommandResult operator()(const RepoCommand::PlanCoordinatedRouting& command) const {
        return RepoCommandResult::CoordinatedRoutingPlan{client_.planCoordinatedFeatureRouting(
            command.changeIDs, command.afterChangeID, command.bookmark,
            repairCompositions(client_, command.repairBookmark))};
    }
    RepoCommandResult operator()(const RepoCommand::ExecuteCoordinatedRouting& command) const {
        return completed(session_, RepoCommandResult::CoordinatedRoutingCompleted{
                                       client_.executeCoordinatedFeatureRouting(command.plan)});
    }
    RepoCommandResult operator()(const RepoCommand::ExecuteCoordinatedRecovery& command) const {
        return completed(
            session_, RepoCommandResult::CoordinatedRecoveryCompleted{
                          client_.executeCoordinatedRoutingRecovery(command.plan, command.source)});
    }
    RepoCommandResult operator()(const RepoCommand::PlanCompositionAttachment& command) const {
        return RepoCommandResult::CompositionAttachmentPlan{
            client_.planCompositionAttachment(command.compositionChangeID, command.bookmark)};
    }
    RepoCommandResult operator()(const RepoCommand::ExecuteCompositionAttachment& command) const {
        return completed(session_, RepoCommandResult::CompositionAttachmentCompleted{
                                       client_.executeCompositionAttachment(command.plan)});
    }
    RepoCommandResult operator()(const RepoCommand::PlanFeatureInsertion& command) const {
        return RepoCommandResult::FeatureInsertionPlan{client_.planFeatureInsertion(
            command.changeIDs, command.afterChangeID, command.bookmark)};
    }
    RepoCommandResult operator()(const RepoCommand::ExecuteFeatureInsertion& command) const {
        return completed(session_, RepoCommandResult::FeatureInsertionCompleted{
                                       client_.executeFeatureInsertion(command.plan)});
    }
    RepoCommandResult operator()(const RepoCommand::PlanFeatureAppend& command) const {
        return RepoCommandResult::FeatureAppendPlan{
            client_.planFeatureAppend(command.changeIDs, command.bookmark)};
    }
    RepoCommandResult operator()(const RepoCommand::ExecuteFeatureAppend& command) const {
        return completed(session_, RepoCommandResult::FeatureAppendCompleted{
                                       client_.executeFeatureAppend(command.plan)});
    }
    RepoCommandResult operator()(const RepoCommand::ExecuteFeatureAppendRecovery& command) const {
        return completed(session_,
                         RepoCommandResult::FeatureAppendRecoveryCompleted{
                             client_.executeFeatureAppendRecovery(command.plan, command.source)});
    }
    RepoCommandResult operator()(const RepoCommand::CreateBookmark& command) const {
        return performCreateBookmark(session_, command.input);
    }
    RepoCommandResult operator()(const RepoCommand::RenameBookmark& command) const {
        client_.renameBookmark(command.oldName, command.newName);
        // Tags, pin, visibility, strategy and routes belong to the bookmark,
        // not to its old name.
        session_.settingsStore().rename(command.oldName, command.newName);
        return refreshed(session_);
    }
    RepoCommandResult operator()(const RepoCommand::AbandonBookmark& command) const {
        return performAbandonBookmark(session_, command.name);
    }
    RepoCommandResult operator()(const RepoCommand::DeleteBookmark& command) const {
        // The name's settings stay in the file: a bookmark of the same name
        // made later picks them up again.
        client_.deleteBookmark(command.name);
        return refreshed(session_);
    }
    RepoCommandResult operator()(const RepoCommand::RebaseBookmark& command) const {
        client_.rebaseBookmark(command.name, command.destination);
        return refreshed(session_);
    }
    RepoCommandResult operator()(const RepoCommand::ReparentToTrunk& command) const {
        client_.rebaseBookmark(command.name, "trunk()");
        return refreshed(session_);
    }
    RepoCommandResult operator()(const RepoCommand::SquashBookmarkToSingle& command) const {
        client_.squashBookmarkToSingle(command.name);
        return refreshed(session_);
    }
    RepoCommandResult operator()(const RepoCommand::MoveBookmark& command) const {
        client_.moveBookmark(command.name, command.toCommitID, command.allowBackwards);
        return refreshed(session_);
    }
    RepoCommandResult operator()(const RepoCommand::AbsorbBookmark& command) const {
        client_.moveBookmark(command.target, command.tipCommitID, false);
        client_.deleteBookmark(command.source);
        return toastRefresh(session_, "Absorbed " + command.source + " into " + command.target);
    }
    RepoCommandResult operator()(const RepoCommand::TrackRemoteBookmark& command) const {
        try {
            client_.trackBookmark(command.name, command.remote);
        } catch (const std::exception&) {
            // Tracking fails when the local bookmark already went elsewhere:
            // put it on the remote's tip instead, backwards if need be.
            client_.moveBookmark(command.name, command.tipCommitID, true);
        }
        if (command.pin) {
            auto settings = storedOrDefaultSettings(session_, command.name);
            settings.pinned = true;
            session_.settingsStore().set(settings, command.name);
        }
        return toastRefresh(session_, "Tracking " + command.name);
    }
    RepoCommandResult operator()(const RepoCommand::StageFiles& command) const {
        if (command.paths.empty()) {
            return RepoCommandResult::toast("No files selected");
        }
        client_.moveFiles(command.paths, command.into);
        return refreshed(session_);
    }
    RepoCommandResult operator()(const RepoCommand::UnstageFiles& command) const {
        if (command.paths.empty()) {
            return RepoCommandResult::toast("No files selected");
        }
        client_.pullFiles(command.paths, command.from);
        return refreshed(session_);
    }
    RepoCommandResult operator()(const RepoCommand::StageHunks& command) const {
        return performStageHunks(session_, command);
    }
    RepoCommandResult operator()(const RepoCommand::SplitCommit& command) const {
        // With no paths jj would open its interactive diff editor.
        if (command.stayingPaths.empty()) {
            return RepoCommandResult::toast("No files selected");
        }
        client_.splitByFiles(command.changeID, command.stayingPaths, command.ignoreImmutable);
        return refreshed(session_);
    }
    RepoCommandResult operator()(const RepoCommand::SplitCommitByHunks& command) const {
        return performSplitCommitByHunks(session_, command);
    }
    RepoCommandResult operator()(const RepoCommand::DescribeCommit& command) const {
        client_.describe(command.changeID, command.message, command.ignoreImmutable);
        return refreshed(session_);
    }
    RepoCommandResult operator()(const RepoCommand::ResolveFile& command) const {
        client_.resolve({command.path});
        return refreshed(session_);
    }
    RepoCommandResult operator()(const RepoCommand::AdvanceOrphan& command) const {
        client_.rebaseRevOnto(command.commitID, "trunk()");
        return refreshed(session_);
    }
    RepoCommandResult operator()(const RepoCommand::AdvanceAllOneOffs& command) const {
        client_.rebaseSubtreesOnto(command.commitIDs, "trunk()");
        return toastRefresh(
            session_,
            "Advanced " + counted(command.commitIDs.size(), "one-off", "one-offs") + " onto trunk");
    }
    RepoCommandResult operator()(const RepoCommand::AbandonOneOff& command) const {
        return performAbandonOneOff(session_, command.changeID);
    }
    RepoCommandResult operator()(const RepoCommand::RebaseCommits& command) const {
        client_.rebaseRevsOnto(command.commitIDs, command.destination);
        return refreshed(session_);
    }
    RepoCommandResult operator()(const RepoCommand::RebaseCommitsIntoBookmark& command) const {
        client_.rebaseRevsIntoBookmark(command.commitIDs, command.tipChangeID, command.destination,
                                       command.bookmark);
        return toastRefresh(session_, "Moved " +
                                          counted(command.commitIDs.size(), "commit", "commits") +
                                          " into " + command.bookmark);
    }
    RepoCommandResult operator()(const RepoCommand::ComposeCommitsAsBookmark& command) const {
        return performComposeCommitsAsBookmark(session_, command);
    }
    RepoCommandResult operator()(const RepoCommand::DuplicateCommits& command) const {
        client_.duplicate(command.commitIDs, command.destination);
        return refreshed(session_);
    }
    RepoCommandResult operator()(const RepoCommand::ApplyEnabledBookmarks& command) const {
        const std::set<std::string> enabled(command.names.begin(), command.names.end());
        client_.rewriteApexParents(command.apex,
                                   command.apex.parentsUpdating(enabled, command.previousNames));
        return refreshed(session_);
    }
    RepoCommandResult operator()(const RepoCommand::ApplyApexParents& command) const {
        return performApplyApexParents(session_, command.apex, command.parents);
    }
    RepoCommandResult operator()(const RepoCommand::SetWorkspaceBookmarkInclusion& command) const {
        return performSetWorkspaceBookmarkInclusion(session_, command.workspaceName,
                                                    command.bookmarkName, command.include, true);
    }
    RepoCommandResult operator()(const RepoCommand::SetWorkspaceBookmarkAttachment& command) const {
        return performSetWorkspaceBookmarkAttachment(session_, command.workspaceName,
                                                     command.bookmarkName, command.commitID);
    }
    RepoCommandResult operator()(const RepoCommand::AdvanceWorkspaceOntoTrunk& command) const {
        return performAdvanceWorkspaceOntoTrunk(session_, command.workspaceName);
    }
    RepoCommandResult operator()(const RepoCommand::RestoreToOp& command) const {
        client_.opRestore(command.op.opID, command.expectedOperationID);
        return toastRefresh(session_, "Restored to " + command.op.shortOpID());
    }
    RepoCommandResult operator()(const RepoCommand::SetUpdateStrategy& command) const {
        return changeBookmarkSettings(session_, command.bookmark, [&](BookmarkSettings& settings) {
            settings.updateStrategy = command.strategy;
        });
    }
    RepoCommandResult operator()(const RepoCommand::TogglePinned& command) const {
        return changeBookmarkSettings(session_, command.bookmark, [](BookmarkSettings& settings) {
            settings.pinned = !settings.pinned;
        });
    }
    RepoCommandResult operator()(const RepoCommand::ToggleBookmarkColumnVisibility& command) const {
        return changeBookmarkSettings(session_, command.bookmark, [](BookmarkSettings& settings) {
            settings.columnVisible = !settings.columnVisible;
        });
    }
    RepoCommandResult operator()(const RepoCommand::CloseBookmarkColumn& command) const {
        // Closing a column also unpins it: a pinned column would come back.
        return changeBookmarkSettings(session_, command.bookmark, [](BookmarkSettings& settings) {
            settings.pinned = false;
            settings.columnVisible = false;
        });
    }
    RepoCommandResult operator()(const RepoCommand::SetTags& command) const {
        return changeBookmarkSettings(session_, command.bookmark, [&](BookmarkSettings& settings) {
            settings.tags = command.tags;
        });
    }
    RepoCommandResult operator()(const RepoCommand::ToggleTag& command) const {
        return changeBookmarkSettings(session_, command.bookmark, [&](BookmarkSettings& settings) {
            const auto found = std::find(settings.tags.begin(), settings.tags.end(), command.tag);
            if (found == settings.tags.end()) {
                settings.tags.push_back(command.tag);
            } else {
                settings.tags.erase(found);
            }
        });
    }
    RepoCommandResult operator()(const RepoCommand::SetRoutingRules& command) const {
        return RepoCommandResult::refreshed(session_.producingFromCachedState(
            [&] { session_.settingsStore().setRoutingRules(command.rules); }));
    }
    RepoCommandResult operator()(const RepoCommand::SetRoutingRulesForBookmark& command) const {
        return performSetRoutingRulesForBookmark(session_, command.name, command.rules);
    }
    RepoCommandResult operator()(const RepoCommand::RefreshPullRequestStatuses& command) const {
        const auto snapshot = session_.readSnapshot();
        auto prs = session_.refreshPullRequestStatuses(snapshot->repoState, command.force,
                                                       command.forceBranches, command.limitTo);
        auto updated = session_.withPullRequests(snapshot, std::move(prs));
        session_.yieldSnapshot(updated);
        return RepoCommandResult::refreshed(std::move(updated));
    }
    RepoCommandResult operator()(const RepoCommand::CreatePullRequest& command) const {
        const auto pr = session_.githubClient().createPR(
            command.bookmark.name, command.base, command.title, command.body, command.draft);
        return RepoCommandResult::OpenURL{pr.url};
    }
    RepoCommandResult operator()(const RepoCommand::Refresh& /*command*/) const {
        return refreshed(session_);
    }
    RepoCommandResult operator()(const RepoCommand::Sync& /*command*/) const {
        return performSync(session_);
    }
    RepoCommandResult operator()(const RepoCommand::AdvanceTrunk& /*command*/) const {
        return performAdvanceTrunk(session_);
    }
    RepoCommandResult operator()(const RepoCommand::ReanchorApexOntoTrunk& /*command*/) const {
        return performReanchorApexOntoTrunk(session_);
    }
    RepoCommandResult operator()(const RepoCommand::ResetApex& /*command*/) const {
        return performResetApex(session_);
    }
    RepoCommandResult operator()(const RepoCommand::Undo& /*command*/) const {
        client_.undoLastOp();
        return toastRefresh(session_, "Undid last operation");
    }

  private:
    RepoSession& session_;
    const JJClient& client_;
};

}  // namespace

RepoCommandResult dispatch(RepoSession& session, const RepoCommand& command) {
    return std::visit(Dispatcher(session), command.value);
}

}  // namespace vorda::commands
