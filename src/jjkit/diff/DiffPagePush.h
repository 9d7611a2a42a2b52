#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vorda {

/// One file of the diff page's tree: its path and one status letter
/// ("M", "A", "D", "R" or "C").
struct DiffFileEntry {
    std::string path;
    std::string status;

    bool operator==(const DiffFileEntry&) const = default;
};

/// The tree entries of a `jj diff --git` text, one per "diff --git " line in
/// text order: the path is the header's last word without its "b/" prefix,
/// and the status "A", "D" or "R" when a "new file mode", "deleted file mode"
/// or "rename from " line follows before the next header, else "M". An
/// absent or empty patch gives none.
std::vector<DiffFileEntry> pierreFileEntries(const std::optional<std::string>& patch);

/// What one push hands the diff page, and the script that hands it over.
///
/// ```
/// const auto push = DiffPagePush::make(patch, entries);
/// if (push && push->key != lastKey) { lastKey = push->key; evaluate(push->script()); }
/// ```
struct DiffPagePush {
    /// The file list as a JSON array of {"path", "status"} objects; "[]"
    /// for none.
    std::string filesJSON;
    /// The patch text, or empty.
    std::string patch;
    /// The JSON, U+0001, then the patch: equal keys show the same page.
    std::string key;

    /// Nothing to push with neither a patch nor entries.
    static std::optional<DiffPagePush> make(
        const std::optional<std::string>& patch,
        const std::optional<std::vector<DiffFileEntry>>& entries);

    /// The script that gives the data to the page, or leaves it in the
    /// pending globals when the page's own script has not run yet.
    std::string script() const;
};

/// `text` as the body of a JavaScript template literal: backslashes doubled,
/// then backticks and dollar signs escaped with a backslash.
std::string escapeForTemplateLiteral(std::string_view text);

}  // namespace vorda
