#pragma once

#include <string>

namespace vorda {

/// Builds a small but lively repository for trying the board out: every kind
/// of lane and badge the board draws has something to show. Everything is made
/// by the real `jj` and `git`, so the result is an ordinary repository that can
/// be changed further with either tool.
///
/// Layout under `directory`:
///
///     origin.git/    a bare Git repository, the remote `origin`
///     repo/          the jj repository (colocated with Git), workspace
///                    "default": the path to open (`demoRepositoryPath`)
///     integration/   a second workspace, "integration"
///
/// What it holds, a little Python project called "tally":
///
/// - trunk `main`, pushed to and tracked from `origin`; a teammate has since
///   moved it on, so the feature stacks below are based on an older trunk;
/// - `storage-sqlite`, one commit ahead of `origin`;
/// - `sqlite-export`, stacked on `storage-sqlite`, never pushed;
/// - `render-colors`, one commit behind `origin`, where the teammate pushed a
///   commit of her own (the commit by another author);
/// - `mira/dark-mode`, the teammate's bookmark on `origin` only, not tracked;
/// - an unbookmarked stack of two commits of one's own (a one-off), rebased
///   onto the new trunk and left with a conflict in its top commit;
/// - the default workspace's working copy on `sqlite-export`, with uncommitted
///   changes, so the working-copy diff has something to show;
/// - the "integration" workspace's working copy on its composition point, a
///   merge of `render-colors` and `sqlite-export` described
///   "wip: Vorda composition integration", recorded in
///   `repo/.jj/repo/Vorda-settings.json` together with a few bookmark tags.
///
/// Commits carry timestamps spread over the last week, so the board's date
/// groups fill. One's own commits are authored by the `user.name` and
/// `user.email` that jj is configured with; when jj has no identity, a demo
/// identity is used and written to the repository's jj configuration, so that
/// `mine()` still knows which work is one's own.
///
/// Throws `std::runtime_error` when `directory` exists and is not an empty
/// folder (it is then left untouched), or when a step fails; the message names
/// the step. A directory that failed halfway stays as it is, for inspection.
void createDemoRepository(const std::string& directory);

/// `<directory>/repo`: the repository that `createDemoRepository` makes there.
std::string demoRepositoryPath(const std::string& directory);

}  // namespace vorda
