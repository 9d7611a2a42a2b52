// The guarded rebase of one bookmark's stack. It refuses every rebase whose
// effect it cannot fully describe; a coordinated plan is the way out then.
// All reads look at one operation, so their answers agree with one another,
// and a final compare of the operation ID notices anybody who slipped in.

#include <algorithm>

#include "jjkit/client/JJClient.h"
#include "jjkit/templates/RevsetQuoting.h"

namespace vorda {
namespace {

bool contains(const std::vector<JJCommit>& commits, const std::string& commitID) {
    return std::any_of(commits.begin(), commits.end(),
                       [&](const JJCommit& commit) { return commit.commitID == commitID; });
}

}  // namespace

void JJClient::rebaseBookmark(const std::string& source, const std::string& destination) const {
    snapshotWorkingCopy("rebaseBookmark/snapshot");
    const std::string operation = currentOperationID();
    const auto pinnedLog = [&](const std::string& revset) {
        return log(revset, "log", operation);
    };

    const auto tips = pinnedLog(bookmarkSetRevset(source));
    const auto destinations = pinnedLog("(" + destination + ") & ::visible_heads()");
    if (tips.size() != 1 || tips.front().immutable || destinations.size() != 1) {
        throw JJError::unsafeOperation(
            "Rebase requires one mutable bookmark tip and one unambiguous destination.");
    }
    const JJCommit& tip = tips.front();
    const std::string& destinationID = destinations.front().commitID;

    const std::string stack = "(mutable() & ::" + commitIDRevset(tip.commitID) + ")";
    const auto commits = pinnedLog(stack);
    const auto roots = pinnedLog("roots(" + stack + ")");
    const auto divergent = pinnedLog(stack + " & divergent()");
    const bool linear = std::all_of(commits.begin(), commits.end(), [&](const JJCommit& commit) {
        return commit.parents.size() == 1 &&
               (commit.commitID == tip.commitID || commit.localBookmarks.empty());
    });
    if (roots.size() != 1 || !divergent.empty() || !linear) {
        throw JJError::unsafeOperation(
            "This bookmark crosses another stack or a merge. Update its base stack separately; "
            "a coordinated rebase is required.");
    }

    const std::string root = commitIDRevset(roots.front().commitID);
    const std::string tipRevset = commitIDRevset(tip.commitID);
    const auto subtree = pinnedLog(root + "::");
    const auto siblings = pinnedLog(root + ":: ~ (::" + tipRevset + " | " + tipRevset + "::)");
    // `rebase -s` takes the root's whole subtree along: anything in it that is
    // not this stack would move unseen.
    const bool protectedDescendant = std::any_of(
        subtree.begin(), subtree.end(), [](const JJCommit& commit) { return commit.immutable; });
    if (!siblings.empty() || protectedDescendant) {
        throw JJError::unsafeOperation(
            "Rebase would rewrite a sibling stack or protected descendant. Use a coordinated "
            "update instead.");
    }
    if (contains(subtree, destinationID)) {
        throw JJError::unsafeOperation("The destination is inside the stack being moved.");
    }
    const auto lostBases = pinnedLog("parents(" + root + ") ~ ::" + commitIDRevset(destinationID));
    if (!lostBases.empty()) {
        throw JJError::unsafeOperation(
            "Rebase would remove a base dependency. Choose a destination that includes the "
            "existing base.");
    }
    if (currentOperationID() != operation) {
        throw JJError::unsafeOperation(
            "Repository changed while checking rebase scope. Refresh and try again.");
    }
    run({"rebase", "-s", root, "-d", commitIDRevset(destinationID)},
        "rebaseBookmark src=" + source + " dst=" + destination);
}

}  // namespace vorda
