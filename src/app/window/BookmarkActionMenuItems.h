#pragma once

#include <optional>

#include "app/window/RepoCommandTarget.h"

class QMenu;

namespace vorda {

/// The entries that act on one bookmark, in the order the Bookmark menu, the
/// toolbar's bookmark menu and a column's context menu all show them:
/// "Rebase Onto…", "Squash into Single Commit", the push entry, the pull request
/// entries, pin, hide, "Tags", rename, delete and abandon.
///
/// Each entry needs a bookmark and a handler; without them every entry is
/// there but disabled, so the menu keeps its shape. A triggered entry calls
/// `perform` with its action and the bookmark as it was when the menu was
/// filled. Entry shortcuts act only while the menu is open; the application
/// menu widens them to its window.
struct BookmarkActionMenuItems {
    static void fill(QMenu* menu, const RepoViewModel* viewModel,
                     const std::optional<Bookmark>& bookmark, const BookmarkActionHandler& perform);
};

/// The entries that act on one commit: "Describe Commit…", "Split
/// Commit…" and, for a commit in conflict, "Review Conflicts…"; disabled
/// without a commit or a handler.
struct CommitActionMenuItems {
    static void fill(QMenu* menu, const std::optional<JJCommit>& commit,
                     const CommitActionHandler& perform);
};

/// Takes every entry out of `menu` and deletes the entries and submenus it
/// owns later, not now: the entry being triggered may be among them.
void discardMenuEntries(QMenu* menu);

}  // namespace vorda
