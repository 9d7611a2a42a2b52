#pragma once

#include <array>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>

#include <nlohmann/json.hpp>

#include "feature/wire/WireCoding.h"
#include "feature/wire/WireRecord.h"
#include "jjkit/records/JsonReader.h"

namespace vorda {

/// Makes an enumeration with payloads (a `std::variant` of case structs, or a
/// struct holding one) a one-key object on the wire: the key is the case name
/// and holds the payload as a record, `{}` for a case without one:
///
///     {"bookmark":{"_0":"feature"}}   {"trunk":{}}
///     {"ahead":{"remote":"origin","commits":2}}
///
/// Specialise with `name`, the words for the type in messages ("command");
/// for a struct holding the variant, `variant`, the pointer to that member;
/// and, unless every case struct carries `static constexpr std::string_view
/// caseName`, `caseNames`, the names in the variant's order. Each case struct
/// needs a field table (WireRecord.h); an unlabelled payload goes under the
/// key `_0`.
///
///     template <>
///     struct WireCases<BookmarkOrigin> {
///         static constexpr std::string_view name = "bookmark origin";
///         static constexpr std::array<std::string_view, 2> caseNames{"upstream", "local"};
///         static constexpr auto variant = &BookmarkOrigin::value;
///     };
template <typename T>
struct WireCases;

template <typename T>
concept WireCasesType = requires {
    WireCases<T>::name;
};

namespace wire_detail {

/// The key of an object with exactly one; anything else fails with "Invalid
/// number of keys found, expected one."
std::string onlyKey(const JsonReader& reader);

/// Throws "data corrupted at <path>: unknown <typeName> case "<name>"".
[[noreturn]] void failUnknownCase(const JsonReader& reader, std::string_view typeName,
                                  std::string_view name);

/// The variant that a case coding works on: the type itself, or its member
/// named by `WireCases<T>::variant`.
template <typename T>
struct CasesVariant {
    using type = T;
    static const T& of(const T& value) { return value; }
};

template <typename T>
requires requires {
    WireCases<T>::variant;
}
struct CasesVariant<T> {
    using type = std::remove_cvref_t<decltype(std::declval<const T&>().*(WireCases<T>::variant))>;
    static const type& of(const T& value) { return value.*(WireCases<T>::variant); }
};

template <std::size_t Size>
constexpr bool namesAreDistinct(const std::array<std::string_view, Size>& names) {
    for (std::size_t first = 0; first < Size; ++first) {
        for (std::size_t second = first + 1; second < Size; ++second) {
            if (names[first] == names[second]) {
                return false;
            }
        }
    }
    return true;
}

template <typename Variant, std::size_t Index>
Variant decodeCase(const JsonReader& body) {
    using Case = std::variant_alternative_t<Index, Variant>;
    return Variant(std::in_place_index<Index>, Wire<Case>::decode(body));
}

/// The wire names of the cases of `T`, in the variant's order.
template <typename T, typename Variant, std::size_t... Index>
constexpr std::array<std::string_view, sizeof...(Index)> caseNamesOf(
    std::index_sequence<Index...> /*cases*/) {
    if constexpr (requires { WireCases<T>::caseNames; }) {
        return WireCases<T>::caseNames;
    } else {
        return {std::variant_alternative_t<Index, Variant>::caseName...};
    }
}

template <typename Variant, std::size_t... Index>
constexpr auto caseDecodersOf(std::index_sequence<Index...> /*cases*/) {
    using CaseDecoder = Variant (*)(const JsonReader&);
    return std::array<CaseDecoder, sizeof...(Index)>{&decodeCase<Variant, Index>...};
}

}  // namespace wire_detail

/// The coding of an enumeration with payloads through its case names.
template <typename T>
struct WireOneOf {
    static nlohmann::json encode(const T& value) {
        const auto& variant = wire_detail::CasesVariant<T>::of(value);
        return std::visit(
            [&](const auto& payload) {
                using Case = std::remove_cvref_t<decltype(payload)>;
                auto object = nlohmann::json::object();
                object[std::string(caseNames[variant.index()])] = Wire<Case>::encode(payload);
                return object;
            },
            variant);
    }

    static T decode(const JsonReader& reader) {
        const std::string key = wire_detail::onlyKey(reader);
        for (std::size_t index = 0; index < caseNames.size(); ++index) {
            if (caseNames[index] == key) {
                return T{caseDecoders[index](reader.field(key))};
            }
        }
        wire_detail::failUnknownCase(reader, WireCases<T>::name, key);
    }

  private:
    using Variant = typename wire_detail::CasesVariant<T>::type;
    static constexpr auto caseNames = wire_detail::caseNamesOf<T, Variant>(
        std::make_index_sequence<std::variant_size_v<Variant>>{});
    static constexpr auto caseDecoders = wire_detail::caseDecodersOf<Variant>(
        std::make_index_sequence<std::variant_size_v<Variant>>{});
    static_assert(wire_detail::namesAreDistinct(caseNames), "two cases share a wire name");
};

template <WireCasesType T>
struct Wire<T> : WireOneOf<T> {};

/// Makes a plain enumeration its case name on the wire ("rebase", "mergeIn").
/// Specialise with `name`, the words for the type in messages, and `cases`, an
/// array of (value, case name) pairs covering every value.
template <typename E>
struct WireEnum;

template <typename E>
concept WireEnumType = requires {
    WireEnum<E>::cases;
};

template <WireEnumType E>
struct Wire<E> {
    static nlohmann::json encode(E value) {
        for (const auto& [candidate, name] : WireEnum<E>::cases) {
            if (candidate == value) {
                return std::string(name);
            }
        }
        throw std::invalid_argument("a value outside the cases of " +
                                    std::string(WireEnum<E>::name));
    }

    static E decode(const JsonReader& reader) {
        const std::string text = reader.string();
        for (const auto& [value, name] : WireEnum<E>::cases) {
            if (name == text) {
                return value;
            }
        }
        wire_detail::failUnknownCase(reader, WireEnum<E>::name, text);
    }
};

}  // namespace vorda
