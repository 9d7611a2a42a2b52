#include "app/hidden/HiddenRowsModel.h"

#include <algorithm>

#include "app/column/CommitCardText.h"
#include "app/column/QtText.h"

namespace vorda {

namespace {

using hiddenpanel::ItemKind;
using Kind = hiddenpanel::PanelEntry::Kind;

bool sameIdentity(const HiddenRowsModel::Row& a, const HiddenRowsModel::Row& b) {
    return a.entry.kind == b.entry.kind && a.entry.name == b.entry.name &&
           a.entry.changeID == b.entry.changeID;
}

QString commitTooltip(const hiddenpanel::PanelEntry& entry) {
    JJCommit commit;
    commit.changeID = entry.changeID;
    commit.commitID = entry.commitID;
    return cardtext::cardTooltip(commit);
}

}  // namespace

void HiddenRowsModel::setRows(std::vector<Row> rows) {
    if (rows == rows_) {
        return;
    }
    const std::size_t shared = std::min(rows.size(), rows_.size());
    std::size_t head = 0;
    while (head < shared && sameIdentity(rows[head], rows_[head])) {
        ++head;
    }
    std::size_t tail = 0;
    while (tail < shared - head &&
           sameIdentity(rows[rows.size() - 1 - tail], rows_[rows_.size() - 1 - tail])) {
        ++tail;
    }
    const auto oldMiddle = static_cast<int>(rows_.size() - head - tail);
    const auto newMiddle = static_cast<int>(rows.size() - head - tail);
    const int first = static_cast<int>(head);
    if (oldMiddle > 0) {
        beginRemoveRows({}, first, first + oldMiddle - 1);
        rows_.erase(rows_.begin() + first, rows_.begin() + first + oldMiddle);
        endRemoveRows();
    }
    if (newMiddle > 0) {
        beginInsertRows({}, first, first + newMiddle - 1);
        rows_.insert(rows_.begin() + first, rows.begin() + first, rows.begin() + first + newMiddle);
        endInsertRows();
    }
    for (std::size_t at = 0; at < rows.size(); ++at) {
        if (rows_[at] != rows[at]) {
            rows_[at] = rows[at];
            const QModelIndex changed = index(static_cast<int>(at));
            Q_EMIT dataChanged(changed, changed);
        }
    }
}

int HiddenRowsModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

QVariant HiddenRowsModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rowCount()) {
        return {};
    }
    const Row& shown = row(index.row());
    const auto& entry = shown.entry;
    switch (role) {
        case Qt::DisplayRole:
            return qtText(entry.text);
        case Qt::ToolTipRole:
            if (entry.kind == Kind::commit) {
                return commitTooltip(entry);
            }
            return qtText(entry.kind == Kind::item
                              ? hiddenpanel::chipHelp(entry.itemKind, entry.name)
                              : entry.text);
        case BookmarkNameRole:
            return entry.kind == Kind::item && entry.itemKind != ItemKind::oneOff
                       ? QVariant(qtText(entry.name))
                       : QVariant();
        case EntryKindRole:
            return static_cast<int>(entry.kind);
        case ItemKindRole:
            return static_cast<int>(entry.itemKind);
        case NameRole:
            return qtText(entry.name);
        case IsOpenRole:
            return entry.isOpen;
        case IsCursorRole:
            return shown.isCursor;
        case IsSelectedRole:
            return shown.isSelected;
        case ShortChangeIDRole:
            return qtText(entry.changeID.substr(0, 12));
        case PinToolTipRole:
            return qtText(hiddenpanel::pinHelp(entry.itemKind, entry.name));
        default:
            return {};
    }
}

}  // namespace vorda
