#pragma once

#include <QObject>
#include <set>
#include <string>

#include "app/viewmodel/ObservableField.h"
#include "jjkit/rewrites/CompositionAttachmentPlan.h"
#include "jjkit/rewrites/CoordinatedRecoveryPlan.h"
#include "jjkit/rewrites/CoordinatedRoutingPlan.h"
#include "jjkit/rewrites/FeatureAppendPlan.h"
#include "jjkit/rewrites/FeatureAppendRecoveryPlan.h"
#include "jjkit/rewrites/FeatureInsertionPlan.h"
#include "jjkit/rewrites/LocalStackUpdatePlan.h"
#include "jjkit/rewrites/OperationRecord.h"

namespace vorda {

using OptionalNames = std::optional<std::vector<std::string>>;
using OptionalName = std::optional<std::string>;
using OptionalStackPlan = std::optional<LocalStackUpdatePlan>;
using OptionalReceipt = std::optional<LocalStackUpdateReceipt>;
using OptionalInsertionPlan = std::optional<FeatureInsertionPlan>;
using OptionalAppendPlan = std::optional<FeatureAppendPlan>;
using AppendRecord = OperationRecord<FeatureAppendPlan>;
using OptionalAppendRecord = std::optional<AppendRecord>;
using OptionalAttachmentPlan = std::optional<CompositionAttachmentPlan>;
using OptionalAttachmentRecord = std::optional<OperationRecord<CompositionAttachmentPlan>>;
using OptionalRecoveryRecord = std::optional<OperationRecord<FeatureAppendRecoveryPlan>>;
using CoordinatedRecord = OperationRecord<CoordinatedFeatureRoutingPlan>;
using OptionalCoordinatedPlan = std::optional<CoordinatedFeatureRoutingPlan>;
using OptionalCoordinatedRecord = std::optional<CoordinatedRecord>;
using OptionalCoordinatedRecoveryRecord =
    std::optional<OperationRecord<CoordinatedRoutingRecoveryPlan>>;

/// The planned rewrites: each flow's previewed plan and, once carried out,
/// its receipt. A new plan clears the last outcome and an outcome clears the
/// plan it carried out. The seeds are what the local stack and routing
/// sheets open with; the `show` fields ask the window for a sheet and are
/// cleared when it closes.
class RewriteModel : public QObject {
    Q_OBJECT

  public:
    explicit RewriteModel(QObject* parent = nullptr) : QObject(parent) {}

  Q_SIGNALS:
    void changed();

  private:
    VORDA_FIELD(bool, showLocalStackUpdateSheet, setShowLocalStackUpdateSheet);
    VORDA_FIELD(OptionalNames, localStackUpdateSeedBookmarks, setLocalStackUpdateSeedBookmarks);
    VORDA_FIELD(OptionalName, localStackUpdateSeedChangeID, setLocalStackUpdateSeedChangeID);
    VORDA_FIELD(bool, showCompositionAttachmentSheet, setShowCompositionAttachmentSheet);
    VORDA_FIELD(std::set<std::string>, routingSeedChangeIDs, setRoutingSeedChangeIDs);
    VORDA_FIELD(std::string, routingSeedBookmark, setRoutingSeedBookmark);
    VORDA_FIELD(std::string, routingSeedAfter, setRoutingSeedAfter);
    VORDA_FIELD(bool, showFeatureInsertionSheet, setShowFeatureInsertionSheet);
    VORDA_FIELD(OptionalStackPlan, localStackUpdatePlan, setLocalStackUpdatePlan);
    VORDA_FIELD(OptionalReceipt, localStackUpdateReceipt, setLocalStackUpdateReceipt);
    VORDA_FIELD(OptionalCoordinatedPlan, coordinatedRoutingPlan, setCoordinatedRoutingPlan);
    VORDA_FIELD(OptionalCoordinatedRecord, coordinatedRoutingRecord, setCoordinatedRoutingRecord);
    VORDA_FIELD(OptionalCoordinatedRecoveryRecord, coordinatedRecoveryRecord,
                setCoordinatedRecoveryRecord);
    VORDA_FIELD(OptionalAttachmentPlan, compositionAttachmentPlan, setCompositionAttachmentPlan);
    VORDA_FIELD(OptionalAttachmentRecord, compositionAttachmentRecord,
                setCompositionAttachmentRecord);
    VORDA_FIELD(OptionalInsertionPlan, featureInsertionPlan, setFeatureInsertionPlan);
    VORDA_FIELD(OptionalReceipt, featureInsertionReceipt, setFeatureInsertionReceipt);
    VORDA_FIELD(OptionalAppendPlan, featureAppendPlan, setFeatureAppendPlan);
    VORDA_FIELD(OptionalAppendRecord, featureAppendRecord, setFeatureAppendRecord);
    VORDA_FIELD(OptionalRecoveryRecord, featureAppendRecoveryRecord,
                setFeatureAppendRecoveryRecord);
};

}  // namespace vorda
