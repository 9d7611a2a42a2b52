#include "app/sheets/CommitSheets.h"

#include <QDialogButtonBox>
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
        auto* row = new QHBoxLayout;
        auto* lock = new QLabel(this);
        const int size = style()->pixelMetric(QStyle::PM_SmallIconSize, nullptr, this);
        lock->setPixmap(QIcon::fromTheme(QStringLiteral("object-locked"),
                                         style()->standardIcon(QStyle::SP_MessageBoxWarning))
                            .pixmap(size));
        auto* mark = new QLabel(QStringLiteral("Immutable — overriding"), this);
        mark->setObjectName(QStringLiteral("immutable-mark"));
        row->addWidget(lock);
        row->addWidget(mark, 1);
        body()->addLayout(row);
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
