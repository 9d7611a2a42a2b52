#pragma once

#include <string>
#include <string_view>
#include <variant>

#include "jjkit/settings/BookmarkSettings.h"

namespace vorda {

/// A gesture on a bookmark, from its column's menu, the Bookmark menu or the
/// toolbar; the board turns each into a command or a sheet.
struct BookmarkAction {
    /// No default member initialiser: with one, GCC 12 deems the variant
    /// not default-constructible. `ReparentToTrunk{}` still holds false.
    struct ReparentToTrunk {
        bool bypassPRGuard;
    };
    struct SetStrategy {
        UpdateStrategy strategy;
    };
    struct ToggleTag {
        std::string tag;
    };
    struct Rename {};
    struct Rebase {};
    struct Delete {};
    struct Abandon {};
    struct Sync {};
    struct SquashToSingle {};
    struct Push {};
    struct ViewPR {};
    struct CreatePR {};
    struct RefreshPR {};
    struct AddTag {};
    struct TogglePinned {};
    struct ToggleColumnVisibility {};

    std::variant<ReparentToTrunk, SetStrategy, ToggleTag, Rename, Rebase, Delete, Abandon, Sync,
                 SquashToSingle, Push, ViewPR, CreatePR, RefreshPR, AddTag, TogglePinned,
                 ToggleColumnVisibility>
        value;
};

/// A gesture on a commit.
enum class CommitAction { describe, split, reviewConflicts };

}  // namespace vorda
