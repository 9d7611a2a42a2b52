#include "app/board/SelectionStore.h"

#include <algorithm>
#include <set>

namespace vorda {

namespace {

/// `changeIDs` in the order of `visibleOrder`; changes not in it are dropped.
std::vector<std::string> orderedByVisible(const std::set<std::string>& changeIDs,
                                          const std::vector<std::string>& visibleOrder) {
    std::vector<std::string> ordered;
    std::copy_if(visibleOrder.begin(), visibleOrder.end(), std::back_inserter(ordered),
                 [&](const std::string& id) { return changeIDs.contains(id); });
    return ordered;
}

std::optional<std::size_t> position(const std::vector<std::string>& order, const std::string& id) {
    const auto found = std::find(order.begin(), order.end(), id);
    return found == order.end() ? std::nullopt
                                : std::optional(static_cast<std::size_t>(found - order.begin()));
}

}  // namespace

SelectionStore::Fields SelectionStore::fields() const {
    return {selectedBookmarkName_, selectedCommitIDs_, columnChangeIDs_, selectionColumn_,
            anchorChangeID_};
}

void SelectionStore::emitIfChanged(const Fields& before) {
    if (fields() != before) {
        Q_EMIT changed();
    }
}

void SelectionStore::selectBookmark(const std::optional<std::string>& name,
                                    const std::optional<ColumnID>& column,
                                    std::vector<std::string> changeIDs) {
    const Fields before = fields();
    selectedBookmarkName_ = name;
    selectedCommitIDs_.clear();
    anchorChangeID_.reset();
    columnChangeIDs_ = std::move(changeIDs);
    selectionColumn_ = column;
    if (!name && !column) {
        columnChangeIDs_.clear();
    }
    emitIfChanged(before);
}

std::optional<std::string> SelectionStore::rangeStart() const {
    if (isDiffVisible_) {
        if (!selectedCommitIDs_.empty()) {
            return selectedCommitIDs_.front();
        }
        if (!columnChangeIDs_.empty()) {
            return columnChangeIDs_.front();
        }
        return std::nullopt;
    }
    return anchorChangeID_;
}

void SelectionStore::selectCommit(const std::string& changeID, const ColumnID& column,
                                  const std::vector<std::string>& visibleOrder,
                                  Qt::KeyboardModifiers modifiers) {
    const Fields before = fields();

    const auto anchor = rangeStart();
    const bool sameColumn = selectionColumn_ == column;
    columnChangeIDs_.clear();
    selectedBookmarkName_.reset();

    if (modifiers.testFlag(Qt::ShiftModifier) && sameColumn && anchor) {
        const auto from = position(visibleOrder, *anchor);
        const auto to = position(visibleOrder, changeID);
        if (from && to) {
            const auto [low, high] = std::minmax(*from, *to);
            selectedCommitIDs_.assign(visibleOrder.begin() + static_cast<std::ptrdiff_t>(low),
                                      visibleOrder.begin() + static_cast<std::ptrdiff_t>(high) + 1);
            emitIfChanged(before);
            return;
        }
    } else if (modifiers.testFlag(Qt::ControlModifier) && sameColumn) {
        std::set<std::string> chosen(selectedCommitIDs_.begin(), selectedCommitIDs_.end());
        if (!chosen.erase(changeID)) {
            chosen.insert(changeID);
        }
        selectedCommitIDs_ = orderedByVisible(chosen, visibleOrder);
        anchorChangeID_ = changeID;
        if (selectedCommitIDs_.empty()) {
            selectionColumn_.reset();
        }
        emitIfChanged(before);
        return;
    }
    selectedCommitIDs_ = {changeID};
    anchorChangeID_ = changeID;
    selectionColumn_ = column;
    emitIfChanged(before);
}

void SelectionStore::moveSelection(int step, bool extend, const ColumnID& column,
                                   const std::vector<std::string>& visibleOrder) {
    if (selectionColumn_ != column || selectedCommitIDs_.empty()) {
        return;
    }
    const auto first = position(visibleOrder, selectedCommitIDs_.front());
    const auto last = position(visibleOrder, selectedCommitIDs_.back());
    if (!first || !last) {
        return;
    }
    // The moving end: the one away from where a range starts, so that a
    // range extended by keys also shrinks back; a plain move leaves from
    // the end it travels towards.
    std::size_t from = step > 0 ? *last : *first;
    if (extend) {
        const auto start = rangeStart();
        from = start && position(visibleOrder, *start) == last ? *first : *last;
    }
    const auto next = static_cast<std::ptrdiff_t>(from) + step;
    if (next < 0 || next >= static_cast<std::ptrdiff_t>(visibleOrder.size())) {
        return;
    }
    selectCommit(visibleOrder[static_cast<std::size_t>(next)], column, visibleOrder,
                 extend ? Qt::ShiftModifier : Qt::NoModifier);
}

void SelectionStore::clear() {
    selectBookmark(std::nullopt);
}

void SelectionStore::setDiffVisible(bool visible) {
    if (isDiffVisible_ != visible) {
        isDiffVisible_ = visible;
        Q_EMIT changed();
    }
}

}  // namespace vorda
