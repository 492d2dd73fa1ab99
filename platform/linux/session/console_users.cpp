#include "platform/linux/session/console_users.h"

#include <systemd/sd-login.h>

#include <cstdlib>
#include <memory>
#include <string_view>

#include "platform/posix/password_database.h"

namespace velunor {

namespace {

struct FreeText {
    void operator()(char* text) const { std::free(text); }
};

using Text = std::unique_ptr<char, FreeText>;

/// A user's graphical session; a greeter or a text console is nobody's desktop.
bool isUserDesktop(const char* session) {
    char* type = nullptr;
    char* kind = nullptr;
    const bool known = sd_session_get_type(session, &type) >= 0;
    const Text typeOwner(type);
    const bool classKnown = sd_session_get_class(session, &kind) >= 0;
    const Text kindOwner(kind);
    if (!known || !classKnown || std::string_view(kind) != "user") {
        return false;
    }
    const std::string_view name(type);
    return name == "x11" || name == "wayland" || name == "mir";
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
