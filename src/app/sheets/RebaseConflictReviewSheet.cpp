#include "app/sheets/RebaseConflictReviewSheet.h"

#include <QFontDatabase>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/viewmodel/RepoViewModel.h"
#include "jjkit/support/Text.h"

namespace vorda {

RebaseConflictReviewSheet::RebaseConflictReviewSheet(RepoViewModel& viewModel,
                                                     std::vector<std::string> changeIDs,
                                                     std::size_t start, QWidget* parent)
    : SheetDialog(QStringLiteral("Review Conflicts"), QStringLiteral("Done"), parent),
      viewModel_(viewModel),
      changeIDs_(std::move(changeIDs)),
      position_(new QLabel(this)),
      commit_(new QLabel(this)),
      filesHeading_(new QLabel(this)),
      files_(new QListWidget(this)),
      contentHeading_(new QLabel(this)),
      content_(new QPlainTextEdit(this)),
      previous_(new QPushButton(QStringLiteral("Previous"), this)),
      next_(new QPushButton(QStringLiteral("Next"), this)) {
    setObjectName(QStringLiteral("conflict-review-sheet"));
    hideCancel();
    addParagraph(QStringLiteral("Read-only · Your working copy stays where it is."))
        ->setForegroundRole(QPalette::PlaceholderText);
    commit_->setTextFormat(Qt::PlainText);
    body()->addWidget(commit_);

    for (auto* label : {filesHeading_, contentHeading_, position_}) {
        label->setTextFormat(Qt::PlainText);
    }
    auto font = filesHeading_->font();
    font.setBold(true);
    filesHeading_->setFont(font);
    contentHeading_->setFont(font);
    auto* lists = new QVBoxLayout;
    lists->addWidget(filesHeading_);
    lists->addWidget(files_);
    auto* shown = new QVBoxLayout;
    shown->addWidget(contentHeading_);
    shown->addWidget(content_);
    content_->setReadOnly(true);
    content_->setLineWrapMode(QPlainTextEdit::NoWrap);
    content_->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    auto* columns = new QHBoxLayout;
    columns->addLayout(lists, 1);
    columns->addLayout(shown, 3);
    body()->addLayout(columns, 1);

    auto* steps = new QHBoxLayout;
    steps->addWidget(previous_);
    steps->addWidget(position_);
    steps->addWidget(next_);
    steps->addStretch(1);
    body()->addLayout(steps);
    connect(previous_, &QPushButton::clicked, this, [this] { load(index_ - 1); });
    connect(next_, &QPushButton::clicked, this, [this] { load(index_ + 1); });
    connect(files_, &QListWidget::currentRowChanged, this, &RebaseConflictReviewSheet::showChosen);
    resize(900, 600);
    load(std::min(start, changeIDs_.empty() ? 0 : changeIDs_.size() - 1));
}

void RebaseConflictReviewSheet::load(std::size_t index) {
    index_ = index;
    const auto count = changeIDs_.size();
    position_->setText(QString::fromStdString(std::to_string(count == 0 ? 0 : index + 1) + " of " +
                                              std::to_string(count)));
    previous_->setEnabled(index > 0);
    next_->setEnabled(index + 1 < count);
    review_.reset();
    files_->clear();
    filesHeading_->setText(QStringLiteral("Conflicted Files"));
    commit_->clear();
    contentHeading_->clear();
    content_->setPlainText(count == 0 ? QStringLiteral("No conflicted changes")
                                      : QStringLiteral("Reading…"));
    if (count == 0) {
        return;
    }
    viewModel_.loadRebaseConflict(changeIDs_[index],
                                  [guard = QPointer<RebaseConflictReviewSheet>(this)](
                                      const Outcome<RebaseConflictReview>& outcome) {
                                      if (guard) {
                                          guard->showReview(outcome.value, outcome.error);
                                      }
                                  });
}

void RebaseConflictReviewSheet::showReview(const std::optional<RebaseConflictReview>& review,
                                           const std::string& error) {
    review_ = review;
    if (!review) {
        content_->setPlainText(QString::fromStdString(error));
        return;
    }
    const auto summary = text::firstNonBlankLine(review->commit.description);
    commit_->setText(QString::fromStdString(review->commit.shortChangeID() + "  " +
                                            (summary.empty() ? "(no description set)" : summary)));
    filesHeading_->setText(
        QString::fromStdString("Conflicted Files (" + std::to_string(review->files.size()) + ")"));
    for (const auto& file : review->files) {
        files_->addItem(QString::fromStdString(file.path));
    }
    auto* diff = new QListWidgetItem(QStringLiteral("Change Diff"), files_);
    auto font = diff->font();
    font.setItalic(true);
    diff->setFont(font);
    files_->setCurrentRow(0);
}

void RebaseConflictReviewSheet::showChosen() {
    const int row = files_->currentRow();
    if (!review_ || row < 0) {
        return;
    }
    const auto index = static_cast<std::size_t>(row);
    if (index < review_->files.size()) {
        const auto& file = review_->files[index];
        contentHeading_->setText(QString::fromStdString("Review content · " + file.path));
        content_->setPlainText(QString::fromStdString(file.contents));
    } else {
        contentHeading_->setText(QStringLiteral("Change Diff"));
        content_->setPlainText(QString::fromStdString(review_->patch));
    }
}

}  // namespace vorda
