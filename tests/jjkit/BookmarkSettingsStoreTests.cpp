#include "jjkit/settings/BookmarkSettingsStore.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>
#include <thread>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "jjkit/support/Uuid.h"
#include "support/LogCapture.h"
#include "support/TempDir.h"
#include "support/TestRepo.h"

namespace vorda {
namespace {

namespace fs = std::filesystem;
using testing::LogCapture;
using testing::TempDir;
using Strategy = SavedConfig::BaseStrategy;

const std::string ruleID = "0F8FAD5B-D9CB-469F-A165-70867728950E";

std::string readFile(const fs::path& path) {
    std::ifstream stream(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << stream.rdbuf();
    return bytes.str();
}

void writeFile(const fs::path& path, const std::string& bytes) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << bytes;
}

BookmarkSettings fullSettings() {
    BookmarkSettings settings;
    settings.updateStrategy = UpdateStrategy::mergeIn;
    settings.lastPushedCommitID = "c0ffee00c0ffee00c0ffee00c0ffee00c0ffee00";
    settings.cachedPRNumber = 128;
    settings.tags = {"review", "urgent"};
    settings.pinned = true;
    settings.columnVisible = true;
    return settings;
}

SavedConfig config(std::string name, std::vector<std::string> bookmarks,
                   std::optional<Strategy> base = std::nullopt) {
    return SavedConfig{std::move(name), std::move(bookmarks), std::move(base)};
}

/// A repository root with `.jj/repo/` made by hand, as jj lays it out.
class BookmarkSettingsStoreTest : public ::testing::Test {
  protected:
    BookmarkSettingsStoreTest() { fs::create_directories(repoFolder()); }

    const fs::path& root() const { return root_.path(); }
    fs::path repoFolder() const { return root() / ".jj" / "repo"; }
    fs::path settingsFile() const { return repoFolder() / "Vorda-settings.json"; }
    fs::path legacyFile() const { return root() / ".jj" / "Vorda-settings.json"; }

    /// The file as JSON, for comparing content regardless of layout.
    nlohmann::json fileJSON() const { return nlohmann::json::parse(readFile(settingsFile())); }

  private:
    TempDir root_{"vorda-settings"};
};

TEST_F(BookmarkSettingsStoreTest, AFreshRepositoryReadsEmptyAndCreatesNoFileBeforeAWrite) {
    BookmarkSettingsStore store(root());
    EXPECT_EQ(store.fileURL(), settingsFile());
    EXPECT_EQ(store.legacyFileURL(), legacyFile());

    EXPECT_TRUE(store.all().empty());
    EXPECT_FALSE(store.settings("main").has_value());
    EXPECT_TRUE(store.savedConfigs().empty());
    EXPECT_TRUE(store.routingRules().empty());
    EXPECT_FALSE(store.apexChangeID().has_value());
    EXPECT_TRUE(store.compositionPointsByWorkspace().empty());
    EXPECT_FALSE(fs::exists(settingsFile()));
    EXPECT_FALSE(fs::exists(legacyFile()));

    store.setApexChangeID("kkkkllllmmmmnnnnooooppppqqqqrrrr");
    ASSERT_TRUE(fs::is_regular_file(settingsFile()));
    EXPECT_FALSE(fs::exists(legacyFile()));
    EXPECT_EQ(fileJSON(),
              (nlohmann::json{{"apexChangeID", "kkkkllllmmmmnnnnooooppppqqqqrrrr"},
                              {"bookmarks", nlohmann::json::object()},
                              {"compositionPointsByWorkspace", nlohmann::json::object()},
                              {"routingRules", nlohmann::json::array()},
                              {"savedConfigs", nlohmann::json::array()}}));
}

TEST_F(BookmarkSettingsStoreTest, EveryFieldSurvivesTheFile) {
    const FileRoutingRule rule{ruleID, "docs/**/*.md", "docs", false};
    {
        BookmarkSettingsStore store(root());
        store.set(fullSettings(), "feature");
        store.set(BookmarkSettings::defaultFor(BookmarkOrigin::local()), "local-only");
        store.saveConfig(
            config("specific", {"feature"}, Strategy{Strategy::SpecificCommit{"abc"}}));
        store.saveConfig(
            config("trunk", {"feature", "local-only"}, Strategy{Strategy::TrunkTip{}}));
        store.saveConfig(config("copy", {}, Strategy{Strategy::WorkingCopy{}}));
        store.saveConfig(config("plain", {"feature"}));
        store.setRoutingRules({rule});
        store.setApexChangeID("kkkkllllmmmmnnnnooooppppqqqqrrrr");
        store.setCompositionPoint("zzzzyyyyxxxxwwwwvvvvuuuuttttssss", "default");
    }

    BookmarkSettingsStore reopened(root());
    const auto all = reopened.all();
    ASSERT_EQ(all.size(), 2U);
    EXPECT_EQ(all.at("feature"), fullSettings());
    EXPECT_EQ(all.at("local-only"), BookmarkSettings{});
    EXPECT_EQ(
        reopened.savedConfigs(),
        (std::vector<SavedConfig>{
            config("specific", {"feature"}, Strategy{Strategy::SpecificCommit{"abc"}}),
            config("trunk", {"feature", "local-only"}, Strategy{Strategy::TrunkTip{}}),
            config("copy", {}, Strategy{Strategy::WorkingCopy{}}), config("plain", {"feature"})}));
    EXPECT_EQ(reopened.routingRules(), (std::vector<FileRoutingRule>{rule}));
    EXPECT_EQ(reopened.apexChangeID(), "kkkkllllmmmmnnnnooooppppqqqqrrrr");
    EXPECT_EQ(
        reopened.compositionPointsByWorkspace(),
        (std::map<std::string, std::string>{{"default", "zzzzyyyyxxxxwwwwvvvvuuuuttttssss"}}));

    // Absent optionals are left out of the file rather than written as null.
    const auto json = fileJSON();
    EXPECT_FALSE(json["bookmarks"]["local-only"].contains("lastPushedCommitID"));
    EXPECT_FALSE(json["bookmarks"]["local-only"].contains("cachedPRNumber"));
    EXPECT_EQ(json["bookmarks"]["feature"]["updateStrategy"], "mergeIn");
    EXPECT_FALSE(json["savedConfigs"][3].contains("baseStrategy"));

    // Pretty-printed, with the keys in sorted order.
    const std::string text = readFile(settingsFile());
    EXPECT_NE(text.find("\n  \"bookmarks\""), std::string::npos);
    EXPECT_LT(text.find("\"apexChangeID\""), text.find("\"bookmarks\""));
    EXPECT_LT(text.find("\"bookmarks\""), text.find("\"compositionPointsByWorkspace\""));
    EXPECT_LT(text.find("\"routingRules\""), text.find("\"savedConfigs\""));
    EXPECT_LT(text.find("\"cachedPRNumber\""), text.find("\"columnVisible\""));
}

TEST_F(BookmarkSettingsStoreTest, MissingOptionalKeysTakeTheirDefaults) {
    writeFile(settingsFile(), R"({
        "bookmarks": {
            "a": {"updateStrategy": "mergeIn"},
            "b": {"updateStrategy": "rebase", "lastPushedCommitID": null, "pinned": true}
        },
        "savedConfigs": [{"name": "n", "enabledBookmarks": ["a"], "baseStrategy": null}],
        "routingRules": [{"id": "0f8fad5b-d9cb-469f-a165-70867728950e", "pattern": "*",
                          "bookmarkName": "a", "enabled": true}],
        "unknownKey": 1
    })");
    BookmarkSettingsStore store(root());
    BookmarkSettings mergeIn;
    mergeIn.updateStrategy = UpdateStrategy::mergeIn;
    BookmarkSettings pinned;
    pinned.pinned = true;
    EXPECT_EQ(store.all(),
              (std::map<std::string, BookmarkSettings>{{"a", mergeIn}, {"b", pinned}}));
    EXPECT_EQ(store.savedConfigs(), (std::vector<SavedConfig>{config("n", {"a"})}));
    // A lower-case UUID is accepted and kept in the canonical form.
    EXPECT_EQ(store.routingRules(), (std::vector<FileRoutingRule>{{ruleID, "*", "a", true}}));
    EXPECT_FALSE(store.apexChangeID().has_value());
    EXPECT_TRUE(store.compositionPointsByWorkspace().empty());
}

TEST_F(BookmarkSettingsStoreTest, ADamagedFileReadsEmptyAndTheNextWriteReplacesIt) {
    const std::string goodBookmarks = R"("bookmarks": {"a": {"updateStrategy": "rebase"}})";
    const std::vector<std::pair<const char*, std::string>> damages = {
        {"not JSON", "{\"bookmarks\": {"},
        {"empty file", ""},
        {"not an object", "[]"},
        {"no bookmarks key", R"({"apexChangeID": "abc"})"},
        {"bookmarks not an object", R"({"bookmarks": []})"},
        {"entry without strategy", R"({"bookmarks": {"a": {"pinned": true}}})"},
        {"unknown strategy", R"({"bookmarks": {"a": {"updateStrategy": "squash"}}})"},
        {"wrong type", R"({"bookmarks": {"a": {"updateStrategy": "rebase", "tags": "x"}}})"},
        {"rule id not a UUID", "{" + goodBookmarks +
                                   R"(, "routingRules": [{"id": "rule-1", "pattern": "*",
                                      "bookmarkName": "a", "enabled": true}]})"},
        {"rule without enabled", "{" + goodBookmarks + R"(, "routingRules": [{"id": ")" + ruleID +
                                     R"(", "pattern": "*", "bookmarkName": "a"}]})"},
        {"config without bookmarks", "{" + goodBookmarks + R"(, "savedConfigs": [{"name": "n"}]})"},
        {"two-key base strategy", "{" + goodBookmarks +
                                      R"(, "savedConfigs": [{"name": "n", "enabledBookmarks": [],
                 "baseStrategy": {"trunkTip": {}, "workingCopy": {}}}]})"},
        {"composition point not text",
         "{" + goodBookmarks + R"(, "compositionPointsByWorkspace": {"default": 3}})"},
        {"invalid UTF-8", "{\"bookmarks\": {\"a\xff\": {\"updateStrategy\": \"rebase\"}}}"},
    };
    for (const auto& [what, text] : damages) {
        SCOPED_TRACE(what);
        const TempDir repo("vorda-damaged");
        const fs::path file = repo.path() / ".jj" / "repo" / "Vorda-settings.json";
        writeFile(file, text);

        BookmarkSettingsStore store(repo.path());
        EXPECT_TRUE(store.all().empty());
        EXPECT_TRUE(store.savedConfigs().empty());
        EXPECT_TRUE(store.routingRules().empty());
        EXPECT_FALSE(store.apexChangeID().has_value());
        EXPECT_TRUE(store.compositionPointsByWorkspace().empty());

        const LogCapture log;
        store.set(fullSettings(), "b");
        BookmarkSettingsStore reopened(repo.path());
        EXPECT_EQ(reopened.all(), (std::map<std::string, BookmarkSettings>{{"b", fullSettings()}}));
        // The damaged file is kept beside, byte for byte, and the log says so.
        std::vector<fs::path> kept;
        for (const auto& entry : fs::directory_iterator(file.parent_path())) {
            if (entry.path().filename().string().starts_with("Vorda-settings.json.damaged-")) {
                kept.push_back(entry.path());
            }
        }
        ASSERT_EQ(kept.size(), 1U);
        EXPECT_EQ(readFile(kept.front()), text);
        EXPECT_NE(log.text().find("kept it as " + kept.front().filename().string()),
                  std::string::npos)
            << log.text();
    }
}

TEST_F(BookmarkSettingsStoreTest, ALegacyFileIsReadUntilTheFirstWriteCreatesTheNewOne) {
    const std::string legacy =
        R"({"bookmarks": {"old": {"updateStrategy": "mergeIn"}}, "apexChangeID": "legacyapex"})";
    writeFile(legacyFile(), legacy);

    BookmarkSettingsStore store(root());
    EXPECT_EQ(store.all().count("old"), 1U);
    EXPECT_EQ(store.apexChangeID(), "legacyapex");
    EXPECT_FALSE(fs::exists(settingsFile()));

    store.set(fullSettings(), "new");
    EXPECT_EQ(readFile(legacyFile()), legacy) << "the legacy file is left alone";
    const auto json = fileJSON();
    EXPECT_EQ(json["apexChangeID"], "legacyapex");
    EXPECT_EQ(json["bookmarks"]["old"]["updateStrategy"], "mergeIn");
    EXPECT_EQ(json["bookmarks"]["new"]["cachedPRNumber"], 128);

    // From now on the new file is the one read, whatever the legacy one says.
    writeFile(legacyFile(), R"({"bookmarks": {}})");
    BookmarkSettingsStore reopened(root());
    EXPECT_EQ(reopened.all().size(), 2U);
}

TEST(BookmarkSettingsStoreLocation, WithoutARepoFolderTheLegacyPlaceIsWritten) {
    const TempDir repo("vorda-settings");
    fs::create_directories(repo.path() / ".jj");
    BookmarkSettingsStore store(repo.path());
    EXPECT_EQ(store.fileURL(), store.legacyFileURL());

    store.setCompositionPoint("abc", "default");
    EXPECT_TRUE(fs::is_regular_file(repo.path() / ".jj" / "Vorda-settings.json"));
    EXPECT_FALSE(fs::exists(repo.path() / ".jj" / "repo"));
}

TEST(BookmarkSettingsStoreLocation, EveryWorkspaceOfARepositoryUsesTheSharedStoresFile) {
    testing::TestRepo repo;
    repo.commit("one", {{"a", "1"}});
    const auto second = repo.addWorkspace("second");
    ASSERT_TRUE(fs::is_regular_file(fs::path(second) / ".jj" / "repo"));

    BookmarkSettingsStore fromSecond(second);
    EXPECT_EQ(fromSecond.fileURL(),
              fs::canonical(fs::path(repo.root()) / ".jj" / "repo") / "Vorda-settings.json");
    fromSecond.setCompositionPoint("change-of-second", "second");
    BookmarkSettingsStore fromFirst(repo.root());
    EXPECT_EQ(fromFirst.compositionPointsByWorkspace(),
              (std::map<std::string, std::string>{{"second", "change-of-second"}}));
}

TEST(BookmarkSettingsStoreLocation, AFailedWriteKeepsTheOldValuesAndTheFile) {
    // `.jj/repo` as a plain file: the store targets `.jj/repo/…`, reads the
    // legacy file meanwhile, and cannot create the folder it must write in.
    // This fails for root too, unlike a read-only folder.
    const TempDir repo("vorda-settings");
    const fs::path legacy = repo.path() / ".jj" / "Vorda-settings.json";
    const std::string legacyText = R"({"bookmarks": {"old": {"updateStrategy": "rebase"}}})";
    writeFile(legacy, legacyText);
    writeFile(repo.path() / ".jj" / "repo", "not a folder");

    BookmarkSettingsStore store(repo.path());
    EXPECT_EQ(store.fileURL(), repo.path() / ".jj" / "repo" / "Vorda-settings.json");
    EXPECT_THROW(store.set(fullSettings(), "new"), fs::filesystem_error);
    EXPECT_THROW(store.remove("old"), fs::filesystem_error);

    EXPECT_EQ(store.all(), (std::map<std::string, BookmarkSettings>{{"old", BookmarkSettings{}}}));
    EXPECT_EQ(readFile(legacy), legacyText);
    EXPECT_EQ(readFile(repo.path() / ".jj" / "repo"), "not a folder");
}

TEST_F(BookmarkSettingsStoreTest, AFailedRenameKeepsTheCacheAndLeavesNoTemporaryFile) {
    BookmarkSettingsStore store(root());
    store.setApexChangeID("first");

    // A non-empty folder where the file was: the rename over it fails.
    fs::remove(settingsFile());
    fs::create_directories(settingsFile() / "blocker");
    EXPECT_THROW(store.setApexChangeID("second"), fs::filesystem_error);
    EXPECT_EQ(store.apexChangeID(), "first");

    std::vector<std::string> entries;
    for (const auto& entry : fs::directory_iterator(repoFolder())) {
        entries.push_back(entry.path().filename().string());
    }
    std::sort(entries.begin(), entries.end());
    EXPECT_EQ(entries, (std::vector<std::string>{"Vorda-settings.json", "Vorda-settings.lock"}));
    EXPECT_TRUE(fs::is_directory(settingsFile()));
}

TEST_F(BookmarkSettingsStoreTest, UnencodableValuesAreRefusedBeforeTheFileIsTouched) {
    BookmarkSettingsStore store(root());
    store.set(fullSettings(), "kept");
    const std::string before = readFile(settingsFile());

    try {
        store.set(fullSettings(), "bad\xC3");
        ADD_FAILURE() << "a name that is not UTF-8 was written";
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code(), std::errc::illegal_byte_sequence);
    }
    try {
        store.setRoutingRules({{"not-a-uuid", "*", "kept", true}});
        ADD_FAILURE() << "a rule without a UUID was written";
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code(), std::errc::invalid_argument);
    }

    EXPECT_EQ(store.all().size(), 1U);
    EXPECT_TRUE(store.routingRules().empty());
    EXPECT_EQ(readFile(settingsFile()), before);
}

TEST_F(BookmarkSettingsStoreTest, SaveConfigKeepsThePlaceOfAnExistingName) {
    BookmarkSettingsStore store(root());
    store.saveConfig(config("a", {"x"}));
    store.saveConfig(config("b", {"y"}));
    store.saveConfig(config("c", {"z"}));
    store.saveConfig(config("b", {"y", "w"}, Strategy{Strategy::TrunkTip{}}));
    EXPECT_EQ(store.savedConfigs(),
              (std::vector<SavedConfig>{config("a", {"x"}),
                                        config("b", {"y", "w"}, Strategy{Strategy::TrunkTip{}}),
                                        config("c", {"z"})}));

    store.removeConfig("b");
    store.removeConfig("unknown");
    BookmarkSettingsStore reopened(root());
    EXPECT_EQ(reopened.savedConfigs(),
              (std::vector<SavedConfig>{config("a", {"x"}), config("c", {"z"})}));
}

TEST_F(BookmarkSettingsStoreTest, RemoveConfigRemovesEveryEntryOfThatName) {
    writeFile(settingsFile(), R"({"bookmarks": {}, "savedConfigs": [
        {"name": "dup", "enabledBookmarks": ["1"]}, {"name": "other", "enabledBookmarks": []},
        {"name": "dup", "enabledBookmarks": ["2"]}]})");
    BookmarkSettingsStore store(root());
    store.removeConfig("dup");
    EXPECT_EQ(store.savedConfigs(), (std::vector<SavedConfig>{config("other", {})}));
}

TEST_F(BookmarkSettingsStoreTest, BookmarkEntriesAreSetReplacedAndRemoved) {
    BookmarkSettingsStore store(root());
    store.set(fullSettings(), "a");
    store.set(BookmarkSettings{}, "b");
    auto changed = fullSettings();
    changed.tags.clear();
    store.set(changed, "a");
    store.remove("b");
    store.remove("never-there");

    BookmarkSettingsStore reopened(root());
    EXPECT_EQ(reopened.settings("a"), changed);
    EXPECT_FALSE(reopened.settings("b").has_value());
    EXPECT_EQ(reopened.all().size(), 1U);
}

TEST_F(BookmarkSettingsStoreTest, CompositionPointsAreSetAndRemovedPerWorkspace) {
    BookmarkSettingsStore store(root());
    store.setCompositionPoint("one", "default");
    store.setCompositionPoint("two", "second");
    store.setCompositionPoint("three", "default");
    const auto before = fileJSON();

    // Removing a workspace that has no entry still writes, with equal content.
    store.setCompositionPoint(std::nullopt, "unknown");
    EXPECT_EQ(fileJSON(), before);

    store.setCompositionPoint(std::nullopt, "second");
    BookmarkSettingsStore reopened(root());
    EXPECT_EQ(reopened.compositionPointsByWorkspace(),
              (std::map<std::string, std::string>{{"default", "three"}}));
}

TEST_F(BookmarkSettingsStoreTest, TheFileIsReadOnceAndAllPartsAreCachedTogether) {
    writeFile(settingsFile(), R"({"bookmarks": {"a": {"updateStrategy": "rebase"}}})");
    BookmarkSettingsStore store(root());
    EXPECT_FALSE(store.apexChangeID().has_value());

    // Changes by another process are not seen, by any part, once loaded; an
    // absent apex counts as loaded too.
    writeFile(settingsFile(), R"({"bookmarks": {}, "apexChangeID": "late",
        "routingRules": [{"id": ")" +
                                  ruleID + R"(", "pattern": "*", "bookmarkName": "a",
        "enabled": true}], "compositionPointsByWorkspace": {"w": "c"}})");
    EXPECT_FALSE(store.apexChangeID().has_value());
    EXPECT_EQ(store.all().size(), 1U);
    EXPECT_TRUE(store.routingRules().empty());
    EXPECT_TRUE(store.compositionPointsByWorkspace().empty());

    // A write reads the file afresh, so the other process's changes are
    // kept and the cache takes them in.
    store.set(fullSettings(), "b");
    const auto json = fileJSON();
    EXPECT_EQ(json["apexChangeID"], "late");
    EXPECT_EQ(json["bookmarks"].size(), 1U);
    EXPECT_EQ(json["routingRules"].size(), 1U);
    EXPECT_EQ(store.apexChangeID(), "late");
}

TEST_F(BookmarkSettingsStoreTest, WritersInSeveralProcessesNeverLoseAnUpdate) {
    // Each process tags its own bookmark several times from a store it opened
    // before any other wrote.
    constexpr int processes = 8;
    constexpr int tagsEach = 5;
    std::vector<pid_t> children;
    for (int process = 0; process < processes; ++process) {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            BookmarkSettingsStore store(root());
            (void)store.all();
            for (int tag = 0; tag < tagsEach; ++tag) {
                store.update("b" + std::to_string(process), [&](auto stored) {
                    auto settings = stored.value_or(BookmarkSettings{});
                    settings.tags.push_back("t" + std::to_string(tag));
                    return settings;
                });
            }
            _exit(0);
        }
        children.push_back(child);
    }
    for (const pid_t child : children) {
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }
    const auto all = BookmarkSettingsStore(root()).all();
    ASSERT_EQ(all.size(), std::size_t{processes});
    for (const auto& [name, settings] : all) {
        EXPECT_EQ(settings.tags.size(), std::size_t{tagsEach}) << name;
    }
}

TEST_F(BookmarkSettingsStoreTest, AFIFOInPlaceOfTheFileIsDamageNotAWait) {
    ASSERT_EQ(mkfifo(settingsFile().c_str(), 0600), 0);
    BookmarkSettingsStore store(root());
    EXPECT_TRUE(store.all().empty());
    store.set(fullSettings(), "a");
    EXPECT_EQ(BookmarkSettingsStore(root()).settings("a"), fullSettings());
}

TEST_F(BookmarkSettingsStoreTest, NamesWithQuotesEscapesLineEndsAndNonAsciiSurvive) {
    const std::string name = "we\"ird\\name\nline\t\xC3\xA4 \xE6\x97\xA5\xE6\x9C\xAC";
    BookmarkSettings settings;
    settings.tags = {name, "\"", "\\"};
    {
        BookmarkSettingsStore store(root());
        store.set(settings, name);
        store.saveConfig(config(name, {name}, Strategy{Strategy::SpecificCommit{name}}));
        store.setRoutingRules({{ruleID, name, name, true}});
        store.setCompositionPoint(name, name);
        store.setApexChangeID(name);
    }
    BookmarkSettingsStore reopened(root());
    EXPECT_EQ(reopened.settings(name), settings);
    EXPECT_EQ(
        reopened.savedConfigs(),
        (std::vector<SavedConfig>{config(name, {name}, Strategy{Strategy::SpecificCommit{name}})}));
    EXPECT_EQ(reopened.routingRules(), (std::vector<FileRoutingRule>{{ruleID, name, name, true}}));
    EXPECT_EQ(reopened.compositionPointsByWorkspace(),
              (std::map<std::string, std::string>{{name, name}}));
    EXPECT_EQ(reopened.apexChangeID(), name);
}

TEST_F(BookmarkSettingsStoreTest, ConcurrentWritersAllLand) {
    constexpr std::size_t threadCount = 4;
    constexpr std::size_t writesPerThread = 10;
    BookmarkSettingsStore store(root());
    std::vector<std::thread> threads;
    threads.reserve(threadCount);
    for (std::size_t thread = 0; thread < threadCount; ++thread) {
        threads.emplace_back([&store, thread] {
            for (std::size_t write = 0; write < writesPerThread; ++write) {
                const std::string suffix = std::to_string(thread) + "-" + std::to_string(write);
                store.set(fullSettings(), "bookmark-" + suffix);
                store.setCompositionPoint("change-" + suffix, "workspace-" + suffix);
                EXPECT_TRUE(store.settings("bookmark-" + suffix).has_value());
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }

    const std::size_t expected = threadCount * writesPerThread;
    EXPECT_EQ(store.all().size(), expected);
    BookmarkSettingsStore reopened(root());
    EXPECT_EQ(reopened.all().size(), expected);
    EXPECT_EQ(reopened.compositionPointsByWorkspace().size(), expected);
}

TEST(BookmarkSettingsCoding, BaseStrategyIsAOneKeyObject) {
    EXPECT_EQ(toJSON(Strategy{Strategy::TrunkTip{}}), nlohmann::json::parse(R"({"trunkTip":{}})"));
    EXPECT_EQ(toJSON(Strategy{Strategy::WorkingCopy{}}),
              nlohmann::json::parse(R"({"workingCopy":{}})"));
    EXPECT_EQ(toJSON(Strategy{Strategy::SpecificCommit{"abc"}}),
              nlohmann::json::parse(R"({"specificCommit":{"_0":"abc"}})"));

    for (const auto* text :
         {R"({"trunkTip":{}})", R"({"workingCopy":{}})", R"({"specificCommit":{"_0":"abc"}})"}) {
        const auto json = nlohmann::json::parse(text);
        EXPECT_EQ(toJSON(decodeBaseStrategy(JsonReader(json))), json) << text;
    }

    for (const auto* text : {R"({"trunkTip":{},"workingCopy":{}})", R"({})"}) {
        const auto json = nlohmann::json::parse(text);
        try {
            decodeBaseStrategy(JsonReader(json));
            ADD_FAILURE() << "decoded " << text;
        } catch (const DecodingError& error) {
            EXPECT_EQ(error.description(), "Invalid number of keys found, expected one.");
        }
    }
    for (const auto* text : {R"({"specificCommit":{}})", R"({"trunk":{}})", R"({"trunkTip":"x"})",
                             R"({"specificCommit":{"_0":1}})"}) {
        const auto json = nlohmann::json::parse(text);
        EXPECT_THROW(decodeBaseStrategy(JsonReader(json)), DecodingError) << text;
    }
}

TEST(BookmarkSettingsCoding, DefaultsFollowTheOrigin) {
    const auto upstream = BookmarkSettings::defaultFor(BookmarkOrigin::upstream("origin"));
    EXPECT_EQ(upstream.updateStrategy, UpdateStrategy::mergeIn);
    EXPECT_FALSE(upstream.columnVisible);
    EXPECT_FALSE(upstream.cachedPRNumber.has_value());
    const auto local = BookmarkSettings::defaultFor(BookmarkOrigin::local());
    EXPECT_EQ(local, BookmarkSettings{});

    EXPECT_EQ(displayName(UpdateStrategy::rebase), "Rebase");
    EXPECT_EQ(displayName(UpdateStrategy::mergeIn), "Merge trunk in");
    for (const auto strategy : {UpdateStrategy::rebase, UpdateStrategy::mergeIn}) {
        EXPECT_EQ(updateStrategyFromRaw(rawValue(strategy)), strategy);
    }
    EXPECT_FALSE(updateStrategyFromRaw("Rebase").has_value());
}

TEST(BookmarkSettingsCoding, RuleIdsAreUuids) {
    const std::string made = makeUuid();
    EXPECT_TRUE(isValidUuid(made));
    EXPECT_EQ(made, canonicalUuid(made)) << "made in upper case";
    EXPECT_EQ(made[14], '4') << "version 4";
    EXPECT_NE(std::string("89AB").find(made[19]), std::string::npos) << "RFC 4122 variant";
    EXPECT_NE(makeUuid(), made);

    EXPECT_TRUE(isValidUuid("0f8fad5b-d9cb-469f-a165-70867728950e"));
    for (const auto* bad :
         {"", "0F8FAD5B-D9CB-469F-A165-70867728950", "0F8FAD5BD9CB-469F-A165-70867728950E0",
          "0F8FAD5B-D9CB-469F-A165-70867728950G", "{0F8FAD5B-D9CB-469F-A165-70867728950E}",
          "0F8FAD5B_D9CB-469F-A165-70867728950E"}) {
        EXPECT_FALSE(isValidUuid(bad)) << bad;
    }
}

}  // namespace
}  // namespace vorda
