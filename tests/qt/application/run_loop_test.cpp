#include "platform/qt/application/run_loop.h"

#include <QThread>
#include <atomic>
#include <csignal>

#include "tests/qt/support/widget_test.h"

namespace velunor {
namespace {

using std::chrono::milliseconds;

TEST(RunLoopTest, RunsARepeatingTimerUntilItIsInvalidatedInItsOwnCallback) {
    QtRunLoop runLoop;
    int ticks = 0;
    int later = 0;
    runLoop.scheduleTimer(milliseconds(1), TimerKind::repeating, [&](Timer& timer) {
        if (++ticks == 3) {
            timer.invalidate();
        }
    });
    ASSERT_TRUE(waitUntil([&] { return ticks == 3; }));

    // Another timer of the same length shows that there was time for a fourth tick.
    runLoop.scheduleTimer(milliseconds(1), TimerKind::repeating, [&](Timer&) { ++later; });
    ASSERT_TRUE(waitUntil([&] { return later == 5; }));
    EXPECT_EQ(ticks, 3);
}

TEST(RunLoopTest, RunsATimerThatDoesNotRepeatOnce) {
    QtRunLoop runLoop;
    int once = 0;
    int later = 0;
    runLoop.scheduleTimer(milliseconds(1), TimerKind::once, [&](Timer&) { ++once; });
    runLoop.scheduleTimer(milliseconds(1), TimerKind::repeating, [&](Timer&) { ++later; });

    ASSERT_TRUE(waitUntil([&] { return later == 5; }));
    EXPECT_EQ(once, 1);
}

TEST(RunLoopTest, InvalidatesATimerThatHasRunOnce) {
    QtRunLoop runLoop;
    int once = 0;
    runLoop.scheduleTimer(milliseconds(1), TimerKind::once, [&](Timer& timer) {
        timer.invalidate();
        ++once;
    });

    ASSERT_TRUE(waitUntil([&] { return once == 1; }));
}

TEST(RunLoopTest, HandsWorkFromTheBackgroundToTheMainThread) {
    QtRunLoop runLoop;
    const QThread* main = QThread::currentThread();
    std::atomic<const QThread*> background = nullptr;
    const QThread* received = nullptr;

    runLoop.performInBackground([&] {
        background = QThread::currentThread();
        runLoop.performOnMainThread([&] { received = QThread::currentThread(); });
    });

    ASSERT_TRUE(waitUntil([&] { return received != nullptr; }));
    EXPECT_EQ(received, main);
    EXPECT_NE(background.load(), main);
}

TEST(RunLoopTest, QueuesWorkOfTheMainThreadForLater) {
    QtRunLoop runLoop;
    bool done = false;

    runLoop.performOnMainThread([&] { done = true; });

    EXPECT_FALSE(done);
    EXPECT_TRUE(waitUntil([&] { return done; }));
}

}  // namespace
}  // namespace velunor
