#pragma once

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <stop_token>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "jjkit/client/JJClient.h"
#include "jjkit/records/JJCommit.h"
#include "jjkit/records/JJWorkspace.h"
#include "jjkit/rewrites/OperationRecord.h"
#include "jjkit/support/Uuid.h"

// What every planned rewrite shares: the checks of a request, the reads of a
// plan pinned to one operation, the checks before the first receipt is saved,
// the run of a single command after it, and the translation of rewritten
// commit IDs during verification. Each flow supplies its own words.
namespace vorda::flow {

/// Saves a record: the journal's `save` in production, anything in a test.
template <typename Plan>
using PersistRecord = std::function<void(const OperationRecord<Plan>&)>;

/// The sentences a flow refuses and warns with.
struct FlowWords {
    /// Identity check: a plan of another repository or workspace.
    std::string_view foreignPlan;
    /// The repository moved since the plan's operation.
    std::string_view expired;
    /// Planning again gives another plan at the same operation.
    std::string_view scopeChanged;
    /// The repository moved between the checks and the first command.
    std::string_view changedWhileSaving;
    /// Put before an error's description when verification fails.
    std::string_view verificationPrefix;
    /// The description when no resulting operation could be read.
    std::string_view operationUnavailable;
    /// The repository moved while verification read it.
    std::string_view movedDuringVerification;
    /// "<prefix><description><suffix>" when the final save fails.
    std::string_view finalSavePrefix;
    std::string_view finalSaveSuffix;
    /// Put before the first 12 characters of a hidden or divergent change.
    std::string_view missingChangePrefix;
};

extern const FlowWords localStackUpdateWords;
extern const FlowWords featureInsertionWords;
extern const FlowWords featureAppendWords;
extern const FlowWords featureAppendRecoveryWords;
extern const FlowWords compositionAttachmentWords;
extern const FlowWords coordinatedRoutingWords;
extern const FlowWords coordinatedRecoveryWords;

/// Throws `CancellationError` once `stop` has been requested.
void checkCancelled(const std::stop_token& stop);

/// 32 characters, each a letter from k to z.
bool isFullChangeID(std::string_view text);
/// 40 characters, each from 0 to 9 or a to f.
bool isFullCommitID(std::string_view text);

/// De-duplicated and sorted ascending as text.
std::vector<std::string> normalised(std::vector<std::string> selection);

/// `(<terms joined with " | ">) & ::visible_heads()`: only what is visible.
std::string visibleUnion(const std::vector<std::string>& terms);
/// `change_id(<id>)`, or `present(change_id(<id>))` when `present`.
std::string changeIDTerm(std::string_view changeID, bool present = false);
/// `visibleUnion` of the change terms of `changeIDs`.
std::string visibleChanges(const std::vector<std::string>& changeIDs, bool present = false);
/// `visibleUnion` of the commit terms of `commitIDs`.
std::string visibleCommits(const std::set<std::string>& commitIDs, bool present = false);
/// The rows of `changeIDs` in `rows`, in the order of `changeIDs`; absent
/// unless every ID has exactly one row and no row is left over.
std::optional<std::vector<JJCommit>> oneRowEach(const std::vector<std::string>& changeIDs,
                                                const std::vector<JJCommit>& rows);
/// The commit terms of `commits` joined with " | ".
std::string commitUnion(const std::vector<JJCommit>& commits);

/// `jj ` and `arguments` joined with blanks, an argument that holds an
/// opening parenthesis in single quotes: what a preview shows.
std::string displayCommandLine(const std::vector<std::string>& arguments);

/// The repository as of one operation: every read passes `--at-operation`.
class PinnedRepository {
  public:
    PinnedRepository(const JJClient& client, std::string operationID)
        : client_(client), operationID_(std::move(operationID)) {}

    const JJClient& client() const { return client_; }
    const std::string& operationID() const { return operationID_; }

    std::vector<JJCommit> log(std::string_view revset) const;
    std::vector<JJWorkspace> workspaces() const;

  private:
    const JJClient& client_;
    std::string operationID_;
};

/// Folds pending file edits into the repository (`debug snapshot` with
/// `reason`) and returns the operation that the plan is read at.
PinnedRepository planningSnapshot(const JJClient& client, std::string_view reason);

/// Refuses with `message` when the repository moved while a plan was read.
void requireUnmoved(const PinnedRepository& repository, std::string_view message);

/// Where a plan belongs: the shared store and the symlink-resolved root.
struct PlanIdentity {
    std::string repositoryID;
    std::string workspaceRoot;
};
PlanIdentity planIdentity(const JJClient& client);

/// The checks before the first save, in order: cancellation, identity,
/// snapshot, staleness, the replanned scope, cancellation. A refusal is
/// thrown; nothing has run but a snapshot.
struct ExecutionChecks {
    const FlowWords& words;
    std::string_view snapshotReason;
    PlanIdentity identity;
    std::string operationID;
    /// Plans afresh with the plan's own inputs and compares; a refusal to
    /// plan counts as a changed scope.
    std::function<bool()> scopeUnchanged;
};
void runExecutionChecks(const JJClient& client, const ExecutionChecks& checks,
                        const std::stop_token& stop);

/// The record made before anything runs: a fresh id, the current time, the
/// plan, no steps and no receipt. The caller saves it and lets a failing save
/// be thrown.
template <typename Plan>
OperationRecord<Plan> startedRecord(const Plan& plan) {
    OperationRecord<Plan> record;
    record.id = makeUuid();
    record.startedAt = journalNow();
    record.plan = plan;
    return record;
}

/// The current state of a plan's changes, read in one revset.
class ResolvedChanges {
  public:
    /// Reads `(change_id(a) | ...) & ::visible_heads()` (each term in
    /// `present(...)` when `present`) over the changes of `affected`.
    static ResolvedChanges read(const PinnedRepository& repository,
                                const std::vector<JJCommit>& affected, bool present = false);
    /// The same from rows already read.
    static ResolvedChanges fromRows(std::vector<JJCommit> rows,
                                    const std::vector<JJCommit>& affected);

    /// The one row of the change, or null when it is hidden or divergent.
    const JJCommit* resolved(const std::string& changeID) const;
    /// `commitID` translated to its rewritten commit; unknown IDs stay.
    std::string translated(const std::string& commitID) const;
    std::vector<std::string> translated(const std::vector<std::string>& commitIDs) const;
    /// Old commit ID to new, for every affected change that resolved.
    const std::map<std::string, std::string>& newCommitIDs() const { return newCommitIDs_; }
    /// The change IDs of the conflicted rows, in row order.
    const std::vector<std::string>& conflictedChangeIDs() const { return conflicted_; }

  private:
    std::map<std::string, std::vector<JJCommit>> rowsByChange_;
    std::map<std::string, std::string> newCommitIDs_;
    std::vector<std::string> conflicted_;
};

/// Reads a rewrite back against the graph it promised: a warning made of
/// `missingChangePrefix` for each affected change that is hidden or divergent
/// (all of them first), then for each resolved one `unexpectedParentsPrefix`
/// and the change when its parents differ from its translated
/// `expectedParents` entry (or it has none), and `bookmarkWarning(name,
/// commit)` for each local bookmark of the old commit that no longer targets
/// exactly the new one.
std::vector<std::string> expectedGraphWarnings(
    const ResolvedChanges& changes, const std::vector<JJCommit>& affected,
    const std::map<std::string, std::vector<std::string>>& expectedParents,
    std::string_view missingChangePrefix,
    const std::function<std::string(const std::string&, const JJCommit&)>& bookmarkWarning,
    std::string_view unexpectedParentsPrefix = "Unexpected parents on ");

/// True when `commit` carries a local bookmark `name` that targets exactly
/// the commit itself.
bool carriesOwnLocalBookmark(const JJCommit& commit, const std::string& name);

/// `prefix` and the name for every planned workspace that is gone or whose
/// change differs in `current`, or, given `ids` (old commit ID to new), whose
/// commit has a translation that it is not on.
std::vector<std::string> workspaceIdentityWarnings(
    const std::vector<JJWorkspace>& planned, const std::vector<JJWorkspace>& current,
    std::string_view prefix = "Working-copy identity changed in ",
    const std::map<std::string, std::string>& ids = {});

/// `bookmark move --to commit_id(<commitID>) -- <name as an exact pattern>`.
std::vector<std::string> bookmarkMoveArguments(const std::string& commitID,
                                               const std::string& name);

/// The names of `workspaces`, in order.
std::vector<std::string> workspaceNames(const std::vector<JJWorkspace>& workspaces);

/// A single-command flow from the first save on: checks the operation still
/// equals the plan's, runs `commandArguments` (none for a no-op), reads the
/// resulting operation, verifies there and checks the repository did not
/// move meanwhile. Nothing is thrown: failures become `commandError` and
/// warnings.
struct SingleCommandRun {
    const FlowWords& words;
    std::string operationID;
    std::optional<std::vector<std::string>> commandArguments;
    std::string_view commandReason;
    std::vector<std::string> affectedWorkspaceNames;
    std::function<VerificationFindings(const PinnedRepository&)> verify;
};
LocalStackUpdateReceipt runSingleCommand(const JJClient& client, const SingleCommandRun& run,
                                         const std::stop_token& stop);

/// The current operation, or absent when it cannot be read.
std::optional<std::string> readOperation(const JJClient& client);

std::vector<std::string> changeIDsOf(const std::vector<JJCommit>& commits);
/// Change and commit ID of each commit, sorted: revisions compared as a set.
std::vector<std::pair<std::string, std::string>> revisionPairs(
    const std::vector<JJCommit>& commits);
std::vector<std::string> commitIDsOf(const std::vector<JJCommit>& commits);

/// The last operation a record knows of: its receipt's after-operation, else
/// that of its last step that has one, else the plan's.
template <typename Plan>
std::string latestRecordedOperation(const OperationRecord<Plan>& record,
                                    const std::string& planOperationID) {
    if (record.receipt && record.receipt->afterOperationID) {
        return *record.receipt->afterOperationID;
    }
    if (record.steps) {
        for (auto step = record.steps->rbegin(); step != record.steps->rend(); ++step) {
            if (step->afterOperationID) {
                return *step->afterOperationID;
            }
        }
    }
    return planOperationID;
}

/// The description of any exception, for receipts.
std::string describe(const std::exception& error);
/// The description of the exception being handled.
std::string describeCurrentException();

/// Saves the final record; when that fails, adds the flow's final-save
/// warning to `receipt` (not to the file) and returns it.
template <typename Plan>
LocalStackUpdateReceipt saveFinalRecord(OperationRecord<Plan> record,
                                        LocalStackUpdateReceipt receipt,
                                        const PersistRecord<Plan>& persist,
                                        const FlowWords& words) {
    record.receipt = receipt;
    try {
        persist(record);
    } catch (...) {
        receipt.verificationWarnings.push_back(std::string(words.finalSavePrefix) +
                                               describeCurrentException() +
                                               std::string(words.finalSaveSuffix));
    }
    return receipt;
}

}  // namespace vorda::flow
