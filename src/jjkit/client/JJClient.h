#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "jjkit/client/JJError.h"
#include "jjkit/client/JJVersion.h"
#include "jjkit/model/RepoState.h"
#include "jjkit/process/ProcessExecutor.h"
#include "jjkit/records/JJCommit.h"
#include "jjkit/records/JJWorkspace.h"

namespace vorda {

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
class JJClient {
  public:
    explicit JJClient(std::string repositoryPath);

    const std::string& repositoryPath() const { return repositoryPath_; }

    /// Runs jj with `arguments` and judges the exit status: a status outside
    /// `allowedExitCodes` writes a "[jj:error]" block and throws
    /// `CommandFailed`; a jj that cannot be started throws `JJNotFound`.
    /// `reason` says why the command runs, for the log and the trace only.
    ProcessResult run(const std::vector<std::string>& arguments, std::string_view reason,
                      bool includeRepoFlag = true,
                      const std::set<std::int32_t>& allowedExitCodes = {0},
                      const ProcessExecutor::StderrLineHandler& stderrLine = {}) const;

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

    /// Snapshots the working copy explicitly, for a guard that must judge the
    /// true present before it mutates; `reason` ends in "/snapshot". Uses
    /// `debug snapshot`, and `util snapshot` only when jj rejects the former.
    void snapshotWorkingCopy(std::string_view reason) const;

  private:
    std::string logLabel(std::string_view reason) const;

    /// Writes the "[jj:error]" block and throws `CommandFailed`.
    [[noreturn]] static void commandFailed(const std::vector<std::string>& arguments,
                                           const ProcessResult& result);

    std::string repositoryPath_;
};

}  // namespace vorda
