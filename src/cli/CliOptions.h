#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace vorda::cli {

/// What a subcommand was given: `--repo PATH` (or `--repo=PATH`), `--help`,
/// and everything else in order.
struct CliOptions {
    std::optional<std::string> repo;
    bool help = false;
    std::vector<std::string> positional;

    static CliOptions parse(const std::vector<std::string>& arguments);

    /// The root of the repository `--repo` (or the current folder) lies in.
    /// Throws `UsageError` when there is none.
    std::string repositoryRoot() const;
};

/// Input that cannot be used: the process exits 2 with this message.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

}  // namespace vorda::cli
