#include "jjkit/records/RecordCoding.h"

#include <chrono>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "jjkit/model/ApexParent.h"
#include "jjkit/support/Text.h"

namespace vorda {
namespace {

const char* const commitLine =
    R"({"commit_id":"c0ffee00c0ffee00c0ffee00c0ffee00c0ffee00","change_id":"kkkkllllmmmmnnnnooooppppqqqqrrrr",)"
    R"("parents":["aaaa","bbbb"],"description":"Fix \"quoted\" thing\nbody ä\n",)"
    R"("author":{"name":"Ada","email":"ada@example.org","timestamp":"2026-11-21T09:30:00+01:00"},)"
    R"("committer":{"name":"Bob","email":"bob@example.org","timestamp":"2026-11-21T10:00:00Z"},)"
    R"("conflict":false,"empty":true,"immutable":false,)"
    R"("local_bookmarks":[{"name":"feature","target":["c0ffee00"]}],)"
    R"("remote_bookmarks":[{"name":"feature","remote":"origin","target":[null,"abc"],"tracking_target":[]},)"
    R"({"name":"other","remote":"origin","target":["c0ffee00"]},{"name":"feature","remote":"git","target":["c0ffee00"]},)"
    R"({"name":"gitonly","remote":"git","target":["c0ffee00"]},{"name":"git","remote":"upstream","target":["c0ffee00"]}],)"
    R"("working_copy":true,"changed_files":[{"path":"src/a b.txt","status":"M"}]})";

JJCommit decodeCommit(const std::string& line) {
    const auto json = JsonReader::parse(line);
    return RecordCoding<JJCommit>::decode(JsonReader(json));
}

std::string decodeFailure(const std::string& line) {
    try {
        decodeCommit(line);
    } catch (const DecodingError& error) {
        return error.description();
    }
    return "decoded";
}

TEST(RecordCoding, DecodesACommitWithItsBookmarksAndDerivedMembers) {
    const JJCommit commit = decodeCommit(commitLine);
    EXPECT_EQ(std::tuple(commit.id(), commit.shortChangeID(), commit.shortCommitID(),
                         commit.summary(), commit.empty, commit.workingCopy),
              std::tuple("kkkkllllmmmmnnnnooooppppqqqqrrrr", "kkkkllllmmmm", "c0ffee00c0ff",
                         "Fix \"quoted\" thing", true, true));
    EXPECT_EQ(commit.parents, (std::vector<std::string>{"aaaa", "bbbb"}));
    EXPECT_EQ(commit.changedFiles, (std::vector<ChangedFile>{{"src/a b.txt", "M", {}, {}}}));

    // Null targets are dropped; a present empty tracking target differs from
    // an absent one.
    const std::vector<std::string> own{"c0ffee00"};
    EXPECT_EQ(commit.remoteBookmarks,
              (std::vector<JJCommitRef>{{"feature", "origin", {"abc"}, std::vector<std::string>{}},
                                        {"other", "origin", own, std::nullopt},
                                        {"feature", "git", own, std::nullopt},
                                        {"gitonly", "git", own, std::nullopt},
                                        {"git", "upstream", own, std::nullopt}}));
    EXPECT_EQ(commit.localBookmarks,
              (std::vector<JJCommitRef>{{"feature", std::nullopt, own, std::nullopt}}));
    EXPECT_EQ(commit.remoteBookmarks[0].id(), "featureorigin");

    // A remote shadowed by a local name does not appear twice, the "git"
    // remote never appears, and a bookmark named "git" on a real remote does.
    EXPECT_EQ(commit.bookmarkLabels(),
              (std::vector<std::string>{"feature", "git@upstream", "other@origin"}));
    EXPECT_EQ(commit.bookmarkLabels({"feature"}),
              (std::vector<std::string>{"git@upstream", "other@origin"}));

    const auto authored = commit.author.date();
    ASSERT_TRUE(authored.has_value());
    EXPECT_EQ(*authored, std::chrono::sys_days(std::chrono::year(2026) / 11 / 21) +
                             std::chrono::hours(8) + std::chrono::minutes(30));
}

TEST(RecordCoding, EncodingRoundTripsWithTheSameKeys) {
    const JJCommit commit = decodeCommit(commitLine);
    // Decoding reads jj's own keys, so the encoding must write them.
    EXPECT_EQ(decodeCommit(RecordCoding<JJCommit>::encode(commit).dump()), commit);

    const JJWorkspace workspace{"second", std::nullopt, "abc", "kkk"};
    const auto workspaceJSON = RecordCoding<JJWorkspace>::encode(workspace);
    EXPECT_TRUE(workspaceJSON.at("root").is_null());
    EXPECT_EQ(RecordCoding<JJWorkspace>::decode(JsonReader(workspaceJSON)), workspace);

    const ChangedFile counted{"a", "A", 3, 0};
    EXPECT_EQ(
        RecordCoding<ChangedFile>::decode(JsonReader(RecordCoding<ChangedFile>::encode(counted))),
        counted);
}

TEST(RecordCoding, FailuresNameTheKeyTypeAndPath) {
    const auto with = [](const std::string& pointer, const nlohmann::json& value) {
        auto json = nlohmann::json::parse(commitLine);
        json[nlohmann::json::json_pointer(pointer)] = value;
        return json.dump();
    };
    auto withoutChangedFiles = nlohmann::json::parse(commitLine);
    withoutChangedFiles.erase("changed_files");
    auto withoutImmutable = nlohmann::json::parse(commitLine);
    withoutImmutable.erase("immutable");
    // Each line: the input and the start of its description.
    const std::pair<std::string, std::string> cases[] = {
        {withoutChangedFiles.dump(), "missing key `changed_files` at <root>"},
        {withoutImmutable.dump(), "missing key `immutable` at <root>"},
        {with("/author", {{"name", "x"}, {"email", "y"}}), "missing key `timestamp` at author"},
        {with("/empty", nullptr), "value missing (expected Bool) at empty"},
        {with("/parents/1", 7),
         "type mismatch (expected String) at parents.Index 1: Expected to decode String but found "
         "a number instead."},
        {with("/local_bookmarks/0/name", true),
         "type mismatch (expected String) at local_bookmarks.Index 0.name"},
        {"{\"commit_id\": ", "data corrupted at <root>: The given data was not valid JSON."},
        {"[1]", "type mismatch (expected Dictionary<String, An"},
    };
    for (const auto& [line, description] : cases) {
        EXPECT_TRUE(text::startsWith(decodeFailure(line), description)) << decodeFailure(line);
    }
    const auto op = RecordCoding<JJOp>::decode(JsonReader(nlohmann::json::parse(
        R"({"op_id":"0123456789abcdef","description":"snapshot","start_time":"2026-11-21T09:00:00Z"})")));
    EXPECT_EQ(op.shortOpID(), "0123456789ab");
    EXPECT_EQ(op.id(), "0123456789abcdef");
}

TEST(ApexParentJSON, EveryCaseRoundTripsAndOtherShapesAreRefused) {
    for (const auto& parent : {ApexParent::bookmark("feature \"x\""), ApexParent::changeID("kkk"),
                               ApexParent::commitID("abc"), ApexParent::trunk()}) {
        EXPECT_EQ(ApexParent::fromJSON(parent.toJSON()), parent) << parent.toJSON().dump();
    }
    EXPECT_EQ(ApexParent::bookmark("f").toJSON(),
              nlohmann::json::parse(R"({"bookmark":{"_0":"f"}})"));
    EXPECT_EQ(ApexParent::trunk().toJSON(), nlohmann::json::parse(R"({"trunk":{}})"));
    for (const auto* text : {R"({})", R"({"trunk":{},"bookmark":{"_0":"f"}})", R"([])",
                             R"({"bookmark":{}})", R"({"elsewhere":{}})"}) {
        EXPECT_THROW(ApexParent::fromJSON(nlohmann::json::parse(text)), DecodingError) << text;
    }
}

}  // namespace
}  // namespace vorda
