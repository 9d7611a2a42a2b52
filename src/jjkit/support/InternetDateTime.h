#pragma once

#include <chrono>
#include <optional>
#include <string_view>

namespace vorda {

/// Parses an RFC 3339 date and time as jj prints it: "2026-11-21T09:30:00+01:00"
/// or with "Z"; dash and colon separators, no fractional seconds. Absent for
/// anything else, including impossible dates.
std::optional<std::chrono::sys_seconds> parseInternetDateTime(std::string_view text);

}  // namespace vorda
