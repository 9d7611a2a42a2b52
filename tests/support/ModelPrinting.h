#pragma once

#include <ostream>

#include "jjkit/model/Bookmark.h"
#include "jjkit/model/Composition.h"

// Readable failure messages for the model's enumerations (found by argument
// lookup from GoogleTest's printers).
namespace vorda {

inline void PrintTo(const RemoteSyncState& state, std::ostream* out) {
    std::visit(
        [&](const auto& value) {
            using T = std::decay_t<decltype(value)>;
            if constexpr (std::is_same_v<T, RemoteSyncState::UpToDate>) {
                *out << "upToDate(" << value.remote << ")";
            } else if constexpr (std::is_same_v<T, RemoteSyncState::Ahead>) {
                *out << "ahead(" << value.remote << ", " << value.commits << ")";
            } else if constexpr (std::is_same_v<T, RemoteSyncState::Behind>) {
                *out << "behind(" << value.remote << ", " << value.commits << ")";
            } else if constexpr (std::is_same_v<T, RemoteSyncState::Diverged>) {
                *out << "diverged(" << value.remote << ", " << value.ahead << ", " << value.behind
                     << ")";
            } else {
                *out << "untracked";
            }
        },
        state.value);
}

inline void PrintTo(const BookmarkOrigin& origin, std::ostream* out) {
    if (const auto* upstream = std::get_if<BookmarkOrigin::Upstream>(&origin.value)) {
        *out << "upstream(" << upstream->remote << ")";
    } else {
        *out << "local";
    }
}

inline void PrintTo(const BookmarkInclusionRole& role, std::ostream* out) {
    std::visit(
        [&](const auto& value) {
            using T = std::decay_t<decltype(value)>;
            if constexpr (std::is_same_v<T, BookmarkInclusionRole::Partial>) {
                *out << "partial(" << value.commitID << ")";
            } else if constexpr (std::is_same_v<T, BookmarkInclusionRole::Inherited>) {
                *out << "inherited(" << value.via.value_or("-") << ")";
            } else if constexpr (std::is_same_v<T, BookmarkInclusionRole::DirectParent>) {
                *out << "directParent";
            } else {
                *out << "absent";
            }
        },
        role.value);
}

}  // namespace vorda
