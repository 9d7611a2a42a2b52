#pragma once

#include <string>

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
std::string featureAppendRecoveryToast(const OperationRecord<FeatureAppendRecoveryPlan>& record);

}  // namespace vorda
