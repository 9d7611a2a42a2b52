#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <tuple>
#include <type_traits>
#include <unordered_map>
#include <utility>
#include <variant>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

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
namespace {

using nlohmann::json;
using ::testing::AllOf;
using ::testing::HasSubstr;

template <typename T>
T sampleOf(std::size_t seed);

/// Becomes the sample of whatever member it initialises. Not a command's
/// variant: a command would then have two ways to be made from it, and a
/// record holding a command would count short.
struct Sample {
    std::size_t seed;
    template <typename T>
    requires(!std::is_same_v<T, RepoCommand::Value>) operator T() const {
        return sampleOf<T>(seed);
    }
};

// ---------------------------------------------------------------------------
// Key completeness. A member is counted the way aggregate initialisation
// counts it, so a field table that leaves a member out, or holds one under two
// keys, fails to compile as soon as a sample below reaches the record; one that
// codes it wrongly fails a round trip or a golden text.

/// The most initialisers the aggregate `T` takes: its member count. Counted
/// down, since a member without a default value needs its initialiser.
template <typename T, std::size_t Count = 16>
constexpr std::size_t memberCount() {
    constexpr auto takesInitialisers = []<std::size_t... Index>(std::index_sequence<Index...>) {
        return requires {
            T{Sample{Index}...};
        };
    };
    if constexpr (Count == 0 || takesInitialisers(std::make_index_sequence<Count>{})) {
        return Count;
    } else {
        return memberCount<T, Count - 1>();
    }
}

template <typename A, typename B>
constexpr bool sameMember(A a, B b) {
    if constexpr (std::is_same_v<A, B>) {
        return a == b;
    } else {
        return false;
    }
}

/// Fails to compile, naming the record, when its table misses a member or
/// holds one under two keys; the fetch's progress callback alone stays off the
/// wire.
template <typename T>
constexpr bool tableIsComplete() {
    constexpr std::size_t keys =
        std::tuple_size_v<std::remove_cvref_t<decltype(WireFields<T>::fields)>>;
    static_assert(keys + (std::is_same_v<T, RepoCommand::Fetch> ? 1 : 0) == memberCount<T>(),
                  "a member has no key");
    static_assert(
        std::apply(
            [](const auto&... field) {
                [[maybe_unused]] const auto holders = [&]([[maybe_unused]] const auto& one) {
                    return (0 + ... + (sameMember(one.member, field.member) ? 1 : 0));
                };
                return (true && ... && (holders(field) == 1));
            },
            WireFields<T>::fields),
        "two keys hold one member");
    return true;
}

// ---------------------------------------------------------------------------
// Sample values, made from each type's members: every member set, and set
// apart from its neighbours by its seed, so a member coded under another's key
// or left at its default shows.

/// Quotes, a backslash, a line feed and characters beyond ASCII.
const std::string tricky = "say \"hi\" \\ then\nnext line: ü 日本 😀";
const std::string uuid = "3F2504E0-4F89-11D3-9A0C-0305E82C3301";

/// Every record that a sample reaches has its table checked on the way.
template <typename T>
T filled(std::size_t seed) {
    if constexpr (WireRecordType<T>) {
        static_assert(tableIsComplete<T>());
    }
    return [seed]<std::size_t... Member>(std::index_sequence<Member...> /*members*/) {
        return T{Sample{seed * 31 + Member + 1}...};
    }
    (std::make_index_sequence<memberCount<T>()>{});
}

/// Whether `T` is an `Of<...>`.
template <template <typename...> class Of, typename T>
constexpr bool is = false;
template <template <typename...> class Of, typename... Arguments>
constexpr bool is<Of, Of<Arguments...>> = true;

RepoSnapshot sampleSnapshot(const std::vector<std::string>& commitOrder);

template <typename T>
T sampleOf(std::size_t seed) {
    if constexpr (std::is_same_v<T, std::string>) {
        return std::to_string(seed).append(" ").append(tricky);
    } else if constexpr (std::is_same_v<T, bool>) {
        return true;
    } else if constexpr (std::is_integral_v<T>) {
        return static_cast<T>(seed % 1000 + 1);
    } else if constexpr (std::is_enum_v<T>) {
        return static_cast<T>(1);  // not the first value, and within every enumeration
    } else if constexpr (is<std::optional, T>) {
        return sampleOf<typename T::value_type>(seed);
    } else if constexpr (is<std::vector, T> || is<std::set, T>) {
        using Element = typename T::value_type;
        T list{sampleOf<Element>(seed)};
        if constexpr (!std::is_class_v<Element> || std::is_same_v<Element, std::string>) {
            list.insert(list.end(), sampleOf<Element>(seed + 1));  // records once, to stay small
        }
        return list;
    } else if constexpr (is<std::map, T> || is<std::unordered_map, T>) {
        return {{sampleOf<std::string>(seed), sampleOf<typename T::mapped_type>(seed + 1)}};
    } else if constexpr (is<std::variant, T>) {  // the case that the seed picks
        return [seed]<std::size_t... Case>(std::index_sequence<Case...> /*cases*/) {
            T value;
            (void)((seed % sizeof...(Case) == Case &&
                    (value = sampleOf<std::variant_alternative_t<Case, T>>(seed), true)) ||
                   ...);
            return value;
        }
        (std::make_index_sequence<std::variant_size_v<T>>{});
    } else if constexpr (std::is_same_v<T, std::function<void(const std::string&)>>) {
        return [](const std::string& /*line*/) {
        };
    } else if constexpr (std::is_same_v<T, SnapshotRef>) {
        return std::make_shared<const RepoSnapshot>(
            sampleSnapshot({"trunk", "feature-tip", "wc", "o", "x"}));
    } else if constexpr (std::is_same_v<T, SharedCommit>) {
        return SharedCommit(sampleOf<JJCommit>(seed));
    } else if constexpr (std::is_same_v<T, RepoCommand>) {
        return sampleOf<RepoCommand::ApplyApexParents>(seed);
    } else if constexpr (std::is_same_v<T, JournalDate>) {
        return journalDate(816955200.123456);
    } else if constexpr (std::is_same_v<T, FileRoutingRule>) {
        return {uuid, sampleOf<std::string>(seed), sampleOf<std::string>(seed + 1), false};
    } else if constexpr (std::is_same_v<T, FeatureAppendPlan>) {
        FeatureAppendPlan plan;
        plan.topology = sampleOf<FeatureInsertionPlan>(seed);
        plan.bookmarkAdvance = sampleOf<BookmarkAdvance>(seed + 1);
        plan.attachmentChanges = sampleOf<std::vector<AttachmentChange>>(seed + 2);
        return plan;
    } else {
        T value = filled<T>(seed);
        if constexpr (std::is_same_v<T, LocalStackUpdatePlan>) {
            value.id = uuid;
        } else if constexpr (is<OperationRecord, T>) {
            value.schemaVersion = 1;
            value.id = uuid;
        }
        return value;
    }
}

/// A command or a result of each case.
template <typename Whole, typename... Cases>
std::vector<Whole> oneOfEachCase(std::type_identity<std::variant<Cases...>> /*cases*/) {
    return {Whole{sampleOf<Cases>(7)}...};
}

/// Decodes `encoded` with each of its nodes in turn replaced by other JSON
/// values: each either decodes or fails with a decoding error, and at least
/// one fails.
template <typename Decode>
void expectOnlyDecodingErrors(const json& encoded, Decode decode) {
    const json replacements = json::array(
        {nullptr, true, -1, 1e300, 18446744073709551615ULL, "text", json::array(), json::object(),
         json::parse(R"({"a":1,"b":2})"), json::parse(R"({"refresh":{}})")});
    std::size_t refused = 0;
    json root = encoded;
    const std::function<void(json&)> walk = [&](json& node) {
        const json original = node;
        for (const json& replacement : replacements) {
            node = replacement;
            try {
                (void)decode(root);
            } catch (const DecodingError&) {
                ++refused;
            } catch (const std::exception& error) {
                ADD_FAILURE() << "not a DecodingError: " << error.what() << " for "
                              << wireText(root);
            }
        }
        node = original;
        if (node.is_structured()) {
            for (auto& child : node) {
                walk(child);
            }
        }
    };
    walk(root);
    EXPECT_GT(refused, 0U);
}

TEST(WireCommands, EveryCaseRoundTripsWithEveryMemberAndNoJSONValueMakesDecodingFailOtherwise) {
    auto commands = oneOfEachCase<RepoCommand>(std::type_identity<RepoCommand::Value>{});
    for (std::size_t seed = 0; seed < 4; ++seed) {  // the four starting points of a new bookmark
        commands.emplace_back(sampleOf<RepoCommand::CreateBookmark>(seed));
    }
    for (const RepoCommand& command : commands) {
        const json encoded = encodeCommand(command);
        SCOPED_TRACE(encoded.begin().key());
        EXPECT_EQ(encodeCommand(decodeCommand(encoded)), encoded);
        // Through text as a front end sends it.
        EXPECT_EQ(encodeCommand(parseCommand(wireText(encoded))), encoded);
        expectOnlyDecodingErrors(encoded, decodeCommand);
    }
    // A callback stays in its process.
    EXPECT_FALSE(
        std::get<RepoCommand::Fetch>(decodeCommand(encodeCommand(commands[0])).value).onProgress);
}

/// The JSON `encoded` read as a `T` and written again.
template <typename T>
json reencoded(const json& encoded) {
    return wireEncode(wireDecode<T>(JsonReader(encoded)));
}

/// `value` is written as the JSON `text`, which reads back as the same value.
template <typename T>
void expectWire(const T& value, const std::string& text) {
    const json expected = json::parse(text);
    EXPECT_EQ(wireEncode(value), expected) << text;
    EXPECT_EQ(reencoded<T>(expected), expected) << text;
}

TEST(WireModel, RecordsUseTheirFieldNamesAndEnumerationsTheirCaseNames) {
    using Role = CompositionAttachment::Role;
    using State = GitHubPR::State;
    using Decision = GitHubPR::ReviewDecision;
    expectWire(std::vector{Role::currentTrunk, Role::mutableStack, Role::protectedDependency,
                           Role::unresolved},
               R"(["currentTrunk","mutableStack","protectedDependency","unresolved"])");
    expectWire(std::vector{State::open, State::closed, State::merged, State::unknown},
               R"(["open","closed","merged","unknown"])");
    expectWire(
        std::vector{Decision::approved, Decision::changesRequested, Decision::reviewRequired},
        R"(["approved","changesRequested","reviewRequired"])");
    expectWire(std::vector{DiffLine::Kind::context, DiffLine::Kind::added, DiffLine::Kind::removed},
               R"(["context","added","removed"])");
    expectWire(std::vector{UpdateStrategy::rebase, UpdateStrategy::mergeIn},
               R"(["rebase","mergeIn"])");
    expectWire(std::vector<RemoteSyncState>{{RemoteSyncState::UpToDate{"o"}},
                                            {RemoteSyncState::Behind{"o", 5}},
                                            {RemoteSyncState::Diverged{"o", 1, 2}},
                                            {}},
               R"([{"upToDate":{"remote":"o"}},{"behind":{"remote":"o","commits":5}},
                   {"diverged":{"remote":"o","ahead":1,"behind":2}},{"untracked":{}}])");
    expectWire(
        std::vector{BookmarkInclusionRole::inherited(std::nullopt),
                    BookmarkInclusionRole::inherited("base"), BookmarkInclusionRole::partial("c1"),
                    BookmarkInclusionRole::directParent(), BookmarkInclusionRole::absent()},
        R"([{"inherited":{}},{"inherited":{"via":"base"}},{"partial":{"commitID":"c1"}},
                   {"directParent":{}},{"absent":{}}])");
    expectWire(std::vector{BookmarkOrigin::local(), BookmarkOrigin::upstream("origin")},
               R"([{"local":{}},{"upstream":{"remote":"origin"}}])");
    expectWire(
        std::vector<WorkspaceComposition::Kind>{WorkspaceComposition::Direct{},
                                                WorkspaceComposition::LegacyShared{"k", "c"},
                                                WorkspaceComposition::Materialized{"l", "d"}},
        R"([{"direct":{}},{"legacyShared":{"changeID":"k","commitID":"c"}},
            {"materialized":{"changeID":"l","commitID":"d"}}])");
    // Apex parents keep their stored form.
    expectWire(std::vector{ApexParent::bookmark("b"), ApexParent::changeID("k"),
                           ApexParent::commitID("c"), ApexParent::trunk()},
               R"([{"bookmark":{"_0":"b"}},{"changeID":{"_0":"k"}},{"commitID":{"_0":"c"}},
                   {"trunk":{}}])");
    // An absent optional is left out; a present empty one is kept.
    expectWire(std::vector<JJCommitRef>{{"f", std::nullopt, {"c"}, std::nullopt},
                                        {"f", "origin", {"c"}, std::vector<std::string>{}}},
               R"([{"name":"f","target":["c"]},
                   {"name":"f","remote":"origin","target":["c"],"trackingTarget":[]}])");
    JJCommit commit;
    commit.commitID = "c";
    commit.changeID = "k";
    commit.workingCopy = true;
    commit.changedFiles = {{"a.txt", "M", std::nullopt, 4}};
    expectWire(commit, R"({"commitID":"c","changeID":"k","parents":[],"description":"",
        "author":{"name":"","email":"","timestamp":""},
        "committer":{"name":"","email":"","timestamp":""},"conflict":false,"empty":false,
        "immutable":false,"localBookmarks":[],"remoteBookmarks":[],
        "workingCopy":true,"changedFiles":[{"path":"a.txt","status":"M","linesRemoved":4}]})");

    const json review = wireEncode(sampleOf<RebaseConflictReview>(4));
    EXPECT_EQ(reencoded<RebaseConflictReview>(review), review);
}

TEST(WireModel, CommandsAndResultsHaveTheirExactJSON) {
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
        {encodeResult(R::toast("Undid last operation")),
         R"({"toast":{"_0":"Undid last operation"}})"},
        {encodeResult(R::RecentOps{{{"op", "d", "t"}}}),
         R"({"recentOps":{"_0":[{"opID":"op","description":"d","startTime":"t"}]}})"},
        {encodeResult(R::Failure{{C::Undo{}, "no"}}),
         R"({"failure":{"_0":{"command":{"undo":{}},"message":"no"}}})"},
        // Absent optionals, unknown keys and keys repeated in other objects are accepted.
        {encodeCommand(parseCommand(R"({"createBookmark":{"_0":{"name":"x","later":[1,2],
             "parent":null,"startingPoint":{"tipOfParent":{}},"enableAfterCreating":true,
             "trackUpstream":false},"extra":true}})")),
         R"({"createBookmark":{"_0":{"name":"x","startingPoint":{"tipOfParent":{}},
             "enableAfterCreating":true,"trackUpstream":false}}})"},
        {encodeCommand(parseCommand(
             R"({"renameBookmark":{"old":"a","new":"b","x":{"old":1},"y":[{"old":2}]}})")),
         R"({"renameBookmark":{"old":"a","new":"b"}})"},
    };
    for (const auto& [encoded, expected] : cases) {
        EXPECT_EQ(encoded, json::parse(expected));
    }
    // Bytes that are not UTF-8 become replacement characters.
    const std::string text = wireText(encodeCommand(RepoCommand::ResolveFile{"caf\xe9.txt"}));
    EXPECT_EQ(text, "{\"resolveFile\":{\"path\":\"caf\xef\xbf\xbd.txt\"}}");
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
    for (const auto* text :
         {"[]", R"("refresh")", "null", "42", "{}", R"({"refresh":{},"undo":{}})"}) {
        EXPECT_THAT(decodingFailure(text), HasSubstr(oneKey)) << text;
    }
    const std::string bookmark = R"({"push":{"bookmark":{"name":"x","commitIDs":[],
        "parentBookmarks":[],"isDivergent":false,"origin":{"local":{}},"hasConflict":false,
        "landedUpstreamParents":[],)";
    const std::string hunks = R"({"stageHunks":{"filePath":"f","into":"i","helperPath":"h",)";
    const std::vector<std::pair<std::string, std::vector<std::string>>> cases = {
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

// ---------------------------------------------------------------------------
// Snapshots and results

/// A snapshot with every kind of record, its commits added to the index in
/// the given order, so that the index's own order differs between builds.
RepoSnapshot sampleSnapshot(const std::vector<std::string>& commitOrder) {
    auto snapshot = filled<RepoSnapshot>(3);
    CommitIndex& commits = snapshot.repoState.commits;
    commits.clear();
    for (const auto& id : commitOrder) {
        commits.emplace(id, sampleOf<SharedCommit>(id.size()));
    }
    return snapshot;
}

bool sameSnapshot(const RepoSnapshot& sent, const RepoSnapshot& received) {
    static_assert(memberCount<RepoSnapshot>() == 11, "compare the new member below");
    const auto members = [](const RepoSnapshot& s) {
        return std::tie(s.repoState, s.settingsByName, s.prsByBookmark, s.workingCopyDiff,
                        s.trunkCommitID, s.apexChangeID, s.routingRules, s.conflictedFiles,
                        s.upstreamCount, s.trunkBookmarkName, s.lanesByBookmark);
    };
    return members(sent) == members(received);
}

TEST(WireSnapshot, EncodesTheSameTextWhateverTheIndexOrderAndRoundTrips) {
    const std::vector<std::string> order = {"trunk", "feature-tip", "wc", "o", "x"};
    const RepoSnapshot snapshot = sampleSnapshot(order);
    const std::string text = wireText(encodeSnapshot(snapshot));
    EXPECT_EQ(wireText(encodeSnapshot(sampleSnapshot({order.rbegin(), order.rend()}))), text);
    const json encoded = json::parse(text);
    const auto& [name, lane] = *snapshot.lanesByBookmark.begin();
    EXPECT_EQ(encoded["lanesByBookmark"][name]["commits"][0]["commitID"],
              lane.commits[0]->commitID);
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

TEST(WireResults, EveryCaseEncodesWithAnUnlabelledPayloadAndRoundTrips) {
    for (const RepoCommandResult& result :
         oneOfEachCase<RepoCommandResult>(std::type_identity<RepoCommandResult::Value>{})) {
        const json encoded = encodeResult(result);
        SCOPED_TRACE(encoded.begin().key());
        ASSERT_EQ(encoded.size(), 1U);
        EXPECT_EQ(*encoded.begin(), json({{"_0", encoded.begin()->at("_0")}}));
        EXPECT_EQ(encodeResult(decodeResult(encoded)), encoded);
        expectOnlyDecodingErrors(encoded, decodeResult);
    }
    const auto snapshot = sampleOf<SnapshotRef>(0);
    EXPECT_EQ(encodeResult(RepoCommandResult::refreshed(snapshot))["refreshed"]["_0"],
              encodeSnapshot(*snapshot));
}

TEST(WireResults, PlansAndRecordsTravelInTheirStoredForm) {
    // A plan printed by one process is executed by another: its frozen
    // commits keep jj's own keys, absent values are left out, and the start
    // time is seconds since 2001 with its fraction.
    auto record = sampleOf<OperationRecord<FeatureAppendPlan>>(5);
    record.steps->at(0).afterOperationID.reset();
    const json stored = encodeResult(
        RepoCommandResult::FeatureAppendCompleted{record})["featureAppendCompleted"]["_0"];
    EXPECT_EQ(stored["startedAt"], 816955200.123456);
    EXPECT_EQ(stored["schemaVersion"], 1);
    const FeatureInsertionPlan& topology = record.plan.topology;
    EXPECT_EQ(stored["plan"]["topology"]["featureTip"]["change_id"], topology.featureTip.changeID);
    const auto& [commitID, parents] = *topology.expectedParents.begin();
    EXPECT_EQ(stored["plan"]["topology"]["expectedParents"][commitID], json(parents));
    EXPECT_FALSE(stored["steps"][0].contains("afterOperationID"));
    EXPECT_EQ(stored["receipt"]["commandError"], *record.receipt->commandError);

    auto stackPlan = sampleOf<LocalStackUpdatePlan>(6);
    stackPlan.affectedWorkspaces[0].root.reset();
    json command = encodeCommand(RepoCommand::ExecuteLocalStackUpdate{stackPlan});
    json& plan = command["executeLocalStackUpdate"]["plan"];
    EXPECT_EQ(plan["affectedWorkspaces"][0].at("root"), nullptr);
    EXPECT_EQ(plan["oneOffTips"][0]["local_bookmarks"][0]["name"],
              stackPlan.oneOffTips[0].localBookmarks[0].name);
    // A broken plan is a decoding error that names where it broke.
    json broken = encodeCommand(RepoCommand::ExecuteFeatureAppend{record.plan});
    broken["executeFeatureAppend"]["plan"]["topology"]["selected"][0].erase("commit_id");
    EXPECT_THAT(decodingFailure(broken.dump()),
                AllOf(HasSubstr("commit_id"), HasSubstr("selected.Index 0")));
    // Identifiers are UUIDs, refused when malformed and kept in one case.
    plan["id"] = "not a uuid";
    EXPECT_THAT(decodingFailure(command.dump()),
                AllOf(HasSubstr("executeLocalStackUpdate.plan.id"), HasSubstr("invalid UUID")));
    plan["id"] = "3f2504e0-4f89-41d3-9a0c-0305e82c3301";
    EXPECT_EQ(std::get<RepoCommand::ExecuteLocalStackUpdate>(decodeCommand(command).value).plan.id,
              "3F2504E0-4F89-41D3-9A0C-0305E82C3301");
}

}  // namespace
}  // namespace vorda
