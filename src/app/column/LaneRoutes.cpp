#include "app/column/LaneRoutes.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QLineEdit>
#include <QSignalBlocker>
#include <QToolButton>
#include <QUuid>
#include <QVBoxLayout>
#include <algorithm>

#include "app/column/ColumnRules.h"
#include "app/column/ColumnText.h"
#include "app/column/QtText.h"

namespace vorda {

namespace {

/// An icon-only button where the desktop theme has the icon, else the
/// symbol; `label` is its tooltip and its name for screen readers.
void setSymbol(QToolButton* button, const QString& themeIcon, const QString& symbol,
               const QString& label) {
    button->setAutoRaise(true);
    button->setToolTip(label);
    button->setAccessibleName(label);
    if (QIcon::hasThemeIcon(themeIcon)) {
        button->setIcon(QIcon::fromTheme(themeIcon));
        button->setToolButtonStyle(Qt::ToolButtonIconOnly);
    }
    button->setText(symbol);
}

QString newRuleID() {
    return QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
}

}  // namespace

LaneRoutes::LaneRoutes(QWidget* parent)
    : QWidget(parent),
      disclosure_(new QToolButton(this)),
      addButton_(new QToolButton(this)),
      rowsBox_(new QWidget(this)),
      rowsLayout_(new QVBoxLayout(rowsBox_)),
      emptyLabel_(new QLabel(tr("No routes"), rowsBox_)) {
    setObjectName(QStringLiteral("routes"));
    disclosure_->setObjectName(QStringLiteral("routesDisclosure"));
    addButton_->setObjectName(QStringLiteral("addRouteButton"));
    rowsBox_->setObjectName(QStringLiteral("routeRows"));
    emptyLabel_->setObjectName(QStringLiteral("noRoutesLabel"));
    emptyLabel_->setForegroundRole(QPalette::PlaceholderText);

    disclosure_->setAutoRaise(true);
    disclosure_->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    disclosure_->setArrowType(Qt::RightArrow);
    setSymbol(addButton_, QStringLiteral("list-add"), QStringLiteral("+"),
              qtText(columntext::addRouteLabel));

    rowsLayout_->setContentsMargins(0, 0, 0, 0);
    rowsLayout_->setSpacing(2);
    rowsLayout_->addWidget(emptyLabel_);
    rowsBox_->hide();

    auto* head = new QHBoxLayout;
    head->setContentsMargins(0, 0, 0, 0);
    head->setSpacing(4);
    head->addWidget(disclosure_);
    head->addStretch(1);
    head->addWidget(addButton_);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(8, 0, 8, 0);
    layout->setSpacing(2);
    layout->addLayout(head);
    layout->addWidget(rowsBox_);

    connect(disclosure_, &QToolButton::clicked, this, [this] { setExpanded(!routesExpanded_); });
    connect(addButton_, &QToolButton::clicked, this, &LaneRoutes::addRoute);
}

void LaneRoutes::setInput(const BookmarkColumnInput& input) {
    const bool shows = columnrules::isRealBookmarkLane(input);
    setVisible(shows);
    if (!shows) {
        return;
    }
    if (input.bookmark.name != bookmark_) {
        // Another bookmark: nothing typed for the old one applies.
        bookmark_ = input.bookmark.name;
        patternDrafts_.clear();
        focusOnArrival_.reset();
    }
    rules_ = input.routingRules;
    disclosure_->setText(QString::fromStdString(columntext::routesLabel(rules_.size())));
    syncRows();
}

void LaneRoutes::setExpanded(bool expanded) {
    routesExpanded_ = expanded;
    disclosure_->setArrowType(expanded ? Qt::DownArrow : Qt::RightArrow);
    rowsBox_->setVisible(expanded);
}

void LaneRoutes::syncRows() {
    for (auto row = rows_.begin(); row != rows_.end();) {
        if (rule(row->first) == nullptr) {
            patternDrafts_.erase(row->first);
            rowsLayout_->removeWidget(row->second.row);
            row->second.row->hide();
            row->second.row->deleteLater();
            row = rows_.erase(row);
        } else {
            ++row;
        }
    }
    // The rows follow the rules' order; a row that exists is moved, not
    // made again, so its field keeps the focus and the cursor.
    for (std::size_t position = 0; position < rules_.size(); ++position) {
        const FileRoutingRule& current = rules_[position];
        auto found = rows_.find(current.id);
        if (found == rows_.end()) {
            found = rows_.emplace(current.id, makeRow(current.id)).first;
        }
        const RouteRow& row = found->second;
        if (rowsLayout_->indexOf(row.row) != static_cast<int>(position)) {
            rowsLayout_->removeWidget(row.row);
            rowsLayout_->insertWidget(static_cast<int>(position), row.row);
        }
        const auto draft = patternDrafts_.find(current.id);
        const QString shown =
            draft != patternDrafts_.end() ? draft->second : QString::fromStdString(current.pattern);
        if (row.pattern->text() != shown) {
            row.pattern->setText(shown);
        }
        const QSignalBlocker blocker(row.enabled);
        row.enabled->setChecked(current.enabled);
        row.enabled->setToolTip(qtText(current.enabled ? columntext::routeEnabledTooltip
                                                       : columntext::routeDisabledTooltip));
    }
    emptyLabel_->setVisible(rules_.empty());
    if (focusOnArrival_) {
        if (const auto arrived = rows_.find(*focusOnArrival_); arrived != rows_.end()) {
            arrived->second.pattern->setFocus(Qt::OtherFocusReason);
            focusOnArrival_.reset();
        }
    }
}

LaneRoutes::RouteRow LaneRoutes::makeRow(const std::string& id) {
    RouteRow row;
    row.row = new QWidget(rowsBox_);
    row.row->setObjectName(QStringLiteral("routeRow"));
    row.enabled = new QCheckBox(row.row);
    row.enabled->setObjectName(QStringLiteral("routeEnabled"));
    row.pattern = new QLineEdit(row.row);
    row.pattern->setObjectName(QStringLiteral("routePattern"));
    row.pattern->setPlaceholderText(qtText(columntext::routePatternPlaceholder));
    row.remove = new QToolButton(row.row);
    row.remove->setObjectName(QStringLiteral("removeRouteButton"));
    setSymbol(row.remove, QStringLiteral("list-remove"), QStringLiteral("−"),
              qtText(columntext::removeRouteLabel));

    auto* layout = new QHBoxLayout(row.row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(4);
    layout->addWidget(row.enabled);
    layout->addWidget(row.pattern, 1);
    layout->addWidget(row.remove);

    connect(row.pattern, &QLineEdit::textEdited, this,
            [this, id](const QString& text) { patternDrafts_[id] = text; });
    connect(row.pattern, &QLineEdit::editingFinished, this, [this, id] { commitPattern(id); });
    connect(row.enabled, &QCheckBox::toggled, this,
            [this, id](bool enabled) { toggleRoute(id, enabled); });
    connect(row.remove, &QToolButton::clicked, this, [this, id] { deleteRoute(id); });
    return row;
}

const FileRoutingRule* LaneRoutes::rule(const std::string& id) const {
    const auto found =
        std::find_if(rules_.begin(), rules_.end(),
                     [&](const FileRoutingRule& current) { return current.id == id; });
    return found == rules_.end() ? nullptr : &*found;
}

void LaneRoutes::addRoute() {
    FileRoutingRule added;
    added.id = newRuleID().toStdString();
    added.bookmarkName = bookmark_;
    added.enabled = true;
    auto rules = rules_;
    rules.push_back(added);
    focusOnArrival_ = added.id;
    setExpanded(true);
    Q_EMIT routingRulesChanged(rules);
}

void LaneRoutes::commitPattern(const std::string& id) {
    const auto draft = patternDrafts_.find(id);
    const FileRoutingRule* current = rule(id);
    if (draft == patternDrafts_.end() || current == nullptr) {
        return;
    }
    const std::string pattern = draft->second.trimmed().toStdString();
    patternDrafts_.erase(draft);
    rows_.at(id).pattern->setText(QString::fromStdString(pattern));
    if (pattern == current->pattern) {
        return;
    }
    auto rules = rules_;
    std::find_if(rules.begin(), rules.end(), [&](const auto& each) {
        return each.id == id;
    })->pattern = pattern;
    Q_EMIT routingRulesChanged(rules);
}

void LaneRoutes::toggleRoute(const std::string& id, bool enabled) {
    auto rules = rules_;
    const auto found =
        std::find_if(rules.begin(), rules.end(), [&](const auto& each) { return each.id == id; });
    if (found == rules.end() || found->enabled == enabled) {
        return;
    }
    found->enabled = enabled;
    Q_EMIT routingRulesChanged(rules);
}

void LaneRoutes::deleteRoute(const std::string& id) {
    auto rules = rules_;
    std::erase_if(rules, [&](const FileRoutingRule& each) { return each.id == id; });
    patternDrafts_.erase(id);
    Q_EMIT routingRulesChanged(rules);
}

}  // namespace vorda
