#include "platform/qt/desktop/window_sight.h"

#include <QGuiApplication>
#include <QWindow>
#include <algorithm>
#include <chrono>
#include <utility>
#include <vector>

#include "platform/qt/desktop/x11_properties.h"

namespace velunor {
namespace {

/// A change of the desktop is several events.
constexpr std::chrono::milliseconds timeToSettle{200};
/// A window that is hidden for less was put away and came back, or is just coming up.
constexpr std::chrono::milliseconds shortAbsence{2000};

constexpr const char* activeWindow = "_NET_ACTIVE_WINDOW";
constexpr const char* state = "_NET_WM_STATE";

bool contains(const std::vector<std::uint32_t>& values, std::uint32_t value) {
    return std::ranges::find(values, value) != values.end();
}

/// Place of a window on the desktop in pixels; empty where there is no such window.
QRect placeOf(xcb_connection_t* x, xcb_window_t window) {
    const xcb_get_geometry_cookie_t sizeAsked = xcb_get_geometry(x, window);
    const xcb_translate_coordinates_cookie_t placeAsked =
        xcb_translate_coordinates(x, window, x11Root(x), 0, 0);
    const ReplyPointer<xcb_get_geometry_reply_t> size(
        xcb_get_geometry_reply(x, sizeAsked, nullptr));
    const ReplyPointer<xcb_translate_coordinates_reply_t> place(
        xcb_translate_coordinates_reply(x, placeAsked, nullptr));
    return size && place ? QRect(place->dst_x, place->dst_y, size->width, size->height) : QRect();
}

bool isViewable(xcb_connection_t* x, xcb_window_t window) {
    const ReplyPointer<xcb_get_window_attributes_reply_t> reply(
        xcb_get_window_attributes_reply(x, xcb_get_window_attributes(x, window), nullptr));
    return reply && reply->map_state == XCB_MAP_STATE_VIEWABLE &&
           reply->_class == XCB_WINDOW_CLASS_INPUT_OUTPUT;
}

/// Whether another program's window is above `window` and leaves nothing of it in sight. Windows
/// that no window manager knows are left out: a compositor has some that nobody sees.
bool isCovered(xcb_connection_t* x, xcb_window_t window) {
    const xcb_window_t root = x11Root(x);
    const QRect place = placeOf(x, window);
    std::vector<std::uint32_t> clients = x11Values(x, root, "_NET_CLIENT_LIST");
    const std::vector<std::uint32_t> active = x11Values(x, root, activeWindow);
    clients.insert(clients.end(), active.begin(), active.end());
    const std::vector<xcb_window_t> all = x11Descendants(x, root, 1);
    constexpr int depthOfFrames = 3;
    // From the top of the pile down to the window itself.
    return std::any_of(all.rbegin(), all.rend(), [&, below = false](xcb_window_t other) mutable {
        if (below || !placeOf(x, other).contains(place)) {
            return false;
        }
        std::vector<xcb_window_t> framed = x11Descendants(x, other, depthOfFrames);
        framed.push_back(other);
        below = contains(framed, window);
        return !below && isViewable(x, other) &&
               std::ranges::any_of(framed, [&](auto part) { return contains(clients, part); });
    });
}

}  // namespace

WindowSight::WindowSight(QWidget& window) : window_(window) {
    looking_.setSingleShot(true);
    connect(&looking_, &QTimer::timeout, this, &WindowSight::look);
    window_.windowHandle()->installEventFilter(this);
    if (xcb_connection_t* x = x11Connection()) {
        telling_ = {x11Atom(x, activeWindow), x11Atom(x, "_NET_CLIENT_LIST_STACKING"),
                    x11Atom(x, "_NET_CURRENT_DESKTOP"), x11Atom(x, state)};
        addX11Events(x, static_cast<xcb_window_t>(window_.winId()),
                     XCB_EVENT_MASK_VISIBILITY_CHANGE);
        // The server tells of no cover that came before it has heard of the wish.
        xcb_flush(x);
        qGuiApp->installNativeEventFilter(this);
    }
    lookSoon();
}

bool WindowSight::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Expose) {
        lookSoon();
    }
    return QObject::eventFilter(watched, event);
}

bool WindowSight::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*) {
    if (eventType != "xcb_generic_event_t") {
        return false;
    }
    const auto* event = static_cast<xcb_generic_event_t*>(message);
    if (event->response_type == XCB_VISIBILITY_NOTIFY) {
        const auto* change = reinterpret_cast<const xcb_visibility_notify_event_t*>(event);
        if (change->window == window_.winId()) {
            obscured_ = change->state == XCB_VISIBILITY_FULLY_OBSCURED;
            lookSoon();
        }
    } else if (event->response_type == XCB_PROPERTY_NOTIFY) {
        const auto* change = reinterpret_cast<const xcb_property_notify_event_t*>(event);
        if (std::ranges::find(telling_, change->atom) != telling_.end()) {
            lookSoon();
        }
    }
    return false;
}

void WindowSight::lookSoon() {
    if (!looking_.isActive() || looking_.remainingTimeAsDuration() > timeToSettle) {
        looking_.start(timeToSettle);
    }
}

void WindowSight::look() {
    watchActiveWindow();
    if (!isHidden()) {
        hiddenFor_.invalidate();
        if (std::exchange(lost_, false)) {
            emit found();
        }
        return;
    }
    if (!hiddenFor_.isValid()) {
        hiddenFor_.start();
    }
    if (const auto left = shortAbsence - std::chrono::milliseconds(hiddenFor_.elapsed());
        left.count() > 0) {
        looking_.start(left);
    } else if (!std::exchange(lost_, true)) {
        emit lost();
    }
}

bool WindowSight::isHidden() const {
    xcb_connection_t* x = x11Connection();
    if (!window_.windowHandle()->isExposed() || window_.isMinimized()) {
        return true;
    }
    if (x == nullptr) {
        return false;
    }
    const auto id = static_cast<xcb_window_t>(window_.winId());
    if (obscured_ || !isViewable(x, id) ||
        contains(x11Values(x, id, state), x11Atom(x, "_NET_WM_STATE_HIDDEN"))) {
        return true;
    }
    // Nothing obscures what is composed, as the X server sees it: below a compositor, and in a
    // frame that may be translucent.
    return isCovered(x, id);
}

void WindowSight::watchActiveWindow() {
    xcb_connection_t* x = x11Connection();
    if (x == nullptr) {
        return;
    }
    const std::vector<std::uint32_t> active = x11Values(x, x11Root(x), activeWindow);
    const quint32 now = active.empty() ? quint32{XCB_WINDOW_NONE} : active.front();
    if (now != activeWindow_ && now != XCB_WINDOW_NONE && now != window_.winId()) {
        addX11Events(x, now, XCB_EVENT_MASK_PROPERTY_CHANGE);
    }
    activeWindow_ = now;
}

void bringToFront(QWidget& window, const QByteArray& token) {
    window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
    window.raise();
    if (xcb_connection_t* x = x11Connection()) {
        // What the user asks for is not held for a program's own wish, whatever its time.
        constexpr std::uint32_t forTheUser = 2;
        requestOfX11(x, static_cast<xcb_window_t>(window.winId()), activeWindow,
                     {forTheUser, XCB_CURRENT_TIME});
    } else {
        if (!token.isEmpty()) {
            // Where the toolkit looks for it.
            qputenv("XDG_ACTIVATION_TOKEN", token);
        }
        window.activateWindow();
    }
}

}  // namespace velunor
