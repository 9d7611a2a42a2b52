#include "jjkit/model/Bookmark.h"

namespace vorda {

std::optional<std::string> RemoteSyncState::remote() const {
    return std::visit(
        [](const auto& state) -> std::optional<std::string> {
            if constexpr (std::is_same_v<std::decay_t<decltype(state)>, Untracked>) {
                return std::nullopt;
            } else {
                return state.remote;
            }
        },
        value);
}

}  // namespace vorda
