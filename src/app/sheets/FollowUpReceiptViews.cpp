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

RewriteModel& FollowUpReceiptView::rewrites() const {
    return viewModel_.rewrites();
}

void FollowUpReceiptView::beginChecking() {
    checking_ = addNoteLine(lines(), QStringLiteral("Checking the repository…"));
}

void FollowUpReceiptView::showFindings(const Findings& findings) {
    delete checking_;
    checking_ = nullptr;
    addHeadingLine(lines(), QStringLiteral("Now"));
    for (const auto& finding : findings.lines) {
        addTextLine(lines(), finding);
    }
    if (followUp_ != nullptr) {
        followUp_->setVisible(findings.offer);
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
    setFollowUp(QStringLiteral("Advance Bookmark…"), QStringLiteral("advance-bookmark"), [this] {
        viewModel_.planFeatureAppendRecovery(
            record_, planned(this, &FeatureAppendReceiptView::confirmAdvance));
    });
    viewModel_.inspectFeatureAppend(record_, inspected(this, &FeatureAppendReceiptView::describe));
    followOutcome(record_.id, &RewriteModel::featureAppendRecoveryRecord,
                  QStringLiteral("Feature bookmark advanced"),
                  QStringLiteral("Bookmark advance needs inspection"));
}

FollowUpReceiptView::Findings FeatureAppendReceiptView::describe(
    const FeatureAppendInspection& found, const FeatureAppendReceiptView& /*view*/) {
    Findings findings{
        {QStringLiteral("Topology: ") + sheetText(std::string(displayText(found.topology))),
         QStringLiteral("Feature bookmark: ") +
             sheetText(std::string(displayText(found.bookmark)))},
        false};
    for (const auto& warning : found.warnings) {
        findings.lines.push_back(sheetText(warning));
    }
    findings.lines.push_back(sheetText(found.guidance()));
    // Only the work in place with the bookmark left behind can be finished
    // here.
    findings.offer = found.warnings.empty() &&
                     found.topology == FeatureAppendInspection::Topology::routed &&
                     found.bookmark == FeatureAppendInspection::BookmarkState::original;
    return findings;
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
    setFollowUp(QStringLiteral("Recover…"), QStringLiteral("recover-coordinated"), [this] {
        viewModel_.planCoordinatedRecovery(
            record_, planned(this, &CoordinatedRoutingReceiptView::confirmRecovery));
    });
    viewModel_.inspectCoordinatedRouting(record_,
                                         inspected(this, &CoordinatedRoutingReceiptView::describe));
    followOutcome(record_.id, &RewriteModel::coordinatedRecoveryRecord,
                  QStringLiteral("Remaining steps recovered"),
                  QStringLiteral("Recovery needs inspection"));
}

FollowUpReceiptView::Findings CoordinatedRoutingReceiptView::describe(
    const CoordinatedRoutingInspection& found, const CoordinatedRoutingReceiptView& view) {
    Findings findings{{QStringLiteral("Matches: ") + listText(found.matchingStages),
                       QStringLiteral("Feature bookmark: ") + sheetText(found.bookmarkState)},
                      false};
    bool remaining = found.repairs.empty();
    for (const auto& repair : found.repairs) {
        findings.lines.push_back(
            QStringLiteral("Composition %1: routed parents %2; repaired parents %3")
                .arg(sheetText(repair.changeID.substr(0, 8)),
                     repair.matchesRoutedParents ? QStringLiteral("match")
                                                 : QStringLiteral("do not match"),
                     repair.matchesRepairedParents ? QStringLiteral("match")
                                                   : QStringLiteral("do not match")));
        remaining = remaining || !repair.matchesRepairedParents;
    }
    for (const auto& warning : found.warnings) {
        findings.lines.push_back(sheetText(warning));
    }
    findings.lines.push_back(sheetText(std::string(CoordinatedRoutingInspection::guidance())));
    // A routing that stopped short has steps left to recover.
    const auto& receipt = view.record_.receipt;
    findings.offer = remaining && (!receipt || !receipt->succeeded());
    return findings;
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
