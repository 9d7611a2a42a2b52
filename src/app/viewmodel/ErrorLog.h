#pragma once

#include <optional>
#include <string>

namespace vorda {

/// Writes "[Vorda:error] FIELD: VALUE" to standard error when an error field
/// takes a new, non-empty value.
void logErrorField(const char* field, const std::optional<std::string>& previous,
                   const std::optional<std::string>& next);

}  // namespace vorda
