#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

#include "jjkit/client/JJError.h"
#include "jjkit/client/JJVersion.h"
#include "jjkit/model/RepoState.h"
#include "jjkit/process/ProcessExecutor.h"
#include "jjkit/records/JJCommit.h"
#include "jjkit/records/JJOp.h"
#include "jjkit/records/JJWorkspace.h"

namespace vorda {

struct LocalStackUpdatePlan;
struct LocalStackUpdateReceipt;
struct FeatureInsertionPlan;
struct FeatureAppendPlan;
struct FeatureAppendInspection;
struct FeatureAppendRecoveryPlan;
struct CompositionAttachmentPlan;
struct CoordinatedFeatureRoutingPlan;
struct CoordinatedVerification;
struct CoordinatedRoutingInspection;
struct CoordinatedRoutingRecoveryPlan;
struct VerificationFindings;
template <typename Plan>
struct OperationRecord;

/// Every read and write of one repository passes through here: the client
/// builds jj command lines, keeps reads from touching the working copy, turns
/// failures into `JJError` and decodes what jj prints.
///
/// Every command line is `jj --no-pager --color=never -R <repositoryPath>`
/// followed by the operation's own arguments (`version` alone has no -R); the
/// child's working directory is never set. Reads carry
/// `--ignore-working-copy`, so a background refresh never snapshots the
/// working copy, never writes an operation and never wakes the watcher;
/// mutations snapshot as jj always does.
///
/// The client holds nothing but its path, so it is safe to use from any number
/// of threads at once and several jj processes may run through it together.
/// Each call blocks until jj exits: call it from worker threads. Serialising
/// mutations is the business of `RepositoryCommandGate`.
/// A repository load and the trunk commit it read on the way.
struct RepoStateRead {
    RepoState state;
    /// `trunk()`'s commit ID as jj printed it; absent when the query failed.
    std::optional<std::string> trunkCommitID;
};

class JJClient {
  public:
    explicit JJClient(std::string repositoryPath);

    const std::string& repositoryPath() const { return repositoryPath_; }

    /// Runs jj with `arguments` and judges the exit status: a status outside
    /// `allowedExitCodes` writes a "[jj:error]" block and throws
    /// `CommandFailed`; a jj that cannot be started throws `JJNotFound`.
    /// `reason` says why the command runs, for the log and the trace only.
    /// With `stdoutChunk`, stdout goes there as it arrives (see
    /// `ProcessExecutor`) and the result's `stdout` stays empty.
    ProcessResult run(const std::vector<std::string>& arguments, std::string_view reason,
                      bool includeRepoFlag = true,
                      const std::set<std::int32_t>& allowedExitCodes = {0},
                      const ProcessExecutor::StderrLineHandler& stderrLine = {},
                      const ProcessExecutor::StdoutChunkHandler& stdoutChunk = {}) const;

    /// The commits of `revset`, decoded from the commit template.
    std::vector<JJCommit> log(std::string_view revset, std::string_view reason = "log",
                              const std::optional<std::string>& atOperation = {}) const;

    std::vector<JJWorkspace> workspaces(const std::optional<std::string>& atOperation = {}) const;

    /// The commit ID of the repository's own `trunk()`.
    std::string trunkCommitID() const;

    /// The installed jj's version; throws `IncompatibleVersion` below 0.39.0.
    JJVersion version() const;

    /// The revset a refresh loads: the mutable history of bookmarks and working
    /// copies, bookmarks not yet in trunk, the refs themselves, one's own work,
    /// what lies between bookmarks and their remotes, the bases just below the
    /// mutable commits, and the apex and composition markers.
    static const std::string defaultRevset;

    /// Loads the repository: five queries at once (log, one's own commits,
    /// commits behind trunk, workspaces, trunk), then the parents the log did
    /// not reach, then the bookmark graph. Only the log and the workspace list
    /// are essential; the other three degrade to empty or absent.
    RepoState repoState(const std::string& revset = defaultRevset,
                        const std::optional<std::string>& apexChangeID = std::nullopt,
                        const std::map<std::string, std::string>& compositionChangeIDs = {}) const;

    /// How a load learns which commits are one's own and which are behind
    /// trunk. `inLog` asks the commit log itself, as two fields of each line,
    /// so that jj walks the history once instead of three times, and falls
    /// back on `separateQueries` (two more logs, each failing alone) when jj
    /// refuses that log, as with a broken `trunk()` alias. Both give the same
    /// state.
    enum class FactQueries { inLog, separateQueries };

    /// `repoState`, with the trunk commit ID it read, for a caller that
    /// needs both.
    RepoStateRead readRepoState(const std::string& revset,
                                const std::optional<std::string>& apexChangeID,
                                const std::map<std::string, std::string>& compositionChangeIDs,
                                FactQueries factQueries = FactQueries::inLog) const;

    /// Mutable commits within `revset` that were started on a trunk commit
    /// that trunk has since moved past.
    std::set<std::string> behindTrunkCommitIDs(const std::string& revset) const;

    /// Change IDs of one's own commits within `revset`.
    std::vector<std::string> mineChangeIDs(const std::string& revset) const;

    /// The trunk commits the working copy does not include yet; 0 when jj's
    /// answer is not a number.
    std::int64_t upstreamCommitCount() const;

    /// The current operation, the basis of every guard against changes made
    /// by somebody else.
    std::string currentOperationID() const;

    // The program's own merge commits: the apex and per-workspace composition
    // points. Rewrites of them are guarded against what the caller saw.

    /// Mutable apex commits, newest first by committer time.
    std::vector<std::string> findAllApexChangeIDs() const;
    std::optional<std::string> findApexChangeID() const;
    /// Abandons every apex commit but `keep`; stops at the first failure.
    void abandonStrayApexCommits(const std::optional<std::string>& keep) const;
    /// A new apex on trunk; returns its change ID.
    std::string createApexCommit() const;
    /// Merges the working copy with the tip of `addingBookmark` into a new
    /// composition point of `workspaceName` and moves the working copy onto it.
    std::string createCompositionPoint(const std::string& workspaceName,
                                       const std::string& addingBookmark) const;
    /// Rebases the composition commit onto `parentCommitIDs`, refusing unless
    /// it is still visible, mutable and has exactly `expectedParentIDs`.
    void rewriteCompositionParents(const std::string& commitID,
                                   const std::vector<std::string>& expectedParentIDs,
                                   const std::vector<std::string>& parentCommitIDs) const;
    /// Rewrites the apex's parents, each resolved as of the last read.
    void rewriteApexParents(const Apex& apex, const std::vector<ApexParent>& parents) const;
    /// Adds trunk as a parent of the composition; false when it already is one.
    bool includeTrunkInComposition(const std::string& commitID,
                                   const std::string& trunkCommitID) const;
    /// An empty commit on `onto`, leaving the working copy where it is.
    std::string createEmptyCommit(const std::string& onto, const std::string& description) const;
    void createWorkingCopyCommit(const std::string& onto) const;
    /// A new working copy on the tips of `parents` (bookmark names), or on trunk.
    void newWorkingCopy(const std::vector<std::string>& parents) const;

    // Bookmarks. Names go to jj as they are; revsets that name a bookmark
    // quote it, so any name jj accepts works.

    /// "@" is passed as it is; any other revision is first resolved to one
    /// commit ID, so that a divergent change yields one bookmark.
    void createBookmark(const std::string& name, const std::string& revision) const;
    void renameBookmark(const std::string& from, const std::string& to) const;
    void deleteBookmark(const std::string& name) const;
    void trackBookmark(const std::string& name, const std::string& remote) const;
    /// Abandons every commit the bookmark points at.
    void abandonBookmarkCommit(const std::string& name) const;
    /// Abandons the bookmark's commit, then deletes the bookmark; the delete
    /// does not run when the abandon fails.
    void abandonBookmark(const std::string& name) const;
    void fastForwardBookmarkToRemote(const std::string& name, const std::string& remote) const;
    void moveBookmark(const std::string& name, const std::string& toCommitID,
                      bool allowBackwards) const;
    /// Squashes the bookmark's other commits into its head.
    void squashBookmarkToSingle(const std::string& name) const;
    /// Rebases the bookmark onto trunk through the guards of `rebaseBookmark`.
    void syncBookmarkRebase(const std::string& name) const;
    /// Merges trunk into the bookmark with a new merge commit that the
    /// bookmark moves to, then puts the working copy back where it was.
    void syncBookmarkMerge(const std::string& name) const;
    /// Rebases a bookmark's stack with `rebase -s`, refusing with
    /// `UnsafeOperation` whatever it cannot fully describe: more than one tip,
    /// an ambiguous destination, a stack that crosses another stack or a
    /// merge, siblings or protected descendants that would move along, a
    /// destination inside the stack, a base the destination lacks, or a
    /// repository that changed while the guards looked at it.
    void rebaseBookmark(const std::string& source, const std::string& destination) const;

    // Commits and files. Writes that name one revision act on the commit ID
    // it resolves to.

    void describe(const std::string& revision, const std::string& message,
                  bool ignoreImmutable = false) const;
    void splitByFiles(const std::string& revision, const std::vector<std::string>& paths,
                      bool ignoreImmutable = false) const;
    /// Squashes `paths` of the working copy into `to`.
    void moveFiles(const std::vector<std::string>& paths, const std::string& to) const;
    /// Squashes `paths` of `from` into the working copy.
    void pullFiles(const std::vector<std::string>& paths, const std::string& from) const;
    void resolve(const std::vector<std::string>& paths) const;
    void rebaseRevOnto(const std::string& rev, const std::string& destination) const;
    /// Nothing runs for an empty list, here and in the two below.
    void rebaseRevsOnto(const std::vector<std::string>& revs, const std::string& destination) const;
    void rebaseSubtreesOnto(const std::vector<std::string>& revs,
                            const std::string& destination) const;
    void duplicate(const std::vector<std::string>& revs, const std::string& destination) const;
    /// Rebases `revs` onto `destination`, then moves `bookmark` forward to
    /// the commit of `tipChangeID` (never backwards).
    void rebaseRevsIntoBookmark(const std::vector<std::string>& revs,
                                const std::string& tipChangeID, const std::string& destination,
                                const std::string& bookmark) const;

    /// One commit ID for `rev`; a divergent change resolves to its newest
    /// commit.
    std::string resolveCommitID(const std::string& rev) const;
    bool isRevMutable(const std::string& rev) const;
    /// Ancestors of `tip`, itself excluded; 0 when jj's answer is no number.
    std::int64_t ancestorCount(const std::string& tip) const;
    std::set<std::string> bookmarkNames(const std::string& matchingRevset) const;
    /// The lines of `resolve --list` for the working copy, with jj's columns
    /// behind each path; empty when nothing is conflicted.
    std::vector<std::string> conflictedFiles() const;
    std::string diff(const std::string& changeID) const;
    /// Everything between trunk and the working copy, as one diff.
    std::string combinedDiff() const;
    std::vector<ChangedFile> changedFiles(const std::string& changeID) const;
    /// A band of history below `tip`, `limit` levels deep after skipping
    /// `skip` levels; the tip itself is never in it.
    std::vector<JJCommit> loadAncestors(const std::string& tip, int limit, int skip) const;
    /// The history between trunk and `tip`: the fork point from trunk and
    /// everything above it, less the tip and the `excluding` revsets.
    std::vector<JJCommit> loadBranchHistory(const std::string& tip,
                                            const std::vector<std::string>& excluding = {}) const;

    // Remotes and the operation log.

    /// Each line jj writes to stderr while fetching reaches `progress`, on the
    /// thread that reads the pipe.
    void gitFetch(const std::optional<std::string>& remote = std::nullopt,
                  const std::function<void(const std::string&)>& progress = {}) const;
    void gitPush(const std::string& bookmark,
                 const std::optional<std::string>& remote = std::nullopt) const;
    /// Newest first.
    std::vector<JJOp> opLog(int limit) const;
    /// Restores `opID` only while the repository, working copy included,
    /// still stands at `expectedOperationID`.
    void opRestore(const std::string& opID, const std::string& expectedOperationID) const;
    void undoLastOp() const;

    /// Snapshots the working copy explicitly, for a guard that must judge the
    /// true present before it mutates; `reason` ends in "/snapshot". Uses
    /// `debug snapshot`, and `util snapshot` only when jj rejects the former.
    void snapshotWorkingCopy(std::string_view reason) const;

    // Planned rewrites. Each is planned against one operation, refused whole
    // when anything it cannot describe is in the way, and re-validated when
    // executed. From the first saved receipt on nothing is thrown: the
    // receipt says what happened. The inner forms take the function that
    // saves records (and the hook awaited between two steps), so that the
    // flows can be exercised with a failing one; the public forms save into
    // the repository's journal.

    template <typename Plan>
    using PersistRecord = std::function<void(const OperationRecord<Plan>&)>;

    LocalStackUpdatePlan planLocalStackUpdate(const std::vector<std::string>& bookmarks,
                                              const std::vector<std::string>& oneOffChangeIDs,
                                              const std::stop_token& stop = {}) const;
    LocalStackUpdateReceipt executeLocalStackUpdate(const LocalStackUpdatePlan& plan,
                                                    const std::stop_token& stop = {}) const;
    LocalStackUpdateReceipt executeLocalStackUpdate(
        const LocalStackUpdatePlan& plan, const PersistRecord<LocalStackUpdatePlan>& persistRecord,
        const std::stop_token& stop = {}) const;

    /// Routing into `intoBookmark` after `afterChangeID`, or onto its tip when
    /// that is absent; repairs name compositions that gain the feature.
    FeatureInsertionPlan planFeatureRouting(
        const std::vector<std::string>& changeIDs, const std::optional<std::string>& afterChangeID,
        const std::string& intoBookmark, const std::vector<std::string>& repairCompositionChangeIDs,
        const std::stop_token& stop = {}) const;
    FeatureInsertionPlan planFeatureInsertion(const std::vector<std::string>& changeIDs,
                                              const std::string& afterChangeID,
                                              const std::string& intoBookmark,
                                              const std::stop_token& stop = {}) const;
    LocalStackUpdateReceipt executeFeatureInsertion(const FeatureInsertionPlan& plan,
                                                    const std::stop_token& stop = {}) const;
    LocalStackUpdateReceipt executeFeatureInsertion(
        const FeatureInsertionPlan& plan, const PersistRecord<FeatureInsertionPlan>& persistRecord,
        const std::stop_token& stop = {}) const;

    FeatureAppendPlan planFeatureAppend(const std::vector<std::string>& changeIDs,
                                        const std::string& intoBookmark,
                                        const std::stop_token& stop = {}) const;
    OperationRecord<FeatureAppendPlan> executeFeatureAppend(const FeatureAppendPlan& plan,
                                                            const std::stop_token& stop = {}) const;
    OperationRecord<FeatureAppendPlan> executeFeatureAppend(
        const FeatureAppendPlan& plan, const PersistRecord<FeatureAppendPlan>& persistRecord,
        const std::function<void()>& betweenSteps, const std::stop_token& stop = {}) const;
    /// Reads the append's outcome back at `operation`.
    VerificationFindings verifyFeatureAppend(const FeatureAppendPlan& plan,
                                             const std::string& operation,
                                             bool bookmarkAdvanced) const;
    /// Compares a receipt with the repository now; changes nothing.
    FeatureAppendInspection inspectFeatureAppend(const OperationRecord<FeatureAppendPlan>& record,
                                                 const std::stop_token& stop = {}) const;

    /// The bookmark move an interrupted append left undone, planned from an
    /// inspection of its receipt; refuses unless that is all there is to do.
    FeatureAppendRecoveryPlan planFeatureAppendRecovery(
        const OperationRecord<FeatureAppendPlan>& source, const std::stop_token& stop = {}) const;
    OperationRecord<FeatureAppendRecoveryPlan> executeFeatureAppendRecovery(
        const FeatureAppendRecoveryPlan& plan, const OperationRecord<FeatureAppendPlan>& source,
        const std::stop_token& stop = {}) const;
    OperationRecord<FeatureAppendRecoveryPlan> executeFeatureAppendRecovery(
        const FeatureAppendRecoveryPlan& plan, const OperationRecord<FeatureAppendPlan>& source,
        const PersistRecord<FeatureAppendRecoveryPlan>& persistRecord,
        const std::stop_token& stop = {}) const;
    /// The feature of `bookmark` as the new last parent of an existing
    /// composition, every present parent kept.
    CompositionAttachmentPlan planCompositionAttachment(const std::string& compositionChangeID,
                                                        const std::string& bookmark,
                                                        const std::stop_token& stop = {}) const;
    OperationRecord<CompositionAttachmentPlan> executeCompositionAttachment(
        const CompositionAttachmentPlan& plan, const std::stop_token& stop = {}) const;
    OperationRecord<CompositionAttachmentPlan> executeCompositionAttachment(
        const CompositionAttachmentPlan& plan,
        const PersistRecord<CompositionAttachmentPlan>& persistRecord,
        const std::stop_token& stop = {}) const;
    /// Reads the recovery's outcome back at `operation`; throws when the
    /// repository has already moved on from it.
    VerificationFindings verifyFeatureAppendRecovery(
        const FeatureAppendRecoveryPlan& plan, const OperationRecord<FeatureAppendPlan>& source,
        const std::string& operation) const;

    /// Routing that gives the named compositions the feature as an explicit
    /// new last parent, one verified step at a time; onto the tip, with the
    /// bookmark advanced last, when `afterChangeID` is absent.
    CoordinatedFeatureRoutingPlan planCoordinatedFeatureRouting(
        const std::vector<std::string>& changeIDs, const std::optional<std::string>& afterChangeID,
        const std::string& intoBookmark, const std::vector<std::string>& repairCompositionChangeIDs,
        const std::stop_token& stop = {}) const;
    OperationRecord<CoordinatedFeatureRoutingPlan> executeCoordinatedFeatureRouting(
        const CoordinatedFeatureRoutingPlan& plan, const std::stop_token& stop = {}) const;
    OperationRecord<CoordinatedFeatureRoutingPlan> executeCoordinatedFeatureRouting(
        const CoordinatedFeatureRoutingPlan& plan,
        const PersistRecord<CoordinatedFeatureRoutingPlan>& persistRecord,
        const std::function<void()>& betweenSteps, const std::stop_token& stop = {}) const;
    /// Reads a stage back at `operation`: `expected` is its graph in planned
    /// commit IDs.
    CoordinatedVerification verifyCoordinatedRouting(
        const CoordinatedFeatureRoutingPlan& plan,
        const std::map<std::string, std::vector<std::string>>& expected,
        const std::string& operation, bool bookmarkAdvanced) const;
    /// Which recorded stage the repository matches now; changes nothing.
    CoordinatedRoutingInspection inspectCoordinatedRouting(
        const OperationRecord<CoordinatedFeatureRoutingPlan>& record,
        const std::stop_token& stop = {}) const;
    /// The repairs and the bookmark advance a coordinated routing left
    /// undone, from the revisions there now.
    CoordinatedRoutingRecoveryPlan planCoordinatedRoutingRecovery(
        const OperationRecord<CoordinatedFeatureRoutingPlan>& source,
        const std::stop_token& stop = {}) const;
    OperationRecord<CoordinatedRoutingRecoveryPlan> executeCoordinatedRoutingRecovery(
        const CoordinatedRoutingRecoveryPlan& plan,
        const OperationRecord<CoordinatedFeatureRoutingPlan>& source,
        const std::stop_token& stop = {}) const;
    OperationRecord<CoordinatedRoutingRecoveryPlan> executeCoordinatedRoutingRecovery(
        const CoordinatedRoutingRecoveryPlan& plan,
        const OperationRecord<CoordinatedFeatureRoutingPlan>& source,
        const PersistRecord<CoordinatedRoutingRecoveryPlan>& persistRecord,
        const std::function<void()>& betweenSteps, const std::stop_token& stop = {}) const;

  private:
    std::string logLabel(std::string_view reason) const;

    /// Writes the "[jj:error]" block and throws `CommandFailed`.
    [[noreturn]] static void commandFailed(const std::vector<std::string>& arguments,
                                           const ProcessResult& result);

    std::string repositoryPath_;
};

}  // namespace vorda
