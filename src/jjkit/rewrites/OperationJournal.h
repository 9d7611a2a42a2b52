#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "jjkit/rewrites/OperationRecord.h"

namespace vorda {

namespace journal_detail {

/// The shared store of the repository at `repositoryPath` with `name`
/// appended; throws what the detector throws.
std::filesystem::path journalDirectory(std::string_view repositoryPath, std::string_view name);

/// Writes `json` pretty-printed with sorted keys to `<directory>/<id>.json`
/// through a temporary file and a rename, creating the folder first.
void writeRecordFile(const std::filesystem::path& directory, const std::string& id,
                     const nlohmann::json& json);

/// The "json" files of `directory` sorted by name; none when it does not
/// exist. A listing failure throws.
std::vector<std::filesystem::path> recordFiles(const std::filesystem::path& directory);

/// The parsed JSON of one file; throws with the reason it cannot be read.
nlohmann::json readRecordFile(const std::filesystem::path& file);

/// Throws unless the record is of the current version and stored under its
/// own identity.
void requireIdentity(const std::filesystem::path& file, std::int64_t schemaVersion,
                     const std::string& id);

/// "Could not read operation receipt <file name>: <description>".
std::string unreadableWarning(const std::filesystem::path& file, std::string_view description);

}  // namespace journal_detail

/// The folder of all receipts of one plan type, in the repository's shared
/// store, so every workspace of a repository sees the same receipts. A plain
/// value: saves are atomic, so readers need no lock.
template <JournaledOperationPlan Plan>
struct OperationJournal {
    std::filesystem::path directory;

    struct Loaded {
        /// Newest first.
        std::vector<OperationRecord<Plan>> records;
        /// One line per file that could not be read, in file name order.
        std::vector<std::string> warnings;
    };

    /// Creates nothing on disk; fails with whatever the detector throws.
    explicit OperationJournal(std::string_view repositoryPath)
        : directory(journal_detail::journalDirectory(repositoryPath, Plan::journalDirectoryName)) {}

    /// Writes `<id>.json` atomically; saving under the same id replaces the
    /// file. Failures are thrown.
    void save(const OperationRecord<Plan>& record) const {
        journal_detail::writeRecordFile(directory, record.id,
                                        RecordCoding<OperationRecord<Plan>>::encode(record));
    }

    /// Every readable record, newest first; a bad file is a warning and never
    /// hides the good ones. A missing folder is an empty journal.
    Loaded load() const {
        Loaded loaded;
        for (const auto& file : journal_detail::recordFiles(directory)) {
            try {
                const auto json = journal_detail::readRecordFile(file);
                auto record = RecordCoding<OperationRecord<Plan>>::decode(JsonReader(json));
                journal_detail::requireIdentity(file, record.schemaVersion, record.id);
                loaded.records.push_back(std::move(record));
            } catch (const DecodingError& error) {
                loaded.warnings.push_back(
                    journal_detail::unreadableWarning(file, error.description()));
            } catch (const std::exception& error) {
                loaded.warnings.push_back(journal_detail::unreadableWarning(file, error.what()));
            }
        }
        std::stable_sort(
            loaded.records.begin(), loaded.records.end(),
            [](const auto& left, const auto& right) { return left.startedAt > right.startedAt; });
        return loaded;
    }
};

}  // namespace vorda
