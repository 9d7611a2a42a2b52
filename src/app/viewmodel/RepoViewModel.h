#pragma once

#include <QObject>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "app/viewmodel/ActivityModel.h"
#include "app/viewmodel/BackgroundWork.h"
#include "app/viewmodel/BoardModel.h"
#include "app/viewmodel/DiffModel.h"
#include "app/viewmodel/HiddenPanelModel.h"
#include "app/viewmodel/OperationLogModel.h"
#include "app/viewmodel/RewriteModel.h"
#include "app/viewmodel/SheetRequests.h"
#include "feature/commands/RepoCommandResult.h"
#include "feature/session/RepoSession.h"
#include "jjkit/diff/DiffEditorProtocol.h"
#include "jjkit/diff/UnifiedDiffParser.h"

namespace vorda {

/// A repository window's road to its repository. It owns the session and
/// the window's background work, and keeps what comes back in small models
/// that the views observe, one per concern: the board, the activity area,
/// the requested dialogs, the planned rewrites, the operation log and the
/// diff column. Everything here lives on the GUI thread, which never waits
/// on jj: the session's work runs on `BackgroundWork` and its outcomes come
/// back as queued calls.
///
/// `close()` (the window closing, or destruction) stops the pending work:
/// nothing new starts and late outcomes are dropped.
class RepoViewModel : public QObject {
    Q_OBJECT

  public:
    explicit RepoViewModel(QObject* parent = nullptr);
    ~RepoViewModel() override;
    RepoViewModel(const RepoViewModel&) = delete;
    RepoViewModel& operator=(const RepoViewModel&) = delete;
    RepoViewModel(RepoViewModel&&) = delete;
    RepoViewModel& operator=(RepoViewModel&&) = delete;

    BoardModel& board() { return *board_; }
    const BoardModel& board() const { return *board_; }
    ActivityModel& activity() { return *activity_; }
    const ActivityModel& activity() const { return *activity_; }
    SheetRequests& sheets() { return *sheets_; }
    const SheetRequests& sheets() const { return *sheets_; }
    RewriteModel& rewrites() { return *rewrites_; }
    const RewriteModel& rewrites() const { return *rewrites_; }
    OperationLogModel& operationLog() { return *operationLog_; }
    const OperationLogModel& operationLog() const { return *operationLog_; }
    DiffModel& diff() { return *diff_; }
    const DiffModel& diff() const { return *diff_; }
    HiddenPanelModel& hiddenPanel() { return *hiddenPanel_; }
    const HiddenPanelModel& hiddenPanel() const { return *hiddenPanel_; }
    const std::shared_ptr<RepoSession>& repoSession() const { return repoSession_; }

    // Lifecycle.

    /// Finds the repository, opens a session, bootstraps it in the
    /// background, applies the first snapshot, then follows the session's
    /// stream and starts watching. `done` runs on the GUI thread when the
    /// first snapshot is applied or the load has failed.
    void load(const std::string& directory, std::function<void()> done = {});
    /// Stops the pending work and the stream; later outcomes are dropped.
    void close();
    /// Asks the session for a read, debounced (the window came to the front).
    void requestRefresh();

    // Commands.

    /// Runs `command` through the session and applies what comes back. Never
    /// throws: failures land in the error field of their kind. `done` runs on
    /// the GUI thread once the outcome is applied; with no session nothing
    /// runs and `done` is not called.
    void send(RepoCommand command, std::function<void()> done = {});
    void setBookmarkIncluded(const std::string& bookmark, bool included);
    void fetch(std::function<void()> done = {});
    void toggleLane(const std::string& name);
    void loadMoreAncestors(const std::string& name);
    void refreshPRStatuses(bool force, const StringSet& forceBranches);
    /// Tracks an untracked remote bookmark at its remote tip, pinning it to
    /// the board when `pin`; a bookmark without a tip commit sends nothing.
    void trackRemoteBookmark(const Bookmark& bookmark, bool pin);
    /// Brings a hidden item onto the board: a one-off lane (by its display
    /// name) opens, an untracked remote bookmark is tracked and pinned, and
    /// any other bookmark is pinned.
    void pinFromHiddenPanel(const std::string& name);

    // Direct reads.

    /// The diff from the first to the last of `changeIDs`, run from the
    /// older of the two to the newer whichever comes first.
    void loadDiffForSelectedChangeIDs(const StringList& changeIDs);
    void loadDiffForBookmark(const Bookmark& bookmark);
    /// Only the newest request fills the diff column.
    void loadDiffText(const std::string& revset);
    /// The changed files of a commit; `done` gets an empty list on failure
    /// or with no session.
    void loadChangedFiles(const std::string& changeID,
                          std::function<void(const std::vector<ChangedFile>&)> done);
    void loadRecentOps();
    /// The names of the bookmarks whose tips `revset` matches; only the
    /// newest request is answered, and an invalid revset comes back as the
    /// outcome's error. With no session `done` gets the error at once.
    void loadBookmarkNames(const std::string& revset,
                           std::function<void(const Outcome<StringSet>&)> done);
    /// A commit's diff, parsed; `done` gets nothing on failure or with no
    /// session.
    void loadCommitDiff(const std::string& changeID,
                        std::function<void(const std::optional<UnifiedDiff>&)> done);
    /// What the review of a conflicted commit shows; only the newest
    /// request is answered. With no session `done` gets the error at once.
    void loadRebaseConflict(const std::string& changeID,
                            std::function<void(const Outcome<RebaseConflictReview>&)> done);
    /// What an append's receipt finds in the repository now.
    void inspectFeatureAppend(const AppendRecord& record,
                              std::function<void(const Outcome<FeatureAppendInspection>&)> done);
    /// The recovery of an interrupted append, planned afresh from an
    /// inspection; a refusal comes back as the outcome's error.
    void planFeatureAppendRecovery(
        const AppendRecord& source,
        std::function<void(const Outcome<FeatureAppendRecoveryPlan>&)> done);
    /// Carries out a recovery the user approved.
    void executeApprovedAppendRecovery(const FeatureAppendRecoveryPlan& plan,
                                       const AppendRecord& source);
    /// Opens the local stack update with the bookmarks and the one unnamed
    /// stack it preselects, and no earlier preview or outcome.
    void presentLocalStackRebase(const std::optional<StringList>& bookmarks,
                                 const std::optional<std::string>& changeID);
    /// Opens the composition attachment with no earlier preview or outcome.
    void presentCompositionAttachment();
    /// Opens routing with its seeds and no earlier routing preview, outcome
    /// or error.
    void beginWorkspaceRouting(const StringSet& changeIDs, const std::string& bookmark,
                               const std::string& after);
    /// What a coordinated routing's receipt finds in the repository now.
    void inspectCoordinatedRouting(
        const CoordinatedRecord& record,
        std::function<void(const Outcome<CoordinatedRoutingInspection>&)> done);
    /// The rest of a stopped coordinated routing, planned from what is there
    /// now; a refusal comes back as the outcome's error.
    void planCoordinatedRecovery(
        const CoordinatedRecord& source,
        std::function<void(const Outcome<CoordinatedRoutingRecoveryPlan>&)> done);
    void executeApprovedCoordinatedRecovery(const CoordinatedRoutingRecoveryPlan& plan,
                                            const CoordinatedRecord& source);
    /// Splits a commit by the hunks `selection` keeps, through the diff
    /// helper; without the helper nothing is sent and the error says so.
    void splitCommitByHunks(const std::string& changeID,
                            const DiffEditorProtocol::HunkSelection& selection,
                            bool ignoreImmutable);
    /// The diff helper's path; without it, the error of a hunk command
    /// says that it is missing, and nothing comes back.
    std::optional<std::string> requireDiffApplyHelper();

    /// Applies a snapshot as the stream does.
    void applySnapshot(const SnapshotRef& snapshot);
    /// Applies a command's result as `send` does.
    void apply(const RepoCommandResult& result, const RepoCommand& command);
    /// Routes a failure's text to the error field of the command's kind.
    void applyError(const std::string& message, const RepoCommand& command);
    /// Marks `command` as running or finished in the fields it shows in.
    void setInFlight(const RepoCommand& command, bool running);

  Q_SIGNALS:
    /// Asks the platform to open an address in the browser.
    void openURLRequested(const std::string& url);

  private:
    void startSubscription();
    void startAfterLoadTasks();
    /// Whether `ancestor` is `descendant` or one of its ancestors, as far
    /// as the loaded state knows.
    bool isAncestor(const std::string& ancestor, const std::string& descendant) const;

    BoardModel* board_;
    ActivityModel* activity_;
    SheetRequests* sheets_;
    RewriteModel* rewrites_;
    OperationLogModel* operationLog_;
    DiffModel* diff_;
    HiddenPanelModel* hiddenPanel_;
    std::shared_ptr<RepoSession> repoSession_;
    std::map<std::string, std::vector<ChangedFile>> commitFilesCache_;
    /// Declared after the models: its outcomes write into them.
    std::unique_ptr<BackgroundWork> work_;
    /// Reads the session's stream; stopped and joined on reload and close
    /// (the stream's wait returns at once on a stop request).
    std::jthread subscription_;
};

}  // namespace vorda
