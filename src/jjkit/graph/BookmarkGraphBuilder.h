#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "jjkit/model/RepoState.h"
#include "jjkit/records/JJCommit.h"
#include "jjkit/records/JJWorkspace.h"

namespace vorda {

/// Turns the flat commit list jj reports into the board's model: each
/// bookmark as a lane of the commits it owns, which bookmark stacks on which,
/// conflicts between bookmarks, the working copy, the apex, workspaces with
/// their compositions, and one-off work.
///
/// A pure function of its inputs and deterministic: ties go by bookmark name
/// and nothing depends on hash-map order. It cannot fail: parents that are not
/// loaded are skipped, and damaged input (duplicate commits, cycles) still
/// yields a state.
struct BookmarkGraphBuilder {
    struct Input {
        std::vector<JJCommit> commits;
        std::set<std::string> mineChangeIDs;
        std::optional<std::string> apexChangeID;
        std::set<std::string> behindTrunkCommitIDs;
        std::vector<JJWorkspace> workspaces;
        std::optional<std::string> selectedWorkspaceName;
        std::map<std::string, std::string> compositionChangeIDs;
        std::optional<std::string> trunkCommitID;
    };

    static RepoState build(Input input);
};

}  // namespace vorda
