#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>
#include <memory>
#include <optional>

class QSettings;

namespace vorda {

/// One entry of the launcher's list.
struct RecentRepo {
    QString path;
    QDateTime lastOpenedAt;

    bool operator==(const RecentRepo&) const = default;
};

/// The recently opened repositories, newest first, in the user's
/// settings under one key. The value is bytes: a JSON array of objects
/// `{"path": "/home/me/repo", "lastOpenedAt": "2025-01-02T03:04:05.678Z"}`.
/// Dates are written as ISO 8601 in UTC with milliseconds; reading also
/// accepts a number, the seconds since 2001-01-01T00:00:00Z, the other
/// common encoding of a date in such lists.
///
/// A missing key, bytes that are not such an array, or any entry that fails
/// to decode read as an empty list, silently; the next write replaces them.
///
/// Used on the GUI thread only. `QSettings` objects of one process share the
/// file's contents, so several stores on the same file agree.
///
///     RecentReposStore store(settings);   // or RecentReposStore(fileName)
///     store.record("/home/me/repo");
///     store.all().front().path == "/home/me/repo"
class RecentReposStore {
  public:
    static constexpr const char* defaultKey = "com.kelmardev.vorda.recentRepos";
    static constexpr int defaultMaxEntries = 10;

    /// A store on `settings`, which must outlive it.
    explicit RecentReposStore(QSettings& settings, QString key = QLatin1String(defaultKey),
                              int maxEntries = defaultMaxEntries);
    /// A store on its own INI file (for tests and tools).
    explicit RecentReposStore(const QString& iniFileName, QString key = QLatin1String(defaultKey),
                              int maxEntries = defaultMaxEntries);
    ~RecentReposStore();
    RecentReposStore(const RecentReposStore&) = delete;
    RecentReposStore& operator=(const RecentReposStore&) = delete;

    /// The list, newest first; empty when missing or undecodable.
    QList<RecentRepo> all() const;
    /// Moves or inserts `path` at the front with the time now, and keeps at
    /// most `maxEntries`.
    void record(const QString& path);
    /// Removes every entry with that path and writes the list.
    void remove(const QString& path);
    /// Removes the key.
    void removeAll();

    const QString& key() const { return key_; }
    int maxEntries() const { return maxEntries_; }
    QSettings& settings() const { return *settings_; }

    /// The JSON bytes of a list, and back (absent when undecodable).
    static QByteArray encode(const QList<RecentRepo>& repos);
    static std::optional<QList<RecentRepo>> decode(const QByteArray& bytes);

  private:
    void write(const QList<RecentRepo>& repos);

    std::unique_ptr<QSettings> ownSettings_;
    QSettings* settings_;
    QString key_;
    int maxEntries_;
};

}  // namespace vorda
