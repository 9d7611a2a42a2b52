#pragma once

#include <string>
#include <vector>

#include "support/ScopedEnvironment.h"
#include "support/TempDir.h"

namespace vorda::testing {

/// A stand-in for gh, first on PATH while the object lives. Each call appends
/// its arguments, each in brackets, as one line to calls.log and its working
/// directory to cwd.log. It answers `--version`, `pr create` and
/// `pr list --head BRANCH` (with the answer set here, "[]" without one);
/// anything else fails with exit status 2.
class ScriptedGh {
  public:
    ScriptedGh();

    /// What `pr list --head branch` prints.
    void answer(const std::string& branch, const std::string& json) const;
    /// The call exits 1 with `stderrText`: `call` is "version", "create" or
    /// "list-" and the branch.
    void fail(const std::string& call, const std::string& stderrText = "") const;
    /// Each `pr list` waits until `count` of them have started, and fails
    /// after a bounded wait, so that calls made one after the other fail.
    void requireConcurrentCalls(int count) const;
    /// Starts the call and directory logs afresh.
    void forgetCalls() const;

    /// Every call's arguments, in call order.
    std::vector<std::string> calls() const;
    std::vector<std::string> workingDirectories() const;
    /// The branches `pr list --head` asked about, sorted, one per call;
    /// any other call shows as "unexpected: " and its arguments.
    std::vector<std::string> askedBranches() const;

  private:
    TempDir folder_{"vorda-gh"};
    ScopedEnvironment path_{"PATH"};
};

}  // namespace vorda::testing
