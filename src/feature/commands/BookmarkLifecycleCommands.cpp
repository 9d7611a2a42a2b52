// Creating and abandoning bookmarks and one-off work. Removing something the
// apex or the working copy stands on first takes it out from under them.

#include <algorithm>

#include "feature/commands/SessionCommands.h"
#include "jjkit/support/Text.h"
#include "jjkit/templates/RevsetQuoting.h"

namespace vorda::commands {
namespace {

// Drops an apex's parents that `drop` selects; rewrites the apex only when
// any went, and says whether it did.
bool dropApexParents(const RepoSession& session, const std::optional<Apex>& apex,
                     const std::function<bool(const ApexParent&)>& drop) {
    if (!apex) {
        return false;
    }
    std::vector<ApexParent> kept;
    std::copy_if(apex->parents.begin(), apex->parents.end(), std::back_inserter(kept),
                 [&](const ApexParent& parent) { return !drop(parent); });
    if (kept.size() == apex->parents.size()) {
        return false;
    }
    session.client().rewriteApexParents(*apex, kept);
    return true;
}

}  // namespace

void trackOnOrigin(const RepoSession& session, const CreateBookmarkInput& input) {
    if (!input.trackUpstream) {
        return;
    }
    try {
        session.client().trackBookmark(input.name, "origin");
    } catch (const std::exception&) {
        // Nothing to track yet on origin; the bookmark itself exists.
    }
}

RepoCommandResult performCreateBookmark(RepoSession& session, const CreateBookmarkInput& input) {
    std::string revision;
    const auto& point = input.startingPoint.value;
    if (const auto* carve = std::get_if<BookmarkStartingPoint::WorkingCopyCarveHunks>(&point)) {
        return performCreateBookmarkWithCarve(session, input, carve->selection, carve->helperPath);
    }
    if (const auto* specific = std::get_if<BookmarkStartingPoint::SpecificRevision>(&point)) {
        revision = std::string(text::trimWhitespace(specific->revision));
        if (revision.empty()) {
            revision = "@";
        }
    } else if (std::holds_alternative<BookmarkStartingPoint::TipOfParent>(point)) {
        revision = input.parent.value_or("trunk()");
        // Work starts at once: the bookmark gets a commit of its own, named
        // after it, instead of sharing the parent's tip.
        if (input.enableAfterCreating) {
            revision = session.client().createEmptyCommit(revision, input.name);
        }
    } else {
        revision = "@";
    }
    session.client().createBookmark(input.name, revision);
    trackOnOrigin(session, input);

    auto snapshot = session.readSnapshot();
    const auto& workspace = snapshot->repoState.selectedWorkspaceName;
    if (!input.enableAfterCreating || !workspace) {
        session.yieldSnapshot(snapshot);
        return RepoCommandResult::refreshed(std::move(snapshot));
    }
    if (snapshot->repoState.inclusionRole(input.name, *workspace).isAbsent()) {
        return performSetWorkspaceBookmarkInclusion(session, *workspace, input.name, true, true);
    }
    session.yieldSnapshot(snapshot);
    return RepoCommandResult::toast("Created " + input.name + " in " + *workspace);
}

RepoCommandResult performAbandonBookmark(RepoSession& session, const std::string& name) {
    const auto snapshot = session.readSnapshot();
    const auto& state = snapshot->repoState;
    const auto& client = session.client();
    const bool apexRewritten = dropApexParents(session, state.apex, [&](const ApexParent& parent) {
        return parent == ApexParent::bookmark(name);
    });
    if (!apexRewritten && state.workingCopy) {
        const auto& enabled = state.workingCopy->enabledBookmarks;
        if (std::find(enabled.begin(), enabled.end(), name) != enabled.end()) {
            std::vector<std::string> parents;
            std::copy_if(enabled.begin(), enabled.end(), std::back_inserter(parents),
                         [&](const std::string& other) { return other != name; });
            client.newWorkingCopy(parents);
        }
    }
    bool mutableHistory = true;
    try {
        mutableHistory = client.isRevMutable(bookmarkSetRevset(name));
    } catch (const std::exception&) {
        // Unknown counts as mutable: the abandon itself then refuses what it must.
    }
    // On immutable history only the name goes.
    if (mutableHistory) {
        client.abandonBookmarkCommit(name);
    }
    client.deleteBookmark(name);
    return refreshed(session);
}

RepoCommandResult performAbandonOneOff(RepoSession& session, const std::string& changeID) {
    const auto snapshot = session.readSnapshot();
    dropApexParents(session, snapshot->repoState.apex, [&](const ApexParent& parent) {
        return parent == ApexParent::changeID(changeID);
    });
    const auto commitID = session.client().resolveCommitID(changeID);
    session.client().run({"abandon", commitID}, "abandonOneOff change=" + changeID);
    return refreshed(session);
}

}  // namespace vorda::commands
