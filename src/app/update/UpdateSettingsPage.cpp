#include "app/update/UpdateSettingsPage.h"

#include <QAction>
#include <QCheckBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/sheets/SheetLines.h"
#include "app/update/BuildInfo.h"
#include "app/update/UpdateController.h"
#include "app/update/UpdatePreferences.h"

namespace vorda {

UpdateSettingsPage::UpdateSettingsPage(UpdateController& updates, QWidget* parent)
    : QWidget(parent),
      updates_(&updates),
      automatic_(new QCheckBox(QStringLiteral("Check for updates automatically (once a day)"))),
      feedURL_(new QLineEdit),
      checkNow_(new QPushButton(QStringLiteral("Check Now"))) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(16, 16, 16, 16);
    layout->setSpacing(8);
    addNoteLine(layout, QStringLiteral("Vorda reads a release feed and tells you when a newer "
                                       "version is out. Nothing is downloaded or installed by "
                                       "itself."));

    automatic_->setObjectName(QStringLiteral("checkAutomatically"));
    automatic_->setChecked(UpdatePreferences::checksAutomatically());
    layout->addWidget(automatic_);

    feedURL_->setObjectName(QStringLiteral("feedURL"));
    const QString builtIn = buildinfo::builtInFeedURL();
    feedURL_->setPlaceholderText(builtIn.isEmpty() ? QStringLiteral("https://\u2026") : builtIn);
    feedURL_->setText(UpdatePreferences::feedURLOverride());
    feedURL_->setClearButtonEnabled(true);
    auto* form = new QFormLayout;
    form->addRow(QStringLiteral("Feed address:"), feedURL_);
    layout->addLayout(form);
    addNoteLine(layout, builtIn.isEmpty()
                            ? QStringLiteral("This build came without a feed address; enter "
                                             "one to check for updates.")
                            : QStringLiteral("Leave it blank to use the address this build "
                                             "came with."));

    checkNow_->setObjectName(QStringLiteral("checkNow"));
    auto* row = new QHBoxLayout;
    row->addStretch(1);
    row->addWidget(checkNow_);
    layout->addLayout(row);
    layout->addStretch(1);

    connect(automatic_, &QCheckBox::toggled, this,
            [](bool on) { UpdatePreferences::setChecksAutomatically(on); });
    connect(feedURL_, &QLineEdit::textChanged, this,
            [](const QString& text) { UpdatePreferences::setFeedURLOverride(text); });
    connect(checkNow_, &QPushButton::clicked, updates_, &UpdateController::checkNow);
    connect(updates_->checkAction(), &QAction::changed, this,
            &UpdateSettingsPage::updateCheckButton);
    updateCheckButton();
}

void UpdateSettingsPage::updateCheckButton() {
    const QAction* action = updates_->checkAction();
    checkNow_->setEnabled(action->isEnabled());
    checkNow_->setToolTip(action->toolTip());
}

}  // namespace vorda
