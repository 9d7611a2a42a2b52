#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "jjkit/graph/CommitGraph.h"
#include "jjkit/model/Bookmark.h"

namespace vorda {

/// Where each bookmark name first appears on a real remote (never "git"),
/// scanning the commits in list order: the commit and the remote's name.
class RemoteTips {
  public:
    explicit RemoteTips(const CommitGraph& graph);

    struct Entry {
        CommitGraph::Index commit = 0;
        std::string remote;
    };
    const Entry* find(const std::string& name) const;

  private:
    std::unordered_map<std::string, Entry> first_;
};

/// `upstream(remote)` when a remote carries the bookmark, else `local`.
BookmarkOrigin determineOrigin(const std::string& name, const RemoteTips& remoteTips);

/// How the one local tip stands against the remote tip, counting the loaded
/// commits each has that the other lacks. Not exactly one local tip, or no
/// remote: `untracked`. Only the first remote found counts.
RemoteSyncState determineRemoteSyncState(const std::string& name,
                                         const std::vector<CommitGraph::Index>& localTips,
                                         const RemoteTips& remoteTips, const CommitGraph& graph,
                                         CommitGraph::Visited& localAncestors,
                                         CommitGraph::Visited& remoteAncestors);

}  // namespace vorda
