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
/// Defined for `JJCommit`, `LoggedCommit` and `JJOp`.
template <typename Record>
std::vector<Record> parseNDJSON(std::string_view text, std::string_view context);

/// `parseNDJSON` fed piece by piece, so that a long output is decoded while
/// jj is still writing it:
///
///     NDJSONDecoder<JJCommit> decoder("log");
///     client.run(arguments, reason, true, {0}, {},
///                [&](std::string_view bytes) { decoder.feed(bytes); });
///     return decoder.finishOutput();
///
/// Each complete line is decoded as soon as it is in; a failure is kept and
/// reported only when the caller finishes, after it has judged the exit
/// status.
template <typename Record>
class NDJSONDecoder {
  public:
    explicit NDJSONDecoder(std::string_view context) : context_(context) {}

    void feed(std::string_view bytes);

    /// The records, or the first failure as `parseNDJSON` reports it.
    std::vector<Record> finish();

    /// As `finish`, for a process's raw output: output that is not valid
    /// UTF-8 counts as empty text, as in `ProcessResult`.
    std::vector<Record> finishOutput();

  private:
    struct Failure {
        std::size_t lineNumber = 0;
        std::string description;
        std::string line;
        bool invalidUtf8 = false;
    };

    void takeLine(std::string_view line);
    void takeRest();

    std::string context_;
    std::string pending_;
    std::vector<Record> records_;
    std::size_t lineNumber_ = 0;
    bool sawInvalidUtf8_ = false;
    std::optional<Failure> failure_;
};

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
