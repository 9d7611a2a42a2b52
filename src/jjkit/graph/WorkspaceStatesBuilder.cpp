#include "jjkit/graph/WorkspaceStatesBuilder.h"

#include <algorithm>

namespace vorda {
namespace {

using Index = CommitGraph::Index;

std::string_view nameOf(const BookmarkTable& table, std::int32_t owner) {
    return table.names[static_cast<std::size_t>(owner)];
}

}  // namespace

WorkspaceStatesBuilder::WorkspaceStatesBuilder(const CommitGraph& graph, const BookmarkTable& table,
                                               const std::vector<std::vector<Index>>& shown,
                                               const std::optional<std::string>& trunkCommitID)
    : graph_(graph),
      table_(table),
      shown_(shown),
      trunkCommitID_(trunkCommitID),
      tipOwner_(graph.size(), unclaimed),
      commitOwner_(graph.size(), unclaimed),
      scratch_(graph.size()) {
    // Positions run in name order, so the first claim is the first name's.
    for (Position bookmark = 0; bookmark < shown_.size(); ++bookmark) {
        const auto owner = static_cast<std::int32_t>(bookmark);
        if (const auto tip = tipOf(bookmark); tip && tipOwner_[*tip] == unclaimed) {
            tipOwner_[*tip] = owner;
        }
        for (const Index commit : shown_[bookmark]) {
            if (commitOwner_[commit] == unclaimed) {
                commitOwner_[commit] = owner;
            }
        }
    }
}

std::optional<Index> WorkspaceStatesBuilder::tipOf(Position bookmark) const {
    const auto& shown = shown_[bookmark];
    return shown.empty() ? std::nullopt : std::optional(shown.front());
}

const std::vector<bool>& WorkspaceStatesBuilder::ancestorsOf(Index commit) {
    auto found = ancestorCache_.find(commit);
    if (found != ancestorCache_.end()) {
        return found->second;
    }
    std::vector<bool> marks(graph_.size(), false);
    graph_.breadthFirst(commit, scratch_, [&](Index current) {
        marks[current] = true;
        return true;
    });
    return ancestorCache_.emplace(commit, std::move(marks)).first->second;
}

std::set<std::string> WorkspaceStatesBuilder::mutableAncestry(Index start) {
    std::set<std::string> ancestry;
    graph_.breadthFirst(start, scratch_, [&](Index current) {
        if (graph_.isImmutable(current)) {
            return false;
        }
        ancestry.insert(graph_.commit(current).commitID);
        return true;
    });
    return ancestry;
}

std::vector<BaseAnchor> WorkspaceStatesBuilder::immutableFrontier(Index start) {
    std::vector<BaseAnchor> anchors;
    graph_.breadthFirst(start, scratch_, [&](Index current) {
        if (!graph_.isImmutable(current)) {
            return true;
        }
        const std::int32_t owner = tipOwner_[current];
        anchors.push_back(BaseAnchor::at(
            graph_.commit(current),
            owner == unclaimed ? std::nullopt : std::optional(nameOf(table_, owner))));
        return false;
    });
    return anchors;
}

std::optional<Index> WorkspaceStatesBuilder::compositionCommit(
    const JJWorkspace& workspace, const std::vector<bool>& ancestors,
    const std::map<std::string, std::string>& explicitIDs,
    const std::map<std::string_view, std::vector<Index>>& commitsOfChange,
    std::optional<Index> legacyApex) const {
    if (const auto wanted = explicitIDs.find(workspace.name); wanted != explicitIDs.end()) {
        for (const Index index : commitsOfChange.at(wanted->second)) {
            if (ancestors[index]) {
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
    Position bookmark, Index tip, const std::vector<bool>& ancestors) {
    for (Position other = 0; other < shown_.size(); ++other) {
        const auto otherTip = tipOf(other);
        if (other == bookmark || !otherTip || *otherTip == tip || !ancestors[*otherTip]) {
            continue;
        }
        if (ancestorsOf(*otherTip)[tip]) {
            return table_.names[other];
        }
    }
    return std::nullopt;
}

std::map<std::string, BookmarkInclusionRole> WorkspaceStatesBuilder::bookmarkRoles(
    const std::vector<bool>& ancestors, std::optional<Index> composition,
    const WorkspaceComposition& result) {
    // A bookmark the workspace does not reach is partial when a parent of the
    // composition is one of its commits other than its tip: the first such
    // parent for each bookmark, in parent order.
    std::vector<std::pair<std::int32_t, Index>> partials;
    if (composition) {
        for (const Index parent : graph_.parents(*composition)) {
            const std::int32_t owner = commitOwner_[parent];
            const bool known = std::any_of(partials.begin(), partials.end(),
                                           [&](const auto& entry) { return entry.first == owner; });
            if (owner != unclaimed && tipOwner_[parent] != owner && !known) {
                partials.emplace_back(owner, parent);
            }
        }
    }
    std::map<std::string, BookmarkInclusionRole> roles;
    const bool materialized =
        std::holds_alternative<WorkspaceComposition::Materialized>(result.kind);
    for (Position bookmark = 0; bookmark < shown_.size(); ++bookmark) {
        const std::string& name = table_.names[bookmark];
        const auto tip = tipOf(bookmark);
        BookmarkInclusionRole role;
        if (!tip || !ancestors[*tip]) {
            const auto partial =
                std::find_if(partials.begin(), partials.end(), [&](const auto& entry) {
                    return entry.first == static_cast<std::int32_t>(bookmark);
                });
            role = partial == partials.end()
                       ? BookmarkInclusionRole::absent()
                       : BookmarkInclusionRole::partial(graph_.commit(partial->second).commitID);
        } else if (materialized && result.directParentBookmarks.contains(name)) {
            role = BookmarkInclusionRole::directParent();
        } else if (table_.isTrunk[bookmark]) {
            role = BookmarkInclusionRole::inherited(std::nullopt);
        } else {
            role = BookmarkInclusionRole::inherited(inheritedVia(bookmark, *tip, ancestors));
        }
        // Names come in ascending order, so each one goes at the end.
        roles.emplace_hint(roles.end(), name, std::move(role));
    }
    return roles;
}

std::map<std::string, WorkspaceState> WorkspaceStatesBuilder::build(
    const std::vector<JJWorkspace>& refs,
    const std::map<std::string, std::string>& compositionChangeIDs,
    const std::vector<bool>& isComposition, std::optional<Index> legacyApex) {
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
    // The commits of each composition change, ascending.
    std::map<std::string_view, std::vector<Index>> commitsOfChange;
    for (const auto& [workspace, changeID] : compositionChangeIDs) {
        commitsOfChange.try_emplace(changeID);
    }
    for (Index index = 0; index < graph_.size(); ++index) {
        if (isComposition[index]) {
            commitsOfChange.at(graph_.commit(index).changeID).push_back(index);
        }
    }

    std::map<std::string, WorkspaceState> states;
    const std::vector<bool> none(graph_.size(), false);
    for (std::size_t index = 0; index < refs.size(); ++index) {
        WorkspaceState state;
        state.workspace = refs[index];
        const auto& head = heads[index];
        const std::vector<bool>& reach = ancestors[index] != nullptr ? *ancestors[index] : none;
        std::optional<Index> composition;
        if (head) {
            state.ancestryCommitIDs = mutableAncestry(*head);
            state.baseAnchors = immutableFrontier(*head);
            state.hasConflict = graph_.commit(*head).conflict;
            composition = compositionCommit(refs[index], reach, compositionChangeIDs,
                                            commitsOfChange, legacyApex);
        }
        if (composition) {
            const JJCommit& commit = graph_.commit(*composition);
            for (const Index parent : graph_.parents(*composition)) {
                const std::int32_t owner = tipOwner_[parent];
                if (!graph_.isImmutable(parent) && owner != unclaimed) {
                    state.composition.directParentBookmarks.emplace(nameOf(table_, owner));
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
