#include "platform/qt/termination_signals.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

#include "platform/fatal_stop.h"

namespace velunor {

namespace {

std::atomic<int> writeEnd{-1};

void noteSignal(int number) {
    const int kept = errno;
    const auto byte = static_cast<unsigned char>(number);
    // A full pipe already holds a signal that nobody has read yet.
    [[maybe_unused]] const ssize_t written = write(writeEnd.load(), &byte, 1);
    errno = kept;
}

}  // namespace

TerminationSignals::TerminationSignals(std::function<void(int)> received)
    : received_(std::move(received)) {
    if (writeEnd.load() != -1 || pipe2(pipe_.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        fatalStop();
    }
    writeEnd.store(pipe_[1]);
    notifier_ = std::make_unique<QSocketNotifier>(pipe_[0], QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(),
                     [this] { readSignal(); });
    struct sigaction action {};
    action.sa_handler = &noteSignal;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    for (std::size_t index = 0; index < signals_.size(); ++index) {
        sigaction(signals_[index], &action, &former_[index]);
    }
}

TerminationSignals::~TerminationSignals() {
    for (std::size_t index = 0; index < signals_.size(); ++index) {
        sigaction(signals_[index], &former_[index], nullptr);
    }
    writeEnd.store(-1);
    notifier_.reset();
    close(pipe_[0]);
    close(pipe_[1]);
}

void TerminationSignals::readSignal() {
    unsigned char number = 0;
    if (read(pipe_[0], &number, 1) == 1) {
        received_(number);
    }
}

}  // namespace velunor
