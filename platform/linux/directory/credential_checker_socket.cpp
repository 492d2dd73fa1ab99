#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

#include <cerrno>
#include <cstring>

#include "platform/linux/directory/credential_checker_connection.h"
#include "platform/linux/directory/credential_checker_protocol.h"
#include "platform/posix/poll_until.h"

namespace velunor {

namespace {

/// Limits how long a connect waits for room in the queue of the listening side, which poll(2)
/// cannot wait for. False when the deadline has passed.
bool limitConnect(int socket, SteadyDeadline deadline) {
    using std::chrono::microseconds;
    const auto left =
        std::chrono::duration_cast<microseconds>(deadline - std::chrono::steady_clock::now());
    if (left <= microseconds::zero()) {
        return false;
    }
    constexpr std::int64_t perSecond = 1'000'000;
    const timeval limit{static_cast<time_t>(left.count() / perSecond),
                        static_cast<suseconds_t>(left.count() % perSecond)};
    return setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit) == 0;
}

/// 0, or errno's number.
int connectTo(int socket, const std::string& path, SteadyDeadline deadline) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    // An empty path, or one that begins with NUL, would name a socket outside of the file system.
    if (path.empty() || path.find('\0') != std::string::npos) {
        return EINVAL;
    }
    if (path.size() >= sizeof address.sun_path) {
        return ENAMETOOLONG;
    }
    std::memcpy(address.sun_path, path.data(), path.size());
    while (true) {
        if (!limitConnect(socket, deadline)) {
            return ETIMEDOUT;
        }
        if (connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
            return 0;
        }
        if (errno != EINTR) {
            return errno == EAGAIN ? ETIMEDOUT : errno;
        }
    }
}

/// Whether root or this user listens at the other end.
bool isTrustworthy(int socket) {
    ucred listener{};
    socklen_t size = sizeof listener;
    return getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &listener, &size) == 0 &&
           (listener.uid == 0 || listener.uid == geteuid());
}

/// 0, or errno's number.
int sendAll(int socket, const Secret& request, SteadyDeadline deadline) {
    std::string_view rest = request.reveal();
    while (!rest.empty()) {
        const int error = waitUntilReady(socket, POLLOUT, deadline);
        if (error != 0) {
            return error;
        }
        const ssize_t count = send(socket, rest.data(), rest.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (count >= 0) {
            rest.remove_prefix(static_cast<std::size_t>(count));
        } else if (errno != EINTR && errno != EAGAIN) {
            return errno;
        }
    }
    return shutdown(socket, SHUT_WR) == 0 ? 0 : errno;
}

}  // namespace

std::optional<DirectoryResult<std::string>> askHelperSocket(const std::string& path,
                                                            const Secret& request,
                                                            SteadyDeadline deadline) {
    const FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!socket.isOpen()) {
        return helperError(errno, "socket");
    }
    int error = connectTo(socket.get(), path, deadline);
    if (error == ENOENT || error == ECONNREFUSED) {
        return std::nullopt;
    }
    if (error != 0) {
        return helperError(error, "connect");
    }
    if (!isTrustworthy(socket.get())) {
        return helperError(EPERM, "a service of another user");
    }
    error = sendAll(socket.get(), request, deadline);
    auto answer = readHelperAnswer(socket.get(), deadline);
    // A service that turns the caller away tells so without taking the request. Any other answer is
    // none to it.
    if (error != 0 && (!answer || !answer->starts_with(password_helper_protocol::refused))) {
        return helperError(error, "send");
    }
    return answer;
}

}  // namespace velunor
