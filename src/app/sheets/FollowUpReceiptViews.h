#pragma once

#include <QPointer>
#include <optional>

#include "app/sheets/ReceiptView.h"
#include "app/viewmodel/RewriteModel.h"

class QLabel;
class QPushButton;

namespace vorda {

class RepoViewModel;

/// The receipt of a flow that can be carried further: it reads what the
/// repository holds now, and where the flow stopped short offers the next
/// step, planned afresh and confirmed before it runs.
class FollowUpReceiptView : public ReceiptView {
    Q_OBJECT

  protected:
    FollowUpReceiptView(RepoViewModel& viewModel, QWidget* parent);

    /// Shows "Checking the repository…" until `showFindings` replaces it.
    void beginChecking();
    /// The inspection's lines, and the follow-up button when `offer`.
    void showFindings(const std::vector<QString>& findings, bool offer);
    /// What became of the follow-up.
    void showFollowUpOutcome(const QString& line);
    /// The follow-up's button: `label`, pressing runs `plan`.
    void setFollowUp(const QString& label, const QString& objectName, std::function<void()> plan);

    RepoViewModel& viewModel_;

  private:
    QLabel* checking_ = nullptr;
    QPushButton* followUp_ = nullptr;
};

/// An append's receipt: "Append verified", and where the moved work is in
/// place but the feature bookmark was left behind, "Advance Bookmark…".
class FeatureAppendReceiptView : public FollowUpReceiptView {
    Q_OBJECT

  public:
    FeatureAppendReceiptView(RepoViewModel& viewModel, AppendRecord record,
                             QWidget* parent = nullptr);

  private:
    void planAdvance();
    void confirmAdvance(const FeatureAppendRecoveryPlan& plan);

    AppendRecord record_;
};

/// A coordinated routing's receipt: each composition's parents against the
/// routed and repaired stages, and "Recover…" for the steps that remain.
class CoordinatedRoutingReceiptView : public FollowUpReceiptView {
    Q_OBJECT

  public:
    CoordinatedRoutingReceiptView(RepoViewModel& viewModel, CoordinatedRecord record,
                                  QWidget* parent = nullptr);

  private:
    void planRecovery();
    void confirmRecovery(const CoordinatedRoutingRecoveryPlan& plan);

    CoordinatedRecord record_;
};

}  // namespace vorda
