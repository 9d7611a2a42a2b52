#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <variant>
#include <vector>

#include "app/board/ColumnID.h"
#include "jjkit/model/Bookmark.h"
#include "jjkit/model/Composition.h"
#include "jjkit/settings/BookmarkSettings.h"

namespace vorda {

/// One column of the board's row.
struct BoardSlot {
    struct WorkingCopyStack {
        std::optional<std::string> name;
    };
    struct OneOff {
        OneOffLane lane;
    };
    struct BookmarkLane {
        Bookmark bookmark;
    };
    struct Diff {};
    struct Hidden {};
    struct NewPlaceholder {};
    std::variant<WorkingCopyStack, OneOff, BookmarkLane, Diff, Hidden, NewPlaceholder> value;

    /// Stable across renders: "wcstack:" name, "wcstack", "oneoff:" change
    /// ID, the bookmark name, "diff", "hidden" or "new-placeholder".
    std::string identity() const;
    /// The selectable column this slot is; absent for the diff and the
    /// placeholder.
    std::optional<ColumnID> columnID() const;
};

/// What the row is built from.
struct BoardSlotInputs {
    /// Workspace names, any order; the row sorts them.
    std::vector<std::string> workspaceNames;
    std::vector<OneOffLane> oneOffLanes;
    std::vector<Bookmark> filteredBookmarks;
    std::set<std::string> includedBookmarkNames;
    std::map<std::string, BookmarkSettings> settingsByName;
    bool hasHidden = false;
    bool isDiffVisible = false;
    std::optional<ColumnID> selectionColumn;
};

/// The row in its fixed order: working copies by name, one-off lanes, the
/// filtered bookmarks (an included bookmark only when its column is made
/// visible: it already shows inside a working-copy column), hidden, the new
/// placeholder; and the diff column right behind the selected column when
/// it is open.
std::vector<BoardSlot> boardSlots(const BoardSlotInputs& inputs);

}  // namespace vorda
