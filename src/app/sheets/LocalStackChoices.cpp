#include "app/sheets/LocalStackChoices.h"

#include <algorithm>
#include <map>
#include <string_view>

#include "jjkit/model/TrunkNames.h"
#include "jjkit/rewrites/LocalStackUpdatePlan.h"

namespace vorda {
namespace {

constexpr std::string_view bookmarkPrefix = "bookmark:";
constexpr std::string_view changePrefix = "change:";

std::vector<std::string> withPrefix(const std::set<std::string>& ids, std::string_view prefix) {
    std::vector<std::string> values;
    for (const auto& id : ids) {
        if (id.starts_with(prefix)) {
            values.push_back(id.substr(prefix.size()));
        }
    }
    return values;
}

}  // namespace

LocalStackChoices LocalStackChoices::build(
    const RepoState& state, const std::optional<std::vector<std::string>>& seedBookmarks,
    const std::optional<std::string>& seedChangeID) {
    const bool seeded = seedBookmarks.has_value() || seedChangeID.has_value();
    LocalStackChoices choices;
    const auto choose = [&](const Stack& stack, bool seed) {
        if (seeded ? seed : stack.isBehindTrunk) {
            choices.preselected.insert(stack.id);
        }
    };

    for (const auto& [name, bookmark] : state.bookmarks) {
        if (isTrunkName(name) || bookmark.isDivergent || bookmark.commitIDs.empty()) {
            continue;
        }
        const auto tip = state.commits.find(bookmark.commitIDs.front());
        if (tip == state.commits.end() || tip->second->immutable ||
            !state.mineChangeIDs.contains(tip->second->changeID)) {
            continue;
        }
        Stack stack{std::string(bookmarkPrefix) + name, name, tip->second->summary(),
                    state.behindTrunkCommitIDs.contains(tip->first)};
        choose(stack, seedBookmarks && std::find(seedBookmarks->begin(), seedBookmarks->end(),
                                                 name) != seedBookmarks->end());
        choices.bookmarked.push_back(std::move(stack));
    }

    std::map<std::string, JJCommit> commits;
    for (const auto& [id, commit] : state.commits) {
        commits.emplace(id, *commit);
    }
    for (const auto& tip :
         LocalStackUpdatePlan::unbookmarkedStackTips(commits, state.mineChangeIDs)) {
        Stack stack{std::string(changePrefix) + tip.changeID, tip.changeID.substr(0, 8),
                    tip.summary(), state.behindTrunkCommitIDs.contains(tip.commitID)};
        choose(stack, seedChangeID == tip.changeID);
        choices.unnamed.push_back(std::move(stack));
    }
    return choices;
}

std::vector<std::string> LocalStackChoices::bookmarksOf(const std::set<std::string>& chosen) {
    return withPrefix(chosen, bookmarkPrefix);
}

std::vector<std::string> LocalStackChoices::changeIDsOf(const std::set<std::string>& chosen) {
    return withPrefix(chosen, changePrefix);
}

}  // namespace vorda
