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
using Texts = std::vector<std::string>;

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
    EXPECT_EQ(expectJJError<JJError::IncompatibleVersion>([&] { client.version(); }).found,
              "0.38.9");
    path.prependPath(toolFolder("garbled-jj"));
    const auto garbled = expectJJError<JJError::ParseError>([&] { client.version(); });
    EXPECT_EQ((Texts{garbled.context, garbled.underlying}),
              (Texts{"version", "cannot parse: jj\n"}));
    path.prependPath(toolFolder("failing-jj"));
    const LogCapture log;
    const auto failed = expectJJError<JJError::CommandFailed>([&] { client.version(); });
    EXPECT_EQ((std::tuple{failed.command, failed.exitCode, failed.stderr}),
              (std::tuple{Texts{"version"}, 2, std::string("boom\n")}));
    EXPECT_TRUE(log.contains("[jj:error] version exit=2\nboom\n\n")) << log.text();
}

TEST(JJClientLog, DecodesRemoteBookmarksAwkwardNamesEarlierOperationsAndMissingParents) {
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
    const auto one = [&](const std::string& revset) {
        const auto commits = client.log(revset);
        EXPECT_EQ(commits.size(), 1U) << revset;
        return commits.empty() ? JJCommit{} : commits.front();
    };
    const auto base = one(repo.id("T"));
    const auto feature = one(repo.id("F"));
    const auto ahead = one(repo.id("A"));
    EXPECT_EQ((std::tuple{feature.description, feature.summary(), feature.parents,
                          feature.author.name, feature.author.date().has_value()}),
              (std::tuple{std::string("Feature \"quoted\" \\ back\nsecond line ä\n"),
                          std::string("Feature \"quoted\" \\ back"), Texts{base.commitID},
                          std::string("Vorda Test"), true}));
    // main@origin is trunk, hence immutable.
    EXPECT_EQ((std::vector<bool>{base.immutable, feature.immutable, ahead.immutable}),
              (std::vector<bool>{true, false, false}));
    EXPECT_EQ(client.trunkCommitID(), base.commitID);

    // feature moved on locally; its remote stays on the pushed commit.
    EXPECT_EQ(
        ahead.localBookmarks,
        (std::vector<JJCommitRef>{{"feature", std::nullopt, {ahead.commitID}, std::nullopt}}));
    EXPECT_EQ(
        std::count(feature.remoteBookmarks.begin(), feature.remoteBookmarks.end(),
                   JJCommitRef{"feature", "origin", {feature.commitID}, Texts{ahead.commitID}}),
        1);
    EXPECT_EQ(feature.bookmarkLabels(), (Texts{"feature@origin", awkwardName}));
    EXPECT_EQ(base.bookmarkLabels(), Texts{"main"});
    // The awkward name comes back intact and finds its commit.
    EXPECT_EQ(one(bookmarkSetRevset(awkwardName)).changeID, repo.id("F"));
    EXPECT_EQ(one(bookmarkTipRevset(awkwardName)).changeID, repo.id("F"));

    // Only the working copy lists its changed files.
    EXPECT_EQ(one("@").changedFiles,
              (std::vector<ChangedFile>{{awkwardPath, "A", std::nullopt, std::nullopt}}));
    EXPECT_TRUE(ahead.changedFiles.empty());
    EXPECT_EQ(client.log("all()").size(), 5U);  // root, T, F, A and the working copy
    // jj prints the path relative to the current folder, which a client never sets.
    const auto listed =
        client.run({"diff", "--name-only", "-r", "@", rootFilesets({awkwardPath}).at(0)}, "test");
    EXPECT_TRUE(listed.stdout.ends_with("/repo/" + awkwardPath + "\n")) << listed.stdout;

    // Reads at an earlier operation; the parents a narrow read misses.
    const std::string before = repo.currentOperationID();
    repo.jj({"describe", "-r", repo.id("A"), "-m", "local only, renamed"});
    EXPECT_EQ(one(repo.id("A")).summary(), "local only, renamed");
    EXPECT_EQ(client.log(repo.id("A"), "log", before).at(0).summary(), "local only");
    const auto revset = missingParentRevset(client.log(repo.id("A")));
    EXPECT_EQ(one(revset.value_or("none()")).changeID, repo.id("F"));
}

TEST(JJClientWorkspaces, ListsEveryWorkspaceEvenWithItsFolderDeletedAndNoTrunkIsTheRoot) {
    TestRepo repo;
    repo.draw(R"(
      A <- root "base" a=1
      workspace second <- A
      workspace third <- A
    )");
    const auto second = (repo.scratch() / "second").string();
    const auto third = (repo.scratch() / "third").string();
    std::filesystem::remove_all(third);
    // With no repository trunk, trunk() is the root commit.
    EXPECT_EQ(JJClient(repo.root()).trunkCommitID(), std::string(40, '0'));

    std::map<std::string, JJWorkspace> expected;
    for (const auto& [name, root] : std::map<std::string, std::string>{
             {"default", repo.root()}, {"second", second}, {"third", third}}) {
        expected[name] = {name, root, repo.commitID(name + "@"), repo.changeID(name + "@")};
    }
    // A secondary workspace lists the same workspaces.
    for (const auto& from : {repo.root(), second}) {
        std::map<std::string, JJWorkspace> byName;
        for (auto workspace : JJClient(from).workspaces()) {
            // The deleted folder's root is either still recorded or absent, never garbage.
            workspace.root = workspace.root.value_or(third);
            byName.emplace(workspace.name, workspace);
        }
        EXPECT_EQ(byName, expected) << from;
    }
}

TEST(JJClientRun, ConcurrentRunsBinaryOutputFailuresAndSnapshots) {
    TestRepo repo;
    const auto change = repo.commit("binary", {{"blob.bin", std::string("ok\xff\xfe\xc0", 5)}});
    const JJClient client(repo.root());
    const auto result = client.run(
        {"file", "show", "--ignore-working-copy", "-r", change, "root:\"blob.bin\""}, "test");
    EXPECT_EQ((std::tuple{result.exitCode, result.stdout}), (std::tuple{0, std::string()}));
    std::vector<std::size_t> counts(4);
    {
        std::vector<std::jthread> threads;
        threads.reserve(counts.size());
        for (auto& count : counts) {
            threads.emplace_back([&] { count = client.log("all()").size(); });
        }
    }
    EXPECT_EQ(counts, std::vector<std::size_t>(4, 3U));  // root, "binary", working copy

    const LogCapture log;
    const auto failed = expectJJError<JJError::CommandFailed>([&] {
        client.run({"log", "-r", "no_such_bookmark_xyz"}, "test");
    });
    EXPECT_EQ(failed.exitCode, 1);
    const std::string text = JJError(failed).errorDescription();
    EXPECT_EQ(text.rfind("jj log -r no_such_bookmark_xyz failed (1): Error: ", 0), 0U) << text;
    for (const char* hidden : {"--no-pager", "--color=never", "-R", repo.root().c_str()}) {
        EXPECT_EQ(text.find(hidden), std::string::npos) << hidden;
    }
    EXPECT_TRUE(log.contains("[jj:error] log -r no_such_bookmark_xyz exit=1\nError: "));
    // The START/END lines carry the folder name and the reason, nothing else.
    EXPECT_TRUE(log.contains("[jj-exec] START repo | test\n")) << log.text();
    // An allowed non-zero status is a plain result.
    EXPECT_EQ(client.run({"log", "-r", "no_such_bookmark_xyz"}, "test", true, {0, 1}).exitCode, 1);

    // A snapshot makes edits visible, and falls back when jj rejects the subcommand.
    repo.writeFile("new.txt", "fresh\n");
    EXPECT_TRUE(client.log("@").at(0).changedFiles.empty());
    client.snapshotWorkingCopy("test/snapshot");
    EXPECT_EQ(client.log("@").at(0).changedFiles,
              (std::vector<ChangedFile>{{"new.txt", "A", std::nullopt, std::nullopt}}));

    const testing::TempDir scratch;
    const std::string calls = (scratch.path() / "calls").string();
    const ScopedEnvironment callLog("VORDA_FAKE_JJ_LOG");
    callLog.set(calls);
    const ScopedEnvironment path("PATH");
    path.prependPath(toolFolder("snapshot-fallback-jj"));
    client.snapshotWorkingCopy("test/snapshot");
    std::stringstream recorded;
    recorded << std::ifstream(calls).rdbuf();
    const std::string prefix = "--no-pager --color=never -R " + repo.root();
    EXPECT_EQ(recorded.str(), prefix + " debug snapshot\n" + prefix + " util snapshot\n");
}

}  // namespace
}  // namespace vorda
