#pragma once

#include <QWidget>
#include <optional>
#include <string>

#include "jjkit/rewrites/OperationRecord.h"

class QLabel;
class QVBoxLayout;

namespace vorda {

/// The workspace a flow's plan ran in.
template <typename Plan>
const std::string& receiptWorkspace(const Plan& plan) {
    if constexpr (requires { plan.workspaceRoot; }) {
        return plan.workspaceRoot;
    } else {
        return plan.topology.workspaceRoot;
    }
}

/// The feature bookmark a flow's plan is about; a local stack update names
/// its stacks' bookmarks.
template <typename Plan>
std::string receiptFeature(const Plan& plan) {
    if constexpr (requires { plan.bookmarkName; }) {
        return plan.bookmarkName;
    } else if constexpr (requires { plan.topology.bookmarkName; }) {
        return plan.topology.bookmarkName;
    } else {
        std::string names;
        for (const auto& name : plan.bookmarkNames) {
            names += (names.empty() ? "" : ", ") + name;
        }
        return names;
    }
}

/// The lines every receipt shows: "Receipt: ", "Workspace: ", "Feature: ",
/// "Before: " and "After: ", with "not recorded" for what the record lacks,
/// then the outcome, what stopped the flow and what reading back did not
/// confirm. The receipt view of each flow adds its own lines below.
class ReceiptView : public QWidget {
    Q_OBJECT

  public:
    explicit ReceiptView(QWidget* parent = nullptr);

    QVBoxLayout* lines() const { return lines_; }

    /// `verified` ("Verified"), "Needs inspection" or "Outcome not recorded".
    static QString outcomeText(const std::optional<LocalStackUpdateReceipt>& receipt,
                               const QString& verified = QStringLiteral("Verified"));

  protected:
    template <typename Plan>
    void addRecordLines(const OperationRecord<Plan>& record,
                        const QString& verified = QStringLiteral("Verified")) {
        addCommonLines(record.id, receiptWorkspace(record.plan), receiptFeature(record.plan),
                       record.receipt, verified);
    }

  private:
    void addCommonLines(const std::string& recordID, const std::string& workspaceRoot,
                        const std::string& feature,
                        const std::optional<LocalStackUpdateReceipt>& receipt,
                        const QString& verified);

    QVBoxLayout* lines_;
};

/// The receipt of a flow that offers nothing further: the common lines and
/// the changes left conflicted.
class PlainReceiptView : public ReceiptView {
    Q_OBJECT

  public:
    template <typename Plan>
    explicit PlainReceiptView(const OperationRecord<Plan>& record, QWidget* parent = nullptr)
        : ReceiptView(parent) {
        addRecordLines(record);
        if (record.receipt) {
            addConflicts(record.receipt->conflictedChangeIDs);
        }
    }

  private:
    void addConflicts(const std::vector<std::string>& changeIDs);
};

}  // namespace vorda
