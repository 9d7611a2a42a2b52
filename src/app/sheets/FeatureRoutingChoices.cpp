#include "app/sheets/FeatureRoutingChoices.h"

#include <algorithm>
#include <set>

#include "jjkit/model/TrunkNames.h"

namespace vorda {
namespace {

FeatureRoutingChoices::Entry entryOf(const JJCommit& commit) {
    const auto summary = commit.summary();
    return {commit.changeID,
            commit.changeID.substr(0, 8) + "  " + (summary.empty() ? "(no description)" : summary)};
}

}  // namespace

FeatureRoutingChoices FeatureRoutingChoices::build(const RepoState& state) {
    FeatureRoutingChoices choices;
    // A commit in a bookmark's lane is that bookmark's work already.
    std::set<std::string> laneCommits;
    for (const auto& [name, bookmark] : state.bookmarks) {
        laneCommits.insert(bookmark.commitIDs.begin(), bookmark.commitIDs.end());
    }
    std::vector<const JJCommit*> work;
    for (const auto& [id, shared] : state.commits) {
        const JJCommit& commit = *shared;
        if (!laneCommits.contains(id) && !commit.immutable && !commit.workingCopy &&
            commit.parents.size() == 1 && commit.localBookmarks.empty() &&
            state.mineChangeIDs.contains(commit.changeID)) {
            work.push_back(&commit);
        }
    }
    std::sort(work.begin(), work.end(), [](const JJCommit* left, const JJCommit* right) {
        return std::tie(left->committer.timestamp, left->changeID) >
               std::tie(right->committer.timestamp, right->changeID);
    });
    for (const auto* commit : work) {
        choices.finishedWork.push_back(entryOf(*commit));
    }
    for (const auto& [name, bookmark] : state.bookmarks) {
        if (isTrunkName(name) || bookmark.commitIDs.empty()) {
            continue;
        }
        choices.features.push_back({name, name});
        const auto tip = state.commits.find(bookmark.commitIDs.front());
        if (tip != state.commits.end() && tip->second->parents.size() > 1) {
            choices.compositions.push_back({name, name});
        }
    }
    return choices;
}

std::vector<FeatureRoutingChoices::Entry> FeatureRoutingChoices::anchors(
    const RepoState& state, const std::string& feature) {
    std::vector<Entry> entries;
    const auto bookmark = state.bookmarks.find(feature);
    if (bookmark == state.bookmarks.end()) {
        return entries;
    }
    for (const auto& commitID : bookmark->second.commitIDs) {
        if (const auto commit = state.commits.find(commitID); commit != state.commits.end()) {
            entries.push_back(entryOf(*commit->second));
        }
    }
    return entries;
}

}  // namespace vorda
