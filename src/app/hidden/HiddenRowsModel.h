#pragma once

#include <QAbstractListModel>
#include <vector>

#include "app/hidden/HiddenPanelRows.h"

namespace vorda {

/// The rows of the hidden bookmarks panel: hidden items, the commits of the
/// open item, and notes about revset matches that are on the board.
///
/// New rows replace the old by their difference: rows that keep their
/// identity at the start and the end stay (a changed label or cursor is a
/// `dataChanged`), the rest is removed and inserted. An unchanged list
/// signals nothing.
///
/// `BookmarkNameRole` is what a drag of a row carries: the bookmark name of
/// a hidden bookmark's or an untracked remote bookmark's row, and an invalid
/// QVariant on one-off, commit and note rows.
class HiddenRowsModel : public QAbstractListModel {
    Q_OBJECT

  public:
    enum Role {
        /// The bookmark a row stands for, as text; see the class comment.
        BookmarkNameRole = Qt::UserRole + 1,
        /// `hiddenpanel::PanelEntry::Kind` as an int.
        EntryKindRole,
        /// `hiddenpanel::ItemKind` as an int.
        ItemKindRole,
        /// The item's name (the owner's on a commit row).
        NameRole,
        IsOpenRole,
        IsCursorRole,
        /// A commit row whose change is selected in the panel.
        IsSelectedRole,
        /// A commit row's change ID, 12 characters.
        ShortChangeIDRole,
        /// The tooltip of an item row's pin control.
        PinToolTipRole,
    };

    struct Row {
        hiddenpanel::PanelEntry entry;
        bool isCursor = false;
        bool isSelected = false;
        bool operator==(const Row&) const = default;
    };

    explicit HiddenRowsModel(QObject* parent = nullptr) : QAbstractListModel(parent) {}

    void setRows(std::vector<Row> rows);
    const Row& row(int index) const { return rows_.at(static_cast<std::size_t>(index)); }
    const std::vector<Row>& rows() const { return rows_; }

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role) const override;

  private:
    std::vector<Row> rows_;
};

}  // namespace vorda
