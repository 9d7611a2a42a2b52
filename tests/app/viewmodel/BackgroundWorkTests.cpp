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

TEST(BackgroundWork, OnlyTheNewestReadOfAKindIsDelivered) {
    QObject receiver;
    BackgroundWork work(&receiver);
    std::vector<int> delivered;
    const auto record = [&](const Outcome<int>& outcome) {
        delivered.push_back(outcome.value.value_or(-1));
    };

    // The oldest read is running and finishes only once newer ones were
    // asked for; the one queued between them never starts.
    std::latch oldestRunning(1);
    std::promise<void> newerAsked;
    std::atomic<bool> queuedStarted = false;
    work.runNewest(
        WorkKind::diff,
        [&oldestRunning, asked = newerAsked.get_future().share()] {
            oldestRunning.count_down();
            asked.wait();
            return 1;
        },
        record);
    oldestRunning.wait();
    work.runNewest(
        WorkKind::diff,
        [&queuedStarted] {
            queuedStarted = true;
            return 2;
        },
        record);
    work.runNewest(
        WorkKind::diff, [] { return 3; }, record);
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
    work.runNewest(
        WorkKind::diff, [] { return 4; }, record);
    work.run(
        WorkKind::diff,
        [&posted] {
            posted.count_down();
            return 0;
        },
        [](const Outcome<int>&) {});
    posted.wait();
    work.runNewest(
        WorkKind::diff, [] { return 5; }, record);
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
    work.run(
        WorkKind::command,
        [&running, released = release.get_future().share()] {
            running.count_down();
            released.wait();
            return 1;
        },
        [&delivered, token](const Outcome<int>&) { delivered = true; });
    token.reset();
    running.wait();
    work.run(
        WorkKind::command,
        [&queuedStarted] {
            queuedStarted = true;
            return 2;
        },
        [&delivered](const Outcome<int>&) { delivered = true; });

    work.close();
    EXPECT_TRUE(work.isClosed());
    release.set_value();
    ASSERT_TRUE(settles([&] { return runningOutcome.expired(); }));
    QCoreApplication::processEvents();
    EXPECT_FALSE(delivered);
    EXPECT_FALSE(queuedStarted);

    // Nothing new is taken, and posting does nothing.
    work.run(
        WorkKind::files,
        [&queuedStarted] {
            queuedStarted = true;
            return 3;
        },
        [&delivered](const Outcome<int>&) { delivered = true; });
    work.poster()([&delivered] { delivered = true; });
    QCoreApplication::processEvents();
    EXPECT_FALSE(delivered);
    EXPECT_FALSE(queuedStarted);
}

}  // namespace
}  // namespace vorda
