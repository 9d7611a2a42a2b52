#include "jjkit/trace/Bench.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <regex>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "jjkit/trace/Perf.h"
#include "jjkit/trace/TraceSettings.h"
#include "support/LogCapture.h"
#include "support/ManualScheduler.h"

namespace vorda {
namespace {

using testing::LogCapture;

using testing::ManualScheduler;

// Sleeps long enough that a measured block is certainly at or above the threshold.
void sleepPastThreshold() {
    const auto threshold = std::chrono::duration<double>(Bench::threshold());
    std::this_thread::sleep_for(std::chrono::duration_cast<std::chrono::milliseconds>(threshold) +
                                std::chrono::milliseconds(5));
}

std::uint64_t countFor(const std::string& name) {
    const auto counts = Bench::bodyCounts();
    const auto found = counts.find(name);
    return found == counts.end() ? 0 : found->second;
}

TEST(BenchSlowLine, WrittenOnlyAtOrAboveTheThreshold) {
    if (Bench::threshold() <= 0.0) {
        GTEST_SKIP() << "VORDA_BENCH_MS=0 makes everything slow";
    }
    LogCapture log;
    int built = 0;
    auto name = [&] {
        ++built;
        return std::string("lazy name");
    };

    // Below the threshold: nothing written and the name is never built.
    Bench::emitIfSlow(name, Bench::threshold() * 0.5);
    Bench::emitIfSlow(name, 0.0);
    EXPECT_EQ(built, 0);
    EXPECT_EQ(log.text(), "");

    // Exactly at the threshold counts as slow.
    Bench::emitIfSlow(name, Bench::threshold());
    EXPECT_EQ(built, 1);
    EXPECT_TRUE(std::regex_match(log.text(), std::regex("\\[bench\\] lazy name \\d+ms\n")))
        << log.text();
    if (trace::slowThresholdMs() == trace::defaultSlowThresholdMs) {
        EXPECT_EQ(log.text(), "[bench] lazy name 50ms\n");
    }
}

TEST(BenchSlowLine, ReportsWholeMilliseconds) {
    if (Bench::threshold() > 0.25) {
        GTEST_SKIP() << "VORDA_BENCH_MS is above 250";
    }
    LogCapture log;
    Bench::emitIfSlow("load", 0.25);
    Bench::emitIfSlow(std::string("render pass"), 1.5);
    EXPECT_EQ(log.text(), "[bench] load 250ms\n[bench] render pass 1500ms\n");
}

TEST(BenchMeasure, ReturnsTheBlockValueAndBuildsNoNameWhenFast) {
    if (Bench::threshold() < 0.01) {
        GTEST_SKIP() << "threshold too small for a block to count as fast";
    }
    LogCapture log;
    int built = 0;
    auto name = [&] {
        ++built;
        return std::string("fast block");
    };

    EXPECT_EQ(Bench::measure(name, [] { return 42; }), 42);

    // A move-only value comes through, and so does a reference to the same object.
    auto owned = Bench::measure(name, [] { return std::make_unique<int>(5); });
    ASSERT_NE(owned, nullptr);
    EXPECT_EQ(*owned, 5);
    int target = 1;
    int& same = Bench::measure(name, [&]() -> int& { return target; });
    EXPECT_EQ(&same, &target);

    bool ran = false;
    Bench::measure("void block", [&] { ran = true; });
    EXPECT_TRUE(ran);

    EXPECT_EQ(built, 0);
    EXPECT_EQ(log.text(), "");
}

TEST(BenchMeasure, SlowBlockBuildsTheNameOnceAndWritesItsLine) {
    LogCapture log;
    int built = 0;
    const int value = Bench::measure(
        [&] {
            ++built;
            return std::string("slow block");
        },
        [] {
            sleepPastThreshold();
            return 9;
        });
    EXPECT_EQ(value, 9);
    EXPECT_EQ(built, 1);

    const std::string text = log.text();
    std::smatch match;
    ASSERT_TRUE(std::regex_match(text, match, std::regex("\\[bench\\] slow block (\\d+)ms\n")))
        << text;
    EXPECT_GE(std::stoll(match[1].str()), static_cast<long long>(Bench::threshold() * 1000.0));
}

TEST(BenchMeasure, SlowBlockThatThrowsIsStillReported) {
    LogCapture log;
    EXPECT_THROW(Bench::measure("throwing block",
                                [] {
                                    sleepPastThreshold();
                                    throw std::runtime_error("failed");
                                }),
                 std::runtime_error);
    EXPECT_TRUE(std::regex_match(log.text(), std::regex("\\[bench\\] throwing block \\d+ms\n")))
        << log.text();
}

TEST(BenchBodies, TicksAreCountedByNameAndInTotal) {
    const std::uint64_t totalBefore = Bench::bodyCount();
    const std::uint64_t rowsBefore = countFor("BenchRowView");
    const std::uint64_t headerBefore = countFor("BenchHeaderView");

    Bench::tickBody("BenchRowView");
    Bench::tickBody("BenchRowView");
    Bench::tickBody(std::string("BenchRowView"));
    Bench::tickBody("BenchHeaderView");

    if (Perf::isEnabled()) {
        EXPECT_EQ(Bench::bodyCount(), totalBefore + 4);
        EXPECT_EQ(countFor("BenchRowView"), rowsBefore + 3);
        EXPECT_EQ(countFor("BenchHeaderView"), headerBefore + 1);
    } else {
        // Counting is part of tracing: off means nothing moves.
        EXPECT_EQ(Bench::bodyCount(), totalBefore);
        EXPECT_EQ(countFor("BenchRowView"), rowsBefore);
    }
    EXPECT_EQ(countFor("BenchNeverTicked"), 0U);
}

TEST(BenchUIUpdate, LineWaitsForTwoFlushRoundsAndCountsBodies) {
    if (!Perf::isEnabled()) {
        GTEST_SKIP() << "body counting is off (VORDA_PERF=0)";
    }
    LogCapture log;
    {
        ManualScheduler scheduler;
        bool updated = false;
        Bench::measureUIUpdate("bench select row", [&] {
            updated = true;
            Bench::tickBody("BenchUpdateBody");
        });
        // The update itself runs at once; the line waits for the UI.
        EXPECT_TRUE(updated);
        EXPECT_EQ(log.text(), "");
        EXPECT_EQ(scheduler.pending(), 1U);

        Bench::tickBody("BenchUpdateBody");
        scheduler.runRound();
        EXPECT_EQ(log.text(), "");
        EXPECT_EQ(scheduler.pending(), 1U);

        Bench::tickBody("BenchOtherBody");
        scheduler.runRound();
        EXPECT_EQ(scheduler.pending(), 0U);
        EXPECT_TRUE(std::regex_match(log.text(),
                                     std::regex("\\[bench\\] bench select row \\d+ms bodies=3\n")))
            << log.text();
    }

    // Without a scheduler the line follows the update at once.
    const std::string before = log.text();
    Bench::measureUIUpdate("bench unscheduled", [] {
        Bench::tickBody("BenchUpdateBody");
        Bench::tickBody("BenchUpdateBody");
    });
    const std::string added = log.text().substr(before.size());
    EXPECT_TRUE(
        std::regex_match(added, std::regex("\\[bench\\] bench unscheduled \\d+ms bodies=2\n")))
        << added;
}

}  // namespace
}  // namespace vorda
