#pragma once

#include <string>

#include "support/ScopedEnvironment.h"

namespace vorda::testing {

/// The folder of one of the stand-in tools under tests/tools, to put first
/// on PATH (for example "failing-subcommand-jj").
std::string toolFolder(const std::string& name);

/// The real jj: the first one on PATH.
std::string realJJ();

/// While it lives, one jj subcommand fails with "injected failure" (exit 1)
/// without running; every other call reaches the real jj. With
/// `unpinnedOnly`, calls pinned with --at-operation still run.
class FailingJJScope {
  public:
    explicit FailingJJScope(const std::string& subcommand, bool unpinnedOnly = false);

  private:
    ScopedEnvironment path_{"PATH"};
    ScopedEnvironment real_{"VORDA_REAL_JJ"};
    ScopedEnvironment subcommand_{"VORDA_FAIL_JJ_SUBCOMMAND"};
    ScopedEnvironment unpinned_{"VORDA_FAIL_JJ_UNPINNED_ONLY"};
};

}  // namespace vorda::testing
