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

TEST(RepoToolbar, ItemsCarryTheirIdentifiersLabelsAndTooltips) {
    FakeWindow window(std::nullopt);
    RepoToolbar toolbar(window.target());
    EXPECT_TRUE(toolbar.isMovable());

    for (const char* identifier : {"working-copy", "status", "push", "bookmark-menu"}) {
        EXPECT_NE(toolbar.item(QString::fromLatin1(identifier)), nullptr) << identifier;
        EXPECT_NE(toolbar.findChild<QWidget*>(QString::fromLatin1(identifier)), nullptr)
            << identifier;
    }
    const std::tuple<const char*, const char*, const char*> buttons[] = {
        {"new-bookmark", "New Bookmark", "Create a new bookmark"},
        {"fetch", "Fetch", "Run jj git fetch (Ctrl+R)"},
        {"commit", "Commit", "Describe the working-copy change (Ctrl+Return)"},
        {"undo", "Undo", "Undo the last jj operation (Ctrl+Z)"}};
    // Controls without a feature behind them are not on the toolbar.
    for (const char* identifier : {"rebase-local-stacks", "op-log"}) {
        EXPECT_EQ(toolbar.item(QString::fromLatin1(identifier)), nullptr) << identifier;
        EXPECT_EQ(toolbar.findChild<QWidget*>(QString::fromLatin1(identifier)), nullptr);
    }
    for (const auto& [identifier, label, tooltip] : buttons) {
        const auto* item = toolbar.item(QString::fromLatin1(identifier));
        ASSERT_NE(item, nullptr) << identifier;
        EXPECT_NE(toolbar.findChild<QWidget*>(QString::fromLatin1(identifier)), nullptr);
        EXPECT_EQ(item->text(), QString::fromUtf8(label));
        EXPECT_EQ(item->toolTip(), QString::fromUtf8(tooltip));
    }
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

TEST(RepoToolbar, IdentityShowsTheFolderAndCopiesThePath) {
    FakeWindow window(std::nullopt);
    RepoToolbar toolbar(window.target());
    auto* identity = toolbar.identityLabel();
    EXPECT_FALSE(identity->copyPathAction()->isEnabled());

    window.viewModel.board().setRepoRoot(std::string("/home/ada/src/vorda-demo"));
    EXPECT_EQ(identity->text(), QStringLiteral("vorda-demo"));
    EXPECT_EQ(identity->copyPathAction()->text(), QStringLiteral("Copy repository path"));
    identity->copyPathAction()->trigger();
    EXPECT_EQ(QGuiApplication::clipboard()->text(), QStringLiteral("/home/ada/src/vorda-demo"));
    EXPECT_EQ(RepositoryIdentityLabel::repositoryName("/home/ada/src/vorda-demo/"), "vorda-demo");
}

}  // namespace
}  // namespace vorda
