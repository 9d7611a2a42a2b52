// Automatic routing of working-copy files into bookmarks: the glob rules and
// a pass on a real repository, driven by a refresh as the watcher drives it.

#include <cstdio>

#include <gtest/gtest.h>

#include "feature/routing/GlobMatcher.h"
#include "feature/session/RepoSession.h"
#include "support/TestRepo.h"

namespace vorda {
namespace {

using Paths = std::vector<std::string>;

TEST(GlobMatcher, AStarCrossesSlashesAndTheFirstMatchingPatternWins) {
    EXPECT_TRUE(GlobMatcher::matches("docs/**", "docs/a/b/c.md"));
    EXPECT_TRUE(GlobMatcher::matches("*.md", "a/b.md"));
    EXPECT_TRUE(GlobMatcher::matches("src/*.txt", "src/a/b.txt"));
    EXPECT_TRUE(GlobMatcher::matches("*", ".hidden"));
    EXPECT_TRUE(GlobMatcher::matches("**/*.cpp", "src/x/y.cpp"));
    EXPECT_TRUE(GlobMatcher::matches("file?.txt", "file1.txt"));
    EXPECT_TRUE(GlobMatcher::matches("[ab]*", "beta/x"));
    EXPECT_TRUE(GlobMatcher::matches("n\xC3\xA4me *", "n\xC3\xA4me with blank"));
    EXPECT_FALSE(GlobMatcher::matches("docs/**", "src/docs/a.md"));
    EXPECT_FALSE(GlobMatcher::matches("*.md", "a/b.mdx"));
    EXPECT_FALSE(GlobMatcher::matches("", "a"));

    const std::vector<std::string> patterns{"*.txt", "docs/*", "docs/**"};
    EXPECT_EQ(GlobMatcher::firstMatch(patterns, "docs/a.md"), 1U);
    EXPECT_EQ(GlobMatcher::firstMatch(patterns, "docs/a.txt"), 0U);
    EXPECT_EQ(GlobMatcher::firstMatch(patterns, "src/a.md"), std::nullopt);
    EXPECT_EQ(GlobMatcher::firstMatch({}, "a"), std::nullopt);
}

class FileRouting : public ::testing::Test {
  protected:
    void SetUp() override {
        repo.draw(R"(
          D <- root "docs base" README=r [docs-work]
          A <- root "assets base" logo.svg="<svg/>" [assets]
          @ <- D A
        )");
    }

    FileRoutingRule rule(const std::string& pattern, const std::string& bookmark,
                         bool enabled = true) {
        char id[37];
        std::snprintf(id, sizeof id, "00000000-0000-4000-8000-%012d", ++rules);
        return {id, pattern, bookmark, enabled};
    }

    testing::TestRepo repo;
    std::shared_ptr<RepoSession> session = RepoSession::open(repo.root());
    int rules = 0;
};

TEST_F(FileRouting, ARefreshMovesMatchingFilesIntoTheFirstMatchingRulesBookmark) {
    session->settingsStore().setRoutingRules({
        rule("docs/**", "docs-work"),
        rule("docs/*.svg", "assets"),  // the first rule takes docs/diagram.svg
        rule("*.svg", "assets"),
        rule("*.tmp", "deleted-bookmark"),  // loses the file, no later rule gets it
        rule("*.tmp", "assets"),
        rule("*.log", "assets", false),
    });
    for (const auto* path : {"docs/guide/intro.md", "docs/diagram.svg", "icons/new.svg",
                             "scratch.tmp", "debug.log", "main.c"}) {
        repo.writeFile(path, "content\n");
    }
    // Edits reach the repository with the next jj command, which the watcher sees.
    repo.jj({"debug", "snapshot"});

    session->yieldRefresh();
    EXPECT_EQ(session->snapshotReadGeneration(), 3U)
        << "the refresh, the routing pass, its second read";
    const auto routed = session->snapshots().next().value_or(nullptr);
    ASSERT_TRUE(routed);
    EXPECT_EQ(routed, session->lastSnapshot());

    EXPECT_EQ(repo.changedPaths("docs-work"),
              (Paths{"README", "docs/diagram.svg", "docs/guide/intro.md"}));
    EXPECT_EQ(repo.changedPaths("assets"), (Paths{"icons/new.svg", "logo.svg"}));
    const Paths left = {"debug.log", "main.c", "scratch.tmp"};
    EXPECT_EQ(repo.changedPaths("@"), left);
    for (const auto& [id, commit] : routed->repoState.commits) {
        if (commit->workingCopy) {
            Paths shown;
            for (const auto& file : commit->changedFiles) {
                shown.push_back(file.path);
            }
            EXPECT_EQ(shown, left);
        }
    }
}

TEST_F(FileRouting, NoMatchOrNoEnabledRuleMovesNothingAndReadsOnce) {
    session->settingsStore().setRoutingRules({rule("*.md", "docs-work")});
    repo.writeFile("main.c", "int main;\n");
    repo.jj({"debug", "snapshot"});
    const int operations = repo.operationCount();

    const auto [snapshot, moved] = session->applyRouting();
    EXPECT_EQ(moved, 0U);
    EXPECT_EQ(snapshot, session->lastSnapshot());
    EXPECT_EQ(session->snapshotReadGeneration(), 1U);
    EXPECT_EQ(repo.changedPaths("@"), Paths{"main.c"});
    EXPECT_EQ(repo.operationCount(), operations);

    // All rules off: a refresh yields once and never routes.
    session->settingsStore().setRoutingRules({rule("*.c", "docs-work", false)});
    session->yieldRefresh();
    EXPECT_EQ(session->snapshotReadGeneration(), 2U);
    EXPECT_EQ(repo.changedPaths("@"), Paths{"main.c"});
}

}  // namespace
}  // namespace vorda
