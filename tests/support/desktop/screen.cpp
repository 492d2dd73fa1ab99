#include <X11/Xatom.h>
#include <X11/Xutil.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/desktop/display.h"
#include "tests/support/desktop/x_connection.h"

namespace velunor::testing {
namespace {

// What a request says of its sender: a pager or task switcher, which acts for the user.
constexpr long fromPager = 2;

}  // namespace

Screen::Screen(const std::string& name) : connection_(std::make_unique<XConnection>(name)) {}
Screen::~Screen() = default;

bool Screen::waitForWindowManager() {
    if (!eventually([this] {
            return !connection_->property(connection_->root, "_NET_SUPPORTING_WM_CHECK").empty();
        })) {
        return false;
    }
    const WindowId probe = connection_->makeWindow({0, 0, 1, 1});
    const bool managed = eventually([&] {
        XMapWindow(connection_->display, probe);
        const auto clients = connection_->property(connection_->root, "_NET_CLIENT_LIST");
        return std::find(clients.begin(), clients.end(), probe) != clients.end();
    });
    XDestroyWindow(connection_->display, probe);
    XSync(connection_->display, 0);
    return managed && eventually([this] {
               return connection_->property(connection_->root, "_NET_CLIENT_LIST").empty();
           });
}

std::vector<WindowId> Screen::shownWindows() const {
    std::vector<WindowId> windows = connection_->property(connection_->root, "_NET_CLIENT_LIST");
    std::erase_if(windows, [this](WindowId window) {
        XWindowAttributes attributes{};
        return XGetWindowAttributes(connection_->display, window, &attributes) == 0 ||
               attributes.map_state != IsViewable;
    });
    return windows;
}

std::optional<WindowId> Screen::windowOf(pid_t process) const {
    for (const WindowId window : shownWindows()) {
        if (connection_->property(window, "_NET_WM_PID") ==
            std::vector{static_cast<unsigned long>(process)}) {
            return window;
        }
    }
    return std::nullopt;
}

std::optional<WindowId> Screen::unlistedWindowOf(pid_t process) const {
    std::vector<WindowId> open{connection_->root};
    while (!open.empty()) {
        const WindowId next = open.back();
        open.pop_back();
        XWindowAttributes attributes{};
        if (connection_->property(next, "_NET_WM_PID") ==
                std::vector{static_cast<unsigned long>(process)} &&
            XGetWindowAttributes(connection_->display, next, &attributes) != 0 &&
            attributes.map_state == IsViewable) {
            return next;
        }
        WindowId root = 0;
        WindowId parent = 0;
        WindowId* children = nullptr;
        unsigned count = 0;
        if (XQueryTree(connection_->display, next, &root, &parent, &children, &count) != 0 &&
            children != nullptr) {
            open.insert(open.end(), children, children + count);
            XFree(children);
        }
    }
    return std::nullopt;
}

PixelRect Screen::contentOf(WindowId window) const {
    XWindowAttributes attributes{};
    WindowId child = 0;
    PixelRect content;
    XGetWindowAttributes(connection_->display, window, &attributes);
    XTranslateCoordinates(connection_->display, window, connection_->root, 0, 0, &content.x,
                          &content.y, &child);
    content.width = attributes.width;
    content.height = attributes.height;
    return content;
}

PixelRect Screen::frameOf(WindowId window) const {
    PixelRect frame = contentOf(window);
    const Decoration decoration = decorationOf(window).value_or(Decoration{});
    frame.width += decoration.left + decoration.right;
    frame.height += decoration.top + decoration.bottom;
    frame.x -= decoration.left;
    frame.y -= decoration.top;
    return frame;
}

std::optional<Decoration> Screen::decorationOf(WindowId window) const {
    const std::vector<unsigned long> extents = connection_->property(window, "_NET_FRAME_EXTENTS");
    if (extents.size() != 4) {
        return std::nullopt;
    }
    return Decoration{static_cast<int>(extents[0]), static_cast<int>(extents[1]),
                      static_cast<int>(extents[2]), static_cast<int>(extents[3])};
}

PixelRect Screen::workArea() const {
    const std::vector<unsigned long> area =
        connection_->property(connection_->root, "_NET_WORKAREA");
    if (area.size() < 4) {
        throw std::runtime_error("the window manager names no work area");
    }
    return {static_cast<int>(area[0]), static_cast<int>(area[1]), static_cast<int>(area[2]),
            static_cast<int>(area[3])};
}

WindowId Screen::activeWindow() const {
    const std::vector<unsigned long> active =
        connection_->property(connection_->root, "_NET_ACTIVE_WINDOW");
    return active.empty() ? 0 : active.front();
}

WindowId Screen::keyFocus() const {
    WindowId focus = 0;
    int fallback = 0;
    XGetInputFocus(connection_->display, &focus, &fallback);
    return focus;
}

bool Screen::isAbove(WindowId window) const {
    return connection_->hasState(window, "_NET_WM_STATE_ABOVE");
}

bool Screen::isEverywhere(WindowId window) const {
    // The library widens the numbers of a property with their sign.
    constexpr std::uint32_t everyWorkspace = 0xFFFFFFFF;
    const std::vector<unsigned long> workspace = connection_->property(window, "_NET_WM_DESKTOP");
    return workspace.size() == 1 && static_cast<std::uint32_t>(workspace[0]) == everyWorkspace;
}

bool Screen::demandsAttention(WindowId window) const {
    if (connection_->hasState(window, "_NET_WM_STATE_DEMANDS_ATTENTION")) {
        return true;
    }
    XWMHints* hints = XGetWMHints(connection_->display, window);
    const bool urgent = hints != nullptr && (hints->flags & XUrgencyHint) != 0;
    if (hints != nullptr) {
        XFree(hints);
    }
    return urgent;
}

bool Screen::hasCompositor() const {
    return XGetSelectionOwner(connection_->display, connection_->atom("_NET_WM_CM_S0")) != None;
}

void Screen::resizePanel(WindowId panel, Edge edge, int thickness,
                         const std::optional<PixelRect>& monitor) {
    const PixelRect desktop = contentOf(connection_->root);
    const PixelRect area = monitor.value_or(desktop);
    const bool upright = edge == Edge::left || edge == Edge::right;
    PixelRect place = area;
    (upright ? place.width : place.height) = thickness;
    if (edge == Edge::right) {
        place.x = area.x + area.width - thickness;
    } else if (edge == Edge::bottom) {
        place.y = area.y + area.height - thickness;
    }
    // A reserved width counts from the edge of the whole desktop, and spans the panel's length.
    const int width = edge == Edge::left    ? place.x + thickness
                      : edge == Edge::right ? desktop.width - place.x
                      : edge == Edge::top   ? place.y + thickness
                                            : desktop.height - place.y;
    const int first = upright ? place.y : place.x;
    const int last = first + (upright ? place.height : place.width) - 1;
    const auto side = static_cast<std::size_t>(edge);
    std::vector<unsigned long> strut(12);
    strut[side] = static_cast<unsigned long>(width);
    strut[4 + 2 * side] = static_cast<unsigned long>(first);
    strut[5 + 2 * side] = static_cast<unsigned long>(last);
    XMoveResizeWindow(connection_->display, panel, place.x, place.y,
                      static_cast<unsigned>(place.width), static_cast<unsigned>(place.height));
    connection_->setProperty(panel, "_NET_WM_STRUT_PARTIAL", XA_CARDINAL, strut);
    // Some window managers know the older property only.
    strut.resize(4);
    connection_->setProperty(panel, "_NET_WM_STRUT", XA_CARDINAL, strut);
    XFlush(connection_->display);
}

WindowId Screen::addPanel(Edge edge, int thickness, const std::optional<PixelRect>& monitor) {
    const auto area = [this] { return connection_->property(connection_->root, "_NET_WORKAREA"); };
    const std::vector<unsigned long> before = area();
    const WindowId panel = connection_->makeWindow({0, 0, 1, 1});
    connection_->setProperty(panel, "_NET_WM_WINDOW_TYPE", XA_ATOM,
                             {connection_->atom("_NET_WM_WINDOW_TYPE_DOCK")});
    resizePanel(panel, edge, thickness, monitor);
    connection_->showAndWait(panel);
    // Of several monitors the window manager's one work area may stay as it is, and some list no
    // panels. One that names no work area reserves nothing either.
    const bool reserved = eventually([&] {
        if (!monitor && !before.empty()) {
            return area() != before;
        }
        const std::vector<WindowId> windows = shownWindows();
        return before.empty() || std::find(windows.begin(), windows.end(), panel) != windows.end();
    });
    if (!reserved) {
        throw std::runtime_error("the panel's place was not reserved");
    }
    return panel;
}

WindowId Screen::addWindow(const PixelRect& place) {
    const WindowId window = connection_->makeWindow(place);
    XSizeHints hints{};
    hints.flags = USPosition | USSize;
    hints.x = place.x;
    hints.y = place.y;
    XSetWMNormalHints(connection_->display, window, &hints);
    connection_->showAndWait(window);
    return window;
}

void Screen::setDotsPerInch(int dots) {
    const std::string resources = "Xft.dpi:\t" + std::to_string(dots) + "\n";
    XChangeProperty(connection_->display, connection_->root, XA_RESOURCE_MANAGER, XA_STRING, 8,
                    PropModeReplace, reinterpret_cast<const unsigned char*>(resources.data()),
                    static_cast<int>(resources.size()));
    XSync(connection_->display, 0);
}

WindowId Screen::addCover(const PixelRect& place) {
    const WindowId window = connection_->makeWindow(place);
    XSetWindowAttributes attributes{};
    attributes.override_redirect = 1;
    XChangeWindowAttributes(connection_->display, window, CWOverrideRedirect, &attributes);
    XMapRaised(connection_->display, window);
    connection_->showAndWait(window);
    return window;
}

WindowId Screen::addFullScreenWindow() {
    const WindowId window = connection_->makeWindow({0, 0, usualWidth, usualHeight});
    connection_->setProperty(window, "_NET_WM_STATE", XA_ATOM,
                             {connection_->atom("_NET_WM_STATE_FULLSCREEN")});
    connection_->showAndWait(window);
    return window;
}

void Screen::fillScreen(WindowId window, bool fill) {
    request(window, "_NET_WM_STATE", fill ? 1 : 0,
            static_cast<long>(connection_->atom("_NET_WM_STATE_FULLSCREEN")));
}

void Screen::removeWindow(WindowId window) {
    XDestroyWindow(connection_->display, window);
    XSync(connection_->display, 0);
}

void Screen::request(WindowId window, const char* name, long first, long second) {
    XEvent event{};
    event.xclient.type = ClientMessage;
    event.xclient.window = window;
    event.xclient.message_type = connection_->atom(name);
    event.xclient.format = 32;
    event.xclient.data.l[0] = first;
    event.xclient.data.l[1] = second;
    XSendEvent(connection_->display, connection_->root, 0,
               SubstructureNotifyMask | SubstructureRedirectMask, &event);
    XSync(connection_->display, 0);
}

void Screen::activate(WindowId window) {
    request(window, "_NET_ACTIVE_WINDOW", fromPager, CurrentTime);
}

void Screen::minimize(WindowId window) {
    XIconifyWindow(connection_->display, window, 0);
    XSync(connection_->display, 0);
}

void Screen::makeTwoWorkspaces() {
    request(connection_->root, "_NET_NUMBER_OF_DESKTOPS", 2, 0);
}

bool Screen::goToWorkspace(int number) {
    const std::vector other{static_cast<unsigned long>(number)};
    return eventually([&] {
        request(connection_->root, "_NET_CURRENT_DESKTOP", number, CurrentTime);
        return connection_->property(connection_->root, "_NET_CURRENT_DESKTOP") == other;
    });
}

bool Screen::isViewable(WindowId window) const {
    XWindowAttributes attributes{};
    const std::vector<unsigned long> state = connection_->property(window, "WM_STATE");
    // Some leave a minimised window mapped.
    return !state.empty() && state.front() == NormalState &&
           XGetWindowAttributes(connection_->display, window, &attributes) != 0 &&
           attributes.map_state == IsViewable;
}

void Screen::requestClose(WindowId window) {
    request(window, "_NET_CLOSE_WINDOW", CurrentTime, fromPager);
}

}  // namespace velunor::testing
