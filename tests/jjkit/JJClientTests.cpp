#include "jjkit/client/JJClient.h"

#include <algorithm>
#include <fstream>
#include <sstream>
#include <thread>

#include <gtest/gtest.h>

#include "jjkit/templates/RevsetQuoting.h"
#include "support/LogCapture.h"
#include "support/ScopedEnvironment.h"
#include "support/TestRepo.h"

namespace vorda {
namespace {

using testing::LogCapture;
using testing::ScopedEnvironment;
using testing::TestRepo;

template <typename Case, typename Call>
Case expectJJError(Call&& call) {
    try {
        call();
    } catch (const JJError& error) {
        if (const auto* value = error.as<Case>()) {
            return *value;
        }
        ADD_FAILURE() << "unexpected error: " << error.errorDescription();
        return {};
    }
    ADD_FAILURE() << "no error";
    return {};
}

const JJCommit* findByChange(const std::vector<JJCommit>& commits, const std::string& change) {
    const auto found = std::find_if(commits.begin(), commits.end(), [&](const JJCommit& commit) {
        return commit.changeID == change;
    });
    return found == commits.end() ? nullptr : &*found;
}

std::string toolFolder(const std::string& name) {
    return std::string(VORDA_TEST_TOOLS_DIR) + "/" + name;
}

TEST(JJClientVersion, GateAcceptsTheInstalledJJAndRefusesBadOnes) {
    const JJClient client("/nonexistent/vorda");  // version needs no repository
    EXPECT_TRUE(client.version().isSupported());

    const ScopedEnvironment path("PATH");
    path.prependPath(toolFolder("old-jj"));
    const auto old = expectJJError<JJError::IncompatibleVersion>([&] { client.version(); });
    EXPECT_EQ(old.found, "0.38.9");
    EXPECT_EQ(JJError(old).errorDescription(), "jj 0.38.9 too old, need 0.39.0+");

    path.prependPath(toolFolder("garbled-jj"));
    const auto garbled = expectJJError<JJError::ParseError>([&] { client.version(); });
    EXPECT_EQ(garbled.context, "version");
    EXPECT_EQ(garbled.underlying, "cannot parse: jj\n");

    path.prependPath(toolFolder("failing-jj"));
    LogCapture log;
    const auto failed = expectJJError<JJError::CommandFailed>([&] { client.version(); });
    EXPECT_EQ(failed.command, (std::vector<std::string>{"version"}));
    EXPECT_EQ(failed.exitCode, 2);
    EXPECT_EQ(failed.stderr, "boom\n");
    EXPECT_NE(log.text().find("[jj:error] version exit=2\nboom\n\n"), std::string::npos);
}

TEST(JJClientLog, DecodesARealRepositoryWithLocalAndRemoteBookmarks) {
    TestRepo repo;
    repo.addOrigin();
    const auto base = repo.commit("base", {{"README", "hello\n"}});
    repo.bookmark("main", base);
    repo.push("main");
    const auto feature =
        repo.commit("Feature \"quoted\" \\ back\nsecond line ä", {{"src/a.txt", "a\n"}});
    repo.bookmark("feature", feature);
    repo.push("feature");
    const auto ahead = repo.commit("local only", {{"src/b.txt", "b\n"}});
    repo.bookmark("feature", ahead);
    repo.writeFile("pending.txt", "not yet committed\n");
    repo.jj({"debug", "snapshot"});

    const JJClient client(repo.root());
    const auto commits = client.log("all()");
    const JJCommit* baseCommit = findByChange(commits, base);
    const JJCommit* featureCommit = findByChange(commits, feature);
    const JJCommit* aheadCommit = findByChange(commits, ahead);
    ASSERT_TRUE(baseCommit && featureCommit && aheadCommit);

    EXPECT_EQ(featureCommit->description, "Feature \"quoted\" \\ back\nsecond line ä\n");
    EXPECT_EQ(featureCommit->summary(), "Feature \"quoted\" \\ back");
    EXPECT_EQ(featureCommit->parents, std::vector<std::string>{baseCommit->commitID});
    EXPECT_EQ(featureCommit->author.name, "Vorda Test");
    EXPECT_TRUE(featureCommit->author.date().has_value());
    EXPECT_TRUE(baseCommit->immutable);  // main@origin is trunk, hence immutable
    EXPECT_FALSE(aheadCommit->immutable);

    // feature moved on locally; its remote stays on the pushed commit.
    ASSERT_EQ(aheadCommit->localBookmarks.size(), 1U);
    EXPECT_EQ(aheadCommit->localBookmarks[0].name, "feature");
    EXPECT_EQ(aheadCommit->localBookmarks[0].target,
              std::vector<std::string>{aheadCommit->commitID});
    const auto remote = std::find_if(
        featureCommit->remoteBookmarks.begin(), featureCommit->remoteBookmarks.end(),
        [](const JJCommitRef& ref) { return ref.name == "feature" && ref.remote == "origin"; });
    ASSERT_NE(remote, featureCommit->remoteBookmarks.end());
    ASSERT_TRUE(remote->trackingTarget.has_value());
    EXPECT_EQ(*remote->trackingTarget, std::vector<std::string>{aheadCommit->commitID});
    EXPECT_EQ(featureCommit->bookmarkLabels(), std::vector<std::string>{"feature@origin"});
    EXPECT_EQ(baseCommit->bookmarkLabels(), std::vector<std::string>{"main"});

    // Only the working copy lists its changed files.
    const auto workingCopy = std::find_if(
        commits.begin(), commits.end(), [](const JJCommit& commit) { return commit.workingCopy; });
    ASSERT_NE(workingCopy, commits.end());
    ASSERT_EQ(workingCopy->changedFiles.size(), 1U);
    EXPECT_EQ(workingCopy->changedFiles[0].path, "pending.txt");
    EXPECT_EQ(workingCopy->changedFiles[0].status, "A");
    EXPECT_TRUE(aheadCommit->changedFiles.empty());

    EXPECT_EQ(client.trunkCommitID(), baseCommit->commitID);
}

TEST(JJClientLog, ReadsAtAnEarlierOperationAndFindsMissingParents) {
    TestRepo repo;
    const auto first = repo.commit("first", {{"a", "1"}});
    const auto second = repo.commit("second", {{"a", "2"}});
    const std::string before = repo.currentOperationID();
    repo.jj({"describe", "-r", second, "-m", "second, renamed"});

    const JJClient client(repo.root());
    EXPECT_EQ(client.log(second).at(0).summary(), "second, renamed");
    EXPECT_EQ(client.log(second, "log", before).at(0).summary(), "second");

    const auto onlySecond = client.log(second);
    const auto revset = missingParentRevset(onlySecond);
    ASSERT_TRUE(revset.has_value());
    const auto parents = client.log(*revset);
    ASSERT_EQ(parents.size(), 1U);
    EXPECT_EQ(parents[0].changeID, first);
    // With no repository trunk, trunk() is the root commit.
    EXPECT_EQ(client.trunkCommitID(), std::string(40, '0'));
}

TEST(JJClientRun, FailingCommandTextShowsOnlyTheCallersArguments) {
    TestRepo repo;
    const JJClient client(repo.root());
    LogCapture log;
    const auto failed = expectJJError<JJError::CommandFailed>([&] {
        client.run({"log", "-r", "no_such_bookmark_xyz"}, "test");
    });
    EXPECT_EQ(failed.exitCode, 1);
    const std::string text = JJError(failed).errorDescription();
    EXPECT_EQ(text.rfind("jj log -r no_such_bookmark_xyz failed (1): Error: ", 0), 0U) << text;
    EXPECT_NE(text.find("no_such_bookmark_xyz"), std::string::npos);
    for (const char* hidden : {"--no-pager", "--color=never", "-R", repo.root().c_str()}) {
        EXPECT_EQ(text.find(hidden), std::string::npos) << hidden;
    }
    EXPECT_NE(log.text().find("[jj:error] log -r no_such_bookmark_xyz exit=1\nError: "),
              std::string::npos);
    // The START/END lines carry the folder name and the reason, nothing else.
    EXPECT_NE(log.text().find("[jj-exec] START repo | test\n"), std::string::npos);

    // An allowed non-zero status is a plain result.
    const auto allowed = client.run({"log", "-r", "no_such_bookmark_xyz"}, "test", true, {0, 1});
    EXPECT_EQ(allowed.exitCode, 1);
}

TEST(JJClientWorkspaces, ListsEveryWorkspaceEvenWithItsFolderDeleted) {
    TestRepo repo;
    repo.commit("base", {{"a", "1"}});
    const std::string second = repo.addWorkspace("second");
    const std::string third = repo.addWorkspace("third");
    std::filesystem::remove_all(third);

    const JJClient client(repo.root());
    const auto workspaces = client.workspaces();
    ASSERT_EQ(workspaces.size(), 3U);
    std::map<std::string, JJWorkspace> byName;
    for (const auto& workspace : workspaces) {
        byName.emplace(workspace.name, workspace);
    }
    ASSERT_TRUE(byName.contains("default") && byName.contains("second") &&
                byName.contains("third"));
    EXPECT_EQ(byName["default"].root, std::optional<std::string>(repo.root()));
    EXPECT_EQ(byName["second"].root, std::optional<std::string>(second));
    EXPECT_EQ(byName["second"].commitID, repo.commitID("second@"));
    EXPECT_EQ(byName["third"].changeID, repo.changeID("third@"));
    // The deleted folder's root is either still recorded or absent, never garbage.
    if (byName["third"].root) {
        EXPECT_EQ(*byName["third"].root, third);
    }
    // A secondary workspace lists the same workspaces.
    EXPECT_EQ(JJClient(second).workspaces().size(), 3U);
}

TEST(JJClientQuoting, AwkwardNamesAndPathsComeBackIntact) {
    TestRepo repo;
    const std::string awkwardName = "we\"ird sp\\ace ä";
    const std::string awkwardPath = "dir/we\"ird näme.txt";
    const auto change = repo.commit("awkward", {{awkwardPath, "x\n"}, {"plain.txt", "y\n"}});
    // jj reads bookmark names as revset symbols, so an awkward one is given quoted.
    repo.jj({"bookmark", "create", "-r", change, revsetQuoted(awkwardName)});

    const JJClient client(repo.root());
    const auto commits = client.log(bookmarkSetRevset(awkwardName));
    ASSERT_EQ(commits.size(), 1U);
    EXPECT_EQ(commits[0].changeID, change);
    ASSERT_EQ(commits[0].localBookmarks.size(), 1U);
    EXPECT_EQ(commits[0].localBookmarks[0].name, awkwardName);
    EXPECT_EQ(client.log(bookmarkTipRevset(awkwardName)).size(), 1U);

    std::vector<std::string> diff{"diff", "--ignore-working-copy", "--name-only", "-r", change};
    const auto filesets = rootFilesets({awkwardPath});
    diff.insert(diff.end(), filesets.begin(), filesets.end());
    // jj prints the path relative to the current folder, which a client never sets.
    const std::string listed = client.run(diff, "test").stdout;
    EXPECT_EQ(std::count(listed.begin(), listed.end(), '\n'), 1);
    EXPECT_TRUE(listed.ends_with("/repo/" + awkwardPath + "\n")) << listed;
}

TEST(JJClientRun, OutputThatIsNotUtf8DoesNotBreakAnything) {
    TestRepo repo;
    const auto change = repo.commit("binary", {{"blob.bin", std::string("ok\xff\xfe\xc0", 5)}});
    const JJClient client(repo.root());
    const auto result = client.run(
        {"file", "show", "--ignore-working-copy", "-r", change, "root:\"blob.bin\""}, "test");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.stdout, "");
    EXPECT_EQ(client.log(change).at(0).summary(), "binary");
}

TEST(JJClientRun, SeveralProcessesRunAtOnceThroughOneClient) {
    TestRepo repo;
    repo.commit("one", {{"a", "1"}});
    const JJClient client(repo.root());
    std::vector<std::size_t> counts(4);
    {
        std::vector<std::jthread> threads;
        threads.reserve(counts.size());
        for (auto& count : counts) {
            threads.emplace_back([&] { count = client.log("all()").size(); });
        }
    }
    for (const auto count : counts) {
        EXPECT_EQ(count, 3U);  // root, "one", working copy
    }
}

TEST(JJClientSnapshot, SnapshotMakesEditsVisibleAndFallsBackWhenRejected) {
    TestRepo repo;
    const JJClient client(repo.root());
    repo.writeFile("new.txt", "fresh\n");
    EXPECT_TRUE(client.log("@").at(0).changedFiles.empty());
    client.snapshotWorkingCopy("test/snapshot");
    ASSERT_EQ(client.log("@").at(0).changedFiles.size(), 1U);

    const testing::TempDir scratch;
    const std::string calls = (scratch.path() / "calls").string();
    const ScopedEnvironment log("VORDA_FAKE_JJ_LOG");
    log.set(calls);
    const ScopedEnvironment path("PATH");
    path.prependPath(toolFolder("snapshot-fallback-jj"));
    client.snapshotWorkingCopy("test/snapshot");
    std::ifstream stream(calls);
    std::stringstream recorded;
    recorded << stream.rdbuf();
    const std::string prefix = "--no-pager --color=never -R " + repo.root();
    EXPECT_EQ(recorded.str(), prefix + " debug snapshot\n" + prefix + " util snapshot\n");
}

}  // namespace
}  // namespace vorda
