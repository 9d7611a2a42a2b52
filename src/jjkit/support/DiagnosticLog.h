#pragma once

#include <functional>
#include <string_view>

namespace vorda {

/// The process-wide diagnostic log: the Linux counterpart of the system log
/// that START/END lines, "[jj:error]" blocks, "[perf]" and "[bench]" lines go
/// to. Lines are written whole, so concurrent writers never interleave within
/// a line. Tests may redirect the sink to capture what was written.
class DiagnosticLog {
  public:
    using Sink = std::function<void(std::string_view text)>;

    /// Writes `line` followed by a line feed.
    static void writeLine(std::string_view line);

    /// Writes `text` exactly as given (a block that carries its own line ends).
    static void writeRaw(std::string_view text);

    /// Replaces the sink; an empty sink restores standard error. Returns the
    /// previous sink so that a caller can put it back.
    static Sink setSink(Sink sink);
};

}  // namespace vorda
