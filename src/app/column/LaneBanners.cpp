#include "app/column/LaneBanners.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

#include "app/column/ColumnRules.h"
#include "app/column/ColumnText.h"
#include "app/column/QtText.h"

namespace vorda {

namespace {

void styleBanner(QFrame* banner) {
    banner->setFrameShape(QFrame::StyledPanel);
    banner->setAutoFillBackground(true);
    banner->setBackgroundRole(QPalette::AlternateBase);
}

}  // namespace

MergedBanner::MergedBanner(QWidget* parent)
    : QFrame(parent), title_(new QLabel(this)), unpinButton_(new QPushButton(this)) {
    setObjectName(QStringLiteral("mergedBanner"));
    title_->setObjectName(QStringLiteral("mergedBannerTitle"));
    unpinButton_->setObjectName(QStringLiteral("unpinButton"));
    styleBanner(this);

    const QString tooltip = qtText(columntext::mergedBannerTooltip);
    setToolTip(tooltip);
    unpinButton_->setText(qtText(columntext::unpinLabel));
    unpinButton_->setToolTip(tooltip);
    title_->setWordWrap(true);

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(8, 4, 8, 4);
    layout->addWidget(title_, 1);
    layout->addWidget(unpinButton_);
    connect(unpinButton_, &QPushButton::clicked, this, &MergedBanner::unpinRequested);
    hide();
}

void MergedBanner::setInput(const BookmarkColumnInput& input) {
    const bool shows = columnrules::showsMergedBanner(input);
    setVisible(shows);
    if (!shows) {
        return;
    }
    title_->setText(QString::fromStdString(columntext::mergedBannerTitle(input.pr.has_value())));
    unpinButton_->setVisible(input.isPinned);
}

ConflictBanner::ConflictBanner(QWidget* parent)
    : QFrame(parent),
      count_(new QLabel(this)),
      text_(new QLabel(this)),
      resolveButton_(new QPushButton(this)) {
    setObjectName(QStringLiteral("conflictBanner"));
    count_->setObjectName(QStringLiteral("conflictCount"));
    text_->setObjectName(QStringLiteral("conflictText"));
    resolveButton_->setObjectName(QStringLiteral("resolveButton"));
    styleBanner(this);

    QFont countFont = count_->font();
    countFont.setBold(true);
    count_->setFont(countFont);
    text_->setWordWrap(true);
    resolveButton_->setText(qtText(columntext::resolveLabel));

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(8, 4, 8, 4);
    layout->addWidget(count_);
    layout->addWidget(text_, 1);
    layout->addWidget(resolveButton_);
    connect(resolveButton_, &QPushButton::clicked, this, &ConflictBanner::resolveRequested);
    hide();
}

void ConflictBanner::setInput(const BookmarkColumnInput& input) {
    const bool shows = !input.conflictPartners.empty();
    setVisible(shows);
    if (!shows) {
        return;
    }
    count_->setText(QString::number(input.conflictPartners.size()));
    text_->setText(QString::fromStdString(columntext::conflictBannerText(input.conflictPartners)));
}

}  // namespace vorda
