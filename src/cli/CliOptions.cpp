#include "cli/CliOptions.h"

#include "jjkit/repo/JJRepoDetector.h"

namespace vorda::cli {

CliOptions CliOptions::parse(const std::vector<std::string>& arguments) {
    CliOptions options;
    for (std::size_t index = 0; index < arguments.size(); ++index) {
        const auto& argument = arguments[index];
        if (argument == "--repo" || argument == "-R") {
            if (index + 1 == arguments.size()) {
                throw UsageError("--repo needs a path");
            }
            options.repo = arguments[++index];
        } else if (argument.starts_with("--repo=")) {
            options.repo = argument.substr(7);
        } else if (argument == "--help" || argument == "-h") {
            options.help = true;
        } else {
            options.positional.push_back(argument);
        }
    }
    if (options.repo && options.repo->empty()) {
        throw UsageError("--repo needs a path, not an empty value");
    }
    return options;
}

std::string CliOptions::repositoryRoot() const {
    const auto path = repo.value_or(".");
    if (auto root = JJRepoDetector::findRepoRoot(path)) {
        return *root;
    }
    throw UsageError("no jj repository at or above " + path);
}

}  // namespace vorda::cli
