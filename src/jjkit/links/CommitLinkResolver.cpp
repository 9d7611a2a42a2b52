#include "jjkit/links/CommitLinkResolver.h"

#include <nlohmann/json.hpp>

namespace vorda {

std::vector<CommitLinkRule> decodeCommitLinkRules(const std::string& configuration) {
    std::vector<CommitLinkRule> rules;
    const auto parsed = nlohmann::json::parse(configuration, nullptr, false);
    if (!parsed.is_array()) {
        return rules;
    }
    for (const auto& entry : parsed) {
        if (entry.is_object()) {
            rules.push_back(commitLinkRuleFromJSON(entry));
        }
    }
    return rules;
}

std::string encodeCommitLinkRules(const std::vector<CommitLinkRule>& rules) {
    auto array = nlohmann::ordered_json::array();
    for (const auto& rule : rules) {
        array.push_back(toJSON(rule));
    }
    return array.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

CommitLinkResolver& CommitLinkResolver::shared() {
    static CommitLinkResolver resolver;
    return resolver;
}

std::vector<CommitLinkMatch> CommitLinkResolver::matches(const std::string& text,
                                                         const std::string& configuration,
                                                         const std::string& repository) {
    const std::scoped_lock lock(mutex_);
    if (configuration_ != configuration || repository_ != repository || !engine_) {
        configuration_ = configuration;
        repository_ = repository;
        engine_.emplace(decodeCommitLinkRules(configuration), repository);
        cache_.clear();
    }
    if (const auto hit = cache_.find(text); hit != cache_.end()) {
        return hit->second;
    }
    auto found = engine_->matches(text);
    if (cache_.size() >= cacheLimit) {
        cache_.clear();
    }
    cache_.emplace(text, found);
    return found;
}

std::size_t CommitLinkResolver::cachedCount() const {
    const std::scoped_lock lock(mutex_);
    return cache_.size();
}

}  // namespace vorda
