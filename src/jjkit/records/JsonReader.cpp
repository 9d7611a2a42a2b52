#include "jjkit/records/JsonReader.h"

#include <set>

#include "jjkit/support/Text.h"

namespace vorda {
namespace {

std::string foundKind(const nlohmann::json& value) {
    switch (value.type()) {
        case nlohmann::json::value_t::object:
            return "a dictionary";
        case nlohmann::json::value_t::array:
            return "an array";
        case nlohmann::json::value_t::string:
            return "a string";
        case nlohmann::json::value_t::boolean:
            return "a bool";
        case nlohmann::json::value_t::number_integer:
        case nlohmann::json::value_t::number_unsigned:
        case nlohmann::json::value_t::number_float:
            return "a number";
        default:
            return "null";
    }
}

}  // namespace

JsonReader::JsonReader(const nlohmann::json& value, std::vector<std::string> path)
    : value_(&value), path_(std::move(path)) {}

nlohmann::json JsonReader::parse(std::string_view text) {
    const auto notJSON = [](const std::string& why) {
        return DecodingError("data corrupted at <root>: The given data was not valid JSON. (" +
                             why + ")");
    };
    // nlohmann's reader takes a NUL byte for the end of the input, so that
    // `{"undo":{}}` NUL junk would pass as one value; JSON text never holds
    // one.
    if (const auto nul = text.find('\0'); nul != std::string_view::npos) {
        throw notJSON("NUL byte at offset " + std::to_string(nul));
    }
    // Keys seen in each object still open, innermost last: a key given twice
    // is refused rather than the last one silently winning.
    std::vector<std::set<std::string>> openObjects;
    const nlohmann::json::parser_callback_t strict =
        [&openObjects](int /*depth*/, nlohmann::json::parse_event_t event, nlohmann::json& parsed) {
            if (event == nlohmann::json::parse_event_t::object_start) {
                openObjects.emplace_back();
            } else if (event == nlohmann::json::parse_event_t::object_end) {
                openObjects.pop_back();
            } else if (event == nlohmann::json::parse_event_t::key &&
                       !openObjects.back().insert(parsed.get<std::string>()).second) {
                throw DecodingError(
                    "data corrupted at <root>: duplicate key " +
                    parsed.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + ".");
            }
            return true;
        };
    try {
        return nlohmann::json::parse(text, strict);
    } catch (const nlohmann::json::parse_error& error) {
        throw notJSON(error.what());
    } catch (const nlohmann::json::exception& error) {
        // Numbers beyond a double (1e400, four hundred digits) end here.
        throw notJSON(error.what());
    }
}

std::string JsonReader::pathText() const {
    return path_.empty() ? std::string("<root>") : text::join(path_, ".");
}

void JsonReader::fail(std::string_view expectedType) const {
    if (value_->is_null()) {
        throw DecodingError("value missing (expected " + std::string(expectedType) + ") at " +
                            pathText());
    }
    throw DecodingError("type mismatch (expected " + std::string(expectedType) + ") at " +
                        pathText() + ": Expected to decode " + std::string(expectedType) +
                        " but found " + foundKind(*value_) + " instead.");
}

JsonReader JsonReader::field(std::string_view key) const {
    if (!value_->is_object()) {
        fail("Dictionary<String, Any>");
    }
    const auto found = value_->find(key);
    if (found == value_->end()) {
        throw DecodingError("missing key `" + std::string(key) + "` at " + pathText());
    }
    auto path = path_;
    path.emplace_back(key);
    return JsonReader(*found, std::move(path));
}

std::optional<JsonReader> JsonReader::optionalField(std::string_view key) const {
    if (!value_->is_object()) {
        fail("Dictionary<String, Any>");
    }
    const auto found = value_->find(key);
    if (found == value_->end() || found->is_null()) {
        return std::nullopt;
    }
    auto path = path_;
    path.emplace_back(key);
    return JsonReader(*found, std::move(path));
}

std::string JsonReader::string() const {
    if (!value_->is_string()) {
        fail("String");
    }
    return value_->get<std::string>();
}

bool JsonReader::boolean() const {
    if (!value_->is_boolean()) {
        fail("Bool");
    }
    return value_->get<bool>();
}

std::int64_t JsonReader::integer() const {
    if (!value_->is_number_integer()) {
        fail("Int");
    }
    return value_->get<std::int64_t>();
}

void JsonReader::requireObject() const {
    if (!value_->is_object()) {
        fail("Dictionary<String, Any>");
    }
}

double JsonReader::number() const {
    if (!value_->is_number()) {
        fail("Double");
    }
    return value_->get<double>();
}

std::vector<JsonReader> JsonReader::array() const {
    if (!value_->is_array()) {
        fail("Array<Any>");
    }
    std::vector<JsonReader> elements;
    elements.reserve(value_->size());
    for (std::size_t index = 0; index < value_->size(); ++index) {
        auto path = path_;
        path.push_back("Index " + std::to_string(index));
        elements.emplace_back((*value_)[index], std::move(path));
    }
    return elements;
}

}  // namespace vorda
