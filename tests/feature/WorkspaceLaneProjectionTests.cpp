#include "feature/lanes/WorkspaceLaneProjection.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "feature/StateBuilder.h"

namespace vorda {
namespace {

std::string joined(const std::vector<JJCommit>& commits) {
    std::string text;
    for (const auto& commit : commits) {
        text += (text.empty() ? "" : " ") + commit.commitID;
    }
    return text.empty() ? "-" : text;
}

/// "LOCAL | BOUNDARY | INPUTS | HISTORY | UNRESOLVED", "-" for an empty part.
std::string describe(const WorkspaceLaneProjection& lane) {
    std::string unresolved;
    for (const auto& id : lane.unresolvedInputIDs) {
        unresolved += (unresolved.empty() ? "" : " ") + id;
    }
    return joined(lane.localCommits) + " | " + (lane.boundary ? lane.boundary->commitID : "-") +
           " | " + joined(lane.inputs) + " | " + joined(lane.history) + " | " +
           (unresolved.empty() ? "-" : unresolved);
}

struct Case {
    const char* name;
    std::string graph;
    const char* workingCopy;
    /// Empty for a direct workspace, "shared:ID" for a legacy shared
    /// composition, else the ID of the workspace's materialized one.
    std::string composition;
    const char* expected;
};

// Trunk t0 on root, stacks a1 <- a0 and b1 on it, and "comp" merging them.
const std::string composed = "t0:root! root! a0:t0 a1:a0@a b1:t0@b comp:a1,b1 ";

TEST(WorkspaceLaneProjection, SplitsTheWalkIntoLocalCommitsBoundaryInputsAndHistory) {
    const std::vector<Case> cases = {
        {"working copy on the composition", composed, "comp", "comp",
         "- | comp | a1 b1 | a0 t0 root | -"},
        {"work on top of the composition is local", composed + "w1:comp w2:w1", "w2", "comp",
         "w2 w1 | comp | a1 b1 | a0 t0 root | -"},
        {"a shared composition bounds even with one parent", "t0! a1:t0 apex:a1 w1:apex", "w1",
         "shared:apex", "w1 | apex | a1 | t0 | -"},
        // Only a direct workspace stops at fixed history.
        {"a composition is looked for below immutable commits",
         "t0! x:t0! y:t0! comp:x,y! fixed:comp! wc:fixed", "wc", "comp",
         "wc fixed | comp | x y | t0 | -"},
        {"history goes breadth first", "t0! x0:t0 x1:x0 y0:t0 y1:y0 comp:x1,y1", "comp", "comp",
         "- | comp | x1 y1 | x0 y0 t0 | -"},
        {"a direct workspace stops at an immutable commit, its one input",
         "t0! base:t0! w1:base w2:w1", "w2", "", "w2 w1 | - | base | t0 | -"},
        {"a bookmarked working copy stays local and the next bookmark bounds",
         "t0! c:t0 b:c@feature a:b wc:a@wip", "wc", "", "wc a | b | c | t0 | -"},
        {"a merge below the working copy bounds", "t0! x:t0 y:t0@y merge:x,y wc:merge", "wc", "",
         "wc | merge | x y | t0 | -"},
        {"a root commit ends the walk with no inputs", "first wc:first", "wc", "",
         "wc first | - | - | - | -"},
        {"an unloaded parent is one unresolved input", "w1:gone wc:w1", "wc", "",
         "wc w1 | - | - | - | gone"},
        {"inputs drop repeats while unresolved IDs keep them", composed + "comp:a1,gone,a1,b1,gone",
         "comp", "comp", "- | comp | a1 b1 | a0 t0 root | gone gone"},
        // The walk stops on "a" again, which is already shown as local.
        {"a cycle above the boundary ends the walk", "a:b b:a", "a", "", "a b | - | - | - | -"},
        {"a cycle below the boundary ends the history", "x:y,z y:x z:z comp:x,y wc:comp", "wc",
         "comp", "wc | comp | x y | z | -"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        WorkspaceComposition::Kind kind = WorkspaceComposition::Direct{};
        if (c.composition.starts_with("shared:")) {
            const std::string id = c.composition.substr(7);
            kind = WorkspaceComposition::LegacyShared{"change-" + id, id};
        } else if (!c.composition.empty()) {
            kind = WorkspaceComposition::Materialized{"change-" + c.composition, c.composition};
        }
        const auto lane =
            WorkspaceLaneProjection::build(testing::workspaceOn(c.workingCopy, std::move(kind)),
                                           testing::StateBuilder().commits(c.graph).state());
        EXPECT_EQ(describe(lane), c.expected);
        // What the column shows: the boundary above the local commits.
        std::vector<JJCommit> shown = lane.localCommits;
        if (lane.boundary) {
            shown.insert(shown.begin(), *lane.boundary);
        }
        EXPECT_EQ(lane.commits(), shown);
    }
}

}  // namespace
}  // namespace vorda
