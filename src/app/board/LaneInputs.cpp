#include "app/board/LaneInputs.h"

#include <algorithm>
#include <chrono>

#include "app/board/SelectionStore.h"
#include "app/column/RelativeTime.h"
#include "app/viewmodel/BoardModel.h"
#include "feature/lanes/WorkspaceLaneProjection.h"

namespace vorda {

namespace {

std::vector<SharedCommit> shared(const std::vector<JJCommit>& commits) {
    std::vector<SharedCommit> result;
    result.reserve(commits.size());
    for (const auto& commit : commits) {
        result.emplace_back(commit);
    }
    return result;
}

std::vector<SharedCommit> lookup(const RepoState& state, const std::vector<std::string>& ids) {
    std::vector<SharedCommit> result;
    for (const auto& id : ids) {
        if (const auto found = state.commits.find(id); found != state.commits.end()) {
            result.push_back(found->second);
        }
    }
    return result;
}

}  // namespace

LaneInputs::LaneInputs(const BoardModel& board, const SelectionStore& selection)
    : viewModel_(board),
      selection_(selection),
      tips_(buildTips()),
      folded_(board.foldedOneOffLanesByBookmark()) {}

std::map<std::string, std::vector<InlineBookmarkTip>> LaneInputs::buildTips() const {
    std::map<std::string, std::vector<InlineBookmarkTip>> tips;
    const auto* state = viewModel_.repoState();
    if (state == nullptr) {
        return tips;
    }
    for (const auto& [name, bookmark] : state->bookmarks) {
        if (bookmark.commitIDs.empty()) {
            continue;
        }
        const auto& tipID = bookmark.commitIDs.front();
        const auto commit = state->commits.find(tipID);
        InlineBookmarkTip tip;
        tip.name = name;
        tip.isLocal = !bookmark.origin.isUpstream();
        tip.isRealBookmark = true;
        tip.tipCommitID = tipID;
        tip.isColumnHidden = !viewModel_.isBookmarkColumnVisible(name);
        tip.isBehindTrunk = viewModel_.isBookmarkBehindTrunk(bookmark);
        tip.isAdvancing = viewModel_.advancingCommitIDs().contains(tipID);
        tip.isImmutable = commit != state->commits.end() && commit->second->immutable;
        tips[tipID].push_back(std::move(tip));
    }
    for (auto& [id, list] : tips) {
        std::sort(list.begin(), list.end(),
                  [](const auto& a, const auto& b) { return a.name < b.name; });
    }
    return tips;
}

void LaneInputs::markSelection(BookmarkColumnInput& input) const {
    input.isSelected = selection_.selectionColumn() == input.selectionColumnID;
    // The board puts the diff column behind the selected column.
    input.isDiffShown = input.isSelected && selection_.isDiffVisible();
    if (input.isSelected) {
        input.selectedChangeIDs = {selection_.selectedCommitIDs().begin(),
                                   selection_.selectedCommitIDs().end()};
    }
    input.advancingCommitIDs = viewModel_.advancingCommitIDs();
    // Only the tips under this lane's own rows: the column looks them up by
    // row, and a smaller map keeps a change elsewhere from redrawing it.
    input.inlineBookmarkTips.clear();
    for (const auto* rows :
         {&input.commits, &input.stackedCommits, &input.baseCommits, &input.ancestorCommits}) {
        for (const auto& commit : *rows) {
            if (const auto tips = tips_.find(commit->commitID); tips != tips_.end()) {
                input.inlineBookmarkTips.insert(*tips);
            }
        }
    }
    input.githubAvailable = viewModel_.githubAvailable();
}

BookmarkColumnInput LaneInputs::bookmarkLane(const Bookmark& bookmark) const {
    BookmarkColumnInput input;
    input.kind = BookmarkColumnInput::LaneKind::bookmark;
    input.selectionColumnID = ColumnID::bookmark(bookmark.name);
    input.bookmark = bookmark;
    const auto lane = viewModel_.lanePresentation(bookmark.name);
    input.commits = lane.commits;
    input.conflictPartners = lane.conflictPartners;
    input.isPinned = lane.isPinned;
    input.isMergedIntoTrunk = lane.isMergedIntoTrunk;
    input.routingRules = lane.routingRules;
    input.isBehindTrunk = viewModel_.isBookmarkBehindTrunk(bookmark);
    input.offersLocalStackRebase = true;
    input.isExpanded = viewModel_.expandedLanes().contains(bookmark.name);
    if (const auto ancestors = viewModel_.laneAncestors().find(bookmark.name);
        ancestors != viewModel_.laneAncestors().end()) {
        input.ancestorCommits = shared(ancestors->second);
    }
    if (const auto total = viewModel_.laneAncestorTotals().find(bookmark.name);
        total != viewModel_.laneAncestorTotals().end()) {
        input.ancestorTotal = static_cast<int>(total->second);
    }
    if (const auto pr = viewModel_.prStatuses().find(bookmark.name);
        pr != viewModel_.prStatuses().end()) {
        input.pr = pr->second;
    }
    if (const auto* state = viewModel_.repoState()) {
        if (const auto& workspace = viewModel_.selectedWorkspaceName()) {
            input.inclusionRole = state->inclusionRole(bookmark.name, *workspace);
            input.isEnabled =
                !std::holds_alternative<BookmarkInclusionRole::Absent>(input.inclusionRole->value);
        }
        for (const auto& [name, workspace] : state->workspaces) {
            input.workspacePlacements.push_back({name, state->inclusionRole(bookmark.name, name)});
        }
    }
    // A one-off stacked on this bookmark alone is drawn under the lane.
    if (const auto folded = folded_.find(bookmark.name); folded != folded_.end()) {
        input.stackedCommits = shared(folded->second.commits);
    }
    input.compositionPoints = viewModel_.workspaceCompositionPoints(bookmark.name);
    markSelection(input);
    return input;
}

BookmarkColumnInput LaneInputs::workingCopyLane(
    const std::optional<std::string>& workspaceName) const {
    BookmarkColumnInput input;
    input.kind = BookmarkColumnInput::LaneKind::workingCopyStack;
    input.workspaceName = workspaceName;
    input.selectionColumnID = ColumnID::workingCopyStack(workspaceName);
    input.title = workspaceName.value_or("working copy");
    input.bookmark.name = input.title;
    const auto* state = viewModel_.repoState();
    if (state != nullptr && workspaceName) {
        if (const auto workspace = state->workspaces.find(*workspaceName);
            workspace != state->workspaces.end()) {
            const auto projection = WorkspaceLaneProjection::build(workspace->second, *state);
            auto commits = projection.localCommits;
            if (projection.boundary) {
                commits.push_back(*projection.boundary);
            }
            input.commits = shared(commits);
            input.baseCommits = shared(projection.inputs);
            input.isBehindTrunk = viewModel_.workspaceIsBehindTrunk(*workspaceName);
            input.offersLocalStackRebase = true;
            input.isActive = viewModel_.selectedWorkspaceName() == workspaceName;
        }
    }
    markSelection(input);
    return input;
}

BookmarkColumnInput LaneInputs::oneOffLane(const OneOffLane& lane) const {
    BookmarkColumnInput input;
    input.kind = BookmarkColumnInput::LaneKind::oneOff;
    input.selectionColumnID = ColumnID::oneOff(lane.id());
    input.title = lane.displayName();
    input.bookmark = lane.bookmark();
    input.commits = shared(lane.commits);
    input.isEnabled = viewModel_.isOneOffLaneEnabled(lane);
    markSelection(input);
    return input;
}

std::optional<BookmarkColumnInput> LaneInputs::trunkLane() const {
    const auto* state = viewModel_.repoState();
    const auto name = viewModel_.trunkBookmarkName();
    if (state == nullptr || !name) {
        return std::nullopt;
    }
    const auto bookmark = state->bookmarks.find(*name);
    if (bookmark == state->bookmarks.end()) {
        return std::nullopt;
    }
    BookmarkColumnInput input = bookmarkLane(bookmark->second);
    input.kind = BookmarkColumnInput::LaneKind::trunk;
    input.upstreamShortCommitID = viewModel_.lanePresentation(*name).upstreamShortCommitID;
    input.isBehindTrunk = viewModel_.selectedWorkspaceName() &&
                          viewModel_.workspaceIsBehindTrunk(*viewModel_.selectedWorkspaceName());
    if (const auto& fetched = viewModel_.lastFetchAt()) {
        const auto now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
        input.fetchRelativeTime =
            relativeTimeText(std::chrono::floor<std::chrono::seconds>(*fetched), now).toStdString();
    }
    if (input.commits.empty()) {
        input.commits = lookup(*state, bookmark->second.commitIDs);
        markSelection(input);
    }
    return input;
}

}  // namespace vorda
