#pragma once

#include <QWidget>

class QPushButton;
class QTreeWidget;

namespace vorda {

class CommitLinksSettings;

/// The rules in the order they are tried, each with its "Enabled" box, and
/// the buttons that reorder and remove the selected rule.
class CommitLinkRuleList : public QWidget {
    Q_OBJECT

  public:
    explicit CommitLinkRuleList(CommitLinksSettings* settings, QWidget* parent = nullptr);

  private:
    void refresh();
    void itemEdited(int row);
    std::string selectedID() const;

    CommitLinksSettings* settings_;
    QTreeWidget* list_;
    QPushButton* moveUp_;
    QPushButton* moveDown_;
    QPushButton* remove_;
    bool refreshing_ = false;
};

}  // namespace vorda
