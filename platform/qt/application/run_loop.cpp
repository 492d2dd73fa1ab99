#include "platform/qt/application/run_loop.h"

#include <malloc.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <QApplication>
#include <QSocketNotifier>
#include <QThreadPool>
#include <QTimer>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <utility>

namespace velunor {
namespace {

/// How soon a timer that does not repeat looks again whether a menu is still open.
constexpr std::chrono::milliseconds menuPoll{100};

class QtTimer final : public QTimer, public Timer {
  public:
    using QTimer::QTimer;
    void invalidate() override { stop(); }
};

/// What the signal handler writes to; a handler may use nothing but such a number.
int wakeUpDescriptor = -1;

void wakeUp(int /*number*/) {
    const int kept = errno;
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(wakeUpDescriptor, &one, sizeof one);
    errno = kept;
}

}  // namespace

void QtRunLoop::scheduleTimer(std::chrono::milliseconds interval, TimerKind kind,
                              std::function<void(Timer&)> block) {
    auto* timer = new QtTimer(&mainThread_);
    timer->setTimerType(Qt::PreciseTimer);
    timer->setSingleShot(kind == TimerKind::once);
    QObject::connect(timer, &QTimer::timeout, timer, [timer, block = std::move(block)] {
        if (QApplication::activePopupWidget() != nullptr) {
            if (timer->isSingleShot()) {
                timer->start(menuPoll);
            }
            return;
        }
        block(*timer);
        if (!timer->isActive()) {
            timer->deleteLater();
        }
    });
    timer->start(interval);
}

void QtRunLoop::performOnMainThread(std::function<void()> work) {
    QMetaObject::invokeMethod(&mainThread_, std::move(work), Qt::QueuedConnection);
}

void QtRunLoop::performInBackground(std::function<void()> work) {
    QThreadPool::globalInstance()->start(std::move(work));
}

void onTerminationSignal(std::function<void()> terminate) {
    wakeUpDescriptor = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    auto* notifier = new QSocketNotifier(wakeUpDescriptor, QSocketNotifier::Read, qApp);
    QObject::connect(notifier, &QSocketNotifier::activated, notifier,
                     [notifier, terminate = std::move(terminate)] {
                         notifier->setEnabled(false);
                         terminate();
                     });
    struct sigaction action {};
    action.sa_handler = wakeUp;
    action.sa_flags = SA_RESTART;
    sigset_t handled{};
    for (const int number : {SIGTERM, SIGINT, SIGHUP}) {
        struct sigaction inherited {};
        sigaction(number, nullptr, &inherited);
        // Whoever has the program ignore the end of a terminal, as nohup(1) does, means it. Without
        // a descriptor left the signals end the process by themselves.
        const bool isIgnored = number == SIGHUP && inherited.sa_handler == SIG_IGN;
        if (wakeUpDescriptor >= 0 && !isIgnored) {
            sigaction(number, &action, nullptr);
        }
        sigaddset(&handled, number);
    }
    // Who started the program may have blocked them.
    pthread_sigmask(SIG_UNBLOCK, &handled, nullptr);
}

void releaseFreeMemory() {
    malloc_trim(0);
}

}  // namespace velunor
