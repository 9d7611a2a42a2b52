#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "jjkit/client/JJError.h"
#include "jjkit/client/JJVersion.h"
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
