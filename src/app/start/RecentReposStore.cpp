#include "app/start/RecentReposStore.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>
#include <QSettings>
#include <QTimeZone>
#include <optional>

namespace vorda {
namespace {

// A numeric date counts seconds since this moment.
const QDateTime& referenceDate() {
    static const QDateTime date(QDate(2001, 1, 1), QTime(0, 0), QTimeZone::utc());
    return date;
}

std::optional<QDateTime> decodeDate(const QJsonValue& value) {
    if (value.isString()) {
        QDateTime date = QDateTime::fromString(value.toString(), Qt::ISODateWithMs);
        if (!date.isValid()) {
            return std::nullopt;
        }
        return date;
    }
    if (value.isDouble()) {
        return referenceDate().addMSecs(static_cast<qint64>(value.toDouble() * 1000.0));
    }
    return std::nullopt;
}

QString encodeDate(const QDateTime& date) {
    return date.toUTC().toString(Qt::ISODateWithMs);
}

}  // namespace

RecentReposStore::RecentReposStore(QSettings& settings, QString key, int maxEntries)
    : settings_(&settings), key_(std::move(key)), maxEntries_(maxEntries) {}

RecentReposStore::RecentReposStore(const QString& iniFileName, QString key, int maxEntries)
    : ownSettings_(std::make_unique<QSettings>(iniFileName, QSettings::IniFormat)),
      settings_(ownSettings_.get()),
      key_(std::move(key)),
      maxEntries_(maxEntries) {}

RecentReposStore::~RecentReposStore() = default;

QList<RecentRepo> RecentReposStore::all() const {
    const QVariant value = settings_->value(key_);
    if (!value.isValid()) {
        return {};
    }
    return decode(value.toByteArray()).value_or(QList<RecentRepo>{});
}

void RecentReposStore::record(const QString& path) {
    QList<RecentRepo> repos = all();
    repos.removeIf([&](const RecentRepo& repo) { return repo.path == path; });
    repos.prepend({path, QDateTime::currentDateTimeUtc()});
    if (repos.size() > maxEntries_) {
        repos.resize(maxEntries_);
    }
    write(repos);
}

void RecentReposStore::remove(const QString& path) {
    QList<RecentRepo> repos = all();
    repos.removeIf([&](const RecentRepo& repo) { return repo.path == path; });
    write(repos);
}

void RecentReposStore::removeAll() {
    settings_->remove(key_);
    settings_->sync();
}

QByteArray RecentReposStore::encode(const QList<RecentRepo>& repos) {
    QJsonArray array;
    for (const RecentRepo& repo : repos) {
        array.append(QJsonObject{{QStringLiteral("path"), repo.path},
                                 {QStringLiteral("lastOpenedAt"), encodeDate(repo.lastOpenedAt)}});
    }
    return QJsonDocument(array).toJson(QJsonDocument::Compact);
}

std::optional<QList<RecentRepo>> RecentReposStore::decode(const QByteArray& bytes) {
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &error);
    if (error.error != QJsonParseError::NoError || !document.isArray()) {
        return std::nullopt;
    }
    QList<RecentRepo> repos;
    for (const auto& element : document.array()) {
        if (!element.isObject()) {
            return std::nullopt;
        }
        const QJsonObject object = element.toObject();
        const QJsonValue path = object.value(QStringLiteral("path"));
        const auto date = decodeDate(object.value(QStringLiteral("lastOpenedAt")));
        if (!path.isString() || !date) {
            return std::nullopt;
        }
        repos.append({path.toString(), *date});
    }
    return repos;
}

void RecentReposStore::write(const QList<RecentRepo>& repos) {
    settings_->setValue(key_, encode(repos));
    settings_->sync();
}

}  // namespace vorda
