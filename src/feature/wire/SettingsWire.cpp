#include "feature/wire/SettingsWire.h"

#include <string>

namespace vorda {

nlohmann::json Wire<UpdateStrategy>::encode(UpdateStrategy strategy) {
    return std::string(rawValue(strategy));
}

UpdateStrategy Wire<UpdateStrategy>::decode(const JsonReader& reader) {
    const std::string text = reader.string();
    const auto strategy = updateStrategyFromRaw(text);
    if (!strategy) {
        wire_detail::failUnknownCase(reader, "update strategy", text);
    }
    return *strategy;
}

nlohmann::json Wire<BookmarkSettings>::encode(const BookmarkSettings& settings) {
    return toJSON(settings);
}

BookmarkSettings Wire<BookmarkSettings>::decode(const JsonReader& reader) {
    return decodeBookmarkSettings(reader);
}

nlohmann::json Wire<FileRoutingRule>::encode(const FileRoutingRule& rule) {
    return toJSON(rule);
}

FileRoutingRule Wire<FileRoutingRule>::decode(const JsonReader& reader) {
    return decodeFileRoutingRule(reader);
}

}  // namespace vorda
