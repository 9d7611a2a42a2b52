#include "jjkit/stores/PRCacheStore.h"

#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>

#include "support/TempDir.h"

namespace vorda {
namespace {

namespace fs = std::filesystem;
using testing::TempDir;
using Entry = PRCacheStore::Entry;
using Clock = std::chrono::system_clock;

Clock::time_point at(std::int64_t milliseconds) {
    return Clock::time_point(std::chrono::milliseconds(milliseconds));
}

Clock::time_point atMicroseconds(std::int64_t microseconds) {
    return Clock::time_point(std::chrono::microseconds(microseconds));
}

GitHubPR pr(int number, std::string title) {
    GitHubPR result;
    result.number = number;
    result.url = "https://github.com/example/repo/pull/" + std::to_string(number);
    result.state = GitHubPR::State::open;
    result.title = std::move(title);
    result.reviewDecision = GitHubPR::ReviewDecision::changesRequested;
    result.reviewCommentCount = 4;
    return result;
}

/// Runs SQL against the cache file with SQLite itself, beside the store.
void executeDirectly(const fs::path& file, const std::string& sql) {
    sqlite3* database = nullptr;
    ASSERT_EQ(sqlite3_open(file.c_str(), &database), SQLITE_OK);
    char* message = nullptr;
    const int status = sqlite3_exec(database, sql.c_str(), nullptr, nullptr, &message);
    const std::string reason = message != nullptr ? message : "";
    sqlite3_free(message);
    sqlite3_close(database);
    ASSERT_EQ(status, SQLITE_OK) << reason;
}

class PRCacheStoreTest : public ::testing::Test {
  protected:
    const fs::path& root() const { return root_.path(); }
    fs::path cacheFile() const { return root() / ".jj" / "Vorda-pr-cache.sqlite"; }

  private:
    TempDir root_{"vorda-pr-cache"};
};

TEST_F(PRCacheStoreTest, CreatesTheDatabaseInsideJJEvenWithoutTheFolder) {
    EXPECT_FALSE(fs::exists(root() / ".jj"));
    PRCacheStore store(root());
    EXPECT_EQ(store.fileURL(), cacheFile());
    EXPECT_TRUE(fs::is_regular_file(cacheFile()));
    EXPECT_TRUE(store.all().empty());
    EXPECT_EQ(store.entry("main"), std::nullopt);
}

TEST_F(PRCacheStoreTest, EntriesRoundTripUnderAwkwardBranchNames) {
    const std::vector<std::string> names{"it's",
                                         "say \"hi\"",
                                         "with blanks  and\ttab",
                                         "'; DROP TABLE pr_cache; --",
                                         "größe/ünïcode-分支",
                                         ""};
    PRCacheStore store(root());
    std::map<std::string, Entry> expected;
    for (std::size_t index = 0; index < names.size(); ++index) {
        const int number = static_cast<int>(index) + 1;
        Entry entry{"tip-" + std::to_string(number), pr(number, "PR for " + names[index]),
                    atMicroseconds(1'700'000'000'250'123 + number)};
        if (index % 2 == 1) {
            entry.pr = std::nullopt;
        }
        store.set(entry, names[index]);
        expected.emplace(names[index], entry);
    }
    EXPECT_EQ(store.all(), expected);
    for (const auto& name : names) {
        EXPECT_EQ(store.entry(name), expected.at(name)) << name;
    }
    EXPECT_EQ(store.entry("it"), std::nullopt);
}

TEST_F(PRCacheStoreTest, SetReplacesAndRemoveDeletesOneRow) {
    PRCacheStore store(root());
    store.set(Entry{"old", pr(1, "first"), at(1000)}, "feature");
    store.set(Entry{"other", std::nullopt, at(2000)}, "other");
    const Entry replacement{"new", std::nullopt, at(3000)};
    store.set(replacement, "feature");
    EXPECT_EQ(store.entry("feature"), replacement);
    EXPECT_EQ(store.all().size(), 2U);

    store.remove("feature");
    EXPECT_EQ(store.entry("feature"), std::nullopt);
    EXPECT_EQ(store.all(),
              (std::map<std::string, Entry>{{"other", {"other", std::nullopt, at(2000)}}}));
    store.remove("never-there");
    EXPECT_EQ(store.all().size(), 1U);
}

TEST_F(PRCacheStoreTest, AbsentPullRequestIsStoredAsNull) {
    {
        PRCacheStore store(root());
        store.set(Entry{"tip", std::nullopt, at(5)}, "no-pr");
        store.set(Entry{"tip", pr(9, "nine"), at(5)}, "with-pr");
    }
    sqlite3* database = nullptr;
    ASSERT_EQ(sqlite3_open(cacheFile().c_str(), &database), SQLITE_OK);
    sqlite3_stmt* statement = nullptr;
    ASSERT_EQ(
        sqlite3_prepare_v2(database, "SELECT branch, prData IS NULL FROM pr_cache ORDER BY branch",
                           -1, &statement, nullptr),
        SQLITE_OK);
    std::vector<std::pair<std::string, int>> rows;
    while (sqlite3_step(statement) == SQLITE_ROW) {
        rows.emplace_back(reinterpret_cast<const char*>(sqlite3_column_text(statement, 0)),
                          sqlite3_column_int(statement, 1));
    }
    sqlite3_finalize(statement);
    sqlite3_close(database);
    EXPECT_EQ(rows, (std::vector<std::pair<std::string, int>>{{"no-pr", 1}, {"with-pr", 0}}));
}

TEST_F(PRCacheStoreTest, ASecondStoreReadsWhatTheFirstWrote) {
    const Entry written{"c0ffee", pr(12, "Twelve \"quoted\" ü"), at(1'712'345'678'900)};
    {
        PRCacheStore store(root());
        store.set(written, "feature");
    }
    PRCacheStore reopened(root());
    EXPECT_EQ(reopened.entry("feature"), written);
    EXPECT_EQ(reopened.all().size(), 1U);
}

TEST_F(PRCacheStoreTest, FetchTimesAreKeptToTheMicrosecond) {
    PRCacheStore store(root());
    const auto micro = atMicroseconds(1'712'345'678'123'456);
    store.set(Entry{"tip", std::nullopt, micro}, "micro");
    const Clock::time_point nano(std::chrono::duration_cast<Clock::duration>(
        std::chrono::nanoseconds(1'712'345'678'123'456'789)));
    store.set(Entry{"tip", std::nullopt, nano}, "nano");
    store.set(Entry{"tip", std::nullopt, Clock::time_point{}}, "epoch");
    store.set(Entry{"tip", std::nullopt, at(-86'400'000)}, "before-epoch");

    EXPECT_EQ(store.entry("micro")->fetchedAt, micro);
    EXPECT_EQ(store.entry("nano")->fetchedAt, atMicroseconds(1'712'345'678'123'457));
    EXPECT_EQ(store.entry("epoch")->fetchedAt, Clock::time_point{});
    EXPECT_EQ(store.entry("before-epoch")->fetchedAt, at(-86'400'000));
}

TEST_F(PRCacheStoreTest, UndecodablePullRequestDataReadsAsAbsent) {
    {
        PRCacheStore store(root());
        store.set(Entry{"good", pr(3, "three"), at(10)}, "good");
    }
    executeDirectly(cacheFile(),
                    "INSERT INTO pr_cache (branch, tipCommitID, prData, fetchedAt) VALUES "
                    "('binary', 'tip-b', X'00FF10', 20.0), "
                    "('wrong-shape', 'tip-w', CAST('{\"number\":\"x\"}' AS BLOB), 30.0), "
                    "('not-json', 'tip-n', CAST('[1, 2' AS BLOB), 40.0)");
    PRCacheStore store(root());
    EXPECT_EQ(store.entry("binary"), (Entry{"tip-b", std::nullopt, at(20'000)}));
    EXPECT_EQ(store.entry("wrong-shape"), (Entry{"tip-w", std::nullopt, at(30'000)}));
    const auto all = store.all();
    ASSERT_EQ(all.size(), 4U);
    EXPECT_EQ(all.at("not-json"), (Entry{"tip-n", std::nullopt, at(40'000)}));
    EXPECT_EQ(all.at("good").pr, pr(3, "three"));
}

TEST_F(PRCacheStoreTest, AFileThatIsNotADatabaseThrowsAClearError) {
    fs::create_directories(cacheFile().parent_path());
    std::string garbage;
    for (int index = 0; index < 4096; ++index) {
        garbage.push_back(static_cast<char>((index * 7919 + 13) % 256));
    }
    std::ofstream(cacheFile(), std::ios::binary) << garbage;

    try {
        PRCacheStore store(root());
        store.all();
        ADD_FAILURE() << "a garbage file opened as a cache";
    } catch (const PRCacheStoreError& error) {
        const std::string message = error.what();
        EXPECT_NE(message.find(cacheFile().string()), std::string::npos) << message;
        EXPECT_NE(message.find("not a database"), std::string::npos) << message;
    }
}

TEST_F(PRCacheStoreTest, AFileWhereTheJJFolderBelongsOrAFIFOInPlaceOfTheCacheThrows) {
    std::ofstream(root() / ".jj") << "a file, not a folder";
    EXPECT_THROW(PRCacheStore store(root()), PRCacheStoreError);
    fs::remove(root() / ".jj");
    fs::create_directories(cacheFile().parent_path());
    ASSERT_EQ(mkfifo(cacheFile().c_str(), 0600), 0);
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
                    const std::string name =
                        "b" + std::to_string(thread) + "-" + std::to_string(index);
                    store.set(Entry{name, pr(index + 1, name), at(index)}, name);
                    EXPECT_TRUE(store.entry(name).has_value());
                }
            });
        }
    }
    EXPECT_EQ(store.all().size(), 100U);
}

}  // namespace
}  // namespace vorda
