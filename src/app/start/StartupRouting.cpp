#include "app/start/StartupRouting.h"

#include <QFileInfo>

#include "app/launcher/LauncherWindowController.h"
#include "app/start/LaunchLog.h"
#include "app/start/PendingRepoOpens.h"
#include "app/start/RecentReposStore.h"
#include "app/start/RepoWindowRegistry.h"

namespace vorda {

StartupRouting::StartupRouting(PendingRepoOpens& pending, RepoWindowRegistry& registry)
    : pending_(&pending), registry_(&registry) {}

void StartupRouting::route() {
    launchlog::write(QStringLiteral("LauncherView.task fired didRoute=") +
                     launchlog::flag(didRoute_));
    if (didRoute_) {
        return;
    }
    didRoute_ = true;
    if (pending_->hasExternalOpen()) {
        launchlog::write(
            QStringLiteral("LauncherView.task external open pending \u2192 skip recent reopen"));
        return;
    }
    const QList<RecentRepo> recents = registry_->recents().all();
    launchlog::write(QStringLiteral("LauncherView.task recents count=") +
                     QString::number(recents.size()) + QStringLiteral(" top=") +
                     (recents.isEmpty() ? QStringLiteral("nil") : recents.first().path));
    if (!recents.isEmpty() && QFileInfo::exists(recents.first().path)) {
        const QString& path = recents.first().path;
        launchlog::write(QStringLiteral("LauncherView.task openWindow(value: RepoWindowID(path: ") +
                         path + QStringLiteral("))"));
        registry_->openWindow(path);
        return;
    }
    launchlog::write(QStringLiteral("LauncherView.task no valid recent \u2192 controller.show()"));
    registry_->launcher().show();
}

}  // namespace vorda
