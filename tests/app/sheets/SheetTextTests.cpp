#include <gtest/gtest.h>

#include "app/sheets/CommitSheets.h"
#include "app/sheets/ForcePushWarningSheet.h"
#include "app/window/ActivityStatusContent.h"

namespace vorda {
namespace {

GitHubPR pullRequest(GitHubPR::State state, int reviewComments) {
    GitHubPR pr;
    pr.number = 7;
    pr.state = state;
    pr.reviewCommentCount = reviewComments;
    return pr;
}

TEST(SheetTexts, ForcePushWarningSaysWhatTheRemoteLoses) {
    const std::pair<RemoteSyncState, const char*> messages[] = {
        {{RemoteSyncState::Behind{"origin", 1}},
         "Remote is 1 commit ahead of local. Force pushing will rewind the remote."},
        {{RemoteSyncState::Behind{"origin", 3}},
         "Remote is 3 commits ahead of local. Force pushing will rewind the remote."},
        {{RemoteSyncState::Diverged{"origin", 1, 2}},
         "Remote and local have diverged: 1 commit ahead, 2 commits behind. Force pushing will "
         "overwrite the 2 remote commits with your local version."},
        {{RemoteSyncState::UpToDate{"origin"}}, "This push will rewrite remote history."},
    };
    for (const auto& [state, message] : messages) {
        EXPECT_EQ(ForcePushWarningSheet::primaryMessage(state), message);
    }

    const std::pair<std::optional<GitHubPR>, const char*> prLines[] = {
        {std::nullopt, ""},
        {pullRequest(GitHubPR::State::open, 0),
         "PR #7 tracking this bookmark will have its review state reset."},
        {pullRequest(GitHubPR::State::open, 1), "PR #7 has 1 review comment."},
        {pullRequest(GitHubPR::State::open, 3), "PR #7 has 3 review comments."},
        {pullRequest(GitHubPR::State::merged, 3), ""},
        {pullRequest(GitHubPR::State::closed, 0), ""},
    };
    for (const auto& [pr, line] : prLines) {
        EXPECT_EQ(ForcePushWarningSheet::pullRequestMessage(pr), line) << line;
    }
}

TEST(SheetTexts, ErrorHeadlineIsJJsOwnErrorLine) {
    const std::pair<const char*, const char*> headlines[] = {
        {"jj git push failed (1): \nWarning: stale\nError: Refusing to push a bookmark that "
         "unexpectedly moved on the remote.\nHint: Try fetching from the remote.",
         "Error: Refusing to push a bookmark that unexpectedly moved on the remote."},
        {"Error: No such bookmark: x", "Error: No such bookmark: x"},
        {"push broke\nsecond line", "push broke"},
        {"\n  \nonly later", "only later"},
    };
    for (const auto& [message, headline] : headlines) {
        EXPECT_EQ(errorHeadline(message), headline) << message;
    }
}

TEST(SheetTexts, ConflictLinesBecomePathsInTheRepository) {
    const std::tuple<const char*, const char*, const char*> lines[] = {
        // jj prints from the process's folder, padding the path to a column.
        {"clash.txt    2-sided conflict", "/r", "clash.txt"},
        {"../r/src/a b.c 2-sided conflict including 1 deletion", "/elsewhere", "src/a b.c"},
        {"/r/docs/x.md    3-sided conflict", "/tmp", "docs/x.md"},
        {"plain", "/r", "plain"},
    };
    for (const auto& [line, folder, path] : lines) {
        EXPECT_EQ(ConflictResolveSheet::conflictedPath(line, "/r", folder), path) << line;
    }
}

}  // namespace
}  // namespace vorda
