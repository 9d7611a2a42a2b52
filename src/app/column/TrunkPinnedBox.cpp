#include "app/column/TrunkPinnedBox.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QStyle>
#include <QVBoxLayout>

#include "app/column/ColumnText.h"
#include "app/column/QtText.h"

namespace vorda {

TrunkPinnedBox::TrunkPinnedBox(QWidget* parent)
    : QFrame(parent),
      summary_(new QLabel(this)),
      historyButton_(new QPushButton(this)),
      advanceButton_(new QPushButton(this)),
      fetched_(new QLabel(this)) {
    setObjectName(QStringLiteral("trunkPinnedBox"));
    summary_->setObjectName(QStringLiteral("pinnedRemoteSummary"));
    historyButton_->setObjectName(QStringLiteral("toggleTrunkHistoryButton"));
    advanceButton_->setObjectName(QStringLiteral("advanceTrunkButton"));
    fetched_->setObjectName(QStringLiteral("fetchedLabel"));
    setFrameShape(QFrame::StyledPanel);
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::AlternateBase);

    auto* pinned = new QLabel(qtText(columntext::pinnedMark), this);
    pinned->setObjectName(QStringLiteral("pinnedMark"));
    QFont markFont = pinned->font();
    markFont.setBold(true);
    markFont.setLetterSpacing(QFont::PercentageSpacing, 110);
    pinned->setFont(markFont);
    pinned->setForegroundRole(QPalette::PlaceholderText);

    QFont summaryFont = summary_->font();
    summaryFont.setBold(true);
    summary_->setFont(summaryFont);
    summary_->setTextFormat(Qt::PlainText);
    summary_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);

    auto* arrowIcon = new QLabel(this);
    const int iconSize = style()->pixelMetric(QStyle::PM_SmallIconSize, nullptr, this);
    arrowIcon->setPixmap(style()->standardIcon(QStyle::SP_ArrowUp, nullptr, this).pixmap(iconSize));
    auto* arrowLabel = new QLabel(qtText(columntext::trunkArrowLabel), this);
    arrowLabel->setObjectName(QStringLiteral("trunkArrow"));
    auto* arrowRow = new QHBoxLayout;
    arrowRow->setContentsMargins(0, 0, 0, 0);
    arrowRow->setSpacing(4);
    arrowRow->addWidget(arrowIcon);
    arrowRow->addWidget(arrowLabel);
    arrowRow->addStretch(1);

    advanceButton_->setText(qtText(columntext::rebaseLocalStacksLabel));
    fetched_->setForegroundRole(QPalette::PlaceholderText);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(8, 8, 8, 8);
    layout->setSpacing(4);
    layout->addWidget(pinned);
    layout->addWidget(summary_);
    layout->addLayout(arrowRow);
    layout->addWidget(historyButton_, 0, Qt::AlignLeft);
    layout->addWidget(advanceButton_, 0, Qt::AlignLeft);
    layout->addWidget(fetched_);

    connect(historyButton_, &QPushButton::clicked, this, &TrunkPinnedBox::toggleHistoryRequested);
    connect(advanceButton_, &QPushButton::clicked, this, &TrunkPinnedBox::advanceTrunkRequested);
}

void TrunkPinnedBox::setInput(const BookmarkColumnInput& input) {
    advanceButton_->setVisible(input.offersLocalStackRebase);
    const QString summary = QString::fromStdString(
        columntext::pinnedRemoteSummary(input.bookmark, input.upstreamShortCommitID));
    summary_->setText(summary);
    summary_->setToolTip(summary);
    historyButton_->setText(qtText(input.isExpanded ? columntext::hideTrunkHistoryLabel
                                                    : columntext::showTrunkHistoryLabel));
    fetched_->setVisible(input.fetchRelativeTime.has_value());
    if (input.fetchRelativeTime) {
        fetched_->setText(
            QString::fromStdString(columntext::fetchedText(*input.fetchRelativeTime)));
    }
}

}  // namespace vorda
