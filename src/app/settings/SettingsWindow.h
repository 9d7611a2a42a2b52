#pragma once

#include <QWidget>

class QListWidget;
class QStackedWidget;

namespace vorda {

/// The application's settings: a list of pages on the left, the chosen page
/// on the right. Made once and reused: closing only hides it, so a page
/// keeps what the user was doing.
///
/// ```
/// settings->addPage(QStringLiteral("General"), new GeneralSettingsView);
/// settings->showPage(QStringLiteral("Commit Links"));
/// settings->show();
/// ```
class SettingsWindow : public QWidget {
    Q_OBJECT

  public:
    explicit SettingsWindow(QWidget* parent = nullptr);

    /// Appends `page` under `title`; the window takes it.
    void addPage(const QString& title, QWidget* page);
    /// Shows the page titled `title`; false when there is none.
    bool showPage(const QString& title);

  private:
    QListWidget* pages_;
    QStackedWidget* stack_;
};

}  // namespace vorda
