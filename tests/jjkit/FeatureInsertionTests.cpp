#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "jjkit/client/JJClient.h"
#include "jjkit/rewrites/FeatureInsertionPlan.h"
#include "jjkit/rewrites/OperationJournal.h"
#include "jjkit/support/Cancellation.h"
#include "jjkit/support/Text.h"
#include "support/Refusal.h"
#include "support/ScopedEnvironment.h"
#include "support/TestRepo.h"

namespace vorda {
namespace {

namespace fs = std::filesystem;
using testing::refusal;
using testing::ScopedEnvironment;
using testing::TestRepo;

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
const std::string repeatedRepair = "Select each repair composition only once.";
const std::string invalidRepair =
    "Repair must select an existing affected merge outside the destination ancestry that lacks "
    "feature inclusion.";
const std::string cycle = "The coordinated attachment would create a cycle.";
const std::string losesWork =
    "The source environment would lose the routed work through the feature. Select explicit "
    "repair compositions that preserve every consumer; no repair is inferred.";
const std::string partialIDs = "Select full native change identities for routing.";
const std::string unresolvedSelection = "A selected change is hidden, missing, or divergent.";
const std::string ambiguousEnds =
    "The destination and feature bookmark must each resolve uniquely.";
const std::string unresolvedRepair = "A repair composition is hidden, missing, or divergent.";
const std::string foreignPlan = "This routing preview belongs to another repository or workspace.";
const std::string expired =
    "Routing preview expired. Refresh and preview again before moving work.";
const std::string scopeChanged = "Routing scope or configuration changed. Generate a new preview.";

const std::string noOutcomeSentence =
    "No final outcome was saved. Execution may not have started, may still be running, or may "
    "have finished. Inspect the operation log before retrying or recovering.";
const std::string inspectSentence =
    "The observed operation matches this result, but the action needs inspection. Compare the "
    "recorded before/after operations before choosing recovery.";
const std::string verifiedSentence =
    "The observed operation matches the verified result. Inspect any reported conflicts; no "
    "automatic recovery is needed.";

using Journal = OperationJournal<FeatureInsertionPlan>;

// Hand-made data for the pure planner.

JJCommit made(const std::string& id, std::vector<std::string> parents, bool immutable = false) {
    JJCommit commit;
    commit.commitID = id;
    commit.changeID = "change-" + id;
    commit.parents = std::move(parents);
    commit.immutable = immutable;
    return commit;
}

JJWorkspace standingOn(const std::string& name, const std::string& commitID) {
    return JJWorkspace{name, "/work/" + name, commitID, "change-" + commitID};
}

/// A hand-made routing request; each test changes what it is about.
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
    const auto b = made("B", {}, true);
    const auto d = made("d", {"B"});
    const auto t = made("t", {"d"});
    const auto m = made("M", {"t", "B"});
    const auto s1 = made("s1", {"M"});
    const auto s2 = made("s2", {"s1"});
    const auto c = made("c", {"s2"});
    Request request;
    request.destination = d;
    request.featureTip = t;
    request.selected = {s2, s1};
    request.featurePath = {t, d};
    request.mutableFeatureAncestry = {t, d};
    request.affected = {c, s2, s1, m, t};
    request.workspaces = {standingOn("default", "c"), standingOn("side", "B")};
    return request;
}

// Reading a real repository back with jj itself.

std::vector<std::string> words(const std::string& line) {
    std::vector<std::string> result;
    for (const auto piece : text::splitNonEmpty(text::trimWhitespace(line), ' ')) {
        result.emplace_back(piece);
    }
    return result;
}

/// The parents of `change`, as change IDs, in jj's order.
std::vector<std::string> parentsOf(const TestRepo& repo, const std::string& change) {
    return words(repo.jj({"log", "--no-graph", "--ignore-working-copy", "-r", change, "-T",
                          "parents.map(|p| p.change_id()).join(\" \")"}));
}

/// Every commit with its parents and bookmarks, and where each workspace
/// stands: any rewrite changes some line of it.
std::string history(const TestRepo& repo) {
    const std::string commitLine =
        "commit_id ++ \" \" ++ parents.map(|p| p.commit_id()).join(\",\") ++ \" \" ++ "
        "local_bookmarks.map(|b| b.name()).join(\",\") ++ \"\\n\"";
    return repo.jj(
               {"log", "--no-graph", "--ignore-working-copy", "-r", "all()", "-T", commitLine}) +
           repo.jj({"workspace", "list", "--ignore-working-copy"});
}

/// Runs `call`, which must refuse with `message`, and checks with jj that
/// the repository is as it was. The working copy is clean, so even the
/// planning snapshot records no operation.
::testing::AssertionResult refusedUntouched(const TestRepo& repo, const std::string& message,
                                            const std::function<void()>& call) {
    const auto operation = repo.currentOperationID();
    const auto before = history(repo);
    const auto said = refusal(call);
    if (said != message) {
        return ::testing::AssertionFailure() << "refused with \"" << said << "\"";
    }
    if (repo.currentOperationID() != operation) {
        return ::testing::AssertionFailure() << "an operation was recorded";
    }
    if (history(repo) != before) {
        return ::testing::AssertionFailure() << "the history changed";
    }
    return ::testing::AssertionSuccess();
}

/// A commit made beside the working copy, which stays where it is.
std::string childOf(const TestRepo& repo, const std::vector<std::string>& parents,
                    const std::string& message) {
    std::vector<std::string> arguments{"new", "--no-edit", "-m", message};
    arguments.insert(arguments.end(), parents.begin(), parents.end());
    repo.jj(arguments);
    return repo.changeID("description(exact:\"" + message + "\\n\")");
}

/// Writes the repository's own configuration file.
void writeRepoConfig(const TestRepo& repo, const std::string& contents) {
    const fs::path path(std::string(text::trimWhitespace(repo.jj({"config", "path", "--repo"}))));
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary | std::ios::trunc) << contents;
}

std::string toolFolder(const std::string& name) {
    return std::string(VORDA_TEST_TOOLS_DIR) + "/" + name;
}

std::string executableOnPath(const std::string& name) {
    const char* path = std::getenv("PATH");
    for (const auto folder : text::splitNonEmpty(path == nullptr ? "" : path, ':')) {
        const fs::path candidate = fs::path(std::string(folder)) / name;
        if (fs::exists(candidate)) {
            return candidate.string();
        }
    }
    throw std::runtime_error(name + " is not on PATH");
}

/// The shape routing starts from: trunk published as `main`, the feature
/// `feat` as f1-f2 on it, an integration merge of the feature and trunk, and
/// the work w1-w2 made on that merge, with the default workspace's working
/// copy `wc` above it.
struct Environment {
    TestRepo repo;
    JJClient client{repo.root()};
    std::string base;
    std::string f1;
    std::string f2;
    std::string merge;
    std::string w1;
    std::string w2;
    std::string wc;

    Environment() {
        base = repo.publishMain();
        f1 = repo.commit("f1", {{"feature.txt", "one\n"}});
        f2 = repo.commit("f2", {{"feature.txt", "one\ntwo\n"}});
        repo.bookmark("feat", f2);
        merge = repo.newChange({f2, base}, "integration");
        repo.jj({"new"});
        w1 = repo.commit("w1", {{"work.txt", "one\n"}});
        w2 = repo.commit("w2", {{"work.txt", "one\ntwo\n"}});
        wc = repo.changeID("@");
    }

    FeatureInsertionPlan plan() const { return client.planFeatureInsertion({w2, w1}, f1, "feat"); }
};

TEST(FeatureInsertionBuild, ExpectedParentsStateTheWholeOutcome) {
    auto request = integration();
    // A child of the first selected commit, and a merge of the top of the
    // selection with the destination.
    request.affected.push_back(made("k", {"s1"}));
    request.affected.push_back(made("Q", {"s2", "d"}));
    const auto plan = request.build();

    EXPECT_EQ(plan.selected.size(), 2U);
    EXPECT_EQ(plan.selected.front().commitID, "s1");
    EXPECT_EQ(plan.selected.back().commitID, "s2");
    const ParentGraph expected{
        {"s1", {"d"}},       // the run starts right after the destination
        {"s2", {"s1"}},      // and keeps its shape
        {"t", {"s2"}},       // the destination's child stands on the run
        {"M", {"t", "B"}},   // the composition keeps its parents
        {"c", {"M"}},        // the selection's children fall back to its base
        {"k", {"M"}},        //
        {"Q", {"M", "s2"}},  // the destination edge becomes one to the run
    };
    EXPECT_EQ(plan.expectedParents, expected);
    ASSERT_EQ(plan.affectedWorkspaces.size(), 1U);
    EXPECT_EQ(plan.affectedWorkspaces.front().name, "default");
    EXPECT_EQ(plan.affected.size(), 7U);
    EXPECT_EQ(plan.repositoryID, "/store");
    EXPECT_EQ(plan.operationID, "op");
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
    EXPECT_EQ(appending.build().expectedParents,
              (ParentGraph{{"s1", {"t"}}, {"s2", {"s1"}}, {"M", {"s2", "B"}}, {"c", {"M"}}}));

    // Work made straight on trunk reaches the feature only through a repair:
    // the named composition gains the feature's head as its last parent.
    Request repaired;
    repaired.destination = made("d", {"B"});
    repaired.featureTip = made("t", {"d"});
    repaired.selected = {made("s1", {"B"}), made("s2", {"s1"})};
    repaired.featurePath = {repaired.featureTip, repaired.destination};
    repaired.affected = {repaired.featureTip, repaired.selected[0], repaired.selected[1],
                         made("R", {"s2", "X"}), made("c", {"R"})};
    repaired.workspaces = {standingOn("default", "c")};
    EXPECT_EQ(repaired.refusal(), losesWork);
    repaired.repairs = {"R"};
    EXPECT_EQ(
        repaired.build().expectedParents,
        (ParentGraph{
            {"s1", {"d"}}, {"s2", {"s1"}}, {"t", {"s2"}}, {"R", {"B", "X", "t"}}, {"c", {"R"}}}));
    // A composition that already holds the feature needs no repair.
    auto holding = integration();
    holding.repairs = {"M"};
    EXPECT_EQ(holding.refusal(), invalidRepair);
}

TEST(FeatureInsertionBuild, RefusalsDecidedFromFrozenDataInTheirOrder) {
    EXPECT_EQ(integration().refusal(), "no refusal");

    auto request = integration();
    request.selected = {};
    EXPECT_EQ(request.refusal(), unfinished);
    request = integration();
    request.selected.push_back(request.selected.front());
    EXPECT_EQ(request.refusal(), unfinished);
    request = integration();
    request.selected[0].immutable = true;
    EXPECT_EQ(request.refusal(), unfinished);
    // A working copy in the selection comes before its shape: s1 and c are
    // not even contiguous.
    request = integration();
    request.selected = {made("s1", {"M"}), made("c", {"s2"})};
    EXPECT_EQ(request.refusal(), unfinished);

    // Commits that stand on each other have no lower end.
    request = integration();
    request.selected = {made("s1", {"s2"}), made("s2", {"s1"})};
    EXPECT_EQ(request.refusal(), nonlinear);

    // A merge in the feature comes before the insertion point is looked at.
    request = integration();
    request.destination = request.featureTip;
    request.mutableFeatureAncestry.push_back(made("m", {"x", "y"}));
    EXPECT_EQ(request.refusal(), mutableMerge);

    request = integration();
    request.appending = true;
    EXPECT_EQ(request.refusal(), badInsertionPoint);
    request = integration();
    request.featurePath = {request.destination};
    EXPECT_EQ(request.refusal(), badInsertionPoint);
    // An immutable merge on the path is no mutable merge, but no linear path
    // either.
    request = integration();
    request.featurePath = {request.destination, made("m", {"d", "B"}, true), request.featureTip};
    EXPECT_EQ(request.refusal(), badInsertionPoint);
    request = integration();
    request.siblings = {made("x", {"d"})};
    EXPECT_EQ(request.refusal(), badInsertionPoint);

    request = integration();
    request.affected[3].immutable = true;
    EXPECT_EQ(request.refusal(), protectedHistory);
    request = integration();
    request.divergent = {request.affected[3]};
    EXPECT_EQ(request.refusal(), protectedHistory);

    // The destination stands on the selection.
    request = integration();
    request.destination = made("d", {"s2"});
    request.affected = {made("s1", {"M"}), made("s2", {"s1"}), made("t", {"d"})};
    EXPECT_EQ(request.refusal(), descends);

    request = integration();
    request.repairs = {"M", "M"};
    EXPECT_EQ(request.refusal(), repeatedRepair);
    for (const char* repair : {"c", "s2", "unknown"}) {
        request = integration();
        request.repairs = {repair};
        EXPECT_EQ(request.refusal(), invalidRepair) << repair;
    }
    // A merge in the destination's own ancestry.
    request = integration();
    request.destination = made("d", {"R"});
    request.affected.push_back(made("R", {"B", "X"}));
    request.repairs = {"R"};
    EXPECT_EQ(request.refusal(), invalidRepair);

    // A repair below the tip: the tip's new edge closes a loop.
    Request looping;
    looping.destination = made("d", {"B"});
    looping.featureTip = made("t", {"R"});
    looping.selected = {made("s1", {"B"})};
    looping.featurePath = {looping.destination, looping.featureTip};
    looping.affected = {looping.selected[0], made("R", {"d", "X"}), looping.featureTip,
                        made("c", {"s1"})};
    looping.workspaces = {standingOn("default", "c")};
    looping.repairs = {"R"};
    EXPECT_EQ(looping.refusal(), cycle);

    // Work no workspace stands on is no environment to move out of.
    request = integration();
    request.workspaces = {standingOn("side", "B")};
    EXPECT_EQ(request.refusal(), losesWork);
}

TEST(FeatureInsertionBuild, GraphWalks) {
    const ParentGraph graph{{"c", {"b"}}, {"b", {"a", "x"}}, {"x", {"c"}}};
    EXPECT_TRUE(FeatureInsertionPlan::reaches("c", "c", {}));
    EXPECT_TRUE(FeatureInsertionPlan::reaches("c", "a", graph));
    EXPECT_TRUE(FeatureInsertionPlan::reaches("x", "a", graph));
    EXPECT_FALSE(FeatureInsertionPlan::reaches("a", "c", graph));
    EXPECT_FALSE(FeatureInsertionPlan::reaches("c", "z", graph));  // ends despite the loop
    EXPECT_TRUE(FeatureInsertionPlan::dependedOnSelection("c", {"z", "a"}, graph));
    EXPECT_FALSE(FeatureInsertionPlan::dependedOnSelection("a", {"b", "c"}, graph));
    EXPECT_FALSE(FeatureInsertionPlan::dependedOnSelection("c", {}, graph));
}

TEST(FeatureInsertionRefusals, RequestsThatResolveToNothingUsable) {
    Environment env;
    const auto& repo = env.repo;
    const auto& client = env.client;
    const std::vector<std::string> work{env.w1, env.w2};

    // Shortened or malformed identities are refused before anything runs,
    // so a pending edit is not even snapshotted.
    repo.writeFile("pending.txt", "not snapshotted yet\n");
    const auto operation = repo.currentOperationID();
    const auto shortened = env.w1.substr(0, 12);
    EXPECT_EQ(refusal([&] { client.planFeatureInsertion({}, env.f1, "feat"); }), partialIDs);
    EXPECT_EQ(refusal([&] {
                  client.planFeatureInsertion({env.w2, shortened}, env.f1, "feat");
              }),
              partialIDs);
    EXPECT_EQ(refusal([&] { client.planFeatureInsertion(work, env.f1.substr(0, 12), "feat"); }),
              partialIDs);
    EXPECT_EQ(refusal([&] {
                  client.planFeatureInsertion({repo.commitID(env.w1).substr(0, 32)}, env.f1,
                                              "feat");
              }),
              partialIDs);
    EXPECT_EQ(refusal([&] {
                  client.planFeatureRouting(work, env.f1, "feat", {env.merge.substr(0, 31)});
              }),
              partialIDs);
    EXPECT_EQ(repo.currentOperationID(), operation);
    repo.jj({"debug", "snapshot"});

    const std::string unknown(32, 'k');
    EXPECT_TRUE(refusedUntouched(repo, unresolvedSelection,
                                 [&] { client.planFeatureInsertion({unknown}, env.f1, "feat"); }));
    const auto dropped = childOf(repo, {env.w2}, "dropped");
    repo.jj({"abandon", dropped});
    EXPECT_TRUE(refusedUntouched(repo, unresolvedSelection, [&] {
        client.planFeatureInsertion({env.w1, dropped}, env.f1, "feat");
    }));
    // The selection is judged before the bookmark.
    EXPECT_TRUE(refusedUntouched(repo, unresolvedSelection, [&] {
        client.planFeatureInsertion({env.w1, dropped}, env.f1, "missing");
    }));

    EXPECT_TRUE(refusedUntouched(repo, ambiguousEnds,
                                 [&] { client.planFeatureInsertion(work, env.f1, "missing"); }));
    EXPECT_TRUE(refusedUntouched(repo, ambiguousEnds,
                                 [&] { client.planFeatureInsertion(work, unknown, "feat"); }));
    EXPECT_TRUE(refusedUntouched(repo, ambiguousEnds,
                                 [&] { client.planFeatureInsertion(work, dropped, "feat"); }));
    // Moved two ways at once to commits on separate lines.
    repo.makeConflictedBookmark("twin", env.base, env.f2, childOf(repo, {env.base}, "side"));
    EXPECT_TRUE(refusedUntouched(repo, ambiguousEnds,
                                 [&] { client.planFeatureInsertion(work, env.base, "twin"); }));

    EXPECT_TRUE(refusedUntouched(repo, unresolvedRepair, [&] {
        client.planFeatureRouting(work, env.f1, "feat", {env.merge, unknown});
    }));
    EXPECT_TRUE(refusedUntouched(repo, unresolvedRepair, [&] {
        client.planFeatureRouting(work, env.f1, "feat", {dropped});
    }));

    std::stop_source stop;
    stop.request_stop();
    EXPECT_THROW(client.planFeatureInsertion(work, env.f1, "feat", stop.get_token()),
                 CancellationError);

    repo.makeDivergent(env.w1, "w1 one way", "w1 another way");
    EXPECT_TRUE(refusedUntouched(repo, unresolvedSelection,
                                 [&] { client.planFeatureInsertion(work, env.f1, "feat"); }));
}

TEST(FeatureInsertionRefusals, SelectionsThatAreNotOneFinishedLinearRun) {
    Environment env;
    const auto& repo = env.repo;
    const auto& client = env.client;
    const auto route = [&](const std::vector<std::string>& changeIDs) {
        return [&client, &env, changeIDs] {
            client.planFeatureInsertion(changeIDs, env.f1, "feat");
        };
    };

    // The working copy with a gap below it: the working copy decides.
    EXPECT_TRUE(refusedUntouched(repo, unfinished, route({env.w1, env.wc})));
    EXPECT_TRUE(refusedUntouched(repo, unfinished, route({env.wc})));
    EXPECT_TRUE(refusedUntouched(repo, unfinished, route({env.merge})));
    EXPECT_TRUE(refusedUntouched(repo, unfinished, route({env.base})));
    EXPECT_TRUE(refusedUntouched(repo, unfinished, route({env.w1, env.w2, env.f2})));
    EXPECT_TRUE(refusedUntouched(repo, unfinished, route({env.f1})));
    repo.bookmark("wip", env.w1);
    EXPECT_TRUE(refusedUntouched(repo, unfinished, route({env.w1, env.w2})));
    repo.jj({"bookmark", "delete", "wip"});

    const auto side = childOf(repo, {env.base}, "side work");
    EXPECT_TRUE(refusedUntouched(repo, nonlinear, route({env.w1, side})));
    const auto fork = childOf(repo, {env.w1}, "fork");
    EXPECT_TRUE(refusedUntouched(repo, nonlinear, route({env.w1, env.w2, fork})));
    const auto w3 = repo.commit("w3", {{"work.txt", "one\ntwo\nthree\n"}});
    EXPECT_TRUE(refusedUntouched(repo, nonlinear, route({env.w1, w3})));

    // The same work as one run is accepted.
    EXPECT_EQ(refusal(route({env.w1, env.w2, w3})), "no refusal");
}

TEST(FeatureInsertionRefusals, InsertionPointsOffAnExclusiveFeaturePath) {
    Environment env;
    const auto& repo = env.repo;
    const auto& client = env.client;
    const std::vector<std::string> work{env.w1, env.w2};

    EXPECT_TRUE(refusedUntouched(repo, badInsertionPoint,
                                 [&] { client.planFeatureInsertion(work, env.f2, "feat"); }));
    const auto side = childOf(repo, {env.base}, "side");
    EXPECT_TRUE(refusedUntouched(repo, badInsertionPoint,
                                 [&] { client.planFeatureInsertion(work, side, "feat"); }));
    repo.jj({"abandon", side});
    // f1 is on the way from the destination to the tip.
    EXPECT_TRUE(refusedUntouched(repo, badInsertionPoint,
                                 [&] { client.planFeatureInsertion({env.f1}, env.base, "feat"); }));
    const auto beside = childOf(repo, {env.f1}, "beside");
    EXPECT_TRUE(refusedUntouched(repo, badInsertionPoint,
                                 [&] { client.planFeatureInsertion(work, env.f1, "feat"); }));
    repo.jj({"abandon", beside});

    // A bookmark on the integration merge is no feature, whatever the
    // insertion point.
    repo.bookmark("mixed", env.merge);
    EXPECT_TRUE(refusedUntouched(repo, mutableMerge,
                                 [&] { client.planFeatureInsertion(work, env.merge, "mixed"); }));
    EXPECT_TRUE(refusedUntouched(repo, mutableMerge,
                                 [&] { client.planFeatureInsertion(work, env.f1, "mixed"); }));

    // A stack g1-g2-g3 whose lowest commit is moved above g2.
    const auto g1 = childOf(repo, {env.base}, "g1");
    const auto g2 = childOf(repo, {g1}, "g2");
    const auto g3 = childOf(repo, {g2}, "g3");
    repo.bookmark("gee", g3);
    EXPECT_TRUE(
        refusedUntouched(repo, descends, [&] { client.planFeatureInsertion({g1}, g2, "gee"); }));

    // The feature made protected by the repository's configuration.
    writeRepoConfig(repo,
                    "[revset-aliases]\n\"immutable_heads()\" = \"builtin_immutable_heads() | "
                    "commit_id(" +
                        repo.commitID(env.f2) + ")\"\n");
    EXPECT_TRUE(refusedUntouched(repo, protectedHistory,
                                 [&] { client.planFeatureInsertion(work, env.f1, "feat"); }));
    writeRepoConfig(repo, "");
    EXPECT_EQ(refusal([&] { client.planFeatureInsertion(work, env.f1, "feat"); }), "no refusal");

    // A divergent commit among those the rewrite would touch.
    const auto extra = childOf(repo, {env.f2}, "extra");
    repo.makeDivergent(extra, "extra one way", "extra another way");
    EXPECT_TRUE(refusedUntouched(repo, protectedHistory,
                                 [&] { client.planFeatureInsertion(work, env.f1, "feat"); }));
}

TEST(FeatureInsertionRefusals, TheSourceEnvironmentMustKeepTheWork) {
    // Work made straight on trunk, composed with another feature in the
    // default workspace: nothing there holds `feat`.
    TestRepo repo;
    const JJClient client(repo.root());
    const auto base = repo.publishMain();
    const auto f1 = repo.commit("f1", {{"feature.txt", "one\n"}});
    const auto f2 = repo.commit("f2", {{"feature.txt", "one\ntwo\n"}});
    repo.bookmark("feat", f2);
    const auto other = childOf(repo, {base}, "other feature");
    repo.bookmark("other", other);
    repo.newChange({base});
    const auto w1 = repo.commit("w1", {{"work.txt", "one\n"}});
    const auto w2 = repo.commit("w2", {{"work.txt", "one\ntwo\n"}});
    const auto composition = repo.newChange({w2, other}, "composition");
    repo.jj({"new"});
    const auto wc = repo.changeID("@");
    const std::vector<std::string> work{w1, w2};
    const auto route = [&](const std::vector<std::string>& repairs) {
        return [&, repairs] {
            client.planFeatureRouting(work, f1, "feat", repairs);
        };
    };

    EXPECT_TRUE(refusedUntouched(repo, losesWork, route({})));
    const auto holding = childOf(repo, {f2, w2}, "holds the feature");
    for (const auto& repair : {wc, w2, holding}) {
        EXPECT_TRUE(refusedUntouched(repo, invalidRepair, route({repair}))) << repair;
    }

    // Named explicitly, the composition gains the feature as its last parent.
    const auto plan = client.planFeatureRouting(work, f1, "feat", {composition, composition});
    const auto id = [&](const std::string& change) {
        return repo.commitID(change);
    };
    EXPECT_EQ(plan.expectedParents.at(id(composition)),
              (std::vector<std::string>{id(base), id(other), id(f2)}));
    EXPECT_EQ(plan.expectedParents.at(id(holding)), (std::vector<std::string>{id(f2), id(base)}));
    EXPECT_EQ(plan.expectedParents.at(id(wc)), std::vector<std::string>{id(composition)});
    EXPECT_EQ(plan.expectedParents.at(id(f2)), std::vector<std::string>{id(w2)});
    EXPECT_EQ(plan.expectedParents.at(id(w1)), std::vector<std::string>{id(f1)});
    // Executing replans without repairs, which cannot give this plan again.
    EXPECT_EQ(refusal([&] { client.executeFeatureInsertion(plan); }), scopeChanged);
    EXPECT_TRUE(Journal(repo.root()).load().records.empty());

    // A plain child of the work that no repair can reach.
    const auto consumer = childOf(repo, {w2}, "consumer");
    EXPECT_TRUE(refusedUntouched(repo, losesWork, route({composition})));
    repo.jj({"abandon", consumer});
    EXPECT_EQ(refusal(route({composition})), "no refusal");

    // With no workspace on it the work has no environment to keep it.
    repo.jj({"new", f2});
    EXPECT_EQ(repo.changeID("@-"), f2);
    EXPECT_TRUE(refusedUntouched(repo, losesWork, route({composition})));
}

TEST(FeatureInsertionExecution, RoutesWorkIntoTheFeatureAndVerifiesIt) {
    Environment env;
    const auto& repo = env.repo;
    const auto review = repo.addWorkspace("review", env.w1);
    const auto reviewChange = repo.changeID("review@");
    const auto id = [&](const std::string& change) {
        return repo.commitID(change);
    };

    const auto plan = env.plan();
    ASSERT_EQ(plan.selected.size(), 2U);
    EXPECT_EQ(plan.selected[0].changeID, env.w1);
    EXPECT_EQ(plan.selected[1].changeID, env.w2);
    EXPECT_EQ(plan.destination.changeID, env.f1);
    EXPECT_EQ(plan.featureTip.changeID, env.f2);
    EXPECT_EQ(plan.bookmarkName, "feat");
    EXPECT_EQ(plan.operationID, repo.currentOperationID());
    EXPECT_EQ(plan.workspaceRoot, fs::canonical(repo.root()).string());
    const ParentGraph expected{
        {id(env.w1), {id(env.f1)}},    {id(env.w2), {id(env.w1)}},
        {id(env.f2), {id(env.w2)}},    {id(env.merge), {id(env.f2), id(env.base)}},
        {id(env.wc), {id(env.merge)}}, {id(reviewChange), {id(env.merge)}},
    };
    EXPECT_EQ(plan.expectedParents, expected);
    ASSERT_EQ(plan.affectedWorkspaces.size(), 2U);
    EXPECT_EQ(plan.affectedWorkspaces[0].name, "default");
    EXPECT_EQ(plan.affectedWorkspaces[1].name, "review");
    EXPECT_EQ(plan.commandLine(), "jj rebase -r 'commit_id(" + id(env.w1) + ") | commit_id(" +
                                      id(env.w2) + ")' --insert-after 'commit_id(" + id(env.f1) +
                                      ")'");
    // Planning the same request again gives the same plan.
    EXPECT_EQ(env.plan(), plan);

    const auto receipt = env.client.executeFeatureInsertion(plan);
    EXPECT_EQ(receipt.beforeOperationID, plan.operationID);
    EXPECT_EQ(receipt.afterOperationID, repo.currentOperationID());
    EXPECT_NE(receipt.afterOperationID, plan.operationID);
    EXPECT_EQ(receipt.commandError, std::nullopt);
    EXPECT_EQ(receipt.verificationWarnings, std::vector<std::string>{});
    EXPECT_EQ(receipt.conflictedChangeIDs, std::vector<std::string>{});
    EXPECT_EQ(receipt.affectedWorkspaceNames, (std::vector<std::string>{"default", "review"}));

    EXPECT_EQ(parentsOf(repo, env.w1), std::vector<std::string>{env.f1});
    EXPECT_EQ(parentsOf(repo, env.w2), std::vector<std::string>{env.w1});
    EXPECT_EQ(parentsOf(repo, env.f2), std::vector<std::string>{env.w2});
    EXPECT_EQ(parentsOf(repo, env.merge), (std::vector<std::string>{env.f2, env.base}));
    EXPECT_EQ(parentsOf(repo, env.wc), std::vector<std::string>{env.merge});
    EXPECT_EQ(parentsOf(repo, reviewChange), std::vector<std::string>{env.merge});
    EXPECT_EQ(repo.changeID("feat"), env.f2);
    EXPECT_EQ(repo.changeID("default@"), env.wc);
    EXPECT_EQ(repo.changeID("review@"), reviewChange);
    EXPECT_EQ(repo.jj({"file", "show", "--ignore-working-copy", "-r", "feat", "root:work.txt"}),
              "one\ntwo\n");
    EXPECT_TRUE(fs::exists(review));

    const auto loaded = Journal(repo.root()).load();
    EXPECT_TRUE(loaded.warnings.empty());
    ASSERT_EQ(loaded.records.size(), 1U);
    const auto& record = loaded.records.front();
    EXPECT_EQ(record.plan, plan);
    EXPECT_EQ(record.receipt, receipt);
    EXPECT_EQ(record.steps, std::nullopt);
    EXPECT_EQ(record.recoveryGuidance(repo.currentOperationID()), verifiedSentence);
}

TEST(FeatureInsertionExecution, StalePreviewsAreRefusedWithoutRewriting) {
    Environment env;
    const auto& repo = env.repo;
    const Journal journal(repo.root());
    const auto untouched = [&] {
        return parentsOf(repo, env.w1) == std::vector<std::string>{env.merge} &&
               parentsOf(repo, env.f2) == std::vector<std::string>{env.f1} &&
               journal.load().records.empty();
    };

    auto plan = env.plan();
    repo.jj({"describe", "-r", env.w2, "-m", "w2 reworded"});
    EXPECT_EQ(refusal([&] { env.client.executeFeatureInsertion(plan); }), expired);
    EXPECT_TRUE(untouched());

    plan = env.plan();
    childOf(repo, {env.base}, "unrelated");
    EXPECT_EQ(refusal([&] { env.client.executeFeatureInsertion(plan); }), expired);
    EXPECT_TRUE(untouched());

    // An edit on disk only: the execution's own snapshot records it, and
    // that new operation expires the preview.
    plan = env.plan();
    repo.writeFile("work.txt", "edited after the preview\n");
    EXPECT_EQ(refusal([&] { env.client.executeFeatureInsertion(plan); }), expired);
    EXPECT_EQ(repo.jj({"file", "show", "--ignore-working-copy", "-r", env.wc, "root:work.txt"}),
              "edited after the preview\n");
    EXPECT_TRUE(untouched());

    // Another workspace of the same repository, and another repository.
    const auto review = repo.addWorkspace("review", env.base);
    plan = env.plan();
    EXPECT_EQ(refusal([&] { JJClient(review).executeFeatureInsertion(plan); }), foreignPlan);
    const TestRepo elsewhere;
    EXPECT_EQ(refusal([&] { JJClient(elsewhere.root()).executeFeatureInsertion(plan); }),
              foreignPlan);
    EXPECT_TRUE(untouched());

    std::stop_source stop;
    stop.request_stop();
    EXPECT_THROW(env.client.executeFeatureInsertion(plan, stop.get_token()), CancellationError);
    EXPECT_TRUE(untouched());

    // None of that spoiled the preview itself.
    const auto receipt = env.client.executeFeatureInsertion(plan);
    EXPECT_EQ(receipt.verificationWarnings, std::vector<std::string>{});
    EXPECT_EQ(parentsOf(repo, env.w1), std::vector<std::string>{env.f1});
}

TEST(FeatureInsertionExecution, ChangedConfigurationIsAChangedScope) {
    Environment env;
    const auto& repo = env.repo;
    const auto f1Commit = repo.commitID(env.f1);
    const auto refusedWithoutOperation = [&](const FeatureInsertionPlan& plan) {
        const auto operation = repo.currentOperationID();
        const auto before = history(repo);
        return refusal([&] { env.client.executeFeatureInsertion(plan); }) == scopeChanged &&
               repo.currentOperationID() == operation && history(repo) == before &&
               Journal(repo.root()).load().records.empty();
    };

    // Another trunk(): the destination becomes immutable, and nothing
    // records an operation for that.
    auto plan = env.plan();
    EXPECT_FALSE(plan.destination.immutable);
    writeRepoConfig(repo, "[revset-aliases]\n\"trunk()\" = \"commit_id(" + f1Commit + ")\"\n");
    EXPECT_EQ(repo.currentOperationID(), plan.operationID);
    EXPECT_TRUE(refusedWithoutOperation(plan));

    // A trunk() that protects the feature itself: the preview can no longer
    // be made at all.
    writeRepoConfig(repo, "");
    plan = env.plan();
    writeRepoConfig(
        repo, "[revset-aliases]\n\"trunk()\" = \"commit_id(" + repo.commitID(env.f2) + ")\"\n");
    EXPECT_TRUE(refusedWithoutOperation(plan));

    // Another mine(), where the repository protects others' work.
    const std::string protectOthers =
        "[revset-aliases]\n\"immutable_heads()\" = "
        "\"builtin_immutable_heads() | (commit_id(" +
        f1Commit + ") & ~mine())\"\n";
    writeRepoConfig(repo, protectOthers);
    plan = env.plan();
    EXPECT_FALSE(plan.destination.immutable);
    writeRepoConfig(repo, protectOthers + "\"mine()\" = \"none()\"\n");
    EXPECT_TRUE(refusedWithoutOperation(plan));

    writeRepoConfig(repo, protectOthers);
    EXPECT_EQ(env.client.executeFeatureInsertion(plan).verificationWarnings,
              std::vector<std::string>{});
    EXPECT_EQ(parentsOf(repo, env.f2), std::vector<std::string>{env.w2});
}

TEST(FeatureInsertionExecution, FailuresAfterTheChecksEndInTheReceipt) {
    Environment env;
    const auto& repo = env.repo;
    const Journal journal(repo.root());

    // No first receipt, no rebase.
    auto plan = env.plan();
    int saves = 0;
    try {
        env.client.executeFeatureInsertion(plan, [&](const OperationRecord<FeatureInsertionPlan>&) {
            ++saves;
            throw std::runtime_error("receipt folder is read-only");
        });
        ADD_FAILURE() << "the failing first save was not thrown";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "receipt folder is read-only");
    }
    EXPECT_EQ(saves, 1);
    EXPECT_EQ(repo.currentOperationID(), plan.operationID);
    EXPECT_EQ(parentsOf(repo, env.w1), std::vector<std::string>{env.merge});

    // A rebase that fails ends in the receipt and changes nothing.
    std::optional<LocalStackUpdateReceipt> failed;
    {
        const ScopedEnvironment path("PATH");
        const ScopedEnvironment realJJ("VORDA_REAL_JJ");
        const ScopedEnvironment failing("VORDA_FAIL_JJ_SUBCOMMAND");
        realJJ.set(executableOnPath("jj"));
        path.prependPath(toolFolder("failing-subcommand-jj"));
        failing.set("rebase");
        failed = env.client.executeFeatureInsertion(plan);
    }
    ASSERT_TRUE(failed.has_value());
    ASSERT_TRUE(failed->commandError.has_value());
    EXPECT_NE(failed->commandError->find("injected failure"), std::string::npos);
    EXPECT_EQ(failed->afterOperationID, plan.operationID);
    EXPECT_EQ(repo.currentOperationID(), plan.operationID);
    EXPECT_EQ(parentsOf(repo, env.w1), std::vector<std::string>{env.merge});
    EXPECT_EQ(parentsOf(repo, env.f2), std::vector<std::string>{env.f1});
    const auto unexpected = [&](const std::string& change) {
        return "Unexpected parents on " + change.substr(0, 12);
    };
    auto warnings = failed->verificationWarnings;
    std::sort(warnings.begin(), warnings.end());
    std::vector<std::string> stillInPlace{unexpected(env.w1), unexpected(env.f2),
                                          unexpected(env.wc)};
    std::sort(stillInPlace.begin(), stillInPlace.end());
    EXPECT_EQ(warnings, stillInPlace);
    auto loaded = journal.load();
    ASSERT_EQ(loaded.records.size(), 1U);
    EXPECT_EQ(loaded.records.front().receipt, failed);
    EXPECT_EQ(loaded.records.front().recoveryGuidance(repo.currentOperationID()), inspectSentence);

    // The final save fails after the rebase: the returned receipt says so,
    // the stored record still has no outcome.
    std::string firstID;
    const auto receipt = env.client.executeFeatureInsertion(
        plan, [&](const OperationRecord<FeatureInsertionPlan>& record) {
            if (!firstID.empty()) {
                throw std::runtime_error("the volume went away");
            }
            firstID = record.id;
            journal.save(record);
        });
    EXPECT_EQ(receipt.commandError, std::nullopt);
    EXPECT_EQ(receipt.verificationWarnings,
              std::vector<std::string>{"Could not save final routing receipt: the volume went "
                                       "away. Inspect the operation log before retrying."});
    EXPECT_EQ(parentsOf(repo, env.w1), std::vector<std::string>{env.f1});
    EXPECT_EQ(parentsOf(repo, env.f2), std::vector<std::string>{env.w2});
    loaded = journal.load();
    ASSERT_EQ(loaded.records.size(), 2U);
    const auto stored = std::find_if(loaded.records.begin(), loaded.records.end(),
                                     [&](const auto& record) { return record.id == firstID; });
    ASSERT_NE(stored, loaded.records.end());
    EXPECT_EQ(stored->receipt, std::nullopt);
    EXPECT_EQ(stored->plan, plan);
    EXPECT_EQ(stored->recoveryGuidance(repo.currentOperationID()), noOutcomeSentence);
}

TEST(FeatureInsertionExecution, ChangesDuringTheFirstSaveAreReportedNotRouted) {
    Environment env;
    const auto& repo = env.repo;
    const auto plan = env.plan();
    const auto shortID = [](const std::string& change) {
        return change.substr(0, 12);
    };

    // Somebody works on the command line while the first receipt is written:
    // the bookmark goes back, w2 is dropped, the working copy moves away.
    const auto receipt = env.client.executeFeatureInsertion(
        plan, [&](const OperationRecord<FeatureInsertionPlan>& record) {
            if (record.receipt) {
                return;
            }
            repo.jj({"bookmark", "set", "--allow-backwards", "-r", env.f1, "feat"});
            repo.jj({"abandon", env.w2});
            repo.jj({"new", env.merge});
        });
    EXPECT_EQ(receipt.commandError,
              "Repository changed while saving the routing receipt; no insertion was attempted.");
    EXPECT_EQ(receipt.afterOperationID, repo.currentOperationID());
    EXPECT_NE(receipt.afterOperationID, plan.operationID);
    auto warnings = receipt.verificationWarnings;
    std::sort(warnings.begin(), warnings.end());
    std::vector<std::string> found{
        "Missing or divergent routed change " + shortID(env.w2),
        "Missing or divergent routed change " + shortID(env.wc),
        "Unexpected parents on " + shortID(env.w1),
        "Unexpected parents on " + shortID(env.f2),
        "Bookmark feat no longer uniquely follows " + shortID(env.f2),
        "The feature bookmark no longer uniquely follows its original tip.",
        "Working-copy identity changed in default",
    };
    std::sort(found.begin(), found.end());
    EXPECT_EQ(warnings, found);
    // Nothing was routed.
    EXPECT_EQ(parentsOf(repo, env.w1), std::vector<std::string>{env.merge});
    EXPECT_EQ(parentsOf(repo, env.f2), std::vector<std::string>{env.f1});
}

TEST(FeatureInsertionExecution, ConflictsAfterRoutingAreReportedNotWarned) {
    // w1 changes a line that only f2 wrote, so below f2 it conflicts.
    Environment env;
    const auto& repo = env.repo;
    repo.jj({"edit", env.w1});
    repo.writeFile("feature.txt", "one\nTWO\n");
    env.wc = repo.newChange({env.w2});
    const auto plan = env.plan();

    const auto receipt = env.client.executeFeatureInsertion(plan);
    EXPECT_EQ(receipt.commandError, std::nullopt);
    EXPECT_EQ(receipt.verificationWarnings, std::vector<std::string>{});
    const auto conflicted = words(repo.jj({"log", "--no-graph", "--ignore-working-copy", "-r",
                                           "conflicts()", "-T", "change_id ++ \" \""}));
    ASSERT_FALSE(conflicted.empty());
    EXPECT_NE(std::find(conflicted.begin(), conflicted.end(), env.w1), conflicted.end());
    auto reported = receipt.conflictedChangeIDs;
    std::sort(reported.begin(), reported.end());
    auto expected = conflicted;
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(reported, expected);
    EXPECT_EQ(
        Journal(repo.root()).load().records.front().recoveryGuidance(repo.currentOperationID()),
        verifiedSentence);
}

}  // namespace
}  // namespace vorda
