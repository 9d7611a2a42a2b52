#pragma once

#include <QAbstractListModel>
#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/column/BookmarkColumnInput.h"
#include "app/column/CommitCardChips.h"
#include "jjkit/model/SharedCommit.h"

namespace vorda {

/// The rows of one lane column: its commits, stacked commits, base (while
/// history is closed), ancestors (while it is open) and the "Load more" row.
///
/// A new input replaces the rows by their difference: rows the old and the
/// new list share at the start and at the end stay, the rest is removed and
/// inserted, and a change that only touches decorations (selection, running
/// rebases, chips) is a `dataChanged` over the rows it touches. An unchanged
/// input signals nothing, so the board may hand every column its input on
/// every snapshot. Commits are shared with the input, never copied, and all
/// text is made on demand for the rows the view paints, which keeps lanes of
/// thousands of commits cheap.
class CommitListModel : public QAbstractListModel {
    Q_OBJECT

  public:
    enum class RowKind { commit, stacked, base, ancestor, loadMore };

    enum Role {
        RowKindRole = Qt::UserRole + 1,
        ChangeIDRole,
        ShortChangeIDRole,
        CommitIDRole,
        AuthorRole,
        AuthorToolTipRole,
        RelativeTimeRole,
        TimestampToolTipRole,
        IsImmutableRole,
        IsSelectedRole,
        IsAdvancingRole,
        IsConflictRole,
        IsWorkingCopyRole,
        /// Under a base row: "immutable base", or "on " and the bookmarks
        /// whose mutable history the base belongs to.
        BaseNoteRole,
    };

    struct Row {
        RowKind kind = RowKind::commit;
        /// Absent only for the "Load more" row.
        std::optional<SharedCommit> commit;
        bool operator==(const Row&) const = default;
    };

    using Clock = std::function<std::chrono::sys_seconds()>;

    explicit CommitListModel(QObject* parent = nullptr);

    /// The rows an input shows, in order.
    static std::vector<Row> rowsFor(const BookmarkColumnInput& input);

    void setInput(std::shared_ptr<const BookmarkColumnInput> input);
    const BookmarkColumnInput& input() const { return *input_; }

    const Row& row(int index) const { return rows_.at(static_cast<std::size_t>(index)); }
    /// The chips of a commit row; none for the "Load more" row.
    std::vector<CardChip> chips(int index) const;
    /// Whether the row's commit is part of the selection.
    bool isSelected(int index) const;
    /// Whether the row's commit is being rebased.
    bool isAdvancing(int index) const;

    /// Whether commit cards list their changed files. Rows that list files
    /// grow, so a view showing them cannot assume uniform row sizes.
    void setShowsFiles(bool shows);
    bool showsFiles() const { return showsFiles_; }
    /// Whether the row's card lists files: a commit card while files are
    /// shown (base rows and "Load more" never do).
    bool listsFiles(int index) const;
    /// The changed files of the commit `commitID`, loaded for its card.
    void setCommitFiles(const std::string& commitID, std::vector<ChangedFile> files);
    /// The files the row's card lists; null while they are not loaded.
    const std::vector<ChangedFile>* commitFiles(int index) const;

    /// The clock of the relative times; the system clock by default.
    void setClock(Clock clock);
    /// Signals that every relative time may read differently now.
    void refreshRelativeTimes();

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    QHash<int, QByteArray> roleNames() const override;

  private:
    struct Decoration {
        bool selected = false;
        bool advancing = false;
        std::vector<CardChip> chips;
        QString baseNote;
        bool operator==(const Decoration&) const = default;
    };

    void replaceRows(std::vector<Row> rows);
    void signalDecorationChanges(const BookmarkColumnInput& before);
    Decoration decoration(const BookmarkColumnInput& input, int index) const;
    QVariant commitData(const Row& current, int index, int role) const;
    static QString baseNote(const BookmarkColumnInput& input, const JJCommit& commit);

    std::shared_ptr<const BookmarkColumnInput> input_;
    std::vector<Row> rows_;
    Clock clock_;
    bool showsFiles_ = false;
    /// Loaded file lists by commit ID: a rewritten commit has a new ID, so
    /// its card loads its files afresh.
    std::map<std::string, std::vector<ChangedFile>> files_;
};

}  // namespace vorda
