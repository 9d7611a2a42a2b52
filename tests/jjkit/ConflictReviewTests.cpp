// The read-only review of a conflicted commit on a real repository.

#include "jjkit/diff/ConflictReview.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/LogCapture.h"
#include "support/Refusal.h"
#include "support/TestRepo.h"

namespace vorda {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using testing::LogCapture;
using testing::refusal;
using testing::TestRepo;

TEST(ConflictReview, ReadsEveryConflictedFileWithoutSnapshottingAndRefusesPartialOrDivergentIDs) {
    TestRepo repo;
    repo.draw("B <- root \"base\" calm.txt=calm");
    std::vector<std::string> sides;
    for (const std::string side : {"left", "right"}) {
        sides.push_back(repo.newChange({repo.id("B")}, side + " side"));
        for (const auto* path : {"with blank.txt", "quote\"d.txt", "dir/ñandú.txt"}) {
            repo.writeFile(path, side + "\n");
        }
        repo.writeFile("calm.txt", side == "left" ? "changed on one side only\n" : "calm");
    }
    repo.draw("M <- " + sides[0] + " " + sides[1] + " \"conflicted merge\"");
    JJClient client(repo.root());
    // An edit waiting in the working copy: a read must not snapshot it.
    repo.writeFile("pending.txt", "not yet snapshotted\n");
    const auto operations = repo.operationCount();

    LogCapture log;
    const auto review = RebaseConflictReview::load(client, repo.id("M"));
    EXPECT_EQ(std::tuple(repo.operationCount(), review.commit.changeID, review.commit.conflict,
                         review.patch),
              std::tuple(operations, repo.id("M"), true,
                         client.diff("commit_id(" + review.commit.commitID + ")")));
    std::vector<std::string> paths;
    for (const auto& file : review.files) {
        paths.push_back(file.path);
        EXPECT_THAT(file.contents,
                    AllOf(HasSubstr("<<<<<<<"), HasSubstr("left"), HasSubstr("right")));
    }
    EXPECT_EQ(paths, (std::vector<std::string>{"dir/ñandú.txt", "quote\"d.txt", "with blank.txt"}));
    EXPECT_TRUE(log.contains("rebase-review/conflict-paths") &&
                log.contains("rebase-review/conflict-content"));

    // A commit without conflicts has its patch and no files.
    const auto calm = RebaseConflictReview::load(client, sides[0]);
    EXPECT_FALSE(calm.commit.conflict || !calm.files.empty());
    EXPECT_THAT(calm.patch, HasSubstr("changed on one side only"));

    // Anything but a full change ID is refused before any process runs.
    const auto& full = sides[0];
    ASSERT_EQ(full.size(), 32U);
    const LogCapture refusals;
    for (const auto& partial :
         {full.substr(0, 31), "j" + full.substr(1), full.substr(0, 31) + ")"}) {
        EXPECT_EQ(refusal([&] { RebaseConflictReview::load(client, partial); }),
                  "Conflict review requires a full change ID.");
    }
    EXPECT_FALSE(refusals.contains("START"));

    const std::string missingOrDivergent =
        "This change is missing or divergent. Refresh the repository before reviewing it.";
    EXPECT_EQ(refusal([&] { RebaseConflictReview::load(client, std::string(32, 'k')); }),
              missingOrDivergent);
    repo.makeDivergent(full, "first", "second");
    EXPECT_EQ(refusal([&] { RebaseConflictReview::load(client, full); }), missingOrDivergent);
}

}  // namespace
}  // namespace vorda
