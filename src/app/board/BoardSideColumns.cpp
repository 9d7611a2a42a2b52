#include "app/board/BoardSideColumns.h"

#include <QPushButton>
#include <QVBoxLayout>

namespace vorda {

namespace {

constexpr int sideColumnWidth = 260;

}  // namespace

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
