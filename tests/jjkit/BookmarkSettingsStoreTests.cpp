#include "jjkit/settings/BookmarkSettingsStore.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>
#include <system_error>
#include <thread>

#include <gmock/gmock.h>
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
using testing::TempDir;
using Strategy = SavedConfig::BaseStrategy;
using Points = std::map<std::string, std::string>;

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

std::vector<std::string> entriesOf(const fs::path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

BookmarkSettings fullSettings() {
    return {UpdateStrategy::mergeIn, std::string(40, 'c'), 128, {"review", "urgent"}, true, true};
}

SavedConfig config(std::string name, std::vector<std::string> bookmarks,
                   std::optional<Strategy> base = std::nullopt) {
    return SavedConfig{std::move(name), std::move(bookmarks), std::move(base)};
}

/// Whether every part of the store reads as empty.
bool readsEmpty(BookmarkSettingsStore& store) {
    return store.all().empty() && store.savedConfigs().empty() && store.routingRules().empty() &&
           !store.apexChangeID().has_value() && store.compositionPointsByWorkspace().empty();
}

/// A repository root with `.jj/repo/` made by hand, as jj lays it out.
class BookmarkSettingsStoreTest : public ::testing::Test {
  protected:
    BookmarkSettingsStoreTest() { fs::create_directories(repoFolder()); }

    const fs::path& root() const { return root_.path(); }
    fs::path repoFolder() const { return root() / ".jj" / "repo"; }
    fs::path settingsFile() const { return repoFolder() / "Vorda-settings.json"; }
    fs::path legacyFile() const { return root() / ".jj" / "Vorda-settings.json"; }
    nlohmann::json fileJSON() const { return nlohmann::json::parse(readFile(settingsFile())); }

  private:
    TempDir root_{"vorda-settings"};
};

TEST_F(BookmarkSettingsStoreTest, EveryFieldSurvivesTheFileUnderAwkwardNamesAndChangesInPlace) {
    const std::string name = "we\"ird\\name\nline\t\xC3\xA4 \xE6\x97\xA5\xE6\x9C\xAC";
    BookmarkSettings awkward;
    awkward.tags = {name, "\"", "\\"};
    std::vector<SavedConfig> configs{config(name, {name}, Strategy{Strategy::SpecificCommit{name}}),
                                     config("trunk", {"feature"}),
                                     config("copy", {}, Strategy{Strategy::WorkingCopy{}}),
                                     config("plain", {"feature"})};
    const std::vector<FileRoutingRule> rules{{ruleID, name, name, true},
                                             {makeUuid(), "docs/**/*.md", "docs", false}};
    {
        // Nothing is there, and nothing is written, before the first write.
        BookmarkSettingsStore store(root());
        EXPECT_TRUE(readsEmpty(store));
        EXPECT_FALSE(fs::exists(settingsFile()));
        store.set(BookmarkSettings{}, "feature");
        store.set(awkward, name);
        store.set(fullSettings(), "gone");
        for (const auto& saved : configs) {
            store.saveConfig(saved);
        }
        store.setRoutingRules(rules);
        store.setApexChangeID(name);
        store.setCompositionPoint(name, name);
        store.setCompositionPoint("one", "default");
        store.setCompositionPoint("two", "second");
        // Replacing keeps an entry's place; removing what is not there changes nothing.
        store.set(fullSettings(), "feature");
        store.remove("gone");
        store.remove("never-there");
        configs[1] = config("trunk", {"feature", "docs"}, Strategy{Strategy::TrunkTip{}});
        store.saveConfig(configs[1]);
        store.removeConfig("unknown");
        store.setCompositionPoint("zzzzyyyyxxxxwwwwvvvvuuuuttttssss", "default");
        store.setCompositionPoint(std::nullopt, "second");
        store.setCompositionPoint(std::nullopt, "unknown");
    }
    EXPECT_FALSE(fs::exists(legacyFile()));
    BookmarkSettingsStore reopened(root());
    EXPECT_EQ(reopened.all(), (std::map<std::string, BookmarkSettings>{{"feature", fullSettings()},
                                                                       {name, awkward}}));
    EXPECT_EQ(reopened.savedConfigs(), configs);
    EXPECT_EQ(reopened.routingRules(), rules);
    EXPECT_EQ(reopened.apexChangeID(), name);
    EXPECT_EQ(reopened.compositionPointsByWorkspace(),
              (Points{{name, name}, {"default", "zzzzyyyyxxxxwwwwvvvvuuuuttttssss"}}));

    // Pretty-printed, with the keys in sorted order.
    EXPECT_EQ(readFile(settingsFile()), fileJSON().dump(2));
}

TEST_F(BookmarkSettingsStoreTest, ADamagedFileReadsEmptyAndTheNextWriteKeepsItBeside) {
    const std::string good = R"({"bookmarks": {"a": {"updateStrategy": "rebase"}}, )";
    const std::vector<std::pair<const char*, std::string>> damages{
        {"not JSON", "{\"bookmarks\": {"},
        {"empty file", ""},
        {"not an object", "[]"},
        {"no bookmarks key", R"({"apexChangeID": "abc"})"},
        {"bookmarks not an object", R"({"bookmarks": []})"},
        {"entry without strategy", R"({"bookmarks": {"a": {"pinned": true}}})"},
        {"unknown strategy", R"({"bookmarks": {"a": {"updateStrategy": "squash"}}})"},
        {"wrong type", R"({"bookmarks": {"a": {"updateStrategy": "rebase", "tags": "x"}}})"},
        {"rule id not a UUID", good + R"("routingRules": [{"id": "rule-1", "pattern": "*",
                                         "bookmarkName": "a", "enabled": true}]})"},
        {"rule without enabled", good + R"("routingRules": [{"id": ")" + ruleID +
                                     R"(", "pattern": "*", "bookmarkName": "a"}]})"},
        {"config without bookmarks", good + R"("savedConfigs": [{"name": "n"}]})"},
        {"two-key base strategy", good + R"("savedConfigs": [{"name": "n", "enabledBookmarks": [],
                 "baseStrategy": {"trunkTip": {}, "workingCopy": {}}}]})"},
        {"composition point not text", good + R"("compositionPointsByWorkspace": {"w": 3}})"},
        {"invalid UTF-8", "{\"bookmarks\": {\"a\xff\": {\"updateStrategy\": \"rebase\"}}}"},
    };
    for (const auto& [what, text] : damages) {
        SCOPED_TRACE(what);
        const TempDir repo("vorda-damaged");
        const fs::path file = repo.path() / ".jj" / "repo" / "Vorda-settings.json";
        writeFile(file, text);

        BookmarkSettingsStore store(repo.path());
        EXPECT_TRUE(readsEmpty(store));
        const testing::LogCapture log;
        store.set(fullSettings(), "b");
        EXPECT_EQ(BookmarkSettingsStore(repo.path()).all(),
                  (std::map<std::string, BookmarkSettings>{{"b", fullSettings()}}));
        // The damaged file is kept beside, byte for byte, and the log says so;
        // sorted, the folder holds the file, the damaged copy and the lock.
        const auto entries = entriesOf(file.parent_path());
        ASSERT_EQ(entries.size(), 3U);
        const std::string& kept = entries[1];
        EXPECT_TRUE(kept.starts_with("Vorda-settings.json.damaged-")) << kept;
        EXPECT_EQ(readFile(file.parent_path() / kept), text);
        EXPECT_TRUE(log.contains("kept it as " + kept)) << log.text();
    }
    // A FIFO in place of the file is damage too, not a wait.
    ASSERT_EQ(mkfifo(settingsFile().c_str(), 0600), 0);
    BookmarkSettingsStore store(root());
    EXPECT_TRUE(store.all().empty());
    store.set(fullSettings(), "a");
    EXPECT_EQ(BookmarkSettingsStore(root()).settings("a"), fullSettings());
}

TEST_F(BookmarkSettingsStoreTest, ALegacyFileIsReadUntilTheFirstWriteCreatesTheNewOne) {
    // Optional keys missing or null take their defaults; unknown keys are ignored.
    const std::string legacy = R"({"bookmarks": {"a": {"updateStrategy": "mergeIn"},
        "b": {"updateStrategy": "rebase", "lastPushedCommitID": null, "pinned": true}},
        "savedConfigs": [{"name": "n", "enabledBookmarks": ["a"], "baseStrategy": null},
        {"name": "dup", "enabledBookmarks": []}, {"name": "dup", "enabledBookmarks": ["b"]}],
        "routingRules": [{"id": "0f8fad5b-d9cb-469f-a165-70867728950e", "pattern": "*",
        "bookmarkName": "a", "enabled": true}], "unknownKey": 1})";
    writeFile(legacyFile(), legacy);
    BookmarkSettingsStore store(root());
    const std::map<std::string, BookmarkSettings> bookmarks{
        {"a", {UpdateStrategy::mergeIn, {}, {}, {}, false, false}},
        {"b", {UpdateStrategy::rebase, {}, {}, {}, true, false}}};
    EXPECT_EQ(store.all(), bookmarks);
    EXPECT_EQ(store.savedConfigs(), (std::vector<SavedConfig>{config("n", {"a"}), config("dup", {}),
                                                              config("dup", {"b"})}));
    // A lower-case UUID is accepted and kept in the canonical form.
    EXPECT_EQ(store.routingRules(), (std::vector<FileRoutingRule>{{ruleID, "*", "a", true}}));
    EXPECT_FALSE(store.apexChangeID().has_value());
    EXPECT_TRUE(store.compositionPointsByWorkspace().empty());
    EXPECT_FALSE(fs::exists(settingsFile()));

    // Removing a config removes every entry of its name.
    store.removeConfig("dup");
    EXPECT_EQ(readFile(legacyFile()), legacy) << "the legacy file is left alone";
    // From now on the new file is the one read, whatever the legacy one says.
    writeFile(legacyFile(), R"({"bookmarks": {}})");
    BookmarkSettingsStore reopened(root());
    EXPECT_EQ(reopened.all(), bookmarks);
    EXPECT_EQ(reopened.routingRules(), store.routingRules());
    EXPECT_EQ(reopened.savedConfigs(), (std::vector<SavedConfig>{config("n", {"a"})}));
}

TEST(BookmarkSettingsStoreLocation,
     WorkspacesShareTheRepositorysFileAndWithoutOneTheLegacyPlaceIsUsed) {
    testing::TestRepo repo;
    repo.commit("one", {{"a", "1"}});
    const auto second = repo.addWorkspace("second");
    ASSERT_TRUE(fs::is_regular_file(fs::path(second) / ".jj" / "repo"));

    BookmarkSettingsStore fromSecond(second);
    EXPECT_EQ(fromSecond.fileURL(),
              fs::canonical(fs::path(repo.root()) / ".jj" / "repo") / "Vorda-settings.json");
    fromSecond.setCompositionPoint("change-of-second", "second");
    EXPECT_EQ(BookmarkSettingsStore(repo.root()).compositionPointsByWorkspace(),
              (Points{{"second", "change-of-second"}}));

    // Without a repo folder the legacy place is written until one appears.
    const TempDir plain("vorda-settings");
    fs::create_directories(plain.path() / ".jj");
    BookmarkSettingsStore store(plain.path());
    EXPECT_EQ(store.fileURL(), store.legacyFileURL());
    store.set(BookmarkSettings{}, "old");
    EXPECT_FALSE(fs::exists(plain.path() / ".jj" / "repo"));
    // Every part is written, the empty ones too; absent optionals are left out
    // rather than written as null.
    const std::string legacyText = readFile(store.legacyFileURL());
    EXPECT_EQ(nlohmann::json::parse(legacyText), nlohmann::json::parse(R"({"bookmarks": {"old":
        {"columnVisible": false, "pinned": false, "tags": [], "updateStrategy": "rebase"}},
        "compositionPointsByWorkspace": {}, "routingRules": [], "savedConfigs": []})"));

    // `.jj/repo` as a plain file: the store targets `.jj/repo/…`, reads the
    // legacy file meanwhile, and cannot create the folder it must write in.
    // A failed write keeps the old values and the files (for root too,
    // unlike a read-only folder).
    writeFile(plain.path() / ".jj" / "repo", "not a folder");
    BookmarkSettingsStore blocked(plain.path());
    EXPECT_EQ(blocked.fileURL(), plain.path() / ".jj" / "repo" / "Vorda-settings.json");
    EXPECT_THROW(blocked.set(fullSettings(), "new"), fs::filesystem_error);
    EXPECT_THROW(blocked.remove("old"), fs::filesystem_error);
    EXPECT_EQ(blocked.all(), (std::map<std::string, BookmarkSettings>{{"old", {}}}));
    EXPECT_EQ(readFile(store.legacyFileURL()), legacyText);
    EXPECT_EQ(readFile(plain.path() / ".jj" / "repo"), "not a folder");
}

TEST_F(BookmarkSettingsStoreTest, TheFileIsReadOnceWritesReadItAfreshAndFailedWritesChangeNothing) {
    writeFile(settingsFile(), R"({"bookmarks": {"a": {"updateStrategy": "rebase"}}})");
    BookmarkSettingsStore store(root());
    EXPECT_FALSE(store.apexChangeID().has_value());
    // Changes by another process are not seen, by any part, once loaded; an
    // absent apex counts as loaded too.
    const std::string late =
        R"({"bookmarks": {}, "apexChangeID": "late", "routingRules": [{"id": ")" + ruleID +
        R"(", "pattern": "*", "bookmarkName": "a", "enabled": true}]})";
    writeFile(settingsFile(), late);
    const auto counts = [&] {
        return std::to_string(store.all().size())
            .append(" " + std::to_string(store.routingRules().size()) + " ")
            .append(store.apexChangeID().value_or("-"));
    };
    EXPECT_EQ(counts(), "1 0 -");
    // A write reads the file afresh, so the other process's changes are kept
    // and the cache takes them in.
    store.set(fullSettings(), "b");
    EXPECT_EQ(fileJSON()["apexChangeID"], "late");
    EXPECT_EQ(store.all(), (std::map<std::string, BookmarkSettings>{{"b", fullSettings()}}));
    EXPECT_EQ(counts(), "1 1 late");

    // Unencodable values are refused before the file is touched.
    const std::string before = readFile(settingsFile());
    const auto fails = [](std::errc code) {
        return ::testing::Throws<std::system_error>(
            ::testing::Property(&std::system_error::code, std::make_error_code(code)));
    };
    EXPECT_THAT([&] { store.set(fullSettings(), "bad\xC3"); },
                fails(std::errc::illegal_byte_sequence));
    EXPECT_THAT(
        [&] {
            store.setRoutingRules({{"not-a-uuid", "*", "b", true}});
        },
        fails(std::errc::invalid_argument));
    EXPECT_EQ(counts(), "1 1 late");
    EXPECT_EQ(readFile(settingsFile()), before);

    // A non-empty folder where the file was: the rename over it fails, the
    // cache keeps its value and no temporary file is left.
    fs::remove(settingsFile());
    fs::create_directories(settingsFile() / "blocker");
    EXPECT_THROW(store.setApexChangeID("second"), fs::filesystem_error);
    EXPECT_EQ(counts(), "1 1 late");
    EXPECT_EQ(entriesOf(repoFolder()),
              (std::vector<std::string>{"Vorda-settings.json", "Vorda-settings.lock"}));
}

TEST_F(BookmarkSettingsStoreTest, WritersInSeveralProcessesAndThreadsNeverLoseAnUpdate) {
    // Each writer tags its own bookmark and sets a composition point per tag:
    // eight processes from stores opened before any other wrote, and four
    // threads here sharing one store.
    const auto addTags = [](BookmarkSettingsStore& store, const std::string& name, int count) {
        for (int tag = 0; tag < count; ++tag) {
            store.update(name, [&](auto stored) {
                auto settings = stored.value_or(BookmarkSettings{});
                settings.tags.push_back(std::to_string(tag));
                return settings;
            });
            store.setCompositionPoint("change", name + "-" + std::to_string(tag));
        }
    };
    std::map<std::string, std::size_t> expected;
    std::vector<pid_t> children;
    for (int process = 0; process < 8; ++process) {
        const std::string name = "p" + std::to_string(process);
        expected[name] = 5;
        children.push_back(fork());
        ASSERT_GE(children.back(), 0);
        if (children.back() == 0) {
            BookmarkSettingsStore store(root());
            (void)store.all();
            addTags(store, name, 5);
            _exit(0);
        }
    }
    BookmarkSettingsStore store(root());
    {
        std::vector<std::jthread> threads;
        threads.reserve(4);
        for (int thread = 0; thread < 4; ++thread) {
            expected["t" + std::to_string(thread)] = 10;
            threads.emplace_back([&, thread] { addTags(store, "t" + std::to_string(thread), 10); });
        }
    }
    for (const pid_t child : children) {
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }
    BookmarkSettingsStore reopened(root());
    std::map<std::string, std::size_t> tagCounts;
    for (const auto& [name, settings] : reopened.all()) {
        tagCounts[name] = settings.tags.size();
    }
    EXPECT_EQ(tagCounts, expected);
    EXPECT_EQ(reopened.compositionPointsByWorkspace().size(), 80U);
}

TEST(BookmarkSettingsCoding, BaseStrategyIsAOneKeyObject) {
    const std::vector<std::pair<Strategy, std::string>> strategies{
        {Strategy{Strategy::TrunkTip{}}, R"({"trunkTip":{}})"},
        {Strategy{Strategy::WorkingCopy{}}, R"({"workingCopy":{}})"},
        {Strategy{Strategy::SpecificCommit{"abc"}}, R"({"specificCommit":{"_0":"abc"}})"}};
    for (const auto& [strategy, text] : strategies) {
        const auto json = nlohmann::json::parse(text);
        EXPECT_EQ(toJSON(strategy), json) << text;
        EXPECT_EQ(decodeBaseStrategy(JsonReader(json)), strategy) << text;
    }
    const std::string keys = "Invalid number of keys found, expected one.";
    for (const auto& [text, error] : std::vector<std::pair<const char*, std::string>>{
             {R"({"trunkTip":{},"workingCopy":{}})", keys},
             {"{}", keys},
             {R"({"specificCommit":{}})", ""},
             {R"({"trunk":{}})", ""},
             {R"({"trunkTip":"x"})", ""},
             {R"({"specificCommit":{"_0":1}})", ""}}) {
        try {
            decodeBaseStrategy(JsonReader(nlohmann::json::parse(text)));
            ADD_FAILURE() << "decoded " << text;
        } catch (const DecodingError& failure) {
            EXPECT_TRUE(error.empty() || failure.description() == error) << text;
        }
    }
}

TEST(BookmarkSettingsCoding, DefaultsFollowTheOriginStrategiesHaveNamesAndRuleIdsAreUuids) {
    EXPECT_EQ(
        (std::vector{BookmarkSettings::defaultFor(BookmarkOrigin::upstream("origin")),
                     BookmarkSettings::defaultFor(BookmarkOrigin::local())}),
        (std::vector<BookmarkSettings>{{UpdateStrategy::mergeIn, {}, {}, {}, false, false}, {}}));
    EXPECT_EQ(
        (std::vector{displayName(UpdateStrategy::rebase), displayName(UpdateStrategy::mergeIn)}),
        (std::vector<std::string_view>{"Rebase", "Merge trunk in"}));
    EXPECT_EQ(updateStrategyFromRaw(rawValue(UpdateStrategy::mergeIn)), UpdateStrategy::mergeIn);
    EXPECT_FALSE(updateStrategyFromRaw("Rebase").has_value());

    // Made in upper case, version 4, RFC 4122 variant, a new one each time.
    const std::string made = makeUuid();
    EXPECT_TRUE(isValidUuid(made) && made == canonicalUuid(made) && made[14] == '4' &&
                std::string_view("89AB").find(made[19]) != std::string::npos && makeUuid() != made)
        << made;
    EXPECT_TRUE(isValidUuid("0f8fad5b-d9cb-469f-a165-70867728950e"));
    for (const char* bad :
         {"", "0F8FAD5B-D9CB-469F-A165-70867728950", "0F8FAD5BD9CB-469F-A165-70867728950E0",
          "0F8FAD5B-D9CB-469F-A165-70867728950G", "{0F8FAD5B-D9CB-469F-A165-70867728950E}",
          "0F8FAD5B_D9CB-469F-A165-70867728950E"}) {
        EXPECT_FALSE(isValidUuid(bad)) << bad;
    }
}

}  // namespace
}  // namespace vorda
