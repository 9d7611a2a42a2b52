#pragma once

#include <QPointer>
#include <functional>
#include <optional>

#include "app/sheets/ReceiptView.h"
#include "app/sheets/SheetLines.h"
#include "app/viewmodel/BackgroundWork.h"
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
    /// What an inspection found: lines to show, and whether the follow-up
    /// applies.
    struct Findings {
        std::vector<QString> lines;
        bool offer = false;
    };

    FollowUpReceiptView(RepoViewModel& viewModel, QWidget* parent);

    /// The follow-up's button: `label`, pressing runs `plan`.
    void setFollowUp(const QString& label, const QString& objectName, std::function<void()> plan);
    /// Shows "Checking the repository…"; the callback it returns shows what
    /// `describe` makes of the inspection, or its error.
    template <typename View, typename Inspection>
    static auto inspected(View* view, Findings (*describe)(const Inspection&, const View&)) {
        view->beginChecking();
        return [guard = QPointer<View>(view), describe](const Outcome<Inspection>& outcome) {
            if (auto* shown = guard.data(); shown != nullptr) {
                shown->showFindings(outcome.value ? describe(*outcome.value, *shown)
                                                  : Findings{{sheetText(outcome.error)}, false});
            }
        };
    }
    /// The callback of a fresh plan for the follow-up: `confirm` asks for
    /// it, a refusal is shown.
    template <typename View, typename Plan>
    static auto planned(View* view, void (View::*confirm)(const Plan&)) {
        return [guard = QPointer<View>(view), confirm](const Outcome<Plan>& outcome) {
            if (auto* shown = guard.data(); shown != nullptr) {
                if (outcome.value) {
                    (shown->*confirm)(*outcome.value);
                } else {
                    shown->showFollowUpOutcome(sheetText(outcome.error));
                }
            }
        };
    }
    /// Shows the follow-up's outcome once `current` holds a record that
    /// continues `sourceID`.
    template <typename Record>
    void followOutcome(const std::string& sourceID,
                       const std::optional<Record>& (RewriteModel::*current)() const,
                       const QString& verified, const QString& failed) {
        connect(
            &rewrites(), &RewriteModel::changed, this, [this, sourceID, current, verified, failed] {
                const auto& record = (rewrites().*current)();
                if (record && record->plan.sourceRecordID == sourceID) {
                    showFollowUpOutcome(record->receipt && record->receipt->succeeded() ? verified
                                                                                        : failed);
                }
            });
    }

    RepoViewModel& viewModel_;

  private:
    RewriteModel& rewrites() const;
    void beginChecking();
    void showFindings(const Findings& findings);
    void showFollowUpOutcome(const QString& line);

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
    static Findings describe(const FeatureAppendInspection& found,
                             const FeatureAppendReceiptView& view);
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
    static Findings describe(const CoordinatedRoutingInspection& found,
                             const CoordinatedRoutingReceiptView& view);
    void confirmRecovery(const CoordinatedRoutingRecoveryPlan& plan);

    CoordinatedRecord record_;
};

}  // namespace vorda
