#pragma once

#include <QString>
#include <QStringList>
#include <optional>
#include <string>
#include <vector>

#include "jjkit/links/CommitLinkEngine.h"

namespace vorda {

/// What the live playground of the commit-link settings tries out: the
/// working copy of the rules, the rule being edited and the sample text.
struct CommitLinkPlaygroundInput {
    std::vector<CommitLinkRule> rules;
    std::optional<std::string> selected;
    std::string sample;
};

/// What the sample gives with those rules.
struct CommitLinkPlaygroundResult {
    /// Every link of the sample, as the enabled rules make them.
    std::vector<CommitLinkMatch> preview;
    /// Rules dropped as invalid, and rules whose matching was stopped.
    std::vector<std::string> errors;
    /// The selected rule, when an earlier rule took one of its matches.
    std::vector<std::string> warnings;
};

/// Matches the sample twice: with all rules, scoped to the selected rule's
/// repository, and with the selected rule alone; a match of the selected
/// rule that the first run lost to an earlier rule is the overlap warning.
/// Runs patterns the user typed, so callers keep it off the GUI thread.
CommitLinkPlaygroundResult runCommitLinkPlayground(const CommitLinkPlaygroundInput& input);

/// "ARC-3407 · Linear acme", then one "issue = ARC-3407" line per capture.
QStringList commitLinkPreviewLines(const CommitLinkMatch& match);

}  // namespace vorda
