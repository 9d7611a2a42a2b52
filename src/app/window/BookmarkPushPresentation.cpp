#include "app/window/BookmarkPushPresentation.h"

#include <type_traits>
#include <variant>

namespace vorda {
namespace {

// "1 commit", "2 commits": `word` takes an "s" unless the count is 1.
std::string counted(std::int64_t count, const std::string& word) {
    return std::to_string(count) + " " + word + (count == 1 ? "" : "s");
}

}  // namespace

std::string BookmarkPushPresentation::menuTitle(const std::optional<Bookmark>& bookmark) {
    if (!bookmark) {
        return "Push";
    }
    return std::visit(
        [](const auto& state) -> std::string {
            using State = std::decay_t<decltype(state)>;
            if constexpr (std::is_same_v<State, RemoteSyncState::Untracked>) {
                return "Publish to Remote";
            } else if constexpr (std::is_same_v<State, RemoteSyncState::UpToDate>) {
                return "Push (Up to Date)";
            } else if constexpr (std::is_same_v<State, RemoteSyncState::Ahead>) {
                return "Push " + counted(state.commits, "Commit");
            } else {
                return "Force Push";
            }
        },
        bookmark->remoteSyncState.value);
}

std::string BookmarkPushPresentation::tooltip(const std::optional<Bookmark>& bookmark) {
    if (!bookmark) {
        return "Select a bookmark lane";
    }
    return std::visit(
        [](const auto& state) -> std::string {
            using State = std::decay_t<decltype(state)>;
            if constexpr (std::is_same_v<State, RemoteSyncState::Untracked>) {
                return "Publish this bookmark to the remote";
            } else if constexpr (std::is_same_v<State, RemoteSyncState::UpToDate>) {
                return "Already up to date with the remote";
            } else if constexpr (std::is_same_v<State, RemoteSyncState::Ahead>) {
                return "Push " + counted(state.commits, "commit") + " to the remote";
            } else if constexpr (std::is_same_v<State, RemoteSyncState::Behind>) {
                return "Remote is ahead — pushing will rewind the remote";
            } else {
                return "Remote has diverged — pushing rewrites the remote";
            }
        },
        bookmark->remoteSyncState.value);
}

bool BookmarkPushPresentation::isForcePush(const std::optional<Bookmark>& bookmark) {
    if (!bookmark) {
        return false;
    }
    const auto& state = bookmark->remoteSyncState.value;
    return std::holds_alternative<RemoteSyncState::Behind>(state) ||
           std::holds_alternative<RemoteSyncState::Diverged>(state);
}

bool BookmarkPushPresentation::isUpToDate(const std::optional<Bookmark>& bookmark) {
    return bookmark &&
           std::holds_alternative<RemoteSyncState::UpToDate>(bookmark->remoteSyncState.value);
}

}  // namespace vorda
