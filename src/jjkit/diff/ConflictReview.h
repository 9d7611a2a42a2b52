#pragma once

#include <string>
#include <vector>

#include "jjkit/client/JJClient.h"
#include "jjkit/records/JJCommit.h"

namespace vorda {

/// What the review of a conflicted commit shows: the commit, its patch, and
/// each conflicted file with its conflict markers.
struct RebaseConflictReview {
    struct File {
        std::string path;
        std::string contents;

        bool operator==(const File&) const = default;
    };

    JJCommit commit;
    std::string patch;
    std::vector<File> files;

    /// Reads the review of `changeID` in one read-only pass. The change ID
    /// must be full; the change must have exactly one visible commit, and
    /// every read after the first names that commit by its ID, so a rewrite
    /// meanwhile cannot shift the review onto another commit. Refusals are
    /// `UnsafeOperation`; a failing jj fails the whole review.
    static RebaseConflictReview load(const JJClient& client, const std::string& changeID);
};

/// Whether `text` is a full change ID: 32 letters from "k" to "z".
bool isFullChangeID(std::string_view text);

}  // namespace vorda
