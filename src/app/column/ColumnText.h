#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "app/viewmodel/BoardLists.h"
#include "jjkit/github/GitHubPR.h"
#include "jjkit/model/Bookmark.h"
#include "jjkit/model/Composition.h"

/// The words of a lane column's header and banners: tooltips, badges and
/// menu entries, as pure functions of the facts they describe.
namespace vorda::columntext {

/// The tooltip of the inclusion toggle for the bookmark's role in the
/// selected workspace.
std::string inclusionHelp(const BookmarkInclusionRole& role);

/// One entry of the working copies menu: its tooltip, whether it can be
/// toggled, and the inclusion a toggle asks for.
struct WorkspacePlacementHelp {
    std::string tooltip;
    bool isToggleEnabled = false;
    /// The value to request for the workspace; meaningless while disabled.
    bool targetInclusion = false;

    bool operator==(const WorkspacePlacementHelp&) const = default;
};

WorkspacePlacementHelp workspacePlacementHelp(const WorkspaceBookmarkPlacement& placement,
                                              const std::string& bookmark);

/// The heading of the working copies menu.
std::string workspacesMenuTitle(const std::string& bookmark);

/// The label of the working copies menu button.
inline constexpr std::string_view workingCopiesLabel = "Working Copies";

/// "PR #" and the number.
std::string prBadgeText(const GitHubPR& pr);

/// "PR #12 · OPEN · APPROVED. Click to open in browser."; the review part
/// only when a decision is known.
std::string badgeTooltip(const GitHubPR& pr);

/// The help of a rebase while the pull request is under review.
std::string openReviewRebaseHelp(const GitHubPR& pr);

/// The trunk box's remote line: remote "/" name, then "@" and the short
/// commit ID when it is known. A bookmark with no remote reads as its name.
std::string pinnedRemoteSummary(const Bookmark& bookmark,
                                const std::optional<std::string>& upstreamShortCommitID);

/// The merged banner's title: "PR merged" when a pull request exists, else
/// "merged into trunk".
std::string mergedBannerTitle(bool hasPullRequest);
inline constexpr std::string_view mergedBannerTooltip =
    "This bookmark has merged — unpin it to remove this column from the board.";
inline constexpr std::string_view unpinLabel = "Unpin";

/// The conflict banner's sentence: "conflicts with " and the names.
std::string conflictBannerText(const std::vector<std::string>& partners);
inline constexpr std::string_view resolveLabel = "Resolve";

/// The rebase action of a lane's header: a single stack, or all the stacks
/// of a working copy.
inline constexpr std::string_view rebaseLocalStackLabel = "Rebase Local Stack…";
inline constexpr std::string_view rebaseLocalStacksLabel = "Rebase Local Stacks…";

/// The trunk box.
inline constexpr std::string_view pinnedMark = "PINNED";
inline constexpr std::string_view trunkArrowLabel = "trunk";
inline constexpr std::string_view showTrunkHistoryLabel = "Show Trunk History";
inline constexpr std::string_view hideTrunkHistoryLabel = "Hide Trunk History";
std::string fetchedText(const std::string& fetchRelativeTime);

/// The row under open history that loads the next page.
inline constexpr std::string_view loadMoreLabel = "Load more";

/// The header's diff button (`ColumnDiffButton`): the diff column opens
/// beside this one, or closes.
inline constexpr std::string_view showDiffLabel = "Show Diff";
inline constexpr std::string_view hideDiffLabel = "Hide Diff";
inline constexpr std::string_view showDiffTooltip = "Show diff in a column beside this one";
inline constexpr std::string_view hideDiffTooltip = "Hide diff";

/// The header's button for the per-commit file lists, and what a card with
/// an empty list says.
inline constexpr std::string_view fileListsLabel = "Files";
inline constexpr std::string_view hideFileListsTooltip = "Hide per-commit file lists";
inline constexpr std::string_view showFileListsTooltip =
    "Show each commit's changed files with +/− line counts";
inline constexpr std::string_view noChangesText = "no changes";

/// The close control: a bookmark's column leaves the board (the bookmark
/// stays), a one-off lane folds back into the hidden list.
inline constexpr std::string_view closeColumnLabel = "Close Column";
inline constexpr std::string_view closeBookmarkColumnTooltip =
    "Take this column off the board; the bookmark stays";
inline constexpr std::string_view closeOneOffTooltip =
    "Fold this one-off lane back into the hidden list";

/// The title of a real bookmark, which a double-click renames in place.
inline constexpr std::string_view renameTitleHint = "Double-click to rename";

/// A real bookmark's file routing rules.
std::string routesLabel(std::size_t count);
inline constexpr std::string_view routePatternPlaceholder = "src/auth/**";
inline constexpr std::string_view routeEnabledTooltip = "Enabled";
inline constexpr std::string_view routeDisabledTooltip = "Disabled";
inline constexpr std::string_view removeRouteLabel = "Remove route";
inline constexpr std::string_view addRouteLabel = "Add route";

/// The context menu of another bookmark's chip beside a card.
inline constexpr std::string_view renameBookmarkLabel = "Rename Bookmark";
inline constexpr std::string_view deleteBookmarkLabel = "Delete Bookmark";

/// The width handle on a column's trailing edge.
inline constexpr std::string_view resizeHandleTooltip = "Drag to resize this column";

}  // namespace vorda::columntext
