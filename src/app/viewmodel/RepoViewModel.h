#pragma once

#include <QObject>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

#include "app/viewmodel/BoardLists.h"
#include "app/viewmodel/DiffCache.h"
#include "app/viewmodel/MainThreadInbox.h"
#include "app/viewmodel/ObservableField.h"
#include "feature/commands/RepoCommand.h"
#include "feature/commands/RepoCommandResult.h"
#include "feature/session/RepoSession.h"
#include "feature/session/RepoSnapshot.h"

namespace vorda {

/// A question put to the user; `action` runs on the main thread on "yes".
struct ConfirmationRequest {
    std::string id;
    std::string title;
    std::string message;
    std::function<void()> action;
    /// Requests compare by identity: the action cannot be compared.
    bool operator==(const ConfirmationRequest& other) const { return id == other.id; }
};

/// A push the user must confirm because it would rewrite the remote.
struct ForcePushRequest {
    std::string id;
    Bookmark bookmark;
    RemoteSyncState syncState;
    bool operator==(const ForcePushRequest&) const = default;
};

using StringSet = std::set<std::string>;
using StringList = std::vector<std::string>;
using OptionalText = std::optional<std::string>;
using OptionalTime = std::optional<std::chrono::system_clock::time_point>;
using SettingsByName = std::map<std::string, BookmarkSettings>;
using LanesByBookmark = std::map<std::string, BookmarkLaneReadModel>;
using CommitsByName = std::map<std::string, std::vector<JJCommit>>;
using TotalsByName = std::map<std::string, std::int64_t>;
using PRsByName = std::map<std::string, GitHubPR>;
using RoutingRules = std::vector<FileRoutingRule>;
using OptionalDiff = std::optional<UnifiedDiff>;
using OptionalConfirmation = std::optional<ConfirmationRequest>;
using OptionalForcePush = std::optional<ForcePushRequest>;
using OpList = std::vector<JJOp>;
using OptionalStackPlan = std::optional<LocalStackUpdatePlan>;
using OptionalReceipt = std::optional<LocalStackUpdateReceipt>;
using OptionalInsertionPlan = std::optional<FeatureInsertionPlan>;
using OptionalAppendPlan = std::optional<FeatureAppendPlan>;
using AppendRecord = OperationRecord<FeatureAppendPlan>;
using OptionalAppendRecord = std::optional<AppendRecord>;
using UpdateRecords = std::vector<OperationRecord<LocalStackUpdatePlan>>;
using RoutingRecords = std::vector<OperationRecord<FeatureInsertionPlan>>;
using AppendRecords = std::vector<AppendRecord>;

/// The one object a repository window observes, and its only road to the
/// repository. It lives on the GUI thread and every field is touched there
/// only. Each field is a property with its own change signal, emitted only
/// when the value really changes, so a view re-renders what it read.
///
/// It never runs jj itself: the session's work runs on worker threads and
/// comes back through queued calls to this object, so the GUI thread never
/// waits on a subprocess. A result that arrives after the view model has gone
/// is dropped.
class RepoViewModel : public QObject {
    Q_OBJECT
    Q_PROPERTY(OptionalText repoRoot READ repoRoot NOTIFY repoRootChanged)
    Q_PROPERTY(SnapshotRef snapshot READ snapshot NOTIFY repoStateChanged)
    Q_PROPERTY(OptionalText errorMessage READ errorMessage NOTIFY errorMessageChanged)
    Q_PROPERTY(bool isLoading READ isLoading NOTIFY isLoadingChanged)
    Q_PROPERTY(OptionalText diffText READ diffText NOTIFY diffTextChanged)
    Q_PROPERTY(bool isDiffLoading READ isDiffLoading NOTIFY isDiffLoadingChanged)
    Q_PROPERTY(std::int64_t upstreamCount READ upstreamCount NOTIFY upstreamCountChanged)
    Q_PROPERTY(OptionalText trunkCommitID READ trunkCommitID NOTIFY trunkCommitIDChanged)
    Q_PROPERTY(bool isMutating READ isMutating NOTIFY isMutatingChanged)
    Q_PROPERTY(OptionalText mutationError READ mutationError NOTIFY mutationErrorChanged)
    Q_PROPERTY(OptionalText mutationLabel READ mutationLabel NOTIFY mutationLabelChanged)
    Q_PROPERTY(
        StringSet advancingCommitIDs READ advancingCommitIDs NOTIFY advancingCommitIDsChanged)
    Q_PROPERTY(OptionalConfirmation confirmationRequest READ confirmationRequest NOTIFY
                   confirmationRequestChanged)
    Q_PROPERTY(StringList conflictedFiles READ conflictedFiles NOTIFY conflictedFilesChanged)
    Q_PROPERTY(StringSet expandedLanes READ expandedLanes NOTIFY expandedLanesChanged)
    Q_PROPERTY(StringSet expandedOneOffLaneIDs READ expandedOneOffLaneIDs NOTIFY
                   expandedOneOffLaneIDsChanged)
    Q_PROPERTY(CommitsByName laneAncestors READ laneAncestors NOTIFY laneAncestorsChanged)
    Q_PROPERTY(
        TotalsByName laneAncestorTotals READ laneAncestorTotals NOTIFY laneAncestorTotalsChanged)
    Q_PROPERTY(SettingsByName settingsByName READ settingsByName NOTIFY settingsByNameChanged)
    Q_PROPERTY(std::string filterText READ filterText NOTIFY filterTextChanged)
    Q_PROPERTY(
        StringSet selectedTagFilters READ selectedTagFilters NOTIFY selectedTagFiltersChanged)
    Q_PROPERTY(OptionalText selectedWorkspaceName READ selectedWorkspaceName NOTIFY
                   selectedWorkspaceNameChanged)
    Q_PROPERTY(RoutingRules routingRules READ routingRules NOTIFY routingRulesChanged)
    Q_PROPERTY(OptionalDiff workingCopyDiff READ workingCopyDiff NOTIFY workingCopyDiffChanged)
    Q_PROPERTY(OptionalText toastMessage READ toastMessage NOTIFY toastMessageChanged)
    Q_PROPERTY(bool showLocalStackUpdateSheet READ showLocalStackUpdateSheet NOTIFY
                   showLocalStackUpdateSheetChanged)
    Q_PROPERTY(bool showFeatureInsertionSheet READ showFeatureInsertionSheet NOTIFY
                   showFeatureInsertionSheetChanged)
    Q_PROPERTY(bool showCompositionAttachmentSheet READ showCompositionAttachmentSheet NOTIFY
                   showCompositionAttachmentSheetChanged)
    Q_PROPERTY(bool undoInFlight READ undoInFlight NOTIFY undoInFlightChanged)
    Q_PROPERTY(OptionalText undoError READ undoError NOTIFY undoErrorChanged)
    Q_PROPERTY(bool showOpLogInspector READ showOpLogInspector NOTIFY showOpLogInspectorChanged)
    Q_PROPERTY(OpList recentOps READ recentOps NOTIFY recentOpsChanged)
    Q_PROPERTY(OptionalStackPlan localStackUpdatePlan READ localStackUpdatePlan NOTIFY
                   localStackUpdatePlanChanged)
    Q_PROPERTY(OptionalReceipt localStackUpdateReceipt READ localStackUpdateReceipt NOTIFY
                   localStackUpdateReceiptChanged)
    Q_PROPERTY(OptionalInsertionPlan featureInsertionPlan READ featureInsertionPlan NOTIFY
                   featureInsertionPlanChanged)
    Q_PROPERTY(OptionalReceipt featureInsertionReceipt READ featureInsertionReceipt NOTIFY
                   featureInsertionReceiptChanged)
    Q_PROPERTY(
        OptionalAppendPlan featureAppendPlan READ featureAppendPlan NOTIFY featureAppendPlanChanged)
    Q_PROPERTY(OptionalAppendRecord featureAppendRecord READ featureAppendRecord NOTIFY
                   featureAppendRecordChanged)
    Q_PROPERTY(UpdateRecords updateRecords READ updateRecords NOTIFY updateRecordsChanged)
    Q_PROPERTY(RoutingRecords routingRecords READ routingRecords NOTIFY routingRecordsChanged)
    Q_PROPERTY(AppendRecords appendRecords READ appendRecords NOTIFY appendRecordsChanged)
    Q_PROPERTY(StringList operationInspectorWarnings READ operationInspectorWarnings NOTIFY
                   operationInspectorWarningsChanged)
    Q_PROPERTY(bool isLoadingOps READ isLoadingOps NOTIFY isLoadingOpsChanged)
    Q_PROPERTY(bool fetchInFlight READ fetchInFlight NOTIFY fetchInFlightChanged)
    Q_PROPERTY(OptionalText fetchError READ fetchError NOTIFY fetchErrorChanged)
    Q_PROPERTY(OptionalTime lastFetchAt READ lastFetchAt NOTIFY lastFetchAtChanged)
    Q_PROPERTY(OptionalText fetchStatus READ fetchStatus NOTIFY fetchStatusChanged)
    Q_PROPERTY(OptionalTime fetchStartedAt READ fetchStartedAt NOTIFY fetchStartedAtChanged)
    Q_PROPERTY(StringSet pushInFlight READ pushInFlight NOTIFY pushInFlightChanged)
    Q_PROPERTY(OptionalText pushError READ pushError NOTIFY pushErrorChanged)
    Q_PROPERTY(OptionalForcePush forcePushConfirmation READ forcePushConfirmation NOTIFY
                   forcePushConfirmationChanged)
    Q_PROPERTY(PRsByName prStatuses READ prStatuses NOTIFY prStatusesChanged)
    Q_PROPERTY(bool githubAvailable READ githubAvailable NOTIFY githubAvailableChanged)
    Q_PROPERTY(LanesByBookmark lanesByBookmark READ lanesByBookmark NOTIFY lanesByBookmarkChanged)
    Q_PROPERTY(OptionalText apexChangeID READ apexChangeID NOTIFY apexChangeIDChanged)

  public:
    /// Page size of `loadMoreAncestors` on the trunk lane.
    static constexpr int lanePageSize = 30;

    explicit RepoViewModel(QObject* parent = nullptr);
    ~RepoViewModel() override;
    RepoViewModel(const RepoViewModel&) = delete;
    RepoViewModel& operator=(const RepoViewModel&) = delete;
    RepoViewModel(RepoViewModel&&) = delete;
    RepoViewModel& operator=(RepoViewModel&&) = delete;

    // Lifecycle.

    /// Finds the repository, opens a session, bootstraps it off the GUI
    /// thread, applies the first snapshot, then follows the session's stream
    /// and starts watching. `done` runs on the GUI thread when the first
    /// snapshot is applied or the load has failed.
    void load(const std::string& directory, std::function<void()> done = {});

    // Commands.

    /// Runs `command` through the session and applies what comes back. Never
    /// throws: failures land in the error field of their kind. `done` runs on
    /// the GUI thread once the outcome is applied; with no session nothing
    /// runs and `done` is not called.
    void send(RepoCommand command, std::function<void()> done = {});
    void setBookmarkIncluded(const std::string& bookmark, bool included);
    void absorbBookmark(const std::string& source, const std::string& into);
    void trackRemoteBookmark(const Bookmark& bookmark, bool pin);
    void fetch(std::function<void()> done = {});
    void toggleLane(const std::string& name);
    void toggleOneOffLaneExpanded(const std::string& changeID);
    void loadMoreAncestors(const std::string& name);
    void refreshPRStatuses(bool force, const StringSet& forceBranches);
    void presentLocalStackRebase(const std::optional<StringList>& bookmarks,
                                 const OptionalText& changeID);
    /// Asks the session for a read, debounced (the window came to the front).
    void requestRefresh();

    // Direct reads.

    void loadDiffForSelectedChangeIDs(const StringList& changeIDs);
    void loadDiffForBookmark(const Bookmark& bookmark);
    void loadDiffText(const std::string& revset);
    /// The changed files of a commit; `done` gets an empty list on failure
    /// or with no session.
    void loadChangedFiles(const std::string& changeID,
                          std::function<void(const std::vector<ChangedFile>&)> done);
    void loadRecentOps();

    // Fields the user edits.

    void setFilterText(std::string value);
    void setSelectedTagFilters(StringSet value);
    void setSelectedWorkspaceName(OptionalText value);
    void setToastMessage(OptionalText value) { setToastMessageField(std::move(value)); }
    void setErrorMessage(OptionalText value);
    void setMutationError(OptionalText value);
    void setUndoError(OptionalText value);
    void setFetchError(OptionalText value);
    void setPushError(OptionalText value);
    void setConfirmationRequest(OptionalConfirmation value) {
        setConfirmationRequestField(std::move(value));
    }
    void setForcePushConfirmation(OptionalForcePush value) {
        setForcePushConfirmationField(std::move(value));
    }
    void setShowOpLogInspector(bool value) { setShowOpLogInspectorField(value); }
    void setShowLocalStackUpdateSheet(bool value) { setShowLocalStackUpdateSheetField(value); }
    void setShowFeatureInsertionSheet(bool value) { setShowFeatureInsertionSheetField(value); }
    /// Drops the insertion and append previews and their outcomes, so the
    /// feature sheet opens on a clean state.
    void clearFeaturePlans() {
        setFeatureInsertionPlan(std::nullopt);
        setFeatureInsertionReceipt(std::nullopt);
        setFeatureAppendPlan(std::nullopt);
        setFeatureAppendRecord(std::nullopt);
    }
    void setShowCompositionAttachmentSheet(bool value) {
        setShowCompositionAttachmentSheetField(value);
    }

    // The last applied state.

    const SnapshotRef& snapshot() const { return snapshot_; }
    /// Null until something is loaded.
    const RepoState* repoState() const { return snapshot_ ? &snapshot_->repoState : nullptr; }
    const std::shared_ptr<RepoSession>& repoSession() const { return repoSession_; }
    const OptionalText& localStackUpdateSeedChangeID() const {
        return localStackUpdateSeedChangeID_;
    }
    const std::optional<StringList>& localStackUpdateSeedBookmarks() const {
        return localStackUpdateSeedBookmarks_;
    }
    const DiffCache& diffCache() const { return diffCache_; }

    // Derived lists, cached and dropped by the setters that change their
    // inputs.

    const std::vector<Bookmark>& mutableBookmarks() const;
    const std::vector<Bookmark>& filteredBookmarks() const;
    const std::vector<Bookmark>& hiddenBookmarks() const;
    const std::vector<Bookmark>& untrackedRemoteBookmarks() const;
    const StringList& allTagsInUse() const;
    StringSet allWorkspaceIncludedBookmarkNames() const;
    OptionalText trunkBookmarkName() const;
    std::vector<OneOffLane> availableOneOffLanes() const;
    std::vector<OneOffLane> hiddenOneOffLanes() const;
    std::vector<OneOffLane> filteredOneOffLanes() const;
    std::vector<OneOffLane> expandedOneOffLanes() const;
    std::vector<OrphanWIP> mineOneOffs() const;
    std::map<std::string, OneOffLane> foldedOneOffLanesByBookmark() const;
    const WorkspaceState* selectedWorkspace() const;
    const JJCommit* workingCopyCommit() const;

    // Questions.

    bool isBookmarkColumnVisible(const std::string& name) const;
    bool isPinned(const std::string& name) const;
    bool isBookmarkBehindTrunk(const Bookmark& bookmark) const;
    bool workspaceIsBehindTrunk(const std::string& workspaceName) const;
    bool isOneOffLaneEnabled(const OneOffLane& lane) const;
    bool isUntrackedRemote(const std::string& name) const;
    std::optional<OneOffLane> oneOffLane(const std::string& changeID) const;
    const JJCommit* commitForChangeID(const std::string& changeID) const;
    BookmarkLaneReadModel lanePresentation(const std::string& name) const;
    std::vector<WorkspaceCompositionPoint> workspaceCompositionPoints(
        const std::string& bookmark) const;

    /// Applies a snapshot as the stream would; public for the board's own
    /// measurements and the tests.
    void applySnapshot(const SnapshotRef& snapshot);
    /// Applies a command's result as `send` does.
    void apply(const RepoCommandResult& result, const RepoCommand& command);
    /// Routes a failure's text to the error field of the command's kind.
    void applyError(const std::string& message, const RepoCommand& command);
    /// Marks `command` as running or finished in the fields it shows in.
    void setInFlight(const RepoCommand& command, bool running);

  Q_SIGNALS:
    void repoRootChanged();
    void repoStateChanged();
    void errorMessageChanged();
    void isLoadingChanged();
    void diffTextChanged();
    void isDiffLoadingChanged();
    void upstreamCountChanged();
    void trunkCommitIDChanged();
    void isMutatingChanged();
    void mutationErrorChanged();
    void mutationLabelChanged();
    void advancingCommitIDsChanged();
    void confirmationRequestChanged();
    void conflictedFilesChanged();
    void expandedLanesChanged();
    void expandedOneOffLaneIDsChanged();
    void laneAncestorsChanged();
    void laneAncestorTotalsChanged();
    void settingsByNameChanged();
    void filterTextChanged();
    void selectedTagFiltersChanged();
    void selectedWorkspaceNameChanged();
    void routingRulesChanged();
    void workingCopyDiffChanged();
    void toastMessageChanged();
    void showLocalStackUpdateSheetChanged();
    void showFeatureInsertionSheetChanged();
    void showCompositionAttachmentSheetChanged();
    void undoInFlightChanged();
    void undoErrorChanged();
    void showOpLogInspectorChanged();
    void recentOpsChanged();
    void localStackUpdatePlanChanged();
    void localStackUpdateReceiptChanged();
    void featureInsertionPlanChanged();
    void featureInsertionReceiptChanged();
    void featureAppendPlanChanged();
    void featureAppendRecordChanged();
    void updateRecordsChanged();
    void routingRecordsChanged();
    void appendRecordsChanged();
    void operationInspectorWarningsChanged();
    void isLoadingOpsChanged();
    void fetchInFlightChanged();
    void fetchErrorChanged();
    void lastFetchAtChanged();
    void fetchStatusChanged();
    void fetchStartedAtChanged();
    void pushInFlightChanged();
    void pushErrorChanged();
    void forcePushConfirmationChanged();
    void prStatusesChanged();
    void githubAvailableChanged();
    void lanesByBookmarkChanged();
    void apexChangeIDChanged();
    /// A snapshot has been applied (whether or not any field changed).
    void snapshotApplied();
    /// Asks the platform to open an address in the browser.
    void openURLRequested(const std::string& url);

  private:
    void startSubscription();
    void startAfterLoadTasks();
    void setRepoState(SnapshotRef snapshot);
    void setSettingsByName(SettingsByName value);
    /// Runs `work` on a worker thread and `done` with its outcome here.
    template <typename Work, typename Done>
    void runInBackground(Work work, Done done);
    /// Empties every derived cache that reads `repoState`.
    void dropStateCaches();
    void cacheDiffText(const std::string& revset, const std::string& text);

    VORDA_OBSERVABLE(OptionalText, repoRoot, setRepoRoot);
    VORDA_OBSERVABLE(OptionalText, errorMessage, setErrorMessageField);
    VORDA_OBSERVABLE(bool, isLoading, setIsLoading);
    VORDA_OBSERVABLE(OptionalText, diffText, setDiffText);
    VORDA_OBSERVABLE(bool, isDiffLoading, setIsDiffLoading);
    VORDA_OBSERVABLE(std::int64_t, upstreamCount, setUpstreamCount);
    VORDA_OBSERVABLE(OptionalText, trunkCommitID, setTrunkCommitID);
    VORDA_OBSERVABLE(bool, isMutating, setIsMutating);
    VORDA_OBSERVABLE(OptionalText, mutationError, setMutationErrorField);
    VORDA_OBSERVABLE(OptionalText, mutationLabel, setMutationLabel);
    VORDA_OBSERVABLE(StringSet, advancingCommitIDs, setAdvancingCommitIDs);
    VORDA_OBSERVABLE(OptionalConfirmation, confirmationRequest, setConfirmationRequestField);
    VORDA_OBSERVABLE(StringList, conflictedFiles, setConflictedFiles);
    VORDA_OBSERVABLE(StringSet, expandedLanes, setExpandedLanes);
    VORDA_OBSERVABLE(StringSet, expandedOneOffLaneIDs, setExpandedOneOffLaneIDs);
    VORDA_OBSERVABLE(CommitsByName, laneAncestors, setLaneAncestors);
    VORDA_OBSERVABLE(TotalsByName, laneAncestorTotals, setLaneAncestorTotals);
    VORDA_OBSERVABLE(SettingsByName, settingsByName, setSettingsByNameField);
    VORDA_OBSERVABLE(std::string, filterText, setFilterTextField);
    VORDA_OBSERVABLE(StringSet, selectedTagFilters, setSelectedTagFiltersField);
    VORDA_OBSERVABLE(OptionalText, selectedWorkspaceName, setSelectedWorkspaceNameField);
    VORDA_OBSERVABLE(RoutingRules, routingRules, setRoutingRules);
    VORDA_OBSERVABLE(OptionalDiff, workingCopyDiff, setWorkingCopyDiff);
    VORDA_OBSERVABLE(OptionalText, toastMessage, setToastMessageField);
    VORDA_OBSERVABLE(bool, showLocalStackUpdateSheet, setShowLocalStackUpdateSheetField);
    VORDA_OBSERVABLE(bool, showFeatureInsertionSheet, setShowFeatureInsertionSheetField);
    VORDA_OBSERVABLE(bool, showCompositionAttachmentSheet, setShowCompositionAttachmentSheetField);
    VORDA_OBSERVABLE(bool, undoInFlight, setUndoInFlight);
    VORDA_OBSERVABLE(OptionalText, undoError, setUndoErrorField);
    VORDA_OBSERVABLE(bool, showOpLogInspector, setShowOpLogInspectorField);
    VORDA_OBSERVABLE(OpList, recentOps, setRecentOps);
    VORDA_OBSERVABLE(OptionalStackPlan, localStackUpdatePlan, setLocalStackUpdatePlan);
    VORDA_OBSERVABLE(OptionalReceipt, localStackUpdateReceipt, setLocalStackUpdateReceipt);
    VORDA_OBSERVABLE(OptionalInsertionPlan, featureInsertionPlan, setFeatureInsertionPlan);
    VORDA_OBSERVABLE(OptionalReceipt, featureInsertionReceipt, setFeatureInsertionReceipt);
    VORDA_OBSERVABLE(OptionalAppendPlan, featureAppendPlan, setFeatureAppendPlan);
    VORDA_OBSERVABLE(OptionalAppendRecord, featureAppendRecord, setFeatureAppendRecord);
    VORDA_OBSERVABLE(UpdateRecords, updateRecords, setUpdateRecords);
    VORDA_OBSERVABLE(RoutingRecords, routingRecords, setRoutingRecords);
    VORDA_OBSERVABLE(AppendRecords, appendRecords, setAppendRecords);
    VORDA_OBSERVABLE(StringList, operationInspectorWarnings, setOperationInspectorWarnings);
    VORDA_OBSERVABLE(bool, isLoadingOps, setIsLoadingOps);
    VORDA_OBSERVABLE(bool, fetchInFlight, setFetchInFlight);
    VORDA_OBSERVABLE(OptionalText, fetchError, setFetchErrorField);
    VORDA_OBSERVABLE(OptionalTime, lastFetchAt, setLastFetchAt);
    VORDA_OBSERVABLE(OptionalText, fetchStatus, setFetchStatus);
    VORDA_OBSERVABLE(OptionalTime, fetchStartedAt, setFetchStartedAt);
    VORDA_OBSERVABLE(StringSet, pushInFlight, setPushInFlight);
    VORDA_OBSERVABLE(OptionalText, pushError, setPushErrorField);
    VORDA_OBSERVABLE(OptionalForcePush, forcePushConfirmation, setForcePushConfirmationField);
    VORDA_OBSERVABLE(PRsByName, prStatuses, setPrStatuses);
    VORDA_OBSERVABLE(bool, githubAvailable, setGithubAvailable);
    VORDA_OBSERVABLE(LanesByBookmark, lanesByBookmark, setLanesByBookmark);
    VORDA_OBSERVABLE(OptionalText, apexChangeID, setApexChangeID);

    SnapshotRef snapshot_;
    std::shared_ptr<RepoSession> repoSession_;
    OptionalText localStackUpdateSeedChangeID_;
    std::optional<StringList> localStackUpdateSeedBookmarks_;
    std::map<std::string, std::vector<ChangedFile>> commitFilesCache_;
    DiffCache diffCache_;
    /// Where worker threads hand their results to this object.
    std::shared_ptr<MainThreadInbox> inbox_;
    /// Reads the session's stream; stopped and joined on reload and at
    /// destruction (the stream's wait returns at once on a stop request).
    std::jthread subscription_;
    /// Each load's number: a bootstrap that finishes after a newer load has
    /// started is dropped.
    std::uint64_t loadGeneration_ = 0;

    // Derived caches; `mutable` because the reads fill them lazily. All on
    // the GUI thread.
    mutable std::optional<std::vector<Bookmark>> mutableBookmarksCache_;
    mutable std::optional<StringList> allTagsCache_;
    mutable std::optional<BookmarkBoardVisibility> boardVisibilityCache_;
    mutable std::optional<std::vector<Bookmark>> untrackedRemoteBookmarksCache_;
};

}  // namespace vorda
