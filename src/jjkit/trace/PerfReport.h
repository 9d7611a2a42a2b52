#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "jjkit/trace/PerfEvent.h"

namespace vorda::trace {

/// "%.1fms" below ten milliseconds, "%.0fms" from there on.
std::string formatDuration(std::uint64_t nanoseconds);

/// The lines of one action's report, each without its line end:
///
///     [perf] open repo — total 120ms · subprocesses: 2× totaling 80ms · note
///     [perf]   +0.2ms 40ms ⚙ repo | log
///     [perf]     +1.0ms 3.1ms decode
///     [perf]   subprocess rollup:
///     [perf]     2× repo | log
///
/// Events are indented by their depth below the action (`actionID`).
std::vector<std::string> formatActionReport(std::uint64_t actionID, std::string_view label,
                                            std::uint64_t startNs, std::uint64_t endNs,
                                            const std::vector<PerfEvent>& events,
                                            std::string_view note);

/// The line written for an event that reached the slow threshold.
std::string formatSlowEvent(const PerfEvent& event);

struct AggregateEntry {
    std::uint64_t count = 0;
    std::uint64_t totalNs = 0;
};

/// The global summary, largest total first (ties by key).
std::vector<std::string> formatGlobalSummary(
    const std::map<std::string, AggregateEntry>& aggregate);

}  // namespace vorda::trace
