// The built vorda-cli binary, run as a user or a script runs it, on real
// repositories.

#include <csignal>
#include <filesystem>
#include <future>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include "cli/DemoCopy.h"
#include "jjkit/process/ProcessExecutor.h"
#include "support/TempDir.h"
#include "support/TestRepo.h"

namespace vorda {
namespace {

using nlohmann::json;
using testing::TempDir;
using testing::TestRepo;

ProcessResult cli(const std::vector<std::string>& arguments,
                  const std::optional<std::string>& workingDirectory = std::nullopt) {
    std::vector<std::string> command{VORDA_CLI_PATH};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return ProcessExecutor::execute(command, workingDirectory, "test", "vorda-cli");
}

// What a run that must succeed prints.
json succeeded(const std::vector<std::string>& arguments) {
    const auto result = cli(arguments);
    EXPECT_EQ(result.exitCode, 0) << result.stdout << result.stderr;
    return json::parse(result.stdout);
}

TEST(VordaCli, DemoThenSnapshotFromAFolderInsideTheRepository) {
    TempDir scratch;
    const auto demo = (scratch.path() / "demo").string();
    const auto repo = succeeded({"demo", demo}).at("repo").get<std::string>();
    EXPECT_EQ(repo, demo + "/repo");

    std::filesystem::create_directories(repo + "/deep/inside");
    const auto result = cli({"snapshot"}, repo + "/deep/inside");
    ASSERT_EQ(result.exitCode, 0) << result.stderr;
    auto snapshot = json::parse(result.stdout);
    const auto& state = snapshot.at("repoState");
    for (const auto* name : {"main", "storage-sqlite", "sqlite-export", "render-colors"}) {
        EXPECT_TRUE(state.at("bookmarks").contains(name)) << name;
        EXPECT_TRUE(snapshot.at("lanesByBookmark").contains(name)) << name;
    }
    EXPECT_EQ(state.at("bookmarks").at("storage-sqlite").at("remoteSyncState"),
              json::parse(R"({"ahead":{"remote":"origin","commits":1}})"));
    EXPECT_TRUE(state.at("workspaces")
                    .at("integration")
                    .at("composition")
                    .at("kind")
                    .contains("materialized"));
    EXPECT_EQ(snapshot.at("trunkBookmarkName"), "main");

    // Asked again, the same repository gives the same document; only the
    // hunks' identities are minted anew by each read.
    auto again = succeeded({"snapshot", "--repo", repo});
    again.erase("workingCopyDiff");
    snapshot.erase("workingCopyDiff");
    EXPECT_TRUE(again == snapshot);

    const auto refused = cli({"demo", demo});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_NE(refused.stderr.find(demo), std::string::npos) << refused.stderr;
}

TEST(VordaCli, ExecRunsCommandsAndTellsFailuresFromBadInput) {
    TestRepo repo;
    repo.bookmark("feature", repo.commit("one", {{"a", "1"}}));

    // A settings-only command starts no jj once the session has its state.
    const auto pinned =
        cli({"exec", "--repo", repo.root(), R"({"togglePinned":{"bookmark":"feature"}})"});
    ASSERT_EQ(pinned.exitCode, 0) << pinned.stderr;
    const auto marker = pinned.stderr.find("[vorda-cli] execute togglePinned");
    ASSERT_NE(marker, std::string::npos) << pinned.stderr;
    EXPECT_EQ(pinned.stderr.find("START", marker), std::string::npos) << pinned.stderr;
    EXPECT_EQ(json::parse(pinned.stdout)
                  .at("refreshed")
                  .at("_0")
                  .at("lanesByBookmark")
                  .at("feature")
                  .at("isPinned"),
              true);

    // A command jj refuses: the error, exit 1, nothing changed.
    const auto failed = cli(
        {"exec", "--repo", repo.root(), R"({"renameBookmark":{"old":"no such","new":"other"}})"});
    EXPECT_EQ(failed.exitCode, 1);
    EXPECT_NE(json::parse(failed.stdout)
                  .at("error")
                  .at("message")
                  .get<std::string>()
                  .find("No such bookmark"),
              std::string::npos)
        << failed.stdout;

    // A command that changes the repository, checked with jj.
    succeeded({"exec", "--repo", repo.root(),
               R"({"renameBookmark":{"old":"feature","new":"f\u00e9ature \"2\""}})"});
    const std::string renamedSet = std::string("bookmarks(exact:'f\xC3\xA9") + "ature \"2\"')";
    EXPECT_EQ(repo.jj({"log", "--no-graph", "-r", renamedSet, "-T", "description"}), "one\n");

    // Input that is not a command: exit 2, nothing printed, a message naming
    // what is wrong.
    const std::pair<std::vector<std::string>, std::string> refusals[] = {
        {{"exec", "--repo", repo.root(), "{not json"}, "JSON"},
        {{"exec", "--repo", repo.root(), R"({"frobnicate":{}})"}, "frobnicate"},
        {{"exec", "--repo", repo.root(), R"({"togglePinned":{"bookmark":42}})"}, "bookmark"},
        {{"query", "--repo", repo.root(), "bookmarkNames", "{}"}, "matchingRevset"},
        {{"snapshot", "--repo="}, "--repo needs a path"},
    };
    for (const auto& [arguments, reason] : refusals) {
        const auto refused = cli(arguments);
        EXPECT_EQ(refused.exitCode, 2) << reason;
        EXPECT_TRUE(refused.stdout.empty()) << refused.stdout;
        EXPECT_NE(refused.stderr.find(reason), std::string::npos) << refused.stderr;
    }
    // A NUL behind a valid command on standard input: refused, nothing undone.
    const auto operation = repo.currentOperationID();
    const auto nul = ProcessExecutor::execute(
        {"/bin/sh", "-c", "printf '{\"undo\":{}}\\000junk' | \"$0\" exec --repo \"$1\"",
         VORDA_CLI_PATH, repo.root()},
        std::nullopt, "test", "vorda-cli");
    EXPECT_EQ(nul.exitCode, 2) << nul.stdout;
    EXPECT_NE(nul.stderr.find("NUL byte"), std::string::npos) << nul.stderr;
    EXPECT_EQ(repo.currentOperationID(), operation);

    EXPECT_EQ(succeeded({"query", "--repo", repo.root(), "loadRecentOps", R"({"limit":2})"}).size(),
              2U);
    const auto help = cli({"exec", "--help"});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_NE(help.stdout.find("example"), std::string::npos);
}

TEST(VordaCli, APlanPrintedByOneCallIsExecutedByTheNextAndItsReceiptListed) {
    TempDir scratch;
    const auto repo = testing::copyDemo(scratch.path() / "demo");
    const auto jj = [&](const std::vector<std::string>& arguments) {
        std::vector<std::string> command{"jj", "--no-pager", "-R", repo, "--ignore-working-copy"};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return testing::runChecked(command);
    };
    const auto stackBase = [&] {
        return jj({"log", "--no-graph", "-r",
                   "roots(::bookmarks(exact:\"storage-sqlite\") ~ ::trunk())", "-T",
                   "parents.map(|p| p.commit_id())"});
    };
    const auto trunk = jj({"log", "--no-graph", "-r", "trunk()", "-T", "commit_id"});
    ASSERT_NE(stackBase(), trunk);

    const auto plan = succeeded({"exec", "--repo", repo,
                                 R"({"planLocalStackUpdate":{"bookmarks":["storage-sqlite"],)"
                                 R"("oneOffChangeIDs":[]}})"})
                          .at("localStackUpdatePlan")
                          .at("_0");
    EXPECT_EQ(plan.at("bookmarkNames"), json::array({"storage-sqlite"}));
    EXPECT_EQ(plan.at("destination").at("commit_id"), trunk);
    // The stack carries its descendants along: the export stacked on it and
    // both working copies above them.
    EXPECT_EQ(plan.at("affectedWorkspaces").size(), 2U);

    // Two further processes take the printed plan back unchanged, at once:
    // one runs it, the other waits its turn and then finds it expired.
    const auto command = json{{"executeLocalStackUpdate", {{"plan", plan}}}}.dump();
    const auto rebases = [&] {
        const auto log = jj({"op", "log", "--no-graph", "-T", "description ++ \"\\n\""});
        std::size_t count = 0;
        for (auto at = log.find("rebase"); at != std::string::npos;
             at = log.find("rebase", at + 1)) {
            ++count;
        }
        return count;
    };
    const auto rebasesBefore = rebases();
    auto concurrent = std::async(std::launch::async, [&] {
        return cli({"exec", "--repo", repo, command});
    });
    auto executed = cli({"exec", "--repo", repo, command});
    auto again = concurrent.get();
    if (executed.exitCode != 0) {
        std::swap(executed, again);
    }
    ASSERT_EQ(executed.exitCode, 0) << executed.stdout << executed.stderr;
    EXPECT_EQ(rebases(), rebasesBefore + 1);
    const auto receipt = json::parse(executed.stdout).at("localStackUpdateCompleted").at("_0");
    EXPECT_FALSE(receipt.contains("commandError")) << receipt;
    EXPECT_EQ(receipt.at("verificationWarnings"), json::array()) << receipt;
    EXPECT_EQ(stackBase(), trunk);

    const auto receipts = succeeded({"query", "--repo", repo, "loadUpdateReceipts"});
    ASSERT_EQ(receipts.at("records").size(), 1U);
    EXPECT_EQ(receipts.at("records").at(0).at("receipt"), receipt);
    EXPECT_EQ(receipts.at("records").at(0).at("plan"), plan);
    EXPECT_EQ(receipts.at("warnings"), json::array());
    EXPECT_EQ(receipts.at("guidance"),
              json::array({"The observed operation matches the verified result. Inspect any "
                           "reported conflicts; no automatic recovery is needed."}));

    // The plan's second run found it stale: refused, nothing recorded.
    EXPECT_EQ(again.exitCode, 1);
    EXPECT_EQ(json::parse(again.stdout).at("error").at("message"),
              "Preview expired because the repository or working copy changed. Generate a fresh "
              "preview.");
}

TEST(VordaCli, AnAppendIsPlannedExecutedAndInspectedWithItsGuidance) {
    TestRepo repo;
    repo.draw(R"(
      origin
      T <- root "trunk" README=hello [main]
      push main
      F <- T "feature one" feature.txt=one [feat]
      O <- T "other one" other.txt=other [other]
      W <- F O "wip: integration"
      X <- W "finished work" work.txt=work
    )");
    const auto& work = repo.id("X");
    const auto run = [&](std::vector<std::string> arguments) {
        arguments.insert(arguments.begin() + 1, {"--repo", repo.root()});
        return succeeded(arguments);
    };
    const auto plan =
        run({"exec",
             json{{"planFeatureAppend", {{"changeIDs", {work}}, {"bookmark", "feat"}}}}.dump()})
            .at("featureAppendPlan")
            .at("_0");
    run({"exec", json{{"executeFeatureAppend", {{"plan", plan}}}}.dump()});
    const auto record = run({"query", "loadAppendReceipts"}).at("records").at(0);
    EXPECT_EQ(
        run({"query", "inspectFeatureAppend", json{{"record", record}}.dump()}).at("guidance"),
        "The planned parent topology and advanced bookmark are present. This does not "
        "prove command provenance or unchanged file contents; no automatic recovery is "
        "needed.");
}

TEST(VordaCli, WatchPrintsASnapshotAfterAChangeFromTheCommandLine) {
    TestRepo repo;
    repo.commit("first", {{"a", "1"}});
    int pipeEnds[2];
    ASSERT_EQ(pipe(pipeEnds), 0);
    const pid_t watcher = fork();
    if (watcher == 0) {
        dup2(pipeEnds[1], STDOUT_FILENO);
        dup2(open("/dev/null", O_WRONLY), STDERR_FILENO);
        close(pipeEnds[0]);
        execl(VORDA_CLI_PATH, VORDA_CLI_PATH, "watch", "--repo", repo.root().c_str(), nullptr);
        _exit(127);
    }
    close(pipeEnds[1]);
    // Stopped however the test ends.
    const struct Stop {
        pid_t pid;
        int output;
        ~Stop() {
            kill(pid, SIGTERM);
            waitpid(pid, nullptr, 0);
            close(output);
        }
    } stop{watcher, pipeEnds[0]};
    std::string buffer;
    // The next whole line, or empty after a minute without one.
    const auto nextLine = [&]() -> std::string {
        while (buffer.find('\n') == std::string::npos) {
            pollfd ready{stop.output, POLLIN, 0};
            char chunk[65536];
            const auto count =
                poll(&ready, 1, 60'000) > 0 ? read(stop.output, chunk, sizeof chunk) : 0;
            if (count <= 0) {
                return {};
            }
            buffer.append(chunk, static_cast<std::size_t>(count));
        }
        auto line = buffer.substr(0, buffer.find('\n'));
        buffer.erase(0, line.size() + 1);
        return line;
    };
    const auto showsBookmark = [](const std::string& line) {
        return json::parse(line).at("repoState").at("bookmarks").contains("from-cli");
    };
    EXPECT_FALSE(showsBookmark(nextLine()));

    repo.jj({"bookmark", "create", "from-cli", "-r", "@-"});
    // Every later line is a whole snapshot; one of them shows the bookmark.
    bool seen = false;
    while (!seen) {
        const auto line = nextLine();
        ASSERT_FALSE(line.empty()) << "no snapshot after the change";
        seen = showsBookmark(line);
    }
}

}  // namespace
}  // namespace vorda
