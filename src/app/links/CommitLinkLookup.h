#pragma once

#include <QHash>
#include <QObject>
#include <QString>
#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <thread>
#include <utility>
#include <vector>

#include "jjkit/links/CommitLinkEngine.h"

namespace vorda {

/// The links of the descriptions that windows show, found off the UI
/// thread. A view asks while it paints: a known answer comes at once; an
/// unknown one is matched by a worker, and `resolved` tells the views to
/// paint again. A user pattern that runs long therefore never holds up a
/// paint. Answers are kept per repository, up to 512 texts each (then
/// dropped whole), and all are forgotten when the stored rules change.
/// With no rules stored every answer is "no links" and no work is done.
class CommitLinkLookup : public QObject {
    Q_OBJECT

  public:
    static constexpr qsizetype cacheLimit = 512;

    static CommitLinkLookup& shared();

    explicit CommitLinkLookup(QObject* parent = nullptr);
    ~CommitLinkLookup() override;
    CommitLinkLookup(const CommitLinkLookup&) = delete;
    CommitLinkLookup& operator=(const CommitLinkLookup&) = delete;
    CommitLinkLookup(CommitLinkLookup&&) = delete;
    CommitLinkLookup& operator=(CommitLinkLookup&&) = delete;

    /// The links of `text` in `repository`, or nothing yet.
    std::optional<std::vector<CommitLinkMatch>> links(const QString& text,
                                                      const QString& repository);

  signals:
    /// New answers arrived, or the rules changed: ask again.
    void resolved();

  private:
    struct Request {
        QString text;
        QString repository;
        std::string configuration;
    };
    struct Answer {
        Request request;
        std::vector<CommitLinkMatch> links;
    };

    void work(const std::stop_token& stop);
    void accept(std::vector<Answer> answers);
    void forgetAll();

    // UI thread only.
    std::map<QString, QHash<QString, std::vector<CommitLinkMatch>>> answers_;
    std::set<std::pair<QString, QString>> pending_;

    // Shared with the worker.
    std::mutex mutex_;
    std::condition_variable_any wake_;
    std::deque<Request> queue_;
    std::vector<Answer> finished_;

    std::jthread worker_;
};

}  // namespace vorda
