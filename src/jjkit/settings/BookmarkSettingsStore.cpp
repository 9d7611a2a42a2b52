#include "jjkit/settings/BookmarkSettingsStore.h"

#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

#include "jjkit/repo/JJRepoDetector.h"
#include "jjkit/support/Uuid.h"

namespace vorda {
namespace {

namespace fs = std::filesystem;

constexpr const char* settingsFileName = "Vorda-settings.json";

[[noreturn]] void throwFileError(const std::string& what, const fs::path& path, int error) {
    throw fs::filesystem_error(what, path, std::error_code(error, std::generic_category()));
}

/// The whole file, or absent when it cannot be opened or read (a folder at
/// the path included).
std::optional<std::string> readWholeFile(const fs::path& path) {
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
        return std::nullopt;
    }
    std::string bytes;
    char buffer[16384];
    bool failed = false;
    while (true) {
        const ssize_t count = ::read(descriptor, buffer, sizeof buffer);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            failed = true;
            break;
        }
        if (count == 0) {
            break;
        }
        bytes.append(buffer, static_cast<std::size_t>(count));
    }
    ::close(descriptor);
    if (failed) {
        return std::nullopt;
    }
    return bytes;
}

/// Closes a descriptor and removes the temporary file unless released.
class TemporaryFile {
  public:
    TemporaryFile(fs::path path, int descriptor)
        : path_(std::move(path)), descriptor_(descriptor) {}
    ~TemporaryFile() {
        closeDescriptor();
        if (!released_) {
            ::unlink(path_.c_str());
        }
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    TemporaryFile(TemporaryFile&&) = delete;
    TemporaryFile& operator=(TemporaryFile&&) = delete;

    int descriptor() const { return descriptor_; }
    const fs::path& path() const { return path_; }

    /// Closes now, so that a failing close (a late write error) is seen.
    int closeDescriptor() {
        if (descriptor_ < 0) {
            return 0;
        }
        const int result = ::close(descriptor_);
        descriptor_ = -1;
        return result;
    }
    void release() { released_ = true; }

  private:
    fs::path path_;
    int descriptor_;
    bool released_ = false;
};

void writeAll(const TemporaryFile& file, const std::string& bytes) {
    std::size_t written = 0;
    while (written < bytes.size()) {
        const ssize_t count =
            ::write(file.descriptor(), bytes.data() + written, bytes.size() - written);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            throwFileError("cannot write settings", file.path(), errno);
        }
        written += static_cast<std::size_t>(count);
    }
}

/// Replaces `target` with `bytes` so that a reader sees either the old or the
/// new file, never a part: the bytes go to a fresh file in the same folder,
/// are flushed to disk, and the file is renamed over the target.
void writeAtomically(const fs::path& target, const std::string& bytes) {
    const fs::path folder = target.parent_path();
    const fs::path temporaryPath =
        folder / ("." + target.filename().string() + "." + makeUuid() + ".tmp");
    // 0666 before the umask, the permissions any newly created file gets.
    const int descriptor =
        ::open(temporaryPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (descriptor < 0) {
        throwFileError("cannot create temporary settings file", temporaryPath, errno);
    }
    TemporaryFile file(temporaryPath, descriptor);
    writeAll(file, bytes);
    if (::fsync(file.descriptor()) != 0) {
        throwFileError("cannot flush settings", temporaryPath, errno);
    }
    if (file.closeDescriptor() != 0) {
        throwFileError("cannot close settings", temporaryPath, errno);
    }
    if (::rename(temporaryPath.c_str(), target.c_str()) != 0) {
        throwFileError("cannot replace settings", target, errno);
    }
    file.release();

    // Make the rename itself durable. The new file is already in place, so a
    // failure here is not reported: the write has happened.
    const int folderDescriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folderDescriptor >= 0) {
        ::fsync(folderDescriptor);
        ::close(folderDescriptor);
    }
}

/// Calls `visit(name, reader)` for each member of a JSON object.
template <typename Visit>
void forEachMember(const JsonReader& reader, Visit&& visit) {
    if (!reader.value().is_object()) {
        throw DecodingError("type mismatch (expected Dictionary<String, Any>) at " +
                            reader.pathText() + ": Expected to decode Dictionary<String, Any>.");
    }
    for (const auto& member : reader.value().items()) {
        visit(member.key(), reader.field(member.key()));
    }
}

template <typename Record, typename Decode>
std::vector<Record> decodeOptionalList(const JsonReader& reader, std::string_view key,
                                       Decode decode) {
    std::vector<Record> records;
    if (const auto field = reader.optionalField(key)) {
        for (const auto& element : field->array()) {
            records.push_back(decode(element));
        }
    }
    return records;
}

template <typename Record>
nlohmann::json encodeList(const std::vector<Record>& records) {
    auto list = nlohmann::json::array();
    for (const auto& record : records) {
        list.push_back(toJSON(record));
    }
    return list;
}

}  // namespace

BookmarkSettingsStore::BookmarkSettingsStore(const std::filesystem::path& repoRoot)
    : legacyFileURL_(repoRoot / ".jj" / settingsFileName) {
    std::error_code error;
    const fs::path repoFolder = repoRoot / ".jj" / "repo";
    if (!fs::exists(repoFolder, error)) {
        fileURL_ = legacyFileURL_;
    } else if (fs::is_directory(repoFolder, error)) {
        fileURL_ = repoFolder / settingsFileName;
    } else {
        // A further workspace holds a file there that names the shared store:
        // every workspace of a repository reads and writes the one file in it.
        try {
            fileURL_ = fs::path(JJRepoDetector::sharedRepositoryPath(repoRoot.string())) /
                       settingsFileName;
        } catch (const std::exception&) {
            // A pointer that names no store: keep the usual place, where a
            // write fails loudly instead of landing somewhere unexpected.
            fileURL_ = repoFolder / settingsFileName;
        }
    }
}

BookmarkSettingsStore::Contents BookmarkSettingsStore::loadFromDisk() const {
    std::error_code error;
    const fs::path& chosen = fs::exists(fileURL_, error) ? fileURL_ : legacyFileURL_;
    if (!fs::exists(chosen, error)) {
        return {};
    }
    // Damage of any kind reads as empty, and the reason is dropped on
    // purpose: the next write replaces the file, and until then the board
    // simply shows no preferences.
    try {
        const auto bytes = readWholeFile(chosen);
        if (!bytes) {
            return {};
        }
        const nlohmann::json json = JsonReader::parse(*bytes);
        const JsonReader wrapper(json);
        Contents contents;
        forEachMember(wrapper.field("bookmarks"),
                      [&](const std::string& name, const JsonReader& entry) {
                          contents.bookmarks.emplace(name, decodeBookmarkSettings(entry));
                      });
        contents.savedConfigs =
            decodeOptionalList<SavedConfig>(wrapper, "savedConfigs", decodeSavedConfig);
        contents.routingRules =
            decodeOptionalList<FileRoutingRule>(wrapper, "routingRules", decodeFileRoutingRule);
        if (const auto field = wrapper.optionalField("apexChangeID")) {
            contents.apexChangeID = field->string();
        }
        if (const auto field = wrapper.optionalField("compositionPointsByWorkspace")) {
            forEachMember(*field, [&](const std::string& workspace, const JsonReader& entry) {
                contents.compositionPointsByWorkspace.emplace(workspace, entry.string());
            });
        }
        return contents;
    } catch (const std::exception&) {
        return {};
    }
}

void BookmarkSettingsStore::loadCaches() {
    auto contents = loadFromDisk();
    cache_ = std::move(contents.bookmarks);
    configsCache_ = std::move(contents.savedConfigs);
    rulesCache_ = std::move(contents.routingRules);
    apexChangeIDCache_ = std::move(contents.apexChangeID);
    compositionPointsCache_ = std::move(contents.compositionPointsByWorkspace);
}

BookmarkSettingsStore::Contents BookmarkSettingsStore::cachedContents() const {
    Contents contents;
    contents.bookmarks = cache_.value_or(decltype(contents.bookmarks){});
    contents.savedConfigs = configsCache_.value_or(decltype(contents.savedConfigs){});
    contents.routingRules = rulesCache_.value_or(decltype(contents.routingRules){});
    contents.apexChangeID = apexChangeIDCache_.value_or(std::nullopt);
    contents.compositionPointsByWorkspace =
        compositionPointsCache_.value_or(decltype(contents.compositionPointsByWorkspace){});
    return contents;
}

void BookmarkSettingsStore::writeToDisk(const Contents& contents) const {
    std::string bytes;
    try {
        nlohmann::json bookmarks = nlohmann::json::object();
        for (const auto& [name, settings] : contents.bookmarks) {
            bookmarks[name] = toJSON(settings);
        }
        // nlohmann's objects keep their keys sorted, so the text is stable.
        nlohmann::json wrapper = {
            {"bookmarks", std::move(bookmarks)},
            {"savedConfigs", encodeList(contents.savedConfigs)},
            {"routingRules", encodeList(contents.routingRules)},
            {"compositionPointsByWorkspace", contents.compositionPointsByWorkspace},
        };
        if (contents.apexChangeID) {
            wrapper["apexChangeID"] = *contents.apexChangeID;
        }
        bytes = wrapper.dump(2);
    } catch (const std::invalid_argument& error) {
        throw std::system_error(std::make_error_code(std::errc::invalid_argument), error.what());
    } catch (const nlohmann::json::exception& error) {
        // Text that is not UTF-8 cannot be written as JSON.
        throw std::system_error(std::make_error_code(std::errc::illegal_byte_sequence),
                                error.what());
    }
    fs::create_directories(fileURL_.parent_path());
    writeAtomically(fileURL_, bytes);
}

template <typename Change>
void BookmarkSettingsStore::modify(Change&& change) {
    if (!cache_) {
        loadCaches();
    }
    Contents next = cachedContents();
    std::forward<Change>(change)(next);
    writeToDisk(next);
    cache_ = std::move(next.bookmarks);
    configsCache_ = std::move(next.savedConfigs);
    rulesCache_ = std::move(next.routingRules);
    apexChangeIDCache_ = std::move(next.apexChangeID);
    compositionPointsCache_ = std::move(next.compositionPointsByWorkspace);
}

std::map<std::string, BookmarkSettings> BookmarkSettingsStore::all() {
    const std::lock_guard lock(mutex_);
    if (!cache_) {
        loadCaches();
    }
    return *cache_;
}

std::map<std::string, std::string> BookmarkSettingsStore::compositionPointsByWorkspace() {
    const std::lock_guard lock(mutex_);
    if (!compositionPointsCache_) {
        loadCaches();
    }
    return *compositionPointsCache_;
}

void BookmarkSettingsStore::setCompositionPoint(const std::optional<std::string>& changeID,
                                                const std::string& workspace) {
    const std::lock_guard lock(mutex_);
    modify([&](Contents& contents) {
        if (changeID) {
            contents.compositionPointsByWorkspace[workspace] = *changeID;
        } else {
            contents.compositionPointsByWorkspace.erase(workspace);
        }
    });
}

std::optional<std::string> BookmarkSettingsStore::apexChangeID() {
    const std::lock_guard lock(mutex_);
    if (!apexChangeIDCache_) {
        loadCaches();
    }
    return *apexChangeIDCache_;
}

void BookmarkSettingsStore::setApexChangeID(const std::optional<std::string>& changeID) {
    const std::lock_guard lock(mutex_);
    modify([&](Contents& contents) { contents.apexChangeID = changeID; });
}

std::vector<FileRoutingRule> BookmarkSettingsStore::routingRules() {
    const std::lock_guard lock(mutex_);
    if (!rulesCache_) {
        loadCaches();
    }
    return *rulesCache_;
}

void BookmarkSettingsStore::setRoutingRules(const std::vector<FileRoutingRule>& rules) {
    const std::lock_guard lock(mutex_);
    modify([&](Contents& contents) { contents.routingRules = rules; });
}

std::vector<SavedConfig> BookmarkSettingsStore::savedConfigs() {
    const std::lock_guard lock(mutex_);
    if (!configsCache_) {
        loadCaches();
    }
    return *configsCache_;
}

void BookmarkSettingsStore::saveConfig(const SavedConfig& config) {
    const std::lock_guard lock(mutex_);
    modify([&](Contents& contents) {
        auto& configs = contents.savedConfigs;
        const auto existing = std::find_if(configs.begin(), configs.end(), [&](const auto& entry) {
            return entry.name == config.name;
        });
        if (existing != configs.end()) {
            *existing = config;
        } else {
            configs.push_back(config);
        }
    });
}

void BookmarkSettingsStore::removeConfig(const std::string& name) {
    const std::lock_guard lock(mutex_);
    modify([&](Contents& contents) {
        std::erase_if(contents.savedConfigs, [&](const auto& entry) { return entry.name == name; });
    });
}

std::optional<BookmarkSettings> BookmarkSettingsStore::settings(const std::string& bookmark) {
    const std::lock_guard lock(mutex_);
    if (!cache_) {
        loadCaches();
    }
    const auto found = cache_->find(bookmark);
    if (found == cache_->end()) {
        return std::nullopt;
    }
    return found->second;
}

void BookmarkSettingsStore::set(const BookmarkSettings& settings, const std::string& bookmark) {
    const std::lock_guard lock(mutex_);
    modify([&](Contents& contents) { contents.bookmarks[bookmark] = settings; });
}

void BookmarkSettingsStore::remove(const std::string& bookmark) {
    const std::lock_guard lock(mutex_);
    modify([&](Contents& contents) { contents.bookmarks.erase(bookmark); });
}

}  // namespace vorda
