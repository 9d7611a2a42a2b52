#include "app/column/ColumnHeader.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QPainter>
#include <QPushButton>
#include <QSignalBlocker>
#include <QStyle>
#include <QToolButton>
#include <QVBoxLayout>
#include <variant>

#include "app/column/ColumnRules.h"
#include "app/column/ColumnText.h"
#include "app/column/QtText.h"

namespace vorda {

namespace {

// A label that shows as much of its text as fits and ends in "…"; a long
// bookmark name must not push the header's controls out of the column.
class ElidingLabel : public QLabel {
  public:
    explicit ElidingLabel(QWidget* parent) : QLabel(parent) {
        setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    }

    QSize minimumSizeHint() const override { return {0, QLabel::minimumSizeHint().height()}; }

  protected:
    void paintEvent(QPaintEvent* /*event*/) override {
        QPainter painter(this);
        const QRect area = contentsRect();
        const QString shown = fontMetrics().elidedText(text(), Qt::ElideRight, area.width());
        style()->drawItemText(&painter, area, Qt::AlignVCenter | Qt::AlignLeft, palette(),
                              isEnabled(), shown, foregroundRole());
    }
};

}  // namespace

ColumnHeader::ColumnHeader(QWidget* parent)
    : QWidget(parent),
      inclusionToggle_(new QCheckBox(this)),
      title_(new ElidingLabel(this)),
      prBadge_(new QToolButton(this)),
      actionRow_(new QWidget(this)),
      workingCopiesButton_(new QToolButton(actionRow_)),
      workingCopiesMenu_(new QMenu(this)),
      rebaseButton_(new QPushButton(actionRow_)) {
    setObjectName(QStringLiteral("columnHeader"));
    inclusionToggle_->setObjectName(QStringLiteral("inclusionToggle"));
    title_->setObjectName(QStringLiteral("columnTitle"));
    prBadge_->setObjectName(QStringLiteral("prBadge"));
    workingCopiesButton_->setObjectName(QStringLiteral("workingCopiesButton"));
    workingCopiesMenu_->setObjectName(QStringLiteral("workingCopiesMenu"));
    rebaseButton_->setObjectName(QStringLiteral("rebaseLocalStackButton"));

    QFont titleFont = title_->font();
    titleFont.setBold(true);
    title_->setFont(titleFont);
    title_->setTextFormat(Qt::PlainText);

    prBadge_->setAutoRaise(true);
    prBadge_->setCursor(Qt::PointingHandCursor);

    workingCopiesButton_->setText(qtText(columntext::workingCopiesLabel));
    workingCopiesButton_->setAutoRaise(true);
    workingCopiesButton_->setPopupMode(QToolButton::InstantPopup);
    workingCopiesButton_->setMenu(workingCopiesMenu_);
    workingCopiesMenu_->setToolTipsVisible(true);

    auto* titleRow = new QHBoxLayout;
    titleRow->setContentsMargins(0, 0, 0, 0);
    titleRow->setSpacing(6);
    titleRow->addWidget(inclusionToggle_);
    titleRow->addWidget(title_, 1);
    titleRow->addWidget(prBadge_);

    // The actions stand under the title, one to a line, hidden while there
    // is none: a narrow column has no room for them beside each other.
    actionRow_->setObjectName(QStringLiteral("columnActions"));
    auto* actions = new QVBoxLayout(actionRow_);
    actions->setContentsMargins(0, 0, 0, 0);
    actions->setSpacing(4);
    actions->addWidget(workingCopiesButton_, 0, Qt::AlignLeft);
    actions->addWidget(rebaseButton_, 0, Qt::AlignLeft);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(8, 8, 8, 4);
    layout->setSpacing(4);
    layout->addLayout(titleRow);
    layout->addWidget(actionRow_);

    connect(inclusionToggle_, &QCheckBox::clicked, this, [this](bool checked) {
        // The toggle goes on showing the input; the new state arrives with
        // the next input once the workspace has changed.
        const QSignalBlocker blocker(inclusionToggle_);
        inclusionToggle_->setChecked(isChecked_);
        Q_EMIT inclusionToggled(checked);
    });
    connect(prBadge_, &QToolButton::clicked, this, &ColumnHeader::viewPRRequested);
    connect(rebaseButton_, &QPushButton::clicked, this, [this] {
        if (isWorkingCopyLane_) {
            Q_EMIT rebaseLocalStacksRequested();
        } else {
            Q_EMIT rebaseLocalStackRequested();
        }
    });
}

void ColumnHeader::setInput(const BookmarkColumnInput& input) {
    isWorkingCopyLane_ = input.isWorkingCopyLane();
    const QString title = QString::fromStdString(input.displayTitle());
    title_->setText(title);
    title_->setToolTip(title);
    title_->setEnabled(input.isActive.value_or(true));

    updateInclusionToggle(input);

    prBadge_->setVisible(columnrules::showsPRBadge(input));
    if (input.pr) {
        prBadge_->setText(QString::fromStdString(columntext::prBadgeText(*input.pr)));
        prBadge_->setToolTip(QString::fromStdString(columntext::badgeTooltip(*input.pr)));
    }

    updateWorkspacesMenu(input);
    updateRebaseButton(input);
    actionRow_->setVisible(!workingCopiesButton_->isHidden() || !rebaseButton_->isHidden());
}

void ColumnHeader::updateInclusionToggle(const BookmarkColumnInput& input) {
    const bool shows = columnrules::showsInclusionToggle(input);
    inclusionToggle_->setVisible(shows);
    if (!shows) {
        return;
    }
    const BookmarkInclusionRole role = columnrules::effectiveInclusionRole(input);
    isChecked_ = role.isIncluded();
    const QSignalBlocker blocker(inclusionToggle_);
    inclusionToggle_->setChecked(isChecked_);
    // Only a role the workspace holds directly can be toggled here; an
    // inherited one changes with the history that contains it.
    inclusionToggle_->setEnabled(
        !std::holds_alternative<BookmarkInclusionRole::Inherited>(role.value));
    inclusionToggle_->setToolTip(QString::fromStdString(columntext::inclusionHelp(role)));
}

void ColumnHeader::updateWorkspacesMenu(const BookmarkColumnInput& input) {
    const bool shows =
        input.kind == BookmarkColumnInput::LaneKind::bookmark && !input.workspacePlacements.empty();
    workingCopiesButton_->setVisible(shows);
    if (!shows) {
        return;
    }
    auto placements = columnrules::sortedPlacements(input.workspacePlacements);
    if (placements == menuPlacements_ && input.bookmark.name == menuBookmark_) {
        return;
    }
    menuPlacements_ = std::move(placements);
    menuBookmark_ = input.bookmark.name;

    const QString heading = QString::fromStdString(columntext::workspacesMenuTitle(menuBookmark_));
    workingCopiesButton_->setToolTip(heading);
    workingCopiesMenu_->clear();
    workingCopiesMenu_->setTitle(heading);
    workingCopiesMenu_->addAction(heading)->setEnabled(false);
    workingCopiesMenu_->addSeparator();
    for (const auto& placement : menuPlacements_) {
        const auto help = columntext::workspacePlacementHelp(placement, menuBookmark_);
        QAction* action =
            workingCopiesMenu_->addAction(QString::fromStdString(placement.workspaceName));
        const bool included = placement.role.isIncluded();
        action->setCheckable(true);
        action->setChecked(included);
        action->setToolTip(QString::fromStdString(help.tooltip));
        action->setEnabled(help.isToggleEnabled);
        action->setData(QString::fromStdString(placement.workspaceName));
        const std::string workspace = placement.workspaceName;
        const bool target = help.targetInclusion;
        connect(action, &QAction::triggered, this, [this, action, included, workspace, target] {
            action->setChecked(included);
            Q_EMIT workspaceInclusionRequested(workspace, target);
        });
    }
}

void ColumnHeader::updateRebaseButton(const BookmarkColumnInput& input) {
    const bool shows = input.offersLocalStackRebase && input.isBehindTrunk && !input.isTrunk();
    rebaseButton_->setVisible(shows);
    if (!shows) {
        return;
    }
    rebaseButton_->setText(qtText(input.isWorkingCopyLane() ? columntext::rebaseLocalStacksLabel
                                                            : columntext::rebaseLocalStackLabel));
    rebaseButton_->setToolTip(
        columnrules::hasOpenReviewPR(input)
            ? QString::fromStdString(columntext::openReviewRebaseHelp(*input.pr))
            : QString());
}

}  // namespace vorda
