#include "app/update/UpdateChecker.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QUrl>
#include <optional>

namespace vorda {
namespace {

UpdateCheckResult failure(const QString& message) {
    return {UpdateCheckResult::Failed{message.toStdString()}};
}

// Why `address` cannot be fetched, if it cannot: only http and https
// addresses with a host are.
std::optional<QString> addressProblem(const QString& address) {
    const QString trimmed = address.trimmed();
    if (trimmed.isEmpty()) {
        return QStringLiteral(
            "No update feed is set. Enter its address under Settings \u203a Updates.");
    }
    const QUrl url(trimmed, QUrl::StrictMode);
    const QString scheme = url.scheme().toLower();
    if (url.isValid() && !url.host().isEmpty() &&
        (scheme == QStringLiteral("https") || scheme == QStringLiteral("http"))) {
        return std::nullopt;
    }
    return QStringLiteral("The update feed address \u201c%1\u201d is not an http or https address.")
        .arg(trimmed);
}

}  // namespace

UpdateChecker::UpdateChecker(QString currentVersion, QObject* parent)
    : QObject(parent),
      currentVersion_(std::move(currentVersion)),
      network_(new QNetworkAccessManager(this)) {}

UpdateChecker::~UpdateChecker() {
    abandon();
}

void UpdateChecker::check(const QString& feedURL) {
    const bool wasRunning = isRunning();
    abandon();
    if (const auto problem = addressProblem(feedURL)) {
        if (wasRunning) {
            emit runningChanged(false);
        }
        emit finished(failure(*problem));
        return;
    }
    const QUrl url(feedURL.trimmed(), QUrl::StrictMode);
    QNetworkRequest request(url);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::NoLessSafeRedirectPolicy);
    request.setTransferTimeout(timeoutSeconds * 1000);
    request.setRawHeader("Accept", "application/json");
    body_.clear();
    tooLarge_ = false;
    QNetworkReply* reply = network_->get(request);
    reply_ = reply;
    connect(reply, &QNetworkReply::readyRead, this, [this, reply] { receive(reply); });
    connect(reply, &QNetworkReply::finished, this, [this, reply] { complete(reply); });
    if (!wasRunning) {
        emit runningChanged(true);
    }
}

void UpdateChecker::receive(QNetworkReply* reply) {
    body_ += reply->readAll();
    if (body_.size() > maximumBytes) {
        tooLarge_ = true;
        reply->abort();
    }
}

void UpdateChecker::complete(QNetworkReply* reply) {
    reply->disconnect(this);
    reply->deleteLater();
    if (reply != reply_) {
        return;
    }
    if (!tooLarge_) {
        receive(reply);
    }
    const UpdateCheckResult result = outcome(reply);
    reply_.clear();
    body_.clear();
    emit runningChanged(false);
    emit finished(result);
}

UpdateCheckResult UpdateChecker::outcome(QNetworkReply* reply) const {
    if (tooLarge_) {
        return failure(QStringLiteral("The update feed is larger than %1 MB.")
                           .arg(maximumBytes / (1024 * 1024)));
    }
    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (status.isValid() && status.toInt() >= 400) {
        const QString reason =
            reply->attribute(QNetworkRequest::HttpReasonPhraseAttribute).toString();
        return failure(
            QStringLiteral("The update feed answered with HTTP status %1%2.")
                .arg(status.toInt())
                .arg(reason.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(reason)));
    }
    if (reply->error() == QNetworkReply::OperationCanceledError) {
        return failure(QStringLiteral("The update feed did not answer within %1 seconds.")
                           .arg(timeoutSeconds));
    }
    if (reply->error() != QNetworkReply::NoError) {
        return failure(
            QStringLiteral("Could not reach the update feed: %1").arg(reply->errorString()));
    }
    return checkForUpdate(body_.toStdString(), currentVersion_.toStdString(), false);
}

// Forgets the running fetch, if any: it is aborted and says nothing more.
void UpdateChecker::abandon() {
    QNetworkReply* reply = reply_.data();
    reply_.clear();
    if (reply == nullptr) {
        return;
    }
    reply->disconnect(this);
    reply->abort();
    reply->deleteLater();
}

}  // namespace vorda
