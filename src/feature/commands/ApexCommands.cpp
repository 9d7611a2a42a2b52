// The repository-wide apex that older compositions stand on: its parents set
// directly, re-anchored onto trunk, or reset to trunk alone.

#include "feature/commands/SessionCommands.h"

namespace vorda::commands {

RepoCommandResult performApplyApexParents(RepoSession& session, const Apex& apex,
                                          const std::vector<ApexParent>& parents) {
    session.client().rewriteApexParents(apex, parents);
    return refreshed(session);
}

RepoCommandResult performReanchorApexOntoTrunk(RepoSession& session) {
    const auto snapshot = session.readSnapshot();
    const auto& apex = snapshot->repoState.apex;
    if (!apex || !snapshot->trunkCommitID) {
        return RepoCommandResult::toast("No apex or trunk; nothing to re-anchor");
    }
    if (!session.client().includeTrunkInComposition(apex->commitID, *snapshot->trunkCommitID)) {
        return RepoCommandResult::toast("Apex already includes current trunk");
    }
    return toastRefresh(session, "Included current trunk in apex; existing parents preserved");
}

RepoCommandResult performResetApex(RepoSession& session) {
    const auto snapshot = session.readSnapshot();
    const auto& apex = snapshot->repoState.apex;
    if (!apex || !snapshot->trunkCommitID) {
        return RepoCommandResult::toast("No apex or resolved trunk to reset");
    }
    session.client().rewriteApexParents(*apex, {ApexParent::commitID(*snapshot->trunkCommitID)});
    return refreshed(session);
}

}  // namespace vorda::commands
