#include "jjkit/update/ReleaseFeed.h"

#include <nlohmann/json.hpp>

#include "jjkit/links/SafeURL.h"

namespace vorda {

namespace {

std::string stringAt(const nlohmann::json& object, const char* key) {
    const auto found = object.find(key);
    return found != object.end() && found->is_string() ? found->get<std::string>() : std::string();
}

}  // namespace

std::variant<std::vector<FeedRelease>, std::string> parseReleaseFeed(const std::string& document) {
    const auto parsed = nlohmann::json::parse(document, nullptr, false);
    if (parsed.is_discarded()) {
        return std::string("The update feed is not valid JSON.");
    }
    const auto releases = parsed.is_object() ? parsed.find("releases") : parsed.end();
    if (releases == parsed.end() || !releases->is_array()) {
        return std::string("The update feed lists no releases.");
    }
    std::vector<FeedRelease> found;
    for (const auto& entry : *releases) {
        if (!entry.is_object()) {
            continue;
        }
        const auto version = SemanticVersion::parse(stringAt(entry, "version"));
        const auto url = safeURL(stringAt(entry, "url"), false);
        if (version && url) {
            found.push_back({*version, stringAt(entry, "notes"), *url});
        }
    }
    return found;
}

UpdateCheckResult checkForUpdate(const std::string& document, const std::string& current,
                                 bool includePrereleases) {
    const auto running = SemanticVersion::parse(current);
    if (!running) {
        return {UpdateCheckResult::Failed{"This build's version, \"" + current +
                                          "\", is not a version the feed can be compared with."}};
    }
    auto parsed = parseReleaseFeed(document);
    if (auto* error = std::get_if<std::string>(&parsed)) {
        return {UpdateCheckResult::Failed{std::move(*error)}};
    }
    const bool prereleases = includePrereleases || running->isPrerelease();
    const FeedRelease* newest = nullptr;
    for (const auto& release : std::get<std::vector<FeedRelease>>(parsed)) {
        if ((prereleases || !release.version.isPrerelease()) && release.version > *running &&
            (newest == nullptr || release.version > newest->version)) {
            newest = &release;
        }
    }
    if (newest == nullptr) {
        return {UpdateCheckResult::UpToDate{}};
    }
    return {UpdateCheckResult::Available{*newest}};
}

}  // namespace vorda
