#include "app/sheets/ReceiptSheet.h"

#include <QScrollArea>
#include <QVBoxLayout>

#include "app/sheets/CompositionAttachmentReceiptView.h"
#include "app/sheets/FollowUpReceiptViews.h"

namespace vorda {

ReceiptSheet::ReceiptSheet(ReceiptView* view, QWidget* parent)
    : SheetDialog(QStringLiteral("Receipt"), QStringLiteral("Close"), parent) {
    setObjectName(QStringLiteral("receipt-sheet"));
    hideCancel();
    // Receipts can be long: the lines scroll, the buttons stay.
    auto* scroll = new QScrollArea(this);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll->setWidget(view);
    body()->addWidget(scroll, 1);
    setMinimumSize(600, 460);
}

ReceiptView* receiptViewFor(RepoViewModel& viewModel, const AppendRecord& record) {
    return new FeatureAppendReceiptView(viewModel, record);
}

ReceiptView* receiptViewFor(RepoViewModel& viewModel, const CoordinatedRecord& record) {
    return new CoordinatedRoutingReceiptView(viewModel, record);
}

ReceiptView* receiptViewFor(RepoViewModel& /*viewModel*/,
                            const OperationRecord<CompositionAttachmentPlan>& record) {
    return new CompositionAttachmentReceiptView(&record);
}

}  // namespace vorda
