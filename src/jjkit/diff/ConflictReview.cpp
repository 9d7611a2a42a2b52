#include "jjkit/diff/ConflictReview.h"

#include <algorithm>

#include "jjkit/templates/RevsetQuoting.h"

namespace vorda {
namespace {

constexpr std::size_t changeIDLength = 32;

// `root-file:"path"`: one root-relative file, quoted as every other path.
std::string rootFileFileset(const std::string& path) {
    return "root-file:" + revsetQuoted(path);
}

std::vector<std::string> conflictedPaths(const JJClient& client, const std::string& revision) {
    // NUL ends each path, so a path may hold any other character, even a
    // line feed.
    const auto result = client.run({"file", "list", "--ignore-working-copy", "-r=" + revision, "-T",
                                    R"T(if(conflict, path ++ "\0"))T"},
                                   "rebase-review/conflict-paths");
    std::vector<std::string> paths;
    std::size_t start = 0;
    const std::string& out = result.stdout;
    while (start < out.size()) {
        const auto end = std::min(out.find('\0', start), out.size());
        if (end > start) {
            paths.push_back(out.substr(start, end - start));
        }
        start = end + 1;
    }
    return paths;
}

}  // namespace

bool isFullChangeID(std::string_view text) {
    return text.size() == changeIDLength &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= 'k' && c <= 'z'; });
}

RebaseConflictReview RebaseConflictReview::load(const JJClient& client,
                                                const std::string& changeID) {
    if (!isFullChangeID(changeID)) {
        throw JJError::unsafeOperation("Conflict review requires a full change ID.");
    }
    // Checked above, so the ID goes into the revset as it is.
    auto commits = client.log("change_id(" + changeID + ") & ::visible_heads()", "log");
    if (commits.size() != 1) {
        throw JJError::unsafeOperation(
            "This change is missing or divergent. Refresh the repository before reviewing it.");
    }
    RebaseConflictReview review;
    review.commit = std::move(commits.front());
    const std::string revision = commitIDRevset(review.commit.commitID);
    review.patch = client.diff(revision);
    if (!review.commit.conflict) {
        return review;
    }
    for (auto& path : conflictedPaths(client, revision)) {
        auto contents = client
                            .run({"file", "show", "--ignore-working-copy", "-r=" + revision, "-T",
                                  "", "--", rootFileFileset(path)},
                                 "rebase-review/conflict-content")
                            .stdout;
        review.files.push_back(File{std::move(path), std::move(contents)});
    }
    return review;
}

}  // namespace vorda
