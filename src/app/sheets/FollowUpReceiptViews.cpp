#include "app/sheets/FollowUpReceiptViews.h"

#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/sheets/SheetDialog.h"
#include "app/sheets/SheetLines.h"
#include "app/viewmodel/RepoViewModel.h"

namespace vorda {

FollowUpReceiptView::FollowUpReceiptView(RepoViewModel& viewModel, QWidget* parent)
    : ReceiptView(parent), viewModel_(viewModel) {}

void FollowUpReceiptView::beginChecking() {
    checking_ = addNoteLine(lines(), QStringLiteral("Checking the repository…"));
}

void FollowUpReceiptView::showFindings(const std::vector<QString>& findings, bool offer) {
    delete checking_;
    checking_ = nullptr;
    addHeadingLine(lines(), QStringLiteral("Now"));
    for (const auto& finding : findings) {
        addTextLine(lines(), finding);
    }
    if (followUp_ != nullptr) {
        followUp_->setVisible(offer);
        lines()->addWidget(followUp_, 0, Qt::AlignLeft);
    }
}

void FollowUpReceiptView::showFollowUpOutcome(const QString& line) {
    if (followUp_ != nullptr) {
        followUp_->hide();
    }
    addHeadingLine(lines(), line)->setObjectName(QStringLiteral("follow-up-outcome"));
}

void FollowUpReceiptView::setFollowUp(const QString& label, const QString& objectName,
                                      std::function<void()> plan) {
    followUp_ = new QPushButton(label, this);
    followUp_->setObjectName(objectName);
    followUp_->hide();
    connect(followUp_, &QPushButton::clicked, this, [plan = std::move(plan)] { plan(); });
}

// MARK: Append

FeatureAppendReceiptView::FeatureAppendReceiptView(RepoViewModel& viewModel, AppendRecord record,
                                                   QWidget* parent)
    : FollowUpReceiptView(viewModel, parent), record_(std::move(record)) {
    addRecordLines(record_, QStringLiteral("Append verified"));
    setFollowUp(QStringLiteral("Advance Bookmark…"), QStringLiteral("advance-bookmark"),
                [this] { planAdvance(); });
    beginChecking();
    viewModel_.inspectFeatureAppend(record_, [guard = QPointer<FeatureAppendReceiptView>(this)](
                                                 const Outcome<FeatureAppendInspection>& outcome) {
        auto* view = guard.data();
        if (view == nullptr) {
            return;
        }
        if (!outcome.value) {
            view->showFindings({sheetText(outcome.error)}, false);
            return;
        }
        const auto& found = *outcome.value;
        std::vector<QString> findings{
            QStringLiteral("Topology: ") + sheetText(std::string(displayText(found.topology))),
            QStringLiteral("Feature bookmark: ") +
                sheetText(std::string(displayText(found.bookmark)))};
        for (const auto& warning : found.warnings) {
            findings.push_back(sheetText(warning));
        }
        findings.push_back(sheetText(found.guidance()));
        // Only the work in place with the bookmark left behind can be
        // finished here.
        view->showFindings(findings,
                           found.warnings.empty() &&
                               found.topology == FeatureAppendInspection::Topology::routed &&
                               found.bookmark == FeatureAppendInspection::BookmarkState::original);
    });
    connect(&viewModel_.rewrites(), &RewriteModel::changed, this, [this] {
        const auto& recovery = viewModel_.rewrites().featureAppendRecoveryRecord();
        if (recovery && recovery->plan.sourceRecordID == record_.id) {
            showFollowUpOutcome(recovery->receipt && recovery->receipt->succeeded()
                                    ? QStringLiteral("Feature bookmark advanced")
                                    : QStringLiteral("Bookmark advance needs inspection"));
        }
    });
}

void FeatureAppendReceiptView::planAdvance() {
    viewModel_.planFeatureAppendRecovery(
        record_, [guard = QPointer<FeatureAppendReceiptView>(this)](
                     const Outcome<FeatureAppendRecoveryPlan>& outcome) {
            auto* view = guard.data();
            if (view == nullptr) {
                return;
            }
            if (outcome.value) {
                view->confirmAdvance(*outcome.value);
            } else {
                view->showFollowUpOutcome(sheetText(outcome.error));
            }
        });
}

void FeatureAppendReceiptView::confirmAdvance(const FeatureAppendRecoveryPlan& plan) {
    auto* confirm = new SheetDialog(QStringLiteral("Advance feature bookmark?"),
                                    QStringLiteral("Advance Bookmark"), this);
    confirm->addParagraph(
        QStringLiteral("Move %1 from %2 to %3, based on operation %4. This may make the routed "
                       "work immutable. No rebase, push, or rollback will run. Detected "
                       "intervening changes require a new preview.")
            .arg(sheetText(plan.bookmarkName), shortID(plan.oldTip.commitID),
                 shortID(plan.target.commitID), shortID(plan.operationID)));
    confirm->setOnConfirm([guard = QPointer<FeatureAppendReceiptView>(this), plan] {
        if (auto* view = guard.data(); view != nullptr) {
            view->viewModel_.executeApprovedAppendRecovery(plan, view->record_);
        }
    });
    confirm->open();
}

// MARK: Coordinated routing

CoordinatedRoutingReceiptView::CoordinatedRoutingReceiptView(RepoViewModel& viewModel,
                                                             CoordinatedRecord record,
                                                             QWidget* parent)
    : FollowUpReceiptView(viewModel, parent), record_(std::move(record)) {
    addRecordLines(record_);
    setFollowUp(QStringLiteral("Recover…"), QStringLiteral("recover-coordinated"),
                [this] { planRecovery(); });
    beginChecking();
    viewModel_.inspectCoordinatedRouting(
        record_, [guard = QPointer<CoordinatedRoutingReceiptView>(this)](
                     const Outcome<CoordinatedRoutingInspection>& outcome) {
            auto* view = guard.data();
            if (view == nullptr) {
                return;
            }
            if (!outcome.value) {
                view->showFindings({sheetText(outcome.error)}, false);
                return;
            }
            const auto& found = *outcome.value;
            std::vector<QString> findings{
                QStringLiteral("Matches: ") + listText(found.matchingStages),
                QStringLiteral("Feature bookmark: ") + sheetText(found.bookmarkState)};
            bool remaining = false;
            for (const auto& repair : found.repairs) {
                findings.push_back(
                    QStringLiteral("Composition %1: routed parents %2; repaired parents %3")
                        .arg(sheetText(repair.changeID.substr(0, 8)),
                             repair.matchesRoutedParents ? QStringLiteral("match")
                                                         : QStringLiteral("do not match"),
                             repair.matchesRepairedParents ? QStringLiteral("match")
                                                           : QStringLiteral("do not match")));
                remaining = remaining || !repair.matchesRepairedParents;
            }
            for (const auto& warning : found.warnings) {
                findings.push_back(sheetText(warning));
            }
            findings.push_back(sheetText(std::string(CoordinatedRoutingInspection::guidance())));
            const bool stoppedShort = !view->record_.receipt || !view->record_.receipt->succeeded();
            view->showFindings(findings, stoppedShort && (remaining || found.repairs.empty()));
        });
    connect(&viewModel_.rewrites(), &RewriteModel::changed, this, [this] {
        const auto& recovery = viewModel_.rewrites().coordinatedRecoveryRecord();
        if (recovery && recovery->plan.sourceRecordID == record_.id) {
            showFollowUpOutcome(recovery->receipt && recovery->receipt->succeeded()
                                    ? QStringLiteral("Remaining steps recovered")
                                    : QStringLiteral("Recovery needs inspection"));
        }
    });
}

void CoordinatedRoutingReceiptView::planRecovery() {
    viewModel_.planCoordinatedRecovery(record_,
                                       [guard = QPointer<CoordinatedRoutingReceiptView>(this)](
                                           const Outcome<CoordinatedRoutingRecoveryPlan>& outcome) {
                                           auto* view = guard.data();
                                           if (view == nullptr) {
                                               return;
                                           }
                                           if (outcome.value) {
                                               view->confirmRecovery(*outcome.value);
                                           } else {
                                               view->showFollowUpOutcome(sheetText(outcome.error));
                                           }
                                       });
}

void CoordinatedRoutingReceiptView::confirmRecovery(const CoordinatedRoutingRecoveryPlan& plan) {
    auto* confirm = new SheetDialog(QStringLiteral("Recover remaining coordinated steps?"),
                                    QStringLiteral("Recover"), this);
    confirm->addParagraph(
        QStringLiteral("Apply %1 remaining attachment repairs").arg(plan.remainingRepairs.size()) +
        (plan.advanceBookmark ? QStringLiteral(" and advance the feature bookmark last")
                              : QString()) +
        QStringLiteral(", based on operation %1. This is non-atomic and can stop partway "
                       "through. No original routing replay, push, or rollback. Intervening "
                       "changes require a fresh preview.")
            .arg(shortID(plan.operationID)));
    confirm->setOnConfirm([guard = QPointer<CoordinatedRoutingReceiptView>(this), plan] {
        if (auto* view = guard.data(); view != nullptr) {
            view->viewModel_.executeApprovedCoordinatedRecovery(plan, view->record_);
        }
    });
    confirm->open();
}

}  // namespace vorda
