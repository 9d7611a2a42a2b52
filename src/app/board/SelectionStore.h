#pragma once

#include <QObject>
#include <optional>
#include <string>
#include <vector>

#include "app/board/ColumnID.h"

namespace vorda {

/// What the user has selected on one board: a bookmark, commits within one
/// column, and whether the diff column is open. GUI thread only; `changed`
/// is emitted after every real change.
class SelectionStore : public QObject {
    Q_OBJECT

  public:
    explicit SelectionStore(QObject* parent = nullptr) : QObject(parent) {}

    const std::optional<std::string>& selectedBookmarkName() const { return selectedBookmarkName_; }
    /// Change IDs of the selected commits, in the order they were chosen.
    const std::vector<std::string>& selectedCommitIDs() const { return selectedCommitIDs_; }
    /// Change IDs of the selected column's commits, in column order.
    const std::vector<std::string>& columnChangeIDs() const { return columnChangeIDs_; }
    const std::optional<std::string>& anchor() const { return anchor_; }
    const std::optional<ColumnID>& selectionColumn() const { return selectionColumn_; }
    bool isDiffVisible() const { return isDiffVisible_; }

    /// Selects a bookmark with no column and no commits.
    void selectBookmark(const std::optional<std::string>& name);
    /// Selects one commit of a column; the column's change IDs give the
    /// order for later range selection.
    void selectCommit(const ColumnID& column, const std::string& changeID,
                      std::vector<std::string> columnChangeIDs,
                      const std::optional<std::string>& bookmarkName);
    /// Selects a whole column (its header).
    void selectColumn(const ColumnID& column, std::vector<std::string> columnChangeIDs,
                      const std::optional<std::string>& bookmarkName);
    /// Empties everything but the diff flag.
    void clear();
    void setDiffVisible(bool visible);

  Q_SIGNALS:
    void changed();

  private:
    std::optional<std::string> selectedBookmarkName_;
    std::vector<std::string> selectedCommitIDs_;
    std::vector<std::string> columnChangeIDs_;
    std::optional<std::string> anchor_;
    std::optional<ColumnID> selectionColumn_;
    bool isDiffVisible_ = false;
};

}  // namespace vorda
