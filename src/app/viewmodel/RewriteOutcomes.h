#pragma once

#include <string>
#include <vector>

#include "jjkit/rewrites/CompositionAttachmentPlan.h"
#include "jjkit/rewrites/CoordinatedRecoveryPlan.h"
#include "jjkit/rewrites/CoordinatedRoutingPlan.h"
#include "jjkit/rewrites/FeatureAppendPlan.h"
#include "jjkit/rewrites/FeatureAppendRecoveryPlan.h"
#include "jjkit/rewrites/OperationRecord.h"

namespace vorda {

/// The toast after a local stack update.
std::string localStackUpdateToast(const LocalStackUpdateReceipt& receipt);
/// The toast after a feature insertion.
std::string featureInsertionToast(const LocalStackUpdateReceipt& receipt);
/// The toast after a feature append; a record without its final receipt
/// did not succeed.
std::string featureAppendToast(const OperationRecord<FeatureAppendPlan>& record);
/// `records` with `record` at its head and no other entry of its id.
template <typename Record>
std::vector<Record> mergedRecord(std::vector<Record> records, const Record& record) {
    std::erase_if(records, [&](const Record& old) { return old.id == record.id; });
    records.insert(records.begin(), record);
    return records;
}

std::string coordinatedRoutingToast(const OperationRecord<CoordinatedFeatureRoutingPlan>& record);
std::string coordinatedRecoveryToast(const OperationRecord<CoordinatedRoutingRecoveryPlan>& record);
std::string compositionAttachmentToast(const OperationRecord<CompositionAttachmentPlan>& record);
std::string featureAppendRecoveryToast(const OperationRecord<FeatureAppendRecoveryPlan>& record);

}  // namespace vorda
