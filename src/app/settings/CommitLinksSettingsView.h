#pragma once

#include <QWidget>

class QPushButton;

namespace vorda {

class CommitLinksSettings;

/// The "Commit Links" settings page: the rules in order with the ways to
/// add one on the left; the selected rule's fields and the live playground
/// on the right; "Revert" and "Save" below.
class CommitLinksSettingsView : public QWidget {
    Q_OBJECT

  public:
    explicit CommitLinksSettingsView(QWidget* parent = nullptr);

    CommitLinksSettings* settings() const { return settings_; }

  private:
    void refreshButtons();

    CommitLinksSettings* settings_;
    QPushButton* revert_ = nullptr;
    QPushButton* save_ = nullptr;
};

}  // namespace vorda
