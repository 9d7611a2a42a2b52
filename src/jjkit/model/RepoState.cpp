#include "jjkit/model/RepoState.h"

#include <algorithm>
#include <deque>
#include <unordered_map>
#include <unordered_set>

#include "jjkit/model/TrunkNames.h"

namespace vorda {

const WorkspaceState* RepoState::selectedWorkspace() const {
    if (!selectedWorkspaceName) {
        return nullptr;
    }
    const auto found = workspaces.find(*selectedWorkspaceName);
    return found == workspaces.end() ? nullptr : &found->second;
}

BookmarkInclusionRole RepoState::inclusionRole(const std::string& bookmarkName,
                                               const std::string& workspaceName) const {
    const auto workspace = workspaces.find(workspaceName);
    if (workspace == workspaces.end()) {
        return BookmarkInclusionRole::absent();
    }
    const auto role = workspace->second.bookmarkRoles.find(bookmarkName);
    return role == workspace->second.bookmarkRoles.end() ? BookmarkInclusionRole::absent()
                                                         : role->second;
}

std::set<std::string> RepoState::transitiveDependencies(const std::string& bookmarkName) const {
    std::set<std::string> result;
    const auto start = bookmarks.find(bookmarkName);
    if (start == bookmarks.end()) {
        return result;
    }
    std::vector<std::string> pending(start->second.parentBookmarks.begin(),
                                     start->second.parentBookmarks.end());
    while (!pending.empty()) {
        std::string name = std::move(pending.back());
        pending.pop_back();
        if (!result.insert(name).second) {
            continue;
        }
        const auto found = bookmarks.find(name);
        if (found != bookmarks.end()) {
            pending.insert(pending.end(), found->second.parentBookmarks.begin(),
                           found->second.parentBookmarks.end());
        }
    }
    return result;
}

std::vector<std::string> RepoState::dependents(const std::string& bookmarkName) const {
    std::vector<std::string> result;
    for (const auto& [name, bookmark] : bookmarks) {
        if (transitiveDependencies(name).contains(bookmarkName)) {
            result.push_back(name);
        }
    }
    return result;
}

bool RepoState::workingCopyIsAttachedToApex() const {
    if (!workingCopy || !apex) {
        return false;
    }
    std::unordered_set<std::string> visited;
    std::vector<std::string> pending{workingCopy->commitID};
    while (!pending.empty()) {
        std::string id = std::move(pending.back());
        pending.pop_back();
        if (id == apex->commitID) {
            return true;
        }
        if (!visited.insert(id).second) {
            continue;
        }
        const auto found = commits.find(id);
        if (found != commits.end()) {
            pending.insert(pending.end(), found->second->parents.begin(),
                           found->second->parents.end());
        }
    }
    return false;
}

std::set<std::string> RepoState::boardEnabledBookmarkNames() const {
    if (const auto* workspace = selectedWorkspace()) {
        std::set<std::string> names;
        for (const auto& [name, role] : workspace->bookmarkRoles) {
            if (!role.isAbsent()) {
                names.insert(name);
            }
        }
        return names;
    }
    if (apex && !workingCopyIsAttachedToApex()) {
        std::set<std::string> names;
        for (const auto& parent : apex->parents) {
            if (const auto* bookmark = std::get_if<ApexParent::Bookmark>(&parent.value)) {
                names.insert(bookmark->name);
            }
        }
        return names;
    }
    if (!workingCopy) {
        return {};
    }
    return {workingCopy->enabledBookmarks.begin(), workingCopy->enabledBookmarks.end()};
}

std::vector<BaseAnchor> RepoState::baseAnchors(const std::string& bookmarkName) const {
    const auto bookmark = bookmarks.find(bookmarkName);
    if (bookmark == bookmarks.end() || bookmark->second.commitIDs.empty()) {
        return {};
    }
    const auto root = commits.find(bookmark->second.commitIDs.back());
    if (root == commits.end()) {
        return {};
    }
    std::unordered_map<std::string, std::string> tipOwners;
    for (const auto& [name, other] : bookmarks) {
        if (name != bookmarkName && !other.commitIDs.empty()) {
            tipOwners.try_emplace(other.commitIDs.front(), name);
        }
    }
    std::vector<BaseAnchor> anchors;
    std::unordered_set<std::string> visited;
    std::deque<std::string> queue(root->second->parents.begin(), root->second->parents.end());
    while (!queue.empty()) {
        const std::string id = std::move(queue.front());
        queue.pop_front();
        if (!visited.insert(id).second) {
            continue;
        }
        const auto found = commits.find(id);
        if (found == commits.end()) {
            continue;
        }
        const JJCommit& commit = *found->second;
        const auto owner = tipOwners.find(id);
        if (commit.immutable) {
            const auto name = owner == tipOwners.end()
                                  ? std::nullopt
                                  : std::optional<std::string_view>(owner->second);
            anchors.push_back(BaseAnchor::at(commit, name));
        } else if (owner != tipOwners.end()) {
            anchors.push_back(BaseAnchor{commit.commitID, commit.changeID, {owner->second}, false});
        } else {
            queue.insert(queue.end(), commit.parents.begin(), commit.parents.end());
        }
    }
    std::sort(anchors.begin(), anchors.end(),
              [](const auto& a, const auto& b) { return a.changeID < b.changeID; });
    return anchors;
}

std::vector<Bookmark> RepoState::untrackedRemoteBookmarks() const {
    // Commits in ID order, so that the first find does not depend on hashing.
    std::vector<const JJCommit*> ordered;
    ordered.reserve(commits.size());
    for (const auto& [id, commit] : commits) {
        ordered.push_back(&*commit);
    }
    std::sort(ordered.begin(), ordered.end(),
              [](const auto* a, const auto* b) { return a->commitID < b->commitID; });
    std::map<std::pair<std::string, std::string>, Bookmark> found;
    for (const auto* commit : ordered) {
        for (const auto& ref : commit->remoteBookmarks) {
            if (!ref.remote || *ref.remote == "git" || bookmarks.contains(ref.name)) {
                continue;
            }
            Bookmark synthetic;
            synthetic.name = ref.name;
            synthetic.origin = BookmarkOrigin::upstream(*ref.remote);
            synthetic.remoteSyncState = RemoteSyncState{RemoteSyncState::Untracked{}};
            synthetic.commitIDs = {commit->commitID};
            synthetic.changeIDs = {commit->changeID};
            found.try_emplace({ref.name, *ref.remote}, std::move(synthetic));
        }
    }
    std::vector<Bookmark> result;
    result.reserve(found.size());
    for (auto& [key, bookmark] : found) {
        result.push_back(std::move(bookmark));
    }
    return result;
}

std::vector<OneOffLane> RepoState::oneOffLanes() const {
    std::vector<const OrphanWIP*> candidates;
    std::unordered_map<std::string, const OrphanWIP*> byChange;
    for (const auto& orphan : orphanWIPs) {
        if (!orphan.ownerBookmark && orphan.isMine) {
            candidates.push_back(&orphan);
            byChange.emplace(orphan.changeID, &orphan);
        }
    }
    std::unordered_map<std::string, std::string> bookmarkOfChange;
    for (const auto& [name, bookmark] : bookmarks) {
        for (const auto& commitID : bookmark.commitIDs) {
            const auto commit = commits.find(commitID);
            if (commit != commits.end()) {
                bookmarkOfChange.try_emplace(commit->second->changeID, name);
            }
        }
    }
    std::unordered_set<std::string> underSomething;
    for (const auto* candidate : candidates) {
        underSomething.insert(candidate->parentChangeIDs.begin(), candidate->parentChangeIDs.end());
    }
    const auto commitOf = [&](const OrphanWIP& orphan) -> const JJCommit* {
        const auto found = commits.find(orphan.commitID);
        return found == commits.end() ? nullptr : &*found->second;
    };

    std::vector<OneOffLane> lanes;
    for (const auto* tip : candidates) {
        if (underSomething.contains(tip->changeID)) {
            continue;
        }
        OneOffLane lane;
        lane.tip = *tip;
        if (const auto* commit = commitOf(*tip)) {
            lane.commits.push_back(*commit);
        }
        std::set<std::string> parentNames;
        std::unordered_set<std::string> visited{tip->changeID};
        std::deque<const OrphanWIP*> queue{tip};
        while (!queue.empty()) {
            const OrphanWIP* current = queue.front();
            queue.pop_front();
            for (const auto& parent : current->parentChangeIDs) {
                if (const auto candidate = byChange.find(parent); candidate != byChange.end()) {
                    if (visited.insert(parent).second) {
                        if (const auto* commit = commitOf(*candidate->second)) {
                            lane.commits.push_back(*commit);
                        }
                        queue.push_back(candidate->second);
                    }
                } else if (const auto owner = bookmarkOfChange.find(parent);
                           owner != bookmarkOfChange.end()) {
                    parentNames.insert(owner->second);
                    auto& attached = lane.parentBookmarkAttachments[owner->second];
                    if (std::find(attached.begin(), attached.end(), current->changeID) ==
                        attached.end()) {
                        attached.push_back(current->changeID);
                    }
                }
            }
        }
        lane.parentBookmarkNames.assign(parentNames.begin(), parentNames.end());
        lanes.push_back(std::move(lane));
    }
    return lanes;
}

std::map<std::string, OneOffLane> RepoState::stackedOneOffLanesByBookmark() const {
    std::map<std::string, OneOffLane> stacked;
    for (auto& lane : oneOffLanes()) {
        if (lane.parentBookmarkNames.size() == 1 &&
            !isTrunkName(lane.parentBookmarkNames.front())) {
            const std::string name = lane.parentBookmarkNames.front();
            stacked.try_emplace(name, std::move(lane));
        }
    }
    return stacked;
}

}  // namespace vorda
