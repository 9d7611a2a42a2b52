// Commands that talk to origin or make bookmarks, on real repositories with a
// local bare origin, checked afterwards with jj and git.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "feature/session/RepoSession.h"
#include "jjkit/support/Text.h"
#include "support/RepoPicture.h"
#include "support/TestRepo.h"

namespace vorda {
namespace {

using Paths = std::vector<std::string>;

class PublishCommands : public ::testing::Test {
  protected:
    void SetUp() override { repo.draw(testing::publishedTrunk); }

    // The commit origin's branch points at; empty when origin lacks it.
    std::string originTip(const std::string& branch) const {
        return std::string(text::trimWhitespace(testing::runChecked(
            {"sh", "-c", "git -C \"$0\" rev-parse --verify -q refs/heads/\"$1\" || true",
             repo.originPath(), branch})));
    }

    std::string commitID(const std::string& name) const { return repo.commitID(repo.id(name)); }

    const Bookmark& bookmark(const std::string& name) const {
        return session->lastSnapshot()->repoState.bookmarks.at(name);
    }

    std::string toast(const RepoCommand& command) const {
        const auto result = session->execute(command);
        return result.toastText() != nullptr ? *result.toastText() : "<not a toast>";
    }

    testing::TestRepo repo;
    std::shared_ptr<RepoSession> session = RepoSession::open(repo.root());
};

// Pushing over a diverged remote after the warning is a sheet scenario of the
// app tests.
TEST_F(PublishCommands, PushAndSyncPushOnlyWhatIsAheadAndSyncOnlyEnabledBookmarks) {
    // ahead, alpha, beta and aside are ahead of origin, solo and fresh never
    // pushed; the working copy includes alpha, beta and fresh.
    repo.draw(R"(
      A1 <- T "a" a=1 [ahead]
      L1 <- T "l" l=1 [alpha]
      B1 <- T "b" b=1 [beta]
      X1 <- T "x" x=1 [aside]
      push ahead beta alpha aside
      A2 <- A1 "a2" a=2
      L2 <- L1 "l2" l=2
      B2 <- B1 "b2" b=2
      X2 <- X1 "x2" x=2
      S <- T "solo" s=1 [solo]
      F <- T "f" f=1 [fresh]
      @ <- L2 B2 F
    )");
    repo.bookmark("ahead", repo.id("A2"));
    repo.bookmark("alpha", repo.id("L2"));
    repo.bookmark("beta", repo.id("B2"));
    repo.bookmark("aside", repo.id("X2"));
    session->refreshSnapshot();

    EXPECT_EQ(toast(RepoCommand::Push{bookmark("main")}), "main is already up to date");
    ASSERT_TRUE(session->execute(RepoCommand::Push{bookmark("ahead")}).refreshedSnapshot());
    EXPECT_EQ(originTip("ahead"), commitID("A2"));
    EXPECT_EQ(session->settingsStore().settings("ahead")->lastPushedCommitID, commitID("A2"));
    // A first push names no remote and asks nothing.
    session->execute(RepoCommand::Push{bookmark("solo")});
    EXPECT_EQ(originTip("solo"), commitID("S"));

    EXPECT_EQ(toast(RepoCommand::Sync{}), "Pushed 2 bookmarks");
    EXPECT_EQ(
        (Paths{originTip("alpha"), originTip("beta"), originTip("aside"), originTip("fresh")}),
        (Paths{commitID("L2"), commitID("B2"), commitID("X1"), ""}));
    const auto log = repo.jj({"op", "log", "--no-graph", "-T", "description ++ \"\\n\""});
    // The log is newest first: beta, pushed last, comes before alpha.
    EXPECT_LT(log.find("beta"), log.find("alpha"));

    EXPECT_EQ(toast(RepoCommand::Sync{}), "Fetch complete · nothing to push");
    // The last snapshot went out on the stream.
    EXPECT_TRUE(session->snapshots().next());

    // Advancing trunk fast-forwards a trunk that is behind, and only then.
    EXPECT_EQ(toast(RepoCommand::AdvanceTrunk{}), "main already up to date");
    repo.advanceOrigin("main", "upstream", {{"README", "upstream\n"}});
    repo.fetch();
    // The fetch moved main along; putting it back leaves it behind origin.
    repo.bookmark("main", repo.id("T"));
    EXPECT_EQ(toast(RepoCommand::AdvanceTrunk{}), "Advanced main");
    EXPECT_EQ(repo.commitID("main"), repo.commitID("main@origin"));
    EXPECT_EQ(repo.commitID("main"), originTip("main"));
}

// Carving hunks into a new bookmark is a sheet scenario of the app tests.
TEST_F(PublishCommands, CreateBookmarkFromEachStartingPoint) {
    repo.writeFile("wip.txt", "work\n");
    repo.jj({"debug", "snapshot"});
    using Point = BookmarkStartingPoint;
    auto create = [&](const std::string& name, BookmarkStartingPoint point,
                      std::optional<std::string> parent = std::nullopt) {
        return session->execute(
            RepoCommand::CreateBookmark{{name, std::move(parent), std::move(point), false, false}});
    };
    const int operations = repo.operationCount();
    EXPECT_EQ(*create("nothing",
                      {Point::WorkingCopyCarveHunks{{{{"wip.txt", {}}}}, VORDA_DIFF_APPLY_PATH}})
                   .toastText(),
              "No hunks selected");
    EXPECT_EQ(repo.operationCount(), operations);

    const auto workingCopy = repo.commitID("@");
    EXPECT_TRUE(create("blank", {Point::SpecificRevision{" \n\t"}}).refreshedSnapshot());
    create("typed", {Point::SpecificRevision{"  " + repo.id("T") + "\n"}});
    create("here", {Point::WorkingCopy{}});
    create("on-trunk", {Point::TipOfParent{}});
    create("on-typed", {Point::TipOfParent{}}, "typed");
    EXPECT_EQ((Paths{repo.commitID("blank"), repo.commitID("here"), repo.commitID("@")}),
              Paths(3, workingCopy))
        << "on the working copy, which was not touched";
    EXPECT_EQ((Paths{repo.commitID("typed"), repo.commitID("on-typed"), repo.commitID("on-trunk")}),
              Paths(3, repo.commitID("main")));

    // Starting work at once: a commit of its own, named after the bookmark,
    // and the bookmark taken into the working copy's composition. Nothing is
    // on origin to track yet: that is dropped quietly.
    const auto result = session->execute(
        RepoCommand::CreateBookmark{{"new work", "main", {Point::TipOfParent{}}, true, true}});
    EXPECT_EQ(*result.toastText(), "Included new work in default");
    const auto tip = repo.bookmarkTarget("new work");
    ASSERT_TRUE(tip);
    EXPECT_EQ(repo.description(*tip), "new work");
    EXPECT_EQ(repo.parents(*tip), Paths{"T"});
    EXPECT_FALSE(
        session->lastSnapshot()->repoState.inclusionRole("new work", "default").isAbsent());
}

}  // namespace
}  // namespace vorda
