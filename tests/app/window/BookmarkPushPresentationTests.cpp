#include "app/window/BookmarkPushPresentation.h"

#include <gtest/gtest.h>

#include "app/window/PushToolbarButton.h"

namespace vorda {
namespace {

Bookmark bookmarkIn(RemoteSyncState state) {
    Bookmark bookmark;
    bookmark.name = "feat";
    bookmark.remoteSyncState = std::move(state);
    return bookmark;
}

TEST(BookmarkPushPresentation, TitlesTooltipsAndTheButtonFollowTheRemoteState) {
    const struct {
        std::optional<Bookmark> bookmark;
        std::string title;
        std::string tooltip;
        QString buttonLabel;
    } cases[] = {{std::nullopt, "Push", "Select a bookmark lane", "Push"},
                 {bookmarkIn({RemoteSyncState::Untracked{}}), "Publish to Remote",
                  "Publish this bookmark to the remote", "Push"},
                 {bookmarkIn({RemoteSyncState::UpToDate{"origin"}}), "Push (Up to Date)",
                  "Already up to date with the remote", "Push"},
                 {bookmarkIn({RemoteSyncState::Ahead{"origin", 1}}), "Push 1 Commit",
                  "Push 1 commit to the remote", "Push"},
                 {bookmarkIn({RemoteSyncState::Ahead{"origin", 2}}), "Push 2 Commits",
                  "Push 2 commits to the remote", "Push"},
                 {bookmarkIn({RemoteSyncState::Behind{"origin", 3}}), "Force Push",
                  "Remote is ahead — pushing will rewind the remote", "Force Push"},
                 {bookmarkIn({RemoteSyncState::Diverged{"origin", 1, 2}}), "Force Push",
                  "Remote has diverged — pushing rewrites the remote", "Force Push"}};
    PushToolbarButton button;
    for (const auto& c : cases) {
        EXPECT_EQ(BookmarkPushPresentation::menuTitle(c.bookmark), c.title);
        EXPECT_EQ(BookmarkPushPresentation::tooltip(c.bookmark), c.tooltip);
        EXPECT_EQ(PushToolbarButton::label(c.bookmark), c.buttonLabel) << c.title;
        button.setBookmark(c.bookmark, false);
        EXPECT_EQ(button.text(), c.buttonLabel);
        EXPECT_EQ(button.toolTip().toStdString(), c.tooltip);
    }

    // Nothing to push, or already pushing: the button waits.
    const std::pair<std::optional<Bookmark>, bool> waiting[] = {
        {std::nullopt, false},
        {bookmarkIn({RemoteSyncState::UpToDate{"origin"}}), false},
        {bookmarkIn({RemoteSyncState::Ahead{"origin", 1}}), true}};
    for (const auto& [bookmark, pushing] : waiting) {
        button.setBookmark(bookmark, pushing);
        EXPECT_FALSE(button.isEnabled());
    }
    button.setBookmark(bookmarkIn({RemoteSyncState::Behind{"origin", 1}}), false);
    EXPECT_TRUE(button.isEnabled());
}

}  // namespace
}  // namespace vorda
