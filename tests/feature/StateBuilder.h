#pragma once

#include <algorithm>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "jjkit/model/Composition.h"
#include "jjkit/model/RepoState.h"

namespace vorda::testing {

/// Assembles `RepoState` values by hand for the projection tests: commits by
/// ID with their parents, bookmarks over them, and conflicts. Only the plain
/// fields are filled; nothing is derived.
class StateBuilder {
  public:
    /// Adds a bookmark showing `commitIDs`, tip first.
    Bookmark& bookmark(const std::string& name, std::vector<std::string> commitIDs,
                       BookmarkOrigin origin = BookmarkOrigin::local()) {
        Bookmark bookmark;
        bookmark.name = name;
        bookmark.commitIDs = std::move(commitIDs);
        bookmark.origin = std::move(origin);
        return state_.bookmarks.insert_or_assign(name, std::move(bookmark)).first->second;
    }

    StateBuilder& conflict(std::string bookmarkA, std::string bookmarkB) {
        state_.conflicts.push_back({std::move(bookmarkA), std::move(bookmarkB)});
        return *this;
    }

    /// Adds (or replaces) commits with change ID "change-" + ID, written as
    /// words "ID:PARENT,PARENT", with "!" after an immutable one and "@NAME"
    /// after one that carries local bookmark NAME: "t0! a1:t0@feature m:a1,t0".
    StateBuilder& commits(const std::string& text) {
        std::istringstream stream(text);
        for (std::string word; stream >> word;) {
            std::string bookmark;
            if (const auto at = word.find('@'); at != std::string::npos) {
                bookmark = word.substr(at + 1);
                word.resize(at);
            }
            const bool immutable = word.ends_with('!');
            if (immutable) {
                word.pop_back();
            }
            const std::string id = word.substr(0, word.find(':'));
            JJCommit added;
            added.commitID = id;
            added.changeID = "change-" + added.commitID;
            added.parents = listAfterColon(word);
            added.committer.timestamp = "2024-03-20T12:00:00Z";
            added.immutable = immutable;
            if (!bookmark.empty()) {
                added.localBookmarks.push_back({bookmark, std::nullopt, {added.commitID}, {}});
            }
            state_.commits.insert_or_assign(id, SharedCommit(std::move(added)));
        }
        return *this;
    }

    /// Adds bookmarks written as words "NAME:ID,ID" (tip first), or
    /// "NAME@origin:ID,ID" for one whose origin is the remote: "main@origin:t1 wip:".
    StateBuilder& bookmarks(const std::string& text) {
        std::istringstream stream(text);
        for (std::string word; stream >> word;) {
            const std::string name = word.substr(0, word.find_first_of("@:"));
            bookmark(name, listAfterColon(word),
                     word.starts_with(name + "@origin") ? BookmarkOrigin::upstream("origin")
                                                        : BookmarkOrigin::local());
        }
        return *this;
    }

    const RepoState& state() const { return state_; }

  private:
    static std::vector<std::string> listAfterColon(const std::string& word) {
        std::vector<std::string> items;
        if (const auto colon = word.find(':'); colon != std::string::npos) {
            std::istringstream list(word.substr(colon + 1));
            for (std::string item; std::getline(list, item, ',');) {
                items.push_back(item);
            }
        }
        return items;
    }

    RepoState state_;
};

/// A workspace on `commitID` with the given composition kind.
inline WorkspaceState workspaceOn(
    const std::string& commitID, WorkspaceComposition::Kind kind = WorkspaceComposition::Direct{}) {
    WorkspaceState workspace;
    workspace.workspace.name = "default";
    workspace.workspace.commitID = commitID;
    workspace.workspace.changeID = "change-" + commitID;
    workspace.composition.kind = std::move(kind);
    return workspace;
}

}  // namespace vorda::testing
