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

#include "jjkit/process/ProcessExecutor.h"
#include "support/TempDir.h"
#include "support/TestRepo.h"

namespace vorda {
namespace {

using testing::TempDir;
using testing::TestRepo;

ProcessResult cli(const std::vector<std::string>& arguments,
                  const std::optional<std::string>& workingDirectory = std::nullopt) {
    std::vector<std::string> command{VORDA_CLI_PATH};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return ProcessExecutor::execute(command, workingDirectory, "test", "vorda-cli");
}

// Lines of stdout after the line that contains `marker`.
std::string after(const std::string& text, const std::string& marker) {
    const auto found = text.find(marker);
    return found == std::string::npos ? std::string() : text.substr(found);
}

TEST(VordaCli, DemoThenSnapshotFromAFolderInsideTheRepository) {
    TempDir scratch;
    const auto demo = (scratch.path() / "demo").string();
    const auto made = cli({"demo", demo});
    ASSERT_EQ(made.exitCode, 0) << made.stderr;
    const auto repo = nlohmann::json::parse(made.stdout).at("repo").get<std::string>();
    EXPECT_EQ(repo, demo + "/repo");

    std::filesystem::create_directories(repo + "/deep/inside");
    const auto result = cli({"snapshot"}, repo + "/deep/inside");
    ASSERT_EQ(result.exitCode, 0) << result.stderr;
    const auto snapshot = nlohmann::json::parse(result.stdout);
    const auto& state = snapshot.at("repoState");
    for (const auto* name : {"main", "storage-sqlite", "sqlite-export", "render-colors"}) {
        EXPECT_TRUE(state.at("bookmarks").contains(name)) << name;
        EXPECT_TRUE(snapshot.at("lanesByBookmark").contains(name)) << name;
    }
    EXPECT_EQ(state.at("bookmarks").at("storage-sqlite").at("remoteSyncState"),
              nlohmann::json::parse(R"({"ahead":{"remote":"origin","commits":1}})"));
    EXPECT_EQ(state.at("bookmarks").at("sqlite-export").at("parentBookmarks"),
              nlohmann::json::array({"storage-sqlite"}));
    EXPECT_TRUE(state.at("workspaces").contains("integration"));
    EXPECT_TRUE(state.at("workspaces")
                    .at("integration")
                    .at("composition")
                    .at("kind")
                    .contains("materialized"));
    EXPECT_EQ(snapshot.at("trunkBookmarkName"), "main");
    EXPECT_FALSE(state.at("orphanWIPs").empty());

    // Asked again, the same repository gives the same document; only the
    // hunks' identities are minted anew by each read.
    auto again = nlohmann::json::parse(cli({"snapshot", "--repo", repo}).stdout);
    auto first = snapshot;
    again.erase("workingCopyDiff");
    first.erase("workingCopyDiff");
    EXPECT_TRUE(again == first);

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
    const auto log = after(pinned.stderr, "[vorda-cli] execute togglePinned");
    ASSERT_FALSE(log.empty()) << pinned.stderr;
    EXPECT_EQ(log.find("START"), std::string::npos) << log;
    const auto result = nlohmann::json::parse(pinned.stdout);
    EXPECT_EQ(result.at("refreshed").at("_0").at("lanesByBookmark").at("feature").at("isPinned"),
              true);

    // A command jj refuses: the error, exit 1, nothing changed.
    const auto failed = cli(
        {"exec", "--repo", repo.root(), R"({"renameBookmark":{"old":"no such","new":"other"}})"});
    EXPECT_EQ(failed.exitCode, 1);
    const auto error = nlohmann::json::parse(failed.stdout);
    EXPECT_NE(error.at("error").at("message").get<std::string>().find("No such bookmark"),
              std::string::npos)
        << failed.stdout;

    // A command that changes the repository, checked with jj.
    const auto renamed =
        cli({"exec", "--repo", repo.root(),
             R"({"renameBookmark":{"old":"feature","new":"f\u00e9ature \"2\""}})"});
    EXPECT_EQ(renamed.exitCode, 0) << renamed.stderr;
    const std::string renamedSet = std::string("bookmarks(exact:'f\xC3\xA9") + "ature \"2\"')";
    EXPECT_EQ(repo.jj({"log", "--no-graph", "-r", renamedSet, "-T", "description"}), "one\n");

    // Input that is not a command: exit 2 and a message saying what is wrong.
    const auto notJSON = cli({"exec", "--repo", repo.root(), "{not json"});
    EXPECT_EQ(notJSON.exitCode, 2);
    EXPECT_FALSE(notJSON.stderr.empty());
    EXPECT_TRUE(notJSON.stdout.empty());
    const auto unknown = cli({"exec", "--repo", repo.root(), R"({"frobnicate":{}})"});
    EXPECT_EQ(unknown.exitCode, 2);
    EXPECT_NE(unknown.stderr.find("frobnicate"), std::string::npos) << unknown.stderr;
    const auto wrongType =
        cli({"exec", "--repo", repo.root(), R"({"togglePinned":{"bookmark":42}})"});
    EXPECT_EQ(wrongType.exitCode, 2);
    EXPECT_NE(wrongType.stderr.find("bookmark"), std::string::npos) << wrongType.stderr;
    // A NUL behind a valid command on standard input: refused, nothing undone.
    const auto operation = repo.currentOperationID();
    const auto nul = ProcessExecutor::execute(
        {"/bin/sh", "-c", "printf '{\"undo\":{}}\\000junk' | \"$0\" exec --repo \"$1\"",
         VORDA_CLI_PATH, repo.root()},
        std::nullopt, "test", "vorda-cli");
    EXPECT_EQ(nul.exitCode, 2) << nul.stdout;
    EXPECT_NE(nul.stderr.find("NUL byte"), std::string::npos) << nul.stderr;
    EXPECT_EQ(repo.currentOperationID(), operation);
    const auto emptyRepo = cli({"snapshot", "--repo="});
    EXPECT_EQ(emptyRepo.exitCode, 2);
    EXPECT_NE(emptyRepo.stderr.find("--repo needs a path"), std::string::npos) << emptyRepo.stderr;

    const auto ops = cli({"query", "--repo", repo.root(), "loadRecentOps", R"({"limit":2})"});
    ASSERT_EQ(ops.exitCode, 0) << ops.stderr;
    EXPECT_EQ(nlohmann::json::parse(ops.stdout).size(), 2U);
    const auto missing = cli({"query", "--repo", repo.root(), "bookmarkNames", "{}"});
    EXPECT_EQ(missing.exitCode, 2);
    EXPECT_NE(missing.stderr.find("matchingRevset"), std::string::npos) << missing.stderr;

    const auto help = cli({"exec", "--help"});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_NE(help.stdout.find("example"), std::string::npos);
}

// A running `vorda-cli watch`, stopped when the test ends.
class Watcher {
  public:
    explicit Watcher(const std::string& root) {
        int pipeEnds[2];
        if (pipe(pipeEnds) != 0) {
            throw std::runtime_error("pipe failed");
        }
        pid_ = fork();
        if (pid_ == 0) {
            dup2(pipeEnds[1], STDOUT_FILENO);
            const int devNull = open("/dev/null", O_WRONLY);
            dup2(devNull, STDERR_FILENO);
            close(pipeEnds[0]);
            execl(VORDA_CLI_PATH, VORDA_CLI_PATH, "watch", "--repo", root.c_str(), nullptr);
            _exit(127);
        }
        close(pipeEnds[1]);
        output_ = pipeEnds[0];
    }
    ~Watcher() {
        kill(pid_, SIGTERM);
        waitpid(pid_, nullptr, 0);
        close(output_);
    }
    Watcher(const Watcher&) = delete;
    Watcher& operator=(const Watcher&) = delete;

    /// The next line, or empty after a minute without one.
    std::string nextLine() {
        while (true) {
            const auto newline = buffer_.find('\n');
            if (newline != std::string::npos) {
                auto line = buffer_.substr(0, newline);
                buffer_.erase(0, newline + 1);
                return line;
            }
            pollfd ready{output_, POLLIN, 0};
            if (poll(&ready, 1, 60'000) <= 0) {
                return {};
            }
            char chunk[65536];
            const auto count = read(output_, chunk, sizeof chunk);
            if (count <= 0) {
                return {};
            }
            buffer_.append(chunk, static_cast<std::size_t>(count));
        }
    }

  private:
    pid_t pid_ = -1;
    int output_ = -1;
    std::string buffer_;
};

TEST(VordaCli, APlanPrintedByOneCallIsExecutedByTheNextAndItsReceiptListed) {
    TempDir scratch;
    const auto made = cli({"demo", (scratch.path() / "demo").string()});
    ASSERT_EQ(made.exitCode, 0) << made.stderr;
    const auto repo = nlohmann::json::parse(made.stdout).at("repo").get<std::string>();
    const auto jj = [&](const std::vector<std::string>& arguments) {
        std::vector<std::string> command{"jj", "--no-pager", "--color=never",
                                         "-R", repo,         "--ignore-working-copy"};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return testing::runChecked(command);
    };
    const auto rootOfStack = "roots(::bookmarks(exact:\"storage-sqlite\") ~ ::trunk())";
    const auto trunk = jj({"log", "--no-graph", "-r", "trunk()", "-T", "commit_id"});
    ASSERT_NE(jj({"log", "--no-graph", "-r", rootOfStack, "-T", "parents.map(|p| p.commit_id())"}),
              trunk);

    const auto planned =
        cli({"exec", "--repo", repo,
             R"({"planLocalStackUpdate":{"bookmarks":["storage-sqlite"],"oneOffChangeIDs":[]}})"});
    ASSERT_EQ(planned.exitCode, 0) << planned.stdout << planned.stderr;
    const auto plan = nlohmann::json::parse(planned.stdout).at("localStackUpdatePlan").at("_0");
    EXPECT_EQ(plan.at("bookmarkNames"), nlohmann::json::array({"storage-sqlite"}));
    EXPECT_EQ(plan.at("destination").at("commit_id"), trunk);
    // The stack carries its descendants along: the export stacked on it and
    // both working copies above them.
    EXPECT_EQ(plan.at("affectedWorkspaces").size(), 2U);

    // Two further processes take the printed plan back unchanged, at once:
    // one runs it, the other waits its turn and then finds it expired.
    const auto command = nlohmann::json{{"executeLocalStackUpdate", {{"plan", plan}}}}.dump();
    const auto rebases = [&] {
        const auto log = jj({"op", "log", "--no-graph", "-T", "description ++ \"\\n\""});
        std::size_t count = 0;
        for (std::size_t at = log.find("rebase"); at != std::string::npos;
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
    const auto receipt =
        nlohmann::json::parse(executed.stdout).at("localStackUpdateCompleted").at("_0");
    EXPECT_FALSE(receipt.contains("commandError")) << receipt;
    EXPECT_EQ(receipt.at("verificationWarnings"), nlohmann::json::array()) << receipt;
    EXPECT_EQ(jj({"log", "--no-graph", "-r", rootOfStack, "-T", "parents.map(|p| p.commit_id())"}),
              trunk);

    const auto listed = cli({"query", "--repo", repo, "loadUpdateReceipts"});
    ASSERT_EQ(listed.exitCode, 0) << listed.stdout << listed.stderr;
    const auto receipts = nlohmann::json::parse(listed.stdout);
    ASSERT_EQ(receipts.at("records").size(), 1U);
    EXPECT_EQ(receipts.at("records").at(0).at("receipt"), receipt);
    EXPECT_EQ(receipts.at("records").at(0).at("plan"), plan);
    EXPECT_EQ(receipts.at("warnings"), nlohmann::json::array());
    EXPECT_EQ(receipts.at("guidance"),
              nlohmann::json::array({"The observed operation matches the verified result. Inspect "
                                     "any reported conflicts; no automatic recovery is needed."}));

    // The plan's second run found it stale: refused, nothing recorded.
    EXPECT_EQ(again.exitCode, 1);
    EXPECT_EQ(nlohmann::json::parse(again.stdout).at("error").at("message"),
              "Preview expired because the repository or working copy changed. Generate a fresh "
              "preview.");
}

TEST(VordaCli, WatchPrintsASnapshotAfterAChangeFromTheCommandLine) {
    TestRepo repo;
    repo.commit("first", {{"a", "1"}});
    Watcher watch(repo.root());
    const auto initial = nlohmann::json::parse(watch.nextLine());
    EXPECT_FALSE(initial.at("repoState").at("bookmarks").contains("from-cli"));

    repo.jj({"bookmark", "create", "from-cli", "-r", "@-"});
    // Every later line is a whole snapshot; one of them shows the bookmark.
    bool seen = false;
    while (!seen) {
        const auto line = watch.nextLine();
        ASSERT_FALSE(line.empty()) << "no snapshot after the change";
        seen = nlohmann::json::parse(line).at("repoState").at("bookmarks").contains("from-cli");
    }
    EXPECT_TRUE(seen);
}

}  // namespace
}  // namespace vorda

namespace vorda {
namespace {

TEST(VordaCli, AnAppendIsPlannedExecutedAndInspectedWithItsGuidance) {
    TestRepo repo;
    const auto base = repo.publishMain();
    repo.bookmark("feat", repo.commit("feature one", {{"feature.txt", "one\n"}}));
    repo.newChange({base});
    repo.bookmark("other", repo.commit("other one", {{"other.txt", "other\n"}}));
    repo.newChange({"feat", "other"}, "wip: integration");
    repo.jj({"new"});
    const auto work = repo.commit("finished work", {{"work.txt", "work\n"}});
    const auto run = [&](const std::vector<std::string>& arguments) {
        std::vector<std::string> command = arguments;
        command.insert(command.begin() + 1, {"--repo", repo.root()});
        const auto result = cli(command);
        EXPECT_EQ(result.exitCode, 0) << result.stdout << result.stderr;
        return nlohmann::json::parse(result.stdout);
    };
    const auto plan =
        run({"exec",
             nlohmann::json{{"planFeatureAppend", {{"changeIDs", {work}}, {"bookmark", "feat"}}}}
                 .dump()})
            .at("featureAppendPlan")
            .at("_0");
    run({"exec", nlohmann::json{{"executeFeatureAppend", {{"plan", plan}}}}.dump()});
    const auto record = run({"query", "loadAppendReceipts"}).at("records").at(0);
    const auto inspection =
        run({"query", "inspectFeatureAppend", nlohmann::json{{"record", record}}.dump()});
    EXPECT_EQ(inspection.at("guidance"),
              "The planned parent topology and advanced bookmark are present. This does not "
              "prove command provenance or unchanged file contents; no automatic recovery is "
              "needed.");
}

}  // namespace
}  // namespace vorda
