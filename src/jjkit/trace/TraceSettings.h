#pragma once

#include <optional>

namespace vorda::trace {

/// Tracing is on unless VORDA_PERF holds exactly "0"; absent means on.
bool parseEnabled(const char* value);

/// VORDA_BENCH_MS as a decimal number of milliseconds; absent when unset or
/// unreadable (not a whole decimal number, negative, or not finite).
std::optional<double> parseThresholdMs(const char* value);

inline constexpr double defaultSlowThresholdMs = 50.0;

/// The switches, read from the environment once per process.
bool perfEnabled();
double slowThresholdMs();

}  // namespace vorda::trace
