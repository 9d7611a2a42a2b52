#include "app/start/SingleInstance.h"

#include <QEventLoop>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocalSocket>
#include <QTimer>
#include <memory>

#include <unistd.h>

#include "app/start/LaunchLog.h"

namespace vorda {
namespace {

// A request larger than this is not ours; the connection is dropped.
constexpr qsizetype maxRequestBytes = qsizetype{1024} * 1024;
// How long a connection attempt to a possibly stale socket may take.
constexpr int probeTimeoutMs = 500;

const QString pathKey = QStringLiteral("path");
const QString urlKey = QStringLiteral("url");

}  // namespace

QString instanceServerName() {
    QString configured = qEnvironmentVariable("VORDA_INSTANCE_NAME");
    if (!configured.isEmpty()) {
        return configured;
    }
    return QStringLiteral("vorda-") + QString::number(::getuid());
}

QByteArray InstanceMessage::encode(const QList<CommandLineOpen>& opens) {
    QJsonArray array;
    for (const CommandLineOpen& open : opens) {
        const QString& key = open.kind == CommandLineOpen::Kind::address ? urlKey : pathKey;
        array.append(QJsonObject{{key, open.text}});
    }
    QByteArray line =
        QJsonDocument(QJsonObject{{QStringLiteral("opens"), array}}).toJson(QJsonDocument::Compact);
    line.append('\n');
    return line;
}

std::optional<QList<CommandLineOpen>> InstanceMessage::decode(const QByteArray& line) {
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(line.trimmed(), &error);
    if (error.error != QJsonParseError::NoError || !document.isObject()) {
        return std::nullopt;
    }
    const QJsonValue opensValue = document.object().value(QStringLiteral("opens"));
    if (!opensValue.isArray()) {
        return std::nullopt;
    }
    QList<CommandLineOpen> opens;
    for (const auto& element : opensValue.toArray()) {
        const QJsonObject object = element.toObject();
        if (object.value(pathKey).isString()) {
            opens.append({CommandLineOpen::Kind::path, object.value(pathKey).toString()});
        } else if (object.value(urlKey).isString()) {
            opens.append({CommandLineOpen::Kind::address, object.value(urlKey).toString()});
        } else {
            return std::nullopt;
        }
    }
    return opens;
}

InstanceServer::InstanceServer(QObject* parent) : QObject(parent) {
    server_.setSocketOptions(QLocalServer::UserAccessOption);
    connect(&server_, &QLocalServer::newConnection, this, &InstanceServer::accept);
}

bool InstanceServer::listen(const QString& name) {
    if (server_.isListening()) {
        return true;
    }
    // If somebody answers under the name, it is not ours to take. If nobody
    // does, a socket left there belongs to a process that is gone: Qt binds
    // a user-only socket beside it and renames it over the old one, and a
    // plain socket needs the old one removed first.
    QLocalSocket probe;
    probe.connectToServer(name);
    if (probe.waitForConnected(probeTimeoutMs)) {
        probe.abort();
        launchlog::write(
            QStringLiteral("InstanceServer.listen name in use by a live instance name=") + name);
        return false;
    }
    if (!server_.listen(name) && server_.serverError() == QAbstractSocket::AddressInUseError) {
        QLocalServer::removeServer(name);
        server_.listen(name);
    }
    if (!server_.isListening()) {
        launchlog::write(QStringLiteral("InstanceServer.listen failed name=") + name +
                         QStringLiteral(" error=") + server_.errorString());
        return false;
    }
    return true;
}

void InstanceServer::accept() {
    while (QLocalSocket* socket = server_.nextPendingConnection()) {
        auto buffer = std::make_shared<QByteArray>();
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QLocalSocket::readyRead, this, [this, socket, buffer] {
            buffer->append(socket->readAll());
            const qsizetype end = buffer->indexOf('\n');
            if (end < 0) {
                if (buffer->size() > maxRequestBytes) {
                    socket->abort();
                }
                return;
            }
            const auto opens = InstanceMessage::decode(buffer->left(end));
            buffer->clear();
            if (!opens) {
                socket->write("error\n");
                socket->disconnectFromServer();
                return;
            }
            socket->write("ok\n");
            socket->flush();
            socket->disconnectFromServer();
            emit openRequested(*opens);
        });
    }
}

InstanceClient::Result InstanceClient::forward(const QString& name,
                                               const QList<CommandLineOpen>& opens, int timeoutMs) {
    QLocalSocket socket;
    socket.connectToServer(name);
    if (!socket.waitForConnected(timeoutMs)) {
        return Result::noInstance;
    }
    socket.write(InstanceMessage::encode(opens));

    QByteArray reply;
    QEventLoop loop;
    QTimer timer;
    timer.setSingleShot(true);
    QObject::connect(&socket, &QLocalSocket::readyRead, &loop, [&] {
        reply.append(socket.readAll());
        if (reply.contains('\n')) {
            loop.quit();
        }
    });
    QObject::connect(&socket, &QLocalSocket::disconnected, &loop, &QEventLoop::quit);
    QObject::connect(&timer, &QTimer::timeout, &loop, &QEventLoop::quit);
    timer.start(timeoutMs);
    if (socket.state() == QLocalSocket::ConnectedState) {
        loop.exec();
    }
    reply.append(socket.readAll());
    return reply.startsWith("ok\n") ? Result::forwarded : Result::noAnswer;
}

}  // namespace vorda
