#include "platform/qt/qt_run_loop.h"

#include <QTimer>
#include <utility>

namespace velunor {

namespace {

class QtTimer : public QObject, public Timer {
  public:
    QtTimer(std::chrono::milliseconds interval, bool repeats, std::function<void(Timer&)> block,
            QObject* owner)
        : QObject(owner), block_(std::move(block)) {
        timer_.setTimerType(Qt::PreciseTimer);
        timer_.setSingleShot(!repeats);
        connect(&timer_, &QTimer::timeout, this, [this] {
            block_(*this);
            if (!timer_.isActive()) {
                deleteLater();
            }
        });
        timer_.start(interval);
    }

    void invalidate() override {
        timer_.stop();
        deleteLater();
    }

  private:
    QTimer timer_;
    std::function<void(Timer&)> block_;
};

}  // namespace

QtRunLoop::~QtRunLoop() {
    pool_.clear();
    pool_.waitForDone();
}

void QtRunLoop::scheduleTimer(std::chrono::milliseconds interval, bool repeats,
                              std::function<void(Timer&)> block) {
    // Owned by `context_` until it is done.
    new QtTimer(interval, repeats, std::move(block), &context_);
}

void QtRunLoop::performOnMainThread(std::function<void()> work) {
    QMetaObject::invokeMethod(&context_, std::move(work), Qt::QueuedConnection);
}

void QtRunLoop::performInBackground(std::function<void()> work) {
    pool_.start(std::move(work));
}

}  // namespace velunor
