#pragma once

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "app/viewmodel/HiddenPanelModel.h"
#include "jjkit/model/Bookmark.h"
#include "jjkit/model/Composition.h"
#include "jjkit/model/RepoState.h"

/// The rules of the hidden bookmarks panel as pure functions: which items
/// it lists, how a search narrows them, which rows follow an open item, and
/// the words of its labels and tooltips.
namespace vorda::hiddenpanel {

enum class ItemKind { bookmark, oneOff, untrackedRemote };

/// One commit of a hidden item.
struct HiddenCommit {
    std::string commitID;
    std::string changeID;
    std::string summary;
    bool operator==(const HiddenCommit&) const = default;
};

/// Something the board does not show.
struct HiddenItem {
    ItemKind kind = ItemKind::bookmark;
    /// The bookmark's name; a one-off's display name.
    std::string name;
    /// The tip's description, whole.
    std::string tipDescription;
    /// Tip first.
    std::vector<HiddenCommit> commits;
    bool operator==(const HiddenItem&) const = default;
};

/// The panel's items in its order: hidden bookmarks, hidden one-off lanes,
/// untracked remote bookmarks, each list in the order given.
std::vector<HiddenItem> hiddenItems(const RepoState& state,
                                    const std::vector<Bookmark>& hiddenBookmarks,
                                    const std::vector<OneOffLane>& hiddenOneOffs,
                                    const std::vector<Bookmark>& untrackedRemotes);

/// The trimmed search text when it is a revset: it holds "(", "::" or "..".
/// Any other text is a plain name filter.
std::optional<std::string> revsetQuery(const std::string& search);

/// What narrows the list: the search text and, for a revset, the names it
/// matched (absent while it is evaluated) or its failure.
struct PanelSearch {
    std::string text;
    std::optional<std::set<std::string>> revsetMatches;
    bool revsetInvalid = false;

    bool isActive() const;
    /// A revset is being evaluated: no answer and no failure yet.
    bool isEvaluating() const;
    bool matches(const HiddenItem& item) const;
};

/// One row of the list.
struct PanelEntry {
    enum class Kind {
        item,    // a hidden item
        commit,  // a commit of the open item
        note,    // a revset match that is on the board after all
    };
    Kind kind = Kind::item;
    ItemKind itemKind = ItemKind::bookmark;
    /// The item's name; the owner's for a commit; the match's for a note.
    std::string name;
    /// The summary label; the commit's summary; the note's sentence.
    std::string text;
    std::string commitID;
    std::string changeID;
    bool isOpen = false;

    /// The cursor row this entry is; absent for a note.
    std::optional<HiddenPanelRow> cursorRow() const;
    bool operator==(const PanelEntry&) const = default;
};

/// The items `search` lets through, in order, each open item followed by
/// one row per commit.
std::vector<PanelEntry> visibleRows(const std::vector<HiddenItem>& items, const PanelSearch& search,
                                    const std::optional<std::string>& expanded);

/// How many items `search` lets through.
std::size_t matchingCount(const std::vector<HiddenItem>& items, const PanelSearch& search);

/// Where a name found by a revset stands on the board.
struct BoardPlacement {
    bool isTrunk = false;
    bool isIncluded = false;
    bool isPinned = false;
    bool isColumnVisible = false;
};

/// Why a name is not really hidden: "trunk", "included", "pinned", "column
/// visible" joined with " · ", or "on board".
std::string boardStatus(const BoardPlacement& placement);

/// "This bookmark isn't hidden — it's " status " on the board."
std::string notHiddenText(const std::string& status);

/// A note for each name a revset matched that is no hidden item, by name.
std::vector<PanelEntry> notHiddenNotes(
    const PanelSearch& search, const std::vector<HiddenItem>& items,
    const std::function<BoardPlacement(const std::string&)>& placementOf);

/// The tip's first line, or "(no description set)".
std::string summaryLabel(const std::string& description);

/// The row's tooltip: the name and what kind of item it is.
std::string chipHelp(ItemKind kind, const std::string& name);

/// The pin control's tooltip.
std::string pinHelp(ItemKind kind, const std::string& name);

/// The header's count: N " of " M while a search narrows, else M.
std::string countLabel(std::size_t shown, std::size_t total, bool searchActive);

/// What an empty list says.
std::string emptyListLabel(const PanelSearch& search);

/// The cursor after a step of `step` rows (-1 up, +1 down) through `rows`.
/// With no cursor it enters at the first (down) or last (up) row; a cursor
/// whose row has gone, or that stands at the end it moves to, stays.
std::optional<HiddenPanelRow> movedCursor(const std::vector<HiddenPanelRow>& rows,
                                          const std::optional<HiddenPanelRow>& cursor, int step);

}  // namespace vorda::hiddenpanel
