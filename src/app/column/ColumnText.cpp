#include "app/column/ColumnText.h"

#include <string>
#include <type_traits>
#include <variant>

namespace vorda::columntext {

std::string inclusionHelp(const BookmarkInclusionRole& role) {
    return std::visit(
        [](const auto& value) -> std::string {
            using Role = std::decay_t<decltype(value)>;
            if constexpr (std::is_same_v<Role, BookmarkInclusionRole::Partial>) {
                return "Included through the marked composition point; newer commits above it "
                       "are not included. Drag the marker to change the boundary.";
            } else if constexpr (std::is_same_v<Role, BookmarkInclusionRole::Inherited>) {
                if (value.via) {
                    return "Included through " + *value.via +
                           "; rebase the containing history to remove it.";
                }
                return "Included through the workspace ancestry; its base cannot be toggled.";
            } else if constexpr (std::is_same_v<Role, BookmarkInclusionRole::DirectParent>) {
                return "Direct composition parent; uncheck to remove it from this workspace.";
            } else {
                static_assert(std::is_same_v<Role, BookmarkInclusionRole::Absent>);
                return "Enable in the selected workspace. This materializes a composition "
                       "point when needed.";
            }
        },
        role.value);
}

WorkspacePlacementHelp workspacePlacementHelp(const WorkspaceBookmarkPlacement& placement,
                                              const std::string& bookmark) {
    const std::string& workspace = placement.workspaceName;
    return std::visit(
        [&](const auto& value) -> WorkspacePlacementHelp {
            using Role = std::decay_t<decltype(value)>;
            if constexpr (std::is_same_v<Role, BookmarkInclusionRole::Inherited>) {
                if (value.via) {
                    return {"Included in " + workspace + " through " + *value.via +
                                "; change that containing history to remove it",
                            false, false};
                }
                return {
                    "Inherited by " + workspace + "; change its containing history to remove it",
                    false, false};
            } else if constexpr (std::is_same_v<Role, BookmarkInclusionRole::DirectParent>) {
                return {"Remove " + bookmark + " from " + workspace, true, false};
            } else if constexpr (std::is_same_v<Role, BookmarkInclusionRole::Partial>) {
                return {"Remove " + bookmark + "'s partial composition from " + workspace, true,
                        false};
            } else {
                static_assert(std::is_same_v<Role, BookmarkInclusionRole::Absent>);
                return {"Include " + bookmark + " in " + workspace, true, true};
            }
        },
        placement.role.value);
}

std::string workspacesMenuTitle(const std::string& bookmark) {
    return "Choose which working copies include " + bookmark;
}

std::string prBadgeText(const GitHubPR& pr) {
    return "PR #" + std::to_string(pr.number);
}

std::string badgeTooltip(const GitHubPR& pr) {
    std::string tooltip = prBadgeText(pr) + " · " + std::string(rawValue(pr.state));
    if (pr.reviewDecision) {
        tooltip += " · " + std::string(rawValue(*pr.reviewDecision));
    }
    return tooltip + ". Click to open in browser.";
}

std::string openReviewRebaseHelp(const GitHubPR& pr) {
    return prBadgeText(pr) +
           " is open for review. Preview the rebase before rewriting published history; the "
           "next push may require a force-push.";
}

std::string pinnedRemoteSummary(const Bookmark& bookmark,
                                const std::optional<std::string>& upstreamShortCommitID) {
    std::string summary = bookmark.name;
    if (const auto* upstream = std::get_if<BookmarkOrigin::Upstream>(&bookmark.origin.value)) {
        summary = upstream->remote + "/" + bookmark.name;
    }
    if (upstreamShortCommitID) {
        summary += "@" + *upstreamShortCommitID;
    }
    return summary;
}

std::string mergedBannerTitle(bool hasPullRequest) {
    return hasPullRequest ? "PR merged" : "merged into trunk";
}

std::string conflictBannerText(const std::vector<std::string>& partners) {
    std::string names;
    for (const auto& partner : partners) {
        if (!names.empty()) {
            names += ", ";
        }
        names += partner;
    }
    return "conflicts with " + names;
}

std::string fetchedText(const std::string& fetchRelativeTime) {
    return "fetched " + fetchRelativeTime;
}

std::string routesLabel(std::size_t count) {
    return "routes (" + std::to_string(count) + ")";
}

}  // namespace vorda::columntext
