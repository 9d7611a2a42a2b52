#pragma once

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QUrl>
#include <QtGlobal>
#include <optional>

namespace vorda {

/// The one queue where every path that should become a repository window
/// meets: the command line, addresses handed over by the desktop (through
/// the command line or a second launch) and the single-instance channel.
/// Arrival order at start does not matter: `PendingOpenRouter` drains the
/// queue whenever `generation` changes, and the start-up routing looks at
/// `hasExternalOpen` to know that the router owns this start.
///
/// Lives on the GUI thread.
class PendingRepoOpens : public QObject {
    Q_OBJECT
    Q_PROPERTY(quint64 generation READ generation NOTIFY generationChanged)

  public:
    explicit PendingRepoOpens(QObject* parent = nullptr);

    quint64 generation() const { return generation_; }
    const QStringList& paths() const { return paths_; }
    /// Set by the first enqueue and never reset.
    bool hasExternalOpen() const { return hasExternalOpen_; }

    /// Standardises `path` (absolute against the working folder, "." and
    /// ".." resolved, no trailing separator), replaces it by the repository
    /// root above it if there is one, appends it, sets `hasExternalOpen`,
    /// advances `generation` and logs the queue.
    void enqueue(const QString& path);
    /// Enqueues the path of each address that `path(from:)` accepts.
    void enqueue(const QList<QUrl>& urls);

    /// The address forms: a file address gives its path; scheme
    /// "vorda" (any case) gives its non-empty query item "path", else its
    /// path if that is neither empty nor "/"; anything else gives nothing.
    static std::optional<QString> path(const QUrl& url);

    /// Reads the command line (`CommandLineArguments`) and enqueues what it
    /// names; addresses go through `path(from:)`.
    void ingestCommandLineArguments(const QStringList& arguments);

    /// Takes every queued path and empties the queue (the router's drain).
    QStringList takeAll();

  signals:
    void generationChanged(quint64 generation);

  private:
    quint64 generation_ = 0;
    QStringList paths_;
    bool hasExternalOpen_ = false;
};

}  // namespace vorda
