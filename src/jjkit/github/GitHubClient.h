#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "jjkit/github/GitHubClientError.h"
#include "jjkit/github/GitHubPR.h"
#include "jjkit/process/ProcessResult.h"

namespace vorda {

/// Asks GitHub about pull requests through the `gh` command, run in one
/// working directory (the repository, so that gh picks its GitHub remote).
///
/// Each call blocks on its gh process; any number of calls may run at once on
/// different threads. gh is found on the same repaired search path that every
/// child gets; when there is none, calls throw `GitHubClientError::GhNotFound`.
/// A gh that exits non-zero throws `CommandFailed` with its stderr, trimmed.
///
///     GitHubClient client(repoRoot);
///     if (client.isAvailable()) {
///         auto pr = client.prForBranch("feature");
///     }
class GitHubClient {
  public:
    explicit GitHubClient(std::string workingDirectory);

    const std::string& workingDirectory() const { return workingDirectory_; }

    /// Whether `gh --version` runs and exits 0. Asked once for the life of the
    /// client; concurrent first callers wait for that one answer. Never throws.
    bool isAvailable() const;

    /// The newest pull request, in any state, whose head is `branch`; absent
    /// when there is none. Output that is not gh's JSON throws `DecodingError`.
    std::optional<GitHubPR> prForBranch(const std::string& branch) const;

    /// Opens a pull request from `head` into `base` and returns it as GitHub
    /// then lists it; `UnexpectedEmptyResponse` when the listing is empty.
    GitHubPR createPR(const std::string& head, const std::string& base, const std::string& title,
                      const std::string& body, bool draft) const;

    /// The first record of gh's JSON array of pull requests: absent for blank
    /// text or an empty array; anything that is not such an array throws
    /// `DecodingError`.
    static std::optional<GitHubPR> parseFirstPR(std::string_view text);

  private:
    /// Runs `gh ARGUMENTS`; only a missing gh throws.
    ProcessResult run(const std::vector<std::string>& arguments, std::string_view label) const;
    /// Runs `gh ARGUMENTS` and throws `CommandFailed` unless it exits 0.
    ProcessResult runChecked(const std::vector<std::string>& arguments,
                             std::string_view label) const;

    std::string workingDirectory_;

    // Guards `available_` and is held while it is computed, so that gh
    // --version runs at most once per client.
    mutable std::mutex availabilityMutex_;
    mutable std::optional<bool> available_;
};

}  // namespace vorda
