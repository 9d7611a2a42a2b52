#include "feature/wire/SnapshotWire.h"

namespace vorda {

template <>
struct WireFields<RepoSnapshot> {
    static constexpr auto fields = std::tuple{
        wireField("repoState", &RepoSnapshot::repoState),
        wireField("settingsByName", &RepoSnapshot::settingsByName),
        wireField("prsByBookmark", &RepoSnapshot::prsByBookmark),
        wireField("workingCopyDiff", &RepoSnapshot::workingCopyDiff),
        wireField("trunkCommitID", &RepoSnapshot::trunkCommitID),
        wireField("apexChangeID", &RepoSnapshot::apexChangeID),
        wireField("routingRules", &RepoSnapshot::routingRules),
        wireField("conflictedFiles", &RepoSnapshot::conflictedFiles),
        wireField("upstreamCount", &RepoSnapshot::upstreamCount),
        wireField("trunkBookmarkName", &RepoSnapshot::trunkBookmarkName),
        wireField("lanesByBookmark", &RepoSnapshot::lanesByBookmark),
    };
};

nlohmann::json Wire<RepoSnapshot>::encode(const RepoSnapshot& snapshot) {
    return WireRecord<RepoSnapshot>::encode(snapshot);
}

RepoSnapshot Wire<RepoSnapshot>::decode(const JsonReader& reader) {
    return WireRecord<RepoSnapshot>::decode(reader);
}

nlohmann::json encodeSnapshot(const RepoSnapshot& snapshot) {
    return Wire<RepoSnapshot>::encode(snapshot);
}

RepoSnapshot decodeSnapshot(const nlohmann::json& json) {
    return Wire<RepoSnapshot>::decode(JsonReader(json));
}

}  // namespace vorda
