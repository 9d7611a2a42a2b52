// Talking to remotes: push, sync (fetch and push what is ahead), advancing
// trunk, and bringing a bookmark up to date with trunk.

#include <algorithm>

#include "feature/commands/SessionCommands.h"
#include "jjkit/support/Uuid.h"

namespace vorda::commands {
namespace {

bool needsForce(const RemoteSyncState& state) {
    return std::holds_alternative<RemoteSyncState::Behind>(state.value) ||
           std::holds_alternative<RemoteSyncState::Diverged>(state.value);
}

// The bookmark's own remote when it came from one; else the remote it is
// compared with; absent for a first push, so that jj chooses.
std::optional<std::string> pushRemote(const Bookmark& bookmark) {
    if (const auto* upstream = std::get_if<BookmarkOrigin::Upstream>(&bookmark.origin.value)) {
        return upstream->remote;
    }
    return bookmark.remoteSyncState.remote();
}

}  // namespace

RepoCommandResult performPush(RepoSession& session, const Bookmark& bookmark,
                              bool alreadyConfirmed) {
    if (std::holds_alternative<RemoteSyncState::UpToDate>(bookmark.remoteSyncState.value)) {
        return RepoCommandResult::toast(bookmark.name + " is already up to date");
    }
    if (needsForce(bookmark.remoteSyncState) && !alreadyConfirmed) {
        return RepoCommandResult::ForcePushRequired{
            ForcePushRequestData{makeUuid(), bookmark, bookmark.remoteSyncState}};
    }
    session.client().gitPush(bookmark.name, pushRemote(bookmark));
    if (!bookmark.commitIDs.empty()) {
        try {
            auto settings = session.settingsStore()
                                .settings(bookmark.name)
                                .value_or(BookmarkSettings::defaultFor(bookmark.origin));
            settings.lastPushedCommitID = bookmark.commitIDs.front();
            session.settingsStore().set(settings, bookmark.name);
        } catch (const std::exception&) {
            // The push happened; only the note of it is lost.
        }
    }
    return refreshed(session);
}

RepoCommandResult performSync(RepoSession& session) {
    session.client().gitFetch();
    auto snapshot = session.readSnapshot();
    const auto enabled = snapshot->repoState.boardEnabledBookmarkNames();
    // Sync publishes only what is plainly ahead: it never forces and never
    // pushes a bookmark for the first time. `bookmarks` is ordered by name.
    std::vector<Bookmark> ahead;
    for (const auto& [name, bookmark] : snapshot->repoState.bookmarks) {
        if (enabled.contains(name) &&
            std::holds_alternative<RemoteSyncState::Ahead>(bookmark.remoteSyncState.value)) {
            ahead.push_back(bookmark);
        }
    }
    for (const auto& bookmark : ahead) {
        performPush(session, bookmark, true);
    }
    if (!ahead.empty()) {
        snapshot = session.readSnapshot();
    }
    session.yieldSnapshot(snapshot);
    if (ahead.empty()) {
        return RepoCommandResult::toast("Fetch complete · nothing to push");
    }
    return RepoCommandResult::toast("Pushed " + counted(ahead.size(), "bookmark", "bookmarks"));
}

RepoCommandResult performAdvanceTrunk(RepoSession& session) {
    const auto snapshot = session.readSnapshot();
    const auto& bookmarks = snapshot->repoState.bookmarks;
    const auto found = snapshot->trunkBookmarkName ? bookmarks.find(*snapshot->trunkBookmarkName)
                                                   : bookmarks.end();
    if (found == bookmarks.end()) {
        return RepoCommandResult::toast("No trunk bookmark resolved");
    }
    const auto& trunk = found->second;
    const auto* behind = std::get_if<RemoteSyncState::Behind>(&trunk.remoteSyncState.value);
    if (behind == nullptr) {
        return RepoCommandResult::toast(trunk.name + " already up to date");
    }
    session.client().fastForwardBookmarkToRemote(trunk.name, behind->remote);
    return toastRefresh(session, "Advanced " + trunk.name);
}

RepoCommandResult performSyncWithTrunk(RepoSession& session, const Bookmark& bookmark) {
    const auto all = session.settingsStore().all();
    const auto found = all.find(bookmark.name);
    const auto settings =
        found != all.end() ? found->second : BookmarkSettings::defaultFor(bookmark.origin);
    if (settings.updateStrategy == UpdateStrategy::mergeIn) {
        session.client().syncBookmarkMerge(bookmark.name);
    } else {
        session.client().syncBookmarkRebase(bookmark.name);
    }
    return refreshed(session);
}

}  // namespace vorda::commands
