#include "jjkit/trace/Perf.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
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

// The lines of captured log text, without their line ends.
std::vector<std::string> linesOf(const std::string& all) {
    std::vector<std::string> result;
    std::size_t start = 0;
    while (start < all.size()) {
        auto end = all.find('\n', start);
        if (end == std::string::npos) {
            end = all.size();
        }
        result.push_back(all.substr(start, end - start));
        start = end + 1;
    }
    return result;
}

using testing::ManualScheduler;

constexpr std::uint64_t ms = 1'000'000;

PerfEvent event(std::uint64_t id, std::optional<std::uint64_t> parent, std::string label,
                PerfCategory category, std::uint64_t startNs, std::uint64_t endNs) {
    return PerfEvent{id, parent, std::move(label), category, startNs, endNs};
}

// Number of spaces between "[perf]" and the rest of a report line.
std::size_t indentOf(const std::string& line) {
    const std::string prefix = "[perf]";
    if (line.rfind(prefix, 0) != 0) {
        return std::string::npos;
    }
    std::size_t index = prefix.size();
    while (index < line.size() && line[index] == ' ') {
        ++index;
    }
    return index - prefix.size();
}

// The only line below a report's head line (indented, so never a slow-event
// line) that contains `needle`; fails the test when there is not exactly one.
std::string lineContaining(const std::vector<std::string>& lines, std::string_view needle) {
    std::vector<std::string> matches;
    for (const auto& line : lines) {
        if (line.rfind("[perf]  ", 0) == 0 && line.find(needle) != std::string::npos) {
            matches.push_back(line);
        }
    }
    EXPECT_EQ(matches.size(), 1U) << "lines containing \"" << needle << "\"";
    return matches.empty() ? std::string() : matches.front();
}

// The only head line of the report for `label`.
std::string headLine(const std::vector<std::string>& lines, const std::string& label) {
    std::vector<std::string> matches;
    for (const auto& line : lines) {
        if (line.rfind("[perf] " + label + " — ", 0) == 0) {
            matches.push_back(line);
        }
    }
    EXPECT_EQ(matches.size(), 1U) << "report heads for \"" << label << "\"";
    return matches.empty() ? std::string() : matches.front();
}

bool startsWith(const std::string& text, std::string_view prefix) {
    return text.rfind(prefix, 0) == 0;
}

bool endsWith(const std::string& text, std::string_view suffix) {
    return text.size() >= suffix.size() &&
           text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

TEST(PerfSettings, OnlyExactlyZeroTurnsTracingOff) {
    EXPECT_FALSE(trace::parseEnabled("0"));
    EXPECT_TRUE(trace::parseEnabled(nullptr));
    EXPECT_TRUE(trace::parseEnabled(""));
    EXPECT_TRUE(trace::parseEnabled("1"));
    EXPECT_TRUE(trace::parseEnabled("00"));
    EXPECT_TRUE(trace::parseEnabled("0 "));
    EXPECT_TRUE(trace::parseEnabled("false"));
    EXPECT_TRUE(trace::parseEnabled("off"));
}

TEST(PerfSettings, ThresholdIsAWholeNonNegativeFiniteNumber) {
    EXPECT_EQ(trace::parseThresholdMs("12.5"), std::optional<double>(12.5));
    EXPECT_EQ(trace::parseThresholdMs("50"), std::optional<double>(50.0));
    EXPECT_EQ(trace::parseThresholdMs("0"), std::optional<double>(0.0));

    EXPECT_FALSE(trace::parseThresholdMs(nullptr).has_value());
    EXPECT_FALSE(trace::parseThresholdMs("").has_value());
    EXPECT_FALSE(trace::parseThresholdMs("abc").has_value());
    EXPECT_FALSE(trace::parseThresholdMs("12abc").has_value());
    EXPECT_FALSE(trace::parseThresholdMs("12 ").has_value());
    EXPECT_FALSE(trace::parseThresholdMs("-1").has_value());
    EXPECT_FALSE(trace::parseThresholdMs("-0.5").has_value());
    EXPECT_FALSE(trace::parseThresholdMs("inf").has_value());
    EXPECT_FALSE(trace::parseThresholdMs("infinity").has_value());
    EXPECT_FALSE(trace::parseThresholdMs("nan").has_value());
    EXPECT_FALSE(trace::parseThresholdMs("1e999").has_value());
}

TEST(PerfSettings, ThresholdRejectsTextThatIsNotPlainDecimal) {
    // Hexadecimal is not a decimal number of milliseconds, and surrounding
    // blanks make the text more than a number.
    EXPECT_FALSE(trace::parseThresholdMs("0x10").has_value());
    EXPECT_FALSE(trace::parseThresholdMs(" 12").has_value());
}

TEST(PerfReportFormat, DurationHasOneDecimalBelowTenMilliseconds) {
    EXPECT_EQ(trace::formatDuration(0), "0.0ms");
    EXPECT_EQ(trace::formatDuration(1'234'567), "1.2ms");
    EXPECT_EQ(trace::formatDuration(9'900'000), "9.9ms");
    EXPECT_EQ(trace::formatDuration(10 * ms), "10ms");
    EXPECT_EQ(trace::formatDuration(12'400'000), "12ms");
    EXPECT_EQ(trace::formatDuration(123'700'000), "124ms");
    EXPECT_EQ(trace::formatDuration(2'000 * ms), "2000ms");
}

TEST(PerfReportFormat, ActionReportIndentsByDepthAndRollsUpSubprocesses) {
    const std::uint64_t action = 100;
    const std::uint64_t start = 1'000 * ms;
    // Listed out of order on purpose: the report orders by start.
    const std::vector<PerfEvent> events{
        event(4, 3, "decode", PerfCategory::vm, start + 5 * ms, start + 7 * ms),
        event(1, action, "load state", PerfCategory::snapshot, start, start + 60 * ms),
        event(3, 1, "repo | log", PerfCategory::subprocess, start + 2 * ms, start + 42 * ms),
        event(5, 1, "repo | status", PerfCategory::subprocess, start + 45 * ms, start + 55 * ms),
        event(6, action, "repo | log", PerfCategory::subprocess, start + 70 * ms, start + 80 * ms),
    };
    const auto lines =
        trace::formatActionReport(action, "open repo", start, start + 120 * ms, events, "3 lanes");

    const std::vector<std::string> expected{
        "[perf] open repo — total 120ms · subprocesses: 3× totaling 60ms · 3 lanes",
        "[perf]   +0.0ms 60ms load state",
        "[perf]     +2.0ms 40ms ⚙ repo | log",
        "[perf]       +5.0ms 2.0ms decode",
        "[perf]     +45ms 10ms ⚙ repo | status",
        "[perf]   +70ms 10ms ⚙ repo | log",
        "[perf]   subprocess rollup:",
        "[perf]     2× repo | log",
        "[perf]     1× repo | status",
    };
    EXPECT_EQ(lines, expected);
}

TEST(PerfReportFormat, ActionReportWithoutSubprocessesOrNote) {
    const std::uint64_t start = 50 * ms;
    const std::vector<PerfEvent> events{
        event(2, 1, "render", PerfCategory::webview, start + 1 * ms, start + 4 * ms),
    };

    const auto withoutNote =
        trace::formatActionReport(1, "select", start, start + 5 * ms, events, "");
    const std::vector<std::string> expectedWithout{
        "[perf] select — total 5.0ms",
        "[perf]   +1.0ms 3.0ms render",
    };
    EXPECT_EQ(withoutNote, expectedWithout);

    const auto withNote =
        trace::formatActionReport(1, "select", start, start + 5 * ms, events, "cached");
    ASSERT_FALSE(withNote.empty());
    EXPECT_EQ(withNote.front(), "[perf] select — total 5.0ms · cached");
    EXPECT_EQ(withNote.size(), 2U);

    // No events at all: only the head line.
    const auto empty = trace::formatActionReport(1, "idle", start, start + 20 * ms, {}, "");
    EXPECT_EQ(empty, std::vector<std::string>{"[perf] idle — total 20ms"});
}

TEST(PerfReportFormat, ParentCyclesAndUnknownParentsDoNotHang) {
    const std::uint64_t start = 0;
    const std::vector<PerfEvent> events{
        // 2 and 3 name each other; 4 sits below the cycle; 5 names itself.
        event(2, 3, "a", PerfCategory::session, start + 1 * ms, start + 2 * ms),
        event(3, 2, "b", PerfCategory::session, start + 2 * ms, start + 3 * ms),
        event(4, 3, "c", PerfCategory::session, start + 3 * ms, start + 4 * ms),
        event(5, 5, "self", PerfCategory::session, start + 4 * ms, start + 5 * ms),
        // A parent that is not among the events, and no parent at all.
        event(6, 999, "orphan", PerfCategory::session, start + 5 * ms, start + 6 * ms),
        event(7, std::nullopt, "loose", PerfCategory::session, start + 6 * ms, start + 7 * ms),
    };
    const auto lines = trace::formatActionReport(1, "loop", start, start + 10 * ms, events, "");
    ASSERT_EQ(lines.size(), 7U);
    EXPECT_EQ(lines[0], "[perf] loop — total 10ms");
    for (std::size_t index = 1; index < lines.size(); ++index) {
        EXPECT_TRUE(startsWith(lines[index], "[perf]   ")) << lines[index];
    }
    EXPECT_EQ(lines[5], "[perf]   +5.0ms 1.0ms orphan");
    EXPECT_EQ(lines[6], "[perf]   +6.0ms 1.0ms loose");
}

TEST(PerfReportFormat, EventStartingBeforeTheActionShowsZeroOffset) {
    const std::uint64_t start = 100 * ms;
    const std::vector<PerfEvent> events{
        event(2, 1, "early", PerfCategory::store, start - 3 * ms, start + 1 * ms),
    };
    const auto lines = trace::formatActionReport(1, "act", start, start + 2 * ms, events, "");
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[1], "[perf]   +0.0ms 4.0ms early");
}

TEST(PerfReportFormat, SlowEventLineNamesTheCategory) {
    EXPECT_EQ(trace::formatSlowEvent(
                  event(1, std::nullopt, "repo | log", PerfCategory::subprocess, 0, 75 * ms)),
              "[perf] 75ms subprocess: repo | log");
    EXPECT_EQ(trace::formatSlowEvent(event(1, 2, "decode", PerfCategory::vm, ms, 3 * ms)),
              "[perf] 2.0ms vm: decode");
    EXPECT_EQ(perfCategoryName(PerfCategory::session), "session");
    EXPECT_EQ(perfCategoryName(PerfCategory::snapshot), "snapshot");
    EXPECT_EQ(perfCategoryName(PerfCategory::webview), "webview");
    EXPECT_EQ(perfCategoryName(PerfCategory::store), "store");
}

TEST(PerfReportFormat, GlobalSummaryLargestTotalFirstTiesByKey) {
    const std::map<std::string, trace::AggregateEntry> aggregate{
        {"vm|small", {4, 2 * ms}},
        {"subprocess|repo | log", {3, 300 * ms}},
        {"snapshot|b", {1, 20 * ms}},
        {"snapshot|a", {2, 20 * ms}},
    };
    const std::vector<std::string> expected{
        "[perf] ═══ global summary (whole process) ═══",
        "[perf]   300ms 3× subprocess|repo | log",
        "[perf]   20ms 2× snapshot|a",
        "[perf]   20ms 1× snapshot|b",
        "[perf]   2.0ms 4× vm|small",
    };
    EXPECT_EQ(trace::formatGlobalSummary(aggregate), expected);
    EXPECT_EQ(trace::formatGlobalSummary({}),
              std::vector<std::string>{"[perf] ═══ global summary (whole process) ═══"});
}

TEST(PerfLive, ActionReportNestsSpansAndCountsSubprocesses) {
    if (!Perf::isEnabled()) {
        GTEST_SKIP() << "tracing is off (VORDA_PERF=0)";
    }
    const std::uint64_t subprocessesBefore = Perf::subprocessCount();
    const auto aggregateBefore = Perf::aggregateSnapshot();
    LogCapture log;

    int innerRuns = 0;
    const std::uint64_t action = Perf::beginAction("live open repo");
    ASSERT_NE(action, 0U);
    const int result = Perf::measure("live outer span", PerfCategory::snapshot, [&] {
        Perf::measure([] { return std::string("live inner ") + "span"; }, PerfCategory::vm,
                      [&] {
                          ++innerRuns;
                          const std::uint64_t begin = Perf::nowNs();
                          Perf::recordSubprocess("live repo | log", begin, begin + 1000);
                      });
        return 7;
    });
    EXPECT_EQ(result, 7);
    EXPECT_EQ(innerRuns, 1);
    // Nothing is reported before the action ends.
    EXPECT_EQ(log.text().find("live open repo"), std::string::npos);
    Perf::endAction(action, "live note");

    const auto lines = linesOf(log.text());
    const std::string head = headLine(lines, "live open repo");
    EXPECT_TRUE(startsWith(head, "[perf] live open repo — total ")) << head;
    EXPECT_NE(head.find(" · subprocesses: 1× totaling "), std::string::npos) << head;
    EXPECT_TRUE(endsWith(head, " · live note")) << head;

    const std::string outer = lineContaining(lines, "live outer span");
    const std::string inner = lineContaining(lines, "live inner span");
    const std::string subprocess = lineContaining(lines, "⚙ live repo | log");
    EXPECT_EQ(indentOf(outer), 3U) << outer;
    EXPECT_GT(indentOf(inner), indentOf(outer)) << inner;
    EXPECT_GT(indentOf(subprocess), indentOf(inner)) << subprocess;
    EXPECT_NE(subprocess.find("⚙ live repo | log"), std::string::npos) << subprocess;
    EXPECT_EQ(outer.find("⚙"), std::string::npos);
    EXPECT_EQ(inner.find("⚙"), std::string::npos);
    EXPECT_NE(std::find(lines.begin(), lines.end(), "[perf]   subprocess rollup:"), lines.end());
    EXPECT_NE(std::find(lines.begin(), lines.end(), "[perf]     1× live repo | log"), lines.end());

    // The whole-process counters saw the same events.
    EXPECT_EQ(Perf::subprocessCount(), subprocessesBefore + 1);
    const auto aggregate = Perf::aggregateSnapshot();
    auto countOf = [](const std::map<std::string, Perf::Aggregate>& map, const std::string& key) {
        const auto found = map.find(key);
        return found == map.end() ? std::uint64_t{0} : found->second.count;
    };
    EXPECT_EQ(countOf(aggregate, "subprocess|live repo | log"),
              countOf(aggregateBefore, "subprocess|live repo | log") + 1);
    EXPECT_EQ(countOf(aggregate, "snapshot|live outer span"),
              countOf(aggregateBefore, "snapshot|live outer span") + 1);
    EXPECT_EQ(countOf(aggregate, "vm|live inner span"),
              countOf(aggregateBefore, "vm|live inner span") + 1);

    // Ending an action twice, or ending the "off" action 0, writes nothing more.
    const std::string before = log.text();
    Perf::endAction(action, "again");
    Perf::endAction(0, "none");
    EXPECT_EQ(log.text(), before);
}

TEST(PerfLive, MeasureRestoresTheContextAndRecordsEvenWhenTheBlockThrows) {
    if (!Perf::isEnabled()) {
        GTEST_SKIP() << "tracing is off (VORDA_PERF=0)";
    }
    LogCapture log;
    EXPECT_FALSE(Perf::currentContext().span.has_value());

    const std::uint64_t action = Perf::beginAction([] { return std::string("live throwing"); });
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

    // Recorded after the span: back at the top level of the action.
    Perf::record("live after throw", PerfCategory::store, Perf::nowNs(), Perf::nowNs());
    Perf::endAction(action);

    const auto lines = linesOf(log.text());
    const std::string head = headLine(lines, "live throwing");
    EXPECT_EQ(head.find("subprocesses"), std::string::npos) << head;
    EXPECT_EQ(head.find(" · "), std::string::npos) << head;
    const std::string failing = lineContaining(lines, "live failing span");
    const std::string inside = lineContaining(lines, "live before throw");
    const std::string after = lineContaining(lines, "live after throw");
    EXPECT_EQ(indentOf(failing), 3U);
    EXPECT_GT(indentOf(inside), indentOf(failing));
    EXPECT_EQ(indentOf(after), indentOf(failing));
}

TEST(PerfLive, ContextCarriedToAnotherThreadNestsItsEvents) {
    if (!Perf::isEnabled()) {
        GTEST_SKIP() << "tracing is off (VORDA_PERF=0)";
    }
    LogCapture log;
    const std::uint64_t action = Perf::beginAction("live handoff");
    Perf::measure("live handing span", PerfCategory::session, [] {
        const Perf::TraceContext context = Perf::currentContext();
        std::thread worker([context] {
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
    Perf::endAction(action);

    const auto lines = linesOf(log.text());
    const std::string span = lineContaining(lines, "live handing span");
    const std::string carried = lineContaining(lines, "live carried");
    const std::string uncarried = lineContaining(lines, "live uncarried");
    EXPECT_GT(indentOf(carried), indentOf(span)) << carried;
    EXPECT_EQ(indentOf(uncarried), indentOf(span)) << uncarried;
}

TEST(PerfLive, ConcurrentThreadsInOneActionAreAllReported) {
    if (!Perf::isEnabled()) {
        GTEST_SKIP() << "tracing is off (VORDA_PERF=0)";
    }
    constexpr int threadCount = 8;
    constexpr int eventsPerThread = 25;
    const std::uint64_t subprocessesBefore = Perf::subprocessCount();
    LogCapture log;

    const std::uint64_t action = Perf::beginAction("live concurrent");
    std::vector<std::thread> threads;
    threads.reserve(threadCount);
    for (int thread = 0; thread < threadCount; ++thread) {
        threads.emplace_back([thread] {
            for (int index = 0; index < eventsPerThread; ++index) {
                const std::string name =
                    "live t" + std::to_string(thread) + " e" + std::to_string(index);
                Perf::measure(name + " span", PerfCategory::vm, [&] {
                    const std::uint64_t begin = Perf::nowNs();
                    Perf::recordSubprocess(name + " proc", begin, begin + 10);
                    Bench::tickBody("live concurrent body");
                });
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    Perf::endAction(action, "joined");

    const auto lines = linesOf(log.text());
    const std::string head = headLine(lines, "live concurrent");
    const std::string total = std::to_string(threadCount * eventsPerThread);
    EXPECT_NE(head.find(" · subprocesses: " + total + "× totaling "), std::string::npos) << head;
    EXPECT_EQ(Perf::subprocessCount(),
              subprocessesBefore + static_cast<std::uint64_t>(threadCount * eventsPerThread));
    for (int thread = 0; thread < threadCount; ++thread) {
        for (int index = 0; index < eventsPerThread; ++index) {
            const std::string name =
                "live t" + std::to_string(thread) + " e" + std::to_string(index);
            const std::string span = lineContaining(lines, name + " span");
            const std::string proc = lineContaining(lines, "⚙ " + name + " proc");
            EXPECT_GT(indentOf(proc), indentOf(span)) << proc;
            // Each event once in the rollup as well.
            EXPECT_NE(std::find(lines.begin(), lines.end(), "[perf]     1× " + name + " proc"),
                      lines.end())
                << name;
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
        EXPECT_EQ(log.text().find("live flushed"), std::string::npos);
        EXPECT_EQ(scheduler.pending(), 1U);

        Bench::tickBody("live body");
        Bench::tickBody("live body");
        scheduler.runRound();
        EXPECT_EQ(log.text().find("live flushed"), std::string::npos);
        EXPECT_EQ(scheduler.pending(), 1U);

        Bench::tickBody("live other body");
        scheduler.runRound();
        EXPECT_EQ(scheduler.pending(), 0U);

        const auto lines = linesOf(log.text());
        const std::string head = headLine(lines, "live flushed");
        EXPECT_TRUE(startsWith(head, "[perf] live flushed — total ")) << head;
        EXPECT_TRUE(endsWith(head, " · bodies=3 · after render")) << head;
        lineContaining(lines, "live flushed work");

        // Without a note the count stands alone.
        const std::uint64_t second = Perf::beginAction("live flushed bare");
        Perf::endActionAfterUIFlush(second);
        scheduler.runRound();
        scheduler.runRound();
        const std::string bare = headLine(linesOf(log.text()), "live flushed bare");
        EXPECT_TRUE(endsWith(bare, " · bodies=0")) << bare;
    }

    // With the scheduler removed, the report is written at once.
    const std::uint64_t action = Perf::beginAction("live unscheduled");
    Bench::tickBody("live body");
    Perf::endActionAfterUIFlush(action, "now");
    const std::string head = headLine(linesOf(log.text()), "live unscheduled");
    EXPECT_TRUE(endsWith(head, " · bodies=0 · now")) << head;

    // afterUIFlush alone runs its work at once without a scheduler.
    bool ran = false;
    Perf::afterUIFlush([&] { ran = true; });
    EXPECT_TRUE(ran);
}

TEST(PerfLive, GlobalSummaryIsWrittenAsOneBlock) {
    if (!Perf::isEnabled()) {
        GTEST_SKIP() << "tracing is off (VORDA_PERF=0)";
    }
    Perf::record("live summarised", PerfCategory::store, 0, 3 * ms);
    LogCapture log;
    Perf::printGlobalSummary();
    const auto lines = linesOf(log.text());
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.front(), "[perf] ═══ global summary (whole process) ═══");
    const std::string entry = lineContaining(lines, "store|live summarised");
    EXPECT_TRUE(startsWith(entry, "[perf]   ")) << entry;
    EXPECT_NE(entry.find("× store|live summarised"), std::string::npos) << entry;
}

}  // namespace
}  // namespace vorda
