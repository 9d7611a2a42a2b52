#include "app/board/BoardSideColumns.h"

#include <QLabel>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/viewmodel/BoardModel.h"
#include "app/viewmodel/DiffModel.h"

namespace vorda {

namespace {

constexpr int sideColumnWidth = 260;
constexpr int diffColumnWidth = 480;
constexpr int oneOffRole = Qt::UserRole + 1;

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

HiddenColumn::HiddenColumn(BoardModel* board, QWidget* parent)
    : QFrame(parent), board_(board), list_(new QListWidget(this)) {
    setObjectName(QStringLiteral("hidden"));
    setFrameShape(QFrame::StyledPanel);
    setFixedWidth(sideColumnWidth);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(tr("Hidden"), this));
    layout->addWidget(list_, 1);
    connect(list_, &QListWidget::itemActivated, this, [this](QListWidgetItem* item) {
        const QString changeID = item->data(oneOffRole).toString();
        if (!changeID.isEmpty()) {
            board_->toggleOneOffLaneExpanded(changeID.toStdString());
        }
    });
    refresh();
}

void HiddenColumn::refresh() {
    list_->clear();
    for (const auto& bookmark : board_->hiddenBookmarks()) {
        list_->addItem(qText(bookmark.name));
    }
    for (const auto& lane : board_->hiddenOneOffLanes()) {
        auto* item = new QListWidgetItem(qText(lane.displayName()), list_);
        item->setData(oneOffRole, qText(lane.id()));
    }
    for (const auto& bookmark : board_->untrackedRemoteBookmarks()) {
        list_->addItem(qText(bookmark.name + " (remote)"));
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
