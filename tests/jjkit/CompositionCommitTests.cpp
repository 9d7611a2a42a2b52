// The program's own merge commits on real repositories: making them, finding
// them, and the guards around rewriting their parents.

#include <gtest/gtest.h>

#include "jjkit/client/JJClient.h"
#include "support/Refusal.h"
#include "support/TestRepo.h"

namespace vorda {
namespace {

using testing::refusal;
using testing::TestRepo;
using Names = std::vector<std::string>;

class CompositionRepo : public ::testing::Test {
  protected:
    void SetUp() override {
        repo.draw(R"(
          origin
          T <- root "base" README=hello [main]
          push main
          A <- T "a1" a=1 [ay]
          B <- T "b1" b=1 [bee]
          @ <- T
        )");
    }
    std::string id(const std::string& name) const { return repo.commitID(repo.id(name)); }

    TestRepo repo;
    JJClient client{repo.root()};
};

TEST_F(CompositionRepo, ApexCommitsAreCreatedFoundNewestFirstAndPrunedToOne) {
    EXPECT_FALSE(client.findApexChangeID().has_value());
    const auto first = client.createApexCommit();
    const auto second = client.createApexCommit();
    EXPECT_NE(first, second);
    EXPECT_EQ(client.findAllApexChangeIDs(), (Names{second, first}));
    EXPECT_EQ(client.findApexChangeID(), std::optional<std::string>(second));
    EXPECT_EQ(repo.parents(second), Names{"T"});
    // --no-edit: the working copy stayed where it was.
    EXPECT_EQ(repo.parents("@"), Names{"T"});

    client.abandonStrayApexCommits(second);
    EXPECT_EQ(client.findAllApexChangeIDs(), Names{second});
}

TEST_F(CompositionRepo, CompositionPointsMergeTheWorkingCopyWithABookmarkAndGuardTheirParents) {
    const std::string workspace = "we\"ird ä";
    const auto workingCopy = repo.changeID("@");
    const auto point = repo.changeID(client.createCompositionPoint(workspace, "ay"));
    EXPECT_EQ(repo.description(point), "wip: Vorda composition " + workspace);
    EXPECT_EQ(repo.parents(point), (Names{workingCopy, "A"}));
    // No --no-edit here: the working copy moved onto the new merge.
    EXPECT_EQ(repo.changeID("@"), point);

    const auto current = client.log(point).at(0).parents;
    const std::string commit = repo.commitID(point);
    const Names swapped{current[1], current[0]};

    const auto operations = repo.operationCount();
    const std::string invalid = "Composition parents must be nonempty and distinct.";
    EXPECT_EQ(refusal([&] { client.rewriteCompositionParents(commit, current, {}); }), invalid);
    EXPECT_EQ(refusal([&] {
                  client.rewriteCompositionParents(commit, current, {id("A"), id("A")});
              }),
              invalid);
    EXPECT_EQ(repo.operationCount(), operations);  // refused before any command

    const std::string changed =
        "Composition changed or is protected. Refresh before editing its attachments.";
    EXPECT_EQ(refusal([&] { client.rewriteCompositionParents(commit, swapped, current); }),
              changed);
    EXPECT_EQ(refusal([&] { client.rewriteCompositionParents(id("T"), {}, {id("A")}); }),
              changed);  // immutable

    // The same parents in the same order: nothing is rebased.
    client.rewriteCompositionParents(commit, current, current);
    EXPECT_EQ(repo.commitID(point), commit);
    // A new order is a change.
    client.rewriteCompositionParents(commit, current, swapped);
    EXPECT_EQ(client.log(point).at(0).parents, swapped);

    // Adding trunk: once, then it is already there.
    EXPECT_TRUE(client.includeTrunkInComposition(repo.commitID(point), id("T")));
    EXPECT_EQ(repo.parents(point).back(), "T");
    EXPECT_FALSE(client.includeTrunkInComposition(repo.commitID(point), id("T")));
}

TEST_F(CompositionRepo, ApexParentsResolveAsOfTheLastRead) {
    repo.draw("AP <- T A \"wip: Vorda apex commit\"");
    const Apex apex = client.repoState().apex.value();
    EXPECT_EQ(refusal([&] { client.rewriteApexParents(apex, {}); }),
              "Cannot remove the last apex parent. Choose an explicit replacement base.");
    EXPECT_EQ(
        refusal([&] {
            client.rewriteApexParents(apex, {ApexParent::trunk(), ApexParent::bookmark("nope")});
        }),
        "New apex parent is missing or ambiguous. Select one exact commit.");

    // ay moves on after the read: the apex keeps the commit it had.
    repo.draw("A2 <- A \"a2\" a=2");
    repo.bookmark("ay", repo.id("A2"));
    client.rewriteApexParents(
        apex, {ApexParent::trunk(), ApexParent::bookmark("ay"), ApexParent::bookmark("bee")});
    EXPECT_EQ(repo.parents("AP"), (Names{"T", "A", "B"}));

    // Pinning refuses incomplete data.
    Apex broken = apex;
    broken.attachments.pop_back();
    EXPECT_EQ(refusal([&] { (void)broken.pinnedCommitID(ApexParent::trunk()); }),
              "Apex attachment data is incomplete. Refresh before editing parents.");
}

TEST_F(CompositionRepo, WorkingCopiesAndEmptyCommits) {
    client.newWorkingCopy({"ay", "bee"});
    EXPECT_EQ(repo.parents("@"), (Names{"A", "B"}));
    client.newWorkingCopy({});
    EXPECT_EQ(repo.parents("@"), Names{"T"});
    client.createWorkingCopyCommit(id("A"));
    EXPECT_EQ(repo.parents("@"), Names{"A"});

    const auto working = repo.changeID("@");
    const auto made = client.log(client.createEmptyCommit(id("B"), "placeholder \"x\"")).at(0);
    EXPECT_TRUE(made.empty);
    EXPECT_EQ(made.parents, Names{id("B")});
    EXPECT_EQ(repo.changeID("@"), working);  // --no-edit
}

}  // namespace
}  // namespace vorda
