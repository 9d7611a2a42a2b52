#include "jjkit/settings/BookmarkSettings.h"

#include <stdexcept>

#include "jjkit/records/RecordFields.h"
#include "jjkit/support/Uuid.h"

namespace vorda {
namespace {

std::vector<std::string> decodeStrings(const JsonReader& reader) {
    std::vector<std::string> strings;
    for (const auto& element : reader.array()) {
        strings.push_back(element.string());
    }
    return strings;
}

std::string payload(const JsonReader& body) {
    return body.field("_0").string();
}

/// A case without payload is written as an empty object; its body must at
/// least be an object.
void requireEmptyPayload(const JsonReader& body) {
    if (!body.value().is_object()) {
        throw DecodingError("type mismatch (expected Dictionary<String, Any>) at " +
                            body.pathText() + ": Expected to decode Dictionary<String, Any>.");
    }
}

}  // namespace

std::string_view rawValue(UpdateStrategy strategy) {
    switch (strategy) {
        case UpdateStrategy::rebase:
            return "rebase";
        case UpdateStrategy::mergeIn:
            return "mergeIn";
    }
    return "rebase";
}

std::optional<UpdateStrategy> updateStrategyFromRaw(std::string_view raw) {
    if (raw == "rebase") {
        return UpdateStrategy::rebase;
    }
    if (raw == "mergeIn") {
        return UpdateStrategy::mergeIn;
    }
    return std::nullopt;
}

std::string_view displayName(UpdateStrategy strategy) {
    switch (strategy) {
        case UpdateStrategy::rebase:
            return "Rebase";
        case UpdateStrategy::mergeIn:
            return "Merge trunk in";
    }
    return "Rebase";
}

BookmarkSettings BookmarkSettings::defaultFor(const BookmarkOrigin& origin) {
    BookmarkSettings settings;
    settings.updateStrategy =
        origin.isUpstream() ? UpdateStrategy::mergeIn : UpdateStrategy::rebase;
    return settings;
}

nlohmann::json toJSON(const BookmarkSettings& settings) {
    nlohmann::json json = {
        {"updateStrategy", rawValue(settings.updateStrategy)},
        {"tags", settings.tags},
        {"pinned", settings.pinned},
        {"columnVisible", settings.columnVisible},
    };
    if (settings.lastPushedCommitID) {
        json["lastPushedCommitID"] = *settings.lastPushedCommitID;
    }
    if (settings.cachedPRNumber) {
        json["cachedPRNumber"] = *settings.cachedPRNumber;
    }
    return json;
}

BookmarkSettings decodeBookmarkSettings(const JsonReader& reader) {
    BookmarkSettings settings;
    const auto strategyField = reader.field("updateStrategy");
    const auto raw = strategyField.string();
    const auto strategy = updateStrategyFromRaw(raw);
    if (!strategy) {
        throw DecodingError("data corrupted at " + strategyField.pathText() +
                            ": Cannot initialize UpdateStrategy from invalid String value " + raw);
    }
    settings.updateStrategy = *strategy;
    if (const auto field = reader.optionalField("lastPushedCommitID")) {
        settings.lastPushedCommitID = field->string();
    }
    if (const auto field = reader.optionalField("cachedPRNumber")) {
        settings.cachedPRNumber = field->integer();
    }
    if (const auto field = reader.optionalField("tags")) {
        settings.tags = decodeStrings(*field);
    }
    if (const auto field = reader.optionalField("pinned")) {
        settings.pinned = field->boolean();
    }
    if (const auto field = reader.optionalField("columnVisible")) {
        settings.columnVisible = field->boolean();
    }
    return settings;
}

nlohmann::json toJSON(const FileRoutingRule& rule) {
    if (!isValidUuid(rule.id)) {
        throw std::invalid_argument("FileRoutingRule id is not a UUID: " + rule.id);
    }
    return {
        {"id", canonicalUuid(rule.id)},
        {"pattern", rule.pattern},
        {"bookmarkName", rule.bookmarkName},
        {"enabled", rule.enabled},
    };
}

FileRoutingRule decodeFileRoutingRule(const JsonReader& reader) {
    FileRoutingRule rule;
    rule.id = record_detail::decodeUuid(reader.field("id"));
    rule.pattern = reader.field("pattern").string();
    rule.bookmarkName = reader.field("bookmarkName").string();
    rule.enabled = reader.field("enabled").boolean();
    return rule;
}

nlohmann::json toJSON(const SavedConfig::BaseStrategy& strategy) {
    using Strategy = SavedConfig::BaseStrategy;
    struct Encode {
        nlohmann::json operator()(const Strategy::SpecificCommit& base) const {
            return {{"specificCommit", {{"_0", base.commitID}}}};
        }
        nlohmann::json operator()(const Strategy::TrunkTip& /*base*/) const {
            return {{"trunkTip", nlohmann::json::object()}};
        }
        nlohmann::json operator()(const Strategy::WorkingCopy& /*base*/) const {
            return {{"workingCopy", nlohmann::json::object()}};
        }
    };
    return std::visit(Encode{}, strategy.value);
}

SavedConfig::BaseStrategy decodeBaseStrategy(const JsonReader& reader) {
    using Strategy = SavedConfig::BaseStrategy;
    const auto& json = reader.value();
    if (!json.is_object() || json.size() != 1) {
        throw DecodingError("Invalid number of keys found, expected one.");
    }
    const std::string key = json.begin().key();
    const auto body = reader.field(key);
    if (key == "specificCommit") {
        return {Strategy::SpecificCommit{payload(body)}};
    }
    if (key == "trunkTip") {
        requireEmptyPayload(body);
        return {Strategy::TrunkTip{}};
    }
    if (key == "workingCopy") {
        requireEmptyPayload(body);
        return {Strategy::WorkingCopy{}};
    }
    throw DecodingError("Unknown case `" + key + "` of SavedConfig.BaseStrategy.");
}

nlohmann::json toJSON(const SavedConfig& config) {
    nlohmann::json json = {
        {"name", config.name},
        {"enabledBookmarks", config.enabledBookmarks},
    };
    if (config.baseStrategy) {
        json["baseStrategy"] = toJSON(*config.baseStrategy);
    }
    return json;
}

SavedConfig decodeSavedConfig(const JsonReader& reader) {
    SavedConfig config;
    config.name = reader.field("name").string();
    config.enabledBookmarks = decodeStrings(reader.field("enabledBookmarks"));
    if (const auto field = reader.optionalField("baseStrategy")) {
        config.baseStrategy = decodeBaseStrategy(*field);
    }
    return config;
}

}  // namespace vorda
