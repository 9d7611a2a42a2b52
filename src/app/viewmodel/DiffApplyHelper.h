#pragma once

#include <optional>
#include <string>

namespace vorda {

/// Where `vorda-diff-apply`, the helper jj runs to keep chosen hunks, is:
/// beside the application's binary, else where an installation puts it
/// (../libexec/vorda/ from the binary's folder), else where the build put
/// it; absent when none is there.
std::optional<std::string> diffApplyHelperPath();

}  // namespace vorda
