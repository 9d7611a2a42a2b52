// The view model's steps for the hidden bookmarks panel: bringing an item
// onto the board, tracking a remote bookmark, and the revset search's read.
#include <algorithm>

#include "app/viewmodel/RepoViewModel.h"

namespace vorda {

namespace {

/// The remote a bookmark comes from: its origin's, else the one it tracks.
std::string remoteOf(const Bookmark& bookmark) {
    if (const auto* upstream = std::get_if<BookmarkOrigin::Upstream>(&bookmark.origin.value)) {
        return upstream->remote;
    }
    return bookmark.remoteSyncState.remote().value_or(std::string());
}

}  // namespace

void RepoViewModel::trackRemoteBookmark(const Bookmark& bookmark, bool pin) {
    if (bookmark.commitIDs.empty()) {
        return;
    }
    send(RepoCommand::TrackRemoteBookmark{bookmark.name, remoteOf(bookmark),
                                          bookmark.commitIDs.front(), pin});
}

void RepoViewModel::pinFromHiddenPanel(const std::string& name) {
    const auto lanes = board_->availableOneOffLanes();
    const auto lane = std::find_if(lanes.begin(), lanes.end(),
                                   [&](const OneOffLane& l) { return l.displayName() == name; });
    if (lane != lanes.end()) {
        StringSet expanded = board_->expandedOneOffLaneIDs();
        expanded.insert(lane->id());
        board_->setExpandedOneOffLaneIDs(std::move(expanded));
        return;
    }
    if (board_->isUntrackedRemote(name)) {
        const auto& untracked = board_->untrackedRemoteBookmarks();
        const auto remote = std::find_if(untracked.begin(), untracked.end(),
                                         [&](const Bookmark& b) { return b.name == name; });
        trackRemoteBookmark(*remote, true);
        return;
    }
    // A hidden bookmark is neither pinned nor column-visible, so the toggle
    // pins it.
    send(RepoCommand::TogglePinned{name});
}

void RepoViewModel::loadBookmarkNames(const std::string& revset,
                                      std::function<void(const Outcome<StringSet>&)> done) {
    if (!repoSession_ || work_->isClosed()) {
        done({std::nullopt, "No repository is open."});
        return;
    }
    work_->runNewest(
        WorkKind::hiddenSearch,
        [session = repoSession_, revset] { return session->bookmarkNames(revset); },
        std::move(done));
}

}  // namespace vorda
