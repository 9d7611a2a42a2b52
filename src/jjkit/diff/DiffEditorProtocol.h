#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "jjkit/records/JsonReader.h"

namespace vorda {

/// How the program plays jj's interactive diff editor to move or split chosen
/// hunks: jj keeps only what the editor leaves in the right-hand tree, so the
/// choice is written to a file, jj is pointed at a small shell script through
/// per-invocation configuration, and the script hands the choice and the two
/// trees to `vorda-diff-apply`, which edits the right-hand tree to hold
/// exactly the chosen hunks. jj's `split` also opens the description editor
/// unless it is given `-m`, so callers pass one.
///
///     auto session = DiffEditorProtocol::prepare({"split", "-r", change, "-m", "…"},
///                                                selection, helperPath);
///     try { client.run(session.toolArgs, "split hunks"); } catch (...) {
///         session.cleanup(); throw; }
///     session.cleanup();
struct DiffEditorProtocol {
    /// The hunks of one file to keep; ordinals count from 0 in the order
    /// `UnifiedDiffParser` numbers the file's hunks. An empty list returns the
    /// file to its left-hand state.
    struct FileKeep {
        std::string path;
        std::vector<int> keepHunkOrdinals;

        bool operator==(const FileKeep&) const = default;
    };

    /// The whole choice. Files it does not name stay as jj put them in the
    /// right-hand tree.
    struct HunkSelection {
        std::vector<FileKeep> files;

        bool operator==(const HunkSelection&) const = default;
    };

    /// The complete arguments of one jj run, and the removal of the session's
    /// temporary folder, to call once jj is done, whether it succeeded or not.
    struct PreparedSession {
        std::vector<std::string> toolArgs;
        std::function<void()> cleanup;
    };

    /// The merge tool's name in the configuration jj is given.
    static constexpr std::string_view toolName = "Vorda";

    /// Writes the selection and the bridge script into a fresh folder
    /// `<temp>/Vorda-diff-<UUID>` and returns `baseCommand` extended by the
    /// configuration that makes jj run the script as its diff editor.
    /// Throws `std::filesystem::filesystem_error` or `std::runtime_error`
    /// naming the path when the file system refuses; once the folder exists,
    /// a failure leaves it behind for inspection.
    static PreparedSession prepare(const std::vector<std::string>& baseCommand,
                                   const HunkSelection& selection,
                                   const std::string& helperBinaryPath);

    /// The bridge script's exact text: "#!/bin/sh", then one `exec` line
    /// passing the selection file and jj's two folders to the helper, with no
    /// line feed at the end.
    static std::string bridgeScript(const std::string& helperBinaryPath,
                                    const std::string& selectionPath);

    /// `text` in single quotes for /bin/sh; each single quote inside becomes
    /// '\'' (close, escaped quote, reopen).
    static std::string shellQuoted(std::string_view text);

    /// Compact JSON: `{"files":[{"path":…,"keepHunkOrdinals":[…]}]}`.
    /// Throws `std::invalid_argument` for a path that is not UTF-8.
    static std::string encode(const HunkSelection& selection);

    /// The selection in `text`. Throws `DecodingError` for anything else:
    /// text that is not JSON (invalid UTF-8 included), nesting too deep to be
    /// a selection, a missing key, a value of the wrong type, an ordinal that
    /// is negative or too large.
    static HunkSelection decode(std::string_view text);
};

// JSON coding of the selection records; keys are the field names, all of them
// required. Decoders throw `DecodingError`.
nlohmann::json toJSON(const DiffEditorProtocol::FileKeep& keep);
nlohmann::json toJSON(const DiffEditorProtocol::HunkSelection& selection);
DiffEditorProtocol::FileKeep decodeFileKeep(const JsonReader& reader);
DiffEditorProtocol::HunkSelection decodeHunkSelection(const JsonReader& reader);

}  // namespace vorda
