#pragma once

#include <QWidget>

class QCheckBox;
class QLabel;
class QLineEdit;

namespace vorda {

class CommitLinksSettings;
struct CommitLinkRule;

/// The fields of the selected rule. Each edit goes to the working copy at
/// once, so the playground follows as the user types.
class CommitLinkRuleEditor : public QWidget {
    Q_OBJECT

  public:
    explicit CommitLinkRuleEditor(CommitLinksSettings* settings, QWidget* parent = nullptr);

  private:
    void refresh();
    QLineEdit* addField(const QString& label, const char* objectName,
                        std::string CommitLinkRule::*field);

    CommitLinksSettings* settings_;
    QWidget* fields_;
    QLabel* empty_;
    QLineEdit* name_ = nullptr;
    QLineEdit* pattern_ = nullptr;
    QLineEdit* webTemplate_ = nullptr;
    QLineEdit* appTemplate_ = nullptr;
    QCheckBox* preferApp_ = nullptr;
    QLineEdit* repositoryPath_ = nullptr;
};

}  // namespace vorda
