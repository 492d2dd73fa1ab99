#include <X11/XKBlib.h>
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/desktop/display.h"

namespace velunor::testing {
namespace {

// What a request says of its sender: a pager or task switcher, which acts for the user.
constexpr long fromPager = 2;

// A window may vanish between two requests; its answers are then simply missing.
int passOver(::Display* /*display*/, XErrorEvent* /*error*/) {
    return 0;
}

/// The key that makes a symbol, alone or with Shift.
struct KeyStroke {
    KeyCode code = 0;
    bool shifted = false;
};

// The characters of a UTF-8 text. Throws at text that is none.
std::u32string codePoints(std::string_view text) {
    // Paths are the one place where the standard library converts without a locale.
    return std::filesystem::path(std::u8string(text.begin(), text.end())).u32string();
}

KeySym symbolOf(char32_t letter) {
    // The symbols of Latin-1 have its numbers, the others are counted from here.
    constexpr KeySym unicode = 0x1000000;
    return letter <= 0xff ? letter : unicode + letter;
}

}  // namespace

struct XConnection {
    explicit XConnection(const std::string& name) : display(XOpenDisplay(name.c_str())) {
        if (display == nullptr) {
            throw std::runtime_error("no X server at " + name);
        }
        XSetErrorHandler(passOver);
        root = DefaultRootWindow(display);
    }
    XConnection(const XConnection&) = delete;
    XConnection& operator=(const XConnection&) = delete;
    ~XConnection() { XCloseDisplay(display); }

    [[nodiscard]] Atom atom(const char* name) const { return XInternAtom(display, name, 0); }

    // The values of a 32-bit property, none when the window has no such property.
    [[nodiscard]] std::vector<unsigned long> property(WindowId window, const char* name) const {
        Atom type = 0;
        int format = 0;
        unsigned long count = 0;
        unsigned long rest = 0;
        unsigned char* data = nullptr;
        std::vector<unsigned long> values;
        if (XGetWindowProperty(display, window, atom(name), 0, 1024, 0, AnyPropertyType, &type,
                               &format, &count, &rest, &data) == Success &&
            data != nullptr && format == 32) {
            const auto* items = reinterpret_cast<const unsigned long*>(data);
            values.assign(items, items + count);
        }
        if (data != nullptr) {
            XFree(data);
        }
        return values;
    }

    [[nodiscard]] bool hasState(WindowId window, const char* state) const {
        const std::vector<unsigned long> states = property(window, "_NET_WM_STATE");
        return std::find(states.begin(), states.end(), atom(state)) != states.end();
    }

    void setProperty(WindowId window, const char* name, Atom type,
                     const std::vector<unsigned long>& values) const {
        XChangeProperty(display, window, atom(name), type, 32, PropModeReplace,
                        reinterpret_cast<const unsigned char*>(values.data()),
                        static_cast<int>(values.size()));
    }

    [[nodiscard]] WindowId makeWindow(const PixelRect& place) const {
        return XCreateSimpleWindow(display, root, place.x, place.y,
                                   static_cast<unsigned>(place.width),
                                   static_cast<unsigned>(place.height), 0, 0, 0x446688);
    }

    void showAndWait(WindowId window) const {
        XMapWindow(display, window);
        XFlush(display);
        const bool shown = eventually([&] {
            XWindowAttributes attributes{};
            return XGetWindowAttributes(display, window, &attributes) != 0 &&
                   attributes.map_state == IsViewable;
        });
        if (!shown) {
            throw std::runtime_error("a window of the test did not show");
        }
    }

    // The key of a symbol; one without a symbol gets it where no key has it. Programs learn of that
    // before the key is pressed. Throws when every key has a symbol.
    [[nodiscard]] KeyStroke strokeFor(KeySym symbol) const {
        if (const KeyCode code = XKeysymToKeycode(display, symbol); code != 0) {
            for (const int level : {0, 1}) {
                if (XkbKeycodeToKeysym(display, code, 0, level) == symbol) {
                    return {code, level == 1};
                }
            }
        }
        int first = 0;
        int last = 0;
        XDisplayKeycodes(display, &first, &last);
        for (int code = last; code >= first; --code) {
            const auto key = static_cast<KeyCode>(code);
            if (XkbKeycodeToKeysym(display, key, 0, 0) == NoSymbol) {
                std::array<KeySym, 2> both{symbol, symbol};
                XChangeKeyboardMapping(display, code, static_cast<int>(both.size()), both.data(),
                                       1);
                XSync(display, 0);
                return {key, false};
            }
        }
        throw std::runtime_error("no key is left for a character");
    }

    ::Display* display;
    WindowId root = 0;
};

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

bool Screen::isAbove(WindowId window) const {
    return connection_->hasState(window, "_NET_WM_STATE_ABOVE");
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

std::size_t Screen::pixelsOfColour(WindowId window, unsigned long colour) const {
    const PixelRect content = contentOf(window);
    XImage* image =
        XGetImage(connection_->display, window, 0, 0, static_cast<unsigned>(content.width),
                  static_cast<unsigned>(content.height), AllPlanes, ZPixmap);
    if (image == nullptr) {
        return 0;
    }
    constexpr unsigned long colourBits = 0xffffff;
    std::size_t count = 0;
    for (int y = 0; y < image->height; ++y) {
        for (int x = 0; x < image->width; ++x) {
            count += (XGetPixel(image, x, y) & colourBits) == colour ? 1 : 0;
        }
    }
    XDestroyImage(image);
    return count;
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
    XFlush(connection_->display);
}

WindowId Screen::addPanel(Edge edge, int thickness, const std::optional<PixelRect>& monitor) {
    const PixelRect before = workArea();
    const WindowId panel = connection_->makeWindow({0, 0, 1, 1});
    connection_->setProperty(panel, "_NET_WM_WINDOW_TYPE", XA_ATOM,
                             {connection_->atom("_NET_WM_WINDOW_TYPE_DOCK")});
    resizePanel(panel, edge, thickness, monitor);
    connection_->showAndWait(panel);
    const bool known = eventually([&] {
        const std::vector<WindowId> windows = shownWindows();
        return std::find(windows.begin(), windows.end(), panel) != windows.end();
    });
    // Of several monitors the window manager's one work area may stay as it is.
    if (!known || (!monitor && !eventually([&] { return workArea() != before; }))) {
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

void Screen::requestClose(WindowId window) {
    request(window, "_NET_CLOSE_WINDOW", CurrentTime, fromPager);
}

void Screen::click(WindowId window, const PixelRect& place) {
    // The window manager may still be moving the window: what counts is where it is in the end.
    PixelRect before;
    static_cast<void>(eventually([&] {
        before = contentOf(window);
        XTestFakeMotionEvent(connection_->display, -1, before.x + place.x + place.width / 2,
                             before.y + place.y + place.height / 2, CurrentTime);
        XSync(connection_->display, 0);
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        return contentOf(window) == before;
    }));
    XTestFakeButtonEvent(connection_->display, 1, 1, CurrentTime);
    XTestFakeButtonEvent(connection_->display, 1, 0, CurrentTime);
    XSync(connection_->display, 0);
}

void Screen::type(std::string_view text) {
    ::Display* display = connection_->display;
    const KeyCode shift = XKeysymToKeycode(display, XK_Shift_L);
    std::vector<KeyStroke> strokes;
    for (const char32_t letter : codePoints(text)) {
        strokes.push_back(connection_->strokeFor(symbolOf(letter)));
    }
    for (const KeyStroke& stroke : strokes) {
        if (stroke.shifted) {
            XTestFakeKeyEvent(display, shift, 1, CurrentTime);
        }
        XTestFakeKeyEvent(display, stroke.code, 1, CurrentTime);
        XTestFakeKeyEvent(display, stroke.code, 0, CurrentTime);
        if (stroke.shifted) {
            XTestFakeKeyEvent(display, shift, 0, CurrentTime);
        }
    }
    XSync(display, 0);
}

void Screen::pressKey(const std::string& key, bool withAlt) {
    const KeyCode code = XKeysymToKeycode(connection_->display, XStringToKeysym(key.c_str()));
    const KeyCode alt = XKeysymToKeycode(connection_->display, XK_Alt_L);
    if (withAlt) {
        XTestFakeKeyEvent(connection_->display, alt, 1, CurrentTime);
    }
    XTestFakeKeyEvent(connection_->display, code, 1, CurrentTime);
    XTestFakeKeyEvent(connection_->display, code, 0, CurrentTime);
    if (withAlt) {
        XTestFakeKeyEvent(connection_->display, alt, 0, CurrentTime);
    }
    XSync(connection_->display, 0);
}

void Screen::holdKey(const std::string& key, bool down) {
    const KeyCode code = XKeysymToKeycode(connection_->display, XStringToKeysym(key.c_str()));
    XTestFakeKeyEvent(connection_->display, code, down ? 1 : 0, CurrentTime);
    XSync(connection_->display, 0);
}

}  // namespace velunor::testing
