#include "platform/linux/session/session.h"

#include <fcntl.h>

#include <string>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/linux/session/bus_handles.h"
#include "platform/linux/session/desktop_session.h"
#include "platform/posix/file_descriptor.h"
#include "platform/posix/password_database.h"

namespace velunor {
namespace {

/// The login manager's lock; it lasts as long as the descriptor is open.
FileDescriptor loginManagerLock(const std::string& reason) {
    const BusHandle bus = openBus(sd_bus_open_system);
    if (!bus) {
        return FileDescriptor();
    }
    // There is a reply where the call succeeds alone.
    sd_bus_message* reply = nullptr;
    sd_bus_call_method(bus.get(), "org.freedesktop.login1", "/org/freedesktop/login1",
                       "org.freedesktop.login1.Manager", "Inhibit", nullptr, &reply, "ssss", "idle",
                       "VelunorOSUpdate", reason.c_str(), "block");
    const BusMessageHandle owner(reply);
    if (!owner) {
        return FileDescriptor();
    }
    // It stays so where the reply holds no descriptor.
    int descriptor = -1;
    sd_bus_message_read(reply, "h", &descriptor);
    // The message closes its own with itself.
    return FileDescriptor(fcntl(descriptor, F_DUPFD_CLOEXEC, 3));
}

/// The desktop portal's lock; it lasts as long as the connection is open.
BusHandle portalLock(const std::string& reason) {
    constexpr std::uint32_t idle = 8;
    BusHandle bus = openBus(sd_bus_open_user);
    if (!bus) {
        return nullptr;
    }
    sd_bus_message* reply = nullptr;
    sd_bus_call_method(bus.get(), "org.freedesktop.portal.Desktop",
                       "/org/freedesktop/portal/desktop", "org.freedesktop.portal.Inhibit",
                       "Inhibit", nullptr, &reply, "sua{sv}", "", idle, 1, "reason", "s",
                       reason.c_str());
    const BusMessageHandle owner(reply);
    return owner ? std::move(bus) : nullptr;
}

}  // namespace

std::optional<std::uint32_t> LinuxConsoleUsers::consoleUserIdentifier() {
    const auto desktop = desktopAtSeat();
    return desktop ? std::optional<std::uint32_t>(desktop->user) : std::nullopt;
}

std::optional<PasswordEntry> LinuxConsoleUsers::passwordEntry(std::uint32_t userIdentifier) {
    return passwordEntryOf(userIdentifier);
}

/// Given back by the end of this object's life, whichever of the two it is.
struct LinuxProcessActivity::Lock {
    FileDescriptor descriptor;
    BusHandle bus;
};

LinuxProcessActivity::LinuxProcessActivity(SystemLog& log) : log_(log) {}

ProcessActivity::Token LinuxProcessActivity::beginUserInitiated(std::string_view reason) {
    const auto lock = std::make_shared<Lock>();
    locks_.emplace(++lastToken_, lock);
    try {
        // An activity that ends before its lock is granted leaves the lock to this thread alone.
        std::thread([lock, text = std::string(reason), &log = log_] {
            lock->descriptor = loginManagerLock(text);
            lock->bus = lock->descriptor.isOpen() ? nullptr : portalLock(text);
            if (!lock->descriptor.isOpen() && !lock->bus) {
                log.write("No idle inhibitor available");
            }
        }).detach();
    } catch (const std::system_error&) {
        log_.write("No idle inhibitor available");
    }
    return lastToken_;
}

void LinuxProcessActivity::end(Token token) {
    locks_.erase(token);
}

}  // namespace velunor
