#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "jjkit/process/ProcessResult.h"

namespace vorda {

/// The only place that starts another process.
///
/// `execute` starts `arguments` through `/usr/bin/env` (so the tool is found on
/// the repaired PATH, see `repairedSearchPath`), drains stdout and stderr
/// together so neither pipe can fill and stall the child, optionally hands each
/// stderr line to `stderrLine` while the child runs, waits for its exit status
/// and returns everything. A non-zero exit is an ordinary result; only a child
/// that cannot be started at all throws `SpawnFailure`. There is no time-out:
/// a started process runs until it ends by itself. Standard input is inherited.
///
/// Each call writes one "[TAG] START LABEL" and one "[TAG] END   LABEL exit=…
/// dur=…ms bytes=…" line to the diagnostic log (the command line never
/// appears, only the caller's label), records a subprocess event in the
/// performance trace, and keeps no state: calls may run on any number of
/// threads at once. It blocks the calling thread, so callers run it on worker
/// threads; `stderrLine` is called on the calling thread, in stream order.
///
/// With `stdoutChunk`, standard output is handed over as it arrives, in
/// pieces of any size, on the calling thread, and the result's `stdout` stays
/// empty: a caller can decode a long output while the child still writes it.
class ProcessExecutor {
  public:
    using StderrLineHandler = std::function<void(const std::string& line)>;
    using StdoutChunkHandler = std::function<void(std::string_view bytes)>;

    static ProcessResult execute(const std::vector<std::string>& arguments,
                                 const std::optional<std::string>& workingDirectory,
                                 std::string_view logTag, std::string_view logLabel,
                                 const StderrLineHandler& stderrLine = {},
                                 const StdoutChunkHandler& stdoutChunk = {});
};

}  // namespace vorda
