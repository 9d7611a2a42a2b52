// The read-only review of a conflicted commit on a real repository.

#include "jjkit/diff/ConflictReview.h"

#include <gtest/gtest.h>

#include "support/LogCapture.h"
#include "support/Refusal.h"
#include "support/TestRepo.h"

namespace vorda {
namespace {

using testing::LogCapture;
using testing::refusal;
using testing::TestRepo;

const std::string notFull = "Conflict review requires a full change ID.";
const std::string missingOrDivergent =
    "This change is missing or divergent. Refresh the repository before reviewing it.";

TEST(ConflictReview, ReadsEveryConflictedFileWhateverItsName) {
    TestRepo repo;
    const auto base = repo.commit("base", {{"calm.txt", "calm\n"}});
    const std::vector<std::string> paths{"with blank.txt", "quote\"d.txt", "dir/ñandú.txt"};
    repo.newChange({base}, "left side");
    for (const auto& path : paths) {
        repo.writeFile(path, "left\n");
    }
    repo.writeFile("calm.txt", "changed on one side only\n");
    const auto left = repo.changeID("@");
    repo.newChange({base}, "right side");
    for (const auto& path : paths) {
        repo.writeFile(path, "right\n");
    }
    const auto right = repo.changeID("@");
    const auto merged = repo.newChange({left, right}, "conflicted merge");
    repo.jj({"new"});
    JJClient client(repo.root());
    // An edit waiting in the working copy: a read must not snapshot it.
    repo.writeFile("pending.txt", "not yet snapshotted\n");
    const auto operation = repo.currentOperationID();

    LogCapture log;
    const auto review = RebaseConflictReview::load(client, merged);
    EXPECT_EQ(repo.currentOperationID(), operation);
    EXPECT_EQ(review.commit.changeID, merged);
    EXPECT_TRUE(review.commit.conflict);
    EXPECT_EQ(review.patch, client.diff("commit_id(" + review.commit.commitID + ")"));
    ASSERT_EQ(review.files.size(), 3U);
    std::vector<std::string> found;
    for (const auto& file : review.files) {
        found.push_back(file.path);
        EXPECT_NE(file.contents.find("<<<<<<<"), std::string::npos) << file.path;
        EXPECT_NE(file.contents.find("left"), std::string::npos) << file.path;
        EXPECT_NE(file.contents.find("right"), std::string::npos) << file.path;
    }
    std::sort(found.begin(), found.end());
    EXPECT_EQ(found, (std::vector<std::string>{"dir/ñandú.txt", "quote\"d.txt", "with blank.txt"}));
    EXPECT_TRUE(log.contains("rebase-review/conflict-paths"));
    EXPECT_TRUE(log.contains("rebase-review/conflict-content"));

    // A commit without conflicts has its patch and no files.
    const auto calm = RebaseConflictReview::load(client, left);
    EXPECT_FALSE(calm.commit.conflict);
    EXPECT_NE(calm.patch.find("changed on one side only"), std::string::npos);
    EXPECT_TRUE(calm.files.empty());
}

TEST(ConflictReview, RefusesPartialIDsBeforeAnyProcessAndDivergentChanges) {
    TestRepo repo;
    repo.commit("one", {{"a", "1"}});
    JJClient client(repo.root());
    const auto full = repo.changeID("@-");
    ASSERT_EQ(full.size(), 32U);

    const LogCapture log;
    EXPECT_EQ(refusal([&] { RebaseConflictReview::load(client, full.substr(0, 31)); }), notFull);
    EXPECT_EQ(refusal([&] { RebaseConflictReview::load(client, "j" + full.substr(1)); }), notFull);
    EXPECT_EQ(refusal([&] { RebaseConflictReview::load(client, full.substr(0, 31) + ")"); }),
              notFull);
    EXPECT_FALSE(log.contains("START"));

    EXPECT_EQ(refusal([&] { RebaseConflictReview::load(client, std::string(32, 'k')); }),
              missingOrDivergent);
    const auto divergent = repo.makeDivergent(full, "first", "second");
    EXPECT_EQ(refusal([&] { RebaseConflictReview::load(client, divergent); }), missingOrDivergent);
}

}  // namespace
}  // namespace vorda
