#include "app/sheets/CommitSheets.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QStyle>
#include <QVBoxLayout>
#include <filesystem>
#include <regex>

#include "app/viewmodel/RepoViewModel.h"

namespace vorda {

DescribeCommitSheet::DescribeCommitSheet(RepoViewModel& viewModel, const JJCommit& commit,
                                         QWidget* parent)
    : SheetDialog(QString::fromStdString("Describe " + commit.shortChangeID()),
                  QStringLiteral("Save"), parent),
      description_(new QPlainTextEdit(QString::fromStdString(commit.description), this)) {
    setObjectName(QStringLiteral("describe-sheet"));
    if (commit.immutable) {
        addImmutableMark();
    }
    body()->addWidget(description_);
    description_->setFocus();
    setOnConfirm([this, model = QPointer<RepoViewModel>(&viewModel), changeID = commit.changeID,
                  immutable = commit.immutable] {
        if (model) {
            model->send(RepoCommand::DescribeCommit{
                changeID, description_->toPlainText().toStdString(), immutable});
        }
    });
}

SplitCommitSheet::SplitCommitSheet(RepoViewModel& viewModel, const JJCommit& commit,
                                   const UnifiedDiff& diff, QWidget* parent)
    : SheetDialog(QString::fromStdString("Split " + commit.shortChangeID()),
                  QStringLiteral("Split"), parent),
      byHunks_(new QCheckBox(QStringLiteral("Split by hunks"), this)),
      explanation_(new QLabel(this)),
      choices_(new HunkChoiceTree(diff, true, this)),
      counts_(new QLabel(this)) {
    setObjectName(QStringLiteral("split-sheet"));
    if (commit.immutable) {
        addImmutableMark();
    }
    body()->addWidget(byHunks_);
    explanation_->setWordWrap(true);
    body()->addWidget(explanation_);
    body()->addWidget(choices_);
    body()->addWidget(counts_);
    connect(byHunks_, &QCheckBox::toggled, this, &SplitCommitSheet::update);
    connect(choices_, &HunkChoiceTree::choiceChanged, this, &SplitCommitSheet::update);
    update();
    setOnConfirm([this, model = QPointer<RepoViewModel>(&viewModel), changeID = commit.changeID,
                  immutable = commit.immutable] {
        if (!model) {
            return;
        }
        if (byHunks_->isChecked()) {
            model->splitCommitByHunks(changeID, choices_->checkedHunks(), immutable);
        } else {
            model->send(RepoCommand::SplitCommit{changeID, choices_->checkedPaths(), immutable});
        }
    });
}

void SplitCommitSheet::update() {
    const bool byHunks = byHunks_->isChecked();
    explanation_->setText(
        byHunks ? QStringLiteral("Checked hunks stay in this commit; unchecked hunks move to a new "
                                 "commit that takes its place.")
                : QStringLiteral("Checked files stay in this commit; unchecked files move to a "
                                 "new commit that takes its place."));
    choices_->setHunksShown(byHunks);
    const auto counts = choices_->counts();
    counts_->setText(byHunks
                         ? QString::fromStdString(std::to_string(counts.checked) + " stay · " +
                                                  std::to_string(counts.unchecked) + " split off")
                         : QString());
    counts_->setVisible(byHunks);
    confirmButton()->setEnabled(counts.checked > 0 && counts.unchecked > 0);
}

std::string ConflictResolveSheet::conflictedPath(const std::string& line,
                                                 const std::string& repoRoot,
                                                 const std::string& currentFolder) {
    static const std::regex description(R"(\s+[0-9]+-sided conflict.*$)");
    const std::string printed = std::regex_replace(line, description, "");
    namespace fs = std::filesystem;
    const fs::path absolute = fs::path(printed).is_absolute()
                                  ? fs::path(printed)
                                  : fs::path(currentFolder) / fs::path(printed);
    std::error_code error;
    const auto inRepo = fs::relative(fs::weakly_canonical(absolute, error),
                                     fs::weakly_canonical(fs::path(repoRoot), error), error);
    return error || inRepo.empty() ? printed : inRepo.generic_string();
}

ConflictResolveSheet::ConflictResolveSheet(RepoViewModel& viewModel,
                                           const std::vector<std::string>& lines, QWidget* parent)
    : SheetDialog(QStringLiteral("Resolve conflicts"), QStringLiteral("Done"), parent) {
    setObjectName(QStringLiteral("conflict-sheet"));
    addParagraph(QStringLiteral(
        "Launches jj's configured merge tool (`ui.merge-editor`). Fix conflicts, save, and close "
        "the tool — Vorda refreshes automatically."));
    const std::string root = viewModel.board().repoRoot().value_or(std::string());
    std::error_code noFolder;
    const std::string here = std::filesystem::current_path(noFolder).string();
    for (const auto& line : lines) {
        const std::string path = conflictedPath(line, root, here);
        auto* row = new QHBoxLayout;
        auto* name = new QLabel(QString::fromStdString(path), this);
        name->setTextFormat(Qt::PlainText);
        auto* open = new QPushButton(QStringLiteral("Open merge tool"), this);
        openButtons_.push_back(open);
        connect(open, &QPushButton::clicked, this,
                [model = QPointer<RepoViewModel>(&viewModel), path] {
                    if (model) {
                        model->send(RepoCommand::ResolveFile{path});
                    }
                });
        row->addWidget(name, 1);
        row->addWidget(open);
        body()->addLayout(row);
    }
    // Nothing to confirm: "Done" only closes, so "Cancel" would say the same.
    hideCancel();
}

}  // namespace vorda
