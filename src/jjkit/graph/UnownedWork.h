#pragma once

#include <set>
#include <string>
#include <vector>

#include "jjkit/graph/BookmarkOwnership.h"
#include "jjkit/graph/CommitGraph.h"
#include "jjkit/model/Bookmark.h"

namespace vorda {

/// Commits that belong to no lane, and which of them are one-off work.
///
/// Someone else's published work (below a remote bookmark) and the unnamed
/// stacks under workspaces are not one-offs; neither is the apex nor a
/// composition point. One's own commit stays even when a bookmark claimed it.
class UnownedWork {
  public:
    /// `isComposition` marks the commits of composition points. All four
    /// must outlive this.
    UnownedWork(const CommitGraph& graph, const Claims& claimed,
                const std::vector<bool>& isApexLike, const std::vector<bool>& isComposition);

    /// Mutable, unclaimed commits reached from commits carrying a remote
    /// bookmark, without passing through anything else.
    std::vector<bool> remoteBookmarkOwnership() const;

    /// The same walk from the workspaces' commits, also stopping at
    /// composition points.
    std::vector<bool> workspaceStacks(const std::vector<CommitGraph::Index>& starts) const;

    /// One-off commits, newest first by committer time.
    std::vector<OrphanWIP> buildOrphanWIPs(const std::vector<bool>& remoteOwned,
                                           const std::vector<bool>& workspaceStack,
                                           const std::set<std::string>& mineChangeIDs,
                                           const std::vector<std::string>& bookmarkNames) const;

  private:
    /// Fills a blank `orphan` from the commit at `index`.
    void fillOrphan(OrphanWIP& orphan, CommitGraph::Index index, bool isMine,
                    const std::vector<std::string>& bookmarkNames) const;
    std::vector<bool> walkUnclaimed(const std::vector<CommitGraph::Index>& starts,
                                    bool stopAtCompositions) const;

    const CommitGraph& graph_;
    const Claims& claimed_;
    const std::vector<bool>& isApexLike_;
    const std::vector<bool>& isComposition_;
};

}  // namespace vorda
