#include "app/sheets/CommitSheets.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QSignalBlocker>
#include <QStyle>
#include <QTreeWidget>
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

namespace {

/// Marks the rows that are hunks (not a file's "(no textual hunks)").
constexpr int isHunkRole = Qt::UserRole + 1;

}  // namespace

SplitCommitSheet::SplitCommitSheet(RepoViewModel& viewModel, const JJCommit& commit,
                                   const UnifiedDiff& diff, QWidget* parent)
    : SheetDialog(QString::fromStdString("Split " + commit.shortChangeID()),
                  QStringLiteral("Split"), parent),
      byHunks_(new QCheckBox(QStringLiteral("Split by hunks"), this)),
      explanation_(new QLabel(this)),
      choices_(new QTreeWidget(this)),
      counts_(new QLabel(this)) {
    setObjectName(QStringLiteral("split-sheet"));
    if (commit.immutable) {
        addImmutableMark();
    }
    body()->addWidget(byHunks_);
    explanation_->setWordWrap(true);
    body()->addWidget(explanation_);
    choices_->setHeaderHidden(true);
    for (const auto& file : diff.files) {
        auto* item = new QTreeWidgetItem(choices_, {QString::fromStdString(file.path)});
        item->setCheckState(0, Qt::Checked);
        for (const auto& hunk : file.hunks) {
            auto* child = new QTreeWidgetItem(item, {QString::fromStdString(hunk.header)});
            child->setCheckState(0, Qt::Checked);
            child->setData(0, isHunkRole, true);
        }
        if (file.hunks.empty()) {
            auto* none = new QTreeWidgetItem(item, {QStringLiteral("(no textual hunks)")});
            none->setFlags(none->flags() & ~Qt::ItemIsUserCheckable);
        }
    }
    choices_->expandAll();
    body()->addWidget(choices_);
    body()->addWidget(counts_);
    connect(byHunks_, &QCheckBox::toggled, this, &SplitCommitSheet::update);
    connect(choices_, &QTreeWidget::itemChanged, this, &SplitCommitSheet::update);
    update();
    setOnConfirm([this, model = QPointer<RepoViewModel>(&viewModel), changeID = commit.changeID,
                  immutable = commit.immutable] {
        if (!model) {
            return;
        }
        if (byHunks_->isChecked()) {
            model->splitCommitByHunks(changeID, staying(), immutable);
        } else {
            model->send(RepoCommand::SplitCommit{changeID, stayingPaths(), immutable});
        }
    });
}

std::vector<std::string> SplitCommitSheet::stayingPaths() const {
    std::vector<std::string> paths;
    for (int index = 0; index < choices_->topLevelItemCount(); ++index) {
        const auto* file = choices_->topLevelItem(index);
        if (file->checkState(0) == Qt::Checked) {
            paths.push_back(file->text(0).toStdString());
        }
    }
    return paths;
}

DiffEditorProtocol::HunkSelection SplitCommitSheet::staying() const {
    DiffEditorProtocol::HunkSelection selection;
    for (int index = 0; index < choices_->topLevelItemCount(); ++index) {
        const auto* file = choices_->topLevelItem(index);
        DiffEditorProtocol::FileKeep keep{file->text(0).toStdString(), {}};
        bool hasHunks = false;
        for (int ordinal = 0; ordinal < file->childCount(); ++ordinal) {
            const auto* hunk = file->child(ordinal);
            if (hunk->data(0, isHunkRole).toBool()) {
                hasHunks = true;
                if (hunk->checkState(0) == Qt::Checked) {
                    keep.keepHunkOrdinals.push_back(ordinal);
                }
            }
        }
        // A file without hunks (binary) stays as it is.
        if (hasHunks) {
            selection.files.push_back(std::move(keep));
        }
    }
    return selection;
}

void SplitCommitSheet::update() {
    const bool byHunks = byHunks_->isChecked();
    explanation_->setText(
        byHunks ? QStringLiteral("Checked hunks stay in this commit; unchecked hunks move to a new "
                                 "commit that takes its place.")
                : QStringLiteral("Checked files stay in this commit; unchecked files move to a "
                                 "new commit that takes its place."));
    std::size_t stay = 0;
    std::size_t move = 0;
    const QSignalBlocker quiet(choices_);
    for (int index = 0; index < choices_->topLevelItemCount(); ++index) {
        auto* file = choices_->topLevelItem(index);
        for (int ordinal = 0; ordinal < file->childCount(); ++ordinal) {
            file->child(ordinal)->setHidden(!byHunks);
        }
        if (!byHunks) {
            (file->checkState(0) == Qt::Checked ? stay : move) += 1;
            continue;
        }
        for (int ordinal = 0; ordinal < file->childCount(); ++ordinal) {
            const auto* hunk = file->child(ordinal);
            if (hunk->data(0, isHunkRole).toBool()) {
                (hunk->checkState(0) == Qt::Checked ? stay : move) += 1;
            }
        }
    }
    counts_->setText(byHunks ? QString::fromStdString(std::to_string(stay) + " stay · " +
                                                      std::to_string(move) + " split off")
                             : QString());
    counts_->setVisible(byHunks);
    confirmButton()->setEnabled(stay > 0 && move > 0);
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
    if (auto* buttons = findChild<QDialogButtonBox*>()) {
        buttons->button(QDialogButtonBox::Cancel)->hide();
    }
}

}  // namespace vorda
