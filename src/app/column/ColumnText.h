#pragma once

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

/// The width handle on a column's trailing edge.
inline constexpr std::string_view resizeHandleTooltip = "Drag to resize this column";

}  // namespace vorda::columntext
