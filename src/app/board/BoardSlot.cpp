#include "app/board/BoardSlot.h"

#include <algorithm>

#include "jjkit/support/Overloaded.h"

namespace vorda {

std::string BoardSlot::identity() const {
    return std::visit(Overloaded{
                          [](const WorkingCopyStack& s) {
                              return s.name ? "wcstack:" + *s.name : std::string("wcstack");
                          },
                          [](const OneOff& s) { return "oneoff:" + s.lane.id(); },
                          [](const BookmarkLane& s) { return s.bookmark.name; },
                          [](const Diff&) { return std::string("diff"); },
                          [](const Hidden&) { return std::string("hidden"); },
                          // A bookmark name cannot hold a blank without quoting, so this
                          // never collides with a bookmark lane in practice; the blank
                          // keeps it apart from the fixed identities above.
                          [](const NewPlaceholder&) { return std::string("new placeholder"); },
                      },
                      value);
}

std::optional<ColumnID> BoardSlot::columnID() const {
    return std::visit(
        Overloaded{
            [](const WorkingCopyStack& s) -> std::optional<ColumnID> {
                return ColumnID::workingCopyStack(s.name);
            },
            [](const OneOff& s) -> std::optional<ColumnID> {
                return ColumnID::oneOff(s.lane.id());
            },
            [](const BookmarkLane& s) -> std::optional<ColumnID> {
                return ColumnID::bookmark(s.bookmark.name);
            },
            [](const Hidden&) -> std::optional<ColumnID> { return ColumnID::hidden(); },
            [](const auto&) -> std::optional<ColumnID> { return std::nullopt; },
        },
        value);
}

std::vector<BoardSlot> boardSlots(const BoardSlotInputs& inputs) {
    std::vector<BoardSlot> row;
    row.reserve(inputs.workspaceNames.size() + inputs.oneOffLanes.size() +
                inputs.filteredBookmarks.size() + 3);
    auto workspaces = inputs.workspaceNames;
    std::sort(workspaces.begin(), workspaces.end());
    for (const auto& name : workspaces) {
        row.push_back({BoardSlot::WorkingCopyStack{name}});
    }
    for (const auto& lane : inputs.oneOffLanes) {
        row.push_back({BoardSlot::OneOff{lane}});
    }
    for (const auto& bookmark : inputs.filteredBookmarks) {
        if (inputs.includedBookmarkNames.contains(bookmark.name)) {
            const auto settings = inputs.settingsByName.find(bookmark.name);
            if (settings == inputs.settingsByName.end() || !settings->second.columnVisible) {
                continue;
            }
        }
        row.push_back({BoardSlot::BookmarkLane{bookmark}});
    }
    if (inputs.hasHidden) {
        row.push_back({BoardSlot::Hidden{}});
    }
    row.push_back({BoardSlot::NewPlaceholder{}});
    if (inputs.isDiffVisible && inputs.selectionColumn) {
        const auto selected = std::find_if(row.begin(), row.end(), [&](const BoardSlot& slot) {
            return slot.columnID() == inputs.selectionColumn;
        });
        if (selected != row.end()) {
            row.insert(std::next(selected), BoardSlot{BoardSlot::Diff{}});
        }
    }
    return row;
}

}  // namespace vorda
