#include "jjkit/templates/OutputParsing.h"

#include <gtest/gtest.h>

#include "jjkit/client/JJError.h"
#include "support/LogCapture.h"

namespace vorda {
namespace {

using testing::LogCapture;

const std::string opLine(const std::string& id) {
    return R"({"op_id":")" + id + R"(","description":"d","start_time":"t"})";
}

JJError parseFailure(const std::string& text) {
    try {
        parseNDJSON<JJOp>(text, "ops");
    } catch (const JJError& error) {
        return error;
    }
    return JJError::unsafeOperation("parsed");
}

TEST(OutputParsing, NDJSONSkipsEmptyLinesAndKeepsOrder) {
    EXPECT_TRUE(parseNDJSON<JJCommit>("", "log").empty());
    EXPECT_TRUE(parseNDJSON<JJOp>("\n\n", "ops").empty());
    const auto ops = parseNDJSON<JJOp>(opLine("a") + "\n\n" + opLine("b") + "\n", "ops");
    ASSERT_EQ(ops.size(), 2U);
    EXPECT_EQ(ops[0].opID, "a");
    EXPECT_EQ(ops[1].opID, "b");
}

TEST(OutputParsing, NDJSONFailsWholeAndLogsTheLine) {
    LogCapture log;
    const auto error = parseFailure(opLine("a") + "\n" + R"({"op_id":"b","description":"d"})");
    const auto* parse = error.as<JJError::ParseError>();
    ASSERT_NE(parse, nullptr);
    EXPECT_EQ(parse->context, "ops");
    EXPECT_EQ(parse->underlying, "missing key `start_time` at <root>");
    EXPECT_EQ(error.errorDescription(), "Parse error (ops): missing key `start_time` at <root>");
    EXPECT_EQ(log.text(),
              "[Vorda] parse failure (ops) line 1: missing key `start_time` at <root>\n"
              R"(  line: {"op_id":"b","description":"d"})"
              "\n");
}

TEST(OutputParsing, NDJSONInvalidUtf8LineIsReportedByNumber) {
    LogCapture log;
    const auto error = parseFailure(opLine("a") + "\n{\"op_id\":\"\xff\"}");
    const auto* parse = error.as<JJError::ParseError>();
    ASSERT_NE(parse, nullptr);
    EXPECT_EQ(parse->underlying, "invalid UTF-8 in line 1");
    EXPECT_NE(log.text().find("[Vorda] parse failure (ops) line 1: invalid UTF-8\n"),
              std::string::npos);
}

TEST(OutputParsing, LoggedLinesAreCutAfter400Characters) {
    const std::string exact(400, 'x');
    EXPECT_EQ(truncatedForLog(exact), exact);
    EXPECT_EQ(truncatedForLog(exact + "y"), exact + "…(truncated)");
    // Characters, not bytes: a multi-byte letter is never cut in half.
    const std::string letters = std::string(399, 'x') + "ää";
    EXPECT_EQ(truncatedForLog(letters), std::string(399, 'x') + "ä…(truncated)");

    LogCapture log;
    parseFailure("{\"broken\": \"" + std::string(500, 'z'));
    EXPECT_NE(log.text().find("  line: {\"broken\": \"" + std::string(388, 'z') + "…(truncated)\n"),
              std::string::npos);
}

TEST(OutputParsing, WorkspaceListRepairsUnreadableRoots) {
    EXPECT_TRUE(parseWorkspaceList("").empty());
    const auto workspaces = parseWorkspaceList(
        R"({"name":"default","root":"/r","commit_id":"c1","change_id":"k1"})"
        "\n"
        R"({"name":"gone","root":<Error: No such file or directory (os error 2)>,"commit_id":"c2","change_id":"k2"})"
        "\n");
    ASSERT_EQ(workspaces.size(), 2U);
    EXPECT_EQ(workspaces[0].root, std::optional<std::string>("/r"));
    EXPECT_EQ(workspaces[1].name, "gone");
    EXPECT_FALSE(workspaces[1].root.has_value());
    EXPECT_EQ(workspaces[1].changeID, "k2");

    LogCapture log;
    try {
        parseWorkspaceList(R"({"name":"w","root":"/r"})");
        FAIL() << "a broken line must fail";
    } catch (const JJError& error) {
        const auto* parse = error.as<JJError::ParseError>();
        ASSERT_NE(parse, nullptr);
        EXPECT_EQ(parse->context, R"(workspaces line={"name":"w","root":"/r"})");
        EXPECT_EQ(parse->underlying, "missing key `commit_id` at <root>");
    }
    EXPECT_EQ(log.text(), "");
}

TEST(OutputParsing, CreatedChangeIDComesFromTheFirstMatchingLine) {
    EXPECT_EQ(parseCreatedChangeID("Working copy now at: x\n  Created new commit qpvuntsm 12345678 "
                                   "(empty) x\nCreated new commit other"),
              std::optional<std::string>("qpvuntsm"));
    EXPECT_EQ(parseCreatedChangeID("Created new commit    zzz"), std::optional<std::string>("zzz"));
    EXPECT_FALSE(parseCreatedChangeID("Created new commit ").has_value());
    EXPECT_FALSE(parseCreatedChangeID("Nothing changed.\n").has_value());
    EXPECT_FALSE(parseCreatedChangeID("").has_value());
}

}  // namespace
}  // namespace vorda
