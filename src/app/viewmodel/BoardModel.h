#pragma once

#include <QObject>
#include <map>
#include <optional>
#include <vector>

#include "app/viewmodel/BoardLists.h"
#include "app/viewmodel/ObservableField.h"
#include "app/viewmodel/ViewModelTypes.h"

namespace vorda {

/// What the board shows: the last applied snapshot, the user's filter, tags,
/// workspace and expansion, the loaded lane history, and the lists derived
/// from them. Lives on the GUI thread; `changed()` fires once per field that
/// really changed, and the board re-renders (batched) on it.
class BoardModel : public QObject {
    Q_OBJECT

  public:
    /// Page size of a trunk lane's history.
    static constexpr int lanePageSize = 30;

    explicit BoardModel(QObject* parent = nullptr) : QObject(parent) {}

    /// Applies a snapshot: the state and the fields that come from it. The
    /// user's filter, tags, expansion and workspace (while it still exists)
    /// survive.
    void applySnapshot(const SnapshotRef& snapshot);

    const SnapshotRef& snapshot() const { return snapshot_; }
    /// Null until something is loaded.
    const RepoState* repoState() const { return snapshot_ ? &snapshot_->repoState : nullptr; }

    void setErrorMessage(OptionalText value);
    void setSettingsByName(SettingsByName value);
    void setFilterText(std::string value);
    void setSelectedTagFilters(StringSet value);
    void setSelectedWorkspaceName(OptionalText value);
    /// Opens or closes a lane's history; closing forgets what was loaded.
    /// Answers whether the lane is now open.
    bool toggleLane(const std::string& name);
    void toggleOneOffLaneExpanded(const std::string& changeID);
    /// Appends a loaded page of a lane's history, if the lane is still open:
    /// the commits not listed yet (pages may overlap), never the root.
    void addLaneAncestors(const std::string& name, const std::vector<JJCommit>& commits,
                          std::optional<std::int64_t> total);
    /// Marks commits as being advanced, or no longer.
    void markAdvancing(const StringSet& commitIDs, bool advancing);

    // Derived lists, cached and dropped by the setters that change their
    // inputs.

    const std::vector<Bookmark>& mutableBookmarks() const;
    const std::vector<Bookmark>& filteredBookmarks() const;
    const std::vector<Bookmark>& hiddenBookmarks() const;
    const std::vector<Bookmark>& untrackedRemoteBookmarks() const;
    const StringList& allTagsInUse() const;
    StringSet allWorkspaceIncludedBookmarkNames() const;
    OptionalText trunkBookmarkName() const;
    std::vector<OneOffLane> availableOneOffLanes() const;
    std::vector<OneOffLane> hiddenOneOffLanes() const;
    std::vector<OneOffLane> filteredOneOffLanes() const;
    std::vector<OneOffLane> expandedOneOffLanes() const;
    std::map<std::string, OneOffLane> foldedOneOffLanesByBookmark() const;
    const WorkspaceState* selectedWorkspace() const;
    const JJCommit* workingCopyCommit() const;
    /// Whether a filter text or a tag narrows the board.
    bool isFilterActive() const;

    // Questions.

    bool isBookmarkColumnVisible(const std::string& name) const;
    bool isPinned(const std::string& name) const;
    bool isBookmarkBehindTrunk(const Bookmark& bookmark) const;
    bool workspaceIsBehindTrunk(const std::string& workspaceName) const;
    bool isOneOffLaneEnabled(const OneOffLane& lane) const;
    bool isUntrackedRemote(const std::string& name) const;
    std::optional<OneOffLane> oneOffLane(const std::string& changeID) const;
    const JJCommit* commitForChangeID(const std::string& changeID) const;
    /// The loaded commits in conflict, oldest first, as change IDs.
    StringList conflictedChangeIDs() const;
    BookmarkLaneReadModel lanePresentation(const std::string& name) const;
    std::vector<WorkspaceCompositionPoint> workspaceCompositionPoints(
        const std::string& bookmark) const;

  Q_SIGNALS:
    void changed();

  private:
    void setSnapshot(SnapshotRef snapshot);
    void dropStateCaches();

    VORDA_FIELD(OptionalText, repoRoot, setRepoRoot);
    VORDA_FIELD(OptionalText, errorMessage, setErrorMessageField);
    VORDA_FIELD(bool, isLoading, setIsLoading);
    VORDA_FIELD(OptionalText, trunkCommitID, setTrunkCommitID);
    VORDA_FIELD(StringList, conflictedFiles, setConflictedFiles);
    VORDA_FIELD(OptionalDiff, workingCopyDiff, setWorkingCopyDiff);
    VORDA_FIELD(LanesByBookmark, lanesByBookmark, setLanesByBookmark);
    VORDA_FIELD(SettingsByName, settingsByName, setSettingsByNameField);
    VORDA_FIELD(std::string, filterText, setFilterTextField);
    VORDA_FIELD(StringSet, selectedTagFilters, setSelectedTagFiltersField);
    VORDA_FIELD(OptionalText, selectedWorkspaceName, setSelectedWorkspaceNameField);
    VORDA_FIELD(StringSet, expandedLanes, setExpandedLanes);
    VORDA_FIELD(StringSet, expandedOneOffLaneIDs, setExpandedOneOffLaneIDs);
    VORDA_FIELD(CommitsByName, laneAncestors, setLaneAncestors);
    VORDA_FIELD(TotalsByName, laneAncestorTotals, setLaneAncestorTotals);
    VORDA_FIELD(StringSet, advancingCommitIDs, setAdvancingCommitIDs);
    VORDA_FIELD(PRsByName, prStatuses, setPrStatuses);
    VORDA_FIELD(bool, githubAvailable, setGithubAvailable);
    /// The end of the last fetch, for the trunk column's "fetched … ago".
    VORDA_FIELD(OptionalTime, lastFetchAt, setLastFetchAt);

    SnapshotRef snapshot_;
    // Derived caches; `mutable` because the reads fill them lazily.
    mutable std::optional<std::vector<Bookmark>> mutableBookmarksCache_;
    mutable std::optional<StringList> allTagsCache_;
    mutable std::optional<BookmarkBoardVisibility> boardVisibilityCache_;
    mutable std::optional<std::vector<Bookmark>> untrackedRemoteBookmarksCache_;
    /// The state's one-off lanes, and those stacked on a bookmark: each a
    /// walk over every commit, asked for several times per render.
    mutable std::optional<std::vector<OneOffLane>> oneOffLanesCache_;
    mutable std::optional<std::map<std::string, OneOffLane>> stackedOneOffLanesCache_;
};

}  // namespace vorda
