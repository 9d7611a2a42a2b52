#include "app/settings/CommitLinkPlaygroundRun.h"

#include <algorithm>

#include "app/column/QtText.h"

namespace vorda {

namespace {

bool sameLink(const CommitLinkMatch& a, const CommitLinkMatch& b) {
    return a.location == b.location && a.length == b.length && a.ruleName == b.ruleName;
}

void appendNew(std::vector<std::string>& lines, const std::vector<std::string>& more) {
    for (const auto& line : more) {
        if (std::find(lines.begin(), lines.end(), line) == lines.end()) {
            lines.push_back(line);
        }
    }
}

}  // namespace

CommitLinkPlaygroundResult runCommitLinkPlayground(const CommitLinkPlaygroundInput& input) {
    CommitLinkPlaygroundResult result;
    const auto selected = std::find_if(
        input.rules.begin(), input.rules.end(),
        [&](const auto& rule) { return input.selected && rule.id == *input.selected; });
    const std::string scope = selected == input.rules.end() ? "" : selected->repositoryPath;

    const CommitLinkEngine all(input.rules, scope);
    result.errors = all.errors();
    std::vector<std::string> failures;
    result.preview = all.matches(input.sample, &failures);
    appendNew(result.errors, failures);
    if (selected == input.rules.end()) {
        return result;
    }

    const CommitLinkEngine alone({*selected}, scope);
    failures.clear();
    const auto own = alone.matches(input.sample, &failures);
    appendNew(result.errors, failures);
    const bool lostOne = std::any_of(own.begin(), own.end(), [&](const auto& match) {
        return std::none_of(result.preview.begin(), result.preview.end(),
                            [&](const auto& kept) { return sameLink(kept, match); });
    });
    if (lostOne) {
        result.warnings.push_back(selected->name +
                                  ": overlaps an earlier rule in this sample; the earlier "
                                  "rule wins.");
    }
    return result;
}

QStringList commitLinkPreviewLines(const CommitLinkMatch& match) {
    QStringList lines{qtText(match.reference) + QStringLiteral(" · ") + qtText(match.ruleName)};
    for (const auto& [name, value] : match.captures) {
        lines << qtText(name) + QStringLiteral(" = ") + qtText(value);
    }
    return lines;
}

}  // namespace vorda
