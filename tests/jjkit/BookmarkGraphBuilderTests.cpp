// The graph builder on hand-made input: shapes jj cannot produce (cycles,
// duplicates, missing parents) must not crash or hang it, and equal input
// must give equal output.

#include "jjkit/graph/BookmarkGraphBuilder.h"

#include <gtest/gtest.h>

namespace vorda {
namespace {

JJCommit commit(const std::string& id, std::vector<std::string> parents,
                std::vector<std::string> bookmarks = {}, bool immutable = false) {
    JJCommit made;
    made.commitID = id;
    made.changeID = "change-" + id;
    made.parents = std::move(parents);
    made.description = "commit " + id + " \"quoted\" \\ ä\nsecond line\n";
    made.author = {"Me", "me@example.org", "2026-11-21T09:00:00+01:00"};
    made.committer = made.author;
    made.immutable = immutable;
    for (auto& name : bookmarks) {
        made.localBookmarks.push_back(
            JJCommitRef{std::move(name), std::nullopt, {id}, std::nullopt});
    }
    return made;
}

BookmarkGraphBuilder::Input input(std::vector<JJCommit> commits) {
    BookmarkGraphBuilder::Input in;
    for (const auto& each : commits) {
        in.mineChangeIDs.insert(each.changeID);
    }
    in.commits = std::move(commits);
    return in;
}

TEST(BookmarkGraphBuilder, CyclesDuplicatesAndMissingParentsStillBuild) {
    const RepoState state = BookmarkGraphBuilder::build(input({
        commit("a", {"b"}, {"ay"}), commit("b", {"a"}, {"bee"}),
        commit("a", {"elsewhere"}),  // a duplicate: the first one stands
        commit("c", {"not-loaded", "b"}, {"sea"}), commit("d", {"d"}),  // its own parent
    }));
    ASSERT_EQ(state.bookmarks.size(), 3U);
    EXPECT_EQ(state.bookmarks.at("ay").parentBookmarks, std::vector<std::string>{"bee"});
    EXPECT_EQ(state.bookmarks.at("bee").parentBookmarks, std::vector<std::string>{"ay"});
    EXPECT_EQ(state.bookmarks.at("sea").parentBookmarks, std::vector<std::string>{"bee"});
    EXPECT_EQ(state.commits.size(), 4U);
    EXPECT_EQ(state.commits.at("a").parents, std::vector<std::string>{"b"});
    // The derived members walk the same damaged graph.
    EXPECT_EQ(state.transitiveDependencies("ay"), (std::set<std::string>{"ay", "bee"}));
    const auto anchors = state.baseAnchors("sea");
    ASSERT_EQ(anchors.size(), 1U);
    EXPECT_EQ(anchors[0].bookmarkNames, std::vector<std::string>{"bee"});
    // Each commit is one-off work once; "d" sits on itself, so it heads no lane.
    EXPECT_EQ(state.orphanWIPs.size(), 4U);
    EXPECT_TRUE(state.oneOffLanes().empty());
}

TEST(BookmarkGraphBuilder, EqualInputGivesEqualOutput) {
    auto make = [] {
        return input({commit("t", {"s"}, {"top", "twin"}), commit("s", {"r"}, {"mid"}),
                      commit("m", {"s", "x"}), commit("x", {"r"}, {"other"}),
                      commit("r", {}, {"main"}, true)});
    };
    const RepoState first = BookmarkGraphBuilder::build(make());
    EXPECT_EQ(BookmarkGraphBuilder::build(make()), first);
    // Two bookmarks on one commit both show it.
    EXPECT_EQ(first.bookmarks.at("top").commitIDs, std::vector<std::string>{"t"});
    EXPECT_EQ(first.bookmarks.at("twin").commitIDs, std::vector<std::string>{"t"});
    EXPECT_EQ(first.bookmarks.at("top").parentBookmarks, std::vector<std::string>{"mid"});
}

TEST(BookmarkGraphBuilder, NoBookmarksMakesEveryOwnMutableCommitOneOff) {
    auto in = input({commit("b", {"a"}), commit("a", {"root"}), commit("root", {}, {}, true)});
    in.commits[0].committer.timestamp = "2026-11-21T10:00:00+01:00";
    in.commits[1].committer.timestamp = "2026-11-21T09:30:00Z";  // later, though it reads earlier
    const RepoState state = BookmarkGraphBuilder::build(std::move(in));
    EXPECT_TRUE(state.bookmarks.empty());
    EXPECT_TRUE(state.conflicts.empty());
    ASSERT_EQ(state.orphanWIPs.size(), 2U);
    EXPECT_EQ(state.orphanWIPs[0].commitID, "a");  // newest first by instant, not by text
    EXPECT_EQ(state.orphanWIPs[1].parentChangeIDs, std::vector<std::string>{"change-a"});
    EXPECT_FALSE(state.workingCopy.has_value());
}

TEST(BookmarkGraphBuilder, TheApexBelongsToNoLane) {
    auto in = input({commit("w", {"apex"}), commit("apex", {"f", "root"}),
                     commit("f", {"root"}, {"feat"}), commit("root", {}, {"main"}, true)});
    in.commits[0].workingCopy = true;
    in.commits[1].description = "wip: Vorda apex commit\n";
    in.trunkCommitID = "root";
    const RepoState state = BookmarkGraphBuilder::build(std::move(in));
    ASSERT_TRUE(state.apex.has_value());
    EXPECT_EQ(state.apex->parents,
              (std::vector<ApexParent>{ApexParent::bookmark("feat"), ApexParent::trunk()}));
    EXPECT_EQ(state.bookmarks.at("feat").commitIDs, std::vector<std::string>{"f"});
    EXPECT_EQ(state.workingCopy->enabledBookmarks, std::vector<std::string>{"feat"});
    // Only "f" is left as one-off work of mine, and feat owns it.
    ASSERT_EQ(state.orphanWIPs.size(), 1U);
    EXPECT_EQ(state.orphanWIPs[0].ownerBookmark, std::optional<std::string>("feat"));
    EXPECT_TRUE(state.oneOffLanes().empty());
    EXPECT_TRUE(state.workingCopyIsAttachedToApex());
}

}  // namespace
}  // namespace vorda
