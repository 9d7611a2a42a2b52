#pragma once

#include "app/sheets/ReceiptView.h"
#include "jjkit/rewrites/CompositionAttachmentPlan.h"
#include "jjkit/rewrites/OperationRecord.h"

namespace vorda {

/// The receipt of one composition attachment: the common lines, then the
/// composition, the parents the user approved, conflicts and the workspaces
/// touched. Everything is read in the constructor; `record` may be null when
/// no outcome was recorded, and need not outlive the view.
class CompositionAttachmentReceiptView : public ReceiptView {
    Q_OBJECT

  public:
    explicit CompositionAttachmentReceiptView(
        const OperationRecord<CompositionAttachmentPlan>* record, QWidget* parent = nullptr);
};

}  // namespace vorda
