#include "app/board/BoardSlot.h"

#include <QApplication>
#include <QPushButton>
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

using testing::named;

// The slots of the row by identity, separated by " | ".
std::string row(const BoardSlotInputs& inputs) {
    std::string text;
    for (const auto& slot : boardSlots(inputs)) {
        text.append(text.empty() ? "" : " | ").append(slot.identity());
    }
    return text;
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
    // column of its own only when asked. The diff column follows the
    // selected column, wherever it stands; a selection that is not on the
    // row brings none.
    const std::string wc = "wcstack:default | wcstack:second | ";
    EXPECT_EQ(row(inputs),
              wc + "oneoff:kxyz | shown | included-visible | hidden | new placeholder");
    inputs.isDiffVisible = true;
    const std::pair<ColumnID, std::string> selections[] = {
        {ColumnID::bookmark("shown"),
         "oneoff:kxyz | shown | diff | included-visible | hidden | new placeholder"},
        {ColumnID::hidden(),
         "oneoff:kxyz | shown | included-visible | hidden | diff | new placeholder"},
        {ColumnID::workingCopyStack("second"),
         "diff | oneoff:kxyz | shown | included-visible | hidden | new placeholder"},
        {ColumnID::bookmark("included"),
         "oneoff:kxyz | shown | included-visible | hidden | new placeholder"}};
    for (const auto& [selection, rest] : selections) {
        inputs.selectionColumn = selection;
        EXPECT_EQ(row(inputs), wc + rest) << rest;
    }

    // A filter that matches nothing leaves the working copies, hidden and
    // the placeholder.
    inputs.oneOffLanes.clear();
    inputs.filteredBookmarks.clear();
    inputs.isDiffVisible = false;
    EXPECT_EQ(row(inputs), wc + "hidden | new placeholder");
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

    model.applySnapshot(testing::boardState());
    ASSERT_TRUE(QTest::qWaitFor([&] { return view.laneColumn("fresh") != nullptr; }));
    EXPECT_TRUE(view.messageText().isEmpty());
    EXPECT_NE(view.laneColumn("stale"), nullptr);
    // The one-off stacked on fresh is drawn under fresh's lane.
    const auto& stacked = view.laneColumn("fresh")->input().stackedCommits;
    EXPECT_EQ(stacked.size() == 1 ? stacked.front()->commitID : "", "w1");

    // Clicking a lane's header selects it; the diff opens beside it, and
    // escape clears the selection and with it the diff column.
    auto* diffToggle = view.findChild<QPushButton*>(QStringLiteral("diff-toggle"));
    EXPECT_FALSE(diffToggle->isEnabled());
    Q_EMIT view.laneColumn("fresh")->columnClicked();
    EXPECT_EQ(selection.selectedBookmarkName(), "fresh");
    ASSERT_TRUE(QTest::qWaitFor([&] { return diffToggle->isEnabled(); }));
    QTest::mouseClick(diffToggle, Qt::LeftButton);
    ASSERT_TRUE(QTest::qWaitFor([&] { return diffToggle->text() == "Hide Diff"; }));
    view.setFocus();
    QTest::keyClick(&view, Qt::Key_Escape);
    EXPECT_FALSE(selection.selectionColumn().has_value());
    EXPECT_TRUE(selection.isDiffVisible());
    ASSERT_TRUE(QTest::qWaitFor([&] { return diffToggle->text() == "Show Diff"; }));

    // Filtering the selected bookmark away clears the selection, not the
    // diff flag.
    Q_EMIT view.laneColumn("stale")->columnClicked();
    ASSERT_EQ(selection.selectedBookmarkName(), "stale");
    model.board().setFilterText("fre");
    ASSERT_TRUE(QTest::qWaitFor([&] { return view.laneColumn("stale") == nullptr; }));
    EXPECT_FALSE(selection.selectedBookmarkName().has_value());
    EXPECT_TRUE(selection.isDiffVisible());

    // Gestures that ask first: "title / message", or nothing.
    const auto ask = [&](const BookmarkAction& action, const std::string& name) {
        model.sheets().setConfirmationRequest(std::nullopt);
        view.handleBookmarkAction(action, model.board().repoState()->bookmarks.at(name));
        const auto& request = model.sheets().confirmationRequest();
        return request ? request->title + " / " + request->message : std::string();
    };
    EXPECT_EQ(ask({BookmarkAction::SquashToSingle{}}, "fresh"),
              "Combine 2 commits on fresh? / All 2 commits become a single commit at the tip.");
    EXPECT_EQ(ask({BookmarkAction::SquashToSingle{}}, "stale"), "");
    EXPECT_EQ(ask({BookmarkAction::Abandon{}}, "fresh"),
              "Abandon fresh? / This will delete the bookmark and all its commits.");

    // A state with nothing to show says so.
    model.applySnapshot(std::make_shared<RepoSnapshot>());
    EXPECT_TRUE(QTest::qWaitFor([&] { return view.messageText() == "No bookmarks or one-offs"; }))
        << view.messageText().toStdString();
}

}  // namespace
}  // namespace vorda
