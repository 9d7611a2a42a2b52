#pragma once

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <variant>
#include <vector>

#include "jjkit/model/ApexParent.h"
#include "jjkit/model/Bookmark.h"
#include "jjkit/model/SharedCommit.h"
#include "jjkit/records/JJCommit.h"
#include "jjkit/records/JJWorkspace.h"

namespace vorda {

/// The commit index used throughout the model: commit ID to commit. Read
/// models share its commits rather than copy them.
using CommitIndex = std::unordered_map<std::string, SharedCommit>;

/// One parent of a composition commit, as shown to the user.
struct CompositionAttachment {
    enum class Role { currentTrunk, mutableStack, protectedDependency, unresolved };

    std::string commitID;
    /// Absent when the commit is not loaded.
    std::optional<std::string> changeID;
    std::int64_t position = 0;
    std::vector<std::string> bookmarkNames;
    std::vector<std::string> remoteNames;
    /// Absent when the commit is not loaded.
    std::optional<bool> immutable;
    Role role = Role::unresolved;

    const std::string& id() const { return commitID; }

    /// One attachment per parent, in order: trunk (loaded or not) is
    /// `currentTrunk`, an unloaded commit `unresolved`, else by mutability.
    static std::vector<CompositionAttachment> project(
        const std::vector<std::string>& parentIDs, const CommitIndex& commits,
        const std::optional<std::string>& trunkCommitID);

    /// The same, with the commits looked up through `lookup` (null: not loaded).
    using CommitLookup = std::function<const JJCommit*(const std::string& commitID)>;
    static std::vector<CompositionAttachment> project(
        const std::vector<std::string>& parentIDs, const CommitLookup& lookup,
        const std::optional<std::string>& trunkCommitID);

    bool operator==(const CompositionAttachment&) const = default;
};

/// The relation of a bookmark to a workspace.
struct BookmarkInclusionRole {
    /// Included only up to `commitID`, not its tip.
    struct Partial {
        std::string commitID;
        bool operator==(const Partial&) const = default;
    };
    /// Included because another bookmark (or trunk, with no `via`) includes it.
    struct Inherited {
        std::optional<std::string> via;
        bool operator==(const Inherited&) const = default;
    };
    struct DirectParent {
        bool operator==(const DirectParent&) const = default;
    };
    struct Absent {
        bool operator==(const Absent&) const = default;
    };
    std::variant<Partial, Inherited, DirectParent, Absent> value = Absent{};

    static BookmarkInclusionRole partial(std::string commitID) {
        return {Partial{std::move(commitID)}};
    }
    static BookmarkInclusionRole inherited(std::optional<std::string> via) {
        return {Inherited{std::move(via)}};
    }
    static BookmarkInclusionRole directParent() { return {DirectParent{}}; }
    static BookmarkInclusionRole absent() { return {Absent{}}; }

    bool isIncluded() const { return !std::holds_alternative<Absent>(value); }
    bool isToggleable() const {
        return std::holds_alternative<Partial>(value) ||
               std::holds_alternative<DirectParent>(value);
    }
    bool isAbsent() const { return std::holds_alternative<Absent>(value); }

    bool operator==(const BookmarkInclusionRole&) const = default;
};

/// A commit where a mutable stack meets the fixed history.
struct BaseAnchor {
    std::string commitID;
    std::string changeID;
    std::vector<std::string> bookmarkNames;
    bool isTrunk = false;

    const std::string& id() const { return commitID; }

    /// The anchor at an immutable `commit`: named by its local bookmarks, all
    /// its `name@remote` labels and `owner` (the bookmark whose tip it is);
    /// trunk when one of those names is a trunk name.
    static BaseAnchor at(const JJCommit& commit, std::optional<std::string_view> owner);

    bool operator==(const BaseAnchor&) const = default;
};

/// How a workspace's working copy is composed.
struct WorkspaceComposition {
    struct Materialized {
        std::string changeID;
        std::string commitID;
        bool operator==(const Materialized&) const = default;
    };
    struct LegacyShared {
        std::string changeID;
        std::string commitID;
        bool operator==(const LegacyShared&) const = default;
    };
    struct Direct {
        bool operator==(const Direct&) const = default;
    };
    using Kind = std::variant<Materialized, LegacyShared, Direct>;

    Kind kind = Direct{};
    std::set<std::string> directParentBookmarks;
    std::vector<CompositionAttachment> attachments;

    std::optional<std::string> materializedChangeID() const;
    std::optional<std::string> materializedCommitID() const;
    bool isDirect() const { return std::holds_alternative<Direct>(kind); }

    /// The parents the composition is to have after swapping `oldID` for
    /// `newID` (either may be absent: add or remove). Throws `UnsafeOperation`
    /// when `oldID` is no longer attached.
    std::vector<std::string> replacingAttachment(const std::optional<std::string>& oldID,
                                                 const std::optional<std::string>& newID) const;

    bool operator==(const WorkspaceComposition&) const = default;
};

/// A workspace with its composition and each bookmark's role in it.
struct WorkspaceState {
    JJWorkspace workspace;
    std::set<std::string> ancestryCommitIDs;
    std::vector<BaseAnchor> baseAnchors;
    WorkspaceComposition composition;
    std::map<std::string, BookmarkInclusionRole> bookmarkRoles;
    bool hasConflict = false;

    const std::string& id() const { return workspace.name; }
    bool operator==(const WorkspaceState&) const = default;
};

/// The repository-wide merge commit that older versions composed the working
/// copy on: its parents are the enabled bookmarks and trunk.
struct Apex {
    static constexpr std::string_view descriptionMarker = "wip: Vorda apex commit";

    std::string changeID;
    std::string commitID;
    std::vector<ApexParent> parents;
    std::vector<CompositionAttachment> attachments;
    std::vector<std::string> immutableParentCommitIDs;

    /// True when `description`, trimmed of whitespace, is the marker exactly.
    static bool isApexDescription(std::string_view description);

    /// The commit `parent` stands for in the current apex; absent when no
    /// parent matches. Throws `UnsafeOperation` when the data is incomplete or
    /// the match ambiguous.
    std::optional<std::string> pinnedCommitID(const ApexParent& parent) const;

    /// The current parents with bookmarks switched off dropped and newly
    /// switched-on ones appended (ascending); other kinds of parent stay.
    std::vector<ApexParent> parentsUpdating(const std::set<std::string>& updatingEnabledBookmarks,
                                            const std::set<std::string>& previouslyEnabled) const;

    bool operator==(const Apex&) const = default;
};

/// The description prefix of a workspace's composition point.
inline constexpr std::string_view compositionDescriptionPrefix = "wip: Vorda composition ";

/// An unnamed stack of one's own commits, shown as a lane.
struct OneOffLane {
    OrphanWIP tip;
    std::vector<JJCommit> commits;
    std::vector<std::string> parentBookmarkNames;
    std::map<std::string, std::vector<std::string>> parentBookmarkAttachments;

    const std::string& id() const { return tip.changeID; }
    /// "one-off/" and the first 8 characters of the tip's change ID.
    std::string displayName() const;
    /// A synthetic bookmark, so the lane shows in the views of a bookmark.
    Bookmark bookmark() const;

    bool operator==(const OneOffLane&) const = default;
};

}  // namespace vorda
