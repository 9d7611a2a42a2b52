#pragma once

#include <nlohmann/json.hpp>

#include "feature/commands/RepoCommandResult.h"
#include "feature/wire/WireCoding.h"
#include "jjkit/records/JsonReader.h"

namespace vorda {

/// A command's result on the wire; every payload is unlabelled:
///
///     {"refreshed":{"_0":<snapshot>}}   {"toast":{"_0":"Tracking feature"}}
///     {"openURL":{"_0":"https://…"}}    {"recentOps":{"_0":[…]}}
///
/// The case tables are in ResultCases.h; this is coded once, in
/// ResultWire.cpp.
template <>
struct Wire<RepoCommandResult> {
    static nlohmann::json encode(const RepoCommandResult& result);
    static RepoCommandResult decode(const JsonReader& reader);
};

nlohmann::json encodeResult(const RepoCommandResult& result);
/// Throws `DecodingError`, like `decodeCommand`.
RepoCommandResult decodeResult(const nlohmann::json& json);

}  // namespace vorda
