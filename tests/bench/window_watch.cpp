#include "tests/bench/window_watch.h"

#include <X11/Xutil.h>
#include <X11/extensions/Xdamage.h>
#include <poll.h>

#include <set>
#include <stdexcept>

#include "tests/support/desktop/x_connection.h"
#include "tests/support/wait.h"

namespace velunor::testing {
namespace {

// What is smaller is a helper of a toolkit, or an icon.
constexpr int leastWidth = 60;
constexpr int leastHeight = 30;

}  // namespace

struct WindowWatch::Server {
    explicit Server(const std::string& name) : connection(name) {
        int errors = 0;
        if (XDamageQueryExtension(connection.display, &damageEvents, &errors) == 0) {
            throw std::runtime_error("the X server does not tell what is painted");
        }
        XSelectInput(connection.display, connection.root, SubstructureNotifyMask);
        XSync(connection.display, 0);
    }

    /// The next event; throws when none comes until `end`.
    [[nodiscard]] XEvent nextEvent(Clock::time_point end) const {
        while (XPending(connection.display) == 0) {
            const auto left =
                std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
            pollfd socket{ConnectionNumber(connection.display), POLLIN, 0};
            if (left.count() <= 0 || poll(&socket, 1, static_cast<int>(left.count())) < 0) {
                throw std::runtime_error("waited in vain for a window");
            }
        }
        XEvent event;
        XNextEvent(connection.display, &event);
        return event;
    }

    [[nodiscard]] bool isLarge(WindowId window) const {
        XWindowAttributes attributes{};
        return XGetWindowAttributes(connection.display, window, &attributes) != 0 &&
               attributes.width > leastWidth && attributes.height > leastHeight;
    }

    XConnection connection;
    int damageEvents = 0;
};

WindowWatch::WindowWatch(const std::string& name) : server_(std::make_unique<Server>(name)) {}
WindowWatch::~WindowWatch() = default;

void WindowWatch::forget() {
    XSync(server_->connection.display, 1);
}

WindowWatch::Appearance WindowWatch::next() {
    const auto end = Clock::now() + patience;
    Appearance appearance;
    ::Display* const display = server_->connection.display;
    while (true) {
        XEvent event = server_->nextEvent(end);
        const auto now = Clock::now();
        if (event.type == CreateNotify) {
            // Early, so that no picture comes before somebody looks.
            XDamageCreate(display, event.xcreatewindow.window, XDamageReportNonEmpty);
            XFlush(display);
        } else if (event.type == MapNotify && appearance.window == 0 &&
                   server_->isLarge(event.xmap.window)) {
            appearance.window = event.xmap.window;
            appearance.mapped = now;
        } else if (event.type == server_->damageEvents + XDamageNotify) {
            const auto& damage = reinterpret_cast<const XDamageNotifyEvent&>(event);
            XDamageSubtract(display, damage.damage, None, None);
            if (damage.drawable == appearance.window && hasPicture(appearance.window)) {
                appearance.painted = now;
                return appearance;
            }
        }
    }
}

bool WindowWatch::hasPicture(WindowId window) const {
    ::Display* const display = server_->connection.display;
    XWindowAttributes attributes{};
    if (XGetWindowAttributes(display, window, &attributes) == 0) {
        return false;
    }
    XImage* image = XGetImage(display, window, 0, 0, static_cast<unsigned>(attributes.width),
                              static_cast<unsigned>(attributes.height), AllPlanes, ZPixmap);
    if (image == nullptr) {
        return false;
    }
    std::set<unsigned long> colours;
    for (int y = 0; y < image->height && colours.size() < 3; ++y) {
        for (int x = 0; x < image->width && colours.size() < 3; ++x) {
            colours.insert(XGetPixel(image, x, y));
        }
    }
    XDestroyImage(image);
    return colours.size() == 3;
}

}  // namespace velunor::testing
