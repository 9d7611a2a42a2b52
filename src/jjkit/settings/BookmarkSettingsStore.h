#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "jjkit/settings/BookmarkSettings.h"

namespace vorda {

/// Keeps what the program knows of a repository and jj does not: bookmark
/// preferences, saved board configurations, file routing rules, the apex
/// commit and each workspace's composition point. All of it lives in one JSON
/// file inside `.jj`, so it goes away with the repository and is never tracked
/// by it.
///
/// Reads come from a cache filled from the file on the first read of any
/// kind; changes that another process makes later are seen at the next write.
/// A missing or damaged file (unreadable, not a regular file, not JSON, no
/// `bookmarks` key, any bad entry) reads as empty without a word: the board
/// loses its preferences and the program stays usable.
///
/// Each write is a read-modify-write of the whole file under an advisory lock
/// (`Vorda-settings.lock` beside it) held across processes: the file is read
/// afresh, changed, encoded as pretty-printed JSON with sorted keys and
/// written atomically (a temporary file in the same folder, flushed to disk,
/// renamed over the target), so that writers in several processes never lose
/// each other's updates. A damaged file is not lost to the write: it is
/// first renamed to `Vorda-settings.json.damaged-<UTC time>` and a line says
/// so on the diagnostic log. The cache takes the new value only after the
/// write succeeded, so a failed write leaves cache and file as they were.
/// Writes throw `std::system_error` (`std::filesystem::filesystem_error` for
/// file system failures, `std::errc::timed_out` when the lock stays taken for
/// ten seconds); reads never throw.
///
///     BookmarkSettingsStore store(repoRoot);
///     auto settings = store.settings("feature")
///                         .value_or(BookmarkSettings::defaultFor(origin));
///     settings.pinned = true;
///     store.set(settings, "feature");
class BookmarkSettingsStore {
  public:
    /// Fixes the file locations; nothing is read yet. The file is
    /// `<repoRoot>/.jj/repo/Vorda-settings.json` when `<repoRoot>/.jj/repo`
    /// exists (as anything), else the older `<repoRoot>/.jj/Vorda-settings.json`.
    explicit BookmarkSettingsStore(const std::filesystem::path& repoRoot);

    BookmarkSettingsStore(const BookmarkSettingsStore&) = delete;
    BookmarkSettingsStore& operator=(const BookmarkSettingsStore&) = delete;
    BookmarkSettingsStore(BookmarkSettingsStore&&) = delete;
    BookmarkSettingsStore& operator=(BookmarkSettingsStore&&) = delete;
    ~BookmarkSettingsStore() = default;

    /// The file that is written.
    const std::filesystem::path& fileURL() const { return fileURL_; }
    /// The older place, read while `fileURL` does not exist yet. A legacy file
    /// is never moved or deleted: the first write simply creates `fileURL`.
    const std::filesystem::path& legacyFileURL() const { return legacyFileURL_; }

    /// Settings by bookmark name.
    std::map<std::string, BookmarkSettings> all();

    /// Composition point change IDs by workspace name.
    std::map<std::string, std::string> compositionPointsByWorkspace();
    /// Sets the composition point of `workspace`; an absent value removes it.
    void setCompositionPoint(const std::optional<std::string>& changeID,
                             const std::string& workspace);

    std::optional<std::string> apexChangeID();
    void setApexChangeID(const std::optional<std::string>& changeID);

    std::vector<FileRoutingRule> routingRules();
    /// Replaces the whole list. Every rule's `id` must be a UUID, else the
    /// write fails with `std::errc::invalid_argument`.
    void setRoutingRules(const std::vector<FileRoutingRule>& rules);

    std::vector<SavedConfig> savedConfigs();
    /// Replaces the entry of the same name where it stands, or appends.
    void saveConfig(const SavedConfig& config);
    /// Removes every entry of that name.
    void removeConfig(const std::string& name);

    std::optional<BookmarkSettings> settings(const std::string& bookmark);
    void set(const BookmarkSettings& settings, const std::string& bookmark);
    /// Sets the settings of `bookmark` to what `change` makes of the stored
    /// ones (absent when there are none), read and written under the lock, so
    /// that a concurrent change of the same bookmark in another process is
    /// kept.
    void update(const std::string& bookmark,
                const std::function<BookmarkSettings(std::optional<BookmarkSettings>)>& change);
    /// Replaces the routing rules with what `change` makes of the stored ones,
    /// under the lock.
    void updateRoutingRules(
        const std::function<std::vector<FileRoutingRule>(std::vector<FileRoutingRule>)>& change);
    void remove(const std::string& bookmark);
    /// Moves the settings of `from`, and its routing rules, to `to`; the
    /// settings `to` had are replaced. Nothing happens without settings.
    void rename(const std::string& from, const std::string& to);

  private:
    /// The decoded file; also what a write encodes.
    struct Contents {
        std::map<std::string, BookmarkSettings> bookmarks;
        std::vector<SavedConfig> savedConfigs;
        std::vector<FileRoutingRule> routingRules;
        std::optional<std::string> apexChangeID;
        std::map<std::string, std::string> compositionPointsByWorkspace;
    };

    /// The file's contents (empty values when it is missing or damaged) and
    /// whether the file to be written is there but damaged.
    struct Loaded {
        Contents contents;
        bool damaged = false;
    };
    Loaded loadFromDisk() const;
    /// Renames the damaged file out of the way of the next write.
    void keepDamagedFile() const;
    /// Fills all five caches from disk; call with `mutex_` held.
    void loadCaches();
    /// Encodes and writes `contents` atomically into the existing folder.
    /// Throws on any failure.
    void writeToDisk(const Contents& contents) const;
    /// The read-modify-write of every writing operation: takes the file lock,
    /// loads the file afresh, lets `change` edit it, writes it, and only then
    /// adopts it.
    template <typename Change>
    void modify(Change&& change);

    std::filesystem::path fileURL_;
    std::filesystem::path legacyFileURL_;

    // Guards the five caches below and serialises writes of the file, so that
    // each operation sees and leaves a consistent cache and one store never
    // runs two writes at once. Held for the whole of each public operation.
    std::mutex mutex_;
    std::optional<std::map<std::string, BookmarkSettings>> cache_;
    std::optional<std::vector<SavedConfig>> configsCache_;
    std::optional<std::vector<FileRoutingRule>> rulesCache_;
    /// Outer level: loaded or not; inner level: the value, which may be absent.
    std::optional<std::optional<std::string>> apexChangeIDCache_;
    std::optional<std::map<std::string, std::string>> compositionPointsCache_;
};

}  // namespace vorda
