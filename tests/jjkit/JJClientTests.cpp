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
#include "support/TestTools.h"

namespace vorda {
namespace {

using testing::LogCapture;
using testing::ScopedEnvironment;
using testing::TestRepo;
using testing::toolFolder;

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

TEST(JJClientVersion, GateAcceptsTheInstalledJJAndRefusesBadOnes) {
    const JJClient client("/nonexistent/vorda");  // version needs no repository
    EXPECT_TRUE(client.version().isSupported());

    const ScopedEnvironment path("PATH");
    path.prependPath(toolFolder("old-jj"));
    const auto old = expectJJError<JJError::IncompatibleVersion>([&] { client.version(); });
    EXPECT_EQ(old.found, "0.38.9");

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

TEST(JJClientLog, DecodesARealRepositoryWithLocalAndRemoteBookmarksAndAwkwardNames) {
    TestRepo repo;
    repo.draw(R"(
      origin
      T <- root "base" README=hello [main]
      F <- T "Feature \"quoted\" \\ back\nsecond line ä" src/a.txt=a [feature]
      push main feature
      A <- F "local only" src/b.txt=b
    )");
    repo.bookmark("feature", repo.id("A"));
    // jj reads bookmark names as revset symbols, so an awkward one is given quoted.
    const std::string awkwardName = "we\"ird sp\\ace ä";
    repo.jj({"bookmark", "create", "-r", repo.id("F"), revsetQuoted(awkwardName)});
    const std::string awkwardPath = "dir/we\"ird näme.txt";
    repo.writeFile(awkwardPath, "not yet committed\n");
    repo.jj({"debug", "snapshot"});

    const JJClient client(repo.root());
    const auto commits = client.log("all()");
    const auto base = client.log(repo.id("T")).at(0);
    const auto feature = client.log(repo.id("F")).at(0);
    const auto ahead = client.log(repo.id("A")).at(0);

    EXPECT_EQ(feature.description, "Feature \"quoted\" \\ back\nsecond line ä\n");
    EXPECT_EQ(feature.summary(), "Feature \"quoted\" \\ back");
    EXPECT_EQ(feature.parents, std::vector<std::string>{base.commitID});
    EXPECT_EQ(feature.author.name, "Vorda Test");
    EXPECT_TRUE(feature.author.date().has_value());
    EXPECT_TRUE(base.immutable);  // main@origin is trunk, hence immutable
    EXPECT_FALSE(ahead.immutable);

    // feature moved on locally; its remote stays on the pushed commit.
    ASSERT_EQ(ahead.localBookmarks.size(), 1U);
    EXPECT_EQ(ahead.localBookmarks[0].name, "feature");
    EXPECT_EQ(ahead.localBookmarks[0].target, std::vector<std::string>{ahead.commitID});
    const auto remote = std::find_if(
        feature.remoteBookmarks.begin(), feature.remoteBookmarks.end(),
        [](const JJCommitRef& ref) { return ref.name == "feature" && ref.remote == "origin"; });
    ASSERT_NE(remote, feature.remoteBookmarks.end());
    EXPECT_EQ(remote->trackingTarget, std::optional(std::vector<std::string>{ahead.commitID}));
    EXPECT_EQ(feature.bookmarkLabels(), (std::vector<std::string>{"feature@origin", awkwardName}));
    EXPECT_EQ(base.bookmarkLabels(), std::vector<std::string>{"main"});
    // The awkward name comes back intact and finds its commit.
    const auto named = client.log(bookmarkSetRevset(awkwardName));
    ASSERT_EQ(named.size(), 1U);
    EXPECT_EQ(named[0].changeID, repo.id("F"));
    EXPECT_EQ(client.log(bookmarkTipRevset(awkwardName)).size(), 1U);

    // Only the working copy lists its changed files.
    const auto workingCopy = std::find_if(
        commits.begin(), commits.end(), [](const JJCommit& commit) { return commit.workingCopy; });
    ASSERT_NE(workingCopy, commits.end());
    ASSERT_EQ(workingCopy->changedFiles.size(), 1U);
    EXPECT_EQ(workingCopy->changedFiles[0].path, awkwardPath);
    EXPECT_EQ(workingCopy->changedFiles[0].status, "A");
    EXPECT_TRUE(ahead.changedFiles.empty());
    // jj prints the path relative to the current folder, which a client never sets.
    const auto listed =
        client.run({"diff", "--name-only", "-r", "@", rootFilesets({awkwardPath}).at(0)}, "test");
    EXPECT_TRUE(listed.stdout.ends_with("/repo/" + awkwardPath + "\n")) << listed.stdout;

    EXPECT_EQ(client.trunkCommitID(), base.commitID);
}

TEST(JJClientLog, ReadsAtAnEarlierOperationAndFindsMissingParents) {
    TestRepo repo;
    repo.draw(R"(
      A <- root "first" a=1
      B <- A "second" a=2
    )");
    const std::string before = repo.currentOperationID();
    repo.jj({"describe", "-r", repo.id("B"), "-m", "second, renamed"});

    const JJClient client(repo.root());
    EXPECT_EQ(client.log(repo.id("B")).at(0).summary(), "second, renamed");
    EXPECT_EQ(client.log(repo.id("B"), "log", before).at(0).summary(), "second");
    const auto revset = missingParentRevset(client.log(repo.id("B")));
    ASSERT_TRUE(revset.has_value());
    const auto parents = client.log(*revset);
    ASSERT_EQ(parents.size(), 1U);
    EXPECT_EQ(parents[0].changeID, repo.id("A"));
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
    repo.draw(R"(
      A <- root "base" a=1
      workspace second <- A
      workspace third <- A
    )");
    const auto second = (repo.scratch() / "second").string();
    const auto third = (repo.scratch() / "third").string();
    std::filesystem::remove_all(third);

    std::map<std::string, JJWorkspace> byName;
    for (const auto& workspace : JJClient(repo.root()).workspaces()) {
        byName.emplace(workspace.name, workspace);
    }
    ASSERT_EQ(byName.size(), 3U);
    EXPECT_EQ(byName["default"].root, std::optional<std::string>(repo.root()));
    EXPECT_EQ(byName["second"].root, std::optional<std::string>(second));
    EXPECT_EQ(byName["second"].commitID, repo.commitID("second@"));
    EXPECT_EQ(byName["third"].changeID, repo.changeID("third@"));
    // The deleted folder's root is either still recorded or absent, never garbage.
    EXPECT_EQ(byName["third"].root.value_or(third), third);
    // A secondary workspace lists the same workspaces.
    EXPECT_EQ(JJClient(second).workspaces().size(), 3U);
}

TEST(JJClientRun, ProcessesRunAtOnceAndOutputThatIsNotUtf8BreaksNothing) {
    TestRepo repo;
    const auto change = repo.commit("binary", {{"blob.bin", std::string("ok\xff\xfe\xc0", 5)}});
    const JJClient client(repo.root());
    const auto result = client.run(
        {"file", "show", "--ignore-working-copy", "-r", change, "root:\"blob.bin\""}, "test");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.stdout, "");

    std::vector<std::size_t> counts(4);
    {
        std::vector<std::jthread> threads;
        threads.reserve(counts.size());
        for (auto& count : counts) {
            threads.emplace_back([&] { count = client.log("all()").size(); });
        }
    }
    EXPECT_EQ(counts, std::vector<std::size_t>(4, 3U));  // root, "binary", working copy
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
