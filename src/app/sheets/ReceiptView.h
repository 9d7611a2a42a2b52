#pragma once

#include <QWidget>
#include <optional>
#include <string>

#include "jjkit/rewrites/OperationRecord.h"

class QLabel;
class QVBoxLayout;

namespace vorda {

/// The lines every receipt shows: "Receipt: ", "Workspace: ", "Feature: ",
/// "Before: " and "After: ", with "not recorded" for what the record lacks,
/// then the outcome, what stopped the flow and what reading back did not
/// confirm. The receipt view of each flow adds its own lines below.
class ReceiptView : public QWidget {
    Q_OBJECT

  public:
    explicit ReceiptView(QWidget* parent = nullptr);

    QVBoxLayout* lines() const { return lines_; }

    /// "Verified", "Needs inspection" or "Outcome not recorded".
    static QString outcomeText(const std::optional<LocalStackUpdateReceipt>& receipt);

  protected:
    template <typename Plan>
    void addRecordLines(const OperationRecord<Plan>& record, const std::string& workspaceRoot,
                        const std::string& feature) {
        addCommonLines(record.id, workspaceRoot, feature, record.receipt);
    }

  private:
    void addCommonLines(const std::string& recordID, const std::string& workspaceRoot,
                        const std::string& feature,
                        const std::optional<LocalStackUpdateReceipt>& receipt);

    QVBoxLayout* lines_;
};

}  // namespace vorda
