#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "jjkit/update/SemanticVersion.h"

namespace vorda {

/// One release a feed announces.
struct FeedRelease {
    SemanticVersion version;
    /// What changed, as the feed words it.
    std::string notes;
    /// The page to download it from: http or https.
    std::string url;
};

/// What an update check found.
struct UpdateCheckResult {
    struct UpToDate {};
    struct Available {
        FeedRelease release;
    };
    struct Failed {
        std::string message;
    };
    std::variant<UpToDate, Available, Failed> value;
};

/// The release feed: a JSON object {"releases": [{"version", "notes",
/// "url"}, …]}. A release with an unreadable version or an unsafe address
/// is skipped; a document that is not such an object is an error.
std::variant<std::vector<FeedRelease>, std::string> parseReleaseFeed(const std::string& document);

/// Compares the feed with `current`: the newest release above it, if any.
/// Pre-releases count only with `includePrereleases`, or while `current` is
/// one itself. Nothing is downloaded or installed.
UpdateCheckResult checkForUpdate(const std::string& document, const std::string& current,
                                 bool includePrereleases);

}  // namespace vorda
