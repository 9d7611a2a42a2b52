// Commit and file operations and the on-demand history reads, on real
// repositories.

#include <gtest/gtest.h>

#include "jjkit/client/JJClient.h"
#include "jjkit/templates/RevsetQuoting.h"
#include "support/LogCapture.h"
#include "support/TestRepo.h"

namespace vorda {
namespace {

using testing::LogCapture;
using testing::TestRepo;

std::vector<std::string> descriptions(const std::vector<JJCommit>& commits) {
    std::vector<std::string> texts;
    texts.reserve(commits.size());
    for (const auto& commit : commits) {
        texts.push_back(commit.summary());
    }
    return texts;
}

class CommitOperations : public ::testing::Test {
  protected:
    void SetUp() override { base = repo.publishMain(); }

    std::string show(const std::string& revision, const std::string& path) const {
        return repo.jj({"file", "show", "-r", revision, rootFilesets({path}).front()});
    }
    std::string filesOf(const std::string& revision) const {
        return repo.jj({"diff", "--summary", "-r", revision});
    }

    TestRepo repo;
    JJClient client{repo.root()};
    std::string base;
};

TEST_F(CommitOperations, DivergentChangesResolveToTheirNewestCommit) {
    repo.newChange({base});
    const auto change = repo.makeDivergent("@", "first", "second");
    const auto newest = repo.commitID("latest(change_id(" + change + "))");
    EXPECT_EQ(client.resolveCommitID(change), newest);
    EXPECT_EQ(client.resolveCommitID(base), repo.commitID(base));

    client.describe(change, "described \"newest\"\nwith a second line é");
    const auto texts = repo.jj(
        {"log", "--no-graph", "-r", "change_id(" + change + ")", "-T", "description ++ \"|\""});
    EXPECT_NE(texts.find("described \"newest\"\nwith a second line é\n|"), std::string::npos);
    EXPECT_NE(texts.find("first\n|"), std::string::npos);  // the older commit is untouched

    EXPECT_THROW(client.resolveCommitID("nosuchrevision"), JJError);
}

TEST_F(CommitOperations, FilesMoveBetweenCommitsWhateverTheirNames) {
    const std::string awkward = "dir with blank/quote \"é\".txt";
    repo.newChange({base});
    const auto target = repo.commit("target", {{"t", "1"}});
    repo.writeFile(awkward, "awkward\n");
    repo.writeFile("plain.txt", "plain\n");
    repo.writeFile("stays.txt", "stays\n");

    client.moveFiles({awkward, "plain.txt"}, target);
    EXPECT_EQ(show(target, awkward), "awkward\n");
    EXPECT_EQ(show(target, "plain.txt"), "plain\n");
    EXPECT_EQ(filesOf("@").find("plain.txt"), std::string::npos);
    EXPECT_NE(filesOf("@").find("stays.txt"), std::string::npos);

    client.pullFiles({"plain.txt"}, target);
    EXPECT_NE(filesOf("@").find("plain.txt"), std::string::npos);
    EXPECT_EQ(repo.tryJJ({"file", "show", "-r", target, "root:plain.txt"}).exitCode, 1);

    // Split the awkward path off: it stays in the change, the rest moves to
    // a new commit on top.
    client.splitByFiles(target, {awkward});
    EXPECT_EQ(show(target, awkward), "awkward\n");
    EXPECT_EQ(repo.tryJJ({"file", "show", "-r", target, "root:t"}).exitCode, 1);
    EXPECT_EQ(show("children(" + target + ") ~ @", "t"), "1");
    EXPECT_EQ(repo.commitID(target + "-"), repo.commitID(base));
}

TEST_F(CommitOperations, RebasesAndDuplicatesWithEmptyListsRunNothing) {
    repo.newChange({base});
    const auto a1 = repo.commit("a1", {{"a", "1"}});
    const auto a2 = repo.commit("a2", {{"a", "2"}});
    repo.newChange({base});
    const auto b1 = repo.commit("b1", {{"b", "1"}});

    const auto operation = repo.currentOperationID();
    client.rebaseRevsOnto({}, b1);
    client.rebaseSubtreesOnto({}, b1);
    client.duplicate({}, b1);
    client.rebaseRevsIntoBookmark({}, a2, b1, "nothing");
    EXPECT_EQ(repo.currentOperationID(), operation);

    client.rebaseSubtreesOnto({a1, a2}, b1);  // roots(a1|a2) is a1: the stack moves whole
    EXPECT_EQ(repo.commitID(a1 + "-"), repo.commitID(b1));
    EXPECT_EQ(repo.commitID(a2 + "-"), repo.commitID(a1));

    client.duplicate({a2}, base);
    EXPECT_EQ(repo.jj({"log", "--no-graph", "-r", "children(" + repo.commitID(base) + ")", "-T",
                       "description.first_line() ++ \"\\n\""})
                      .find("a2\n") != std::string::npos,
              true);

    client.rebaseRevOnto(a1, base);
    EXPECT_EQ(repo.commitID(a1 + "-"), repo.commitID(base));
}

TEST_F(CommitOperations, RebaseIntoBookmarkMovesItForwardButNeverBackwards) {
    repo.newChange({base});
    const auto a1 = repo.commit("a1", {{"a", "1"}});
    repo.bookmark("feat", a1);
    repo.newChange({base});
    const auto loose = repo.commit("loose", {{"l", "1"}});

    client.rebaseRevsIntoBookmark({loose}, loose, a1, "feat");
    EXPECT_EQ(repo.commitID(loose + "-"), repo.commitID(a1));
    EXPECT_EQ(repo.commitID("feat"), repo.commitID(loose));

    // Moving onto a commit below the bookmark would take it backwards: the
    // rebase is done, the move fails.
    repo.newChange({base});
    const auto low = repo.commit("low", {{"x", "1"}});
    EXPECT_THROW(client.rebaseRevsIntoBookmark({low}, low, base, "feat"), JJError);
    EXPECT_EQ(repo.commitID(low + "-"), repo.commitID(base));
    EXPECT_EQ(repo.commitID("feat"), repo.commitID(loose));
}

TEST_F(CommitOperations, QueriesAnswerForRealHistory) {
    repo.newChange({base});
    const auto a1 = repo.commit("a1", {{"a", "1"}});
    const auto a2 = repo.commit("a2", {{"a", "2"}, {"b", "bee"}});
    const auto a3 = repo.commit("a3", {{"a", "3"}});
    repo.bookmark("feat", a3);
    repo.bookmark("other", a1);

    EXPECT_EQ(client.ancestorCount("root()"), 0);
    EXPECT_EQ(client.ancestorCount(a3), 4);  // a2, a1, base and the root
    EXPECT_TRUE(client.isRevMutable(a1));
    EXPECT_FALSE(client.isRevMutable(base));
    EXPECT_EQ(client.bookmarkNames("::" + a2), (std::set<std::string>{"main", "other"}));

    const auto changed = client.changedFiles(a2);
    ASSERT_EQ(changed.size(), 2U);
    EXPECT_EQ(changed[0].path, "a");
    EXPECT_EQ(changed[0].status, "M");
    EXPECT_EQ(changed[1].path, "b");
    EXPECT_EQ(changed[1].status, "A");
    EXPECT_TRUE(client.changedFiles("none()").empty());

    EXPECT_NE(client.diff(a2).find("+++ b/b"), std::string::npos);
    const auto combined = client.combinedDiff();
    EXPECT_NE(combined.find("+++ b/a"), std::string::npos);
    EXPECT_NE(combined.find("+++ b/b"), std::string::npos);

    // Pages are bands of depth below the tip, which is never in them.
    EXPECT_EQ(descriptions(client.loadAncestors(a3, 1, 0)), std::vector<std::string>{"a2"});
    EXPECT_EQ(descriptions(client.loadAncestors(a3, 2, 1)),
              (std::vector<std::string>{"a1", "base"}));
    // History between trunk and the tip: the fork point included, the tip not.
    EXPECT_EQ(descriptions(client.loadBranchHistory(a3)),
              (std::vector<std::string>{"a2", "a1", "base"}));
    EXPECT_EQ(descriptions(client.loadBranchHistory(a3, {a1, a2})),
              std::vector<std::string>{"base"});
}

TEST_F(CommitOperations, ConflictedFilesAndResolve) {
    LogCapture log;
    EXPECT_TRUE(client.conflictedFiles().empty());  // exit status 2: no conflicts, no error
    EXPECT_FALSE(log.contains("[jj:error]"));

    const auto conflicted = repo.makeConflict(base, "clash.txt");
    repo.jj({"edit", conflicted});
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
