#pragma once

#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

#include "jjkit/diff/DiffEditorProtocol.h"

namespace vorda {

/// The work of `vorda-diff-apply <selection.json> <left> <right>`, the diff
/// editor jj runs through the bridge script: it leaves in `<right>` each file
/// the selection names as its left content plus only the listed hunks, and
/// every other file as jj put it there.
///
/// Everything is checked and every new content computed before the first
/// write, so a malformed selection, an unknown ordinal, a path outside the
/// tree or an unreadable file leaves `<right>` untouched and jj, seeing the
/// tool fail, changes nothing.
class HunkApplication {
  public:
    /// Applies `selection` to the folders `left` and `right`. Throws
    /// (`std::runtime_error`, `std::invalid_argument`, `std::out_of_range`,
    /// `std::filesystem::filesystem_error`) with a message naming the
    /// offending path or ordinal.
    static void apply(const DiffEditorProtocol::HunkSelection& selection,
                      const std::filesystem::path& left, const std::filesystem::path& right);

    /// Reads and decodes the selection file, then applies it as above; a
    /// file that cannot be read or decoded throws `std::runtime_error`.
    static void applyFile(const std::filesystem::path& selectionFile,
                          const std::filesystem::path& left, const std::filesystem::path& right);

    /// The executable's body: `arguments` without the program name. Returns
    /// the exit status, 0 on success; on failure writes one line
    /// "vorda-diff-apply: <message>" to `errors`.
    static int runCommandLine(const std::vector<std::string>& arguments, std::ostream& errors);
};

}  // namespace vorda
