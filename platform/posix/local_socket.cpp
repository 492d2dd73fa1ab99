#include "platform/posix/local_socket.h"

#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

#include <cerrno>
#include <optional>

namespace velunor {
namespace {

using std::chrono::steady_clock;

/// The address of a path; none with the reason in errno.
std::optional<sockaddr_un> addressOf(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    // An empty path, or one that begins with NUL, would name a socket outside of the file system.
    if (path.empty() || path.find('\0') != std::string::npos) {
        errno = EINVAL;
        return std::nullopt;
    }
    if (path.size() >= sizeof address.sun_path) {
        errno = ENAMETOOLONG;
        return std::nullopt;
    }
    path.copy(address.sun_path, path.size());
    return address;
}

/// Limits how long a connect waits for room in the queue of the listening side, which poll(2)
/// cannot wait for. False, with the reason in errno, when the deadline has passed.
bool limitConnect(int socket, steady_clock::time_point deadline) {
    if (deadline == steady_clock::time_point::max()) {
        return true;
    }
    using namespace std::chrono;
    const auto left = duration_cast<microseconds>(deadline - steady_clock::now());
    if (left <= microseconds::zero()) {
        errno = ETIMEDOUT;
        return false;
    }
    const timeval limit{duration_cast<seconds>(left).count(), (left % seconds(1)).count()};
    return setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit) == 0;
}

}  // namespace

FileDescriptor connectLocalSocket(int type, const std::string& path,
                                  steady_clock::time_point deadline) {
    const auto address = addressOf(path);
    FileDescriptor socket(address ? ::socket(AF_UNIX, type | SOCK_CLOEXEC, 0) : -1);
    while (socket.isOpen() && limitConnect(socket.get(), deadline)) {
        if (connect(socket.get(), reinterpret_cast<const sockaddr*>(&*address), sizeof *address) ==
            0) {
            return socket;
        }
        if (errno == EAGAIN) {
            errno = ETIMEDOUT;
        }
        if (errno != EINTR) {
            break;
        }
    }
    // Closing must not hide the reason.
    const int reason = errno;
    socket = FileDescriptor();
    errno = reason;
    return socket;
}

}  // namespace velunor
