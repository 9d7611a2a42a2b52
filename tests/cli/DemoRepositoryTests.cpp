// The demo repository, read back the way the board reads it: every kind of
// lane and badge it promises must be there, it never writes into a folder that
// already holds something, and a copy of it works on its own origin.

#include "cli/DemoRepository.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <stdexcept>

#include <gtest/gtest.h>

#include "cli/DemoCopy.h"
#include "jjkit/client/JJClient.h"
#include "jjkit/settings/BookmarkSettingsStore.h"
#include "support/ModelPrinting.h"
#include "support/ScopedEnvironment.h"
#include "support/TempDir.h"
#include "support/TestRepo.h"

namespace vorda {
namespace {

namespace fs = std::filesystem;
using testing::runChecked;
using testing::TempDir;

RepoState loadAsTheSessionDoes(const std::string& repo) {
    BookmarkSettingsStore settings(repo);
    return JJClient(repo).repoState(JJClient::defaultRevset, settings.apexChangeID(),
                                    settings.compositionPointsByWorkspace());
}

std::string readFile(const fs::path& path) {
    std::ifstream stream(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << stream.rdbuf();
    return std::move(bytes).str();
}

std::set<std::string> listing(const fs::path& folder) {
    std::set<std::string> names;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        names.insert(fs::relative(entry.path(), folder).string());
    }
    return names;
}

std::string jj(const std::string& repo, std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"jj", "--no-pager", "--ignore-working-copy", "-R", repo});
    return runChecked(arguments);
}

TEST(DemoRepository, BuildsABoardWithEveryKindOfLane) {
    const TempDir scratch;
    const fs::path folder = scratch.path() / "demo";
    const std::string repo = testing::copyDemo(folder);
    EXPECT_EQ(repo, (folder / "repo").string());
    EXPECT_TRUE(fs::exists(folder / "origin.git" / "HEAD"));
    EXPECT_FALSE(fs::exists(folder / "mira-clone"));  // the teammate's checkout is gone
    const fs::path settingsFile = folder / "repo" / ".jj" / "repo" / "Vorda-settings.json";
    ASSERT_TRUE(fs::exists(settingsFile));

    const RepoState state = loadAsTheSessionDoes(repo);

    // Trunk and three bookmarks, two of them stacked.
    std::set<std::string> names;
    for (const auto& [name, bookmark] : state.bookmarks) {
        names.insert(name);
    }
    EXPECT_EQ(names,
              (std::set<std::string>{"main", "render-colors", "sqlite-export", "storage-sqlite"}));
    const Bookmark& storage = state.bookmarks.at("storage-sqlite");
    const Bookmark& exportBookmark = state.bookmarks.at("sqlite-export");
    const Bookmark& render = state.bookmarks.at("render-colors");
    EXPECT_EQ(exportBookmark.parentBookmarks, std::vector<std::string>{"storage-sqlite"});
    EXPECT_EQ(exportBookmark.commitIDs.size(), 2U);
    EXPECT_TRUE(storage.parentBookmarks.empty());
    EXPECT_EQ(storage.commitIDs.size(), 3U);
    EXPECT_TRUE(render.parentBookmarks.empty());

    // Against origin: one ahead, one behind, one never pushed, trunk in step.
    EXPECT_EQ(storage.remoteSyncState, (RemoteSyncState{RemoteSyncState::Ahead{"origin", 1}}));
    EXPECT_EQ(render.remoteSyncState, (RemoteSyncState{RemoteSyncState::Behind{"origin", 1}}));
    EXPECT_EQ(exportBookmark.remoteSyncState, RemoteSyncState{RemoteSyncState::Untracked{}});
    EXPECT_EQ(exportBookmark.origin, BookmarkOrigin::local());
    EXPECT_EQ(state.bookmarks.at("main").remoteSyncState,
              RemoteSyncState{RemoteSyncState::UpToDate{"origin"}});
    // The stacks started on a trunk that has moved since.
    EXPECT_TRUE(state.behindTrunkCommitIDs.contains(storage.commitIDs.back()));
    EXPECT_TRUE(state.behindTrunkCommitIDs.contains(render.commitIDs.back()));

    // The teammate's bookmark exists on origin only.
    const auto untracked = state.untrackedRemoteBookmarks();
    ASSERT_EQ(untracked.size(), 1U);
    EXPECT_EQ(untracked[0].name, "mira/dark-mode");
    EXPECT_EQ(untracked[0].origin, BookmarkOrigin::upstream("origin"));

    // The teammate's commit on render-colors@origin: mutable and not mine.
    const auto theirs =
        std::find_if(state.commits.begin(), state.commits.end(), [&](const auto& entry) {
            return entry.second->author.email == "mira@tally.example" && !entry.second->immutable;
        });
    ASSERT_NE(theirs, state.commits.end());
    EXPECT_FALSE(state.mineChangeIDs.contains(theirs->second->changeID));
    ASSERT_EQ(theirs->second->remoteBookmarks.size(), 1U);
    EXPECT_EQ(theirs->second->remoteBookmarks[0].name, "render-colors");
    // One's own work is authored by the identity jj is configured with.
    for (const auto& commitID : storage.commitIDs) {
        EXPECT_EQ(state.commits.at(commitID)->author.email, "test@vorda.invalid");
        EXPECT_TRUE(state.mineChangeIDs.contains(state.commits.at(commitID)->changeID));
    }

    // One one-off lane of mine, on trunk, its top commit conflicted.
    const auto lanes = state.oneOffLanes();
    ASSERT_EQ(lanes.size(), 1U);
    EXPECT_TRUE(lanes[0].tip.isMine);
    EXPECT_EQ(lanes[0].commits.size(), 2U);
    EXPECT_EQ(lanes[0].parentBookmarkNames, std::vector<std::string>{"main"});
    EXPECT_TRUE(lanes[0].tip.hasConflict);
    EXPECT_TRUE(state.commits.at(lanes[0].tip.commitID)->conflict);
    EXPECT_FALSE(state.commits.at(lanes[0].commits[1].commitID)->conflict);

    // The default workspace works on the stacked bookmark, with edits.
    EXPECT_EQ(state.selectedWorkspaceName, std::optional<std::string>("default"));
    ASSERT_TRUE(state.workingCopy.has_value());
    EXPECT_EQ(state.workingCopy->enabledBookmarks,
              (std::vector<std::string>{"sqlite-export", "storage-sqlite"}));
    std::set<std::string> changed;
    for (const auto& file : state.commits.at(state.workingCopy->commitID)->changedFiles) {
        changed.insert(file.path + " " + file.status);
    }
    EXPECT_EQ(changed, (std::set<std::string>{"tally/export.py M", "tests/test_export.py A"}));

    // The second workspace sits on its own composition of two bookmarks.
    ASSERT_EQ(state.workspaces.size(), 2U);
    EXPECT_TRUE(state.workspaces.at("default").composition.isDirect());
    const WorkspaceState& integration = state.workspaces.at("integration");
    EXPECT_EQ(integration.workspace.root, std::optional<std::string>(folder / "integration"));
    const auto compositions = BookmarkSettingsStore(repo).compositionPointsByWorkspace();
    ASSERT_TRUE(compositions.contains("integration"));
    const auto* materialized =
        std::get_if<WorkspaceComposition::Materialized>(&integration.composition.kind);
    ASSERT_NE(materialized, nullptr);
    EXPECT_EQ(materialized->changeID, compositions.at("integration"));
    EXPECT_EQ(state.commits.at(materialized->commitID)->description,
              "wip: Vorda composition integration\n");
    EXPECT_EQ(integration.composition.directParentBookmarks,
              (std::set<std::string>{"render-colors", "sqlite-export"}));
    EXPECT_EQ(integration.bookmarkRoles.at("storage-sqlite"),
              BookmarkInclusionRole::inherited("sqlite-export"));
    EXPECT_EQ(state.workspaces.at("default").bookmarkRoles.at("render-colors"),
              BookmarkInclusionRole::absent());

    // Work spread over several days, so the date groups fill.
    std::set<std::chrono::sys_days> days;
    for (const auto& [id, commit] : state.commits) {
        if (const auto date = commit->committer.date(); date && !commit->immutable) {
            days.insert(std::chrono::floor<std::chrono::days>(*date));
        }
    }
    EXPECT_GE(days.size(), 4U);

    // A second build into the same folder is refused and changes nothing.
    const auto before = listing(folder);
    const auto operation = jj(repo, {"op", "log", "--no-graph", "-n", "1", "-T", "id"});
    const auto settings = readFile(settingsFile);
    EXPECT_THROW(createDemoRepository(folder.string()), std::runtime_error);
    EXPECT_EQ(listing(folder), before);
    EXPECT_EQ(jj(repo, {"op", "log", "--no-graph", "-n", "1", "-T", "id"}), operation);
    EXPECT_EQ(readFile(settingsFile), settings);
}

TEST(DemoRepository, ACopyFetchesFromItsOwnOrigin) {
    const TempDir scratch;
    const std::string repo = testing::copyDemo(scratch.path() / "demo");
    // A branch that only the copy's origin has.
    runChecked({"git", "-C", (scratch.path() / "demo" / "origin.git").string(), "branch",
                "copy-only", "main"});
    jj(repo, {"git", "fetch"});
    EXPECT_EQ(jj(repo, {"log", "--no-graph", "-r", "copy-only@origin", "-T", "commit_id"}),
              jj(repo, {"log", "--no-graph", "-r", "main@origin", "-T", "commit_id"}));
}

TEST(DemoRepository, RefusesAnythingButAnEmptyFolderAndLeavesItAlone) {
    const TempDir scratch("vorda-demo-refusal");
    const fs::path occupied = scratch.path() / "occupied";
    fs::create_directories(occupied / "notes");
    std::ofstream(occupied / "notes" / "keep.txt") << "mine\n";
    const fs::path file = scratch.path() / "plain-file";
    std::ofstream(file) << "data\n";
    for (const auto& [path, reason] :
         {std::pair{occupied, "not empty"}, {file, "not a directory"}}) {
        try {
            createDemoRepository(path.string());
            ADD_FAILURE() << path << " was accepted";
        } catch (const std::runtime_error& error) {
            EXPECT_NE(std::string(error.what()).find(reason), std::string::npos) << error.what();
            EXPECT_NE(std::string(error.what()).find(path.string()), std::string::npos);
        }
    }
    EXPECT_EQ(readFile(occupied / "notes" / "keep.txt"), "mine\n");
    EXPECT_EQ(readFile(file), "data\n");
    EXPECT_EQ(listing(scratch.path()),
              (std::set<std::string>{"occupied", "occupied/notes", "occupied/notes/keep.txt",
                                     "plain-file"}));
}

TEST(DemoRepository, WithoutAConfiguredIdentityTheDemoUserOwnsTheWork) {
    const TempDir scratch("vorda-demo-anonymous");
    const fs::path config = scratch.path() / "jj-config.toml";
    std::ofstream(config) << "[ui]\npaginate = \"never\"\ncolor = \"never\"\n";
    const testing::ScopedEnvironment jjConfig("JJ_CONFIG");
    jjConfig.set(config.string());

    // A folder that does not exist yet, two levels deep, is created.
    const fs::path folder = scratch.path() / "nested" / "demo";
    createDemoRepository(folder.string());
    const std::string repo = demoRepositoryPath(folder.string());

    // Read with the same identity-less configuration: the repository's own
    // configuration tells jj whose work it is.
    const RepoState state = loadAsTheSessionDoes(repo);
    for (const auto& commitID : state.bookmarks.at("storage-sqlite").commitIDs) {
        EXPECT_EQ(state.commits.at(commitID)->author.email, "you@tally.example");
        EXPECT_EQ(state.commits.at(commitID)->author.name, "Demo User");
    }
    const auto lanes = state.oneOffLanes();
    ASSERT_EQ(lanes.size(), 1U);
    EXPECT_TRUE(lanes[0].tip.isMine);
    EXPECT_EQ(jj(repo, {"config", "get", "user.email"}), "you@tally.example\n");
}

}  // namespace
}  // namespace vorda
