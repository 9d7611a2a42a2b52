#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace vorda {

/// Strings, each with a number, in one flat open-addressed table: no
/// allocation per entry, and a lookup is one hash and nearly always a single
/// string comparison. Built for the tens of thousands of IDs of one refresh.
///
/// The strings are viewed, not copied: they must outlive the table and stay
/// where they are.
class StringTable {
  public:
    using Value = std::uint32_t;

    /// Room for `expected` strings before the table has to grow.
    explicit StringTable(std::size_t expected = 0) { reset(expected); }

    /// Adds `key` with `value` unless `key` is already there. Returns the
    /// value `key` has in the table and whether it was added.
    std::pair<Value, bool> insert(std::string_view key, Value value) {
        if (4 * (size_ + 1) > 3 * slots_.size()) {
            grow();
        }
        const std::uint64_t hash = hashOf(key);
        Slot& slot = slots_[probe(key, hash)];
        if (slot.tag != 0) {
            return {slot.value, false};
        }
        slot = Slot{key, tagOf(hash), value};
        ++size_;
        return {value, true};
    }

    std::optional<Value> find(std::string_view key) const {
        const Slot& slot = slots_[probe(key, hashOf(key))];
        return slot.tag != 0 ? std::optional(slot.value) : std::nullopt;
    }

    bool contains(std::string_view key) const { return find(key).has_value(); }
    std::size_t size() const { return size_; }

    /// Empties the table, keeping room for `expected` strings.
    void reset(std::size_t expected) {
        // At most three quarters full, where linear probing stays short.
        slots_.assign(std::bit_ceil(std::max<std::size_t>(8, expected + expected / 3 + 1)), Slot{});
        size_ = 0;
    }

  private:
    struct Slot {
        std::string_view key;
        std::uint32_t tag = 0;  // 0: empty
        Value value = 0;
    };

    // Multiply and shift over eight bytes at a time. The keys are long IDs,
    // and this costs a fraction of the standard library's general hash.
    static std::uint64_t hashOf(std::string_view key) {
        constexpr std::uint64_t multiplier = 0x9E3779B97F4A7C15ULL;
        std::uint64_t hash = key.size() * multiplier;
        const auto mix = [&](std::size_t at, std::size_t length) {
            std::uint64_t word = 0;
            std::memcpy(&word, key.data() + at, length);
            hash = (hash ^ word) * multiplier;
            hash ^= hash >> 29U;
        };
        std::size_t at = 0;
        for (; at + sizeof(std::uint64_t) <= key.size(); at += sizeof(std::uint64_t)) {
            mix(at, sizeof(std::uint64_t));
        }
        if (at < key.size()) {
            mix(at, key.size() - at);
        }
        return hash ^ (hash >> 32U);
    }

    // Part of the hash kept beside each key, so that a probe compares
    // strings only when their hashes agree; never 0.
    static std::uint32_t tagOf(std::uint64_t hash) {
        return static_cast<std::uint32_t>(hash >> 32U) | 1U;
    }

    // The slot holding `key`, or the empty slot where it belongs.
    std::size_t probe(std::string_view key, std::uint64_t hash) const {
        const std::size_t mask = slots_.size() - 1;
        const std::uint32_t tag = tagOf(hash);
        for (std::size_t at = hash & mask;; at = (at + 1) & mask) {
            const Slot& slot = slots_[at];
            if (slot.tag == 0 || (slot.tag == tag && slot.key == key)) {
                return at;
            }
        }
    }

    void grow() {
        std::vector<Slot> old = std::move(slots_);
        reset(2 * size_);
        for (const Slot& slot : old) {
            if (slot.tag != 0) {
                insert(slot.key, slot.value);
            }
        }
    }

    std::vector<Slot> slots_;
    std::size_t size_ = 0;
};

}  // namespace vorda
