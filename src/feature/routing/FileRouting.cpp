// Moving changed files of the working copy into the bookmarks their routing
// rules name, after the watcher saw changes.

#include <map>

#include "feature/routing/GlobMatcher.h"
#include "feature/session/RepoSession.h"
#include "jjkit/repo/JJRepoDetector.h"
#include "jjkit/repo/RepositoryCommandGate.h"

namespace vorda {
namespace {

// One pass over a snapshot: the first enabled rule that matches a path takes
// it, and a rule whose bookmark is gone loses the file rather than handing it
// on. Returns how many paths moved; no subprocess runs when nothing matches.
std::size_t performRouting(const RepoSession& session, const RepoSnapshot& snapshot) {
    const auto& state = snapshot.repoState;
    const JJCommit* workingCopy = nullptr;
    for (const auto& [commitID, commit] : state.commits) {
        if (commit->workingCopy) {
            workingCopy = &*commit;
            break;
        }
    }
    if (workingCopy == nullptr || workingCopy->changedFiles.empty()) {
        return 0;
    }
    std::vector<const FileRoutingRule*> rules;
    std::vector<std::string> patterns;
    for (const auto& rule : snapshot.routingRules) {
        if (rule.enabled) {
            rules.push_back(&rule);
            patterns.push_back(rule.pattern);
        }
    }
    if (rules.empty()) {
        return 0;
    }
    std::map<std::string, std::vector<std::string>> pathsByBookmark;
    for (const auto& file : workingCopy->changedFiles) {
        const auto match = GlobMatcher::firstMatch(patterns, file.path);
        if (!match) {
            continue;
        }
        const auto& target = rules[*match]->bookmarkName;
        const auto bookmark = state.bookmarks.find(target);
        if (bookmark == state.bookmarks.end() || bookmark->second.commitIDs.empty()) {
            continue;
        }
        pathsByBookmark[target].push_back(file.path);
    }
    std::size_t moved = 0;
    for (const auto& [name, paths] : pathsByBookmark) {
        session.client().moveFiles(paths, state.bookmarks.at(name).commitIDs.front());
        moved += paths.size();
    }
    return moved;
}

}  // namespace

std::pair<SnapshotRef, std::size_t> RepoSession::applyRouting() {
    // Routing takes a gate turn like any command, so it never runs in the
    // middle of one, nor beside another window's routing.
    const auto key = JJRepoDetector::sharedRepositoryPath(repoRoot_);
    return RepositoryCommandGate::shared().withMutationAccess(key, {}, [&] {
        auto snapshot = readSnapshot();
        const auto moved = performRouting(*this, *snapshot);
        if (moved < 1) {
            return std::pair(std::move(snapshot), std::size_t{0});
        }
        return std::pair(readSnapshot(), moved);
    });
}

}  // namespace vorda
