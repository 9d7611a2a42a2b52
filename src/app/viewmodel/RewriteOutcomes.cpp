#include "app/viewmodel/RewriteOutcomes.h"

namespace vorda {
namespace {

/// A finished record whose receipt says the flow succeeded.
template <typename Plan>
bool succeeded(const OperationRecord<Plan>& record) {
    return record.receipt && record.receipt->succeeded();
}

}  // namespace

std::string localStackUpdateToast(const LocalStackUpdateReceipt& receipt) {
    if (!receipt.succeeded()) {
        return "Rebase needs inspection";
    }
    if (receipt.conflictedChangeIDs.empty()) {
        return "Local stacks rebased onto current trunk";
    }
    return "Rebased \u2014 " + std::to_string(receipt.conflictedChangeIDs.size()) +
           " conflicts need attention";
}

std::string featureInsertionToast(const LocalStackUpdateReceipt& receipt) {
    if (!receipt.succeeded()) {
        return "Routing needs inspection; see the operation receipt";
    }
    // The count is always written, so a clean move reads "· 0 conflicted
    // changes".
    return "Moved work into feature \u00b7 " + std::to_string(receipt.conflictedChangeIDs.size()) +
           " conflicted changes";
}

std::string featureAppendToast(const OperationRecord<FeatureAppendPlan>& record) {
    return succeeded(record) ? "Appended work to feature"
                             : "Append needs inspection; see its step receipt";
}

std::string coordinatedRoutingToast(const OperationRecord<CoordinatedFeatureRoutingPlan>& record) {
    return succeeded(record) ? "Coordinated routing verified"
                             : "Partial routing may need inspection; see its receipt";
}

std::string coordinatedRecoveryToast(
    const OperationRecord<CoordinatedRoutingRecoveryPlan>& record) {
    return succeeded(record) ? "Coordinated recovery verified"
                             : "Recovery needs inspection; see its receipt";
}

std::string compositionAttachmentToast(const OperationRecord<CompositionAttachmentPlan>& record) {
    return succeeded(record) ? "Composition attachment verified"
                             : "Attachment needs inspection; see its receipt";
}

std::string featureAppendRecoveryToast(const OperationRecord<FeatureAppendRecoveryPlan>& record) {
    return succeeded(record) ? "Recovered feature bookmark"
                             : "Recovery needs inspection; see its receipt";
}

}  // namespace vorda
