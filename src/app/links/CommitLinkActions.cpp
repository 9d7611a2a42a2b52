#include "app/links/CommitLinkActions.h"

#include <QClipboard>
#include <QDesktopServices>
#include <QGuiApplication>
#include <QMenu>

#include "app/column/QtText.h"

namespace vorda::commitlinks {

namespace {

Opener& currentOpener() {
    static Opener opener;
    return opener;
}

bool openAddress(const std::string& address) {
    const QUrl url(qtText(address), QUrl::StrictMode);
    if (!url.isValid()) {
        return false;
    }
    const Opener& opener = currentOpener();
    return opener ? opener(url) : QDesktopServices::openUrl(url);
}

void copy(const std::string& text) {
    QGuiApplication::clipboard()->setText(qtText(text));
}

}  // namespace

void setOpener(Opener opener) {
    currentOpener() = std::move(opener);
}

void open(const CommitLinkMatch& link) {
    if (link.preferApp && link.appURL && openAddress(*link.appURL)) {
        return;
    }
    openAddress(link.webURL);
}

QString primaryAddress(const CommitLinkMatch& link) {
    return qtText(link.preferApp && link.appURL ? *link.appURL : link.webURL);
}

QString tooltip(const CommitLinkMatch& link) {
    return qtText(link.reference) + QStringLiteral(" → ") + primaryAddress(link);
}

void addMenuEntries(QMenu& menu, const CommitLinkMatch& link) {
    QObject::connect(menu.addAction(QStringLiteral("Open in Browser")), &QAction::triggered, &menu,
                     [web = link.webURL] { openAddress(web); });
    if (link.appURL) {
        QObject::connect(menu.addAction(QStringLiteral("Open in Linear")), &QAction::triggered,
                         &menu, [app = *link.appURL] { openAddress(app); });
    }
    QObject::connect(menu.addAction(QStringLiteral("Copy Link")), &QAction::triggered, &menu,
                     [web = link.webURL] { copy(web); });
    QObject::connect(menu.addAction(QStringLiteral("Copy Reference")), &QAction::triggered, &menu,
                     [reference = link.reference] { copy(reference); });
}

}  // namespace vorda::commitlinks
