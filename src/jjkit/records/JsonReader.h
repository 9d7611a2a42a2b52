#pragma once

#include <cstdint>
#include <exception>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

namespace vorda {

/// A failure to decode a record, with a description that names what was
/// expected and where: "missing key `name` at author", "type mismatch
/// (expected String) at parents.Index 0: …", "value missing (expected Bool) at
/// empty", "data corrupted at <root>: …".
class DecodingError : public std::exception {
  public:
    explicit DecodingError(std::string description) : description_(std::move(description)) {}
    const char* what() const noexcept override { return description_.c_str(); }
    const std::string& description() const { return description_; }

  private:
    std::string description_;
};

/// Read access to one JSON value at a coding path, for decoders that must say
/// exactly which key was missing or of the wrong type. Array elements appear in
/// the path as "Index N".
class JsonReader {
  public:
    explicit JsonReader(const nlohmann::json& value, std::vector<std::string> path = {});

    /// Parses text as JSON; a syntax error is "data corrupted at <root>".
    static nlohmann::json parse(std::string_view text);

    /// A required key. Missing: "missing key".
    JsonReader field(std::string_view key) const;

    /// An optional key: absent when missing or null.
    std::optional<JsonReader> optionalField(std::string_view key) const;

    std::string string() const;
    bool boolean() const;
    std::int64_t integer() const;
    /// Throws the type mismatch unless the value is an object.
    void requireObject() const;
    /// Any JSON number, whole or not.
    double number() const;
    std::vector<JsonReader> array() const;

    bool isNull() const { return value_->is_null(); }
    const nlohmann::json& value() const { return *value_; }

    /// The path's keys joined with ".", or "<root>".
    std::string pathText() const;

  private:
    [[noreturn]] void fail(std::string_view expectedType) const;

    const nlohmann::json* value_;
    std::vector<std::string> path_;
};

}  // namespace vorda
