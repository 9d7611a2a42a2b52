#include "app/update/UpdateController.h"

#include <QAction>
#include <QApplication>
#include <QDesktopServices>
#include <QTimer>
#include <QUrl>
#include <variant>

#include "app/sheets/SheetDialog.h"
#include "app/update/BuildInfo.h"
#include "app/update/UpdateChecker.h"
#include "app/update/UpdatePreferences.h"

namespace vorda {
namespace {

constexpr int hourMilliseconds = 60 * 60 * 1000;

void openInBrowser(const QUrl& page) {
    QDesktopServices::openUrl(page);
}

}  // namespace

UpdateController::UpdateController(QObject* parent) : UpdateController(Options{}, parent) {}

UpdateController::UpdateController(Options options, QObject* parent)
    : QObject(parent),
      currentVersion_(options.currentVersion.isEmpty() ? buildinfo::applicationVersion()
                                                       : std::move(options.currentVersion)),
      openPage_(options.openPage ? std::move(options.openPage) : PageOpener(openInBrowser)),
      checker_(new UpdateChecker(currentVersion_, this)),
      checkAction_(new QAction(QStringLiteral("Check for Updates..."), this)),
      dailyTimer_(new QTimer(this)) {
    checkAction_->setObjectName(QStringLiteral("checkForUpdates"));
    checkAction_->setMenuRole(QAction::ApplicationSpecificRole);
    updateAction(false);
    connect(checkAction_, &QAction::triggered, this, &UpdateController::checkNow);
    connect(checker_, &UpdateChecker::runningChanged, this, &UpdateController::updateAction);
    connect(checker_, &UpdateChecker::finished, this, &UpdateController::show);
    dailyTimer_->setInterval(hourMilliseconds);
    connect(dailyTimer_, &QTimer::timeout, this,
            [this] { checkIfDue(QDateTime::currentDateTimeUtc()); });
}

UpdateController::~UpdateController() {
    delete dialog_.data();
}

void UpdateController::checkNow() {
    interactive_ = true;
    if (!checker_->isRunning()) {
        checker_->check(UpdatePreferences::effectiveFeedURL());
    }
}

bool UpdateController::checkIfDue(const QDateTime& now) {
    if (checker_->isRunning() || !UpdatePreferences::automaticCheckDue(now)) {
        return false;
    }
    UpdatePreferences::setLastCheck(now);
    interactive_ = false;
    checker_->check(UpdatePreferences::effectiveFeedURL());
    return true;
}

void UpdateController::startAutomaticChecks() {
    checkIfDue(QDateTime::currentDateTimeUtc());
    dailyTimer_->start();
}

bool UpdateController::isChecking() const {
    return checker_->isRunning();
}

void UpdateController::show(const UpdateCheckResult& result) {
    const bool interactive = interactive_;
    interactive_ = false;
    if (!interactive && !std::holds_alternative<UpdateCheckResult::Available>(result.value)) {
        return;
    }
    delete dialog_.data();
    auto* dialog =
        makeUpdateDialog(result, currentVersion_, openPage_, QApplication::activeWindow());
    dialog_ = dialog;
    dialog->open();
}

void UpdateController::updateAction(bool running) {
    checkAction_->setEnabled(!running);
    checkAction_->setToolTip(running ? QStringLiteral("A check for updates is running.")
                                     : QStringLiteral("Look for a newer version of Vorda"));
}

}  // namespace vorda
