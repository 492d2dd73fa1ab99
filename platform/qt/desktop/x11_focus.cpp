#include "platform/qt/desktop/x11_focus.h"

#include <QGuiApplication>
#include <vector>

#include "platform/qt/desktop/x11_properties.h"

namespace velunor {
namespace {

constexpr const char* activeWindow = "_NET_ACTIVE_WINDOW";
/// A request that acts for the user, as that of a task list does.
constexpr std::uint32_t forTheUser = 2;

}  // namespace

bool X11Focus::isPossible() {
    return x11Connection() != nullptr;
}

void X11Focus::withhold() {
    xcb_connection_t* x = x11Connection();
    if (x == nullptr) {
        return;
    }
    withheld_ = true;
    activeWindowAtom_ = x11Atom(x, activeWindow);
    setWanted(false);
    watchActiveWindow();
    qGuiApp->installNativeEventFilter(this);
}

void X11Focus::offer() {
    if (!withheld_) {
        return;
    }
    qGuiApp->removeNativeEventFilter(this);
    withheld_ = false;
    setWanted(true);
}

void X11Focus::setWanted(bool wanted) {
    xcb_connection_t* x = x11Connection();
    const auto window = static_cast<xcb_window_t>(window_.winId());
    // The hints begin with flags, of which the first tells that the second number holds.
    std::vector<std::uint32_t> hints = x11Values(x, window, "WM_HINTS");
    if (hints.size() >= 2) {
        hints[0] |= 1U;
        hints[1] = wanted ? 1 : 0;
        setX11Values(x, window, "WM_HINTS", "WM_HINTS", hints);
    }
    // A window that says it would take the focus by itself is taken for one that wants it.
    const xcb_atom_t takeFocus = x11Atom(x, "WM_TAKE_FOCUS");
    std::vector<std::uint32_t> protocols = x11Values(x, window, "WM_PROTOCOLS");
    std::erase(protocols, takeFocus);
    if (wanted) {
        protocols.push_back(takeFocus);
    }
    setX11Values(x, window, "WM_PROTOCOLS", "ATOM", protocols);
    xcb_flush(x);
}

bool X11Focus::isOwn(quint32 window) const {
    xcb_connection_t* x = x11Connection();
    auto part = static_cast<xcb_window_t>(window_.winId());
    while (part != XCB_WINDOW_NONE && part != x11Root(x)) {
        if (part == window) {
            return true;
        }
        const ReplyPointer<xcb_query_tree_reply_t> reply(
            xcb_query_tree_reply(x, xcb_query_tree(x, part), nullptr));
        part = reply ? reply->parent : xcb_window_t{XCB_WINDOW_NONE};
    }
    return false;
}

void X11Focus::watchActiveWindow() {
    xcb_connection_t* x = x11Connection();
    const std::vector<std::uint32_t> active = x11Values(x, x11Root(x), activeWindow);
    if (active.empty() || active.front() == XCB_WINDOW_NONE) {
        return;
    }
    if (!isOwn(active.front())) {
        former_ = active.front();
    } else if (former_ != XCB_WINDOW_NONE) {
        requestOfX11(x, former_, activeWindow, {forTheUser, XCB_CURRENT_TIME});
    }
}

bool X11Focus::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*) {
    if (eventType != "xcb_generic_event_t") {
        return false;
    }
    const auto* event = static_cast<xcb_generic_event_t*>(message);
    const auto* change = reinterpret_cast<const xcb_property_notify_event_t*>(event);
    if (event->response_type == XCB_PROPERTY_NOTIFY && change->atom == activeWindowAtom_) {
        watchActiveWindow();
    }
    return false;
}

}  // namespace velunor
