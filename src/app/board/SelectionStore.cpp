#include "app/board/SelectionStore.h"

namespace vorda {

void SelectionStore::selectBookmark(const std::optional<std::string>& name) {
    if (selectedBookmarkName_ == name && !selectionColumn_ && selectedCommitIDs_.empty()) {
        return;
    }
    selectedBookmarkName_ = name;
    selectedCommitIDs_.clear();
    columnChangeIDs_.clear();
    anchor_.reset();
    selectionColumn_.reset();
    Q_EMIT changed();
}

void SelectionStore::selectCommit(const ColumnID& column, const std::string& changeID,
                                  std::vector<std::string> columnChangeIDs,
                                  const std::optional<std::string>& bookmarkName) {
    selectedBookmarkName_ = bookmarkName;
    selectedCommitIDs_ = {changeID};
    columnChangeIDs_ = std::move(columnChangeIDs);
    anchor_ = changeID;
    selectionColumn_ = column;
    Q_EMIT changed();
}

void SelectionStore::selectColumn(const ColumnID& column, std::vector<std::string> columnChangeIDs,
                                  const std::optional<std::string>& bookmarkName) {
    selectedBookmarkName_ = bookmarkName;
    selectedCommitIDs_.clear();
    columnChangeIDs_ = std::move(columnChangeIDs);
    anchor_.reset();
    selectionColumn_ = column;
    Q_EMIT changed();
}

void SelectionStore::clear() {
    if (!selectedBookmarkName_ && selectedCommitIDs_.empty() && columnChangeIDs_.empty() &&
        !anchor_ && !selectionColumn_) {
        return;
    }
    selectedBookmarkName_.reset();
    selectedCommitIDs_.clear();
    columnChangeIDs_.clear();
    anchor_.reset();
    selectionColumn_.reset();
    Q_EMIT changed();
}

void SelectionStore::setDiffVisible(bool visible) {
    if (isDiffVisible_ != visible) {
        isDiffVisible_ = visible;
        Q_EMIT changed();
    }
}

}  // namespace vorda
