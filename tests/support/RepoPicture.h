#pragma once

#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "support/TestRepo.h"

namespace vorda::testing {

/// The lines of a repository picture, parsed. A picture describes a topology
/// in a few lines so that a scenario reads as what it builds:
///
///     origin
///     T <- root "trunk" README=hi [main]
///     push main
///     F <- T "feature" f.txt=1 [feat]
///     M <- F T "merge" {Ann <ann@example.com>}
///     @ <- M
///     workspace second <- F
///
/// A commit line names the commit, its parents (`root`, a name drawn
/// earlier, or any revset), then in any order a description and file
/// contents (a bare word or a double-quoted text with \" \\ \n escapes),
/// bookmarks in brackets and another author in braces. `#` starts a
/// comment.
namespace picture {

struct Commit {
    std::string name;
    std::vector<std::string> parents;
    std::string description;
    FileContents files;
    std::vector<std::string> bookmarks;
    std::string author;  // "Name <email>", empty for the test user
};
struct WorkingCopy {
    std::vector<std::string> parents;
};
struct Workspace {
    std::string name;
    std::vector<std::string> parents;
};
struct Origin {};
struct Push {
    std::vector<std::string> bookmarks;
};

using Item = std::variant<Commit, WorkingCopy, Workspace, Origin, Push>;

/// Parses a picture; throws std::invalid_argument naming the line at fault.
std::vector<Item> parse(std::string_view text);

}  // namespace picture

/// The most common start: trunk `T` as `main`, published to a bare origin.
inline constexpr std::string_view publishedTrunk = R"(
  origin
  T <- root "base" README=base [main]
  push main
)";
}  // namespace vorda::testing
