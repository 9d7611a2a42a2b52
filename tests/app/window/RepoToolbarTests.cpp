#include "app/window/RepoToolbar.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMenu>
#include <QToolButton>

#include <gtest/gtest.h>

#include "WindowTestData.h"
#include "app/window/BookmarkMenuToolbarButton.h"
#include "app/window/BookmarkPushPresentation.h"
#include "app/window/PushToolbarButton.h"
#include "app/window/RepoActivityStatusView.h"
#include "app/window/RepositoryIdentityLabel.h"

namespace vorda {
namespace {

using windowtest::FakeWindow;

TEST(RepoToolbar, ItemsCarryTheirIdentifiersLabelsAndTooltipsAndTheIdentityCopiesThePath) {
    FakeWindow window(std::nullopt);
    RepoToolbar toolbar(window.target());
    EXPECT_TRUE(toolbar.isMovable());

    // Per identifier: whether it is an item and names a widget, then the
    // item's label and tooltip. Controls without a feature behind them are
    // not on the toolbar.
    std::string items;
    for (const char* identifier :
         {"working-copy", "status", "push", "bookmark-menu", "new-bookmark", "fetch", "commit",
          "undo", "rebase-local-stacks", "op-log"}) {
        const auto* item = toolbar.item(QString::fromLatin1(identifier));
        const auto* widget = toolbar.findChild<QWidget*>(QString::fromLatin1(identifier));
        items.append(identifier).append(item ? " item" : "").append(widget ? " widget" : "");
        if (item && !item->text().isEmpty()) {
            items.append(": ").append(item->text().toStdString());
            items.append(" | ").append(item->toolTip().toStdString());
        }
        items.append("\n");
    }
    EXPECT_EQ(items,
              "working-copy item widget\nstatus item widget\npush item widget\nbookmark-menu item "
              "widget\nnew-bookmark item widget: New Bookmark | Create a new bookmark\nfetch item "
              "widget: Fetch | Run jj git fetch (Ctrl+R)\ncommit item widget: Commit | Describe "
              "the working-copy change (Ctrl+Return)\nundo item widget: Undo | Undo the last jj "
              "operation (Ctrl+Z)\nrebase-local-stacks item widget: Rebase Local Stacks… | "
              "Preview rebasing local stacks onto current trunk (Ctrl+Shift+R). Protected "
              "dependencies and composition inputs stay intact.\nop-log item widget: Operations | "
              "Show the recent jj operation log (Ctrl+Shift+Z)\n");
    EXPECT_EQ(toolbar.findChild<RepoActivityStatusView*>(QStringLiteral("status")),
              toolbar.statusView());
    EXPECT_EQ(toolbar.findChild<PushToolbarButton*>(QStringLiteral("push")), toolbar.pushButton());
    EXPECT_EQ(toolbar.bookmarkMenuButton()->toolTip(),
              QStringLiteral("Bookmark actions — select a lane to enable"));

    // Nothing loaded: nothing to act on.
    EXPECT_FALSE(toolbar.item(QStringLiteral("fetch"))->isEnabled());
    window.viewModel.applySnapshot(windowtest::boardSnapshot());
    EXPECT_TRUE(toolbar.item(QStringLiteral("fetch"))->isEnabled());
    toolbar.item(QStringLiteral("new-bookmark"))->trigger();
    toolbar.item(QStringLiteral("commit"))->trigger();
    EXPECT_EQ(window.newBookmarkCount, 1);
    EXPECT_EQ(window.commitCount, 1);

    // The identity shows the folder and copies the path, once there is one.
    auto* identity = toolbar.identityLabel();
    EXPECT_FALSE(identity->copyPathAction()->isEnabled());
    window.viewModel.board().setRepoRoot(std::string("/home/ada/src/vorda-demo"));
    EXPECT_EQ(identity->text(), QStringLiteral("vorda-demo"));
    EXPECT_EQ(identity->copyPathAction()->text(), QStringLiteral("Copy repository path"));
    identity->copyPathAction()->trigger();
    EXPECT_EQ(QGuiApplication::clipboard()->text(), QStringLiteral("/home/ada/src/vorda-demo"));
    EXPECT_EQ(RepositoryIdentityLabel::repositoryName("/home/ada/src/vorda-demo/"), "vorda-demo");
}

TEST(RepoToolbar, PushAndBookmarkMenuFollowTheSelection) {
    FakeWindow window;
    RepoToolbar toolbar(window.target());
    auto* push = toolbar.pushButton();
    auto* bookmarkMenu = toolbar.bookmarkMenuButton();
    EXPECT_FALSE(push->isEnabled());
    EXPECT_FALSE(bookmarkMenu->isEnabled());
    EXPECT_EQ(push->toolTip().toStdString(), BookmarkPushPresentation::tooltip(std::nullopt));

    for (const char* name : {"fix", "feat"}) {
        window.selection.selectBookmark(std::string(name));
        const Bookmark& bookmark = window.viewModel.board().repoState()->bookmarks.at(name);
        EXPECT_EQ(push->text(), PushToolbarButton::label(bookmark));
        EXPECT_EQ(push->toolTip().toStdString(), BookmarkPushPresentation::tooltip(bookmark));
        EXPECT_TRUE(bookmarkMenu->isEnabled());
        EXPECT_EQ(bookmarkMenu->toolTip().toStdString(), std::string("Actions for ") + name);
        push->click();
        EXPECT_TRUE(window.lastActionWas<BookmarkAction::Push>(name));
    }

    // While `feat` is being pushed the button waits.
    const Bookmark feat = window.viewModel.board().repoState()->bookmarks.at("feat");
    window.viewModel.setInFlight(RepoCommand::Push{feat}, true);
    EXPECT_FALSE(push->isEnabled());
    window.viewModel.setInFlight(RepoCommand::Push{feat}, false);
    EXPECT_TRUE(push->isEnabled());

    auto* menu = bookmarkMenu->actionsMenu();
    Q_EMIT menu->aboutToShow();
    auto* entry = windowtest::findEntry(*menu, QStringLiteral("Push 1 Commit"));
    ASSERT_NE(entry, nullptr);
    entry->trigger();
    EXPECT_EQ(window.bookmarkActions.size(), 3U);
    EXPECT_TRUE(window.lastActionWas<BookmarkAction::Push>("feat"));
}

}  // namespace
}  // namespace vorda
