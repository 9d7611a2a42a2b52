#pragma once

#include <array>
#include <string_view>
#include <tuple>
#include <utility>

#include "feature/wire/RecordWire.h"
#include "feature/wire/WireCases.h"
#include "feature/wire/WireCoding.h"
#include "feature/wire/WireRecord.h"
#include "jjkit/model/ApexParent.h"
#include "jjkit/model/Composition.h"

// Workspaces, their compositions and the apex on the wire:
//
//     {"kind":{"materialized":{"changeID":"…","commitID":"…"}},
//      "directParentBookmarks":["feature"],"attachments":[…]}

namespace vorda {

// An apex parent is written as its stored form, `ApexParent::toJSON`:
// `{"bookmark":{"_0":"feature"}}`, `{"trunk":{}}`. It goes through the case
// tables like every other enumeration, so that a failure names where the
// parent stood.
template <>
struct WireFields<ApexParent::Bookmark> {
    static constexpr auto fields = std::tuple{wireField("_0", &ApexParent::Bookmark::name)};
};
template <>
struct WireFields<ApexParent::ChangeID> {
    static constexpr auto fields = std::tuple{wireField("_0", &ApexParent::ChangeID::id)};
};
template <>
struct WireFields<ApexParent::CommitID> {
    static constexpr auto fields = std::tuple{wireField("_0", &ApexParent::CommitID::id)};
};
template <>
struct WireCases<ApexParent> {
    static constexpr std::string_view name = "apex parent";
    static constexpr std::array<std::string_view, 4> caseNames{"bookmark", "changeID", "commitID",
                                                               "trunk"};
    static constexpr auto variant = &ApexParent::value;
};

template <>
struct WireEnum<CompositionAttachment::Role> {
    using Role = CompositionAttachment::Role;
    static constexpr std::string_view name = "attachment role";
    static constexpr std::array cases{
        std::pair{Role::currentTrunk, std::string_view("currentTrunk")},
        std::pair{Role::mutableStack, std::string_view("mutableStack")},
        std::pair{Role::protectedDependency, std::string_view("protectedDependency")},
        std::pair{Role::unresolved, std::string_view("unresolved")},
    };
};

template <>
struct WireFields<CompositionAttachment> {
    static constexpr auto fields = std::tuple{
        wireField("commitID", &CompositionAttachment::commitID),
        wireField("changeID", &CompositionAttachment::changeID),
        wireField("position", &CompositionAttachment::position),
        wireField("bookmarkNames", &CompositionAttachment::bookmarkNames),
        wireField("remoteNames", &CompositionAttachment::remoteNames),
        wireField("immutable", &CompositionAttachment::immutable),
        wireField("role", &CompositionAttachment::role),
    };
};

template <>
struct WireFields<BookmarkInclusionRole::Partial> {
    static constexpr auto fields =
        std::tuple{wireField("commitID", &BookmarkInclusionRole::Partial::commitID)};
};
template <>
struct WireFields<BookmarkInclusionRole::Inherited> {
    static constexpr auto fields =
        std::tuple{wireField("via", &BookmarkInclusionRole::Inherited::via)};
};
template <>
struct WireCases<BookmarkInclusionRole> {
    static constexpr std::string_view name = "inclusion role";
    static constexpr std::array<std::string_view, 4> caseNames{"partial", "inherited",
                                                               "directParent", "absent"};
    static constexpr auto variant = &BookmarkInclusionRole::value;
};

template <>
struct WireFields<BaseAnchor> {
    static constexpr auto fields = std::tuple{
        wireField("commitID", &BaseAnchor::commitID), wireField("changeID", &BaseAnchor::changeID),
        wireField("bookmarkNames", &BaseAnchor::bookmarkNames),
        wireField("isTrunk", &BaseAnchor::isTrunk)};
};

template <>
struct WireFields<WorkspaceComposition::Materialized> {
    static constexpr auto fields =
        std::tuple{wireField("changeID", &WorkspaceComposition::Materialized::changeID),
                   wireField("commitID", &WorkspaceComposition::Materialized::commitID)};
};
template <>
struct WireFields<WorkspaceComposition::LegacyShared> {
    static constexpr auto fields =
        std::tuple{wireField("changeID", &WorkspaceComposition::LegacyShared::changeID),
                   wireField("commitID", &WorkspaceComposition::LegacyShared::commitID)};
};
template <>
struct WireCases<WorkspaceComposition::Kind> {
    static constexpr std::string_view name = "composition kind";
    static constexpr std::array<std::string_view, 3> caseNames{"materialized", "legacyShared",
                                                               "direct"};
};

template <>
struct WireFields<WorkspaceComposition> {
    static constexpr auto fields =
        std::tuple{wireField("kind", &WorkspaceComposition::kind),
                   wireField("directParentBookmarks", &WorkspaceComposition::directParentBookmarks),
                   wireField("attachments", &WorkspaceComposition::attachments)};
};

template <>
struct WireFields<WorkspaceState> {
    static constexpr auto fields = std::tuple{
        wireField("workspace", &WorkspaceState::workspace),
        wireField("ancestryCommitIDs", &WorkspaceState::ancestryCommitIDs),
        wireField("baseAnchors", &WorkspaceState::baseAnchors),
        wireField("composition", &WorkspaceState::composition),
        wireField("bookmarkRoles", &WorkspaceState::bookmarkRoles),
        wireField("hasConflict", &WorkspaceState::hasConflict),
    };
};

template <>
struct WireFields<Apex> {
    static constexpr auto fields = std::tuple{
        wireField("changeID", &Apex::changeID), wireField("commitID", &Apex::commitID),
        wireField("parents", &Apex::parents), wireField("attachments", &Apex::attachments),
        wireField("immutableParentCommitIDs", &Apex::immutableParentCommitIDs)};
};

}  // namespace vorda
