#include "app/viewmodel/BoardModel.h"

#include "app/viewmodel/ErrorLog.h"

namespace vorda {

void BoardModel::applySnapshot(const SnapshotRef& snapshot) {
    if (!snapshot) {
        return;
    }
    setSnapshot(snapshot);
    const auto& state = snapshot->repoState;
    if (!selectedWorkspaceName() || !state.workspaces.contains(*selectedWorkspaceName())) {
        OptionalText replacement = state.selectedWorkspaceName;
        if (!replacement || !state.workspaces.contains(*replacement)) {
            replacement = state.workspaces.empty() ? std::nullopt
                                                   : OptionalText(state.workspaces.begin()->first);
        }
        setSelectedWorkspaceName(replacement);
    }
    // A refresh mostly brings what is shown already: compare before copying,
    // the copy of a thousand lanes costs more than the comparison.
    if (snapshot->settingsByName != settingsByName()) {
        setSettingsByName(snapshot->settingsByName);
    }
    setTrunkCommitID(snapshot->trunkCommitID);
    if (snapshot->conflictedFiles != conflictedFiles()) {
        setConflictedFiles(snapshot->conflictedFiles);
    }
    if (snapshot->workingCopyDiff != workingCopyDiff()) {
        setWorkingCopyDiff(snapshot->workingCopyDiff);
    }
    if (snapshot->lanesByBookmark != lanesByBookmark()) {
        setLanesByBookmark(snapshot->lanesByBookmark);
    }
    if (!snapshot->prsByBookmark.empty() && snapshot->prsByBookmark != prStatuses()) {
        setPrStatuses(snapshot->prsByBookmark);
    }
}

void BoardModel::setSnapshot(SnapshotRef snapshot) {
    const bool same = snapshot_ && snapshot &&
                      (snapshot_ == snapshot || snapshot_->repoState == snapshot->repoState);
    snapshot_ = std::move(snapshot);
    if (same) {
        // The newer snapshot is kept for its other fields; nothing the
        // state drives has to be drawn again.
        return;
    }
    dropStateCaches();
    Q_EMIT changed();
}

void BoardModel::dropStateCaches() {
    mutableBookmarksCache_.reset();
    boardVisibilityCache_.reset();
    untrackedRemoteBookmarksCache_.reset();
    oneOffLanesCache_.reset();
    stackedOneOffLanesCache_.reset();
}

void BoardModel::setErrorMessage(OptionalText value) {
    logErrorField("errorMessage", errorMessage(), value);
    setErrorMessageField(std::move(value));
}

void BoardModel::setSettingsByName(SettingsByName value) {
    if (value != settingsByName()) {
        allTagsCache_.reset();
        boardVisibilityCache_.reset();
        setSettingsByNameField(std::move(value));
    }
}

void BoardModel::setFilterText(std::string value) {
    if (value != filterText()) {
        boardVisibilityCache_.reset();
        setFilterTextField(std::move(value));
    }
}

void BoardModel::setSelectedTagFilters(StringSet value) {
    if (value != selectedTagFilters()) {
        boardVisibilityCache_.reset();
        setSelectedTagFiltersField(std::move(value));
    }
}

void BoardModel::setSelectedWorkspaceName(OptionalText value) {
    if (value != selectedWorkspaceName()) {
        boardVisibilityCache_.reset();
        setSelectedWorkspaceNameField(std::move(value));
    }
}

bool BoardModel::toggleLane(const std::string& name) {
    StringSet lanes = expandedLanes();
    if (lanes.erase(name) > 0) {
        setExpandedLanes(std::move(lanes));
        CommitsByName ancestors = laneAncestors();
        ancestors.erase(name);
        setLaneAncestors(std::move(ancestors));
        TotalsByName totals = laneAncestorTotals();
        totals.erase(name);
        setLaneAncestorTotals(std::move(totals));
        return false;
    }
    lanes.insert(name);
    setExpandedLanes(std::move(lanes));
    return true;
}

void BoardModel::toggleOneOffLaneExpanded(const std::string& changeID) {
    StringSet ids = expandedOneOffLaneIDs();
    if (ids.erase(changeID) == 0) {
        ids.insert(changeID);
    }
    setExpandedOneOffLaneIDs(std::move(ids));
}

void BoardModel::addLaneAncestors(const std::string& name, const std::vector<JJCommit>& commits,
                                  std::optional<std::int64_t> total) {
    if (!expandedLanes().contains(name)) {
        return;
    }
    CommitsByName ancestors = laneAncestors();
    auto& list = ancestors[name];
    // A page that overlaps what is shown (the lane moved meanwhile) adds
    // only the commits not listed yet.
    StringSet known;
    for (const auto& commit : list) {
        known.insert(commit.commitID);
    }
    bool reachedRoot = false;
    for (const auto& commit : commits) {
        // The root commit is not history anybody wrote.
        const bool isRoot = commit.commitID.find_first_not_of('0') == std::string::npos;
        reachedRoot = reachedRoot || isRoot;
        if (!isRoot && known.insert(commit.commitID).second) {
            list.push_back(commit);
        }
    }
    // The count includes the root, which is never listed: once a page has
    // reached it, everything there is to show is loaded.
    if (reachedRoot) {
        total = static_cast<std::int64_t>(list.size());
    }
    setLaneAncestors(std::move(ancestors));
    if (total) {
        TotalsByName totals = laneAncestorTotals();
        totals[name] = *total;
        setLaneAncestorTotals(std::move(totals));
    }
}

void BoardModel::markAdvancing(const StringSet& commitIDs, bool advancing) {
    if (commitIDs.empty()) {
        return;
    }
    StringSet ids = advancingCommitIDs();
    for (const auto& id : commitIDs) {
        if (advancing) {
            ids.insert(id);
        } else {
            ids.erase(id);
        }
    }
    setAdvancingCommitIDs(std::move(ids));
}

}  // namespace vorda
