#pragma once

#include <array>
#include <string_view>
#include <tuple>

#include "feature/wire/WireCases.h"
#include "feature/wire/WireCoding.h"
#include "feature/wire/WireRecord.h"
#include "jjkit/model/Bookmark.h"

// Bookmarks and what the graph builder says about them, on the wire:
//
//     {"name":"feature","origin":{"upstream":{"remote":"origin"}},
//      "remoteSyncState":{"ahead":{"remote":"origin","commits":2}}, ...}

namespace vorda {

template <>
struct WireFields<BookmarkOrigin::Upstream> {
    static constexpr auto fields =
        std::tuple{wireField("remote", &BookmarkOrigin::Upstream::remote)};
};
template <>
struct WireCases<BookmarkOrigin> {
    static constexpr std::string_view name = "bookmark origin";
    static constexpr std::array<std::string_view, 2> caseNames{"upstream", "local"};
    static constexpr auto variant = &BookmarkOrigin::value;
};

template <>
struct WireFields<RemoteSyncState::UpToDate> {
    static constexpr auto fields =
        std::tuple{wireField("remote", &RemoteSyncState::UpToDate::remote)};
};
template <>
struct WireFields<RemoteSyncState::Ahead> {
    static constexpr auto fields =
        std::tuple{wireField("remote", &RemoteSyncState::Ahead::remote),
                   wireField("commits", &RemoteSyncState::Ahead::commits)};
};
template <>
struct WireFields<RemoteSyncState::Behind> {
    static constexpr auto fields =
        std::tuple{wireField("remote", &RemoteSyncState::Behind::remote),
                   wireField("commits", &RemoteSyncState::Behind::commits)};
};
template <>
struct WireFields<RemoteSyncState::Diverged> {
    static constexpr auto fields =
        std::tuple{wireField("remote", &RemoteSyncState::Diverged::remote),
                   wireField("ahead", &RemoteSyncState::Diverged::ahead),
                   wireField("behind", &RemoteSyncState::Diverged::behind)};
};
template <>
struct WireCases<RemoteSyncState> {
    static constexpr std::string_view name = "remote sync state";
    static constexpr std::array<std::string_view, 5> caseNames{"upToDate", "ahead", "behind",
                                                               "diverged", "untracked"};
    static constexpr auto variant = &RemoteSyncState::value;
};

template <>
struct WireFields<Bookmark> {
    static constexpr auto fields = std::tuple{
        wireField("name", &Bookmark::name),
        wireField("changeIDs", &Bookmark::changeIDs),
        wireField("commitIDs", &Bookmark::commitIDs),
        wireField("parentBookmarks", &Bookmark::parentBookmarks),
        wireField("isDivergent", &Bookmark::isDivergent),
        wireField("origin", &Bookmark::origin),
        wireField("hasConflict", &Bookmark::hasConflict),
        wireField("landedUpstreamParents", &Bookmark::landedUpstreamParents),
        wireField("remoteSyncState", &Bookmark::remoteSyncState),
    };
};

template <>
struct WireFields<BookmarkConflict> {
    static constexpr auto fields = std::tuple{wireField("bookmarkA", &BookmarkConflict::bookmarkA),
                                              wireField("bookmarkB", &BookmarkConflict::bookmarkB)};
};

template <>
struct WireFields<WorkingCopy> {
    static constexpr auto fields =
        std::tuple{wireField("commitID", &WorkingCopy::commitID),
                   wireField("changeID", &WorkingCopy::changeID),
                   wireField("enabledBookmarks", &WorkingCopy::enabledBookmarks),
                   wireField("hasConflict", &WorkingCopy::hasConflict)};
};

template <>
struct WireFields<OrphanWIP> {
    static constexpr auto fields = std::tuple{
        wireField("changeID", &OrphanWIP::changeID),
        wireField("commitID", &OrphanWIP::commitID),
        wireField("description", &OrphanWIP::description),
        wireField("ownerBookmark", &OrphanWIP::ownerBookmark),
        wireField("isMine", &OrphanWIP::isMine),
        wireField("hasConflict", &OrphanWIP::hasConflict),
        wireField("parentChangeIDs", &OrphanWIP::parentChangeIDs),
        wireField("timestamp", &OrphanWIP::timestamp),
    };
};

}  // namespace vorda
