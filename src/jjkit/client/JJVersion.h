#pragma once

#include <compare>
#include <optional>
#include <string>
#include <string_view>

namespace vorda {

/// A jj version. Ordering looks at major, minor and patch only; `raw` is the
/// text it came from (without the "jj " prefix) and is its description.
struct JJVersion {
    int major = 0;
    int minor = 0;
    int patch = 0;
    std::string raw;

    /// Parses the output of `jj version`: "jj 0.39.0", "0.39.0", "1.0",
    /// "0.39.0-abc" (patch 0). Absent for text without two leading numbers.
    static std::optional<JJVersion> parsing(std::string_view text);

    static JJVersion minimumSupported() { return {0, 39, 0, "0.39.0"}; }

    bool isSupported() const { return *this >= minimumSupported(); }
    const std::string& description() const { return raw; }

    std::strong_ordering operator<=>(const JJVersion& other) const;
    bool operator==(const JJVersion& other) const { return std::is_eq(*this <=> other); }
};

}  // namespace vorda
