#pragma once

#include <tuple>

#include <nlohmann/json.hpp>

#include "feature/lanes/BookmarkLaneProjection.h"
#include "feature/session/RepoSnapshot.h"
#include "feature/wire/BookmarkWire.h"
#include "feature/wire/CompositionWire.h"
#include "feature/wire/DiffWire.h"
#include "feature/wire/RecordWire.h"
#include "feature/wire/SettingsWire.h"
#include "feature/wire/WireCoding.h"
#include "feature/wire/WireRecord.h"
#include "jjkit/model/RepoState.h"
#include "jjkit/records/JsonReader.h"

// Snapshots on the wire. The commit index is an object keyed by commit ID, in
// sorted order, so that one state always gives the same text; a lane lists its
// commits whole.

namespace vorda {

template <>
struct WireFields<RepoState> {
    static constexpr auto fields = std::tuple{
        wireField("bookmarks", &RepoState::bookmarks),
        wireField("commits", &RepoState::commits),
        wireField("conflicts", &RepoState::conflicts),
        wireField("workingCopy", &RepoState::workingCopy),
        wireField("workspaces", &RepoState::workspaces),
        wireField("selectedWorkspaceName", &RepoState::selectedWorkspaceName),
        wireField("apex", &RepoState::apex),
        wireField("orphanWIPs", &RepoState::orphanWIPs),
        wireField("mineChangeIDs", &RepoState::mineChangeIDs),
        wireField("behindTrunkCommitIDs", &RepoState::behindTrunkCommitIDs),
    };
};

template <>
struct WireFields<BookmarkLaneReadModel> {
    static constexpr auto fields = std::tuple{
        wireField("commits", &BookmarkLaneReadModel::commits),
        wireField("conflictPartners", &BookmarkLaneReadModel::conflictPartners),
        wireField("updateStrategy", &BookmarkLaneReadModel::updateStrategy),
        wireField("tags", &BookmarkLaneReadModel::tags),
        wireField("isPinned", &BookmarkLaneReadModel::isPinned),
        wireField("isColumnVisible", &BookmarkLaneReadModel::isColumnVisible),
        wireField("routingRules", &BookmarkLaneReadModel::routingRules),
        wireField("isTrunk", &BookmarkLaneReadModel::isTrunk),
        wireField("isMergedIntoTrunk", &BookmarkLaneReadModel::isMergedIntoTrunk),
        wireField("upstreamShortCommitID", &BookmarkLaneReadModel::upstreamShortCommitID),
    };
};

/// Coded in SnapshotWire.cpp, once for every user.
template <>
struct Wire<RepoSnapshot> {
    static nlohmann::json encode(const RepoSnapshot& snapshot);
    static RepoSnapshot decode(const JsonReader& reader);
};

nlohmann::json encodeSnapshot(const RepoSnapshot& snapshot);
/// Throws `DecodingError`.
RepoSnapshot decodeSnapshot(const nlohmann::json& json);

}  // namespace vorda
