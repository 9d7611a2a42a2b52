// Commit and file operations and the on-demand history reads, on real
// repositories.

#include <gtest/gtest.h>

#include "jjkit/client/JJClient.h"
#include "jjkit/templates/RevsetQuoting.h"
#include "support/LogCapture.h"
#include "support/RepoPicture.h"
#include "support/TestRepo.h"

namespace vorda {
namespace {

using testing::LogCapture;
using testing::TestRepo;
using Names = std::vector<std::string>;

Names summaries(const std::vector<JJCommit>& commits) {
    Names texts;
    for (const auto& commit : commits) {
        texts.push_back(commit.summary());
    }
    return texts;
}

class CommitOperations : public ::testing::Test {
  protected:
    void SetUp() override { repo.draw(testing::publishedTrunk); }
    std::string commitID(const std::string& name) const { return repo.commitID(repo.id(name)); }

    TestRepo repo;
    JJClient client{repo.root()};
};

TEST_F(CommitOperations, DivergentChangesResolveToTheirNewestCommit) {
    repo.draw("D <- T \"divergent\" d=1");
    const auto change = repo.makeDivergent(repo.id("D"), "first", "second");
    EXPECT_EQ(client.resolveCommitID(change), repo.commitID("latest(change_id(" + change + "))"));
    EXPECT_EQ(client.resolveCommitID(repo.id("T")), commitID("T"));
    EXPECT_THROW(client.resolveCommitID("nosuchrevision"), JJError);

    client.describe(change, "described \"newest\"\nwith a second line é");
    const auto texts = repo.jj(
        {"log", "--no-graph", "-r", "change_id(" + change + ")", "-T", "description ++ \"|\""});
    EXPECT_NE(texts.find("described \"newest\"\nwith a second line é\n|"), std::string::npos);
    EXPECT_NE(texts.find("first\n|"), std::string::npos);  // the older commit is untouched
}

TEST_F(CommitOperations, FilesMoveBetweenCommitsWhateverTheirNames) {
    const std::string awkward = "dir with blank/quote \"é\".txt";
    repo.draw("G <- T \"target\" t=1");
    repo.writeFile(awkward, "awkward\n");
    repo.writeFile("plain.txt", "plain\n");
    repo.writeFile("stays.txt", "stays\n");

    client.moveFiles({awkward, "plain.txt"}, repo.id("G"));
    EXPECT_EQ(repo.changedPaths("G"), (Names{awkward, "plain.txt", "t"}));
    EXPECT_EQ(repo.jj({"file", "show", "-r", repo.id("G"), rootFilesets({awkward}).at(0)}),
              "awkward\n");
    EXPECT_EQ(repo.changedPaths("@"), Names{"stays.txt"});

    client.pullFiles({"plain.txt"}, repo.id("G"));
    EXPECT_EQ(repo.changedPaths("G"), (Names{awkward, "t"}));
    EXPECT_EQ(repo.changedPaths("@"), (Names{"plain.txt", "stays.txt"}));

    // Split the awkward path off: it stays in the change, the rest moves to
    // a new commit on top.
    client.splitByFiles(repo.id("G"), {awkward});
    EXPECT_EQ(repo.changedPaths("G"), Names{awkward});
    EXPECT_EQ(repo.parents("G"), Names{"T"});
    EXPECT_EQ(repo.changedPaths("children(" + repo.id("G") + ") ~ @"), Names{"t"});
}

TEST_F(CommitOperations, RebasesDuplicatesAndRebasesIntoABookmark) {
    repo.draw(R"(
      A1 <- T "a1" a=1 [feat]
      A2 <- A1 "a2" a=2
      B1 <- T "b1" b=1
      L <- T "loose" l=1
      W <- T "low" w=1
    )");
    const auto operations = repo.operationCount();
    client.rebaseRevsOnto({}, repo.id("B1"));
    client.rebaseSubtreesOnto({}, repo.id("B1"));
    client.duplicate({}, repo.id("B1"));
    client.rebaseRevsIntoBookmark({}, repo.id("A2"), repo.id("B1"), "nothing");
    EXPECT_EQ(repo.operationCount(), operations) << "empty lists run nothing";

    // roots(A1|A2) is A1: the stack moves whole.
    client.rebaseSubtreesOnto({repo.id("A1"), repo.id("A2")}, repo.id("B1"));
    EXPECT_EQ(repo.parents("A1"), Names{"B1"});
    EXPECT_EQ(repo.parents("A2"), Names{"A1"});
    client.duplicate({repo.id("A2")}, repo.id("T"));
    EXPECT_EQ(repo.jj({"log", "--no-graph", "-T", "'x'", "-r",
                       "children(" + repo.id("T") + ") & description(exact:'a2\n')"}),
              "x");
    client.rebaseRevOnto(repo.id("A1"), repo.id("T"));
    EXPECT_EQ(repo.parents("A1"), Names{"T"});

    // Into a bookmark: it moves forward onto what was rebased ...
    client.rebaseRevsIntoBookmark({repo.id("L")}, repo.id("L"), repo.id("A1"), "feat");
    EXPECT_EQ(repo.parents("L"), Names{"A1"});
    EXPECT_EQ(repo.bookmarkTarget("feat"), "L");
    // ... but never backwards: the rebase is done, the move fails.
    EXPECT_THROW(client.rebaseRevsIntoBookmark({repo.id("W")}, repo.id("W"), repo.id("B1"), "feat"),
                 JJError);
    EXPECT_EQ(repo.parents("W"), Names{"B1"});
    EXPECT_EQ(repo.bookmarkTarget("feat"), "L");
}

TEST_F(CommitOperations, QueriesAnswerForRealHistory) {
    repo.draw(R"(
      A1 <- T "a1" a=1 [other]
      A2 <- A1 "a2" a=2 b=bee
      A3 <- A2 "a3" a=3 [feat]
    )");
    const auto& a2 = repo.id("A2");
    EXPECT_EQ(client.ancestorCount("root()"), 0);
    EXPECT_EQ(client.ancestorCount(repo.id("A3")), 4);  // A2, A1, T and the root
    EXPECT_TRUE(client.isRevMutable(repo.id("A1")));
    EXPECT_FALSE(client.isRevMutable(repo.id("T")));
    EXPECT_EQ(client.bookmarkNames("::" + a2), (std::set<std::string>{"main", "other"}));

    const auto changed = client.changedFiles(a2);
    ASSERT_EQ(changed.size(), 2U);
    EXPECT_EQ(changed[0].path + changed[0].status + changed[1].path + changed[1].status, "aMbA");
    EXPECT_TRUE(client.changedFiles("none()").empty());
    EXPECT_NE(client.diff(a2).find("+++ b/b"), std::string::npos);
    const auto combined = client.combinedDiff();
    EXPECT_NE(combined.find("+++ b/a"), std::string::npos);
    EXPECT_NE(combined.find("+++ b/b"), std::string::npos);

    // Pages are bands of depth below the tip, which is never in them.
    EXPECT_EQ(summaries(client.loadAncestors(repo.id("A3"), 1, 0)), Names{"a2"});
    EXPECT_EQ(summaries(client.loadAncestors(repo.id("A3"), 2, 1)), (Names{"a1", "base"}));
    // History between trunk and the tip: the fork point included, the tip not.
    EXPECT_EQ(summaries(client.loadBranchHistory(repo.id("A3"))), (Names{"a2", "a1", "base"}));
    EXPECT_EQ(summaries(client.loadBranchHistory(repo.id("A3"), {repo.id("A1"), a2})),
              Names{"base"});
}

TEST_F(CommitOperations, ConflictedFilesAndResolve) {
    LogCapture log;
    EXPECT_TRUE(client.conflictedFiles().empty());  // exit status 2: no conflicts, no error
    EXPECT_FALSE(log.contains("[jj:error]"));

    repo.draw(R"(
      L <- T "left" clash.txt=left
      R <- T "right" clash.txt=right
      M <- L R "merge"
    )");
    repo.jj({"edit", repo.id("M")});
    const auto files = client.conflictedFiles();
    ASSERT_EQ(files.size(), 1U);
    // jj prints the path as seen from the current folder, columns behind it.
    EXPECT_NE(files.front().find("clash.txt"), std::string::npos) << files.front();

    repo.writeFile("clash.txt", "resolved\n");
    repo.jj({"debug", "snapshot"});
    EXPECT_TRUE(client.conflictedFiles().empty());
}

}  // namespace
}  // namespace vorda
