#include "jjkit/rewrites/PlannedFlow.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>

#include "jjkit/repo/JJRepoDetector.h"
#include "jjkit/support/Cancellation.h"
#include "jjkit/support/Text.h"
#include "jjkit/templates/RevsetQuoting.h"

namespace vorda::flow {

const FlowWords localStackUpdateWords{
    .foreignPlan = "This preview belongs to another repository or workspace.",
    .expired =
        "Preview expired because the repository or working copy changed. Generate a fresh "
        "preview.",
    .scopeChanged = "Preview scope changed. Generate a fresh preview before updating.",
    .changedWhileSaving = "Repository changed while saving the receipt; no rebase was attempted.",
    .verificationPrefix = "Could not verify result: ",
    .operationUnavailable = "Could not read the resulting operation.",
    .movedDuringVerification =
        "Repository changed during result verification; refresh before further actions.",
    .finalSavePrefix = "Could not save final receipt: ",
    .finalSaveSuffix = ". Inspect the operation log before retrying.",
    .missingChangePrefix = "Missing or divergent rewritten change ",
};

const FlowWords featureInsertionWords{
    .foreignPlan = "This routing preview belongs to another repository or workspace.",
    .expired = "Routing preview expired. Refresh and preview again before moving work.",
    .scopeChanged = "Routing scope or configuration changed. Generate a new preview.",
    .changedWhileSaving =
        "Repository changed while saving the routing receipt; no insertion was attempted.",
    .verificationPrefix = "Could not verify routing: ",
    .operationUnavailable = "Resulting operation is unavailable.",
    .movedDuringVerification =
        "Repository changed during routing verification; refresh before further actions.",
    .finalSavePrefix = "Could not save final routing receipt: ",
    .finalSaveSuffix = ". Inspect the operation log before retrying.",
    .missingChangePrefix = "Missing or divergent routed change ",
};

// The append's own verification reports its findings as warnings; a read that
// fails outright is worded like the routing it wraps.
const FlowWords featureAppendWords{
    .foreignPlan = "This append preview belongs to another repository or workspace.",
    .expired = "Append preview expired. Generate a fresh preview.",
    .scopeChanged = "Append scope or configuration changed. Replan before moving work.",
    .changedWhileSaving = "Repository changed before append execution; no rebase was attempted.",
    .verificationPrefix = "Could not verify append: ",
    .operationUnavailable = "Resulting operation is unavailable.",
    .movedDuringVerification = "Repository changed during append verification",
    .finalSavePrefix = "Could not save final append receipt: ",
    .finalSaveSuffix = ". Inspect the operation log before retrying.",
    .missingChangePrefix = "Missing or divergent change ",
};

const FlowWords featureAppendRecoveryWords{
    .foreignPlan = "Recovery preview belongs to another receipt, repository, or workspace.",
    .expired = "Recovery preview expired. Inspect and preview again; no bookmark was moved.",
    .scopeChanged = "Recovery scope or configuration changed. Generate a new preview.",
    .changedWhileSaving =
        "Repository changed while saving recovery receipt; no bookmark was moved.",
    .verificationPrefix = "Could not verify recovery: ",
    .operationUnavailable = "Resulting operation is unavailable.",
    .movedDuringVerification = "Repository changed during recovery verification.",
    .finalSavePrefix = "Could not save final recovery receipt: ",
    .finalSaveSuffix = ". Inspect before retrying.",
    .missingChangePrefix = "Missing or divergent change ",
};

const FlowWords compositionAttachmentWords{
    .foreignPlan = "Attachment preview belongs to another repository or workspace.",
    .expired = "Attachment preview expired. Generate a fresh preview; no attachment was added.",
    .scopeChanged = "Attachment scope or configuration changed. Generate a fresh preview.",
    .changedWhileSaving = "Repository changed while saving the receipt; no attachment was added.",
    .verificationPrefix = "Could not verify attachment: ",
    .operationUnavailable = "Resulting operation is unavailable.",
    .movedDuringVerification = "Repository changed during attachment verification.",
    .finalSavePrefix = "Could not save final attachment receipt: ",
    .finalSaveSuffix = ". Inspect before retrying.",
    .missingChangePrefix = "Missing or divergent affected change ",
};

const FlowWords coordinatedRoutingWords{
    .foreignPlan = "Coordinated preview belongs to another repository or workspace.",
    .expired = "Coordinated preview expired. Generate a fresh preview.",
    .scopeChanged = "Coordinated scope or configuration changed. Replan before execution.",
    .changedWhileSaving = "Repository changed before ",
    .verificationPrefix = "Could not verify coordinated routing: ",
    .operationUnavailable = "Resulting operation is unavailable.",
    .movedDuringVerification = "Repository changed during coordinated verification",
    .finalSavePrefix = "Could not save final coordinated receipt: ",
    .finalSaveSuffix = ". Inspect before any further action.",
    .missingChangePrefix = "Missing or divergent affected change ",
};

const FlowWords coordinatedRecoveryWords{
    .foreignPlan = "Recovery preview belongs to another receipt, repository, or workspace.",
    .expired =
        "Recovery preview expired. Inspect and preview again; no recovery step was attempted.",
    .scopeChanged = "Recovery scope or configuration changed. Generate a fresh preview.",
    .changedWhileSaving = "Repository changed while saving recovery checkpoint.",
    .verificationPrefix = "Could not verify recovery: ",
    .operationUnavailable = "Resulting operation is unavailable.",
    .movedDuringVerification = "Repository changed during coordinated verification",
    .finalSavePrefix = "Could not save final coordinated recovery receipt: ",
    .finalSaveSuffix = ". Inspect before any further action.",
    .missingChangePrefix = "Missing or divergent affected change ",
};

void checkCancelled(const std::stop_token& stop) {
    if (stop.stop_requested()) {
        throw CancellationError();
    }
}

bool isFullChangeID(std::string_view text) {
    constexpr std::size_t length = 32;
    return text.size() == length &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= 'k' && c <= 'z'; });
}

bool isFullCommitID(std::string_view text) {
    constexpr std::size_t length = 40;
    return text.size() == length && std::all_of(text.begin(), text.end(), [](char c) {
               return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f');
           });
}

std::vector<std::string> normalised(std::vector<std::string> selection) {
    std::sort(selection.begin(), selection.end());
    selection.erase(std::unique(selection.begin(), selection.end()), selection.end());
    return selection;
}

std::string visibleUnion(const std::vector<std::string>& terms) {
    return "(" + text::join(terms, " | ") + ") & ::visible_heads()";
}

std::string changeIDTerm(std::string_view changeID, bool present) {
    std::string term = "change_id(" + std::string(changeID) + ")";
    return present ? "present(" + term + ")" : term;
}

std::string visibleChanges(const std::vector<std::string>& changeIDs, bool present) {
    std::vector<std::string> terms;
    terms.reserve(changeIDs.size());
    for (const auto& changeID : changeIDs) {
        terms.push_back(changeIDTerm(changeID, present));
    }
    return visibleUnion(terms);
}

std::string visibleCommits(const std::set<std::string>& commitIDs, bool present) {
    std::vector<std::string> terms;
    terms.reserve(commitIDs.size());
    for (const auto& commitID : commitIDs) {
        const auto term = commitIDRevset(commitID);
        terms.push_back(present ? "present(" + term + ")" : term);
    }
    return visibleUnion(terms);
}

std::optional<std::vector<JJCommit>> oneRowEach(const std::vector<std::string>& changeIDs,
                                                const std::vector<JJCommit>& rows) {
    std::map<std::string, std::vector<const JJCommit*>> byChange;
    for (const auto& row : rows) {
        byChange[row.changeID].push_back(&row);
    }
    if (rows.size() != changeIDs.size()) {
        return std::nullopt;
    }
    std::vector<JJCommit> resolved;
    resolved.reserve(changeIDs.size());
    for (const auto& changeID : changeIDs) {
        const auto found = byChange.find(changeID);
        if (found == byChange.end() || found->second.size() != 1) {
            return std::nullopt;
        }
        resolved.push_back(*found->second.front());
    }
    return resolved;
}

std::string commitUnion(const std::vector<JJCommit>& commits) {
    std::vector<std::string> terms;
    terms.reserve(commits.size());
    for (const auto& commit : commits) {
        terms.push_back(commitIDRevset(commit.commitID));
    }
    return text::join(terms, " | ");
}

std::string displayCommandLine(const std::vector<std::string>& arguments) {
    std::string line = "jj";
    for (const auto& argument : arguments) {
        line += " ";
        line += argument.find('(') == std::string::npos ? argument : "'" + argument + "'";
    }
    return line;
}

std::vector<JJCommit> PinnedRepository::log(std::string_view revset) const {
    return client_.log(revset, "log", operationID_);
}

std::vector<JJWorkspace> PinnedRepository::workspaces() const {
    return client_.workspaces(operationID_);
}

PinnedRepository planningSnapshot(const JJClient& client, std::string_view reason) {
    client.snapshotWorkingCopy(reason);
    return {client, client.currentOperationID()};
}

void requireUnmoved(const PinnedRepository& repository, std::string_view message) {
    if (repository.client().currentOperationID() != repository.operationID()) {
        throw JJError::unsafeOperation(std::string(message));
    }
}

PlanIdentity planIdentity(const JJClient& client) {
    std::error_code error;
    auto resolved = std::filesystem::canonical(client.repositoryPath(), error);
    return {JJRepoDetector::sharedRepositoryPath(client.repositoryPath()),
            error ? client.repositoryPath() : resolved.string()};
}

void runExecutionChecks(const JJClient& client, const ExecutionChecks& checks,
                        const std::stop_token& stop) {
    checkCancelled(stop);
    const auto identity = planIdentity(client);
    if (identity.repositoryID != checks.identity.repositoryID ||
        identity.workspaceRoot != checks.identity.workspaceRoot) {
        throw JJError::unsafeOperation(std::string(checks.words.foreignPlan));
    }
    client.snapshotWorkingCopy(checks.snapshotReason);
    if (client.currentOperationID() != checks.operationID) {
        throw JJError::unsafeOperation(std::string(checks.words.expired));
    }
    // A plan that can no longer be made at all has changed scope as much
    // as one that comes out different: another trunk() or mine() can turn
    // work into protected history without moving the operation.
    bool unchanged = false;
    try {
        unchanged = checks.scopeUnchanged();
    } catch (const JJError& error) {
        if (error.as<JJError::UnsafeOperation>() == nullptr) {
            throw;
        }
    }
    if (!unchanged) {
        throw JJError::unsafeOperation(std::string(checks.words.scopeChanged));
    }
    checkCancelled(stop);
}

ResolvedChanges ResolvedChanges::read(const PinnedRepository& repository,
                                      const std::vector<JJCommit>& affected, bool present) {
    const auto changeIDs = changeIDsOf(affected);
    if (changeIDs.empty()) {
        return {};
    }
    return fromRows(repository.log(visibleChanges(changeIDs, present)), affected);
}

ResolvedChanges ResolvedChanges::fromRows(std::vector<JJCommit> rows,
                                          const std::vector<JJCommit>& affected) {
    ResolvedChanges changes;
    for (auto& row : rows) {
        if (row.conflict) {
            changes.conflicted_.push_back(row.changeID);
        }
        changes.rowsByChange_[row.changeID].push_back(std::move(row));
    }
    for (const auto& commit : affected) {
        if (const auto* row = changes.resolved(commit.changeID)) {
            changes.newCommitIDs_[commit.commitID] = row->commitID;
        }
    }
    return changes;
}

const JJCommit* ResolvedChanges::resolved(const std::string& changeID) const {
    const auto found = rowsByChange_.find(changeID);
    if (found == rowsByChange_.end() || found->second.size() != 1) {
        return nullptr;
    }
    return &found->second.front();
}

std::string ResolvedChanges::translated(const std::string& commitID) const {
    const auto found = newCommitIDs_.find(commitID);
    return found == newCommitIDs_.end() ? commitID : found->second;
}

std::vector<std::string> ResolvedChanges::translated(
    const std::vector<std::string>& commitIDs) const {
    std::vector<std::string> result;
    result.reserve(commitIDs.size());
    for (const auto& commitID : commitIDs) {
        result.push_back(translated(commitID));
    }
    return result;
}

std::vector<std::string> expectedGraphWarnings(
    const ResolvedChanges& changes, const std::vector<JJCommit>& affected,
    const std::map<std::string, std::vector<std::string>>& expectedParents,
    std::string_view missingChangePrefix,
    const std::function<std::string(const std::string&, const JJCommit&)>& bookmarkWarning,
    std::string_view unexpectedParentsPrefix) {
    std::vector<std::string> warnings;
    for (const auto& commit : affected) {
        if (changes.resolved(commit.changeID) == nullptr) {
            warnings.push_back(std::string(missingChangePrefix) + commit.shortChangeID());
        }
    }
    for (const auto& commit : affected) {
        const JJCommit* now = changes.resolved(commit.changeID);
        if (now == nullptr) {
            continue;
        }
        const auto expected = expectedParents.find(commit.commitID);
        if (expected == expectedParents.end() ||
            changes.translated(expected->second) != now->parents) {
            warnings.push_back(std::string(unexpectedParentsPrefix) + commit.shortChangeID());
        }
        for (const auto& bookmark : commit.localBookmarks) {
            if (!carriesOwnLocalBookmark(*now, bookmark.name)) {
                warnings.push_back(bookmarkWarning(bookmark.name, commit));
            }
        }
    }
    return warnings;
}

bool carriesOwnLocalBookmark(const JJCommit& commit, const std::string& name) {
    return std::any_of(
        commit.localBookmarks.begin(), commit.localBookmarks.end(), [&](const JJCommitRef& ref) {
            return ref.name == name && ref.target == std::vector<std::string>{commit.commitID};
        });
}

std::vector<std::string> workspaceIdentityWarnings(const std::vector<JJWorkspace>& planned,
                                                   const std::vector<JJWorkspace>& current,
                                                   std::string_view prefix,
                                                   const std::map<std::string, std::string>& ids) {
    std::vector<std::string> warnings;
    for (const auto& workspace : planned) {
        const auto found =
            std::find_if(current.begin(), current.end(),
                         [&](const JJWorkspace& now) { return now.name == workspace.name; });
        const auto moved = ids.find(workspace.commitID);
        if (found == current.end() || found->changeID != workspace.changeID ||
            (moved != ids.end() && found->commitID != moved->second)) {
            warnings.push_back(std::string(prefix) + workspace.name);
        }
    }
    return warnings;
}

std::vector<std::string> bookmarkMoveArguments(const std::string& commitID,
                                               const std::string& name) {
    return {"bookmark", "move", "--to", commitIDRevset(commitID), "--", exactNamePattern(name)};
}

std::vector<std::string> workspaceNames(const std::vector<JJWorkspace>& workspaces) {
    std::vector<std::string> names;
    names.reserve(workspaces.size());
    for (const auto& workspace : workspaces) {
        names.push_back(workspace.name);
    }
    return names;
}

std::string describe(const std::exception& error) {
    if (const auto* jjError = dynamic_cast<const JJError*>(&error)) {
        return jjError->errorDescription();
    }
    return error.what();
}

std::string describeCurrentException() {
    try {
        throw;
    } catch (const std::exception& error) {
        return describe(error);
    } catch (...) {
        return "Unknown error.";
    }
}

std::optional<std::string> readOperation(const JJClient& client) {
    try {
        return client.currentOperationID();
    } catch (...) {
        return std::nullopt;
    }
}

std::vector<std::pair<std::string, std::string>> revisionPairs(
    const std::vector<JJCommit>& commits) {
    std::vector<std::pair<std::string, std::string>> pairs;
    pairs.reserve(commits.size());
    for (const auto& commit : commits) {
        pairs.emplace_back(commit.changeID, commit.commitID);
    }
    std::sort(pairs.begin(), pairs.end());
    return pairs;
}

std::vector<std::string> changeIDsOf(const std::vector<JJCommit>& commits) {
    std::vector<std::string> changeIDs;
    changeIDs.reserve(commits.size());
    for (const auto& commit : commits) {
        changeIDs.push_back(commit.changeID);
    }
    return changeIDs;
}

std::vector<std::string> commitIDsOf(const std::vector<JJCommit>& commits) {
    std::vector<std::string> commitIDs;
    commitIDs.reserve(commits.size());
    for (const auto& commit : commits) {
        commitIDs.push_back(commit.commitID);
    }
    return commitIDs;
}

LocalStackUpdateReceipt runSingleCommand(const JJClient& client, const SingleCommandRun& run,
                                         const std::stop_token& stop) {
    LocalStackUpdateReceipt receipt;
    receipt.beforeOperationID = run.operationID;
    receipt.affectedWorkspaceNames = run.affectedWorkspaceNames;
    try {
        checkCancelled(stop);
        if (client.currentOperationID() != run.operationID) {
            receipt.commandError = std::string(run.words.changedWhileSaving);
        } else if (run.commandArguments) {
            client.run(*run.commandArguments, run.commandReason);
        }
    } catch (...) {
        receipt.commandError = describeCurrentException();
    }

    receipt.afterOperationID = readOperation(client);
    if (!receipt.afterOperationID) {
        receipt.verificationWarnings.push_back(std::string(run.words.verificationPrefix) +
                                               std::string(run.words.operationUnavailable));
        return receipt;
    }
    try {
        const PinnedRepository after(client, *receipt.afterOperationID);
        auto verification = run.verify(after);
        if (client.currentOperationID() != *receipt.afterOperationID) {
            verification.warnings.emplace_back(run.words.movedDuringVerification);
        }
        receipt.verificationWarnings = std::move(verification.warnings);
        receipt.conflictedChangeIDs = std::move(verification.conflicts);
    } catch (...) {
        receipt.verificationWarnings = {std::string(run.words.verificationPrefix) +
                                        describeCurrentException()};
    }
    return receipt;
}

}  // namespace vorda::flow
