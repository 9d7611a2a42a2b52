#include "jjkit/settings/BookmarkSettingsStore.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <stdexcept>
#include <utility>

#include "jjkit/repo/JJRepoDetector.h"
#include "jjkit/support/AtomicFile.h"
#include "jjkit/support/DiagnosticLog.h"
#include "jjkit/support/FileLock.h"

namespace vorda {
namespace {

namespace fs = std::filesystem;

constexpr const char* settingsFileName = "Vorda-settings.json";
// Long enough for any honest writer (a write takes milliseconds), short
// enough that a stuck one gives an error rather than a frozen program.
constexpr std::chrono::seconds lockTimeout(10);

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

BookmarkSettingsStore::Loaded BookmarkSettingsStore::loadFromDisk() const {
    std::error_code error;
    const bool current = fs::exists(fileURL_, error);
    const fs::path& chosen = current ? fileURL_ : legacyFileURL_;
    if (!fs::exists(chosen, error)) {
        return {};
    }
    // Damage of any kind reads as empty, and the reason is dropped on
    // purpose: the board simply shows no preferences. Only the file that a
    // write replaces counts as damaged; a legacy file is never written.
    Loaded damaged{{}, current};
    try {
        const auto bytes = readWholeFile(chosen);
        if (!bytes) {
            return damaged;
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
        return {std::move(contents), false};
    } catch (const std::exception&) {
        return damaged;
    }
}

void BookmarkSettingsStore::keepDamagedFile() const {
    const auto now = std::chrono::system_clock::now();
    const auto milliseconds =
        std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() %
        1000;
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    std::tm utc{};
    gmtime_r(&seconds, &utc);
    std::array<char, 32> stamp{};
    const auto length = std::strftime(stamp.data(), stamp.size(), "%Y%m%dT%H%M%S", &utc);
    char fraction[8];
    std::snprintf(fraction, sizeof fraction, ".%03dZ", static_cast<int>(milliseconds));
    fs::path kept = fileURL_;
    kept += ".damaged-" + std::string(stamp.data(), length) + fraction;
    fs::rename(fileURL_, kept);
    DiagnosticLog::writeLine("[Vorda] settings file " + fileURL_.string() +
                             " could not be read; kept it as " + kept.filename().string() +
                             " before writing a new one");
}

void BookmarkSettingsStore::loadCaches() {
    auto contents = loadFromDisk().contents;
    cache_ = std::move(contents.bookmarks);
    configsCache_ = std::move(contents.savedConfigs);
    rulesCache_ = std::move(contents.routingRules);
    apexChangeIDCache_ = std::move(contents.apexChangeID);
    compositionPointsCache_ = std::move(contents.compositionPointsByWorkspace);
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
    writeAtomically(fileURL_, bytes);
}

template <typename Change>
void BookmarkSettingsStore::modify(Change&& change) {
    fs::create_directories(fileURL_.parent_path());
    auto lockFile = fileURL_;
    lockFile.replace_extension(".lock");
    const auto lock = FileLock::acquire(lockFile, lockTimeout);
    if (!lock) {
        throw std::system_error(
            std::make_error_code(std::errc::timed_out),
            "settings file " + fileURL_.string() + " is locked by another process");
    }
    auto loaded = loadFromDisk();
    // A folder in the file's place is no settings to lose: the write below
    // fails on it loudly instead.
    std::error_code error;
    if (loaded.damaged && !fs::is_directory(fileURL_, error)) {
        keepDamagedFile();
    }
    Contents next = std::move(loaded.contents);
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

void BookmarkSettingsStore::update(
    const std::string& bookmark,
    const std::function<BookmarkSettings(std::optional<BookmarkSettings>)>& change) {
    const std::lock_guard lock(mutex_);
    modify([&](Contents& contents) {
        const auto found = contents.bookmarks.find(bookmark);
        contents.bookmarks[bookmark] =
            change(found == contents.bookmarks.end() ? std::nullopt : std::optional(found->second));
    });
}

void BookmarkSettingsStore::updateRoutingRules(
    const std::function<std::vector<FileRoutingRule>(std::vector<FileRoutingRule>)>& change) {
    const std::lock_guard lock(mutex_);
    modify([&](Contents& contents) {
        contents.routingRules = change(std::move(contents.routingRules));
    });
}

void BookmarkSettingsStore::rename(const std::string& from, const std::string& to) {
    const std::lock_guard lock(mutex_);
    modify([&](Contents& contents) {
        if (auto found = contents.bookmarks.extract(from)) {
            contents.bookmarks.insert_or_assign(to, std::move(found.mapped()));
        }
        for (auto& rule : contents.routingRules) {
            if (rule.bookmarkName == from) {
                rule.bookmarkName = to;
            }
        }
    });
}

void BookmarkSettingsStore::remove(const std::string& bookmark) {
    const std::lock_guard lock(mutex_);
    modify([&](Contents& contents) { contents.bookmarks.erase(bookmark); });
}

}  // namespace vorda
