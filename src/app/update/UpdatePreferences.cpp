#include "app/update/UpdatePreferences.h"

#include <QSettings>

#include "app/update/BuildInfo.h"

namespace vorda {
namespace {

const QString feedURLKey = QStringLiteral("vorda.updates.feedURL");
const QString automaticKey = QStringLiteral("vorda.updates.checkAutomatically");
const QString lastCheckKey = QStringLiteral("vorda.updates.lastCheck");

}  // namespace

QString UpdatePreferences::feedURLOverride() {
    return QSettings().value(feedURLKey).toString().trimmed();
}

void UpdatePreferences::setFeedURLOverride(const QString& url) {
    QSettings settings;
    if (url.trimmed().isEmpty()) {
        settings.remove(feedURLKey);
    } else {
        settings.setValue(feedURLKey, url.trimmed());
    }
}

QString UpdatePreferences::effectiveFeedURL() {
    const QString chosen = feedURLOverride();
    return chosen.isEmpty() ? buildinfo::builtInFeedURL() : chosen;
}

bool UpdatePreferences::checksAutomatically() {
    return QSettings().value(automaticKey, false).toBool();
}

void UpdatePreferences::setChecksAutomatically(bool on) {
    QSettings().setValue(automaticKey, on);
}

QDateTime UpdatePreferences::lastCheck() {
    return QSettings().value(lastCheckKey).toDateTime();
}

void UpdatePreferences::setLastCheck(const QDateTime& when) {
    QSettings().setValue(lastCheckKey, when.toUTC());
}

bool UpdatePreferences::automaticCheckDue(const QDateTime& now) {
    if (!checksAutomatically()) {
        return false;
    }
    const QDateTime last = lastCheck();
    if (!last.isValid() || last > now) {
        return true;
    }
    return last.secsTo(now) >= automaticInterval;
}

}  // namespace vorda
