#include "app/viewmodel/RewriteOutcomes.h"

namespace vorda {

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
    if (record.receipt && record.receipt->succeeded()) {
        return "Appended work to feature";
    }
    return "Append needs inspection; see its step receipt";
}

std::string compositionAttachmentToast(const OperationRecord<CompositionAttachmentPlan>& record) {
    if (record.receipt && record.receipt->succeeded()) {
        return "Composition attachment verified";
    }
    return "Attachment needs inspection; see its receipt";
}

std::string featureAppendRecoveryToast(const OperationRecord<FeatureAppendRecoveryPlan>& record) {
    if (record.receipt && record.receipt->succeeded()) {
        return "Recovered feature bookmark";
    }
    return "Recovery needs inspection; see its receipt";
}

}  // namespace vorda
