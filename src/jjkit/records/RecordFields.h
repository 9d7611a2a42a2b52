#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <vector>

#include <nlohmann/json.hpp>

#include "jjkit/records/JsonReader.h"
#include "jjkit/records/RecordCoding.h"

namespace vorda {

/// One key of a stored record and the member it holds.
template <typename Owner, typename Member>
struct RecordField {
    std::string_view key;
    Member Owner::*member;
    /// The text is a UUID: refused when malformed, kept upper-case.
    bool uuid = false;
};

template <typename Owner, typename Member>
constexpr RecordField<Owner, Member> recordField(std::string_view key, Member Owner::*member) {
    return {key, member};
}

/// A field holding a UUID: decoding refuses any other text and turns the
/// identifier into its one canonical (upper-case) form, so that identities
/// compare equal whatever case they were written in.
template <typename Owner>
constexpr RecordField<Owner, std::string> uuidField(std::string_view key,
                                                    std::string Owner::*member) {
    return {key, member, true};
}

namespace record_detail {

/// The canonical form of the UUID at `reader`; "data corrupted" otherwise.
std::string decodeUuid(const JsonReader& reader);

}  // namespace record_detail

/// The field table of a record that the program writes to disk itself (plans
/// and receipts), which gives it a `RecordCoding`:
///
///     template <>
///     struct RecordFields<OperationStep> {
///         static constexpr auto fields = std::tuple{
///             recordField("name", &OperationStep::name), ...};
///     };
///
/// Keys are the members' names. An absent optional member leaves its key out
/// and a missing or null key decodes as absent; any other missing key fails.
/// Nested template records (commits, workspaces) keep the snake-case form jj
/// prints, so a stored plan holds them exactly as they were read.
template <typename T>
struct RecordFields;

template <typename T>
concept FieldRecord = requires {
    RecordFields<T>::fields;
};

/// The coding of one stored value: text, truth values, whole and fractional
/// numbers, lists, maps keyed by text, and records.
template <typename T>
struct StoredValue {
    static nlohmann::json encode(const T& value) { return RecordCoding<T>::encode(value); }
    static T decode(const JsonReader& reader) { return RecordCoding<T>::decode(reader); }
};

template <>
struct StoredValue<std::string> {
    static nlohmann::json encode(const std::string& value) { return value; }
    static std::string decode(const JsonReader& reader) { return reader.string(); }
};

template <>
struct StoredValue<bool> {
    static nlohmann::json encode(bool value) { return value; }
    static bool decode(const JsonReader& reader) { return reader.boolean(); }
};

template <>
struct StoredValue<std::int64_t> {
    static nlohmann::json encode(std::int64_t value) { return value; }
    static std::int64_t decode(const JsonReader& reader) { return reader.integer(); }
};

template <>
struct StoredValue<double> {
    static nlohmann::json encode(double value) { return value; }
    static double decode(const JsonReader& reader) { return reader.number(); }
};

template <typename T>
struct StoredValue<std::vector<T>> {
    static nlohmann::json encode(const std::vector<T>& values) {
        auto array = nlohmann::json::array();
        for (const auto& value : values) {
            array.push_back(StoredValue<T>::encode(value));
        }
        return array;
    }
    static std::vector<T> decode(const JsonReader& reader) {
        std::vector<T> values;
        for (const auto& element : reader.array()) {
            values.push_back(StoredValue<T>::decode(element));
        }
        return values;
    }
};

template <typename T>
struct StoredValue<std::map<std::string, T>> {
    static nlohmann::json encode(const std::map<std::string, T>& values) {
        auto object = nlohmann::json::object();
        for (const auto& [key, value] : values) {
            object[key] = StoredValue<T>::encode(value);
        }
        return object;
    }
    static std::map<std::string, T> decode(const JsonReader& reader) {
        reader.requireObject();
        std::map<std::string, T> values;
        for (const auto& entry : reader.value().items()) {
            values.emplace(entry.key(), StoredValue<T>::decode(reader.field(entry.key())));
        }
        return values;
    }
};

namespace record_detail {

template <typename T>
inline constexpr bool isOptional = false;

template <typename T>
inline constexpr bool isOptional<std::optional<T>> = true;

}  // namespace record_detail

/// The coding of a record through its field table.
template <FieldRecord T>
struct RecordCoding<T> {
    static nlohmann::json encode(const T& value) {
        auto object = nlohmann::json::object();
        std::apply([&](const auto&... field) { (encodeField(object, value, field), ...); },
                   RecordFields<T>::fields);
        return object;
    }

    static T decode(const JsonReader& reader) {
        reader.requireObject();
        T value{};
        std::apply([&](const auto&... field) { (decodeField(reader, value, field), ...); },
                   RecordFields<T>::fields);
        return value;
    }

  private:
    template <typename Member>
    static void encodeField(nlohmann::json& object, const T& value,
                            const RecordField<T, Member>& field) {
        const Member& member = value.*(field.member);
        if constexpr (record_detail::isOptional<Member>) {
            if (member) {
                object[std::string(field.key)] =
                    StoredValue<typename Member::value_type>::encode(*member);
            }
        } else {
            object[std::string(field.key)] = StoredValue<Member>::encode(member);
        }
    }

    template <typename Member>
    static void decodeField(const JsonReader& reader, T& value,
                            const RecordField<T, Member>& field) {
        if constexpr (record_detail::isOptional<Member>) {
            if (const auto present = reader.optionalField(field.key)) {
                value.*(field.member) = StoredValue<typename Member::value_type>::decode(*present);
            }
        } else if constexpr (std::is_same_v<Member, std::string>) {
            const auto present = reader.field(field.key);
            value.*(field.member) = field.uuid ? record_detail::decodeUuid(present)
                                               : StoredValue<Member>::decode(present);
        } else {
            value.*(field.member) = StoredValue<Member>::decode(reader.field(field.key));
        }
    }
};

}  // namespace vorda
