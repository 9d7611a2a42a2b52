#include "feature/wire/CommandWire.h"

#include "feature/wire/CommandCases.h"

namespace vorda {

nlohmann::json Wire<RepoCommand>::encode(const RepoCommand& command) {
    return WireOneOf<RepoCommand>::encode(command);
}

RepoCommand Wire<RepoCommand>::decode(const JsonReader& reader) {
    return WireOneOf<RepoCommand>::decode(reader);
}

nlohmann::json encodeCommand(const RepoCommand& command) {
    return Wire<RepoCommand>::encode(command);
}

RepoCommand decodeCommand(const nlohmann::json& json) {
    return Wire<RepoCommand>::decode(JsonReader(json));
}

RepoCommand parseCommand(std::string_view text) {
    return decodeCommand(JsonReader::parse(text));
}

}  // namespace vorda
