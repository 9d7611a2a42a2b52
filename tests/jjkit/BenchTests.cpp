#include "jjkit/trace/Bench.h"

#include <chrono>
#include <regex>
#include <stdexcept>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "jjkit/trace/TraceSettings.h"
#include "support/LogCapture.h"

namespace vorda {
namespace {

using testing::LogCapture;

TEST(Bench, SlowLinesOnlyAtOrAboveTheThresholdWithTheNameBuiltOnlyThen) {
    if (Bench::threshold() < 0.01 || Bench::threshold() > 0.25) {
        GTEST_SKIP() << "VORDA_BENCH_MS is below 10 or above 250";
    }
    LogCapture log;
    int built = 0;
    auto name = [&] {
        ++built;
        return std::string("lazy name");
    };
    // Fast: nothing written, the name never built, the block's value (also a
    // reference) passed through.
    Bench::emitIfSlow(name, Bench::threshold() * 0.5);
    Bench::emitIfSlow(name, 0.0);
    EXPECT_EQ(Bench::measure(name, [] { return 42; }), 42);
    int target = 1;
    EXPECT_EQ(&Bench::measure(name, [&]() -> int& { return target; }), &target);
    EXPECT_EQ(built, 0);
    EXPECT_EQ(log.text(), "");

    // Exactly at the threshold counts as slow; a slow block is reported even
    // when it throws.
    Bench::emitIfSlow(name, Bench::threshold());
    Bench::emitIfSlow("load", 0.25);
    Bench::emitIfSlow(std::string("render pass"), 1.5);
    EXPECT_THROW(Bench::measure(name,
                                [] {
                                    std::this_thread::sleep_for(std::chrono::milliseconds(
                                        static_cast<long long>(trace::slowThresholdMs()) + 5));
                                    throw std::runtime_error("failed");
                                }),
                 std::runtime_error);
    EXPECT_EQ(built, 2);
    std::smatch match;
    const std::string text = log.text();
    ASSERT_TRUE(
        std::regex_match(text, match,
                         std::regex("\\[bench\\] lazy name (\\d+)ms\n\\[bench\\] load 250ms\n"
                                    "\\[bench\\] render pass 1500ms\n"
                                    "\\[bench\\] lazy name (\\d+)ms\n")))
        << text;
    if (trace::slowThresholdMs() == trace::defaultSlowThresholdMs) {
        EXPECT_EQ(match[1].str(), "50");
    }
    EXPECT_GE(std::stoll(match[2].str()), static_cast<long long>(trace::slowThresholdMs()));
}

}  // namespace
}  // namespace vorda
