// Automatic routing of working-copy files into bookmarks: the glob rules and
// a pass on a real repository, driven by a refresh as the watcher drives it.
#include <algorithm>
#include <iterator>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "feature/routing/GlobMatcher.h"
#include "feature/session/RepoSession.h"
#include "support/TestRepo.h"

namespace vorda {
namespace {

using Paths = std::vector<std::string>;

TEST(GlobMatcher, AStarCrossesSlashesAndTheFirstMatchingPatternWins) {
    for (const auto& [pattern, path, matches] :
         std::vector<std::tuple<std::string, std::string, bool>>{
             {"docs/**", "docs/a/b/c.md", true},
             {"*.md", "a/b.md", true},
             {"src/*.txt", "src/a/b.txt", true},
             {"*", ".hidden", true},
             {"**/*.cpp", "src/x/y.cpp", true},
             {"file?.txt", "file1.txt", true},
             {"[ab]*", "beta/x", true},
             {"n\xC3\xA4me *", "n\xC3\xA4me with blank", true},
             {"docs/**", "src/docs/a.md", false},
             {"*.md", "a/b.mdx", false},
             {"", "a", false}}) {
        EXPECT_EQ(GlobMatcher::matches(pattern, path), matches) << pattern << " " << path;
    }
    const std::vector<std::string> patterns{"*.txt", "docs/*", "docs/**"};
    EXPECT_EQ(GlobMatcher::firstMatch(patterns, "docs/a.md"), 1U);
    EXPECT_EQ(GlobMatcher::firstMatch(patterns, "docs/a.txt"), 0U);
    EXPECT_EQ(GlobMatcher::firstMatch(patterns, "src/a.md"), std::nullopt);
    EXPECT_EQ(GlobMatcher::firstMatch({}, "a"), std::nullopt);
}

TEST(FileRouting, ARefreshMovesMatchingFilesIntoTheFirstEnabledMatchingRulesBookmarkOnly) {
    testing::TestRepo repo;
    repo.draw(R"(
      D <- root "docs base" README=r [docs-work]
      A <- root "assets base" logo.svg="<svg/>" [assets]
      @ <- D A
    )");
    const auto session = RepoSession::open(repo.root());
    int rules = 0;
    const auto rule = [&rules](const std::string& pattern, const std::string& bookmark,
                               bool enabled = true) {
        return FileRoutingRule{"00000000-0000-4000-8000-00000000000" + std::to_string(++rules),
                               pattern, bookmark, enabled};
    };
    // No match: nothing moves, and only one read.
    session->settingsStore().setRoutingRules({rule("*.md", "docs-work")});
    repo.writeFile("main.c", "int main;\n");
    repo.jj({"debug", "snapshot"});
    const int operations = repo.operationCount();
    const auto [snapshot, moved] = session->applyRouting();
    EXPECT_EQ(moved, 0U);
    EXPECT_EQ(snapshot, session->lastSnapshot());
    EXPECT_EQ(session->snapshotReadGeneration(), 1U);
    EXPECT_EQ(repo.operationCount(), operations);

    // All rules off: a refresh reads once and never routes.
    session->settingsStore().setRoutingRules({rule("*.c", "docs-work", false)});
    session->yieldRefresh();
    EXPECT_EQ(session->snapshotReadGeneration(), 2U);
    EXPECT_EQ(repo.changedPaths("@"), Paths{"main.c"});

    session->settingsStore().setRoutingRules({
        rule("docs/**", "docs-work"),
        rule("docs/*.svg", "assets"),  // the first rule takes docs/diagram.svg
        rule("*.svg", "assets"),
        rule("*.tmp", "deleted-bookmark"),  // loses the file, no later rule gets it
        rule("*.tmp", "assets"),
        rule("*.log", "assets", false),
    });
    for (const auto* path :
         {"docs/guide/intro.md", "docs/diagram.svg", "icons/new.svg", "scratch.tmp", "debug.log"}) {
        repo.writeFile(path, "content\n");
    }
    // Edits reach the repository with the next jj command, which the watcher sees.
    repo.jj({"debug", "snapshot"});
    session->yieldRefresh();
    EXPECT_EQ(session->snapshotReadGeneration(), 5U)
        << "the refresh, the routing pass, its second read";
    EXPECT_EQ(repo.changedPaths("docs-work"),
              (Paths{"README", "docs/diagram.svg", "docs/guide/intro.md"}));
    EXPECT_EQ(repo.changedPaths("assets"), (Paths{"icons/new.svg", "logo.svg"}));
    const Paths left = {"debug.log", "main.c", "scratch.tmp"};
    EXPECT_EQ(repo.changedPaths("@"), left);
    // The routed snapshot is the last one and went out on the stream.
    const auto routed = session->snapshots().next().value_or(nullptr);
    ASSERT_TRUE(routed);
    EXPECT_EQ(routed, session->lastSnapshot());
    Paths shown;
    std::ranges::transform(routed->repoState.commits.at(repo.commitID("@"))->changedFiles,
                           std::back_inserter(shown), &ChangedFile::path);
    EXPECT_EQ(shown, left);
}

}  // namespace
}  // namespace vorda
