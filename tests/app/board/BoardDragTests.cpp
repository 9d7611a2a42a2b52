// Drags on the board through real mouse events: a press on a card, moves
// past the drag distance, hover over a lane, release. Every drop is checked
// with jj; refused ones by the operation count.
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>

#include "app/column/CommitCardDelegate.h"
#include "app/column/CommitListModel.h"
#include "app/column/CommitListView.h"
#include "app/hidden/HiddenRowsModel.h"
#include "app/sheets/FeatureInsertionSheet.h"
#include "app/sheets/OpLogSheet.h"
#include "app/viewmodel/DiffModel.h"
#include "sheets/SheetWindowTest.h"

namespace vorda {
namespace {

using testing::settles;

class BoardDrag : public testing::SheetWindowTest {
  protected:
    BookmarkColumn* lane(const std::string& identity) const {
        return window_->contentView()->laneColumn(identity);
    }

    /// Puts `name`'s lane on the board, unless it stands there already.
    void pin(const std::string& name) {
        if (lane(name) != nullptr) {
            return;
        }
        viewModel().send(RepoCommand::TogglePinned{name});
        ASSERT_TRUE(settles([&] { return lane(name) != nullptr; })) << name;
    }

    /// The centre of the card of `changeID` in `column`, in its list's
    /// viewport, once the window has laid the lane out.
    static QPoint cardCentre(BookmarkColumn* column, const std::string& changeID) {
        QPoint centre;
        const bool shown = settles([&] {
            auto* model = column->commitModel();
            for (int row = 0; row < model->rowCount(); ++row) {
                const auto& current = model->row(row);
                if (current.commit && (*current.commit)->changeID == changeID) {
                    centre = column->commitList()->visualRect(model->index(row)).center();
                    return column->isVisible() &&
                           column->commitList()->viewport()->rect().contains(centre);
                }
            }
            return false;
        });
        EXPECT_TRUE(shown) << "no card " << changeID;
        return centre;
    }

    static void click(BookmarkColumn* column, const std::string& changeID,
                      Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        auto* viewport = column->commitList()->viewport();
        const QPoint at = cardCentre(column, changeID);
        QTest::mousePress(viewport, Qt::LeftButton, modifiers, at);
        QTest::mouseRelease(viewport, Qt::LeftButton, modifiers, at);
    }

    /// Presses on a card and moves far enough to start dragging it.
    static void beginDrag(BookmarkColumn* column, const std::string& changeID) {
        auto* viewport = column->commitList()->viewport();
        const QPoint at = cardCentre(column, changeID);
        QTest::mousePress(viewport, Qt::LeftButton, {}, at);
        QTest::mouseMove(viewport, at + QPoint(4, 24));
    }

    /// Hovers over `target` at `at` (in its coordinates) and releases there.
    static void dropOn(QWidget* target, const QPoint& at,
                       Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QTest::mouseMove(target, at);
        QTest::mouseRelease(target, Qt::LeftButton, modifiers, at);
    }

    void expectNothingRan(int operations) const {
        QTest::qWait(200);
        EXPECT_FALSE(viewModel().activity().isMutating());
        EXPECT_EQ(repo_.operationCount(), operations);
    }
};

TEST_F(BoardDrag, CommitsDroppedOnAnotherLaneMoveOrCopyAndRefusedDropsChangeNothing) {
    repo_.draw(R"(
        origin
        B <- root "base" README=base [main]
        push main
        F1 <- B "feature one" f1.txt=1
        F2 <- F1 "feature two" f2.txt=2 [feat]
        O <- B "other work" o.txt=o [other]
        X <- B "loose end" x.txt=x [loose]
        @ <- B
    )");
    ASSERT_NO_FATAL_FAILURE(openWindow());
    for (const auto* name : {"feat", "other", "loose"}) {
        ASSERT_NO_FATAL_FAILURE(pin(name));
    }
    settled();
    const auto operations = repo_.operationCount();
    auto* feat = lane("feat");
    auto* other = lane("other");

    // Onto itself, onto the diff toggle above the board and onto the
    // window's status area: refused, nothing runs.
    beginDrag(other, repo_.id("O"));
    QTest::mouseMove(other->commitList()->viewport(), cardCentre(other, repo_.id("O")));
    auto* picture = window_->findChild<QLabel*>(QStringLiteral("drag-picture"));
    ASSERT_NE(picture, nullptr);
    EXPECT_TRUE(picture->text().endsWith(QStringLiteral("can’t drop here")));
    EXPECT_FALSE(other->isDropTargeted());
    dropOn(other->commitList()->viewport(), cardCentre(other, repo_.id("O")));
    beginDrag(other, repo_.id("O"));
    dropOn(window_->findChild<QPushButton*>(QStringLiteral("diff-toggle")), {5, 5});
    expectNothingRan(operations);

    // Hovering over the feature's tip marks the lane and the card.
    beginDrag(other, repo_.id("O"));
    const QPoint tip = cardCentre(feat, repo_.id("F2"));
    QTest::mouseMove(feat->commitList()->viewport(), tip);
    EXPECT_TRUE(feat->isDropTargeted());
    EXPECT_EQ(feat->commitList()->dropRow(), 0);
    picture = window_->findChild<QLabel*>(QStringLiteral("drag-picture"));
    ASSERT_NE(picture, nullptr);
    EXPECT_EQ(picture->text(), QStringLiteral("1 commit"));
    save(window_, "board-drag");
    QTest::mouseRelease(feat->commitList()->viewport(), Qt::LeftButton, {}, tip);
    EXPECT_FALSE(feat->isDropTargeted());
    settled();
    // Moved into the feature: on its tip, and the feature follows it.
    EXPECT_EQ(repo_.parents(repo_.id("O")), std::vector<std::string>{"F2"});
    EXPECT_EQ(repo_.bookmarkTarget("feat"), "O");

    // With control held at the release, a copy lands on the tip and the
    // original stays where it was.
    ASSERT_TRUE(settles([&] {
        const auto& first = lane("feat")->commitModel()->row(0);
        return first.commit && (*first.commit)->changeID == repo_.id("O");
    }));
    beginDrag(lane("loose"), repo_.id("X"));
    dropOn(lane("feat")->commitList()->viewport(), cardCentre(lane("feat"), repo_.id("O")),
           Qt::ControlModifier);
    settled();
    EXPECT_EQ(repo_.parents(repo_.id("X")), std::vector<std::string>{"B"});
    EXPECT_EQ(repo_.jj({"log", "--no-graph", "-r",
                        "children(" + repo_.id("O") + ") & description(substring:\"loose end\")",
                        "-T", "description"}),
              "loose end\n");

    // The feature's marker, dragged from its tip to the commit below, moves
    // the bookmark back there.
    feat = lane("feat");
    auto* list = feat->commitList();
    const auto index = feat->commitModel()->index(0);
    const auto chips = feat->commitModel()->chips(0);
    const auto marker = std::find_if(chips.begin(), chips.end(), [](const CardChip& chip) {
        return chip.kind == CardChip::Kind::bookmark;
    });
    ASSERT_NE(marker, chips.end());
    const auto* delegate = qobject_cast<CommitCardDelegate*>(list->itemDelegate());
    const auto chipRect = delegate->chipRect(list->optionFor(index), index, *marker);
    ASSERT_TRUE(chipRect.has_value());
    QTest::mousePress(list->viewport(), Qt::LeftButton, {}, chipRect->center());
    QTest::mouseMove(list->viewport(), chipRect->center() + QPoint(0, 20));
    dropOn(list->viewport(), cardCentre(feat, repo_.id("F2")));
    settled();
    EXPECT_EQ(repo_.bookmarkTarget("feat"), "F2");

    // A lane dragged by its head onto another lane rebases its bookmark
    // onto that lane's tip.
    QTest::mousePress(lane("loose"), Qt::LeftButton, {}, {40, 14});
    QTest::mouseMove(lane("loose"), {40, 44});
    dropOn(lane("other")->commitList()->viewport(), cardCentre(lane("other"), repo_.id("O")));
    settled();
    EXPECT_EQ(repo_.parents(repo_.id("X")), std::vector<std::string>{"O"});
}

TEST_F(BoardDrag, WorkOnTrunkBecomesABranchAfterConfirmationAndABookmarkJoinsTheWorkspace) {
    repo_.draw(R"(
        origin
        B <- root "base" README=base [main]
        push main
        L <- B "local work" l.txt=l
        S <- B "side feature" s.txt=s [side]
        F <- B "feature" f.txt=f [feature]
        @ <- L
    )");
    ASSERT_NO_FATAL_FAILURE(openWindow());
    ASSERT_NO_FATAL_FAILURE(pin("feature"));
    ASSERT_TRUE(settles([&] { return lane("wcstack:default") != nullptr; }));
    auto* workspace = lane("wcstack:default");
    const auto operations = repo_.operationCount();

    // The workspace's own work onto a feature's card opens the routing
    // sheet with those seeds, and sends nothing yet.
    beginDrag(workspace, repo_.id("L"));
    dropOn(lane("feature")->commitList()->viewport(), cardCentre(lane("feature"), repo_.id("F")));
    auto* routing = openedSheet<FeatureInsertionSheet>();
    ASSERT_NE(routing, nullptr);
    const auto& rewrites = viewModel().rewrites();
    EXPECT_EQ(rewrites.routingSeedChangeIDs(), std::set<std::string>{repo_.id("L")});
    EXPECT_EQ(rewrites.routingSeedBookmark(), "feature");
    EXPECT_EQ(rewrites.routingSeedAfter(), repo_.commitID(repo_.id("F")));
    routing->reject();
    expectNothingRan(operations);

    // The local commit onto the trunk under the working copy: a question
    // first; "Cancel" leaves everything as it was.
    auto* model = workspace->commitModel();
    int baseRow = -1;
    for (int row = 0; row < model->rowCount(); ++row) {
        if (model->row(row).kind == CommitListModel::RowKind::base) {
            baseRow = row;
        }
    }
    ASSERT_GE(baseRow, 0);
    // The lane is laid out once the window has shown it.
    QPoint trunk;
    ASSERT_TRUE(settles([&] {
        trunk = workspace->commitList()->visualRect(model->index(baseRow)).center();
        return workspace->isVisible() &&
               workspace->commitList()->viewport()->rect().contains(trunk);
    }));
    for (const auto* answer : {"Cancel", "Create Branch"}) {
        beginDrag(workspace, repo_.id("L"));
        dropOn(workspace->commitList()->viewport(), trunk);
        QMessageBox* question = nullptr;
        ASSERT_TRUE(settles([&] {
            question = window_->findChild<QMessageBox*>(QStringLiteral("confirmation"));
            return question != nullptr && question->isVisible();
        }));
        EXPECT_EQ(question->windowTitle(), QStringLiteral("Create a branch from selected work?"));
        EXPECT_TRUE(question->text().contains(
            QString::fromStdString("create a wip/" + repo_.id("L").substr(0, 8) + " bookmark")));
        if (std::string(answer) == "Cancel") {
            save(question, "compose-confirmation");
            question->button(QMessageBox::Cancel)->click();
            expectNothingRan(operations);
        } else {
            const auto buttons = question->buttons();
            const auto create = std::find_if(buttons.begin(), buttons.end(), [](auto* button) {
                return button->text() == QStringLiteral("Create Branch");
            });
            ASSERT_NE(create, buttons.end());
            (*create)->click();
        }
    }
    settled();
    const std::string wip = "wip/" + repo_.id("L").substr(0, 8);
    EXPECT_EQ(repo_.bookmarkTarget(wip), "L");
    ASSERT_TRUE(settles([&] {
        const auto* state = board().repoState();
        return state != nullptr && state->workspaces.at("default").bookmarkRoles.contains(wip);
    }));

    // A hidden bookmark dragged from the hidden panel onto the working copy
    // joins it.
    auto* rows = window_->findChild<QAbstractItemView*>(QStringLiteral("hidden-rows"));
    ASSERT_NE(rows, nullptr);
    QModelIndex sideRow;
    for (int row = 0; row < rows->model()->rowCount(); ++row) {
        const auto index = rows->model()->index(row, 0);
        if (index.data(HiddenRowsModel::BookmarkNameRole).toString() == QStringLiteral("side")) {
            sideRow = index;
        }
    }
    ASSERT_TRUE(sideRow.isValid());
    const QPoint from = rows->visualRect(sideRow).center();
    QTest::mousePress(rows->viewport(), Qt::LeftButton, {}, from);
    QTest::mouseMove(rows->viewport(), from + QPoint(-20, 10));
    dropOn(lane("wcstack:default"), {40, 40});
    settled();
    ASSERT_TRUE(settles([&] {
        const auto& roles = board().repoState()->workspaces.at("default").bookmarkRoles;
        return roles.contains("side") &&
               !std::holds_alternative<BookmarkInclusionRole::Absent>(roles.at("side").value);
    }));
    // The working copy now stands on the side feature.
    EXPECT_EQ(repo_.jj({"log", "--no-graph", "-r", repo_.id("S") + " & ::@", "-T", "change_id"}),
              repo_.id("S"));
}

TEST_F(BoardDrag, ShiftAndControlClicksShapeTheSelectionAndTheDiffFollows) {
    repo_.draw(R"(
        B <- root "base" README=base [main]
        F1 <- B "feature one" f1.txt=1
        F2 <- F1 "feature two" f2.txt=2
        F3 <- F2 "feature three" f3.txt=3 [feat]
        @ <- B
    )");
    ASSERT_NO_FATAL_FAILURE(openWindow());
    ASSERT_NO_FATAL_FAILURE(pin("feat"));
    auto* feat = lane("feat");
    auto& selection = *window_->selection();
    const auto id = [&](const char* name) {
        return repo_.id(name);
    };

    click(feat, id("F3"));
    auto* diffToggle = window_->findChild<QPushButton*>(QStringLiteral("diff-toggle"));
    ASSERT_TRUE(settles([&] { return testing::enabled(diffToggle); }));
    diffToggle->click();
    click(feat, id("F1"), Qt::ShiftModifier);
    EXPECT_EQ(selection.selectedCommitIDs(), (std::vector{id("F3"), id("F2"), id("F1")}));
    const auto diffShows = [&](std::vector<std::string> paths) {
        return settles([&] {
            const auto text = viewModel().diff().diffText().value_or("");
            return !viewModel().diff().isDiffLoading() &&
                   std::all_of(paths.begin(), paths.end(), [&](const std::string& path) {
                       return text.find("b/" + path) != std::string::npos;
                   });
        });
    };
    EXPECT_TRUE(diffShows({"f1.txt", "f2.txt", "f3.txt"}));
    save(window_, "board-range-selection");

    // Control takes the middle one out; the order stays the lane's.
    click(feat, id("F2"), Qt::ControlModifier);
    EXPECT_EQ(selection.selectedCommitIDs(), (std::vector{id("F3"), id("F1")}));
    // A plain click on a selected card keeps the selection until release.
    QTest::mousePress(feat->commitList()->viewport(), Qt::LeftButton, {},
                      cardCentre(feat, id("F1")));
    EXPECT_EQ(selection.selectedCommitIDs().size(), 2U);
    QTest::mouseRelease(feat->commitList()->viewport(), Qt::LeftButton, {},
                        cardCentre(feat, id("F1")));
    EXPECT_EQ(selection.selectedCommitIDs(), std::vector{id("F1")});
    // The arrow keys walk the lane; shift grows the range from the anchor.
    QTest::keyClick(window_->contentView(), Qt::Key_Up);
    EXPECT_EQ(selection.selectedCommitIDs(), std::vector{id("F2")});
    QTest::keyClick(window_->contentView(), Qt::Key_Up, Qt::ShiftModifier);
    EXPECT_EQ(selection.selectedCommitIDs(), (std::vector{id("F3"), id("F2")}));
    EXPECT_TRUE(diffShows({"f2.txt", "f3.txt"}));
    // Escape clears the selection; the board's shortcut opens the log.
    QTest::keyClick(window_->contentView(), Qt::Key_Escape);
    EXPECT_FALSE(selection.selectionColumn().has_value());
    QTest::keyClick(window_->contentView(), Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_NE(openedSheet<OpLogSheet>(), nullptr);
}

}  // namespace
}  // namespace vorda
