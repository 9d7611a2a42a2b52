#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace vorda::bench {

/// The identity of one's own commits in the large repository; the jj
/// configuration of a benchmark must name it, or `mine()` finds nothing.
inline constexpr const char* largeRepositoryUserName = "Bench User";
inline constexpr const char* largeRepositoryUserEmail = "bench@vorda.invalid";

/// How big the repository is. With the defaults the read's default revset
/// holds a little over 20,000 commits and 1,000 bookmarks.
struct LargeRepositoryShape {
    std::size_t bookmarks = 1000;
    std::size_t commitsPerBookmark = 20;
    /// Immutable trunk commits below `main`.
    std::size_t trunkLength = 500;
    /// Unbookmarked stacks of three commits of one's own.
    std::size_t oneOffStacks = 100;
    /// Workspaces besides "default", each on a composition point of its own.
    std::size_t extraWorkspaces = 2;

    /// Names the shape in the cache, so different shapes never mix.
    std::string key() const;
};

struct LargeRepository {
    /// The default workspace: the path a session opens.
    std::filesystem::path root;
    std::vector<std::filesystem::path> otherWorkspaces;
    /// False when the cache already held it.
    bool generated = false;
};

/// A real jj repository of `shape` in `<cacheFolder>/<shape.key()>`, made on
/// first use and reused afterwards; a half-made one (no completion marker) is
/// removed and made again.
///
/// Shape: an immutable trunk with `main` tracked from `origin`; stacks of
/// `commitsPerBookmark` commits, each under a bookmark, most on trunk, every
/// third on another bookmark, every fiftieth a merge of two; every tenth
/// bookmark is one commit ahead of its tracked `origin` bookmark and every
/// tenth (offset by five) one behind it; every fifth stack is somebody
/// else's; every fiftieth bookmark has an untracked colleague's branch on
/// `origin` beside it; one-off stacks of one's own; and each workspace on a composition
/// point ("wip: Vorda composition <name>") of trunk and three bookmarks,
/// recorded in the settings file as the program records it.
///
/// Making 20,000 commits one jj command at a time would take hours, so the
/// history is written as one `git fast-import` stream into the repository's
/// own Git store and taken in by a single `jj git import`; local bookmarks
/// come from the branches, and a few jj commands track the remote bookmarks,
/// drop the helper branches and place the working copies. Needs `jj` and
/// `git` on PATH and the JJ_CONFIG that the benchmark installs; throws
/// `std::runtime_error` naming the step that failed.
LargeRepository prepareLargeRepository(const std::filesystem::path& cacheFolder,
                                       const LargeRepositoryShape& shape);

}  // namespace vorda::bench
