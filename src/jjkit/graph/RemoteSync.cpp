#include "jjkit/graph/RemoteSync.h"

namespace vorda {

RemoteTips::RemoteTips(const CommitGraph& graph) {
    for (CommitGraph::Index index = 0; index < graph.size(); ++index) {
        for (const auto& ref : graph.commit(index).remoteBookmarks) {
            if (ref.remote && *ref.remote != "git") {
                first_.try_emplace(ref.name, Entry{index, *ref.remote});
            }
        }
    }
}

const RemoteTips::Entry* RemoteTips::find(const std::string& name) const {
    const auto found = first_.find(name);
    return found == first_.end() ? nullptr : &found->second;
}

BookmarkOrigin determineOrigin(const std::string& name, const RemoteTips& remoteTips) {
    if (const auto* entry = remoteTips.find(name)) {
        return BookmarkOrigin::upstream(entry->remote);
    }
    return BookmarkOrigin::local();
}

RemoteSyncState determineRemoteSyncState(const std::string& name,
                                         const std::vector<CommitGraph::Index>& localTips,
                                         const RemoteTips& remoteTips, const CommitGraph& graph,
                                         CommitGraph::Visited& localAncestors,
                                         CommitGraph::Visited& remoteAncestors) {
    const auto* remote = remoteTips.find(name);
    if (localTips.size() != 1 || remote == nullptr) {
        return {RemoteSyncState::Untracked{}};
    }
    const CommitGraph::Index local = localTips.front();
    if (local == remote->commit) {
        return {RemoteSyncState::UpToDate{remote->remote}};
    }
    graph.markAncestors(local, localAncestors);
    graph.markAncestors(remote->commit, remoteAncestors);
    std::int64_t ahead = 0;
    std::int64_t behind = 0;
    for (CommitGraph::Index index = 0; index < graph.size(); ++index) {
        const bool inLocal = localAncestors.contains(index);
        const bool inRemote = remoteAncestors.contains(index);
        ahead += inLocal && !inRemote ? 1 : 0;
        behind += inRemote && !inLocal ? 1 : 0;
    }
    if (ahead > 0 && behind > 0) {
        return {RemoteSyncState::Diverged{remote->remote, ahead, behind}};
    }
    if (behind > 0) {
        return {RemoteSyncState::Behind{remote->remote, behind}};
    }
    if (ahead > 0) {
        return {RemoteSyncState::Ahead{remote->remote, ahead}};
    }
    return {RemoteSyncState::UpToDate{remote->remote}};
}

}  // namespace vorda
