#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>

#include "jjkit/github/GitHubClient.h"
#include "jjkit/github/GitHubPR.h"
#include "jjkit/model/RepoState.h"
#include "jjkit/settings/BookmarkSettingsStore.h"
#include "jjkit/stores/PRCacheStore.h"

namespace vorda {

/// Pull requests by bookmark name, as a refresh knows them.
using PullRequestsByBookmark = std::map<std::string, GitHubPR>;

/// Brings the pull request badges of a board up to date, asking GitHub only
/// about bookmarks whose tip moved since the cached answer.
///
/// Candidates are the bookmarks of `state` that track a remote (a bookmark
/// without one cannot be a pull request's head), narrowed to `limitTo` when
/// that is not empty; `forceBranches` are candidates even outside `limitTo`.
///
/// A candidate is asked about again when there is no `cache`, when `force`
/// is set or `forceBranches` names it, when it has no commits, or when the
/// cached answer was about another tip commit. Otherwise the cached answer
/// stands, with no clock involved: a pull request only changes what it shows
/// when someone pushes, and a push moves the tip.
///
/// `cachedBlock`, when given, receives the standing cached pull requests
/// before any gh process starts, so a board can show badges at once. Then
/// every question runs at the same time, each on its own thread. An answer
/// (a pull request or none) replaces the branch's cache row and, when the
/// number changed, the bookmark's `cachedPRNumber` setting; a failed
/// question leaves both as they were and gives the branch no badge. Cache and
/// settings failures are dropped: the badges still come back.
///
/// Returns the standing cached pull requests and the answered ones. Never
/// throws; blocks until every gh process has ended.
PullRequestsByBookmark refreshPullRequestStatuses(
    const RepoState& state, GitHubClient& client, PRCacheStore* cache,
    BookmarkSettingsStore& settingsStore, bool force, const std::set<std::string>& forceBranches,
    const std::set<std::string>& limitTo,
    const std::function<void(const PullRequestsByBookmark&)>& cachedBlock);

}  // namespace vorda
