#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "jjkit/graph/BookmarkOwnership.h"
#include "jjkit/graph/CommitGraph.h"
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
    using Index = CommitGraph::Index;

    /// `shown` holds, for each bookmark of `table` by position, the commits its
    /// lane shows, tip first. All three must outlive the builder.
    WorkspaceStatesBuilder(const CommitGraph& graph, const BookmarkTable& table,
                           const std::vector<std::vector<Index>>& shown,
                           const std::optional<std::string>& trunkCommitID);

    /// `isComposition` marks the commits whose change is in
    /// `compositionChangeIDs`.
    std::map<std::string, WorkspaceState> build(
        const std::vector<JJWorkspace>& refs,
        const std::map<std::string, std::string>& compositionChangeIDs,
        const std::vector<bool>& isComposition, std::optional<Index> legacyApex);

  private:
    using Position = BookmarkTable::Position;

    std::vector<BaseAnchor> immutableFrontier(Index start);
    std::set<std::string> mutableAncestry(Index start);
    std::optional<Index> compositionCommit(
        const JJWorkspace& workspace, const std::vector<bool>& ancestors,
        const std::map<std::string, std::string>& explicitIDs,
        const std::map<std::string_view, std::vector<Index>>& commitsOfChange,
        std::optional<Index> legacyApex) const;
    std::map<std::string, BookmarkInclusionRole> bookmarkRoles(const std::vector<bool>& ancestors,
                                                               std::optional<Index> composition,
                                                               const WorkspaceComposition& result);
    std::optional<std::string> inheritedVia(Position bookmark, Index tip,
                                            const std::vector<bool>& ancestors);
    const std::vector<bool>& ancestorsOf(Index commit);
    /// The first commit the bookmark's lane shows, when it shows any.
    std::optional<Index> tipOf(Position bookmark) const;

    const CommitGraph& graph_;
    const BookmarkTable& table_;
    const std::vector<std::vector<Index>>& shown_;
    const std::optional<std::string>& trunkCommitID_;
    // For each commit, the first bookmark by name whose lane starts at it,
    // and the first whose lane shows it.
    Claims tipOwner_;
    Claims commitOwner_;
    std::map<Index, std::vector<bool>> ancestorCache_;
    CommitGraph::Visited scratch_;  // reused by every walk
};

}  // namespace vorda
