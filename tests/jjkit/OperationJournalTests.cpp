#include "jjkit/rewrites/OperationJournal.h"

#include <fstream>
#include <sstream>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "jjkit/repo/JJRepoDetector.h"
#include "jjkit/rewrites/FeatureAppendPlan.h"
#include "jjkit/rewrites/LocalStackUpdatePlan.h"
#include "jjkit/support/Uuid.h"
#include "support/TestRepo.h"

namespace vorda {
namespace {

namespace fs = std::filesystem;
using testing::TestRepo;

const std::string firstSentence =
    "No final outcome was saved. Execution may not have started, may still be running, or may "
    "have finished. Inspect the operation log before retrying or recovering.";
const std::string unavailableSentence =
    "The current or resulting operation is unavailable. Refresh and inspect the operation log "
    "before choosing recovery.";
const std::string changedSentence =
    "The repository has changed since this receipt. Restoring its starting operation could "
    "discard later work. Review intervening operations; do not restore blindly.";
const std::string inspectSentence =
    "The observed operation matches this result, but the action needs inspection. Compare the "
    "recorded before/after operations before choosing recovery.";
const std::string verifiedSentence =
    "The observed operation matches the verified result. Inspect any reported conflicts; no "
    "automatic recovery is needed.";

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

OperationRecord<LocalStackUpdatePlan> record(const std::string& operationID, double startedAt) {
    OperationRecord<LocalStackUpdatePlan> value;
    value.id = makeUuid();
    value.startedAt = journalDate(startedAt);
    value.plan.id = makeUuid();
    value.plan.operationID = operationID;
    value.plan.bookmarkNames = {"feat"};
    value.plan.destination = commit(std::string(40, 'a'), std::string(32, 'k'));
    value.plan.roots = {commit(std::string(40, 'b'), std::string(32, 'l'))};
    return value;
}

TEST(OperationJournal, LivesInTheSharedStoreAndWritesItsExactForm) {
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
    const auto json = nlohmann::json::parse(readText(file));
    EXPECT_EQ(json.at("schemaVersion"), 1);
    EXPECT_EQ(json.at("id"), saved.id);
    EXPECT_EQ(json.at("startedAt"), 816955200.25);
    // Absent keys are left out, not written as null.
    EXPECT_FALSE(json.contains("receipt"));
    EXPECT_FALSE(json.contains("steps"));
    // Stored commits keep jj's own snake-case form.
    EXPECT_EQ(json.at("plan").at("roots").at(0).at("change_id"), std::string(32, 'l'));
    EXPECT_EQ(json.at("plan").at("destination").at("local_bookmarks").at(0).at("name"), "feat");
    // Pretty-printed, keys in order.
    const auto text = readText(file);
    EXPECT_LT(text.find("\"id\""), text.find("\"plan\""));
    EXPECT_LT(text.find("\"plan\""), text.find("\"schemaVersion\""));
    EXPECT_LT(text.find("\"schemaVersion\""), text.find("\"startedAt\""));
    EXPECT_NE(text.find("\n  \"id\""), std::string::npos);
    EXPECT_EQ(saved.id, canonicalUuid(saved.id));

    // A second save under the same id replaces the one file.
    saved.receipt = LocalStackUpdateReceipt{"op1", "op2", std::nullopt, {"default"}, {}, {"x"}};
    journal.save(saved);
    std::size_t files = 0;
    for ([[maybe_unused]] const auto& entry : fs::directory_iterator(journal.directory)) {
        ++files;
    }
    EXPECT_EQ(files, 1U);

    // Every workspace of the repository sees the same receipts.
    const OperationJournal<LocalStackUpdatePlan> fromSecond(second);
    const auto loaded = fromSecond.load();
    ASSERT_EQ(loaded.records.size(), 1U);
    EXPECT_EQ(loaded.records.front(), saved);
    EXPECT_EQ(RecordCoding<OperationRecord<LocalStackUpdatePlan>>::encode(loaded.records.front())
                  .at("receipt")
                  .at("afterOperationID"),
              "op2");
    // Other plan types have folders of their own.
    EXPECT_TRUE(OperationJournal<FeatureAppendPlan>(repo.root()).load().records.empty());
}

TEST(OperationJournal, BadFilesBecomeWarningsAndNeverHideGoodOnes) {
    TestRepo repo;
    const OperationJournal<LocalStackUpdatePlan> journal(repo.root());
    const auto older = record("op-old", 100.5);
    const auto newer = record("op-new", 200.0);
    const auto newest = record("op-newest", 300.0);
    // Saved out of date order: the load sorts by the start time, not names.
    journal.save(newer);
    journal.save(newest);
    journal.save(older);

    writeText(journal.directory / "0-broken.json", "{\"schemaVersion\": 1, ");
    // A FIFO would block a plain read for ever.
    ASSERT_EQ(mkfifo((journal.directory / "1-fifo.json").c_str(), 0600), 0);
    writeText(journal.directory / "notes.txt", "not a receipt");
    writeText(journal.directory / "UPPER.JSON", "ignored: the extension is case-sensitive");

    auto foreign = record("op-foreign", 50);
    const auto otherName = makeUuid();
    writeText(journal.directory / (otherName + ".json"),
              RecordCoding<OperationRecord<LocalStackUpdatePlan>>::encode(foreign).dump());

    auto future = record("op-future", 60);
    auto futureJson = RecordCoding<OperationRecord<LocalStackUpdatePlan>>::encode(future);
    futureJson["schemaVersion"] = 2;
    writeText(journal.directory / (future.id + ".json"), futureJson.dump());

    auto missingPlan = RecordCoding<OperationRecord<LocalStackUpdatePlan>>::encode(record("x", 1));
    const auto missingID = missingPlan.at("id").get<std::string>();
    missingPlan.erase("plan");
    writeText(journal.directory / (missingID + ".json"), missingPlan.dump());

    const auto loaded = journal.load();
    ASSERT_EQ(loaded.records.size(), 3U);
    EXPECT_EQ(loaded.records[0].plan.operationID, "op-newest");
    EXPECT_EQ(loaded.records[1].plan.operationID, "op-new");
    EXPECT_EQ(loaded.records[2].plan.operationID, "op-old");

    // One warning per bad "json" file, in file name order.
    std::vector<std::pair<std::string, std::string>> expected{
        {"0-broken.json", ""},
        {"1-fifo.json", ""},
        {otherName + ".json", "Unsupported receipt version or mismatched identity."},
        {future.id + ".json", "Unsupported receipt version or mismatched identity."},
        {missingID + ".json", "missing key `plan`"},
    };
    std::sort(expected.begin(), expected.end());
    ASSERT_EQ(loaded.warnings.size(), expected.size());
    for (std::size_t index = 0; index < expected.size(); ++index) {
        const auto& warning = loaded.warnings[index];
        EXPECT_EQ(
            warning.rfind("Could not read operation receipt " + expected[index].first + ": ", 0),
            0U)
            << warning;
        EXPECT_NE(warning.find(expected[index].second), std::string::npos) << warning;
    }
}

TEST(OperationJournal, GuidanceFollowsTheReceiptAndTheObservedOperation) {
    OperationRecord<LocalStackUpdatePlan> started = record("op1", 1);
    EXPECT_EQ(started.recoveryGuidance("op1"), firstSentence);
    EXPECT_EQ(started.recoveryGuidance(std::nullopt), firstSentence);

    auto finished = started;
    finished.receipt = LocalStackUpdateReceipt{"op1", std::nullopt, {}, {}, {}, {}};
    EXPECT_EQ(finished.recoveryGuidance("op2"), unavailableSentence);
    finished.receipt->afterOperationID = "op2";
    EXPECT_EQ(finished.recoveryGuidance(std::nullopt), unavailableSentence);
    EXPECT_EQ(finished.recoveryGuidance("op3"), changedSentence);
    // Conflicts alone are no reason to inspect.
    finished.receipt->conflictedChangeIDs = {std::string(32, 'm')};
    EXPECT_EQ(finished.recoveryGuidance("op2"), verifiedSentence);
    finished.receipt->verificationWarnings = {"Unexpected parents on mmmmmmmmmmmm"};
    EXPECT_EQ(finished.recoveryGuidance("op2"), inspectSentence);
    finished.receipt->verificationWarnings.clear();
    finished.receipt->commandError = "jj rebase failed";
    EXPECT_EQ(finished.recoveryGuidance("op2"), inspectSentence);
    // A moved repository outranks the command error.
    EXPECT_EQ(finished.recoveryGuidance("op9"), changedSentence);
}

}  // namespace
}  // namespace vorda
