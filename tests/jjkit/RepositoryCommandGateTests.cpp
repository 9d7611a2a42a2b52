#include "jjkit/repo/RepositoryCommandGate.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <future>
#include <mutex>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "jjkit/client/JJClient.h"
#include "jjkit/repo/JJRepoDetector.h"
#include "support/Refusal.h"
#include "support/TempDir.h"
#include "support/TestRepo.h"

namespace vorda {
namespace {

using namespace std::chrono_literals;

// Waits (bounded, as a guard against a hang, not as a timing assertion) until
// `done` holds.
template <typename Condition>
bool eventually(Condition done) {
    for (int attempt = 0; attempt < 20000 && !done(); ++attempt) {
        std::this_thread::sleep_for(1ms);
    }
    return done();
}

TEST(RepositoryCommandGate, ServesInArrivalOrderAndSkipsACancelledWaiter) {
    RepositoryCommandGate gate;
    const std::string key = "/store";
    std::mutex orderLock;
    std::vector<std::string> order;
    const auto enter = [&](const std::string& name) {
        const std::scoped_lock lock(orderLock);
        order.push_back(name);
    };
    std::promise<void> releaseFirst;
    std::jthread first([&, mayFinish = releaseFirst.get_future()](const std::stop_token& stop) {
        gate.withAccess(key, stop, [&] {
            enter("first");
            mayFinish.wait();
        });
    });
    ASSERT_TRUE(eventually([&] { return gate.isHeld(key); }));
    std::stop_source cancelSecond;
    auto second = std::async(std::launch::async, [&] {
        try {
            gate.withAccess(key, cancelSecond.get_token(), [&] { enter("second"); });
            return "ran";
        } catch (const CancellationError&) {
            return "cancelled";
        }
    });
    ASSERT_TRUE(eventually([&] { return gate.waiterCount(key) == 1; }));
    std::vector<std::jthread> later;
    for (const std::string name : {"third", "fourth"}) {
        const std::size_t waiting = gate.waiterCount(key) + 1;
        later.emplace_back([&, name](const std::stop_token& stop) {
            gate.withAccess(key, stop, [&] { enter(name); });
        });
        ASSERT_TRUE(eventually([&] { return gate.waiterCount(key) == waiting; }));
    }

    cancelSecond.request_stop();
    EXPECT_EQ(std::string(second.get()), "cancelled");
    EXPECT_EQ(gate.waiterCount(key), 2U);
    EXPECT_TRUE(gate.isHeld(key)) << "the cancelled waiter disturbed the holder";
    releaseFirst.set_value();
    first.join();
    for (auto& thread : later) {
        thread.join();  // not the destructor: that would cancel a waiter
    }
    EXPECT_EQ(order, (std::vector<std::string>{"first", "third", "fourth"}));
    EXPECT_FALSE(gate.isHeld(key));
}

TEST(RepositoryCommandGate, ACancelledCallerNeverRunsAFailureReleasesAndKeysAreApart) {
    RepositoryCommandGate gate;
    std::stop_source cancelled;
    cancelled.request_stop();
    bool ran = false;
    EXPECT_THROW(gate.withAccess("/k", cancelled.get_token(), [&] { ran = true; }),
                 CancellationError);
    EXPECT_FALSE(ran);
    EXPECT_FALSE(gate.isHeld("/k"));
    EXPECT_THROW(gate.withAccess("/k", {}, [&]() -> int { throw std::runtime_error("boom"); }),
                 std::runtime_error);
    EXPECT_FALSE(gate.isHeld("/k"));

    // While /k is held, /other runs to completion on this thread.
    EXPECT_EQ(gate.withAccess(
                  "/k", {},
                  [&] { return gate.withAccess("/other", {}, [] { return std::string("ran"); }); }),
              "ran");
}

TEST(RepositoryCommandGate, TwoWorkspacesOfOneStoreMutateOneAfterTheOther) {
    testing::TestRepo repo;
    repo.draw(R"(
      A <- root "base" a=1
      workspace second <- A
    )");
    const std::string second = (repo.scratch() / "second").string();
    std::atomic<int> inside = 0;
    std::atomic<int> overlaps = 0;
    {
        std::vector<std::jthread> threads;
        for (int index = 0; index < 6; ++index) {
            const std::string root = index % 2 == 0 ? repo.root() : second;
            // Not the thread's own stop token: joining the threads one by one
            // must not cancel those still queued.
            threads.emplace_back([&, root, index] {
                RepositoryCommandGate::shared().withAccess(
                    JJRepoDetector::sharedRepositoryPath(root), std::stop_token(), [&] {
                        overlaps += inside++ > 0 ? 1 : 0;
                        JJClient(root).run({"describe", "-m", "step " + std::to_string(index)},
                                           "test describe");
                        --inside;
                    });
            });
        }
    }
    EXPECT_EQ(overlaps.load(), 0) << "mutations overlapped";
    // Every one of the six rewrites is in the operation log.
    EXPECT_EQ(repo.jj({"op", "log", "--no-graph", "--ignore-working-copy", "-T",
                       R"(if(description.starts_with("describe commit"), "d"))"}),
              "dddddd");
}

TEST(RepositoryCommandGate, AnotherProcessHoldingTheStoreLockRefusesUntilItDies) {
    const testing::TempDir store("vorda-store-lock");
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    const pid_t holder = fork();
    ASSERT_GE(holder, 0);
    if (holder == 0) {
        // Holds the store's mutation lock until killed.
        RepositoryCommandGate::shared().withMutationAccess(store.string(), {}, [&] {
            (void)!write(ready[1], "x", 1);
            pause();
        });
        _exit(0);
    }
    char byte = 0;
    ASSERT_EQ(read(ready[0], &byte, 1), 1);
    close(ready[0]);
    close(ready[1]);

    RepositoryCommandGate gate;
    bool ran = false;
    EXPECT_EQ(testing::refusal([&] {
                  gate.withMutationAccess(
                      store.string(), {}, [&] { ran = true; }, 50ms);
              }),
              RepositoryCommandGate::otherProcessMessage);
    EXPECT_FALSE(ran);
    kill(holder, SIGKILL);
    waitpid(holder, nullptr, 0);
    gate.withMutationAccess(
        store.string(), {}, [&] { ran = true; }, 5s);
    EXPECT_TRUE(ran);
}

}  // namespace
}  // namespace vorda
