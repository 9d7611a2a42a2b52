#include "support/RepoPicture.h"

#include <gtest/gtest.h>

#include "support/TestRepo.h"

namespace vorda::testing {
namespace {

using Names = std::vector<std::string>;

TEST(RepoPicture, DrawsCommitsBookmarksAuthorsWorkspacesAndAnOrigin) {
    TestRepo repo;
    repo.draw(R"(
      origin
      T <- root "trunk" README=hi [main]     # a comment
      push main
      E <- T "" [empty]
      A <- T "a \"quoted\" line\nsecond" f.txt=one "dir/x y.txt"=two
      B <- T "b" f.txt=two {Ann Other <ann@example.com>} [feat wip]
      M <- A B "merge"
      workspace second <- A B
      @ <- E
    )");
    EXPECT_EQ((std::vector<Names>{repo.parents("M"), repo.parents("T"), repo.parents("@"),
                                  repo.parents("second@")}),
              (std::vector<Names>{{"A", "B"}, {"root"}, {"E"}, {"A", "B"}}));
    EXPECT_EQ((std::vector<std::optional<std::string>>{
                  repo.bookmarkTarget("feat"), repo.bookmarkTarget("wip"),
                  repo.bookmarkTarget("empty"), repo.bookmarkTarget("absent")}),
              (std::vector<std::optional<std::string>>{"B", "B", "E", std::nullopt}));
    EXPECT_EQ(repo.description("A"), "a \"quoted\" line\nsecond");
    EXPECT_EQ((std::vector<Names>{repo.changedPaths("A"), repo.changedPaths("E")}),
              (std::vector<Names>{{"dir/x y.txt", "f.txt"}, {}}));
    EXPECT_EQ(repo.jj({"log", "--no-graph", "-r", repo.id("B"), "-T", "author.name()"}),
              "Ann Other");
    EXPECT_EQ(repo.jj({"log", "--no-graph", "-r", "main@origin", "-T", "change_id"}), repo.id("T"));
    EXPECT_EQ(repo.jj({"file", "show", "-r", repo.id("M"), "root:f.txt"}).find("<<<<<<<"), 0U)
        << "both sides set f.txt: the merge is conflicted";

    const int before = repo.operationCount();
    repo.draw("C <- M \"more\" g=1");
    EXPECT_GT(repo.operationCount(), before);
    EXPECT_EQ(repo.parents("@"), (Names{"C"}));
}

TEST(RepoPicture, RefusesWhatItCannotRead) {
    for (const char* text : {"A <-", "A B", "A <- root \"open", "A <- root [x", "A <- root {Ann",
                             "push", "workspace", "@ <- A \"x\""}) {
        EXPECT_THROW(picture::parse(text), std::invalid_argument) << text;
    }
}

}  // namespace
}  // namespace vorda::testing
