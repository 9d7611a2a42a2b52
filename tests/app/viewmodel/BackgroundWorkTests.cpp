#include "app/viewmodel/BackgroundWork.h"

#include <QCoreApplication>
#include <QTest>
#include <atomic>
#include <future>
#include <latch>
#include <memory>

#include <gtest/gtest.h>

namespace vorda {
namespace {

bool settles(const std::function<bool()>& condition) {
    return QTest::qWaitFor(condition, 30000);
}

// A job that says it started (through `started`) and finishes with `value`
// once `release` is set.
std::function<int()> heldJob(std::latch& started, std::promise<void>& release, int value) {
    return [&started, released = release.get_future().share(), value] {
        started.count_down();
        released.wait();
        return value;
    };
}

// A job that records in `started` that it ran.
std::function<int()> markingJob(std::atomic<bool>& started) {
    return [&started] {
        started = true;
        return 0;
    };
}

TEST(BackgroundWork, OnlyTheNewestReadOfAKindIsDelivered) {
    QObject receiver;
    BackgroundWork work(&receiver);
    std::vector<int> delivered;
    const auto newest = [&](std::function<int()> job) {
        work.runNewest(WorkKind::diff, std::move(job), [&](const Outcome<int>& outcome) {
            delivered.push_back(outcome.value.value_or(-1));
        });
    };
    const auto value = [](int number) {
        return [number] {
            return number;
        };
    };

    // The oldest read is running and finishes only once newer ones were
    // asked for; the one queued between them never starts.
    std::latch oldestRunning(1);
    std::promise<void> newerAsked;
    std::atomic<bool> queuedStarted = false;
    newest(heldJob(oldestRunning, newerAsked, 1));
    oldestRunning.wait();
    newest(markingJob(queuedStarted));
    newest(value(3));
    newerAsked.set_value();
    // One worker per kind: the oldest outcome was judged before the newest
    // ran, so it would have arrived first.
    ASSERT_TRUE(settles([&] { return !delivered.empty(); }));
    EXPECT_EQ(delivered, std::vector<int>{3});
    EXPECT_FALSE(queuedStarted);

    // An outcome already on its way to the GUI thread is dropped when a newer
    // request comes before it is delivered. The plain job behind it runs
    // only after the older read has posted its outcome.
    std::latch posted(1);
    std::promise<void> nothingToWaitFor;
    nothingToWaitFor.set_value();
    newest(value(4));
    work.run(WorkKind::diff, heldJob(posted, nothingToWaitFor, 0), [](const Outcome<int>&) {});
    posted.wait();
    newest(value(5));
    ASSERT_TRUE(settles([&] { return delivered.size() > 1; }));
    EXPECT_EQ(delivered, (std::vector<int>{3, 5}));
}

TEST(BackgroundWork, AfterCloseNothingStartsAndNothingIsDelivered) {
    QObject receiver;
    BackgroundWork work(&receiver);
    bool delivered = false;
    std::atomic<bool> queuedStarted = false;
    std::latch running(1);
    std::promise<void> release;
    // The running job's delivery holds `token` until it is delivered or
    // dropped.
    auto token = std::make_shared<int>(0);
    const std::weak_ptr<int> runningOutcome = token;
    const auto deliver = [&delivered](const Outcome<int>&) {
        delivered = true;
    };
    work.run(WorkKind::command, heldJob(running, release, 1),
             [deliver, token](const Outcome<int>& outcome) { deliver(outcome); });
    token.reset();
    running.wait();
    work.run(WorkKind::command, markingJob(queuedStarted), deliver);

    work.close();
    EXPECT_TRUE(work.isClosed());
    release.set_value();
    ASSERT_TRUE(settles([&] { return runningOutcome.expired(); }));
    QCoreApplication::processEvents();
    EXPECT_EQ(std::pair(delivered, queuedStarted.load()), std::pair(false, false));

    // Nothing new is taken, and posting does nothing.
    work.run(WorkKind::files, markingJob(queuedStarted), deliver);
    work.poster()([&delivered] { delivered = true; });
    QCoreApplication::processEvents();
    EXPECT_EQ(std::pair(delivered, queuedStarted.load()), std::pair(false, false));
}

}  // namespace
}  // namespace vorda
