#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vorda {

/// `text` when it is an address a link may open: it parses as one, its
/// scheme (in any case) is "https" or "http" for the web, "linear" for an
/// app, it names a host, and it carries no user or password. Absent
/// otherwise.
std::optional<std::string> safeURL(std::string_view text, bool app);

/// `value` with every byte but letters, digits and "-._~" as %XX.
std::string percentEncoded(std::string_view value);

}  // namespace vorda
