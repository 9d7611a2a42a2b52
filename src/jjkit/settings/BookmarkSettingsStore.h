#pragma once

#include <filesystem>
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
/// The file is read once, on the first read of any kind, and its five parts
/// are cached together for the life of the store; changes that another
/// process makes later are not seen. A missing or damaged file (unreadable,
/// not JSON, no `bookmarks` key, any bad entry) reads as empty without a word:
/// the board loses its preferences and the program stays usable, and the next
/// write replaces the damaged file.
///
/// Each write is a read-modify-write of the whole file: the new value and the
/// other cached parts are encoded as pretty-printed JSON with sorted keys and
/// written atomically (a temporary file in the same folder, flushed to disk,
/// renamed over the target). The cache takes the new value only after that
/// succeeded, so a failed write leaves cache and file as they were. Writes
/// throw `std::system_error` (`std::filesystem::filesystem_error` for file
/// system failures); reads never throw.
///
/// One operation runs at a time, so read-modify-write is atomic within one
/// store. Two stores of one repository have their own caches, and the last
/// writer wins for the whole file.
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
    void remove(const std::string& bookmark);

  private:
    /// The decoded file; also what a write encodes.
    struct Contents {
        std::map<std::string, BookmarkSettings> bookmarks;
        std::vector<SavedConfig> savedConfigs;
        std::vector<FileRoutingRule> routingRules;
        std::optional<std::string> apexChangeID;
        std::map<std::string, std::string> compositionPointsByWorkspace;
    };

    /// The file's contents, or empty values when it is missing or damaged.
    Contents loadFromDisk() const;
    /// Fills all five caches from disk; call with `mutex_` held.
    void loadCaches();
    /// The caches as one value, an absent cache counting as empty; call with
    /// `mutex_` held.
    Contents cachedContents() const;
    /// Encodes and writes `contents` atomically. Throws on any failure.
    void writeToDisk(const Contents& contents) const;
    /// The read-modify-write of every writing operation: loads if needed,
    /// lets `change` edit a copy, writes it, and only then adopts it.
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
