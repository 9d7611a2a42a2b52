#include "app/column/CommitListModel.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <utility>

#include "app/column/ColumnRules.h"
#include "app/column/ColumnText.h"
#include "app/column/CommitCardText.h"
#include "app/column/QtText.h"
#include "app/column/RelativeTime.h"

namespace vorda {

namespace {

using Row = CommitListModel::Row;
using RowKind = CommitListModel::RowKind;

void appendRows(std::vector<Row>& rows, RowKind kind, const std::vector<SharedCommit>& commits) {
    for (const auto& commit : commits) {
        rows.push_back(Row{kind, commit});
    }
}

bool isSelectable(RowKind kind) {
    return kind == RowKind::commit || kind == RowKind::stacked || kind == RowKind::ancestor;
}

int toInt(std::size_t value) {
    return static_cast<int>(value);
}

// Only these fields of an input decorate rows beyond the rows themselves.
bool sameDecorations(const BookmarkColumnInput& left, const BookmarkColumnInput& right) {
    return left.selectedChangeIDs == right.selectedChangeIDs &&
           left.advancingCommitIDs == right.advancingCommitIDs &&
           left.inlineBookmarkTips == right.inlineBookmarkTips &&
           left.compositionPoints == right.compositionPoints &&
           left.unnamedInputIDs == right.unnamedInputIDs && left.kind == right.kind &&
           left.bookmark.name == right.bookmark.name &&
           left.mutableBaseBookmarkNames == right.mutableBaseBookmarkNames;
}

}  // namespace

CommitListModel::CommitListModel(QObject* parent)
    : QAbstractListModel(parent),
      input_(std::make_shared<const BookmarkColumnInput>()),
      clock_(&currentTime) {}

std::vector<Row> CommitListModel::rowsFor(const BookmarkColumnInput& input) {
    std::vector<Row> rows;
    if (input.isTrunk() && !input.isExpanded) {
        return rows;
    }
    rows.reserve(input.commits.size() + input.stackedCommits.size() + input.baseCommits.size() +
                 input.ancestorCommits.size() + 1);
    appendRows(rows, RowKind::commit, input.commits);
    appendRows(rows, RowKind::stacked, input.stackedCommits);
    if (input.isExpanded) {
        // Open history already lists the base among the ancestors.
        appendRows(rows, RowKind::ancestor, columnrules::listedAncestors(input));
        if (columnrules::showsLoadMore(input)) {
            rows.push_back(Row{RowKind::loadMore, std::nullopt});
        }
    } else {
        appendRows(rows, RowKind::base, input.baseCommits);
    }
    return rows;
}

void CommitListModel::setInput(std::shared_ptr<const BookmarkColumnInput> input) {
    if (!input) {
        input = std::make_shared<const BookmarkColumnInput>();
    }
    const std::shared_ptr<const BookmarkColumnInput> before = std::exchange(input_, input);
    replaceRows(rowsFor(*input_));
    signalDecorationChanges(*before);
    // File lists of commits no longer shown are not needed again.
    std::erase_if(files_, [this](const auto& entry) {
        return std::none_of(rows_.begin(), rows_.end(), [&](const Row& current) {
            return current.commit && (*current.commit)->commitID == entry.first;
        });
    });
}

void CommitListModel::setShowsFiles(bool shows) {
    if (shows == showsFiles_) {
        return;
    }
    showsFiles_ = shows;
    if (!rows_.empty()) {
        Q_EMIT dataChanged(index(0), index(toInt(rows_.size()) - 1));
    }
}

bool CommitListModel::listsFiles(int index) const {
    const Row& current = row(index);
    return showsFiles_ && current.commit && isSelectable(current.kind);
}

void CommitListModel::setCommitFiles(const std::string& commitID, std::vector<ChangedFile> files) {
    files_[commitID] = std::move(files);
    for (int index = 0; index < toInt(rows_.size()); ++index) {
        const Row& current = rows_[static_cast<std::size_t>(index)];
        if (current.commit && (*current.commit)->commitID == commitID) {
            Q_EMIT dataChanged(this->index(index), this->index(index));
        }
    }
}

const std::vector<ChangedFile>* CommitListModel::commitFiles(int index) const {
    const Row& current = row(index);
    if (!current.commit) {
        return nullptr;
    }
    const auto found = files_.find((*current.commit)->commitID);
    return found == files_.end() ? nullptr : &found->second;
}

void CommitListModel::replaceRows(std::vector<Row> rows) {
    if (rows == rows_) {
        return;
    }
    const std::size_t shorter = std::min(rows.size(), rows_.size());
    const auto prefix = static_cast<std::size_t>(
        std::mismatch(rows_.begin(), rows_.begin() + static_cast<std::ptrdiff_t>(shorter),
                      rows.begin())
            .first -
        rows_.begin());
    std::size_t suffix = 0;
    while (suffix < shorter - prefix &&
           rows_[rows_.size() - 1 - suffix] == rows[rows.size() - 1 - suffix]) {
        ++suffix;
    }
    if (prefix == 0 && suffix == 0) {
        beginResetModel();
        rows_ = std::move(rows);
        endResetModel();
        return;
    }
    const std::size_t oldMiddle = rows_.size() - prefix - suffix;
    const std::size_t newMiddle = rows.size() - prefix - suffix;
    const auto first = static_cast<std::ptrdiff_t>(prefix);
    if (oldMiddle == newMiddle) {
        // Same shape: the rows in between now show other commits.
        std::copy(rows.begin() + first,
                  rows.begin() + first + static_cast<std::ptrdiff_t>(newMiddle),
                  rows_.begin() + first);
        Q_EMIT dataChanged(index(toInt(prefix)), index(toInt(prefix + newMiddle - 1)));
        return;
    }
    if (oldMiddle > 0) {
        beginRemoveRows(QModelIndex(), toInt(prefix), toInt(prefix + oldMiddle - 1));
        rows_.erase(rows_.begin() + first,
                    rows_.begin() + first + static_cast<std::ptrdiff_t>(oldMiddle));
        endRemoveRows();
    }
    if (newMiddle > 0) {
        beginInsertRows(QModelIndex(), toInt(prefix), toInt(prefix + newMiddle - 1));
        rows_.insert(
            rows_.begin() + first, std::make_move_iterator(rows.begin() + first),
            std::make_move_iterator(rows.begin() + first + static_cast<std::ptrdiff_t>(newMiddle)));
        endInsertRows();
    }
}

void CommitListModel::signalDecorationChanges(const BookmarkColumnInput& before) {
    if (sameDecorations(before, *input_)) {
        return;
    }
    std::optional<int> first;
    int last = 0;
    for (int index = 0; index < toInt(rows_.size()); ++index) {
        if (decoration(before, index) != decoration(*input_, index)) {
            first = first.value_or(index);
            last = index;
        }
    }
    if (first) {
        Q_EMIT dataChanged(this->index(*first), this->index(last));
    }
}

CommitListModel::Decoration CommitListModel::decoration(const BookmarkColumnInput& input,
                                                        int index) const {
    const Row& current = row(index);
    if (!current.commit) {
        return {};
    }
    const JJCommit& commit = **current.commit;
    Decoration result;
    result.selected =
        isSelectable(current.kind) && input.selectedChangeIDs.contains(commit.changeID);
    result.advancing = input.advancingCommitIDs.contains(commit.commitID);
    result.chips = cardChips(input, commit, index == 0 && current.kind == RowKind::commit);
    if (current.kind == RowKind::base) {
        result.baseNote = baseNote(input, commit);
    }
    return result;
}

std::vector<CardChip> CommitListModel::chips(int index) const {
    const Row& current = row(index);
    if (!current.commit) {
        return {};
    }
    return cardChips(*input_, **current.commit, index == 0 && current.kind == RowKind::commit);
}

bool CommitListModel::isSelected(int index) const {
    const Row& current = row(index);
    return current.commit && isSelectable(current.kind) &&
           input_->selectedChangeIDs.contains((*current.commit)->changeID);
}

bool CommitListModel::isAdvancing(int index) const {
    const Row& current = row(index);
    return current.commit && input_->advancingCommitIDs.contains((*current.commit)->commitID);
}

void CommitListModel::setClock(Clock clock) {
    clock_ = clock ? std::move(clock) : Clock(&currentTime);
    refreshRelativeTimes();
}

void CommitListModel::refreshRelativeTimes() {
    if (rows_.empty()) {
        return;
    }
    Q_EMIT dataChanged(index(0), index(toInt(rows_.size()) - 1), {RelativeTimeRole});
}

int CommitListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : toInt(rows_.size());
}

QVariant CommitListModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.parent().isValid() || index.row() >= toInt(rows_.size())) {
        return {};
    }
    const Row& current = row(index.row());
    if (role == RowKindRole) {
        return static_cast<int>(current.kind);
    }
    if (!current.commit) {
        if (role == Qt::DisplayRole || role == Qt::AccessibleTextRole) {
            return qtText(columntext::loadMoreLabel);
        }
        return {};
    }
    return commitData(current, index.row(), role);
}

QVariant CommitListModel::commitData(const Row& current, int index, int role) const {
    const JJCommit& commit = **current.commit;
    switch (role) {
        case Qt::DisplayRole:
            return cardtext::summary(commit);
        case Qt::ToolTipRole:
            return cardtext::cardTooltip(commit);
        case Qt::AccessibleTextRole: {
            QString text = cardtext::summary(commit);
            if (commit.immutable) {
                text += QStringLiteral(", immutable");
            }
            return text;
        }
        case ChangeIDRole:
            return QString::fromStdString(commit.changeID);
        case ShortChangeIDRole:
            return QString::fromStdString(commit.shortChangeID());
        case CommitIDRole:
            return QString::fromStdString(commit.commitID);
        case AuthorRole:
            return cardtext::authorLabel(commit.author);
        case AuthorToolTipRole:
            return cardtext::authorTooltip(commit.author);
        case RelativeTimeRole:
            return cardtext::relativeTimestamp(commit.committer, clock_());
        case TimestampToolTipRole:
            return cardtext::timestampTooltip(commit.committer);
        case IsImmutableRole:
            return commit.immutable;
        case IsSelectedRole:
            return isSelected(index);
        case IsAdvancingRole:
            return isAdvancing(index);
        case IsConflictRole:
            return commit.conflict;
        case IsWorkingCopyRole:
            return commit.workingCopy;
        case BaseNoteRole:
            return current.kind == RowKind::base ? QVariant(baseNote(*input_, commit)) : QVariant();
        default:
            return {};
    }
}

QString CommitListModel::baseNote(const BookmarkColumnInput& input, const JJCommit& commit) {
    if (commit.immutable) {
        return QStringLiteral("immutable base");
    }
    QStringList names;
    for (const auto& name : input.mutableBaseBookmarkNames) {
        names.append(QString::fromStdString(name));
    }
    return names.isEmpty() ? QString() : QStringLiteral("on ") + names.join(QStringLiteral(", "));
}

Qt::ItemFlags CommitListModel::flags(const QModelIndex& index) const {
    if (!index.isValid()) {
        return Qt::NoItemFlags;
    }
    const Row& current = row(index.row());
    return isSelectable(current.kind) ? Qt::ItemIsEnabled | Qt::ItemIsSelectable
                                      : Qt::ItemIsEnabled;
}

QHash<int, QByteArray> CommitListModel::roleNames() const {
    QHash<int, QByteArray> names = QAbstractListModel::roleNames();
    names.insert(RowKindRole, "rowKind");
    names.insert(ChangeIDRole, "changeID");
    names.insert(ShortChangeIDRole, "shortChangeID");
    names.insert(CommitIDRole, "commitID");
    names.insert(AuthorRole, "author");
    names.insert(AuthorToolTipRole, "authorToolTip");
    names.insert(RelativeTimeRole, "relativeTime");
    names.insert(TimestampToolTipRole, "timestampToolTip");
    names.insert(IsImmutableRole, "isImmutable");
    names.insert(IsSelectedRole, "isSelected");
    names.insert(IsAdvancingRole, "isAdvancing");
    names.insert(IsConflictRole, "isConflict");
    names.insert(IsWorkingCopyRole, "isWorkingCopy");
    names.insert(BaseNoteRole, "baseNote");
    return names;
}

}  // namespace vorda
