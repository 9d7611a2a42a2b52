#include "app/sheets/CompositionAttachmentReceiptView.h"

#include <QLabel>
#include <QVBoxLayout>

#include "app/sheets/SheetLines.h"

namespace vorda {

CompositionAttachmentReceiptView::CompositionAttachmentReceiptView(
    const OperationRecord<CompositionAttachmentPlan>* record, QWidget* parent)
    : ReceiptView(parent) {
    if (record == nullptr) {
        addHeadingLine(lines(), QStringLiteral("Attachment outcome not recorded"))
            ->setObjectName(QStringLiteral("receipt-outcome"));
        return;
    }
    const auto& plan = record->plan;
    addRecordLines(*record);
    addTextLine(lines(), QStringLiteral("Composition: ") + sheetText(plan.composition.changeID));
    std::vector<std::string> approved;
    for (const auto& retained : plan.retainedParents) {
        approved.push_back(retained.commitID);
    }
    if (!plan.alreadyIncluded) {
        approved.push_back(plan.target.commitID);
    }
    addTextLine(lines(), QStringLiteral("Approved parents: ") + listText(approved),
                QStringLiteral("approved-parents"));
    if (plan.alreadyIncluded) {
        addTextLine(lines(), QStringLiteral("Already included; no rebase requested."));
    }
    const auto& receipt = record->receipt;
    const QString notRecorded = QStringLiteral("not recorded");
    addTextLine(lines(), QStringLiteral("Conflicted changes: ") +
                             (receipt ? listText(receipt->conflictedChangeIDs) : notRecorded));
    addTextLine(lines(), QStringLiteral("Affected workspaces: ") +
                             (receipt ? listText(receipt->affectedWorkspaceNames) : notRecorded));
    addNoteLine(lines(),
                QStringLiteral("No automatic retry or rollback. Inspect before further routing. "
                               "Other workspaces may need jj workspace update-stale. Saved "
                               "receipts are in Repo → Operation Log."));
}

}  // namespace vorda
