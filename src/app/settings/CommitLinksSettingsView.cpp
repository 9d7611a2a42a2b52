#include "app/settings/CommitLinksSettingsView.h"

#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QSplitter>
#include <QVBoxLayout>

#include "app/settings/CommitLinkAdders.h"
#include "app/settings/CommitLinkPlayground.h"
#include "app/settings/CommitLinkRuleEditor.h"
#include "app/settings/CommitLinkRuleList.h"
#include "app/settings/CommitLinksSettings.h"
#include "app/settings/SettingsControls.h"
#include "app/sheets/SheetLines.h"

namespace vorda {

namespace {

QGroupBox* group(const QString& title, QWidget* content, const char* objectName) {
    auto* box = new QGroupBox(title);
    box->setObjectName(QLatin1String(objectName));
    auto* layout = new QVBoxLayout(box);
    layout->addWidget(content);
    return box;
}

QWidget* header() {
    auto* widget = new QWidget;
    auto* layout = new QVBoxLayout(widget);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(4);
    auto* title = addHeadingLine(layout, QStringLiteral("Commit Links"));
    QFont font = title->font();
    font.setPointSizeF(font.pointSizeF() * 1.4);
    title->setFont(font);
    addNoteLine(layout, QStringLiteral("Turn references into links without changing commit "
                                       "text. Matching is local; no account or network access "
                                       "is required."));
    addNoteLine(layout, QStringLiteral("First matching rule wins. Settings are personal; "
                                       "repository files cannot add links."));
    return widget;
}

}  // namespace

CommitLinksSettingsView::CommitLinksSettingsView(QWidget* parent)
    : QWidget(parent), settings_(new CommitLinksSettings(this)) {
    auto* left = new QWidget;
    auto* leftLayout = new QVBoxLayout(left);
    leftLayout->setContentsMargins(0, 0, 8, 0);
    leftLayout->setSpacing(12);
    leftLayout->addWidget(
        group(QStringLiteral("Rules"), new CommitLinkRuleList(settings_), "rules"), 1);
    leftLayout->addWidget(new CommitLinkAdders(settings_));

    auto* right = new QWidget;
    auto* rightLayout = new QVBoxLayout(right);
    rightLayout->setContentsMargins(8, 0, 0, 0);
    rightLayout->setSpacing(12);
    rightLayout->addWidget(
        group(QStringLiteral("Selected Rule"), new CommitLinkRuleEditor(settings_), "ruleEditor"));
    rightLayout->addWidget(group(QStringLiteral("Live Playground"),
                                 new CommitLinkPlayground(settings_), "playground"));
    rightLayout->addStretch(1);
    auto* scroll = new QScrollArea;
    scroll->setWidget(right);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);

    auto* splitter = new QSplitter(Qt::Horizontal);
    splitter->setChildrenCollapsible(false);
    splitter->addWidget(left);
    splitter->addWidget(scroll);
    splitter->setStretchFactor(0, 2);
    splitter->setStretchFactor(1, 3);

    revert_ = new QPushButton(QIcon::fromTheme(QStringLiteral("document-revert")),
                              QStringLiteral("Revert"));
    revert_->setObjectName(QStringLiteral("revertCommitLinks"));
    save_ =
        new QPushButton(QIcon::fromTheme(QStringLiteral("document-save")), QStringLiteral("Save"));
    save_->setObjectName(QStringLiteral("saveCommitLinks"));
    save_->setShortcut(QKeySequence::Save);
    connect(revert_, &QPushButton::clicked, settings_, &CommitLinksSettings::load);
    connect(save_, &QPushButton::clicked, settings_, &CommitLinksSettings::save);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(revert_);
    buttons->addWidget(save_);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(16, 16, 16, 16);
    layout->setSpacing(12);
    layout->addWidget(header());
    layout->addWidget(splitter, 1);
    layout->addLayout(buttons);

    connect(settings_, &CommitLinksSettings::rulesChanged, this,
            &CommitLinksSettingsView::refreshButtons);
    refreshButtons();
}

void CommitLinksSettingsView::refreshButtons() {
    const bool dirty = settings_->isDirty();
    setAvailable(save_, dirty, QStringLiteral("No changes to save"));
    setAvailable(revert_, dirty, QStringLiteral("No changes to revert"));
}

}  // namespace vorda
