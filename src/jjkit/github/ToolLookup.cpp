#include "jjkit/github/ToolLookup.h"

#include <cstdlib>

#include <sys/stat.h>
#include <unistd.h>

#include "jjkit/process/SearchPath.h"
#include "jjkit/support/Text.h"

namespace vorda {

std::optional<std::string> locateTool(std::string_view name) {
    const char* inherited = std::getenv("PATH");
    const std::string searchPath =
        repairedSearchPath(inherited != nullptr ? inherited : "", currentUserName());
    for (const auto folder : text::splitNonEmpty(searchPath, ':')) {
        std::string candidate(folder);
        candidate.append("/").append(name);
        struct stat info {};
        if (::stat(candidate.c_str(), &info) == 0 && S_ISREG(info.st_mode) &&
            ::access(candidate.c_str(), X_OK) == 0) {
            return candidate;
        }
    }
    return std::nullopt;
}

}  // namespace vorda
