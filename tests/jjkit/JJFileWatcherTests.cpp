#include "jjkit/repo/JJFileWatcher.h"

#include <chrono>
#include <future>
#include <thread>

#include <gtest/gtest.h>

#include "support/TestRepo.h"

namespace vorda {
namespace {

using namespace std::chrono_literals;

// Generous bound: only a guard against a hung test, not a timing assertion.
constexpr auto hangGuard = 60s;

TEST(JJFileWatcher, AWorkspaceWatchesItsStoresHeadsAndSeesEveryOperationOfAnotherProcess) {
    testing::TestRepo repo;
    repo.draw(R"(
      A <- root "base" a=1
      workspace second <- A
    )");
    // The further workspace watches the store its pointer names.
    const JJFileWatcher watcher((repo.scratch() / "second").string());
    EXPECT_EQ(watcher.path(), repo.root() + "/.jj/repo/op_heads");
    EXPECT_EQ(JJFileWatcher(repo.root()).path(), watcher.path());

    auto stream = watcher.events();
    std::stop_source stop;
    const auto nextEvent = [&] {
        return std::async(std::launch::async, [&] { return stream->next(stop.get_token()); });
    };
    auto first = nextEvent();
    // A separate jj process completes an operation in the main workspace.
    repo.jj({"describe", "-m", "changed from the command line"});
    ASSERT_EQ(first.wait_for(hangGuard), std::future_status::ready);
    EXPECT_TRUE(first.get());

    // Each later operation is seen too: drain what the first one produced,
    // then wait for a new one.
    while (true) {
        auto pending = nextEvent();
        if (pending.wait_for(200ms) == std::future_status::ready) {
            ASSERT_TRUE(pending.get());
            continue;
        }
        repo.jj({"new"});
        ASSERT_EQ(pending.wait_for(hangGuard), std::future_status::ready);
        EXPECT_TRUE(pending.get());
        break;
    }

    // Stopping ends a blocked stream.
    auto blocked = std::async(std::launch::async, [&] {
        while (stream->next(stop.get_token())) {
        }
    });
    std::this_thread::sleep_for(50ms);
    stop.request_stop();
    EXPECT_EQ(blocked.wait_for(hangGuard), std::future_status::ready);
    // A folder that cannot be watched ends at once.
    EXPECT_FALSE(JJFileWatcher("/nonexistent/vorda/repo").events()->next({}));
}

}  // namespace
}  // namespace vorda
