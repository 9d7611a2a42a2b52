#include "jjkit/trace/TraceSettings.h"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>

namespace vorda::trace {

bool parseEnabled(const char* value) {
    return value == nullptr || std::strcmp(value, "0") != 0;
}

std::optional<double> parseThresholdMs(const char* value) {
    if (value == nullptr || *value == '\0') {
        return std::nullopt;
    }
    // from_chars: no locale (a desktop toolkit may set a decimal comma), no
    // leading blanks, no hexadecimal.
    const char* end = value + std::strlen(value);
    double parsed = 0;
    const auto [stop, error] = std::from_chars(value, end, parsed, std::chars_format::fixed);
    if (error != std::errc() || stop != end || !std::isfinite(parsed) || parsed < 0) {
        return std::nullopt;
    }
    return parsed;
}

bool perfEnabled() {
    static const bool enabled = parseEnabled(std::getenv("VORDA_PERF"));
    return enabled;
}

double slowThresholdMs() {
    static const double threshold =
        parseThresholdMs(std::getenv("VORDA_BENCH_MS")).value_or(defaultSlowThresholdMs);
    return threshold;
}

}  // namespace vorda::trace
