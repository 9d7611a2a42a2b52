#include "jjkit/model/ApexParent.h"

#include "jjkit/records/JsonReader.h"
#include "jjkit/templates/RevsetQuoting.h"

namespace vorda {
namespace {

std::string payload(const nlohmann::json& body, std::string_view caseName) {
    const JsonReader reader(body, {std::string(caseName)});
    return reader.field("_0").string();
}

}  // namespace

std::string ApexParent::revsetLiteral() const {
    struct Literal {
        std::string operator()(const Bookmark& parent) const {
            return bookmarkSetRevset(parent.name);
        }
        std::string operator()(const ChangeID& parent) const {
            return "change_id(" + parent.id + ")";
        }
        std::string operator()(const CommitID& parent) const {
            return "commit_id(" + parent.id + ")";
        }
        std::string operator()(const Trunk& /*parent*/) const { return "trunk()"; }
    };
    return std::visit(Literal{}, value);
}

nlohmann::json ApexParent::toJSON() const {
    struct Encode {
        nlohmann::json operator()(const Bookmark& parent) const {
            return {{"bookmark", {{"_0", parent.name}}}};
        }
        nlohmann::json operator()(const ChangeID& parent) const {
            return {{"changeID", {{"_0", parent.id}}}};
        }
        nlohmann::json operator()(const CommitID& parent) const {
            return {{"commitID", {{"_0", parent.id}}}};
        }
        nlohmann::json operator()(const Trunk& /*parent*/) const {
            return {{"trunk", nlohmann::json::object()}};
        }
    };
    return std::visit(Encode{}, value);
}

ApexParent ApexParent::fromJSON(const nlohmann::json& json) {
    if (!json.is_object() || json.size() != 1) {
        throw DecodingError("Invalid number of keys found, expected one.");
    }
    // Copied out: the iteration proxy of `items()` does not outlive this line.
    const std::string key = json.begin().key();
    const nlohmann::json& body = json.begin().value();
    if (key == "bookmark") {
        return bookmark(payload(body, key));
    }
    if (key == "changeID") {
        return changeID(payload(body, key));
    }
    if (key == "commitID") {
        return commitID(payload(body, key));
    }
    if (key == "trunk") {
        return trunk();
    }
    throw DecodingError("Unknown case `" + key + "` of ApexParent.");
}

}  // namespace vorda
