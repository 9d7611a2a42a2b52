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

/// A RepoState as text, one line per fact: each bookmark (commits tip first,
/// origin and remote state, what it stacks on, landed parents, its base), each
/// conflict between bookmarks, the working copy, each workspace (the selected
/// one starred), the apex, the one-off entries and lanes, the remote bookmarks
/// with no local one, and the immutable, conflicted and behind-trunk commits.
/// IDs show as their names (the working copy's as "@", the root's as "root",
/// others as "?" and 8 characters). Lists without an order of their own and
/// the one-off entries, which commits made within one clock tick leave in no
/// fixed order, are sorted.
std::string stateText(const RepoState& state, const IDNames& names);

/// `text` with each line trimmed and blank lines dropped, so that an expected
/// rendering can be indented like the code around it.
std::string lines(std::string_view text);

}  // namespace vorda::testing
