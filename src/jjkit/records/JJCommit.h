#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace vorda {

/// Who made a commit and when; `timestamp` stays as jj printed it.
struct JJSignature {
    std::string name;
    std::string email;
    std::string timestamp;

    /// The timestamp as an instant, absent when it is not RFC 3339.
    std::optional<std::chrono::sys_seconds> date() const;

    bool operator==(const JJSignature&) const = default;
};

/// A bookmark on a commit: local when `remote` is absent. More than one
/// target means a conflicted bookmark. An absent `trackingTarget` (the bookmark
/// tracks nothing) differs from an empty one.
struct JJCommitRef {
    std::string name;
    std::optional<std::string> remote;
    std::vector<std::string> target;
    std::optional<std::vector<std::string>> trackingTarget;

    /// Name directly followed by the remote, if any.
    std::string id() const { return name + remote.value_or(""); }

    bool operator==(const JJCommitRef&) const = default;
};

/// One changed path with jj's one-character status; line counts only where the
/// query asked for them.
struct ChangedFile {
    std::string path;
    std::string status;
    std::optional<std::int64_t> linesAdded;
    std::optional<std::int64_t> linesRemoved;

    const std::string& id() const { return path; }

    bool operator==(const ChangedFile&) const = default;
};

/// One commit as the commit template prints it. Its identity is the change ID.
struct JJCommit {
    std::string commitID;
    std::string changeID;
    std::vector<std::string> parents;
    std::string description;
    JJSignature author;
    JJSignature committer;
    bool conflict = false;
    bool empty = false;
    bool immutable = false;
    std::vector<JJCommitRef> localBookmarks;
    std::vector<JJCommitRef> remoteBookmarks;
    bool workingCopy = false;
    /// Filled only for the working-copy commit.
    std::vector<ChangedFile> changedFiles;

    const std::string& id() const { return changeID; }
    std::string shortChangeID() const { return changeID.substr(0, 12); }
    std::string shortCommitID() const { return commitID.substr(0, 12); }

    /// The first line of the description, trimmed of blanks and tabs.
    std::string summary() const;

    /// Local bookmark names, plus "name@remote" for each remote bookmark whose
    /// name has no local bookmark here (the "git" remote never counts), less
    /// `excluding`, sorted.
    std::vector<std::string> bookmarkLabels(const std::set<std::string>& excluding = {}) const;

    bool operator==(const JJCommit&) const = default;
};

/// A commit as the repository load reads it: the commit, and whether it is
/// one's own and whether its stack was started on a trunk that has moved
/// since. jj answers both in the same pass as the commit itself (keys "mine"
/// and "behind_trunk" behind the commit's own).
struct LoggedCommit {
    JJCommit commit;
    bool mine = false;
    bool behindTrunk = false;
};

}  // namespace vorda
