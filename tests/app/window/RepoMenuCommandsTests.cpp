#include "app/window/RepoMenuCommands.h"

#include <QMainWindow>
#include <QMenuBar>
#include <QTest>
#include <memory>

#include <gtest/gtest.h>

#include "WindowTestData.h"
#include "app/window/BookmarkActionMenuItems.h"
#include "app/window/BookmarkMenuToolbarButton.h"
#include "app/window/BookmarkPushPresentation.h"
#include "app/window/RepoToolbar.h"

namespace vorda {
namespace {

using windowtest::FakeWindow;
using windowtest::findEntry;
using windowtest::menuLines;

// A menu as it reads, "; " between entries.
std::string joined(const QMenu& menu) {
    std::string text;
    for (const auto& line : menuLines(menu)) {
        text.append(text.empty() ? "" : "; ").append(line);
    }
    return text;
}

// The application's menus on a menu bar, and a window (where `fix` stands
// behind trunk) that they can act on once it has the focus.
class RepoMenus : public ::testing::Test {
  protected:
    RepoMenus() { commands_.installMenus(&menuBar_); }

    QMenu* menu(const QString& title) const {
        for (auto* action : menuBar_.actions()) {
            if (action->text() == title) {
                return action->menu();
            }
        }
        return nullptr;
    }

    // The Bookmark menu as it reads when opened.
    QMenu* bookmarkMenu() const {
        auto* opened = menu(QStringLiteral("Bookmark"));
        Q_EMIT opened->aboutToShow();
        return opened;
    }

    // An entry of the opened Bookmark menu, at any depth; null when missing.
    QAction* entry(const QString& title) const { return findEntry(*bookmarkMenu(), title); }

    RepoMenuCommands commands_;
    QMenuBar menuBar_;
    FakeWindow window_{windowtest::BoardShape{.fixBehindTrunk = true, .conflictedFiles = {}}};
};

TEST_F(RepoMenus, EverythingIsDisabledWithoutAFocusedWindow) {
    // Every menu on the bar, opened.
    const auto everything = [&] {
        std::string text;
        for (const auto* action : menuBar_.actions()) {
            Q_EMIT action->menu()->aboutToShow();
            text.append(action->text().toStdString()).append(": ");
            text.append(joined(*action->menu())).append("\n");
        }
        return text;
    };
    const std::string disabled =
        "Repo: Fetch <Ctrl+R> (off); Rebase Local Stacks… <Ctrl+Shift+R> (off); Move to Feature… "
        "(off); "
        "Attach Feature to Composition… (off); -; New Bookmark… "
        "<Ctrl+N> (off); Commit… <Ctrl+Return> (off); "
        "-; Undo Last jj Operation (off); Operation Log… (off)\nView: Filter Bookmarks <Ctrl+F> "
        "(off); Clear Filters "
        "<Ctrl+Shift+F> (off)\nBookmark: Rebase Onto… <Ctrl+Alt+R> (off); Squash into Single "
        "Commit (off); Push (off); Refresh PR Status (off); -; Pin to Board (off); Hide Column "
        "(off); Tags (off); Tags > Add Tag… (off); -; Rename Bookmark (off); Delete Bookmark "
        "(off); Abandon (Delete Commits)… (off); -; Describe Commit… (off); Split Commit… (off); "
        "Review Conflicts… (off)\n";
    EXPECT_EQ(everything(), disabled);

    // A window that loses focus, or goes away, leaves the menus disabled again.
    {
        FakeWindow window;
        commands_.setFocusedTarget(window.target());
        EXPECT_TRUE(commands_.fetchAction()->isEnabled());
    }
    EXPECT_FALSE(commands_.focusedTarget().has_value());
    EXPECT_EQ(everything(), disabled);
}

TEST_F(RepoMenus, RepoAndViewEntriesActOnTheFocusedWindow) {
    commands_.setFocusedTarget(window_.target());
    EXPECT_EQ(
        joined(*menu(QStringLiteral("Repo"))),
        "Fetch <Ctrl+R>; Rebase Local Stacks… <Ctrl+Shift+R>; Move to Feature…; Attach Feature "
        "to Composition…; -; New Bookmark… <Ctrl+N>; "
        "Commit… <Ctrl+Return>; -; Undo Last jj "
        "Operation; Operation Log… (off)");
    // Clearing the filters needs a filter.
    EXPECT_EQ(joined(*menu(QStringLiteral("View"))),
              "Filter Bookmarks <Ctrl+F>; Clear Filters <Ctrl+Shift+F> (off)");

    commands_.commitAction()->trigger();
    commands_.filterBookmarksAction()->trigger();
    EXPECT_EQ(std::pair(window_.commitCount, window_.focusFilterCount), std::pair(1, 1));
    auto& board = window_.viewModel.board();

    // Either filter enables clearing, which clears text and tags both.
    auto* clear = commands_.clearFiltersAction();
    board.setFilterText("fe");
    EXPECT_TRUE(clear->isEnabled());
    board.setFilterText("");
    EXPECT_FALSE(clear->isEnabled());
    board.setSelectedTagFilters({"ui"});
    EXPECT_TRUE(clear->isEnabled());
    board.setFilterText("fe");
    clear->trigger();
    EXPECT_EQ(std::tuple(board.filterText(), board.selectedTagFilters().size(), clear->isEnabled()),
              std::tuple("", 0U, false));

    // A window without a commit gesture cannot offer one.
    auto partial = window_.target();
    partial.commitWorkingCopy = nullptr;
    commands_.setFocusedTarget(partial);
    EXPECT_FALSE(commands_.commitAction()->isEnabled());
    EXPECT_TRUE(commands_.newBookmarkAction()->isEnabled());
}

TEST_F(RepoMenus, BookmarkMenuFollowsTheSelectedBookmark) {
    commands_.setFocusedTarget(window_.target());
    window_.selection.selectBookmark(std::string("feat"));
    // No commit selected; no gh; no pull request.
    EXPECT_EQ(joined(*bookmarkMenu()),
              "Rebase Onto… <Ctrl+Alt+R>; Squash into Single Commit; Push 1 Commit; Refresh PR "
              "Status (off); -; Unpin from Board; Hide Column; Tags; Tags > [ ] backend; Tags > "
              "[x] ui; Tags > -; Tags > Add Tag…; -; Rename Bookmark; Delete Bookmark; Abandon "
              "(Delete Commits)…; -; Describe Commit… (off); Split Commit… (off); Review "
              "Conflicts… (off)");
    auto* push = entry(QStringLiteral("Push 1 Commit"));
    EXPECT_EQ(push->toolTip().toStdString(),
              BookmarkPushPresentation::tooltip(
                  window_.viewModel.board().repoState()->bookmarks.at("feat")));

    push->trigger();
    EXPECT_TRUE(window_.lastActionWas<BookmarkAction::Push>("feat"));
    entry(QStringLiteral("Unpin from Board"))->trigger();
    EXPECT_TRUE(window_.lastActionWas<BookmarkAction::TogglePinned>("feat"));

    // Tags: every tag in use, checked where the bookmark has it.
    entry(QStringLiteral("backend"))->trigger();
    const auto* toggled =
        std::get_if<BookmarkAction::ToggleTag>(&window_.bookmarkActions.back().first.value);
    ASSERT_NE(toggled, nullptr);
    EXPECT_EQ(toggled->tag, "backend");

    // With gh, a pull request can be made (see `fix` below); once there is one,
    // it can be viewed.
    window_.viewModel.board().setGithubAvailable(true);
    GitHubPR pr;
    pr.number = 7;
    pr.url = "https://github.com/example/repo/pull/7";
    window_.viewModel.board().setPrStatuses({{"feat", pr}});
    EXPECT_EQ(entry(QStringLiteral("Create Pull Request…")), nullptr);
    entry(QStringLiteral("View Pull Request"))->trigger();
    EXPECT_TRUE(window_.lastActionWas<BookmarkAction::ViewPR>("feat"));

    // A selected commit feeds the commit entries.
    const auto tip = windowtest::makeCommit(3, "Feature tip");
    window_.selection.selectCommit(tip.changeID, ColumnID::bookmark("feat"),
                                   {tip.changeID, windowtest::changeIDFor(2)}, Qt::NoModifier);
    entry(QStringLiteral("Describe Commit…"))->trigger();
    entry(QStringLiteral("Split Commit…"))->trigger();
    ASSERT_EQ(window_.commitActions.size(), 2U);
    EXPECT_EQ(std::tuple(window_.commitActions[0].first, window_.commitActions[1].first,
                         window_.commitActions[0].second.commitID),
              std::tuple(CommitAction::describe, CommitAction::split, tip.commitID));

    // `fix` stands behind trunk, has diverged, one commit, no column of its own,
    // no pull request.
    window_.selection.selectBookmark(std::string("fix"));
    EXPECT_EQ(joined(*bookmarkMenu()),
              "Rebase Local Stack…; Rebase Onto… <Ctrl+Alt+R>; Squash into Single Commit (off); "
              "Force Push; Create Pull "
              "Request…; Refresh PR Status; -; Pin to Board; Hide Column (off); Tags; Tags > [x] "
              "backend; Tags > [ ] ui; Tags > -; Tags > Add Tag…; -; Rename Bookmark; Delete "
              "Bookmark; Abandon (Delete Commits)…; -; Describe Commit… (off); Split Commit… "
              "(off); Review Conflicts… (off)");
}

TEST(RepoMenuCommands, ShortcutsActInTheActiveWindow) {
    RepoMenuCommands commands;
    FakeWindow fake;
    QMainWindow window;
    commands.installMenus(window.menuBar());
    auto* toolbar = new RepoToolbar(fake.target(), &window);
    window.addToolBar(toolbar);
    commands.setFocusedTarget(fake.target());
    fake.selection.selectBookmark(std::string("feat"));
    // The toolbar's copy of the bookmark entries exists too, and must not
    // make the shortcut ambiguous.
    Q_EMIT toolbar->bookmarkMenuButton()->actionsMenu()->aboutToShow();
    window.show();
    window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));

    QTest::keyClick(&window, Qt::Key_R, Qt::ControlModifier | Qt::AltModifier);
    ASSERT_EQ(fake.bookmarkActions.size(), 1U);
    EXPECT_TRUE(fake.lastActionWas<BookmarkAction::Rebase>("feat"));
    QTest::keyClick(&window, Qt::Key_N, Qt::ControlModifier);
    EXPECT_EQ(fake.newBookmarkCount, 1);
    // With no session open, a fetch ends at once and is stamped as ended.
    QTest::keyClick(&window, Qt::Key_R, Qt::ControlModifier);
    EXPECT_TRUE(fake.viewModel.board().lastFetchAt().has_value());

    // Without a focused target the keys do nothing.
    commands.setFocusedTarget(std::nullopt);
    QTest::keyClick(&window, Qt::Key_N, Qt::ControlModifier);
    EXPECT_EQ(fake.newBookmarkCount, 1);
}

TEST(BookmarkActionMenuItems, FillsAnyMenuAndDisablesWithoutABookmark) {
    RepoViewModel viewModel;
    viewModel.applySnapshot(windowtest::boardSnapshot());
    int performed = 0;
    const BookmarkActionHandler perform = [&](const BookmarkAction&, const Bookmark&) {
        ++performed;
    };

    QMenu empty;
    BookmarkActionMenuItems::fill(&empty, &viewModel, std::nullopt, perform);
    EXPECT_EQ(
        joined(empty),
        "Rebase Onto… <Ctrl+Alt+R> (off); Squash into Single Commit (off); Push (off); Refresh PR "
        "Status (off); -; Pin to Board (off); Hide Column (off); Tags (off); Tags > Add Tag… "
        "(off); -; Rename Bookmark (off); Delete Bookmark (off); Abandon (Delete Commits)… (off)");

    QMenu context;
    BookmarkActionMenuItems::fill(&context, &viewModel,
                                  viewModel.board().repoState()->bookmarks.at("feat"), perform);
    findEntry(context, QStringLiteral("Delete Bookmark"))->trigger();
    EXPECT_EQ(performed, 1);

    // Refilling leaves only the new entries.
    discardMenuEntries(&context);
    EXPECT_TRUE(context.actions().isEmpty());
    CommitActionMenuItems::fill(&context, std::nullopt, {});
    EXPECT_EQ(joined(context),
              "Describe Commit… (off); Split Commit… (off); Review Conflicts… (off)");
}

}  // namespace
}  // namespace vorda
