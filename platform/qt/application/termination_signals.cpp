#include "platform/qt/application/termination_signals.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <utility>

namespace velunor {

namespace {

/// What the signal handler writes to; a handler may use nothing but such a number.
int wakeUpDescriptor = -1;

void wakeUp(int /*number*/) {
    const int kept = errno;
    const std::uint64_t one = 1;
    static_cast<void>(!::write(wakeUpDescriptor, &one, sizeof one));
    errno = kept;
}

}  // namespace

TerminationSignals::TerminationSignals(std::function<void()> terminate)
    : terminate_(std::move(terminate)) {
    wakeUpDescriptor = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    notifier_ = std::make_unique<QSocketNotifier>(wakeUpDescriptor, QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(), [this] {
        notifier_->setEnabled(false);
        terminate_();
    });
    struct sigaction action {};
    action.sa_handler = wakeUp;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    for (const int number : {SIGTERM, SIGINT, SIGHUP}) {
        sigaction(number, &action, nullptr);
    }
}

}  // namespace velunor
