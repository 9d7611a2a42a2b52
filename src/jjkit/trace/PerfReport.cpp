#include "jjkit/trace/PerfReport.h"

#include <algorithm>
#include <cstdio>
#include <set>
#include <unordered_map>

namespace vorda::trace {
namespace {

constexpr double nanosecondsPerMillisecond = 1e6;

std::size_t depthOf(const PerfEvent& event, std::uint64_t actionID,
                    const std::unordered_map<std::uint64_t, const PerfEvent*>& byID) {
    std::size_t depth = 0;
    std::set<std::uint64_t> seen;
    auto parent = event.parentID;
    // Parent chains come from one process, but a cycle in them must still not hang the report.
    while (parent && *parent != actionID && seen.insert(*parent).second) {
        const auto found = byID.find(*parent);
        if (found == byID.end()) {
            break;
        }
        ++depth;
        parent = found->second->parentID;
    }
    return depth;
}

}  // namespace

std::string formatDuration(std::uint64_t nanoseconds) {
    const double milliseconds = static_cast<double>(nanoseconds) / nanosecondsPerMillisecond;
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, milliseconds < 10.0 ? "%.1fms" : "%.0fms", milliseconds);
    return buffer;
}

std::vector<std::string> formatActionReport(std::uint64_t actionID, std::string_view label,
                                            std::uint64_t startNs, std::uint64_t endNs,
                                            const std::vector<PerfEvent>& events,
                                            std::string_view note) {
    std::vector<const PerfEvent*> ordered;
    std::unordered_map<std::uint64_t, const PerfEvent*> byID;
    for (const auto& event : events) {
        ordered.push_back(&event);
        byID.emplace(event.id, &event);
    }
    std::stable_sort(ordered.begin(), ordered.end(), [](const PerfEvent* a, const PerfEvent* b) {
        return a->startNs < b->startNs;
    });

    std::uint64_t subprocessCount = 0;
    std::uint64_t subprocessNs = 0;
    std::map<std::string, std::uint64_t> rollup;
    for (const auto* event : ordered) {
        if (event->category == PerfCategory::subprocess) {
            ++subprocessCount;
            subprocessNs += event->endNs - event->startNs;
            ++rollup[event->label];
        }
    }

    std::string head = "[perf] ";
    head.append(label).append(" — total ").append(formatDuration(endNs - startNs));
    if (subprocessCount > 0) {
        head.append(" · subprocesses: ")
            .append(std::to_string(subprocessCount))
            .append("× totaling ")
            .append(formatDuration(subprocessNs));
    }
    if (!note.empty()) {
        head.append(" · ").append(note);
    }
    std::vector<std::string> lines{head};

    for (const auto* event : ordered) {
        std::string line = "[perf]   ";
        line.append(2 * depthOf(*event, actionID, byID), ' ');
        const std::uint64_t offset = event->startNs > startNs ? event->startNs - startNs : 0;
        line.append("+").append(formatDuration(offset)).append(" ");
        line.append(formatDuration(event->endNs - event->startNs)).append(" ");
        if (event->category == PerfCategory::subprocess) {
            line.append("⚙ ");
        }
        line.append(event->label);
        lines.push_back(std::move(line));
    }

    if (!rollup.empty()) {
        lines.emplace_back("[perf]   subprocess rollup:");
        for (const auto& [name, count] : rollup) {
            lines.push_back("[perf]     " + std::to_string(count) + "× " + name);
        }
    }
    return lines;
}

std::string formatSlowEvent(const PerfEvent& event) {
    std::string line = "[perf] ";
    line.append(formatDuration(event.endNs - event.startNs))
        .append(" ")
        .append(perfCategoryName(event.category))
        .append(": ")
        .append(event.label);
    return line;
}

std::vector<std::string> formatGlobalSummary(
    const std::map<std::string, AggregateEntry>& aggregate) {
    std::vector<std::pair<std::string, AggregateEntry>> entries(aggregate.begin(), aggregate.end());
    std::stable_sort(entries.begin(), entries.end(), [](const auto& a, const auto& b) {
        return a.second.totalNs > b.second.totalNs;
    });
    std::vector<std::string> lines{"[perf] ═══ global summary (whole process) ═══"};
    for (const auto& [key, entry] : entries) {
        lines.push_back("[perf]   " + formatDuration(entry.totalNs) + " " +
                        std::to_string(entry.count) + "× " + key);
    }
    return lines;
}

}  // namespace vorda::trace
