#include "app/sheets/ReceiptView.h"

#include <QLabel>
#include <QVBoxLayout>

#include "app/sheets/SheetLines.h"

namespace vorda {
namespace {

QString recorded(const std::optional<std::string>& value) {
    return value && !value->empty() ? sheetText(*value) : QStringLiteral("not recorded");
}

}  // namespace

ReceiptView::ReceiptView(QWidget* parent) : QWidget(parent), lines_(new QVBoxLayout(this)) {
    lines_->setContentsMargins(0, 0, 0, 0);
    lines_->setAlignment(Qt::AlignTop);
}

QString ReceiptView::outcomeText(const std::optional<LocalStackUpdateReceipt>& receipt,
                                 const QString& verified) {
    if (!receipt) {
        return QStringLiteral("Outcome not recorded");
    }
    return receipt->succeeded() ? verified : QStringLiteral("Needs inspection");
}

void ReceiptView::addCommonLines(const std::string& recordID, const std::string& workspaceRoot,
                                 const std::string& feature,
                                 const std::optional<LocalStackUpdateReceipt>& receipt,
                                 const QString& verified) {
    addHeadingLine(lines_, outcomeText(receipt, verified))
        ->setObjectName(QStringLiteral("receipt-outcome"));
    addTextLine(lines_, QStringLiteral("Receipt: ") + recorded(recordID));
    addTextLine(lines_, QStringLiteral("Workspace: ") + recorded(workspaceRoot));
    addTextLine(lines_, QStringLiteral("Feature: ") + recorded(feature));
    // Operation IDs as jj's log shows them.
    const auto operation = [](const std::optional<std::string>& id) {
        return recorded(id ? std::optional(id->substr(0, 12)) : std::nullopt);
    };
    addTextLine(lines_,
                QStringLiteral("Before: ") +
                    operation(receipt ? std::optional(receipt->beforeOperationID) : std::nullopt));
    addTextLine(lines_, QStringLiteral("After: ") +
                            operation(receipt ? receipt->afterOperationID : std::nullopt));
    if (!receipt) {
        return;
    }
    if (receipt->commandError) {
        addTextLine(lines_, sheetText(*receipt->commandError), QStringLiteral("command-error"));
    }
    for (const auto& warning : receipt->verificationWarnings) {
        addTextLine(lines_, sheetText(warning));
    }
}

void PlainReceiptView::addConflicts(const std::vector<std::string>& changeIDs) {
    if (!changeIDs.empty()) {
        addTextLine(lines(), QStringLiteral("Conflicted changes: ") + listText(changeIDs));
    }
}

}  // namespace vorda
