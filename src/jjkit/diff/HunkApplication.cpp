#include "jjkit/diff/HunkApplication.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <set>
#include <sstream>
#include <stdexcept>
#include <system_error>

#include <sys/stat.h>

#include "jjkit/diff/FileHunkPlan.h"
#include "jjkit/diff/TreeEntry.h"
#include "jjkit/support/Text.h"

namespace vorda {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view programName = "vorda-diff-apply";

/// One file whose right-hand entry changes.
struct Change {
    std::string path;
    TreeEntry replacement;
    /// A folder sits where the new file goes.
    bool replacesFolder = false;
};

void requireFolder(const fs::path& folder) {
    std::error_code error;
    if (!fs::is_directory(folder, error)) {
        throw std::runtime_error("not a folder: " + folder.string());
    }
}

std::vector<Change> planChanges(const DiffEditorProtocol::HunkSelection& selection,
                                const fs::path& left, const fs::path& right) {
    std::vector<Change> changes;
    std::set<std::string> seen;
    for (const auto& file : selection.files) {
        requireTreePath(file.path);
        if (!seen.insert(file.path).second) {
            throw std::invalid_argument("the selection names " + file.path + " twice");
        }
        const TreeEntry leftEntry = readTreeEntry(left, file.path);
        const TreeEntry rightEntry = readTreeEntry(right, file.path);
        const std::set<int> keep(file.keepHunkOrdinals.begin(), file.keepHunkOrdinals.end());
        auto plan = planFileHunks(file.path, leftEntry, rightEntry, keep);
        if (plan.replacement) {
            changes.push_back({file.path, std::move(*plan.replacement),
                               rightEntry.kind == TreeEntry::Kind::folder});
        }
    }
    return changes;
}

/// What kind of thing `path` is, without following a link at its end.
enum class Occupant { nothing, folder, other };

Occupant occupantAt(const fs::path& path) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0) {
        if (errno == ENOENT || errno == ENOTDIR) {
            return Occupant::nothing;
        }
        throw std::runtime_error("cannot inspect " + path.string() + ": " + std::strerror(errno));
    }
    return S_ISDIR(status.st_mode) ? Occupant::folder : Occupant::other;
}

/// Every file or link under the folder at `path`, as tree paths.
std::vector<std::string> entriesUnderFolder(const fs::path& right, const std::string& path) {
    const fs::path folder = right / path;
    std::vector<std::string> entries;
    std::error_code error;
    for (auto it = fs::recursive_directory_iterator(folder, error);
         !error && it != fs::recursive_directory_iterator(); it.increment(error)) {
        if (!fs::is_directory(it->symlink_status(error))) {
            entries.push_back(path + "/" + it->path().lexically_relative(folder).generic_string());
        }
    }
    if (error) {
        throw fs::filesystem_error("cannot list", folder, error);
    }
    return entries;
}

/// Refuses, before anything is written, a new file whose place is taken by
/// something that stays: a file or link where its folder must go, or a folder
/// that still holds files afterwards.
void requirePlaceable(const std::vector<Change>& changes, const fs::path& right) {
    std::set<std::string> removed;
    for (const auto& change : changes) {
        if (!change.replacement.isPresent()) {
            removed.insert(change.path);
        }
    }
    for (const auto& change : changes) {
        if (!change.replacement.isPresent()) {
            continue;
        }
        const auto components = text::splitNonEmpty(change.path, '/');
        std::string prefix;
        for (std::size_t index = 0; index + 1 < components.size(); ++index) {
            prefix += (prefix.empty() ? "" : "/") + std::string(components[index]);
            const Occupant occupant = occupantAt(right / prefix);
            if (occupant == Occupant::nothing || removed.contains(prefix)) {
                break;  // the rest of the way is free, or will be
            }
            if (occupant == Occupant::other) {
                throw std::runtime_error("cannot write " + change.path + ": " + prefix +
                                         " is not a folder in the right-hand tree");
            }
        }
        if (change.replacesFolder) {
            for (const auto& inside : entriesUnderFolder(right, change.path)) {
                if (!removed.contains(inside)) {
                    throw std::runtime_error("cannot write " + change.path + ": " + inside +
                                             " stays in its place in the right-hand tree");
                }
            }
        }
    }
}

std::string readSelectionFile(const fs::path& path) {
    std::error_code error;
    if (!fs::is_regular_file(path, error)) {
        throw std::runtime_error("cannot read the selection " + path.string() +
                                 (error ? ": " + error.message() : ": not a file"));
    }
    std::ifstream stream(path, std::ios::binary);
    std::ostringstream bytes;
    if (!stream || !(bytes << stream.rdbuf())) {
        // An empty file fails the copy as well; it is malformed, not unreadable.
        if (fs::file_size(path, error) != 0 || error) {
            throw std::runtime_error("cannot read the selection " + path.string());
        }
    }
    return bytes.str();
}

std::string oneLine(std::string message) {
    std::replace_if(
        message.begin(), message.end(), [](char c) { return c == '\n' || c == '\r'; }, ' ');
    return message;
}

}  // namespace

void HunkApplication::apply(const DiffEditorProtocol::HunkSelection& selection,
                            const fs::path& left, const fs::path& right) {
    requireFolder(left);
    requireFolder(right);
    const auto changes = planChanges(selection, left, right);
    requirePlaceable(changes, right);

    // Only now does anything change: removals first, so that files restored
    // into a place a removed file held find it free.
    for (const auto& change : changes) {
        if (!change.replacement.isPresent()) {
            removeTreeEntry(right, change.path);
        }
    }
    for (const auto& change : changes) {
        if (change.replacement.isPresent()) {
            writeTreeEntry(right, change.path, change.replacement);
        }
    }
}

void HunkApplication::applyFile(const fs::path& selectionFile, const fs::path& left,
                                const fs::path& right) {
    const std::string text = readSelectionFile(selectionFile);
    DiffEditorProtocol::HunkSelection selection;
    try {
        selection = DiffEditorProtocol::decode(text);
    } catch (const DecodingError& error) {
        throw std::runtime_error("malformed selection " + selectionFile.string() + ": " +
                                 error.description());
    }
    apply(selection, left, right);
}

int HunkApplication::runCommandLine(const std::vector<std::string>& arguments,
                                    std::ostream& errors) {
    if (arguments.size() != 3) {
        errors << programName << ": usage: " << programName
               << " <selection.json> <left folder> <right folder>\n";
        return 2;
    }
    try {
        applyFile(arguments[0], arguments[1], arguments[2]);
        return 0;
    } catch (const std::exception& error) {
        errors << programName << ": " << oneLine(error.what()) << '\n';
    } catch (...) {
        errors << programName << ": unexpected failure\n";
    }
    return 1;
}

}  // namespace vorda
