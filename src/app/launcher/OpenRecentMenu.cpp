#include "app/launcher/OpenRecentMenu.h"

#include "app/start/RecentReposStore.h"
#include "app/start/RepoWindowRegistry.h"

namespace vorda {

OpenRecentMenu::OpenRecentMenu(RepoWindowRegistry& registry, QWidget* parent)
    : QMenu(QStringLiteral("Open Recent"), parent), registry_(&registry) {
    setObjectName(QStringLiteral("openRecentMenu"));
    connect(this, &QMenu::aboutToShow, this, &OpenRecentMenu::rebuild);
    rebuild();
}

void OpenRecentMenu::rebuild() {
    clear();
    const QList<RecentRepo> recents = registry_->recents().all();
    if (recents.isEmpty()) {
        addAction(QStringLiteral("No Recent Repos"))->setEnabled(false);
        return;
    }
    RepoWindowRegistry* registry = registry_;
    for (const RecentRepo& repo : recents) {
        QString label = repo.path;
        label.replace(QLatin1Char('&'), QStringLiteral("&&"));
        const QString path = repo.path;
        connect(addAction(label), &QAction::triggered, this,
                [registry, path] { registry->recordAndOpen(path); });
    }
    addSeparator();
    connect(addAction(QStringLiteral("Clear Menu")), &QAction::triggered, this,
            [registry] { registry->recents().removeAll(); });
}

}  // namespace vorda
