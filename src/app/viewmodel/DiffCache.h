#pragma once

#include <deque>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace vorda {

/// Diff text by revset, for revsets that cannot change meaning: a bare
/// commit ID or a range of two ("abc-..def"). Holds at most `capacity`
/// entries and evicts the oldest insertion first; a read does not refresh an
/// entry, and storing a known key keeps its place.
class DiffCache {
  public:
    static constexpr std::size_t capacity = 32;

    /// Whether `revset` names fixed commits, so its diff may be cached.
    static bool isCacheable(std::string_view revset);

    /// Stores `text` for a cacheable `revset`; any other revset is ignored.
    void store(const std::string& revset, std::string text);
    std::optional<std::string> find(const std::string& revset) const;
    std::size_t size() const { return texts_.size(); }
    /// Keys in insertion order, oldest first.
    const std::deque<std::string>& order() const { return order_; }

  private:
    std::map<std::string, std::string> texts_;
    std::deque<std::string> order_;
};

}  // namespace vorda
