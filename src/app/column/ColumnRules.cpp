#include "app/column/ColumnRules.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <set>

namespace vorda::columnrules {

namespace {

void appendChangeIDs(std::vector<std::string>& order, const std::vector<SharedCommit>& commits) {
    for (const auto& commit : commits) {
        order.push_back(commit->changeID);
    }
}

bool isReviewLane(const BookmarkColumnInput& input) {
    return !input.isSyntheticOneOff() && !input.isWorkingCopyLane();
}

}  // namespace

std::vector<std::string> visibleChangeOrder(const BookmarkColumnInput& input) {
    std::vector<std::string> order;
    if (input.isTrunk() && !input.isExpanded) {
        return order;
    }
    order.reserve(input.commits.size() + input.stackedCommits.size() +
                  (input.isExpanded ? input.ancestorCommits.size() : 0));
    appendChangeIDs(order, input.commits);
    appendChangeIDs(order, input.stackedCommits);
    if (input.isExpanded) {
        appendChangeIDs(order, listedAncestors(input));
    }
    return order;
}

std::vector<SharedCommit> listedAncestors(const BookmarkColumnInput& input) {
    std::set<std::string> shown;
    for (const auto* rows : {&input.commits, &input.stackedCommits}) {
        for (const auto& commit : *rows) {
            shown.insert(commit->commitID);
        }
    }
    std::vector<SharedCommit> listed;
    std::copy_if(input.ancestorCommits.begin(), input.ancestorCommits.end(),
                 std::back_inserter(listed),
                 [&](const SharedCommit& commit) { return !shown.contains(commit->commitID); });
    return listed;
}

bool showsMergedBanner(const BookmarkColumnInput& input) {
    if (input.isTrunk() || !isReviewLane(input)) {
        return false;
    }
    if (input.isMergedIntoTrunk) {
        return true;
    }
    return input.pr && input.pr->state == GitHubPR::State::merged;
}

bool hasOpenReviewPR(const BookmarkColumnInput& input) {
    if (!input.pr || !isReviewLane(input)) {
        return false;
    }
    return input.pr->state == GitHubPR::State::open;
}

bool showsPRBadge(const BookmarkColumnInput& input) {
    return input.pr.has_value() && input.githubAvailable;
}

bool showsLoadMore(const BookmarkColumnInput& input) {
    if (!input.isExpanded || !input.ancestorTotal) {
        return false;
    }
    return static_cast<std::ptrdiff_t>(input.ancestorCommits.size()) < *input.ancestorTotal;
}

bool showsBookmarkChip(const BookmarkColumnInput& input) {
    if (input.commits.empty() || !isReviewLane(input)) {
        return false;
    }
    return !input.commits.front()->immutable;
}

bool showsInclusionToggle(const BookmarkColumnInput& input) {
    return input.kind == BookmarkColumnInput::LaneKind::bookmark ||
           input.kind == BookmarkColumnInput::LaneKind::oneOff;
}

BookmarkInclusionRole effectiveInclusionRole(const BookmarkColumnInput& input) {
    if (input.inclusionRole) {
        return *input.inclusionRole;
    }
    return input.isEnabled ? BookmarkInclusionRole::directParent()
                           : BookmarkInclusionRole::absent();
}

bool isRealBookmarkLane(const BookmarkColumnInput& input) {
    return input.kind == BookmarkColumnInput::LaneKind::bookmark;
}

bool showsCloseControl(const BookmarkColumnInput& input) {
    return input.kind == BookmarkColumnInput::LaneKind::bookmark ||
           input.kind == BookmarkColumnInput::LaneKind::oneOff;
}

const JJCommit* findCommit(const BookmarkColumnInput& input, const std::string& changeID) {
    for (const auto* rows :
         {&input.commits, &input.stackedCommits, &input.baseCommits, &input.ancestorCommits}) {
        const auto found =
            std::find_if(rows->begin(), rows->end(),
                         [&](const SharedCommit& commit) { return commit->changeID == changeID; });
        if (found != rows->end()) {
            return &**found;
        }
    }
    return nullptr;
}

std::vector<WorkspaceCompositionPoint> compositionPoints(const BookmarkColumnInput& input,
                                                         const std::string& commitID) {
    std::vector<WorkspaceCompositionPoint> points;
    std::copy_if(input.compositionPoints.begin(), input.compositionPoints.end(),
                 std::back_inserter(points),
                 [&commitID](const auto& point) { return point.commitID == commitID; });
    return points;
}

std::vector<InlineBookmarkTip> otherBookmarkTips(const BookmarkColumnInput& input,
                                                 const std::string& commitID) {
    const auto found = input.inlineBookmarkTips.find(commitID);
    if (found == input.inlineBookmarkTips.end()) {
        return {};
    }
    std::vector<InlineBookmarkTip> tips;
    std::copy_if(found->second.begin(), found->second.end(), std::back_inserter(tips),
                 [&input](const auto& tip) { return tip.name != input.bookmark.name; });
    return tips;
}

std::vector<WorkspaceBookmarkPlacement> sortedPlacements(
    std::vector<WorkspaceBookmarkPlacement> placements) {
    std::stable_sort(placements.begin(), placements.end(), [](const auto& left, const auto& right) {
        return left.workspaceName < right.workspaceName;
    });
    return placements;
}

}  // namespace vorda::columnrules
