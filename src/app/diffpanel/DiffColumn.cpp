#include "app/diffpanel/DiffColumn.h"

#include <QLabel>
#include <QStackedWidget>
#include <QVBoxLayout>
#include <cmath>

#include "app/board/SelectionStore.h"
#include "app/column/ColumnResizeHandle.h"
#include "app/column/ColumnWidthStore.h"
#include "app/column/CommitCardText.h"
#include "app/diffpanel/DiffPatchView.h"
#include "app/links/CommitLinkLabel.h"
#include "app/viewmodel/RepoViewModel.h"

namespace vorda {

namespace {

constexpr int margin = 8;

struct HeaderText {
    QString title;
    QString detail;
};

/// How many commits the lane behind the diff holds: the selected column's,
/// or the selected bookmark's when no column is selected.
std::size_t laneCommitCount(const SelectionStore& selection, const BoardModel& board) {
    if (!selection.columnChangeIDs().empty()) {
        return selection.columnChangeIDs().size();
    }
    const auto& name = selection.selectedBookmarkName();
    const auto* state = board.repoState();
    if (!name || state == nullptr) {
        return 0;
    }
    const auto found = state->bookmarks.find(*name);
    return found == state->bookmarks.end() ? 0 : found->second.commitIDs.size();
}

HeaderText headerText(const SelectionStore& selection, const BoardModel& board) {
    const auto& selected = selection.selectedCommitIDs();
    if (selected.size() > 1) {
        return {QObject::tr("%1 commits selected").arg(selected.size()),
                QObject::tr("union of selected changes")};
    }
    if (selected.size() == 1) {
        const auto* commit = board.commitForChangeID(selected.front());
        return {
            commit != nullptr ? cardtext::summary(*commit) : QObject::tr("1 commit"),
            QObject::tr("Change %1").arg(QString::fromStdString(selected.front().substr(0, 12)))};
    }
    const std::size_t count = laneCommitCount(selection, board);
    return {count == 1 ? QObject::tr("1 commit in this lane")
                       : QObject::tr("%1 commits in this lane").arg(count),
            QString::fromStdString(selection.selectedBookmarkName().value_or(""))};
}

}  // namespace

DiffColumn::DiffColumn(RepoViewModel* viewModel, const SelectionStore* selection, QWidget* parent)
    : QFrame(parent),
      viewModel_(viewModel),
      selection_(selection),
      title_(new QLabel(this)),
      detail_(new QLabel(this)),
      body_(new QStackedWidget(this)),
      message_(new QLabel(body_)),
      patchView_(DiffPatchView::make(body_)),
      resizeHandle_(new ColumnResizeHandle(this)) {
    setObjectName(QStringLiteral("diff"));
    setFrameShape(QFrame::StyledPanel);
    title_->setObjectName(QStringLiteral("diff-title"));
    QFont bold = title_->font();
    bold.setBold(true);
    title_->setFont(bold);
    titleLinks_ = CommitLinkLabel::attach(title_);
    detail_->setObjectName(QStringLiteral("diff-detail"));
    detail_->setForegroundRole(QPalette::PlaceholderText);
    detail_->setTextFormat(Qt::PlainText);
    message_->setObjectName(QStringLiteral("diff-message"));
    message_->setAlignment(Qt::AlignCenter);
    message_->setWordWrap(true);
    message_->setTextFormat(Qt::PlainText);
    message_->setForegroundRole(QPalette::PlaceholderText);
    body_->addWidget(message_);
    body_->addWidget(patchView_);

    width_ = columnwidths::resizableColumnWidth(columnwidths::diffColumnKey(),
                                                columnwidths::diffColumnLimits);
    width_.gutterWidth = resizeHandle_->sizeHint().width();
    setFixedWidth(static_cast<int>(std::lround(width_.width)));
    resizeHandle_->resizes(this, width_,
                           [] { return std::optional(columnwidths::diffColumnKey()); });

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(margin, margin,
                               static_cast<int>(std::lround(width_.gutterWidth)) + 1, margin);
    layout->setSpacing(2);
    layout->addWidget(title_);
    layout->addWidget(detail_);
    layout->addSpacing(margin / 2);
    layout->addWidget(body_, 1);

    connect(&viewModel_->diff(), &DiffModel::changed, this, &DiffColumn::refreshBody);
    connect(selection_, &SelectionStore::changed, this, &DiffColumn::refreshHeader);
    refreshHeader();
    refreshBody();
}

void DiffColumn::refreshHeader() {
    const auto text = headerText(*selection_, viewModel_->board());
    titleLinks_->setPlainText(text.title);
    detail_->setText(text.detail);
    detail_->setVisible(!text.detail.isEmpty());
}

void DiffColumn::refreshBody() {
    const auto& diff = viewModel_->diff();
    const auto showMessage = [&](const QString& text) {
        message_->setText(text);
        body_->setCurrentWidget(message_);
    };
    if (diff.isDiffLoading()) {
        showMessage(tr("Loading diff…"));
    } else if (const auto& error = diff.diffError()) {
        showMessage(tr("Couldn't load this diff.\n%1").arg(QString::fromStdString(*error)));
    } else if (diff.diffText().value_or("").empty()) {
        showMessage(tr("No changes"));
    } else {
        patchView_->showPatch(*diff.diffText());
        body_->setCurrentWidget(patchView_);
    }
}

}  // namespace vorda
