// Fetch, push and the operation log against a local bare origin.

#include <mutex>

#include <gtest/gtest.h>

#include "jjkit/client/JJClient.h"
#include "support/LogCapture.h"
#include "support/Refusal.h"
#include "support/TestRepo.h"

namespace vorda {
namespace {

using testing::LogCapture;
using testing::refusal;
using testing::TestRepo;

TEST(RemoteOperations, FetchStreamsItsLinesAndPushSendsOneBookmark) {
    TestRepo repo;
    const auto base = repo.publishMain();
    JJClient client(repo.root());
    repo.advanceOrigin("main", "upstream work", {{"u", "1"}});

    LogCapture log;
    std::mutex mutex;
    std::vector<std::string> lines;
    client.gitFetch(std::nullopt, [&](const std::string& line) {
        const std::scoped_lock lock(mutex);
        lines.push_back(line);
    });
    EXPECT_TRUE(log.contains("gitFetch remote=default"));
    EXPECT_EQ(log.text().find("--remote"), std::string::npos);
    {
        const std::scoped_lock lock(mutex);
        ASSERT_FALSE(lines.empty());
        bool mentionsMain = false;
        for (const auto& line : lines) {
            EXPECT_EQ(line.find('\n'), std::string::npos);
            mentionsMain = mentionsMain || line.find("main@origin") != std::string::npos;
        }
        EXPECT_TRUE(mentionsMain);
    }
    EXPECT_NE(repo.commitID("main@origin"), repo.commitID(base));

    client.gitFetch("origin");
    EXPECT_TRUE(log.contains("gitFetch remote=origin"));

    // Push one new bookmark; the other stays local.
    repo.newChange({"main"});
    const auto feature = repo.commit("feature", {{"f", "1"}});
    repo.bookmark("feature", feature);
    repo.bookmark("local-only", feature);
    repo.jj({"bookmark", "track", "feature@origin"});
    client.gitPush("feature", "origin");
    EXPECT_TRUE(log.contains("gitPush bookmark=feature remote=origin"));
    EXPECT_EQ(testing::runChecked(
                  {"git", "--git-dir", repo.originPath(), "rev-parse", "refs/heads/feature"}),
              repo.commitID(feature) + "\n");
    EXPECT_EQ(testing::runChecked({"git", "--git-dir", repo.originPath(), "branch", "--list"})
                  .find("local-only"),
              std::string::npos);
}

TEST(RemoteOperations, ARejectedPushIsACommandFailureWithJJsMessage) {
    TestRepo repo;
    repo.publishMain();
    JJClient client(repo.root());
    // Origin moves on behind our back; our own main moves elsewhere.
    repo.advanceOrigin("main", "upstream work", {{"u", "1"}});
    repo.newChange({"main"});
    repo.bookmark("main", repo.commit("local work", {{"l", "1"}}));

    const LogCapture log;
    try {
        client.gitPush("main");
        FAIL() << "the push went through";
    } catch (const JJError& error) {
        const auto* failure = error.as<JJError::CommandFailed>();
        ASSERT_NE(failure, nullptr);
        EXPECT_NE(failure->exitCode, 0);
        EXPECT_FALSE(failure->stderr.empty());
        EXPECT_TRUE(log.contains(failure->stderr));
    }
    EXPECT_TRUE(log.contains("gitPush bookmark=main remote=default"));
    EXPECT_TRUE(log.contains("[jj:error]"));
}

TEST(OperationLog, ReadsRestoresGuardedAndUndoes) {
    TestRepo repo;
    repo.commit("one", {{"a", "1"}});
    JJClient client(repo.root());

    const auto newest = client.opLog(1);
    ASSERT_EQ(newest.size(), 1U);
    EXPECT_EQ(newest.front().opID, client.currentOperationID());
    const auto several = client.opLog(3);
    ASSERT_EQ(several.size(), 3U);
    EXPECT_EQ(several.front(), newest.front());
    const auto earlier = several[1].opID;

    // An edit that no operation has recorded yet stops the restore, and the
    // snapshot that noticed it is the one operation more.
    const auto reviewed = client.currentOperationID();
    repo.writeFile("unrecorded.txt", "edit\n");
    const auto countBefore = client.opLog(1000).size();
    EXPECT_EQ(refusal([&] { client.opRestore(earlier, reviewed); }),
              "Repository or working copy changed since the operation log was reviewed. "
              "Refresh and confirm recovery again.");
    EXPECT_EQ(client.opLog(1000).size(), countBefore + 1);

    // Confirmed against the present state, it restores.
    const auto present = client.currentOperationID();
    client.opRestore(earlier, present);
    EXPECT_EQ(repo.tryJJ({"file", "show", "-r", "@", "root:unrecorded.txt"}).exitCode, 1);

    const auto beforeUndo = repo.jj({"log", "--no-graph", "-r", "@", "-T", "commit_id"});
    client.undoLastOp();
    EXPECT_NE(repo.jj({"log", "--no-graph", "-r", "@", "-T", "commit_id"}), beforeUndo);
}

}  // namespace
}  // namespace vorda
