// Commands that talk to origin or make bookmarks, on real repositories with a
// local bare origin, checked afterwards with jj and git.

#include <gtest/gtest.h>

#include "feature/session/RepoSession.h"
#include "jjkit/support/Text.h"
#include "jjkit/templates/RevsetQuoting.h"
#include "support/TestRepo.h"

namespace vorda {
namespace {

using testing::TestRepo;

class PublishCommands : public ::testing::Test {
  protected:
    void SetUp() override { base = repo.publishMain(); }

    // The commit origin's branch points at; empty when origin lacks it.
    std::string originTip(const std::string& branch) const {
        const auto result =
            testing::runChecked({"sh", "-c",
                                 "git -C '" + repo.originPath() +
                                     "' rev-parse --verify -q refs/heads/" + branch + " || true"});
        return std::string(text::trimWhitespace(result));
    }

    // Paths as jj lists them from the repository's root.
    std::string changedIn(const std::string& revision) const {
        return testing::runChecked(
            {"jj", "diff", "--ignore-working-copy", "--name-only", "-r", revision}, repo.root());
    }

    const Bookmark& bookmark(const std::string& name) const {
        return session->lastSnapshot()->repoState.bookmarks.at(name);
    }

    // Commits on `parent` and points `name` at the commit.
    std::string commitInto(const std::string& name, const std::string& parent,
                           const std::string& file) const {
        repo.jj({"new", parent});
        const auto change = repo.commit(name + " " + file, {{file, file + "\n"}});
        repo.bookmark(name, change);
        return repo.commitID(change);
    }

    TestRepo repo;
    std::string base;
    std::shared_ptr<RepoSession> session = RepoSession::open(repo.root());
};

TEST_F(PublishCommands, PushAsksBeforeForcingAndRecordsWhatItPushed) {
    // Ahead: a plain push.
    commitInto("ahead", base, "a");
    repo.push("ahead");
    const auto aheadTip = commitInto("ahead", "ahead", "a2");
    // Never pushed: a first push, no remote named and no question.
    const auto soloTip = commitInto("solo", base, "s");
    // Diverged: origin moved on while the local bookmark did too.
    commitInto("diverged", base, "d");
    repo.push("diverged");
    repo.advanceOrigin("diverged", "upstream side", {{"d", "upstream\n"}});
    repo.fetch();
    const auto localDiverged = commitInto("diverged", "diverged@origin-", "d-local");
    session->refreshSnapshot();
    ASSERT_TRUE(std::holds_alternative<RemoteSyncState::Diverged>(
        bookmark("diverged").remoteSyncState.value));

    EXPECT_EQ(*session->execute(RepoCommand::Push{bookmark("main")}).toastText(),
              "main is already up to date");

    const auto ahead = session->execute(RepoCommand::Push{bookmark("ahead")});
    ASSERT_TRUE(ahead.refreshedSnapshot());
    EXPECT_EQ(originTip("ahead"), aheadTip);
    EXPECT_EQ(session->settingsStore().settings("ahead")->lastPushedCommitID, aheadTip);

    session->execute(RepoCommand::Push{bookmark("solo")});
    EXPECT_EQ(originTip("solo"), soloTip);

    const auto before = originTip("diverged");
    const auto question = session->execute(RepoCommand::Push{bookmark("diverged")});
    const auto* force = std::get_if<RepoCommandResult::ForcePushRequired>(&question.value);
    ASSERT_NE(force, nullptr);
    EXPECT_EQ(force->request.bookmark.name, "diverged");
    EXPECT_TRUE(std::holds_alternative<RemoteSyncState::Diverged>(force->request.syncState.value));
    EXPECT_EQ(force->request.id.size(), 36U);
    EXPECT_EQ(originTip("diverged"), before) << "nothing is pushed before the user agrees";

    session->execute(RepoCommand::PerformPush{force->request.bookmark});
    EXPECT_EQ(originTip("diverged"), localDiverged);
    EXPECT_EQ(bookmark("diverged").remoteSyncState,
              (RemoteSyncState{RemoteSyncState::UpToDate{"origin"}}));
}

TEST_F(PublishCommands, SyncPushesOnlyEnabledBookmarksThatAreAheadInNameOrder) {
    commitInto("beta", base, "b");
    repo.push("beta");
    const auto betaTip = commitInto("beta", "beta", "b2");
    commitInto("alpha", base, "a");
    repo.push("alpha");
    const auto alphaTip = commitInto("alpha", "alpha", "a2");
    // Ahead but not in the working copy: left alone.
    commitInto("aside", base, "x");
    repo.push("aside");
    const auto asideBefore = originTip("aside");
    commitInto("aside", "aside", "x2");
    // In the working copy but never pushed: sync does not publish it.
    commitInto("fresh", base, "f");
    repo.jj({"new", "alpha", "beta", "fresh"});
    session->refreshSnapshot();

    const auto result = session->execute(RepoCommand::Sync{});
    EXPECT_EQ(*result.toastText(), "Pushed 2 bookmarks");
    EXPECT_EQ(originTip("alpha"), alphaTip);
    EXPECT_EQ(originTip("beta"), betaTip);
    EXPECT_EQ(originTip("aside"), asideBefore);
    EXPECT_EQ(originTip("fresh"), "");
    const auto log = repo.jj({"op", "log", "--no-graph", "-T", "description ++ \"\\n\""});
    // The log is newest first: beta, pushed last, comes before alpha.
    EXPECT_LT(log.find("beta"), log.find("alpha"));

    EXPECT_EQ(*session->execute(RepoCommand::Sync{}).toastText(),
              "Fetch complete · nothing to push");
    // The last snapshot went out on the stream.
    EXPECT_TRUE(session->snapshots().next());
}

TEST_F(PublishCommands, AdvanceTrunkFastForwardsABehindTrunkOnly) {
    session->refreshSnapshot();
    EXPECT_EQ(*session->execute(RepoCommand::AdvanceTrunk{}).toastText(),
              "main already up to date");

    repo.advanceOrigin("main", "upstream", {{"README", "upstream\n"}});
    repo.fetch();
    // The fetch moved main along; putting it back leaves it behind origin.
    repo.jj({"bookmark", "set", "main", "-r", base, "--allow-backwards"});
    EXPECT_EQ(*session->execute(RepoCommand::AdvanceTrunk{}).toastText(), "Advanced main");
    EXPECT_EQ(repo.commitID("main"), repo.commitID("main@origin"));
    EXPECT_EQ(repo.commitID("main"), originTip("main"));
}

TEST_F(PublishCommands, CreateBookmarkFromEachStartingPoint) {
    repo.writeFile("wip.txt", "work\n");
    repo.jj({"debug", "snapshot"});
    const auto workingCopy = repo.commitID("@");
    auto create = [&](const std::string& name, BookmarkStartingPoint point,
                      std::optional<std::string> parent = std::nullopt) {
        CreateBookmarkInput input;
        input.name = name;
        input.parent = std::move(parent);
        input.startingPoint = std::move(point);
        return session->execute(RepoCommand::CreateBookmark{input});
    };

    EXPECT_TRUE(
        create("blank", {BookmarkStartingPoint::SpecificRevision{" \n\t"}}).refreshedSnapshot());
    EXPECT_EQ(repo.commitID("blank"), repo.commitID("@"));
    create("typed", {BookmarkStartingPoint::SpecificRevision{"  " + base + "\n"}});
    EXPECT_EQ(repo.commitID("typed"), repo.commitID(base));
    create("here", {BookmarkStartingPoint::WorkingCopy{}});
    EXPECT_EQ(repo.commitID("here"), repo.commitID("@"));
    create("on-trunk", {BookmarkStartingPoint::TipOfParent{}});
    EXPECT_EQ(repo.commitID("on-trunk"), repo.commitID("trunk()"));
    create("on-typed", {BookmarkStartingPoint::TipOfParent{}}, "typed");
    EXPECT_EQ(repo.commitID("on-typed"), repo.commitID("typed"));
    EXPECT_EQ(workingCopy, repo.commitID("@")) << "the working copy was not touched";

    // Starting work at once: a commit of its own, named after the bookmark,
    // and the bookmark taken into the working copy's composition.
    CreateBookmarkInput input;
    input.name = "new work";
    input.parent = "main";
    input.startingPoint = {BookmarkStartingPoint::TipOfParent{}};
    input.enableAfterCreating = true;
    input.trackUpstream = true;  // nothing on origin yet: dropped quietly
    const auto result = session->execute(RepoCommand::CreateBookmark{input});
    EXPECT_EQ(*result.toastText(), "Included new work in default");
    const auto tip = "bookmarks(exact:\"new work\")";
    EXPECT_EQ(repo.jj({"log", "--no-graph", "-r", tip, "-T", "description"}), "new work\n");
    EXPECT_EQ(repo.commitID(tip + std::string("-")), repo.commitID("main"));
    const auto state = session->lastSnapshot()->repoState;
    EXPECT_FALSE(state.inclusionRole("new work", "default").isAbsent());
}

TEST_F(PublishCommands, CarvingHunksMakesThemTheNewBookmarksFirstCommit) {
    std::string lines;
    for (int line = 1; line <= 30; ++line) {
        lines += "line " + std::to_string(line) + "\n";
    }
    repo.writeFile("notes.txt", lines);
    repo.commit("notes");
    auto changed = lines;
    changed.replace(changed.find("line 2\n"), 7, "line two\n");
    changed.replace(changed.find("line 28\n"), 8, "line twenty-eight\n");
    repo.writeFile("notes.txt", changed);
    repo.writeFile("other.txt", "other\n");
    repo.jj({"debug", "snapshot"});

    CreateBookmarkInput input;
    input.name = "carved";
    input.startingPoint = {BookmarkStartingPoint::WorkingCopyCarveHunks{
        {{{"notes.txt", {1}}, {"other.txt", {}}}}, VORDA_DIFF_APPLY_PATH}};
    ASSERT_TRUE(session->execute(RepoCommand::CreateBookmark{input}).refreshedSnapshot());

    EXPECT_EQ(repo.commitID("carved"), repo.commitID("@-"));
    const auto notes = rootFilesets({"notes.txt"}).front();
    const auto carved = repo.jj({"file", "show", "-r", "carved", notes});
    EXPECT_NE(carved.find("line twenty-eight"), std::string::npos);
    EXPECT_EQ(carved.find("line two\n"), std::string::npos);
    EXPECT_EQ(changedIn("carved"), "notes.txt\n");
    EXPECT_EQ(repo.jj({"file", "show", "-r", "@", notes}), changed);
    EXPECT_EQ(changedIn("@"), "notes.txt\nother.txt\n");

    input.name = "nothing";
    input.startingPoint = {
        BookmarkStartingPoint::WorkingCopyCarveHunks{{{{"notes.txt", {}}}}, VORDA_DIFF_APPLY_PATH}};
    const auto operation = repo.currentOperationID();
    EXPECT_EQ(*session->execute(RepoCommand::CreateBookmark{input}).toastText(),
              "No hunks selected");
    EXPECT_EQ(repo.currentOperationID(), operation);
}

}  // namespace
}  // namespace vorda
