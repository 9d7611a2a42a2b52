#include <string>
#include <vector>

#include "jjkit/client/JJClient.h"
#include "jjkit/rewrites/CompositionAttachmentPlan.h"
#include "jjkit/rewrites/OperationJournal.h"
#include "jjkit/rewrites/PlannedFlow.h"
#include "jjkit/templates/RevsetQuoting.h"

// Composition attachment: a feature becomes the last parent of an existing
// merge, every other parent kept at its exact revision. One rebase, or none
// when the feature is already included, always with a receipt.
namespace vorda {
namespace {

using flow::compositionAttachmentWords;
using Record = OperationRecord<CompositionAttachmentPlan>;

constexpr std::string_view partialIdentity = "Select a full native composition change identity.";
constexpr std::string_view unresolved =
    "Composition and feature bookmark must each resolve to one visible revision.";
constexpr std::string_view movedWhilePlanning =
    "Repository changed during attachment planning. Generate a fresh preview.";
constexpr std::string_view movedDuringNoOp =
    "Repository changed during the no-op attachment action.";
constexpr std::string_view missingExact =
    "An exact retained parent or feature target is no longer visible.";
constexpr std::string_view wrongTarget =
    "Feature bookmark no longer points to the approved exact revision.";
constexpr std::string_view conflicted =
    "Attachment contains conflicts. Inspect and resolve them before further routing.";

std::string shortID(const std::string& changeID) {
    return changeID.substr(0, 12);
}

/// Reads the attachment back: every affected change once on its ordered
/// parents with its bookmarks, the exact parents and target still visible,
/// the bookmark on the target, the workspaces on their rewritten commits.
VerificationFindings verifyAttachment(const CompositionAttachmentPlan& plan,
                                      const flow::PinnedRepository& after) {
    VerificationFindings findings;
    if (plan.alreadyIncluded) {
        if (after.operationID() != plan.operationID) {
            findings.warnings.emplace_back(movedDuringNoOp);
        }
        return findings;
    }
    const auto changes = flow::ResolvedChanges::read(after, plan.affected);
    for (const auto& old : plan.affected) {
        const auto* now = changes.resolved(old.changeID);
        if (now == nullptr) {
            findings.warnings.push_back(
                std::string(compositionAttachmentWords.missingChangePrefix) +
                shortID(old.changeID));
            continue;
        }
        auto expected = old.parents;
        if (old.commitID == plan.composition.commitID) {
            expected = flow::commitIDsOf(plan.retainedParents);
            expected.push_back(plan.target.commitID);
        }
        if (now->parents != changes.translated(expected)) {
            findings.warnings.push_back("Unexpected ordered parents on " + shortID(old.changeID));
        }
        for (const auto& bookmark : old.localBookmarks) {
            if (!flow::carriesOwnLocalBookmark(*now, bookmark.name)) {
                findings.warnings.push_back("Bookmark " + bookmark.name +
                                            " no longer uniquely follows " + shortID(old.changeID));
            }
        }
    }

    auto exact = plan.retainedParents;
    exact.push_back(plan.target);
    if (after.log(flow::visibleUnion({flow::commitUnion(exact)})).size() != exact.size()) {
        findings.warnings.emplace_back(missingExact);
    }
    const auto bookmarkRows = after.log(bookmarkSetRevset(plan.bookmarkName));
    if (bookmarkRows.size() != 1 || bookmarkRows.front().commitID != plan.target.commitID) {
        findings.warnings.emplace_back(wrongTarget);
    }
    const auto workspaces = after.workspaces();
    for (const auto& planned : plan.affectedWorkspaces) {
        const auto found =
            std::find_if(workspaces.begin(), workspaces.end(),
                         [&](const JJWorkspace& w) { return w.name == planned.name; });
        if (found == workspaces.end() || found->changeID != planned.changeID ||
            found->commitID != changes.translated(planned.commitID)) {
            findings.warnings.push_back("Unexpected working-copy identity or revision in " +
                                        planned.name);
        }
    }
    findings.conflicts = changes.conflictedChangeIDs();
    if (!findings.conflicts.empty()) {
        findings.warnings.emplace_back(conflicted);
    }
    return findings;
}

}  // namespace

CompositionAttachmentPlan JJClient::planCompositionAttachment(
    const std::string& compositionChangeID, const std::string& bookmark,
    const std::stop_token& stop) const {
    flow::checkCancelled(stop);
    if (!flow::isFullChangeID(compositionChangeID)) {
        throw JJError::unsafeOperation(std::string(partialIdentity));
    }
    const auto at = flow::planningSnapshot(*this, "planCompositionAttachment/snapshot");
    const auto compositions =
        at.log(flow::changeIDTerm(compositionChangeID, /*present=*/true) + " & ::visible_heads()");
    const auto targets = at.log("(" + bookmarkSetRevset(bookmark) + ") & ::visible_heads()");
    if (compositions.size() != 1 || targets.size() != 1) {
        throw JJError::unsafeOperation(std::string(unresolved));
    }
    const std::string c = commitIDRevset(compositions.front().commitID);
    const std::string t = commitIDRevset(targets.front().commitID);
    const auto identity = flow::planIdentity(*this);
    CompositionAttachmentPlan::Reads reads{
        .repositoryID = identity.repositoryID,
        .workspaceRoot = identity.workspaceRoot,
        .operationID = at.operationID(),
        .bookmarkName = bookmark,
        .composition = compositions.front(),
        .target = targets.front(),
        .parents = at.log("parents(" + c + ")"),
        .descendants = at.log(c + "::"),
        .divergent = at.log("(" + c + ":: | " + t + " | parents(" + c + ")) & divergent()"),
        .workspaces = {},
        .alreadyIncluded = !at.log(t + " & ::parents(" + c + ")").empty(),
    };
    reads.workspaces = at.workspaces();
    auto plan = CompositionAttachmentPlan::build(reads);
    flow::checkCancelled(stop);
    flow::requireUnmoved(at, movedWhilePlanning);
    return plan;
}

Record JJClient::executeCompositionAttachment(const CompositionAttachmentPlan& plan,
                                              const std::stop_token& stop) const {
    const OperationJournal<CompositionAttachmentPlan> journal(repositoryPath());
    return executeCompositionAttachment(
        plan, [&journal](const Record& record) { journal.save(record); }, stop);
}

Record JJClient::executeCompositionAttachment(
    const CompositionAttachmentPlan& plan,
    const PersistRecord<CompositionAttachmentPlan>& persistRecord,
    const std::stop_token& stop) const {
    const auto& words = compositionAttachmentWords;
    flow::runExecutionChecks(*this,
                             {.words = words,
                              .snapshotReason = "attachment/snapshot",
                              .identity = {plan.repositoryID, plan.workspaceRoot},
                              .operationID = plan.operationID,
                              .scopeUnchanged =
                                  [&] {
                                      return planCompositionAttachment(plan.composition.changeID,
                                                                       plan.bookmarkName,
                                                                       stop) == plan;
                                  }},
                             stop);

    auto record = flow::startedRecord(plan);
    persistRecord(record);
    auto receipt = flow::runSingleCommand(
        *this,
        {.words = words,
         .operationID = plan.operationID,
         .commandArguments =
             plan.alreadyIncluded ? std::nullopt : std::optional(plan.commandArguments()),
         .commandReason = "attachment/rebase",
         .affectedWorkspaceNames = flow::workspaceNames(plan.affectedWorkspaces),
         .verify =
             [&plan](const flow::PinnedRepository& after) {
                 return verifyAttachment(plan, after);
             }},
        stop);
    record.receipt = flow::saveFinalRecord(record, std::move(receipt), persistRecord, words);
    return record;
}

}  // namespace vorda
