#pragma once

#include <string>
#include <vector>

#include "support/ScopedEnvironment.h"
#include "support/TempDir.h"

namespace vorda::testing {

/// A stand-in for gh, first on PATH while the object lives. Each call appends
/// its arguments, each in brackets, as one line to calls.log and its working
/// directory to cwd.log. It answers `--version`, `pr create` (printing a pull
/// request address) and `pr list --head BRANCH` (from the answers set here,
/// "[]" without one); anything else fails with exit status 2.
class ScriptedGh {
  public:
    ScriptedGh();

    /// What `pr list --head branch` prints.
    void answer(const std::string& branch, const std::string& json) const;
    /// `pr list --head branch` exits 1 with `stderrText`.
    void failList(const std::string& branch, const std::string& stderrText) const;
    /// `pr create` exits 1 with `stderrText`.
    void failCreate(const std::string& stderrText) const;
    /// `--version` exits 1.
    void failVersion() const;
    /// Each `pr list` waits until `count` of them have started, and fails
    /// after a bounded wait, so that calls made one after the other fail.
    void requireConcurrentCalls(int count) const;

    /// Every call's arguments, in call order.
    std::vector<std::string> calls() const;
    std::vector<std::string> workingDirectories() const;
    /// The branches `pr list` asked about, sorted, one per call; a call
    /// without `--head` shows as "unexpected: " and its arguments.
    std::vector<std::string> askedBranches() const;

  private:
    TempDir folder_{"vorda-gh"};
    ScopedEnvironment path_{"PATH"};
};

}  // namespace vorda::testing
