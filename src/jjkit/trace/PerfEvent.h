#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vorda {

/// What a traced event measured. The names print as they stand.
enum class PerfCategory { subprocess, session, snapshot, vm, webview, store };

std::string_view perfCategoryName(PerfCategory category);

/// One timed event of the trace. `parentID` is the enclosing span, or the
/// action that was in force when the event was recorded.
struct PerfEvent {
    std::uint64_t id = 0;
    std::optional<std::uint64_t> parentID;
    std::string label;
    PerfCategory category = PerfCategory::session;
    std::uint64_t startNs = 0;
    std::uint64_t endNs = 0;
};

}  // namespace vorda
