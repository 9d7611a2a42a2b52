#include "app/settings/CommitLinkRuleList.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

#include "app/column/QtText.h"
#include "app/settings/CommitLinksSettings.h"
#include "app/settings/SettingsControls.h"

namespace vorda {

namespace {

constexpr int nameColumn = 0;
constexpr int enabledColumn = 1;

QPushButton* addButton(QHBoxLayout* row, const QString& text, const char* icon,
                       const char* objectName) {
    auto* button = new QPushButton(QIcon::fromTheme(QLatin1String(icon)), text);
    button->setObjectName(QLatin1String(objectName));
    row->addWidget(button);
    return button;
}

}  // namespace

CommitLinkRuleList::CommitLinkRuleList(CommitLinksSettings* settings, QWidget* parent)
    : QWidget(parent), settings_(settings), list_(new QTreeWidget) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);

    list_->setObjectName(QStringLiteral("commitLinkRules"));
    list_->setColumnCount(2);
    list_->setHeaderLabels({QStringLiteral("Rule"), QStringLiteral("Enabled")});
    list_->setRootIsDecorated(false);
    list_->setUniformRowHeights(true);
    list_->header()->setStretchLastSection(false);
    list_->header()->setSectionResizeMode(nameColumn, QHeaderView::Stretch);
    list_->header()->setSectionResizeMode(enabledColumn, QHeaderView::ResizeToContents);
    layout->addWidget(list_, 1);

    auto* buttons = new QHBoxLayout;
    moveUp_ = addButton(buttons, QStringLiteral("Move Up"), "go-up", "moveRuleUp");
    moveDown_ = addButton(buttons, QStringLiteral("Move Down"), "go-down", "moveRuleDown");
    buttons->addStretch(1);
    remove_ = addButton(buttons, QStringLiteral("Remove"), "list-remove", "removeRule");
    layout->addLayout(buttons);

    connect(moveUp_, &QPushButton::clicked, this, [this] { settings_->move(selectedID(), -1); });
    connect(moveDown_, &QPushButton::clicked, this, [this] { settings_->move(selectedID(), 1); });
    connect(remove_, &QPushButton::clicked, settings_, &CommitLinksSettings::removeSelected);
    connect(list_, &QTreeWidget::currentItemChanged, this, [this](QTreeWidgetItem* current) {
        if (!refreshing_ && current != nullptr) {
            settings_->select(current->data(nameColumn, Qt::UserRole).toString().toStdString());
        }
    });
    connect(list_, &QTreeWidget::itemChanged, this, [this](QTreeWidgetItem* item) {
        if (!refreshing_) {
            itemEdited(list_->indexOfTopLevelItem(item));
        }
    });
    connect(settings_, &CommitLinksSettings::rulesChanged, this, &CommitLinkRuleList::refresh);
    refresh();
}

std::string CommitLinkRuleList::selectedID() const {
    return settings_->selected().value_or("");
}

void CommitLinkRuleList::refresh() {
    refreshing_ = true;
    const auto& rules = settings_->rules();
    while (list_->topLevelItemCount() > static_cast<int>(rules.size())) {
        delete list_->takeTopLevelItem(list_->topLevelItemCount() - 1);
    }
    while (list_->topLevelItemCount() < static_cast<int>(rules.size())) {
        auto* item = new QTreeWidgetItem(list_);
        item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable);
        item->setToolTip(enabledColumn, QStringLiteral("Enabled"));
    }
    for (int row = 0; row < list_->topLevelItemCount(); ++row) {
        const auto& rule = rules.at(static_cast<std::size_t>(row));
        auto* item = list_->topLevelItem(row);
        item->setText(nameColumn,
                      rule.name.empty() ? QStringLiteral("(unnamed)") : qtText(rule.name));
        item->setToolTip(nameColumn, qtText(rule.pattern));
        item->setData(nameColumn, Qt::UserRole, qtText(rule.id));
        item->setCheckState(enabledColumn, rule.enabled ? Qt::Checked : Qt::Unchecked);
        if (settings_->selected() == rule.id) {
            list_->setCurrentItem(item);
        }
    }
    const std::string id = selectedID();
    setAvailable(moveUp_, settings_->canMove(id, -1),
                 QStringLiteral("Select a rule below the first one to move it up"));
    setAvailable(moveDown_, settings_->canMove(id, 1),
                 QStringLiteral("Select a rule above the last one to move it down"));
    setAvailable(remove_, settings_->selectedRule() != nullptr,
                 QStringLiteral("Select a rule to remove it"));
    refreshing_ = false;
}

void CommitLinkRuleList::itemEdited(int row) {
    if (row < 0 || row >= static_cast<int>(settings_->rules().size())) {
        return;
    }
    auto rule = settings_->rules().at(static_cast<std::size_t>(row));
    rule.enabled = list_->topLevelItem(row)->checkState(enabledColumn) == Qt::Checked;
    settings_->update(rule);
}

}  // namespace vorda
