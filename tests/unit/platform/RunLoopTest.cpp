#include "quillgate/platform/RunLoop.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace quillgate::platform {
namespace {

class RunLoopTest : public ::testing::Test {
  protected:
    std::shared_ptr<ManualClock> clock = std::make_shared<ManualClock>();
    RunLoop loop{clock};
    std::vector<std::string> order;
};

TEST_F(RunLoopTest, RunsImmediateWorkInOrderAndDelayedWorkOnlyWhenDue) {
    loop.asyncAfter(2, [&] { order.push_back("after 2"); });
    loop.async([&] {
        order.push_back("first");
        loop.async([&] { order.push_back("scheduled by first"); });  // runs in the same pass
    });
    loop.asyncAfter(0, [&] { order.push_back("after 0"); });
    loop.asyncAfter(1, [&] { order.push_back("after 1"); });
    loop.async([&] { order.push_back("second"); });

    EXPECT_EQ(loop.runPending(), 4u);
    EXPECT_EQ(order,
              (std::vector<std::string>{"first", "after 0", "second", "scheduled by first"}));

    loop.advance(1.5);
    EXPECT_EQ(order.back(), "after 1");
    loop.advance(0.5);
    EXPECT_EQ(order.back(), "after 2");
    EXPECT_EQ(loop.pendingCount(), 0u);
}

TEST_F(RunLoopTest, RepeatingTimerFiresOncePerIntervalUntilInvalidatedEvenWithoutItsHandle) {
    int fired = 0;
    auto timer = loop.scheduledTimer(15, true, [&](Timer&) { ++fired; });
    int unheld = 0;
    loop.scheduledTimer(5, true, [&](Timer&) { ++unheld; });
    loop.advance(14.9);
    EXPECT_EQ(fired, 0);
    loop.advance(0.1);
    EXPECT_EQ(fired, 1);
    loop.advance(45);
    EXPECT_EQ(fired, 4);
    EXPECT_EQ(unheld, 12);

    timer->invalidate();
    loop.advance(60);
    EXPECT_EQ(fired, 4);
    EXPECT_FALSE(timer->isValid());
}

TEST_F(RunLoopTest, TimerMayInvalidateItselfAndOneShotTimersEnd) {
    int fired = 0;
    loop.scheduledTimer(1, true, [&](Timer& t) {
        if (++fired == 2) {
            t.invalidate();
        }
    });
    auto once = loop.scheduledTimer(1, false, [&](Timer&) { order.push_back("once"); });
    loop.advance(10);
    EXPECT_EQ(fired, 2);
    EXPECT_EQ(order, (std::vector<std::string>{"once"}));
    EXPECT_FALSE(once->isValid());
}

TEST_F(RunLoopTest, PostFromAnotherThreadWakesRunUntilWhichLeavesManualTimeAlone) {
    loop.asyncAfter(5, [&] { order.push_back("late"); });
    const auto before = clock->now();
    EXPECT_FALSE(loop.runUntil([&] { return !order.empty(); }, std::chrono::milliseconds(1)));
    EXPECT_EQ(clock->now(), before);

    std::thread worker([&] { loop.post([&] { order.push_back("posted"); }); });
    const bool done = loop.runUntil([&] { return !order.empty(); }, std::chrono::seconds(10));
    worker.join();
    EXPECT_TRUE(done);
    EXPECT_EQ(order, (std::vector<std::string>{"posted"}));

    loop.async([&] { loop.stop(); });
    loop.run();  // returns: the task stopped it
}

// A task posted after the loop has run what was due and asked whether it is done, but before
// it goes to sleep: the done test posts it from another thread, exactly in that window. The
// loop must run it at once rather than sleep until its time limit.
TEST_F(RunLoopTest, RunUntilRunsWorkPostedBetweenTheDoneTestAndTheWait) {
    bool posted = false;
    bool ran = false;
    const bool done = loop.runUntil(
        [&] {
            if (!posted) {
                posted = true;
                std::thread other([&] { loop.post([&] { ran = true; }); });
                other.join();
            }
            return ran;
        },
        std::chrono::seconds(5));
    EXPECT_TRUE(done);  // a missed wake-up sleeps the whole limit and returns false
}

// Timers and delays count on the monotonic clock: the wall clock stepping back an hour or
// forward a day (a time correction, the user setting the date) neither holds a ping back nor
// fires the missed ones in a bunch. Event times still read the wall clock.
TEST_F(RunLoopTest, WallClockStepsNeitherDelayNorBunchTimers) {
    int pings = 0;
    auto ping = loop.scheduledTimer(15, true, [&](Timer&) { ++pings; });
    loop.asyncAfter(20, [&] { order.push_back("toast gone"); });

    loop.advance(14);
    clock->stepWall(-std::chrono::hours(1));
    loop.advance(1);
    EXPECT_EQ(pings, 1);

    const auto wallBefore = clock->now();
    clock->stepWall(std::chrono::hours(24));
    EXPECT_EQ(loop.runPending(), 0u);  // nothing became due by the wall clock's jump
    EXPECT_EQ(pings, 1);
    EXPECT_TRUE(order.empty());
    EXPECT_EQ(clock->now() - wallBefore, std::chrono::hours(24));

    loop.advance(5);
    EXPECT_EQ(order, (std::vector<std::string>{"toast gone"}));
    loop.advance(10);
    EXPECT_EQ(pings, 2);
    ping->invalidate();
}

TEST(RunLoopSystemClock, DelayedWorkRunsInRealTime) {
    RunLoop loop(std::make_shared<SystemClock>());
    bool ran = false;
    loop.asyncAfter(0.001, [&] { ran = true; });
    EXPECT_TRUE(loop.runUntil([&] { return ran; }, std::chrono::seconds(10)));
}

}  // namespace
}  // namespace quillgate::platform

namespace quillgate::platform {
namespace {

// A toolkit's main loop stands in for the queue's own wait: it is entered while nothing is
// due, until the give-up time or the next deadline, and what it handles reaches the queue.
TEST_F(RunLoopTest, AnIdleWaitIsWhereRunUntilWaitsAndItsEventsReachTheQueue) {
    std::vector<std::chrono::steady_clock::time_point> untils;
    bool ran = false;
    loop.setIdleWait([&](std::chrono::steady_clock::time_point until) {
        untils.push_back(until);
        if (untils.size() == 1) {
            loop.async([&] { ran = true; });  // an event the toolkit handled
        }
    });
    const auto before = std::chrono::steady_clock::now();
    EXPECT_TRUE(loop.runUntil([&] { return ran; }, std::chrono::seconds(10)));
    ASSERT_EQ(untils.size(), 1u);
    // On a manual clock the loop waits until it gives up, never for a deadline of its own.
    EXPECT_GE(untils[0], before + std::chrono::seconds(9));
    EXPECT_LE(untils[0], std::chrono::steady_clock::now() + std::chrono::seconds(10));
}

TEST(RunLoopIdleWait, WaitsOnlyUntilTheNextDeadlineOnARealClock) {
    RunLoop loop(std::make_shared<SystemClock>());
    std::optional<std::chrono::steady_clock::time_point> until;
    bool done = false;
    loop.asyncAfter(5, [] {});
    loop.setIdleWait([&](std::chrono::steady_clock::time_point t) {
        until = t;
        loop.async([&] { done = true; });
    });
    const auto before = std::chrono::steady_clock::now();
    EXPECT_TRUE(loop.runUntil([&] { return done; }, std::chrono::seconds(60)));
    ASSERT_TRUE(until);
    EXPECT_GE(*until, before + std::chrono::milliseconds(4900));
    EXPECT_LE(*until, std::chrono::steady_clock::now() + std::chrono::seconds(5));
}

TEST(RunLoopIdleWait, StopWakesTheIdleWaitOfRun) {
    RunLoop loop(std::make_shared<SystemClock>());
    std::mutex mutex;
    std::condition_variable woken;
    bool wake = false;
    loop.setWakeUpCallback([&] {
        std::lock_guard lock(mutex);
        wake = true;
        woken.notify_all();
    });
    // Waits like a toolkit's loop: until the wake-up, however long that takes.
    loop.setIdleWait([&](std::chrono::steady_clock::time_point) {
        std::unique_lock lock(mutex);
        woken.wait(lock, [&] { return wake; });
        wake = false;
    });
    std::thread stopper([&] { loop.stop(); });
    loop.run();  // returns only if stop() woke the wait
    stopper.join();
    SUCCEED();
}

TEST_F(RunLoopTest, CompletedTaskCountCountsTasksAndTimersNotEmptyTurns) {
    EXPECT_EQ(loop.completedTaskCount(), 0u);
    loop.runPending();
    EXPECT_EQ(loop.completedTaskCount(), 0u);
    loop.async([] {});
    loop.async([] {});
    auto timer = loop.scheduledTimer(1, false, [](Timer&) {});
    loop.runPending();
    EXPECT_EQ(loop.completedTaskCount(), 2u);
    loop.advance(1);
    EXPECT_EQ(loop.completedTaskCount(), 3u);
}

}  // namespace
}  // namespace quillgate::platform
