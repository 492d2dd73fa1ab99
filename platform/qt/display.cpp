#include "platform/qt/display.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include <QGuiApplication>
#include <QString>
#include <QtGlobal>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

namespace velunor {

namespace {

struct FreeReply {
    void operator()(void* reply) const { std::free(reply); }
};

bool xServerAnswers() {
    xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
    const bool answers = xcb_connection_has_error(connection) == 0;
    xcb_disconnect(connection);
    return answers;
}

bool waylandServerAnswers() {
    const QByteArray name = qgetenv("WAYLAND_DISPLAY");
    if (name.isEmpty()) {
        return false;
    }
    const QByteArray path = name.startsWith('/') ? name : qgetenv("XDG_RUNTIME_DIR") + '/' + name;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (static_cast<std::size_t>(path.size()) >= sizeof address.sun_path) {
        return false;
    }
    std::memcpy(address.sun_path, path.constData(), static_cast<std::size_t>(path.size()));
    const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool answers =
        connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    close(descriptor);
    return answers;
}

}  // namespace

bool prepareDisplay() {
    // Without this the usable area of several monitors would ignore the panels on them.
    qputenv("QT_RELY_ON_NET_WORKAREA_ATOM", "1");
    const QByteArray platform = qgetenv("QT_QPA_PLATFORM");
    if (!platform.isEmpty() && !platform.startsWith("xcb") && !platform.startsWith("wayland")) {
        return true;
    }
    if (!platform.startsWith("wayland") && xServerAnswers()) {
        qputenv("QT_QPA_PLATFORM", "xcb");
        return true;
    }
    return !platform.startsWith("xcb") && waylandServerAnswers();
}

bool isCompositing() {
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (x11 == nullptr) {
        return QGuiApplication::platformName().startsWith(u"wayland"_qs);
    }
    xcb_connection_t* connection = x11->connection();
    constexpr std::string_view selection = "_NET_WM_CM_S0";
    const std::unique_ptr<xcb_intern_atom_reply_t, FreeReply> atom(xcb_intern_atom_reply(
        connection, xcb_intern_atom(connection, 0, selection.size(), selection.data()), nullptr));
    if (!atom) {
        return false;
    }
    const std::unique_ptr<xcb_get_selection_owner_reply_t, FreeReply> owner(
        xcb_get_selection_owner_reply(connection, xcb_get_selection_owner(connection, atom->atom),
                                      nullptr));
    return owner && owner->owner != XCB_WINDOW_NONE;
}

}  // namespace velunor
