#pragma once

#include <QString>
#include <QWidget>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "app/column/BookmarkColumnInput.h"

class QCheckBox;
class QLabel;
class QLineEdit;
class QToolButton;
class QVBoxLayout;

namespace vorda {

/// A real bookmark's file routing rules, under a disclosure "routes (N)":
/// one row per rule with its pattern, an enabled toggle and "Remove route",
/// and a control that adds a rule. Every change is reported as the
/// bookmark's whole new list of rules; the rows show the input's rules again
/// when the next input comes.
///
/// A pattern being typed is a draft kept by rule identity, not by row
/// position, so a snapshot that lands mid-edit (the rules come back with
/// every snapshot) leaves the draft alone. Return or leaving the field
/// commits it.
class LaneRoutes : public QWidget {
    Q_OBJECT

  public:
    explicit LaneRoutes(QWidget* parent = nullptr);

    /// Shows the lane's rules; hidden on a lane that is not a real bookmark.
    void setInput(const BookmarkColumnInput& input);
    bool isExpanded() const { return routesExpanded_; }
    void setExpanded(bool expanded);

    /// Appends an enabled rule with an empty pattern, opens the disclosure
    /// and puts the focus into the new rule's pattern once it arrives.
    void addRoute();

  Q_SIGNALS:
    void routingRulesChanged(const std::vector<FileRoutingRule>& rules);

  private:
    struct RouteRow {
        QWidget* row = nullptr;
        QLineEdit* pattern = nullptr;
        QCheckBox* enabled = nullptr;
        QToolButton* remove = nullptr;
    };

    RouteRow makeRow(const std::string& id);
    void syncRows();
    void commitPattern(const std::string& id);
    void toggleRoute(const std::string& id, bool enabled);
    void deleteRoute(const std::string& id);
    const FileRoutingRule* rule(const std::string& id) const;

    QToolButton* disclosure_;
    QToolButton* addButton_;
    QWidget* rowsBox_;
    QVBoxLayout* rowsLayout_;
    QLabel* emptyLabel_;
    std::string bookmark_;
    std::vector<FileRoutingRule> rules_;
    std::map<std::string, RouteRow> rows_;
    std::map<std::string, QString> patternDrafts_;
    std::optional<std::string> focusOnArrival_;
    bool routesExpanded_ = false;
};

}  // namespace vorda
