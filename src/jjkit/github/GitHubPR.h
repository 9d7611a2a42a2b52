#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

#include "jjkit/records/RecordCoding.h"

namespace vorda {

/// A pull request as `gh pr list --json …` describes it, reduced to what the
/// board shows on a bookmark's badge.
struct GitHubPR {
    /// Stored as GitHub spells it: "OPEN", "CLOSED", "MERGED"; any other text
    /// reads as `unknown`, which is stored as "UNKNOWN".
    enum class State { open, closed, merged, unknown };
    /// "APPROVED", "CHANGES_REQUESTED", "REVIEW_REQUIRED".
    enum class ReviewDecision { approved, changesRequested, reviewRequired };

    int number = 0;
    std::string url;
    State state = State::unknown;
    bool isDraft = false;
    std::string title;
    /// Absent while no review is required or given.
    std::optional<ReviewDecision> reviewDecision;
    int reviewCommentCount = 0;

    bool operator==(const GitHubPR&) const = default;
};

std::string_view rawValue(GitHubPR::State state);
/// `unknown` for any text that is not one of GitHub's states.
GitHubPR::State prStateFromRaw(std::string_view raw);

std::string_view rawValue(GitHubPR::ReviewDecision decision);
/// Absent for the empty text gh prints when there is no decision, and for
/// any value GitHub may add later.
std::optional<GitHubPR::ReviewDecision> reviewDecisionFromRaw(std::string_view raw);

/// JSON coding shared by gh's output and the pull request cache.
///
/// Decoding requires `number`, `url`, `state`, `isDraft` and `title`.
/// `reviewDecision` may be missing, null or "" (all absent). The comment count
/// comes from `comments`, gh's array of comments, as its length; when that key
/// is missing it comes from `reviewCommentCount`, the integer the encoding
/// writes, so that a cached record reads back as it was written. One of the
/// two is required.
///
/// Encoding writes `number`, `url`, `state`, `isDraft`, `title`,
/// `reviewCommentCount`, and `reviewDecision` only when present.
template <>
struct RecordCoding<GitHubPR> {
    static GitHubPR decode(const JsonReader& reader);
    static nlohmann::json encode(const GitHubPR& pr);
};

}  // namespace vorda
