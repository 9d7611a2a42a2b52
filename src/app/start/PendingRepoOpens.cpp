#include "app/start/PendingRepoOpens.h"

#include <QDir>
#include <QUrlQuery>

#include "app/start/CommandLineArguments.h"
#include "app/start/LaunchLog.h"
#include "jjkit/repo/JJRepoDetector.h"

namespace vorda {
namespace {

QString standardised(const QString& path) {
    return QDir::cleanPath(QDir::current().absoluteFilePath(path));
}

}  // namespace

PendingRepoOpens::PendingRepoOpens(QObject* parent) : QObject(parent) {}

void PendingRepoOpens::enqueue(const QString& path) {
    QString resolved = standardised(path);
    if (const auto root = JJRepoDetector::findRepoRoot(resolved.toStdString())) {
        resolved = QString::fromStdString(*root);
    }
    paths_.append(resolved);
    hasExternalOpen_ = true;
    ++generation_;
    launchlog::write(QStringLiteral("PendingRepoOpens.enqueue path=") + resolved +
                     QStringLiteral(" queue=") + launchlog::list(paths_));
    emit generationChanged(generation_);
}

void PendingRepoOpens::enqueue(const QList<QUrl>& urls) {
    for (const QUrl& url : urls) {
        if (const auto found = path(url)) {
            enqueue(*found);
        }
    }
}

std::optional<QString> PendingRepoOpens::path(const QUrl& url) {
    if (url.isLocalFile()) {
        QString local = url.toLocalFile();
        if (local.isEmpty()) {
            return std::nullopt;
        }
        return local;
    }
    if (url.scheme().toLower() != QLatin1String("vorda")) {
        return std::nullopt;
    }
    const QUrlQuery query(url);
    const QString item = query.queryItemValue(QStringLiteral("path"), QUrl::FullyDecoded);
    if (!item.isEmpty()) {
        return item;
    }
    const QString ownPath = url.path(QUrl::FullyDecoded);
    if (!ownPath.isEmpty() && ownPath != QLatin1String("/")) {
        return ownPath;
    }
    return std::nullopt;
}

void PendingRepoOpens::ingestCommandLineArguments(const QStringList& arguments) {
    for (const CommandLineOpen& open : CommandLineArguments::parse(arguments)) {
        if (open.kind == CommandLineOpen::Kind::address) {
            enqueue(QList<QUrl>{QUrl(open.text)});
        } else {
            enqueue(open.text);
        }
    }
}

QStringList PendingRepoOpens::takeAll() {
    QStringList taken;
    taken.swap(paths_);
    return taken;
}

}  // namespace vorda
