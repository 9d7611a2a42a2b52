#include "app/column/CommitListModel.h"

#include <QSignalSpy>
#include <memory>

#include <gtest/gtest.h>

#include "ColumnTestData.h"
#include "app/column/CommitCardText.h"

namespace vorda {
namespace {

using columntest::bookmarkLane;
using columntest::makeCommit;
using columntest::makeCommits;
using columntest::testNow;
using RowKind = CommitListModel::RowKind;
using enum CommitListModel::Role;

std::shared_ptr<const BookmarkColumnInput> shared(BookmarkColumnInput input) {
    return std::make_shared<const BookmarkColumnInput>(std::move(input));
}

QVariant cell(const CommitListModel& model, int row, int role) {
    return model.data(model.index(row), role);
}

TEST(CommitListModel, CardDataOfEachCommit) {
    JJCommit unnamed = makeCommit(2, "");
    unnamed.author.name.clear();
    const std::vector<JJCommit> commits = {makeCommit(1, "Add login form\n\nWith validation."),
                                           unnamed, makeCommit(3, "Release 1.0", true)};
    CommitListModel model;
    model.setClock(&testNow);
    model.setInput(shared(bookmarkLane("feature", SharedCommit::shareAll(commits))));
    ASSERT_EQ(model.rowCount(), 3);
    for (int row = 0; row < 3; ++row) {
        const JJCommit& commit = commits[static_cast<std::size_t>(row)];
        QStringList card;
        for (const int role : std::initializer_list<int>{
                 Qt::DisplayRole, Qt::ToolTipRole, ShortChangeIDRole, AuthorRole, AuthorToolTipRole,
                 RelativeTimeRole, TimestampToolTipRole, IsImmutableRole, RowKindRole}) {
            card.append(cell(model, row, role).toString());
        }
        EXPECT_EQ(card, (QStringList{cardtext::summary(commit), cardtext::cardTooltip(commit),
                                     QString::fromStdString(commit.changeID.substr(0, 12)),
                                     cardtext::authorLabel(commit.author),
                                     cardtext::authorTooltip(commit.author),
                                     cardtext::relativeTimestamp(commit.committer, testNow()),
                                     cardtext::timestampTooltip(commit.committer),
                                     commit.immutable ? "true" : "false",
                                     QString::number(static_cast<int>(RowKind::commit))}));
    }
    EXPECT_EQ(cell(model, 2, Qt::AccessibleTextRole).toString(),
              QStringLiteral("Release 1.0, immutable"));
    EXPECT_FALSE(cell(model, 3, Qt::DisplayRole).isValid());

    // A later clock reads the same commit as older.
    model.setClock([] { return testNow() + std::chrono::days{3}; });
    EXPECT_EQ(cell(model, 0, CommitListModel::RelativeTimeRole).toString(),
              QStringLiteral("3 days ago"));
}

TEST(CommitListModel, HistoryRowsBaseRowsAndLoadMore) {
    using enum CommitListModel::RowKind;
    BookmarkColumnInput input = bookmarkLane("feature", makeCommits(1, 2));
    input.stackedCommits = makeCommits(10, 1);
    input.baseCommits = SharedCommit::shareAll({makeCommit(30, "Trunk tip", true)});
    input.ancestorCommits = makeCommits(20, 2);
    input.ancestorTotal = 5;
    CommitListModel model;
    const auto show = [&] {
        model.setInput(shared(input));
        std::vector<RowKind> kinds;
        for (int row = 0; row < model.rowCount(); ++row) {
            kinds.push_back(model.row(row).kind);
        }
        return kinds;
    };
    // History closed: commits, stacked, then the base.
    EXPECT_EQ(show(), (std::vector{commit, commit, stacked, base}));
    EXPECT_EQ(cell(model, 3, BaseNoteRole).toString(), QStringLiteral("immutable base"));
    input.baseCommits = SharedCommit::shareAll({makeCommit(30, "Shared base")});
    input.mutableBaseBookmarkNames = {"api", "core"};
    show();
    EXPECT_EQ(cell(model, 3, BaseNoteRole).toString(), QStringLiteral("on api, core"));

    input.isExpanded = true;
    EXPECT_EQ(show(), (std::vector{commit, commit, stacked, ancestor, ancestor, loadMore}));
    EXPECT_EQ(cell(model, 5, Qt::DisplayRole).toString(), QStringLiteral("Load more"));
    EXPECT_FALSE(cell(model, 5, Qt::ToolTipRole).isValid());
    input.ancestorCommits = makeCommits(20, 5);
    EXPECT_EQ(show(), (std::vector{commit, commit, stacked, ancestor, ancestor, ancestor, ancestor,
                                   ancestor}));
}

TEST(CommitListModel, UnchangedCommitsKeepTheirRowsAndChangesAreSignalledPrecisely) {
    BookmarkColumnInput input = bookmarkLane("feature", makeCommits(1, 3));
    input.ancestorCommits = makeCommits(20, 2);
    input.ancestorTotal = 6;
    input.isExpanded = true;
    CommitListModel model;
    model.setInput(shared(input));
    ASSERT_EQ(model.rowCount(), 6);

    QSignalSpy resets(&model, &QAbstractItemModel::modelReset);
    QSignalSpy inserts(&model, &QAbstractItemModel::rowsInserted);
    QSignalSpy removals(&model, &QAbstractItemModel::rowsRemoved);
    QSignalSpy changes(&model, &QAbstractItemModel::dataChanged);

    // The same commits, rebuilt as new shares of equal commits, with another
    // title: nothing to tell the view.
    BookmarkColumnInput same = input;
    same.title = "renamed";
    same.commits = makeCommits(1, 3);
    model.setInput(shared(same));
    EXPECT_EQ(resets.count() + inserts.count() + removals.count() + changes.count(), 0);

    // Selecting the second commit touches its row only.
    same.selectedChangeIDs = {same.commits[1]->changeID};
    model.setInput(shared(same));
    ASSERT_EQ(changes.count(), 1);
    EXPECT_EQ(changes[0][0].toModelIndex(), changes[0][1].toModelIndex());
    EXPECT_EQ(changes[0][0].toModelIndex().row(), 1);
    EXPECT_TRUE(cell(model, 1, IsSelectedRole).toBool());
    EXPECT_FALSE(cell(model, 0, IsSelectedRole).toBool());

    // A running rebase of the third commit touches its row only.
    changes.clear();
    same.advancingCommitIDs = {same.commits[2]->commitID};
    model.setInput(shared(same));
    ASSERT_EQ(changes.count(), 1);
    EXPECT_EQ(changes[0][0].toModelIndex().row(), 2);
    EXPECT_TRUE(cell(model, 2, IsAdvancingRole).toBool());

    // The next page of history is inserted behind the loaded one.
    changes.clear();
    same.ancestorCommits = makeCommits(20, 4);
    model.setInput(shared(same));
    ASSERT_EQ(inserts.count(), 1);
    EXPECT_EQ(inserts[0][1].toInt(), 5);
    EXPECT_EQ(inserts[0][2].toInt(), 6);
    EXPECT_EQ(removals.count(), 0);
    ASSERT_EQ(model.rowCount(), 8);
    EXPECT_EQ(model.row(7).kind, RowKind::loadMore);

    // The last page takes the "Load more" row away.
    inserts.clear();
    same.ancestorCommits = makeCommits(20, 6);
    model.setInput(shared(same));
    ASSERT_EQ(model.rowCount(), 9);
    EXPECT_EQ(model.row(8).kind, RowKind::ancestor);
    EXPECT_EQ(removals.count(), 1);
    EXPECT_EQ(inserts.count(), 1);

    // A rewritten tip replaces one row in place.
    changes.clear();
    same.commits[0] = SharedCommit(makeCommit(1, "Reworded tip"));
    model.setInput(shared(same));
    ASSERT_GE(changes.count(), 1);
    EXPECT_EQ(changes[0][0].toModelIndex().row(), 0);
    EXPECT_EQ(changes[0][1].toModelIndex().row(), 0);
    EXPECT_EQ(cell(model, 0, Qt::DisplayRole).toString(), QStringLiteral("Reworded tip"));
    EXPECT_EQ(resets.count(), 0);

    // A lane with nothing in common starts over.
    model.setInput(shared(bookmarkLane("other", makeCommits(100, 2))));
    EXPECT_EQ(resets.count(), 1);
    EXPECT_EQ(model.rowCount(), 2);
}

}  // namespace
}  // namespace vorda
