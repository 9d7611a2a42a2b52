#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "jjkit/records/JJCommit.h"
#include "jjkit/records/JJWorkspace.h"

namespace vorda::bench {

/// A synthetic repository as jj would report it, for measuring the in-memory
/// model at sizes no test repository reaches: an immutable trunk with `main`
/// on its remote, many bookmark stacks (some stacked on each other, some
/// merges, some ahead of their remote), one-off commits, and several
/// workspaces on composition points. Deterministic for a given shape.
struct GeneratedRepository {
    std::vector<JJCommit> commits;
    std::vector<JJWorkspace> workspaces;
    std::map<std::string, std::string> compositionChangeIDs;
    std::string trunkCommitID;

    static GeneratedRepository make(std::size_t commitCount, std::size_t bookmarkCount,
                                    std::size_t workspaceCount);
};

}  // namespace vorda::bench
