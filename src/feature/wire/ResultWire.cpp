#include "feature/wire/ResultWire.h"

#include "feature/wire/ResultCases.h"

namespace vorda {

nlohmann::json Wire<RepoCommandResult>::encode(const RepoCommandResult& result) {
    return WireOneOf<RepoCommandResult>::encode(result);
}

RepoCommandResult Wire<RepoCommandResult>::decode(const JsonReader& reader) {
    return WireOneOf<RepoCommandResult>::decode(reader);
}

nlohmann::json encodeResult(const RepoCommandResult& result) {
    return Wire<RepoCommandResult>::encode(result);
}

RepoCommandResult decodeResult(const nlohmann::json& json) {
    return Wire<RepoCommandResult>::decode(JsonReader(json));
}

}  // namespace vorda
