// Bookmark operations on real repositories, above all the guarded rebase:
// each refusal is produced by the topology that triggers it, and the
// repository is checked to be unchanged afterwards.

#include <gtest/gtest.h>

#include "jjkit/client/JJClient.h"
#include "support/LogCapture.h"
#include "support/Refusal.h"
#include "support/RepoPicture.h"
#include "support/TestRepo.h"

namespace vorda {
namespace {

using testing::LogCapture;
using testing::refusal;
using testing::TestRepo;
using Names = std::vector<std::string>;

const std::string oneTip =
    "Rebase requires one mutable bookmark tip and one unambiguous destination.";
const std::string crosses =
    "This bookmark crosses another stack or a merge. Update its base stack separately; a "
    "coordinated rebase is required.";

class BookmarkOperations : public ::testing::Test {
  protected:
    void SetUp() override { repo.draw(testing::publishedTrunk); }

    // Refuses with `message` and runs no operation at all.
    void expectRefused(const std::string& bookmark, const std::string& destination,
                       const std::string& message) {
        repo.jj({"debug", "snapshot"});
        const auto operations = repo.operationCount();
        EXPECT_EQ(refusal([&] { client.rebaseBookmark(bookmark, destination); }), message)
            << bookmark << " onto " << destination;
        EXPECT_EQ(repo.operationCount(), operations);
    }

    /// Origin's main moves on and is fetched; returns the new trunk's change ID.
    std::string advanceTrunk() {
        repo.advanceOrigin("main", "upstream work", {{"u", "1"}});
        repo.fetch();
        return repo.changeID("trunk()");
    }

    TestRepo repo;
    JJClient client{repo.root()};
};

TEST_F(BookmarkOperations, RebaseRefusesEachTopologyItCannotDescribe) {
    repo.draw(R"(
      L <- T "left" l=1
      R <- T "right" r=1
      A1 <- T "a1" a=1
      A2 <- A1 "a2" a=2 [stack]
    )");
    // Two tips (a conflicted bookmark), an immutable tip, a destination that
    // names two commits, no bookmark at all.
    repo.makeConflictedBookmark("twotips", repo.id("T"), repo.id("L"), repo.id("R"));
    expectRefused("twotips", "trunk()", oneTip);
    expectRefused("main", repo.id("T"), oneTip);
    expectRefused("stack", repo.id("L") + " | " + repo.id("R"), oneTip);
    expectRefused("nosuchbookmark", "trunk()", oneTip);

    expectRefused("stack", repo.id("A1"), "The destination is inside the stack being moved.");

    // A merge inside the stack; another bookmark in the middle of it.
    repo.draw("M <- A2 L \"merge\" m=1 [merged]");
    expectRefused("merged", "trunk()", crosses);
    repo.bookmark("lower", repo.id("A1"));
    expectRefused("stack", "trunk()", crosses);
    repo.jj({"bookmark", "delete", "lower", "merged"});
    repo.jj({"abandon", repo.id("M")});

    // Another stack branching off in the middle.
    repo.draw("S <- A1 \"side\" s=1");
    expectRefused("stack", "trunk()",
                  "Rebase would rewrite a sibling stack or protected descendant. Use a "
                  "coordinated update instead.");

    // Trunk moves on to T2 under the stack; a destination that branches off
    // below T2 would drop it from the stack's history.
    repo.draw(R"(
      T2 <- T "t2" README=t2
      F1 <- T2 "f1" f=1 [feat]
      E <- T "elsewhere" e=1
    )");
    repo.bookmark("main", repo.id("T2"));
    repo.push("main");
    expectRefused("feat", repo.id("E"),
                  "Rebase would remove a base dependency. Choose a destination that includes "
                  "the existing base.");
}

TEST_F(BookmarkOperations, RebaseAndSyncMoveStacksOntoTheNewTrunk) {
    repo.draw(R"(
      A1 <- T "a1" a=1
      A2 <- A1 "a2" a=2 [feat]
      R1 <- T "r1" r=1 [rebased]
      B1 <- T "b1" b=1 [merged]
      @ <- A2
    )");
    const auto trunk = advanceTrunk();

    LogCapture log;
    client.rebaseBookmark("feat", "trunk()");
    EXPECT_TRUE(log.contains("rebaseBookmark src=feat dst=trunk()"));
    EXPECT_EQ(repo.parents("A1"), Names{trunk});
    EXPECT_EQ(repo.parents("A2"), Names{"A1"});
    EXPECT_EQ(repo.bookmarkTarget("feat"), "A2");
    // The working copy on top of the stack went along with it.
    EXPECT_EQ(repo.parents("@"), Names{"A2"});
    const auto workingCopy = repo.commitID("@");

    client.syncBookmarkRebase("rebased");
    EXPECT_EQ(repo.parents("rebased"), Names{trunk});
    client.syncBookmarkMerge("merged");
    EXPECT_EQ(repo.parents("merged"), (Names{"B1", trunk}));
    EXPECT_EQ(repo.description("merged"), "Merge trunk into merged");
    // The working copy is back where it was.
    EXPECT_EQ(repo.commitID("@"), workingCopy);
}

TEST_F(BookmarkOperations, CreateRenameMoveTrackSquashAndAbandon) {
    repo.draw(R"(
      A1 <- T "a1" a=1
      A2 <- A1 "a2" a=2
      S1 <- T "s1" s=1
      S2 <- S1 "s2" t=2
      G <- T "g1" g=1 [gone]
    )");
    repo.makeDivergent(repo.id("A2"), "first", "second");

    LogCapture log;
    // A divergent change resolves to its newest commit: one bookmark, no error.
    client.createBookmark("from-divergent", repo.id("A2"));
    EXPECT_EQ(repo.description("from-divergent"), "second");
    // "@" is passed as it is: no resolve step.
    client.createBookmark("at-working-copy", "@");
    EXPECT_EQ(repo.commitID("at-working-copy"), repo.commitID("@"));
    EXPECT_FALSE(log.contains("resolveCommitID rev=@"));

    client.renameBookmark("at-working-copy", "renamed \"quoted\" é");
    EXPECT_TRUE(log.contains("renameBookmark at-working-copy→renamed \"quoted\" é"));
    EXPECT_EQ(repo.bookmarkTarget("renamed \"quoted\" é"), repo.changeID("@"));
    EXPECT_EQ(repo.bookmarkTarget("at-working-copy"), std::nullopt);

    // Backwards only when asked.
    client.createBookmark("mover", repo.id("A1"));
    EXPECT_THROW(client.moveBookmark("mover", repo.commitID(repo.id("T")), false), JJError);
    EXPECT_EQ(repo.bookmarkTarget("mover"), "A1");
    client.moveBookmark("mover", repo.commitID(repo.id("T")), true);
    EXPECT_EQ(repo.bookmarkTarget("mover"), "T");

    // A bookmark that two operations moved from elsewhere to two commits of
    // one line (from an ancestor, jj would resolve the moves by itself): the
    // older target is squashed into the newer, which keeps both changes.
    repo.makeConflictedBookmark("squashme", repo.id("G"), repo.id("S1"), repo.id("S2"));
    ASSERT_THROW(repo.bookmarkTarget("squashme"), std::runtime_error) << "not conflicted";
    client.squashBookmarkToSingle("squashme");
    EXPECT_EQ(repo.changedPaths("S2"), (Names{"s", "t"}));

    // Abandon: commit and bookmark gone. When the abandon fails (trunk is
    // immutable) the delete never runs.
    client.abandonBookmark("gone");
    EXPECT_EQ(repo.bookmarkTarget("gone"), std::nullopt);
    EXPECT_EQ(repo.jj({"log", "--no-graph", "-r", "description(exact:'g1\n')", "-T", "'x'"}), "");
    const LogCapture failure;
    EXPECT_THROW(client.abandonBookmark("main"), JJError);
    EXPECT_FALSE(failure.contains("deleteBookmark name=main"));
    EXPECT_EQ(repo.bookmarkTarget("main"), "T");

    // Track a remote bookmark and fast-forward to it.
    repo.bookmark("shared", repo.id("A1"));
    repo.push("shared");
    repo.jj({"bookmark", "untrack", "shared@origin"});
    client.trackBookmark("shared", "origin");
    EXPECT_NE(repo.jj({"bookmark", "list", "--tracked", "shared"}), "");
    repo.advanceOrigin("shared", "remote work", {{"r", "1"}});
    repo.fetch();
    client.fastForwardBookmarkToRemote("shared", "origin");
    EXPECT_EQ(repo.commitID("shared"), repo.commitID("shared@origin"));
}

}  // namespace
}  // namespace vorda
