#include "jjkit/stores/PRCacheStore.h"

#include <system_error>
#include <utility>

#include <sqlite3.h>

namespace vorda {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::system_clock;

constexpr const char* cacheFileName = "Vorda-pr-cache.sqlite";
/// How long a statement waits for another connection's lock (another window
/// on the same repository) before it fails as busy.
constexpr int busyTimeoutMs = 5000;

constexpr const char* createTableSQL =
    "CREATE TABLE IF NOT EXISTS pr_cache ("
    "branch TEXT PRIMARY KEY NOT NULL, "
    "tipCommitID TEXT NOT NULL, "
    "prData BLOB, "
    "fetchedAt REAL NOT NULL)";
constexpr const char* selectOneSQL =
    "SELECT tipCommitID, prData, fetchedAt FROM pr_cache WHERE branch = ?1";
constexpr const char* selectAllSQL = "SELECT branch, tipCommitID, prData, fetchedAt FROM pr_cache";
constexpr const char* upsertSQL =
    "INSERT OR REPLACE INTO pr_cache (branch, tipCommitID, prData, fetchedAt) "
    "VALUES (?1, ?2, ?3, ?4)";
constexpr const char* deleteSQL = "DELETE FROM pr_cache WHERE branch = ?1";

[[noreturn]] void fail(const fs::path& file, const std::string& what, sqlite3* database) {
    const char* reason = database != nullptr ? sqlite3_errmsg(database) : "out of memory";
    throw PRCacheStoreError("PR cache " + file.string() + ": " + what + ": " + reason);
}

/// One prepared statement, finalised on destruction. Bound text is not
/// copied by SQLite: the strings must outlive the last `step`.
class Statement {
  public:
    Statement(sqlite3* database, const fs::path& file, const char* sql)
        : database_(database), file_(file) {
        if (sqlite3_prepare_v2(database, sql, -1, &statement_, nullptr) != SQLITE_OK) {
            fail(file_, "cannot prepare statement", database_);
        }
    }
    ~Statement() { sqlite3_finalize(statement_); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;
    Statement(Statement&&) = delete;
    Statement& operator=(Statement&&) = delete;

    void bindText(int index, const std::string& value) {
        // A null destructor is SQLITE_STATIC: the caller keeps the bytes alive.
        check(sqlite3_bind_text(statement_, index, value.data(), static_cast<int>(value.size()),
                                nullptr));
    }
    void bindBlob(int index, const std::string& bytes) {
        check(sqlite3_bind_blob(statement_, index, bytes.data(), static_cast<int>(bytes.size()),
                                nullptr));
    }
    void bindNull(int index) { check(sqlite3_bind_null(statement_, index)); }
    void bindDouble(int index, double value) {
        check(sqlite3_bind_double(statement_, index, value));
    }

    /// True while there is a row to read; false once the statement is done.
    bool step() {
        const int status = sqlite3_step(statement_);
        if (status == SQLITE_ROW) {
            return true;
        }
        if (status != SQLITE_DONE) {
            fail(file_, "statement failed", database_);
        }
        return false;
    }

    std::string text(int column) const {
        const auto* bytes = sqlite3_column_text(statement_, column);
        if (bytes == nullptr) {
            return {};
        }
        return {reinterpret_cast<const char*>(bytes),
                static_cast<std::size_t>(sqlite3_column_bytes(statement_, column))};
    }
    std::optional<std::string> blob(int column) const {
        if (sqlite3_column_type(statement_, column) == SQLITE_NULL) {
            return std::nullopt;
        }
        const auto* bytes = static_cast<const char*>(sqlite3_column_blob(statement_, column));
        const auto size = static_cast<std::size_t>(sqlite3_column_bytes(statement_, column));
        return bytes == nullptr ? std::string() : std::string(bytes, size);
    }
    double real(int column) const { return sqlite3_column_double(statement_, column); }

  private:
    void check(int status) const {
        if (status != SQLITE_OK) {
            fail(file_, "cannot bind parameter", database_);
        }
    }

    sqlite3* database_;
    const fs::path& file_;
    sqlite3_stmt* statement_ = nullptr;
};

double secondsSinceEpoch(Clock::time_point time) {
    return std::chrono::duration<double>(time.time_since_epoch()).count();
}

/// Seconds as a REAL keep about a tenth of a microsecond near the present,
/// so times read back rounded to the microsecond: exactly what was written
/// when that was a whole number of microseconds.
///
/// A damaged row may hold any number: one the clock cannot hold (beyond about
/// the year 2255, or not a number) reads as the epoch, an entry long stale.
Clock::time_point timeFromSeconds(double seconds) {
    constexpr double representable = 9.0e9;
    if (!(seconds > -representable && seconds < representable)) {
        return {};
    }
    const auto micros =
        std::chrono::round<std::chrono::microseconds>(std::chrono::duration<double>(seconds));
    return Clock::time_point(std::chrono::duration_cast<Clock::duration>(micros));
}

/// The stored JSON as a pull request; absent when there is none or it no
/// longer decodes, which the next answer for the branch repairs.
std::optional<GitHubPR> decodePR(const std::optional<std::string>& data) {
    if (!data) {
        return std::nullopt;
    }
    try {
        const nlohmann::json json = JsonReader::parse(*data);
        return RecordCoding<GitHubPR>::decode(JsonReader(json));
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

std::string encodePR(const GitHubPR& pr) {
    // Text that is not UTF-8 is replaced rather than failing the write.
    return RecordCoding<GitHubPR>::encode(pr).dump(-1, ' ', false,
                                                   nlohmann::json::error_handler_t::replace);
}

/// The entry held in columns `first`… (tipCommitID, prData, fetchedAt).
PRCacheStore::Entry readEntry(const Statement& statement, int first) {
    return PRCacheStore::Entry{statement.text(first), decodePR(statement.blob(first + 1)),
                               timeFromSeconds(statement.real(first + 2))};
}

}  // namespace

void PRCacheStore::Closer::operator()(sqlite3* database) const {
    sqlite3_close_v2(database);
}

PRCacheStore::PRCacheStore(const std::filesystem::path& repoRoot)
    : fileURL_(repoRoot / ".jj" / cacheFileName) {
    std::error_code error;
    fs::create_directories(fileURL_.parent_path(), error);
    if (error) {
        throw PRCacheStoreError("PR cache " + fileURL_.string() +
                                ": cannot create folder: " + error.message());
    }
    // SQLite would open a FIFO or a device at the path and then wait on it
    // for ever; anything but a regular file is refused before it opens.
    const auto type = fs::status(fileURL_, error).type();
    if (type != fs::file_type::not_found && type != fs::file_type::regular) {
        throw PRCacheStoreError("PR cache " + fileURL_.string() + ": not a regular file");
    }
    sqlite3* opened = nullptr;
    const int status = sqlite3_open_v2(fileURL_.c_str(), &opened,
                                       SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
    // A failed open still hands back a connection that must be closed.
    database_.reset(opened);
    if (status != SQLITE_OK) {
        fail(fileURL_, "cannot open", database_.get());
    }
    sqlite3_busy_timeout(database_.get(), busyTimeoutMs);
    // Creating the table reads the file's header and schema, so a file that
    // is not a database fails here rather than in a later operation.
    if (sqlite3_exec(database_.get(), createTableSQL, nullptr, nullptr, nullptr) != SQLITE_OK) {
        fail(fileURL_, "cannot create table", database_.get());
    }
}

PRCacheStore::~PRCacheStore() = default;

std::optional<PRCacheStore::Entry> PRCacheStore::entry(const std::string& branch) {
    const std::lock_guard lock(mutex_);
    Statement statement(database_.get(), fileURL_, selectOneSQL);
    statement.bindText(1, branch);
    if (!statement.step()) {
        return std::nullopt;
    }
    return readEntry(statement, 0);
}

std::map<std::string, PRCacheStore::Entry> PRCacheStore::all() {
    const std::lock_guard lock(mutex_);
    Statement statement(database_.get(), fileURL_, selectAllSQL);
    std::map<std::string, Entry> entries;
    while (statement.step()) {
        entries.insert_or_assign(statement.text(0), readEntry(statement, 1));
    }
    return entries;
}

void PRCacheStore::set(const Entry& entry, const std::string& branch) {
    const std::lock_guard lock(mutex_);
    Statement statement(database_.get(), fileURL_, upsertSQL);
    const std::string data = entry.pr ? encodePR(*entry.pr) : std::string();
    statement.bindText(1, branch);
    statement.bindText(2, entry.tipCommitID);
    if (entry.pr) {
        statement.bindBlob(3, data);
    } else {
        statement.bindNull(3);
    }
    statement.bindDouble(4, secondsSinceEpoch(entry.fetchedAt));
    statement.step();
}

void PRCacheStore::remove(const std::string& branch) {
    const std::lock_guard lock(mutex_);
    Statement statement(database_.get(), fileURL_, deleteSQL);
    statement.bindText(1, branch);
    statement.step();
}

}  // namespace vorda
