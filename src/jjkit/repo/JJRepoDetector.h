#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vorda {

/// Finds repositories on disk and the store a workspace belongs to.
struct JJRepoDetector {
    /// The nearest folder at or above `path` that has a `.jj` child (file or
    /// folder), or absent. `path` may name a file inside the repository.
    static std::optional<std::string> findRepoRoot(std::string_view path);

    /// The path of the store shared by all workspaces of the repository at
    /// `workspaceRoot`, with symbolic links resolved, so that every workspace
    /// of one store gives the same answer. The first workspace keeps the store
    /// in `.jj/repo`; a further workspace has a file there naming it. Throws
    /// `JJError::UnsafeOperation` when the store cannot be identified, since a
    /// mutation that cannot be coordinated must not run; a pointer file that
    /// cannot be read throws `std::filesystem::filesystem_error`.
    static std::string sharedRepositoryPath(std::string_view workspaceRoot);
};

}  // namespace vorda
