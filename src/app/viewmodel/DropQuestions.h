#pragma once

#include <optional>
#include <string>
#include <vector>

#include "jjkit/model/RepoState.h"

namespace vorda {

/// Whether every one of `commitIDs` is a workspace's own work: a local
/// commit of one workspace's lane that is neither its working copy nor
/// immutable. False for an empty list.
bool isWorkspaceLocalSelection(const RepoState& state, const std::vector<std::string>& commitIDs);

/// The bookmark that dropping `draggedCommitIDs` onto `target` at commit
/// `at` would fold into `target`: a bookmark other than `target`, not
/// divergent, holding exactly the dragged commits and standing right on
/// `target`'s tip, with the drop made on that tip. Absent otherwise.
std::optional<std::string> absorbableSourceBookmark(
    const RepoState& state, const std::vector<std::string>& draggedCommitIDs,
    const std::string& target, const std::string& at);

}  // namespace vorda
