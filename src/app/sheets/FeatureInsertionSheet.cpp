#include "app/sheets/FeatureInsertionSheet.h"

#include <QComboBox>
#include <QFormLayout>
#include <QLabel>
#include <QListWidget>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>
#include <algorithm>

#include "app/sheets/FollowUpReceiptViews.h"
#include "app/sheets/SheetDialog.h"
#include "app/viewmodel/RepoViewModel.h"

namespace vorda {
namespace {

constexpr int idRole = Qt::UserRole;

QString shortChange(const JJCommit& commit) {
    return sheetText(commit.changeID.substr(0, 8));
}

std::vector<std::string> bookmarksOf(const std::vector<JJCommit>& commits) {
    std::set<std::string> names;
    for (const auto& commit : commits) {
        for (const auto& bookmark : commit.localBookmarks) {
            names.insert(bookmark.name);
        }
    }
    return {names.begin(), names.end()};
}

/// `ids` shown by the changes they name among `commits`, else shortened.
QString parentsText(const std::vector<std::string>& ids, const std::vector<JJCommit>& commits) {
    std::vector<std::string> shown;
    shown.reserve(ids.size());
    for (const auto& id : ids) {
        const auto found =
            std::find_if(commits.begin(), commits.end(),
                         [&](const JJCommit& commit) { return commit.commitID == id; });
        shown.push_back(found == commits.end() ? id.substr(0, 12) : found->changeID.substr(0, 8));
    }
    return listText(shown);
}

}  // namespace

FeatureInsertionSheet::FeatureInsertionSheet(RepoViewModel& viewModel, QWidget* parent)
    : RewriteSheetFrame(parent), viewModel_(viewModel) {
    setObjectName(QStringLiteral("feature-insertion-sheet"));
    if (const auto* state = viewModel.board().repoState()) {
        choices_ = FeatureRoutingChoices::build(*state);
    }
    const auto& rewrites = viewModel.rewrites();
    chosenWork_ = rewrites.routingSeedChangeIDs();
    feature_ = rewrites.routingSeedBookmark();
    anchor_ = rewrites.routingSeedAfter();
    if (!feature_.empty() && anchor_.empty()) {
        mode_ = Mode::appendTo;
    }
    showChoosing();
}

void FeatureInsertionSheet::showChoosing() {
    beginState(QStringLiteral("Move to Feature"));
    addLine(
        QStringLiteral("Move—not copy—finished work into a feature while retaining it in the "
                       "environment. Publishing remains separate."));
    if (planRefusal_) {
        addHeading(QStringLiteral("This routing can’t be previewed"))
            ->setStyleSheet(QStringLiteral("color: #c0392b;"));
        addLine(sheetText(*planRefusal_), QStringLiteral("plan-refusal"));
    }

    auto* form = new QFormLayout;
    auto* modes = new QComboBox;
    modes->setObjectName(QStringLiteral("routing-mode"));
    modes->addItems({QStringLiteral("Insert after"), QStringLiteral("Insert into"),
                     QStringLiteral("Append to")});
    modes->setCurrentIndex(static_cast<int>(mode_));
    auto* features = new QComboBox;
    features->setObjectName(QStringLiteral("feature-picker"));
    features->setPlaceholderText(QStringLiteral("Choose a feature"));
    for (const auto& feature : choices_.features) {
        features->addItem(sheetText(feature.title), sheetText(feature.id));
    }
    features->setCurrentIndex(features->findData(sheetText(feature_)));
    anchorPicker_ = new QComboBox;
    anchorPicker_->setObjectName(QStringLiteral("anchor-picker"));
    anchorPicker_->setPlaceholderText(QStringLiteral("Choose an ancestor of the feature tip"));
    form->addRow(QStringLiteral("Routing"), modes);
    form->addRow(QStringLiteral("Feature"), features);
    form->addRow(QStringLiteral("Anchor"), anchorPicker_);
    if (!choices_.compositions.empty()) {
        auto* repairs = new QComboBox;
        repairs->setObjectName(QStringLiteral("repair-picker"));
        repairs->addItem(QStringLiteral("No attachment repair"), QString());
        for (const auto& composition : choices_.compositions) {
            repairs->addItem(sheetText(composition.title), sheetText(composition.id));
        }
        repairs->setCurrentIndex(std::max(0, repairs->findData(sheetText(repair_))));
        form->addRow(QStringLiteral("Repair composition"), repairs);
        connect(repairs, &QComboBox::currentIndexChanged, this,
                [this, repairs] { repair_ = repairs->currentData().toString().toStdString(); });
    }
    body()->addLayout(form);
    fillAnchors();

    addHeading(QStringLiteral("Finished commits (loaded, unbookmarked work)"));
    if (choices_.finishedWork.empty()) {
        addLine(QStringLiteral("No eligible loaded commits."));
    } else {
        auto* work = new QListWidget;
        work->setObjectName(QStringLiteral("finished-work"));
        work->setMinimumHeight(160);
        for (const auto& entry : choices_.finishedWork) {
            auto* item = new QListWidgetItem(sheetText(entry.title), work);
            item->setData(idRole, sheetText(entry.id));
            item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsUserCheckable);
            item->setCheckState(chosenWork_.contains(entry.id) ? Qt::Checked : Qt::Unchecked);
        }
        body()->addWidget(work, 1);
        connect(work, &QListWidget::itemChanged, this, [this](QListWidgetItem* item) {
            const auto id = item->data(idRole).toString().toStdString();
            if (item->checkState() == Qt::Checked) {
                chosenWork_.insert(id);
            } else {
                chosenWork_.erase(id);
            }
            updatePreviewButton();
        });
    }
    addNote(
        QStringLiteral("No composition is inferred from its name. Preview resolves complete "
                       "history and refuses cycles, ambiguous targets, and protected rewrites. "
                       "It may snapshot pending files."));

    connect(modes, &QComboBox::currentIndexChanged, this, [this](int index) {
        mode_ = static_cast<Mode>(index);
        fillAnchors();
    });
    connect(features, &QComboBox::currentIndexChanged, this, [this, features] {
        feature_ = features->currentData().toString().toStdString();
        anchor_.clear();
        fillAnchors();
    });
    connect(anchorPicker_, &QComboBox::currentIndexChanged, this, [this] {
        if (mode_ == Mode::insertAfter) {
            anchor_ = anchorPicker_->currentData().toString().toStdString();
        }
        updatePreviewButton();
    });

    addButton(QStringLiteral("Close"), [this] { reject(); });
    previewButton_ = addButton(
        QStringLiteral("Preview Routing"), [this] { requestPlan(); }, true);
    previewButton_->setObjectName(QStringLiteral("preview-routing"));
    updatePreviewButton();
}

void FeatureInsertionSheet::fillAnchors() {
    const QSignalBlocker blocker(anchorPicker_);
    anchorPicker_->clear();
    anchorPicker_->setEnabled(mode_ == Mode::insertAfter);
    if (mode_ == Mode::insertInto) {
        anchorPicker_->addItem(QStringLiteral("Insert before existing tip"));
    } else if (mode_ == Mode::appendTo) {
        anchorPicker_->addItem(QStringLiteral("Append after tip"));
    } else if (const auto* state = viewModel_.board().repoState()) {
        for (const auto& entry : FeatureRoutingChoices::anchors(*state, feature_)) {
            anchorPicker_->addItem(sheetText(entry.title), sheetText(entry.id));
        }
        anchorPicker_->setCurrentIndex(anchorPicker_->findData(sheetText(anchor_)));
    }
    if (mode_ != Mode::insertAfter) {
        anchorPicker_->setCurrentIndex(0);
    }
    updatePreviewButton();
}

void FeatureInsertionSheet::updatePreviewButton() {
    if (previewButton_ != nullptr) {
        previewButton_->setEnabled(!feature_.empty() && !chosenWork_.empty() &&
                                   (mode_ != Mode::insertAfter || !anchor_.empty()));
    }
}

void FeatureInsertionSheet::requestPlan() {
    // "Insert into" goes after the commit under the tip.
    std::string after = anchor_;
    const auto* state = viewModel_.board().repoState();
    if (mode_ == Mode::insertInto && state != nullptr) {
        after.clear();
        const auto bookmark = state->bookmarks.find(feature_);
        if (bookmark != state->bookmarks.end() && !bookmark->second.commitIDs.empty()) {
            const auto tip = state->commits.find(bookmark->second.commitIDs.front());
            if (tip != state->commits.end() && !tip->second->parents.empty()) {
                const auto parent = state->commits.find(tip->second->parents.front());
                after = parent == state->commits.end() ? "" : parent->second->changeID;
            }
        }
    }
    const std::vector<std::string> work(chosenWork_.begin(), chosenWork_.end());
    RepoCommand command = RepoCommand::PlanFeatureAppend{work, feature_};
    if (!repair_.empty()) {
        command = RepoCommand::PlanCoordinatedRouting{
            work, mode_ == Mode::appendTo ? std::nullopt : std::optional(after), feature_, repair_};
    } else if (mode_ != Mode::appendTo) {
        command = RepoCommand::PlanFeatureInsertion{work, after, feature_};
    }
    planRefusal_.reset();
    executionRefusal_.reset();
    // A refusal leaves the fields alone: only a plan made now may show.
    auto& rewrites = viewModel_.rewrites();
    rewrites.setFeatureInsertionPlan(std::nullopt);
    rewrites.setFeatureAppendPlan(std::nullopt);
    rewrites.setCoordinatedRoutingPlan(std::nullopt);
    showWorking(QStringLiteral("Move to Feature"),
                QStringLiteral("Preparing the routing preview…"));
    viewModel_.send(std::move(command), [this, guard = QPointer<FeatureInsertionSheet>(this)] {
        if (guard.isNull()) {
            return;
        }
        plan_ = plannedForChoice();
        if (!std::holds_alternative<std::monostate>(plan_)) {
            showPreview();
            return;
        }
        planRefusal_ = viewModel_.activity().mutationError().value_or(
            "The session did not plan this routing.");
        showChoosing();
    });
}

FeatureInsertionSheet::Plan FeatureInsertionSheet::plannedForChoice() const {
    const auto& rewrites = viewModel_.rewrites();
    if (!repair_.empty()) {
        if (const auto& plan = rewrites.coordinatedRoutingPlan()) {
            return *plan;
        }
    } else if (mode_ == Mode::appendTo) {
        if (const auto& plan = rewrites.featureAppendPlan()) {
            return *plan;
        }
    } else if (const auto& plan = rewrites.featureInsertionPlan()) {
        return *plan;
    }
    return std::monostate{};
}

void FeatureInsertionSheet::addRoutingLines(const FeatureInsertionPlan& topology) {
    addHeading(QStringLiteral("Selected work"));
    for (const auto& commit : topology.selected) {
        addCommitLine(commitText(commit));
    }
    addCommitLine(QStringLiteral("Destination: ") + commitText(topology.destination));
    addCommitLine(QStringLiteral("Feature tip: ") + commitText(topology.featureTip));
    addLine(QStringLiteral("Affected bookmarks: ") + listText(bookmarksOf(topology.affected)));
    addLine(QStringLiteral("Affected workspaces: ") + workspacesText(topology.affectedWorkspaces));
    addLine(plural(topology.affected.size(), QStringLiteral("affected change")));
    addLine(sheetText(topology.commandLine()), QStringLiteral("command-line"));
    addCopyButton(QStringLiteral("Copy Command"), topology.commandLine());
    addLine(QStringLiteral("Based on operation ") + shortID(topology.operationID),
            QStringLiteral("based-on"));
}

void FeatureInsertionSheet::addCoordinatedLines(const CoordinatedFeatureRoutingPlan& plan) {
    addHeading((plan.appending ? QStringLiteral("Append to") : QStringLiteral("Insert into")) +
               QStringLiteral(" with explicit attachment repair"));
    addLine(QStringLiteral("Non-atomic sequence: route selected work, repair each approved "
                           "composition, then ") +
            (plan.appending ? QStringLiteral("advance the feature bookmark last")
                            : QStringLiteral("retain the feature bookmark on its rewritten tip")));
    addLine(QStringLiteral("Routing temporarily removes work from its source consumers until "
                           "repairs finish. A conflict or interruption can leave that partial "
                           "state. No automatic resume, retry, rollback, or push."))
        ->setStyleSheet(QStringLiteral("color: #b9770e;"));
    for (const auto& commit : plan.selected) {
        addCommitLine(commitText(commit));
    }
    addCommitLine(QStringLiteral("Destination: ") + commitText(plan.destination));
    addNote(
        QStringLiteral("Parent IDs identify original revisions. Rewritten identities are "
                       "resolved and verified at every checkpoint."));
    addLine(QStringLiteral("Affected bookmarks: ") + listText(bookmarksOf(plan.affected)));
    addLine(QStringLiteral("Affected workspaces: ") + workspacesText(plan.affectedWorkspaces));
    for (const auto& repair : plan.repairs) {
        addCommitLine(QStringLiteral("Repair composition: ") + commitText(repair.composition));
        addLine(QStringLiteral("Original parents: ") +
                parentsText(repair.composition.parents, plan.affected));
        addLine(QStringLiteral("After routing: ") +
                parentsText(repair.routedParentIDs, plan.affected));
        addLine(QStringLiteral("After repair: ") +
                parentsText(repair.finalParentIDs, plan.affected));
    }
    addLine(QStringLiteral("Based on operation ") + shortID(plan.operationID),
            QStringLiteral("based-on"));
}

void FeatureInsertionSheet::showPreview() {
    beginState(QStringLiteral("Move to Feature"));
    addExecutionRefusal(executionRefusal_);
    QString action;
    if (const auto* insertion = std::get_if<FeatureInsertionPlan>(&plan_)) {
        addHeading(QStringLiteral("Insert %1 into %2 after %3")
                       .arg(plural(insertion->selected.size(), QStringLiteral("change")),
                            sheetText(insertion->bookmarkName),
                            shortChange(insertion->destination)));
        addRoutingLines(*insertion);
        addNote(QStringLiteral("The feature bookmark follows its rewritten tip."));
        action = QStringLiteral("Move Selected Work");
    } else if (const auto* append = std::get_if<FeatureAppendPlan>(&plan_)) {
        addHeading(QStringLiteral("Append %1 to %2 after its tip")
                       .arg(plural(append->topology.selected.size(), QStringLiteral("change")),
                            sheetText(append->topology.bookmarkName)));
        addRoutingLines(append->topology);
        addNote(QStringLiteral("The feature bookmark then advances to the last appended change."));
        action = QStringLiteral("Append Selected Work");
    } else if (const auto* coordinated = std::get_if<CoordinatedFeatureRoutingPlan>(&plan_)) {
        addCoordinatedLines(*coordinated);
        action = QStringLiteral("Route and Repair…");
    }

    const auto change = [this] {
        executionRefusal_.reset();
        showChoosing();
    };
    if (!addPreviewButtons(QStringLiteral("Close"), QStringLiteral("Change Selection"),
                           executionRefusal_.has_value(), change, [this] { requestPlan(); })) {
        return;
    }
    addButton(
        action,
        [this] {
            if (const auto* plan = std::get_if<CoordinatedFeatureRoutingPlan>(&plan_)) {
                confirmCoordinated(*plan);
            } else {
                execute();
            }
        },
        true)
        ->setObjectName(QStringLiteral("route"));
}

void FeatureInsertionSheet::confirmCoordinated(const CoordinatedFeatureRoutingPlan& plan) {
    auto* confirm = new SheetDialog(QStringLiteral("Route work and repair attachments?"),
                                    QStringLiteral("Route and Repair"), this);
    confirm->addParagraph(
        QStringLiteral("Move %1 changes into %2 and repair %3 explicitly selected compositions, "
                       "based on operation %4. This is not atomic: interruptions can leave work "
                       "missing from source consumers. ")
            .arg(plan.selected.size())
            .arg(sheetText(plan.bookmarkName))
            .arg(plan.repairs.size())
            .arg(shortID(plan.operationID)) +
        (plan.appending ? QStringLiteral("The feature bookmark advances only after repairs verify.")
                        : QStringLiteral("The feature bookmark follows its rewritten tip.")) +
        QStringLiteral(" No automatic resume, rollback, or push."));
    confirm->makeDestructive();
    confirm->setOnConfirm([guard = QPointer<FeatureInsertionSheet>(this)] {
        if (auto* sheet = guard.data(); sheet != nullptr) {
            sheet->execute();
        }
    });
    confirm->open();
}

void FeatureInsertionSheet::execute() {
    RepoCommand command = RepoCommand::Undo{};
    if (const auto* insertion = std::get_if<FeatureInsertionPlan>(&plan_)) {
        command = RepoCommand::ExecuteFeatureInsertion{*insertion};
    } else if (const auto* append = std::get_if<FeatureAppendPlan>(&plan_)) {
        command = RepoCommand::ExecuteFeatureAppend{*append};
    } else if (const auto* coordinated = std::get_if<CoordinatedFeatureRoutingPlan>(&plan_)) {
        command = RepoCommand::ExecuteCoordinatedRouting{*coordinated};
    } else {
        return;
    }
    showWorking(QStringLiteral("Move to Feature"), QStringLiteral("Routing selected work…"));
    // Only an outcome of this run may show.
    auto& rewrites = viewModel_.rewrites();
    rewrites.setFeatureInsertionReceipt(std::nullopt);
    rewrites.setFeatureAppendRecord(std::nullopt);
    rewrites.setCoordinatedRoutingRecord(std::nullopt);
    viewModel_.send(std::move(command), [this, guard = QPointer<FeatureInsertionSheet>(this)] {
        if (guard.isNull()) {
            return;
        }
        const auto& outcomes = viewModel_.rewrites();
        const bool finished = std::holds_alternative<FeatureInsertionPlan>(plan_)
                                  ? outcomes.featureInsertionReceipt().has_value()
                              : std::holds_alternative<FeatureAppendPlan>(plan_)
                                  ? outcomes.featureAppendRecord().has_value()
                                  : outcomes.coordinatedRoutingRecord().has_value();
        if (finished) {
            showOutcome();
            return;
        }
        executionRefusal_ =
            viewModel_.activity().mutationError().value_or("The routing did not start.");
        showPreview();
    });
}

void FeatureInsertionSheet::showOutcome() {
    const auto& rewrites = viewModel_.rewrites();
    if (const auto& record = rewrites.featureAppendRecord();
        record && std::holds_alternative<FeatureAppendPlan>(plan_)) {
        beginState(QStringLiteral("Work appended"));
        body()->addWidget(new FeatureAppendReceiptView(viewModel_, *record));
    } else if (const auto& coordinated = rewrites.coordinatedRoutingRecord();
               coordinated && std::holds_alternative<CoordinatedFeatureRoutingPlan>(plan_)) {
        beginState(QStringLiteral("Work routed"));
        body()->addWidget(new CoordinatedRoutingReceiptView(viewModel_, *coordinated));
    } else if (const auto& receipt = rewrites.featureInsertionReceipt()) {
        beginState(QStringLiteral("Work moved into feature"));
        addHeading(ReceiptView::outcomeText(receipt))
            ->setObjectName(QStringLiteral("receipt-outcome"));
        addLine(QStringLiteral("Before: ") + shortID(receipt->beforeOperationID));
        addLine(QStringLiteral("After: ") + (receipt->afterOperationID
                                                 ? shortID(*receipt->afterOperationID)
                                                 : QStringLiteral("not recorded")));
        if (receipt->commandError) {
            addLine(sheetText(*receipt->commandError));
        }
        for (const auto& warning : receipt->verificationWarnings) {
            addLine(sheetText(warning));
        }
        if (!receipt->conflictedChangeIDs.empty()) {
            addLine(QStringLiteral("Conflicted changes: ") +
                    listText(receipt->conflictedChangeIDs));
        }
    }
    addNote(
        QStringLiteral("Saved receipts are in Repo → Operation Log. Publishing remains "
                       "separate."));
    addButton(
        QStringLiteral("Done"), [this] { accept(); }, true)
        ->setObjectName(QStringLiteral("done"));
}

}  // namespace vorda
