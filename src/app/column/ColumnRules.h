#pragma once

#include <string>
#include <vector>

#include "app/column/BookmarkColumnInput.h"
#include "app/column/InlineBookmarkTip.h"
#include "app/viewmodel/BoardLists.h"

/// The decisions a lane column makes from its input: what is shown, in which
/// order. Pure, so that every rule is testable without a widget.
namespace vorda::columnrules {

/// The order that range selection and the arrow keys follow: the lane's
/// commits, then the stacked ones, then (with history open) the ancestors.
/// A trunk column shows no commits until its history is open, so it offers
/// none to walk through before that.
std::vector<std::string> visibleChangeOrder(const BookmarkColumnInput& input);

/// The open history as the lane lists it: the loaded ancestors, without
/// those the lane already shows among its own or stacked commits (a page of
/// history starts right under the tip, which may be one of them).
std::vector<SharedCommit> listedAncestors(const BookmarkColumnInput& input);

/// The "merged" banner: never on trunk, one-off or working-copy lanes; else
/// when the lane is merged into trunk or its pull request is merged.
bool showsMergedBanner(const BookmarkColumnInput& input);

/// Whether a review is running on the lane's pull request, which makes a
/// rewrite of it a matter to preview first. Never for one-off and
/// working-copy lanes.
bool hasOpenReviewPR(const BookmarkColumnInput& input);

/// The pull request badge needs a pull request and a usable `gh`.
bool showsPRBadge(const BookmarkColumnInput& input);

/// The "Load more" row: history open and fewer ancestors loaded than exist.
bool showsLoadMore(const BookmarkColumnInput& input);

/// The bookmark chip at the first card: on a real bookmark lane with a first
/// commit that is still mutable.
bool showsBookmarkChip(const BookmarkColumnInput& input);

/// The inclusion toggle stands on bookmark and one-off lanes.
bool showsInclusionToggle(const BookmarkColumnInput& input);

/// The role the inclusion toggle describes: the known role, else one read
/// from `isEnabled`.
BookmarkInclusionRole effectiveInclusionRole(const BookmarkColumnInput& input);

/// Routes, the inline rename of the title and the chip menus act on real
/// bookmarks only: a bookmark lane, not trunk, a one-off or a working copy.
bool isRealBookmarkLane(const BookmarkColumnInput& input);

/// The close control: a bookmark lane leaves the board, a one-off lane
/// folds back. Working copies and trunk always stay.
bool showsCloseControl(const BookmarkColumnInput& input);

/// The commit of any row of the lane with `changeID`; null when the lane has
/// none.
const JJCommit* findCommit(const BookmarkColumnInput& input, const std::string& changeID);

/// Workspaces whose composition boundary is `commitID`.
std::vector<WorkspaceCompositionPoint> compositionPoints(const BookmarkColumnInput& input,
                                                         const std::string& commitID);

/// Tips of other bookmarks at `commitID`; the lane's own bookmark is left out.
std::vector<InlineBookmarkTip> otherBookmarkTips(const BookmarkColumnInput& input,
                                                 const std::string& commitID);

/// The placements sorted by workspace name, as the working copies menu lists
/// them.
std::vector<WorkspaceBookmarkPlacement> sortedPlacements(
    std::vector<WorkspaceBookmarkPlacement> placements);

}  // namespace vorda::columnrules
