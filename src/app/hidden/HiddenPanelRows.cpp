#include "app/hidden/HiddenPanelRows.h"

#include <algorithm>

#include "app/viewmodel/BoardLists.h"
#include "jjkit/support/Text.h"

namespace vorda::hiddenpanel {

namespace {

HiddenCommit hiddenCommit(const JJCommit& commit) {
    return {commit.commitID, commit.changeID, summaryLabel(commit.description)};
}

HiddenItem bookmarkItem(const RepoState& state, const Bookmark& bookmark, ItemKind kind) {
    HiddenItem item{kind, bookmark.name, {}, {}};
    for (const auto& commitID : bookmark.commitIDs) {
        const auto found = state.commits.find(commitID);
        if (found == state.commits.end()) {
            continue;
        }
        if (item.commits.empty()) {
            item.tipDescription = found->second->description;
        }
        item.commits.push_back(hiddenCommit(*found->second));
    }
    return item;
}

HiddenItem oneOffItem(const OneOffLane& lane) {
    HiddenItem item{ItemKind::oneOff, lane.displayName(), lane.tip.description, {}};
    for (const auto& commit : lane.commits) {
        item.commits.push_back(hiddenCommit(commit));
    }
    return item;
}

}  // namespace

std::vector<HiddenItem> hiddenItems(const RepoState& state,
                                    const std::vector<Bookmark>& hiddenBookmarks,
                                    const std::vector<OneOffLane>& hiddenOneOffs,
                                    const std::vector<Bookmark>& untrackedRemotes) {
    std::vector<HiddenItem> items;
    items.reserve(hiddenBookmarks.size() + hiddenOneOffs.size() + untrackedRemotes.size());
    for (const auto& bookmark : hiddenBookmarks) {
        items.push_back(bookmarkItem(state, bookmark, ItemKind::bookmark));
    }
    for (const auto& lane : hiddenOneOffs) {
        items.push_back(oneOffItem(lane));
    }
    for (const auto& bookmark : untrackedRemotes) {
        items.push_back(bookmarkItem(state, bookmark, ItemKind::untrackedRemote));
    }
    return items;
}

std::optional<std::string> revsetQuery(const std::string& search) {
    const std::string trimmed(text::trimWhitespace(search));
    const bool isRevset = trimmed.find('(') != std::string::npos ||
                          trimmed.find("::") != std::string::npos ||
                          trimmed.find("..") != std::string::npos;
    return isRevset ? std::optional(trimmed) : std::nullopt;
}

bool PanelSearch::isActive() const {
    return !text::trimWhitespace(text).empty();
}

bool PanelSearch::isEvaluating() const {
    return revsetQuery(text) && !revsetMatches && !revsetInvalid;
}

bool PanelSearch::matches(const HiddenItem& item) const {
    if (revsetQuery(text)) {
        return item.kind != ItemKind::oneOff && revsetMatches && !revsetInvalid &&
               revsetMatches->contains(item.name);
    }
    const std::string needle = boardlists::filterNeedle(text);
    return needle.empty() || boardlists::filterNeedle(item.name).find(needle) != std::string::npos;
}

std::optional<HiddenPanelRow> PanelEntry::cursorRow() const {
    switch (kind) {
        case Kind::item:
            return HiddenPanelRow::bookmark(name);
        case Kind::commit:
            return HiddenPanelRow::commit(name, commitID, changeID);
        case Kind::note:
            return std::nullopt;
    }
    return std::nullopt;
}

std::vector<PanelEntry> visibleRows(const std::vector<HiddenItem>& items, const PanelSearch& search,
                                    const std::optional<std::string>& expanded) {
    std::vector<PanelEntry> rows;
    for (const auto& item : items) {
        if (!search.matches(item)) {
            continue;
        }
        const bool isOpen = expanded == item.name;
        rows.push_back({PanelEntry::Kind::item,
                        item.kind,
                        item.name,
                        summaryLabel(item.tipDescription),
                        {},
                        {},
                        isOpen});
        if (!isOpen) {
            continue;
        }
        for (const auto& commit : item.commits) {
            rows.push_back({PanelEntry::Kind::commit, item.kind, item.name, commit.summary,
                            commit.commitID, commit.changeID, false});
        }
    }
    return rows;
}

std::size_t matchingCount(const std::vector<HiddenItem>& items, const PanelSearch& search) {
    return static_cast<std::size_t>(std::count_if(
        items.begin(), items.end(), [&](const HiddenItem& item) { return search.matches(item); }));
}

std::string boardStatus(const BoardPlacement& placement) {
    std::vector<std::string> reasons;
    if (placement.isTrunk) {
        reasons.emplace_back("trunk");
    }
    if (placement.isIncluded) {
        reasons.emplace_back("included");
    }
    if (placement.isPinned) {
        reasons.emplace_back("pinned");
    }
    if (placement.isColumnVisible) {
        reasons.emplace_back("column visible");
    }
    return reasons.empty() ? "on board" : text::join(reasons, " · ");
}

std::string notHiddenText(const std::string& status) {
    return "This bookmark isn't hidden — it's " + status + " on the board.";
}

std::vector<PanelEntry> notHiddenNotes(
    const PanelSearch& search, const std::vector<HiddenItem>& items,
    const std::function<BoardPlacement(const std::string&)>& placementOf) {
    std::vector<PanelEntry> notes;
    if (!revsetQuery(search.text) || search.revsetInvalid || !search.revsetMatches) {
        return notes;
    }
    for (const auto& name : *search.revsetMatches) {
        const bool isHidden = std::any_of(items.begin(), items.end(), [&](const HiddenItem& item) {
            return item.kind != ItemKind::oneOff && item.name == name;
        });
        if (!isHidden) {
            notes.push_back({PanelEntry::Kind::note,
                             ItemKind::bookmark,
                             name,
                             notHiddenText(boardStatus(placementOf(name))),
                             {},
                             {},
                             false});
        }
    }
    return notes;
}

std::string summaryLabel(const std::string& description) {
    const std::string summary = boardlists::summaryLine(description);
    return summary.empty() ? "(no description set)" : summary;
}

std::string chipHelp(ItemKind kind, const std::string& name) {
    switch (kind) {
        case ItemKind::oneOff:
            return name + " · virtual bookmark for an unowned commit stack";
        case ItemKind::untrackedRemote:
            return name + " · untracked — track it to work with it locally";
        case ItemKind::bookmark:
            return name + " · local";
    }
    return name;
}

std::string pinHelp(ItemKind kind, const std::string& name) {
    switch (kind) {
        case ItemKind::oneOff:
            return "Show " + name + " on the board";
        case ItemKind::untrackedRemote:
            return "Track " + name + " and pin it to the board";
        case ItemKind::bookmark:
            return "Pin " + name + " to the board";
    }
    return name;
}

std::string countLabel(std::size_t shown, std::size_t total, bool searchActive) {
    return searchActive ? std::to_string(shown) + " of " + std::to_string(total)
                        : std::to_string(total);
}

std::string emptyListLabel(const PanelSearch& search) {
    if (search.isEvaluating()) {
        return "Evaluating revset…";
    }
    if (revsetQuery(search.text) && search.revsetInvalid) {
        return "Invalid revset";
    }
    return search.isActive() ? "No matches" : "No hidden bookmarks";
}

std::optional<HiddenPanelRow> movedCursor(const std::vector<HiddenPanelRow>& rows,
                                          const std::optional<HiddenPanelRow>& cursor, int step) {
    if (rows.empty()) {
        return cursor;
    }
    if (!cursor) {
        return step > 0 ? rows.front() : rows.back();
    }
    const auto found = std::find(rows.begin(), rows.end(), *cursor);
    if (found == rows.end()) {
        return cursor;
    }
    const auto index = (found - rows.begin()) + step;
    if (index < 0 || index >= static_cast<std::ptrdiff_t>(rows.size())) {
        return cursor;
    }
    return rows[static_cast<std::size_t>(index)];
}

}  // namespace vorda::hiddenpanel
