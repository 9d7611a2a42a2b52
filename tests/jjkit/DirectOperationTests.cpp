// Bookmark, commit, composition and remote operations on real repositories.
// Each refusal is produced by the topology that triggers it, and the
// repository is checked to be unchanged afterwards.

#include <algorithm>
#include <array>
#include <functional>
#include <mutex>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "jjkit/client/JJClient.h"
#include "jjkit/templates/RevsetQuoting.h"
#include "support/LogCapture.h"
#include "support/Refusal.h"
#include "support/RepoPicture.h"
#include "support/RewriteTestData.h"
#include "support/TestRepo.h"

namespace vorda {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::Each;
using testing::graph;
using ::testing::HasSubstr;
using testing::LogCapture;
using ::testing::Not;
using testing::refusal;
using testing::TestRepo;
using Names = std::vector<std::string>;

class DirectOperations : public ::testing::Test {
  protected:
    void SetUp() override { repo.draw(testing::publishedTrunk); }

    /// `call` refuses with `message` and runs no operation at all.
    void expectRefused(const std::function<void()>& call, const std::string& message) {
        repo.jj({"debug", "snapshot"});
        const auto operations = repo.operationCount();
        EXPECT_EQ(refusal(call), message);
        EXPECT_EQ(repo.operationCount(), operations) << message;
    }
    void expectRebaseRefused(const std::string& bookmark, const std::string& destination,
                             const std::string& message) {
        expectRefused([&] { client.rebaseBookmark(bookmark, destination); }, message);
    }
    /// Two bookmarked siblings on trunk, the working copy on trunk.
    void drawSiblings() {
        repo.draw(R"(
          A <- T "a1" a=1 [ay]
          B <- T "b1" b=1 [bee]
          @ <- T
        )");
    }
    std::string commitID(const std::string& name) const { return repo.commitID(repo.id(name)); }
    Names summaries(const std::vector<JJCommit>& commits) const {
        Names texts;
        texts.reserve(commits.size());
        for (const auto& commit : commits) {
            texts.push_back(commit.summary());
        }
        return texts;
    }

    TestRepo repo;
    JJClient client{repo.root()};
};

TEST_F(DirectOperations, RebaseRefusesEachTopologyItCannotDescribe) {
    repo.draw(R"(
      L <- T "left" l=1
      R <- T "right" r=1
      A1 <- T "a1" a=1
      A2 <- A1 "a2" a=2 [stack]
    )");
    const std::string oneTip =
        "Rebase requires one mutable bookmark tip and one unambiguous destination.";
    const std::string crosses =
        "This bookmark crosses another stack or a merge. Update its base stack separately; a "
        "coordinated rebase is required.";
    // Two tips (a conflicted bookmark), an immutable tip, a destination that
    // names two commits, no bookmark at all, a destination inside the stack.
    repo.makeConflictedBookmark("twotips", repo.id("T"), repo.id("L"), repo.id("R"));
    for (const auto& [bookmark, destination, message] : std::vector<std::array<std::string, 3>>{
             {"twotips", "trunk()", oneTip},
             {"main", repo.id("T"), oneTip},
             {"stack", repo.id("L") + " | " + repo.id("R"), oneTip},
             {"nosuchbookmark", "trunk()", oneTip},
             {"stack", repo.id("A1"), "The destination is inside the stack being moved."}}) {
        expectRebaseRefused(bookmark, destination, message);
    }
    // A merge inside the stack; another bookmark in the middle of it.
    repo.draw("M <- A2 L \"merge\" m=1 [merged]");
    expectRebaseRefused("merged", "trunk()", crosses);
    repo.bookmark("lower", repo.id("A1"));
    expectRebaseRefused("stack", "trunk()", crosses);
    repo.jj({"bookmark", "delete", "lower", "merged"});
    repo.jj({"abandon", repo.id("M")});

    // Another stack branching off in the middle.
    repo.draw("S <- A1 \"side\" s=1");
    expectRebaseRefused("stack", "trunk()",
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
    expectRebaseRefused("feat", repo.id("E"),
                        "Rebase would remove a base dependency. Choose a destination that "
                        "includes the existing base.");
}

TEST_F(DirectOperations, RebaseAndSyncMoveStacksOntoTheNewTrunk) {
    repo.draw(R"(
      A1 <- T "a1" a=1
      A2 <- A1 "a2" a=2 [feat]
      R1 <- T "r1" r=1 [rebased]
      B1 <- T "b1" b=1 [merged]
      @ <- A2
    )");
    repo.advanceOrigin("main", "upstream work", {{"u", "1"}});
    repo.fetch();
    const auto trunk = repo.changeID("trunk()");

    const LogCapture log;
    client.rebaseBookmark("feat", "trunk()");
    EXPECT_TRUE(log.contains("rebaseBookmark src=feat dst=trunk()"));
    const auto workingCopy = repo.commitID("@");
    client.syncBookmarkRebase("rebased");
    client.syncBookmarkMerge("merged");
    // The working copy on top of the stack went along with it, and is back
    // where it was after the merge.
    EXPECT_EQ(graph(repo, {"A1", "A2", "@", "rebased", "merged"}),
              "A1<" + trunk + " A2<A1 @<A2 rebased<" + trunk + " merged<B1," + trunk);
    EXPECT_EQ((Names{*repo.bookmarkTarget("feat"), repo.description("merged"), repo.commitID("@")}),
              (Names{"A2", "Merge trunk into merged", workingCopy}));
}

TEST_F(DirectOperations, DivergentChangesResolveToTheNewestAndBookmarksAreCreatedMovedAndTracked) {
    repo.draw(R"(
      A1 <- T "a1" a=1
      A2 <- A1 "a2" a=2
      S1 <- T "s1" s=1
      S2 <- S1 "s2" t=2
      G <- T "g1" g=1 [gone]
    )");
    const auto divergent = repo.makeDivergent(repo.id("A2"), "first", "second");

    const LogCapture log;
    // A divergent change resolves to its newest commit: one bookmark, no error.
    client.createBookmark("from-divergent", divergent);
    EXPECT_EQ(repo.description("from-divergent"), "second");
    EXPECT_EQ((Names{client.resolveCommitID(divergent), client.resolveCommitID(repo.id("T"))}),
              (Names{repo.commitID("latest(change_id(" + divergent + "))"), commitID("T")}));
    EXPECT_THROW(client.resolveCommitID("nosuchrevision"), JJError);
    // Describing rewrites the newest; the older commit is untouched.
    client.describe(divergent, "described \"newest\"\nwith a second line é");
    const auto texts = repo.jj(
        {"log", "--no-graph", "-r", "change_id(" + divergent + ")", "-T", R"(description ++ "|")"});
    EXPECT_TRUE(texts == "described \"newest\"\nwith a second line é\n|first\n|" ||
                texts == "first\n|described \"newest\"\nwith a second line é\n|")
        << texts;
    // "@" is passed as it is: no resolve step.
    client.createBookmark("at-working-copy", "@");
    EXPECT_EQ(repo.commitID("at-working-copy"), repo.commitID("@"));
    EXPECT_FALSE(log.contains("resolveCommitID rev=@"));

    client.renameBookmark("at-working-copy", "renamed \"quoted\" é");
    EXPECT_TRUE(log.contains("renameBookmark at-working-copy→renamed \"quoted\" é"));
    EXPECT_EQ((std::vector{repo.bookmarkTarget("renamed \"quoted\" é"),
                           repo.bookmarkTarget("at-working-copy")}),
              (std::vector<std::optional<std::string>>{repo.changeID("@"), std::nullopt}));

    // Backwards only when asked.
    client.createBookmark("mover", repo.id("A1"));
    EXPECT_THROW(client.moveBookmark("mover", commitID("T"), false), JJError);
    EXPECT_EQ(repo.bookmarkTarget("mover"), "A1");
    client.moveBookmark("mover", commitID("T"), true);
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
    EXPECT_EQ(repo.jj({"log", "--no-graph", "-r", "description(exact:'g1\n')", "-T", "'x'"}), "");
    const LogCapture failure;
    EXPECT_THROW(client.abandonBookmark("main"), JJError);
    EXPECT_FALSE(failure.contains("deleteBookmark name=main"));
    EXPECT_EQ((std::vector{repo.bookmarkTarget("gone"), repo.bookmarkTarget("main")}),
              (std::vector<std::optional<std::string>>{std::nullopt, "T"}));

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

TEST_F(DirectOperations,
       FilesMoveWhateverTheirNamesAndCommitsAreRebasedDuplicatedAndRebasedIntoABookmark) {
    repo.draw(R"(
      A1 <- T "a1" a=1 [feat]
      A2 <- A1 "a2" a=2
      B1 <- T "b1" b=1
      L <- T "loose" l=1
      W <- T "low" w=1
      G <- T "target" t=1
    )");
    const std::string awkward = "dir with blank/quote \"é\".txt";
    repo.writeFile(awkward, "awkward\n");
    repo.writeFile("plain.txt", "plain\n");
    repo.writeFile("stays.txt", "stays\n");
    const auto paths = [&](const std::string& other) {
        return std::vector<Names>{repo.changedPaths("G"), repo.changedPaths(other)};
    };

    client.moveFiles({awkward, "plain.txt"}, repo.id("G"));
    EXPECT_EQ(paths("@"), (std::vector<Names>{{awkward, "plain.txt", "t"}, {"stays.txt"}}));
    EXPECT_EQ(repo.jj({"file", "show", "-r", repo.id("G"), rootFilesets({awkward}).at(0)}),
              "awkward\n");
    client.pullFiles({"plain.txt"}, repo.id("G"));
    EXPECT_EQ(paths("@"), (std::vector<Names>{{awkward, "t"}, {"plain.txt", "stays.txt"}}));

    // Split the awkward path off: it stays in the change, the rest moves to
    // a new commit on top.
    client.splitByFiles(repo.id("G"), {awkward});
    EXPECT_EQ(paths("children(" + repo.id("G") + ") ~ @"), (std::vector<Names>{{awkward}, {"t"}}));
    EXPECT_EQ(graph(repo, {"G"}), "G<T");

    const auto operations = repo.operationCount();
    client.rebaseRevsOnto({}, repo.id("B1"));
    client.rebaseSubtreesOnto({}, repo.id("B1"));
    client.duplicate({}, repo.id("B1"));
    client.rebaseRevsIntoBookmark({}, repo.id("A2"), repo.id("B1"), "nothing");
    EXPECT_EQ(repo.operationCount(), operations) << "empty lists run nothing";

    // roots(A1|A2) is A1: the stack moves whole.
    client.rebaseSubtreesOnto({repo.id("A1"), repo.id("A2")}, repo.id("B1"));
    EXPECT_EQ(graph(repo, {"A1", "A2"}), "A1<B1 A2<A1");
    client.duplicate({repo.id("A2")}, repo.id("T"));
    EXPECT_EQ(repo.jj({"log", "--no-graph", "-T", "'x'", "-r",
                       "children(" + repo.id("T") + ") & description(exact:'a2\n')"}),
              "x");
    client.rebaseRevOnto(repo.id("A1"), repo.id("T"));
    // Into a bookmark: it moves forward onto what was rebased ...
    client.rebaseRevsIntoBookmark({repo.id("L")}, repo.id("L"), repo.id("A1"), "feat");
    EXPECT_EQ(graph(repo, {"A1", "L"}) + " " + *repo.bookmarkTarget("feat"), "A1<T L<A1 L");
    // ... but never backwards: the rebase is done, the move fails.
    EXPECT_THROW(client.rebaseRevsIntoBookmark({repo.id("W")}, repo.id("W"), repo.id("B1"), "feat"),
                 JJError);
    EXPECT_EQ(graph(repo, {"W"}) + " " + *repo.bookmarkTarget("feat"), "W<B1 L");
}

TEST_F(DirectOperations, QueriesAnswerForRealHistoryAndConflictedFiles) {
    repo.draw(R"(
      A1 <- T "a1" a=1 [other]
      A2 <- A1 "a2" a=2 b=bee
      A3 <- A2 "a3" a=3 [feat]
    )");
    const auto& a2 = repo.id("A2");
    const auto& a3 = repo.id("A3");
    const LogCapture log;
    EXPECT_TRUE(client.conflictedFiles().empty());  // exit status 2: no conflicts, no error
    EXPECT_FALSE(log.contains("[jj:error]"));
    // A3's ancestors: A2, A1, T and the root.
    EXPECT_EQ((std::vector{client.ancestorCount("root()"), client.ancestorCount(a3)}),
              (std::vector<long>{0, 4}));
    EXPECT_EQ((std::vector{client.isRevMutable(repo.id("A1")), client.isRevMutable(repo.id("T"))}),
              (std::vector{true, false}));
    EXPECT_EQ(client.bookmarkNames("::" + a2), (std::set<std::string>{"main", "other"}));

    EXPECT_EQ(client.changedFiles(a2),
              (std::vector<ChangedFile>{{"a", "M", 1, 1}, {"b", "A", 1, 0}}));
    EXPECT_TRUE(client.changedFiles("none()").empty());
    EXPECT_THAT(client.diff(a2), HasSubstr("+++ b/b"));
    EXPECT_THAT(client.combinedDiff(), AllOf(HasSubstr("+++ b/a"), HasSubstr("+++ b/b")));

    // Pages are bands of depth below the tip, which is never in them.
    EXPECT_EQ(summaries(client.loadAncestors(a3, 1, 0)), Names{"a2"});
    EXPECT_EQ(summaries(client.loadAncestors(a3, 2, 1)), (Names{"a1", "base"}));
    // History between trunk and the tip: the fork point included, the tip not.
    EXPECT_EQ(summaries(client.loadBranchHistory(a3)), (Names{"a2", "a1", "base"}));
    EXPECT_EQ(summaries(client.loadBranchHistory(a3, {repo.id("A1"), a2})), Names{"base"});

    repo.draw(R"(
      L <- T "left" clash.txt=left
      R <- T "right" clash.txt=right
      M <- L R "merge"
    )");
    repo.jj({"edit", repo.id("M")});
    const auto files = client.conflictedFiles();
    ASSERT_EQ(files.size(), 1U);
    // jj prints the path as seen from the current folder, columns behind it.
    EXPECT_THAT(files.front(), HasSubstr("clash.txt"));
    repo.writeFile("clash.txt", "resolved\n");
    repo.jj({"debug", "snapshot"});
    EXPECT_TRUE(client.conflictedFiles().empty());
}

TEST_F(DirectOperations, ApexWorkingCopyEmptyCommitsAndCompositionPointsAreMadeAndGuarded) {
    drawSiblings();
    EXPECT_FALSE(client.findApexChangeID().has_value());
    const auto first = client.createApexCommit();
    const auto second = client.createApexCommit();
    EXPECT_EQ(client.findAllApexChangeIDs(), (Names{second, first}));
    EXPECT_EQ(client.findApexChangeID(), std::optional<std::string>(second));
    // --no-edit: the working copy stayed where it was.
    EXPECT_EQ(graph(repo, {second, "@"}), second + "<T @<T");
    client.abandonStrayApexCommits(second);
    EXPECT_EQ(client.findAllApexChangeIDs(), Names{second});

    client.newWorkingCopy({"ay", "bee"});
    EXPECT_EQ(repo.parents("@"), (Names{"A", "B"}));
    client.createWorkingCopyCommit(commitID("A"));
    EXPECT_EQ(repo.parents("@"), Names{"A"});
    client.newWorkingCopy({});
    EXPECT_EQ(repo.parents("@"), Names{"T"});

    const auto working = repo.changeID("@");
    const auto made =
        client.log(client.createEmptyCommit(commitID("B"), "placeholder \"x\"")).at(0);
    EXPECT_EQ((std::tuple{made.empty, made.parents, made.description}),
              (std::tuple{true, Names{commitID("B")}, std::string("placeholder \"x\"\n")}));
    EXPECT_EQ(repo.changeID("@"), working);  // --no-edit

    // A composition point merges the working copy with a bookmark; its
    // parents are guarded against stale or invalid lists.
    const std::string workspace = "we\"ird ä";
    const auto workingCopy = repo.changeID("@");
    const auto point = repo.changeID(client.createCompositionPoint(workspace, "ay"));
    EXPECT_EQ(repo.description(point), "wip: Vorda composition " + workspace);
    EXPECT_EQ(repo.parents(point), (Names{workingCopy, "A"}));
    // No --no-edit here: the working copy moved onto the new merge.
    EXPECT_EQ(repo.changeID("@"), point);

    const auto current = client.log(point).at(0).parents;
    const std::string commit = repo.commitID(point);
    const Names swapped{current[1], current[0]};
    const std::string invalid = "Composition parents must be nonempty and distinct.";
    const std::string changed =
        "Composition changed or is protected. Refresh before editing its attachments.";
    struct Row {
        std::string commit;
        Names from, to;
        const std::string& message;
    };
    for (const auto& row :
         std::vector<Row>{{commit, current, {}, invalid},
                          {commit, current, {commitID("A"), commitID("A")}, invalid},
                          {commit, swapped, current, changed},
                          {commitID("T"), {}, {commitID("A")}, changed}}) {
        expectRefused([&] { client.rewriteCompositionParents(row.commit, row.from, row.to); },
                      row.message);
    }

    // The same parents in the same order: nothing is rebased. A new order is a change.
    client.rewriteCompositionParents(commit, current, current);
    EXPECT_EQ(repo.commitID(point), commit);
    client.rewriteCompositionParents(commit, current, swapped);
    EXPECT_EQ(client.log(point).at(0).parents, swapped);

    // Adding trunk: once, then it is already there.
    EXPECT_TRUE(client.includeTrunkInComposition(repo.commitID(point), commitID("T")));
    EXPECT_EQ(repo.parents(point).back(), "T");
    EXPECT_FALSE(client.includeTrunkInComposition(repo.commitID(point), commitID("T")));
}

TEST_F(DirectOperations, ApexParentsResolveAsOfTheLastRead) {
    drawSiblings();
    repo.draw("AP <- T A \"wip: Vorda apex commit\"");
    const Apex apex = client.repoState().apex.value();
    expectRefused([&] { client.rewriteApexParents(apex, {}); },
                  "Cannot remove the last apex parent. Choose an explicit replacement base.");
    expectRefused(
        [&] {
            client.rewriteApexParents(apex, {ApexParent::trunk(), ApexParent::bookmark("nope")});
        },
        "New apex parent is missing or ambiguous. Select one exact commit.");

    // ay moves on after the read: the apex keeps the commit it had.
    repo.draw("A2 <- A \"a2\" a=2");
    repo.bookmark("ay", repo.id("A2"));
    client.rewriteApexParents(
        apex, {ApexParent::trunk(), ApexParent::bookmark("ay"), ApexParent::bookmark("bee")});
    EXPECT_EQ(repo.parents("AP"), (Names{"T", "A", "B"}));

    // Pinning refuses incomplete data.
    Apex broken = apex;
    broken.attachments.pop_back();
    EXPECT_EQ(refusal([&] { (void)broken.pinnedCommitID(ApexParent::trunk()); }),
              "Apex attachment data is incomplete. Refresh before editing parents.");
}

TEST_F(DirectOperations, FetchStreamsItsLinesPushSendsOneBookmarkAndTheOperationLogRestores) {
    repo.advanceOrigin("main", "upstream work", {{"u", "1"}});
    const LogCapture log;
    std::mutex mutex;
    Names lines;
    client.gitFetch(std::nullopt, [&](const std::string& line) {
        const std::scoped_lock lock(mutex);
        lines.push_back(line);
    });
    EXPECT_FALSE(log.contains("--remote"));
    const std::scoped_lock lock(mutex);
    EXPECT_THAT(lines, Contains(HasSubstr("main@origin")));
    EXPECT_THAT(lines, Each(Not(HasSubstr("\n")))) << "one line each";
    EXPECT_NE(repo.commitID("main@origin"), commitID("T"));
    client.gitFetch("origin");

    // Push one new bookmark; the other stays local.
    repo.draw("F <- main \"feature\" f=1 [feature local-only]");
    repo.jj({"bookmark", "track", "feature@origin"});
    client.gitPush("feature", "origin");
    const std::string origin = repo.originPath();
    EXPECT_EQ(testing::runChecked({"git", "--git-dir", origin, "branch", "--list",
                                   "--format=%(refname:short) %(objectname)"}),
              "feature " + commitID("F") + "\nmain " + repo.commitID("main@origin") + "\n");

    // A push that origin rejects: origin moves on again behind our back and
    // our own main moves elsewhere.
    repo.advanceOrigin("main", "more upstream work", {{"u", "2"}});
    repo.draw("L <- T \"local work\" l=1");
    repo.bookmark("main", repo.id("L"));
    try {
        client.gitPush("main");
        ADD_FAILURE() << "the push went through";
    } catch (const JJError& error) {
        const auto* failure = error.as<JJError::CommandFailed>();
        ASSERT_NE(failure, nullptr);
        EXPECT_TRUE(failure->exitCode != 0 && !failure->stderr.empty());
        EXPECT_TRUE(log.contains("[jj:error]") && log.contains(failure->stderr));
    }
    for (const char* entry :
         {"gitFetch remote=default", "gitFetch remote=origin",
          "gitPush bookmark=feature remote=origin", "gitPush bookmark=main remote=default"}) {
        EXPECT_TRUE(log.contains(entry)) << entry;
    }
    // The operation log: read, restored when confirmed, undone.

    const auto several = client.opLog(3);
    ASSERT_EQ(several.size(), 3U);
    EXPECT_EQ(client.opLog(1), std::vector(several.begin(), several.begin() + 1));
    EXPECT_EQ(several.front().opID, client.currentOperationID());
    const auto earlier = several[1].opID;

    // An edit that no operation has recorded yet stops the restore, and the
    // snapshot that noticed it is the one operation more.
    const auto reviewed = client.currentOperationID();
    repo.writeFile("unrecorded.txt", "edit\n");
    const auto countBefore = repo.operationCount();
    EXPECT_EQ(refusal([&] { client.opRestore(earlier, reviewed); }),
              "Repository or working copy changed since the operation log was reviewed. "
              "Refresh and confirm recovery again.");
    EXPECT_EQ(repo.operationCount(), countBefore + 1);

    // Confirmed against the present state, it restores.
    client.opRestore(earlier, client.currentOperationID());
    EXPECT_EQ(repo.tryJJ({"file", "show", "-r", "@", "root:unrecorded.txt"}).exitCode, 1);
    const auto beforeUndo = repo.commitID("@");
    client.undoLastOp();
    EXPECT_NE(repo.commitID("@"), beforeUndo);
}

}  // namespace
}  // namespace vorda
