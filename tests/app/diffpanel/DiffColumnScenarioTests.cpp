// The diff column on a real repository in a real window: a lane shows its
// combined diff, a commit its own, an empty commit says so; what the page
// lists is checked in the page itself.
#include <QLabel>
#include <QWebEngineView>

#include <gtest/gtest.h>

#include "app/diffpanel/DiffColumn.h"
#include "app/diffpanel/DiffWebView.h"
#include "diffpanel/DiffPageProbe.h"
#include "sheets/SheetWindowTest.h"
#include "support/RepoPicture.h"

namespace vorda {
namespace {

using testing::settles;

class DiffColumnScenario : public testing::SheetWindowTest {};

TEST_F(DiffColumnScenario, TheColumnFollowsTheLaneAndTheSelectedCommit) {
    repo_.draw(testing::publishedTrunk);
    repo_.draw(R"(
      F1 <- T "feature one" src/one.txt=1
      F2 <- F1 "feature two" two.txt=2
      E <- F2 "nothing here" [feat]
      @ <- T
    )");
    ASSERT_NO_FATAL_FAILURE(openWindow());
    ASSERT_NO_FATAL_FAILURE(pinAndSelect("feat"));
    auto* toggle = window_->findChild<QPushButton*>(QStringLiteral("diff-toggle"));
    ASSERT_TRUE(settles([&] { return testing::enabled(toggle); }));
    toggle->click();
    DiffColumn* column = nullptr;
    ASSERT_TRUE(settles([&] { return (column = window_->findChild<DiffColumn*>()) != nullptr; }));
    auto* panel = qobject_cast<DiffWebView*>(column->patchView());
    ASSERT_NE(panel, nullptr);
    auto* page = panel->webView()->page();
    const auto text = [&](const char* name) {
        return column->findChild<QLabel*>(QString::fromLatin1(name))->text();
    };

    // The lane: the union of its three commits.
    ASSERT_TRUE(testing::rendersPast(page, 0));
    EXPECT_EQ(testing::treeRows(page),
              (QStringList{QStringLiteral("A src/one.txt"), QStringLiteral("A two.txt")}));
    EXPECT_EQ(text("diff-title"), QStringLiteral("3 commits in this lane"));
    testing::SheetWindowTest::save(window_, "diff-column-lane");

    // One commit: its own file only.
    auto& selection = *window_->selection();
    const std::vector order{repo_.id("E"), repo_.id("F2"), repo_.id("F1")};
    const int laneRenders = testing::renders(page);
    selection.selectCommit(repo_.id("F1"), ColumnID::bookmark("feat"), order, Qt::NoModifier);
    ASSERT_TRUE(testing::rendersPast(page, laneRenders));
    EXPECT_EQ(testing::treeRows(page), QStringList{QStringLiteral("A src/one.txt")});
    EXPECT_EQ(text("diff-title"), QStringLiteral("feature one"));

    // Two commits: their union.
    selection.selectCommit(repo_.id("F2"), ColumnID::bookmark("feat"), order, Qt::ShiftModifier);
    EXPECT_EQ(text("diff-title"), QStringLiteral("2 commits selected"));
    EXPECT_EQ(text("diff-detail"), QStringLiteral("union of selected changes"));
    ASSERT_TRUE(settles([&] { return testing::treeRows(page).size() == 2; }));

    // An empty commit: a line that says so instead of a blank page.
    selection.selectCommit(repo_.id("E"), ColumnID::bookmark("feat"), order, Qt::NoModifier);
    ASSERT_TRUE(settles([&] { return text("diff-message") == QStringLiteral("No changes"); }));
    EXPECT_TRUE(column->findChild<QLabel*>(QStringLiteral("diff-message"))->isVisible());
    EXPECT_FALSE(panel->isVisible());
}

}  // namespace
}  // namespace vorda
