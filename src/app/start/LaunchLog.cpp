#include "app/start/LaunchLog.h"

#include <QWidget>
#include <QWindow>

#include "jjkit/support/DiagnosticLog.h"

namespace vorda::launchlog {
namespace {

QString describeObject(const QObject* object) {
    if (object == nullptr) {
        return QStringLiteral("nil");
    }
    const QString address =
        QStringLiteral("0x") + QString::number(reinterpret_cast<quintptr>(object), 16);
    const QString name = object->objectName();
    if (name.isEmpty()) {
        return QStringLiteral("%1(%2)").arg(QLatin1String(object->metaObject()->className()),
                                            address);
    }
    return QStringLiteral("%1(%2, %3)")
        .arg(QLatin1String(object->metaObject()->className()), address, name);
}

}  // namespace

void write(const QString& text) {
    DiagnosticLog::writeLine((QStringLiteral("[launcher] ") + text).toStdString());
}

QString describe(const QWidget* window) {
    return describeObject(window);
}

QString describe(const QWindow* window) {
    return describeObject(window);
}

QString flag(bool value) {
    return value ? QStringLiteral("true") : QStringLiteral("false");
}

QString list(const QStringList& items) {
    QStringList quoted;
    quoted.reserve(items.size());
    for (const QString& item : items) {
        quoted.append(QLatin1Char('"') + item + QLatin1Char('"'));
    }
    return QLatin1Char('[') + quoted.join(QStringLiteral(", ")) + QLatin1Char(']');
}

}  // namespace vorda::launchlog
