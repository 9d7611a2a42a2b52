#pragma once

#include <optional>
#include <string>
#include <vector>

namespace vorda {

/// The patterns of file routing rules, matched by the C library's `fnmatch`
/// with no flags: a "*" crosses "/" and a leading dot needs nothing special,
/// so `src/*.txt` matches `src/a/b.txt`. "**" is another way of writing "*".
struct GlobMatcher {
    static bool matches(const std::string& pattern, const std::string& path);
    /// The index of the first pattern that matches `path`.
    static std::optional<std::size_t> firstMatch(const std::vector<std::string>& patterns,
                                                 const std::string& path);
};

}  // namespace vorda
