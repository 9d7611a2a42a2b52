#pragma once

#include <QDateTime>
#include <QObject>
#include <QPointer>
#include <QString>

#include "app/update/UpdateDialog.h"

class QAction;
class QTimer;

namespace vorda {

class UpdateChecker;

/// The application's update check, one per process: the "Check for
/// Updates..." action that every window's Help menu shows, the dialog that
/// answers it, and the optional daily check in the background.
///
/// An interactive check always ends in a dialog. The automatic one runs at
/// start and then hourly asks whether a day has passed; it runs only while
/// the user has turned it on, writes the time it ran, and speaks only when a
/// newer version is out. The action is disabled while a check runs.
///
///     UpdateController updates;          // the build's version, the browser
///     helpMenu->addAction(updates.checkAction());
///     updates.startAutomaticChecks();
class UpdateController : public QObject {
    Q_OBJECT

  public:
    struct Options {
        /// This program's version; empty for the build's.
        QString currentVersion;
        /// Opens a release's download page; empty for the desktop's browser.
        PageOpener openPage;
    };

    explicit UpdateController(QObject* parent = nullptr);
    UpdateController(Options options, QObject* parent = nullptr);
    ~UpdateController() override;
    UpdateController(const UpdateController&) = delete;
    UpdateController& operator=(const UpdateController&) = delete;

    /// "Check for Updates...": `checkNow()`.
    QAction* checkAction() const { return checkAction_; }
    /// Checks the feed the preferences name and shows what it found. While
    /// a check already runs, its outcome will be shown instead.
    void checkNow();
    /// Runs the automatic check if it is due at `now`; answers whether it
    /// started.
    bool checkIfDue(const QDateTime& now);
    /// `checkIfDue` now and every hour from now on.
    void startAutomaticChecks();

    bool isChecking() const;
    const QString& currentVersion() const { return currentVersion_; }
    /// The dialog on screen, if any.
    QWidget* dialog() const { return dialog_.data(); }

  private:
    void show(const UpdateCheckResult& result);
    void updateAction(bool running);

    QString currentVersion_;
    PageOpener openPage_;
    UpdateChecker* checker_;
    QAction* checkAction_;
    QTimer* dailyTimer_;
    QPointer<QWidget> dialog_;
    bool interactive_ = false;
};

}  // namespace vorda
