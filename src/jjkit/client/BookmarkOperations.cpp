// One-step operations on bookmarks and on the commits of one bookmark.

// Where jj takes a bookmark name it gets `nameArgument` (quoted unless it is
// a plain symbol); where it takes a name pattern it gets `exactNamePattern`, so
// that "feat*" names that one bookmark and never "feat-a". Names stand behind
// "--" and option values are joined to their option, so that a name or a
// revision beginning with "-" is never read as an option.

#include "jjkit/client/JJClient.h"
#include "jjkit/support/Text.h"
#include "jjkit/templates/RevsetQuoting.h"

namespace vorda {

void JJClient::createBookmark(const std::string& name, const std::string& revision) const {
    // A change ID may stand for several commits; resolving first makes a
    // divergent change give one bookmark instead of a jj error.
    const std::string target = revision == "@" ? revision : resolveCommitID(revision);
    run({"bookmark", "create", "--revision=" + target, "--", nameArgument(name)},
        "createBookmark name=" + name + " rev=" + target);
}

void JJClient::renameBookmark(const std::string& from, const std::string& to) const {
    run({"bookmark", "rename", "--", nameArgument(from), nameArgument(to)},
        "renameBookmark " + from + "→" + to);
}

void JJClient::deleteBookmark(const std::string& name) const {
    run({"bookmark", "delete", "--", exactNamePattern(name)}, "deleteBookmark name=" + name);
}

void JJClient::trackBookmark(const std::string& name, const std::string& remote) const {
    // `name@remote` names one remote bookmark exactly; only a bare name would
    // be a pattern.
    run({"bookmark", "track", "--", nameArgument(name) + "@" + nameArgument(remote)},
        "trackBookmark " + name + "@" + remote);
}

void JJClient::abandonBookmarkCommit(const std::string& name) const {
    run({"abandon", bookmarkSetRevset(name)}, "abandonBookmark/abandon name=" + name);
}

void JJClient::abandonBookmark(const std::string& name) const {
    abandonBookmarkCommit(name);
    deleteBookmark(name);
}

void JJClient::fastForwardBookmarkToRemote(const std::string& name,
                                           const std::string& remote) const {
    run({"bookmark", "move", "--to=" + nameArgument(name) + "@" + nameArgument(remote), "--",
         exactNamePattern(name)},
        "fastForwardBookmarkToRemote name=" + name + " remote=" + remote);
}

void JJClient::moveBookmark(const std::string& name, const std::string& toCommitID,
                            bool allowBackwards) const {
    std::vector<std::string> arguments{"bookmark", "move", "--to=" + commitIDRevset(toCommitID)};
    if (allowBackwards) {
        arguments.emplace_back("--allow-backwards");
    }
    arguments.emplace_back("--");
    arguments.push_back(exactNamePattern(name));
    run(arguments, "moveBookmark name=" + name + " to=" + toCommitID +
                       " backwards=" + (allowBackwards ? "true" : "false"));
}

void JJClient::squashBookmarkToSingle(const std::string& name) const {
    const std::string commits = bookmarkSetRevset(name);
    run({"squash", "--from", commits + " ~ heads(" + commits + ")", "--into",
         "heads(" + commits + ")"},
        "squashBookmarkToSingle name=" + name);
}

void JJClient::syncBookmarkRebase(const std::string& name) const {
    rebaseBookmark(name, "trunk()");
}

void JJClient::syncBookmarkMerge(const std::string& name) const {
    const auto prior = std::string(text::trimWhitespace(
        run({"log", "--no-graph", "--ignore-working-copy", "-T", "commit_id", "-r", "@"},
            "syncBookmarkMerge/prior-commitID name=" + name)
            .stdout));
    run({"new", "--message=Merge trunk into " + name, "--", bookmarkTipRevset(name), "trunk()"},
        "syncBookmarkMerge/new name=" + name);
    run({"bookmark", "move", "--to=@", "--", exactNamePattern(name)},
        "syncBookmarkMerge/move name=" + name);
    // The merge exists to move the bookmark, not the user: the working copy
    // goes back to the commit it was on.
    if (!prior.empty()) {
        run({"edit", prior}, "syncBookmarkMerge/edit prior=" + prior);
    }
}

}  // namespace vorda
