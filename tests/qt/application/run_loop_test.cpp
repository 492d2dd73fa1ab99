#include "platform/qt/application/run_loop.h"

#include <sys/resource.h>
#include <unistd.h>

#include <QApplication>
#include <QContextMenuEvent>
#include <QThread>
#include <QTimer>
#include <array>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <vector>

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

/// Of which kind the toolkit's timers are that run out.
class TimersSeen final : public QObject {
  public:
    TimersSeen() { qApp->installEventFilter(this); }
    bool eventFilter(QObject* watched, QEvent* event) override {
        const auto* timer = qobject_cast<QTimer*>(watched);
        if (timer != nullptr && event->type() == QEvent::Timer) {
            kinds.push_back(timer->timerType());
        }
        return false;
    }

    std::vector<Qt::TimerType> kinds;
};

TEST(RunLoopTest, CountsByTimersThatRunOutAtTheirMillisecond) {
    const TimersSeen seen;
    QtRunLoop runLoop;
    bool done = false;
    runLoop.scheduleTimer(milliseconds(1), TimerKind::once, [&](Timer&) { done = true; });
    ASSERT_TRUE(waitUntil([&] { return done; }));
    EXPECT_EQ(seen.kinds, std::vector{Qt::PreciseTimer});
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

/// Bytes of this process that are in the machine's memory.
long residentBytes() {
    long all = 0;
    long resident = 0;
    std::ifstream("/proc/self/statm") >> all >> resident;
    return resident * sysconf(_SC_PAGESIZE);
}

TEST(FreeMemoryTest, IsGivenBackToTheSystem) {
    constexpr std::size_t pieces = 2000;
    constexpr std::size_t size = 8192;
    std::vector<std::unique_ptr<std::array<char, size>>> memory(pieces);
    for (auto& piece : memory) {
        piece = std::make_unique<std::array<char, size>>();
        piece->fill('x');
    }
    // The last one stands at the end of what the allocator has.
    memory.erase(memory.begin(), memory.end() - 1);
    const long before = residentBytes();
    releaseFreeMemory();
    EXPECT_LT(residentBytes(), before - static_cast<long>(pieces * size / 2));
}

}  // namespace
}  // namespace velunor
