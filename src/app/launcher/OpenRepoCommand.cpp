#include "app/launcher/OpenRepoCommand.h"

#include <QKeySequence>
#include <QPointer>
#include <QWidget>

#include "app/start/RepoWindowRegistry.h"

namespace vorda {

OpenRepoCommand::OpenRepoCommand(RepoWindowRegistry& registry, QWidget* dialogParent,
                                 QObject* parent)
    : QAction(QStringLiteral("Open Repo\u2026"), parent) {
    setObjectName(QStringLiteral("openRepoAction"));
    setShortcut(QKeySequence::Open);
    const QPointer<QWidget> guardedParent = dialogParent;
    connect(this, &QAction::triggered, this,
            [&registry, guardedParent] { run(registry, guardedParent); });
}

void OpenRepoCommand::run(RepoWindowRegistry& registry, QWidget* dialogParent) {
    const auto chosen = registry.pickDirectory(dialogParent);
    if (!chosen) {
        return;
    }
    registry.recordAndOpen(*chosen);
}

}  // namespace vorda
