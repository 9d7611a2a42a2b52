// The rules behind clicks and drops, on states built in memory: how
// modifier clicks shape a selection, what a lane takes, when a drop folds a
// whole bookmark in, and which payloads decode.
#include <gtest/gtest.h>

#include "app/board/SelectionStore.h"
#include "app/drag/LaneDrop.h"
#include "app/viewmodel/DropQuestions.h"
#include "column/ColumnTestData.h"

namespace vorda {
namespace {

TEST(SelectionRules, ModifierClicksExtendAndToggleWithinOneColumn) {
    SelectionStore store;
    const std::vector<std::string> order{"a", "b", "c", "d"};
    const auto x = ColumnID::bookmark("x");
    const auto y = ColumnID::bookmark("y");
    struct Step {
        std::string change;
        ColumnID column;
        Qt::KeyboardModifiers modifiers;
        std::vector<std::string> selected;
    };
    const std::vector<Step> steps{
        {"b", x, Qt::NoModifier, {"b"}},
        {"d", x, Qt::ShiftModifier, {"b", "c", "d"}},
        // The anchor stays: a second shift-click extends from "b" again.
        {"a", x, Qt::ShiftModifier, {"a", "b"}},
        {"d", x, Qt::ControlModifier, {"a", "b", "d"}},
        {"a", x, Qt::ControlModifier, {"b", "d"}},
        // Shift in another column is a plain click there.
        {"c", y, Qt::ShiftModifier, {"c"}},
    };
    for (const auto& step : steps) {
        store.selectCommit(step.change, step.column, order, step.modifiers);
        EXPECT_EQ(store.selectedCommitIDs(), step.selected) << step.change;
        EXPECT_EQ(store.selectionColumn(), step.column) << step.change;
    }
    // Control-clicking the last selected change leaves nothing selected.
    store.selectCommit("c", y, order, Qt::ControlModifier);
    EXPECT_TRUE(store.selectedCommitIDs().empty());
    EXPECT_FALSE(store.selectionColumn().has_value());
}

TEST(LaneDropRules, ALaneTakesOnlyWhatItCanCarryOut) {
    auto commits = columntest::makeCommits(1, 2);
    auto lane = columntest::bookmarkLane("feat", commits);
    const CommitListModel::Row tip{CommitListModel::RowKind::commit, commits[0]};
    const CommitListModel::Row below{CommitListModel::RowKind::commit, commits[1]};
    const CommitDragPayload own{{{commits[0]->changeID, commits[0]->commitID, false}}};
    const CommitDragPayload foreign{{{"zz", "ff", false}}};
    const auto marker = [](const std::string& name) {
        return DragContent{LaneMarkerDragPayload{LaneMarkerDragPayload::Kind::bookmark, name, {}}};
    };
    const auto kind = [&](const DragContent& content, const CommitListModel::Row& row, bool copy) {
        const auto drop = laneDrop(lane, content, row, copy);
        return drop ? static_cast<int>(drop->value.index()) : -1;
    };
    EXPECT_EQ(kind({own}, tip, false), -1);  // onto itself
    EXPECT_EQ(kind({foreign}, tip, false), 0);
    const auto copy = laneDrop(lane, {foreign}, tip, true);
    ASSERT_TRUE(copy.has_value());
    EXPECT_TRUE(std::get<LaneDrop::CommitsOntoCommit>(copy->value).isCopy);
    EXPECT_EQ(kind(marker("feat"), below, false), 3);  // the tip moves back
    EXPECT_EQ(kind(marker("feat"), tip, false), -1);   // already there
    EXPECT_EQ(kind(marker("other"), below, false), -1);
    EXPECT_EQ(kind({BookmarkDragPayload{"feat"}}, tip, false), -1);
    EXPECT_EQ(kind({BookmarkDragPayload{"other"}}, tip, false), 6);
    // A working copy takes bookmarks only while its workspace is selected.
    lane.kind = BookmarkColumnInput::LaneKind::workingCopyStack;
    lane.workspaceName = "default";
    EXPECT_EQ(kind({BookmarkDragPayload{"other"}}, tip, false), -1);
    lane.isActive = true;
    EXPECT_EQ(kind({BookmarkDragPayload{"other"}}, tip, false), 5);
}

TEST(LaneDropRules, DroppingAWholeBookmarkOnTheTipItStandsOnAbsorbsIt) {
    RepoState state;
    const auto add = [&](const std::string& id, std::vector<std::string> parents) {
        JJCommit commit = apptest::makeCommit(0, id);
        commit.commitID = id;
        commit.parents = std::move(parents);
        state.commits.emplace(id, SharedCommit(commit));
    };
    add("t1", {});
    add("t2", {"t1"});
    add("s1", {"t2"});
    add("s2", {"s1"});
    state.bookmarks["target"].commitIDs = {"t2", "t1"};
    state.bookmarks["source"].commitIDs = {"s2", "s1"};
    EXPECT_EQ(absorbableSourceBookmark(state, {"s1", "s2"}, "target", "t2"), "source");
    EXPECT_EQ(absorbableSourceBookmark(state, {"s1", "s2"}, "target", "t1"), std::nullopt);
    EXPECT_EQ(absorbableSourceBookmark(state, {"s2"}, "target", "t2"), std::nullopt);
    state.bookmarks["source"].isDivergent = true;
    EXPECT_EQ(absorbableSourceBookmark(state, {"s1", "s2"}, "target", "t2"), std::nullopt);
}

TEST(DragPayloadCoding, PayloadsSurviveTheirTextAndDamagedTextIsRefused) {
    const CommitDragPayload commits{{{"k\"é", "c1", true}, {"m", "c2", false}}};
    EXPECT_EQ(decodeCommitDragPayload(encodeDragPayload(commits)), commits);
    const LaneMarkerDragPayload point{LaneMarkerDragPayload::Kind::compositionPoint, "feat",
                                      "work space"};
    EXPECT_EQ(decodeLaneMarkerDragPayload(encodeDragPayload(point)), point);
    for (const char* damaged :
         {"", "{", "[]", R"({"commits":[{"changeID":"a"}]})",
          R"({"commits":[{"changeID":1,"commitID":"b","immutable":false}]})"}) {
        EXPECT_EQ(decodeCommitDragPayload(damaged), std::nullopt) << damaged;
    }
    EXPECT_EQ(decodeLaneMarkerDragPayload(R"({"kind":"tip","bookmarkName":"x"})"), std::nullopt);
}

}  // namespace
}  // namespace vorda
