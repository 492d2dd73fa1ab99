#include "tools/osupdate_checkpass/request.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <string_view>

#include "platform/linux/directory/credential_checker_protocol.h"
#include "platform/posix/poll_until.h"

namespace velunor {

namespace {

constexpr std::size_t longestRequest =
    password_helper_protocol::longestUserName + password_helper_protocol::longestPassword + 2;

/// All bytes up to the end of the stream, none when there is no end in time or too much before it.
std::optional<Secret> readToEnd(int input, std::chrono::steady_clock::time_point deadline) {
    Secret content;
    std::array<char, longestRequest> block{};
    while (waitUntilReady(input, POLLIN, deadline) == 0) {
        const ssize_t count = read(input, block.data(), block.size());
        if (count == 0) {
            return content;
        }
        if (count < 0) {
            if (errno == EINTR || errno == EAGAIN) {
                continue;
            }
            break;
        }
        const auto size = static_cast<std::size_t>(count);
        content.append({block.data(), size});
        wipe(block.data(), size);
        if (content.size() > longestRequest) {
            break;
        }
    }
    return std::nullopt;
}

/// Takes a text and the NUL behind it from the front of `rest`; none when there is none, or one of
/// a wrong length.
std::optional<Secret> takeText(std::string_view& rest, std::size_t longest) {
    const std::size_t end = rest.find('\0');
    if (end == std::string_view::npos || end == 0 || end > longest) {
        return std::nullopt;
    }
    Secret text(rest.substr(0, end));
    rest.remove_prefix(end + 1);
    return text;
}

}  // namespace

std::optional<CheckRequest> readRequest(int input, std::chrono::steady_clock::time_point deadline) {
    const auto content = readToEnd(input, deadline);
    if (!content) {
        return std::nullopt;
    }
    std::string_view rest = content->reveal();
    auto userName = takeText(rest, password_helper_protocol::longestUserName);
    if (!userName) {
        return std::nullopt;
    }
    auto password = takeText(rest, password_helper_protocol::longestPassword);
    if (!password || !rest.empty()) {
        return std::nullopt;
    }
    return CheckRequest{std::move(*userName), std::move(*password)};
}

}  // namespace velunor
