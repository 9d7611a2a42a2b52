#pragma once

#include <string>
#include <string_view>

namespace vorda {

/// The templates that make jj print JSON, one record a line. They are the wire
/// format with jj, and each key matches a record field's JSON key.
struct JJTemplateBuilder {
    /// One `JJCommit` a line. Changed files only for the working-copy commit,
    /// without line counts: a diff for every commit would be far too slow.
    static constexpr std::string_view commitTemplate =
        R"T("{\"commit_id\":" ++ json(commit_id)
++ ",\"change_id\":" ++ json(change_id)
++ ",\"parents\":" ++ json(parents.map(|p| p.commit_id()))
++ ",\"description\":" ++ json(description)
++ ",\"author\":" ++ json(author)
++ ",\"committer\":" ++ json(committer)
++ ",\"conflict\":" ++ json(conflict)
++ ",\"empty\":" ++ json(empty)
++ ",\"immutable\":" ++ json(immutable)
++ ",\"local_bookmarks\":" ++ json(local_bookmarks)
++ ",\"remote_bookmarks\":" ++ json(remote_bookmarks)
++ ",\"working_copy\":" ++ json(current_working_copy)
++ ",\"changed_files\":[" ++ if(current_working_copy, self.diff().files().map(|f| "{\"path\":" ++ json(f.path()) ++ ",\"status\":" ++ json(f.status_char()) ++ "}").join(",")) ++ "]"
++ "}\n")T";

    /// `commitTemplate` with two more keys behind the commit's own, "mine"
    /// and "behind_trunk": whether the commit lies in each revset
    /// (`LoggedCommit`). jj evaluates each revset once for the whole log.
    static std::string commitTemplateWithFacts(std::string_view mineRevset,
                                               std::string_view behindTrunkRevset);

    /// One JSON array of `ChangedFile`, with line counts, for one commit.
    static constexpr std::string_view changedFilesTemplate =
        R"T("[" ++ self.diff().stat().files().map(|f| "{\"path\":" ++ json(f.path()) ++ ",\"status\":" ++ json(f.status_char()) ++ ",\"lines_added\":" ++ json(f.lines_added()) ++ ",\"lines_removed\":" ++ json(f.lines_removed()) ++ "}").join(",") ++ "]")T";

    /// One `JJOp` a line.
    static constexpr std::string_view opTemplate =
        R"T("{\"op_id\":" ++ json(id)
++ ",\"description\":" ++ json(description.first_line())
++ ",\"start_time\":" ++ json(time.start())
++ "}\n")T";

    /// One `JJWorkspace` a line, for `workspace list`.
    static constexpr std::string_view workspaceTemplate =
        R"T("{\"name\":" ++ json(name) ++ ",\"root\":" ++ json(root) ++ ",\"commit_id\":" ++ json(target.commit_id()) ++ ",\"change_id\":" ++ json(target.change_id()) ++ "}\n")T";

    static constexpr std::string_view commitIDLines = R"T(commit_id ++ "\n")T";
    static constexpr std::string_view changeIDLines = R"T(change_id ++ "\n")T";
    static constexpr std::string_view changeIDAndCommitterTimeLines =
        R"T(change_id ++ "\t" ++ committer.timestamp() ++ "\n")T";
    static constexpr std::string_view nameLines = R"T(name ++ "\n")T";
};

}  // namespace vorda
