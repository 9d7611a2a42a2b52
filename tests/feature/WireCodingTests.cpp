#include <cstddef>
#include <functional>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "feature/StateBuilder.h"
#include "feature/wire/BookmarkWire.h"
#include "feature/wire/CommandCases.h"
#include "feature/wire/CommandWire.h"
#include "feature/wire/CompositionWire.h"
#include "feature/wire/DiffWire.h"
#include "feature/wire/RecordWire.h"
#include "feature/wire/ResultCases.h"
#include "feature/wire/ResultWire.h"
#include "feature/wire/SettingsWire.h"
#include "feature/wire/SnapshotWire.h"

namespace vorda {
namespace member_counting {

/// Stands for any member in an aggregate initialisation. Not for a command's
/// variant: a command would then have two ways to be made from it, and a
/// record holding a command would count short.
struct AnyMember {
    template <typename T>
    requires(!std::is_same_v<T, RepoCommand::Value>) operator T() const;
};

}  // namespace member_counting

namespace {

using member_counting::AnyMember;
using nlohmann::json;
using ::testing::AllOf;
using ::testing::HasSubstr;

// ---------------------------------------------------------------------------
// Field-by-field comparison of the command and result structs, which have no
// equality of their own. It counts an aggregate's members the way aggregate
// initialisation does, so a member that a field table leaves out fails the
// count check below, and one that it codes wrongly fails the comparison.

template <std::size_t>
using AnyMemberAt = AnyMember;

template <typename T, std::size_t... Index>
constexpr bool takesInitialisers(std::index_sequence<Index...> /*members*/) {
    return requires {
        T{AnyMemberAt<Index>{}...};
    };
}

/// The most initialisers the aggregate `T` takes: its member count. Counted
/// down, since a member without a default value needs its initialiser.
template <typename T, std::size_t Count = 16>
constexpr std::size_t memberCount() {
    if constexpr (Count == 0 || takesInitialisers<T>(std::make_index_sequence<Count>{})) {
        return Count;
    } else {
        return memberCount<T, Count - 1>();
    }
}

template <typename T>
constexpr std::size_t tableSize() {
    return std::tuple_size_v<std::remove_cvref_t<decltype(WireFields<T>::fields)>>;
}

/// Every member of every case is in its field table; the fetch's progress
/// callback alone stays off the wire.
template <typename Variant, std::size_t... Index>
constexpr bool everyCaseTableIsComplete(std::index_sequence<Index...> /*cases*/) {
    return ((std::is_same_v<std::variant_alternative_t<Index, Variant>, RepoCommand::Fetch>
                 ? tableSize<RepoCommand::Fetch>() == 0 && memberCount<RepoCommand::Fetch>() == 1
                 : tableSize<std::variant_alternative_t<Index, Variant>>() ==
                       memberCount<std::variant_alternative_t<Index, Variant>>()) &&
            ...);
}

template <typename Variant>
constexpr bool everyCaseTableIsComplete() {
    return everyCaseTableIsComplete<Variant>(
        std::make_index_sequence<std::variant_size_v<Variant>>{});
}

/// Fails to compile, naming the record, when its table misses a member.
template <typename Record>
constexpr bool tableIsComplete() {
    static_assert(tableSize<Record>() == memberCount<Record>(), "a member has no key");
    return true;
}

template <typename... Records>
constexpr bool everyTableIsComplete() {
    return (tableIsComplete<Records>() && ...);
}

static_assert(everyCaseTableIsComplete<RepoCommand::Value>());
static_assert(everyCaseTableIsComplete<RepoCommandResult::Value>());
static_assert(
    everyTableIsComplete<
        CreateBookmarkInput, BookmarkStartingPoint::SpecificRevision,
        BookmarkStartingPoint::WorkingCopyCarveHunks, ConfirmationRequestData, ForcePushRequestData,
        RepoCommandError, Bookmark, BookmarkConflict, WorkingCopy, OrphanWIP, CompositionAttachment,
        BaseAnchor, WorkspaceComposition, WorkspaceState, Apex, RepoState, JJCommit, JJSignature,
        JJCommitRef, ChangedFile, JJOp, JJWorkspace, GitHubPR, UnifiedDiff, DiffFile, DiffHunk,
        DiffLine, BookmarkLaneReadModel, RebaseConflictReview, RebaseConflictReview::File,
        BookmarkOrigin::Upstream, RemoteSyncState::UpToDate, RemoteSyncState::Ahead,
        RemoteSyncState::Behind, RemoteSyncState::Diverged, BookmarkInclusionRole::Partial,
        BookmarkInclusionRole::Inherited, WorkspaceComposition::Materialized,
        WorkspaceComposition::LegacyShared, ApexParent::Bookmark, ApexParent::ChangeID,
        ApexParent::CommitID>());

template <typename T>
constexpr bool isFunction = false;
template <typename R, typename... A>
constexpr bool isFunction<std::function<R(A...)>> = true;

template <typename T>
constexpr bool isVariant = false;
template <typename... Cases>
constexpr bool isVariant<std::variant<Cases...>> = true;

template <typename T>
auto membersOf(const T& value) {
    constexpr std::size_t count = memberCount<T>();
    static_assert(count <= 5, "compare larger records with their own equality");
    if constexpr (count == 0) {
        return std::tie();
    } else if constexpr (count == 1) {
        const auto& [a] = value;
        return std::tie(a);
    } else if constexpr (count == 2) {
        const auto& [a, b] = value;
        return std::tie(a, b);
    } else if constexpr (count == 3) {
        const auto& [a, b, c] = value;
        return std::tie(a, b, c);
    } else if constexpr (count == 4) {
        const auto& [a, b, c, d] = value;
        return std::tie(a, b, c, d);
    } else {
        const auto& [a, b, c, d, e] = value;
        return std::tie(a, b, c, d, e);
    }
}

bool sameSnapshot(const RepoSnapshot& sent, const RepoSnapshot& received);

/// Whether `received` carries everything of `sent` that the wire carries.
template <typename T>
bool same(const T& sent, const T& received) {
    if constexpr (isFunction<T>) {
        // Callbacks stay in their process.
        return !received;
    } else if constexpr (std::is_same_v<T, SnapshotRef>) {
        return sent && received && sameSnapshot(*sent, *received);
    } else if constexpr (isVariant<T>) {
        return sent.index() == received.index() &&
               std::visit(
                   [&](const auto& sentCase) {
                       using Case = std::remove_cvref_t<decltype(sentCase)>;
                       return same(sentCase, std::get<Case>(received));
                   },
                   sent);
    } else if constexpr (std::is_same_v<T, RepoCommand> || std::is_same_v<T, RepoCommandResult> ||
                         std::is_same_v<T, BookmarkStartingPoint>) {
        return same(sent.value, received.value);
    } else if constexpr (std::equality_comparable<T>) {
        return sent == received;
    } else {
        return std::apply(
            [&](const auto&... sentMembers) {
                return std::apply(
                    [&](const auto&... receivedMembers) {
                        return (same(sentMembers, receivedMembers) && ...);
                    },
                    membersOf(received));
            },
            membersOf(sent));
    }
}

bool sameSnapshot(const RepoSnapshot& sent, const RepoSnapshot& received) {
    static_assert(memberCount<RepoSnapshot>() == 11, "compare the new member below");
    return sent.repoState == received.repoState && sent.settingsByName == received.settingsByName &&
           sent.prsByBookmark == received.prsByBookmark &&
           sent.workingCopyDiff == received.workingCopyDiff &&
           sent.trunkCommitID == received.trunkCommitID &&
           sent.apexChangeID == received.apexChangeID &&
           sent.routingRules == received.routingRules &&
           sent.conflictedFiles == received.conflictedFiles &&
           sent.upstreamCount == received.upstreamCount &&
           sent.trunkBookmarkName == received.trunkBookmarkName &&
           sent.lanesByBookmark == received.lanesByBookmark;
}

// ---------------------------------------------------------------------------
// Sample values: every member set, and set apart from its neighbours, so a
// member coded under another's key shows.

/// Quotes, a backslash, a line feed and characters beyond ASCII.
const std::string tricky = "say \"hi\" \\ then\nnext line: ü 日本 😀";

Bookmark sampleBookmark(const std::string& name) {
    Bookmark bookmark;
    bookmark.name = name;
    bookmark.changeIDs = {"zzzzkkkk", "yyyykkkk"};
    bookmark.commitIDs = {"c0ffee01", "c0ffee02"};
    bookmark.parentBookmarks = {"base " + tricky};
    bookmark.isDivergent = true;
    bookmark.origin = BookmarkOrigin::upstream("origin");
    bookmark.hasConflict = true;
    bookmark.landedUpstreamParents = {"landed"};
    bookmark.remoteSyncState = {RemoteSyncState::Diverged{"upstream", 3, 4}};
    return bookmark;
}

CompositionAttachment sampleAttachment(std::int64_t position) {
    CompositionAttachment attachment;
    attachment.commitID = "attached" + std::to_string(position);
    attachment.changeID = "change" + std::to_string(position);
    attachment.position = position;
    attachment.bookmarkNames = {"feature"};
    attachment.remoteNames = {"feature@origin"};
    attachment.immutable = true;
    attachment.role = CompositionAttachment::Role::protectedDependency;
    return attachment;
}

Apex sampleApex() {
    Apex apex;
    apex.changeID = "apexchange";
    apex.commitID = "apexcommit";
    apex.parents = {ApexParent::bookmark(tricky), ApexParent::changeID("kkkk"),
                    ApexParent::commitID("abcd"), ApexParent::trunk()};
    CompositionAttachment unloaded;
    unloaded.commitID = "unloaded";
    unloaded.position = 3;
    apex.attachments = {sampleAttachment(0), sampleAttachment(1), sampleAttachment(2), unloaded};
    apex.immutableParentCommitIDs = {"trunkcommit"};
    return apex;
}

DiffEditorProtocol::HunkSelection sampleSelection() {
    return {{{"src/a.txt", {0, 2}}, {"dir/" + tricky, {}}}};
}

FileRoutingRule sampleRule(const std::string& bookmarkName) {
    return {"3F2504E0-4F89-11D3-9A0C-0305E82C3301", "docs/*.md", bookmarkName, false};
}

JJCommit samplePlanCommit(const std::string& commitID, const std::string& changeID) {
    JJCommit commit;
    commit.commitID = commitID;
    commit.changeID = changeID;
    commit.parents = {"parent-of-" + commitID};
    commit.description = "plan " + tricky;
    commit.author = {"Ann", "ann@example.com", "2024-03-20T12:00:00+01:00"};
    commit.committer = {"Bo", "bo@example.com", "2024-03-21T12:00:00+01:00"};
    commit.conflict = true;
    commit.localBookmarks = {{"feat " + tricky, std::nullopt, {commitID}, std::nullopt}};
    commit.remoteBookmarks = {{"feat", "origin", {commitID}, std::vector<std::string>{}}};
    return commit;
}

LocalStackUpdatePlan sampleStackPlan() {
    LocalStackUpdatePlan plan;
    plan.id = "3F2504E0-4F89-11D3-9A0C-0305E82C3301";
    plan.repositoryID = "/repo/.jj/repo";
    plan.workspaceRoot = "/repo " + tricky;
    plan.operationID = "op-stack";
    plan.bookmarkNames = {"a", tricky};
    plan.oneOffTips = {samplePlanCommit("tip", "kkkk")};
    plan.destination = samplePlanCommit("trunk", "llll");
    plan.roots = {samplePlanCommit("root", "mmmm")};
    plan.affectedCommits = {samplePlanCommit("root", "mmmm"), samplePlanCommit("tip", "kkkk")};
    plan.affectedWorkspaces = {{"default", "/repo", "tip", "kkkk"}, {"gone", {}, "w", "nnnn"}};
    plan.preservedDependencies = {samplePlanCommit("base", "oooo")};
    return plan;
}

FeatureInsertionPlan sampleInsertionPlan() {
    FeatureInsertionPlan plan;
    plan.repositoryID = "/repo/.jj/repo";
    plan.workspaceRoot = "/repo";
    plan.operationID = "op-insert";
    plan.bookmarkName = "feat " + tricky;
    plan.destination = samplePlanCommit("dest", "pppp");
    plan.featureTip = samplePlanCommit("tip", "qqqq");
    plan.selected = {samplePlanCommit("s1", "rrrr"), samplePlanCommit("s2", "ssss")};
    plan.affected = {samplePlanCommit("s1", "rrrr"), samplePlanCommit("merge", "tttt")};
    plan.affectedWorkspaces = {{"default", "/repo", "merge", "tttt"}};
    plan.expectedParents = {{"s1", {"dest"}}, {"merge", {"s2", "trunk"}}};
    return plan;
}

FeatureAppendPlan sampleAppendPlan() {
    FeatureAppendPlan plan;
    plan.topology = sampleInsertionPlan();
    plan.bookmarkAdvance = {"feat", "tip", "ssss"};
    plan.attachmentChanges = {{"merge", "tttt", {"s2", "old"}, {"s2", "trunk"}}};
    return plan;
}

OperationRecord<FeatureAppendPlan> sampleAppendRecord() {
    OperationRecord<FeatureAppendPlan> record;
    record.id = "3F2504E0-4F89-11D3-9A0C-0305E82C3302";
    record.startedAt = journalDate(816955200.123456);
    record.plan = sampleAppendPlan();
    record.steps = {{"Move commits and update descendant edges", "op1", "op2", true},
                    {"Advance feature bookmark", "op2", std::nullopt, false}};
    record.receipt =
        LocalStackUpdateReceipt{"op1", "op3", "it " + tricky, {"default"}, {"warning"}, {"tttt"}};
    return record;
}

CreateBookmarkInput sampleInput(BookmarkStartingPoint startingPoint) {
    return {"new " + tricky, "parent bookmark", std::move(startingPoint), true, true};
}

std::vector<RepoCommand> oneCommandOfEachCase() {
    using C = RepoCommand;
    return {
        C::Fetch{[](const std::string& /*line*/) {
        }},
        C::Push{sampleBookmark("push " + tricky)},
        C::PerformPush{sampleBookmark("performPush")},
        C::SyncWithTrunk{sampleBookmark("sync")},
        C::PlanLocalStackUpdate{{"a", tricky}, {"kkkk"}},
        C::ExecuteLocalStackUpdate{sampleStackPlan()},
        C::PlanFeatureInsertion{{"rrrr", "ssss"}, "pppp", "feat"},
        C::ExecuteFeatureInsertion{sampleInsertionPlan()},
        C::PlanFeatureAppend{{"rrrr"}, "feat"},
        C::ExecuteFeatureAppend{sampleAppendPlan()},
        C::CreateBookmark{sampleInput(
            {BookmarkStartingPoint::WorkingCopyCarveHunks{sampleSelection(), "/opt/helper"}})},
        C::CreateBookmark{sampleInput({BookmarkStartingPoint::SpecificRevision{"trunk()"}})},
        C::CreateBookmark{sampleInput({BookmarkStartingPoint::TipOfParent{}})},
        C::CreateBookmark{{"plain", std::nullopt, {}, false, false}},
        C::RenameBookmark{"old \"one\"", "new\\one"},
        C::AbandonBookmark{"abandon " + tricky},
        C::DeleteBookmark{"delete"},
        C::RebaseBookmark{"rebased", "trunk()"},
        C::ReparentToTrunk{"reparent"},
        C::SquashBookmarkToSingle{"squash"},
        C::MoveBookmark{"moved", "0123abcd", true},
        C::AbsorbBookmark{"source", "target", "tipcommit"},
        C::TrackRemoteBookmark{"tracked", "origin", "tipcommit", true},
        C::StageFiles{{"a.txt", tricky}, "into"},
        C::UnstageFiles{{"b.txt"}, "from"},
        C::StageHunks{"file.txt", {7, 0, 3}, "into", "/opt/helper"},
        C::SplitCommit{"splitchange", {"stay.txt"}, true},
        C::SplitCommitByHunks{"splitchange", sampleSelection(), "/opt/helper", true},
        C::DescribeCommit{"describedchange", "subject\n\nbody " + tricky, true},
        C::ResolveFile{"conflicted.txt"},
        C::AdvanceOrphan{"orphancommit"},
        C::AdvanceAllOneOffs{{"one", "two"}},
        C::AbandonOneOff{"oneoffchange"},
        C::RebaseCommits{{"r1", "r2"}, "destination"},
        C::RebaseCommitsIntoBookmark{{"r1"}, "tipchange", "destination", "bookmark"},
        C::ComposeCommitsAsBookmark{"workspace", {"c1", "c2"}, "tipchange", "basecommit"},
        C::DuplicateCommits{{"d1"}, "destination"},
        C::ApplyEnabledBookmarks{sampleApex(), {"b", "a"}, {"a", "c"}},
        C::ApplyApexParents{sampleApex(), {ApexParent::trunk(), ApexParent::bookmark("x")}},
        C::SetWorkspaceBookmarkInclusion{"workspace", "bookmark", true},
        C::SetWorkspaceBookmarkAttachment{"workspace", "bookmark", "attachcommit"},
        C::AdvanceWorkspaceOntoTrunk{"workspace"},
        C::RestoreToOp{JJOp{"opid", tricky, "2024-03-20T12:00:00Z"}, "expectedop"},
        C::SetUpdateStrategy{UpdateStrategy::mergeIn, "strategic"},
        C::TogglePinned{"pinned"},
        C::ToggleBookmarkColumnVisibility{"visible"},
        C::CloseBookmarkColumn{"closed"},
        C::SetTags{{"tag one", tricky}, "tagged"},
        C::ToggleTag{"tag", "tagged"},
        C::SetRoutingRules{{sampleRule("docs"), sampleRule(tricky)}},
        C::SetRoutingRulesForBookmark{"docs", {sampleRule("docs")}},
        C::RefreshPullRequestStatuses{true, {"forced"}, {"limited", "also"}},
        C::CreatePullRequest{sampleBookmark("pr"), "title", "body " + tricky, "main", true},
        C::Refresh{},
        C::Sync{},
        C::AdvanceTrunk{},
        C::ReanchorApexOntoTrunk{},
        C::ResetApex{},
        C::Undo{},
    };
}

std::string caseName(const RepoCommand& command) {
    return encodeCommand(command).begin().key();
}

/// Every value of `json` with one node replaced by `replacement`.
void forEachMutation(const json& value, const std::function<void(const json&)>& visit) {
    const std::vector<json> replacements = {nullptr,
                                            true,
                                            -1,
                                            1e300,
                                            json(18446744073709551615ULL),
                                            "text",
                                            json::array(),
                                            json::object(),
                                            json::parse(R"({"a":1,"b":2})"),
                                            json::parse(R"({"refresh":{}})")};
    const std::function<void(json&, json&)> walk = [&](json& root, json& node) {
        const json original = node;
        for (const json& replacement : replacements) {
            node = replacement;
            visit(root);
        }
        node = original;
        if (node.is_structured()) {
            for (auto& child : node) {
                walk(root, child);
            }
        }
    };
    json root = value;
    walk(root, root);
}

/// Decodes every mutation of `encoded`: each either decodes or fails with a
/// decoding error, and at least one fails.
template <typename Decode>
void expectOnlyDecodingErrors(const json& encoded, Decode decode) {
    std::size_t refused = 0;
    forEachMutation(encoded, [&](const json& mutated) {
        try {
            (void)decode(mutated);
        } catch (const DecodingError&) {
            ++refused;
        } catch (const std::exception& error) {
            ADD_FAILURE() << "not a DecodingError: " << error.what() << " for "
                          << wireText(mutated);
        }
    });
    EXPECT_GT(refused, 0U);
}

TEST(WireCommands, EveryCaseRoundTripsWithEveryMemberAndNoJSONValueMakesDecodingFailOtherwise) {
    std::set<std::size_t> casesSeen;
    for (const RepoCommand& command : oneCommandOfEachCase()) {
        SCOPED_TRACE(caseName(command));
        casesSeen.insert(command.value.index());
        const json encoded = encodeCommand(command);
        const RepoCommand decoded = decodeCommand(encoded);
        EXPECT_TRUE(same(command, decoded));
        EXPECT_EQ(encodeCommand(decoded), encoded);
        // Through text as a front end sends it.
        EXPECT_TRUE(same(command, parseCommand(wireText(encoded))));
        expectOnlyDecodingErrors(encoded, decodeCommand);
    }
    EXPECT_EQ(casesSeen.size(), std::variant_size_v<RepoCommand::Value>)
        << "a command case has no sample above";
}

TEST(WireModel, EveryValueOfAPlainEnumerationAndEveryRecordComesBackAsItself) {
    // Each value has its case name on the wire and comes back as itself.
    const auto exactly = [](const auto& cases) {
        for (const auto& [value, name] : cases) {
            using T = std::remove_cvref_t<decltype(value)>;
            EXPECT_EQ(wireEncode(value), json(name));
            EXPECT_EQ(wireDecode<T>(JsonReader(wireEncode(value))), value);
        }
    };
    using Role = CompositionAttachment::Role;
    using State = GitHubPR::State;
    using Decision = GitHubPR::ReviewDecision;
    exactly(std::vector<std::pair<Role, std::string>>{
        {Role::currentTrunk, "currentTrunk"},
        {Role::mutableStack, "mutableStack"},
        {Role::protectedDependency, "protectedDependency"},
        {Role::unresolved, "unresolved"}});
    exactly(std::vector<std::pair<State, std::string>>{{State::open, "open"},
                                                       {State::closed, "closed"},
                                                       {State::merged, "merged"},
                                                       {State::unknown, "unknown"}});
    exactly(std::vector<std::pair<Decision, std::string>>{
        {Decision::approved, "approved"},
        {Decision::changesRequested, "changesRequested"},
        {Decision::reviewRequired, "reviewRequired"}});
    exactly(
        std::vector<std::pair<DiffLine::Kind, std::string>>{{DiffLine::Kind::context, "context"},
                                                            {DiffLine::Kind::added, "added"},
                                                            {DiffLine::Kind::removed, "removed"}});
    exactly(std::vector<std::pair<UpdateStrategy, std::string>>{
        {UpdateStrategy::rebase, "rebase"}, {UpdateStrategy::mergeIn, "mergeIn"}});
    const auto roundTrip = [](const auto& values) {
        for (const auto& value : values) {
            using T = std::remove_cvref_t<decltype(value)>;
            EXPECT_EQ(wireDecode<T>(JsonReader(wireEncode(value))), value);
        }
    };
    roundTrip(std::vector{sampleApex()});

    RebaseConflictReview review;
    review.commit = samplePlanCommit("c", "k");
    review.patch = "diff --git a/x b/x\n";
    review.files = {{"x", "<<<<<<< conflict\n" + tricky + "\n>>>>>>>\n"}};
    const auto decoded = wireDecode<RebaseConflictReview>(JsonReader(wireEncode(review)));
    EXPECT_EQ(std::tie(decoded.commit, decoded.patch, decoded.files),
              std::tie(review.commit, review.patch, review.files));
}

TEST(WireModel, CommandsResultsAndRecordsHaveTheirExactJSON) {
    using C = RepoCommand;
    using R = RepoCommandResult;
    const std::vector<std::pair<json, std::string>> cases = {
        {encodeCommand(C::Refresh{}), R"({"refresh":{}})"},
        {encodeCommand(C::Fetch{[](const std::string&) {
         }}),
         R"({"fetch":{}})"},
        {encodeCommand(C::RenameBookmark{"a\"b", "c\\d"}),
         R"({"renameBookmark":{"old":"a\"b","new":"c\\d"}})"},
        {encodeCommand(C::SetUpdateStrategy{UpdateStrategy::mergeIn, "x"}),
         R"({"setUpdateStrategy":{"strategy":"mergeIn","bookmark":"x"}})"},
        {encodeCommand(C::StageHunks{"f", {3, 0, 2}, "into", "/h"}),
         R"({"stageHunks":{"filePath":"f","hunkOrdinals":[0,2,3],"into":"into","helperPath":"/h"}})"},
        {encodeCommand(C::CreateBookmark{
             {"x", std::nullopt, {BookmarkStartingPoint::SpecificRevision{"@-"}}, true, false}}),
         R"({"createBookmark":{"_0":{"name":"x","startingPoint":{"specificRevision":{"_0":"@-"}},
             "enableAfterCreating":true,"trackUpstream":false}}})"},
        {encodeCommand(C::CreateBookmark{
             {"y",
              "base",
              {BookmarkStartingPoint::WorkingCopyCarveHunks{{{{"a", {1}}}}, "/h"}},
              false,
              true}}),
         R"({"createBookmark":{"_0":{"name":"y","parent":"base","startingPoint":{
             "workingCopyCarveHunks":{"_0":{"files":[{"path":"a","keepHunkOrdinals":[1]}]},
             "helperPath":"/h"}},"enableAfterCreating":false,"trackUpstream":true}}})"},
        {encodeCommand(
             C::ApplyApexParents{{},
                                 {ApexParent::trunk(),
                                  ApexParent::bookmark("feature")}})["applyApexParents"]["parents"],
         R"([{"trunk":{}},{"bookmark":{"_0":"feature"}}])"},
        {encodeResult(R::toast("Undid last operation")),
         R"({"toast":{"_0":"Undid last operation"}})"},
        {encodeResult(R::RecentOps{{{"op", "d", "t"}}}),
         R"({"recentOps":{"_0":[{"opID":"op","description":"d","startTime":"t"}]}})"},
        {encodeResult(R::Failure{{C::Undo{}, "no"}}),
         R"({"failure":{"_0":{"command":{"undo":{}},"message":"no"}}})"},
        // Records use their field names, enumerations their case names.
        {wireEncode(std::vector<RemoteSyncState>{{RemoteSyncState::UpToDate{"o"}},
                                                 {RemoteSyncState::Behind{"o", 5}},
                                                 {RemoteSyncState::Diverged{"o", 1, 2}},
                                                 {}}),
         R"([{"upToDate":{"remote":"o"}},{"behind":{"remote":"o","commits":5}},
             {"diverged":{"remote":"o","ahead":1,"behind":2}},{"untracked":{}}])"},
        {wireEncode(std::vector{
             BookmarkInclusionRole::inherited(std::nullopt),
             BookmarkInclusionRole::inherited("base"), BookmarkInclusionRole::partial("c1"),
             BookmarkInclusionRole::directParent(), BookmarkInclusionRole::absent()}),
         R"([{"inherited":{}},{"inherited":{"via":"base"}},{"partial":{"commitID":"c1"}},
             {"directParent":{}},{"absent":{}}])"},
        {wireEncode(std::vector{BookmarkOrigin::local(), BookmarkOrigin::upstream("origin")}),
         R"([{"local":{}},{"upstream":{"remote":"origin"}}])"},
        {wireEncode(std::vector<WorkspaceComposition::Kind>{
             WorkspaceComposition::Direct{}, WorkspaceComposition::LegacyShared{"k", "c"}}),
         R"([{"direct":{}},{"legacyShared":{"changeID":"k","commitID":"c"}}])"},
        // An absent optional is left out; a present empty one is kept.
        {wireEncode(std::vector<JJCommitRef>{{"f", std::nullopt, {"c"}, std::nullopt},
                                             {"f", "origin", {"c"}, std::vector<std::string>{}}}),
         R"([{"name":"f","target":["c"]},
             {"name":"f","remote":"origin","target":["c"],"trackingTarget":[]}])"},
    };
    for (const auto& [encoded, expected] : cases) {
        EXPECT_EQ(encoded, json::parse(expected));
    }
    // A commit's and an operation's field names.
    JJCommit commit;
    commit.commitID = "c";
    commit.changeID = "k";
    commit.workingCopy = true;
    commit.changedFiles = {{"a.txt", "M", 3, std::nullopt}};
    EXPECT_EQ(wireEncode(commit), json::parse(R"({"commitID":"c","changeID":"k","parents":[],
        "description":"","author":{"name":"","email":"","timestamp":""},
        "committer":{"name":"","email":"","timestamp":""},"conflict":false,"empty":false,
        "immutable":false,"localBookmarks":[],"remoteBookmarks":[],
        "workingCopy":true,"changedFiles":[{"path":"a.txt","status":"M","linesAdded":3}]})"));
    EXPECT_EQ(wireEncode(JJOp{"op", "describe", "now"}),
              json::parse(R"({"opID":"op","description":"describe","startTime":"now"})"));
    // Apex parents keep their stored form on the wire.
    for (const ApexParent& parent : sampleApex().parents) {
        EXPECT_EQ(wireEncode(parent), parent.toJSON());
    }
    // Bytes that are not UTF-8 become replacement characters.
    const std::string text = wireText(encodeCommand(RepoCommand::ResolveFile{"caf\xe9.txt"}));
    EXPECT_EQ(text, "{\"resolveFile\":{\"path\":\"caf\xef\xbf\xbd.txt\"}}");
    EXPECT_EQ(std::get<RepoCommand::ResolveFile>(parseCommand(text).value).path,
              "caf\xef\xbf\xbd.txt");
}

/// The description of the failure to decode `text` as a command.
std::string decodingFailure(const std::string& text) {
    try {
        (void)parseCommand(text);
    } catch (const DecodingError& error) {
        return error.description();
    }
    ADD_FAILURE() << "decoded " << text;
    return {};
}

TEST(WireCommands, DecodingFailuresSayWhereAndWhat) {
    const std::string oneKey = "Invalid number of keys found, expected one.";
    const std::string bookmark = R"({"push":{"bookmark":{"name":"x","commitIDs":[],
        "parentBookmarks":[],"isDivergent":false,"origin":{"local":{}},"hasConflict":false,
        "landedUpstreamParents":[],)";
    const std::string hunks = R"({"stageHunks":{"filePath":"f","into":"i","helperPath":"h",)";
    const std::vector<std::pair<std::string, std::vector<std::string>>> cases = {
        {"[]", {oneKey}},
        {R"("refresh")", {oneKey}},
        {"null", {oneKey}},
        {"42", {oneKey}},
        {"{}", {oneKey}},
        {R"({"refresh":{},"undo":{}})", {oneKey}},
        {R"({"frobnicate":{}})", {R"(unknown command case "frobnicate")"}},
        {R"({"refresh":3})", {"at refresh"}},
        {R"({"rebaseBookmark":{"name":"x"}})", {"missing key `destination` at rebaseBookmark"}},
        {R"({"createBookmark":{"_0":{"name":1,"startingPoint":{"workingCopy":{}},
             "enableAfterCreating":true,"trackUpstream":true}}})",
         {"(expected String) at createBookmark._0.name"}},
        {R"({"createBookmark":{"_0":{"name":"x","startingPoint":{"workingCopy":{},
             "tipOfParent":{}},"enableAfterCreating":true,"trackUpstream":true}}})",
         {"at createBookmark._0.startingPoint", oneKey}},
        {bookmark + R"("changeIDs":["a",7],"remoteSyncState":{"untracked":{}}}}})",
         {"at push.bookmark.changeIDs.Index 1"}},
        {bookmark + R"("changeIDs":[],"remoteSyncState":{"sideways":{}}}}})",
         {"at push.bookmark.remoteSyncState", R"(unknown remote sync state case "sideways")"}},
        {R"({"setUpdateStrategy":{"strategy":"squash","bookmark":"x"}})",
         {R"(unknown update strategy case "squash")"}},
        {R"({"applyApexParents":{"apex":{"changeID":"a","commitID":"b","parents":[],
             "attachments":[],"immutableParentCommitIDs":[]},
             "parents":[{"trunk":{},"bookmark":{"_0":"x"}}]}})",
         {"at applyApexParents.parents.Index 0", oneKey}},
        {R"({"setRoutingRules":{"rules":[{"id":"not a uuid","pattern":"*","bookmarkName":"x",
             "enabled":true}]}})",
         {"at setRoutingRules.rules.Index 0.id"}},
        // Numbers: too large for the member, negative beyond it, or not whole.
        {hunks + R"("hunkOrdinals":[18446744073709551615]}})",
         {"at stageHunks.hunkOrdinals.Index 0", "too large"}},
        {hunks + R"("hunkOrdinals":[-9999999999]}})", {"out of range"}},
        {hunks + R"("hunkOrdinals":[1.5]}})",
         {"(expected Int) at stageHunks.hunkOrdinals.Index 0"}},
        {hunks + R"("hunkOrdinals":[1e400]}})", {"not valid JSON"}},
        // The text must be exactly one strict value.
        {R"({"refresh":{})", {"not valid JSON"}},
        {R"({"undo":{}} {"refresh":{}})", {"not valid JSON"}},
        {R"({"abandonOneOff":{"changeID":"c","n":)" + std::string(400, '7') + "}}",
         {"not valid JSON"}},
        {std::string("{\"undo\":{}}\0junk", 16), {"NUL byte at offset 11"}},
        {R"({"describeCommit":{"changeID":"c","message":"a\u0000b","ignoreImmutable":false}})",
         {"at describeCommit.message: the text holds a NUL character"}},
        {R"({"deleteBookmark":{"name":"other","name":"keep"}})", {R"(duplicate key "name")"}},
        {"{\"abandonBookmark\":{\"name\":\"\xff\"}}", {}},
    };
    for (const auto& [text, expected] : cases) {
        SCOPED_TRACE(text);
        const std::string failure = decodingFailure(text);
        for (const auto& part : expected) {
            EXPECT_THAT(failure, HasSubstr(part));
        }
    }
}

TEST(WireCommands, AbsentOptionalsUnknownKeysAndKeysRepeatedInOtherObjectsAreAccepted) {
    for (const auto* text : {R"({"createBookmark":{"_0":{"name":"x","later":[1,2],
                                 "startingPoint":{"tipOfParent":{}},"enableAfterCreating":true,
                                 "trackUpstream":false},"extra":true}})",
                             R"({"createBookmark":{"_0":{"name":"x","parent":null,
                                 "startingPoint":{"tipOfParent":{}},"enableAfterCreating":true,
                                 "trackUpstream":false}}})"}) {
        const auto command = parseCommand(text);
        const auto& input = std::get<RepoCommand::CreateBookmark>(command.value).input;
        EXPECT_EQ(input.name, "x");
        EXPECT_FALSE(input.parent.has_value());
        EXPECT_TRUE(
            std::holds_alternative<BookmarkStartingPoint::TipOfParent>(input.startingPoint.value));
        EXPECT_TRUE(input.enableAfterCreating);
    }
    EXPECT_NO_THROW((void)parseCommand(
        R"({"renameBookmark":{"old":"a","new":"b","x":{"old":1},"y":[{"old":2}]}})"));
}

// ---------------------------------------------------------------------------
// Snapshots

using testing::StateBuilder;

/// A small repository with every kind of record, its commits added in the
/// given order so that the commit index's own order differs between builds.
RepoState sampleState(const std::vector<std::string>& commitOrder) {
    StateBuilder builder;
    for (const auto& id : commitOrder) {
        JJCommit& commit =
            id == "trunk" ? builder.immutableCommit(id) : builder.commit(id, {"trunk"});
        commit.description = "describe ";
        commit.description.append(id).append("\n").append(tricky);
        commit.author = {"Ada", "ada@example.com", "2024-03-20T12:00:00Z"};
        if (id == "feature-tip") {
            testing::addLocalBookmark(commit, "feature");
            commit.remoteBookmarks = {{"feature", "origin", {"feature-tip"}, std::nullopt}};
            commit.conflict = true;
        }
        if (id == "wc") {
            commit.workingCopy = true;
            commit.empty = true;
            commit.changedFiles = {{"a.txt", "M", 1, 2}};
        }
    }
    builder.upstreamBookmark("feature", {"feature-tip"}).remoteSyncState = {
        RemoteSyncState::Ahead{"origin", 1}};
    builder.bookmark("local", {"wc"});
    builder.conflict("feature", "local");

    RepoState state = builder.state();
    state.workingCopy = WorkingCopy{"wc", "change-wc", {"feature"}, true};
    WorkspaceState workspace =
        testing::workspaceOn("wc", WorkspaceComposition::Materialized{"change-x", "x"});
    workspace.workspace.root = "/repo";
    workspace.ancestryCommitIDs = {"wc", "feature-tip"};
    workspace.baseAnchors = {{"trunk", "change-trunk", {"main"}, true}};
    workspace.composition.directParentBookmarks = {"feature"};
    workspace.composition.attachments = {sampleAttachment(0)};
    workspace.bookmarkRoles = {{"feature", BookmarkInclusionRole::directParent()},
                               {"local", BookmarkInclusionRole::partial("wc")},
                               {"other", BookmarkInclusionRole::absent()}};
    workspace.hasConflict = true;
    state.workspaces = {{"default", workspace}};
    state.selectedWorkspaceName = "default";
    state.apex = sampleApex();
    state.orphanWIPs = {{"change-o",
                         "o",
                         "orphan",
                         "feature",
                         true,
                         true,
                         {"change-trunk"},
                         "2024-03-20T12:00:00Z"}};
    state.mineChangeIDs = {"change-wc", "change-o"};
    state.behindTrunkCommitIDs = {"wc"};
    return state;
}

RepoSnapshot sampleSnapshot(const std::vector<std::string>& commitOrder) {
    RepoSnapshot snapshot;
    snapshot.repoState = sampleState(commitOrder);
    BookmarkSettings settings;
    settings.updateStrategy = UpdateStrategy::mergeIn;
    settings.lastPushedCommitID = "feature-tip";
    settings.tags = {"review"};
    settings.pinned = true;
    snapshot.settingsByName = {{"feature", settings}};
    GitHubPR pr;
    pr.number = 4;
    pr.url = "https://example.com/pr/4";
    pr.state = GitHubPR::State::open;
    pr.title = tricky;
    snapshot.prsByBookmark = {{"feature", pr}};
    DiffHunk hunk{"8D5C0B2E-0000-4000-8000-000000000001",
                  1,
                  2,
                  1,
                  3,
                  "@@ -1,2 +1,3 @@ fn",
                  {{DiffLine::Kind::context, "same"}, {DiffLine::Kind::added, tricky}}};
    snapshot.workingCopyDiff =
        UnifiedDiff{{{"a.txt", "M", false, {hunk}}, {"b.bin", "A", true, {}}}};
    snapshot.trunkCommitID = "trunk";
    snapshot.apexChangeID = "apexchange";
    snapshot.routingRules = {sampleRule("feature")};
    snapshot.conflictedFiles = {"c.txt"};
    snapshot.upstreamCount = 7;
    snapshot.trunkBookmarkName = "main";
    snapshot.lanesByBookmark = BookmarkLaneProjection::build(
        snapshot.repoState, snapshot.settingsByName, snapshot.routingRules, "main");
    return snapshot;
}

TEST(WireSnapshot, EncodesTheSameTextWhateverTheIndexOrderAndRoundTrips) {
    const std::vector<std::string> order = {"trunk", "feature-tip", "wc", "o", "x"};
    const std::vector<std::string> reversed(order.rbegin(), order.rend());
    const RepoSnapshot snapshot = sampleSnapshot(order);
    const std::string text = wireText(encodeSnapshot(snapshot));
    EXPECT_EQ(wireText(encodeSnapshot(sampleSnapshot(reversed))), text);
    EXPECT_EQ(wireText(encodeSnapshot(snapshot)), text);

    const json encoded = json::parse(text);
    std::vector<std::string> commitKeys;
    for (const auto& entry : encoded["repoState"]["commits"].items()) {
        commitKeys.push_back(entry.key());
    }
    EXPECT_THAT(commitKeys, ::testing::ElementsAre("feature-tip", "o", "trunk", "wc", "x"));
    EXPECT_EQ(encoded["repoState"]["commits"]["wc"]["changedFiles"][0]["linesRemoved"], 2);
    EXPECT_EQ(encoded["lanesByBookmark"]["feature"]["commits"][0]["commitID"], "feature-tip");
    EXPECT_EQ(encoded["repoState"]["workspaces"]["default"]["composition"]["kind"],
              json::parse(R"({"materialized":{"changeID":"change-x","commitID":"x"}})"));
    EXPECT_EQ(encoded["prsByBookmark"]["feature"]["state"], "open");
    EXPECT_EQ(encoded["workingCopyDiff"]["files"][0]["hunks"][0]["lines"][1]["kind"], "added");

    EXPECT_TRUE(sameSnapshot(snapshot, decodeSnapshot(encoded)));

    // A fresh repository: absent values are left out, not written as null.
    const json empty = encodeSnapshot(RepoSnapshot{});
    for (const auto* absent :
         {"workingCopyDiff", "trunkCommitID", "apexChangeID", "trunkBookmarkName"}) {
        EXPECT_FALSE(empty.contains(absent)) << absent;
    }
    EXPECT_FALSE(empty["repoState"].contains("workingCopy"));
    EXPECT_TRUE(sameSnapshot(RepoSnapshot{}, decodeSnapshot(empty)));
}

// ---------------------------------------------------------------------------
// Results

TEST(WireResults, EveryCaseEncodesWithAnUnlabelledPayloadAndRoundTrips) {
    const auto snapshot = std::make_shared<const RepoSnapshot>(
        sampleSnapshot({"trunk", "feature-tip", "wc", "o", "x"}));
    const std::vector<RepoCommandResult> results = {
        RepoCommandResult::refreshed(snapshot),
        RepoCommandResult::toast("Tracking " + tricky),
        RepoCommandResult::RequiresConfirmation{
            {"id-1", "Delete?", "It goes.", RepoCommand::DeleteBookmark{"feature"}}},
        RepoCommandResult::ForcePushRequired{
            {"id-2", sampleBookmark("forced"), {RemoteSyncState::Behind{"origin", 2}}}},
        RepoCommandResult::OpenURL{"https://example.com/pr/1"},
        RepoCommandResult::RecentOps{{{"op1", "first", "t1"}, {"op2", tricky, "t2"}}},
        RepoCommandResult::LocalStackUpdatePlan{sampleStackPlan()},
        RepoCommandResult::LocalStackUpdateCompleted{sampleAppendRecord().receipt.value()},
        RepoCommandResult::FeatureInsertionPlan{sampleInsertionPlan()},
        RepoCommandResult::FeatureInsertionCompleted{{"op1", {}, {}, {}, {}, {}}},
        RepoCommandResult::FeatureAppendPlan{sampleAppendPlan()},
        RepoCommandResult::FeatureAppendCompleted{sampleAppendRecord()},
        RepoCommandResult::Failure{{RepoCommand::SetTags{{"a"}, "b"}, "it failed"}},
    };
    std::set<std::size_t> casesSeen;
    for (const RepoCommandResult& result : results) {
        const json encoded = encodeResult(result);
        SCOPED_TRACE(encoded.begin().key());
        casesSeen.insert(result.value.index());
        ASSERT_EQ(encoded.size(), 1U);
        EXPECT_EQ(encoded.begin()->size(), 1U);
        EXPECT_TRUE(encoded.begin()->contains("_0"));
        EXPECT_TRUE(same(result, decodeResult(encoded)));
    }
    expectOnlyDecodingErrors(
        encodeResult(RepoCommandResult::Failure{
            {RepoCommand::ApplyApexParents{sampleApex(), {ApexParent::trunk()}}, "no"}}),
        decodeResult);
    EXPECT_EQ(casesSeen.size(), std::variant_size_v<RepoCommandResult::Value>);

    EXPECT_EQ(encodeResult(RepoCommandResult::refreshed(snapshot))["refreshed"]["_0"],
              encodeSnapshot(*snapshot));
}

TEST(WireResults, PlansAndRecordsTravelInTheirStoredForm) {
    // A plan printed by one process is executed by another: its frozen
    // commits keep jj's own keys, absent values are left out, and the start
    // time is seconds since 2001 with its fraction.
    const json record = encodeResult(RepoCommandResult::FeatureAppendCompleted{
        sampleAppendRecord()})["featureAppendCompleted"]["_0"];
    EXPECT_EQ(record["startedAt"], 816955200.123456);
    EXPECT_EQ(record["schemaVersion"], 1);
    EXPECT_EQ(record["plan"]["topology"]["featureTip"]["change_id"], "qqqq");
    EXPECT_EQ(record["plan"]["topology"]["expectedParents"]["merge"], json::array({"s2", "trunk"}));
    EXPECT_FALSE(record["steps"][1].contains("afterOperationID"));
    EXPECT_EQ(record["receipt"]["commandError"], "it " + tricky);

    const json plan = encodeCommand(
        RepoCommand::ExecuteLocalStackUpdate{sampleStackPlan()})["executeLocalStackUpdate"]["plan"];
    EXPECT_EQ(plan["affectedWorkspaces"][1]["root"], nullptr);
    EXPECT_EQ(plan["oneOffTips"][0]["local_bookmarks"][0]["name"], "feat " + tricky);
    // A broken plan is a decoding error that names where it broke.
    json broken = encodeCommand(RepoCommand::ExecuteFeatureAppend{sampleAppendPlan()});
    broken["executeFeatureAppend"]["plan"]["topology"]["selected"][1].erase("commit_id");
    EXPECT_THAT(decodingFailure(broken.dump()),
                AllOf(HasSubstr("commit_id"), HasSubstr("selected.Index 1")));
    // Identifiers are UUIDs, refused when malformed and kept in one case.
    json command = encodeCommand(RepoCommand::ExecuteLocalStackUpdate{sampleStackPlan()});
    command["executeLocalStackUpdate"]["plan"]["id"] = "not a uuid";
    EXPECT_THAT(decodingFailure(command.dump()),
                AllOf(HasSubstr("executeLocalStackUpdate.plan.id"), HasSubstr("invalid UUID")));
    command["executeLocalStackUpdate"]["plan"]["id"] = "3f2504e0-4f89-41d3-9a0c-0305e82c3301";
    EXPECT_EQ(std::get<RepoCommand::ExecuteLocalStackUpdate>(decodeCommand(command).value).plan.id,
              "3F2504E0-4F89-41D3-9A0C-0305E82C3301");
}

}  // namespace
}  // namespace vorda
