#pragma once

#include <QObject>

#include "app/viewmodel/ObservableField.h"
#include "app/viewmodel/ViewModelTypes.h"
#include "jjkit/rewrites/CompositionAttachmentPlan.h"
#include "jjkit/rewrites/CoordinatedRecoveryPlan.h"
#include "jjkit/rewrites/CoordinatedRoutingPlan.h"
#include "jjkit/rewrites/FeatureAppendPlan.h"
#include "jjkit/rewrites/FeatureAppendRecoveryPlan.h"
#include "jjkit/rewrites/FeatureInsertionPlan.h"
#include "jjkit/rewrites/LocalStackUpdatePlan.h"
#include "jjkit/rewrites/OperationRecord.h"

namespace vorda {

using OpList = std::vector<JJOp>;
using UpdateRecords = std::vector<OperationRecord<LocalStackUpdatePlan>>;
using RoutingRecords = std::vector<OperationRecord<FeatureInsertionPlan>>;
using AppendRecords = std::vector<OperationRecord<FeatureAppendPlan>>;
using AttachmentRecords = std::vector<OperationRecord<CompositionAttachmentPlan>>;
using RecoveryRecords = std::vector<OperationRecord<FeatureAppendRecoveryPlan>>;
using CoordinatedRoutingRecords = std::vector<OperationRecord<CoordinatedFeatureRoutingPlan>>;
using CoordinatedRecoveryRecords = std::vector<OperationRecord<CoordinatedRoutingRecoveryPlan>>;

/// The operation log: jj's recent operations, the receipts of the planned
/// rewrites, and one warning line per list that could not be read.
class OperationLogModel : public QObject {
    Q_OBJECT

  public:
    explicit OperationLogModel(QObject* parent = nullptr) : QObject(parent) {}

  Q_SIGNALS:
    void changed();

  private:
    VORDA_FIELD(CoordinatedRecoveryRecords, coordinatedRecoveryRecords,
                setCoordinatedRecoveryRecords);
    VORDA_FIELD(CoordinatedRoutingRecords, coordinatedRoutingRecords, setCoordinatedRoutingRecords);
    VORDA_FIELD(AttachmentRecords, attachmentRecords, setAttachmentRecords);
    VORDA_FIELD(OpList, recentOps, setRecentOps);
    VORDA_FIELD(UpdateRecords, updateRecords, setUpdateRecords);
    VORDA_FIELD(RoutingRecords, routingRecords, setRoutingRecords);
    VORDA_FIELD(AppendRecords, appendRecords, setAppendRecords);
    VORDA_FIELD(RecoveryRecords, recoveryRecords, setRecoveryRecords);
    VORDA_FIELD(StringList, warnings, setWarnings);
    VORDA_FIELD(bool, isLoading, setIsLoading);
};

}  // namespace vorda
