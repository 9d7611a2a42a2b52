#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "jjkit/model/RepoState.h"

namespace vorda {

/// The stacks a local stack update offers: the user's own mutable work,
/// bookmarked or not, each with whether it starts out chosen.
struct LocalStackChoices {
    struct Stack {
        /// "bookmark:<name>" or "change:<changeID>".
        std::string id;
        /// The bookmark, or the tip's short change ID for an unnamed stack.
        std::string title;
        /// The first line of the tip's description.
        std::string summary;
        bool isBehindTrunk = false;

        bool operator==(const Stack&) const = default;
    };

    std::vector<Stack> bookmarked;
    std::vector<Stack> unnamed;
    /// The ids chosen at the start.
    std::set<std::string> preselected;

    /// With seeds, exactly the seeded stacks that are offered start chosen;
    /// without any, every offered stack that is behind trunk does.
    static LocalStackChoices build(const RepoState& state,
                                   const std::optional<std::vector<std::string>>& seedBookmarks,
                                   const std::optional<std::string>& seedChangeID);

    bool empty() const { return bookmarked.empty() && unnamed.empty(); }
    /// The bookmarks and one-off change IDs among `chosen`, for the plan.
    static std::vector<std::string> bookmarksOf(const std::set<std::string>& chosen);
    static std::vector<std::string> changeIDsOf(const std::set<std::string>& chosen);
};

}  // namespace vorda
