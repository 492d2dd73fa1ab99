#include "tools/osupdate_checkpass/protocol/messages.h"

#include <unistd.h>

#include <algorithm>

#include "platform/posix/file_descriptor.h"
#include "platform/posix/memory_lock.h"
#include "platform/secret.h"

namespace velunor {
namespace {

/// Takes a text and the NUL behind it from the front of `rest`; an empty one when there is none, or
/// one that is too long.
std::string_view takeText(std::string_view& rest, std::size_t longest) {
    const std::size_t end = rest.find('\0');
    if (end == std::string_view::npos || end > longest) {
        return {};
    }
    const std::string_view text = rest.substr(0, end);
    rest.remove_prefix(end + 1);
    return text;
}

}  // namespace

CheckRequest::~CheckRequest() {
    wipe(bytes_.data(), bytes_.size());
}

void CheckRequest::lock() const {
    static_cast<void>(lockMemory(bytes_.data(), bytes_.size()));
}

bool CheckRequest::read(int input, std::chrono::steady_clock::time_point deadline,
                        std::size_t longestPassword) {
    std::string_view rest(bytes_.data(), readToEnd(input, deadline));
    userName_ = takeText(rest, credential_checker_protocol::longestUserName);
    password_ = takeText(rest, longestPassword);
    return !userName_.empty() && !password_.empty() && rest.empty();
}

/// The number of bytes; 0 when there is no end in time or too much before it.
std::size_t CheckRequest::readToEnd(int input, std::chrono::steady_clock::time_point deadline) {
    std::size_t size = 0;
    while (size < bytes_.size() && pollUntil(input, POLLIN, deadline) == 0) {
        const ssize_t count = ::read(input, bytes_.data() + size, bytes_.size() - size);
        if (count < 0) {
            break;
        }
        if (count == 0) {
            return size;
        }
        size += static_cast<std::size_t>(count);
    }
    return 0;
}

std::string refusal(int code, std::string_view text) {
    std::string line(credential_checker_protocol::refused);
    line += std::to_string(code) + " ";
    line += text;
    line.resize(std::min(line.size(), credential_checker_protocol::longestAnswer - 1));
    return line + "\n";
}

bool answer(int stream, std::string_view line) {
    return ::write(stream, line.data(), line.size()) == static_cast<ssize_t>(line.size());
}

}  // namespace velunor
