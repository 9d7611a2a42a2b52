#include "jjkit/trace/Perf.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "jjkit/trace/Bench.h"
#include "jjkit/trace/PerfEvent.h"
#include "jjkit/trace/PerfReport.h"
#include "jjkit/trace/TraceSettings.h"
#include "support/LogCapture.h"
#include "support/ManualScheduler.h"

namespace vorda {
namespace {

using testing::LogCapture;
using testing::ManualScheduler;
using Lines = std::vector<std::string>;

constexpr std::uint64_t ms = 1'000'000;

Lines linesOf(const std::string& text) {
    Lines lines;
    for (std::size_t start = 0; start < text.size();) {
        const auto end = std::min(text.find('\n', start), text.size());
        lines.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return lines;
}

bool contains(const Lines& lines, const std::string& line) {
    return std::find(lines.begin(), lines.end(), line) != lines.end();
}

// The one line that starts with `start` and contains `needle`; empty unless
// there is exactly one.
std::string onlyLine(const Lines& lines, std::string_view start, std::string_view needle = "") {
    std::string found;
    int matches = 0;
    for (const auto& line : lines) {
        if (line.starts_with(start) && line.find(needle) != std::string::npos) {
            found = line;
            ++matches;
        }
    }
    return matches == 1 ? found : std::string();
}

// The spaces after "[perf]" on the one report body line (never a slow-event
// line) that contains `needle`; -1 unless there is exactly one.
int indentOf(const Lines& lines, std::string_view needle) {
    const std::string line = onlyLine(lines, "[perf]  ", needle);
    return line.empty() ? -1 : static_cast<int>(line.find_first_not_of(' ', 6) - 6);
}

std::string headLine(const Lines& lines, const std::string& label) {
    return onlyLine(lines, "[perf] " + label + " — total ");
}

PerfEvent event(std::uint64_t id, std::optional<std::uint64_t> parent, std::string label,
                std::uint64_t startMs, std::uint64_t endMs,
                PerfCategory category = PerfCategory::session) {
    return PerfEvent{id, parent, std::move(label), category, startMs * ms, endMs * ms};
}

TEST(PerfSettings, SwitchAndThresholdParse) {
    // Only exactly "0" turns tracing off; absent means on.
    EXPECT_FALSE(trace::parseEnabled("0"));
    for (const char* on :
         {static_cast<const char*>(nullptr), "", "1", "00", "0 ", "false", "off"}) {
        EXPECT_TRUE(trace::parseEnabled(on)) << (on ? on : "(unset)");
    }

    EXPECT_EQ(trace::parseThresholdMs("12.5"), 12.5);
    EXPECT_EQ(trace::parseThresholdMs("50"), 50.0);
    EXPECT_EQ(trace::parseThresholdMs("0"), 0.0);
    // Not a plain, whole, non-negative, finite decimal number.
    for (const char* text : {static_cast<const char*>(nullptr), "", "abc", "12abc", "12 ", " 12",
                             "0x10", "-1", "-0.5", "inf", "infinity", "nan", "1e999"}) {
        EXPECT_EQ(trace::parseThresholdMs(text), std::nullopt) << (text ? text : "(unset)");
    }
}

TEST(PerfReportFormat, DurationsAndSlowEventLines) {
    const std::vector<std::pair<std::uint64_t, std::string>> durations{
        {0, "0.0ms"},         {1'234'567, "1.2ms"},   {9'900'000, "9.9ms"},  {10 * ms, "10ms"},
        {12'400'000, "12ms"}, {123'700'000, "124ms"}, {2'000 * ms, "2000ms"}};
    for (const auto& [nanoseconds, text] : durations) {
        EXPECT_EQ(trace::formatDuration(nanoseconds), text) << nanoseconds;
    }

    const std::vector<std::string> names{"subprocess", "session", "snapshot",
                                         "vm",         "webview", "store"};
    for (std::size_t index = 0; index < names.size(); ++index) {
        const auto category = static_cast<PerfCategory>(index);
        EXPECT_EQ(trace::formatSlowEvent(event(1, 2, "decode", 1, 3, category)),
                  "[perf] 2.0ms " + names[index] + ": decode");
    }
}

TEST(PerfReportFormat, ActionReportIndentsByDepthOrdersByStartAndRollsUpSubprocesses) {
    // The action is 1 and starts at 1000 ms; the events are listed out of order
    // on purpose, and "early" started before the action.
    const std::vector<PerfEvent> events{
        event(4, 3, "decode", 1005, 1007, PerfCategory::vm),
        event(2, 1, "load state", 1000, 1060, PerfCategory::snapshot),
        event(3, 2, "repo | log", 1002, 1042, PerfCategory::subprocess),
        event(5, 2, "repo | status", 1045, 1055, PerfCategory::subprocess),
        event(6, 1, "repo | log", 1070, 1080, PerfCategory::subprocess),
        event(7, 1, "early", 997, 1001)};
    EXPECT_EQ(trace::formatActionReport(1, "open repo", 1000 * ms, 1120 * ms, events, "3 lanes"),
              (Lines{"[perf] open repo — total 120ms · subprocesses: 3× totaling 60ms · 3 lanes",
                     "[perf]   +0.0ms 4.0ms early", "[perf]   +0.0ms 60ms load state",
                     "[perf]     +2.0ms 40ms ⚙ repo | log", "[perf]       +5.0ms 2.0ms decode",
                     "[perf]     +45ms 10ms ⚙ repo | status", "[perf]   +70ms 10ms ⚙ repo | log",
                     "[perf]   subprocess rollup:", "[perf]     2× repo | log",
                     "[perf]     1× repo | status"}));
    // Without subprocesses or a note, the head line says only the total.
    EXPECT_EQ(trace::formatActionReport(1, "select", 50 * ms, 55 * ms,
                                        {event(2, 1, "render", 51, 54, PerfCategory::webview)}, ""),
              (Lines{"[perf] select — total 5.0ms", "[perf]   +1.0ms 3.0ms render"}));
    EXPECT_EQ(trace::formatActionReport(1, "idle", 0, 20 * ms, {}, "cached"),
              Lines{"[perf] idle — total 20ms · cached"});
}

TEST(PerfReportFormat, ParentCyclesAndUnknownParentsDoNotHang) {
    const std::vector<PerfEvent> events{
        // 2 and 3 name each other; 4 sits below the cycle; 5 names itself.
        event(2, 3, "a", 1, 2), event(3, 2, "b", 2, 3), event(4, 3, "c", 3, 4),
        event(5, 5, "self", 4, 5),
        // A parent that is not among the events, and no parent at all.
        event(6, 999, "orphan", 5, 6), event(7, std::nullopt, "loose", 6, 7)};
    const auto lines = trace::formatActionReport(1, "loop", 0, 10 * ms, events, "");
    ASSERT_EQ(lines.size(), 7U);
    EXPECT_EQ(lines[0], "[perf] loop — total 10ms");
    for (std::size_t index = 1; index < 5; ++index) {
        EXPECT_TRUE(lines[index].starts_with("[perf]   ")) << lines[index];
    }
    EXPECT_EQ(lines[5], "[perf]   +5.0ms 1.0ms orphan");
    EXPECT_EQ(lines[6], "[perf]   +6.0ms 1.0ms loose");
}

TEST(PerfReportFormat, GlobalSummaryLargestTotalFirstTiesByKey) {
    const std::string head = "[perf] ═══ global summary (whole process) ═══";
    EXPECT_EQ(trace::formatGlobalSummary({{"vm|small", {4, 2 * ms}},
                                          {"subprocess|repo | log", {3, 300 * ms}},
                                          {"snapshot|b", {1, 20 * ms}},
                                          {"snapshot|a", {2, 20 * ms}}}),
              (Lines{head, "[perf]   300ms 3× subprocess|repo | log", "[perf]   20ms 2× snapshot|a",
                     "[perf]   20ms 1× snapshot|b", "[perf]   2.0ms 4× vm|small"}));
    EXPECT_EQ(trace::formatGlobalSummary({}), Lines{head});
}

std::uint64_t aggregateCount(const std::string& key) {
    const auto aggregate = Perf::aggregateSnapshot();
    const auto found = aggregate.find(key);
    return found == aggregate.end() ? 0 : found->second.count;
}

TEST(PerfLive, ActionReportNestsSpansThrowingBlocksAndCarriedContexts) {
    if (!Perf::isEnabled()) {
        GTEST_SKIP() << "tracing is off (VORDA_PERF=0)";
    }
    const std::uint64_t subprocessesBefore = Perf::subprocessCount();
    const std::map<std::string, std::uint64_t> countsBefore{
        {"subprocess|live repo | log", aggregateCount("subprocess|live repo | log")},
        {"snapshot|live outer span", aggregateCount("snapshot|live outer span")},
        {"vm|live inner span", aggregateCount("vm|live inner span")}};
    LogCapture log;

    const std::uint64_t action = Perf::beginAction([] { return std::string("live open repo"); });
    ASSERT_NE(action, 0U);
    const int result = Perf::measure("live outer span", PerfCategory::snapshot, [] {
        Perf::measure([] { return std::string("live inner ") + "span"; }, PerfCategory::vm,
                      [] {
                          const std::uint64_t begin = Perf::nowNs();
                          Perf::recordSubprocess("live repo | log", begin, begin + 1000);
                      });
        return 7;
    });
    EXPECT_EQ(result, 7);

    // A throwing block still records its span and puts the context back.
    std::optional<std::uint64_t> spanInside;
    EXPECT_THROW(Perf::measure("live failing span", PerfCategory::session,
                               [&] {
                                   spanInside = Perf::currentContext().span;
                                   Perf::record("live before throw", PerfCategory::store,
                                                Perf::nowNs(), Perf::nowNs());
                                   throw std::runtime_error("boom");
                               }),
                 std::runtime_error);
    EXPECT_TRUE(spanInside.has_value());
    EXPECT_FALSE(Perf::currentContext().span.has_value());

    // A context carried to another thread nests that thread's events.
    Perf::measure("live handing span", PerfCategory::session, [] {
        std::thread worker([context = Perf::currentContext()] {
            EXPECT_FALSE(Perf::currentContext().span.has_value());
            {
                const Perf::ScopedContext scoped(context);
                EXPECT_EQ(Perf::currentContext().span, context.span);
                Perf::record("live carried", PerfCategory::store, Perf::nowNs(), Perf::nowNs());
            }
            EXPECT_FALSE(Perf::currentContext().span.has_value());
            Perf::record("live uncarried", PerfCategory::store, Perf::nowNs(), Perf::nowNs());
        });
        worker.join();
    });
    Perf::record("live after throw", PerfCategory::store, Perf::nowNs(), Perf::nowNs());
    EXPECT_EQ(log.text().find("live open repo"), std::string::npos) << "reported before the end";
    Perf::endAction(action, "live note");

    const auto lines = linesOf(log.text());
    const std::string head = headLine(lines, "live open repo");
    EXPECT_NE(head.find(" · subprocesses: 1× totaling "), std::string::npos) << head;
    EXPECT_TRUE(head.ends_with("ms · live note")) << head;
    const std::vector<std::pair<const char*, int>> indents{
        {" live outer span", 3},   {" live inner span", 5},   {" ⚙ live repo | log", 7},
        {" live failing span", 3}, {" live before throw", 5}, {" live handing span", 3},
        {" live carried", 5},      {" live uncarried", 3},    {" live after throw", 3}};
    for (const auto& [needle, indent] : indents) {
        EXPECT_EQ(indentOf(lines, needle), indent) << needle << "\n" << log.text();
    }
    EXPECT_TRUE(contains(lines, "[perf]   subprocess rollup:"));
    EXPECT_TRUE(contains(lines, "[perf]     1× live repo | log"));

    // The whole-process counters saw the same events.
    EXPECT_EQ(Perf::subprocessCount(), subprocessesBefore + 1);
    for (const auto& [key, before] : countsBefore) {
        EXPECT_EQ(aggregateCount(key), before + 1) << key;
    }
    // Ending an action twice, or ending the "off" action 0, writes nothing more.
    const std::string written = log.text();
    Perf::endAction(action, "again");
    Perf::endAction(0, "none");
    EXPECT_EQ(log.text(), written);

    // The global summary is written as one block, headed once.
    const LogCapture summary;
    Perf::printGlobalSummary();
    const auto summaryLines = linesOf(summary.text());
    ASSERT_FALSE(summaryLines.empty());
    EXPECT_EQ(summaryLines.front(), "[perf] ═══ global summary (whole process) ═══");
    EXPECT_EQ(indentOf(summaryLines, "× snapshot|live outer span"), 3) << summary.text();
}

TEST(PerfLive, ConcurrentThreadsInOneActionAreAllReported) {
    if (!Perf::isEnabled()) {
        GTEST_SKIP() << "tracing is off (VORDA_PERF=0)";
    }
    constexpr int threadCount = 8;
    constexpr int eventsPerThread = 25;
    const std::uint64_t subprocessesBefore = Perf::subprocessCount();
    const std::uint64_t bodiesBefore = Bench::bodyCounts()["live concurrent body"];
    const auto nameOf = [](int thread, int index) {
        return "live t" + std::to_string(thread) + " e" + std::to_string(index);
    };
    LogCapture log;

    const std::uint64_t action = Perf::beginAction("live concurrent");
    {
        std::vector<std::jthread> threads;
        threads.reserve(threadCount);
        for (int thread = 0; thread < threadCount; ++thread) {
            threads.emplace_back([thread, &nameOf] {
                for (int index = 0; index < eventsPerThread; ++index) {
                    Perf::measure(nameOf(thread, index) + " span", PerfCategory::vm, [&] {
                        const std::uint64_t begin = Perf::nowNs();
                        Perf::recordSubprocess(nameOf(thread, index) + " proc", begin, begin + 10);
                        Bench::tickBody("live concurrent body");
                    });
                }
            });
        }
    }
    Perf::endAction(action, "joined");

    const auto lines = linesOf(log.text());
    const std::string total = std::to_string(threadCount * eventsPerThread);
    EXPECT_NE(headLine(lines, "live concurrent").find(" · subprocesses: " + total + "× totaling "),
              std::string::npos);
    const auto events = static_cast<std::size_t>(threadCount) * eventsPerThread;
    EXPECT_EQ(Perf::subprocessCount(), subprocessesBefore + events);
    EXPECT_EQ(Bench::bodyCounts()["live concurrent body"], bodiesBefore + events);
    for (int thread = 0; thread < threadCount; ++thread) {
        for (int index = 0; index < eventsPerThread; ++index) {
            const std::string name = nameOf(thread, index);
            EXPECT_EQ(indentOf(lines, " " + name + " span"), 3) << name;
            EXPECT_EQ(indentOf(lines, "⚙ " + name + " proc"), 5) << name;
            EXPECT_TRUE(contains(lines, "[perf]     1× " + name + " proc")) << name;
        }
    }
}

TEST(PerfLive, EndAfterUIFlushWaitsTwoRoundsAndCountsBodies) {
    if (!Perf::isEnabled()) {
        GTEST_SKIP() << "tracing is off (VORDA_PERF=0)";
    }
    LogCapture log;
    {
        ManualScheduler scheduler;
        const std::uint64_t action = Perf::beginAction("live flushed");
        Perf::record("live flushed work", PerfCategory::webview, Perf::nowNs(), Perf::nowNs());
        Bench::tickBody("live body before");  // before the end was asked for: not counted

        Perf::endActionAfterUIFlush(action, "after render");
        Bench::tickBody("live body");
        Bench::tickBody("live body");
        scheduler.runRound();
        EXPECT_EQ(log.text(), "") << "reported after one round";
        EXPECT_EQ(scheduler.pending(), 1U);
        Bench::tickBody("live other body");
        scheduler.runRound();
        EXPECT_EQ(scheduler.pending(), 0U);

        const auto lines = linesOf(log.text());
        EXPECT_TRUE(headLine(lines, "live flushed").ends_with("ms · bodies=3 · after render"))
            << log.text();
        EXPECT_EQ(indentOf(lines, " live flushed work"), 3);
    }

    // With the scheduler removed, the report is written at once; without a
    // note the count stands alone.
    const std::uint64_t action = Perf::beginAction("live unscheduled");
    Bench::tickBody("live body");
    Perf::endActionAfterUIFlush(action);
    EXPECT_TRUE(headLine(linesOf(log.text()), "live unscheduled").ends_with("ms · bodies=0"))
        << log.text();
}

}  // namespace
}  // namespace vorda
