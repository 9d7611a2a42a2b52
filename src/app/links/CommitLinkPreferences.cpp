#include "app/links/CommitLinkPreferences.h"

#include <QCoreApplication>
#include <QSettings>

namespace vorda {

CommitLinkPreferences& CommitLinkPreferences::shared() {
    static auto* const preferences = new CommitLinkPreferences(QCoreApplication::instance());
    return *preferences;
}

QString CommitLinkPreferences::configuration() const {
    if (!loaded_) {
        const QSettings settings;
        configuration_ = settings.value(QLatin1String(key)).toString();
        loaded_ = true;
    }
    return configuration_;
}

void CommitLinkPreferences::save(const QString& configuration) {
    if (configuration == this->configuration()) {
        return;
    }
    QSettings settings;
    settings.setValue(QLatin1String(key), configuration);
    configuration_ = configuration;
    emit changed();
}

void CommitLinkPreferences::reload() {
    const QString before = configuration();
    loaded_ = false;
    if (configuration() != before) {
        emit changed();
    }
}

}  // namespace vorda
