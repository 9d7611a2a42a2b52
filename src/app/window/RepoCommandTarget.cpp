#include "app/window/RepoCommandTarget.h"

namespace vorda {

std::optional<Bookmark> RepoCommandTarget::selectedBookmark() const {
    const auto* model = viewModel.data();
    const auto* store = selection.data();
    if (!model || !store) {
        return std::nullopt;
    }
    const auto& name = store->selectedBookmarkName();
    const auto* state = model->board().repoState();
    if (!name || !state) {
        return std::nullopt;
    }
    const auto found = state->bookmarks.find(*name);
    if (found == state->bookmarks.end()) {
        return std::nullopt;
    }
    return found->second;
}

std::optional<JJCommit> RepoCommandTarget::selectedCommit() const {
    const auto* model = viewModel.data();
    const auto* store = selection.data();
    if (!model || !store || store->selectedCommitIDs().empty()) {
        return std::nullopt;
    }
    const auto* commit = model->board().commitForChangeID(store->selectedCommitIDs().front());
    if (!commit) {
        return std::nullopt;
    }
    return *commit;
}

}  // namespace vorda
