#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "jjkit/model/Bookmark.h"

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

}  // namespace vorda
