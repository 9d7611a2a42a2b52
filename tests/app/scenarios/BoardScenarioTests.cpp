// Scenarios on a real repository, driven through the real window: a copy of
// the demo repository that `vorda-cli demo` makes, a RepoWindow on it, and jj run
// from outside where a scenario needs a change the window did not make.
// Each scenario saves a picture of the window under the build folder's
// test-output/screenshots.
#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <functional>

#include <gtest/gtest.h>

#include "app/board/ContentView.h"
#include "app/column/BookmarkColumn.h"
#include "app/column/CommitListModel.h"
#include "app/viewmodel/RepoViewModel.h"
#include "app/window/CreateBookmarkDialog.h"
#include "app/window/RepoActivityStatusView.h"
#include "app/window/RepoToolbar.h"
#include "app/window/RepoWindow.h"
#include "cli/DemoCopy.h"
#include "support/TempDir.h"
#include "support/TestRepo.h"

namespace vorda {
namespace {

/// Generous: a read of the demo takes a fraction of a second, but the
/// sanitizer builds and a busy machine stretch it.
bool settles(const std::function<bool()>& condition) {
    return QTest::qWaitFor(condition, 30000);
}

class BoardScenario : public ::testing::Test {
  protected:
    void SetUp() override {
        repo_ = testing::copyDemo(folder_.path() / "demo");
        window_ = new RepoWindow(QString::fromStdString(repo_), nullptr, {});
        window_->resize(1600, 900);
        window_->show();
        ASSERT_TRUE(settles([&] {
            return viewModel()->board().repoState() != nullptr && !viewModel()->board().isLoading();
        }));
        ASSERT_FALSE(viewModel()->board().errorMessage().has_value())
            << *viewModel()->board().errorMessage();
    }

    void TearDown() override { delete window_; }

    RepoViewModel* viewModel() const { return window_->viewModel(); }
    ContentView* board() const { return window_->contentView(); }

    /// jj on the demo repository, from outside the application.
    std::string jj(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {"jj", "-R", repo_});
        return testing::runChecked(arguments);
    }

    bool hasBookmark(const std::string& name) const {
        return viewModel()->board().repoState() != nullptr &&
               viewModel()->board().repoState()->bookmarks.contains(name);
    }

    void saveScreenshot(const std::string& name) const {
        QApplication::processEvents();
        const QString folder = QStringLiteral(VORDA_TEST_OUTPUT_DIR "/screenshots");
        QDir().mkpath(folder);
        const QString path = folder + "/" + QString::fromStdString(name) + ".png";
        EXPECT_TRUE(window_->grab().save(path, "PNG")) << path.toStdString();
    }

    testing::TempDir folder_;
    std::string repo_;
    RepoWindow* window_ = nullptr;
};

TEST_F(BoardScenario, DemoBoardShowsItsLanesAndFollowsChangesFromTheCommandLine) {
    ASSERT_TRUE(settles([&] { return board()->laneColumn("wcstack:default"); }));
    // Both workspaces, trunk, and the bookmarks the demo keeps on the board
    // or in a workspace.
    EXPECT_NE(board()->laneColumn("wcstack:integration"), nullptr);
    EXPECT_NE(board()->laneColumn("trunk"), nullptr);
    EXPECT_EQ(viewModel()->board().trunkBookmarkName(), "main");
    // Every bookmark lane lists exactly the bookmark's commits, through the
    // list model.
    int lanes = 0;
    for (const auto& slot : board()->renderedSlots()) {
        if (const auto* lane = std::get_if<BoardSlot::BookmarkLane>(&slot.value)) {
            const auto& name = lane->bookmark.name;
            const auto* column = board()->laneColumn(name);
            ASSERT_NE(column, nullptr) << name;
            const auto& commitIDs = viewModel()->board().repoState()->bookmarks.at(name).commitIDs;
            EXPECT_EQ(column->input().commits.size(), commitIDs.size()) << name;
            EXPECT_GE(column->commitModel()->rowCount(), static_cast<int>(commitIDs.size()));
            ++lanes;
        }
    }
    EXPECT_GT(lanes, 0);
    saveScreenshot("demo-board");

    // A bookmark made and a commit described from a terminal appear by
    // themselves, the card showing the new summary.
    const std::string tip = jj({"log", "--no-graph", "-r", "render-colors", "-T", "change_id"});
    jj({"bookmark", "create", "from-terminal", "-r", "render-colors"});
    ASSERT_TRUE(settles([&] { return hasBookmark("from-terminal"); }));
    jj({"describe", "-r", tip, "-m", "Described \"outside\" — ünïcode"});
    ASSERT_TRUE(settles([&] {
        const auto* commit = viewModel()->board().commitForChangeID(tip);
        return commit != nullptr &&
               commit->description.starts_with("Described \"outside\" — ünïcode");
    }));
    ASSERT_TRUE(settles([&] {
        const auto* column = board()->laneColumn("render-colors");
        return column != nullptr && column->commitModel()->rowCount() > 0 &&
               column->commitModel()->index(0).data().toString().contains(
                   QStringLiteral("Described \"outside\""));
    }));
    saveScreenshot("external-changes");
}

TEST_F(BoardScenario, CreateThroughTheDialogUndoFromTheToolbarAndAFailingCommand) {
    const std::string workingCopy = jj({"log", "--no-graph", "-r", "@", "-T", "change_id"});
    window_->showCreateBookmark();
    auto* dialog = window_->findChild<CreateBookmarkDialog*>();
    ASSERT_NE(dialog, nullptr);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(dialog));
    dialog->nameField()->setText(QStringLiteral("from-dialog"));
    dialog->enableAfterCreatingField()->setChecked(true);
    saveScreenshot("create-bookmark-dialog");
    ASSERT_TRUE(dialog->createButton()->isEnabled());
    QTest::mouseClick(dialog->createButton(), Qt::LeftButton);
    ASSERT_TRUE(settles([&] { return hasBookmark("from-dialog"); }));
    // At the working copy, by default.
    EXPECT_EQ(jj({"log", "--no-graph", "-r", "from-dialog", "-T", "change_id"}), workingCopy);
    // Enabled: the workspace includes it, so it shows in the working copy's
    // lane, and showing its column gives it a lane of its own.
    ASSERT_TRUE(settles([&] {
        return viewModel()->board().allWorkspaceIncludedBookmarkNames().contains("from-dialog");
    }));
    board()->handleBookmarkAction({BookmarkAction::ToggleColumnVisibility{}},
                                  viewModel()->board().repoState()->bookmarks.at("from-dialog"));
    ASSERT_TRUE(settles([&] { return board()->laneColumn("from-dialog"); }));
    saveScreenshot("created-bookmark-lane");

    // The toolbar's undo takes back the last operation only.
    bool created = false;
    CreateBookmarkInput input;
    input.name = "to-undo";
    viewModel()->send(RepoCommand::CreateBookmark{input}, [&] { created = true; });
    ASSERT_TRUE(settles([&] { return created && hasBookmark("to-undo"); }));
    QAction* undo = window_->toolbar()->item(QStringLiteral("undo"));
    ASSERT_NE(undo, nullptr);
    undo->trigger();
    ASSERT_TRUE(settles(
        [&] { return !hasBookmark("to-undo") && !viewModel()->activity().undoInFlight(); }));
    EXPECT_EQ(jj({"bookmark", "list", "to-undo"}), "");
    EXPECT_FALSE(viewModel()->activity().undoError().has_value());
    EXPECT_TRUE(hasBookmark("from-dialog"));
    saveScreenshot("after-undo");

    // A failing command shows its error until dismissed, and leaves nothing.
    bool done = false;
    viewModel()->send(RepoCommand::RenameBookmark{"no-such-bookmark", "renamed"},
                      [&] { done = true; });
    ASSERT_TRUE(settles([&] { return done; }));
    ASSERT_TRUE(viewModel()->activity().mutationError().has_value());
    EXPECT_FALSE(viewModel()->activity().isMutating());
    auto* status = window_->toolbar()->statusView();
    ASSERT_TRUE(settles([&] { return status->button()->isVisible(); }));
    EXPECT_EQ(status->button()->text(), "Dismiss");
    const auto labels = status->findChildren<QLabel*>();
    EXPECT_TRUE(std::any_of(labels.begin(), labels.end(), [&](const QLabel* label) {
        return label->isVisible() && label->text().startsWith(QStringLiteral("Error: No such")) &&
               label->toolTip().contains(QStringLiteral("no-such-bookmark"));
    }));
    saveScreenshot("command-error");
    QTest::mouseClick(status->button(), Qt::LeftButton);
    EXPECT_FALSE(viewModel()->activity().mutationError().has_value());
    EXPECT_FALSE(status->button()->isVisible() && status->button()->text() == "Dismiss");
    EXPECT_FALSE(hasBookmark("renamed"));
}

}  // namespace
}  // namespace vorda
