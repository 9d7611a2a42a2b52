#include "jjkit/process/ProcessExecutor.h"

#include <string>

#include <gtest/gtest.h>

#include "jjkit/trace/Perf.h"
#include "support/LogCapture.h"
#include "support/ScopedEnvironment.h"
#include "support/TempDir.h"

namespace vorda {
namespace {

using testing::LogCapture;
using testing::ScopedEnvironment;

ProcessResult shell(const std::string& script,
                    const ProcessExecutor::StderrLineHandler& onLine = {}) {
    return ProcessExecutor::execute({"sh", "-c", script}, std::nullopt, "test", "shell", onLine);
}

TEST(ProcessExecutor, ReturnsBothStreamsAndNonZeroExitAsAResult) {
    LogCapture log;
    const auto result = shell("printf 'out\\n'; printf 'err\\n' >&2; exit 3");
    EXPECT_EQ(result.stdout, "out\n");
    EXPECT_EQ(result.stderr, "err\n");
    EXPECT_EQ(result.exitCode, 3);
    // Exactly one START and one END line; the label, never the command line.
    EXPECT_NE(log.text().find("[test] START shell\n"), std::string::npos);
    EXPECT_NE(log.text().find("[test] END   shell exit=3 dur="), std::string::npos);
    EXPECT_NE(log.text().find("ms bytes=4\n"), std::string::npos);
    EXPECT_EQ(log.text().find("printf"), std::string::npos);
    // Without a line callback nothing about stderr is logged.
    EXPECT_EQ(log.text().find("STDERR"), std::string::npos);
}

TEST(ProcessExecutor, DrainsMoreThanAPipeHoldsOnBothStreams) {
    // 1 MiB on each stream, written before the child exits: a parent that read
    // one stream to the end before the other would deadlock here.
    const auto result =
        shell("head -c 1048576 /dev/zero | tr '\\0' o; head -c 1048576 /dev/zero | tr '\\0' e >&2");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.stdout.size(), 1048576U);
    EXPECT_EQ(result.stderr.size(), 1048576U);
    EXPECT_EQ(result.stdout.find_first_not_of('o'), std::string::npos);

    std::size_t lines = 0;
    const auto streamed =
        shell("i=0; while [ $i -lt 20000 ]; do echo \"line $i\" >&2; echo x; i=$((i+1)); done",
              [&](const std::string&) { ++lines; });
    EXPECT_EQ(lines, 20000U);
    EXPECT_EQ(streamed.stdout.size(), 40000U);
}

TEST(ProcessExecutor, StreamsTrimmedStderrLinesAndKeepsTheWholeStream) {
    LogCapture log;
    std::vector<std::string> lines;
    const auto result = shell("printf 'a\\rb\\r\\nc' >&2; printf '  \\n\\t\\n  padded\\t \\n' >&2",
                              [&](const std::string& line) { lines.push_back(line); });
    EXPECT_EQ(lines, (std::vector<std::string>{"a", "b", "c", "padded"}));
    EXPECT_EQ(result.stderr, "a\rb\r\nc  \n\t\n  padded\t \n");
    EXPECT_NE(log.text().find("[test] STDERR shell | a\n"), std::string::npos);
    EXPECT_NE(log.text().find("[test] STDERR shell | padded\n"), std::string::npos);
    // Blank lines produce neither a callback nor a log line.
    EXPECT_EQ(log.text().find("STDERR shell | \n"), std::string::npos);
}

TEST(ProcessExecutor, StderrWithoutTrailingLineEndStillYieldsItsLastLine) {
    std::vector<std::string> lines;
    shell("printf 'a\\rb\\r\\nc' >&2", [&](const std::string& line) { lines.push_back(line); });
    EXPECT_EQ(lines, (std::vector<std::string>{"a", "b", "c"}));
}

TEST(ProcessExecutor, InvalidUtf8BecomesEmptyTextButIsStillCounted) {
    LogCapture log;
    const auto result = shell("printf 'ok\\377\\376'; printf '\\300\\257' >&2");
    EXPECT_EQ(result.stdout, "");
    EXPECT_EQ(result.stderr, "");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_NE(log.text().find("bytes=4\n"), std::string::npos);
}

TEST(ProcessExecutor, MissingToolIsExit127FromEnvNotASpawnFailure) {
    const auto result =
        ProcessExecutor::execute({"vorda-no-such-tool-xyz"}, std::nullopt, "test", "missing");
    EXPECT_EQ(result.exitCode, 127);
}

TEST(ProcessExecutor, UnusableWorkingDirectoryIsASpawnFailureWithoutEndLine) {
    LogCapture log;
    EXPECT_THROW(ProcessExecutor::execute({"true"}, "/nonexistent/vorda/folder", "test", "cwd"),
                 SpawnFailure);
    EXPECT_NE(log.text().find("[test] SPAWN-FAIL cwd "), std::string::npos);
    EXPECT_EQ(log.text().find("END"), std::string::npos);
}

TEST(ProcessExecutor, RunsInTheGivenWorkingDirectory) {
    const testing::TempDir folder;
    const auto result = ProcessExecutor::execute({"pwd"}, folder.string(), "test", "pwd");
    EXPECT_EQ(result.stdout, folder.string() + "\n");
}

TEST(ProcessExecutor, ChildGetsTheRepairedSearchPath) {
    const ScopedEnvironment savedPath("PATH");
    const ScopedEnvironment savedUser("USER");
    ::setenv("USER", "alice", 1);

    ::unsetenv("PATH");
    const auto unset = ProcessExecutor::execute({"printenv", "PATH"}, std::nullopt, "test", "env");
    EXPECT_EQ(unset.stdout,
              "/etc/profiles/per-user/alice/bin:/run/current-system/sw/bin:/usr/local/bin:"
              "/opt/homebrew/bin:/opt/homebrew/sbin:/usr/bin:/bin:/usr/sbin:/sbin\n");

    ::setenv("PATH", "/usr/bin::/custom", 1);
    const auto custom = ProcessExecutor::execute({"printenv", "PATH"}, std::nullopt, "test", "env");
    EXPECT_EQ(custom.stdout,
              "/usr/bin:/custom:/etc/profiles/per-user/alice/bin:/run/current-system/sw/bin:"
              "/usr/local/bin:/opt/homebrew/bin:/opt/homebrew/sbin:/bin:/usr/sbin:/sbin\n");

    // Every other variable passes through untouched.
    ::setenv("PATH", "/usr/bin:/bin", 1);
    const auto user = ProcessExecutor::execute({"printenv", "USER"}, std::nullopt, "test", "env");
    EXPECT_EQ(user.stdout, "alice\n");
}

TEST(ProcessExecutor, KilledChildReportsTheSignal) {
    const auto result = shell("kill -9 $$");
    EXPECT_EQ(result.exitCode, 128 + 9);
}

}  // namespace
}  // namespace vorda

namespace vorda {
namespace {

TEST(ProcessExecutor, EachRunIsASubprocessEventOfTheActionInForce) {
    if (!Perf::isEnabled()) {
        GTEST_SKIP() << "VORDA_PERF=0";
    }
    testing::LogCapture log;
    const auto before = Perf::subprocessCount();
    const auto action = Perf::beginAction("refresh");
    Perf::measure("load", PerfCategory::snapshot,
                  [] { ProcessExecutor::execute({"true"}, std::nullopt, "test", "repo | probe"); });
    Perf::endAction(action);
    EXPECT_EQ(Perf::subprocessCount(), before + 1);
    const std::string text = log.text();
    EXPECT_NE(text.find("[perf] refresh — total "), std::string::npos);
    EXPECT_NE(text.find(" · subprocesses: 1× totaling "), std::string::npos);
    // The subprocess nests under the measured block that ran it.
    const auto load = text.find(" load\n");
    const auto probe = text.find("⚙ repo | probe\n");
    ASSERT_NE(load, std::string::npos);
    ASSERT_NE(probe, std::string::npos);
    const auto lineStart = [&](std::size_t at) {
        return text.rfind('\n', at) + 1;
    };
    const auto indent = [&](std::size_t start) {
        return text.find('+', start) - start;
    };
    EXPECT_GT(indent(lineStart(probe)), indent(lineStart(load)));
}

}  // namespace
}  // namespace vorda
