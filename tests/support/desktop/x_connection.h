#pragma once

#include <X11/Xatom.h>
#include <X11/Xlib.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/desktop/display.h"

namespace velunor::testing {

/// A test's own connection to an X server, and what is asked of it again and again. Only for the
/// sources of `Screen`: the library's macros go with it.
struct XConnection {
    explicit XConnection(const std::string& name) : display(XOpenDisplay(name.c_str())) {
        if (display == nullptr) {
            throw std::runtime_error("no X server at " + name);
        }
        // A window may vanish between two requests; its answers are then simply missing.
        XSetErrorHandler([](::Display*, XErrorEvent*) { return 0; });
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

    ::Display* display;
    WindowId root = 0;
};

}  // namespace velunor::testing
