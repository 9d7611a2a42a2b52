// Fetch, push and the operation log against a local bare origin.

#include <mutex>

#include <gtest/gtest.h>

#include "jjkit/client/JJClient.h"
#include "jjkit/support/Text.h"
#include "support/LogCapture.h"
#include "support/Refusal.h"
#include "support/RepoPicture.h"
#include "support/TestRepo.h"

namespace vorda {
namespace {

using testing::LogCapture;
using testing::refusal;
using testing::TestRepo;

class RemoteOperations : public ::testing::Test {
  protected:
    void SetUp() override {
        repo.draw(testing::publishedTrunk);
        // Origin moves on behind our back.
        repo.advanceOrigin("main", "upstream work", {{"u", "1"}});
    }

    TestRepo repo;
    JJClient client{repo.root()};
    LogCapture log;
};

TEST_F(RemoteOperations, FetchStreamsItsLinesAndPushSendsOneBookmark) {
    std::mutex mutex;
    std::vector<std::string> lines;
    client.gitFetch(std::nullopt, [&](const std::string& line) {
        const std::scoped_lock lock(mutex);
        lines.push_back(line);
    });
    EXPECT_TRUE(log.contains("gitFetch remote=default"));
    EXPECT_EQ(log.text().find("--remote"), std::string::npos);
    const std::string joined = [&] {
        const std::scoped_lock lock(mutex);
        return text::join(lines, "\n");
    }();
    EXPECT_NE(joined.find("main@origin"), std::string::npos) << joined;
    EXPECT_EQ(std::count(joined.begin(), joined.end(), '\n') + 1, std::ssize(lines))
        << "one line each";
    EXPECT_NE(repo.commitID("main@origin"), repo.commitID(repo.id("T")));
    client.gitFetch("origin");
    EXPECT_TRUE(log.contains("gitFetch remote=origin"));

    // Push one new bookmark; the other stays local.
    repo.draw("F <- main \"feature\" f=1 [feature local-only]");
    repo.jj({"bookmark", "track", "feature@origin"});
    client.gitPush("feature", "origin");
    EXPECT_TRUE(log.contains("gitPush bookmark=feature remote=origin"));
    const std::string origin = repo.originPath();
    EXPECT_EQ(testing::runChecked({"git", "--git-dir", origin, "rev-parse", "refs/heads/feature"}),
              repo.commitID(repo.id("F")) + "\n");
    EXPECT_EQ(
        testing::runChecked({"git", "--git-dir", origin, "branch", "--list"}).find("local-only"),
        std::string::npos);
}

TEST_F(RemoteOperations, ARejectedPushIsACommandFailureWithJJsMessage) {
    // Our own main moves elsewhere.
    repo.draw("L <- main \"local work\" l=1");
    repo.bookmark("main", repo.id("L"));
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
    repo.draw("A <- root \"one\" a=1");
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
    const auto countBefore = repo.operationCount();
    EXPECT_EQ(refusal([&] { client.opRestore(earlier, reviewed); }),
              "Repository or working copy changed since the operation log was reviewed. "
              "Refresh and confirm recovery again.");
    EXPECT_EQ(repo.operationCount(), countBefore + 1);

    // Confirmed against the present state, it restores.
    client.opRestore(earlier, client.currentOperationID());
    EXPECT_EQ(repo.tryJJ({"file", "show", "-r", "@", "root:unrecorded.txt"}).exitCode, 1);

    const auto beforeUndo = repo.commitID("@");
    client.undoLastOp();
    EXPECT_NE(repo.commitID("@"), beforeUndo);
}

}  // namespace
}  // namespace vorda
