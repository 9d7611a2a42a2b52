#pragma once

#include <cstdint>
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

/// Counts the commits one tip has that another lacks, walking only the part
/// of the history where the two differ. Commits are visited newest first by
/// generation (one more than the highest parent), each painted with the tips
/// that reach it; a commit's paint is final when it is taken, since all its
/// children come before it. The walk stops once every commit still queued is
/// reached by both tips: everything below is shared.
class AheadBehindCounter {
  public:
    explicit AheadBehindCounter(const CommitGraph& graph);

    struct Counts {
        std::int64_t ahead = 0;
        std::int64_t behind = 0;
    };
    Counts count(CommitGraph::Index local, CommitGraph::Index remote);

  private:
    const CommitGraph& graph_;
    std::vector<std::uint32_t> generation_;
    std::vector<std::uint8_t> paint_;
    std::vector<std::uint32_t> taken_;
    std::uint32_t round_ = 0;
};

/// `upstream(remote)` when a remote carries the bookmark, else `local`.
BookmarkOrigin determineOrigin(const std::string& name, const RemoteTips& remoteTips);

/// How the one local tip stands against the remote tip, counting the loaded
/// commits each has that the other lacks. Not exactly one local tip, or no
/// remote: `untracked`. Only the first remote found counts.
RemoteSyncState determineRemoteSyncState(const std::string& name,
                                         const std::vector<CommitGraph::Index>& localTips,
                                         const RemoteTips& remoteTips, AheadBehindCounter& counter);

}  // namespace vorda
