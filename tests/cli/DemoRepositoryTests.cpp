// The demo repository, read back the way the board reads it: every kind of
// lane and badge it promises must be there, it never writes into a folder that
// already holds something, and it works with its own origin.

#include "cli/DemoRepository.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <stdexcept>
#include <tuple>

#include <gtest/gtest.h>

#include "jjkit/client/JJClient.h"
#include "jjkit/settings/BookmarkSettingsStore.h"
#include "support/ScopedEnvironment.h"
#include "support/StateText.h"
#include "support/TempDir.h"
#include "support/TestRepo.h"

namespace vorda {
namespace {

namespace fs = std::filesystem;
using testing::runChecked;
using testing::TempDir;
using Set = std::set<std::string>;

std::string readFile(const fs::path& path) {
    std::ostringstream bytes;
    bytes << std::ifstream(path, std::ios::binary).rdbuf();
    return std::move(bytes).str();
}

std::string jj(const std::string& repo, std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"jj", "--no-pager", "--ignore-working-copy", "-R", repo});
    return runChecked(arguments);
}

TEST(DemoRepository, BuildsABoardWithEveryKindOfLaneOwnedByTheDemoUserAndRefusesToOverwrite) {
    // Without a configured identity: the repository's own configuration tells
    // jj whose work it is.
    const TempDir scratch("vorda-demo");
    const fs::path config = scratch.path() / "jj-config.toml";
    std::ofstream(config) << "[ui]\npaginate = \"never\"\ncolor = \"never\"\n";
    const testing::ScopedEnvironment jjConfig("JJ_CONFIG");
    jjConfig.set(config.string());
    // A folder that does not exist yet, two levels deep, is created.
    const fs::path folder = scratch.path() / "nested" / "demo";
    createDemoRepository(folder.string());
    const std::string repo = demoRepositoryPath(folder.string());
    EXPECT_FALSE(fs::exists(folder / "mira-clone"));  // the teammate's checkout is gone
    EXPECT_EQ(jj(repo, {"config", "get", "user.email"}), "you@tally.example\n");
    // Read as the session reads it.
    BookmarkSettingsStore settings(repo);
    const RepoState state = JJClient(repo).repoState(
        JJClient::defaultRevset, settings.apexChangeID(), settings.compositionPointsByWorkspace());

    // Every commit by its description, working copies by their workspace; who
    // wrote the mutable commits, whether they count as one's own, and the
    // origin's bookmarks on them; and the days of that work.
    testing::IDNames names;
    Set authors;
    std::set<std::chrono::sys_days> days;
    for (const auto& [id, commit] : state.commits) {
        if (!commit->immutable) {
            days.insert(std::chrono::floor<std::chrono::days>(commit->committer.date().value()));
            std::string author = commit->author.name;
            author.append(" <").append(commit->author.email).append(">");
            author.append(state.mineChangeIDs.contains(commit->changeID) ? " mine" : " theirs");
            for (const auto& remote : commit->remoteBookmarks) {
                if (remote.remote == "origin") {
                    author.append(" ").append(remote.name).append("@origin");
                }
            }
            authors.insert(std::move(author));
        }
        std::istringstream words(commit->description);
        std::string name, word;
        for (int count = 0; count < 3 && words >> word; ++count) {
            name.append(count == 0 ? "" : "-").append(word);
        }
        names[id] = names[commit->changeID] = name;
    }
    for (const auto& [name, workspace] : state.workspaces) {
        names[workspace.workspace.commitID] = names[workspace.workspace.changeID] = name + "@";
    }
    EXPECT_EQ(testing::stateText(state, names), testing::lines(R"(
      bookmark main: Read-settings-from Print-the-task Keep-tasks-in | upstream(origin) upToDate(origin)
      bookmark render-colors: Colour-overdue-tasks | upstream(origin) behind(origin, 1) | base Print-the-task []
      bookmark sqlite-export: Add-a---since Export-tasks-as | local untracked | on storage-sqlite | base Index-tasks-by [storage-sqlite]
      bookmark storage-sqlite: Index-tasks-by Move-existing-JSON Add-a-SQLite | upstream(origin) ahead(origin, 1) | base Print-the-task []
      working copy @: sqlite-export storage-sqlite
      workspace default*: direct | main absent | render-colors absent | sqlite-export inherited(-) | storage-sqlite inherited(sqlite-export) | base Print-the-task []
      workspace integration: composed wip:-Vorda-composition/wip:-Vorda-composition | parents render-colors sqlite-export | attached Colour-overdue-tasks mutable render-colors | attached Add-a---since mutable sqlite-export | main absent | render-colors directParent | sqlite-export directParent | storage-sqlite inherited(sqlite-export) | base Print-the-task []
      lane Mention-relative-due: Mention-relative-due Parse-relative-due | on main | main at Parse-relative-due
      one-off Add-a---since on Export-tasks-as | owner sqlite-export
      one-off Add-a-SQLite on Print-the-task | owner storage-sqlite
      one-off Colour-overdue-tasks on Print-the-task | owner render-colors
      one-off Export-tasks-as on Index-tasks-by | owner sqlite-export
      one-off Index-tasks-by on Move-existing-JSON | owner storage-sqlite
      one-off Mention-relative-due on Parse-relative-due | conflict
      one-off Move-existing-JSON on Add-a-SQLite | owner storage-sqlite
      one-off Parse-relative-due on Read-settings-from
      remote bookmark mira/dark-mode: Add-a-dark | upstream(origin) untracked
      immutable Add-a-dark Keep-tasks-in Print-the-task Read-settings-from | conflicted Mention-relative-due | behind trunk Add-a---since Add-a-SQLite Colour-overdue-tasks Export-tasks-as Index-tasks-by Move-existing-JSON Respect-NO_COLOR-in default@ integration@ wip:-Vorda-composition
    )"));
    EXPECT_EQ(authors, (Set{"Demo User <you@tally.example> mine",
                            "Demo User <you@tally.example> mine storage-sqlite@origin",
                            "Mira Okafor <mira@tally.example> theirs render-colors@origin"}));
    EXPECT_EQ(state.workspaces.at("integration").workspace.root,
              std::optional<std::string>(folder / "integration"));
    Set changed;
    for (const auto& file : state.commits.at(state.workingCopy->commitID)->changedFiles) {
        changed.insert(file.path + " " + file.status);
    }
    EXPECT_EQ(changed, (Set{"tally/export.py M", "tests/test_export.py A"}));
    EXPECT_GE(days.size(), 4U);  // work spread over several days fills the date groups

    // A second build into the same folder, or onto a file, is refused and
    // changes nothing.
    const fs::path file = scratch.path() / "plain-file";
    std::ofstream(file) << "data\n";
    const auto contents = [&] {
        Set listing;
        for (const auto& entry : fs::recursive_directory_iterator(folder)) {
            listing.insert(fs::relative(entry.path(), folder).string());
        }
        return std::tuple(listing, readFile(repo + "/.jj/repo/Vorda-settings.json"),
                          jj(repo, {"op", "log", "--no-graph", "-n", "1", "-T", "id"}),
                          readFile(file));
    };
    const auto before = contents();
    for (const auto& [path, reason] : {std::pair{folder, "not empty"}, {file, "not a directory"}}) {
        try {
            createDemoRepository(path.string());
            ADD_FAILURE() << path << " was accepted";
        } catch (const std::runtime_error& error) {
            EXPECT_NE(std::string(error.what()).find(reason), std::string::npos) << error.what();
            EXPECT_NE(std::string(error.what()).find(path.string()), std::string::npos);
        }
    }
    EXPECT_EQ(contents(), before);

    // A branch that only its origin has arrives with a fetch.
    runChecked({"git", "-C", (folder / "origin.git").string(), "branch", "copy-only", "main"});
    jj(repo, {"git", "fetch"});
    EXPECT_EQ(jj(repo, {"log", "--no-graph", "-r", "copy-only@origin", "-T", "commit_id"}),
              jj(repo, {"log", "--no-graph", "-r", "main@origin", "-T", "commit_id"}));
}

}  // namespace
}  // namespace vorda
