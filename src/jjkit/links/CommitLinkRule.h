#pragma once

#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

namespace vorda {

/// One user rule that turns references in commit descriptions ("ARC-3407",
/// "org/repo#128") into links: a regular expression with named captures and
/// address templates with `${capture}` variables. Rules are personal
/// settings; nothing in a repository adds one.
struct CommitLinkRule {
    std::string id;
    std::string name;
    std::string pattern;
    std::string webTemplate;
    std::string appTemplate;
    bool preferApp = false;
    bool enabled = true;
    /// Empty: every repository; otherwise only this one.
    std::string repositoryPath;

    /// A new enabled rule for all repositories, with a fresh identity.
    static CommitLinkRule make(std::string name, std::string pattern, std::string webTemplate);

    /// "org/repo#128" to the issue on GitHub.
    static CommitLinkRule github();
    /// Issue keys with the given prefixes (comma-separated, e.g. "ARC, WEB")
    /// to the workspace's issues on Linear, in the browser or the app.
    static CommitLinkRule linear(const std::string& workspace, const std::string& prefixes);

    bool operator==(const CommitLinkRule&) const = default;
};

/// The rule as stored: an object with the keys in field order.
nlohmann::ordered_json toJSON(const CommitLinkRule& rule);
/// A stored rule; missing or mistyped keys take their defaults (a missing
/// identity a fresh one), so a damaged entry still shows up for repair.
CommitLinkRule commitLinkRuleFromJSON(const nlohmann::json& object);

}  // namespace vorda
