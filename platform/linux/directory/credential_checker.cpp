#include "platform/linux/directory/credential_checker.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <string_view>
#include <system_error>

#include "platform/linux/directory/credential_checker_connection.h"
#include "platform/linux/directory/credential_checker_protocol.h"
#include "platform/posix/poll_until.h"

namespace velunor {

namespace {

bool isUsable(std::string_view text, std::size_t longest) {
    return !text.empty() && text.size() <= longest && text.find('\0') == std::string_view::npos;
}

Secret requestFor(std::string_view userName, const Secret& password) {
    constexpr std::string_view end("\0", 1);
    Secret request{userName};
    request.append(end);
    request.append(password.reveal());
    request.append(end);
    return request;
}

/// `text` in a length for a log line, its control characters and whatever is no ASCII escaped.
std::string printable(std::string_view text) {
    constexpr std::size_t longest = 120;
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string line;
    for (const char character : text.substr(0, longest)) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte >= 0x20U && byte < 0x7FU) {
            line += character;
        } else {
            line += "\\x";
            line += digits[byte >> 4U];
            line += digits[byte & 0xFU];
        }
    }
    return text.size() > longest ? line + "..." : line;
}

std::optional<DirectoryError> verdictOf(std::string_view answer) {
    if (answer == password_helper_protocol::accepted) {
        return std::nullopt;
    }
    const DirectoryError unclear = helperError(EPROTO, "answer");
    if (!answer.starts_with(password_helper_protocol::refused) || !answer.ends_with('\n')) {
        return unclear;
    }
    answer.remove_prefix(password_helper_protocol::refused.size());
    answer.remove_suffix(1);
    int code = 0;
    const auto [end, error] = std::from_chars(answer.data(), answer.data() + answer.size(), code);
    const auto length = static_cast<std::size_t>(end - answer.data());
    if (error != std::errc() || code <= 0 || length == answer.size() || answer[length] != ' ') {
        return unclear;
    }
    return DirectoryError{"PAM", code, printable(answer.substr(length + 1))};
}

}  // namespace

DirectoryError helperError(int error, const std::string& operation) {
    return {"Helper", error, operation + ": " + std::generic_category().message(error)};
}

DirectoryResult<std::string> readHelperAnswer(int stream, SteadyDeadline deadline) {
    std::string answer;
    std::array<char, password_helper_protocol::longestAnswer> block{};
    while (true) {
        const int error = waitUntilReady(stream, POLLIN, deadline);
        if (error != 0) {
            return helperError(error, "answer");
        }
        const ssize_t count = read(stream, block.data(), block.size());
        if (count == 0) {
            return answer;
        }
        if (count < 0) {
            if (errno == EINTR || errno == EAGAIN) {
                continue;
            }
            // A service that turns the caller away does not read the request, so that its end is
            // a reset. Nothing but a refusal is good without an orderly end.
            if (errno == ECONNRESET && answer.starts_with(password_helper_protocol::refused)) {
                return answer;
            }
            return helperError(errno, "answer");
        }
        answer.append(block.data(), static_cast<std::size_t>(count));
        if (answer.size() > password_helper_protocol::longestAnswer) {
            return helperError(EMSGSIZE, "answer");
        }
    }
}

std::optional<DirectoryError> checkLocalPassword(const PasswordHelperSettings& settings,
                                                 const std::string& userName,
                                                 const Secret& password) {
    const auto deadline = std::chrono::steady_clock::now() + settings.timeout;
    if (!isUsable(userName, password_helper_protocol::longestUserName)) {
        return helperError(EINVAL, "user name");
    }
    if (!isUsable(password.reveal(), password_helper_protocol::longestPassword)) {
        return helperError(EINVAL, "password");
    }
    const Secret request = requestFor(userName, password);
    auto answer = askHelperSocket(settings.socketPath, request, deadline);
    if (!answer) {
        answer = askHelperProcess(settings.program, request, deadline);
    }
    if (!*answer) {
        return std::move(*answer).error();
    }
    return verdictOf(**answer);
}

}  // namespace velunor
