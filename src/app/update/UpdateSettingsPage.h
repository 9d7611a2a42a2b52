#pragma once

#include <QWidget>

class QCheckBox;
class QLineEdit;
class QPushButton;

namespace vorda {

class UpdateController;

/// The "Updates" page of the Settings window: whether to check once a day,
/// the feed address (blank for the built-in one, shown as the placeholder)
/// and "Check Now". Each change is saved at once in `UpdatePreferences`.
class UpdateSettingsPage : public QWidget {
    Q_OBJECT

  public:
    explicit UpdateSettingsPage(UpdateController& updates, QWidget* parent = nullptr);

  private:
    void updateCheckButton();

    UpdateController* updates_;
    QCheckBox* automatic_;
    QLineEdit* feedURL_;
    QPushButton* checkNow_;
};

}  // namespace vorda
