#pragma once

#include <chrono>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>

#include "jjkit/github/GitHubPR.h"

struct sqlite3;

namespace vorda {

/// The pull request cache could not be opened, read or written; the message
/// names the file and SQLite's reason.
class PRCacheStoreError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// The last answer GitHub gave about each branch, so that a board of many
/// bookmarks asks again only about those whose tip moved. Kept in a small
/// SQLite database inside `.jj` (`<repoRoot>/.jj/Vorda-pr-cache.sqlite`), so it
/// goes away with the repository and is never tracked by it.
///
/// One row per branch: the tip commit the answer was about, the pull request
/// as JSON (NULL when the branch had none) and when the answer was fetched.
/// A row whose JSON no longer decodes reads as a branch without a pull
/// request; the next answer replaces it.
///
/// The constructor opens or creates the database and throws
/// `PRCacheStoreError` when it cannot (a damaged file included); callers then
/// go without a cache. Every operation throws `PRCacheStoreError` on a
/// database failure. One operation runs at a time.
class PRCacheStore {
  public:
    struct Entry {
        std::string tipCommitID;
        /// Absent: GitHub knew no pull request for the branch.
        std::optional<GitHubPR> pr;
        /// Kept to the microsecond.
        std::chrono::system_clock::time_point fetchedAt;

        bool operator==(const Entry&) const = default;
    };

    explicit PRCacheStore(const std::filesystem::path& repoRoot);

    PRCacheStore(const PRCacheStore&) = delete;
    PRCacheStore& operator=(const PRCacheStore&) = delete;
    PRCacheStore(PRCacheStore&&) = delete;
    PRCacheStore& operator=(PRCacheStore&&) = delete;
    ~PRCacheStore();

    const std::filesystem::path& fileURL() const { return fileURL_; }

    std::optional<Entry> entry(const std::string& branch);
    /// Every row, by branch.
    std::map<std::string, Entry> all();
    /// Inserts or replaces the row of `branch`.
    void set(const Entry& entry, const std::string& branch);
    /// Removing a branch that has no row does nothing.
    void remove(const std::string& branch);

  private:
    struct Closer {
        void operator()(sqlite3* database) const;
    };

    std::filesystem::path fileURL_;
    // Serialises all use of the connection, so that one statement runs at a
    // time and each error message read belongs to the failed call.
    std::mutex mutex_;
    std::unique_ptr<sqlite3, Closer> database_;
};

}  // namespace vorda
