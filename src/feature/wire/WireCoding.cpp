#include "feature/wire/WireCoding.h"

#include "feature/wire/WireCases.h"

namespace vorda {

std::string wireText(const nlohmann::json& json) {
    return json.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

namespace wire_detail {

void failCorrupted(const JsonReader& reader, std::string_view what) {
    throw DecodingError("data corrupted at " + reader.pathText() + ": " + std::string(what));
}

void requireObject(const JsonReader& reader) {
    if (!reader.value().is_object()) {
        // Asked for a key, the reader reports a value that is not an object in
        // the same words as everywhere else.
        (void)reader.field("");
    }
}

std::string decodeText(const JsonReader& reader) {
    auto text = reader.string();
    if (text.find('\0') != std::string::npos) {
        failCorrupted(reader, "the text holds a NUL character, which jj cannot take.");
    }
    return text;
}

std::int64_t decodeInteger(const JsonReader& reader, std::int64_t min, std::int64_t max) {
    const auto& value = reader.value();
    if (value.is_number_unsigned()) {
        const auto number = value.get<std::uint64_t>();
        if (number > static_cast<std::uint64_t>(max)) {
            failCorrupted(reader, "the number " + std::to_string(number) + " is too large.");
        }
        return static_cast<std::int64_t>(number);
    }
    const std::int64_t number = reader.integer();
    if (number < min || number > max) {
        failCorrupted(reader, "the number " + std::to_string(number) + " is out of range.");
    }
    return number;
}

std::string onlyKey(const JsonReader& reader) {
    const auto& value = reader.value();
    if (!value.is_object() || value.size() != 1) {
        failCorrupted(reader, "Invalid number of keys found, expected one.");
    }
    return value.begin().key();
}

void failUnknownCase(const JsonReader& reader, std::string_view typeName, std::string_view name) {
    failCorrupted(reader,
                  "unknown " + std::string(typeName) + " case " + wireText(nlohmann::json(name)));
}

}  // namespace wire_detail

}  // namespace vorda
