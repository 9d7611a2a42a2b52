#pragma once

#include <QByteArray>
#include <QList>
#include <QLocalServer>
#include <QObject>
#include <QString>
#include <optional>

#include "app/start/CommandLineArguments.h"

namespace vorda {

/// The name of this user's instance channel: `$VORDA_INSTANCE_NAME` when it
/// is set and not empty (tests use their own), else "vorda-" and the user
/// id. Qt places a plain name in the temporary folder.
QString instanceServerName();

/// The wire format between a second launch and the running instance: one
/// line of JSON, `{"opens":[{"path":"/abs/path"},{"url":"vorda://…"}]}`,
/// answered by the line "ok". Paths travel absolute: the sender resolves
/// relative ones against its own working folder.
struct InstanceMessage {
    static QByteArray encode(const QList<CommandLineOpen>& opens);
    static std::optional<QList<CommandLineOpen>> decode(const QByteArray& line);
};

/// The running instance's end of the channel. A second launch connects,
/// sends what its command line names and waits for "ok"; the server emits
/// `openRequested` with it (an empty list means "come to the front").
///
///     InstanceServer server;
///     if (InstanceClient::forward(name, opens) != InstanceClient::Result::forwarded)
///         server.listen(name);   // nobody answered: this process is the instance
class InstanceServer : public QObject {
    Q_OBJECT

  public:
    explicit InstanceServer(QObject* parent = nullptr);

    /// Listens under `name`, only for this user. A socket left behind by a
    /// process that is gone is removed first; a name where somebody still
    /// answers is left alone and the answer is false.
    bool listen(const QString& name);
    bool isListening() const { return server_.isListening(); }
    QString fullServerName() const { return server_.fullServerName(); }

  signals:
    void openRequested(const QList<vorda::CommandLineOpen>& opens);

  private:
    void accept();

    QLocalServer server_;
};

/// The second launch's end of the channel.
struct InstanceClient {
    enum class Result {
        forwarded,   // the running instance took the request
        noInstance,  // nobody listens under the name
        noAnswer,    // connected, but no "ok" in time
    };

    /// Sends `opens` to the instance under `name` and waits up to
    /// `timeoutMs` for its answer. Waiting runs a local event loop, so the
    /// server may even live in the same thread (as in the tests).
    static Result forward(const QString& name, const QList<CommandLineOpen>& opens,
                          int timeoutMs = 5000);
};

}  // namespace vorda
