#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>

#include <nlohmann/json.hpp>

#include "feature/wire/WireCoding.h"
#include "jjkit/records/JsonReader.h"

namespace vorda {

/// One key of a record and the member it holds.
template <typename Owner, typename Member>
struct WireField {
    std::string_view key;
    Member Owner::*member;
};

template <typename Owner, typename Member>
constexpr WireField<Owner, Member> wireField(std::string_view key, Member Owner::*member) {
    return {key, member};
}

/// The field table of a record, which makes it a record on the wire:
///
///     template <>
///     struct WireFields<JJOp> {
///         static constexpr auto fields = std::tuple{
///             wireField("opID", &JJOp::opID), wireField("description", &JJOp::description),
///             wireField("startTime", &JJOp::startTime)};
///     };
///
/// A member that the table leaves out is not on the wire and decodes to its
/// default value.
template <typename T>
struct WireFields;

/// A case without payload (an empty struct) has no fields and is written `{}`.
template <typename T>
requires std::is_empty_v<T>
struct WireFields<T> {
    static constexpr std::tuple<> fields{};
};

/// The value a record's decoding starts from before its fields are filled in.
/// Specialise it for a record that has no default value.
template <typename T>
struct WireSeed {
    static T make() { return T{}; }
};

template <typename T>
concept WireRecordType = requires {
    WireFields<T>::fields;
};

namespace wire_detail {

template <typename T>
inline constexpr bool isOptional = false;

template <typename T>
inline constexpr bool isOptional<std::optional<T>> = true;

}  // namespace wire_detail

/// The coding of a record through its field table.
template <typename T>
struct WireRecord {
    static nlohmann::json encode(const T& value) {
        auto object = nlohmann::json::object();
        std::apply([&](const auto&... field) { (encodeField(object, value, field), ...); },
                   WireFields<T>::fields);
        return object;
    }

    static T decode(const JsonReader& reader) {
        wire_detail::requireObject(reader);
        T value = WireSeed<T>::make();
        std::apply([&](const auto&... field) { (decodeField(reader, value, field), ...); },
                   WireFields<T>::fields);
        return value;
    }

  private:
    template <typename Member>
    static void encodeField(nlohmann::json& object, const T& value,
                            const WireField<T, Member>& field) {
        const Member& member = value.*(field.member);
        if constexpr (wire_detail::isOptional<Member>) {
            if (member) {
                object[std::string(field.key)] = Wire<typename Member::value_type>::encode(*member);
            }
        } else {
            object[std::string(field.key)] = Wire<Member>::encode(member);
        }
    }

    template <typename Member>
    static void decodeField(const JsonReader& reader, T& value, const WireField<T, Member>& field) {
        if constexpr (wire_detail::isOptional<Member>) {
            if (const auto present = reader.optionalField(field.key)) {
                value.*(field.member) = Wire<typename Member::value_type>::decode(*present);
            }
        } else {
            value.*(field.member) = Wire<Member>::decode(reader.field(field.key));
        }
    }
};

template <WireRecordType T>
struct Wire<T> : WireRecord<T> {};

}  // namespace vorda
