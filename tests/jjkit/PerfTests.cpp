#include "jjkit/trace/Perf.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <optional>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "jjkit/trace/Bench.h"
#include "jjkit/trace/PerfEvent.h"
#include "jjkit/trace/PerfReport.h"
#include "jjkit/trace/TraceSettings.h"
#include "support/LogCapture.h"

namespace vorda {
namespace {

using testing::LogCapture;
using Lines = std::vector<std::string>;

constexpr std::uint64_t ms = 1'000'000;

/// The lines of a log with every time written as "Nms". Slow-event lines are
/// left out: whether they appear depends on the machine and the threshold.
Lines reportLines(const std::string& text) {
    static const std::regex time("[0-9]+(\\.[0-9])?ms");
    static const std::regex slowEvent("\\[perf\\] Nms \\w+: .*");
    Lines lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        line = std::regex_replace(line, time, "Nms");
        if (!std::regex_match(line, slowEvent)) {
            lines.push_back(std::move(line));
        }
    }
    return lines;
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

    EXPECT_EQ((std::vector{trace::parseThresholdMs("12.5"), trace::parseThresholdMs("50"),
                           trace::parseThresholdMs("0")}),
              (std::vector<std::optional<double>>{12.5, 50.0, 0.0}));
    // Not a plain, whole, non-negative, finite decimal number.
    for (const char* text : {static_cast<const char*>(nullptr), "", "abc", "12abc", "12 ", " 12",
                             "0x10", "-1", "-0.5", "inf", "infinity", "nan", "1e999"}) {
        EXPECT_EQ(trace::parseThresholdMs(text), std::nullopt) << (text ? text : "(unset)");
    }
}

TEST(PerfReportFormat, DurationsSlowEventsActionReportsAndGlobalSummaryWhateverTheParents) {
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

    // Largest total first, ties by key.
    const std::string head = "[perf] ═══ global summary (whole process) ═══";
    EXPECT_EQ(trace::formatGlobalSummary({{"vm|small", {4, 2 * ms}},
                                          {"subprocess|repo | log", {3, 300 * ms}},
                                          {"snapshot|b", {1, 20 * ms}},
                                          {"snapshot|a", {2, 20 * ms}}}),
              (Lines{head, "[perf]   300ms 3× subprocess|repo | log", "[perf]   20ms 2× snapshot|a",
                     "[perf]   20ms 1× snapshot|b", "[perf]   2.0ms 4× vm|small"}));
    EXPECT_EQ(trace::formatGlobalSummary({}), Lines{head});

    // Parent cycles and unknown parents do not hang the report.
    const std::vector<PerfEvent> cycles{
        // 2 and 3 name each other; 4 sits below the cycle; 5 names itself.
        event(2, 3, "a", 1, 2), event(3, 2, "b", 2, 3), event(4, 3, "c", 3, 4),
        event(5, 5, "self", 4, 5),
        // A parent that is not among the events, and no parent at all.
        event(6, 999, "orphan", 5, 6), event(7, std::nullopt, "loose", 6, 7)};
    const auto lines = trace::formatActionReport(1, "loop", 0, 10 * ms, cycles, "");
    // Every event is listed once, whatever depth the cycle gives it.
    ASSERT_EQ(lines.size(), 7U);
    EXPECT_EQ(Lines(lines.begin() + 5, lines.end()),
              (Lines{"[perf]   +5.0ms 1.0ms orphan", "[perf]   +6.0ms 1.0ms loose"}));
}

TEST(PerfLive, ActionReportNestsSpansThrowingBlocksCarriedContextsAndConcurrentThreads) {
    if (!Perf::isEnabled()) {
        GTEST_SKIP() << "tracing is off (VORDA_PERF=0)";
    }
    // The whole-process counters this action adds one to.
    const auto counters = [] {
        auto aggregate = Perf::aggregateSnapshot();
        return std::vector<std::uint64_t>{
            Perf::subprocessCount(), aggregate["subprocess|live repo | log"].count,
            aggregate["snapshot|live outer span"].count, aggregate["vm|live inner span"].count};
    };
    auto expectedCounters = counters();
    std::ranges::for_each(expectedCounters, [](auto& count) { ++count; });
    LogCapture log;

    const std::uint64_t action = Perf::beginAction([] { return std::string("live open repo"); });
    ASSERT_NE(action, 0U);
    EXPECT_EQ(Perf::measure("live outer span", PerfCategory::snapshot,
                            [] {
                                Perf::measure([] { return std::string("live inner ") + "span"; },
                                              PerfCategory::vm,
                                              [] {
                                                  const std::uint64_t begin = Perf::nowNs();
                                                  Perf::recordSubprocess("live repo | log", begin,
                                                                         begin + 1000);
                                              });
                                return 7;
                            }),
              7);

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
    EXPECT_EQ(reportLines(log.text()), Lines{}) << "reported before the end";
    Perf::endAction(action, "live note");
    // Ending an action twice, or ending the "off" action 0, writes nothing more.
    Perf::endAction(action, "again");
    Perf::endAction(0, "none");

    EXPECT_EQ(
        reportLines(log.text()),
        (Lines{"[perf] live open repo — total Nms · subprocesses: 1× totaling Nms · live note",
               "[perf]   +Nms Nms live outer span", "[perf]     +Nms Nms live inner span",
               "[perf]       +Nms Nms ⚙ live repo | log", "[perf]   +Nms Nms live failing span",
               "[perf]     +Nms Nms live before throw", "[perf]   +Nms Nms live handing span",
               "[perf]     +Nms Nms live carried", "[perf]   +Nms Nms live uncarried",
               "[perf]   +Nms Nms live after throw",
               "[perf]   subprocess rollup:", "[perf]     1× live repo | log"}));
    EXPECT_EQ(counters(), expectedCounters);

    // The global summary is written as one block, headed once.
    const LogCapture summary;
    Perf::printGlobalSummary();
    EXPECT_EQ(reportLines(summary.text()).at(0), "[perf] ═══ global summary (whole process) ═══");
    EXPECT_TRUE(std::regex_search(
        summary.text(),
        std::regex("\n\\[perf\\]   [0-9.]+ms [0-9]+× snapshot\\|live outer span\n")))
        << summary.text();

    // Concurrent threads in one action are all reported.
    constexpr int threadCount = 8;
    constexpr int eventsPerThread = 25;
    constexpr auto events = static_cast<std::uint64_t>(threadCount) * eventsPerThread;
    const std::uint64_t subprocessesBefore = Perf::subprocessCount();
    const std::uint64_t bodiesBefore = Bench::bodyCounts()["live concurrent body"];
    const auto nameOf = [](int thread, int index) {
        return "live t" + std::to_string(thread) + " e" + std::to_string(index);
    };
    const LogCapture concurrentLog;
    const std::uint64_t concurrent = Perf::beginAction("live concurrent");
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
    Perf::endAction(concurrent, "joined");

    // Threads interleave, so the report is compared as a sorted list.
    Lines expected{"[perf] live concurrent — total Nms · subprocesses: " + std::to_string(events) +
                       "× totaling Nms · joined",
                   "[perf]   subprocess rollup:"};
    for (int thread = 0; thread < threadCount; ++thread) {
        for (int index = 0; index < eventsPerThread; ++index) {
            const std::string name = nameOf(thread, index);
            expected.push_back("[perf]   +Nms Nms " + name + " span");
            expected.push_back("[perf]     +Nms Nms ⚙ " + name + " proc");
            expected.push_back("[perf]     1× " + name + " proc");
        }
    }
    auto lines = reportLines(concurrentLog.text());
    std::ranges::sort(lines);
    std::ranges::sort(expected);
    EXPECT_EQ(lines, expected);
    EXPECT_EQ((std::vector{Perf::subprocessCount() - subprocessesBefore,
                           Bench::bodyCounts()["live concurrent body"] - bodiesBefore}),
              std::vector(2, events));
}

TEST(PerfLive, ActionsAndUIUpdatesEndedAfterTheUIFlushWaitTwoRoundsAndCountBodies) {
    if (!Perf::isEnabled()) {
        GTEST_SKIP() << "tracing is off (VORDA_PERF=0)";
    }
    LogCapture log;
    {
        // A UI flush scheduler whose queued work runs one round at a time.
        std::vector<std::function<void()>> queued;
        Perf::setUIFlushScheduler(
            [&](std::function<void()> work) { queued.push_back(std::move(work)); });
        const auto runRound = [&] {
            for (auto& work : std::exchange(queued, {})) {
                work();
            }
        };
        const std::uint64_t action = Perf::beginAction("live flushed");
        Perf::record("live flushed work", PerfCategory::webview, Perf::nowNs(), Perf::nowNs());
        Bench::tickBody("live body before");  // before the end was asked for: not counted

        Perf::endActionAfterUIFlush(action, "after render");
        bool updated = false;
        Bench::measureUIUpdate("bench select row", [&] {
            updated = true;
            Bench::tickBody("live body");
        });
        EXPECT_TRUE(updated) << "the update itself runs at once";
        Bench::tickBody("live body");
        runRound();
        EXPECT_EQ(log.text(), "") << "reported after one round";
        Bench::tickBody("live other body");
        runRound();
        EXPECT_TRUE(queued.empty());
        Perf::setUIFlushScheduler({});
    }

    // With the scheduler removed, the report is written at once; without a
    // note the count stands alone.
    const std::uint64_t action = Perf::beginAction("live unscheduled");
    Bench::tickBody("live body");
    Perf::endActionAfterUIFlush(action);
    EXPECT_EQ(reportLines(log.text()),
              (Lines{"[perf] live flushed — total Nms · bodies=3 · after render",
                     "[perf]   +Nms Nms live flushed work", "[bench] bench select row Nms bodies=3",
                     "[perf] live unscheduled — total Nms · bodies=0"}));
}

}  // namespace
}  // namespace vorda
