#pragma once

namespace vorda {

class PendingRepoOpens;
class RepoWindowRegistry;

/// The start-up decision of the launcher: with
/// an external open pending the router owns this start; otherwise the first
/// recent repository opens if it still exists on disk, and else the launcher
/// is shown. It runs once: `didRoute` is per object, and the application has
/// one, so it is process-wide in effect (tests make several).
class StartupRouting {
  public:
    /// `pending` and `registry` must outlive this object.
    StartupRouting(PendingRepoOpens& pending, RepoWindowRegistry& registry);

    void route();
    bool didRoute() const { return didRoute_; }

  private:
    PendingRepoOpens* pending_;
    RepoWindowRegistry* registry_;
    bool didRoute_ = false;
};

}  // namespace vorda
