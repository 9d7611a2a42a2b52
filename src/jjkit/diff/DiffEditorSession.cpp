// The preparation half of the diff editor protocol: the session's folder, its
// two files and the jj arguments that point at them.

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <system_error>

#include "jjkit/diff/DiffEditorProtocol.h"
#include "jjkit/support/Uuid.h"

namespace vorda {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view folderPrefix = "Vorda-diff-";
constexpr std::string_view selectionFileName = "selection.json";
constexpr std::string_view scriptFileName = "bridge.sh";

[[noreturn]] void failWriting(const fs::path& path, int error) {
    throw std::runtime_error("cannot write " + path.string() + ": " + std::strerror(error));
}

/// Creates or truncates `path` and writes `contents` in full.
void writeFile(const fs::path& path, std::string_view contents) {
    errno = 0;
    std::ofstream stream(path, std::ios::binary | std::ios::trunc);
    if (!stream) {
        failWriting(path, errno);
    }
    stream.write(contents.data(), static_cast<std::streamsize>(contents.size()));
    stream.close();
    if (!stream) {
        failWriting(path, errno);
    }
}

/// Writes a sibling temporary file and renames it over `path`, so that jj can
/// never start a half-written script.
void writeFileAtomically(const fs::path& path, std::string_view contents) {
    fs::path temporary = path;
    temporary += ".tmp-" + makeUuid();
    writeFile(temporary, contents);
    std::error_code error;
    fs::rename(temporary, path, error);
    if (error) {
        std::error_code ignored;
        fs::remove(temporary, ignored);
        throw fs::filesystem_error("cannot put " + path.string() + " in place", temporary, path,
                                   error);
    }
}

}  // namespace

std::string DiffEditorProtocol::shellQuoted(std::string_view text) {
    std::string quoted = "'";
    for (const char character : text) {
        if (character == '\'') {
            quoted += "'\\''";
        } else {
            quoted += character;
        }
    }
    quoted += '\'';
    return quoted;
}

std::string DiffEditorProtocol::bridgeScript(const std::string& helperBinaryPath,
                                             const std::string& selectionPath) {
    return "#!/bin/sh\nexec " + shellQuoted(helperBinaryPath) + " " + shellQuoted(selectionPath) +
           " \"$1\" \"$2\"";
}

DiffEditorProtocol::PreparedSession DiffEditorProtocol::prepare(
    const std::vector<std::string>& baseCommand, const HunkSelection& selection,
    const std::string& helperBinaryPath) {
    // A fresh UUID per session: sessions running side by side never share files.
    const fs::path folder = fs::temp_directory_path() / (std::string(folderPrefix) + makeUuid());
    fs::create_directories(folder);

    // From here on a failure leaves the folder as it is, for inspection.
    const fs::path selectionPath = folder / selectionFileName;
    writeFile(selectionPath, encode(selection));

    const fs::path scriptPath = folder / scriptFileName;
    writeFileAtomically(scriptPath, bridgeScript(helperBinaryPath, selectionPath.string()));
    fs::permissions(scriptPath,
                    fs::perms::owner_all | fs::perms::group_read | fs::perms::group_exec |
                        fs::perms::others_read | fs::perms::others_exec,
                    fs::perm_options::replace);

    PreparedSession session;
    session.toolArgs = baseCommand;
    session.toolArgs.insert(
        session.toolArgs.end(),
        {"--config", "merge-tools." + std::string(toolName) + ".program=" + scriptPath.string(),
         "--config", "merge-tools." + std::string(toolName) + R"(.edit-args=["$left", "$right"])",
         "--tool", std::string(toolName)});
    session.cleanup = [folder] {
        std::error_code ignored;
        fs::remove_all(folder, ignored);
    };
    return session;
}

}  // namespace vorda
