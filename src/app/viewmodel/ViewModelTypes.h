#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "feature/commands/RepoCommand.h"
#include "feature/session/RepoSnapshot.h"

namespace vorda {

using StringSet = std::set<std::string>;
using StringList = std::vector<std::string>;
using OptionalText = std::optional<std::string>;
using OptionalTime = std::optional<std::chrono::system_clock::time_point>;
using SettingsByName = std::map<std::string, BookmarkSettings>;
using LanesByBookmark = std::map<std::string, BookmarkLaneReadModel>;
using CommitsByName = std::map<std::string, std::vector<JJCommit>>;
using TotalsByName = std::map<std::string, std::int64_t>;
using PRsByName = std::map<std::string, GitHubPR>;
using OptionalDiff = std::optional<UnifiedDiff>;

/// A question put to the user; on "yes" the view sends `followup`.
struct ConfirmationRequest {
    std::string id;
    std::string title;
    std::string message;
    RepoCommand followup;
    /// The title of the button that confirms.
    std::string confirmLabel = "Confirm";
    /// Requests compare by identity.
    bool operator==(const ConfirmationRequest& other) const { return id == other.id; }
};

/// A push the user must confirm because it would rewrite the remote.
struct ForcePushRequest {
    std::string id;
    Bookmark bookmark;
    RemoteSyncState syncState;
    bool operator==(const ForcePushRequest&) const = default;
};

}  // namespace vorda
