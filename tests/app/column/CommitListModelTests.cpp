#include "app/column/CommitListModel.h"

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
using Lines = std::vector<std::string>;
using enum CommitListModel::Role;

std::shared_ptr<const BookmarkColumnInput> shared(BookmarkColumnInput input) {
    return std::make_shared<const BookmarkColumnInput>(std::move(input));
}

QVariant cell(const CommitListModel& model, int row, int role) {
    return model.data(model.index(row), role);
}

// The rows' kinds, one letter each: commit, stacked, base, ancestor, "+" load more.
std::string rows(const CommitListModel& model) {
    std::string kinds;
    for (int row = 0; row < model.rowCount(); ++row) {
        kinds += "csba+"[static_cast<int>(model.row(row).kind)];
    }
    return kinds;
}

TEST(CommitListModel, CardDataOfEachCommitThenHistoryRowsBaseRowsAndLoadMore) {
    JJCommit unnamed = makeCommit(2, "");
    unnamed.author.name.clear();
    const std::vector<JJCommit> commits = {makeCommit(1, "Add login form\n\nWith validation."),
                                           unnamed, makeCommit(3, "Release 1.0", true)};
    CommitListModel model;
    model.setClock(&testNow);
    model.setInput(shared(bookmarkLane("feature", SharedCommit::shareAll(commits))));
    ASSERT_EQ(rows(model), "ccc");
    for (int row = 0; row < 3; ++row) {
        const JJCommit& commit = commits[static_cast<std::size_t>(row)];
        QStringList card;
        for (const int role : std::initializer_list<int>{
                 Qt::DisplayRole, Qt::ToolTipRole, ShortChangeIDRole, AuthorRole, AuthorToolTipRole,
                 RelativeTimeRole, TimestampToolTipRole, IsImmutableRole}) {
            card.append(cell(model, row, role).toString());
        }
        EXPECT_EQ(card, (QStringList{cardtext::summary(commit), cardtext::cardTooltip(commit),
                                     QString::fromStdString(commit.changeID.substr(0, 12)),
                                     cardtext::authorLabel(commit.author),
                                     cardtext::authorTooltip(commit.author),
                                     cardtext::relativeTimestamp(commit.committer, testNow()),
                                     cardtext::timestampTooltip(commit.committer),
                                     commit.immutable ? "true" : "false"}));
    }
    EXPECT_EQ(cell(model, 2, Qt::AccessibleTextRole).toString(),
              QStringLiteral("Release 1.0, immutable"));
    EXPECT_FALSE(cell(model, 3, Qt::DisplayRole).isValid());

    // A later clock reads the same commit as older.
    model.setClock([] { return testNow() + std::chrono::days{3}; });
    EXPECT_EQ(cell(model, 0, RelativeTimeRole).toString(), QStringLiteral("3 days ago"));

    BookmarkColumnInput input = bookmarkLane("feature", makeCommits(1, 2));
    input.stackedCommits = makeCommits(10, 1);
    input.baseCommits = SharedCommit::shareAll({makeCommit(30, "Trunk tip", true)});
    input.ancestorCommits = makeCommits(20, 2);
    input.ancestorTotal = 5;
    const auto show = [&] {
        model.setInput(shared(input));
        return std::pair(rows(model), cell(model, 3, BaseNoteRole).toString());
    };
    // History closed: commits, stacked, then the base.
    EXPECT_EQ(show(), std::pair(std::string("ccsb"), QStringLiteral("immutable base")));
    input.baseCommits = SharedCommit::shareAll({makeCommit(30, "Shared base")});
    input.mutableBaseBookmarkNames = {"api", "core"};
    EXPECT_EQ(show(), std::pair(std::string("ccsb"), QStringLiteral("on api, core")));

    input.isExpanded = true;
    EXPECT_EQ(show().first, "ccsaa+");
    EXPECT_EQ(cell(model, 5, Qt::DisplayRole).toString(), QStringLiteral("Load more"));
    EXPECT_FALSE(cell(model, 5, Qt::ToolTipRole).isValid());
    input.ancestorCommits = makeCommits(20, 5);
    EXPECT_EQ(show().first, "ccsaaaaa");
}

TEST(CommitListModel, UnchangedCommitsKeepTheirRowsAndChangesAreSignalledPrecisely) {
    BookmarkColumnInput input = bookmarkLane("feature", makeCommits(1, 3));
    input.ancestorCommits = makeCommits(20, 2);
    input.ancestorTotal = 6;
    input.isExpanded = true;
    CommitListModel model;
    model.setInput(shared(input));

    // Every signal as "what first-last", then the rows.
    Lines sent;
    const auto record = [&sent](const char* what, int first, int last) {
        sent.push_back(QStringLiteral("%1 %2-%3").arg(what).arg(first).arg(last).toStdString());
    };
    QObject::connect(&model, &QAbstractItemModel::modelReset, [&] { sent.emplace_back("reset"); });
    QObject::connect(
        &model, &QAbstractItemModel::rowsInserted,
        [&](const QModelIndex&, int first, int last) { record("insert", first, last); });
    QObject::connect(
        &model, &QAbstractItemModel::rowsRemoved,
        [&](const QModelIndex&, int first, int last) { record("remove", first, last); });
    QObject::connect(&model, &QAbstractItemModel::dataChanged,
                     [&](const QModelIndex& first, const QModelIndex& last) {
                         record("change", first.row(), last.row());
                     });
    const auto apply = [&](const BookmarkColumnInput& next) {
        sent.clear();
        model.setInput(shared(next));
        sent.push_back(rows(model));
        return sent;
    };

    // The same commits, rebuilt as new shares of equal commits, with another
    // title: nothing to tell the view.
    BookmarkColumnInput same = input;
    same.title = "renamed";
    same.commits = makeCommits(1, 3);
    EXPECT_EQ(apply(same), Lines{"cccaa+"});
    // Selecting the second commit, or a running rebase of the third, touches its row only.
    same.selectedChangeIDs = {same.commits[1]->changeID};
    EXPECT_EQ(apply(same), (Lines{"change 1-1", "cccaa+"}));
    EXPECT_EQ(std::pair(cell(model, 0, IsSelectedRole), cell(model, 1, IsSelectedRole)),
              std::pair(QVariant(false), QVariant(true)));
    same.advancingCommitIDs = {same.commits[2]->commitID};
    EXPECT_EQ(apply(same), (Lines{"change 2-2", "cccaa+"}));
    EXPECT_TRUE(cell(model, 2, IsAdvancingRole).toBool());

    // The next page of history is inserted behind the loaded one; the last
    // page takes the "Load more" row away.
    same.ancestorCommits = makeCommits(20, 4);
    EXPECT_EQ(apply(same), (Lines{"insert 5-6", "cccaaaa+"}));
    same.ancestorCommits = makeCommits(20, 6);
    EXPECT_EQ(apply(same), (Lines{"remove 7-7", "insert 7-8", "cccaaaaaa"}));

    // A rewritten tip replaces one row in place; a lane with nothing in
    // common starts over.
    same.commits[0] = SharedCommit(makeCommit(1, "Reworded tip"));
    EXPECT_EQ(apply(same), (Lines{"change 0-0", "cccaaaaaa"}));
    EXPECT_EQ(cell(model, 0, Qt::DisplayRole).toString(), QStringLiteral("Reworded tip"));
    Lines fresh = apply(bookmarkLane("other", makeCommits(100, 2)));
    EXPECT_EQ(fresh.front().append(" then ").append(fresh.back()), "reset then cc");
}

}  // namespace
}  // namespace vorda
