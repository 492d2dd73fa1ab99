#include "platform/linux/session/console_users.h"

#include <systemd/sd-login.h>

#include <cstdlib>
#include <string>

#include "platform/owned.h"
#include "platform/posix/password_database.h"

namespace velunor {
namespace {

using Text = Owned<char, std::free>;

/// What the login manager says of a session; empty where it cannot.
std::string said(int (*ask)(const char*, char**), const char* session) {
    char* text = nullptr;
    const bool isKnown = ask(session, &text) >= 0;
    const Text owner(text);
    return isKnown ? std::string(text) : std::string();
}

/// A user's graphical session; a greeter or a text console is nobody's desktop.
bool isUserDesktop(const char* session) {
    const std::string type = said(sd_session_get_type, session);
    return said(sd_session_get_class, session) == "user" &&
           (type == "x11" || type == "wayland" || type == "mir");
}

}  // namespace

std::optional<std::uint32_t> LinuxConsoleUsers::consoleUserIdentifier() {
    char* session = nullptr;
    uid_t user = 0;
    const bool active = sd_seat_get_active("seat0", &session, &user) >= 0 && session != nullptr;
    const Text sessionOwner(session);
    if (!active || !isUserDesktop(session) || sd_session_get_uid(session, &user) < 0) {
        return std::nullopt;
    }
    return user;
}

std::optional<PasswordEntry> LinuxConsoleUsers::passwordEntry(std::uint32_t userIdentifier) {
    return passwordEntryOf(userIdentifier);
}

}  // namespace velunor
