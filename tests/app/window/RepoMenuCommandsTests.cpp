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
using Lines = std::vector<std::string>;

std::vector<QAction*> allEntries(const QMenu& menu) {
    std::vector<QAction*> entries;
    for (auto* action : menu.actions()) {
        if (!action->isSeparator()) {
            entries.push_back(action);
        }
        if (auto* submenu = action->menu()) {
            const auto nested = allEntries(*submenu);
            entries.insert(entries.end(), nested.begin(), nested.end());
        }
    }
    return entries;
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
    const auto allDisabled = [&] {
        auto entries = allEntries(*bookmarkMenu());
        EXPECT_GE(entries.size(), 10U);
        const auto shared = commands_.sharedActions();
        entries.insert(entries.end(), shared.begin(), shared.end());
        for (auto* action : entries) {
            EXPECT_FALSE(action->isEnabled()) << action->text().toStdString();
        }
    };
    allDisabled();

    // A window that loses focus, or goes away, leaves the menus disabled again.
    {
        FakeWindow window;
        commands_.setFocusedTarget(window.target());
        EXPECT_TRUE(commands_.fetchAction()->isEnabled());
    }
    EXPECT_FALSE(commands_.focusedTarget().has_value());
    allDisabled();
}

TEST_F(RepoMenus, RepoAndViewEntriesActOnTheFocusedWindow) {
    commands_.setFocusedTarget(window_.target());
    EXPECT_EQ(menuLines(*menu(QStringLiteral("Repo"))),
              (Lines{"Fetch <Ctrl+R>", "-", "New Bookmark… <Ctrl+N>", "Commit… <Ctrl+Return>", "-",
                     "Undo Last jj Operation"}));
    // Clearing the filters needs a filter.
    EXPECT_EQ(menuLines(*menu(QStringLiteral("View"))),
              (Lines{"Filter Bookmarks <Ctrl+F>", "Clear Filters <Ctrl+Shift+F> (off)"}));

    commands_.commitAction()->trigger();
    commands_.filterBookmarksAction()->trigger();
    EXPECT_EQ(window_.commitCount, 1);
    EXPECT_EQ(window_.focusFilterCount, 1);
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
    EXPECT_EQ(board.filterText(), "");
    EXPECT_TRUE(board.selectedTagFilters().empty());
    EXPECT_FALSE(clear->isEnabled());

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
    EXPECT_EQ(menuLines(*bookmarkMenu()), (Lines{"Rebase Onto… <Ctrl+Alt+R>",
                                                 "Squash into Single Commit",
                                                 "Push 1 Commit",
                                                 "Refresh PR Status (off)",
                                                 "-",
                                                 "Unpin from Board",
                                                 "Hide Column",
                                                 "Tags",
                                                 "Tags > [ ] backend",
                                                 "Tags > [x] ui",
                                                 "Tags > -",
                                                 "Tags > Add Tag…",
                                                 "-",
                                                 "Rename Bookmark",
                                                 "Delete Bookmark",
                                                 "Abandon (Delete Commits)…",
                                                 "-",
                                                 "Describe Commit… (off)",
                                                 "Split Commit… (off)",
                                                 "Review Conflicts… (off)"}));
    auto* push = entry(QStringLiteral("Push 1 Commit"));
    EXPECT_EQ(push->toolTip().toStdString(),
              BookmarkPushPresentation::tooltip(
                  window_.viewModel.board().repoState()->bookmarks.at("feat")));
    EXPECT_EQ(entry(QStringLiteral("Create Pull Request…")), nullptr);
    EXPECT_EQ(entry(QStringLiteral("View Pull Request")), nullptr);

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

    // With gh, a pull request can be made; once there is one, it can be viewed.
    window_.viewModel.board().setGithubAvailable(true);
    EXPECT_NE(entry(QStringLiteral("Create Pull Request…")), nullptr);
    EXPECT_TRUE(entry(QStringLiteral("Refresh PR Status"))->isEnabled());
    GitHubPR pr;
    pr.number = 7;
    pr.url = "https://github.com/example/repo/pull/7";
    window_.viewModel.board().setPrStatuses({{"feat", pr}});
    EXPECT_EQ(entry(QStringLiteral("Create Pull Request…")), nullptr);
    entry(QStringLiteral("View Pull Request"))->trigger();
    EXPECT_TRUE(window_.lastActionWas<BookmarkAction::ViewPR>("feat"));

    // A selected commit feeds the commit entries.
    const auto tip = windowtest::makeCommit(3, "Feature tip");
    window_.selection.selectCommit(ColumnID::bookmark("feat"), tip.changeID,
                                   {tip.changeID, windowtest::changeIDFor(2)}, std::string("feat"));
    entry(QStringLiteral("Describe Commit…"))->trigger();
    entry(QStringLiteral("Split Commit…"))->trigger();
    ASSERT_EQ(window_.commitActions.size(), 2U);
    EXPECT_EQ(window_.commitActions[0].first, CommitAction::describe);
    EXPECT_EQ(window_.commitActions[1].first, CommitAction::split);
    EXPECT_EQ(window_.commitActions[0].second.commitID, tip.commitID);

    // `fix` stands behind trunk, has diverged, one commit, no column of its own.
    window_.selection.selectBookmark(std::string("fix"));
    // Rebasing a local stack is not offered yet.
    EXPECT_EQ(menuLines(*bookmarkMenu()).front(), "Rebase Onto… <Ctrl+Alt+R>");
    EXPECT_EQ(entry(QStringLiteral("Rebase Local Stack…")), nullptr);
    EXPECT_NE(entry(QStringLiteral("Force Push")), nullptr);
    EXPECT_NE(entry(QStringLiteral("Pin to Board")), nullptr);
    EXPECT_FALSE(entry(QStringLiteral("Squash into Single Commit"))->isEnabled());
    EXPECT_FALSE(entry(QStringLiteral("Hide Column"))->isEnabled());
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
    EXPECT_NE(findEntry(empty, QStringLiteral("Push")), nullptr);
    for (auto* action : allEntries(empty)) {
        EXPECT_FALSE(action->isEnabled()) << action->text().toStdString();
        action->trigger();
    }
    EXPECT_EQ(performed, 0);

    QMenu context;
    BookmarkActionMenuItems::fill(&context, &viewModel,
                                  viewModel.board().repoState()->bookmarks.at("feat"), perform);
    findEntry(context, QStringLiteral("Delete Bookmark"))->trigger();
    EXPECT_EQ(performed, 1);

    // Refilling leaves only the new entries.
    discardMenuEntries(&context);
    EXPECT_TRUE(context.actions().isEmpty());
    CommitActionMenuItems::fill(&context, std::nullopt, {});
    EXPECT_EQ(menuLines(context),
              (Lines{"Describe Commit… (off)", "Split Commit… (off)", "Review Conflicts… (off)"}));
}

}  // namespace
}  // namespace vorda
