#include "app/update/HelpMenu.h"

#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>

#include "app/update/UpdateController.h"

namespace vorda {

QMenu* installHelpMenu(QMenuBar* menuBar, UpdateController& updates) {
    auto* menu = menuBar->addMenu(QStringLiteral("&Help"));
    menu->setObjectName(QStringLiteral("helpMenu"));
    auto* about = menu->addAction(QStringLiteral("About Vorda"));
    about->setMenuRole(QAction::AboutRole);
    const QString version = updates.currentVersion();
    QObject::connect(about, &QAction::triggered, menu, [menuBar, version] {
        QMessageBox::about(menuBar->window(), QStringLiteral("About Vorda"),
                           QStringLiteral("<p><b>Vorda</b> %1</p><p>Bookmark-centric jj client: "
                                          "a desktop client for the Jujutsu version-control "
                                          "tool.</p>")
                               .arg(version.toHtmlEscaped()));
    });
    menu->addSeparator();
    menu->addAction(updates.checkAction());
    return menu;
}

}  // namespace vorda
