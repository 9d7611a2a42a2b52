#include "SnapshotCheck.h"

#include <iostream>
#include <memory>

#include "feature/lanes/BookmarkLaneProjection.h"
#include "feature/session/RepoSession.h"
#include "feature/wire/SnapshotWire.h"
#include "jjkit/client/JJClient.h"
#include "jjkit/settings/BookmarkSettingsStore.h"

namespace vorda::bench {

bool printSnapshotCheck(const std::string& label, const std::string& root) {
    const SnapshotRef current = RepoSession::open(root)->refreshSnapshot();
    const JJClient client(root);

    // Everything jj is not asked again (settings, diff, conflicts) is taken
    // over, so that only what the fact queries and the trunk query decide can
    // differ.
    auto earlier = std::make_shared<RepoSnapshot>(*current);
    earlier->repoState =
        client
            .readRepoState(JJClient::defaultRevset, current->apexChangeID,
                           BookmarkSettingsStore(root).compositionPointsByWorkspace(),
                           JJClient::FactQueries::separateQueries)
            .state;
    try {
        earlier->trunkCommitID = client.trunkCommitID();
    } catch (const JJError&) {
        earlier->trunkCommitID.reset();
    }
    earlier->trunkBookmarkName =
        BookmarkLaneProjection::resolveTrunkName(earlier->repoState, earlier->trunkCommitID);
    earlier->lanesByBookmark =
        BookmarkLaneProjection::build(earlier->repoState, earlier->settingsByName,
                                      earlier->routingRules, earlier->trunkBookmarkName);

    const std::string now = encodeSnapshot(*current).dump();
    const std::string before = encodeSnapshot(*earlier).dump();
    const bool identical = now == before;
    std::cout << "snapshot check (" << label << "): " << (identical ? "identical" : "DIFFERENT")
              << ", " << now.size() << " bytes of JSON against " << before.size() << " ("
              << current->repoState.commits.size() << " commits, "
              << current->repoState.mineChangeIDs.size() << " mine, "
              << current->repoState.behindTrunkCommitIDs.size() << " behind trunk)\n";
    return identical;
}

}  // namespace vorda::bench
