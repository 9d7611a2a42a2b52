#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include <nlohmann/json.hpp>

#include "jjkit/model/Bookmark.h"
#include "jjkit/records/JsonReader.h"

namespace vorda {

/// How a bookmark is brought up to date with trunk.
enum class UpdateStrategy { rebase, mergeIn };

/// "rebase" or "mergeIn", as stored.
std::string_view rawValue(UpdateStrategy strategy);
std::optional<UpdateStrategy> updateStrategyFromRaw(std::string_view raw);
/// "Rebase" or "Merge trunk in".
std::string_view displayName(UpdateStrategy strategy);

/// What the program remembers of one bookmark that jj does not know.
struct BookmarkSettings {
    UpdateStrategy updateStrategy = UpdateStrategy::rebase;
    std::optional<std::string> lastPushedCommitID;
    std::optional<std::int64_t> cachedPRNumber;
    std::vector<std::string> tags;
    bool pinned = false;
    /// A column is visible only by the user's choice.
    bool columnVisible = false;

    /// Merge trunk in for a bookmark that came from a remote, rebase for a
    /// local one; nothing else set.
    static BookmarkSettings defaultFor(const BookmarkOrigin& origin);

    bool operator==(const BookmarkSettings&) const = default;
};

/// Routes changed files matching `pattern` (fnmatch) into a bookmark.
struct FileRoutingRule {
    /// A UUID in its canonical upper-case text form.
    std::string id;
    std::string pattern;
    std::string bookmarkName;
    bool enabled = true;

    bool operator==(const FileRoutingRule&) const = default;
};

/// A named set of enabled bookmarks the user can switch the board to.
struct SavedConfig {
    /// Where the composition is based. Stored as one-key JSON objects:
    /// `{"specificCommit":{"_0":"…"}}`, `{"trunkTip":{}}`, `{"workingCopy":{}}`.
    struct BaseStrategy {
        struct SpecificCommit {
            std::string commitID;
            bool operator==(const SpecificCommit&) const = default;
        };
        struct TrunkTip {
            bool operator==(const TrunkTip&) const = default;
        };
        struct WorkingCopy {
            bool operator==(const WorkingCopy&) const = default;
        };
        std::variant<SpecificCommit, TrunkTip, WorkingCopy> value = TrunkTip{};
        bool operator==(const BaseStrategy&) const = default;
    };

    std::string name;
    std::vector<std::string> enabledBookmarks;
    std::optional<BaseStrategy> baseStrategy;

    bool operator==(const SavedConfig&) const = default;
};

// JSON coding of the settings file's records. Keys are the field names.
// Decoders throw `DecodingError`; a key that may be missing takes the value
// noted below, any other missing key or wrong type fails the record.

/// Optional absent values are left out. Missing on decoding:
/// `lastPushedCommitID` and `cachedPRNumber` absent, `tags` empty, `pinned`
/// and `columnVisible` false; `updateStrategy` is required.
nlohmann::json toJSON(const BookmarkSettings& settings);
BookmarkSettings decodeBookmarkSettings(const JsonReader& reader);

/// All keys required. An `id` that is not a UUID fails; a lower-case one is
/// kept in upper case. Encoding a rule whose `id` is not a UUID throws
/// `std::invalid_argument`, so that no file is written that could not be
/// read back.
nlohmann::json toJSON(const FileRoutingRule& rule);
FileRoutingRule decodeFileRoutingRule(const JsonReader& reader);

/// One-key objects: `{"specificCommit":{"_0":"…"}}`, `{"trunkTip":{}}`,
/// `{"workingCopy":{}}`. Any other number of keys fails with "Invalid number
/// of keys found, expected one."
nlohmann::json toJSON(const SavedConfig::BaseStrategy& strategy);
SavedConfig::BaseStrategy decodeBaseStrategy(const JsonReader& reader);

/// `name` and `enabledBookmarks` required; `baseStrategy` left out when
/// absent and absent when missing.
nlohmann::json toJSON(const SavedConfig& config);
SavedConfig decodeSavedConfig(const JsonReader& reader);

}  // namespace vorda
