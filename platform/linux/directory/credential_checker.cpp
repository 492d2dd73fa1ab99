#include "platform/linux/directory/credential_checker.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <string_view>
#include <system_error>

#include "platform/linux/directory/credential_checker_connection.h"
#include "platform/linux/directory/credential_checker_protocol.h"
#include "platform/posix/file_descriptor.h"
#include "platform/text.h"

namespace velunor {

namespace {

namespace protocol = credential_checker_protocol;

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
            return checkerError(error, "answer");
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
            return checkerError(errno, "answer");
        }
        answer.append(block.data(), static_cast<std::size_t>(count));
        if (answer.size() > protocol::longestAnswer) {
            return checkerError(EMSGSIZE, "answer");
        }
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
