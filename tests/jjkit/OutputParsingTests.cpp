#include "jjkit/templates/OutputParsing.h"

#include <gtest/gtest.h>

#include "jjkit/client/JJError.h"
#include "support/LogCapture.h"

namespace vorda {
namespace {

using testing::LogCapture;

std::string opLine(const std::string& id) {
    return R"({"op_id":")" + id + R"(","description":"d","start_time":"t"})";
}

TEST(OutputParsing, NDJSONSkipsEmptyLinesAndKeepsOrder) {
    EXPECT_TRUE(parseNDJSON<JJCommit>("", "log").empty());
    EXPECT_TRUE(parseNDJSON<JJOp>("\n\n", "ops").empty());
    const auto ops = parseNDJSON<JJOp>(opLine("a") + "\n\n" + opLine("b") + "\n", "ops");
    ASSERT_EQ(ops.size(), 2U);
    EXPECT_EQ(ops[0].opID, "a");
    EXPECT_EQ(ops[1].opID, "b");
}

// The parse error that `text` fails with, and what it wrote to the log.
std::pair<JJError::ParseError, std::string> parseFailure(const std::string& text) {
    const LogCapture log;
    try {
        parseNDJSON<JJOp>(text, "ops");
    } catch (const JJError& error) {
        if (const auto* parse = error.as<JJError::ParseError>()) {
            return {*parse, log.text()};
        }
    }
    return {{"no parse error", ""}, log.text()};
}

TEST(OutputParsing, NDJSONFailsWholeAndLogsTheLineCutAfter400Characters) {
    const auto [missing, missingLog] = parseFailure(opLine("a") + "\n" + R"({"op_id":"b"})");
    EXPECT_EQ(JJError(missing).errorDescription(),
              "Parse error (ops): missing key `description` at <root>");
    EXPECT_EQ(missingLog,
              "[Vorda] parse failure (ops) line 1: missing key `description` at <root>\n"
              "  line: {\"op_id\":\"b\"}\n");

    const auto [invalid, invalidLog] = parseFailure(opLine("a") + "\n{\"op_id\":\"\xff\"}");
    EXPECT_EQ(invalid.underlying, "invalid UTF-8 in line 1");
    EXPECT_EQ(invalidLog, "[Vorda] parse failure (ops) line 1: invalid UTF-8\n  line: \n");

    const std::string longLine = "{\"broken\": \"" + std::string(500, 'z');
    EXPECT_TRUE(parseFailure(longLine).second.ends_with("\n  line: " + longLine.substr(0, 400) +
                                                        "…(truncated)\n"));
    // Characters, not bytes: a multi-byte letter is never cut in half.
    const std::string exact(400, 'x');
    EXPECT_EQ(truncatedForLog(exact), exact);
    EXPECT_EQ(truncatedForLog(std::string(399, 'x') + "ää"),
              std::string(399, 'x') + "ä…(truncated)");
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
        ADD_FAILURE() << "a broken line must fail";
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
              "qpvuntsm");
    EXPECT_EQ(parseCreatedChangeID("Created new commit    zzz"), "zzz");
    for (const char* text : {"Created new commit ", "Nothing changed.\n", ""}) {
        EXPECT_EQ(parseCreatedChangeID(text), std::nullopt) << text;
    }
}

}  // namespace
}  // namespace vorda
