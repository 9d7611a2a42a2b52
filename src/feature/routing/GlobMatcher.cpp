#include "feature/routing/GlobMatcher.h"

#include <fnmatch.h>

namespace vorda {

bool GlobMatcher::matches(const std::string& pattern, const std::string& path) {
    std::string collapsed;
    collapsed.reserve(pattern.size());
    for (std::size_t index = 0; index < pattern.size(); ++index) {
        collapsed.push_back(pattern[index]);
        if (pattern[index] == '*' && index + 1 < pattern.size() && pattern[index + 1] == '*') {
            ++index;
        }
    }
    return fnmatch(collapsed.c_str(), path.c_str(), 0) == 0;
}

std::optional<std::size_t> GlobMatcher::firstMatch(const std::vector<std::string>& patterns,
                                                   const std::string& path) {
    for (std::size_t index = 0; index < patterns.size(); ++index) {
        if (matches(patterns[index], path)) {
            return index;
        }
    }
    return std::nullopt;
}

}  // namespace vorda
