#pragma once

#include <concepts>
#include <cstdint>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <nlohmann/json.hpp>

#include "jjkit/records/JsonReader.h"

namespace vorda {

/// The JSON coding of one type on the wire: everything that crosses a process
/// between the session and a front end (snapshots, commands, results).
///
/// Each specialisation has
///
///     static nlohmann::json encode(const T& value);
///     static T decode(const JsonReader& reader);  // throws DecodingError
///
/// This header codes text, truth values, integers, optional values, lists,
/// sets and maps keyed by text; records and enumerations get theirs from a
/// small per-type table (WireRecord.h, WireCases.h). The rules, kept by every
/// coding:
///
/// - A record is an object keyed by its field names; unknown keys are ignored,
///   a missing required key fails.
/// - An optional value that is absent is left out; on decoding a missing key
///   and null both mean absent.
/// - A set is an array in its sort order; a map keyed by text is an object,
///   whose keys come out sorted whatever the map's own order.
/// - A decoding failure is a `DecodingError` that names the path of the value
///   ("createBookmark._0.name") and what was wrong with it; no JSON value makes
///   a decoder fail in any other way.
template <typename T>
struct Wire;

template <typename T>
nlohmann::json wireEncode(const T& value) {
    return Wire<T>::encode(value);
}

template <typename T>
T wireDecode(const JsonReader& reader) {
    return Wire<T>::decode(reader);
}

/// The compact text of an encoded value. Text that is not UTF-8 (a diff line
/// of a Latin-1 file, say) comes out with U+FFFD in place of the bad bytes
/// rather than failing the whole value.
std::string wireText(const nlohmann::json& json);

namespace wire_detail {

/// Throws "data corrupted at <path>: <what>".
[[noreturn]] void failCorrupted(const JsonReader& reader, std::string_view what);

/// Throws unless the value is an object.
void requireObject(const JsonReader& reader);

/// A text without NUL: no jj argument can carry one, and it would cut a
/// description or a name short without a word.
std::string decodeText(const JsonReader& reader);

/// A whole number within [min, max]; anything else fails.
std::int64_t decodeInteger(const JsonReader& reader, std::int64_t min, std::int64_t max);

}  // namespace wire_detail

template <>
struct Wire<std::string> {
    static nlohmann::json encode(const std::string& value) { return value; }
    static std::string decode(const JsonReader& reader) { return wire_detail::decodeText(reader); }
};

template <>
struct Wire<bool> {
    static nlohmann::json encode(bool value) { return value; }
    static bool decode(const JsonReader& reader) { return reader.boolean(); }
};

template <std::signed_integral T>
struct Wire<T> {
    static nlohmann::json encode(T value) { return value; }
    static T decode(const JsonReader& reader) {
        return static_cast<T>(wire_detail::decodeInteger(reader, std::numeric_limits<T>::min(),
                                                         std::numeric_limits<T>::max()));
    }
};

/// Standing alone (a list element, say) an absent value is null. As a record
/// field it is left out instead (WireRecord.h).
template <typename T>
struct Wire<std::optional<T>> {
    static nlohmann::json encode(const std::optional<T>& value) {
        return value ? Wire<T>::encode(*value) : nlohmann::json(nullptr);
    }
    static std::optional<T> decode(const JsonReader& reader) {
        if (reader.isNull()) {
            return std::nullopt;
        }
        return Wire<T>::decode(reader);
    }
};

/// Values shared rather than copied (snapshots, commits) are written whole.
template <typename T>
struct Wire<std::shared_ptr<const T>> {
    static nlohmann::json encode(const std::shared_ptr<const T>& value) {
        return value ? Wire<T>::encode(*value) : nlohmann::json(nullptr);
    }
    static std::shared_ptr<const T> decode(const JsonReader& reader) {
        return std::make_shared<const T>(Wire<T>::decode(reader));
    }
};

/// A list or a set, as an array in iteration order.
template <typename Container>
struct WireArray {
    using Element = typename Container::value_type;

    static nlohmann::json encode(const Container& values) {
        auto array = nlohmann::json::array();
        for (const auto& value : values) {
            array.push_back(Wire<Element>::encode(value));
        }
        return array;
    }
    static Container decode(const JsonReader& reader) {
        Container values;
        for (const auto& element : reader.array()) {
            values.insert(values.end(), Wire<Element>::decode(element));
        }
        return values;
    }
};

template <typename T>
struct Wire<std::vector<T>> : WireArray<std::vector<T>> {};

template <typename T>
struct Wire<std::set<T>> : WireArray<std::set<T>> {};

/// A map keyed by text, as an object. The JSON object keeps its keys sorted,
/// so a hash map comes out in the same order on every run.
template <typename Map>
struct WireObject {
    using Value = typename Map::mapped_type;

    static nlohmann::json encode(const Map& values) {
        auto object = nlohmann::json::object();
        for (const auto& [key, value] : values) {
            object[key] = Wire<Value>::encode(value);
        }
        return object;
    }
    static Map decode(const JsonReader& reader) {
        wire_detail::requireObject(reader);
        Map values;
        for (const auto& entry : reader.value().items()) {
            values.emplace(entry.key(), Wire<Value>::decode(reader.field(entry.key())));
        }
        return values;
    }
};

template <typename T>
struct Wire<std::map<std::string, T>> : WireObject<std::map<std::string, T>> {};

template <typename T>
struct Wire<std::unordered_map<std::string, T>> : WireObject<std::unordered_map<std::string, T>> {};

}  // namespace vorda
