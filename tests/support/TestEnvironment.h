#pragma once

namespace vorda::testing {

/// Isolates jj and git from the machine's user configuration for the whole
/// test process: a private JJ_CONFIG (fixed user, no pager, no colour) and a
/// private git configuration. Installed by the test main before any test runs.
void installIsolatedEnvironment();

}  // namespace vorda::testing
