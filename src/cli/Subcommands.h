#pragma once

#include <string_view>

#include <nlohmann/json.hpp>

#include "cli/CliOptions.h"

// The subcommands of vorda-cli. Each prints JSON on standard output and
// returns the process's exit status: 0 done, 1 the repository or jj refused,
// 2 unusable input.
namespace vorda::cli {

int runSnapshot(const CliOptions& options);
int runWatch(const CliOptions& options);
int runExec(const CliOptions& options);
int runQuery(const CliOptions& options);
int runDemo(const CliOptions& options);

/// `document` as one line on standard output, flushed at once so that a
/// reader of a stream sees it. Text that is not UTF-8 is replaced, not fatal.
void printLine(const nlohmann::json& document);

/// The help text of `subcommand`, or of the whole program for an empty name.
std::string_view helpText(std::string_view subcommand);

}  // namespace vorda::cli
