#pragma once

#include <string>

#include "app/column/BookmarkColumnInput.h"
#include "app/drag/LaneDrop.h"

namespace vorda {

class RepoViewModel;

/// Carries out a drop on a lane: each drop ends in one command, except a
/// routing of a workspace's own work (the routing sheet opens) and a new
/// branch from commits dropped on trunk (the board's confirmation asks
/// first). `repoRoot` makes dropped files' paths relative.
void performLaneDrop(RepoViewModel& viewModel, const BookmarkColumnInput& lane,
                     const LaneDrop& drop, const std::string& repoRoot);

/// Asks to make a new branch of `commits` onto trunk in `workspace`:
/// "Create Branch" sends the composition, "Cancel" nothing.
void confirmWorkspaceBranch(RepoViewModel& viewModel, const CommitDragPayload& commits,
                            const std::string& workspace, const std::string& base);

}  // namespace vorda
