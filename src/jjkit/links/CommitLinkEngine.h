#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <unicode/uversion.h>

#include "jjkit/links/CommitLinkRule.h"

U_NAMESPACE_BEGIN
class RegexPattern;
U_NAMESPACE_END

namespace vorda {

/// One link found in a description.
struct CommitLinkMatch {
    /// Where the reference stands, in UTF-16 units of the description.
    std::size_t location = 0;
    std::size_t length = 0;
    /// The matched text.
    std::string reference;
    std::string ruleName;
    std::string webURL;
    std::optional<std::string> appURL;
    bool preferApp = false;
    /// The named captures that took part in the match.
    std::map<std::string, std::string> captures;

    bool operator==(const CommitLinkMatch&) const = default;
};

/// The user's link rules, compiled for one repository, and the references
/// they find in commit descriptions. A rule that is invalid is dropped with
/// a line in `errors()` and never blocks the others. Immutable once made:
/// any thread may match with it.
///
/// ```
/// const CommitLinkEngine engine({CommitLinkRule::github()}, repoPath);
/// for (const auto& link : engine.matches("Fixes org/repo#128")) { … link.webURL … }
/// ```
class CommitLinkEngine {
  public:
    static constexpr std::size_t maxPatternLength = 2048;
    static constexpr std::size_t maxExaminedLength = 16384;
    static constexpr std::size_t maxLinks = 100;

    struct Compiled {
        CommitLinkRule rule;
        std::shared_ptr<const icu::RegexPattern> regex;
        std::vector<std::string> captureNames;
        /// The group number of each of `captureNames`, in the same order.
        std::vector<int32_t> captureGroups;
    };

    CommitLinkEngine(const std::vector<CommitLinkRule>& rules, const std::string& repositoryPath);

    const std::vector<Compiled>& rules() const { return rules_; }
    /// One line per dropped rule: its name, ": " and why.
    const std::vector<std::string>& errors() const { return errors_; }

    /// The links in `text`, in text order. A rule whose matching runs too
    /// long (a pattern that backtracks without end) is stopped, and a line
    /// naming it goes to `failures` when given.
    std::vector<CommitLinkMatch> matches(std::string_view text,
                                         std::vector<std::string>* failures = nullptr) const;

  private:
    std::vector<Compiled> rules_;
    std::vector<std::string> errors_;
};

/// `templateText` with each `${name}` replaced by the percent-encoded value
/// of `values`, or nothing when it has none.
std::string expandLinkTemplate(std::string_view templateText,
                               const std::map<std::string, std::string>& values);

/// The names of the `${name}` variables of `templateText`, in order.
std::vector<std::string> linkTemplateVariables(std::string_view templateText);

}  // namespace vorda
