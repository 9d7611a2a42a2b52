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

std::vector<std::string> parentsOf(const JJClient& client, const std::string& change) {
    return client.log(change).at(0).parents;
}

class CompositionRepo : public ::testing::Test {
  protected:
    void SetUp() override {
        base = repo.publishMain();
        ay = repo.commit("a1", {{"a", "1"}});
        repo.bookmark("ay", ay);
        repo.jj({"new", base});
        bee = repo.commit("b1", {{"b", "1"}});
        repo.bookmark("bee", bee);
        repo.jj({"new", base});
    }
    std::string id(const std::string& change) const { return repo.commitID(change); }

    TestRepo repo;
    JJClient client{repo.root()};
    std::string base;
    std::string ay;
    std::string bee;
};

TEST_F(CompositionRepo, ApexCommitsAreCreatedFoundNewestFirstAndPrunedToOne) {
    EXPECT_FALSE(client.findApexChangeID().has_value());
    const auto first = client.createApexCommit();
    const auto second = client.createApexCommit();
    EXPECT_NE(first, second);
    EXPECT_EQ(client.findAllApexChangeIDs(), (std::vector<std::string>{second, first}));
    EXPECT_EQ(client.findApexChangeID(), std::optional<std::string>(second));
    EXPECT_EQ(parentsOf(client, second), std::vector<std::string>{id(base)});
    // --no-edit: the working copy stayed where it was.
    EXPECT_NE(repo.changeID("@-"), second);

    client.abandonStrayApexCommits(second);
    EXPECT_EQ(client.findAllApexChangeIDs(), std::vector<std::string>{second});
}

TEST_F(CompositionRepo, CompositionPointMergesTheWorkingCopyWithABookmark) {
    const std::string workspace = "we\"ird ä";
    const auto point = client.createCompositionPoint(workspace, "ay");
    const auto commit = client.log(point).at(0);
    EXPECT_EQ(commit.description, "wip: Vorda composition " + workspace + "\n");
    EXPECT_EQ(commit.parents.size(), 2U);
    EXPECT_EQ(commit.parents[1], id(ay));
    // No --no-edit here: the working copy moved onto the new merge.
    EXPECT_EQ(repo.changeID("@"), repo.changeID(point));
}

TEST_F(CompositionRepo, RewritingParentsIsGuardedAgainstWhatTheCallerSaw) {
    const auto point = repo.changeID(client.createCompositionPoint("default", "ay"));
    const auto current = parentsOf(client, point);
    const std::string commit = id(point);

    EXPECT_EQ(refusal([&] { client.rewriteCompositionParents(commit, current, {}); }),
              "Composition parents must be nonempty and distinct.");
    const auto before = repo.currentOperationID();
    EXPECT_EQ(refusal([&] {
                  client.rewriteCompositionParents(commit, current, {id(ay), id(ay)});
              }),
              "Composition parents must be nonempty and distinct.");
    EXPECT_EQ(repo.currentOperationID(), before);  // refused before any command

    const std::string changed =
        "Composition changed or is protected. Refresh before editing its attachments.";
    EXPECT_EQ(refusal([&] {
                  client.rewriteCompositionParents(commit, {current[1], current[0]}, current);
              }),
              changed);
    EXPECT_EQ(refusal([&] { client.rewriteCompositionParents(id(base), {}, {id(ay)}); }),
              changed);  // immutable

    // The same parents in the same order: nothing is rebased.
    client.rewriteCompositionParents(commit, current, current);
    EXPECT_EQ(id(point), commit);

    // A new order is a change.
    client.rewriteCompositionParents(commit, current, {current[1], current[0]});
    EXPECT_EQ(parentsOf(client, point), (std::vector<std::string>{current[1], current[0]}));

    // Adding trunk: once, then it is already there.
    EXPECT_TRUE(client.includeTrunkInComposition(id(point), id(base)));
    EXPECT_EQ(parentsOf(client, point).back(), id(base));
    EXPECT_FALSE(client.includeTrunkInComposition(id(point), id(base)));
}

TEST_F(CompositionRepo, ApexParentsResolveAsOfTheLastRead) {
    repo.jj({"new", "-m", "wip: Vorda apex commit", base, ay});
    repo.jj({"new"});
    const Apex apex = client.repoState().apex.value();
    EXPECT_EQ(refusal([&] { client.rewriteApexParents(apex, {}); }),
              "Cannot remove the last apex parent. Choose an explicit replacement base.");
    EXPECT_EQ(
        refusal([&] {
            client.rewriteApexParents(apex, {ApexParent::trunk(), ApexParent::bookmark("nope")});
        }),
        "New apex parent is missing or ambiguous. Select one exact commit.");

    // ay moves on after the read: the apex keeps the commit it had.
    repo.jj({"new", ay});
    const auto ay2 = repo.commit("a2", {{"a", "2"}});
    repo.bookmark("ay", ay2);
    client.rewriteApexParents(
        apex, {ApexParent::trunk(), ApexParent::bookmark("ay"), ApexParent::bookmark("bee")});
    EXPECT_EQ(parentsOf(client, apex.changeID),
              (std::vector<std::string>{id(base), id(ay), id(bee)}));

    // Pinning refuses incomplete data.
    Apex broken = apex;
    broken.attachments.pop_back();
    EXPECT_EQ(refusal([&] { (void)broken.pinnedCommitID(ApexParent::trunk()); }),
              "Apex attachment data is incomplete. Refresh before editing parents.");
}

TEST_F(CompositionRepo, WorkingCopiesAndEmptyCommits) {
    client.newWorkingCopy({"ay", "bee"});
    EXPECT_EQ(parentsOf(client, "@"), (std::vector<std::string>{id(ay), id(bee)}));
    client.newWorkingCopy({});
    EXPECT_EQ(parentsOf(client, "@"), std::vector<std::string>{id(base)});
    client.createWorkingCopyCommit(id(ay));
    EXPECT_EQ(parentsOf(client, "@"), std::vector<std::string>{id(ay)});

    const auto working = repo.changeID("@");
    const auto empty = client.createEmptyCommit(id(bee), "placeholder \"x\"");
    const auto made = client.log(empty).at(0);
    EXPECT_TRUE(made.empty);
    EXPECT_EQ(made.parents, std::vector<std::string>{id(bee)});
    EXPECT_EQ(repo.changeID("@"), working);  // --no-edit
}

}  // namespace
}  // namespace vorda
