#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "jjkit/client/JJClient.h"
#include "jjkit/rewrites/LocalStackUpdatePlan.h"
#include "jjkit/rewrites/OperationJournal.h"
#include "jjkit/rewrites/OperationRecord.h"
#include "jjkit/rewrites/PlannedFlow.h"
#include "jjkit/templates/RevsetQuoting.h"

namespace vorda {
namespace {

const flow::FlowWords& words = flow::localStackUpdateWords;

[[noreturn]] void refuse(std::string message) {
    throw JJError::unsafeOperation(std::move(message));
}

bool carriesLocalBookmark(const JJCommit& commit, const std::string& name) {
    return std::any_of(commit.localBookmarks.begin(), commit.localBookmarks.end(),
                       [&](const JJCommitRef& ref) { return ref.name == name; });
}

// The plan's id names one preview and its bookmark names are the request
// itself; everything read from the repository must be the same again.
bool sameScope(const LocalStackUpdatePlan& fresh, const LocalStackUpdatePlan& stored) {
    return fresh.operationID == stored.operationID && fresh.oneOffTips == stored.oneOffTips &&
           fresh.destination == stored.destination && fresh.roots == stored.roots &&
           fresh.affectedCommits == stored.affectedCommits &&
           fresh.affectedWorkspaces == stored.affectedWorkspaces &&
           fresh.preservedDependencies == stored.preservedDependencies;
}

// Reads the rewritten stacks back: every affected change is visible once,
// roots stand on the destination, every other commit keeps its parents (as
// they were rewritten), bookmarks follow their commits and workspaces keep
// their changes.
VerificationFindings verifyLocalStackUpdate(const LocalStackUpdatePlan& plan,
                                            const flow::PinnedRepository& after) {
    const auto changes = flow::ResolvedChanges::read(after, plan.affectedCommits);
    VerificationFindings findings;
    findings.conflicts = changes.conflictedChangeIDs();

    std::set<std::string> rootIDs;
    for (const auto& root : plan.roots) {
        rootIDs.insert(root.commitID);
    }
    for (const auto& old : plan.affectedCommits) {
        const JJCommit* now = changes.resolved(old.changeID);
        if (now == nullptr) {
            findings.warnings.push_back(std::string(words.missingChangePrefix) +
                                        old.shortChangeID());
            continue;
        }
        const auto expectedParents = rootIDs.contains(old.commitID)
                                         ? std::vector<std::string>{plan.destination.commitID}
                                         : changes.translated(old.parents);
        if (now->parents != expectedParents) {
            findings.warnings.push_back("Unexpected parents on " + old.shortChangeID());
        }
        const bool bookmarksFollow = std::all_of(
            old.localBookmarks.begin(), old.localBookmarks.end(),
            [&](const JJCommitRef& ref) { return carriesLocalBookmark(*now, ref.name); });
        if (!bookmarksFollow) {
            findings.warnings.push_back("A bookmark no longer follows " + old.shortChangeID());
        }
    }

    auto workspaceWarnings =
        flow::workspaceIdentityWarnings(plan.affectedWorkspaces, after.workspaces());
    findings.warnings.insert(findings.warnings.end(),
                             std::make_move_iterator(workspaceWarnings.begin()),
                             std::make_move_iterator(workspaceWarnings.end()));
    return findings;
}

}  // namespace

LocalStackUpdatePlan JJClient::planLocalStackUpdate(const std::vector<std::string>& bookmarks,
                                                    const std::vector<std::string>& oneOffChangeIDs,
                                                    const std::stop_token& stop) const {
    flow::checkCancelled(stop);
    auto bookmarkNames = flow::normalised(bookmarks);
    const auto oneOffIDs = flow::normalised(oneOffChangeIDs);
    if (bookmarkNames.empty() && oneOffIDs.empty()) {
        refuse("Select local stacks or one-offs to update.");
    }
    if (!std::all_of(oneOffIDs.begin(), oneOffIDs.end(),
                     [](const std::string& id) { return flow::isFullChangeID(id); })) {
        refuse("One-off selections require full change IDs.");
    }

    const auto repository = flow::planningSnapshot(*this, "planLocalStackUpdate/snapshot");

    // Tips: the selected bookmarks and one-offs as they are visible now.
    std::vector<std::string> tipTerms;
    tipTerms.reserve(bookmarkNames.size() + oneOffIDs.size());
    for (const auto& name : bookmarkNames) {
        tipTerms.push_back(bookmarkSetRevset(name));
    }
    for (const auto& id : oneOffIDs) {
        tipTerms.push_back(flow::changeIDTerm(id, /*present=*/true));
    }
    const auto tips = repository.log(flow::visibleUnion(tipTerms));

    std::vector<JJCommit> oneOffTips;
    for (const auto& id : oneOffIDs) {
        std::vector<JJCommit> rows;
        std::copy_if(tips.begin(), tips.end(), std::back_inserter(rows),
                     [&](const JJCommit& commit) { return commit.changeID == id; });
        if (rows.size() != 1) {
            refuse("One-off " + id + " is hidden, missing, or divergent. Refresh the selection.");
        }
        oneOffTips.push_back(rows.front());
    }
    for (const auto& name : bookmarkNames) {
        const auto rows = std::count_if(tips.begin(), tips.end(), [&](const JJCommit& commit) {
            return carriesLocalBookmark(commit, name);
        });
        if (rows != 1) {
            refuse(name + " is missing or divergent. Resolve it before planning an update.");
        }
    }

    const auto trunk = repository.log("trunk()");
    if (trunk.size() != 1) {
        refuse("Configured trunk must resolve to one commit.");
    }
    const JJCommit& destination = trunk.front();

    // The scope, each read at the planned operation.
    const std::string tipUnion = flow::commitUnion(tips);
    const std::string stackRevset = "(mutable() & ::(" + tipUnion + "))";
    const std::string rootsRevset = "roots(" + stackRevset + ")";
    const auto stack = repository.log(stackRevset);
    const auto roots = repository.log(rootsRevset);
    const auto affected = repository.log(rootsRevset + "::");
    const auto nonMineAffected = repository.log("(" + rootsRevset + "::) ~ mine()");
    const auto siblings =
        repository.log(rootsRevset + ":: ~ (::(" + tipUnion + ") | (" + tipUnion + ")::)");
    const auto lostBases =
        repository.log("parents(" + rootsRevset + ") ~ ::" + commitIDRevset(destination.commitID));
    const auto divergent = repository.log(rootsRevset + ":: & divergent()");
    const auto boundary = repository.log("parents(" + rootsRevset + "::) ~ " + rootsRevset + "::");
    const auto workspaces = repository.workspaces();

    const auto identity = flow::planIdentity(*this);
    auto plan = LocalStackUpdatePlan::build(
        identity.repositoryID, identity.workspaceRoot, repository.operationID(),
        std::move(bookmarkNames), std::move(oneOffTips), tips, destination, stack, roots, affected,
        siblings, lostBases, divergent, boundary, workspaces, nonMineAffected);

    flow::requireUnmoved(repository,
                         "Repository changed during planning. Generate a fresh preview.");
    return plan;
}

LocalStackUpdateReceipt JJClient::executeLocalStackUpdate(const LocalStackUpdatePlan& plan,
                                                          const std::stop_token& stop) const {
    const OperationJournal<LocalStackUpdatePlan> journal(repositoryPath());
    return executeLocalStackUpdate(
        plan,
        [journal](const OperationRecord<LocalStackUpdatePlan>& record) { journal.save(record); },
        stop);
}

LocalStackUpdateReceipt JJClient::executeLocalStackUpdate(
    const LocalStackUpdatePlan& plan, const PersistRecord<LocalStackUpdatePlan>& persistRecord,
    const std::stop_token& stop) const {
    const flow::ExecutionChecks checks{
        .words = words,
        .snapshotReason = "executeLocalStackUpdate/snapshot",
        .identity = {.repositoryID = plan.repositoryID, .workspaceRoot = plan.workspaceRoot},
        .operationID = plan.operationID,
        .scopeUnchanged =
            [&] {
                return sameScope(planLocalStackUpdate(plan.bookmarkNames,
                                                      flow::changeIDsOf(plan.oneOffTips), stop),
                                 plan);
            },
    };
    flow::runExecutionChecks(*this, checks, stop);

    // The receipt before: without it nothing runs, so a failing save throws.
    const auto record = flow::startedRecord(plan);
    persistRecord(record);

    const flow::SingleCommandRun run{
        .words = words,
        .operationID = plan.operationID,
        .commandArguments = plan.hasChanges()
                                ? std::optional<std::vector<std::string>>(plan.commandArguments())
                                : std::nullopt,
        .commandReason = "executeLocalStackUpdate/rebase",
        .affectedWorkspaceNames = flow::workspaceNames(plan.affectedWorkspaces),
        .verify =
            [&](const flow::PinnedRepository& after) {
                return verifyLocalStackUpdate(plan, after);
            },
    };
    auto receipt = flow::runSingleCommand(*this, run, stop);
    return flow::saveFinalRecord(record, std::move(receipt), persistRecord, words);
}

}  // namespace vorda
