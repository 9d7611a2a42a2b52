#include "app/start/PendingOpenRouter.h"

#include "app/launcher/LauncherWindowController.h"
#include "app/start/LaunchLog.h"
#include "app/start/PendingRepoOpens.h"
#include "app/start/RecentReposStore.h"
#include "app/start/RepoWindowRegistry.h"

namespace vorda {

PendingOpenRouter::PendingOpenRouter(PendingRepoOpens& pending, RepoWindowRegistry& registry,
                                     QObject* parent)
    : QObject(parent), pending_(&pending), registry_(&registry) {}

void PendingOpenRouter::start() {
    if (started_) {
        return;
    }
    started_ = true;
    connect(pending_, &PendingRepoOpens::generationChanged, this, &PendingOpenRouter::drain);
    drain();
}

void PendingOpenRouter::drain() {
    const QStringList paths = pending_->takeAll();
    if (paths.isEmpty()) {
        return;
    }
    registry_->launcher().hide();
    for (const QString& path : paths) {
        launchlog::write(QStringLiteral("PendingOpenRouter.open path=") + path);
        registry_->recents().record(path);
        registry_->openWindow(path);
    }
}

}  // namespace vorda
