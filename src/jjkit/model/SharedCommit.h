#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "jjkit/records/JJCommit.h"

namespace vorda {

/// A loaded commit held by the commit index and shared by the read models
/// built from it, so that a lane lists its commits without copying them. The
/// commit never changes once shared, and a share compares by value, like the
/// commit itself.
class SharedCommit {
  public:
    /// `commit` must not be null.
    explicit SharedCommit(std::shared_ptr<const JJCommit> commit) : commit_(std::move(commit)) {}
    explicit SharedCommit(JJCommit commit)
        : commit_(std::make_shared<const JJCommit>(std::move(commit))) {}

    /// Every commit of `commits`, in order, from a single allocation: one
    /// refresh shares thousands of commits, and this spares an allocation for
    /// each. The whole block lives as long as any of its commits is held.
    static std::vector<SharedCommit> shareAll(std::vector<JJCommit> commits) {
        const auto block = std::make_shared<const std::vector<JJCommit>>(std::move(commits));
        std::vector<SharedCommit> shared;
        shared.reserve(block->size());
        for (const JJCommit& commit : *block) {
            shared.emplace_back(std::shared_ptr<const JJCommit>(block, &commit));
        }
        return shared;
    }

    const JJCommit& operator*() const { return *commit_; }
    const JJCommit* operator->() const { return commit_.get(); }

    bool operator==(const SharedCommit& other) const {
        return commit_ == other.commit_ || *commit_ == *other.commit_;
    }

  private:
    std::shared_ptr<const JJCommit> commit_;
};

}  // namespace vorda
