#pragma once

#include <functional>
#include <string>

#include "feature/commands/RepoCommand.h"
#include "feature/commands/RepoCommandResult.h"
#include "feature/session/RepoSession.h"

// The steps behind `RepoSession::execute`. Each runs inside the caller's gate
// turn, on the session's public surface only: its client, stores and reads.
// Refusals come back as toasts; a failing jj call is thrown unchanged.
namespace vorda::commands {

/// One command, by its case.
RepoCommandResult dispatch(RepoSession& session, const RepoCommand& command);

/// A timed read, yielded on the stream and returned as `refreshed`.
RepoCommandResult refreshed(RepoSession& session);
/// A timed read, yielded on the stream, and the toast `text`.
RepoCommandResult toastRefresh(RepoSession& session, std::string text);

/// A journalled rewrite has happened: a timed read yielded on the stream when
/// it succeeds, and `result` in any case. A failing read is swallowed, since
/// the rewrite itself did happen and its receipt must reach the user.
RepoCommandResult completed(RepoSession& session, RepoCommandResult result);

/// "1 commit", "2 commits": `count` and the noun, plural unless it is one.
std::string counted(std::size_t count, std::string_view singular, std::string_view plural);

/// The stored settings of `bookmark`; else the defaults for its origin in the
/// cached snapshot, or for a local bookmark when that is unknown too.
BookmarkSettings storedOrDefaultSettings(RepoSession& session, const std::string& bookmark);

// Settings-only commands: the stored settings of `bookmark` (or the defaults
// for its origin) changed by `change`, saved, and the cached snapshot reprojected.
RepoCommandResult changeBookmarkSettings(RepoSession& session, const std::string& bookmark,
                                         const std::function<void(BookmarkSettings&)>& change);
RepoCommandResult performSetRoutingRulesForBookmark(RepoSession& session, const std::string& name,
                                                    const std::vector<FileRoutingRule>& rules);

// Workspaces and compositions.
RepoCommandResult performSetWorkspaceBookmarkInclusion(RepoSession& session,
                                                       const std::string& workspaceName,
                                                       const std::string& bookmarkName,
                                                       bool include, bool yieldSnapshot);
RepoCommandResult performSetWorkspaceBookmarkAttachment(RepoSession& session,
                                                        const std::string& workspaceName,
                                                        const std::string& bookmarkName,
                                                        const std::string& commitID);
RepoCommandResult performComposeCommitsAsBookmark(
    RepoSession& session, const RepoCommand::ComposeCommitsAsBookmark& command);
RepoCommandResult performAdvanceWorkspaceOntoTrunk(RepoSession& session,
                                                   const std::string& workspaceName);
RepoCommandResult performApplyApexParents(RepoSession& session, const Apex& apex,
                                          const std::vector<ApexParent>& parents);
RepoCommandResult performReanchorApexOntoTrunk(RepoSession& session);
RepoCommandResult performResetApex(RepoSession& session);

// Remotes, trunk and bookmark lifetimes.
RepoCommandResult performPush(RepoSession& session, const Bookmark& bookmark,
                              bool alreadyConfirmed);
RepoCommandResult performSync(RepoSession& session);
RepoCommandResult performAdvanceTrunk(RepoSession& session);
RepoCommandResult performSyncWithTrunk(RepoSession& session, const Bookmark& bookmark);
RepoCommandResult performCreateBookmark(RepoSession& session, const CreateBookmarkInput& input);
/// Tracks the new bookmark on "origin" when the input asks; a failure (nothing
/// there yet) is dropped.
void trackOnOrigin(const RepoSession& session, const CreateBookmarkInput& input);
RepoCommandResult performAbandonBookmark(RepoSession& session, const std::string& name);
RepoCommandResult performAbandonOneOff(RepoSession& session, const std::string& changeID);

// Hunks through the diff editor helper.
RepoCommandResult performStageHunks(RepoSession& session, const RepoCommand::StageHunks& command);
RepoCommandResult performSplitCommitByHunks(RepoSession& session,
                                            const RepoCommand::SplitCommitByHunks& command);
RepoCommandResult performCreateBookmarkWithCarve(RepoSession& session,
                                                 const CreateBookmarkInput& input,
                                                 const DiffEditorProtocol::HunkSelection& selection,
                                                 const std::string& helperPath);

}  // namespace vorda::commands
