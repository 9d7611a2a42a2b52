#include "support/StateText.h"

#include <algorithm>
#include <sstream>

#include "support/TestRepo.h"

namespace vorda::testing {

IDNames idNames(const TestRepo& repo, const std::vector<std::string>& names) {
    IDNames result;
    for (const auto& name : names) {
        result[repo.id(name)] = name;
        result[repo.commitID(repo.id(name))] = name;
    }
    return result;
}

namespace {

class Renderer {
  public:
    Renderer(const RepoState& state, const IDNames& names) : state_(state), names_(names) {
        if (state.workingCopy) {
            names_.try_emplace(state.workingCopy->commitID, "@");
            names_.try_emplace(state.workingCopy->changeID, "@");
        }
        names_.try_emplace(std::string(40, '0'), "root");
    }

    std::string render() {
        for (const auto& [name, bookmark] : state_.bookmarks) {
            out_ << "bookmark " << name << ":";
            bookmarkFacts(bookmark);
            for (const auto& anchor : state_.baseAnchors(name)) {
                out_ << " | base " << this->anchor(anchor);
            }
            out_ << "\n";
        }
        for (const auto& conflict : state_.conflicts) {
            out_ << "conflict " << conflict.bookmarkA << " " << conflict.bookmarkB << "\n";
        }
        if (const auto& copy = state_.workingCopy) {
            out_ << "working copy " << name(copy->commitID) << ":" << list(copy->enabledBookmarks)
                 << (copy->hasConflict ? " | conflict" : "") << "\n";
        }
        for (const auto& [name, workspace] : state_.workspaces) {
            workspaceLine(name, workspace);
        }
        if (state_.selectedWorkspaceName) {
            out_ << "selected " << *state_.selectedWorkspaceName << "\n";
        }
        if (const auto& apex = state_.apex) {
            out_ << "apex " << this->name(apex->changeID) << ":";
            for (const auto& parent : apex->parents) {
                const auto* bookmark = std::get_if<ApexParent::Bookmark>(&parent.value);
                out_ << " " << (bookmark ? bookmark->name : "trunk");
            }
            out_ << " | immutable" << names(apex->immutableParentCommitIDs) << "\n";
        }
        for (const auto& orphan : state_.orphanWIPs) {
            out_ << "one-off " << name(orphan.changeID) << " on" << names(orphan.parentChangeIDs)
                 << (orphan.ownerBookmark ? " | owner " + *orphan.ownerBookmark : "")
                 << (orphan.isMine ? "" : " | theirs") << (orphan.hasConflict ? " | conflict" : "")
                 << "\n";
        }
        for (const auto& lane : state_.oneOffLanes()) {
            out_ << "lane " << name(lane.id()) << ":";
            for (const auto& commit : lane.commits) {
                out_ << " " << name(commit.commitID);
            }
            if (!lane.parentBookmarkNames.empty()) {
                out_ << " | on" << list(lane.parentBookmarkNames);
            }
            for (const auto& [bookmark, attached] : lane.parentBookmarkAttachments) {
                out_ << " | " << bookmark << " at" << names(attached);
            }
            out_ << "\n";
        }
        for (const auto& remote : state_.untrackedRemoteBookmarks()) {
            out_ << "remote bookmark " << remote.name << ":";
            bookmarkFacts(remote);
            out_ << "\n";
        }
        commitSet("immutable", [](const JJCommit& commit) { return commit.immutable; });
        commitSet("conflicted", [](const JJCommit& commit) { return commit.conflict; });
        std::vector<std::string> behind(state_.behindTrunkCommitIDs.begin(),
                                        state_.behindTrunkCommitIDs.end());
        if (!behind.empty()) {
            out_ << "behind trunk:" << names(behind) << "\n";
        }
        return out_.str();
    }

  private:
    std::string name(const std::string& id) const {
        const auto found = names_.find(id);
        return found != names_.end() ? found->second : "?" + id.substr(0, 8);
    }
    std::string names(const std::vector<std::string>& ids) const {
        std::string text;
        for (const auto& id : ids) {
            text += " " + name(id);
        }
        return text;
    }
    static std::string list(const std::vector<std::string>& words) {
        std::string text;
        for (const auto& word : words) {
            text += " " + word;
        }
        return text;
    }
    std::string anchor(const BaseAnchor& anchor) const {
        return name(anchor.commitID) + (anchor.isTrunk ? " trunk" : "") + " [" +
               list(anchor.bookmarkNames).substr(anchor.bookmarkNames.empty() ? 0 : 1) + "]";
    }

    static std::string sync(const RemoteSyncState& state) {
        return std::visit(
            [](const auto& value) -> std::string {
                using T = std::decay_t<decltype(value)>;
                if constexpr (std::is_same_v<T, RemoteSyncState::UpToDate>) {
                    return "up to date " + value.remote;
                } else if constexpr (std::is_same_v<T, RemoteSyncState::Ahead>) {
                    return "ahead " + value.remote + " " + std::to_string(value.commits);
                } else if constexpr (std::is_same_v<T, RemoteSyncState::Behind>) {
                    return "behind " + value.remote + " " + std::to_string(value.commits);
                } else if constexpr (std::is_same_v<T, RemoteSyncState::Diverged>) {
                    return "diverged " + value.remote + " " + std::to_string(value.ahead) + " " +
                           std::to_string(value.behind);
                } else {
                    return "untracked";
                }
            },
            state.value);
    }

    void bookmarkFacts(const Bookmark& bookmark) {
        out_ << names(bookmark.commitIDs);
        // The tips, where they are not simply the first commit shown.
        if (bookmark.changeIDs.size() != 1 || bookmark.commitIDs.empty() ||
            name(bookmark.changeIDs[0]) != name(bookmark.commitIDs[0])) {
            out_ << " | tips" << names(bookmark.changeIDs);
        }
        const auto* upstream = std::get_if<BookmarkOrigin::Upstream>(&bookmark.origin.value);
        out_ << " | " << (upstream ? "from " + upstream->remote : "local") << " | "
             << sync(bookmark.remoteSyncState);
        if (!bookmark.parentBookmarks.empty()) {
            out_ << " | on" << list(bookmark.parentBookmarks);
        }
        if (!bookmark.landedUpstreamParents.empty()) {
            out_ << " | landed" << list(bookmark.landedUpstreamParents);
        }
        out_ << (bookmark.isDivergent ? " | divergent" : "")
             << (bookmark.hasConflict ? " | conflict" : "");
    }

    std::string role(const BookmarkInclusionRole& role) const {
        return std::visit(
            [&](const auto& value) -> std::string {
                using T = std::decay_t<decltype(value)>;
                if constexpr (std::is_same_v<T, BookmarkInclusionRole::Partial>) {
                    return "partial " + name(value.commitID);
                } else if constexpr (std::is_same_v<T, BookmarkInclusionRole::Inherited>) {
                    return value.via ? "inherited via " + *value.via : "inherited";
                } else if constexpr (std::is_same_v<T, BookmarkInclusionRole::DirectParent>) {
                    return "direct";
                } else {
                    return "absent";
                }
            },
            role.value);
    }

    void workspaceLine(const std::string& workspaceName, const WorkspaceState& workspace) {
        out_ << "workspace " << workspaceName << ": ";
        const auto& composition = workspace.composition;
        if (const auto* made = std::get_if<WorkspaceComposition::Materialized>(&composition.kind)) {
            out_ << "composed " << name(made->changeID) << "/" << name(made->commitID);
        } else if (const auto* shared =
                       std::get_if<WorkspaceComposition::LegacyShared>(&composition.kind)) {
            out_ << "legacy " << name(shared->changeID) << "/" << name(shared->commitID);
        } else {
            out_ << "direct";
        }
        if (!composition.directParentBookmarks.empty()) {
            out_ << " | parents"
                 << list({composition.directParentBookmarks.begin(),
                          composition.directParentBookmarks.end()});
        }
        static constexpr const char* roles[] = {"trunk", "mutable", "protected", "unresolved"};
        for (const auto& attachment : composition.attachments) {
            out_ << " | attached " << name(attachment.commitID) << " "
                 << roles[static_cast<int>(attachment.role)] << list(attachment.bookmarkNames);
        }
        for (const auto& [bookmark, role] : workspace.bookmarkRoles) {
            out_ << " | " << bookmark << " " << this->role(role);
        }
        for (const auto& anchor : workspace.baseAnchors) {
            out_ << " | base " << this->anchor(anchor);
        }
        out_ << (workspace.hasConflict ? " | conflict" : "") << "\n";
    }

    template <typename Test>
    void commitSet(const char* label, Test test) {
        std::vector<std::string> shown;
        for (const auto& [id, commit] : state_.commits) {
            if (test(*commit)) {
                shown.push_back(name(id));
            }
        }
        std::sort(shown.begin(), shown.end());
        if (!shown.empty()) {
            out_ << label << ":" << list(shown) << "\n";
        }
    }

    const RepoState& state_;
    IDNames names_;
    std::ostringstream out_;
};

}  // namespace

std::string stateText(const RepoState& state, const IDNames& names) {
    return Renderer(state, names).render();
}

std::string lines(std::string_view text) {
    std::string result;
    std::istringstream in{std::string(text)};
    for (std::string line; std::getline(in, line);) {
        const auto first = line.find_first_not_of(" \t");
        if (first != std::string::npos) {
            result += line.substr(first, line.find_last_not_of(" \t") + 1 - first) + "\n";
        }
    }
    return result;
}

}  // namespace vorda::testing
