#include "app/sheets/LocalStackUpdateSheet.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <algorithm>

#include "app/sheets/SheetDialog.h"
#include "app/viewmodel/RepoViewModel.h"

namespace vorda {
namespace {

constexpr int idRole = Qt::UserRole;

QString commitLine(const QString& mark, const JJCommit& commit) {
    return mark + QStringLiteral("  ") + commitText(commit);
}

}  // namespace

LocalStackUpdateSheet::LocalStackUpdateSheet(RepoViewModel& viewModel, QWidget* parent)
    : RewriteSheetFrame(parent), viewModel_(viewModel) {
    setObjectName(QStringLiteral("local-stack-update-sheet"));
    const auto& rewrites = viewModel.rewrites();
    if (const auto* state = viewModel.board().repoState()) {
        choices_ = LocalStackChoices::build(*state, rewrites.localStackUpdateSeedBookmarks(),
                                            rewrites.localStackUpdateSeedChangeID());
    }
    chosen_ = choices_.preselected;
    showChoosing();
}

void LocalStackUpdateSheet::showChoosing() {
    beginState(QStringLiteral("Choose Local Stacks"));
    tree_ = nullptr;
    addLine(QStringLiteral("Choose which of your stacks to rebase."));
    addLine(QStringLiteral("Onto %1 · current")
                .arg(sheetText(viewModel_.board().trunkBookmarkName().value_or("trunk()"))),
            QStringLiteral("stack-target"));
    if (planRefusal_) {
        addHeading(QStringLiteral("This selection can’t be rebased"));
        auto* reason = addLine(sheetText(*planRefusal_), QStringLiteral("plan-refusal"));
        reason->hide();
        auto* why = new QPushButton(QStringLiteral("Why?"));
        why->setObjectName(QStringLiteral("why"));
        connect(why, &QPushButton::clicked, reason, [reason] { reason->setVisible(true); });
        body()->addWidget(why, 0, Qt::AlignLeft);
    }
    if (choices_.empty()) {
        addLine(QStringLiteral("No eligible local stacks"), QStringLiteral("no-stacks"));
    } else {
        auto* tools = new QHBoxLayout;
        auto* search = new QLineEdit;
        search->setPlaceholderText(QStringLiteral("Find a stack"));
        search->setClearButtonEnabled(true);
        auto* all = new QPushButton(QStringLiteral("All"));
        auto* none = new QPushButton(QStringLiteral("None"));
        tools->addWidget(search, 1);
        tools->addWidget(all);
        tools->addWidget(none);
        body()->addLayout(tools);
        tree_ = new QTreeWidget;
        tree_->setHeaderHidden(true);
        tree_->setColumnCount(2);
        tree_->setMinimumHeight(220);
        body()->addWidget(tree_, 1);
        fillChoiceTree();
        connect(search, &QLineEdit::textChanged, this, &LocalStackUpdateSheet::filterChoices);
        connect(all, &QPushButton::clicked, this, [this] { setAllVisibleChosen(true); });
        connect(none, &QPushButton::clicked, this, [this] { setAllVisibleChosen(false); });
    }
    addNote(QStringLiteral("Only your mutable local work is listed."));
    addButton(QStringLiteral("Cancel"), [this] { reject(); });
    chooseButton_ = addButton(
        {}, [this] { requestPlan(); }, true);
    chooseButton_->setObjectName(QStringLiteral("rebase-selected"));
    updateChooseButton();
}

void LocalStackUpdateSheet::fillChoiceTree() {
    const auto group = [&](const QString& title,
                           const std::vector<LocalStackChoices::Stack>& list) {
        if (list.empty()) {
            return;
        }
        auto* heading = new QTreeWidgetItem(tree_, {title});
        heading->setFlags(Qt::ItemIsEnabled);
        auto font = heading->font(0);
        font.setBold(true);
        heading->setFont(0, font);
        for (const auto& stack : list) {
            auto* item =
                new QTreeWidgetItem(heading, {sheetText(stack.title), sheetText(stack.summary)});
            item->setData(0, idRole, sheetText(stack.id));
            item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsUserCheckable);
            item->setCheckState(0, chosen_.contains(stack.id) ? Qt::Checked : Qt::Unchecked);
            if (stack.isBehindTrunk) {
                item->setToolTip(0, QStringLiteral("Behind trunk"));
            }
        }
        heading->setExpanded(true);
    };
    group(QStringLiteral("Bookmarked"), choices_.bookmarked);
    group(QStringLiteral("Unnamed"), choices_.unnamed);
    tree_->resizeColumnToContents(0);
    connect(tree_, &QTreeWidget::itemChanged, this, [this](QTreeWidgetItem* item) {
        const auto id = item->data(0, idRole).toString().toStdString();
        if (id.empty()) {
            return;
        }
        if (item->checkState(0) == Qt::Checked) {
            chosen_.insert(id);
        } else {
            chosen_.erase(id);
        }
        updateChooseButton();
    });
}

void LocalStackUpdateSheet::filterChoices(const QString& text) {
    for (int group = 0; group < tree_->topLevelItemCount(); ++group) {
        auto* heading = tree_->topLevelItem(group);
        for (int row = 0; row < heading->childCount(); ++row) {
            auto* item = heading->child(row);
            item->setHidden(!text.isEmpty() && !item->text(0).contains(text, Qt::CaseInsensitive) &&
                            !item->text(1).contains(text, Qt::CaseInsensitive));
        }
    }
}

void LocalStackUpdateSheet::setAllVisibleChosen(bool chosen) {
    for (int group = 0; group < tree_->topLevelItemCount(); ++group) {
        auto* heading = tree_->topLevelItem(group);
        for (int row = 0; row < heading->childCount(); ++row) {
            if (auto* item = heading->child(row); !item->isHidden()) {
                item->setCheckState(0, chosen ? Qt::Checked : Qt::Unchecked);
            }
        }
    }
}

void LocalStackUpdateSheet::updateChooseButton() {
    chooseButton_->setText(QStringLiteral("Rebase %1 selected").arg(chosen_.size()));
    chooseButton_->setEnabled(!chosen_.empty());
}

void LocalStackUpdateSheet::requestPlan() {
    if (chosen_.empty()) {
        return;
    }
    planRefusal_.reset();
    executionRefusal_.reset();
    showWorking(QStringLiteral("Rebase Local Stacks"), QStringLiteral("Preparing your rebase…"));
    // A refusal leaves the field alone: only a plan made now may show.
    viewModel_.rewrites().setLocalStackUpdatePlan(std::nullopt);
    viewModel_.send(RepoCommand::PlanLocalStackUpdate{LocalStackChoices::bookmarksOf(chosen_),
                                                      LocalStackChoices::changeIDsOf(chosen_)},
                    [this, guard = QPointer<LocalStackUpdateSheet>(this)] {
                        if (!guard) {
                            return;
                        }
                        plan_ = viewModel_.rewrites().localStackUpdatePlan();
                        if (plan_) {
                            showPreview();
                            return;
                        }
                        planRefusal_ = viewModel_.activity().mutationError().value_or(
                            "The session did not plan this selection.");
                        showChoosing();
                    });
}

void LocalStackUpdateSheet::showPreview() {
    const LocalStackUpdatePlan& plan = *plan_;
    const LocalStackRebaseSummary summary(plan);
    beginState(QStringLiteral("Rebase Local Stacks"));
    // Why the last confirmation did nothing comes first: it is the news.
    addExecutionRefusal(executionRefusal_);

    QString counts = plural(summary.stacks.size(), QStringLiteral("local stack")) +
                     QStringLiteral(" · ") +
                     plural(summary.movingCommitCount, QStringLiteral("unique commit"));
    if (summary.sharedCommitCount > 0) {
        counts += QStringLiteral(" · %1 shared").arg(summary.sharedCommitCount);
    }
    addHeading(counts)->setObjectName(QStringLiteral("stack-counts"));
    if (summary.sharedCommitCount > 0) {
        addNote(QStringLiteral("%1 shared with another selected stack; rebased only once.")
                    .arg(summary.sharedCommitCount));
    }

    // Nothing moves when every stack already stands on trunk.
    const QString moves = plan.hasChanges() ? QStringLiteral("Moves") : QStringLiteral("Stays");
    for (const auto& stack : summary.stacks) {
        addHeading(stack.bookmarkName
                       ? sheetText(*stack.bookmarkName)
                       : QStringLiteral("one-off ") + sheetText(stack.tip.changeID.substr(0, 8)));
        for (const auto& commit : stack.commits) {
            addCommitLine(commitLine(moves, commit));
        }
    }
    for (const auto& commit : summary.followingCommits) {
        addCommitLine(commitLine(QStringLiteral("Follows"), commit));
    }
    for (const auto& commit : plan.preservedDependencies) {
        addCommitLine(commitLine(QStringLiteral("Stays"), commit));
    }

    if (plan.hasChanges()) {
        addHeading(plural(plan.affectedCommits.size(), QStringLiteral("change")) +
                   QStringLiteral(" ready to rebase"));
    } else {
        addHeading(QStringLiteral("These stacks are already up to date"));
    }
    const auto conflicts = static_cast<std::size_t>(
        std::count_if(plan.affectedCommits.begin(), plan.affectedCommits.end(),
                      [](const JJCommit& commit) { return commit.conflict; }));
    if (conflicts > 0) {
        addHeading(plural(conflicts, QStringLiteral("existing conflict")));
        addLine(QStringLiteral("Rebasing may change these conflicts or introduce new ones."));
    }
    if (const auto published = plan.publishedCommitCount(); published > 0) {
        addHeading(QStringLiteral("Published history will change"));
        addLine(QStringLiteral("%1 changes carry remote bookmarks. A later push may require "
                               "force-pushing.")
                    .arg(published));
    }
    addHeading(QStringLiteral("Protected history"));
    const auto protectedCount = plan.protectedDependencies().size();
    addLine(protectedCount == 0
                ? QStringLiteral("No immutable commit is rewritten.")
                : QStringLiteral("%1 stay where they are; no immutable commit is rewritten.")
                      .arg(plural(protectedCount, QStringLiteral("protected dependency"),
                                  QStringLiteral("protected dependencies"))));
    addHeading(QStringLiteral("No new merge inputs"));
    addLine(QStringLiteral("Merges keep the parents they have; no parent is added."));

    addHeading(QStringLiteral("Details"));
    addLine(plural(plan.roots.size(), QStringLiteral("root")) + QStringLiteral(" · ") +
            plural(plan.affectedCommits.size(), QStringLiteral("affected change")));
    addLine(QStringLiteral("Affected bookmarks: ") + listText(plan.affectedBookmarkNames()));
    addLine(QStringLiteral("Affected workspaces: ") + workspacesText(plan.affectedWorkspaces));
    addLine(sheetText(plan.commandLine()), QStringLiteral("command-line"));
    addCopyButton(QStringLiteral("Copy Command"), plan.commandLine());
    addLine(QStringLiteral("Based on operation ") + shortID(plan.operationID),
            QStringLiteral("based-on"));
    addNote(QStringLiteral("This does not fetch or push. Conflicts are not predicted."));

    const auto change = [this] {
        executionRefusal_.reset();
        showChoosing();
    };
    if (!addPreviewButtons(QStringLiteral("Cancel"), QStringLiteral("Change Selection…"),
                           executionRefusal_.has_value(), change, [this] { requestPlan(); })) {
        return;
    }
    auto* review = addButton(
        conflicts > 0 ? QStringLiteral("Review Conflicts…") : QStringLiteral("Review Rebase"),
        [this] { confirm(); }, true);
    review->setObjectName(QStringLiteral("review-rebase"));
    review->setEnabled(plan.hasChanges());
}

void LocalStackUpdateSheet::confirm() {
    const auto& plan = *plan_;
    const bool conflicted = std::any_of(plan.affectedCommits.begin(), plan.affectedCommits.end(),
                                        [](const JJCommit& commit) { return commit.conflict; });
    if (!conflicted) {
        execute();
        return;
    }
    // Conflicted work is rebased only after the user has seen which.
    auto* sheet = new SheetDialog(QStringLiteral("Rebase conflicted changes?"),
                                  QStringLiteral("Rebase"), this);
    sheet->addParagraph(
        QStringLiteral("Rebasing may change these conflicts or introduce new ones."));
    for (const auto& commit : plan.affectedCommits) {
        if (commit.conflict) {
            sheet->addParagraph(commitLine(QStringLiteral("Conflict"), commit));
        }
    }
    sheet->setOnConfirm([guard = QPointer<LocalStackUpdateSheet>(this)] {
        if (guard) {
            guard->execute();
        }
    });
    sheet->open();
}

void LocalStackUpdateSheet::execute() {
    const LocalStackUpdatePlan plan = *plan_;
    showWorking(QStringLiteral("Rebase Local Stacks"), QStringLiteral("Rebasing local stacks…"));
    viewModel_.rewrites().setLocalStackUpdateReceipt(std::nullopt);
    viewModel_.send(RepoCommand::ExecuteLocalStackUpdate{plan},
                    [this, guard = QPointer<LocalStackUpdateSheet>(this)] {
                        if (!guard) {
                            return;
                        }
                        if (const auto& receipt = viewModel_.rewrites().localStackUpdateReceipt()) {
                            showOutcome(*receipt);
                            return;
                        }
                        executionRefusal_ = viewModel_.activity().mutationError().value_or(
                            "The rebase did not start.");
                        showPreview();
                    });
}

void LocalStackUpdateSheet::showOutcome(const LocalStackUpdateReceipt& receipt) {
    if (!receipt.succeeded()) {
        beginState(QStringLiteral("Rebase needs inspection"));
    } else if (!receipt.conflictedChangeIDs.empty()) {
        beginState(QStringLiteral("Rebased — conflicts need attention"));
    } else {
        beginState(QStringLiteral("Local stacks rebased"));
    }
    if (plan_) {
        std::vector<std::string> stacks = plan_->bookmarkNames;
        for (const auto& tip : plan_->oneOffTips) {
            stacks.push_back("one-off " + tip.changeID.substr(0, 8));
        }
        addLine(QStringLiteral("Stacks: ") + listText(stacks));
    }
    addLine(QStringLiteral("Before: ") + shortID(receipt.beforeOperationID));
    addLine(QStringLiteral("After: ") + (receipt.afterOperationID
                                             ? shortID(*receipt.afterOperationID)
                                             : QStringLiteral("unavailable")));
    if (receipt.commandError) {
        addLine(sheetText(*receipt.commandError), QStringLiteral("command-error"));
    }
    for (const auto& warning : receipt.verificationWarnings) {
        addLine(sheetText(warning));
    }
    if (!receipt.conflictedChangeIDs.empty()) {
        addLine(QStringLiteral("Conflicted changes: ") + listText(receipt.conflictedChangeIDs));
    }
    std::vector<std::string> stale;
    const auto& current = viewModel_.board().selectedWorkspaceName();
    std::copy_if(receipt.affectedWorkspaceNames.begin(), receipt.affectedWorkspaceNames.end(),
                 std::back_inserter(stale),
                 [&](const std::string& name) { return name != current; });
    if (!stale.empty()) {
        addHeading(QStringLiteral("Other working directories need refreshing"));
        addLine(QStringLiteral("Run jj workspace update-stale in: ") + listText(stale));
    }
    addNote(
        QStringLiteral("Receipt saved in Repo → Operation Log. Local recovery does not undo "
                       "remote pushes."));
    addButton(
        QStringLiteral("Done"), [this] { accept(); }, true)
        ->setObjectName(QStringLiteral("done"));
}

}  // namespace vorda
