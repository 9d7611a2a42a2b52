// Bookmark operations on real repositories, above all the guarded rebase:
// each refusal is produced by the topology that triggers it, and the
// repository is checked to be unchanged afterwards.

#include <gtest/gtest.h>

#include "jjkit/client/JJClient.h"
#include "support/LogCapture.h"
#include "support/Refusal.h"
#include "support/TestRepo.h"

namespace vorda {
namespace {

using testing::LogCapture;
using testing::refusal;
using testing::TestRepo;

const std::string oneTip =
    "Rebase requires one mutable bookmark tip and one unambiguous destination.";
const std::string crosses =
    "This bookmark crosses another stack or a merge. Update its base stack separately; a "
    "coordinated rebase is required.";
const std::string sibling =
    "Rebase would rewrite a sibling stack or protected descendant. Use a coordinated update "
    "instead.";
const std::string inside = "The destination is inside the stack being moved.";
const std::string lostBase =
    "Rebase would remove a base dependency. Choose a destination that includes the existing "
    "base.";

class BookmarkOperations : public ::testing::Test {
  protected:
    void SetUp() override { base = repo.publishMain(); }

    // Every visible commit with its parents, as one text: a refusal must leave
    // all of it as it was.
    std::string graph() const {
        static const std::string templ =
            std::string(R"T(commit_id ++ " " ++ parents.map(|p| p.commit_id()) ++ " " ++ )T") +
            R"T(local_bookmarks ++ "\n")T";
        return repo.jj({"log", "--ignore-working-copy", "--no-graph", "-r", "all()", "-T", templ});
    }

    // Refuses with `message` and changes nothing.
    void expectRefused(const std::string& bookmark, const std::string& destination,
                       const std::string& message) {
        repo.jj({"debug", "snapshot"});
        const auto before = graph();
        EXPECT_EQ(refusal([&] { client.rebaseBookmark(bookmark, destination); }), message)
            << bookmark << " onto " << destination;
        EXPECT_EQ(graph(), before);
    }

    TestRepo repo;
    JJClient client{repo.root()};
    std::string base;
};

TEST_F(BookmarkOperations, RebaseRefusesEachTopologyItCannotDescribe) {
    // Two tips: a conflicted bookmark.
    const auto left = repo.commit("left", {{"l", "1"}});
    repo.newChange({base});
    const auto right = repo.commit("right", {{"r", "1"}});
    repo.makeConflictedBookmark("twotips", base, left, right);
    expectRefused("twotips", "trunk()", oneTip);
    // An immutable tip, and a destination that names two commits.
    expectRefused("main", base, oneTip);
    repo.newChange({base});
    const auto a1 = repo.commit("a1", {{"a", "1"}});
    const auto a2 = repo.commit("a2", {{"a", "2"}});
    repo.bookmark("stack", a2);
    expectRefused("stack", left + " | " + right, oneTip);
    expectRefused("nosuchbookmark", "trunk()", oneTip);

    // The destination inside the stack being moved.
    expectRefused("stack", a1, inside);

    // A merge inside the stack.
    repo.newChange({a2, left});
    const auto merge = repo.commit("merge", {{"m", "1"}});
    repo.bookmark("merged", merge);
    expectRefused("merged", "trunk()", crosses);

    // Another bookmark in the middle of the stack.
    repo.bookmark("lower", a1);
    expectRefused("stack", "trunk()", crosses);
    repo.jj({"bookmark", "delete", "lower", "merged"});
    repo.jj({"abandon", merge});

    // Another stack branching off in the middle.
    repo.newChange({a1});
    repo.commit("side", {{"s", "1"}});
    expectRefused("stack", "trunk()", sibling);
}

TEST_F(BookmarkOperations, RebaseRefusesToDropABaseTheDestinationLacks) {
    // Trunk moves on to t2; the stack sits on t2; the destination branches
    // off below t2, so the stack would lose t2 from its history.
    repo.newChange({base});
    const auto t2 = repo.commit("t2", {{"README", "t2\n"}});
    repo.bookmark("main", t2);
    repo.push("main");
    repo.newChange({t2});
    repo.bookmark("feat", repo.commit("f1", {{"f", "1"}}));
    repo.newChange({base});
    const auto elsewhere = repo.commit("elsewhere", {{"e", "1"}});
    expectRefused("feat", elsewhere, lostBase);
}

TEST_F(BookmarkOperations, RebasePassesForAStackOnAnOldTrunkAndMovesItOntoTheNewOne) {
    repo.newChange({base});
    const auto a1 = repo.commit("a1", {{"a", "1"}});
    const auto a2 = repo.commit("a2", {{"a", "2"}});
    repo.bookmark("feat", a2);
    repo.advanceOrigin("main", "upstream work", {{"u", "1"}});
    repo.fetch();
    const auto newTrunk = repo.commitID("trunk()");
    ASSERT_NE(newTrunk, repo.commitID(base));

    LogCapture log;
    client.rebaseBookmark("feat", "trunk()");
    EXPECT_TRUE(log.contains("rebaseBookmark src=feat dst=trunk()"));

    EXPECT_EQ(repo.commitID(a1 + "-"), newTrunk);
    EXPECT_EQ(repo.commitID(a2 + "-"), repo.commitID(a1));
    EXPECT_EQ(repo.commitID("feat"), repo.commitID(a2));
    EXPECT_EQ(repo.jj({"file", "show", "-r", "feat", "root:a"}), "2");
    // The working copy on top of the stack went along with it.
    EXPECT_EQ(repo.commitID("@-"), repo.commitID(a2));
}

TEST_F(BookmarkOperations, SyncByRebaseAndByMerge) {
    repo.newChange({base});
    const auto a1 = repo.commit("a1", {{"a", "1"}});
    repo.bookmark("rebased", a1);
    repo.newChange({base});
    const auto b1 = repo.commit("b1", {{"b", "1"}});
    repo.bookmark("merged", b1);
    repo.newChange({base});
    const auto elsewhere = repo.commitID("@");
    repo.advanceOrigin("main", "upstream work", {{"u", "1"}});
    repo.fetch();
    const auto trunk = repo.commitID("trunk()");

    client.syncBookmarkRebase("rebased");
    EXPECT_EQ(repo.commitID("rebased-"), trunk);

    client.syncBookmarkMerge("merged");
    const auto mergeParents =
        repo.jj({"log", "--no-graph", "-r", "merged", "-T", "parents.map(|p| p.commit_id())"});
    EXPECT_EQ(mergeParents, repo.commitID(b1) + " " + trunk);
    EXPECT_EQ(repo.jj({"log", "--no-graph", "-r", "merged", "-T", "description"}),
              "Merge trunk into merged\n");
    // The working copy is back where it was.
    EXPECT_EQ(repo.commitID("@"), elsewhere);
}

TEST_F(BookmarkOperations, CreateRenameMoveTrackSquashAndAbandon) {
    repo.newChange({base});
    const auto a1 = repo.commit("a1", {{"a", "1"}});
    const auto a2 = repo.commit("a2", {{"a", "2"}});
    const auto divergent = repo.makeDivergent(a2, "first", "second");

    LogCapture log;
    // A divergent change resolves to its newest commit: one bookmark, no error.
    client.createBookmark("from-divergent", divergent);
    EXPECT_EQ(repo.jj({"log", "--no-graph", "-r", "from-divergent", "-T", "description"}),
              "second\n");
    // "@" is passed as it is: no resolve step.
    client.createBookmark("at-working-copy", "@");
    EXPECT_EQ(repo.commitID("at-working-copy"), repo.commitID("@"));
    EXPECT_FALSE(log.contains("resolveCommitID rev=@"));

    client.renameBookmark("at-working-copy", "renamed \"quoted\" é");
    EXPECT_TRUE(log.contains("renameBookmark at-working-copy→renamed \"quoted\" é"));
    EXPECT_EQ(repo.commitID(R"(bookmarks(exact:"renamed \"quoted\" é"))"), repo.commitID("@"));

    // Backwards only when asked.
    client.createBookmark("mover", a1);
    const auto a1ID = repo.commitID(a1);
    EXPECT_THROW(client.moveBookmark("mover", repo.commitID(base), false), JJError);
    EXPECT_EQ(repo.commitID("mover"), a1ID);
    client.moveBookmark("mover", repo.commitID(base), true);
    EXPECT_EQ(repo.commitID("mover"), repo.commitID(base));

    // A bookmark that two operations moved to two commits of one line: the
    // older target is squashed into the newer, which keeps both changes.
    repo.newChange({base});
    const auto s1 = repo.commit("s1", {{"s", "1"}});
    const auto s2 = repo.commit("s2", {{"t", "2"}});
    repo.makeConflictedBookmark("squashme", base, s1, s2);
    client.squashBookmarkToSingle("squashme");
    EXPECT_EQ(repo.jj({"file", "show", "-r", s2, "root:t"}), "2");
    EXPECT_EQ(repo.jj({"file", "show", "-r", s2, "root:s"}), "1");

    // Abandon: commit and bookmark gone. When the abandon fails (trunk is
    // immutable) the delete never runs.
    repo.newChange({base});
    repo.bookmark("gone", repo.commit("g1", {{"g", "1"}}));
    client.abandonBookmark("gone");
    EXPECT_EQ(repo.jj({"bookmark", "list", "gone"}), "");
    EXPECT_EQ(repo.jj({"log", "--no-graph", "-r", "description(exact:'g1\n')", "-T", "change_id"}),
              "");
    const LogCapture failure;
    EXPECT_THROW(client.abandonBookmark("main"), JJError);
    EXPECT_FALSE(failure.contains("deleteBookmark name=main"));
    EXPECT_EQ(repo.commitID("main"), repo.commitID(base));

    // Track a remote bookmark and fast-forward to it.
    repo.jj({"bookmark", "create", "shared", "-r", a1});
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
