#pragma once

#include <sys/types.h>

#include <string>

#include "platform/expected.h"

namespace velunor {

// The graphical sessions of the machine's users, as the login manager tells of them. Any thread.

/// A user's graphical session that is in the foreground of its seat.
struct DesktopSession {
    std::string identifier;
    uid_t user = 0;
};

/// Why there is no such session. A greeter is nobody's session.
enum class NoDesktop { nobodyThere, notGraphical };

/// The session of the user who sits at the first seat of the machine.
[[nodiscard]] Expected<DesktopSession, NoDesktop> desktopAtSeat();

/// The session of this user, at whatever seat.
[[nodiscard]] Expected<DesktopSession, NoDesktop> desktopOf(uid_t user);

/// Whether the session is still there, and not about to end.
[[nodiscard]] bool isOpen(const DesktopSession& session);

}  // namespace velunor
