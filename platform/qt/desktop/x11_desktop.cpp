#include "platform/qt/desktop/x11_desktop.h"

#include <xcb/xcb.h>

#include <QGuiApplication>
#include <QScreen>
#include <QWidget>
#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <vector>

#include "platform/qt/desktop/x11_geometry.h"
#include "platform/qt/desktop/x11_properties.h"

namespace velunor {
namespace {

/// What `hidesWorkArea` found out.
std::optional<bool> workAreaIsHidden;

/// The window manager's own work area for `monitor`, where it keeps one for each.
std::optional<QRect> ownWorkArea(xcb_connection_t* x, xcb_window_t root, const QRect& monitor) {
    const auto desktop = x11Values(x, root, "_NET_CURRENT_DESKTOP");
    const std::string number = std::to_string(desktop.empty() ? 0 : desktop.front());
    return workAreaWithin(monitor, x11Values(x, root, "_GTK_WORKAREAS_D" + number));
}

/// Whether there is a window manager that keeps the work area to itself. Asked for at each layout,
/// so it is remembered until the desktop changes.
bool hidesWorkArea(xcb_connection_t* x) {
    if (!workAreaIsHidden) {
        const xcb_window_t root = x11Root(x);
        workAreaIsHidden = x11Values(x, root, "_NET_WORKAREA").empty() &&
                           !x11Values(x, root, "_NET_SUPPORTING_WM_CHECK").empty();
    }
    return *workAreaIsHidden;
}

/// The windows among which the panels are. A window manager that names no work area need not list
/// its panels either.
std::vector<xcb_window_t> panelsAndOthers(xcb_connection_t* x) {
    constexpr int withFramed = 2;
    const xcb_window_t root = x11Root(x);
    return hidesWorkArea(x) ? x11Descendants(x, root, withFramed)
                            : x11Values(x, root, "_NET_CLIENT_LIST");
}

QRect withoutStruts(xcb_connection_t* x, const xcb_screen_t& screen, const QRect& monitor) {
    const QSize desktop(screen.width_in_pixels, screen.height_in_pixels);
    QRect area = monitor;
    const std::vector<xcb_window_t> windows = panelsAndOthers(x);
    const auto partial = x11ValuesOfEach(x, windows, "_NET_WM_STRUT_PARTIAL");
    const auto whole = x11ValuesOfEach(x, windows, "_NET_WM_STRUT");
    for (std::size_t index = 0; index < windows.size(); ++index) {
        std::vector<std::uint32_t> strut = partial[index];
        if (strut.size() < 12) {
            strut = whole[index];
            if (strut.size() < 4) {
                continue;
            }
            const std::uint32_t height = screen.height_in_pixels;
            const std::uint32_t width = screen.width_in_pixels;
            strut.resize(4);
            strut.insert(strut.end(), {0, height, 0, height, 0, width, 0, width});
        }
        area = area.intersected(withoutStrut(monitor, strut, desktop));
    }
    return area.isEmpty() ? monitor : area;
}

}  // namespace

std::optional<QRect> x11UsableArea(const QScreen& screen) {
    xcb_connection_t* x = x11Connection();
    if (x == nullptr || (QGuiApplication::screens().size() < 2 && !hidesWorkArea(x))) {
        return std::nullopt;
    }
    const xcb_screen_t* root = xcb_setup_roots_iterator(xcb_get_setup(x)).data;
    // Device pixels: the origin of a screen is the same in both systems, its size is scaled.
    const double scale = screen.devicePixelRatio();
    const QPoint origin = screen.geometry().topLeft();
    const QRect monitor(origin, screen.geometry().size() * scale);
    const QRect area =
        ownWorkArea(x, root->root, monitor).value_or(withoutStruts(x, *root, monitor));
    const QPoint inside = (area.topLeft() - origin) / scale;
    return QRect(origin + inside, area.size() / scale);
}

std::optional<QMargins> x11FrameMargins(const QWidget& window) {
    xcb_connection_t* x = x11Connection();
    if (x == nullptr) {
        return std::nullopt;
    }
    const auto id = static_cast<xcb_window_t>(window.internalWinId());
    const auto extents =
        id == 0 ? std::vector<std::uint32_t>() : x11Values(x, id, "_NET_FRAME_EXTENTS");
    return frameMargins(extents, window.devicePixelRatioF());
}

void showOnEveryWorkspace(const QWidget& window) {
    xcb_connection_t* x = x11Connection();
    if (x == nullptr) {
        return;
    }
    constexpr std::uint32_t everyWorkspace = 0xFFFFFFFF;
    constexpr std::uint32_t add = 1;
    constexpr std::uint32_t fromAnApplication = 1;
    const auto id = static_cast<xcb_window_t>(window.internalWinId());
    // Some window managers go by the one, some by the other.
    requestOfX11(x, id, "_NET_WM_DESKTOP", {everyWorkspace, fromAnApplication});
    requestOfX11(x, id, "_NET_WM_STATE",
                 {add, x11Atom(x, "_NET_WM_STATE_STICKY"), 0, fromAnApplication});
}

bool movesWindowsOnRequest() {
    xcb_connection_t* x = x11Connection();
    if (x == nullptr) {
        return true;
    }
    const std::vector<std::uint32_t> supported = x11Values(x, x11Root(x), "_NET_SUPPORTED");
    return std::ranges::find(supported, x11Atom(x, "_NET_WM_MOVERESIZE")) != supported.end();
}

void showMinimizedAgain(const QWidget& window) {
    xcb_connection_t* x = x11Connection();
    if (x == nullptr) {
        return;
    }
    const auto id = static_cast<xcb_window_t>(window.internalWinId());
    const std::vector<std::uint32_t> states = x11Values(x, id, "_NET_WM_STATE");
    if (std::ranges::find(states, x11Atom(x, "_NET_WM_STATE_HIDDEN")) == states.end()) {
        return;
    }
    // What the server itself would send if the window were not mapped. An event has 32 bytes.
    xcb_map_request_event_t request{};
    request.response_type = XCB_MAP_REQUEST;
    request.parent = x11Root(x);
    request.window = id;
    std::array<char, 32> event{};
    std::memcpy(event.data(), &request, sizeof request);
    xcb_send_event(x, 0, x11Root(x), XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT, event.data());
    xcb_flush(x);
}

bool hasCompositor() {
    xcb_connection_t* x = x11Connection();
    if (x == nullptr) {
        return true;
    }
    const ReplyPointer<xcb_get_selection_owner_reply_t> owner(xcb_get_selection_owner_reply(
        x, xcb_get_selection_owner(x, x11Atom(x, "_NET_WM_CM_S0")), nullptr));
    return owner && owner->owner != XCB_WINDOW_NONE;
}

bool capsLockIsOn() {
    xcb_connection_t* x = x11Connection();
    if (x == nullptr) {
        return false;
    }
    const ReplyPointer<xcb_query_pointer_reply_t> reply(
        xcb_query_pointer_reply(x, xcb_query_pointer(x, x11Root(x)), nullptr));
    return reply && (reply->mask & XCB_MOD_MASK_LOCK) != 0;
}

X11DesktopChanges::X11DesktopChanges(std::function<void()> changed) : changed_(std::move(changed)) {
    if (xcb_connection_t* x = x11Connection()) {
        workAreaAtom_ = x11Atom(x, "_NET_WORKAREA");
        managerAtom_ = x11Atom(x, "_NET_SUPPORTING_WM_CHECK");
        frameExtentsAtom_ = x11Atom(x, "_NET_FRAME_EXTENTS");
        watchWindows();
        qGuiApp->installNativeEventFilter(this);
    }
}

void X11DesktopChanges::watchWindows() {
    xcb_connection_t* x = x11Connection();
    if (watchesWindows_ || !hidesWorkArea(x)) {
        return;
    }
    addX11Events(x, x11Root(x), XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY);
    watchesWindows_ = true;
}

bool X11DesktopChanges::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*) {
    if (eventType != "xcb_generic_event_t") {
        return false;
    }
    const auto* event = static_cast<xcb_generic_event_t*>(message);
    constexpr unsigned sentFlag = 0x80;
    const unsigned type = event->response_type & ~sentFlag;
    if (type == XCB_PROPERTY_NOTIFY) {
        const auto* change = reinterpret_cast<const xcb_property_notify_event_t*>(event);
        if (change->atom == workAreaAtom_ || change->atom == managerAtom_) {
            workAreaIsHidden.reset();
            watchWindows();
            changed_();
        } else if (change->atom == frameExtentsAtom_) {
            changed_();
        }
    } else if (watchesWindows_ && (type == XCB_MAP_NOTIFY || type == XCB_UNMAP_NOTIFY)) {
        changed_();
    }
    return false;
}

}  // namespace velunor
