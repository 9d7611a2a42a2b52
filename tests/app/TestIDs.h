#pragma once

#include <cstddef>
#include <string>

#include "jjkit/records/JJCommit.h"

namespace vorda::apptest {

/// A full change ID (32 letters from k to z) that spells `number`.
inline std::string changeIDFor(std::size_t number) {
    std::string id(32, 'k');
    for (std::size_t position = id.size(); position-- > 0 && number > 0; number /= 16) {
        id[position] = static_cast<char>('k' + number % 16);
    }
    return id;
}

/// A full commit ID (40 hexadecimal digits) that spells `number`.
inline std::string commitIDFor(std::size_t number) {
    static constexpr char digits[] = "0123456789abcdef";
    std::string id(40, '0');
    for (std::size_t position = id.size(); position-- > 0 && number > 0; number /= 16) {
        id[position] = digits[number % 16];
    }
    return id;
}

/// A commit numbered `number` (its change and commit IDs spell it), by Ada
/// Lovelace on 2024-03-04 at 10:00 UTC.
inline JJCommit makeCommit(std::size_t number, std::string description, bool immutable = false) {
    JJCommit commit;
    commit.changeID = changeIDFor(number);
    commit.commitID = commitIDFor(number);
    commit.description = std::move(description);
    commit.author = {"Ada Lovelace", "ada@example.com", "2024-03-04T10:00:00+00:00"};
    commit.committer = commit.author;
    commit.immutable = immutable;
    return commit;
}

}  // namespace vorda::apptest
