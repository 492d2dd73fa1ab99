#include "platform/qt/application/run_loop.h"

#include <sys/resource.h>

#include <QApplication>
#include <QContextMenuEvent>
#include <QThread>
#include <QTimer>
#include <atomic>
#include <csignal>
#include <cstdlib>

#include "platform/qt/widgets/text_fields.h"
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

TEST(RunLoopTest, PausesTimersWhileAMenuIsOpenAndGoesOnAfterwards) {
    QWidget window;
    CustomTextField field(&window);
    window.show();
    QtRunLoop runLoop;
    int ticks = 0;
    int once = 0;
    runLoop.scheduleTimer(milliseconds(1), TimerKind::repeating, [&](Timer&) { ++ticks; });
    ASSERT_TRUE(waitUntil([&] { return ticks > 0; }));
    runLoop.scheduleTimer(milliseconds(1), TimerKind::once, [&](Timer&) { ++once; });

    QContextMenuEvent click(QContextMenuEvent::Mouse, QPoint(2, 2),
                            field.mapToGlobal(QPoint(2, 2)));
    QCoreApplication::sendEvent(&field, &click);
    ASSERT_NE(QApplication::activePopupWidget(), nullptr);
    const int before = ticks;
    // A timer of the toolkit's own shows that there was time for more.
    int turns = 0;
    QTimer turn;
    QObject::connect(&turn, &QTimer::timeout, [&] { ++turns; });
    turn.start(milliseconds(1));
    ASSERT_TRUE(waitUntil([&] { return turns == 20; }));
    EXPECT_EQ(ticks, before);
    EXPECT_EQ(once, 0);

    QApplication::activePopupWidget()->close();
    EXPECT_TRUE(waitUntil([&] { return ticks > before && once == 1; }));
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

TEST(RunLoopTest, LeavesTheSignalsAloneWhereNoDescriptorIsLeft) {
    const auto takeOverWithoutAny = [] {
        rlimit limit{};
        getrlimit(RLIMIT_NOFILE, &limit);
        limit.rlim_cur = 0;
        setrlimit(RLIMIT_NOFILE, &limit);
        onTerminationSignal([] {});
        static_cast<void>(std::raise(SIGTERM));
        std::_Exit(EXIT_SUCCESS);
    };
    EXPECT_EXIT(takeOverWithoutAny(), ::testing::KilledBySignal(SIGTERM), "");
}

}  // namespace
}  // namespace velunor
