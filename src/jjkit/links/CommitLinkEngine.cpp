#include "jjkit/links/CommitLinkEngine.h"

#include <algorithm>
#include <set>

#include <unicode/regex.h>
#include <unicode/unistr.h>
#include <unicode/utypes.h>

#include "jjkit/links/SafeURL.h"

namespace vorda {

namespace {

/// Matching steps one rule may take over one description: ICU counts them
/// in units of roughly a millisecond.
constexpr int32_t matchTimeLimit = 200;

constexpr std::string_view invalidAddress =
    "Use an https/http web URL or a linear:// app URI with named ${capture} variables";

bool isNameStart(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

bool isNamePart(char c) {
    return isNameStart(c) || (c >= '0' && c <= '9');
}

/// The length of a name [A-Za-z][A-Za-z0-9]* at the start of `text`
/// followed by `close`; 0 when there is none.
std::size_t nameBefore(std::string_view text, char close) {
    if (text.empty() || !isNameStart(text.front())) {
        return 0;
    }
    std::size_t end = 1;
    while (end < text.size() && isNamePart(text[end])) {
        ++end;
    }
    return end < text.size() && text[end] == close ? end : 0;
}

std::string utf8(const icu::UnicodeString& text) {
    std::string bytes;
    text.toUTF8String(bytes);
    return bytes;
}

std::unique_ptr<icu::RegexPattern> compile(const std::string& pattern, UErrorCode& status) {
    UParseError where{};
    return std::unique_ptr<icu::RegexPattern>(
        icu::RegexPattern::compile(icu::UnicodeString::fromUTF8(pattern), 0, where, status));
}

/// Names of "(?<name>" groups that the pattern really defines: a name
/// counts when a back reference to it compiles.
std::vector<std::string> captureNamesOf(const std::string& pattern) {
    std::vector<std::string> names;
    for (auto at = pattern.find("(?<"); at != std::string::npos; at = pattern.find("(?<", at + 1)) {
        const std::string_view rest = std::string_view(pattern).substr(at + 3);
        const std::size_t length = nameBefore(rest, '>');
        const std::string name(rest.substr(0, length));
        if (length == 0 || std::find(names.begin(), names.end(), name) != names.end()) {
            continue;
        }
        UErrorCode status = U_ZERO_ERROR;
        std::string probe = "(?:";
        probe.append(pattern).append(")|\\k<").append(name).append(">");
        compile(probe, status);
        if (U_SUCCESS(status)) {
            names.push_back(name);
        }
    }
    return names;
}

/// Why `rule` cannot be used, or nothing; fills `compiled` when it can.
std::optional<std::string> validate(const CommitLinkRule& rule,
                                    CommitLinkEngine::Compiled& compiled) {
    if (static_cast<std::size_t>(icu::UnicodeString::fromUTF8(rule.pattern).length()) >
        CommitLinkEngine::maxPatternLength) {
        return "Pattern exceeds 2,048 characters";
    }
    UErrorCode status = U_ZERO_ERROR;
    auto regex = compile(rule.pattern, status);
    if (U_FAILURE(status)) {
        return std::string(u_errorName(status));
    }
    compiled.captureNames = captureNamesOf(rule.pattern);
    for (const auto* templateText : {&rule.webTemplate, &rule.appTemplate}) {
        for (const auto& variable : linkTemplateVariables(*templateText)) {
            if (std::find(compiled.captureNames.begin(), compiled.captureNames.end(), variable) ==
                compiled.captureNames.end()) {
                return "Unknown capture: " + variable;
            }
        }
    }
    if (rule.webTemplate.empty()) {
        return "A browser destination is required";
    }
    std::map<std::string, std::string> examples;
    for (const auto& name : compiled.captureNames) {
        examples[name] = "example";
    }
    if (!safeURL(expandLinkTemplate(rule.webTemplate, examples), false) ||
        (!rule.appTemplate.empty() &&
         !safeURL(expandLinkTemplate(rule.appTemplate, examples), true))) {
        return std::string(invalidAddress);
    }
    for (const auto& name : compiled.captureNames) {
        compiled.captureGroups.push_back(
            regex->groupNumberFromName(icu::UnicodeString::fromUTF8(name), status));
    }
    compiled.rule = rule;
    compiled.regex = std::move(regex);
    return std::nullopt;
}

struct Range {
    int32_t start = 0;
    int32_t end = 0;

    bool intersects(const Range& other) const { return start < other.end && other.start < end; }
};

/// Existing addresses and Markdown links: references inside them stay text.
std::vector<Range> protectedRanges(const icu::UnicodeString& text) {
    static const auto pattern = [] {
        UErrorCode status = U_ZERO_ERROR;
        return std::shared_ptr<icu::RegexPattern>(
            compile(R"([A-Za-z][A-Za-z0-9+.-]*://[^\s<>]+|\[[^\]\n]*\]\([^\)\n]*\))", status));
    }();
    std::vector<Range> ranges;
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<icu::RegexMatcher> matcher(pattern->matcher(text, status));
    while (U_SUCCESS(status) && matcher->find(status) && U_SUCCESS(status)) {
        ranges.push_back({matcher->start(status), matcher->end(status)});
    }
    return ranges;
}

/// The first `maxExaminedLength` units of `text`, never half a surrogate pair.
icu::UnicodeString examined(std::string_view text) {
    icu::UnicodeString unicode = icu::UnicodeString::fromUTF8(
        icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
    auto limit = static_cast<int32_t>(CommitLinkEngine::maxExaminedLength);
    if (unicode.length() > limit) {
        if (U16_IS_LEAD(unicode.charAt(limit - 1))) {
            --limit;
        }
        unicode.truncate(limit);
    }
    return unicode;
}

}  // namespace

CommitLinkEngine::CommitLinkEngine(const std::vector<CommitLinkRule>& rules,
                                   const std::string& repositoryPath) {
    for (const auto& rule : rules) {
        if (!rule.enabled ||
            (!rule.repositoryPath.empty() && rule.repositoryPath != repositoryPath)) {
            continue;
        }
        Compiled compiled;
        if (const auto error = validate(rule, compiled)) {
            errors_.push_back(rule.name + ": " + *error);
            continue;
        }
        rules_.push_back(std::move(compiled));
    }
}

std::vector<CommitLinkMatch> CommitLinkEngine::matches(std::string_view text,
                                                       std::vector<std::string>* failures) const {
    std::vector<CommitLinkMatch> found;
    const icu::UnicodeString unicode = examined(text);
    const std::vector<Range> guarded = protectedRanges(unicode);
    std::vector<Range> taken;
    for (const auto& compiled : rules_) {
        UErrorCode status = U_ZERO_ERROR;
        const std::unique_ptr<icu::RegexMatcher> matcher(compiled.regex->matcher(unicode, status));
        matcher->setTimeLimit(matchTimeLimit, status);
        while (found.size() < maxLinks && U_SUCCESS(status) && matcher->find(status)) {
            const Range range{matcher->start(status), matcher->end(status)};
            const auto overlaps = [&](const Range& other) {
                return range.intersects(other);
            };
            if (range.start == range.end || std::any_of(guarded.begin(), guarded.end(), overlaps) ||
                std::any_of(taken.begin(), taken.end(), overlaps)) {
                continue;
            }
            CommitLinkMatch match;
            for (std::size_t index = 0; index < compiled.captureNames.size(); ++index) {
                const int32_t group = compiled.captureGroups[index];
                if (matcher->start(group, status) >= 0) {
                    match.captures[compiled.captureNames[index]] =
                        utf8(matcher->group(group, status));
                }
            }
            const auto web =
                safeURL(expandLinkTemplate(compiled.rule.webTemplate, match.captures), false);
            if (!web) {
                continue;
            }
            match.webURL = *web;
            if (!compiled.rule.appTemplate.empty()) {
                match.appURL =
                    safeURL(expandLinkTemplate(compiled.rule.appTemplate, match.captures), true);
            }
            match.location = static_cast<std::size_t>(range.start);
            match.length = static_cast<std::size_t>(range.end - range.start);
            match.reference = utf8(unicode.tempSubStringBetween(range.start, range.end));
            match.ruleName = compiled.rule.name;
            match.preferApp = compiled.rule.preferApp;
            found.push_back(std::move(match));
            taken.push_back(range);
        }
        if (U_FAILURE(status) && failures != nullptr) {
            failures->push_back(compiled.rule.name + ": " +
                                (status == U_REGEX_TIME_OUT
                                     ? "Matching took too long and was stopped"
                                     : u_errorName(status)));
        }
        if (found.size() >= maxLinks) {
            break;
        }
    }
    std::sort(found.begin(), found.end(),
              [](const auto& a, const auto& b) { return a.location < b.location; });
    return found;
}

std::string expandLinkTemplate(std::string_view templateText,
                               const std::map<std::string, std::string>& values) {
    std::string expanded;
    std::size_t at = 0;
    while (at < templateText.size()) {
        const std::size_t length =
            templateText.substr(at, 2) == "${" ? nameBefore(templateText.substr(at + 2), '}') : 0;
        if (length == 0) {
            expanded += templateText[at++];
            continue;
        }
        const auto value = values.find(std::string(templateText.substr(at + 2, length)));
        if (value != values.end()) {
            expanded += percentEncoded(value->second);
        }
        at += length + 3;
    }
    return expanded;
}

std::vector<std::string> linkTemplateVariables(std::string_view templateText) {
    std::vector<std::string> names;
    for (auto at = templateText.find("${"); at != std::string_view::npos;
         at = templateText.find("${", at + 1)) {
        if (const std::size_t length = nameBefore(templateText.substr(at + 2), '}')) {
            names.emplace_back(templateText.substr(at + 2, length));
        }
    }
    return names;
}

}  // namespace vorda
