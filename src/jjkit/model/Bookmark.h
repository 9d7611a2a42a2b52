#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace vorda {

/// Where a bookmark came from: a remote carries it, or it exists only here.
struct BookmarkOrigin {
    struct Upstream {
        std::string remote;
        bool operator==(const Upstream&) const = default;
    };
    struct Local {
        bool operator==(const Local&) const = default;
    };
    std::variant<Upstream, Local> value = Local{};

    static BookmarkOrigin upstream(std::string remote) { return {Upstream{std::move(remote)}}; }
    static BookmarkOrigin local() { return {Local{}}; }
    bool isUpstream() const { return std::holds_alternative<Upstream>(value); }

    bool operator==(const BookmarkOrigin&) const = default;
};

/// How a bookmark's local tip relates to its tip on its remote; counts are of
/// the loaded commits.
struct RemoteSyncState {
    struct UpToDate {
        std::string remote;
        bool operator==(const UpToDate&) const = default;
    };
    struct Ahead {
        std::string remote;
        std::int64_t commits = 0;
        bool operator==(const Ahead&) const = default;
    };
    struct Behind {
        std::string remote;
        std::int64_t commits = 0;
        bool operator==(const Behind&) const = default;
    };
    struct Diverged {
        std::string remote;
        std::int64_t ahead = 0;
        std::int64_t behind = 0;
        bool operator==(const Diverged&) const = default;
    };
    struct Untracked {
        bool operator==(const Untracked&) const = default;
    };
    std::variant<UpToDate, Ahead, Behind, Diverged, Untracked> value = Untracked{};

    /// The remote's name; absent for `Untracked`.
    std::optional<std::string> remote() const;

    bool operator==(const RemoteSyncState&) const = default;
};

/// One bookmark as a lane: the commits it owns, what it stacks on, and how it
/// stands against its remote.
struct Bookmark {
    std::string name;
    /// Change IDs of its loaded tip commits, in tip order.
    std::vector<std::string> changeIDs;
    /// The commits the lane shows, tip first.
    std::vector<std::string> commitIDs;
    /// Bookmarks this one stacks on, ascending.
    std::vector<std::string> parentBookmarks;
    bool isDivergent = false;
    BookmarkOrigin origin;
    bool hasConflict = false;
    /// Parent stacks that have already landed upstream, ascending.
    std::vector<std::string> landedUpstreamParents;
    RemoteSyncState remoteSyncState;

    bool operator==(const Bookmark&) const = default;
};

/// A conflicted commit whose parents two bookmarks own; A sorts before B.
struct BookmarkConflict {
    std::string bookmarkA;
    std::string bookmarkB;
    bool operator==(const BookmarkConflict&) const = default;
};

/// The selected workspace's working-copy commit and the bookmarks under it.
struct WorkingCopy {
    std::string commitID;
    std::string changeID;
    std::vector<std::string> enabledBookmarks;
    bool hasConflict = false;
    bool operator==(const WorkingCopy&) const = default;
};

/// One commit of one-off work that no lane shows.
struct OrphanWIP {
    std::string changeID;
    std::string commitID;
    std::string description;
    std::optional<std::string> ownerBookmark;
    bool isMine = false;
    bool hasConflict = false;
    /// Change IDs of the parents that are loaded.
    std::vector<std::string> parentChangeIDs;
    /// Committer timestamp.
    std::string timestamp;

    const std::string& id() const { return changeID; }
    bool operator==(const OrphanWIP&) const = default;
};

}  // namespace vorda
