#include "platform/linux/session/desktop_session.h"

#include <systemd/sd-login.h>

#include <cstdlib>
#include <vector>

#include "platform/owned.h"

namespace velunor {
namespace {

using Text = Owned<char, std::free>;

/// What the login manager says of a session; empty where it cannot.
std::string said(int (*ask)(const char*, char**), const std::string& session) {
    char* text = nullptr;
    const bool isKnown = ask(session.c_str(), &text) >= 0;
    const Text owner(text);
    return isKnown ? std::string(text) : std::string();
}

/// The desktop of the first of these sessions that has one; each is in the foreground of a seat,
/// where it stays for a while after its end.
Expected<DesktopSession, NoDesktop> desktopAmong(const std::vector<std::string>& sessions) {
    NoDesktop reason = NoDesktop::nobodyThere;
    for (const std::string& session : sessions) {
        DesktopSession desktop{.identifier = session};
        if (!isOpen(desktop) || said(sd_session_get_class, session) != "user" ||
            sd_session_get_uid(session.c_str(), &desktop.user) < 0) {
            continue;
        }
        const std::string type = said(sd_session_get_type, session);
        if (type == "x11" || type == "wayland" || type == "mir") {
            return desktop;
        }
        reason = NoDesktop::notGraphical;
    }
    return reason;
}

}  // namespace

Expected<DesktopSession, NoDesktop> desktopAtSeat() {
    char* session = nullptr;
    const bool isTaken = sd_seat_get_active("seat0", &session, nullptr) >= 0;
    const Text owner(session);
    return desktopAmong(isTaken ? std::vector<std::string>{session} : std::vector<std::string>());
}

Expected<DesktopSession, NoDesktop> desktopOf(uid_t user) {
    char** found = nullptr;
    const int count = sd_uid_get_sessions(user, 1, &found);
    const Owned<char*, std::free> owner(found);
    std::vector<std::string> sessions;
    for (int index = 0; index < count; ++index) {
        const Text session(found[index]);
        sessions.emplace_back(session.get());
    }
    return desktopAmong(sessions);
}

bool isOpen(const DesktopSession& session) {
    const std::string state = said(sd_session_get_state, session.identifier);
    return !state.empty() && state != "closing";
}

}  // namespace velunor
