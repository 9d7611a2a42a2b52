#include "jjkit/links/CommitLinkRule.h"

#include <nlohmann/json.hpp>

#include "jjkit/support/Text.h"
#include "jjkit/support/Uuid.h"

namespace vorda {

namespace {

/// `text` with every character that means something in a pattern escaped.
std::string escapedForPattern(std::string_view text) {
    std::string escaped;
    for (const char c : text) {
        if (std::string_view("\\^$.|?*+()[]{}-/#").find(c) != std::string_view::npos) {
            escaped += '\\';
        }
        escaped += c;
    }
    return escaped;
}

template <typename Value>
Value valueOr(const nlohmann::json& object, const char* key, Value fallback) {
    const auto found = object.find(key);
    if (found == object.end()) {
        return fallback;
    }
    if constexpr (std::is_same_v<Value, bool>) {
        return found->is_boolean() ? found->template get<bool>() : fallback;
    } else {
        return found->is_string() ? found->template get<std::string>() : fallback;
    }
}

}  // namespace

CommitLinkRule CommitLinkRule::make(std::string name, std::string pattern,
                                    std::string webTemplate) {
    CommitLinkRule rule;
    rule.id = makeUuid();
    rule.name = std::move(name);
    rule.pattern = std::move(pattern);
    rule.webTemplate = std::move(webTemplate);
    return rule;
}

CommitLinkRule CommitLinkRule::github() {
    return make("GitHub",
                R"((?<![\w./-])(?<org>[A-Za-z0-9](?:[A-Za-z0-9-]*[A-Za-z0-9])?)/)"
                R"((?<repo>[A-Za-z0-9_.-]+)#(?<number>[1-9][0-9]*)\b)",
                "https://github.com/${org}/${repo}/issues/${number}");
}

CommitLinkRule CommitLinkRule::linear(const std::string& workspace, const std::string& prefixes) {
    std::vector<std::string> parts;
    std::string_view rest = prefixes;
    while (true) {
        const auto comma = rest.find(',');
        const auto prefix = text::trimWhitespace(rest.substr(0, comma));
        if (!prefix.empty()) {
            parts.push_back(escapedForPattern(prefix));
        }
        if (comma == std::string_view::npos) {
            break;
        }
        rest.remove_prefix(comma + 1);
    }
    const std::string alternatives = text::join(parts, "|");
    auto rule = make("Linear " + workspace,
                     R"((?<![\w-])(?<issue>(?:)" + alternatives + R"()-\d+)(?![\w-]))",
                     "https://linear.app/" + workspace + "/issue/${issue}");
    rule.appTemplate = "linear://linear.app/" + workspace + "/issue/${issue}";
    return rule;
}

nlohmann::ordered_json toJSON(const CommitLinkRule& rule) {
    return {{"id", rule.id},
            {"name", rule.name},
            {"pattern", rule.pattern},
            {"webTemplate", rule.webTemplate},
            {"appTemplate", rule.appTemplate},
            {"preferApp", rule.preferApp},
            {"enabled", rule.enabled},
            {"repositoryPath", rule.repositoryPath}};
}

CommitLinkRule commitLinkRuleFromJSON(const nlohmann::json& object) {
    CommitLinkRule rule;
    if (!object.is_object()) {
        rule.id = makeUuid();
        return rule;
    }
    rule.id = valueOr<std::string>(object, "id", "");
    if (rule.id.empty()) {
        rule.id = makeUuid();
    }
    rule.name = valueOr<std::string>(object, "name", "");
    rule.pattern = valueOr<std::string>(object, "pattern", "");
    rule.webTemplate = valueOr<std::string>(object, "webTemplate", "");
    rule.appTemplate = valueOr<std::string>(object, "appTemplate", "");
    rule.preferApp = valueOr(object, "preferApp", false);
    rule.enabled = valueOr(object, "enabled", true);
    rule.repositoryPath = valueOr<std::string>(object, "repositoryPath", "");
    return rule;
}

}  // namespace vorda
