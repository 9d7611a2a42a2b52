#pragma once

#include <QObject>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "app/board/ColumnID.h"

namespace vorda {

/// What the user has selected on one board: a bookmark, commits within one
/// column, and whether the diff column is open. GUI thread only; `changed`
/// is emitted after every real change.
///
/// A click selects one commit; shift extends from the anchor to the clicked
/// commit along the column's visible order, and control toggles a commit in
/// or out, both only within the column already selected.
///
/// ```
/// store.selectCommit(changeID, ColumnID::bookmark("feat"), order, Qt::ShiftModifier);
/// ```
class SelectionStore : public QObject {
    Q_OBJECT

  public:
    explicit SelectionStore(QObject* parent = nullptr) : QObject(parent) {}

    const std::optional<std::string>& selectedBookmarkName() const { return selectedBookmarkName_; }
    /// Change IDs of the selected commits, in the column's visible order.
    const std::vector<std::string>& selectedCommitIDs() const { return selectedCommitIDs_; }
    /// Change IDs of the selected column's commits, in column order.
    const std::vector<std::string>& columnChangeIDs() const { return columnChangeIDs_; }
    /// Where a shift-click extends from.
    const std::optional<std::string>& anchorChangeID() const { return anchorChangeID_; }
    const std::optional<ColumnID>& selectionColumn() const { return selectionColumn_; }
    bool isDiffVisible() const { return isDiffVisible_; }

    /// Selects a bookmark and, when given, its column with all its changes.
    /// An absent name clears the column as well.
    void selectBookmark(const std::optional<std::string>& name,
                        const std::optional<ColumnID>& column = std::nullopt,
                        std::vector<std::string> changeIDs = {});
    /// Selects a commit of `column` by a click with `modifiers`; `visibleOrder`
    /// is the column's order of changes, which a range follows.
    void selectCommit(const std::string& changeID, const ColumnID& column,
                      const std::vector<std::string>& visibleOrder,
                      Qt::KeyboardModifiers modifiers);
    /// Moves the selection one change up (`step` -1) or down (+1) along
    /// `visibleOrder`; `extend` grows the range from the anchor as a
    /// shift-click would. Nothing happens at either end or with no commit
    /// selected in `column`.
    void moveSelection(int step, bool extend, const ColumnID& column,
                       const std::vector<std::string>& visibleOrder);
    /// Empties everything but the diff flag.
    void clear();
    void setDiffVisible(bool visible);

  Q_SIGNALS:
    void changed();

  private:
    /// The change a range or a move starts from: with the diff open, the
    /// first selected change (or the column's first); else the anchor.
    std::optional<std::string> rangeStart() const;
    using Fields =
        std::tuple<std::optional<std::string>, std::vector<std::string>, std::vector<std::string>,
                   std::optional<ColumnID>, std::optional<std::string>>;
    Fields fields() const;
    void emitIfChanged(const Fields& before);

    std::optional<std::string> selectedBookmarkName_;
    std::vector<std::string> selectedCommitIDs_;
    std::vector<std::string> columnChangeIDs_;
    std::optional<ColumnID> selectionColumn_;
    bool isDiffVisible_ = false;
    std::optional<std::string> anchorChangeID_;
};

}  // namespace vorda
