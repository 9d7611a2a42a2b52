#include "jjkit/stores/PRCacheStore.h"

#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>

#include "support/TempDir.h"

namespace vorda {
namespace {

namespace fs = std::filesystem;
using Entry = PRCacheStore::Entry;
using Clock = std::chrono::system_clock;

Clock::time_point atMicroseconds(std::int64_t microseconds) {
    return Clock::time_point(std::chrono::microseconds(microseconds));
}

Clock::time_point at(std::int64_t milliseconds) {
    return atMicroseconds(milliseconds * 1000);
}

GitHubPR pr(int number, const std::string& title) {
    const auto changes = GitHubPR::ReviewDecision::changesRequested;
    return {number, "pull/" + title, GitHubPR::State::open, false, title, changes, 4};
}

/// Runs SQL against the cache file with SQLite itself, beside the store; the
/// rows it selects come back with their columns joined by "|".
std::vector<std::string> executeDirectly(const fs::path& file, const std::string& sql) {
    sqlite3* database = nullptr;
    EXPECT_EQ(sqlite3_open(file.c_str(), &database), SQLITE_OK);
    std::vector<std::string> rows;
    char* message = nullptr;
    const auto collect = [](void* out, int columns, char** values, char**) {
        std::string row;
        for (int column = 0; column < columns; ++column) {
            row += (column > 0 ? "|" : "") + std::string(values[column] ? values[column] : "NULL");
        }
        static_cast<std::vector<std::string>*>(out)->push_back(row);
        return 0;
    };
    EXPECT_EQ(sqlite3_exec(database, sql.c_str(), collect, &rows, &message), SQLITE_OK)
        << (message != nullptr ? message : "");
    sqlite3_free(message);
    sqlite3_close(database);
    return rows;
}

class PRCacheStoreTest : public ::testing::Test {
  protected:
    const fs::path& root() const { return root_.path(); }
    fs::path cacheFile() const { return root() / ".jj" / "Vorda-pr-cache.sqlite"; }

  private:
    testing::TempDir root_{"vorda-pr-cache"};
};

TEST_F(PRCacheStoreTest, EntriesRoundTripAcrossStoresAndAreReplacedAndRemovedByName) {
    const std::vector<std::pair<std::string, Clock::time_point>> rows{
        {"it's", atMicroseconds(1'712'345'678'123'456)},
        {"say \"hi\"", Clock::time_point{}},
        {"with blanks  and\ttab", at(-86'400'000)},
        {"'; DROP TABLE pr_cache; --", at(1'700'000'000'250)},
        {"größe/ünïcode-分支", at(1)},
        {"", at(2)}};
    std::map<std::string, Entry> expected;
    {
        // Made without a .jj folder: the store creates it.
        PRCacheStore store(root());
        EXPECT_EQ(store.fileURL(), cacheFile());
        EXPECT_TRUE(store.all().empty());
        for (std::size_t index = 0; index < rows.size(); ++index) {
            const auto& [name, time] = rows[index];
            Entry entry{"tip-" + name, pr(static_cast<int>(index) + 1, "PR for " + name), time};
            if (index % 2 == 1) {
                entry.pr = std::nullopt;
            }
            store.set(entry, name);
            expected.emplace(name, entry);
        }
        // Kept to the microsecond: nanoseconds round.
        store.set(Entry{"tip", std::nullopt,
                        Clock::time_point(std::chrono::duration_cast<Clock::duration>(
                            std::chrono::nanoseconds(1'712'345'678'123'456'789)))},
                  "nano");
        expected.emplace("nano", Entry{"tip", std::nullopt, atMicroseconds(1'712'345'678'123'457)});
    }
    ASSERT_TRUE(fs::is_regular_file(cacheFile()));
    PRCacheStore reopened(root());
    EXPECT_EQ(reopened.all(), expected);
    for (const auto& [name, entry] : expected) {
        EXPECT_EQ(reopened.entry(name), entry) << name;
    }
    EXPECT_EQ(reopened.entry("it"), std::nullopt);
    // A branch without a pull request is a NULL, not some text standing for none.
    EXPECT_EQ(executeDirectly(cacheFile(),
                              "SELECT branch, prData IS NULL FROM pr_cache WHERE branch IN "
                              "('it''s', 'say \"hi\"') ORDER BY branch"),
              (std::vector<std::string>{"it's|0", "say \"hi\"|1"}));

    // Setting replaces a row; removing deletes that one only.
    expected["it's"] = Entry{"new", std::nullopt, at(3000)};
    reopened.set(expected["it's"], "it's");
    reopened.remove("say \"hi\"");
    reopened.remove("never-there");
    expected.erase("say \"hi\"");
    EXPECT_EQ(reopened.all(), expected);

    // Pull request data that does not decode reads as absent.
    executeDirectly(cacheFile(),
                    "INSERT INTO pr_cache (branch, tipCommitID, prData, fetchedAt) VALUES "
                    "('binary', 'tip-b', X'00FF10', 20.0), "
                    "('wrong-shape', 'tip-w', CAST('{\"number\":\"x\"}' AS BLOB), 30.0), "
                    "('not-json', 'tip-n', CAST('[1, 2' AS BLOB), 40.0)");
    expected.insert({{"binary", {"tip-b", std::nullopt, at(20'000)}},
                     {"wrong-shape", {"tip-w", std::nullopt, at(30'000)}},
                     {"not-json", {"tip-n", std::nullopt, at(40'000)}}});
    EXPECT_EQ(PRCacheStore(root()).all(), expected);
}

TEST_F(PRCacheStoreTest, WhatCannotBeADatabaseThrowsAClearError) {
    fs::create_directories(cacheFile().parent_path());
    std::ofstream(cacheFile(), std::ios::binary) << std::string(4096, '\xA5');
    EXPECT_THAT(
        [&] { (void)PRCacheStore(root()).all(); },
        ::testing::ThrowsMessage<PRCacheStoreError>(::testing::AllOf(
            ::testing::HasSubstr(cacheFile().string()), ::testing::HasSubstr("not a database"))));

    // A FIFO in place of the cache, or a file where the .jj folder belongs.
    fs::remove(cacheFile());
    ASSERT_EQ(mkfifo(cacheFile().c_str(), 0600), 0);
    EXPECT_THROW(PRCacheStore store(root()), PRCacheStoreError);
    fs::remove_all(root() / ".jj");
    std::ofstream(root() / ".jj") << "a file, not a folder";
    EXPECT_THROW(PRCacheStore store(root()), PRCacheStoreError);
}

TEST_F(PRCacheStoreTest, ConcurrentWritersAllLand) {
    PRCacheStore store(root());
    {
        std::vector<std::jthread> threads;
        threads.reserve(4);
        for (int thread = 0; thread < 4; ++thread) {
            threads.emplace_back([&store, thread] {
                for (int index = 0; index < 25; ++index) {
                    const std::string name = std::to_string(thread * 100 + index);
                    store.set(Entry{name, pr(index + 1, name), at(index)}, name);
                    EXPECT_TRUE(store.entry(name).has_value());
                }
            });
        }
    }
    EXPECT_EQ(PRCacheStore(root()).all().size(), 100U);
}

}  // namespace
}  // namespace vorda
