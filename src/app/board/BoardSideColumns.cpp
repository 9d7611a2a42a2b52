#include "app/board/BoardSideColumns.h"

#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/viewmodel/DiffModel.h"

namespace vorda {

namespace {

constexpr int sideColumnWidth = 260;
constexpr int diffColumnWidth = 480;

QString qText(const std::string& text) {
    return QString::fromStdString(text);
}

}  // namespace

DiffColumn::DiffColumn(DiffModel* diff, QWidget* parent)
    : QFrame(parent), diff_(diff), status_(new QLabel(this)), text_(new QPlainTextEdit(this)) {
    setObjectName(QStringLiteral("diff"));
    setFrameShape(QFrame::StyledPanel);
    setFixedWidth(diffColumnWidth);
    text_->setReadOnly(true);
    text_->setLineWrapMode(QPlainTextEdit::NoWrap);
    QFont mono(QStringLiteral("monospace"));
    mono.setStyleHint(QFont::Monospace);
    text_->setFont(mono);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(status_);
    layout->addWidget(text_, 1);
    connect(diff_, &DiffModel::changed, this, &DiffColumn::refresh);
    refresh();
}

void DiffColumn::refresh() {
    status_->setText(diff_->isDiffLoading() ? tr("Loading diff…") : tr("Diff"));
    const QString text = qText(diff_->diffText().value_or(""));
    if (text_->toPlainText() != text) {
        text_->setPlainText(text);
    }
}

NewPlaceholderColumn::NewPlaceholderColumn(QWidget* parent) : QFrame(parent) {
    setObjectName(QStringLiteral("new-placeholder"));
    setFixedWidth(sideColumnWidth / 2);
    auto* layout = new QVBoxLayout(this);
    auto* button = new QPushButton(tr("New Bookmark"), this);
    button->setToolTip(tr("Create a new bookmark"));
    layout->addWidget(button);
    layout->addStretch(1);
    connect(button, &QPushButton::clicked, this, &NewPlaceholderColumn::newBookmarkRequested);
}

}  // namespace vorda
