#include <sys/socket.h>

#include <cerrno>

#include "platform/linux/directory/credential_checker_connection.h"
#include "platform/linux/directory/credential_checker_protocol.h"
#include "platform/posix/file_descriptor.h"
#include "platform/posix/local_socket.h"

namespace velunor {

namespace {

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
        const int error = pollUntil(socket, POLLOUT, deadline);
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

std::optional<DirectoryResult<std::string>> askCheckerService(const std::string& path,
                                                              const Secret& request,
                                                              SteadyDeadline deadline) {
    const FileDescriptor socket = connectLocalSocket(SOCK_STREAM, path, deadline);
    if (!socket.isOpen()) {
        const bool isNobody = errno == ENOENT || errno == ECONNREFUSED;
        return isNobody
                   ? std::nullopt
                   : std::optional<DirectoryResult<std::string>>(checkerError(errno, "connect"));
    }
    if (!isTrustworthy(socket.get())) {
        return checkerError(EPERM, "a service of another user");
    }
    const int error = sendAll(socket.get(), request, deadline);
    auto answer = readCheckerAnswer(socket.get(), AnswerPart::whole, deadline);
    // A service that turns the caller away tells so without taking the request. Any other answer is
    // none to it.
    if (error != 0 && (!answer || !answer->starts_with(credential_checker_protocol::refused))) {
        return checkerError(error, "send");
    }
    return answer;
}

}  // namespace velunor
