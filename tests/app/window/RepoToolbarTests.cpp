#include "app/window/RepoToolbar.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMenu>
#include <QToolButton>

#include <gtest/gtest.h>

#include "WindowTestData.h"
#include "app/window/BookmarkMenuToolbarButton.h"
#include "app/window/PushToolbarButton.h"
#include "app/window/RepoActivityStatusView.h"
#include "app/window/RepositoryIdentityLabel.h"

namespace vorda {
namespace {

struct ToolbarFixture {
    RepoViewModel viewModel;
    SelectionStore selection;
    std::vector<std::pair<BookmarkAction, Bookmark>> bookmarkActions;
    int newBookmarkCount = 0;
    int commitCount = 0;

    RepoCommandTarget target() {
        RepoCommandTarget target;
        target.viewModel = &viewModel;
        target.selection = &selection;
        target.bookmarkAction = [this](const BookmarkAction& action, const Bookmark& bookmark) {
            bookmarkActions.emplace_back(action, bookmark);
        };
        target.newBookmark = [this] {
            ++newBookmarkCount;
        };
        target.commitWorkingCopy = [this] {
            ++commitCount;
        };
        return target;
    }
};

TEST(RepoToolbar, ItemsCarryTheirIdentifiersLabelsAndTooltips) {
    ToolbarFixture fixture;
    RepoToolbar toolbar(fixture.target());
    EXPECT_TRUE(toolbar.isMovable());

    const std::vector<QString> identifiers = {
        "working-copy", "status", "new-bookmark",  "fetch", "rebase-local-stacks",
        "commit",       "push",   "bookmark-menu", "undo",  "op-log"};
    for (const auto& identifier : identifiers) {
        EXPECT_NE(toolbar.item(identifier), nullptr) << identifier.toStdString();
        EXPECT_NE(toolbar.findChild<QWidget*>(identifier), nullptr) << identifier.toStdString();
    }
    struct Button {
        QString identifier;
        QString label;
        QString tooltip;
    };
    const std::vector<Button> buttons = {
        {"new-bookmark", "New Bookmark", "Create a new bookmark"},
        {"fetch", "Fetch", "Run jj git fetch (⌘R)"},
        {"rebase-local-stacks", "Rebase Local Stacks…",
         "Preview rebasing local stacks onto current trunk (⇧⌘R). Protected dependencies and "
         "composition inputs stay intact."},
        {"commit", "Commit", "Describe the working-copy change (⌘↩)"},
        {"undo", "Undo", "Undo the last jj operation (⌘Z)"},
        {"op-log", "Operations", "Show the recent jj operation log (⇧⌘Z)"},
    };
    for (const auto& button : buttons) {
        const auto* item = toolbar.item(button.identifier);
        ASSERT_NE(item, nullptr);
        EXPECT_EQ(item->text(), button.label);
        EXPECT_EQ(item->toolTip(), button.tooltip);
    }
    EXPECT_EQ(toolbar.findChild<RepoActivityStatusView*>(QStringLiteral("status")),
              toolbar.statusView());
    EXPECT_EQ(toolbar.findChild<PushToolbarButton*>(QStringLiteral("push")), toolbar.pushButton());
    EXPECT_EQ(toolbar.bookmarkMenuButton()->toolTip(),
              QStringLiteral("Bookmark actions — select a lane to enable"));
    EXPECT_EQ(toolbar.pushButton()->toolTip(), QStringLiteral("Select a bookmark lane"));

    // Nothing loaded: nothing to act on.
    EXPECT_FALSE(toolbar.item(QStringLiteral("fetch"))->isEnabled());
    fixture.viewModel.applySnapshot(windowtest::boardSnapshot());
    EXPECT_TRUE(toolbar.item(QStringLiteral("fetch"))->isEnabled());
    toolbar.item(QStringLiteral("new-bookmark"))->trigger();
    toolbar.item(QStringLiteral("commit"))->trigger();
    toolbar.item(QStringLiteral("op-log"))->trigger();
    EXPECT_EQ(fixture.newBookmarkCount, 1);
    EXPECT_EQ(fixture.commitCount, 1);
    EXPECT_TRUE(fixture.viewModel.showOpLogInspector());
}

TEST(RepoToolbar, PushAndBookmarkMenuFollowTheSelection) {
    ToolbarFixture fixture;
    fixture.viewModel.applySnapshot(windowtest::boardSnapshot());
    RepoToolbar toolbar(fixture.target());
    auto* push = toolbar.pushButton();
    auto* bookmarkMenu = toolbar.bookmarkMenuButton();
    EXPECT_FALSE(push->isEnabled());
    EXPECT_FALSE(bookmarkMenu->isEnabled());

    fixture.selection.selectBookmark(std::string("fix"));
    EXPECT_EQ(push->text(), QStringLiteral("Force Push"));
    EXPECT_EQ(push->toolTip(), QStringLiteral("Remote has diverged — pushing rewrites the remote"));
    EXPECT_EQ(bookmarkMenu->toolTip(), QStringLiteral("Actions for fix"));
    EXPECT_TRUE(bookmarkMenu->isEnabled());
    push->click();
    ASSERT_EQ(fixture.bookmarkActions.size(), 1U);
    EXPECT_TRUE(
        std::holds_alternative<BookmarkAction::Push>(fixture.bookmarkActions[0].first.value));
    EXPECT_EQ(fixture.bookmarkActions[0].second.name, "fix");

    fixture.selection.selectBookmark(std::string("feat"));
    EXPECT_EQ(push->text(), QStringLiteral("Push"));
    EXPECT_EQ(push->toolTip(), QStringLiteral("Push 1 commit to the remote"));
    // While `feat` is being pushed the button waits.
    Bookmark feat = fixture.viewModel.repoState()->bookmarks.at("feat");
    fixture.viewModel.setInFlight(RepoCommand::Push{feat}, true);
    EXPECT_FALSE(push->isEnabled());
    fixture.viewModel.setInFlight(RepoCommand::Push{feat}, false);
    EXPECT_TRUE(push->isEnabled());

    auto* menu = bookmarkMenu->actionsMenu();
    Q_EMIT menu->aboutToShow();
    auto* entry = windowtest::findEntry(*menu, QStringLiteral("Push 1 Commit"));
    ASSERT_NE(entry, nullptr);
    entry->trigger();
    ASSERT_EQ(fixture.bookmarkActions.size(), 2U);
    EXPECT_EQ(fixture.bookmarkActions[1].second.name, "feat");
}

TEST(RepoToolbar, IdentityShowsTheFolderAndCopiesThePath) {
    ToolbarFixture fixture;
    RepoToolbar toolbar(fixture.target());
    auto* identity = toolbar.identityLabel();
    EXPECT_FALSE(identity->copyPathAction()->isEnabled());

    fixture.viewModel.setRepoRoot(std::string("/home/ada/src/vorda-demo"));
    EXPECT_EQ(identity->text(), QStringLiteral("vorda-demo"));
    EXPECT_EQ(identity->copyPathAction()->text(), QStringLiteral("Copy repository path"));
    identity->copyPathAction()->trigger();
    EXPECT_EQ(QGuiApplication::clipboard()->text(), QStringLiteral("/home/ada/src/vorda-demo"));

    EXPECT_EQ(RepositoryIdentityLabel::repositoryName("/home/ada/src/vorda-demo/"), "vorda-demo");
}

}  // namespace
}  // namespace vorda
