#include "platform/qt/application/run_loop.h"

#include <QMetaObject>
#include <QThreadPool>
#include <QTimer>

namespace velunor {

namespace {

class QtTimer final : public Timer {
  public:
    explicit QtTimer(QTimer& timer) : timer_(timer) {}
    void invalidate() override { timer_.stop(); }

  private:
    QTimer& timer_;
};

}  // namespace

void QtRunLoop::scheduleTimer(std::chrono::milliseconds interval, TimerKind kind,
                              std::function<void(Timer&)> block) {
    auto* timer = new QTimer(&mainThread_);
    timer->setTimerType(Qt::PreciseTimer);
    timer->setSingleShot(kind == TimerKind::once);
    QObject::connect(timer, &QTimer::timeout, &mainThread_, [timer, block = std::move(block)] {
        QtTimer handle(*timer);
        block(handle);
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

}  // namespace velunor
