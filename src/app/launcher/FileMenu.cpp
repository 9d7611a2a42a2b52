#include "app/launcher/FileMenu.h"

#include <QCoreApplication>
#include <QKeySequence>
#include <QMenu>
#include <QMenuBar>
#include <QPointer>

#include "app/launcher/OpenRecentMenu.h"
#include "app/launcher/OpenRepoCommand.h"
#include "app/start/RepoWindowRegistry.h"

namespace vorda {

QMenu* installFileMenu(QMenuBar* menuBar, RepoWindowRegistry& registry) {
    QWidget* window = menuBar->window();
    auto* menu = new QMenu(QStringLiteral("&File"), menuBar);
    menu->setObjectName(QStringLiteral("fileMenu"));
    menu->addAction(new OpenRepoCommand(registry, window, menu));
    menu->addMenu(new OpenRecentMenu(registry, menu));
    menu->addSeparator();
    if (const auto& openSettings = registry.settingsOpener()) {
        QAction* settings = menu->addAction(QStringLiteral("Settings…"));
        settings->setObjectName(QStringLiteral("settingsAction"));
        settings->setShortcut(QKeySequence(QStringLiteral("Ctrl+,")));
        settings->setMenuRole(QAction::PreferencesRole);
        QObject::connect(settings, &QAction::triggered, menu, openSettings);
        menu->addSeparator();
    }

    QAction* close = menu->addAction(QStringLiteral("Close Window"));
    close->setShortcut(QKeySequence::Close);
    const QPointer<QWidget> guardedWindow = window;
    QObject::connect(close, &QAction::triggered, menu, [guardedWindow] {
        if (guardedWindow != nullptr) {
            guardedWindow->close();
        }
    });
    QAction* quit = menu->addAction(QStringLiteral("Quit"));
    quit->setShortcut(QKeySequence::Quit);
    quit->setMenuRole(QAction::QuitRole);
    QObject::connect(quit, &QAction::triggered, menu, [] { QCoreApplication::quit(); });

    const QList<QAction*> existing = menuBar->actions();
    menuBar->insertMenu(existing.isEmpty() ? nullptr : existing.first(), menu);
    return menu;
}

}  // namespace vorda
