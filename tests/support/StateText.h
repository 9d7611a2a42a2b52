#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "jjkit/model/RepoState.h"

namespace vorda::testing {

class TestRepo;

/// Short names for commit and change IDs in a rendering.
using IDNames = std::map<std::string, std::string>;

/// Both IDs of each named picture commit, as of now.
IDNames idNames(const TestRepo& repo, const std::vector<std::string>& names);

/// A RepoState as text, one line per fact, in a fixed order: each bookmark
/// (commits tip first, origin, remote state, what it stacks on, landed parents,
/// its base, divergence), each conflict between bookmarks, the working copy,
/// each workspace (composition, attachments, roles, base), the apex, each
/// one-off entry newest first, each one-off lane, each remote bookmark with no
/// local one, the immutable, conflicted and behind-trunk commits. IDs show as
/// their names; the working copy as "@", the root commit as "root", anything
/// else as "?" and its first 8 characters.
std::string stateText(const RepoState& state, const IDNames& names);

/// `text` with each line trimmed and blank lines dropped, so that an expected
/// rendering can be indented like the code around it.
std::string lines(std::string_view text);

}  // namespace vorda::testing
