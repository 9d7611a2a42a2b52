// Automatic routing of working-copy files into bookmarks: the glob rules and
// a pass on a real repository, driven by a refresh as the watcher drives it.

#include <gtest/gtest.h>

#include "feature/routing/GlobMatcher.h"
#include "feature/session/RepoSession.h"
#include "support/TestRepo.h"

namespace vorda {
namespace {

using testing::TestRepo;

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
        repo.bookmark("docs-work", repo.commit("docs base", {{"README", "r\n"}}));
        repo.jj({"new", "root()"});
        repo.bookmark("assets", repo.commit("assets base", {{"logo.svg", "<svg/>\n"}}));
        repo.jj({"new", "docs-work", "assets"});
    }

    // Paths as jj lists them from the repository's root.
    std::string changedIn(const std::string& revision) const {
        return testing::runChecked(
            {"jj", "diff", "--ignore-working-copy", "--name-only", "-r", revision}, repo.root());
    }

    FileRoutingRule rule(const std::string& pattern, const std::string& bookmark,
                         bool enabled = true) {
        static int counter = 0;
        char id[37];
        std::snprintf(id, sizeof id, "00000000-0000-4000-8000-%012d", ++counter);
        return {id, pattern, bookmark, enabled};
    }

    TestRepo repo;
    std::shared_ptr<RepoSession> session = RepoSession::open(repo.root());
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
    repo.writeFile("docs/guide/intro.md", "intro\n");
    repo.writeFile("docs/diagram.svg", "<svg/>\n");
    repo.writeFile("icons/new.svg", "<svg/>\n");
    repo.writeFile("scratch.tmp", "tmp\n");
    repo.writeFile("debug.log", "log\n");
    repo.writeFile("main.c", "int main;\n");
    // Edits reach the repository with the next jj command, which the watcher sees.
    repo.jj({"debug", "snapshot"});

    session->yieldRefresh();
    EXPECT_EQ(session->snapshotReadGeneration(), 3U)
        << "the refresh, the routing pass, its second read";
    const auto routed = session->snapshots().next().value_or(nullptr);
    ASSERT_TRUE(routed);
    EXPECT_EQ(routed, session->lastSnapshot());

    EXPECT_EQ(changedIn("docs-work"), "README\ndocs/diagram.svg\ndocs/guide/intro.md\n");
    EXPECT_EQ(changedIn("assets"), "icons/new.svg\nlogo.svg\n");
    EXPECT_EQ(changedIn("@"), "debug.log\nmain.c\nscratch.tmp\n");
    std::vector<std::string> left;
    for (const auto& [id, commit] : routed->repoState.commits) {
        for (const auto& file :
             commit->workingCopy ? commit->changedFiles : std::vector<ChangedFile>{}) {
            left.push_back(file.path);
        }
    }
    EXPECT_EQ(left, (std::vector<std::string>{"debug.log", "main.c", "scratch.tmp"}));
}

TEST_F(FileRouting, NoMatchOrNoEnabledRuleMovesNothingAndReadsOnce) {
    session->settingsStore().setRoutingRules({rule("*.md", "docs-work")});
    repo.writeFile("main.c", "int main;\n");
    repo.jj({"debug", "snapshot"});
    const auto operation = repo.currentOperationID();

    const auto [snapshot, moved] = session->applyRouting();
    EXPECT_EQ(moved, 0U);
    EXPECT_EQ(snapshot, session->lastSnapshot());
    EXPECT_EQ(session->snapshotReadGeneration(), 1U);
    EXPECT_EQ(changedIn("@"), "main.c\n");
    EXPECT_EQ(repo.currentOperationID(), operation);

    // All rules off: a refresh yields once and never routes.
    session->settingsStore().setRoutingRules({rule("*.c", "docs-work", false)});
    session->yieldRefresh();
    EXPECT_EQ(session->snapshotReadGeneration(), 2U);
    EXPECT_EQ(changedIn("@"), "main.c\n");
}

}  // namespace
}  // namespace vorda
