#include <algorithm>
#include <filesystem>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "jjkit/client/JJClient.h"
#include "jjkit/rewrites/FeatureInsertionPlan.h"
#include "jjkit/rewrites/OperationJournal.h"
#include "jjkit/rewrites/PlannedFlow.h"
#include "jjkit/support/Cancellation.h"
#include "jjkit/support/Text.h"
#include "support/Refusal.h"
#include "support/RewriteTestData.h"
#include "support/TestRepo.h"

namespace vorda {
namespace {

namespace fs = std::filesystem;
using testing::commitNode;
using testing::parentText;
using testing::refusal;
using testing::TestRepo;
using testing::workspaceOn;

const std::string unfinished =
    "Select finished, mutable, unbookmarked commits—not a merge or workspace working copy.";
const std::string nonlinear = "Routing requires one contiguous linear selection.";
const std::string badInsertionPoint =
    "Choose an insertion point strictly before the feature tip on an exclusive linear feature "
    "path. Appending and shared bases need a separate plan.";
const std::string mutableMerge =
    "The feature already contains a mutable merge. Route into an isolated feature stack, not an "
    "integration environment.";
const std::string protectedHistory = "Insertion would rewrite protected or divergent history.";
const std::string descends = "The insertion destination descends from the selected work.";
const std::string invalidRepair =
    "Repair must select an existing affected merge outside the destination ancestry that lacks "
    "feature inclusion.";
const std::string losesWork =
    "The source environment would lose the routed work through the feature. Select explicit "
    "repair compositions that preserve every consumer; no repair is inferred.";

JJCommit made(const std::string& id, std::vector<std::string> parents, bool immutable = false) {
    return commitNode(id, std::move(parents), immutable);
}

/// A hand-made routing request; each case changes what it is about.
struct Request {
    JJCommit destination;
    JJCommit featureTip;
    std::vector<JJCommit> selected;
    std::vector<JJCommit> featurePath;
    std::vector<JJCommit> mutableFeatureAncestry;
    std::vector<JJCommit> affected;
    std::vector<JJCommit> siblings;
    std::vector<JJCommit> divergent;
    std::vector<JJWorkspace> workspaces;
    bool appending = false;
    std::vector<std::string> repairs;

    FeatureInsertionPlan build() const {
        return FeatureInsertionPlan::build("/store", "/work", "op", "feat", destination, featureTip,
                                           selected, featurePath, mutableFeatureAncestry, affected,
                                           siblings, divergent, workspaces, appending, repairs);
    }
    std::string refusal() const {
        return testing::refusal([this] { build(); });
    }
};

/// Trunk `B`; the feature `d`-`t`; an integration merge `M` of the feature
/// and trunk; the work `s1`-`s2` made on it with the working copy `c` above.
Request integration() {
    const auto d = made("d", {"B"}), t = made("t", {"d"}), c = made("c", {"s2"});
    const auto s1 = made("s1", {"M"}), s2 = made("s2", {"s1"});
    return {d,      t,      {s2, s1},
            {t, d}, {t, d}, {c, s2, s1, made("M", {"t", "B"}), t},
            {},     {},     {workspaceOn("default", c), workspaceOn("side", made("B", {}, true))},
            false,  {}};
}

/// Work made straight on trunk `B` with the composition `R` of it and `X`
/// under the working copy `c`: it reaches the feature only through a repair.
Request onTrunk() {
    const auto d = made("d", {"B"}), t = made("t", {"d"}), c = made("c", {"R"});
    const auto s1 = made("s1", {"B"}), s2 = made("s2", {"s1"});
    return {d,      t,  {s1, s2},
            {t, d}, {}, {t, s1, s2, made("R", {"s2", "X"}), c},
            {},     {}, {workspaceOn("default", c)},
            false,  {}};
}

/// A repair below the tip: the tip's new edge would close a loop.
Request looping() {
    const auto d = made("d", {"B"}), t = made("t", {"R"}), s1 = made("s1", {"B"});
    const auto c = made("c", {"s1"});
    return {d,      t,    {s1},
            {d, t}, {},   {s1, made("R", {"d", "X"}), t, c},
            {},     {},   {workspaceOn("default", c)},
            false,  {"R"}};
}

TEST(FeatureInsertionBuild, ExpectedParentsStateTheWholeOutcome) {
    auto request = integration();
    // A child of the first selected commit, and a merge of the top of the
    // selection with the destination.
    request.affected.push_back(made("k", {"s1"}));
    request.affected.push_back(made("Q", {"s2", "d"}));
    const auto plan = request.build();
    EXPECT_EQ(flow::commitIDsOf(plan.selected), (std::vector<std::string>{"s1", "s2"}));
    // The run starts right after the destination and keeps its shape; the
    // destination's child stands on the run; the composition keeps its
    // parents; the selection's children fall back to its base; the
    // destination edge becomes one to the run.
    EXPECT_EQ(parentText(plan.expectedParents), "M<t,B Q<M,s2 c<M k<M s1<d s2<s1 t<s2");
    EXPECT_EQ(plan.affectedWorkspaces, std::vector<JJWorkspace>{request.workspaces.front()});
    EXPECT_EQ(plan.commandArguments(),
              (std::vector<std::string>{"rebase", "-r", "commit_id(s1) | commit_id(s2)",
                                        "--insert-after", "commit_id(d)"}));
    EXPECT_EQ(plan.commandLine(),
              "jj rebase -r 'commit_id(s1) | commit_id(s2)' --insert-after 'commit_id(d)'");

    // Appending: the destination is the tip, and the composition that held
    // the tip now holds the top of the run.
    auto appending = integration();
    appending.destination = appending.featureTip;
    appending.featurePath = {appending.featureTip};
    appending.affected = {made("c", {"s2"}), made("s2", {"s1"}), made("s1", {"M"}),
                          made("M", {"t", "B"})};
    appending.appending = true;
    EXPECT_EQ(parentText(appending.build().expectedParents), "M<s2,B c<M s1<t s2<s1");

    // A named repair gains the feature's head as its last parent.
    auto repaired = onTrunk();
    repaired.repairs = {"R"};
    EXPECT_EQ(parentText(repaired.build().expectedParents), "R<B,X,t c<R s1<d s2<s1 t<s2");
}

TEST(FeatureInsertionBuild, RefusalsDecidedFromFrozenDataInTheirOrder) {
    using Change = std::function<void(Request&)>;
    const auto choose = [](std::vector<JJCommit> selected) {
        return Change([selected = std::move(selected)](Request& r) { r.selected = selected; });
    };
    const auto repair = [](std::vector<std::string> repairs) {
        return Change([repairs = std::move(repairs)](Request& r) { r.repairs = repairs; });
    };
    const auto immutableMerge = made("m", {"d", "B"}, true);
    struct Case {
        Change change;
        std::string refusal;
        Request (*start)() = integration;
    };
    const Case cases[] = {
        {[](Request&) {}, "no refusal"},
        {[](Request& r) { r.selected.clear(); }, unfinished},
        {[](Request& r) { r.selected.push_back(r.selected[0]); }, unfinished},
        {[](Request& r) { r.selected[0].immutable = true; }, unfinished},
        {[](Request& r) { r.selected[1] = commitNode("s1", {"M"}, false, {"wip"}); }, unfinished},
        {choose({made("s1", {"M", "B"})}), unfinished},
        {[](Request& r) { r.selected.push_back(r.featureTip); }, unfinished},
        // The working copy comes before the shape: s1 and c have a gap.
        {choose({made("s1", {"M"}), made("c", {"s2"})}), unfinished},
        // Standing on each other, two branches, a gap, a fork.
        {choose({made("s1", {"s2"}), made("s2", {"s1"})}), nonlinear},
        {choose({made("s1", {"M"}), made("x", {"B"})}), nonlinear},
        {choose({made("s1", {"M"}), made("s3", {"s2"})}), nonlinear},
        {[](Request& r) { r.selected.push_back(made("f", {"s1"})); }, nonlinear},
        // A merge in the feature comes before the insertion point is looked at.
        {[](Request& r) {
             r.destination = r.featureTip;
             r.mutableFeatureAncestry.push_back(made("m", {"x", "y"}));
         },
         mutableMerge},
        {[](Request& r) { r.appending = true; }, badInsertionPoint},
        {[](Request& r) { r.featurePath = {r.destination}; }, badInsertionPoint},
        // An immutable merge is no mutable merge, but no linear path either.
        {[&](Request& r) { r.featurePath.push_back(immutableMerge); }, badInsertionPoint},
        {[](Request& r) { r.featurePath.push_back(r.selected[1]); }, badInsertionPoint},
        {[](Request& r) { r.siblings = {made("x", {"d"})}; }, badInsertionPoint},
        {[](Request& r) { r.affected[3].immutable = true; }, protectedHistory},
        {[](Request& r) { r.divergent = {r.affected[3]}; }, protectedHistory},
        // The destination stands on the selection.
        {[](Request& r) {
             r.destination = made("d", {"s2"});
             r.affected = {made("s1", {"M"}), made("s2", {"s1"}), made("t", {"d"})};
         },
         descends},
        {repair({"M", "M"}), "Select each repair composition only once."},
        // Holding the feature already, no merge, selected, unknown, below the
        // destination.
        {repair({"M"}), invalidRepair},
        {repair({"c"}), invalidRepair},
        {repair({"s2"}), invalidRepair},
        {repair({"unknown"}), invalidRepair},
        {[](Request& r) {
             r.destination = made("d", {"R"});
             r.affected.push_back(made("R", {"B", "X"}));
             r.repairs = {"R"};
         },
         invalidRepair},
        {[](Request&) {}, "The coordinated attachment would create a cycle.", looping},
        // Selected work that no workspace stands on has no environment.
        {[](Request& r) { r.workspaces = {r.workspaces.back()}; }, losesWork},
        {[](Request&) {}, losesWork, onTrunk},
        // A plain child of the work that no repair can reach.
        {[](Request& r) {
             r.affected.push_back(made("k", {"s2"}));
             r.repairs = {"R"};
         },
         losesWork, onTrunk},
    };
    for (std::size_t index = 0; index < std::size(cases); ++index) {
        auto request = cases[index].start();
        cases[index].change(request);
        EXPECT_EQ(request.refusal(), cases[index].refusal) << "case " << index;
    }
}

TEST(FeatureInsertionBuild, GraphWalks) {
    const ParentGraph graph{{"c", {"b"}}, {"b", {"a", "x"}}, {"x", {"c"}}};
    using Plan = FeatureInsertionPlan;
    // The walk from c to z ends despite the loop.
    EXPECT_EQ((std::vector<bool>{Plan::reaches("c", "c", {}), Plan::reaches("c", "a", graph),
                                 Plan::reaches("x", "a", graph), Plan::reaches("a", "c", graph),
                                 Plan::reaches("c", "z", graph),
                                 Plan::dependedOnSelection("c", {"z", "a"}, graph),
                                 Plan::dependedOnSelection("a", {"b", "c"}, graph),
                                 Plan::dependedOnSelection("c", {}, graph)}),
              (std::vector<bool>{true, true, true, false, false, true, false, false}));
}

/// Trunk B published as `main`, the feature `feat` F1-F2 on it, an
/// integration merge of the feature and trunk, and the work W1-W2 made on
/// it under the default workspace's working copy. W1 changes a line that
/// only F2 wrote, so below F2 it conflicts.
constexpr const char* integrationPicture = R"(
    origin
    B <- root "base" README=base [main]
    push main
    F1 <- B "f1" feature.txt=one
    F2 <- F1 "f2" feature.txt="one\ntwo" [feat]
    M <- F2 B "integration"
    W1 <- M "w1" feature.txt="one\nTWO"
    W2 <- W1 "w2" work.txt="one\ntwo"
)";

TEST(FeatureInsertionPlanning, EachReadOfTheRepositoryCanRefuseAndARoutingReportsItsConflicts) {
    TestRepo repo;
    // Beside the integration, features that each show one fault, and work
    // V1-V2 made straight on trunk and composed with another feature in the
    // workspace `side`: nothing there holds `feat`.
    repo.draw(std::string(integrationPicture) + R"(
        G1 <- B "g1" g.txt=1
        G2 <- G1 "g2" g.txt=2
        G3 <- G2 "g3" g.txt=3 [gee]
        BESIDE <- G1 "beside" beside.txt=1   # someone builds on the middle of gee
        SIDE <- B "side" side.txt=1          # on no feature's path
        P1 <- B "p1" p.txt=1
        P2 <- P1 "p2" p.txt=2 [tagged]       # protected by a tag
        D1 <- B "d1" d.txt=1
        D2 <- D1 "d2" d.txt=2 [dv]
        DX <- D2 "dx" dx.txt=1               # made divergent
        H <- B "dropped" h.txt=1             # abandoned
        OTHER <- B "other feature" other.txt=1 [other]
        V1 <- B "v1" v.txt=one
        V2 <- V1 "v2" v.txt="one\ntwo"
        HOLDING <- F2 V2 "holds the feature"
        C <- V2 OTHER "composition"
        workspace side <- C
        @ <- W2
    )");
    repo.bookmark("mixed", repo.id("M"));  // a bookmark on a composition is no feature
    repo.jj({"tag", "set", "protected", "-r", repo.id("P2")});
    repo.jj({"abandon", repo.id("H")});
    repo.makeDivergent(repo.id("DX"), "dx one way", "dx another way");
    repo.makeConflictedBookmark("twin", repo.id("B"), repo.id("F2"), repo.id("SIDE"));
    const JJClient client(repo.root());
    const auto id = [&](const char* name) {
        return repo.id(name);
    };
    const std::vector<std::string> work{id("W1"), id("W2")};
    const std::string unknown(32, 'k');

    struct Case {
        std::vector<std::string> selection;
        std::optional<std::string> after;
        std::string bookmark;
        std::string refusal;
        std::vector<std::string> repairs = {};
    };
    // Shortened or malformed identities are refused before anything runs,
    // so a pending edit is not even snapshotted.
    const std::string partialIDs = "Select full native change identities for routing.";
    const Case beforeSnapshot[] = {
        {{}, id("F1"), "feat", partialIDs},
        {{id("W2"), id("W1").substr(0, 12)}, id("F1"), "feat", partialIDs},
        {work, id("F1").substr(0, 12), "feat", partialIDs},
        {{repo.commitID(id("W1")).substr(0, 32)}, id("F1"), "feat", partialIDs},
        {work, id("F1"), "feat", partialIDs, {id("M").substr(0, 31)}},
    };
    const std::string unresolved = "A selected change is hidden, missing, or divergent.";
    const std::string ambiguousEnds =
        "The destination and feature bookmark must each resolve uniquely.";
    const std::string unresolvedRepair = "A repair composition is hidden, missing, or divergent.";
    const Case afterSnapshot[] = {
        {{unknown}, id("F1"), "feat", unresolved},
        {{id("W1"), id("H")}, id("F1"), "feat", unresolved},
        {{id("W1"), id("H")}, id("F1"), "missing", unresolved},  // before the bookmark
        {{id("DX")}, id("D1"), "dv", unresolved},
        {work, id("F1"), "missing", ambiguousEnds},
        {work, unknown, "feat", ambiguousEnds},
        {work, id("H"), "feat", ambiguousEnds},
        {work, id("B"), "twin", ambiguousEnds},  // moved two ways at once
        {work, id("F1"), "feat", unresolvedRepair, {id("M"), unknown}},
        {work, id("F1"), "feat", unresolvedRepair, {id("H")}},
        {{id("W1"), repo.changeID("@")}, id("F1"), "feat", unfinished},
        {{id("M")}, id("F1"), "feat", unfinished},
        {work, id("F2"), "feat", badInsertionPoint},  // the tip itself
        {work, id("SIDE"), "feat", badInsertionPoint},
        {work, id("G1"), "gee", badInsertionPoint},
        {work, id("F1"), "mixed", mutableMerge},
        {work, id("M"), "mixed", mutableMerge},
        {{id("G1")}, id("G2"), "gee", descends},
        {work, id("P1"), "tagged", protectedHistory},
        {work, id("D1"), "dv", protectedHistory},
        {work, id("F1"), "feat", "no refusal"},
    };
    const auto check = [&](const Case& test) {
        EXPECT_EQ(refusal([&] {
                      client.planFeatureRouting(test.selection, test.after, test.bookmark,
                                                test.repairs);
                  }),
                  test.refusal)
            << ::testing::PrintToString(test.selection) << " after " << test.after.value_or("tip")
            << " into " << test.bookmark;
    };
    repo.writeFile("pending.txt", "not snapshotted yet\n");
    const auto operation = repo.currentOperationID();
    std::for_each(std::begin(beforeSnapshot), std::end(beforeSnapshot), check);
    EXPECT_EQ(repo.currentOperationID(), operation);
    repo.jj({"debug", "snapshot"});
    const auto snapshotted = repo.currentOperationID();
    std::for_each(std::begin(afterSnapshot), std::end(afterSnapshot), check);
    // With a clean working copy even the planning snapshots recorded nothing.
    EXPECT_EQ(repo.currentOperationID(), snapshotted);

    std::stop_source stop;
    stop.request_stop();
    EXPECT_THROW(client.planFeatureInsertion(work, id("F1"), "feat", stop.get_token()),
                 CancellationError);

    // The source environment keeps V1-V2 only through a named repair.
    const auto route = [&](const std::vector<std::string>& repairs) {
        return client.planFeatureRouting({id("V1"), id("V2")}, id("F1"), "feat", repairs);
    };
    EXPECT_EQ(refusal([&] { route({}); }), losesWork);
    for (const auto& repair : {repo.changeID("side@"), id("V2"), id("HOLDING")}) {
        EXPECT_EQ(refusal([&] { route({repair}); }), invalidRepair) << repair;
    }
    // Named explicitly, the composition gains the feature as its last parent.
    const auto plan = route({id("C"), id("C")});
    std::map<std::string, std::string> names;
    for (const std::string name : {"side@", "default@"}) {
        names[repo.commitID(name)] = name;
    }
    for (const auto* name :
         {"B", "F1", "F2", "OTHER", "V1", "V2", "C", "HOLDING", "M", "W1", "W2"}) {
        names[repo.commitID(id(name))] = name;
    }
    EXPECT_EQ(parentText(plan.expectedParents, names),
              "C<B,OTHER,F2 F2<V2 HOLDING<F2,B M<F2,B V1<F1 V2<V1 W1<M W2<W1 default@<W2 side@<C");
    // Executing replans without repairs, which cannot give this plan again.
    EXPECT_EQ(refusal([&] { client.executeFeatureInsertion(plan); }),
              "Routing scope or configuration changed. Generate a new preview.");
    EXPECT_EQ(repo.currentOperationID(), snapshotted);

    // Routing W1-W2 after F1 runs. Verification compares the outcome with
    // the planned graph: a receipt without warnings and jj's own parents
    // below confirm both. Conflicts are reported, not warned.
    // The conflicted twin on F2 would be reported as no longer following it.
    repo.jj({"bookmark", "delete", "twin"});
    repo.addWorkspace("review", id("W1"));
    const auto workingCopy = repo.changeID("default@");
    const auto review = repo.changeID("review@");
    const auto routing = client.planFeatureInsertion({id("W2"), id("W1")}, id("F1"), "feat");
    EXPECT_EQ(std::tuple(flow::changeIDsOf(routing.selected), routing.destination.changeID,
                         routing.featureTip.changeID, routing.operationID, routing.workspaceRoot),
              std::tuple(work, id("F1"), id("F2"), repo.currentOperationID(),
                         fs::canonical(repo.root()).string()));
    // Planning the same request again gives the same plan.
    EXPECT_EQ(client.planFeatureInsertion(work, id("F1"), "feat"), routing);
    const auto receipt = client.executeFeatureInsertion(routing);
    const auto conflicted = testing::conflictedChanges(repo, "all()");
    EXPECT_TRUE(std::binary_search(conflicted.begin(), conflicted.end(), id("W1")));
    auto inOrder = receipt;
    inOrder.conflictedChangeIDs = testing::sorted(receipt.conflictedChangeIDs);
    EXPECT_EQ(inOrder, testing::cleanReceipt(routing.operationID, repo.currentOperationID(),
                                             {"default", "review"}, conflicted));
    EXPECT_EQ(testing::graph(repo, {"W1", "W2", "F2", "M", workingCopy, review}),
              "W1<F1 W2<W1 F2<W2 M<F2,B " + workingCopy + "<M " + review + "<M");
    EXPECT_EQ(std::tuple(*repo.bookmarkTarget("feat"), repo.changeID("default@"),
                         repo.changeID("review@"),
                         repo.jj({"file", "show", "-r", "feat", "root:work.txt"})),
              std::tuple("F2", workingCopy, review, "one\ntwo"));
    // The refused execution above saved nothing: this is the only record.
    const auto stored = testing::onlyRecord<FeatureInsertionPlan>(repo.root());
    EXPECT_EQ(std::tuple(stored.plan, stored.receipt, stored.steps.has_value()),
              std::tuple(routing, receipt, false));
}

}  // namespace
}  // namespace vorda
