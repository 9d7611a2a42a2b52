#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "jjkit/model/RepoState.h"
#include "jjkit/model/SharedCommit.h"
#include "jjkit/records/JJCommit.h"
#include "jjkit/settings/BookmarkSettings.h"

namespace vorda {

/// Everything the board draws of one bookmark's lane, ready-made so that the
/// user interface only reads lists and flags.
struct BookmarkLaneReadModel {
    /// The bookmark's commits in the order of its `commitIDs`, shared with the
    /// commit index; IDs the index lacks are skipped.
    std::vector<SharedCommit> commits;
    /// Bookmarks in conflict with this one, ascending.
    std::vector<std::string> conflictPartners;
    UpdateStrategy updateStrategy = UpdateStrategy::rebase;
    std::vector<std::string> tags;
    bool isPinned = false;
    bool isColumnVisible = false;
    /// The routing rules that target this bookmark, in rule order.
    std::vector<FileRoutingRule> routingRules;
    bool isTrunk = false;
    /// The lane's tip is already part of trunk's history.
    bool isMergedIntoTrunk = false;
    /// Short commit ID of the lane's first commit, when that commit is loaded.
    std::optional<std::string> upstreamShortCommitID;

    bool operator==(const BookmarkLaneReadModel&) const = default;
};

/// Turns a repository state, its per-bookmark settings and the routing rules
/// into one lane read model per bookmark, and decides which bookmark is the
/// trunk. Pure: no process, file or clock is touched, and no result depends
/// on the iteration order of the commit index.
struct BookmarkLaneProjection {
    /// One read model per bookmark of `repoState`, by name. A bookmark with
    /// no settings entry gets the defaults for its origin.
    static std::map<std::string, BookmarkLaneReadModel> build(
        const RepoState& repoState, const std::map<std::string, BookmarkSettings>& settingsByName,
        const std::vector<FileRoutingRule>& routingRules,
        const std::optional<std::string>& trunkBookmarkName);

    /// The upstream bookmark that stands for trunk: first among those whose
    /// tip is `trunkCommitID`, else among those whose tip is immutable.
    /// Absent when neither round finds a candidate.
    static std::optional<std::string> resolveTrunkName(
        const RepoState& repoState, const std::optional<std::string>& trunkCommitID);

    /// The most preferred trunk name ("main", "master", "trunk", "develop")
    /// found in `names`, wherever it stands; absent when none is there.
    static std::optional<std::string> preferredName(const std::vector<std::string>& names);

    /// The trunk bookmark's first commit and every ancestor reachable through
    /// the loaded commits. A parent ID that is not loaded is in the set but
    /// not followed. Empty when the name is absent, unknown or has no commits.
    static std::set<std::string> trunkAncestorCommitIDs(
        const RepoState& repoState, const std::optional<std::string>& trunkBookmarkName);
};

}  // namespace vorda
