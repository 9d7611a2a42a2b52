#pragma once

#include <optional>
#include <string>
#include <vector>

#include "jjkit/model/Composition.h"
#include "jjkit/model/RepoState.h"
#include "jjkit/records/JJCommit.h"

namespace vorda {

/// What one workspace column shows: the workspace's own commits down to a
/// boundary (its composition commit, a merge or the next bookmarked commit),
/// the boundary's inputs, and the history behind them. Built from loaded
/// commits only; a damaged graph with cycles still gives a finite result.
struct WorkspaceLaneProjection {
    /// From the working-copy commit down, above the boundary.
    std::vector<JJCommit> localCommits;
    std::optional<JJCommit> boundary;
    /// The loaded commits the boundary (or the walk's last stop) stands on.
    std::vector<JJCommit> inputs;
    /// Everything else reachable from the working copy, breadth first.
    std::vector<JJCommit> history;
    /// Input IDs the loaded commits lack, in order and with repeats.
    std::vector<std::string> unresolvedInputIDs;

    /// The boundary, when there is one, followed by the local commits.
    std::vector<JJCommit> commits() const;

    static WorkspaceLaneProjection build(const WorkspaceState& workspace, const RepoState& state);

    bool operator==(const WorkspaceLaneProjection&) const = default;
};

}  // namespace vorda
