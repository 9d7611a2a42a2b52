#include "jjkit/rewrites/OperationJournal.h"

#include <algorithm>
#include <fstream>
#include <functional>
#include <map>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <stop_token>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "jjkit/client/JJClient.h"
#include "jjkit/repo/JJRepoDetector.h"
#include "jjkit/rewrites/FeatureAppendPlan.h"
#include "jjkit/rewrites/LocalStackUpdatePlan.h"
#include "jjkit/rewrites/PlannedFlow.h"
#include "jjkit/support/Cancellation.h"
#include "jjkit/support/Uuid.h"
#include "support/Refusal.h"
#include "support/TestRepo.h"
#include "support/TestTools.h"

namespace vorda {
namespace {

namespace fs = std::filesystem;
using testing::refusal;
using testing::TestRepo;
using UpdateRecord = OperationRecord<LocalStackUpdatePlan>;

std::string readText(const fs::path& path) {
    std::ifstream stream(path, std::ios::binary);
    std::stringstream buffer;
    buffer << stream.rdbuf();
    return buffer.str();
}

void writeText(const fs::path& path, const std::string& contents) {
    std::ofstream(path, std::ios::binary) << contents;
}

JJCommit commit(const std::string& commitID, const std::string& changeID) {
    JJCommit value;
    value.commitID = commitID;
    value.changeID = changeID;
    value.description = "Fix \"quoted\" \\ path ä\n";
    value.author = {"Ann", "ann@example.com", "2026-11-20T10:00:00+01:00"};
    value.committer = value.author;
    value.localBookmarks = {{"feat", std::nullopt, {commitID}, std::nullopt}};
    return value;
}

UpdateRecord record(const std::string& operationID, double startedAt) {
    UpdateRecord value;
    value.id = makeUuid();
    value.startedAt = journalDate(startedAt);
    value.plan.id = makeUuid();
    value.plan.operationID = operationID;
    value.plan.bookmarkNames = {"feat"};
    value.plan.destination = commit(std::string(40, 'a'), std::string(32, 'k'));
    value.plan.roots = {commit(std::string(40, 'b'), std::string(32, 'l'))};
    return value;
}

TEST(OperationJournal, LivesInTheSharedStoreWritesItsExactFormAndWarnsOfBadFiles) {
    TestRepo repo;
    const auto second = repo.addWorkspace("second");
    const OperationJournal<LocalStackUpdatePlan> journal(repo.root());
    EXPECT_EQ(journal.directory, fs::path(JJRepoDetector::sharedRepositoryPath(repo.root())) /
                                     "Vorda-update-receipts");
    // Opening a journal creates nothing; a missing folder is an empty journal.
    EXPECT_FALSE(fs::exists(journal.directory));
    const auto empty = journal.load();
    EXPECT_TRUE(empty.records.empty());
    EXPECT_TRUE(empty.warnings.empty());

    // 2026-11-21 12:00:00.25 UTC, in seconds since the start of 2001.
    auto saved = record("op1", 816955200.25);
    journal.save(saved);
    const auto file = journal.directory / (saved.id + ".json");
    const auto text = readText(file);
    auto json = nlohmann::json::parse(text);
    // Pretty-printed with keys in order; stored commits keep jj's own
    // snake-case form.
    EXPECT_EQ(text, json.dump(2) + "\n");
    EXPECT_EQ(json.at("plan").at("roots").at(0).at("change_id"), std::string(32, 'l'));
    EXPECT_EQ(json.at("plan").at("destination").at("local_bookmarks").at(0).at("name"), "feat");
    // Absent keys are left out, not written as null.
    json.erase("plan");
    EXPECT_EQ(json, (nlohmann::json{
                        {"schemaVersion", 1}, {"id", saved.id}, {"startedAt", 816955200.25}}));
    EXPECT_EQ(saved.id, canonicalUuid(saved.id));

    // A second save under the same id replaces the one file, and every
    // workspace of the repository sees it.
    saved.receipt = LocalStackUpdateReceipt{"op1", "op2", std::nullopt, {"default"}, {}, {"x"}};
    journal.save(saved);
    EXPECT_EQ(std::distance(fs::directory_iterator(journal.directory), fs::directory_iterator()),
              1);
    const auto loaded = OperationJournal<LocalStackUpdatePlan>(second).load();
    ASSERT_EQ(loaded.records.size(), 1U);
    EXPECT_EQ(loaded.records.front(), saved);
    EXPECT_EQ(nlohmann::json::parse(readText(file)).at("receipt").at("afterOperationID"), "op2");
    // Other plan types have folders of their own.
    EXPECT_TRUE(OperationJournal<FeatureAppendPlan>(repo.root()).load().records.empty());

    // Bad files become warnings and never hide good ones. Saved out of date
    // order: the load sorts by the start time, not names.
    fs::remove(file);
    for (const auto& [operation, startedAt] :
         {std::pair{"op-new", 200.0}, {"op-newest", 300.0}, {"op-old", 100.5}}) {
        journal.save(record(operation, startedAt));
    }
    writeText(journal.directory / "0-broken.json", "{\"schemaVersion\": 1, ");
    // A FIFO would block a plain read for ever.
    ASSERT_EQ(mkfifo((journal.directory / "1-fifo.json").c_str(), 0600), 0);
    writeText(journal.directory / "notes.txt", "not a receipt");
    writeText(journal.directory / "UPPER.JSON", "ignored: the extension is case-sensitive");

    using Coding = RecordCoding<UpdateRecord>;
    const auto otherName = makeUuid();
    writeText(journal.directory / (otherName + ".json"), Coding::encode(record("x", 50)).dump());
    const auto future = record("op-future", 60);
    auto futureJson = Coding::encode(future);
    futureJson["schemaVersion"] = 2;
    writeText(journal.directory / (future.id + ".json"), futureJson.dump());
    auto missingPlan = Coding::encode(record("x", 1));
    const auto missingID = missingPlan.at("id").get<std::string>();
    missingPlan.erase("plan");
    writeText(journal.directory / (missingID + ".json"), missingPlan.dump());

    const auto all = journal.load();
    std::vector<std::string> operations;
    for (const auto& each : all.records) {
        operations.push_back(each.plan.operationID);
    }
    EXPECT_EQ(operations, (std::vector<std::string>{"op-newest", "op-new", "op-old"}));

    // One warning per bad "json" file, in file name order.
    const std::string mismatch = "Unsupported receipt version or mismatched identity.";
    std::vector<std::pair<std::string, std::string>> expected{
        {"0-broken.json", ""},
        {"1-fifo.json", ""},
        {otherName + ".json", mismatch},
        {future.id + ".json", mismatch},
        {missingID + ".json", "missing key `plan`"},
    };
    std::sort(expected.begin(), expected.end());
    ASSERT_EQ(all.warnings.size(), expected.size());
    for (std::size_t index = 0; index < expected.size(); ++index) {
        const auto& warning = all.warnings[index];
        const auto prefix = "Could not read operation receipt " + expected[index].first + ": ";
        EXPECT_EQ(warning.rfind(prefix, 0), 0U) << warning;
        EXPECT_NE(warning.find(expected[index].second, prefix.size()), std::string::npos)
            << warning;
    }
}

const std::string noFinalOutcome =
    "No final outcome was saved. Execution may not have started, may still be running, or may "
    "have finished. Inspect the operation log before retrying or recovering.";

TEST(OperationJournal, GuidanceFollowsTheReceiptAndTheObservedOperation) {
    const std::string unavailable =
        "The current or resulting operation is unavailable. Refresh and inspect the operation "
        "log before choosing recovery.";
    const std::string changed =
        "The repository has changed since this receipt. Restoring its starting operation could "
        "discard later work. Review intervening operations; do not restore blindly.";
    const std::string inspect =
        "The observed operation matches this result, but the action needs inspection. Compare "
        "the recorded before/after operations before choosing recovery.";
    const std::string verified =
        "The observed operation matches the verified result. Inspect any reported conflicts; no "
        "automatic recovery is needed.";

    const LocalStackUpdateReceipt finished{"op1", "op2", std::nullopt, {}, {}, {}};
    auto noAfter = finished;
    noAfter.afterOperationID.reset();
    auto conflicted = finished;
    conflicted.conflictedChangeIDs = {std::string(32, 'm')};
    auto warned = finished;
    warned.verificationWarnings = {"Unexpected parents on mmmmmmmmmmmm"};
    auto failed = finished;
    failed.commandError = "jj rebase failed";

    struct Case {
        std::optional<LocalStackUpdateReceipt> receipt;
        std::optional<std::string> current;
        const std::string& sentence;
    };
    const Case cases[] = {
        {std::nullopt, "op1", noFinalOutcome},
        {std::nullopt, std::nullopt, noFinalOutcome},
        {noAfter, "op2", unavailable},
        {finished, std::nullopt, unavailable},
        {finished, "op3", changed},
        {finished, "op2", verified},
        {conflicted, "op2", verified},  // conflicts alone are no reason to inspect
        {warned, "op2", inspect},
        {failed, "op2", inspect},
        {failed, "op9", changed},  // a moved repository outranks the command error
    };
    for (const auto& [receipt, current, sentence] : cases) {
        UpdateRecord started = record("op1", 1);
        started.receipt = receipt;
        EXPECT_EQ(started.recoveryGuidance(current), sentence)
            << (receipt ? "finished" : "started") << " at " << current.value_or("none");
    }
}

// The common shape of every planned rewrite, exercised through each flow on
// one repository: trunk T published as main, the feature `feat` F1-F2 on
// its base, an integration merge of the feature and trunk, and the work
// W1-W2 on it under the default working copy.

constexpr const char* flowPicture = R"(
    origin
    B <- root "base" README=base
    T <- B "trunk work" trunk.txt=t [main]
    push main
    F1 <- B "f1" f1.txt=one
    F2 <- F1 "f2" f2.txt=two [feat]
    M <- F2 T "integration"
    W1 <- M "w1" w1.txt=one
    W2 <- W1 "w2" w2.txt=two
)";

/// Called at every save of a record with its receipt, absent until the end.
using Saved = std::optional<LocalStackUpdateReceipt>;
using Save = std::function<void(const Saved&)>;
/// A planned flow, executed through a client: its receipt.
using Execution =
    std::function<LocalStackUpdateReceipt(const JJClient&, const Save&, const std::stop_token&)>;

template <typename Plan>
JJClient::PersistRecord<Plan> saving(const Save& save) {
    return [&save](const OperationRecord<Plan>& record) {
        save(record.receipt);
    };
}

/// A plan: its execution, and the command that it runs first.
struct Planned {
    Execution run;
    std::vector<std::string> command;
};

/// `warnings` with each change ID prefix in them written as its picture
/// name, and the default working copy at planning as "@".
std::vector<std::string> named(const TestRepo& repo, std::vector<std::string> warnings,
                               const std::string& workingCopy) {
    std::map<std::string, std::string> names{{workingCopy.substr(0, 12), "@"}};
    for (const auto* name : {"B", "T", "F1", "F2", "M", "W1", "W2"}) {
        names[repo.id(name).substr(0, 12)] = name;
    }
    for (auto& warning : warnings) {
        for (const auto& [prefix, name] : names) {
            if (const auto at = warning.find(prefix); at != std::string::npos) {
                warning.replace(at, prefix.size(), name);
            }
        }
    }
    return warnings;
}

struct Flow {
    std::string name;
    /// Plans the flow's request with `client`.
    std::function<Planned(const JJClient&, const TestRepo&)> plan;
    std::string foreign, expired, scopeChanged, changedWhileSaving, finalSaveFailed;
    /// Commits that, made trunk(), change the plan without moving the
    /// operation: one the plan comes out different with, one it is refused with.
    std::vector<std::string> otherTrunks;
    /// The verification warnings, named, after the repository was changed
    /// during the first save, and after the rebase failed and nothing moved.
    std::vector<std::string> afterInterference, afterFailedCommand;
    /// Whether the flow declares steps, the first of them in its second save.
    bool stepped = false;
};

void PrintTo(const Flow& flow, std::ostream* out) {
    *out << flow.name;
}

const std::string parentsOn = "Unexpected parents on ";
const std::string workspaceChanged = "Working-copy identity changed in default";

const Flow flows[] = {
    {
        "LocalStackUpdate",
        [](const JJClient& client, const TestRepo&) {
            const auto plan = client.planLocalStackUpdate({"feat"}, {});
            return Planned{
                [plan](const JJClient& by, const Save& save, const std::stop_token& stop) {
                    return by.executeLocalStackUpdate(plan, saving<LocalStackUpdatePlan>(save),
                                                      stop);
                },
                plan.commandArguments()};
        },
        "This preview belongs to another repository or workspace.",
        "Preview expired because the repository or working copy changed. Generate a fresh "
        "preview.",
        "Preview scope changed. Generate a fresh preview before updating.",
        "Repository changed while saving the receipt; no rebase was attempted.",
        "Could not save final receipt: disk full. Inspect the operation log before retrying.",
        {"B", "F2"},
        {"Missing or divergent rewritten change @", "Missing or divergent rewritten change W2",
         "A bookmark no longer follows F2", parentsOn + "F1", workspaceChanged},
        {parentsOn + "F1"},
    },
    {
        "FeatureInsertion",
        [](const JJClient& client, const TestRepo& repo) {
            const auto plan =
                client.planFeatureInsertion({repo.id("W1"), repo.id("W2")}, repo.id("F1"), "feat");
            return Planned{
                [plan](const JJClient& by, const Save& save, const std::stop_token& stop) {
                    return by.executeFeatureInsertion(plan, saving<FeatureInsertionPlan>(save),
                                                      stop);
                },
                plan.commandArguments()};
        },
        "This routing preview belongs to another repository or workspace.",
        "Routing preview expired. Refresh and preview again before moving work.",
        "Routing scope or configuration changed. Generate a new preview.",
        "Repository changed while saving the routing receipt; no insertion was attempted.",
        "Could not save final routing receipt: disk full. Inspect the operation log before "
        "retrying.",
        {"F1", "F2"},
        // The missing changes first, then parents and bookmarks.
        {"Missing or divergent routed change @", "Missing or divergent routed change W2",
         parentsOn + "W1", parentsOn + "F2", "Bookmark feat no longer uniquely follows F2",
         "The feature bookmark no longer uniquely follows its original tip.", workspaceChanged},
        // The working copy above the selection, the lowest selected change and
        // the tip are not where the plan puts them.
        {parentsOn + "@", parentsOn + "W1", parentsOn + "F2"},
    },
    {
        "FeatureAppend",
        [](const JJClient& client, const TestRepo& repo) {
            const auto plan = client.planFeatureAppend({repo.id("W2"), repo.id("W1")}, "feat");
            return Planned{
                [plan](const JJClient& by, const Save& save, const std::stop_token& stop) {
                    return by
                        .executeFeatureAppend(
                            plan, saving<FeatureAppendPlan>(save), [] {}, stop)
                        .receipt.value();
                },
                plan.topology.commandArguments()};
        },
        "This append preview belongs to another repository or workspace.",
        "Append preview expired. Generate a fresh preview.",
        "Append scope or configuration changed. Replan before moving work.",
        "Repository changed before append execution; no rebase was attempted.",
        "Could not save final append receipt: disk full. Inspect the operation log before "
        "retrying.",
        {"F2", "W1"},
        {"Repository changed after the last recorded step; inspect intervening operations."},
        // Nothing moved, so nothing was verified.
        {},
        true,
    },
};

class PlannedFlowShape : public ::testing::TestWithParam<Flow> {
  protected:
    PlannedFlowShape() { repo.draw(flowPicture); }

    /// Where the rewrite would show: the parents of the lowest commits
    /// that any of the flows moves, and the feature bookmark.
    std::string shape() const {
        return repo.parents("F1").at(0) + " " + repo.parents("W1").at(0) + " " +
               repo.bookmarkTarget("feat").value_or("none");
    }

    TestRepo repo;
    JJClient client{repo.root()};
    const std::string original = "B M F2";
};

TEST_P(PlannedFlowShape, StaleForeignAndCancelledPreviewsRunNothingAndSaveNothing) {
    const auto& flow = GetParam();
    ASSERT_EQ(shape(), original);
    int saves = 0;
    const Save counted = [&](const Saved&) {
        ++saves;
    };
    const auto refused = [&](const Execution& run, const std::string& words, const JJClient& by) {
        EXPECT_EQ(refusal([&] { run(by, counted, {}); }), words);
        EXPECT_EQ(shape(), original);
    };

    // Each change made after the preview expires it; the edit on disk does so
    // through the execution's own snapshot.
    for (const auto& change : std::vector<std::vector<std::string>>{
             {"describe", "-r", repo.id("W1"), "-m", "w1 reworded"},
             {"new", "--no-edit", repo.id("T"), "-m", "elsewhere"},
             {}}) {
        const auto run = flow.plan(client, repo).run;
        if (change.empty()) {
            repo.writeFile("edited.txt", "edited after the preview\n");
        } else {
            repo.jj(change);
        }
        refused(run, flow.expired, client);
    }

    // Another workspace of the same repository, and another repository.
    auto run = flow.plan(client, repo).run;
    refused(run, flow.foreign, JJClient(repo.addWorkspace("second", repo.id("B"))));
    const TestRepo elsewhere;
    refused(run, flow.foreign, JJClient(elsewhere.root()));

    // Another trunk() moves no operation; planning again sees it.
    for (const auto& trunk : flow.otherTrunks) {
        SCOPED_TRACE("trunk() is " + trunk);
        run = flow.plan(client, repo).run;
        const auto operations = repo.operationCount();
        const std::string alias = "revset-aliases.\"trunk()\"";
        repo.jj(
            {"config", "set", "--repo", alias, "commit_id(" + repo.commitID(repo.id(trunk)) + ")"});
        refused(run, flow.scopeChanged, client);
        EXPECT_EQ(repo.operationCount(), operations);
        repo.jj({"config", "unset", "--repo", alias});
    }

    run = flow.plan(client, repo).run;
    std::stop_source stop;
    stop.request_stop();
    EXPECT_THROW(run(client, counted, stop.get_token()), CancellationError);
    EXPECT_EQ(saves, 0);

    // Without the first receipt nothing runs: its failing save is thrown.
    const auto operations = repo.operationCount();
    const auto failingSave = [&](const Saved&) {
        ++saves;
        throw std::logic_error("disk full");
    };
    EXPECT_THROW(run(client, failingSave, {}), std::logic_error);
    EXPECT_EQ(std::tuple(saves, repo.operationCount(), shape()),
              std::tuple(1, operations, original));

    // None of that spoiled the preview. Only the final save fails now: the
    // rewrite stands, the receipt says so and the stored record has none.
    std::vector<Saved> saved;
    const auto receipt = run(client,
                             [&](const Saved& final) {
                                 if (final) {
                                     throw std::runtime_error("disk full");
                                 }
                                 saved.push_back(final);
                             },
                             {});
    EXPECT_EQ(
        std::tuple(receipt.commandError, receipt.verificationWarnings, receipt.afterOperationID),
        std::tuple(std::nullopt, std::vector<std::string>{flow.finalSaveFailed},
                   repo.currentOperationID()));
    EXPECT_NE(shape(), original);
    EXPECT_FALSE(saved.empty());
}

TEST_P(PlannedFlowShape, FailuresAfterTheFirstSaveEndInTheReceipt) {
    const auto& flow = GetParam();
    std::vector<Saved> saved;
    const Save recorded = [&](const Saved& final) {
        saved.push_back(final);
    };

    // jj's rebase fails: its description is the command error, nothing moved.
    const auto planned = flow.plan(client, repo);
    const auto operation = repo.currentOperationID();
    LocalStackUpdateReceipt receipt;
    {
        const testing::FailingJJScope failing("rebase");
        receipt = planned.run(client, recorded, {});
    }
    EXPECT_EQ(receipt.commandError,
              JJError(JJError::CommandFailed{planned.command, 1, "injected failure\n"})
                  .errorDescription());
    EXPECT_EQ((std::vector{receipt.beforeOperationID, receipt.afterOperationID.value_or(""),
                           repo.currentOperationID()}),
              std::vector<std::string>(3, operation));
    EXPECT_EQ(named(repo, receipt.verificationWarnings, repo.changeID("@")),
              flow.afterFailedCommand);
    EXPECT_EQ(shape(), original);
    ASSERT_GE(saved.size(), 2U);
    EXPECT_EQ(std::pair(saved.front(), saved.back()), std::pair(Saved(), Saved(receipt)));

    // A step that cannot be declared is not run; the flow still ends in a
    // final receipt.
    if (flow.stepped) {
        saved.clear();
        receipt = flow.plan(client, repo)
                      .run(client,
                           [&](const Saved& final) {
                               saved.push_back(final);
                               if (saved.size() == 2) {
                                   throw std::runtime_error("disk is full");
                               }
                           },
                           {});
        EXPECT_EQ(receipt, (LocalStackUpdateReceipt{
                               operation, operation, "disk is full", {"default"}, {}, {}}));
        EXPECT_EQ(std::tuple(saved.size(), repo.currentOperationID(), shape()),
                  std::tuple(3U, operation, original));
    }

    // Somebody works on the command line while the first receipt is written:
    // the bookmark goes back, W2 is dropped, the working copy moves away.
    const auto interfered = flow.plan(client, repo);
    const auto oldWorkingCopy = repo.changeID("@");
    saved.clear();
    receipt = interfered.run(
        client,
        [&](const Saved& final) {
            if (saved.empty()) {
                repo.jj({"bookmark", "set", "--allow-backwards", "-r", repo.id("F1"), "feat"});
                repo.jj({"abandon", repo.id("W2")});
                repo.jj({"new", repo.id("M")});
            }
            saved.push_back(final);
        },
        {});
    EXPECT_EQ(receipt.commandError, flow.changedWhileSaving);
    EXPECT_EQ(receipt.afterOperationID, repo.currentOperationID());
    EXPECT_EQ(named(repo, receipt.verificationWarnings, oldWorkingCopy), flow.afterInterference);
    EXPECT_EQ(shape(), "B M F1");
    EXPECT_EQ(saved.back(), receipt);
}

INSTANTIATE_TEST_SUITE_P(Flows, PlannedFlowShape, ::testing::ValuesIn(flows),
                         [](const ::testing::TestParamInfo<Flow>& param) {
                             return param.param.name;
                         });

}  // namespace
}  // namespace vorda
