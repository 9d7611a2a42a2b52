#pragma once

#include <string>
#include <variant>

#include <nlohmann/json.hpp>

namespace vorda {

/// How a parent of the apex is named so that the name survives rewrites: by
/// bookmark, change ID, commit ID, or as trunk.
///
/// Stored as JSON with one key, the case name: `{"bookmark":{"_0":"feature"}}`,
/// `{"changeID":{"_0":"…"}}`, `{"commitID":{"_0":"…"}}`, `{"trunk":{}}`.
struct ApexParent {
    struct Bookmark {
        std::string name;
        bool operator==(const Bookmark&) const = default;
    };
    struct ChangeID {
        std::string id;
        bool operator==(const ChangeID&) const = default;
    };
    struct CommitID {
        std::string id;
        bool operator==(const CommitID&) const = default;
    };
    struct Trunk {
        bool operator==(const Trunk&) const = default;
    };
    std::variant<Bookmark, ChangeID, CommitID, Trunk> value = Trunk{};

    static ApexParent bookmark(std::string name) { return {Bookmark{std::move(name)}}; }
    static ApexParent changeID(std::string id) { return {ChangeID{std::move(id)}}; }
    static ApexParent commitID(std::string id) { return {CommitID{std::move(id)}}; }
    static ApexParent trunk() { return {Trunk{}}; }

    /// The revset that names this parent. A bookmark uses the set form, so a
    /// conflicted bookmark stays visible to guards as several commits.
    std::string revsetLiteral() const;

    nlohmann::json toJSON() const;
    /// Throws `DecodingError` for anything but an object with exactly one
    /// known key ("Invalid number of keys found, expected one.").
    static ApexParent fromJSON(const nlohmann::json& json);

    bool operator==(const ApexParent&) const = default;
};

}  // namespace vorda
