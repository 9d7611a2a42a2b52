#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "jjkit/graph/CommitGraph.h"
#include "jjkit/model/Bookmark.h"
#include "jjkit/model/Composition.h"

namespace vorda {

/// Computes each workspace's composition and the role of every bookmark in it.
///
/// A workspace's composition commit is its own composition point (by change ID,
/// from the settings) or else the legacy apex, counted only when the workspace
/// descends from it. A bookmark whose tip the workspace reaches is a direct
/// parent of its own composition, or inherited (through trunk or another
/// bookmark) and not switchable by itself; a bookmark composed in only up to an
/// older commit is partial; anything else is absent.
class WorkspaceStatesBuilder {
  public:
    WorkspaceStatesBuilder(const CommitGraph& graph,
                           const std::map<std::string, Bookmark>& bookmarks,
                           const std::optional<std::string>& trunkCommitID);

    std::map<std::string, WorkspaceState> build(
        const std::vector<JJWorkspace>& refs,
        const std::map<std::string, std::string>& compositionChangeIDs,
        std::optional<CommitGraph::Index> legacyApex);

  private:
    using Index = CommitGraph::Index;

    std::vector<BaseAnchor> immutableFrontier(Index start) const;
    std::set<std::string> mutableAncestry(Index start) const;
    std::optional<Index> compositionCommit(const JJWorkspace& workspace,
                                           const std::vector<bool>& ancestors,
                                           const std::map<std::string, std::string>& explicitIDs,
                                           std::optional<Index> legacyApex) const;
    std::map<std::string, BookmarkInclusionRole> bookmarkRoles(const std::vector<bool>& ancestors,
                                                               std::optional<Index> composition,
                                                               const WorkspaceComposition& result);
    std::optional<std::string> inheritedVia(const std::string& bookmark, Index tip,
                                            const std::vector<bool>& ancestors);
    const std::vector<bool>& ancestorsOf(Index commit);

    const CommitGraph& graph_;
    const std::map<std::string, Bookmark>& bookmarks_;
    const std::optional<std::string>& trunkCommitID_;
    // Views into the bookmarks, which outlive the builder.
    std::unordered_map<std::string_view, std::string_view> tipOwner_;
    std::unordered_map<std::string_view, std::string_view> commitOwner_;
    std::vector<std::pair<std::string_view, std::optional<Index>>> tips_;
    std::map<Index, std::vector<bool>> ancestorCache_;
    CommitGraph::Visited scratch_;  // reused by ancestorsOf
};

}  // namespace vorda
