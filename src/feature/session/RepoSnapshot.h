#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "feature/lanes/BookmarkLaneProjection.h"
#include "jjkit/diff/UnifiedDiffParser.h"
#include "jjkit/github/GitHubPR.h"
#include "jjkit/model/RepoState.h"
#include "jjkit/settings/BookmarkSettings.h"

namespace vorda {

/// Everything a window shows of a repository at one moment: built whole by
/// the session and never changed afterwards, so any thread may read it.
struct RepoSnapshot {
    RepoState repoState;
    std::map<std::string, BookmarkSettings> settingsByName;
    /// Empty in every snapshot a read builds; filled only by a pull request
    /// refresh.
    std::map<std::string, GitHubPR> prsByBookmark;
    /// Present only when the working-copy commit has changed files.
    std::optional<UnifiedDiff> workingCopyDiff;
    std::optional<std::string> trunkCommitID;
    std::optional<std::string> apexChangeID;
    std::vector<FileRoutingRule> routingRules;
    std::vector<std::string> conflictedFiles;
    std::int64_t upstreamCount = 0;
    std::optional<std::string> trunkBookmarkName;
    std::map<std::string, BookmarkLaneReadModel> lanesByBookmark;
};

/// Snapshots are large and immutable: they travel shared, never copied.
using SnapshotRef = std::shared_ptr<const RepoSnapshot>;

}  // namespace vorda
