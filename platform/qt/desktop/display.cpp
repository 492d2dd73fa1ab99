#include "platform/qt/desktop/display.h"

#include <sys/socket.h>
#include <xcb/xcb.h>

#include <QByteArray>
#include <QByteArrayList>
#include <QDir>
#include <QLibraryInfo>
#include <algorithm>

#include "platform/posix/local_socket.h"

namespace velunor {

namespace {

constexpr const char* platformVariable = "QT_QPA_PLATFORM";

bool xServerReachable() {
    if (qEnvironmentVariableIsEmpty("DISPLAY")) {
        return false;
    }
    // A failed attempt gives a connection object as well.
    xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
    const bool reached = xcb_connection_has_error(connection) == 0;
    xcb_disconnect(connection);
    return reached;
}

bool waylandReachable() {
    // Without the plug-in the toolkit could not use the compositor it finds.
    const QDir plugins(QLibraryInfo::path(QLibraryInfo::PluginsPath) + "/platforms");
    if (plugins.entryList({"libqwayland*"}, QDir::Files).isEmpty()) {
        return false;
    }
    QByteArray name = qgetenv("WAYLAND_DISPLAY");
    if (name.isEmpty()) {
        name = "wayland-0";
    }
    const QByteArray path = name.startsWith('/') ? name : qgetenv("XDG_RUNTIME_DIR") + '/' + name;
    return connectLocalSocket(SOCK_STREAM, path.toStdString()).isOpen();
}

bool platformReachable(const QByteArray& platform) {
    const QByteArray name = platform.split(':').constFirst().trimmed();
    if (name == "xcb") {
        return xServerReachable();
    }
    if (name.startsWith("wayland")) {
        return waylandReachable();
    }
    return name == "offscreen" || name.startsWith("minimal") || name == "vnc" ||
           name == "linuxfb" || name.startsWith("eglfs");
}

}  // namespace

bool prepareDisplay() {
    const QByteArray wanted = qgetenv(platformVariable);
    if (!wanted.isEmpty()) {
        const QByteArrayList platforms = wanted.split(';');
        return std::any_of(platforms.begin(), platforms.end(), platformReachable);
    }
    for (const char* platform : {"xcb", "wayland"}) {
        if (platformReachable(platform)) {
            qputenv(platformVariable, platform);
            return true;
        }
    }
    return false;
}

}  // namespace velunor
