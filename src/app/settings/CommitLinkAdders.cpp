#include "app/settings/CommitLinkAdders.h"

#include <QFormLayout>
#include <QFrame>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/settings/CommitLinksSettings.h"
#include "app/settings/SettingsControls.h"

namespace vorda {

namespace {

using Setter = void (CommitLinksSettings::*)(const QString&);

/// A button under the fields of `form`, at the start of their column.
QPushButton* addButton(QFormLayout* form, const QString& text, const char* objectName) {
    auto* button = new QPushButton(QIcon::fromTheme(QStringLiteral("list-add")), text);
    button->setObjectName(QLatin1String(objectName));
    auto* row = new QHBoxLayout;
    row->addWidget(button);
    row->addStretch(1);
    form->addRow(QString(), row);
    return button;
}

void addSeparator(QFormLayout* form) {
    auto* line = new QFrame;
    line->setFrameShape(QFrame::HLine);
    line->setFrameShadow(QFrame::Sunken);
    form->addRow(line);
}

}  // namespace

CommitLinkAdders::CommitLinkAdders(CommitLinksSettings* settings, QWidget* parent)
    : QWidget(parent), settings_(settings) {
    auto* box = new QGroupBox(QStringLiteral("Add a Rule"));
    auto* form = new QFormLayout(box);
    form->setSpacing(8);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    form->setRowWrapPolicy(QFormLayout::WrapLongRows);
    const auto addField = [this, form](const QString& label, const QString& text,
                                       const QString& placeholder, const char* objectName,
                                       Setter set) {
        auto* field = new QLineEdit(text);
        field->setObjectName(QLatin1String(objectName));
        field->setPlaceholderText(placeholder);
        form->addRow(label, field);
        connect(field, &QLineEdit::textChanged, this, [this, set](const QString& edited) {
            (settings_->*set)(edited);
            refresh();
        });
    };

    auto* addRegex = addButton(form, QStringLiteral("Add Regex"), "addRegexRule");
    connect(addRegex, &QPushButton::clicked, settings_, &CommitLinksSettings::addRegex);
    addSeparator(form);

    addField(QStringLiteral("Workspace slug (e.g. acme)"), settings_->workspace(),
             QStringLiteral("acme"), "linearWorkspace", &CommitLinksSettings::setWorkspace);
    addField(QStringLiteral("Issue prefixes, comma separated"), settings_->prefixes(),
             QStringLiteral("ARC, WEB"), "linearPrefixes", &CommitLinksSettings::setPrefixes);
    addLinear_ = addButton(form, QStringLiteral("Add Linear Rule"), "addLinearRule");
    connect(addLinear_, &QPushButton::clicked, settings_, &CommitLinksSettings::addLinear);
    addSeparator(form);

    addField(QStringLiteral("Project web address"), settings_->project(),
             QStringLiteral("https://github.com/acme/app"), "projectAddress",
             &CommitLinksSettings::setProject);
    addField(QStringLiteral("Local repository path"), settings_->repositoryPath(),
             QStringLiteral("/home/me/src/app"), "localRepositoryPath",
             &CommitLinksSettings::setRepositoryPath);
    addRepository_ = addButton(form, QStringLiteral("Add #123 Rule"), "addRepositoryRule");
    connect(addRepository_, &QPushButton::clicked, settings_,
            &CommitLinksSettings::addRepositoryIssues);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(box);
    refresh();
}

void CommitLinkAdders::refresh() {
    setAvailable(addLinear_, settings_->canAddLinear(),
                 QStringLiteral("Enter a workspace slug and at least one issue prefix"));
    setAvailable(addRepository_, settings_->canAddRepositoryIssues(),
                 QStringLiteral("Enter the project's web address"));
}

}  // namespace vorda
