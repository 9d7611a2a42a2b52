// A board much wider than its window, on a real repository: only the lanes
// near the view have widgets, a lane scrolled to gets one with its commits,
// and what was chosen in a lane (the selection, its file lists) is still
// there after it has scrolled away and back.
#include <QScrollArea>
#include <QScrollBar>
#include <QToolButton>
#include <map>

#include <gtest/gtest.h>

#include "app/column/CommitListModel.h"
#include "app/column/CommitListView.h"
#include "sheets/SheetWindowTest.h"

namespace vorda {
namespace {

using testing::settles;

constexpr std::size_t laneCount = 60;

std::string laneName(int index) {
    return (index < 10 ? "lane-0" : "lane-") + std::to_string(index);
}

class BoardReachScenario : public testing::SheetWindowTest {
  protected:
    ContentView* content() const { return window_->contentView(); }

    int laneWidgetsShown() const {
        int shown = 0;
        for (const auto* column : content()->findChildren<BookmarkColumn*>()) {
            shown += column->isVisible() ? 1 : 0;
        }
        return shown;
    }
};

TEST_F(BoardReachScenario, OnlyLanesNearTheViewExistAndKeepTheirStateAcrossScrolling) {
    std::map<std::string, std::string> changes;
    for (int index = 0; index < static_cast<int>(laneCount); ++index) {
        const std::string name = laneName(index);
        changes[name] = repo_.newChange({"root()"}, "work " + std::to_string(index));
        repo_.bookmark(name, changes[name]);
    }
    repo_.newChange({"root()"});
    ASSERT_NO_FATAL_FAILURE(openWindow());
    // A filter puts every matching bookmark on the board.
    window_->viewModel()->board().setFilterText("lane-");
    ASSERT_TRUE(settles([&] { return content()->renderedSlots().size() > laneCount; }));
    std::vector<std::string> row;
    for (const auto& slot : content()->renderedSlots()) {
        if (slot.identity().starts_with("lane-")) {
            row.push_back(slot.identity());
        }
    }
    ASSERT_EQ(row.size(), laneCount);
    const std::string first = row.front();
    const std::string far = row.back();
    ASSERT_TRUE(settles([&] { return content()->laneColumn(first) != nullptr; }));
    EXPECT_EQ(content()->laneColumn(far), nullptr);
    EXPECT_LT(laneWidgetsShown(), 16);
    save(window_, "board-reach-start");

    // The scroll bar's far end brings the last lane, with its commit.
    auto* bar = content()->findChild<QScrollArea*>()->horizontalScrollBar();
    bar->setValue(bar->maximum());
    BookmarkColumn* last = content()->laneColumn(far);
    ASSERT_NE(last, nullptr);
    EXPECT_EQ(content()->laneColumn(first), nullptr);
    ASSERT_EQ(last->commitModel()->rowCount(), 1);
    EXPECT_EQ((*last->commitModel()->row(0).commit)->changeID, changes[far]);

    // Select its commit and show its file lists, as the user would.
    auto* list = last->commitList();
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
                      list->visualRect(last->commitModel()->index(0)).center());
    ASSERT_EQ(window_->selection()->selectedCommitIDs(), std::vector{changes[far]});
    QTest::mouseClick(last->findChild<QToolButton*>(QStringLiteral("fileListsButton")),
                      Qt::LeftButton);
    ASSERT_TRUE(last->showsFiles());
    ASSERT_TRUE(settles([&] { return last->input().isSelected; }));
    save(window_, "board-reach-far-end");

    // Away to the first lane, where the last one's widget serves others...
    ASSERT_NE(content()->ensureLaneVisible(first), nullptr);
    EXPECT_EQ(content()->laneColumn(far), nullptr);
    EXPECT_LT(laneWidgetsShown(), 16);
    for (const auto* column : content()->findChildren<BookmarkColumn*>()) {
        EXPECT_FALSE(column->isVisible() && column->showsFiles())
            << column->accessibleName().toStdString();
    }
    // ... and back: selection and file lists are as they were.
    last = content()->ensureLaneVisible(far);
    ASSERT_NE(last, nullptr);
    EXPECT_EQ(window_->selection()->selectedCommitIDs(), std::vector{changes[far]});
    EXPECT_TRUE(last->input().isSelected);
    EXPECT_TRUE(last->input().selectedChangeIDs.contains(changes[far]));
    EXPECT_TRUE(last->showsFiles());
    save(window_, "board-reach-back-again");
}

}  // namespace
}  // namespace vorda
