#include "jjkit/model/Composition.h"

#include <algorithm>

#include "jjkit/client/JJError.h"
#include "jjkit/model/TrunkNames.h"
#include "jjkit/support/Text.h"

namespace vorda {

std::vector<CompositionAttachment> CompositionAttachment::project(
    const std::vector<std::string>& parentIDs, const CommitIndex& commits,
    const std::optional<std::string>& trunkCommitID) {
    return project(
        parentIDs,
        [&](const std::string& parentID) -> const JJCommit* {
            const auto found = commits.find(parentID);
            return found == commits.end() ? nullptr : &*found->second;
        },
        trunkCommitID);
}

std::vector<CompositionAttachment> CompositionAttachment::project(
    const std::vector<std::string>& parentIDs, const CommitLookup& lookup,
    const std::optional<std::string>& trunkCommitID) {
    std::vector<CompositionAttachment> attachments;
    attachments.reserve(parentIDs.size());
    for (std::size_t position = 0; position < parentIDs.size(); ++position) {
        CompositionAttachment attachment;
        attachment.commitID = parentIDs[position];
        attachment.position = static_cast<std::int64_t>(position);
        if (const JJCommit* found = lookup(attachment.commitID)) {
            const JJCommit& commit = *found;
            attachment.changeID = commit.changeID;
            attachment.immutable = commit.immutable;
            attachment.role = commit.immutable ? Role::protectedDependency : Role::mutableStack;
            for (const auto& ref : commit.localBookmarks) {
                attachment.bookmarkNames.push_back(ref.name);
            }
            // Every remote here, "git" included: this lists what the commit carries.
            for (const auto& ref : commit.remoteBookmarks) {
                attachment.remoteNames.push_back(ref.name + "@" + ref.remote.value_or(""));
            }
            std::sort(attachment.bookmarkNames.begin(), attachment.bookmarkNames.end());
            std::sort(attachment.remoteNames.begin(), attachment.remoteNames.end());
        }
        if (trunkCommitID && attachment.commitID == *trunkCommitID) {
            attachment.role = Role::currentTrunk;
        }
        attachments.push_back(std::move(attachment));
    }
    return attachments;
}

std::optional<std::string> WorkspaceComposition::materializedChangeID() const {
    if (const auto* materialized = std::get_if<Materialized>(&kind)) {
        return materialized->changeID;
    }
    if (const auto* shared = std::get_if<LegacyShared>(&kind)) {
        return shared->changeID;
    }
    return std::nullopt;
}

std::optional<std::string> WorkspaceComposition::materializedCommitID() const {
    if (const auto* materialized = std::get_if<Materialized>(&kind)) {
        return materialized->commitID;
    }
    if (const auto* shared = std::get_if<LegacyShared>(&kind)) {
        return shared->commitID;
    }
    return std::nullopt;
}

std::vector<std::string> WorkspaceComposition::replacingAttachment(
    const std::optional<std::string>& oldID, const std::optional<std::string>& newID) const {
    std::vector<std::string> parents;
    parents.reserve(attachments.size() + 1);
    for (const auto& attachment : attachments) {
        parents.push_back(attachment.commitID);
    }
    const auto oldPosition =
        oldID ? std::find(parents.begin(), parents.end(), *oldID) : parents.end();
    if (oldID && oldPosition == parents.end()) {
        throw JJError::unsafeOperation("The selected composition attachment is no longer present.");
    }
    if (oldID && newID) {
        *oldPosition = *newID;
        const auto kept = oldPosition - parents.begin();
        std::vector<std::string> result;
        for (std::size_t index = 0; index < parents.size(); ++index) {
            if (static_cast<std::ptrdiff_t>(index) == kept || parents[index] != *newID) {
                result.push_back(parents[index]);
            }
        }
        return result;
    }
    if (oldID) {
        parents.erase(oldPosition);
        return parents;
    }
    if (newID && std::find(parents.begin(), parents.end(), *newID) == parents.end()) {
        parents.push_back(*newID);
    }
    return parents;
}

BaseAnchor BaseAnchor::at(const JJCommit& commit, std::optional<std::string_view> owner) {
    std::set<std::string> names;
    for (const auto& ref : commit.localBookmarks) {
        names.insert(ref.name);
    }
    for (const auto& ref : commit.remoteBookmarks) {
        names.insert(ref.name + "@" + ref.remote.value_or(""));
    }
    if (owner) {
        names.emplace(*owner);
    }
    const bool isTrunk =
        std::any_of(names.begin(), names.end(), [](const auto& name) { return isTrunkName(name); });
    return BaseAnchor{commit.commitID, commit.changeID, {names.begin(), names.end()}, isTrunk};
}

bool Apex::isApexDescription(std::string_view description) {
    // Trimming cannot lengthen: shorter text is told apart without it.
    return description.size() >= descriptionMarker.size() &&
           text::trimWhitespace(description) == descriptionMarker;
}

std::optional<std::string> Apex::pinnedCommitID(const ApexParent& parent) const {
    if (parents.size() != attachments.size()) {
        throw JJError::unsafeOperation(
            "Apex attachment data is incomplete. Refresh before editing parents.");
    }
    std::optional<std::string> found;
    for (std::size_t index = 0; index < parents.size(); ++index) {
        if (parents[index] != parent) {
            continue;
        }
        if (found) {
            throw JJError::unsafeOperation(
                "Ambiguous apex attachment. Select an exact commit instead.");
        }
        found = attachments[index].commitID;
    }
    return found;
}

std::vector<ApexParent> Apex::parentsUpdating(
    const std::set<std::string>& updatingEnabledBookmarks,
    const std::set<std::string>& previouslyEnabled) const {
    std::set<std::string> removed;
    std::set_difference(previouslyEnabled.begin(), previouslyEnabled.end(),
                        updatingEnabledBookmarks.begin(), updatingEnabledBookmarks.end(),
                        std::inserter(removed, removed.end()));
    std::vector<ApexParent> result;
    for (const auto& parent : parents) {
        const auto* bookmark = std::get_if<ApexParent::Bookmark>(&parent.value);
        if (bookmark == nullptr || !removed.contains(bookmark->name)) {
            result.push_back(parent);
        }
    }
    for (const auto& name : updatingEnabledBookmarks) {
        if (previouslyEnabled.contains(name)) {
            continue;
        }
        const auto candidate = ApexParent::bookmark(name);
        if (std::find(result.begin(), result.end(), candidate) == result.end()) {
            result.push_back(candidate);
        }
    }
    return result;
}

std::string OneOffLane::displayName() const {
    return "one-off/" + tip.changeID.substr(0, 8);
}

Bookmark OneOffLane::bookmark() const {
    Bookmark lane;
    lane.name = displayName();
    lane.changeIDs = {tip.changeID};
    for (const auto& commit : commits) {
        lane.commitIDs.push_back(commit.commitID);
    }
    lane.parentBookmarks = parentBookmarkNames;
    lane.origin = BookmarkOrigin::local();
    lane.remoteSyncState = RemoteSyncState{RemoteSyncState::Untracked{}};
    return lane;
}

}  // namespace vorda
