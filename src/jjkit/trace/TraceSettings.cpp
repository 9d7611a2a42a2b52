#include "jjkit/trace/TraceSettings.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>

namespace vorda::trace {

bool parseEnabled(const char* value) { return value == nullptr || std::strcmp(value, "0") != 0; }

std::optional<double> parseThresholdMs(const char* value) {
    if (value == nullptr || *value == '\0') {
        return std::nullopt;
    }
    char* end = nullptr;
    errno = 0;
    const double parsed = std::strtod(value, &end);
    if (errno != 0 || end == value || *end != '\0' || !std::isfinite(parsed) || parsed < 0) {
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
