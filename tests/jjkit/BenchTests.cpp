#include "jjkit/trace/Bench.h"

#include <chrono>
#include <regex>
#include <stdexcept>
#include <string>
#include <thread>

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
    std::this_thread::sleep_for(
        std::chrono::milliseconds(static_cast<long long>(trace::slowThresholdMs()) + 5));
}

bool matches(const std::string& text, const std::string& pattern) {
    return std::regex_match(text, std::regex(pattern));
}

TEST(BenchSlowLine, WrittenInWholeMillisecondsOnlyAtOrAboveTheThreshold) {
    if (Bench::threshold() <= 0.0 || Bench::threshold() > 0.25) {
        GTEST_SKIP() << "VORDA_BENCH_MS is 0 or above 250";
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
    Bench::emitIfSlow("load", 0.25);
    Bench::emitIfSlow(std::string("render pass"), 1.5);
    EXPECT_TRUE(matches(log.text(),
                        "\\[bench\\] lazy name \\d+ms\n\\[bench\\] load 250ms\n"
                        "\\[bench\\] render pass 1500ms\n"))
        << log.text();
    if (trace::slowThresholdMs() == trace::defaultSlowThresholdMs) {
        EXPECT_TRUE(log.text().starts_with("[bench] lazy name 50ms\n")) << log.text();
    }
}

TEST(BenchMeasure, PassesTheBlockValueThroughAndReportsOnlySlowBlocks) {
    if (Bench::threshold() < 0.01) {
        GTEST_SKIP() << "threshold too small for a block to count as fast";
    }
    LogCapture log;
    int built = 0;
    auto name = [&] {
        ++built;
        return std::string("a block");
    };
    EXPECT_EQ(Bench::measure(name, [] { return 42; }), 42);
    int target = 1;
    int& same = Bench::measure(name, [&]() -> int& { return target; });
    EXPECT_EQ(&same, &target) << "a reference came back as a copy";
    EXPECT_EQ(built, 0) << "a fast block built its name";
    EXPECT_EQ(log.text(), "");

    // A slow block builds the name once and is reported even when it throws.
    EXPECT_THROW(Bench::measure(name,
                                [] {
                                    sleepPastThreshold();
                                    throw std::runtime_error("failed");
                                }),
                 std::runtime_error);
    EXPECT_EQ(built, 1);
    std::smatch match;
    const std::string text = log.text();
    ASSERT_TRUE(std::regex_match(text, match, std::regex("\\[bench\\] a block (\\d+)ms\n")))
        << text;
    EXPECT_GE(std::stoll(match[1].str()), static_cast<long long>(trace::slowThresholdMs()));
}

TEST(BenchUIUpdate, LineFollowsTheUIFlushAndCountsTheBodiesMeanwhile) {
    if (!Perf::isEnabled()) {
        GTEST_SKIP() << "body counting is off (VORDA_PERF=0)";
    }
    LogCapture log;
    ManualScheduler scheduler;
    bool updated = false;
    Bench::measureUIUpdate("bench select row", [&] {
        updated = true;
        Bench::tickBody("BenchUpdateBody");
    });
    EXPECT_TRUE(updated) << "the update itself runs at once";
    Bench::tickBody("BenchUpdateBody");
    scheduler.runRound();
    EXPECT_EQ(log.text(), "");
    Bench::tickBody("BenchOtherBody");
    scheduler.runRound();
    EXPECT_TRUE(matches(log.text(), "\\[bench\\] bench select row \\d+ms bodies=3\n"))
        << log.text();
}

}  // namespace
}  // namespace vorda
