#pragma once

#include <QObject>

namespace vorda {

class PendingRepoOpens;
class RepoWindowRegistry;

/// Turns queued paths into repository windows. Once
/// started it drains the queue at once and again on each change of its
/// `generation`: it hides the launcher, and for each path in order logs,
/// records the path in the recent list and opens (or brings forward) its
/// window.
class PendingOpenRouter : public QObject {
    Q_OBJECT

  public:
    /// `pending` and `registry` must outlive the router.
    PendingOpenRouter(PendingRepoOpens& pending, RepoWindowRegistry& registry,
                      QObject* parent = nullptr);

    /// Drains once and follows the queue from now on. A second call does
    /// nothing.
    void start();
    /// Takes every queued path and opens it.
    void drain();

  private:
    PendingRepoOpens* pending_;
    RepoWindowRegistry* registry_;
    bool started_ = false;
};

}  // namespace vorda
