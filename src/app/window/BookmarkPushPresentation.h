#pragma once

#include <optional>
#include <string>

#include "jjkit/model/Bookmark.h"

namespace vorda {

/// How the push entry of the Bookmark menu and the toolbar reads for a
/// bookmark, by how it stands against its remote. A bookmark that the remote
/// has moved past (behind or diverged) can only be pushed by force, and says
/// so before the user confirms.
struct BookmarkPushPresentation {
    /// "Push", "Publish to Remote", "Push (Up to Date)", "Push 2 Commits" or
    /// "Force Push"; "Push" with no bookmark.
    static std::string menuTitle(const std::optional<Bookmark>& bookmark);
    /// One sentence on what the push would do.
    static std::string tooltip(const std::optional<Bookmark>& bookmark);
    /// Whether pushing rewrites the remote (behind or diverged).
    static bool isForcePush(const std::optional<Bookmark>& bookmark);
    /// Whether the remote already has the local tip.
    static bool isUpToDate(const std::optional<Bookmark>& bookmark);
};

}  // namespace vorda
