#include "app/viewmodel/DiffCache.h"

#include <algorithm>

namespace vorda {

namespace {

bool isLowerHex(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f');
    });
}

}  // namespace

bool DiffCache::isCacheable(std::string_view revset) {
    // A bare commit ID, or two joined by "-.." (the first's parents to the
    // second): both name fixed commits, so their diff never changes.
    constexpr std::string_view rangeMark = "-..";
    const auto mark = revset.find(rangeMark);
    if (mark == std::string_view::npos) {
        return isLowerHex(revset);
    }
    return isLowerHex(revset.substr(0, mark)) && isLowerHex(revset.substr(mark + rangeMark.size()));
}

void DiffCache::store(const std::string& revset, std::string text) {
    if (!isCacheable(revset)) {
        return;
    }
    if (const auto known = texts_.find(revset); known != texts_.end()) {
        known->second = std::move(text);
        return;
    }
    if (order_.size() >= capacity) {
        texts_.erase(order_.front());
        order_.pop_front();
    }
    order_.push_back(revset);
    texts_.emplace(revset, std::move(text));
}

std::optional<std::string> DiffCache::find(const std::string& revset) const {
    if (const auto known = texts_.find(revset); known != texts_.end()) {
        return known->second;
    }
    return std::nullopt;
}

}  // namespace vorda
