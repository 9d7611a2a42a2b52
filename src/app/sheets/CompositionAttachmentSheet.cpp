#include "app/sheets/CompositionAttachmentSheet.h"

#include <QComboBox>
#include <QFormLayout>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>
#include <algorithm>
#include <vector>

#include "app/sheets/CompositionAttachmentReceiptView.h"
#include "app/sheets/SheetDialog.h"
#include "app/viewmodel/RepoViewModel.h"
#include "jjkit/model/TrunkNames.h"
#include "jjkit/rewrites/PlannedFlow.h"

namespace vorda {
namespace {

QString sheetTitle() {
    return QStringLiteral("Attach Feature to Composition");
}

}  // namespace

CompositionAttachmentSheet::CompositionAttachmentSheet(RepoViewModel& viewModel, QWidget* parent)
    : RewriteSheetFrame(parent), viewModel_(viewModel) {
    setObjectName(QStringLiteral("composition-attachment-sheet"));
    showChoosing();
}

void CompositionAttachmentSheet::showChoosing() {
    beginState(sheetTitle());
    addLine(
        QStringLiteral("Add an explicit feature edge to an existing merge. Retain every "
                       "current parent; do not move finished work, advance bookmarks, or "
                       "publish."));
    if (planRefusal_) {
        addHeading(QStringLiteral("This attachment can’t be planned"));
        addLine(sheetText(*planRefusal_), QStringLiteral("plan-refusal"));
    }
    compositionPicker_ = new QComboBox;
    compositionPicker_->setObjectName(QStringLiteral("composition-picker"));
    compositionPicker_->setPlaceholderText(QStringLiteral("Choose an existing loaded merge"));
    featurePicker_ = new QComboBox;
    featurePicker_->setObjectName(QStringLiteral("feature-picker"));
    featurePicker_->setPlaceholderText(QStringLiteral("Choose a feature"));
    auto* pickers = new QFormLayout;
    body()->addLayout(pickers);
    pickers->addRow(QStringLiteral("Composition:"), compositionPicker_);
    pickers->addRow(QStringLiteral("Feature:"), featurePicker_);
    fillPickers();
    addNote(QStringLiteral("Only loaded merges that can be rewritten are listed."));

    addButton(QStringLiteral("Cancel"), [this] { reject(); });
    previewButton_ = addButton(
        QStringLiteral("Preview Attachment"), [this] { requestPlan(); }, true);
    previewButton_->setObjectName(QStringLiteral("preview-attachment"));
    const auto chosen = [this] {
        compositionChangeID_ = compositionPicker_->currentData().toString().toStdString();
        bookmark_ = featurePicker_->currentData().toString().toStdString();
        updatePreviewButton();
    };
    connect(compositionPicker_, &QComboBox::currentIndexChanged, this, chosen);
    connect(featurePicker_, &QComboBox::currentIndexChanged, this, chosen);
    updatePreviewButton();
}

void CompositionAttachmentSheet::fillPickers() {
    const RepoState* state = viewModel_.board().repoState();
    if (state == nullptr) {
        return;
    }
    std::vector<const JJCommit*> merges;
    for (const auto& entry : state->commits) {
        const JJCommit& commit = *entry.second;
        if (commit.parents.size() >= 2 && !commit.immutable) {
            merges.push_back(&commit);
        }
    }
    std::sort(merges.begin(), merges.end(), [](const JJCommit* left, const JJCommit* right) {
        return left->changeID < right->changeID;
    });
    for (const JJCommit* merge : merges) {
        compositionPicker_->addItem(commitText(merge->shortChangeID(), *merge),
                                    sheetText(merge->changeID));
    }
    for (const auto& entry : state->bookmarks) {
        if (!isTrunkName(entry.first)) {
            featurePicker_->addItem(sheetText(entry.first), sheetText(entry.first));
        }
    }
    // What was chosen before stays chosen; nothing is chosen at first.
    compositionPicker_->setCurrentIndex(
        compositionPicker_->findData(sheetText(compositionChangeID_)));
    featurePicker_->setCurrentIndex(featurePicker_->findData(sheetText(bookmark_)));
    compositionChangeID_ = compositionPicker_->currentData().toString().toStdString();
    bookmark_ = featurePicker_->currentData().toString().toStdString();
}

void CompositionAttachmentSheet::updatePreviewButton() {
    previewButton_->setEnabled(!compositionChangeID_.empty() && !bookmark_.empty());
}

void CompositionAttachmentSheet::requestPlan() {
    if (compositionChangeID_.empty() || bookmark_.empty()) {
        return;
    }
    planRefusal_.reset();
    executionRefusal_.reset();
    showWorking(sheetTitle(), QStringLiteral("Preparing…"));
    // A refusal leaves the field alone: only a plan made now may show.
    viewModel_.rewrites().setCompositionAttachmentPlan(std::nullopt);
    viewModel_.send(RepoCommand::PlanCompositionAttachment{compositionChangeID_, bookmark_},
                    [this, guard = QPointer<CompositionAttachmentSheet>(this)] {
                        if (!guard) {
                            return;
                        }
                        plan_ = viewModel_.rewrites().compositionAttachmentPlan();
                        if (plan_) {
                            showPreview();
                            return;
                        }
                        planRefusal_ = viewModel_.activity().mutationError().value_or(
                            "The session did not plan this attachment.");
                        showChoosing();
                    });
}

void CompositionAttachmentSheet::showPreview() {
    const CompositionAttachmentPlan& plan = *plan_;
    beginState(sheetTitle());
    addExecutionRefusal(executionRefusal_);
    addHeading(plan.alreadyIncluded
                   ? QStringLiteral("Feature already included — no rebase needed")
                   : QStringLiteral("Add ") + sheetText(plan.bookmarkName) +
                         QStringLiteral(" to ") +
                         commitText(plan.composition.shortChangeID(), plan.composition))
        ->setObjectName(QStringLiteral("attachment-summary"));
    addLine(QStringLiteral("Exact feature revision: ") + sheetText(plan.target.commitID),
            QStringLiteral("feature-revision"));

    addHeading(QStringLiteral("Retained parents (in order):"));
    std::vector<std::string> proposed;
    for (const auto& parent : plan.retainedParents) {
        addCommitLine(commitText(parent.commitID, parent));
        proposed.push_back(parent.shortCommitID());
    }
    if (!plan.alreadyIncluded) {
        proposed.push_back(plan.target.shortCommitID());
    }
    addLine(QStringLiteral("Proposed parents: ") + listText(proposed),
            QStringLiteral("proposed-parents"));

    addHeading(QStringLiteral("Affected changes"));
    for (const auto& commit : plan.affected) {
        addCommitLine(commitText(commit.shortChangeID(), commit));
    }
    addLine(QStringLiteral("Affected workspaces: ") + workspacesText(plan.affectedWorkspaces),
            QStringLiteral("affected-workspaces"));
    addLine(plural(plan.affected.size(), QStringLiteral("affected change")),
            QStringLiteral("affected-count"));

    addHeading(QStringLiteral("Exact command arguments"));
    if (plan.alreadyIncluded) {
        addLine(QStringLiteral("None: nothing is rebased; the attachment is only recorded."),
                QStringLiteral("command-line"));
    } else {
        // Quoted as the other previews are, so that a copy runs in a shell.
        const auto command = flow::displayCommandLine(plan.commandArguments());
        addLine(sheetText(command), QStringLiteral("command-line"));
        addCopyButton(QStringLiteral("Copy Command"), command);
    }
    addLine(QStringLiteral("Based on operation ") + shortID(plan.operationID),
            QStringLiteral("based-on"));

    const auto change = [this] {
        executionRefusal_.reset();
        showChoosing();
    };
    if (!addPreviewButtons(QStringLiteral("Cancel"), QStringLiteral("Change Selection"),
                           executionRefusal_.has_value(), change, [this] { requestPlan(); })) {
        return;
    }
    addButton(
        QStringLiteral("Attach Feature…"), [this] { confirm(); }, true)
        ->setObjectName(QStringLiteral("attach-feature"));
}

void CompositionAttachmentSheet::confirm() {
    const auto& plan = *plan_;
    auto* sheet = new SheetDialog(QStringLiteral("Confirm composition attachment?"),
                                  QStringLiteral("Confirm"), this);
    const QString feature = sheetText(plan.target.commitID);
    const QString composition = sheetText(plan.composition.changeID);
    sheet
        ->addParagraph(
            plan.alreadyIncluded
                ? QStringLiteral("Record that feature revision %1 is already included in "
                                 "composition %2. Nothing is rebased.")
                      .arg(feature, composition)
                : QStringLiteral("Attach exact feature revision %1 to composition %2, preserving "
                                 "all existing parents. This rewrites %3.")
                      .arg(feature, composition,
                           plural(plan.affected.size(), QStringLiteral("change"))))
        ->setObjectName(QStringLiteral("attachment-confirmation"));
    sheet->setOnConfirm([guard = QPointer<CompositionAttachmentSheet>(this)] {
        if (auto* self = guard.data()) {
            self->execute();
        }
    });
    sheet->open();
}

void CompositionAttachmentSheet::execute() {
    const CompositionAttachmentPlan plan = *plan_;
    showWorking(sheetTitle(), QStringLiteral("Attaching feature…"));
    // Only an outcome of this run may show.
    viewModel_.rewrites().setCompositionAttachmentRecord(std::nullopt);
    viewModel_.send(
        RepoCommand::ExecuteCompositionAttachment{plan},
        [this, guard = QPointer<CompositionAttachmentSheet>(this)] {
            if (!guard) {
                return;
            }
            if (const auto& record = viewModel_.rewrites().compositionAttachmentRecord()) {
                showOutcome(*record);
                return;
            }
            executionRefusal_ =
                viewModel_.activity().mutationError().value_or("The attachment did not start.");
            showPreview();
        });
}

void CompositionAttachmentSheet::showOutcome(
    const OperationRecord<CompositionAttachmentPlan>& record) {
    const auto& receipt = record.receipt;
    if (!receipt || !receipt->succeeded()) {
        beginState(QStringLiteral("Attachment needs inspection"));
    } else if (!receipt->conflictedChangeIDs.empty()) {
        beginState(QStringLiteral("Feature attached — conflicts need attention"));
    } else if (record.plan.alreadyIncluded) {
        beginState(QStringLiteral("Attachment recorded"));
    } else {
        beginState(QStringLiteral("Feature attached"));
    }
    body()->addWidget(new CompositionAttachmentReceiptView(&record));
    addButton(
        QStringLiteral("Done"), [this] { accept(); }, true)
        ->setObjectName(QStringLiteral("done"));
}

}  // namespace vorda
