#include "jjkit/templates/OutputParsing.h"

#include <tuple>

#include <gtest/gtest.h>

#include "jjkit/client/JJError.h"
#include "jjkit/client/JJVersion.h"
#include "jjkit/records/RecordCoding.h"
#include "jjkit/templates/RevsetQuoting.h"
#include "support/LogCapture.h"
#include "support/RewriteTestData.h"

namespace vorda {
namespace {

using testing::commitNode;
using testing::LogCapture;
using Texts = std::vector<std::string>;
using Failure = std::pair<std::string, std::string>;

std::string opLine(const std::string& id) {
    return R"({"op_id":")" + id + R"(","description":"d","start_time":"t"})";
}

// The parse error that `parse` fails with, as "CONTEXT: UNDERLYING", and what it logged.
template <typename Parse>
Failure parseFailure(Parse&& parse) {
    const LogCapture log;
    try {
        parse();
    } catch (const JJError& error) {
        if (const auto* failure = error.as<JJError::ParseError>()) {
            return {failure->context + ": " + failure->underlying, log.text()};
        }
    }
    return {"no parse error", log.text()};
}

Failure opsFailure(const std::string& text) {
    return parseFailure([&] { parseNDJSON<JJOp>(text, "ops"); });
}

TEST(OutputParsing, NDJSONSkipsEmptyLinesAndKeepsOrder) {
    EXPECT_TRUE(parseNDJSON<JJCommit>("", "log").empty());
    EXPECT_EQ(parseNDJSON<JJOp>("\n" + opLine("a") + "\n\n" + opLine("b") + "\n", "ops"),
              (std::vector<JJOp>{{"a", "d", "t"}, {"b", "d", "t"}}));
}

TEST(OutputParsing, NDJSONFailsWholeAndLogsTheLineCutAfter400Characters) {
    EXPECT_EQ(opsFailure(opLine("a") + "\n" + R"({"op_id":"b"})"),
              Failure("ops: missing key `description` at <root>",
                      "[Vorda] parse failure (ops) line 1: missing key `description` at <root>\n"
                      "  line: {\"op_id\":\"b\"}\n"));
    EXPECT_EQ(opsFailure(opLine("a") + "\n{\"op_id\":\"\xff\"}"),
              Failure("ops: invalid UTF-8 in line 1",
                      "[Vorda] parse failure (ops) line 1: invalid UTF-8\n  line: \n"));
    const std::string longLine = "{\"broken\": \"" + std::string(500, 'z');
    EXPECT_TRUE(opsFailure(longLine).second.ends_with("\n  line: " + longLine.substr(0, 400) +
                                                      "…(truncated)\n"));
    // Characters, not bytes: a multi-byte letter is never cut in half.
    EXPECT_EQ(truncatedForLog(std::string(400, 'x')), std::string(400, 'x'));
    EXPECT_EQ(truncatedForLog(std::string(399, 'x') + "ää"),
              std::string(399, 'x') + "ä…(truncated)");
}

// Every commit line decodes to what the general decoder alone makes of it,
// or fails with its error, whether the quick path takes the line or not and
// whether the text arrives whole or byte by byte.
TEST(OutputParsing, CommitLinesDecodeAsTheGeneralDecoderSaysWholeOrInPieces) {
    const std::string head =
        R"({"commit_id":"c1","change_id":"k1","parents":["p1","p2"],)"
        R"("description":"a\nb \u00e9 \ud83d\ude00 \/ é","author":{"name":"A","email":"a@x",)"
        R"("timestamp":"t"},"committer":{"timestamp":"u","name":"B","email":"b@x"},)"
        R"("conflict":false,"empty":true,"immutable":false,)"
        R"("local_bookmarks":[{"name":"b","target":[null,"c1"]}],"remote_bookmarks":[)"
        R"({"name":"b","remote":"origin","target":["c1"],"tracking_target":["c1"]},)"
        R"({"name":"g","remote":null,"target":null,"tracking_target":null}],"working_copy":true)";
    const std::string files = R"(,"changed_files":[{"path":"f","status":"M"}])";
    const std::string facts = R"(,"mine":true,"behind_trunk":false)";
    const auto decodeGenerally = [](const std::string& line) -> std::string {
        try {
            const auto json = JsonReader::parse(line);
            const auto logged = RecordCoding<LoggedCommit>::decode(JsonReader(json));
            return RecordCoding<JJCommit>::encode(logged.commit).dump() +
                   (logged.mine ? " mine" : "") + (logged.behindTrunk ? " behind" : "");
        } catch (const DecodingError& error) {
            return error.description();
        }
    };
    const auto decodeQuickly = [](const std::string& line, bool inPieces) -> std::string {
        try {
            NDJSONDecoder<LoggedCommit> decoder("log");
            for (std::size_t at = 0; at < line.size(); at += inPieces ? 1 : line.size()) {
                decoder.feed(std::string_view(line).substr(at, inPieces ? 1 : line.size()));
            }
            const auto logged = decoder.finish().at(0);
            return RecordCoding<JJCommit>::encode(logged.commit).dump() +
                   (logged.mine ? " mine" : "") + (logged.behindTrunk ? " behind" : "");
        } catch (const JJError& error) {
            return error.as<JJError::ParseError>()->underlying;
        }
    };
    const std::vector<std::string> lines{
        head + files + facts + "}",
        head + files + facts + R"(,"unknown":[1,{"x":2}]})",
        head + R"(,"changed_files":[{"path":"f","status":"M","lines_added":3}])" + facts + "}",
        head + files + facts + R"(,"empty":false})",
        head + facts + "}",
        head + files + R"(,"mine":true})",
        head + files + facts + "} x",
        R"({"commit_id":"\ud83d")" + head.substr(17) + files + facts + "}",
        R"({"commit_id":"c1","change_id":"k1","parents":[null])" + head.substr(56) + files + facts +
            "}",
    };
    for (const auto& line : lines) {
        SCOPED_TRACE(line);
        const LogCapture quiet;
        EXPECT_EQ(decodeQuickly(line, false), decodeGenerally(line));
        EXPECT_EQ(decodeQuickly(line, true), decodeGenerally(line));
    }
    EXPECT_EQ(parseNDJSON<JJCommit>(head + files + "}\n\n" + head + files + "}", "log").size(), 2U);
}

TEST(OutputParsing, WorkspaceListRepairsUnreadableRootsAndFailsOnABrokenLineSilently) {
    EXPECT_TRUE(parseWorkspaceList("").empty());
    const auto workspaces = parseWorkspaceList(
        R"({"name":"default","root":"/r","commit_id":"c1","change_id":"k1"})"
        "\n"
        R"({"name":"gone","root":<Error: No such file or directory (os error 2)>,"commit_id":"c2","change_id":"k2"})"
        "\n");
    EXPECT_EQ(workspaces, (std::vector<JJWorkspace>{{"default", "/r", "c1", "k1"},
                                                    {"gone", std::nullopt, "c2", "k2"}}));
    EXPECT_EQ(
        parseFailure([] { parseWorkspaceList(R"({"name":"w","root":"/r"})"); }),
        Failure(R"(workspaces line={"name":"w","root":"/r"}: missing key `commit_id` at <root>)",
                ""));
}

TEST(OutputParsing, CreatedChangeIDComesFromTheFirstMatchingLine) {
    EXPECT_EQ(parseCreatedChangeID("Working copy now at: x\n  Created new commit qpvuntsm 12345678 "
                                   "(empty) x\nCreated new commit other"),
              "qpvuntsm");
    EXPECT_EQ(parseCreatedChangeID("Created new commit    zzz"), "zzz");
    for (const char* text : {"Created new commit ", "Nothing changed.\n", ""}) {
        EXPECT_EQ(parseCreatedChangeID(text), std::nullopt) << text;
    }
}

TEST(RevsetQuoting, EscapesBackslashesThenQuotesInRevsetsFilesetsAndPatterns) {
    EXPECT_EQ((Texts{revsetQuoted(R"(a"b\c)"), revsetQuoted(""), bookmarkSetRevset(R"(a"b\c)"),
                     bookmarkTipRevset("feat/ä x"), descriptionSubstringRevset("wip: \"x\""),
                     exactNamePattern(R"(feat*\"x)")}),
              (Texts{R"("a\"b\\c")", R"("")", R"(bookmarks(exact:"a\"b\\c"))",
                     R"(latest(bookmarks(exact:"feat/ä x")))",
                     R"(description(substring:"wip: \"x\""))", R"(exact:"feat*\\\"x")"}));
    EXPECT_EQ(
        rootFilesets({R"(a"b\c)", "plain", "dir/ä b", R"(end\)"}),
        (Texts{R"(root:"a\"b\\c")", R"(root:"plain")", R"(root:"dir/ä b")", R"(root:"end\\")"}));
    EXPECT_TRUE(rootFilesets({}).empty());
}

TEST(RevsetQuoting, MissingParentsAreSortedAndDeduplicated) {
    EXPECT_FALSE(missingParentRevset({}).has_value());
    EXPECT_FALSE(missingParentRevset({commitNode("a", {"b"}), commitNode("b", {})}).has_value());
    EXPECT_EQ(missingParentRevset({commitNode("a", {"z", "b"}), commitNode("b", {"m"}),
                                   commitNode("c", {"m", "z"})}),
              std::optional<std::string>(R"(commit_id("m") | commit_id("z"))"));
}

TEST(JJVersion, ParsesTheLeadingNumbersAndKeepsTheRawText) {
    using Parsed = std::tuple<int, int, int, std::string, bool>;
    // A patch that is not a clean integer ("1-dev", "0-abc") counts as 0.
    const std::vector<std::pair<const char*, Parsed>> cases{
        {"0.39.0", {0, 39, 0, "0.39.0", true}},
        {"  jj 0.39.0\n", {0, 39, 0, "0.39.0", true}},
        {"jj 0.39.1-dev", {0, 39, 0, "0.39.1-dev", true}},
        {"0.39.0-abc", {0, 39, 0, "0.39.0-abc", true}},
        {"jj 0.46.2.7", {0, 46, 2, "0.46.2.7", true}},
        {"1.0", {1, 0, 0, "1.0", true}},
        {"0.38.9", {0, 38, 9, "0.38.9", false}}};
    for (const auto& [text, expected] : cases) {
        const auto version = JJVersion::parsing(text);
        ASSERT_TRUE(version.has_value()) << text;
        EXPECT_EQ((Parsed{version->major, version->minor, version->patch, version->description(),
                          version->isSupported()}),
                  expected)
            << text;
    }
    EXPECT_EQ(*JJVersion::parsing("0.39.0-abc"), JJVersion::minimumSupported());
    EXPECT_GT(*JJVersion::parsing("0.40.0"), *JJVersion::parsing("0.39.99"));
    EXPECT_GT(*JJVersion::parsing("0.39.2"), *JJVersion::parsing("0.39.1"));
    for (const char* text : {"jj", "", "0", "jj 1", "x.1.2", "1.y", "1..", "jj version"}) {
        EXPECT_FALSE(JJVersion::parsing(text).has_value()) << text;
    }
}

TEST(JJError, DescriptionsAreExact) {
    // A failed command is worded where it is thrown.
    EXPECT_EQ((Texts{JJError::unsafeOperation("Refused.").errorDescription(),
                     JJError(JJError::IncompatibleVersion{"0.38.9", "0.39.0"}).errorDescription(),
                     JJError(JJError::ParseError{"ops", "missing key"}).errorDescription(),
                     JJError(JJError::JJNotFound{}).what()}),
              (Texts{"Refused.", "jj 0.38.9 too old, need 0.39.0+",
                     "Parse error (ops): missing key", "jj not found in PATH"}));
}

}  // namespace
}  // namespace vorda
