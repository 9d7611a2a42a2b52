#include "app/board/BoardSlot.h"

#include <QApplication>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

#include "app/board/ContentView.h"
#include "app/board/SelectionStore.h"
#include "app/column/BookmarkColumn.h"
#include "app/viewmodel/RepoViewModel.h"
#include "viewmodel/ViewModelFixtures.h"

namespace vorda {
namespace {

std::vector<std::string> identities(const std::vector<BoardSlot>& row) {
    std::vector<std::string> result;
    result.reserve(row.size());
    for (const auto& slot : row) {
        result.push_back(slot.identity());
    }
    return result;
}

Bookmark named(const std::string& name) {
    Bookmark bookmark;
    bookmark.name = name;
    return bookmark;
}

TEST(BoardSlots, FixedOrderIncludedBookmarksAndTheDiffColumn) {
    OneOffLane lane;
    lane.tip.changeID = "kxyz";
    BoardSlotInputs inputs;
    inputs.workspaceNames = {"second", "default"};
    inputs.oneOffLanes = {lane};
    inputs.filteredBookmarks = {named("shown"), named("included"), named("included-visible")};
    inputs.includedBookmarkNames = {"included", "included-visible"};
    inputs.settingsByName["included-visible"] = testing::boardSettings(false, true);
    inputs.hasHidden = true;

    // An included bookmark shows inside its working-copy column and gets a
    // column of its own only when asked.
    const std::string placeholder = BoardSlot{BoardSlot::NewPlaceholder{}}.identity();
    EXPECT_EQ(identities(boardSlots(inputs)),
              (std::vector<std::string>{"wcstack:default", "wcstack:second", "oneoff:kxyz", "shown",
                                        "included-visible", "hidden", placeholder}));

    // The diff column follows the selected column, wherever it stands.
    inputs.isDiffVisible = true;
    inputs.selectionColumn = ColumnID::bookmark("shown");
    auto row = identities(boardSlots(inputs));
    EXPECT_EQ(row[4], "diff");
    EXPECT_EQ(row[3], "shown");
    inputs.selectionColumn = ColumnID::hidden();
    row = identities(boardSlots(inputs));
    EXPECT_EQ(row[row.size() - 2], "diff");
    EXPECT_EQ(row.back(), placeholder);
    inputs.selectionColumn = ColumnID::workingCopyStack("second");
    EXPECT_EQ(identities(boardSlots(inputs))[2], "diff");
    // A selection that is not on the row brings no diff column.
    inputs.selectionColumn = ColumnID::bookmark("included");
    EXPECT_EQ(std::count(row.begin(), row.end(), "diff"), 1);
    EXPECT_EQ(identities(boardSlots(inputs)).size(), 7U);

    // A filter that matches nothing leaves the working copies, hidden and
    // the placeholder.
    inputs.oneOffLanes.clear();
    inputs.filteredBookmarks.clear();
    inputs.isDiffVisible = false;
    EXPECT_EQ(
        identities(boardSlots(inputs)),
        (std::vector<std::string>{"wcstack:default", "wcstack:second", "hidden", placeholder}));
}

SnapshotRef boardWithTwoBookmarks() {
    RepoState state;
    testing::addBookmark(state, "main", {"t1"}, "2026-01-01T00:00:00Z", true, true);
    testing::addBookmark(state, "alpha", {"a2", "a1"}, "2026-03-01T00:00:00Z");
    testing::addBookmark(state, "beta", {"b1"}, "2026-02-01T00:00:00Z");
    return testing::makeSnapshot(std::move(state),
                                 {{"alpha", testing::boardSettings(true, true)},
                                  {"beta", testing::boardSettings(true, true)}},
                                 "t1");
}

TEST(BoardView, SelectionFollowsWhatTheBoardShows) {
    RepoViewModel model;
    SelectionStore selection;
    ContentView view(&model, &selection, QStringLiteral("/nowhere"));
    view.resize(1200, 700);
    view.show();
    view.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&view));
    EXPECT_EQ(view.messageText(), "Loading...");

    model.applySnapshot(boardWithTwoBookmarks());
    ASSERT_TRUE(QTest::qWaitFor([&] { return view.laneColumn("alpha") != nullptr; }));
    EXPECT_TRUE(view.messageText().isEmpty());
    EXPECT_NE(view.laneColumn("beta"), nullptr);

    // Clicking a lane's header selects it; escape clears it again.
    Q_EMIT view.laneColumn("alpha")->columnClicked();
    EXPECT_EQ(selection.selectedBookmarkName(), "alpha");
    selection.setDiffVisible(true);
    view.setFocus();
    QTest::keyClick(&view, Qt::Key_Escape);
    EXPECT_FALSE(selection.selectionColumn().has_value());
    EXPECT_TRUE(selection.isDiffVisible());

    // Filtering the selected bookmark away clears the selection, not the
    // diff flag.
    Q_EMIT view.laneColumn("beta")->columnClicked();
    ASSERT_EQ(selection.selectedBookmarkName(), "beta");
    model.board().setFilterText("alp");
    ASSERT_TRUE(QTest::qWaitFor([&] { return view.laneColumn("beta") == nullptr; }));
    EXPECT_FALSE(selection.selectedBookmarkName().has_value());
    EXPECT_TRUE(selection.isDiffVisible());

    // Gestures that ask first.
    const Bookmark alpha = model.board().repoState()->bookmarks.at("alpha");
    view.handleBookmarkAction({BookmarkAction::SquashToSingle{}}, alpha);
    ASSERT_TRUE(model.sheets().confirmationRequest().has_value());
    EXPECT_EQ(model.sheets().confirmationRequest()->title, "Combine 2 commits on alpha?");
    EXPECT_EQ(model.sheets().confirmationRequest()->message,
              "All 2 commits become a single commit at the tip.");
    model.sheets().setConfirmationRequest(std::nullopt);
    view.handleBookmarkAction({BookmarkAction::SquashToSingle{}},
                              model.board().repoState()->bookmarks.at("beta"));
    EXPECT_FALSE(model.sheets().confirmationRequest().has_value());
    view.handleBookmarkAction({BookmarkAction::Abandon{}}, alpha);
    ASSERT_TRUE(model.sheets().confirmationRequest().has_value());
    EXPECT_EQ(model.sheets().confirmationRequest()->title, "Abandon alpha?");
    EXPECT_EQ(model.sheets().confirmationRequest()->message,
              "This will delete the bookmark and all its commits.");

    // A state with nothing to show says so.
    model.sheets().setConfirmationRequest(std::nullopt);
    model.applySnapshot(testing::makeSnapshot(RepoState{}));
    ASSERT_TRUE(QTest::qWaitFor([&] { return !view.messageText().isEmpty(); }));
    EXPECT_EQ(view.messageText(), "No bookmarks or one-offs");
}

}  // namespace
}  // namespace vorda
