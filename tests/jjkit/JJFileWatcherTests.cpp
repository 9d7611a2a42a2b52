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

TEST(JJFileWatcher, WatchesOperationHeadsAndFiresAfterAnotherProcessOperates) {
    testing::TestRepo repo;
    const JJFileWatcher watcher(repo.root());
    EXPECT_EQ(watcher.path(), repo.root() + "/.jj/repo/op_heads");

    auto stream = watcher.events();
    std::stop_source stop;
    auto firstEvent =
        std::async(std::launch::async, [&] { return stream->next(stop.get_token()); });
    // A separate jj process completes an operation.
    repo.jj({"describe", "-m", "changed from the command line"});
    ASSERT_EQ(firstEvent.wait_for(hangGuard), std::future_status::ready);
    EXPECT_TRUE(firstEvent.get());

    // Each later operation is seen too.
    while (true) {
        // Drain what the first operation produced, then wait for a new one.
        auto pending =
            std::async(std::launch::async, [&] { return stream->next(stop.get_token()); });
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
        bool sawEnd = false;
        while (!sawEnd) {
            sawEnd = !stream->next(stop.get_token());
        }
        return sawEnd;
    });
    std::this_thread::sleep_for(50ms);
    stop.request_stop();
    ASSERT_EQ(blocked.wait_for(hangGuard), std::future_status::ready);
    EXPECT_TRUE(blocked.get());
}

TEST(JJFileWatcher, AFolderThatCannotBeWatchedEndsAtOnce) {
    const JJFileWatcher missing("/nonexistent/vorda/repo");
    EXPECT_FALSE(missing.events()->next({}));
}

TEST(JJFileWatcher, AFurtherWorkspaceWatchesTheStoreItsPointerNames) {
    testing::TestRepo repo;
    const auto second = repo.addWorkspace("second");
    const JJFileWatcher watcher(second);
    EXPECT_EQ(watcher.path(), repo.root() + "/.jj/repo/op_heads");
    auto stream = watcher.events();
    auto event = std::async(std::launch::async, [&] { return stream->next({}); });
    repo.jj({"describe", "-m", "changed in the main workspace"});
    ASSERT_EQ(event.wait_for(hangGuard), std::future_status::ready);
    EXPECT_TRUE(event.get());
}

}  // namespace
}  // namespace vorda
