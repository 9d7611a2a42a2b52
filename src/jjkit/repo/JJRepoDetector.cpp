#include "jjkit/repo/JJRepoDetector.h"

#include <filesystem>

#include "jjkit/client/JJError.h"
#include "jjkit/support/AtomicFile.h"
#include "jjkit/support/Text.h"

namespace vorda {
namespace fs = std::filesystem;
namespace {

// Absolute, "." and ".." resolved, no trailing separator.
fs::path normalised(const fs::path& path) {
    fs::path result = fs::absolute(path).lexically_normal();
    if (result.has_relative_path() && !result.has_filename()) {
        result = result.parent_path();
    }
    return result;
}

bool hasJJ(const fs::path& folder) {
    std::error_code error;
    return fs::exists(folder / ".jj", error);
}

std::string readPointer(const fs::path& file) {
    auto contents = readWholeFile(file);
    if (!contents) {
        throw fs::filesystem_error("cannot read jj repository pointer", file,
                                   std::make_error_code(std::errc::io_error));
    }
    return std::move(*contents);
}

}  // namespace

std::optional<std::string> JJRepoDetector::findRepoRoot(std::string_view path) {
    fs::path current = normalised(fs::path(path));
    while (current != current.root_path()) {
        if (hasJJ(current)) {
            return current.string();
        }
        current = normalised(current.parent_path());
    }
    if (hasJJ(current)) {
        return current.string();
    }
    return std::nullopt;
}

std::string JJRepoDetector::sharedRepositoryPath(std::string_view workspaceRoot) {
    const fs::path pointer = fs::path(workspaceRoot) / ".jj" / "repo";
    std::error_code error;
    if (!fs::exists(pointer, error)) {
        throw JJError::unsafeOperation("Cannot locate the shared jj repository store.");
    }
    const fs::path resolved = fs::canonical(pointer);
    fs::path store = resolved;
    if (!fs::is_directory(resolved)) {
        const std::string contents = readPointer(resolved);
        const auto target = text::trimWhitespace(contents);
        if (target.empty()) {
            throw JJError::unsafeOperation("Empty jj repository pointer.");
        }
        store = fs::weakly_canonical(resolved.parent_path() / fs::path(target));
    }
    if (!fs::exists(store / "op_heads", error)) {
        throw JJError::unsafeOperation(
            "Unrecognized shared jj repository store; refusing an uncoordinated mutation.");
    }
    return store.string();
}

}  // namespace vorda
