#pragma once

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "jjkit/diff/DiffEditorProtocol.h"
#include "jjkit/model/ApexParent.h"
#include "jjkit/model/Bookmark.h"
#include "jjkit/model/Composition.h"
#include "jjkit/records/JJOp.h"
#include "jjkit/rewrites/CompositionAttachmentPlan.h"
#include "jjkit/rewrites/CoordinatedRecoveryPlan.h"
#include "jjkit/rewrites/CoordinatedRoutingPlan.h"
#include "jjkit/rewrites/FeatureAppendPlan.h"
#include "jjkit/rewrites/FeatureAppendRecoveryPlan.h"
#include "jjkit/rewrites/FeatureInsertionPlan.h"
#include "jjkit/rewrites/LocalStackUpdatePlan.h"
#include "jjkit/settings/BookmarkSettings.h"

namespace vorda {

/// Where a new bookmark starts.
struct BookmarkStartingPoint {
    /// A revision the user typed; blank means the working copy.
    struct SpecificRevision {
        static constexpr std::string_view caseName = "specificRevision";
        std::string revision;
    };
    /// The chosen hunks of the working copy, split off as the bookmark's
    /// first commit.
    struct WorkingCopyCarveHunks {
        static constexpr std::string_view caseName = "workingCopyCarveHunks";
        DiffEditorProtocol::HunkSelection selection;
        std::string helperPath;
    };
    struct TipOfParent {
        static constexpr std::string_view caseName = "tipOfParent";
    };
    struct WorkingCopy {
        static constexpr std::string_view caseName = "workingCopy";
    };
    std::variant<SpecificRevision, WorkingCopyCarveHunks, TipOfParent, WorkingCopy> value =
        WorkingCopy{};
};

/// What the create-bookmark sheet asks for.
struct CreateBookmarkInput {
    std::string name;
    std::optional<std::string> parent;
    BookmarkStartingPoint startingPoint;
    bool enableAfterCreating = false;
    bool trackUpstream = false;
};

/// Everything a front end can ask of a repository. Each case is a small
/// struct named like its wire case; `caseName` is that name.
///
/// A planned rewrite is two commands: its `plan…` case reads and returns a
/// plan that changes nothing, and its `execute…` case takes that plan back
/// after the user has looked at it. The coordinated, attachment and recovery
/// flows join this set in the same way as they are built.
struct RepoCommand {
    struct Fetch {
        static constexpr std::string_view caseName = "fetch";
        /// Receives each progress line of the fetch; not carried on the wire.
        std::function<void(const std::string&)> onProgress;
    };
    struct Push {
        static constexpr std::string_view caseName = "push";
        Bookmark bookmark;
    };
    /// A push the user has confirmed, forced when the remote moved.
    struct PerformPush {
        static constexpr std::string_view caseName = "performPush";
        Bookmark bookmark;
    };
    struct SyncWithTrunk {
        static constexpr std::string_view caseName = "syncWithTrunk";
        Bookmark bookmark;
    };
    struct PlanLocalStackUpdate {
        static constexpr std::string_view caseName = "planLocalStackUpdate";
        std::vector<std::string> bookmarks;
        std::vector<std::string> oneOffChangeIDs;
    };
    struct ExecuteLocalStackUpdate {
        static constexpr std::string_view caseName = "executeLocalStackUpdate";
        LocalStackUpdatePlan plan;
    };
    /// Routing that repairs the composition `repairBookmark` points at;
    /// onto the tip of `bookmark` when `afterChangeID` is absent.
    struct PlanCoordinatedRouting {
        static constexpr std::string_view caseName = "planCoordinatedRouting";
        std::vector<std::string> changeIDs;
        std::optional<std::string> afterChangeID;
        std::string bookmark;
        std::string repairBookmark;
    };
    struct ExecuteCoordinatedRouting {
        static constexpr std::string_view caseName = "executeCoordinatedRouting";
        CoordinatedFeatureRoutingPlan plan;
    };
    /// The steps a stopped coordinated routing left; `source` is its receipt.
    struct ExecuteCoordinatedRecovery {
        static constexpr std::string_view caseName = "executeCoordinatedRecovery";
        CoordinatedRoutingRecoveryPlan plan;
        OperationRecord<CoordinatedFeatureRoutingPlan> source;
    };
    struct PlanCompositionAttachment {
        static constexpr std::string_view caseName = "planCompositionAttachment";
        std::string compositionChangeID;
        std::string bookmark;
    };
    struct ExecuteCompositionAttachment {
        static constexpr std::string_view caseName = "executeCompositionAttachment";
        CompositionAttachmentPlan plan;
    };
    struct PlanFeatureInsertion {
        static constexpr std::string_view caseName = "planFeatureInsertion";
        std::vector<std::string> changeIDs;
        std::string afterChangeID;
        std::string bookmark;
    };
    struct ExecuteFeatureInsertion {
        static constexpr std::string_view caseName = "executeFeatureInsertion";
        FeatureInsertionPlan plan;
    };
    struct PlanFeatureAppend {
        static constexpr std::string_view caseName = "planFeatureAppend";
        std::vector<std::string> changeIDs;
        std::string bookmark;
    };
    struct ExecuteFeatureAppend {
        static constexpr std::string_view caseName = "executeFeatureAppend";
        FeatureAppendPlan plan;
    };
    /// The bookmark move an interrupted append left undone; `source` is the
    /// append's receipt.
    struct ExecuteFeatureAppendRecovery {
        static constexpr std::string_view caseName = "executeFeatureAppendRecovery";
        FeatureAppendRecoveryPlan plan;
        OperationRecord<FeatureAppendPlan> source;
    };
    struct CreateBookmark {
        static constexpr std::string_view caseName = "createBookmark";
        CreateBookmarkInput input;
    };
    struct RenameBookmark {
        static constexpr std::string_view caseName = "renameBookmark";
        std::string oldName;
        std::string newName;
    };
    struct AbandonBookmark {
        static constexpr std::string_view caseName = "abandonBookmark";
        std::string name;
    };
    struct DeleteBookmark {
        static constexpr std::string_view caseName = "deleteBookmark";
        std::string name;
    };
    struct RebaseBookmark {
        static constexpr std::string_view caseName = "rebaseBookmark";
        std::string name;
        std::string destination;
    };
    struct ReparentToTrunk {
        static constexpr std::string_view caseName = "reparentToTrunk";
        std::string name;
    };
    struct SquashBookmarkToSingle {
        static constexpr std::string_view caseName = "squashBookmarkToSingle";
        std::string name;
    };
    struct MoveBookmark {
        static constexpr std::string_view caseName = "moveBookmark";
        std::string name;
        std::string toCommitID;
        bool allowBackwards = false;
    };
    struct AbsorbBookmark {
        static constexpr std::string_view caseName = "absorbBookmark";
        std::string source;
        std::string target;
        std::string tipCommitID;
    };
    struct TrackRemoteBookmark {
        static constexpr std::string_view caseName = "trackRemoteBookmark";
        std::string name;
        std::string remote;
        std::string tipCommitID;
        bool pin = false;
    };
    struct StageFiles {
        static constexpr std::string_view caseName = "stageFiles";
        std::vector<std::string> paths;
        std::string into;
    };
    struct UnstageFiles {
        static constexpr std::string_view caseName = "unstageFiles";
        std::vector<std::string> paths;
        std::string from;
    };
    struct StageHunks {
        static constexpr std::string_view caseName = "stageHunks";
        std::string filePath;
        std::set<int> hunkOrdinals;
        std::string into;
        std::string helperPath;
    };
    struct SplitCommit {
        static constexpr std::string_view caseName = "splitCommit";
        std::string changeID;
        std::vector<std::string> stayingPaths;
        bool ignoreImmutable = false;
    };
    struct SplitCommitByHunks {
        static constexpr std::string_view caseName = "splitCommitByHunks";
        std::string changeID;
        DiffEditorProtocol::HunkSelection selection;
        std::string helperPath;
        bool ignoreImmutable = false;
    };
    struct DescribeCommit {
        static constexpr std::string_view caseName = "describeCommit";
        std::string changeID;
        std::string message;
        bool ignoreImmutable = false;
    };
    struct ResolveFile {
        static constexpr std::string_view caseName = "resolveFile";
        std::string path;
    };
    struct AdvanceOrphan {
        static constexpr std::string_view caseName = "advanceOrphan";
        std::string commitID;
    };
    struct AdvanceAllOneOffs {
        static constexpr std::string_view caseName = "advanceAllOneOffs";
        std::vector<std::string> commitIDs;
    };
    struct AbandonOneOff {
        static constexpr std::string_view caseName = "abandonOneOff";
        std::string changeID;
    };
    struct RebaseCommits {
        static constexpr std::string_view caseName = "rebaseCommits";
        std::vector<std::string> commitIDs;
        std::string destination;
    };
    struct RebaseCommitsIntoBookmark {
        static constexpr std::string_view caseName = "rebaseCommitsIntoBookmark";
        std::vector<std::string> commitIDs;
        std::string tipChangeID;
        std::string destination;
        std::string bookmark;
    };
    struct ComposeCommitsAsBookmark {
        static constexpr std::string_view caseName = "composeCommitsAsBookmark";
        std::string workspaceName;
        std::vector<std::string> commitIDs;
        std::string tipChangeID;
        std::string immutableBaseCommitID;
    };
    struct DuplicateCommits {
        static constexpr std::string_view caseName = "duplicateCommits";
        std::vector<std::string> commitIDs;
        std::string destination;
    };
    struct ApplyEnabledBookmarks {
        static constexpr std::string_view caseName = "applyEnabledBookmarks";
        Apex apex;
        std::vector<std::string> names;
        std::set<std::string> previousNames;
    };
    struct ApplyApexParents {
        static constexpr std::string_view caseName = "applyApexParents";
        Apex apex;
        std::vector<ApexParent> parents;
    };
    struct SetWorkspaceBookmarkInclusion {
        static constexpr std::string_view caseName = "setWorkspaceBookmarkInclusion";
        std::string workspaceName;
        std::string bookmarkName;
        bool include = false;
    };
    struct SetWorkspaceBookmarkAttachment {
        static constexpr std::string_view caseName = "setWorkspaceBookmarkAttachment";
        std::string workspaceName;
        std::string bookmarkName;
        std::string commitID;
    };
    struct AdvanceWorkspaceOntoTrunk {
        static constexpr std::string_view caseName = "advanceWorkspaceOntoTrunk";
        std::string workspaceName;
    };
    struct RestoreToOp {
        static constexpr std::string_view caseName = "restoreToOp";
        JJOp op;
        std::string expectedOperationID;
    };
    struct SetUpdateStrategy {
        static constexpr std::string_view caseName = "setUpdateStrategy";
        UpdateStrategy strategy = UpdateStrategy::rebase;
        std::string bookmark;
    };
    struct TogglePinned {
        static constexpr std::string_view caseName = "togglePinned";
        std::string bookmark;
    };
    struct ToggleBookmarkColumnVisibility {
        static constexpr std::string_view caseName = "toggleBookmarkColumnVisibility";
        std::string bookmark;
    };
    struct CloseBookmarkColumn {
        static constexpr std::string_view caseName = "closeBookmarkColumn";
        std::string bookmark;
    };
    struct SetTags {
        static constexpr std::string_view caseName = "setTags";
        std::vector<std::string> tags;
        std::string bookmark;
    };
    struct ToggleTag {
        static constexpr std::string_view caseName = "toggleTag";
        std::string tag;
        std::string bookmark;
    };
    struct SetRoutingRules {
        static constexpr std::string_view caseName = "setRoutingRules";
        std::vector<FileRoutingRule> rules;
    };
    struct SetRoutingRulesForBookmark {
        static constexpr std::string_view caseName = "setRoutingRulesForBookmark";
        std::string name;
        std::vector<FileRoutingRule> rules;
    };
    struct RefreshPullRequestStatuses {
        static constexpr std::string_view caseName = "refreshPullRequestStatuses";
        bool force = false;
        std::set<std::string> forceBranches;
        std::set<std::string> limitTo;
    };
    struct CreatePullRequest {
        static constexpr std::string_view caseName = "createPullRequest";
        Bookmark bookmark;
        std::string title;
        std::string body;
        std::string base;
        bool draft = false;
    };
    struct Refresh {
        static constexpr std::string_view caseName = "refresh";
    };
    struct Sync {
        static constexpr std::string_view caseName = "sync";
    };
    struct AdvanceTrunk {
        static constexpr std::string_view caseName = "advanceTrunk";
    };
    struct ReanchorApexOntoTrunk {
        static constexpr std::string_view caseName = "reanchorApexOntoTrunk";
    };
    struct ResetApex {
        static constexpr std::string_view caseName = "resetApex";
    };
    struct Undo {
        static constexpr std::string_view caseName = "undo";
    };

    using Value = std::variant<
        Fetch, Push, PerformPush, SyncWithTrunk, PlanLocalStackUpdate, ExecuteLocalStackUpdate,
        PlanCoordinatedRouting, ExecuteCoordinatedRouting, ExecuteCoordinatedRecovery,
        PlanCompositionAttachment, ExecuteCompositionAttachment, PlanFeatureInsertion,
        ExecuteFeatureInsertion, PlanFeatureAppend, ExecuteFeatureAppend,
        ExecuteFeatureAppendRecovery, CreateBookmark, RenameBookmark, AbandonBookmark,
        DeleteBookmark, RebaseBookmark, ReparentToTrunk, SquashBookmarkToSingle, MoveBookmark,
        AbsorbBookmark, TrackRemoteBookmark, StageFiles, UnstageFiles, StageHunks, SplitCommit,
        SplitCommitByHunks, DescribeCommit, ResolveFile, AdvanceOrphan, AdvanceAllOneOffs,
        AbandonOneOff, RebaseCommits, RebaseCommitsIntoBookmark, ComposeCommitsAsBookmark,
        DuplicateCommits, ApplyEnabledBookmarks, ApplyApexParents, SetWorkspaceBookmarkInclusion,
        SetWorkspaceBookmarkAttachment, AdvanceWorkspaceOntoTrunk, RestoreToOp, SetUpdateStrategy,
        TogglePinned, ToggleBookmarkColumnVisibility, CloseBookmarkColumn, SetTags, ToggleTag,
        SetRoutingRules, SetRoutingRulesForBookmark, RefreshPullRequestStatuses, CreatePullRequest,
        Refresh, Sync, AdvanceTrunk, ReanchorApexOntoTrunk, ResetApex, Undo>;
    Value value;

    /// Any case converts; it is taken by value, so copies and moves of a
    /// whole command still use the ordinary constructors.
    template <typename Case>
    requires(!std::is_same_v<Case, RepoCommand> && std::is_constructible_v<Value, Case>)
        RepoCommand(Case command)  // NOLINT(google-explicit-constructor): a case is a command
        : value(std::move(command)) {}

    /// The case name without its payload; timing labels use it.
    std::string_view perfName() const;
};

}  // namespace vorda
