#include "jjkit/rewrites/OperationJournal.h"

#include <algorithm>
#include <stdexcept>

#include "jjkit/repo/JJRepoDetector.h"
#include "jjkit/support/AtomicFile.h"
#include "jjkit/support/Uuid.h"

namespace vorda::journal_detail {

namespace fs = std::filesystem;

fs::path journalDirectory(std::string_view repositoryPath, std::string_view name) {
    return fs::path(JJRepoDetector::sharedRepositoryPath(repositoryPath)) / name;
}

void writeRecordFile(const fs::path& directory, const std::string& id, const nlohmann::json& json) {
    fs::create_directories(directory);
    // Text that is not UTF-8 cannot come from a decoded plan, but a receipt
    // must never fail to save over one bad byte: replace it instead.
    const auto text = json.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
    writeAtomically(directory / (id + ".json"), text);
}

std::vector<fs::path> recordFiles(const fs::path& directory) {
    std::vector<fs::path> files;
    std::error_code error;
    if (!fs::exists(directory, error)) {
        return files;
    }
    for (const auto& entry : fs::directory_iterator(directory)) {
        if (entry.path().extension() == ".json") {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end(), [](const fs::path& left, const fs::path& right) {
        return left.filename().string() < right.filename().string();
    });
    return files;
}

nlohmann::json readRecordFile(const fs::path& file) {
    const auto bytes = readWholeFile(file);
    if (!bytes) {
        throw std::runtime_error("The file could not be read.");
    }
    return JsonReader::parse(*bytes);
}

void requireIdentity(const fs::path& file, std::int64_t schemaVersion, const std::string& id) {
    constexpr std::int64_t supportedVersion = 1;
    if (schemaVersion != supportedVersion || file.stem().string() != canonicalUuid(id) ||
        !isValidUuid(id)) {
        throw std::runtime_error("Unsupported receipt version or mismatched identity.");
    }
}

std::string unreadableWarning(const fs::path& file, std::string_view description) {
    return "Could not read operation receipt " + file.filename().string() + ": " +
           std::string(description);
}

}  // namespace vorda::journal_detail
