#pragma once

#include "app/sheets/ReceiptView.h"
#include "app/sheets/SheetDialog.h"
#include "app/viewmodel/RewriteModel.h"

namespace vorda {

class RepoViewModel;

/// One saved receipt in a sheet of its own, with "Close".
class ReceiptSheet : public SheetDialog {
    Q_OBJECT

  public:
    /// Takes `view` into its body.
    ReceiptSheet(ReceiptView* view, QWidget* parent);
};

/// The receipt view of a record's flow.
template <typename Plan>
ReceiptView* receiptViewFor(RepoViewModel& /*viewModel*/, const OperationRecord<Plan>& record) {
    return new PlainReceiptView(record);
}
ReceiptView* receiptViewFor(RepoViewModel& viewModel, const AppendRecord& record);
ReceiptView* receiptViewFor(RepoViewModel& viewModel, const CoordinatedRecord& record);
ReceiptView* receiptViewFor(RepoViewModel& viewModel,
                            const OperationRecord<CompositionAttachmentPlan>& record);

}  // namespace vorda
