#pragma once

#include <sys/types.h>

#include <optional>

namespace velunor {

/// Who asks, through a socket.
struct SocketCaller {
    uid_t user = 0;
    /// Whether it may ask: root, or the owner of an active session.
    bool allowed = false;
};

/// Whether the descriptor is a socket, that is whether the system service is asked.
[[nodiscard]] bool isSocket(int descriptor);

/// The caller at the other end of a connected local socket, none when the kernel does not tell.
[[nodiscard]] std::optional<SocketCaller> callerOf(int socket);

/// Whether the process has more rights than the user who started it.
[[nodiscard]] bool hasForeignRights();

}  // namespace velunor
