#pragma once

#include <sys/types.h>

#include <optional>

#include "platform/posix/file_descriptor.h"

namespace velunor {

/// Whether the descriptor is a socket, that is whether the system service is asked.
[[nodiscard]] bool isSocket(const FileDescriptor& descriptor);

/// The user at the other end of a connected local socket, none when the kernel does not tell.
[[nodiscard]] std::optional<uid_t> callerOf(const FileDescriptor& socket);

/// Whether the service answers this user: root, or the owner of a session that is in the foreground
/// of its seat, or a remote one in use. A user whose last session is closing, or who only has
/// services running, is not there to be asked.
[[nodiscard]] bool mayAsk(uid_t caller);

/// The line of the log about a verdict, PAM's number.
void logVerdict(uid_t caller, int code);

}  // namespace velunor
