#pragma once

#include <QByteArray>
#include <QObject>
#include <QPointer>
#include <QString>

#include "jjkit/update/ReleaseFeed.h"

class QNetworkAccessManager;
class QNetworkReply;

namespace vorda {

/// Fetches the release feed and compares it with this program's version.
/// The fetch runs on Qt's network machinery and never blocks the caller;
/// `finished` brings the outcome. Redirects are followed unless they go from
/// https to http, a fetch that takes longer than `timeoutSeconds` fails, and
/// so does a feed larger than `maximumBytes`. A check started while another
/// runs replaces it: the newest wins and the older one reports nothing.
///
///     UpdateChecker checker(QStringLiteral("1.2.0"));
///     connect(&checker, &UpdateChecker::finished, this, &Me::show);
///     checker.check(UpdatePreferences::effectiveFeedURL());
class UpdateChecker : public QObject {
    Q_OBJECT

  public:
    static constexpr int timeoutSeconds = 20;
    static constexpr qint64 maximumBytes = 1024 * 1024;

    explicit UpdateChecker(QString currentVersion, QObject* parent = nullptr);
    ~UpdateChecker() override;
    UpdateChecker(const UpdateChecker&) = delete;
    UpdateChecker& operator=(const UpdateChecker&) = delete;

    /// Starts a check of the feed at `feedURL`. An empty or unusable address
    /// fails at once, through `finished` like every other outcome.
    void check(const QString& feedURL);
    bool isRunning() const { return !reply_.isNull(); }
    const QString& currentVersion() const { return currentVersion_; }

  signals:
    void runningChanged(bool running);
    void finished(const vorda::UpdateCheckResult& result);

  private:
    void receive(QNetworkReply* reply);
    void complete(QNetworkReply* reply);
    UpdateCheckResult outcome(QNetworkReply* reply) const;
    void abandon();

    QString currentVersion_;
    QNetworkAccessManager* network_;
    QPointer<QNetworkReply> reply_;
    QByteArray body_;
    bool tooLarge_ = false;
};

}  // namespace vorda
