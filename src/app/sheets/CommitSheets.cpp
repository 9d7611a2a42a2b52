#include "app/sheets/CommitSheets.h"

#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QStyle>
#include <QVBoxLayout>

#include "app/viewmodel/RepoViewModel.h"

namespace vorda {

DescribeCommitSheet::DescribeCommitSheet(RepoViewModel& viewModel, const JJCommit& commit,
                                         QWidget* parent)
    : SheetDialog(QString::fromStdString("Describe " + commit.shortChangeID()),
                  QStringLiteral("Save"), parent),
      description_(new QPlainTextEdit(QString::fromStdString(commit.description), this)) {
    setObjectName(QStringLiteral("describe-sheet"));
    if (commit.immutable) {
        addParagraph(QStringLiteral("🔒 Immutable — overriding"))
            ->setObjectName(QStringLiteral("immutable-mark"));
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

ConflictResolveSheet::ConflictResolveSheet(RepoViewModel& viewModel,
                                           const std::vector<std::string>& files, QWidget* parent)
    : SheetDialog(QStringLiteral("Resolve conflicts"), QStringLiteral("Done"), parent) {
    setObjectName(QStringLiteral("conflict-sheet"));
    addParagraph(QStringLiteral(
        "Launches jj's configured merge tool (`ui.merge-editor`). Fix conflicts, save, and close "
        "the tool — Vorda refreshes automatically."));
    for (const auto& path : files) {
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
