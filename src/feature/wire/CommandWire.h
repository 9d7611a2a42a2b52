#pragma once

#include <string_view>

#include <nlohmann/json.hpp>

#include "feature/commands/RepoCommand.h"
#include "feature/wire/WireCoding.h"
#include "jjkit/records/JsonReader.h"

namespace vorda {

/// A command on the wire: one key, the case name, holding the payload by its
/// labels.
///
///     {"moveBookmark":{"name":"feature","toCommitID":"…","allowBackwards":false}}
///     {"createBookmark":{"_0":{"name":"x","startingPoint":{"workingCopy":{}},…}}}
///     {"refresh":{}}
///
/// A fetch's progress callback is not carried; a decoded fetch has none. The
/// case tables are in CommandCases.h; this is coded once, in CommandWire.cpp.
template <>
struct Wire<RepoCommand> {
    static nlohmann::json encode(const RepoCommand& command);
    static RepoCommand decode(const JsonReader& reader);
};

nlohmann::json encodeCommand(const RepoCommand& command);

/// Throws `DecodingError` naming the path and the fault:
/// "data corrupted at <root>: unknown command case "frobnicate"",
/// "type mismatch (expected String) at createBookmark._0.name: …".
RepoCommand decodeCommand(const nlohmann::json& json);

/// The same from JSON text; text that is not JSON (invalid UTF-8 included)
/// throws `DecodingError` too.
RepoCommand parseCommand(std::string_view text);

}  // namespace vorda
