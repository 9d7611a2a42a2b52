#pragma once

#include <array>
#include <string_view>
#include <tuple>
#include <utility>

#include <nlohmann/json.hpp>

#include "feature/wire/WireCases.h"
#include "feature/wire/WireCoding.h"
#include "feature/wire/WireRecord.h"
#include "jjkit/github/GitHubPR.h"
#include "jjkit/records/JsonReader.h"
#include "jjkit/settings/BookmarkSettings.h"

// Per-repository preferences and pull requests on the wire. The settings
// records travel in the settings file's own coding, whose keys are already the
// field names: "rebase" or "mergeIn"; a routing rule's `id` must be a UUID
// both ways, so nothing goes out that could not come back.

namespace vorda {

template <>
struct Wire<UpdateStrategy> {
    static nlohmann::json encode(UpdateStrategy strategy);
    static UpdateStrategy decode(const JsonReader& reader);
};

template <>
struct Wire<BookmarkSettings> {
    static nlohmann::json encode(const BookmarkSettings& settings);
    static BookmarkSettings decode(const JsonReader& reader);
};

template <>
struct Wire<FileRoutingRule> {
    static nlohmann::json encode(const FileRoutingRule& rule);
    static FileRoutingRule decode(const JsonReader& reader);
};

/// A pull request's state by case name ("open"), not by GitHub's spelling
/// ("OPEN"), which stays with gh's output and the cache.
template <>
struct WireEnum<GitHubPR::State> {
    using State = GitHubPR::State;
    static constexpr std::string_view name = "pull request state";
    static constexpr std::array cases{
        std::pair{State::open, std::string_view("open")},
        std::pair{State::closed, std::string_view("closed")},
        std::pair{State::merged, std::string_view("merged")},
        std::pair{State::unknown, std::string_view("unknown")},
    };
};

template <>
struct WireEnum<GitHubPR::ReviewDecision> {
    using Decision = GitHubPR::ReviewDecision;
    static constexpr std::string_view name = "review decision";
    static constexpr std::array cases{
        std::pair{Decision::approved, std::string_view("approved")},
        std::pair{Decision::changesRequested, std::string_view("changesRequested")},
        std::pair{Decision::reviewRequired, std::string_view("reviewRequired")},
    };
};

template <>
struct WireFields<GitHubPR> {
    static constexpr auto fields = std::tuple{
        wireField("number", &GitHubPR::number),
        wireField("url", &GitHubPR::url),
        wireField("state", &GitHubPR::state),
        wireField("isDraft", &GitHubPR::isDraft),
        wireField("title", &GitHubPR::title),
        wireField("reviewDecision", &GitHubPR::reviewDecision),
        wireField("reviewCommentCount", &GitHubPR::reviewCommentCount),
    };
};

}  // namespace vorda
