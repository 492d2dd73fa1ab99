#pragma once

#include <chrono>
#include <string>
#include <variant>

#include "platform/posix/file_descriptor.h"

namespace velunor {

using LdapDeadline = std::chrono::steady_clock::time_point;

/// Waits until the socket has one of the `events` of poll(2), an error included; false at the
/// deadline, with errno ETIMEDOUT.
[[nodiscard]] bool waitForSocket(int socket, short events, LdapDeadline deadline);

/// Connects a TCP socket to the first address of `host` that answers, and looks the name up before.
/// A silent address uses up no more than its share of the time. The socket is close-on-exec and
/// does not block. Else why there is none, as one line. Any thread.
[[nodiscard]] std::variant<FileDescriptor, std::string> connectSocket(const std::string& host,
                                                                      int port,
                                                                      LdapDeadline deadline);

}  // namespace velunor
