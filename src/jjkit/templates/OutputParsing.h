#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "jjkit/records/JJCommit.h"
#include "jjkit/records/JJOp.h"
#include "jjkit/records/JJWorkspace.h"

namespace vorda {

/// Decodes one record a line (empty lines skipped). The first line that fails
/// fails the whole call with `JJError::ParseError`, after a "[Vorda] parse
/// failure (CONTEXT) line N: …" block on the diagnostic log: a change in jj's
/// output must show up loudly, never as silently missing records.
/// Defined for `JJCommit` and `JJOp`.
template <typename Record>
std::vector<Record> parseNDJSON(std::string_view text, std::string_view context);

/// Decodes `workspace list` output. jj prints `<Error: …>` in place of a root
/// it cannot read; such a line is decoded again with that placeholder as null,
/// so the workspace arrives with no root.
std::vector<JJWorkspace> parseWorkspaceList(std::string_view text);

/// The short change ID from jj's "Created new commit …" stderr line, if any.
std::optional<std::string> parseCreatedChangeID(std::string_view stderrText);

/// A line as shown in a parse-failure block: more than 400 characters are cut
/// to 400 followed by "…(truncated)".
std::string truncatedForLog(std::string_view line);

}  // namespace vorda
