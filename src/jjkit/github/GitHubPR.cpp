#include "jjkit/github/GitHubPR.h"

#include <limits>

namespace vorda {
namespace {

/// An integer that must fit an `int`; larger values fail like a wrong type.
int intValue(const JsonReader& reader) {
    const std::int64_t value = reader.integer();
    if (value < std::numeric_limits<int>::min() || value > std::numeric_limits<int>::max()) {
        throw DecodingError("data corrupted at " + reader.pathText() + ": " +
                            std::to_string(value) + " does not fit Int32.");
    }
    return static_cast<int>(value);
}

int commentCount(const JsonReader& reader) {
    if (const auto comments = reader.optionalField("comments")) {
        return static_cast<int>(comments->array().size());
    }
    if (const auto count = reader.optionalField("reviewCommentCount")) {
        return intValue(*count);
    }
    throw DecodingError("missing key `comments` (or `reviewCommentCount`) at " + reader.pathText());
}

}  // namespace

std::string_view rawValue(GitHubPR::State state) {
    switch (state) {
        case GitHubPR::State::open:
            return "OPEN";
        case GitHubPR::State::closed:
            return "CLOSED";
        case GitHubPR::State::merged:
            return "MERGED";
        case GitHubPR::State::unknown:
            break;
    }
    return "UNKNOWN";
}

GitHubPR::State prStateFromRaw(std::string_view raw) {
    if (raw == "OPEN") {
        return GitHubPR::State::open;
    }
    if (raw == "CLOSED") {
        return GitHubPR::State::closed;
    }
    if (raw == "MERGED") {
        return GitHubPR::State::merged;
    }
    return GitHubPR::State::unknown;
}

std::string_view rawValue(GitHubPR::ReviewDecision decision) {
    switch (decision) {
        case GitHubPR::ReviewDecision::approved:
            return "APPROVED";
        case GitHubPR::ReviewDecision::changesRequested:
            return "CHANGES_REQUESTED";
        case GitHubPR::ReviewDecision::reviewRequired:
            break;
    }
    return "REVIEW_REQUIRED";
}

std::optional<GitHubPR::ReviewDecision> reviewDecisionFromRaw(std::string_view raw) {
    if (raw == "APPROVED") {
        return GitHubPR::ReviewDecision::approved;
    }
    if (raw == "CHANGES_REQUESTED") {
        return GitHubPR::ReviewDecision::changesRequested;
    }
    if (raw == "REVIEW_REQUIRED") {
        return GitHubPR::ReviewDecision::reviewRequired;
    }
    return std::nullopt;
}

GitHubPR RecordCoding<GitHubPR>::decode(const JsonReader& reader) {
    GitHubPR pr;
    pr.number = intValue(reader.field("number"));
    pr.url = reader.field("url").string();
    pr.state = prStateFromRaw(reader.field("state").string());
    pr.isDraft = reader.field("isDraft").boolean();
    pr.title = reader.field("title").string();
    if (const auto decision = reader.optionalField("reviewDecision")) {
        pr.reviewDecision = reviewDecisionFromRaw(decision->string());
    }
    pr.reviewCommentCount = commentCount(reader);
    return pr;
}

nlohmann::json RecordCoding<GitHubPR>::encode(const GitHubPR& pr) {
    nlohmann::json object{
        {"number", pr.number},         {"url", pr.url},
        {"state", rawValue(pr.state)}, {"isDraft", pr.isDraft},
        {"title", pr.title},           {"reviewCommentCount", pr.reviewCommentCount}};
    if (pr.reviewDecision) {
        object["reviewDecision"] = rawValue(*pr.reviewDecision);
    }
    return object;
}

}  // namespace vorda
