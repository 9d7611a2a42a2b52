#pragma once

#include <compare>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vorda {

/// A release's version, ordered by semantic-versioning precedence: numbers
/// first, then a pre-release ("1.2.0-beta.2") before its release, build
/// metadata ignored.
struct SemanticVersion {
    int major = 0;
    int minor = 0;
    int patch = 0;
    /// The dot-separated pre-release identifiers; empty for a release.
    std::vector<std::string> prerelease;

    /// "1.2.3", "v1.2.3-rc.1+build.5", or "1.2" (patch 0); absent for
    /// anything else.
    static std::optional<SemanticVersion> parse(std::string_view text);

    bool isPrerelease() const { return !prerelease.empty(); }
    std::string text() const;

    std::strong_ordering operator<=>(const SemanticVersion& other) const;
    bool operator==(const SemanticVersion& other) const {
        return (*this <=> other) == std::strong_ordering::equal;
    }
};

}  // namespace vorda
