// The built vorda-cli binary, run as a user or a script runs it, on real
// repositories.

#include <filesystem>
#include <fstream>
#include <future>
#include <iterator>
#include <regex>
#include <string>
#include <tuple>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "jjkit/process/ProcessExecutor.h"
#include "support/TempDir.h"
#include "support/TestRepo.h"
#include "support/TestTools.h"

namespace vorda {
namespace {

using nlohmann::json;
using testing::TempDir;
using testing::TestRepo;

// Runs vorda-cli; with `repo`, on that repository ("--repo REPO" after the
// first argument).
ProcessResult cli(std::vector<std::string> arguments, const std::string& repo = {},
                  const std::optional<std::string>& workingDirectory = std::nullopt) {
    if (!repo.empty()) {
        arguments.insert(arguments.begin() + 1, {"--repo", repo});
    }
    arguments.insert(arguments.begin(), VORDA_CLI_PATH);
    return ProcessExecutor::execute(arguments, workingDirectory, "test", "vorda-cli");
}

// What a run that must succeed prints.
json succeeded(const std::vector<std::string>& arguments, const std::string& repo = {}) {
    const auto result = cli(arguments, repo);
    EXPECT_EQ(result.exitCode, 0) << result.stdout << result.stderr;
    return json::parse(result.stdout);
}

TEST(VordaCli, DemoSnapshotAndAStackUpdatePlannedByOneCallAndExecutedByTwoAtOnce) {
    TempDir scratch;
    const auto demo = (scratch.path() / "demo").string();
    const auto repo = succeeded({"demo", demo}).at("repo").get<std::string>();
    EXPECT_EQ(repo, demo + "/repo");

    std::filesystem::create_directories(repo + "/deep/inside");
    const auto result = cli({"snapshot"}, {}, repo + "/deep/inside");
    ASSERT_EQ(result.exitCode, 0) << result.stderr;
    auto snapshot = json::parse(result.stdout);
    const auto& state = snapshot.at("repoState");
    for (const auto* name : {"main", "storage-sqlite", "sqlite-export", "render-colors"}) {
        EXPECT_TRUE(state.at("bookmarks").contains(name)) << name;
        EXPECT_TRUE(snapshot.at("lanesByBookmark").contains(name)) << name;
    }
    EXPECT_EQ(state.at("bookmarks").at("storage-sqlite").at("remoteSyncState"),
              json::parse(R"({"ahead":{"remote":"origin","commits":1}})"));
    EXPECT_TRUE(
        state.at("/workspaces/integration/composition/kind"_json_pointer).contains("materialized"));
    EXPECT_EQ(snapshot.at("trunkBookmarkName"), "main");
    // The configured identity owns the demo's own work.
    const auto tip = state.at("/bookmarks/storage-sqlite/commitIDs/0"_json_pointer);
    EXPECT_EQ(state.at("commits").at(tip.get<std::string>()).at("/author/email"_json_pointer),
              "test@vorda.invalid");

    // Asked again, the same repository gives the same document; only the
    // hunks' identities are minted anew by each read.
    auto again = succeeded({"snapshot"}, repo);
    again.erase("workingCopyDiff");
    snapshot.erase("workingCopyDiff");
    EXPECT_TRUE(again == snapshot);

    const auto refused = cli({"demo", demo});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_NE(refused.stderr.find(demo), std::string::npos) << refused.stderr;

    // A plan printed by one call is executed by the next and its receipt listed.
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

    const auto plan =
        succeeded({"exec", R"({"planLocalStackUpdate":{"bookmarks":["storage-sqlite"],)"
                           R"("oneOffChangeIDs":[]}})"},
                  repo)
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
        static const std::regex rebase("rebase");
        const auto log = jj({"op", "log", "--no-graph", "-T", "description ++ \"\\n\""});
        return std::distance(std::sregex_iterator(log.begin(), log.end(), rebase), {});
    };
    const auto rebasesBefore = rebases();
    auto concurrent = std::async(std::launch::async, [&] { return cli({"exec", command}, repo); });
    auto executed = cli({"exec", command}, repo);
    auto late = concurrent.get();
    if (executed.exitCode != 0) {
        std::swap(executed, late);
    }
    ASSERT_EQ(executed.exitCode, 0) << executed.stdout << executed.stderr;
    EXPECT_EQ(rebases(), rebasesBefore + 1);
    const auto receipt = json::parse(executed.stdout).at("localStackUpdateCompleted").at("_0");
    EXPECT_FALSE(receipt.contains("commandError")) << receipt;
    EXPECT_EQ(receipt.at("verificationWarnings"), json::array()) << receipt;
    EXPECT_EQ(stackBase(), trunk);

    // The one record, but for its identity and time.
    auto receipts = succeeded({"query", "loadUpdateReceipts"}, repo);
    receipts.at("/records/0"_json_pointer).erase("id");
    receipts.at("/records/0"_json_pointer).erase("startedAt");
    EXPECT_EQ(receipts,
              (json{{"records", {{{"plan", plan}, {"receipt", receipt}, {"schemaVersion", 1}}}},
                    {"warnings", json::array()},
                    {"guidance",
                     {"The observed operation matches the verified result. Inspect any "
                      "reported conflicts; no automatic recovery is needed."}}}));

    // The plan's second run found it stale: refused, nothing recorded.
    EXPECT_EQ(late.exitCode, 1);
    EXPECT_EQ(json::parse(late.stdout).at("error").at("message"),
              "Preview expired because the repository or working copy changed. Generate a fresh "
              "preview.");
}

TEST(VordaCli, ExecAndQueryRunCommandsAndPlansAndTellFailuresFromBadInput) {
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
    const auto& root = repo.root();

    // A settings-only command starts no jj once the session has its state.
    const auto pinned = cli({"exec", R"({"togglePinned":{"bookmark":"other"}})"}, root);
    ASSERT_EQ(pinned.exitCode, 0) << pinned.stderr;
    const auto marker = pinned.stderr.find("[vorda-cli] execute togglePinned");
    ASSERT_NE(marker, std::string::npos) << pinned.stderr;
    EXPECT_EQ(pinned.stderr.find("START", marker), std::string::npos) << pinned.stderr;
    EXPECT_EQ(
        json::parse(pinned.stdout).at("/refreshed/_0/lanesByBookmark/other/isPinned"_json_pointer),
        true);

    // A command jj refuses: the error, exit 1, nothing changed.
    const auto failed = cli({"exec", R"({"renameBookmark":{"old":"no such","new":"x"}})"}, root);
    EXPECT_EQ(failed.exitCode, 1);
    EXPECT_THAT(json::parse(failed.stdout).at("/error/message"_json_pointer).get<std::string>(),
                ::testing::HasSubstr("No such bookmark"));

    // A command that changes the repository, checked with jj.
    succeeded({"exec", R"({"renameBookmark":{"old":"other","new":"f\u00e9ature \"2\""}})"}, root);
    EXPECT_EQ(repo.bookmarkTarget("f\xC3\xA9"
                                  "ature \"2\""),
              "O");

    // Input that is not a command: exit 2, nothing printed, a message naming
    // what is wrong.
    const std::tuple<std::vector<std::string>, std::string, std::string> refusals[] = {
        {{"exec", "{not json"}, root, "JSON"},
        {{"exec", R"({"frobnicate":{}})"}, root, "frobnicate"},
        {{"exec", R"({"togglePinned":{"bookmark":42}})"}, root, "bookmark"},
        {{"query", "bookmarkNames", "{}"}, root, "matchingRevset"},
        {{"snapshot", "--repo="}, "", "--repo needs a path"},
    };
    for (const auto& [arguments, where, reason] : refusals) {
        const auto refused = cli(arguments, where);
        EXPECT_EQ(refused.exitCode, 2) << reason;
        EXPECT_TRUE(refused.stdout.empty()) << refused.stdout;
        EXPECT_NE(refused.stderr.find(reason), std::string::npos) << refused.stderr;
    }
    // A NUL behind a valid command on standard input: refused, nothing undone.
    const auto operation = repo.currentOperationID();
    const auto nul = ProcessExecutor::execute(
        {"/bin/sh", "-c", "printf '{\"undo\":{}}\\000junk' | \"$0\" exec --repo \"$1\"",
         VORDA_CLI_PATH, root},
        std::nullopt, "test", "vorda-cli");
    EXPECT_EQ(nul.exitCode, 2) << nul.stdout;
    EXPECT_NE(nul.stderr.find("NUL byte"), std::string::npos) << nul.stderr;
    EXPECT_EQ(repo.currentOperationID(), operation);
    EXPECT_EQ(succeeded({"query", "loadRecentOps", R"({"limit":2})"}, root).size(), 2U);
    const auto help = cli({"exec", "--help"});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_NE(help.stdout.find("example"), std::string::npos);

    // An append planned by one call, executed by the next, inspected by a third.
    const auto append = json{{"changeIDs", {repo.id("X")}}, {"bookmark", "feat"}};
    const auto plan = succeeded({"exec", json{{"planFeatureAppend", append}}.dump()}, root)
                          .at("featureAppendPlan")
                          .at("_0");
    succeeded({"exec", json{{"executeFeatureAppend", {{"plan", plan}}}}.dump()}, root);
    EXPECT_EQ(repo.bookmarkTarget("feat"), "X");
    EXPECT_EQ(repo.parents("X"), std::vector<std::string>{"F"});
    const auto record = succeeded({"query", "loadAppendReceipts"}, root).at("records").at(0);
    const auto current = repo.currentOperationID();
    EXPECT_EQ(succeeded({"query", "inspectFeatureAppend", json{{"record", record}}.dump()}, root),
              (json{{"recordID", record.at("id")},
                    {"operationID", current},
                    {"latestRecordedOperationID", current},
                    {"topology", "Routed parent topology"},
                    {"bookmark", "Bookmark points to the uniquely visible moved tip"},
                    {"warnings", json::array()},
                    {"conflictedChangeIDs", json::array()},
                    {"changedSinceCheckpoint", false},
                    {"guidance",
                     "The planned parent topology and advanced bookmark are present. This does "
                     "not prove command provenance or unchanged file contents; no automatic "
                     "recovery is needed."}}));
}

TEST(VordaCli, AStoppedCoordinatedRoutingIsInspectedAndRecoveredByLaterCallsAndAFeatureAttached) {
    TestRepo repo;
    repo.draw(R"(
      B <- root "base" README=base
      T <- B "t" t.txt=t [feat]
      S1 <- B "s1" s1.txt=s1
      S2 <- S1 "s2" s2.txt=s2
      X <- B "x" x.txt=x
      O <- B "other" o.txt=o [other]
      R <- S2 X "wip: Vorda composition default" [env]
      @ <- R
    )");
    const auto& root = repo.root();
    const auto exec = [&](const std::string& name, const json& arguments) {
        return succeeded({"exec", json{{name, arguments}}.dump()}, root);
    };
    const auto query = [&](const std::string& name, const json& arguments) {
        return succeeded({"query", name, arguments.dump()}, root);
    };

    const auto plan = exec("planCoordinatedRouting", {{"changeIDs", {repo.id("S1"), repo.id("S2")}},
                                                      {"afterChangeID", nullptr},
                                                      {"bookmark", "feat"},
                                                      {"repairBookmark", "env"}})
                          .at("/coordinatedRoutingPlan/_0"_json_pointer);
    {
        // The process the routing runs in cannot move bookmarks.
        const testing::FailingJJScope failing("bookmark");
        const auto stopped = exec("executeCoordinatedRouting", {{"plan", plan}});
        EXPECT_THAT(stopped.at("/coordinatedRoutingCompleted/_0/receipt/commandError"_json_pointer)
                        .get<std::string>(),
                    ::testing::HasSubstr("injected failure"));
    }
    const auto routings = query("loadCoordinatedRoutingReceipts", json::object());
    const auto record = routings.at("/records/0"_json_pointer);
    EXPECT_THAT(routings.at("/guidance/0"_json_pointer).get<std::string>(),
                ::testing::HasSubstr("needs inspection"));
    const auto inspection = query("inspectCoordinatedRouting", {{"record", record}});
    EXPECT_EQ(inspection.at("matchingStages"), json({"Routed; 1 of 1 attachment repairs"}));
    EXPECT_THAT(inspection.at("guidance").get<std::string>(),
                ::testing::HasSubstr("Do not replay the original routing plan."));

    const auto recovery = query("planCoordinatedRecovery", {{"record", record}});
    EXPECT_EQ(recovery.at("remainingRepairs"), json::array());
    EXPECT_EQ(recovery.at("advanceBookmark"), true);
    exec("executeCoordinatedRecovery", {{"plan", recovery}, {"source", record}});
    EXPECT_EQ(repo.bookmarkTarget("feat"), "S2");
    EXPECT_EQ(repo.parents("R"), (std::vector<std::string>{"B", "X", "S2"}));
    const auto recoveries = query("loadCoordinatedRecoveryReceipts", json::object());
    EXPECT_EQ(recoveries.at("records").size(), 1U);
    EXPECT_THAT(recoveries.at("/guidance/0"_json_pointer).get<std::string>(),
                ::testing::HasSubstr("matches the verified result"));

    // Another feature becomes the composition's last parent.
    const auto attachment = exec("planCompositionAttachment",
                                 {{"compositionChangeID", repo.id("R")}, {"bookmark", "other"}})
                                .at("/compositionAttachmentPlan/_0"_json_pointer);
    exec("executeCompositionAttachment", {{"plan", attachment}});
    EXPECT_EQ(repo.parents("R"), (std::vector<std::string>{"B", "X", "S2", "O"}));
    EXPECT_EQ(query("loadAttachmentReceipts", json::object()).at("records").size(), 1U);
}

TEST(VordaCli, WatchPrintsASnapshotAfterAChangeFromTheCommandLine) {
    TestRepo repo;
    repo.commit("first", {{"a", "1"}});
    const auto output = (repo.scratch() / "watch.jsonl").string();
    // The watcher writes into a file while jj changes the repository; `whole`
    // waits, a minute at most, until the file ends with a whole line and
    // holds PATTERN.
    testing::runChecked({"sh", "-c", R"sh(
        "$0" watch --repo "$1" >"$2" 2>/dev/null &
        trap "kill $!" EXIT
        whole() {
            for _ in $(seq 600); do
                grep -q "$1" "$output" && [ -z "$(tail -c 1 "$output")" ] && return
                sleep 0.1
            done
            exit 1
        }
        output=$2
        whole ^
        jj -R "$1" bookmark create from-cli -r @-
        whole from-cli)sh",
                         VORDA_CLI_PATH, repo.root(), output});
    // Every line up to the one with the bookmark is a whole snapshot, and the
    // first one is from before it.
    std::ifstream lines(output);
    std::vector<bool> shows;
    for (std::string line; (shows.empty() || !shows.back()) && std::getline(lines, line);) {
        shows.push_back(json::parse(line).at("repoState").at("bookmarks").contains("from-cli"));
    }
    ASSERT_FALSE(shows.empty());
    EXPECT_EQ((std::pair<bool, bool>(shows.front(), shows.back())), std::pair(false, true));
}

}  // namespace
}  // namespace vorda
