#include "app/settings/CommitLinkRuleEditor.h"

#include <QCheckBox>
#include <QFontDatabase>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

#include "app/column/QtText.h"
#include "app/settings/CommitLinksSettings.h"
#include "app/settings/SettingsControls.h"

namespace vorda {

namespace {

const char* const helpText =
    "Use ${issue} for (?<issue>…). Only http(s) web links and linear:// app links are allowed. "
    "For repository #123 references, use (?<![\\w/#])#(?<number>[1-9][0-9]*)\\b, set a "
    "repository path, and a fixed project URL ending in /issues/${number}.";

}  // namespace

CommitLinkRuleEditor::CommitLinkRuleEditor(CommitLinksSettings* settings, QWidget* parent)
    : QWidget(parent), settings_(settings), fields_(new QWidget), empty_(new QLabel) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    empty_->setText(QStringLiteral("Add a rule or select one to edit it."));
    empty_->setForegroundRole(QPalette::PlaceholderText);
    layout->addWidget(empty_);
    layout->addWidget(fields_);

    auto* form = new QFormLayout(fields_);
    form->setContentsMargins(0, 0, 0, 0);
    form->setSpacing(8);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    form->setRowWrapPolicy(QFormLayout::WrapLongRows);
    name_ = addField(QStringLiteral("Name"), "ruleName", &CommitLinkRule::name);
    pattern_ = addField(QStringLiteral("Regex with named captures"), "rulePattern",
                        &CommitLinkRule::pattern);
    webTemplate_ = addField(QStringLiteral("Browser URL template"), "ruleWebTemplate",
                            &CommitLinkRule::webTemplate);
    appTemplate_ = addField(QStringLiteral("Linear app URI template (optional)"), "ruleAppTemplate",
                            &CommitLinkRule::appTemplate);
    preferApp_ = new QCheckBox(QStringLiteral("Prefer desktop app (browser fallback)"));
    preferApp_->setObjectName(QStringLiteral("rulePreferApp"));
    form->addRow(QString(), preferApp_);
    connect(preferApp_, &QCheckBox::toggled, this, [this](bool checked) {
        if (const auto* rule = settings_->selectedRule()) {
            auto edited = *rule;
            edited.preferApp = checked;
            settings_->update(edited);
        }
    });
    repositoryPath_ = addField(QStringLiteral("Repository path (blank = all repositories)"),
                               "ruleRepositoryPath", &CommitLinkRule::repositoryPath);
    const QFont fixed = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    for (auto* field : {pattern_, webTemplate_, appTemplate_, repositoryPath_}) {
        field->setFont(fixed);
    }

    auto* help = new QLabel(QString::fromUtf8(helpText));
    help->setObjectName(QStringLiteral("ruleHelp"));
    help->setTextFormat(Qt::PlainText);
    help->setWordWrap(true);
    help->setTextInteractionFlags(Qt::TextSelectableByMouse);
    help->setForegroundRole(QPalette::PlaceholderText);
    form->addRow(help);

    connect(settings_, &CommitLinksSettings::rulesChanged, this, &CommitLinkRuleEditor::refresh);
    refresh();
}

QLineEdit* CommitLinkRuleEditor::addField(const QString& label, const char* objectName,
                                          std::string CommitLinkRule::*field) {
    auto* edit = new QLineEdit;
    edit->setObjectName(QLatin1String(objectName));
    static_cast<QFormLayout*>(fields_->layout())->addRow(label, edit);
    connect(edit, &QLineEdit::textEdited, this, [this, field](const QString& text) {
        if (const auto* rule = settings_->selectedRule()) {
            auto edited = *rule;
            edited.*field = text.toStdString();
            settings_->update(edited);
        }
    });
    return edit;
}

void CommitLinkRuleEditor::refresh() {
    const auto* rule = settings_->selectedRule();
    empty_->setVisible(rule == nullptr);
    fields_->setVisible(rule != nullptr);
    if (rule == nullptr) {
        return;
    }
    showText(name_, qtText(rule->name));
    showText(pattern_, qtText(rule->pattern));
    showText(webTemplate_, qtText(rule->webTemplate));
    showText(appTemplate_, qtText(rule->appTemplate));
    showText(repositoryPath_, qtText(rule->repositoryPath));
    const QSignalBlocker quiet(preferApp_);
    preferApp_->setChecked(rule->preferApp);
}

}  // namespace vorda
