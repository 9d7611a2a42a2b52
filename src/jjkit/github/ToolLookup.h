#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vorda {

/// Where the child processes' search would find the executable `name`: the
/// first folder of the repaired search path (see `repairedSearchPath`, built
/// from the current PATH) holding a regular file of that name that this
/// process may execute. Absent when there is none.
///
/// The process executor starts tools through `/usr/bin/env`, so a missing tool
/// only shows as exit status 127; looking first tells that case apart from a
/// tool that ran and failed.
std::optional<std::string> locateTool(std::string_view name);

}  // namespace vorda
