#include "app/column/ColumnHeader.h"

#include <QCheckBox>
#include <QEvent>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QMenu>
#include <QPainter>
#include <QPushButton>
#include <QSignalBlocker>
#include <QStyle>
#include <QToolButton>
#include <QVBoxLayout>
#include <variant>

#include "app/column/ColumnDiffButton.h"
#include "app/column/ColumnRules.h"
#include "app/column/ColumnText.h"
#include "app/column/InlineRenameField.h"
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
      renameField_(new InlineRenameField(this)),
      prBadge_(new QToolButton(this)),
      closeButton_(new QToolButton(this)),
      toolRow_(new QWidget(this)),
      diffButton_(new ColumnDiffButton(toolRow_)),
      fileListsButton_(new QToolButton(toolRow_)),
      actionRow_(new QWidget(this)),
      workingCopiesButton_(new QToolButton(toolRow_)),
      workingCopiesMenu_(new QMenu(this)),
      rebaseButton_(new QPushButton(actionRow_)) {
    setObjectName(QStringLiteral("columnHeader"));
    inclusionToggle_->setObjectName(QStringLiteral("inclusionToggle"));
    title_->setObjectName(QStringLiteral("columnTitle"));
    renameField_->setObjectName(QStringLiteral("renameField"));
    prBadge_->setObjectName(QStringLiteral("prBadge"));
    closeButton_->setObjectName(QStringLiteral("closeColumnButton"));
    toolRow_->setObjectName(QStringLiteral("columnTools"));
    fileListsButton_->setObjectName(QStringLiteral("fileListsButton"));
    workingCopiesButton_->setObjectName(QStringLiteral("workingCopiesButton"));
    workingCopiesMenu_->setObjectName(QStringLiteral("workingCopiesMenu"));
    rebaseButton_->setObjectName(QStringLiteral("rebaseLocalStackButton"));

    QFont titleFont = title_->font();
    titleFont.setBold(true);
    title_->setFont(titleFont);
    title_->setTextFormat(Qt::PlainText);

    prBadge_->setAutoRaise(true);
    prBadge_->setCursor(Qt::PointingHandCursor);
    title_->installEventFilter(this);

    closeButton_->setText(qtText(columntext::closeColumnLabel));
    closeButton_->setAccessibleName(closeButton_->text());
    closeButton_->setIcon(QIcon::fromTheme(QStringLiteral("window-close"),
                                           style()->standardIcon(QStyle::SP_TitleBarCloseButton)));
    closeButton_->setToolButtonStyle(Qt::ToolButtonIconOnly);
    closeButton_->setAutoRaise(true);

    fileListsButton_->setText(qtText(columntext::fileListsLabel));
    fileListsButton_->setCheckable(true);
    fileListsButton_->setAutoRaise(true);
    fileListsButton_->setToolTip(qtText(columntext::showFileListsTooltip));

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
    titleRow->addWidget(renameField_, 1);
    titleRow->addWidget(prBadge_);
    titleRow->addWidget(closeButton_);

    auto* tools = new QHBoxLayout(toolRow_);
    tools->setContentsMargins(0, 0, 0, 0);
    tools->setSpacing(4);
    tools->addWidget(diffButton_);
    tools->addWidget(fileListsButton_);
    tools->addWidget(workingCopiesButton_);
    tools->addStretch(1);

    // The rebase action stands under the tools, hidden while there is none.
    actionRow_->setObjectName(QStringLiteral("columnActions"));
    auto* actions = new QVBoxLayout(actionRow_);
    actions->setContentsMargins(0, 0, 0, 0);
    actions->setSpacing(4);
    actions->addWidget(rebaseButton_, 0, Qt::AlignLeft);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(8, 8, 8, 4);
    layout->setSpacing(4);
    layout->addLayout(titleRow);
    layout->addWidget(toolRow_);
    layout->addWidget(actionRow_);

    connect(inclusionToggle_, &QCheckBox::clicked, this, [this](bool checked) {
        // The toggle goes on showing the input; the new state arrives with
        // the next input once the workspace has changed.
        const QSignalBlocker blocker(inclusionToggle_);
        inclusionToggle_->setChecked(isChecked_);
        Q_EMIT inclusionToggled(checked);
    });
    connect(prBadge_, &QToolButton::clicked, this, &ColumnHeader::viewPRRequested);
    connect(closeButton_, &QToolButton::clicked, this, &ColumnHeader::closeRequested);
    connect(diffButton_, &QPushButton::clicked, this, &ColumnHeader::diffToggleRequested);
    connect(fileListsButton_, &QToolButton::toggled, this, [this](bool shown) {
        fileListsButton_->setToolTip(
            qtText(shown ? columntext::hideFileListsTooltip : columntext::showFileListsTooltip));
        Q_EMIT fileListsToggled(shown);
    });
    connect(renameField_, &InlineRenameField::renameRequested, this,
            [this](const QString& /*oldName*/, const QString& newName) {
                Q_EMIT renameRequested(newName);
            });
    connect(renameField_, &InlineRenameField::ended, title_, &QWidget::show);
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
    offersRename_ = columnrules::isRealBookmarkLane(input);
    const QString title = QString::fromStdString(input.displayTitle());
    title_->setText(title);
    title_->setToolTip(
        offersRename_ ? title + QLatin1Char('\n') + qtText(columntext::renameTitleHint) : title);
    title_->setEnabled(input.isActive.value_or(true));

    updateInclusionToggle(input);

    prBadge_->setVisible(columnrules::showsPRBadge(input));
    if (input.pr) {
        prBadge_->setText(QString::fromStdString(columntext::prBadgeText(*input.pr)));
        prBadge_->setToolTip(QString::fromStdString(columntext::badgeTooltip(*input.pr)));
    }

    updateTools(input);
    updateWorkspacesMenu(input);
    updateRebaseButton(input);
    actionRow_->setVisible(!rebaseButton_->isHidden());
}

void ColumnHeader::beginRename() {
    if (!offersRename_ || renameField_->isEditing()) {
        return;
    }
    title_->hide();
    renameField_->begin(title_->text());
}

void ColumnHeader::setFileListsShown(bool shown) {
    fileListsButton_->setChecked(shown);
}

bool ColumnHeader::eventFilter(QObject* watched, QEvent* event) {
    if (watched == title_ && event->type() == QEvent::MouseButtonDblClick) {
        beginRename();
        return true;
    }
    return QWidget::eventFilter(watched, event);
}

void ColumnHeader::updateTools(const BookmarkColumnInput& input) {
    closeButton_->setVisible(columnrules::showsCloseControl(input));
    closeButton_->setToolTip(qtText(input.isSyntheticOneOff()
                                        ? columntext::closeOneOffTooltip
                                        : columntext::closeBookmarkColumnTooltip));
    diffButton_->setDiffShown(input.isDiffShown);
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
