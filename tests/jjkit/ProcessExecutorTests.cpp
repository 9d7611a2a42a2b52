#include "jjkit/process/ProcessExecutor.h"

#include <string>
#include <vector>

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

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

TEST(ProcessExecutor, ReturnsBothStreamsAndTheExitStatusAndLogsOnlyTheLabel) {
    LogCapture log;
    const auto result = shell("printf 'out\\n'; printf 'err\\n' >&2; exit 3");
    EXPECT_EQ(result.stdout, "out\n");
    EXPECT_EQ(result.stderr, "err\n");
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_TRUE(contains(log.text(), "[test] START shell\n")) << log.text();
    EXPECT_TRUE(contains(log.text(), "[test] END   shell exit=3 dur=")) << log.text();
    EXPECT_TRUE(contains(log.text(), "ms bytes=4\n")) << log.text();
    EXPECT_FALSE(contains(log.text(), "printf")) << "the command line was logged";
    EXPECT_FALSE(contains(log.text(), "STDERR")) << "stderr logged without a line callback";

    // A killed child reports the signal; a tool that is not there is env's 127.
    EXPECT_EQ(shell("kill -9 $$").exitCode, 128 + 9);
    EXPECT_EQ(
        ProcessExecutor::execute({"vorda-no-such-tool-xyz"}, std::nullopt, "test", "none").exitCode,
        127);
}

TEST(ProcessExecutor, DrainsMoreThanAPipeHoldsOnBothStreams) {
    // 1 MiB on each stream, written before the child exits: a parent that read
    // one stream to the end before the other would deadlock here.
    const auto result =
        shell("head -c 1048576 /dev/zero | tr '\\0' o; head -c 1048576 /dev/zero | tr '\\0' e >&2");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.stdout, std::string(1048576, 'o'));
    EXPECT_EQ(result.stderr, std::string(1048576, 'e'));

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
    const auto result = shell("printf '  \\n\\t\\n  padded\\t \\n' >&2; printf 'a\\rb\\r\\nc' >&2",
                              [&](const std::string& line) { lines.push_back(line); });
    // The last line has no line end and still comes through.
    EXPECT_EQ(lines, (std::vector<std::string>{"padded", "a", "b", "c"}));
    EXPECT_EQ(result.stderr, "  \n\t\n  padded\t \na\rb\r\nc");
    EXPECT_TRUE(contains(log.text(), "[test] STDERR shell | padded\n")) << log.text();
    EXPECT_TRUE(contains(log.text(), "[test] STDERR shell | c\n")) << log.text();
    EXPECT_FALSE(contains(log.text(), "STDERR shell | \n")) << "a blank line was logged";
}

TEST(ProcessExecutor, InvalidUtf8BecomesEmptyTextButIsStillCounted) {
    LogCapture log;
    const auto result = shell("printf 'ok\\377\\376'; printf '\\300\\257' >&2");
    EXPECT_EQ(result.stdout, "");
    EXPECT_EQ(result.stderr, "");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_TRUE(contains(log.text(), "bytes=4\n")) << log.text();
}

TEST(ProcessExecutor, RunsInTheWorkingDirectoryOrFailsToSpawnWithoutAnEndLine) {
    const testing::TempDir folder;
    EXPECT_EQ(ProcessExecutor::execute({"pwd"}, folder.string(), "test", "pwd").stdout,
              folder.string() + "\n");

    LogCapture log;
    EXPECT_THROW(ProcessExecutor::execute({"true"}, "/nonexistent/vorda/folder", "test", "cwd"),
                 SpawnFailure);
    EXPECT_TRUE(contains(log.text(), "[test] SPAWN-FAIL cwd ")) << log.text();
    EXPECT_FALSE(contains(log.text(), "END")) << log.text();
}

TEST(ProcessExecutor, ChildGetsTheRepairedSearchPathAndEverythingElseAsIs) {
    const ScopedEnvironment path("PATH");
    const ScopedEnvironment user("USER");
    user.set("alice");
    path.set("/usr/bin::/custom");
    EXPECT_EQ(
        ProcessExecutor::execute({"printenv", "PATH", "USER"}, std::nullopt, "test", "env").stdout,
        "/usr/bin:/custom:/etc/profiles/per-user/alice/bin:/run/current-system/sw/bin:"
        "/usr/local/bin:/opt/homebrew/bin:/opt/homebrew/sbin:/bin:/usr/sbin:/sbin\nalice\n");
}

TEST(ProcessExecutor, EachRunIsASubprocessEventOfTheActionInForce) {
    if (!Perf::isEnabled()) {
        GTEST_SKIP() << "VORDA_PERF=0";
    }
    LogCapture log;
    const auto before = Perf::subprocessCount();
    const auto action = Perf::beginAction("refresh");
    Perf::measure("load", PerfCategory::snapshot,
                  [] { ProcessExecutor::execute({"true"}, std::nullopt, "test", "repo | probe"); });
    Perf::endAction(action);
    EXPECT_EQ(Perf::subprocessCount(), before + 1);
    // The subprocess nests under the measured block that ran it.
    const std::string text = log.text();
    EXPECT_TRUE(contains(text, "[perf] refresh — total ")) << text;
    EXPECT_TRUE(contains(text, " · subprocesses: 1× totaling ")) << text;
    EXPECT_TRUE(contains(text, " load\n[perf]     +")) << text;
    EXPECT_TRUE(contains(text, "ms ⚙ repo | probe\n")) << text;
}

}  // namespace
}  // namespace vorda
