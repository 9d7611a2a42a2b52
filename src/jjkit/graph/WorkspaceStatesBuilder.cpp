#include "jjkit/graph/WorkspaceStatesBuilder.h"

#include <algorithm>

#include "jjkit/model/TrunkNames.h"

namespace vorda {

WorkspaceStatesBuilder::WorkspaceStatesBuilder(const CommitGraph& graph,
                                               const std::map<std::string, Bookmark>& bookmarks,
                                               const std::optional<std::string>& trunkCommitID)
    : graph_(graph), bookmarks_(bookmarks), trunkCommitID_(trunkCommitID), scratch_(graph.size()) {
    for (const auto& [name, bookmark] : bookmarks_) {
        if (!bookmark.commitIDs.empty()) {
            tipOwner_.try_emplace(bookmark.commitIDs.front(), name);
        }
        for (const auto& commitID : bookmark.commitIDs) {
            commitOwner_.try_emplace(commitID, name);
        }
        tips_.emplace_back(name, bookmark.commitIDs.empty()
                                     ? std::nullopt
                                     : graph_.find(bookmark.commitIDs.front()));
    }
}

const std::vector<bool>& WorkspaceStatesBuilder::ancestorsOf(Index commit) {
    auto found = ancestorCache_.find(commit);
    if (found != ancestorCache_.end()) {
        return found->second;
    }
    std::vector<bool> marks(graph_.size(), false);
    graph_.breadthFirst({commit}, scratch_, [&](Index current) {
        marks[current] = true;
        return true;
    });
    return ancestorCache_.emplace(commit, std::move(marks)).first->second;
}

std::set<std::string> WorkspaceStatesBuilder::mutableAncestry(Index start) const {
    std::set<std::string> ancestry;
    CommitGraph::Visited visited(graph_.size());
    graph_.breadthFirst({start}, visited, [&](Index current) {
        if (graph_.isImmutable(current)) {
            return false;
        }
        ancestry.insert(graph_.commit(current).commitID);
        return true;
    });
    return ancestry;
}

std::vector<BaseAnchor> WorkspaceStatesBuilder::immutableFrontier(Index start) const {
    std::vector<BaseAnchor> anchors;
    CommitGraph::Visited visited(graph_.size());
    graph_.breadthFirst({start}, visited, [&](Index current) {
        if (!graph_.isImmutable(current)) {
            return true;
        }
        const JJCommit& commit = graph_.commit(current);
        const auto owner = tipOwner_.find(commit.commitID);
        anchors.push_back(BaseAnchor::at(
            commit, owner == tipOwner_.end() ? std::nullopt : std::optional(owner->second)));
        return false;
    });
    return anchors;
}

std::optional<CommitGraph::Index> WorkspaceStatesBuilder::compositionCommit(
    const JJWorkspace& workspace, const std::vector<bool>& ancestors,
    const std::map<std::string, std::string>& explicitIDs, std::optional<Index> legacyApex) const {
    if (const auto wanted = explicitIDs.find(workspace.name); wanted != explicitIDs.end()) {
        for (Index index = 0; index < graph_.size(); ++index) {
            if (ancestors[index] && graph_.commit(index).changeID == wanted->second) {
                return index;
            }
        }
    }
    if (legacyApex && ancestors[*legacyApex]) {
        return legacyApex;
    }
    return std::nullopt;
}

std::optional<std::string> WorkspaceStatesBuilder::inheritedVia(
    const std::string& bookmark, Index tip, const std::vector<bool>& ancestors) {
    for (const auto& [name, otherTip] : tips_) {
        if (name == bookmark || !otherTip || *otherTip == tip || !ancestors[*otherTip]) {
            continue;
        }
        if (ancestorsOf(*otherTip)[tip]) {
            return std::string(name);
        }
    }
    return std::nullopt;
}

std::map<std::string, BookmarkInclusionRole> WorkspaceStatesBuilder::bookmarkRoles(
    const std::vector<bool>& ancestors, std::optional<Index> composition,
    const WorkspaceComposition& result) {
    std::map<std::string, BookmarkInclusionRole> roles;
    const bool materialized =
        std::holds_alternative<WorkspaceComposition::Materialized>(result.kind);
    for (const auto& [name, bookmark] : bookmarks_) {
        const auto tip =
            bookmark.commitIDs.empty() ? std::nullopt : graph_.find(bookmark.commitIDs.front());
        if (!tip || !ancestors[*tip]) {
            BookmarkInclusionRole role = BookmarkInclusionRole::absent();
            if (composition) {
                for (const auto& parent : graph_.commit(*composition).parents) {
                    const auto owner = commitOwner_.find(parent);
                    const auto tipOfParent = tipOwner_.find(parent);
                    if (owner != commitOwner_.end() && owner->second == name &&
                        (tipOfParent == tipOwner_.end() || tipOfParent->second != name)) {
                        role = BookmarkInclusionRole::partial(parent);
                        break;
                    }
                }
            }
            roles.emplace(name, std::move(role));
        } else if (materialized && result.directParentBookmarks.contains(name)) {
            roles.emplace(name, BookmarkInclusionRole::directParent());
        } else if (isTrunkName(name)) {
            roles.emplace(name, BookmarkInclusionRole::inherited(std::nullopt));
        } else {
            roles.emplace(name,
                          BookmarkInclusionRole::inherited(inheritedVia(name, *tip, ancestors)));
        }
    }
    return roles;
}

std::map<std::string, WorkspaceState> WorkspaceStatesBuilder::build(
    const std::vector<JJWorkspace>& refs,
    const std::map<std::string, std::string>& compositionChangeIDs,
    std::optional<Index> legacyApex) {
    // Every workspace's ancestors first: whether a composition commit is
    // shared depends on all of them.
    std::vector<std::optional<Index>> heads;
    std::vector<const std::vector<bool>*> ancestors;
    heads.reserve(refs.size());
    ancestors.reserve(refs.size());
    for (const auto& ref : refs) {
        heads.push_back(graph_.find(ref.commitID));
    }
    for (const auto& head : heads) {
        ancestors.push_back(head ? &ancestorsOf(*head) : nullptr);
    }

    std::map<std::string, WorkspaceState> states;
    for (std::size_t index = 0; index < refs.size(); ++index) {
        WorkspaceState state;
        state.workspace = refs[index];
        const auto& head = heads[index];
        const std::vector<bool> empty(graph_.size(), false);
        const std::vector<bool>& reach = ancestors[index] != nullptr ? *ancestors[index] : empty;
        std::optional<Index> composition;
        if (head) {
            state.ancestryCommitIDs = mutableAncestry(*head);
            state.baseAnchors = immutableFrontier(*head);
            state.hasConflict = graph_.commit(*head).conflict;
            composition = compositionCommit(refs[index], reach, compositionChangeIDs, legacyApex);
        }
        if (composition) {
            const JJCommit& commit = graph_.commit(*composition);
            for (const Index parent : graph_.parents(*composition)) {
                const auto owner = tipOwner_.find(graph_.commit(parent).commitID);
                if (!graph_.isImmutable(parent) && owner != tipOwner_.end()) {
                    state.composition.directParentBookmarks.emplace(owner->second);
                }
            }
            state.composition.attachments = CompositionAttachment::project(
                commit.parents,
                [&](const std::string& id) -> const JJCommit* {
                    const auto found = graph_.find(id);
                    return found ? &graph_.commit(*found) : nullptr;
                },
                trunkCommitID_);
            const auto sharers = std::count_if(
                ancestors.begin(), ancestors.end(),
                [&](auto* reached) { return reached != nullptr && (*reached)[*composition]; });
            if (sharers < 2) {
                state.composition.kind =
                    WorkspaceComposition::Materialized{commit.changeID, commit.commitID};
            } else {
                state.composition.kind =
                    WorkspaceComposition::LegacyShared{commit.changeID, commit.commitID};
                state.composition.directParentBookmarks.clear();
            }
        }
        state.bookmarkRoles = bookmarkRoles(reach, composition, state.composition);
        states.emplace(state.workspace.name, std::move(state));
    }
    return states;
}

}  // namespace vorda
