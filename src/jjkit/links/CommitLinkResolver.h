#pragma once

#include <cstddef>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "jjkit/links/CommitLinkEngine.h"

namespace vorda {

/// The stored rules: a JSON array of rules as one text. Empty or unreadable
/// text gives no rules; an entry that is not an object is skipped.
std::vector<CommitLinkRule> decodeCommitLinkRules(const std::string& configuration);
std::string encodeCommitLinkRules(const std::vector<CommitLinkRule>& rules);

/// The links of descriptions, for every window: one engine for the current
/// stored rules and repository, and the answers for up to 512 descriptions.
/// A change of rules or repository rebuilds the engine and forgets every
/// answer; a full cache is emptied whole before the next answer is kept.
/// Safe to call from any thread.
class CommitLinkResolver {
  public:
    static constexpr std::size_t cacheLimit = 512;

    static CommitLinkResolver& shared();

    std::vector<CommitLinkMatch> matches(const std::string& text, const std::string& configuration,
                                         const std::string& repository);

    std::size_t cachedCount() const;

  private:
    mutable std::mutex mutex_;
    std::optional<std::string> configuration_;
    std::optional<std::string> repository_;
    std::optional<CommitLinkEngine> engine_;
    std::unordered_map<std::string, std::vector<CommitLinkMatch>> cache_;
};

}  // namespace vorda
