#include "platform/linux/directory/credential_checker.h"

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <string_view>
#include <system_error>
#include <thread>

#include "platform/linux/directory/credential_checker_protocol.h"
#include "platform/posix/local_socket.h"
#include "platform/text.h"

namespace velunor {
namespace {

namespace protocol = credential_checker_protocol;

/// How the errors begin of an answer that has not come, other than of one that is no good.
constexpr const char* noAnswer = "no answer";

bool isUsable(std::string_view text, std::size_t longest) {
    return !text.empty() && text.size() <= longest && text.find('\0') == std::string_view::npos;
}

/// The text of an error for a log line. The checker itself keeps those of a directory server short.
std::string messageOf(std::string_view text, Backend backend) {
    constexpr std::size_t longestOfPam = 120;
    if (backend == Backend::pam && text.size() > longestOfPam) {
        return inOneLine(text.substr(0, longestOfPam)) + "...";
    }
    return inOneLine(text);
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

/// What one connection to the service at `path` gives; none when nobody listens there. A socket of
/// another user than root and the caller's own gets nothing and is an error.
std::optional<DirectoryResult<std::string>> askOnce(const std::string& path, const Secret& request,
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
    if (error != 0 && (!answer || !answer->starts_with(protocol::refused))) {
        return checkerError(error, noAnswer);
    }
    return answer;
}

/// Whether the answer has not come, but may the next time: the service had no room for the
/// connection, or for one more of this user's, or has broken down.
bool mayComeYet(const DirectoryResult<std::string>& answer) {
    if (answer) {
        return false;
    }
    const auto code = answer.error().code;
    return code == ENODATA || code == ECONNRESET || code == EPIPE;
}

/// Asks the system service, with the whole request first; again while no answer comes, until the
/// deadline.
std::optional<DirectoryResult<std::string>> askCheckerService(const std::string& path,
                                                              const Secret& request,
                                                              SteadyDeadline deadline) {
    constexpr std::chrono::milliseconds longestPause{1000};
    std::chrono::milliseconds pause{50};
    auto answer = askOnce(path, request, deadline);
    while (answer && mayComeYet(*answer) && std::chrono::steady_clock::now() + pause < deadline) {
        std::this_thread::sleep_for(pause);
        pause = std::min(2 * pause, longestPause);
        answer = askOnce(path, request, deadline);
    }
    return answer;
}

}  // namespace

DirectoryError checkerError(int error, const std::string& operation) {
    return {"Checker", error, operation + ": " + std::generic_category().message(error)};
}

Secret credentialRequest(std::string_view userName, const Secret& password) {
    constexpr std::string_view end("\0", 1);
    Secret request{userName};
    request.append(end);
    request.append(password.reveal());
    request.append(end);
    return request;
}

DirectoryResult<std::string> readCheckerAnswer(int stream, AnswerPart part,
                                               SteadyDeadline deadline) {
    std::string answer;
    std::array<char, protocol::longestAnswer> block{};
    while (part == AnswerPart::whole || !answer.ends_with('\n')) {
        const int error = pollUntil(stream, POLLIN, deadline);
        if (error != 0) {
            return checkerError(error, noAnswer);
        }
        const ssize_t count = read(stream, block.data(), block.size());
        if (count == 0) {
            break;
        }
        if (count < 0) {
            if (errno == EINTR || errno == EAGAIN) {
                continue;
            }
            // A service that turns the caller away does not read the request, so that its end is
            // a reset. Nothing but a refusal is good without an orderly end.
            if (errno == ECONNRESET && answer.starts_with(protocol::refused)) {
                break;
            }
            return checkerError(errno, noAnswer);
        }
        answer.append(block.data(), static_cast<std::size_t>(count));
        if (answer.size() > protocol::longestAnswer) {
            return checkerError(EMSGSIZE, "answer");
        }
    }
    if (answer.empty()) {
        return checkerError(ENODATA, noAnswer);
    }
    return answer;
}

std::optional<DirectoryError> verdictIn(const DirectoryResult<std::string>& answer,
                                        std::string_view success, Backend backend) {
    if (!answer) {
        return answer.error();
    }
    std::string_view line = *answer;
    if (line == success) {
        return std::nullopt;
    }
    const DirectoryError unclear = checkerError(EPROTO, "answer");
    if (!line.starts_with(protocol::refused) || !line.ends_with('\n')) {
        return unclear;
    }
    line.remove_prefix(protocol::refused.size());
    line.remove_suffix(1);
    int code = 0;
    const auto [end, error] = std::from_chars(line.data(), line.data() + line.size(), code);
    const auto length = static_cast<std::size_t>(end - line.data());
    // PAM's numbers begin at 1; those of the directory's library have either sign.
    const bool isError = code > 0 || (code < 0 && backend == Backend::ldap);
    if (error != std::errc() || !isError || length == line.size() || line[length] != ' ') {
        return unclear;
    }
    return DirectoryError{backend == Backend::pam ? "PAM" : "LDAP", code,
                          messageOf(line.substr(length + 1), backend)};
}

std::optional<DirectoryError> checkLocalPassword(const CredentialCheckerSettings& settings,
                                                 const std::string& userName,
                                                 const Secret& password) {
    const auto deadline = std::chrono::steady_clock::now() + settings.timeout;
    if (!isUsable(userName, protocol::longestUserName)) {
        return checkerError(EINVAL, "user name");
    }
    if (!isUsable(password.reveal(), protocol::longestPassword)) {
        return checkerError(EINVAL, "password");
    }
    const Secret request = credentialRequest(userName, password);
    auto answer = askCheckerService(settings.socketPath, request, deadline);
    if (!answer) {
        auto process = CheckerProcess::start(settings.program, {});
        if (!process) {
            return std::move(process).error();
        }
        answer = (*process)->ask(request, deadline);
    }
    return verdictIn(*answer, protocol::accepted, Backend::pam);
}

}  // namespace velunor
