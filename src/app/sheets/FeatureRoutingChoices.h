#pragma once

#include <string>
#include <vector>

#include "jjkit/model/RepoState.h"

namespace vorda {

/// What the move-to-feature sheet offers from the loaded state: the user's
/// finished commits that no bookmark names, the features, the ancestors of a
/// feature's tip, and the compositions a routing can repair.
struct FeatureRoutingChoices {
    struct Entry {
        std::string id;
        std::string title;

        bool operator==(const Entry&) const = default;
    };

    /// Mutable, own, single-parent, unbookmarked commits other than working
    /// copies, by change ID; newest first.
    std::vector<Entry> finishedWork;
    /// Local bookmarks other than trunk's, by name.
    std::vector<Entry> features;
    /// Bookmarks on a merge commit, by name.
    std::vector<Entry> compositions;

    static FeatureRoutingChoices build(const RepoState& state);
    /// The mutable commits of `feature`'s lane, tip first, by change ID.
    static std::vector<Entry> anchors(const RepoState& state, const std::string& feature);
};

}  // namespace vorda
