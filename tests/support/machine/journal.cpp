#include "tests/support/machine/journal.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <stdexcept>
#include <string_view>
#include <vector>

namespace velunor::testing {

Journal::Journal() {
    constexpr std::string_view path = "/run/systemd/journal/socket";
    constexpr mode_t everybody = 0666;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    socket_ = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (::bind(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        ::chmod(address.sun_path, everybody) != 0) {
        throw std::runtime_error("the place of the journal is taken");
    }
    thread_ = std::jthread([this](const std::stop_token& stop) { collect(stop); });
}

Journal::~Journal() {
    thread_.request_stop();
    thread_.join();
    ::close(socket_);
}

std::string Journal::records() const {
    const std::lock_guard lock(mutex_);
    return records_;
}

void Journal::collect(const std::stop_token& stop) {
    constexpr int pauseMilliseconds = 50;
    constexpr std::size_t largestRecord = std::size_t{1} << 20U;
    std::vector<char> record(largestRecord);
    while (!stop.stop_requested()) {
        pollfd waiting{socket_, POLLIN, 0};
        if (::poll(&waiting, 1, pauseMilliseconds) <= 0) {
            continue;
        }
        const ssize_t size = ::recv(socket_, record.data(), record.size(), MSG_DONTWAIT);
        if (size > 0) {
            const std::lock_guard lock(mutex_);
            records_.append(record.data(), static_cast<std::size_t>(size));
        }
    }
}

}  // namespace velunor::testing
