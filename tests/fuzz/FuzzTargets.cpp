// libFuzzer targets for the decoders of what jj, gh, the disk and the wire hand
// the program. A decoder may throw only the errors it documents; a crash, a
// sanitizer report, a hang or any other exception is a fault. What is written
// back (receipts, settings, commands between processes) must also read back
// as it was once decoded.
#ifdef VORDA_FUZZ_TARGET

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace vorda::fuzz {
void VORDA_FUZZ_TARGET(std::string_view bytes);
}  // namespace vorda::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    vorda::fuzz::VORDA_FUZZ_TARGET({reinterpret_cast<const char*>(data), size});
    return 0;
}

#else

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <fstream>
#include <set>

#include <sqlite3.h>

#include "feature/wire/CommandWire.h"
#include "jjkit/client/JJError.h"
#include "jjkit/diff/FileHunkPlan.h"
#include "jjkit/diff/UnifiedDiffParser.h"
#include "jjkit/github/GitHubClient.h"
#include "jjkit/rewrites/FeatureAppendPlan.h"
#include "jjkit/rewrites/LocalStackUpdatePlan.h"
#include "jjkit/rewrites/OperationJournal.h"
#include "jjkit/settings/BookmarkSettingsStore.h"
#include "jjkit/stores/PRCacheStore.h"
#include "jjkit/support/DiagnosticLog.h"
#include "jjkit/support/Uuid.h"
#include "jjkit/templates/OutputParsing.h"

namespace vorda::fuzz {
namespace {

namespace fs = std::filesystem;

/// Runs `decode`, for which an `Error` is an answer and anything else a fault.
template <typename Error = DecodingError, typename Decode>
void answers(Decode&& decode) {
    try {
        decode();
    } catch (const Error&) {
    }
}

/// Whatever `decode` accepts in `text`, encoded, decodes to the same encoding.
template <typename Decode, typename Encode>
void roundTrips(std::string_view text, Decode decode, Encode encode) {
    nlohmann::json encoded;
    try {
        encoded = encode(decode(JsonReader(JsonReader::parse(text))));
    } catch (const DecodingError&) {
        return;
    }
    if (encode(decode(JsonReader(encoded))) != encoded) {
        std::abort();  // once written, it would not read back as it was
    }
}

const auto toJSONOf = [](const auto& value) {
    return toJSON(value);
};

/// A repository root of the process's own, with `.jj/repo`; removed at exit.
const fs::path& scratchRoot() {
    static const fs::path root = [] {
        std::string folder = (fs::temp_directory_path() / "vorda-fuzz-XXXXXX").string();
        if (::mkdtemp(folder.data()) == nullptr || !fs::create_directories(folder + "/.jj/repo")) {
            std::abort();
        }
        return fs::path(folder);
    }();
    [[maybe_unused]] static const int removal = std::atexit([] {
        std::error_code ignored;
        fs::remove_all(root, ignored);
    });
    return root;
}

}  // namespace

// The parse-failure lines on the diagnostic log would drown libFuzzer's own.
extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    DiagnosticLog::setSink([](std::string_view /*text*/) {});
    return 0;
}

void jj_records(std::string_view bytes) {
    answers<JJError>([&] {
        for (const auto& commit : parseNDJSON<JJCommit>(bytes, "fuzz")) {
            (void)commit.author.date();
            (void)commit.committer.date();
            roundTrips(RecordCoding<JJCommit>::encode(commit).dump(),
                       &RecordCoding<JJCommit>::decode, &RecordCoding<JJCommit>::encode);
        }
    });
    answers<JJError>([&] { (void)parseNDJSON<JJOp>(bytes, "fuzz"); });
    answers<JJError>([&] { (void)parseWorkspaceList(bytes); });
    answers([&] { (void)decodeList<ChangedFile>(JsonReader(JsonReader::parse(bytes))); });
}

void unified_diff(std::string_view bytes) {
    (void)UnifiedDiffParser::parse(bytes);
}

void hunk_selection(std::string_view bytes) {
    DiffEditorProtocol::HunkSelection selection;
    try {
        selection = DiffEditorProtocol::decode(bytes);
    } catch (const DecodingError&) {
        return;
    }
    if (DiffEditorProtocol::decode(DiffEditorProtocol::encode(selection)) != selection) {
        std::abort();
    }
    // What vorda-diff-apply plans for each file before it touches a tree.
    const auto left = TreeEntry::file("a\nb\nc\nd\ne\nf\ng\nh\n");
    const auto right = TreeEntry::file("a\nB\nc\nd\ne\nf\nG\nh\ni\n", true);
    for (const auto& file : selection.files) {
        answers<std::invalid_argument>([&] { requireTreePath(file.path); });
        const std::set<int> keep(file.keepHunkOrdinals.begin(), file.keepHunkOrdinals.end());
        answers<std::out_of_range>([&] { (void)planFileHunks(file.path, left, right, keep); });
    }
}

void wire_command(std::string_view bytes) {
    roundTrips(bytes, &Wire<RepoCommand>::decode, &encodeCommand);
}

void settings(std::string_view bytes) {
    std::ofstream(scratchRoot() / ".jj/repo/Vorda-settings.json", std::ios::binary)
        .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    BookmarkSettingsStore store(scratchRoot());
    (void)store.all();  // reads never throw: damage of any kind reads as empty
    (void)store.savedConfigs();
    (void)store.routingRules();
    roundTrips(bytes, &decodeBookmarkSettings, toJSONOf);
    roundTrips(bytes, &decodeFileRoutingRule, toJSONOf);
    roundTrips(bytes, &decodeSavedConfig, toJSONOf);
}

template <typename Plan>
void receipt(std::string_view bytes) {
    using Coding = RecordCoding<OperationRecord<Plan> >;
    roundTrips(bytes, &Coding::decode, &Coding::encode);
    answers([&] {
        const auto record = Coding::decode(JsonReader(JsonReader::parse(bytes)));
        answers<std::runtime_error>([&] {
            journal_detail::requireIdentity(canonicalUuid(record.id) + ".json",
                                            record.schemaVersion, record.id);
        });
    });
}

void receipts(std::string_view bytes) {
    receipt<LocalStackUpdatePlan>(bytes);
    receipt<FeatureInsertionPlan>(bytes);
    receipt<FeatureAppendPlan>(bytes);
}

/// "<fetchedAt seconds>\n<pull request JSON>": one row of the cache, written
/// with SQLite directly as a damaged or foreign file may hold it.
void pr_cache(std::string_view bytes) {
    static PRCacheStore store(scratchRoot());
    static sqlite3* const database = [] {
        sqlite3* opened = nullptr;
        sqlite3_open(store.fileURL().c_str(), &opened);
        sqlite3_exec(opened, "PRAGMA synchronous=OFF", nullptr, nullptr, nullptr);
        return opened;
    }();
    const auto lineEnd = std::min(bytes.find('\n'), bytes.size());
    double fetchedAt = 0;
    std::from_chars(bytes.data(), bytes.data() + lineEnd, fetchedAt);
    const auto json = bytes.substr(std::min(lineEnd + 1, bytes.size()));
    answers([&] { (void)GitHubClient::parseFirstPR(json); });
    roundTrips(json, &RecordCoding<GitHubPR>::decode, &RecordCoding<GitHubPR>::encode);

    sqlite3_stmt* insert = nullptr;
    sqlite3_prepare_v2(database,
                       "INSERT OR REPLACE INTO pr_cache (branch, tipCommitID, prData, fetchedAt) "
                       "VALUES ('feature', 'abc', ?1, ?2)",
                       -1, &insert, nullptr);
    sqlite3_bind_blob(insert, 1, json.data(), static_cast<int>(json.size()), SQLITE_TRANSIENT);
    sqlite3_bind_double(insert, 2, fetchedAt);  // NaN: NULL, refused; the last row stays
    sqlite3_step(insert);
    sqlite3_finalize(insert);
    (void)store.all();
}

}  // namespace vorda::fuzz

#endif
