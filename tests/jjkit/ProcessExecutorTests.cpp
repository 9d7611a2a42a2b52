#include "jjkit/process/ProcessExecutor.h"

#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "jjkit/trace/Perf.h"
#include "support/LogCapture.h"
#include "support/ScopedEnvironment.h"
#include "support/TempDir.h"

namespace vorda {
namespace {

using testing::LogCapture;
using Outcome = std::tuple<std::string, std::string, int>;

ProcessResult run(const std::vector<std::string>& command,
                  const std::optional<std::string>& folder = std::nullopt,
                  const ProcessExecutor::StderrLineHandler& onLine = {}) {
    return ProcessExecutor::execute(command, folder, "test", "shell", onLine);
}

ProcessResult shell(const std::string& script,
                    const ProcessExecutor::StderrLineHandler& onLine = {}) {
    return run({"sh", "-c", script}, std::nullopt, onLine);
}

Outcome outcome(const ProcessResult& result) {
    return {result.stdout, result.stderr, result.exitCode};
}

TEST(ProcessExecutor, ReturnsStreamsAndStatusLogsOnlyTheLabelAndCountsBytesOfInvalidText) {
    const LogCapture log;
    EXPECT_EQ(outcome(shell("printf 'out\\n'; printf 'err\\n' >&2; exit 3")),
              (Outcome{"out\n", "err\n", 3}));
    // Invalid UTF-8 becomes empty text but is still counted.
    EXPECT_EQ(outcome(shell("printf 'ok\\377\\376'; printf '\\300\\257' >&2")),
              (Outcome{"", "", 0}));
    EXPECT_EQ(log.text().substr(0, log.text().find(" dur=")),
              "[test] START shell\n[test] END   shell exit=3");
    EXPECT_TRUE(log.contains("ms bytes=4\n[test] START shell\n")) << log.text();
    EXPECT_TRUE(log.text().ends_with("ms bytes=4\n")) << log.text();
    EXPECT_FALSE(log.contains("printf") || log.contains("STDERR")) << log.text();

    // A killed child reports the signal; a tool that is not there is env's 127.
    EXPECT_EQ(shell("kill -9 $$").exitCode, 128 + 9);
    EXPECT_EQ(run({"vorda-no-such-tool-xyz"}).exitCode, 127);
}

TEST(ProcessExecutor, DrainsMoreThanAPipeHoldsOnBothStreams) {
    // 1 MiB on each stream, written before the child exits: a parent that read
    // one stream to the end before the other would deadlock here.
    EXPECT_EQ(outcome(shell("head -c 1048576 /dev/zero | tr '\\0' o; "
                            "head -c 1048576 /dev/zero | tr '\\0' e >&2")),
              (Outcome{std::string(1048576, 'o'), std::string(1048576, 'e'), 0}));
    std::size_t lines = 0;
    const auto streamed =
        shell("i=0; while [ $i -lt 20000 ]; do echo \"line $i\" >&2; echo x; i=$((i+1)); done",
              [&](const std::string&) { ++lines; });
    EXPECT_EQ(lines, 20000U);
    EXPECT_EQ(streamed.stdout.size(), 40000U);
}

TEST(ProcessExecutor, StreamsTrimmedStderrLinesAndKeepsTheWholeStream) {
    const LogCapture log;
    std::vector<std::string> lines;
    const auto result = shell("printf '  \\n\\t\\n  padded\\t \\n' >&2; printf 'a\\rb\\r\\nc' >&2",
                              [&](const std::string& line) { lines.push_back(line); });
    // The last line has no line end and still comes through; blank lines are not logged.
    EXPECT_EQ(lines, (std::vector<std::string>{"padded", "a", "b", "c"}));
    EXPECT_EQ(result.stderr, "  \n\t\n  padded\t \na\rb\r\nc");
    std::string logged;
    for (std::size_t at = 0; (at = log.text().find("STDERR", at)) != std::string::npos; ++at) {
        logged += log.text().substr(at, log.text().find('\n', at) + 1 - at);
    }
    EXPECT_EQ(logged,
              "STDERR shell | padded\nSTDERR shell | a\nSTDERR shell | b\nSTDERR shell | c\n");
}

TEST(ProcessExecutor, RunsInTheFolderGivenWithTheRepairedSearchPathOrFailsToSpawn) {
    const testing::TempDir folder;
    EXPECT_EQ(run({"pwd"}, folder.string()).stdout, folder.string() + "\n");
    const LogCapture log;
    EXPECT_THROW(run({"true"}, "/nonexistent/vorda/folder"), SpawnFailure);
    EXPECT_TRUE(log.contains("[test] SPAWN-FAIL shell ")) << log.text();
    EXPECT_FALSE(log.contains("END")) << log.text();

    // The child gets the repaired search path and everything else as is.
    const testing::ScopedEnvironment path("PATH");
    const testing::ScopedEnvironment user("USER");
    user.set("alice");
    path.set("/usr/bin::/custom");
    EXPECT_EQ(run({"printenv", "PATH", "USER"}).stdout,
              "/usr/bin:/custom:/etc/profiles/per-user/alice/bin:/run/current-system/sw/bin:"
              "/usr/local/bin:/opt/homebrew/bin:/opt/homebrew/sbin:/bin:/usr/sbin:/sbin\nalice\n");
}

TEST(ProcessExecutor, EachRunIsASubprocessEventOfTheActionInForce) {
    if (!Perf::isEnabled()) {
        GTEST_SKIP() << "VORDA_PERF=0";
    }
    const LogCapture log;
    const auto before = Perf::subprocessCount();
    const auto action = Perf::beginAction("refresh");
    Perf::measure("load", PerfCategory::snapshot,
                  [] { ProcessExecutor::execute({"true"}, std::nullopt, "test", "repo | probe"); });
    Perf::endAction(action);
    EXPECT_EQ(Perf::subprocessCount(), before + 1);
    // The subprocess nests under the measured block that ran it.
    for (const char* part : {"[perf] refresh — total ", " · subprocesses: 1× totaling ",
                             " load\n[perf]     +", "ms ⚙ repo | probe\n"}) {
        EXPECT_TRUE(log.contains(part)) << part << "\n" << log.text();
    }
}

}  // namespace
}  // namespace vorda
