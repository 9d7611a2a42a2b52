#include "app/window/RepoMenuCommands.h"

#include <QMainWindow>
#include <QMenuBar>
#include <QTest>
#include <memory>

#include <gtest/gtest.h>

#include "WindowTestData.h"
#include "app/window/BookmarkActionMenuItems.h"
#include "app/window/BookmarkMenuToolbarButton.h"
#include "app/window/RepoToolbar.h"

namespace vorda {
namespace {

using windowtest::entryTitles;
using windowtest::findEntry;

/// A window's side of the menus: its view model, selection and the gestures
/// the menus reach, recorded.
struct FakeWindow {
    RepoViewModel viewModel;
    SelectionStore selection;
    std::vector<std::pair<BookmarkAction, Bookmark>> bookmarkActions;
    std::vector<std::pair<CommitAction, JJCommit>> commitActions;
    int newBookmarkCount = 0;
    int commitCount = 0;
    int focusFilterCount = 0;

    explicit FakeWindow(const windowtest::BoardShape& shape = {}) {
        viewModel.applySnapshot(windowtest::boardSnapshot(shape));
    }

    RepoCommandTarget target() {
        RepoCommandTarget target;
        target.viewModel = &viewModel;
        target.selection = &selection;
        target.bookmarkAction = [this](const BookmarkAction& action, const Bookmark& bookmark) {
            bookmarkActions.emplace_back(action, bookmark);
        };
        target.commitAction = [this](CommitAction action, const JJCommit& commit) {
            commitActions.emplace_back(action, commit);
        };
        target.newBookmark = [this] {
            ++newBookmarkCount;
        };
        target.commitWorkingCopy = [this] {
            ++commitCount;
        };
        target.focusFilter = [this] {
            ++focusFilterCount;
        };
        return target;
    }
};

QMenu* menuTitled(const QMenuBar& menuBar, const QString& title) {
    for (auto* action : menuBar.actions()) {
        if (action->text() == title) {
            return action->menu();
        }
    }
    return nullptr;
}

// The Bookmark menu as it reads when opened.
QMenu* openedBookmarkMenu(const QMenuBar& menuBar) {
    auto* menu = menuTitled(menuBar, QStringLiteral("Bookmark"));
    Q_EMIT menu->aboutToShow();
    return menu;
}

std::vector<QAction*> allEntries(const QMenu& menu) {
    std::vector<QAction*> entries;
    for (auto* action : menu.actions()) {
        if (action->isSeparator()) {
            continue;
        }
        entries.push_back(action);
        if (auto* submenu = action->menu()) {
            const auto nested = allEntries(*submenu);
            entries.insert(entries.end(), nested.begin(), nested.end());
        }
    }
    return entries;
}

TEST(RepoMenuCommands, EverythingIsDisabledWithoutAFocusedWindow) {
    RepoMenuCommands commands;
    QMenuBar menuBar;
    commands.installMenus(&menuBar);
    ASSERT_NE(menuTitled(menuBar, QStringLiteral("Repo")), nullptr);
    ASSERT_NE(menuTitled(menuBar, QStringLiteral("View")), nullptr);

    EXPECT_EQ(
        entryTitles(*menuTitled(menuBar, QStringLiteral("Repo"))),
        (std::vector<std::string>{"Fetch", "Rebase Local Stacks…", "Move to Feature…",
                                  "Attach Feature to Composition…", "-", "New Bookmark…", "Commit…",
                                  "-", "Undo Last jj Operation", "Operation Log…"}));
    EXPECT_EQ(entryTitles(*menuTitled(menuBar, QStringLiteral("View"))),
              (std::vector<std::string>{"Filter Bookmarks", "Clear Filters"}));
    for (auto* action : commands.sharedActions()) {
        EXPECT_FALSE(action->isEnabled()) << action->text().toStdString();
    }
    const auto* bookmarkMenu = openedBookmarkMenu(menuBar);
    const auto entries = allEntries(*bookmarkMenu);
    EXPECT_GE(entries.size(), 10U);
    for (auto* action : entries) {
        EXPECT_FALSE(action->isEnabled()) << action->text().toStdString();
    }

    // A window that loses focus, or goes away, leaves the menus disabled again.
    {
        FakeWindow window;
        commands.setFocusedTarget(window.target());
        EXPECT_TRUE(commands.fetchAction()->isEnabled());
    }
    EXPECT_FALSE(commands.focusedTarget().has_value());
    for (auto* action : commands.sharedActions()) {
        EXPECT_FALSE(action->isEnabled()) << action->text().toStdString();
    }
}

TEST(RepoMenuCommands, RepoEntriesActOnTheFocusedWindow) {
    RepoMenuCommands commands;
    QMenuBar menuBar;
    commands.installMenus(&menuBar);
    FakeWindow window;
    commands.setFocusedTarget(window.target());
    for (auto* action :
         {commands.fetchAction(), commands.rebaseLocalStacksAction(),
          commands.moveToFeatureAction(), commands.attachFeatureAction(),
          commands.newBookmarkAction(), commands.commitAction(), commands.undoAction(),
          commands.operationLogAction(), commands.filterBookmarksAction()}) {
        EXPECT_TRUE(action->isEnabled()) << action->text().toStdString();
    }
    EXPECT_EQ(commands.fetchAction()->shortcut(), QKeySequence(Qt::CTRL | Qt::Key_R));
    EXPECT_EQ(commands.rebaseLocalStacksAction()->shortcut(),
              QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_R));
    EXPECT_EQ(commands.newBookmarkAction()->shortcut(), QKeySequence(Qt::CTRL | Qt::Key_N));
    EXPECT_EQ(commands.commitAction()->shortcut(), QKeySequence(Qt::CTRL | Qt::Key_Return));
    EXPECT_EQ(commands.filterBookmarksAction()->shortcut(), QKeySequence(Qt::CTRL | Qt::Key_F));

    commands.newBookmarkAction()->trigger();
    commands.commitAction()->trigger();
    commands.filterBookmarksAction()->trigger();
    EXPECT_EQ(window.newBookmarkCount, 1);
    EXPECT_EQ(window.commitCount, 1);
    EXPECT_EQ(window.focusFilterCount, 1);

    commands.rebaseLocalStacksAction()->trigger();
    EXPECT_TRUE(window.viewModel.showLocalStackUpdateSheet());
    EXPECT_FALSE(window.viewModel.localStackUpdateSeedBookmarks().has_value());
    commands.moveToFeatureAction()->trigger();
    EXPECT_TRUE(window.viewModel.showFeatureInsertionSheet());
    commands.attachFeatureAction()->trigger();
    EXPECT_TRUE(window.viewModel.showCompositionAttachmentSheet());
    commands.operationLogAction()->trigger();
    EXPECT_TRUE(window.viewModel.showOpLogInspector());
    // With no session open, a fetch ends at once and is stamped as ended.
    commands.fetchAction()->trigger();
    EXPECT_TRUE(window.viewModel.lastFetchAt().has_value());

    // A window without a commit gesture cannot offer one.
    auto partial = window.target();
    partial.commitWorkingCopy = nullptr;
    commands.setFocusedTarget(partial);
    EXPECT_FALSE(commands.commitAction()->isEnabled());
    EXPECT_TRUE(commands.newBookmarkAction()->isEnabled());
}

TEST(RepoMenuCommands, ClearFiltersNeedsAFilterAndClearsBoth) {
    RepoMenuCommands commands;
    FakeWindow window;
    commands.setFocusedTarget(window.target());
    auto* clear = commands.clearFiltersAction();
    EXPECT_EQ(clear->shortcut(), QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_F));
    EXPECT_FALSE(clear->isEnabled());

    window.viewModel.setFilterText("fe");
    EXPECT_TRUE(clear->isEnabled());
    window.viewModel.setFilterText("");
    EXPECT_FALSE(clear->isEnabled());
    window.viewModel.setSelectedTagFilters({"ui"});
    EXPECT_TRUE(clear->isEnabled());

    window.viewModel.setFilterText("fe");
    clear->trigger();
    EXPECT_EQ(window.viewModel.filterText(), "");
    EXPECT_TRUE(window.viewModel.selectedTagFilters().empty());
    EXPECT_FALSE(clear->isEnabled());
}

TEST(RepoMenuCommands, BookmarkMenuFollowsTheSelectedBookmark) {
    RepoMenuCommands commands;
    QMenuBar menuBar;
    commands.installMenus(&menuBar);
    FakeWindow window(windowtest::fixBehindTrunk());
    commands.setFocusedTarget(window.target());

    window.selection.selectBookmark(std::string("feat"));
    auto* menu = openedBookmarkMenu(menuBar);
    EXPECT_EQ(
        entryTitles(*menu),
        (std::vector<std::string>{
            "Rebase Onto…", "Squash into Single Commit", "Push 1 Commit", "Refresh PR Status", "-",
            "Unpin from Board", "Hide Column", "Tags", "-", "Rename Bookmark", "Delete Bookmark",
            "Abandon (Delete Commits)…", "-", "Describe Commit…", "Split Commit…"}));
    auto* push = findEntry(*menu, QStringLiteral("Push 1 Commit"));
    EXPECT_TRUE(push->isEnabled());
    EXPECT_EQ(push->toolTip(), QStringLiteral("Push 1 commit to the remote"));
    EXPECT_EQ(findEntry(*menu, QStringLiteral("Rebase Onto…"))->shortcut(),
              QKeySequence(Qt::CTRL | Qt::ALT | Qt::Key_R));
    // No commit selected; no gh.
    EXPECT_FALSE(findEntry(*menu, QStringLiteral("Describe Commit…"))->isEnabled());
    EXPECT_FALSE(findEntry(*menu, QStringLiteral("Refresh PR Status"))->isEnabled());

    push->trigger();
    findEntry(*menu, QStringLiteral("Unpin from Board"))->trigger();
    ASSERT_EQ(window.bookmarkActions.size(), 2U);
    EXPECT_TRUE(
        std::holds_alternative<BookmarkAction::Push>(window.bookmarkActions[0].first.value));
    EXPECT_EQ(window.bookmarkActions[0].second.name, "feat");
    EXPECT_TRUE(std::holds_alternative<BookmarkAction::TogglePinned>(
        window.bookmarkActions[1].first.value));

    // Tags: every tag in use, checked where the bookmark has it, then "Add Tag…".
    auto* tags = findEntry(*menu, QStringLiteral("Tags"))->menu();
    EXPECT_EQ(entryTitles(*tags), (std::vector<std::string>{"backend", "ui", "-", "Add Tag…"}));
    EXPECT_TRUE(findEntry(*tags, QStringLiteral("ui"))->isChecked());
    EXPECT_FALSE(findEntry(*tags, QStringLiteral("backend"))->isChecked());
    findEntry(*tags, QStringLiteral("backend"))->trigger();
    const auto* toggled =
        std::get_if<BookmarkAction::ToggleTag>(&window.bookmarkActions.back().first.value);
    ASSERT_NE(toggled, nullptr);
    EXPECT_EQ(toggled->tag, "backend");

    // `fix` stands behind trunk, has diverged, one commit, no column of its own.
    window.selection.selectBookmark(std::string("fix"));
    menu = openedBookmarkMenu(menuBar);
    const auto titles = entryTitles(*menu);
    ASSERT_FALSE(titles.empty());
    EXPECT_EQ(titles.front(), "Rebase Local Stack…");
    EXPECT_NE(findEntry(*menu, QStringLiteral("Force Push")), nullptr);
    EXPECT_NE(findEntry(*menu, QStringLiteral("Pin to Board")), nullptr);
    EXPECT_FALSE(findEntry(*menu, QStringLiteral("Squash into Single Commit"))->isEnabled());
    EXPECT_FALSE(findEntry(*menu, QStringLiteral("Hide Column"))->isEnabled());
    findEntry(*menu, QStringLiteral("Rebase Local Stack…"))->trigger();
    const auto* reparent =
        std::get_if<BookmarkAction::ReparentToTrunk>(&window.bookmarkActions.back().first.value);
    ASSERT_NE(reparent, nullptr);
    EXPECT_FALSE(reparent->bypassPRGuard);
    EXPECT_EQ(window.bookmarkActions.back().second.name, "fix");
}

TEST(RepoMenuCommands, PullRequestEntriesAndCommitEntries) {
    RepoMenuCommands commands;
    QMenuBar menuBar;
    commands.installMenus(&menuBar);
    FakeWindow window;
    commands.setFocusedTarget(window.target());
    window.selection.selectBookmark(std::string("feat"));

    auto* menu = openedBookmarkMenu(menuBar);
    EXPECT_EQ(findEntry(*menu, QStringLiteral("Create Pull Request…")), nullptr);
    EXPECT_EQ(findEntry(*menu, QStringLiteral("View Pull Request")), nullptr);

    window.viewModel.setGithubAvailable(true);
    menu = openedBookmarkMenu(menuBar);
    EXPECT_NE(findEntry(*menu, QStringLiteral("Create Pull Request…")), nullptr);
    EXPECT_TRUE(findEntry(*menu, QStringLiteral("Refresh PR Status"))->isEnabled());

    GitHubPR pr;
    pr.number = 7;
    pr.url = "https://github.com/example/repo/pull/7";
    window.viewModel.setPrStatuses({{"feat", pr}});
    menu = openedBookmarkMenu(menuBar);
    EXPECT_EQ(findEntry(*menu, QStringLiteral("Create Pull Request…")), nullptr);
    findEntry(*menu, QStringLiteral("View Pull Request"))->trigger();
    ASSERT_EQ(window.bookmarkActions.size(), 1U);
    EXPECT_TRUE(
        std::holds_alternative<BookmarkAction::ViewPR>(window.bookmarkActions[0].first.value));

    // A selected commit feeds the commit entries.
    const auto tip = windowtest::makeCommit(3, "Feature tip");
    window.selection.selectCommit(ColumnID::bookmark("feat"), tip.changeID,
                                  {tip.changeID, windowtest::changeIDFor(2)}, std::string("feat"));
    menu = openedBookmarkMenu(menuBar);
    findEntry(*menu, QStringLiteral("Split Commit…"))->trigger();
    ASSERT_EQ(window.commitActions.size(), 1U);
    EXPECT_EQ(window.commitActions[0].first, CommitAction::split);
    EXPECT_EQ(window.commitActions[0].second.commitID, tip.commitID);
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
    EXPECT_TRUE(
        std::holds_alternative<BookmarkAction::Rebase>(fake.bookmarkActions[0].first.value));
    EXPECT_EQ(fake.bookmarkActions[0].second.name, "feat");

    QTest::keyClick(&window, Qt::Key_N, Qt::ControlModifier);
    EXPECT_EQ(fake.newBookmarkCount, 1);
    QTest::keyClick(&window, Qt::Key_R, Qt::ControlModifier);
    EXPECT_TRUE(fake.viewModel.lastFetchAt().has_value());

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
    const auto& feat = viewModel.repoState()->bookmarks.at("feat");
    BookmarkActionMenuItems::fill(&context, &viewModel, feat, perform);
    findEntry(context, QStringLiteral("Delete Bookmark"))->trigger();
    EXPECT_EQ(performed, 1);

    // Refilling leaves only the new entries.
    discardMenuEntries(&context);
    EXPECT_TRUE(context.actions().isEmpty());
    CommitActionMenuItems::fill(&context, std::nullopt, {});
    EXPECT_EQ(entryTitles(context),
              (std::vector<std::string>{"Describe Commit…", "Split Commit…"}));
}

}  // namespace
}  // namespace vorda
