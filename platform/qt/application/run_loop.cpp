#include "platform/qt/application/run_loop.h"

#include <QCoreApplication>
#include <QEvent>
#include <QThreadPool>
#include <QTimer>

namespace velunor {

namespace {

class QtTimer : public Timer {
  public:
    explicit QtTimer(QTimer& timer) : timer_(timer) {}
    void invalidate() override { timer_.stop(); }

  private:
    QTimer& timer_;
};

/// Carries work to the thread that is to do it.
class WorkEvent : public QEvent {
  public:
    explicit WorkEvent(std::function<void()> work) : QEvent(QEvent::User), work_(std::move(work)) {}
    void perform() const { work_(); }

  private:
    std::function<void()> work_;
};

}  // namespace

bool QtRunLoop::MainThread::event(QEvent* event) {
    if (event->type() != QEvent::User) {
        return QObject::event(event);
    }
    static_cast<WorkEvent*>(event)->perform();
    return true;
}

void QtRunLoop::scheduleTimer(std::chrono::milliseconds interval, bool repeats,
                              std::function<void(Timer&)> block) {
    auto* timer = new QTimer(&mainThread_);
    timer->setTimerType(Qt::PreciseTimer);
    timer->setSingleShot(!repeats);
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
    QCoreApplication::postEvent(&mainThread_, new WorkEvent(std::move(work)));
}

void QtRunLoop::performInBackground(std::function<void()> work) {
    QThreadPool::globalInstance()->start(std::move(work));
}

}  // namespace velunor
