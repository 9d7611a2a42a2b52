#include "jjkit/repo/RepositoryCommandGate.h"

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
// `count` callers queue for `key`.
void waitForWaiters(RepositoryCommandGate& gate, const std::string& key, std::size_t count) {
    for (int attempt = 0; attempt < 20000 && gate.waiterCount(key) < count; ++attempt) {
        std::this_thread::sleep_for(1ms);
    }
    ASSERT_EQ(gate.waiterCount(key), count);
}

struct Order {
    std::mutex mutex;
    std::vector<std::string> entries;
    void add(const std::string& entry) {
        const std::scoped_lock lock(mutex);
        entries.push_back(entry);
    }
};

TEST(RepositoryCommandGate, ServesInArrivalOrderAndSkipsACancelledWaiter) {
    RepositoryCommandGate gate;
    const std::string key = "/store";
    Order order;
    std::promise<void> releaseFirst;
    auto firstMayFinish = releaseFirst.get_future().share();

    std::jthread first([&](const std::stop_token& stop) {
        gate.withAccess(key, stop, [&] {
            order.add("first");
            firstMayFinish.wait();
        });
    });
    while (!gate.isHeld(key)) {
        std::this_thread::sleep_for(1ms);
    }
    std::stop_source cancelSecond;
    std::promise<std::string> secondOutcome;
    std::jthread second([&] {
        try {
            gate.withAccess(key, cancelSecond.get_token(), [&] { order.add("second"); });
            secondOutcome.set_value("ran");
        } catch (const CancellationError&) {
            secondOutcome.set_value("cancelled");
        }
    });
    waitForWaiters(gate, key, 1);
    std::jthread third([&](const std::stop_token& stop) {
        gate.withAccess(key, stop, [&] { order.add("third"); });
    });
    waitForWaiters(gate, key, 2);
    std::jthread fourth([&](const std::stop_token& stop) {
        gate.withAccess(key, stop, [&] { order.add("fourth"); });
    });
    waitForWaiters(gate, key, 3);

    cancelSecond.request_stop();
    EXPECT_EQ(secondOutcome.get_future().get(), "cancelled");
    EXPECT_EQ(gate.waiterCount(key), 2U);
    EXPECT_TRUE(gate.isHeld(key));  // the cancelled waiter did not disturb the holder

    releaseFirst.set_value();
    first.join();
    third.join();
    fourth.join();
    EXPECT_EQ(order.entries, (std::vector<std::string>{"first", "third", "fourth"}));
    EXPECT_FALSE(gate.isHeld(key));
}

TEST(RepositoryCommandGate, CancelledCallerNeverRunsAndFailureReleases) {
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
    EXPECT_EQ(gate.withAccess("/k", {}, [] { return 42; }), 42);
}

TEST(RepositoryCommandGate, KeysNeverBlockEachOther) {
    RepositoryCommandGate gate;
    std::promise<void> releaseA;
    auto mayFinish = releaseA.get_future().share();
    std::jthread holder([&](const std::stop_token& stop) {
        gate.withAccess("/a", stop, [&] { mayFinish.wait(); });
    });
    while (!gate.isHeld("/a")) {
        std::this_thread::sleep_for(1ms);
    }
    // Runs to completion on this thread while /a is still held.
    EXPECT_EQ(gate.withAccess("/b", {}, [] { return std::string("b ran"); }), "b ran");
    releaseA.set_value();
}

TEST(RepositoryCommandGate, TwoWorkspacesOfOneStoreMutateOneAfterTheOther) {
    testing::TestRepo repo;
    repo.commit("base", {{"a", "1"}});
    const std::string second = repo.addWorkspace("second");
    auto& gate = RepositoryCommandGate::shared();

    struct Span {
        std::chrono::steady_clock::time_point start;
        std::chrono::steady_clock::time_point end;
    };
    std::vector<Span> spans(6);
    {
        std::vector<std::jthread> threads;
        for (std::size_t index = 0; index < spans.size(); ++index) {
            const std::string root = index % 2 == 0 ? repo.root() : second;
            // Not the thread's own stop token: joining the threads one by one
            // must not cancel those still queued.
            threads.emplace_back([&, root, index] {
                const auto key = JJRepoDetector::sharedRepositoryPath(root);
                gate.withAccess(key, std::stop_token(), [&] {
                    spans[index].start = std::chrono::steady_clock::now();
                    JJClient(root).run({"describe", "-m", "step " + std::to_string(index)},
                                       "test describe");
                    spans[index].end = std::chrono::steady_clock::now();
                });
            });
        }
    }
    std::sort(spans.begin(), spans.end(),
              [](const Span& a, const Span& b) { return a.start < b.start; });
    for (std::size_t index = 1; index < spans.size(); ++index) {
        EXPECT_LE(spans[index - 1].end, spans[index].start) << "mutations overlapped";
    }
    // Every one of the six rewrites is in the operation log.
    const auto descriptions = repo.jj(
        {"op", "log", "--no-graph", "--ignore-working-copy", "-T", "description ++ \"\\n\""});
    std::size_t describes = 0;
    for (std::size_t at = descriptions.find("describe commit"); at != std::string::npos;
         at = descriptions.find("describe commit", at + 1)) {
        ++describes;
    }
    EXPECT_EQ(describes, spans.size());
}

}  // namespace
}  // namespace vorda

namespace vorda {
namespace {

using testing::refusal;
using namespace std::chrono_literals;

TEST(RepositoryCommandGate, AnotherProcessHoldingTheStoreLockRefusesUntilItDies) {
    const testing::TempDir store("vorda-store-lock");
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    const pid_t holder = fork();
    ASSERT_GE(holder, 0);
    if (holder == 0) {
        // Holds the store's mutation lock until killed.
        RepositoryCommandGate::shared().withMutationAccess(store.path().string(), {}, [&] {
            (void)!write(ready[1], "x", 1);
            pause();
        });
        _exit(0);
    }
    char byte = 0;
    ASSERT_EQ(read(ready[0], &byte, 1), 1);

    RepositoryCommandGate gate;
    bool ran = false;
    EXPECT_EQ(refusal([&] {
                  gate.withMutationAccess(
                      store.path().string(), {}, [&] { ran = true; }, 50ms);
              }),
              std::string(RepositoryCommandGate::otherProcessMessage));
    EXPECT_FALSE(ran);

    kill(holder, SIGKILL);
    waitpid(holder, nullptr, 0);
    gate.withMutationAccess(
        store.path().string(), {}, [&] { ran = true; }, 5s);
    EXPECT_TRUE(ran);
    close(ready[0]);
    close(ready[1]);
}

}  // namespace
}  // namespace vorda
