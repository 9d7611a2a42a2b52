#include "feature/lanes/WorkspaceLaneProjection.h"

#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "feature/StateBuilder.h"
#include "jjkit/support/Text.h"

namespace vorda {
namespace {

/// "LOCAL | BOUNDARY | INPUTS | HISTORY | UNRESOLVED", "-" for an empty part.
std::string describe(const WorkspaceLaneProjection& lane) {
    const auto part = [](const std::vector<std::string>& ids) {
        return ids.empty() ? "-" : text::join(ids, " ");
    };
    const auto ids = [&part](const std::vector<JJCommit>& commits) {
        std::vector<std::string> out;
        out.reserve(commits.size());
        for (const auto& commit : commits) {
            out.push_back(commit.commitID);
        }
        return part(out);
    };
    return text::join({ids(lane.localCommits), lane.boundary ? lane.boundary->commitID : "-",
                       ids(lane.inputs), ids(lane.history), part(lane.unresolvedInputIDs)},
                      " | ");
}

// Trunk t0 on root, stacks a1 <- a0 and b1 on it, and "comp" merging them.
const std::string composed = "t0:root! root! a0:t0 a1:a0@a b1:t0@b comp:a1,b1 ";

TEST(WorkspaceLaneProjection, SplitsTheWalkIntoLocalCommitsBoundaryInputsAndHistory) {
    // Graph, working copy, composition ("" direct, "shared:ID" legacy shared,
    // else the materialized composition's ID), expected lane.
    const std::vector<std::tuple<std::string, std::string, std::string, std::string>> cases = {
        {composed, "comp", "comp", "- | comp | a1 b1 | a0 t0 root | -"},
        // Work on top of the composition is local.
        {composed + "w1:comp w2:w1", "w2", "comp", "w2 w1 | comp | a1 b1 | a0 t0 root | -"},
        // A shared composition bounds even with one parent.
        {"t0! a1:t0 apex:a1 w1:apex", "w1", "shared:apex", "w1 | apex | a1 | t0 | -"},
        // Only a direct workspace stops at fixed history.
        {"t0! x:t0! y:t0! comp:x,y! fixed:comp! wc:fixed", "wc", "comp",
         "wc fixed | comp | x y | t0 | -"},
        // History goes breadth first.
        {"t0! x0:t0 x1:x0 y0:t0 y1:y0 comp:x1,y1", "comp", "comp",
         "- | comp | x1 y1 | x0 y0 t0 | -"},
        {"t0! base:t0! w1:base w2:w1", "w2", "", "w2 w1 | - | base | t0 | -"},
        // A bookmarked working copy stays local and the next bookmark bounds.
        {"t0! c:t0 b:c@feature a:b wc:a@wip", "wc", "", "wc a | b | c | t0 | -"},
        {"t0! x:t0 y:t0@y merge:x,y wc:merge", "wc", "", "wc | merge | x y | t0 | -"},
        {"first wc:first", "wc", "", "wc first | - | - | - | -"},
        {"w1:gone wc:w1", "wc", "", "wc w1 | - | - | - | gone"},
        // Inputs drop repeats while unresolved IDs keep them.
        {composed + "comp:a1,gone,a1,b1,gone", "comp", "comp",
         "- | comp | a1 b1 | a0 t0 root | gone gone"},
        // Cycles above and below the boundary end the walk.
        {"a:b b:a", "a", "", "a b | - | - | - | -"},
        {"x:y,z y:x z:z comp:x,y wc:comp", "wc", "comp", "wc | comp | x y | z | -"},
    };
    for (const auto& [graph, workingCopy, composition, expected] : cases) {
        SCOPED_TRACE(graph);
        WorkspaceComposition::Kind kind = WorkspaceComposition::Direct{};
        if (const std::string id = composition.substr(composition.find(':') + 1);
            composition.starts_with("shared:")) {
            kind = WorkspaceComposition::LegacyShared{"change-" + id, id};
        } else if (!composition.empty()) {
            kind = WorkspaceComposition::Materialized{"change-" + id, id};
        }
        const auto lane =
            WorkspaceLaneProjection::build(testing::workspaceOn(workingCopy, std::move(kind)),
                                           testing::StateBuilder().commits(graph).state());
        EXPECT_EQ(describe(lane), expected);
        // What the column shows: the boundary above the local commits.
        auto shown = lane.localCommits;
        if (lane.boundary) {
            shown.insert(shown.begin(), *lane.boundary);
        }
        EXPECT_EQ(lane.commits(), shown);
    }
}

}  // namespace
}  // namespace vorda
