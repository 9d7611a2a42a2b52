#pragma once

#include <filesystem>
#include <string>

#include "cli/DemoRepository.h"
#include "support/TempDir.h"
#include "support/TestRepo.h"

namespace vorda::testing {

/// A copy of the demo repository at `destination` (which must not exist yet):
/// its origin.git, repo and integration folders. The demo takes a while to
/// build, so a test executable builds it once, into a folder that lives as long
/// as the process, and every test gets a copy of its own. The copy's `origin`
/// names the copy's own bare repository, not the one it was copied from.
/// Returns the copy's repository path.
inline std::string copyDemo(const std::filesystem::path& destination) {
    static const TempDir cache("vorda-demo-cache");
    static const bool built = (createDemoRepository(cache.string()), true);
    static_cast<void>(built);
    // -a keeps the files' times, so jj finds the working copies unchanged.
    runChecked({"cp", "-a", cache.string(), destination.string()});
    std::string repo = demoRepositoryPath(destination.string());
    runChecked({"jj", "--ignore-working-copy", "-R", repo, "git", "remote", "set-url", "origin",
                (destination / "origin.git").string()});
    return repo;
}

}  // namespace vorda::testing
